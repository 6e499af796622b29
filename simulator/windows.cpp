// Windows and messages where the phone's functions do something else than the desktop's.
#include "phone_windows.h"

#include "core.h"
#include "dialogs.h"
#include "propertysheet.h"
#include "shell.h"
#include "templates.h"

#include <commctrl.h>

namespace sim {

void attachCheckBox(HWND button, DWORD style);   // controls.cpp
void attachTimePicker(HWND picker);              // controls.cpp

namespace {

constexpr wchar_t phoneMark[] = L"PhoneSimulatorPhone";
constexpr wchar_t dialogClass[] = L"#32770";
constexpr DWORD colourFlag = 0x40000000;   // SYS_COLOR_INDEX_FLAG: the phone's colour indexes carry it

thread_local HHOOK threadHook;

// Windows of several phones may share the desktop; each is marked with the phone it belongs to.
HANDLE markOfPhone()
{
    unsigned hash = 2166136261u;
    for (wchar_t character : phone().folder) {
        hash = (hash ^ towlower(character)) * 16777619u;
    }
    return reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(hash | 1));
}

// Whether the program may see window: not the simulator's own bars, nor what another phone shows.
bool isSeen(HWND window)
{
    HANDLE mark = GetPropW(window, phoneMark);
    return !isBar(window) && (mark == nullptr || mark == markOfPhone());
}

void windowCreated(HWND window, const CREATESTRUCTW &creation)
{
    const bool child = (creation.style & WS_CHILD) != 0;
    const bool dialog = hasClass(window, dialogClass);
    if (!child) {
        SetPropW(window, phoneMark, markOfPhone());
    }
    if (dialog && child) {
        attachPage(window, creation.hwndParent);
    } else if (dialog) {
        attachDialog(window);
    } else if (child && hasClass(window, L"Button")) {
        attachCheckBox(window, creation.style);
    } else if (child && hasClass(window, DATETIMEPICK_CLASSW)) {
        attachTimePicker(window);
    }
}

LRESULT CALLBACK watchWindows(int code, WPARAM wParam, LPARAM lParam)
{
    switch (code) {
    case HCBT_CREATEWND:
        windowCreated(reinterpret_cast<HWND>(wParam), *reinterpret_cast<CBT_CREATEWNDW *>(lParam)->lpcs);
        break;
    case HCBT_SETFOCUS:
        scrollIntoView(reinterpret_cast<HWND>(wParam));
        preferPanelFor(reinterpret_cast<HWND>(wParam));
        refreshBars();
        break;
    case HCBT_ACTIVATE:
    case HCBT_DESTROYWND:
        refreshBars();
        break;
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

// The loops of dialogs and sheets ask here before they take a message for themselves. Wine's sheets know no Ctrl+Tab.
LRESULT CALLBACK filterMessages(int code, WPARAM wParam, LPARAM lParam)
{
    if (code == MSGF_DIALOGBOX && turnPage(*reinterpret_cast<const MSG *>(lParam))) {
        return TRUE;
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

bool ofOtherProcess(HWND window)
{
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    return process != GetCurrentProcessId();
}

void journalMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    wchar_t unsignedNumber[24];
    _ui64tow(wParam, unsignedNumber, 10);
    std::vector<std::wstring> fields{hexadecimal(message), unsignedNumber, number(lParam)};
    if (window == HWND_BROADCAST) {
        journal(L"broadcast", fields);
    } else if (window != nullptr && ofOtherProcess(window)) {
        fields.insert(fields.begin(), windowName(window));
        journal(L"message", fields);
    }
}

struct PhoneWindows {
    WNDENUMPROC callback;
    LPARAM lParam;
};

BOOL CALLBACK passOn(HWND window, LPARAM lParam)
{
    const PhoneWindows &wanted = *reinterpret_cast<PhoneWindows *>(lParam);
    return isSeen(window) ? wanted.callback(window, wanted.lParam) : TRUE;
}

struct Search {
    const wchar_t *className, *title;
    HWND found;
};

BOOL CALLBACK compareWindow(HWND window, LPARAM lParam)
{
    Search &search = *reinterpret_cast<Search *>(lParam);
    wchar_t title[256] = L"";
    InternalGetWindowText(window, title, 256);
    if ((search.className != nullptr && !hasClass(window, search.className)) ||
        (search.title != nullptr && lstrcmpW(search.title, title) != 0)) {
        return TRUE;
    }
    search.found = window;
    return FALSE;
}

bool owns(HWND owner, HWND window)
{
    while (window != nullptr && window != owner) {
        window = GetWindow(window, GW_OWNER);
    }
    return window == owner;
}

BOOL CALLBACK findForemost(HWND window, LPARAM lParam)
{
    Search &search = *reinterpret_cast<Search *>(lParam);
    if (!IsWindowVisible(window) || !IsWindowEnabled(window) || isBar(window) || !owns(search.found, window)) {
        return TRUE;
    }
    search.found = window;
    return FALSE;
}

// The pop-up to bring forward with window: the foremost one of its chain of owned windows that takes input.
HWND lastPopUp(HWND window)
{
    Search search{nullptr, nullptr, window};
    EnumWindows(findForemost, reinterpret_cast<LPARAM>(&search));
    return search.found != window ? search.found : GetLastActivePopup(window);
}

struct Place {
    int x, y, width, height;
};

// Where the phone puts a top-level window that leaves it the choice.
Place defaultPlace(Place asked)
{
    RECT desk = fullScreenArea();
    const int unset = static_cast<int>(CW_USEDEFAULT);
    if (asked.x == unset || asked.y == unset) {
        asked.x = desk.left;
        asked.y = desk.top;
    }
    if (asked.width == unset || asked.height == unset) {
        asked.width = desk.right - asked.x;
        asked.height = desk.bottom - asked.y;
    }
    return asked;
}

}   // namespace

UINT postedHelp()
{
    static const UINT message = RegisterWindowMessageW(L"Phone Simulator posted help");
    return message;
}

// Turns our stand-in back into the WM_HELP that was posted.
LRESULT CALLBACK watchMessages(int code, WPARAM wParam, LPARAM lParam)
{
    auto *message = reinterpret_cast<MSG *>(lParam);
    if (code == HC_ACTION && message->message == postedHelp()) {
        message->message = WM_HELP;
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

void watchThread()
{
    if (threadHook == nullptr) {
        threadHook = SetWindowsHookExW(WH_CBT, watchWindows, nullptr, GetCurrentThreadId());
        SetWindowsHookExW(WH_MSGFILTER, filterMessages, nullptr, GetCurrentThreadId());
        SetWindowsHookExW(WH_GETMESSAGE, watchMessages, nullptr, GetCurrentThreadId());
    }
}

void putInFront(HWND window, const wchar_t *key, WNDPROC procedure)
{
    LONG_PTR former = SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure));
    SetPropW(window, key, reinterpret_cast<HANDLE>(former));
}

LRESULT callFormer(HWND window, const wchar_t *key, UINT message, WPARAM wParam, LPARAM lParam)
{
    auto former = reinterpret_cast<WNDPROC>(GetPropW(window, key));
    if (message == WM_NCDESTROY) {
        RemovePropW(window, key);
    }
    return CallWindowProcW(former, window, message, wParam, lParam);
}

bool hasClass(HWND window, const wchar_t *className)
{
    wchar_t name[64];
    return GetClassNameW(window, name, 64) != 0 && lstrcmpiW(name, className) == 0;
}

}   // namespace sim

extern "C" {

ATOM WINAPI simRegisterClassW(const WNDCLASSW *description)
{
    WNDCLASSW desktop = *description;
    auto background = reinterpret_cast<ULONG_PTR>(desktop.hbrBackground);
    if ((background & ~static_cast<ULONG_PTR>(0xFF)) == sim::colourFlag) {
        desktop.hbrBackground = reinterpret_cast<HBRUSH>(background & 0xFF);
    }
    return RegisterClassW(&desktop);
}

HWND WINAPI simCreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x, int y, int width,
                               int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID parameter)
{
    sim::watchThread();
    const bool named = reinterpret_cast<ULONG_PTR>(className) > 0xFFFF;
    sim::Place place{x, y, width, height};
    if ((style & WS_CHILD) == 0) {
        style &= ~static_cast<DWORD>((style & WS_POPUP) == 0 ? WS_CAPTION | WS_SYSMENU : 0);
        place = sim::defaultPlace(place);
        if ((style & WS_VISIBLE) != 0) {
            sim::ensureBars();
        }
    }
    return CreateWindowExW(sim::desktopExStyle(exStyle), className, title,
                           sim::desktopStyle(style, named ? className : L""), place.x, place.y, place.width,
                           place.height, parent, menu, instance, parameter);
}

// The phone has its own numbers for these, and no state to restore from.
BOOL WINAPI simShowWindow(HWND window, int command)
{
    constexpr int showMaximized = 11, maximize = 12, restore = 13;
    const bool renumbered = command == showMaximized || command == maximize || command == restore;
    return ShowWindow(window, renumbered ? SW_SHOW : command);
}

BOOL WINAPI simSetForegroundWindow(HWND window)
{
    const auto bits = reinterpret_cast<ULONG_PTR>(window);
    window = reinterpret_cast<HWND>(bits & ~static_cast<ULONG_PTR>(1));
    if ((bits & 1) != 0) {
        window = sim::lastPopUp(window);
    }
    SetWindowPos(window, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_ASYNCWINDOWPOS);
    return SetForegroundWindow(window);
}

// A phone lets a program post WM_HELP to itself; Wine refuses, since its lParam is an address.
BOOL WINAPI simPostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    sim::journalMessage(window, message, wParam, lParam);
    return PostMessageW(window, message == WM_HELP ? sim::postedHelp() : message, wParam, lParam);
}

LRESULT WINAPI simSendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    sim::journalMessage(window, message, wParam, lParam);
    return SendMessageW(window, message, wParam, lParam);
}

