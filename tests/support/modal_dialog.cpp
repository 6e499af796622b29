#include "modal_dialog.h"

#include "doctest.h"

namespace {

struct Modal {
    const std::function<void(HWND)> *script;
    Modal *below;
    UINT_PTR timer = 0;
    bool appeared = false;
};

Modal *top;

// Of the dialogs that stand, only the one on top takes input.
BOOL CALLBACK findDialog(HWND window, LPARAM result)
{
    wchar_t className[32] = L"";
    GetClassNameW(window, className, 32);
    if (wcscmp(className, L"#32770") != 0 || !IsWindowVisible(window) || !IsWindowEnabled(window))
        return TRUE;
    *reinterpret_cast<HWND *>(result) = window;
    return FALSE;
}

void CALLBACK drive(HWND, UINT, UINT_PTR timer, DWORD)
{
    HWND dialog = nullptr;
    EnumWindows(findDialog, reinterpret_cast<LPARAM>(&dialog));
    if (!dialog || !top || top->timer != timer)
        return;
    KillTimer(nullptr, timer);
    top->timer = 0;
    top->appeared = true;
    (*top->script)(dialog);
    if (IsWindow(dialog) && IsWindowVisible(dialog))
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
}

}   // namespace

bool runModal(const std::function<void()> &show, const std::function<void(HWND)> &script)
{
    Modal modal = {&script, top};
    modal.timer = SetTimer(nullptr, 0, 10, drive);
    top = &modal;
    show();
    if (modal.timer)
        KillTimer(nullptr, modal.timer);
    top = modal.below;
    return modal.appeared;
}

std::wstring windowText(HWND window)
{
    wchar_t text[1024] = L"";
    GetWindowTextW(window, text, 1024);
    return text;
}

std::wstring controlText(HWND dialog, int id)
{
    return windowText(GetDlgItem(dialog, id));
}

void setControlText(HWND dialog, int id, const std::wstring &text)
{
    CHECK(SetDlgItemTextW(dialog, id, text.c_str()));
}

void clickControl(HWND dialog, int id)
{
    SendMessageW(GetDlgItem(dialog, id), BM_CLICK, 0, 0);
}
