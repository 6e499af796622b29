// The Find File dialog, for phones without a picker library.
#pragma once

#include "phone.h"

// Shows it; afterwards pickedPath (file_pickers.h) holds the chosen path, unless the user cancelled.
void showFindFile(HWND owner, bool foldersOnly);

// The dialog's procedure; its parameter is non-zero when a folder is wanted.
INT_PTR CALLBACK FindFileProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
