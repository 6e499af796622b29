// aygshell: areas of the screen, full-screen dialogs, menu bars, the input panel's state.
#include "shell.h"

#include "core.h"
#include "dialogs.h"
#include "phone_windows.h"

namespace sim {

RECT screenArea()
{
    return {0, 0, phone().width, phone().height};
}

RECT fullScreenArea()
{
    return {0, px(titleBarHeight), phone().width, phone().height - px(bottomBarHeight)};
}

RECT workArea()
{
    RECT area = fullScreenArea();
    if (panelUp()) {
        area.bottom -= px(panelHeight);
    }
    return area;
}

// With the panel down the phone counts the bottom bar's strip as visible: programs subtract it themselves.
RECT visibleDesktop()
{
    RECT area = workArea();
    if (!panelUp()) {
        area.bottom = phone().height;
    }
    return area;
}

namespace {

constexpr wchar_t panelPreferenceClass[] = L"SIPPREF";

struct ShellDialogInfo {   // SHINITDLGINFO
    DWORD mask;
    HWND dialog;
    DWORD flags;
};
constexpr DWORD maskFlags = 0x0001;
constexpr DWORD doneButton = 0x0001, sizeDialog = 0x0002, sizeFullScreen = 0x0004, panelDown = 0x0008,
                fullScreenNoMenuBar = 0x0010, emptyMenu = 0x0020, cancelButton = 0x0080;

struct MenuBarInfo {   // SHMENUBARINFO
    DWORD size;
    HWND parent;
    DWORD flags;
    UINT toolBarId;
    HINSTANCE resources;
    int bitmapId;
    int bitmapImages;
    HWND menuBar;
    COLORREF background;
};
constexpr DWORD emptyBar = 0x01, hidePanelButton = 0x04;

struct PanelInfo {   // SIPINFO
    DWORD size;
    DWORD flags;
    RECT visibleDesktop;
    RECT panelArea;
    DWORD methodDataSize;
    void *methodData;
};
constexpr DWORD panelOn = 1, panelDocked = 2;
constexpr UINT setPanelInfo = 224, getPanelInfo = 225;

bool fillPanelInfo(PanelInfo *info)
{
    if (info == nullptr || info->size != sizeof *info) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    RECT place = fullScreenArea();
    place.top = place.bottom - px(panelHeight);
    info->flags = panelDocked | (panelUp() ? panelOn : 0);
    info->visibleDesktop = visibleDesktop();
    info->panelArea = place;
    return true;
}

bool isPanelPreference(HWND window)
{
    return hasClass(window, panelPreferenceClass);
}

bool childPrefersPanel(HWND root)
{
    for (HWND child = GetWindow(root, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
        if (isPanelPreference(child) || (hasClass(child, L"#32770") && childPrefersPanel(child))) {
            return true;
        }
    }
    return false;
}

bool takesText(HWND window)
{
    return hasClass(window, L"Edit") && (GetWindowLongPtrW(window, GWL_STYLE) & ES_READONLY) == 0;
}

}   // namespace

void preferPanelFor(HWND focus)
{
    if (focus != nullptr && childPrefersPanel(GetAncestor(focus, GA_ROOT))) {
        setPanel(takesText(focus));
    }
}

}   // namespace sim

extern "C" {

BOOL WINAPI simSHInitDialog(sim::ShellDialogInfo *info)
{
    if (info == nullptr || !IsWindow(info->dialog) || (info->mask & sim::maskFlags) == 0) {
        return FALSE;
    }
    const DWORD flags = info->flags;
    sim::ensureBars();
    sim::setWish(info->dialog, sim::BarWish::okButton, (flags & sim::doneButton) != 0);
    sim::setWish(info->dialog, sim::BarWish::cancelButton, (flags & sim::cancelButton) != 0);
    if ((flags & sim::panelDown) != 0) {
        sim::setPanel(false);
    }
    if ((flags & sim::emptyMenu) != 0) {
        sim::setWish(info->dialog, sim::BarWish::menuBar, true);
    }
    if ((flags & (sim::sizeFullScreen | sim::fullScreenNoMenuBar)) != 0) {
        sim::makeFullScreen(info->dialog, sim::fullScreenArea());
    } else if ((flags & sim::sizeDialog) != 0) {
        sim::makeFullScreen(info->dialog, sim::workArea());
    }
    sim::refreshBars();
    return TRUE;
}

// The bottom bar is one window for the whole phone; a dialog's menu bar is its entry in it. Menus and tool bars of
// resources are not drawn: a bar that asks for one is refused.
BOOL WINAPI simSHCreateMenuBar(sim::MenuBarInfo *info)
{
    if (info == nullptr || info->size != sizeof *info || !IsWindow(info->parent)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    sim::journal(L"menu", {sim::hexadecimal(info->flags), sim::number(info->toolBarId)});
    if ((info->flags & sim::emptyBar) == 0) {
        SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
        return FALSE;
    }
    sim::ensureBars();
    sim::setWish(info->parent, sim::BarWish::menuBar, true);
    sim::setWish(info->parent, sim::BarWish::hidePanelButton, (info->flags & sim::hidePanelButton) != 0);
    info->menuBar = sim::bottomBarWindow();
    sim::refreshBars();
    return TRUE;
}

HWND WINAPI simSHFindMenuBar(HWND window)
{
    return sim::hasWish(window, sim::BarWish::menuBar) ? sim::bottomBarWindow() : nullptr;
}

BOOL WINAPI simSHDoneButton(HWND window, DWORD state)
{
    constexpr DWORD show = 1, hide = 2, showCancel = 4;
    if (!IsWindow(window) || (state != show && state != hide && state != showCancel)) {
        return FALSE;
    }
    sim::setWish(window, sim::BarWish::okButton, state == show);
    sim::setWish(window, sim::BarWish::cancelButton, state == showCancel);
    sim::refreshBars();
    return TRUE;
}

// Bars are hidden for the foreground window only; the start symbol cannot be hidden here.
BOOL WINAPI simSHFullScreen(HWND window, DWORD state)
{
    constexpr DWORD showTaskBar = 0x01, hideTaskBar = 0x02, showPanelButton = 0x04, hidePanelButton = 0x08,
                    hideStartSymbol = 0x20;
    const bool hides = (state & (hideTaskBar | hidePanelButton)) != 0;
    if (!IsWindow(window) || (state & hideStartSymbol) != 0 || (hides && window != sim::phoneActiveWindow())) {
        return FALSE;
    }
    if ((state & (showTaskBar | hideTaskBar)) != 0) {
        sim::showTitleBar((state & showTaskBar) != 0);
    }
    if ((state & (showPanelButton | hidePanelButton)) != 0) {
        sim::setWish(window, sim::BarWish::hidePanelButton, (state & hidePanelButton) != 0);
    }
    sim::refreshBars();
    return TRUE;
}

BOOL WINAPI simSHSipInfo(UINT action, UINT, PVOID data, UINT)
{
    auto *info = static_cast<sim::PanelInfo *>(data);
    if (action == sim::getPanelInfo) {
        return sim::fillPanelInfo(info);
    }
    if (action == sim::setPanelInfo && info != nullptr) {
        sim::setPanel((info->flags & sim::panelOn) != 0);
        return TRUE;
    }
    SetLastError(ERROR_NOT_SUPPORTED);
    return FALSE;
}

BOOL WINAPI simSipGetInfo(sim::PanelInfo *info)
{
    return sim::fillPanelInfo(info);
}

BOOL WINAPI simSipShowIM(DWORD flags)
{
    sim::setPanel((flags & sim::panelOn) != 0);
    return TRUE;
}

DWORD WINAPI simSipStatus(void)
{
    return 1;   // an input panel is there
}

BOOL WINAPI simSHSipPreference(HWND window, int state)
{
    enum { up, down, forceDown, unchanged, inputDialog };
    if (!IsWindow(window)) {
        return FALSE;
    }
    if (state == up || state == down || state == forceDown) {
        sim::setPanel(state == up);
    }
    return TRUE;
}

// The panel follows the focus of the dialog: up for an edit control, down for anything else.
void WINAPI simSHInputDialog(HWND window, UINT message, WPARAM)
{
    if (message == WM_INITDIALOG || message == WM_SETFOCUS || message == WM_COMMAND) {
        HWND focus = GetFocus();
        if (focus != nullptr && IsChild(window, focus)) {
            sim::setPanel(sim::takesText(focus));
        }
    }
}

BOOL WINAPI simSHInitExtraControls(void)
{
    WNDCLASSW description = {};
    description.lpfnWndProc = DefWindowProcW;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = sim::panelPreferenceClass;
    return RegisterClassW(&description) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

}   // extern "C"
