// Keys for what is otherwise only tapped: static controls that notify (SS_NOTIFY), icons as well as labels.
#pragma once

#include "phone.h"

// Lets a static control of the dialog, which must have SS_NOTIFY and WS_TABSTOP, take the focus: it is then framed by
// dots, and the space bar or the action key (Enter) tap it. Once for each control, from WM_INITDIALOG on.
void makeKeyOperated(HWND dialog, int control);
