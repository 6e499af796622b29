// The Options dialog: loads everything, runs the six-page sheet, saves and notifies when it ends.
#pragma once

#include "phone.h"

INT_PTR CALLBACK OptionsDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);

// Runs the sheet until the user has finished with it; returns PropertySheetW's result.
INT_PTR runOptionsSheet(HWND parent);

int CALLBACK OptionsSheetCallback(HWND sheet, UINT message, LPARAM lParam);
