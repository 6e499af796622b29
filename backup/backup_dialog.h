// The Backup / Restore dialog: the program's data files, to a folder of the user's choice and back.
#pragma once

#include "phone.h"

enum BackupMode { backupToFolder, restoreFromFolder };

// What the dialog was last opened for.
extern BackupMode backupMode;

// Sets settingsImported after a restore whose settings were taken over.
void showBackup(HWND owner, BackupMode mode);

// The dialog's procedure; its parameter is the mode.
INT_PTR CALLBACK BackupProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
