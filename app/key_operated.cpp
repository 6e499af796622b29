#include "key_operated.h"

namespace {

constexpr LPARAM keyWasDown = 0x40000000;   // of WM_KEYDOWN: the key repeats by being held

// The procedure of the control's class lies in its user data; statics make no use of that.
LRESULT callClassProcedure(HWND control, UINT message, WPARAM wParam, LPARAM lParam)
{
    const auto procedure = reinterpret_cast<WNDPROC>(GetWindowLongPtrW(control, GWLP_USERDATA));
    return CallWindowProcW(procedure, control, message, wParam, lParam);
}

bool isOperatingKey(WPARAM key)
{
    return key == VK_SPACE || key == VK_RETURN;
}

// Claims the keys of a tap, above all Enter, which would otherwise close the dialog. Without a message the dialog manager
// asks what kind of control this is: one that the focus may go to.
LRESULT wantedKeys(LPARAM lParam)
{
    const MSG *message = reinterpret_cast<const MSG *>(lParam);
    const bool claimed = message && message->message == WM_KEYDOWN && isOperatingKey(message->wParam);
    return claimed ? DLGC_WANTALLKEYS : 0;
}

void tap(HWND control)
{
    SendMessageW(GetParent(control), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(control), STN_CLICKED),
                 reinterpret_cast<LPARAM>(control));
}

void drawFocus(HWND control)
{
    const HDC dc = GetDC(control);
    if (!dc)
        return;
    RECT area;
    GetClientRect(control, &area);
    DrawFocusRect(dc, &area);
    ReleaseDC(control, dc);
}

// The frame inverts what is there, so all of it has to be painted anew, also when only a part of the control was hidden.
LRESULT paint(HWND control, UINT message, WPARAM wParam, LPARAM lParam)
{
    const bool hasFocus = GetFocus() == control;
    if (hasFocus)
        InvalidateRect(control, nullptr, TRUE);
    const LRESULT answer = callClassProcedure(control, message, wParam, lParam);
    if (hasFocus)
        drawFocus(control);
    return answer;
}

LRESULT CALLBACK keyOperatedProc(HWND control, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_GETDLGCODE:
        return wantedKeys(lParam);
    case WM_KEYDOWN:
        if (!isOperatingKey(wParam))
            break;
        if (!(lParam & keyWasDown))
            tap(control);
        return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
        InvalidateRect(control, nullptr, TRUE);
        break;
    case WM_PAINT:
        return paint(control, message, wParam, lParam);
    }
    return callClassProcedure(control, message, wParam, lParam);
}

}   // namespace

void makeKeyOperated(HWND dialog, int id)
{
    const HWND control = GetDlgItem(dialog, id);
    if (!control)
        return;
    SetWindowLongPtrW(control, GWLP_USERDATA, GetWindowLongPtrW(control, GWLP_WNDPROC));
    SetWindowLongPtrW(control, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(keyOperatedProc));
}
