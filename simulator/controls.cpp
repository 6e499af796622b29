// Check boxes and radio buttons in the phone's size, because the desktop draws them for its own resolution; date and time
// pickers at the phone's time.
#include "core.h"
#include "phone_windows.h"
#include "templates.h"

#include <commctrl.h>

extern "C" void WINAPI simGetLocalTime(SYSTEMTIME *time);

namespace sim {

namespace {

constexpr wchar_t checkKey[] = L"PhoneCheckProc";
constexpr int boxSize = 13;   // at 96 dots per inch

UINT kindOf(HWND button)
{
    return static_cast<UINT>(GetWindowLongPtrW(button, GWL_STYLE) & BS_TYPEMASK);
}

bool isRadio(UINT kind)
{
    return kind == BS_RADIOBUTTON || kind == BS_AUTORADIOBUTTON;
}

bool isCheck(UINT kind)
{
    return kind == BS_CHECKBOX || kind == BS_AUTOCHECKBOX || kind == BS_3STATE || kind == BS_AUTO3STATE;
}

UINT frameState(HWND button)
{
    const LRESULT state = SendMessageW(button, BM_GETSTATE, 0, 0);
    UINT frame = isRadio(kindOf(button)) ? DFCS_BUTTONRADIO : DFCS_BUTTONCHECK;
    if ((state & BST_INDETERMINATE) != 0) {
        frame = DFCS_BUTTON3STATE | DFCS_CHECKED;
    } else if ((state & BST_CHECKED) != 0) {
        frame |= DFCS_CHECKED;
    }
    return frame | ((state & BST_PUSHED) != 0 ? DFCS_PUSHED : 0) | (IsWindowEnabled(button) ? 0 : DFCS_INACTIVE);
}

void drawLabel(HWND button, HDC dc, RECT area)
{
    wchar_t text[256] = L"";
    GetWindowTextW(button, text, 256);
    const bool lines = (GetWindowLongPtrW(button, GWL_STYLE) & BS_MULTILINE) != 0;
    UINT format = DT_LEFT | (lines ? DT_WORDBREAK : DT_SINGLELINE | DT_VCENTER);
    if (lines) {
        RECT needed = area;
        DrawTextW(dc, text, -1, &needed, format | DT_CALCRECT);
        OffsetRect(&area, 0, (area.bottom - area.top - (needed.bottom - needed.top)) / 2);
    }
    SetTextColor(dc, IsWindowEnabled(button) ? GetTextColor(dc) : GetSysColor(COLOR_GRAYTEXT));
    DrawTextW(dc, text, -1, &area, format);
    if (GetFocus() == button) {
        DrawTextW(dc, text, -1, &area, format | DT_CALCRECT);
        InflateRect(&area, px(1), 0);
        DrawFocusRect(dc, &area);
    }
}

void draw(HWND button, HDC dc)
{
    RECT client;
    GetClientRect(button, &client);
    HGDIOBJ old = SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(button, WM_GETFONT, 0, 0)));
    const LRESULT ground = SendMessageW(GetParent(button), WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc),
                                        reinterpret_cast<LPARAM>(button));
    FillRect(dc, &client, reinterpret_cast<HBRUSH>(ground));
    const int size = px(boxSize), top = (client.bottom - size) / 2;
    RECT box{0, top, size, top + size}, label{size + px(4), 0, client.right, client.bottom};
    if ((GetWindowLongPtrW(button, GWL_STYLE) & BS_LEFTTEXT) != 0) {
        box = {client.right - size, top, client.right, top + size};
        label = {px(1), 0, client.right - size - px(4), client.bottom};
    }
    DrawFrameControl(dc, &box, DFC_BUTTON, frameState(button));
    SetBkMode(dc, TRANSPARENT);
    drawLabel(button, dc, label);
    SelectObject(dc, old);
}

// Messages after which the desktop's button paints itself without asking.
bool paintsAtOnce(UINT message)
{
    switch (message) {
    case BM_SETCHECK:
    case BM_SETSTATE:
    case BM_SETSTYLE:
    case WM_SETTEXT:
    case WM_ENABLE:
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP:
    case WM_MOUSEMOVE:
    case WM_CAPTURECHANGED:
        return true;
    }
    return false;
}

LRESULT CALLBACK checkProc(HWND button, UINT message, WPARAM wParam, LPARAM lParam)
{
    const bool ours = isCheck(kindOf(button)) || isRadio(kindOf(button));
    if (ours && message == WM_PAINT) {
        PAINTSTRUCT painting;
        draw(button, wParam != 0 ? reinterpret_cast<HDC>(wParam) : BeginPaint(button, &painting));
        if (wParam == 0) {
            EndPaint(button, &painting);
        }
        return 0;
    }
    LRESULT answer = callFormer(button, checkKey, message, wParam, lParam);
    if (ours && paintsAtOnce(message)) {
        InvalidateRect(button, nullptr, FALSE);
    }
    return answer;
}

}   // namespace

void attachCheckBox(HWND button, DWORD style)
{
    const UINT kind = style & BS_TYPEMASK;
    if (phone().dpi != 96 && (style & BS_PUSHLIKE) == 0 && (isCheck(kind) || isRadio(kind))) {
        putInFront(button, checkKey, checkProc);
    }
}

namespace {

constexpr wchar_t pickerKey[] = L"PhonePickerProc";

// A picker begins with the present time, which is that of the phone's clock.
LRESULT CALLBACK pickerProc(HWND picker, UINT message, WPARAM wParam, LPARAM lParam)
{
    const LRESULT answer = callFormer(picker, pickerKey, message, wParam, lParam);
    if (message == WM_CREATE && answer == 0) {
        SYSTEMTIME now;
        simGetLocalTime(&now);
        SendMessageW(picker, DTM_SETSYSTEMTIME, GDT_VALID, reinterpret_cast<LPARAM>(&now));
    }
    return answer;
}

}   // namespace

void attachTimePicker(HWND picker)
{
    putInFront(picker, pickerKey, pickerProc);
}

}   // namespace sim
