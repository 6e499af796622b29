// The Find File dialog, for phones without a picker library.
#pragma once

#include "file_pickers.h"

// The folder that is shown; the next opening begins there. No separator at its end, but for the root itself.
extern wchar_t findFileFolder[pickedPathCapacity];

// Shows it; afterwards pickedPath (file_pickers.h) holds the chosen path, unless the user cancelled.
void showFindFile(HWND owner, bool foldersOnly);

// The dialog's procedure; its parameter is non-zero when a folder is wanted.
INT_PTR CALLBACK FindFileProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);

// Shows what is in a folder in the list view: folders by the beginning of their names, then files likewise, which are left
// out when a folder is wanted. clear empties the list first. A folder that cannot be read leaves the list empty; a failure
// in between, which is logged, leaves what has been found until then.
void fillFileList(HWND list, const wchar_t *folder, bool clear);
