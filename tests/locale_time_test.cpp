#include "locale_time.h"

#include "doctest.h"
#include "test_phone.h"

namespace {

struct Region {
    const wchar_t *locale;
    wchar_t separator;
    bool has24Hours;
    const wchar_t *pickerFormat;
    const wchar_t *time;   // half past seven
};

// English (United States), German, Finnish, and a region that no phone knows.
constexpr Region regions[] = {
    {L"0x0409", L':', false, L"h:mm tt", L"07:30"},
    {L"0x0407", L':', true, L"HH:mm", L"07:30"},
    {L"0x040B", L'.', true, L"HH.mm", L"07.30"},
    {L"0x0FFF", L':', false, L"h:mm tt", L"07:30"},
};

}   // namespace

TEST_CASE("times are written with the separator and the hours of the user's region")
{
    TestPhone phone;
    for (const Region &region : regions) {
        phone.set(L"locale", L"id", region.locale);
        INFO("region " << narrow(region.locale));
        CHECK(localeTimeSeparator() == region.separator);
        CHECK(localeHas24Hours() == region.has24Hours);
        wchar_t format[timeTextCapacity], time[timeTextCapacity];
        localeTimePickerFormat(format);
        CHECK(std::wstring(format) == region.pickerFormat);
        formatTimeOfDay(time, 7, 30);
        CHECK(std::wstring(time) == region.time);
    }
}

TEST_CASE("a time of day has two digits for the hour and two for the minute")
{
    TestPhone phone;
    wchar_t time[timeTextCapacity];
    formatTimeOfDay(time, 0, 0);
    CHECK(std::wstring(time) == L"00:00");
    formatTimeOfDay(time, 9, 5);
    CHECK(std::wstring(time) == L"09:05");
    formatTimeOfDay(time, 23, 59);
    CHECK(std::wstring(time) == L"23:59");
}
