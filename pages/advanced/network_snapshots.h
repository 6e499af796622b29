// Network snapshots: the phone's connection settings, saved under a name in a file NAME.net of the install directory.
#pragma once

#include "phone.h"

// Adds the name of every snapshot. intoListBox: to the list box IDC_SNAPSHOT_LIST of the dialog window, which is emptied
// first; 0: to the drop-down list window, behind what it has already.
void listSnapshots(HWND window, int intoListBox);
