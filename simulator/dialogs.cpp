// Dialogs, message boxes, and what every dialog window does on the phone's screen.
#include "dialogs.h"

#include "core.h"
#include "phone_windows.h"
#include "propertysheet.h"
#include "shell.h"

#include <algorithm>

namespace sim {

namespace {

constexpr wchar_t dialogKey[] = L"PhoneDialogProc";
constexpr wchar_t scrollGuard[] = L"PhoneScrolling";
constexpr int captionHeight = 20;   // of small dialogs, at 96 dots per inch

thread_local const PhoneTemplate *templateInCreation;

bool isFramed(HWND window)
{
    return (GetWindowLongPtrW(window, GWL_STYLE) & (WS_BORDER | WS_DLGFRAME)) != 0;
}

bool isCaptioned(DWORD style)
{
    return (style & WS_CAPTION) == WS_CAPTION;
}

bool isCaptioned(HWND window)
{
    return isCaptioned(static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE)));
}

int topFrame(DWORD style)
{
    return px(1) + (isCaptioned(style) ? px(captionHeight) : 0);
}

// --- frame of small dialogs ---

RECT frameButton(HWND window)
{
    RECT area;
    GetWindowRect(window, &area);
    const int size = px(16), right = area.right - area.left - px(3);
    return {right - size, px(3), right, px(3) + size};
}

// What the button in a small dialog's caption sends: IDOK, IDCANCEL, or 0 when there is none.
int frameCommand(HWND window)
{
    if (hasWish(window, BarWish::okButton)) {
        return IDOK;
    }
    return (GetWindowLongPtrW(window, GWL_STYLE) & WS_SYSMENU) != 0 ? IDCANCEL : 0;
}

void drawCaption(HWND window, HDC dc, int width)
{
    RECT caption{px(1), px(1), width - px(1), px(1) + px(captionHeight)};
    fillGradient(dc, caption, RGB(84, 132, 204), RGB(30, 74, 150));
    wchar_t title[256] = L"";
    InternalGetWindowText(window, title, 256);
    HGDIOBJ old = SelectObject(dc, phoneFont(px(12), true));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(255, 255, 255));
    RECT text{caption.left + px(4), caption.top, frameButton(window).left - px(2), caption.bottom};
    DrawTextW(dc, title, -1, &text, DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS | DT_NOPREFIX);
    if (int command = frameCommand(window)) {
        RECT button = frameButton(window);
        SelectObject(dc, GetStockObject(DC_PEN));
        SelectObject(dc, GetStockObject(DC_BRUSH));
        SetDCPenColor(dc, RGB(255, 255, 255));
        SetDCBrushColor(dc, RGB(44, 100, 178));
        RoundRect(dc, button.left, button.top, button.right, button.bottom, px(5), px(5));
        DrawTextW(dc, command == IDOK ? L"ok" : L"\u00D7", -1, &button, DT_SINGLELINE | DT_VCENTER | DT_CENTER);
    }
    SelectObject(dc, old);
}

void paintFrame(HWND window)
{
    RECT area;
    GetWindowRect(window, &area);
    OffsetRect(&area, -area.left, -area.top);
    HDC dc = GetWindowDC(window);
    HBRUSH brush = CreateSolidBrush(RGB(18, 58, 132));
    RECT lines[] = {{0, 0, area.right, px(1)},
                    {0, area.bottom - px(1), area.right, area.bottom},
                    {0, 0, px(1), area.bottom},
                    {area.right - px(1), 0, area.right, area.bottom}};
    for (const RECT &line : lines) {
        FillRect(dc, &line, brush);
    }
    DeleteObject(brush);
    if (isCaptioned(window)) {
        drawCaption(window, dc, area.right);
    }
    ReleaseDC(window, dc);
}

LRESULT frameHit(HWND window, LPARAM lParam)
{
    RECT area;
    GetWindowRect(window, &area);
    POINT point{static_cast<short>(LOWORD(lParam)) - area.left, static_cast<short>(HIWORD(lParam)) - area.top};
    RECT button = frameButton(window);
    if (isCaptioned(window) && frameCommand(window) != 0 && PtInRect(&button, point)) {
        return HTCLOSE;
    }
    return isCaptioned(window) && point.y >= 0 && point.y < px(1) + px(captionHeight) ? HTCAPTION : HTNOWHERE;
}

