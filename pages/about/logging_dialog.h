// The Logging dialog: how much the diagnostic log tells.
#pragma once

#include "phone.h"

// Shows the dialog and returns when it is closed. OK stores the choice at once, in the record and in the registry.
void showLoggingDialog(HWND owner);

INT_PTR CALLBACK LoggingDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