BOOL WINAPI simSendNotifyMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    sim::journalMessage(window, message, wParam, lParam);
    return SendNotifyMessageW(window, message, wParam, lParam);
}

BOOL WINAPI simEnumWindows(WNDENUMPROC callback, LPARAM lParam)
{
    sim::PhoneWindows wanted{callback, lParam};
    return EnumWindows(sim::passOn, reinterpret_cast<LPARAM>(&wanted));
}

HWND WINAPI simFindWindowW(LPCWSTR className, LPCWSTR title)
{
    wchar_t name[256];
    if (className != nullptr && reinterpret_cast<ULONG_PTR>(className) <= 0xFFFF) {
        className = GlobalGetAtomNameW(LOWORD(reinterpret_cast<ULONG_PTR>(className)), name, 256) != 0 ? name : L"";
    }
    sim::Search search{className, title, nullptr};
    simEnumWindows(sim::compareWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

// Among the desktop's children the program sees only what is on its phone, and the phone's own desktop (the today
// screen, a window named like the phone) comes first, as on a phone.
HWND WINAPI simGetWindow(HWND window, UINT command)
{
    HWND found = GetWindow(window, command);
    if (window == GetDesktopWindow() && command == GW_CHILD) {
        HWND today = FindWindowW(L"DesktopExplorerWindow", sim::phone().name.c_str());
        if (today != nullptr) {
            return today;
        }
        command = GW_HWNDNEXT;
    }
    const bool sibling = command == GW_HWNDNEXT || command == GW_HWNDPREV;
    while (sibling && found != nullptr && GetAncestor(found, GA_PARENT) == GetDesktopWindow() && !sim::isSeen(found)) {
        found = GetWindow(found, command);
    }
    return found;
}

DWORD WINAPI simGetSysColor(int index)
{
    return GetSysColor(index & 0xFF);
}

HBRUSH WINAPI simGetSysColorBrush(int index)
{
    return GetSysColorBrush(index & 0xFF);
}

}   // extern "C"
