#include "alarms_page.h"

#include "doctest.h"
#include "page_window.h"
#include "resource.h"
#include "test_phone.h"
#include "user_settings.h"

TEST_CASE("the tone count list holds one, two and three")
{
    TestPhone phone;
    PageWindow page(IDD_ALARMS_PAGE, AlarmsPageProc);
    CHECK(page.entryCount(IDC_TONE_COUNT) == 3);
    CHECK(page.entry(IDC_TONE_COUNT, 2) == L"3 x");
}
