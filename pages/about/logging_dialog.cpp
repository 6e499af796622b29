#include "logging_dialog.h"

#include "dialog.h"
#include "language.h"
#include "log.h"
#include "registry.h"
#include "resource.h"
#include "user_settings.h"

namespace {

constexpr int titleText = 236;
constexpr ControlText labels[] = {
    {IDOK, 0}, {IDCANCEL, 1}, {IDC_LOG_BASIC, 362}, {IDC_LOG_DETAILED, 364}, {IDC_LOG_SIGNAL, 363},
};

struct LogLevel {
    int control;
    DWORD bit;
};

constexpr LogLevel levels[] = {{IDC_LOG_BASIC, logBasic}, {IDC_LOG_DETAILED, logDetailed}, {IDC_LOG_SIGNAL, logSignal}};

void showLevels(HWND dialog)
{
    getLanguageText(titleText, dialog);
    setControlTexts(dialog, labels);
    for (const LogLevel &level : levels)
        SendDlgItemMessageW(dialog, level.control, BM_SETCHECK,
                            userSettings.loggingOption & level.bit ? BST_CHECKED : BST_UNCHECKED, 0);
}

// Any logging includes the basic one.
DWORD chosenLevels(HWND dialog)
{
    DWORD chosen = 0;
    for (const LogLevel &level : levels)
        if (SendDlgItemMessageW(dialog, level.control, BM_GETCHECK, 0, 0) == BST_CHECKED)
            chosen |= level.bit;
    return chosen ? chosen | logBasic : 0;
}

// Not left to the saving of the record: the engine logs by the same value, from now on.
void storeAtOnce()
{
    try {
        RegistryKey key;
        if (key.create(HKEY_CURRENT_USER, programKey) == ERROR_SUCCESS)
            writeNumber(key, L"loggingOption", userSettings.loggingOption);
    } catch (...) {
        writeLog("** Exception showLoggingDialog **");
    }
}

bool endByCommand(HWND dialog, int command)
{
    if (command != IDOK && command != IDCANCEL)
        return false;
    if (command == IDOK) {
        userSettings.loggingOption = chosenLevels(dialog);
        storeAtOnce();
    }
    EndDialog(dialog, command);
    return true;
}

}   // namespace

void showLoggingDialog(HWND owner)
{
    showDialog(owner, IDD_LOGGING, LoggingDialogProc);
}

INT_PTR CALLBACK LoggingDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM)
{
    switch (message) {
    case WM_INITDIALOG:
        showLevels(dialog);
        return TRUE;
    case WM_COMMAND:
        return endByCommand(dialog, LOWORD(wParam));
    }
    return dialogColours(message, wParam);
}
