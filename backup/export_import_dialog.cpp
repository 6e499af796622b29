#include "export_import_dialog.h"

#include "backup_dialog.h"
#include "dialog.h"
#include "language.h"
#include "profile_copy.h"
#include "resource.h"
#include "settings_export.h"
#include "settings_import.h"
#include "shell_values.h"

namespace {

constexpr int captionText = 53;

// Import answers to the id of an OK button and Export to that of Cancel, so the Enter key imports (after a question) and Escape
// exports. Kept, because people know the dialog so; it does no harm, an export changes no setting.
constexpr int importButton = IDOK;
constexpr int exportButton = IDCANCEL;

constexpr ControlText labels[] = {
    {IDC_EXPORT_TEXT, 54},   {importButton, 285}, {exportButton, 286},
    {IDC_COPY_PROFILE, 287}, {IDC_BACKUP, 463},   {IDC_RESTORE, 464},
};

int workingProfile;   // of the page that opened the dialog

void begin(HWND dialog, int profile)
{
    workingProfile = profile;
    getLanguageText(captionText, dialog);
    setControlTexts(dialog, labels);
}

void import(HWND)
{
    if (importSettings(0))
        settingsImported = true;
}

void copyProfile(HWND dialog)
{
    showProfileCopy(dialog, workingProfile);
}

struct Action {
    int button;
    void (*run)(HWND dialog);
};

// Each of them ends the dialog afterwards.
constexpr Action actions[] = {
    {importButton, import},
    {exportButton, [](HWND) { exportSettings(); }},
    {IDC_COPY_PROFILE, copyProfile},
    {IDC_BACKUP, [](HWND dialog) { showBackup(dialog, backupToFolder); }},
    {IDC_RESTORE, [](HWND dialog) { showBackup(dialog, restoreFromFolder); }},
};

bool runAction(HWND dialog, WPARAM wParam)
{
    for (const Action &action : actions)
        if (action.button == LOWORD(wParam)) {
            action.run(dialog);
            EndDialog(dialog, action.button);
            return true;
        }
    return false;
}

}   // namespace

INT_PTR CALLBACK ExportImportProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        begin(dialog, static_cast<int>(lParam));
        return TRUE;
    case WM_COMMAND:
        return runAction(dialog, wParam);
    case WM_CLOSE:   // the caption's close button: the way out without doing anything
        EndDialog(dialog, 0);
        return TRUE;
    }
    return dialogColours(message, wParam);
}

void showExportImport(HWND owner, int profile)
{
    showDialog(owner, IDD_EXPORT_IMPORT, ExportImportProc, profile);
}
