#include "page_window.h"

#include "doctest.h"
#include "main.h"
#include "options_dialog.h"
#include "resource.h"
#include "shell_values.h"

// ---- Single pages -----------------------------------------------------------------------------------------------------

PageWindow::PageWindow(int dialogTemplate, DLGPROC procedure)
{
    parent = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 480, 640, nullptr, nullptr, appInstance, nullptr);
    const HRSRC resource = FindResourceW(appInstance, MAKEINTRESOURCEW(dialogTemplate), RT_DIALOG);
    REQUIRE(resource);
    page = CreateDialogIndirectParamW(appInstance, static_cast<const DLGTEMPLATE *>(LockResource(LoadResource(appInstance, resource))),
                                      parent, procedure, 0);
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

static INT_PTR notifyPage(HWND parent, HWND page, UINT code)
{
    PSHNOTIFY notification = {};
    notification.hdr.hwndFrom = parent;
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

} // namespace

void runOptions(const std::function<void(HWND sheet)> &script)
{
    pendingScript = &script;
    const HRSRC resource = FindResourceW(appInstance, MAKEINTRESOURCEW(IDD_OPTIONS), RT_DIALOG);
    REQUIRE(resource);
    SetTimer(nullptr, 0, 20, driveSheet);
    DialogBoxIndirectParamW(appInstance, static_cast<const DLGTEMPLATE *>(LockResource(LoadResource(appInstance, resource))),
                            nullptr, OptionsDialogProc, 0);
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
