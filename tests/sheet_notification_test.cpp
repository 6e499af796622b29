#include "sheet_notification.h"

#include "doctest.h"
#include "page_window.h"
#include "resource.h"
#include "shell_values.h"
#include "test_phone.h"

namespace {

struct Outcome {
    INT_PTR answer;          // of the notification's handling
    LONG_PTR sheetsResult;   // what the page leaves the sheet as its message result
    INT_PTR ended;           // what the Options dialog was ended with
    int stored;              // how often the page's store function was called
    bool storedThisPage;
    bool dialogWasOpen;   // when it was
};

constexpr LONG_PTR earlierResult = 0x12;   // left by a notification before

Outcome outcome;
HWND page;

void countStore(HWND storedPage)
{
    ++outcome.stored;
    outcome.storedThisPage = storedPage == page;
    outcome.dialogWasOpen = IsWindow(optionsDialog);
}

INT_PTR CALLBACK noBehaviour(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

// Sends a notification to a page with that store function while the Options dialog is open.
Outcome notify(UINT code, UINT_PTR id, void (*store)(HWND) = countStore)
{
    outcome = {};
    outcome.ended = runInOptionsDialog([&] {
        const PageWindow window(IDD_ABOUT_PAGE, noBehaviour);
        page = window.handle();
        SetWindowLongPtrW(page, DWL_MSGRESULT, earlierResult);
        NMHDR header = {};
        header.code = code;
        header.idFrom = id;
        outcome.answer = endOnSheetNotification(page, reinterpret_cast<LPARAM>(&header), store);
        outcome.sheetsResult = GetWindowLongPtrW(page, DWL_MSGRESULT);
    });
    return outcome;
}

struct StartedPhone : TestPhone {
    StartedPhone() { restartProgram(); }
};

}   // namespace

TEST_CASE("apply stores the page once and ends the Options dialog with the notification's identifier")
{
    StartedPhone phone;
    for (UINT_PTR id : {0, 1, 2, 77}) {
        notify(PSN_APPLY, id);
        INFO("identifier " << id);
        CHECK(outcome.answer == TRUE);
        CHECK(outcome.ended == static_cast<INT_PTR>(id));
        CHECK(outcome.stored == 1);
        CHECK(outcome.storedThisPage);
        CHECK(outcome.dialogWasOpen);
    }
}

TEST_CASE("apply tells the sheet that all is well, whatever an earlier notification has left behind")
{
    StartedPhone phone;
    CHECK(notify(PSN_APPLY, 1).sheetsResult == 0);
    CHECK(notify(PSN_APPLY, 1, nullptr).sheetsResult == 0);
    settingsImported = true;
    CHECK(notify(PSN_APPLY, 1).sheetsResult == 0);
}

TEST_CASE("apply after an import ends the Options dialog without storing")
{
    StartedPhone phone;
    settingsImported = true;
    notify(PSN_APPLY, 77);
    CHECK(outcome.answer == TRUE);
    CHECK(outcome.ended == 77);
    CHECK(outcome.stored == 0);
}

TEST_CASE("reset ends the Options dialog without storing")
{
    StartedPhone phone;
    for (bool imported : {false, true}) {
        settingsImported = imported;
        notify(PSN_RESET, 78);
        CHECK(outcome.answer == TRUE);
        CHECK(outcome.ended == 78);
        CHECK(outcome.stored == 0);
    }
}

TEST_CASE("a page with nothing to store ends the Options dialog all the same")
{
    StartedPhone phone;
    CHECK(notify(PSN_APPLY, 79, nullptr).ended == 79);
    CHECK(notify(PSN_RESET, 80, nullptr).ended == 80);
}

TEST_CASE("any other notification is left to others")
{
    StartedPhone phone;
    constexpr int others[] = {-200, -201, -204, -205, -209, -2, -12, 0};   // of the sheet, of a list view, none
    for (int code : others) {
        notify(static_cast<UINT>(code), 81);
        INFO("notification " << code);
        CHECK(outcome.answer == FALSE);
        CHECK(outcome.ended == notEnded);
        CHECK(outcome.sheetsResult == earlierResult);
        CHECK(outcome.stored == 0);
    }
}
