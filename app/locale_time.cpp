#include "locale_time.h"

namespace {

constexpr size_t localeTextCapacity = 8;   // longer than either text is in any region

void readLocaleText(LCTYPE type, wchar_t (&text)[localeTextCapacity])
{
    text[0] = 0;
    GetLocaleInfoW(LOCALE_USER_DEFAULT, type, text, localeTextCapacity);
    text[localeTextCapacity - 1] = 0;
}

}   // namespace

wchar_t localeTimeSeparator()
{
    wchar_t separator[localeTextCapacity];
    readLocaleText(LOCALE_STIME, separator);
    return separator[0] ? separator[0] : L':';
}

bool localeHas24Hours()
{
    wchar_t flag[localeTextCapacity];
    readLocaleText(LOCALE_ITIME, flag);
    return flag[0] == L'1';
}

void localeTimePickerFormat(wchar_t (&format)[timeTextCapacity])
{
    formatText(format, localeHas24Hours() ? L"HH%cmm" : L"h%cmm tt", localeTimeSeparator());
}

void formatTimeOfDay(wchar_t (&to)[timeTextCapacity], int hour, int minute)
{
    formatText(to, L"%02d%c%02d", hour, localeTimeSeparator(), minute);
}
