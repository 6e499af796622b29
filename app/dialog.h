// What the dialogs that open from a page have in common.
#pragma once

#include "phone.h"

// Runs a dialog of the resources until it ends. Returns what it ended with, -1 when it could not be made.
INT_PTR runDialog(int templateId, HWND owner, DLGPROC procedure, LPARAM parameter = 0);

// A dialog that fills the screen, with a Done button and the input panel lowered; for WM_INITDIALOG.
void fillScreen(HWND dialog);

// Draws a dialog, its texts and buttons on the pages' ground. Returns the dialog procedure's answer; FALSE for every message
// that does not ask for a colour.
INT_PTR dialogGroundMessage(UINT message, WPARAM wParam);
