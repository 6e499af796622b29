#include "key_operated.h"

#include "doctest.h"
#include "modal_dialog.h"
#include "page_window.h"
#include "resource.h"
#include "dialog.h"
#include "test_phone.h"

namespace {

std::vector<int> taps;   // controls that have been tapped

INT_PTR CALLBACK notingProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        taps.clear();
        makeKeyOperated(dialog, IDC_MONDAY);
        makeKeyOperated(dialog, IDC_SWITCH_UP);
        makeKeyOperated(dialog, 9999);   // none of the dialog's
        return TRUE;
    case WM_COMMAND:
        if (HIWORD(wParam) == STN_CLICKED && GetDlgItem(dialog, LOWORD(wParam)) == reinterpret_cast<HWND>(lParam) &&
            lParam)
            taps.push_back(LOWORD(wParam));
        if (LOWORD(wParam) == IDCANCEL || LOWORD(wParam) == IDOK)
            EndDialog(dialog, LOWORD(wParam));
        return TRUE;
    }
    return FALSE;
}

INT_PTR runDialog(const std::function<void(HWND)> &script)
{
    const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_DATE_CLASSES};
    InitCommonControlsEx(&classes);
    INT_PTR result = 0;
    CHECK(runModal([&] { result = showDialog(nullptr, IDD_PROFILE_TIME, notingProc); }, script));
    return result;
}

void typeKey(HWND control, WPARAM key)
{
    PostMessageW(control, WM_KEYDOWN, key, 1);
    PostMessageW(control, WM_KEYUP, key, static_cast<LPARAM>(0xC0000001));
}

// Points of the control that are not what they are without the focus.
int changedPoints(HWND control, bool focused)
{
    RECT area;
    GetClientRect(control, &area);
    const HDC dc = GetDC(control);
    SetFocus(nullptr);
    UpdateWindow(control);
    std::vector<COLORREF> before;
    for (int x = 0; x < area.right; ++x)
        before.push_back(GetPixel(dc, x, 0));
    if (focused)
        SetFocus(control);
    UpdateWindow(control);
    int changed = 0;
    for (int x = 0; x < area.right; ++x)
        changed += GetPixel(dc, x, 0) != before[x];
    ReleaseDC(control, dc);
    return changed;
}

}   // namespace

TEST_CASE("the space bar and the action key tap a static control that has the focus, and do not close the dialog")
{
    TestPhone phone;
    restartProgram();
    const INT_PTR result = runDialog([](HWND dialog) {
        const HWND day = GetDlgItem(dialog, IDC_MONDAY), icon = GetDlgItem(dialog, IDC_SWITCH_UP);
        SetFocus(day);
        CHECK(GetFocus() == day);
        typeKey(day, VK_SPACE);
        waitFor([] { return taps.size() == 1; }, 2000);
        SetFocus(icon);
        typeKey(icon, VK_RETURN);
        waitFor([] { return taps.size() == 2; }, 2000);
    });
    CHECK(taps == std::vector<int>{IDC_MONDAY, IDC_SWITCH_UP});
    CHECK(result == IDCANCEL);
}

TEST_CASE("a key that is held taps once, and other keys do not tap")
{
    TestPhone phone;
    restartProgram();
    runDialog([](HWND dialog) {
        const HWND day = GetDlgItem(dialog, IDC_MONDAY);
        SendMessageW(day, WM_KEYDOWN, VK_SPACE, 1);
        SendMessageW(day, WM_KEYDOWN, VK_SPACE, 0x40000001);
        SendMessageW(day, WM_KEYUP, VK_SPACE, static_cast<LPARAM>(0xC0000001));
        SendMessageW(day, WM_KEYDOWN, 'A', 1);
        SendMessageW(day, WM_KEYDOWN, VK_RIGHT, 1);
        CHECK(taps == std::vector<int>{IDC_MONDAY});
    });
}

TEST_CASE("a static control claims the keys of a tap and no others from the dialog manager")
{
    TestPhone phone;
    restartProgram();
    runDialog([](HWND dialog) {
        const HWND day = GetDlgItem(dialog, IDC_MONDAY);
        const auto asked = [&](UINT message, WPARAM key) {
            MSG event = {};
            event.hwnd = day;
            event.message = message;
            event.wParam = key;
            return SendMessageW(day, WM_GETDLGCODE, key, reinterpret_cast<LPARAM>(&event));
        };
        CHECK(asked(WM_KEYDOWN, VK_RETURN) == DLGC_WANTALLKEYS);
        CHECK(asked(WM_KEYDOWN, VK_SPACE) == DLGC_WANTALLKEYS);
        CHECK(asked(WM_KEYDOWN, VK_TAB) == 0);
        CHECK(asked(WM_KEYDOWN, VK_ESCAPE) == 0);
        CHECK(asked(WM_KEYDOWN, VK_RIGHT) == 0);
        CHECK(asked(WM_KEYUP, VK_RETURN) == 0);
        CHECK(SendMessageW(day, WM_GETDLGCODE, 0, 0) == 0);
    });
}

TEST_CASE("a static control with the focus is framed by dots")
{
    TestPhone phone;
    restartProgram();
    runDialog([](HWND dialog) {
        for (int id : {IDC_MONDAY, IDC_SWITCH_UP}) {
            const HWND control = GetDlgItem(dialog, id);
            INFO("control " << id);
            CHECK(changedPoints(control, true) > 4);
            CHECK(changedPoints(control, false) == 0);
        }
    });
}

TEST_CASE("the frame of dots stays whole when a part of the control is painted again")
{
    TestPhone phone;
    restartProgram();
    runDialog([](HWND dialog) {
        for (int id : {IDC_MONDAY, IDC_SWITCH_UP}) {
            const HWND control = GetDlgItem(dialog, id);
            RECT area;
            GetClientRect(control, &area);
            const auto topLine = [&] {
                UpdateWindow(control);
                const HDC dc = GetDC(control);
                std::vector<COLORREF> points;
                for (int x = 0; x < area.right; ++x)
                    points.push_back(GetPixel(dc, x, 0));
                ReleaseDC(control, dc);
                return points;
            };
            SetFocus(nullptr);
            const std::vector<COLORREF> without = topLine();
            SetFocus(control);
            const std::vector<COLORREF> framed = topLine();
            const RECT left = {0, 0, area.right / 2, area.bottom};
            InvalidateRect(control, &left, TRUE);
            INFO("control " << id);
            CHECK(topLine() == framed);
            InvalidateRect(control, &left, TRUE);
            UpdateWindow(control);
            SetFocus(nullptr);
            CHECK(topLine() == without);
        }
    });
}

TEST_CASE("a static control still shows what it is told to show")
{
    TestPhone phone;
    restartProgram();
    runDialog([](HWND dialog) {
        SendDlgItemMessageW(dialog, IDC_MONDAY, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"X"));
        CHECK(controlText(dialog, IDC_MONDAY) == L"X");
    });
}
