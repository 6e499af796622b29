// The editor of the advanced option file: its plain text in a field that fills the screen.
#pragma once

#include "phone.h"

// Shows the dialog and returns when it is closed. The flags of the file are not read again; they take effect at the next
// start.
void showOptionFileEditor(HWND owner);

INT_PTR CALLBACK OptionFileEditorProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
