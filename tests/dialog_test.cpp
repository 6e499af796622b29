#include "dialog.h"

#include "control_windows.h"
#include "doctest.h"
#include "modal_dialog.h"
#include "resource.h"
#include "shell_values.h"
#include "test_phone.h"

namespace {

LPARAM givenParameter;

INT_PTR CALLBACK plainProc(HWND, UINT message, WPARAM, LPARAM lParam)
{
    if (message == WM_INITDIALOG)
        givenParameter = lParam;
    return FALSE;
}

INT_PTR CALLBACK fullScreenProc(HWND dialog, UINT message, WPARAM, LPARAM)
{
    if (message == WM_INITDIALOG)
        makeFullScreen(dialog);
    return FALSE;
}

}   // namespace

TEST_CASE("a dialog is shown above its owner with its parameter, and answers what it was ended with")
{
    TestPhone phone;
    const HWND owner = CreateWindowExW(0, L"Static", L"", WS_POPUP | WS_VISIBLE, 0, 0, 240, 320, nullptr, nullptr,
                                       appInstance, nullptr);
    INT_PTR result = 0;
    CHECK(runModal([&] { result = showDialog(owner, IDD_PROFILE_COPY, plainProc, 4711); },
                   [&](HWND dialog) {
                       CHECK(GetWindow(dialog, GW_OWNER) == owner);
                       CHECK_FALSE(IsWindowEnabled(owner));
                       CHECK(givenParameter == 4711);
                       EndDialog(dialog, 42);
                   }));
    CHECK(result == 42);
    CHECK(IsWindowEnabled(owner));
    runModal([&] { showDialog(owner, IDD_PROFILE_COPY, plainProc); }, [](HWND dialog) { EndDialog(dialog, 0); });
    CHECK(givenParameter == 0);
    DestroyWindow(owner);
}

TEST_CASE("a dialog that is not in the resources cannot be shown")
{
    TestPhone phone;
    CHECK(showDialog(nullptr, 9999, plainProc) == -1);
}

TEST_CASE("a full-screen dialog has the ok button and lowers the input panel")
{
    TestPhone phone;
    SimSetPanel(TRUE);
    runModal([] { showDialog(nullptr, IDD_PROFILE_COPY, fullScreenProc); },
             [](HWND dialog) {
                 RECT area;
                 GetWindowRect(dialog, &area);
                 constexpr RECT expected = {0, 26, 240, 294};
                 CHECK(EqualRect(&area, &expected));
                 CHECK(SimOkOwner() == dialog);
                 EndDialog(dialog, 0);
             });
    CHECK(phone.journal("panel").back() == "panel off");
}

TEST_CASE("only the ground of dialogs, texts and buttons is the pages' ground")
{
    TestPhone phone;
    backgroundBrush = CreateSolidBrush(RGB(220, 220, 230));
    const HDC dc = GetDC(nullptr);
    for (UINT message = WM_CTLCOLORMSGBOX; message <= WM_CTLCOLORSTATIC; ++message) {
        const bool ours = message == WM_CTLCOLORDLG || message == WM_CTLCOLORSTATIC || message == WM_CTLCOLORBTN;
        SetBkMode(dc, OPAQUE);
        INFO("message " << message);
        CHECK(dialogColours(message, reinterpret_cast<WPARAM>(dc)) ==
              (ours ? reinterpret_cast<INT_PTR>(backgroundBrush) : FALSE));
        CHECK(GetBkMode(dc) == (ours ? TRANSPARENT : OPAQUE));
    }
    CHECK(dialogColours(WM_COMMAND, 1) == FALSE);
    ReleaseDC(nullptr, dc);
    DeleteObject(backgroundBrush);
    backgroundBrush = nullptr;
}
