#include "page_window.h"

#include "doctest.h"
#include "environment.h"
#include "extra_settings.h"
#include "main.h"
#include "option_file.h"
#include "options_dialog.h"
#include "resource.h"
#include "scaling.h"
#include "shell_values.h"
#include "sound_catalogue.h"
#include "text.h"
#include "user_settings.h"

// ---- Single pages -----------------------------------------------------------------------------------------------------

PageWindow::PageWindow(int dialogTemplate, DLGPROC procedure)
{
    parent = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 480, 640, nullptr, nullptr, appInstance, nullptr);
    const HRSRC resource = FindResourceW(appInstance, MAKEINTRESOURCEW(dialogTemplate), RT_DIALOG);
    REQUIRE(resource);
    page = CreateDialogIndirectParamW(
        appInstance, static_cast<const DLGTEMPLATE *>(LockResource(LoadResource(appInstance, resource))), parent,
        procedure, 0);
    REQUIRE(page);
}

PageWindow::~PageWindow()
{
    DestroyWindow(parent);
}

HWND PageWindow::control(int id) const
{
    const HWND window = GetDlgItem(page, id);
    REQUIRE_MESSAGE(window, "no control " << id);
    return window;
}

std::wstring PageWindow::text(int id) const
{
    wchar_t buffer[512] = L"";
    GetDlgItemTextW(page, id, buffer, 512);
    return buffer;
}

std::wstring PageWindow::entry(int combo, int index) const
{
    wchar_t buffer[512] = L"";
    SendMessageW(control(combo), CB_GETLBTEXT, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(buffer));
    return buffer;
}

int PageWindow::entryCount(int combo) const
{
    return static_cast<int>(SendMessageW(control(combo), CB_GETCOUNT, 0, 0));
}

int PageWindow::selection(int combo) const
{
    return static_cast<int>(SendMessageW(control(combo), CB_GETCURSEL, 0, 0));
}

void PageWindow::select(int combo, int index) const
{
    SendMessageW(control(combo), CB_SETCURSEL, static_cast<WPARAM>(index), 0);
}

bool PageWindow::isChecked(int id) const
{
    return SendMessageW(control(id), BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void PageWindow::click(int id) const
{
    SendMessageW(control(id), BM_CLICK, 0, 0);
}

static INT_PTR notifyPage(HWND parent, HWND page, UINT code, UINT_PTR id = 0)
{
    PSHNOTIFY notification = {};
    notification.hdr.hwndFrom = parent;
    notification.hdr.idFrom = id;
    notification.hdr.code = code;
    return SendMessageW(page, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&notification));
}

INT_PTR PageWindow::apply() const
{
    return notifyPage(parent, page, PSN_APPLY);
}

INT_PTR PageWindow::reset() const
{
    return notifyPage(parent, page, PSN_RESET);
}

INT_PTR PageWindow::notify(UINT code, UINT_PTR id) const
{
    return notifyPage(parent, page, code, id);
}

// ---- The program around a page ----------------------------------------------------------------------------------------

void restartProgram()
{
    freeUserSettings();
    userSettings = UserSettings{};
    freeExtraSettings();
    extraSettings = ExtraSettings{};
    optionFlags = OptionFlags{};
    freeText(appPath);
    isLandscape = 0;
    startProfile = 0;
    optionsDialog = currentPage = nullptr;
    listEdited = skinChanged = settingsImported = mailSettingsChanged = false;
    forgetResolution();
    forgetSounds();
}

static constexpr UINT scriptIsOver = WM_APP;

static INT_PTR CALLBACK standInProc(HWND dialog, UINT message, WPARAM, LPARAM parameter)
{
    switch (message) {
    case WM_INITDIALOG:
        optionsDialog = dialog;
        PostMessageW(dialog, scriptIsOver, 0, 0);
        (*reinterpret_cast<const std::function<void()> *>(parameter))();
        optionsDialog = nullptr;
        return TRUE;
    case scriptIsOver:   // not reached when script has ended the dialog
        EndDialog(dialog, notEnded);
        return TRUE;
    }
    return FALSE;
}

INT_PTR runInOptionsDialog(const std::function<void()> &script)
{
    const HRSRC resource = FindResourceW(appInstance, MAKEINTRESOURCEW(IDD_OPTIONS), RT_DIALOG);
    REQUIRE(resource);
    return DialogBoxIndirectParamW(appInstance,
                                   static_cast<const DLGTEMPLATE *>(LockResource(LoadResource(appInstance, resource))),
                                   nullptr, standInProc, reinterpret_cast<LPARAM>(&script));
}

// ---- The whole sheet --------------------------------------------------------------------------------------------------

namespace {

const std::function<void(HWND)> *pendingScript;

BOOL CALLBACK findSheet(HWND window, LPARAM result)
{
    wchar_t className[32] = L"";
    GetClassNameW(window, className, 32);
    if (wcscmp(className, L"#32770") != 0 || !IsWindowVisible(window) || !SendMessageW(window, PSM_GETTABCONTROL, 0, 0))
        return TRUE;
    *reinterpret_cast<HWND *>(result) = window;
    return FALSE;
}

// Runs inside the sheet's own message loop, as a person's taps do.
void CALLBACK driveSheet(HWND, UINT, UINT_PTR timer, DWORD)
{
    HWND sheet = nullptr;
    EnumWindows(findSheet, reinterpret_cast<LPARAM>(&sheet));
    if (!sheet)
        return;
    KillTimer(nullptr, timer);
    (*pendingScript)(sheet);
    if (IsWindow(sheet) && IsWindowVisible(sheet))
        cancelSheet(sheet);
}

}   // namespace

void runOptions(const std::function<void(HWND sheet)> &script)
{
    pendingScript = &script;
    const HRSRC resource = FindResourceW(appInstance, MAKEINTRESOURCEW(IDD_OPTIONS), RT_DIALOG);
    REQUIRE(resource);
    const UINT_PTR timer = SetTimer(nullptr, 0, 20, driveSheet);
    DialogBoxIndirectParamW(appInstance,
                            static_cast<const DLGTEMPLATE *>(LockResource(LoadResource(appInstance, resource))),
                            nullptr, OptionsDialogProc, 0);
    KillTimer(nullptr, timer);   // still there when no sheet has appeared
}

// What the end of the process would take away: the main window with its class, and the quit message it leaves.
static void closeMainWindow()
{
    if (mainWindow)
        DestroyWindow(mainWindow);
    mainWindow = nullptr;
    UnregisterClassW(mainWindowClass, appInstance);
    MSG quit;
    while (PeekMessageW(&quit, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE))
        ;
}

int runProgram(const wchar_t *commandLine, const std::function<void(HWND sheet)> &script)
{
    pendingScript = &script;
    const UINT_PTR timer = SetTimer(nullptr, 0, 20, driveSheet);
    std::wstring arguments = commandLine ? commandLine : L"";
    const int result = WinMain(appInstance, nullptr, commandLine ? arguments.data() : nullptr, SW_SHOW);
    KillTimer(nullptr, timer);
    closeMainWindow();
    return result;
}

void tapOk(HWND sheet)
{
    SendMessageW(sheet, WM_COMMAND, IDOK, 0);
}

void cancelSheet(HWND sheet)
{
    SendMessageW(sheet, WM_COMMAND, IDCANCEL, 0);
}

HWND showPage(HWND sheet, int index)
{
    SendMessageW(sheet, PSM_SETCURSEL, static_cast<WPARAM>(index), 0);
    return reinterpret_cast<HWND>(SendMessageW(sheet, PSM_GETCURRENTPAGEHWND, 0, 0));
}