// The phone's frame is one line and a caption as high as its resolution asks; the desktop's knows neither.
void calculateFrame(HWND window, RECT *area)
{
    const DWORD style = static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE));
    area->top += topFrame(style);
    area->left += px(1);
    area->right -= px(1);
    area->bottom -= px(1);
    if ((style & WS_VSCROLL) != 0) {
        area->right -= GetSystemMetrics(SM_CXVSCROLL);
    }
}

// --- place of small dialogs ---

// Puts a new dialog, sized by the dialog manager for the desktop's frame, into the phone's frame and onto its screen.
void placeDialog(HWND dialog)
{
    const DWORD style = static_cast<DWORD>(GetWindowLongPtrW(dialog, GWL_STYLE));
    RECT area, frame = {}, desk = workArea();
    GetWindowRect(dialog, &area);
    int width = area.right - area.left, height = area.bottom - area.top;
    if (isFramed(dialog)) {
        AdjustWindowRectEx(&frame, style, FALSE, static_cast<DWORD>(GetWindowLongPtrW(dialog, GWL_EXSTYLE)));
        width += 2 * px(1) - (frame.right - frame.left);
        height += topFrame(style) + px(1) - (frame.bottom - frame.top);
    }
    height = std::min<int>(height, desk.bottom - desk.top);
    if (hasWish(dialog, BarWish::centred)) {
        area.left = desk.left + (desk.right - desk.left - width) / 2;
        area.top = desk.top + (desk.bottom - desk.top - height) / 2;
    }
    const int left = std::max<int>(desk.left, std::min<int>(area.left, desk.right - width));
    const int top = std::max<int>(desk.top, std::min<int>(area.top, desk.bottom - height));
    SetWindowPos(dialog, nullptr, left, top, width, height, SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
}

// --- the procedure in front of every dialog ---

LRESULT frameMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_NCCALCSIZE:
        calculateFrame(window, wParam ? &reinterpret_cast<NCCALCSIZE_PARAMS *>(lParam)->rgrc[0]
                                      : reinterpret_cast<RECT *>(lParam));
        return 0;
    case WM_NCPAINT:
        // The scroll bar belongs to the frame too, and only the default procedure paints it.
        if ((GetWindowLongPtrW(window, GWL_STYLE) & WS_VSCROLL) != 0) {
            callFormer(window, dialogKey, message, wParam, lParam);
        }
        paintFrame(window);
        return 0;
    case WM_NCACTIVATE:
        paintFrame(window);
        return TRUE;
    case WM_NCHITTEST:
        if (LRESULT hit = frameHit(window, lParam)) {
            return hit;
        }
        break;
    case WM_NCLBUTTONDOWN:
        if (wParam == HTCLOSE) {
            PostMessageW(window, WM_COMMAND, MAKEWPARAM(frameCommand(window), 0), 0);
            return 0;
        }
        break;
    }
    return callFormer(window, dialogKey, message, wParam, lParam);
}

bool isFrameMessage(UINT message)
{
    return message == WM_NCCALCSIZE || message == WM_NCPAINT || message == WM_NCACTIVATE || message == WM_NCHITTEST ||
           message == WM_NCLBUTTONDOWN;
}

LRESULT CALLBACK dialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (isFrameMessage(message) && isFramed(window)) {
        return frameMessage(window, message, wParam, lParam);
    }
    if (message == WM_INITDIALOG) {
        placeDialog(window);
    }
    LRESULT answer = callFormer(window, dialogKey, message, wParam, lParam);
    switch (message) {
    case WM_SETTEXT:
        if (isCaptioned(window)) {
            paintFrame(window);
        }
        refreshBars();
        break;
    case WM_VSCROLL:
        if (lParam == 0 && !isSheet(window)) {
            scrollBy(window, wParam);
        }
        break;
    case WM_SIZE:
    case WM_SHOWWINDOW:
        if (!isSheet(window)) {
            updateScrolling(window);
        }
        refreshBars();
        break;
    case WM_ACTIVATE:
        refreshBars();
        break;
    }
    return message == WM_NCDESTROY ? answer : whitened(message, wParam, answer);
}

