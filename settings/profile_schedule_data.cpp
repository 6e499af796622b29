#include "profile_schedule_data.h"

#include "default_texts.h"
#include "language.h"
#include "registry.h"
#include "user_settings.h"

namespace {

constexpr wchar_t scheduleValue[] = L"timeData";
constexpr DWORD noProfile = static_cast<DWORD>(-1);

constexpr int mondayText = 141;   // the other days follow
constexpr int busyText = 199;
constexpr int outOfOfficeText = 200;
constexpr int activeSyncText = 201;
constexpr int externalPowerText = 202;

// Ends the field that begins at field behind its last character and returns the next one; the empty text at its end
// when there is none.
wchar_t *splitAtComma(wchar_t *field)
{
    wchar_t *const comma = wcschr(field, L',');
    if (!comma)
        return field + wcslen(field);
    *comma = 0;
    return comma + 1;
}

// An event is stored by its name in the language of that day. Names in the current language and the English ones are
// known, so that a schedule survives a change of the language; the first of them in the text counts.
const wchar_t *findEvent(const wchar_t *text, int nameText)
{
    const wchar_t *const translated = wcsstr(text, getLanguageText(nameText, nullptr));
    const wchar_t *const english = wcsstr(text, defaultTexts[nameText]);
    if (!translated || !english)
        return translated ? translated : english;
    return translated < english ? translated : english;
}

// The profile's number stands two characters before the event's name: one digit and the comma. A name inside another one,
// such as the place "[<ActiveSync>]", counts as well, and gives profile 0, as it always has: a place is hardly called so.
void takeProfile(const wchar_t *text, int nameText, DWORD &profile)
{
    const wchar_t *const event = findEvent(text, nameText);
    if (event && event - text >= 2)
        profile = _wtol(event - 2);
}

// Whether there is no text that could not be read; a value of another kind is as if it were absent.
bool isMissing(const RegistryKey &key)
{
    DWORD type;
    const LONG status = RegQueryValueExW(key.handle(), scheduleValue, nullptr, &type, nullptr, nullptr);
    return status == ERROR_FILE_NOT_FOUND || (status == ERROR_SUCCESS && type != REG_SZ);
}

}   // namespace

// ---- Reading ----------------------------------------------------------------------------------------------------------

bool readSchedule(wchar_t (&text)[scheduleCapacity])
{
    text[0] = 0;
    RegistryKey key;
    if (const LONG status = key.open(HKEY_CURRENT_USER, programKey))
        return status == ERROR_FILE_NOT_FOUND;
    return readTextCut(key, scheduleValue, text) || isMissing(key);
}

// A comma in the name of a category cuts the name: what follows is taken for the time. A "§" in it ends the entry; what
// follows is an entry of its own, of profile 0. The format has no way to tell them from its own.
bool nextScheduleEntry(wchar_t *&rest, ScheduleEntry &entry)
{
    wchar_t *const fields = nextListEntry(rest);
    if (!fields)
        return false;
    wchar_t *const when = splitAtComma(fields);
    entry.time = splitAtComma(when);
    entry.when = when;
    entry.profile = static_cast<int>(_wtol(fields));
    return true;
}

// ---- Days -------------------------------------------------------------------------------------------------------------

void formatDayDigits(wchar_t (&to)[weekdayCount + 1], const bool (&chosen)[weekdayCount])
{
    size_t length = 0;
    for (int day = 0; day < weekdayCount; ++day)
        if (chosen[day])
            to[length++] = static_cast<wchar_t>(L'1' + day);
    to[length] = 0;
}

void formatDayNames(wchar_t (&to)[dayNamesCapacity], const wchar_t *digits)
{
    size_t length = 0;
    to[0] = 0;
    for (; *digits; ++digits) {
        if (*digits < L'1' || *digits >= L'1' + weekdayCount)
            continue;
        if (length > 0 && length < dayNamesCapacity - 1)
            to[length++] = L',';
        copyInto(to + length, dayNamesCapacity - length, getLanguageText(mondayText + (*digits - L'1'), nullptr));
        length += wcslen(to + length);
    }
}

// ---- Writing ----------------------------------------------------------------------------------------------------------

bool ScheduleText::add(int profile, const wchar_t *when, const wchar_t *time)
{
    if (length >= scheduleLimit)
        return false;
    text[length++] = static_cast<wchar_t>(L'0' + profile % 10);
    text[length++] = L',';
    copyInto(text + length, scheduleCapacity, when);
    length += wcslen(text + length);
    text[length++] = L',';
    copyInto(text + length, scheduleCapacity, time);
    length += wcslen(text + length);
    text[length++] = listSeparator;
    text[length] = 0;
    return true;
}

LONG writeSchedule(const wchar_t *text)
{
    RegistryKey key;
    if (const LONG status = key.create(HKEY_CURRENT_USER, programKey))
        return status;
    return writeText(key, scheduleValue, text);
}

// ---- What follows for the general record ------------------------------------------------------------------------------

void resetScheduleSettings()
{
    userSettings.activeSyncProfile = noProfile;
    userSettings.ACPowerProfile = noProfile;
    userSettings.outlookCheck = 0;
}

// "Leave [...]" begins with a letter and so is taken for a category, as it has always been: the switch is then on without
// need, which loses no event.
bool isAppointmentEvent(const wchar_t *name)
{
    if (name[0] != L'[' && name[0] != L'<')
        return true;
    return findEvent(name, busyText) || findEvent(name, outOfOfficeText);
}

void takeProfilesFrom(const wchar_t *text)
{
    takeProfile(text, activeSyncText, userSettings.activeSyncProfile);
    takeProfile(text, externalPowerText, userSettings.ACPowerProfile);
}
