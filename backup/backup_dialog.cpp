#include "backup_dialog.h"

#include "backup_files.h"
#include "dialog.h"
#include "environment.h"
#include "file_pickers.h"
#include "language.h"
#include "log.h"
#include "message.h"
#include "registry.h"
#include "resource.h"
#include "settings_export.h"
#include "settings_import.h"
#include "shell_values.h"

BackupMode backupMode;

namespace {

constexpr wchar_t pathValue[] = L"backupPath";
constexpr DWORD pathBytes = 520;   // read at most

// The libraries know what these mean; of the system's dialogs' bits there are "the path must exist" and "the new look".
constexpr DWORD pickerFlags = 0x400804;
constexpr PickRequest folderRequest = {nullptr, pickerFlags, true};

constexpr int backupText = 463;
constexpr int restoreText = 464;

using FolderPath = wchar_t[pickedPathCapacity];

// ---- The folder ---------------------------------------------------------------------------------------------------------

void showStoredFolder(HWND dialog)
{
    FolderPath folder = L"";
    RegistryKey key;
    if (key.open(HKEY_CURRENT_USER, programKey) == ERROR_SUCCESS)
        readText(key, pathValue, folder, pathBytes);
    SetDlgItemTextW(dialog, IDC_BACKUP_PATH, folder);
}

void storeFolder(const wchar_t *folder)
{
    RegistryKey key;
    if (key.create(HKEY_CURRENT_USER, programKey) == ERROR_SUCCESS)
        writeText(key, pathValue, folder);
}

// ---- Backup and restore -------------------------------------------------------------------------------------------------

// A fresh export first. It holds what is stored; what the pages still have in hand is stored when the sheet ends.
void backUp(const wchar_t *folder)
{
    exportSettings();
    if (appPath)
        copyBackupFiles(appPath, folder);
}

// The files come first: they stay also when the settings are not taken over. A file that could not be copied is passed over,
// even the export: then the one that is here already is imported.
void restore(const wchar_t *folder)
{
    if (!hasBackup(folder)) {
        showMessage(L"No backup found to restore!", MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    if (appPath)
        copyBackupFiles(folder, appPath);
    if (importSettings(0))
        settingsImported = true;
}

// ---- The dialog ---------------------------------------------------------------------------------------------------------

void begin(HWND dialog, BackupMode mode)
{
    backupMode = mode;
    SendDlgItemMessageW(dialog, IDC_BACKUP_PATH, EM_LIMITTEXT, pickedPathCapacity - 1, 0);
    getLanguageText(mode == restoreFromFolder ? restoreText : backupText, GetDlgItem(dialog, IDOK));
    showStoredFolder(dialog);
}

void run(HWND dialog)
{
    FolderPath folder = L"";
    GetDlgItemTextW(dialog, IDC_BACKUP_PATH, folder, pickedPathCapacity);
    if (!folder[0]) {
        showMessage(L"No folder defined!", MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    storeFolder(folder);
    if (backupMode == restoreFromFolder)
        restore(folder);
    else
        backUp(folder);
    EndDialog(dialog, IDOK);
}

bool runCommand(HWND dialog, WPARAM wParam)
{
    switch (LOWORD(wParam)) {
    case IDOK:
        run(dialog);
        return true;
    case IDCANCEL:
        EndDialog(dialog, IDCANCEL);
        return true;
    case IDC_BACKUP_BROWSE:
        pickFile(dialog, IDC_BACKUP_PATH, folderRequest);
        return true;
    }
    return false;
}

INT_PTR answerMessage(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        begin(dialog, static_cast<BackupMode>(lParam));
        return TRUE;
    case WM_COMMAND:
        return runCommand(dialog, wParam);
    }
    return dialogColours(message, wParam);
}

}   // namespace

INT_PTR CALLBACK BackupProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    try {
        return answerMessage(dialog, message, wParam, lParam);
    } catch (...) {
        writeLog("** Exception BackupProc **");
        return FALSE;
    }
}

void showBackup(HWND owner, BackupMode mode)
{
    showDialog(owner, IDD_BACKUP, BackupProc, mode);
}
