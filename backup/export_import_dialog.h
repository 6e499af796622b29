// The Export / Import dialog: the way to everything that saves settings or brings them back.
#pragma once

#include "phone.h"

// Shows it; profile (0..6) is the one to be copied. Sets settingsImported when settings have come back, by import or restore:
// the page that opened it then closes the sheet.
void showExportImport(HWND owner, int profile);

// The dialog's procedure; its parameter is the profile.
INT_PTR CALLBACK ExportImportProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