// Lowest edge of the visible controls, in pixels of the unscrolled dialog.
int contentHeight(HWND dialog, int position)
{
    int lowest = 0;
    for (HWND child = GetWindow(dialog, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
        if ((GetWindowLongPtrW(child, GWL_STYLE) & WS_VISIBLE) != 0) {
            RECT area;
            GetWindowRect(child, &area);
            MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT *>(&area), 2);
            lowest = std::max<int>(lowest, area.bottom + position);
        }
    }
    return lowest;
}

SCROLLINFO scrollState(HWND dialog)
{
    SCROLLINFO info = {};
    info.cbSize = sizeof info;
    info.fMask = SIF_ALL;
    GetScrollInfo(dialog, SB_VERT, &info);
    return info;
}

void scrollTo(HWND dialog, int position)
{
    SCROLLINFO info = scrollState(dialog);
    position = std::max(0, std::min(position, info.nMax - static_cast<int>(info.nPage) + 1));
    if (position == info.nPos) {
        return;
    }
    SetScrollPos(dialog, SB_VERT, position, TRUE);
    ScrollWindowEx(dialog, 0, info.nPos - position, nullptr, nullptr, nullptr, nullptr,
                   SW_SCROLLCHILDREN | SW_INVALIDATE | SW_ERASE);
    // The page header is painted or left out by the position, wherever the moved pixels went.
    RedrawWindow(dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

HWND scrollableAncestor(HWND control)
{
    for (HWND window = GetParent(control); window != nullptr; window = GetAncestor(window, GA_PARENT)) {
        if (hasClass(window, L"#32770") && (GetWindowLongPtrW(window, GWL_STYLE) & WS_VSCROLL) != 0) {
            return window;
        }
    }
    return nullptr;
}

bool isGround(UINT message)
{
    return message == WM_CTLCOLORDLG || message == WM_CTLCOLORSTATIC || message == WM_CTLCOLORBTN;
}

}   // namespace

LRESULT whitened(UINT message, WPARAM wParam, LRESULT answer)
{
    if (!isGround(message) || answer != reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_3DFACE))) {
        return answer;
    }
    SetBkColor(reinterpret_cast<HDC>(wParam), GetSysColor(COLOR_WINDOW));
    return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_WINDOW));
}

void attachDialog(HWND dialog)
{
    const PhoneTemplate *source = templateInCreation;
    templateInCreation = nullptr;
    if (source == nullptr) {
        attachSheet(dialog);
    }
    putInFront(dialog, dialogKey, dialogProc);
    setWish(dialog, BarWish::okButton, source != nullptr && source->okButton);
    setWish(dialog, BarWish::centred, source != nullptr && source->centred);
}

void updateScrolling(HWND dialog)
{
    SCROLLINFO info = scrollState(dialog);
    RECT client;
    GetClientRect(dialog, &client);
    const bool scrolls = (GetWindowLongPtrW(dialog, GWL_STYLE) & WS_VSCROLL) != 0;
    const int content = contentHeight(dialog, scrolls ? info.nPos : 0);
    if (client.bottom == 0 || GetPropW(dialog, scrollGuard) != nullptr || (content <= client.bottom && !scrolls)) {
        return;
    }
    SetPropW(dialog, scrollGuard, reinterpret_cast<HANDLE>(1));
    scrollTo(dialog, std::min(info.nPos, std::max<int>(0, content - client.bottom)));
    info.fMask = SIF_RANGE | SIF_PAGE;
    info.nMin = 0;
    info.nMax = content - 1 + px(3);
    info.nPage = client.bottom;
    if (content <= client.bottom) {
        info.nMax = 0;
    }
    SetScrollInfo(dialog, SB_VERT, &info, TRUE);
    RemovePropW(dialog, scrollGuard);
}

void scrollBy(HWND dialog, WPARAM request)
{
    SCROLLINFO info = scrollState(dialog);
    const int line = px(15);
    switch (LOWORD(request)) {
    case SB_LINEUP:
        return scrollTo(dialog, info.nPos - line);
    case SB_LINEDOWN:
        return scrollTo(dialog, info.nPos + line);
    case SB_PAGEUP:
        return scrollTo(dialog, info.nPos - static_cast<int>(info.nPage));
    case SB_PAGEDOWN:
        return scrollTo(dialog, info.nPos + static_cast<int>(info.nPage));
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION:
        return scrollTo(dialog, info.nTrackPos);
    case SB_TOP:
        return scrollTo(dialog, 0);
    case SB_BOTTOM:
        return scrollTo(dialog, info.nMax);
    }
}

