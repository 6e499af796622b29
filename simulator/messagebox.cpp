// Message boxes in the phone's font and on its screen. A dialog of ours: the desktop's keeps to its own font size.
#include "core.h"
#include "dialogs.h"
#include "phone_windows.h"
#include "shell.h"

#include <algorithm>

namespace sim {

namespace {

constexpr WORD iconId = 0x14, textId = 0xFFFF;   // as the system's message boxes have them

struct Button {
    WORD id;
    const wchar_t *text;
};
constexpr Button ok{IDOK, L"OK"}, cancel{IDCANCEL, L"Cancel"}, yes{IDYES, L"&Yes"}, no{IDNO, L"&No"},
    abortButton{IDABORT, L"&Abort"}, retry{IDRETRY, L"&Retry"}, ignore{IDIGNORE, L"&Ignore"};

struct ButtonSet {
    int count;
    Button buttons[3];
};
constexpr ButtonSet buttonSets[] = {   // by MB_TYPEMASK
    {1, {ok}},      {2, {ok, cancel}},   {3, {abortButton, retry, ignore}}, {3, {yes, no, cancel}},
    {2, {yes, no}}, {2, {retry, cancel}}};

struct Box {
    const wchar_t *text, *title;
    UINT type;
    const ButtonSet *set;
};

LPCWSTR iconOf(UINT type)
{
    switch (type & MB_ICONMASK) {
    case MB_ICONHAND:
        return reinterpret_cast<LPCWSTR>(IDI_HAND);
    case MB_ICONQUESTION:
        return reinterpret_cast<LPCWSTR>(IDI_QUESTION);
    case MB_ICONEXCLAMATION:
        return reinterpret_cast<LPCWSTR>(IDI_EXCLAMATION);
    case MB_ICONASTERISK:
        return reinterpret_cast<LPCWSTR>(IDI_ASTERISK);
    }
    return nullptr;
}

HWND addControl(HWND dialog, const wchar_t *className, const wchar_t *text, DWORD style, const RECT &area, WORD id)
{
    HWND control = CreateWindowExW(0, className, text, WS_CHILD | WS_VISIBLE | style, area.left, area.top,
                                   area.right - area.left, area.bottom - area.top, dialog,
                                   reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id)), nullptr, nullptr);
    SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(systemFont()), FALSE);
    return control;
}

// Height of the text when it is wrapped to width.
SIZE measure(const wchar_t *text, int width)
{
    RECT area{0, 0, width, 0};
    HDC dc = GetDC(nullptr);
    HGDIOBJ old = SelectObject(dc, systemFont());
    DrawTextW(dc, text, -1, &area, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX | DT_EXPANDTABS);
    SelectObject(dc, old);
    ReleaseDC(nullptr, dc);
    return {area.right, area.bottom};
}

void sizeDialog(HWND dialog, int width, int height)
{
    RECT window, client, desk = workArea();
    GetWindowRect(dialog, &window);
    GetClientRect(dialog, &client);
    width += window.right - window.left - client.right;
    height = std::min<int>(height + window.bottom - window.top - client.bottom, desk.bottom - desk.top);
    SetWindowPos(dialog, nullptr, desk.left + (desk.right - desk.left - width) / 2,
                 desk.top + (desk.bottom - desk.top - height) / 2, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

void addButtons(HWND dialog, const Box &box, int width, int top)
{
    const int buttonWidth = px(62), gap = px(6), count = box.set->count;
    const int chosen = std::min<int>((box.type & MB_DEFMASK) >> 8, count - 1);
    int left = (width - count * buttonWidth - (count - 1) * gap) / 2;
    for (int i = 0; i < count; ++i, left += buttonWidth + gap) {
        const Button &button = box.set->buttons[i];
        HWND control =
            addControl(dialog, L"Button", button.text, WS_TABSTOP | (i == chosen ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON),
                       {left, top, left + buttonWidth, top + px(21)}, button.id);
        if (i == chosen) {
            SendMessageW(dialog, DM_SETDEFID, button.id, 0);
            SetFocus(control);
        }
    }
}

void fillBox(HWND dialog, const Box &box)
{
    RECT desk = workArea();
    const int margin = px(8);
    const int iconSize = iconOf(box.type) != nullptr ? px(32) : 0;
    const int textLeft = margin + (iconSize != 0 ? iconSize + margin : 0);
    const int buttonsWidth = box.set->count * px(68) + px(10);
    SIZE text = measure(box.text, desk.right - desk.left - textLeft - 3 * margin);
    const int width = std::max<int>(textLeft + text.cx + margin, buttonsWidth + margin);
    const int textHeight = std::max<int>(text.cy, iconSize);
    SetWindowTextW(dialog, box.title);
    sizeDialog(dialog, width, margin + textHeight + margin + px(21) + margin);
    if (iconSize != 0) {
        HWND icon = addControl(dialog, L"Static", L"", SS_ICON | SS_REALSIZECONTROL,
                               {margin, margin, margin + iconSize, margin + iconSize}, iconId);
        SendMessageW(icon, STM_SETICON, reinterpret_cast<WPARAM>(LoadIconW(nullptr, iconOf(box.type))), 0);
    }
    const int textTop = margin + (textHeight - text.cy) / 2;
    addControl(dialog, L"Static", box.text, SS_LEFT | SS_NOPREFIX,
               {textLeft, textTop, textLeft + text.cx + px(1), textTop + text.cy}, textId);
    addButtons(dialog, box, width, margin + textHeight + margin);
}

INT_PTR CALLBACK boxProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        fillBox(dialog, *reinterpret_cast<const Box *>(lParam));
        return FALSE;
    case WM_COMMAND:
        // Escape works where the box can be cancelled, or has nothing but OK.
        if (GetDlgItem(dialog, LOWORD(wParam)) != nullptr) {
            EndDialog(dialog, LOWORD(wParam));
        } else if (LOWORD(wParam) == IDCANCEL && GetDlgItem(dialog, IDYES) == nullptr &&
                   GetDlgItem(dialog, IDABORT) == nullptr) {
            EndDialog(dialog, IDOK);
        }
        return TRUE;
    }
    return FALSE;
}

struct EmptyTemplate {
    DLGTEMPLATE head;
    WORD menu, windowClass, title;
};

}   // namespace

}   // namespace sim

extern "C" {

INT_PTR WINAPI simDialogBoxIndirectParamW(HINSTANCE, LPCDLGTEMPLATEW, HWND, DLGPROC, LPARAM);

int WINAPI simMessageBoxW(HWND owner, LPCWSTR text, LPCWSTR title, UINT type)
{
    const UINT kind = type & MB_TYPEMASK;
    if (kind >= sizeof sim::buttonSets / sizeof sim::buttonSets[0]) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    alignas(DWORD) sim::EmptyTemplate source = {};
    source.head.style = WS_POPUP | WS_CAPTION | DS_MODALFRAME | DS_SETFOREGROUND;
    source.head.cx = source.head.cy = 50;
    sim::Box box{text != nullptr ? text : L"", title != nullptr ? title : L"", type, &sim::buttonSets[kind]};
    sim::ensureBars();
    return static_cast<int>(simDialogBoxIndirectParamW(GetModuleHandleW(nullptr), &source.head, owner, sim::boxProc,
                                                       reinterpret_cast<LPARAM>(&box)));
}

}   // extern "C"
