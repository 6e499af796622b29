// The soft input panel: a drawn keyboard above the bottom bar. Its keys go to whatever has the focus.
#include "shell.h"

#include "core.h"
#include "phone_windows.h"
#include "templates.h"

#include <atomic>

namespace sim {

namespace {

constexpr UINT settingSipInfo = 224;   // SPI_SETSIPINFO
constexpr UINT showPanel = WM_APP + 2;

enum class Action { character, virtualKey, shift };

// A key: what it writes (plain and shifted) or the virtual key it presses, and its width in tenths of a letter key.
struct Key {
    const wchar_t *label;
    const wchar_t *shifted;
    Action action;
    WORD code;   // virtual key; for characters the label is what is written
    int tenths;
};

constexpr Key letter(const wchar_t *plain, const wchar_t *shifted)
{
    return {plain, shifted, Action::character, 0, 10};
}
constexpr Key special(const wchar_t *label, WORD code, int tenths)
{
    return {label, label, Action::virtualKey, code, tenths};
}

constexpr Key digits[] = {letter(L"1", L"!"), letter(L"2", L"@"), letter(L"3", L"#"), letter(L"4", L"$"),
                          letter(L"5", L"%"), letter(L"6", L"^"), letter(L"7", L"&"), letter(L"8", L"*"),
                          letter(L"9", L"("), letter(L"0", L")"), letter(L"-", L"_"), special(L"Del", VK_BACK, 20)};
constexpr Key upper[] = {special(L"Tab", VK_TAB, 15), letter(L"q", L"Q"), letter(L"w", L"W"), letter(L"e", L"E"),
                         letter(L"r", L"R"),          letter(L"t", L"T"), letter(L"y", L"Y"), letter(L"u", L"U"),
                         letter(L"i", L"I"),          letter(L"o", L"O"), letter(L"p", L"P"), letter(L"+", L"=")};
constexpr Key middle[] = {special(L"Esc", VK_ESCAPE, 18),
                          letter(L"a", L"A"),
                          letter(L"s", L"S"),
                          letter(L"d", L"D"),
                          letter(L"f", L"F"),
                          letter(L"g", L"G"),
                          letter(L"h", L"H"),
                          letter(L"j", L"J"),
                          letter(L"k", L"K"),
                          letter(L"l", L"L"),
                          special(L"Enter", VK_RETURN, 22)};
constexpr Key lower[] = {{L"Shift", L"Shift", Action::shift, 0, 23},
                         letter(L"z", L"Z"),
                         letter(L"x", L"X"),
                         letter(L"c", L"C"),
                         letter(L"v", L"V"),
                         letter(L"b", L"B"),
                         letter(L"n", L"N"),
                         letter(L"m", L"M"),
                         letter(L",", L";"),
                         letter(L".", L":"),
                         letter(L"/", L"?")};
constexpr Key bottom[] = {letter(L"<", L"["),         letter(L">", L"]"),        letter(L"\\", L"|"),
                          special(L"", VK_SPACE, 50), letter(L"'", L"\""),       special(L"", VK_UP, 10),
                          special(L"", VK_DOWN, 10),  special(L"", VK_LEFT, 10), special(L"", VK_RIGHT, 10)};

struct Row {
    const Key *keys;
    int count;
};
template <int count> constexpr Row row(const Key (&keys)[count])
{
    return {keys, count};
}
constexpr Row rows[] = {row(digits), row(upper), row(middle), row(lower), row(bottom)};
constexpr int rowCount = sizeof rows / sizeof rows[0];

std::atomic<bool> up{false};
HWND panelWindow;
bool shiftDown;   // the panel's own thread only

RECT keyArea(const RECT &panel, int rowIndex, int keyIndex)
{
    const Row &line = rows[rowIndex];
    int total = 0, before = 0;
    for (int i = 0; i < line.count; ++i) {
        before += i < keyIndex ? line.keys[i].tenths : 0;
        total += line.keys[i].tenths;
    }
    const int after = before + line.keys[keyIndex].tenths;
    return {MulDiv(panel.right, before, total), MulDiv(panel.bottom, rowIndex, rowCount),
            MulDiv(panel.right, after, total), MulDiv(panel.bottom, rowIndex + 1, rowCount)};
}

bool isArrow(const Key &key)
{
    return key.action == Action::virtualKey && key.code >= VK_LEFT && key.code <= VK_DOWN;
}

// A triangle that points where the key's arrow does.
void drawArrow(HDC dc, WORD code, const RECT &area)
{
    const int reach = px(3), x = (area.left + area.right) / 2, y = (area.top + area.bottom) / 2;
    const int dx = code == VK_LEFT ? -reach : code == VK_RIGHT ? reach : 0;
    const int dy = code == VK_UP ? -reach : code == VK_DOWN ? reach : 0;
    POINT corners[] = {{x + dx, y + dy}, {x - dx - dy, y - dy - dx}, {x - dx + dy, y - dy + dx}};
    SetDCPenColor(dc, RGB(0, 0, 0));
    SetDCBrushColor(dc, RGB(0, 0, 0));
    Polygon(dc, corners, 3);
}

void drawKey(HDC dc, const Key &key, RECT area)
{
    const bool plain = key.action == Action::character || key.code == VK_SPACE;
    const bool pressed = key.action == Action::shift && shiftDown;
    SelectObject(dc, GetStockObject(DC_BRUSH));
    SelectObject(dc, GetStockObject(DC_PEN));
    SetDCPenColor(dc, RGB(120, 132, 152));
    SetDCBrushColor(dc, pressed ? RGB(110, 150, 210) : plain ? RGB(255, 255, 255) : RGB(214, 222, 236));
    const int gap = px(1);
    RoundRect(dc, area.left + gap / 2, area.top + gap / 2, area.right, area.bottom, px(3), px(3));
    SetTextColor(dc, RGB(0, 0, 0));
    SetBkMode(dc, TRANSPARENT);
    if (isArrow(key)) {
        drawArrow(dc, key.code, area);
        return;
    }
    HGDIOBJ old = SelectObject(dc, phoneFont(px(11), false));
    DrawTextW(dc, shiftDown ? key.shifted : key.label, -1, &area, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
    SelectObject(dc, old);
}

void drawKeyboard(HDC dc, const RECT &area)
{
    fillGradient(dc, area, RGB(176, 190, 212), RGB(140, 156, 184));
    for (int line = 0; line < rowCount; ++line) {
        for (int key = 0; key < rows[line].count; ++key) {
            drawKey(dc, rows[line].keys[key], keyArea(area, line, key));
        }
    }
}

void paintPanel(HWND window)
{
    PAINTSTRUCT painting;
    HDC target = BeginPaint(window, &painting);
    RECT area;
    GetClientRect(window, &area);
    drawKeyboard(PaintBuffer(target, area).dc(), area);
    EndPaint(window, &painting);
}

HWND focusWindow()
{
    GUITHREADINFO thread = {};
    thread.cbSize = sizeof thread;
    return GetGUIThreadInfo(GetCurrentThreadId(), &thread) ? thread.hwndFocus : nullptr;
}

void press(const Key &key)
{
    HWND focus = focusWindow();
    if (key.action == Action::shift) {
        shiftDown = !shiftDown;
    } else if (key.action == Action::character) {
        PostMessageW(focus, WM_CHAR, (shiftDown ? key.shifted : key.label)[0], 1);
        shiftDown = false;
    } else {
        const LPARAM scan = 1 | static_cast<LPARAM>(MapVirtualKeyW(key.code, MAPVK_VK_TO_VSC)) << 16;
        PostMessageW(focus, WM_KEYDOWN, key.code, scan);
        PostMessageW(focus, WM_KEYUP, key.code, scan | 0xC0000000);
    }
    InvalidateRect(panelWindow, nullptr, FALSE);
}

void tapPanel(HWND window, POINT point)
{
    RECT area;
    GetClientRect(window, &area);
    for (int line = 0; line < rowCount; ++line) {
        for (int key = 0; key < rows[line].count; ++key) {
            RECT place = keyArea(area, line, key);
            if (PtInRect(&place, point)) {
                press(rows[line].keys[key]);
                return;
            }
        }
    }
}

LRESULT CALLBACK panelProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_PAINT:
        paintPanel(window);
        return 0;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
        tapPanel(window, {static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))});
        return 0;
    case showPanel:
        SetWindowPos(window, HWND_TOPMOST, 0, 0, 0, 0,
                     SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE | (up ? SWP_SHOWWINDOW : SWP_HIDEWINDOW));
        return 0;
    case WM_MOUSEACTIVATE:
        return MA_NOACTIVATE;
    case WM_NCDESTROY:
        panelWindow = window == panelWindow ? nullptr : panelWindow;
        break;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

// Windows of other threads are given a second: a thread that waits for something else must not hold up the panel.
BOOL CALLBACK tellWindow(HWND window, LPARAM)
{
    constexpr UINT patience = 1000;
    DWORD process = 0;
    const DWORD thread = GetWindowThreadProcessId(window, &process);
    if (process != GetCurrentProcessId() || isBar(window) || hasClass(window, L"IME")) {
        return TRUE;
    }
    if (thread == GetCurrentThreadId()) {
        SendMessageW(window, WM_SETTINGCHANGE, settingSipInfo, 0);
    } else {
        SendMessageTimeoutW(window, WM_SETTINGCHANGE, settingSipInfo, 0, SMTO_NORMAL, patience, nullptr);
    }
    return TRUE;
}

}   // namespace

void createPanel()
{
    WNDCLASSW description = {};
    description.lpfnWndProc = panelProc;
    description.hInstance = GetModuleHandleW(nullptr);
    description.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    description.lpszClassName = panelClass;
    RegisterClassW(&description);
    RECT desk = fullScreenArea();
    panelWindow = CreateWindowExW(WS_EX_NOACTIVATE | WS_EX_TOPMOST | WS_EX_TOOLWINDOW, panelClass, L"", WS_POPUP, 0,
                                  desk.bottom - px(panelHeight), desk.right, px(panelHeight), nullptr, nullptr,
                                  description.hInstance, nullptr);
    SendMessageW(panelWindow, showPanel, 0, 0);
}

void forgetPanel()
{
    up = false;
    panelWindow = nullptr;
}

HWND panelHandle()
{
    return panelWindow;
}

bool panelUp()
{
    return up;
}

void setPanel(bool wanted)
{
    if (up.exchange(wanted) == wanted) {
        return;
    }
    journal(L"panel", {wanted ? L"on" : L"off"});
    if (panelWindow != nullptr) {
        PostMessageW(panelWindow, showPanel, 0, 0);
    }
    refreshBars();
    EnumWindows(tellWindow, 0);
}

}   // namespace sim
