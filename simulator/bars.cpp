// The title bar and the bottom bar: windows of the program's own process that never take focus or activation.
#include "shell.h"

#include "control_windows.h"
#include "core.h"
#include "phone_windows.h"
#include "templates.h"

#include <atomic>
#include <initializer_list>

extern "C" void WINAPI simGetLocalTime(SYSTEMTIME *time);

namespace sim {

namespace {

constexpr wchar_t titleBarClass[] = L"HHTaskBar";
constexpr wchar_t bottomBarClass[] = L"menu_worker";
constexpr UINT lookAgain = WM_APP + 1;   // to the title bar: the active window may have changed
constexpr UINT_PTR clockTimer = 1;
constexpr UINT clockInterval = 1000;

constexpr COLORREF barTop = RGB(92, 143, 214), barBottom = RGB(18, 58, 132), barEdge = RGB(10, 34, 84);
constexpr COLORREF white = RGB(255, 255, 255), paleBlue = RGB(200, 220, 248);

HWND titleBar;
HWND bottomBar;
std::atomic<bool> lookPending{false};
std::wstring shownTitle;   // what the title bar shows now; touched by its thread only

const wchar_t *wishName(BarWish wish)
{
    static constexpr const wchar_t *names[] = {L"PhoneOkButton",        L"PhoneCancelButton", L"PhoneMenuBar",
                                               L"PhoneHidePanelButton", L"PhoneFullScreen",   L"PhoneCentred"};
    return names[static_cast<int>(wish)];
}

// Whether the person can work with window: no bar, no drop-down list, nothing behind a modal dialog.
bool isCandidate(HWND window)
{
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    return process == GetCurrentProcessId() && IsWindowVisible(window) && IsWindowEnabled(window) &&
           (GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_TOOLWINDOW) == 0;
}

BOOL CALLBACK takeFirstCandidate(HWND window, LPARAM found)
{
    if (!isCandidate(window)) {
        return TRUE;
    }
    *reinterpret_cast<HWND *>(found) = window;
    return FALSE;
}

std::wstring textOf(HWND window)
{
    wchar_t text[256] = L"";
    // Not WM_GETTEXT: the title must be readable while the window's thread is busy.
    InternalGetWindowText(window, text, 256);
    return text;
}

std::wstring clockText()
{
    SYSTEMTIME now;
    simGetLocalTime(&now);   // the phone's clock, which may stand still
    wchar_t text[16];
    wsprintfW(text, L"%u:%02u", now.wHour, now.wMinute);
    return text;
}

// --- drawing ---

struct Pens {
    explicit Pens(HDC dc, COLORREF line, COLORREF fill, int width)
        : dc_(dc), pen_(CreatePen(PS_SOLID, width, line)), brush_(CreateSolidBrush(fill)),
          oldPen_(SelectObject(dc, pen_)), oldBrush_(SelectObject(dc, brush_))
    {
    }
    ~Pens()
    {
        SelectObject(dc_, oldPen_);
        SelectObject(dc_, oldBrush_);
        DeleteObject(pen_);
        DeleteObject(brush_);
    }
    Pens(const Pens &) = delete;
    Pens &operator=(const Pens &) = delete;

private:
    HDC dc_;
    HPEN pen_;
    HBRUSH brush_;
    HGDIOBJ oldPen_, oldBrush_;
};

void fill(HDC dc, int left, int top, int right, int bottom, COLORREF colour)
{
    RECT area{left, top, right, bottom};
    SetBkColor(dc, colour);
    ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &area, nullptr, 0, nullptr);
}

// The start symbol: a pennant on a pole.
void drawPennant(HDC dc)
{
    const int poleLeft = px(7), top = px(6);
    fill(dc, poleLeft, top, poleLeft + px(2), px(21), white);
    POINT cloth[] = {{poleLeft + px(2), top}, {px(20), px(10)}, {poleLeft + px(2), px(15)}};
    Pens pens(dc, RGB(255, 196, 60), RGB(255, 170, 30), 1);
    Polygon(dc, cloth, 3);
}

void drawSignal(HDC dc, int left)
{
    for (int bar = 0; bar < 4; ++bar) {
        fill(dc, left + bar * px(3), px(17) - bar * px(3), left + bar * px(3) + px(2), px(19), white);
    }
}

void drawSpeaker(HDC dc, int left)
{
    const int middle = px(13);
    POINT cone[] = {{left, middle - px(2)},         {left + px(3), middle - px(2)}, {left + px(7), middle - px(6)},
                    {left + px(7), middle + px(6)}, {left + px(3), middle + px(2)}, {left, middle + px(2)}};
    {
        Pens pens(dc, white, white, 1);
        Polygon(dc, cone, 6);
    }
    Pens pens(dc, white, white, px(1));
    for (int wave = 1; wave <= 2; ++wave) {
        const int reach = px(2) * wave + px(1);
        Arc(dc, left + px(7) - reach, middle - reach - px(1), left + px(7) + reach, middle + reach + px(1),
            left + px(7) + reach, middle + reach, left + px(7) + reach, middle - reach);
    }
}

RECT okButtonArea(const RECT &bar)
{
    const int size = px(20);
    return {bar.right - px(3) - size, px(3), bar.right - px(3), px(3) + size};
}

void drawText(HDC dc, const std::wstring &text, RECT area, HFONT font, UINT format)
{
    HGDIOBJ old = SelectObject(dc, font);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, white);
    DrawTextW(dc, text.c_str(), -1, &area, format | DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
    SelectObject(dc, old);
}

void drawOkButton(HDC dc, const RECT &bar, bool cancel)
{
    RECT area = okButtonArea(bar);
    {
        Pens pens(dc, white, RGB(44, 100, 178), px(1));
        Ellipse(dc, area.left, area.top, area.right, area.bottom);
    }
    OffsetRect(&area, 0, cancel ? 0 : -px(1));
    drawText(dc, cancel ? L"\u00D7" : L"ok", area, phoneFont(px(cancel ? 16 : 12), true), DT_CENTER);
}

void paintTitleBar(HDC dc, const RECT &bar)
{
    fillGradient(dc, bar, barTop, barBottom);
    fill(dc, bar.left, bar.bottom - px(1), bar.right, bar.bottom, barEdge);
    drawPennant(dc);

    int right = bar.right - px(4);
    HWND active = phoneActiveWindow();
    const bool cancel = hasWish(active, BarWish::cancelButton);
    if (okOwner() != nullptr || cancel) {
        drawOkButton(dc, bar, okOwner() == nullptr);
        right = okButtonArea(bar).left - px(3);
    }
    RECT clock{right - px(38), 0, right, bar.bottom};
    drawText(dc, clockText(), clock, phoneFont(px(12), true), DT_RIGHT);
    drawSpeaker(dc, clock.left - px(15));
    drawSignal(dc, clock.left - px(31));
    shownTitle = titleText();
    RECT title{px(26), 0, clock.left - px(35), bar.bottom};
    drawText(dc, shownTitle, title, phoneFont(px(12), true), DT_LEFT | DT_END_ELLIPSIS);
}

RECT panelButtonArea(const RECT &bar)
{
    const int width = px(32);
    // Windows Mobile 5 moved the button between the two soft keys; before, it stood at the right end.
    const int left = phone().osMajor >= 5 ? (bar.right - width) / 2 : bar.right - width - px(4);
    return {left, 0, left + width, bar.bottom};
}

void drawPanelButton(HDC dc, const RECT &bar)
{
    RECT button = panelButtonArea(bar);
    if (panelUp()) {
        fill(dc, button.left, px(1), button.right, button.bottom, RGB(10, 34, 84));
    }
    const int left = button.left + px(5), top = px(7), step = px(4);
    {
        Pens pens(dc, white, RGB(235, 242, 252), 1);
        RoundRect(dc, left, top, left + px(22), top + px(13), px(3), px(3));
    }
    for (int row = 0; row < 2; ++row) {
        for (int key = 0; key < 5; ++key) {
            const int x = left + px(2) + key * step, y = top + px(2) + row * px(3);
            fill(dc, x, y, x + px(2), y + px(2), barBottom);
        }
    }
    fill(dc, left + px(5), top + px(9), left + px(17), top + px(11), barBottom);
}

void paintBottomBar(HDC dc, const RECT &bar)
{
    fillGradient(dc, bar, barTop, barBottom);
    fill(dc, bar.left, bar.top, bar.right, bar.top + px(1), paleBlue);
    if (!hasWish(phoneActiveWindow(), BarWish::hidePanelButton)) {
        drawPanelButton(dc, bar);
    }
}

void paint(HWND window, void (*draw)(HDC, const RECT &))
{
    PAINTSTRUCT painting;
    HDC target = BeginPaint(window, &painting);
    RECT area;
    GetClientRect(window, &area);
    draw(PaintBuffer(target, area).dc(), area);
    EndPaint(window, &painting);
}

// --- window procedures ---

POINT pointOf(LPARAM lParam)
{
    return {static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
}

void tapTitleBar(HWND window, LPARAM lParam)
{
    RECT bar;
    GetClientRect(window, &bar);
    RECT button = okButtonArea(bar);
    if (PtInRect(&button, pointOf(lParam))) {
        tapOk();
    }
}

void tapBottomBar(HWND window, LPARAM lParam)
{
    RECT bar;
    GetClientRect(window, &bar);
    RECT button = panelButtonArea(bar);
    if (PtInRect(&button, pointOf(lParam))) {
        SimTapPanelButton();
    }
}

// Wine raises a window that gets the focus over topmost ones on the screen, though not in its own order of windows.
// Only a window that really changes its place there is raised again, so each bar is taken to the top in turn. An open
// drop-down list may lie over the bars.
void keepOnTop()
{
    HWND capture = GetCapture();
    if (capture != nullptr && hasClass(capture, L"ComboLBox")) {
        return;
    }
    for (HWND bar : {titleBar, bottomBar, panelHandle()}) {
        if (bar != nullptr && IsWindowVisible(bar)) {
            SetWindowPos(bar, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
        }
    }
}

LRESULT CALLBACK titleBarProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    static std::wstring shownClock;
    switch (message) {
    case WM_CREATE:
        SetTimer(window, clockTimer, clockInterval, nullptr);
        return 0;
    case WM_TIMER:
        if (titleText() != shownTitle || clockText() != shownClock) {
            shownClock = clockText();
            InvalidateRect(window, nullptr, FALSE);
        }
        return 0;
    case lookAgain:
        lookPending = false;
        keepOnTop();
        InvalidateRect(window, nullptr, FALSE);
        InvalidateRect(bottomBar, nullptr, FALSE);
        return 0;
    case WM_PAINT:
        paint(window, paintTitleBar);
        return 0;
    case WM_LBUTTONDOWN:
        tapTitleBar(window, lParam);
        return 0;
    case WM_MOUSEACTIVATE:
        return MA_NOACTIVATE;
    case WM_NCDESTROY:
        titleBar = window == titleBar ? nullptr : titleBar;
        break;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

LRESULT CALLBACK bottomBarProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_PAINT:
        paint(window, paintBottomBar);
        return 0;
    case WM_LBUTTONDOWN:
        tapBottomBar(window, lParam);
        return 0;
    case WM_MOUSEACTIVATE:
        return MA_NOACTIVATE;
    case WM_NCDESTROY:
        bottomBar = window == bottomBar ? nullptr : bottomBar;
        break;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

HWND createBar(const wchar_t *name, WNDPROC procedure, int top, int height)
{
    WNDCLASSW barClass = {};
    barClass.lpfnWndProc = procedure;
    barClass.hInstance = GetModuleHandleW(nullptr);
    barClass.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    barClass.lpszClassName = name;
    RegisterClassW(&barClass);
    HWND bar = CreateWindowExW(WS_EX_NOACTIVATE | WS_EX_TOPMOST | WS_EX_TOOLWINDOW, name, L"", WS_POPUP, 0, top,
                               phone().width, height, nullptr, nullptr, barClass.hInstance, nullptr);
    ShowWindow(bar, SW_SHOWNOACTIVATE);
    return bar;
}

}   // namespace

void fillGradient(HDC dc, const RECT &area, COLORREF top, COLORREF bottom)
{
    const int height = area.bottom - area.top;
    auto mix = [&](int from, int to, int line) { return from + MulDiv(to - from, line, height > 1 ? height - 1 : 1); };
    for (int line = 0; line < height; ++line) {
        fill(dc, area.left, area.top + line, area.right, area.top + line + 1,
             RGB(mix(GetRValue(top), GetRValue(bottom), line), mix(GetGValue(top), GetGValue(bottom), line),
                 mix(GetBValue(top), GetBValue(bottom), line)));
    }
}

PaintBuffer::PaintBuffer(HDC target, const RECT &area)
    : target_(target), area_(area), dc_(CreateCompatibleDC(target)),
      bitmap_(CreateCompatibleBitmap(target, area.right, area.bottom)), oldBitmap_(SelectObject(dc_, bitmap_))
{
}

PaintBuffer::~PaintBuffer()
{
    BitBlt(target_, area_.left, area_.top, area_.right - area_.left, area_.bottom - area_.top, dc_, area_.left,
           area_.top, SRCCOPY);
    SelectObject(dc_, oldBitmap_);
    DeleteObject(bitmap_);
    DeleteDC(dc_);
}

void ensureBars()
{
    // The windows of a thread end with it, without a message.
    if (IsWindow(titleBar)) {
        return;
    }
    lookPending = false;   // a look that former bars still had before them
    titleBar = createBar(titleBarClass, titleBarProc, 0, px(titleBarHeight));
    bottomBar = createBar(bottomBarClass, bottomBarProc, phone().height - px(bottomBarHeight), px(bottomBarHeight));
    createPanel();
}

void forgetBars()
{
    for (HWND bar : {titleBar, bottomBar, panelHandle()}) {
        // A window can be destroyed by its own thread only.
        if (GetWindowThreadProcessId(bar, nullptr) == GetCurrentThreadId()) {
            DestroyWindow(bar);
        } else if (bar != nullptr) {
            PostMessageW(bar, WM_CLOSE, 0, 0);
        }
    }
    titleBar = bottomBar = nullptr;
    forgetPanel();
}

void showTitleBar(bool shown)
{
    ShowWindow(titleBar, shown ? SW_SHOWNOACTIVATE : SW_HIDE);
}

HWND bottomBarWindow()
{
    return bottomBar;
}

bool isBar(HWND window)
{
    return hasClass(window, titleBarClass) || hasClass(window, bottomBarClass) || hasClass(window, panelClass);
}

void refreshBars()
{
    if (titleBar != nullptr && !lookPending.exchange(true)) {
        lookPending = PostMessageW(titleBar, lookAgain, 0, 0) != FALSE;
    }
}

HWND phoneActiveWindow()
{
    HWND window = GetForegroundWindow();
    if (isCandidate(window)) {
        return window;
    }
    // Another program is in front, as happens when several phones share a desktop.
    window = nullptr;
    EnumWindows(takeFirstCandidate, reinterpret_cast<LPARAM>(&window));
    return window;
}

std::wstring titleText()
{
    std::wstring text;
    for (HWND window = phoneActiveWindow(); window != nullptr && text.empty(); window = GetWindow(window, GW_OWNER)) {
        text = textOf(window);
    }
    return text;
}

HWND okOwner()
{
    HWND active = phoneActiveWindow();
    return hasWish(active, BarWish::okButton) ? active : nullptr;
}

void tapOk()
{
    HWND active = phoneActiveWindow();
    if (hasWish(active, BarWish::okButton)) {
        PostMessageW(active, WM_COMMAND, MAKEWPARAM(IDOK, 0), 0);
    } else if (hasWish(active, BarWish::cancelButton)) {
        PostMessageW(active, WM_COMMAND, MAKEWPARAM(IDCANCEL, 0), 0);
    }
}

void setWish(HWND window, BarWish wish, bool on)
{
    if (on) {
        SetPropW(window, wishName(wish), reinterpret_cast<HANDLE>(1));
    } else {
        RemovePropW(window, wishName(wish));
    }
}

bool hasWish(HWND window, BarWish wish)
{
    return window != nullptr && GetPropW(window, wishName(wish)) != nullptr;
}

}   // namespace sim

extern "C" {

BOOL WINAPI SimTapOk(void)
{
    const bool there = sim::okOwner() != nullptr;
    if (there) {
        sim::tapOk();
    }
    return there;
}

BOOL WINAPI SimTapPanelButton(void)
{
    if (sim::hasWish(sim::phoneActiveWindow(), sim::BarWish::hidePanelButton)) {
        return FALSE;
    }
    sim::setPanel(!sim::panelUp());
    return TRUE;
}

void WINAPI SimSetPanel(BOOL up)
{
    sim::setPanel(up != FALSE);
}

int WINAPI SimTitleText(LPWSTR buffer, int size)
{
    if (buffer == nullptr || size <= 0) {
        return 0;
    }
    lstrcpynW(buffer, sim::titleText().c_str(), size);
    return lstrlenW(buffer);
}

HWND WINAPI SimOkOwner(void)
{
    return sim::okOwner();
}

}   // extern "C"