void scrollToTop(HWND dialog)
{
    if ((GetWindowLongPtrW(dialog, GWL_STYLE) & WS_VSCROLL) != 0) {
        scrollTo(dialog, 0);
    }
}

void scrollIntoView(HWND control)
{
    HWND dialog = control == nullptr ? nullptr : scrollableAncestor(control);
    if (dialog == nullptr) {
        return;
    }
    RECT area, client;
    GetWindowRect(control, &area);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT *>(&area), 2);
    GetClientRect(dialog, &client);
    const int position = scrollState(dialog).nPos;
    if (area.top < 0 || area.bottom - area.top > client.bottom) {
        scrollTo(dialog, position + area.top - px(4));
    } else if (area.bottom > client.bottom) {
        scrollTo(dialog, position + area.bottom - client.bottom + px(4));
    }
}

void makeFullScreen(HWND dialog, const RECT &area)
{
    constexpr LONG_PTR frame = WS_CAPTION | WS_THICKFRAME | WS_SYSMENU;
    constexpr LONG_PTR exFrame = WS_EX_DLGMODALFRAME | WS_EX_WINDOWEDGE | WS_EX_CLIENTEDGE | WS_EX_CONTEXTHELP;
    setWish(dialog, BarWish::fullScreen, true);
    SetWindowLongPtrW(dialog, GWL_STYLE, GetWindowLongPtrW(dialog, GWL_STYLE) & ~frame);
    SetWindowLongPtrW(dialog, GWL_EXSTYLE, GetWindowLongPtrW(dialog, GWL_EXSTYLE) & ~exFrame);
    SetWindowPos(dialog, nullptr, area.left, area.top, area.right - area.left, area.bottom - area.top,
                 SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
}

namespace {

// Announces the template of the dialog this thread is about to create.
struct CreationScope {
    explicit CreationScope(const PhoneTemplate &source)
    {
        watchThread();
        templateInCreation = &source;
    }
    ~CreationScope() { templateInCreation = nullptr; }
    CreationScope(const CreationScope &) = delete;
    CreationScope &operator=(const CreationScope &) = delete;
};

bool isChild(const PhoneTemplate &source)
{
    const DWORD *words = source.words.data();
    const bool extended = words[0] == 0xFFFF0001;
    return (words[extended ? 3 : 0] & WS_CHILD) != 0;
}

}   // namespace

}   // namespace sim

extern "C" {

INT_PTR WINAPI simDialogBoxIndirectParamW(HINSTANCE instance, LPCDLGTEMPLATEW source, HWND owner, DLGPROC procedure,
                                          LPARAM parameter)
{
    sim::PhoneTemplate rewritten = sim::phoneTemplate(source);
    if (!rewritten.valid()) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return -1;
    }
    sim::CreationScope scope(rewritten);
    return DialogBoxIndirectParamW(instance, rewritten.get(), owner, procedure, parameter);
}

HWND WINAPI simCreateDialogIndirectParamW(HINSTANCE instance, LPCDLGTEMPLATEW source, HWND owner, DLGPROC procedure,
                                          LPARAM parameter)
{
    sim::PhoneTemplate rewritten = sim::phoneTemplate(source);
    if (!rewritten.valid()) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (sim::isChild(rewritten)) {
        sim::watchThread();
        return CreateDialogIndirectParamW(instance, rewritten.get(), owner, procedure, parameter);
    }
    sim::CreationScope scope(rewritten);
    return CreateDialogIndirectParamW(instance, rewritten.get(), owner, procedure, parameter);
}

// Average width and height of the system font, as the dialog manager reckons them.
LONG WINAPI simGetDialogBaseUnits(void)
{
    static const wchar_t letters[] = L"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    constexpr int letterCount = 52;
    HDC dc = GetDC(nullptr);
    HGDIOBJ old = SelectObject(dc, sim::systemFont());
    SIZE size = {};
    TEXTMETRICW metrics = {};
    GetTextExtentPoint32W(dc, letters, letterCount, &size);
    GetTextMetricsW(dc, &metrics);
    SelectObject(dc, old);
    ReleaseDC(nullptr, dc);
    return MAKELONG((size.cx / (letterCount / 2) + 1) / 2, metrics.tmHeight);
}

}   // extern "C"
