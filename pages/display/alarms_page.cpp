#include "alarms_page.h"

#include "language.h"
#include "page_chrome.h"
#include "resource.h"
#include "sheet_notification.h"
#include "text.h"
#include "user_settings.h"

namespace {

constexpr PageChrome chrome = {4, L"options-alarm"};

constexpr ControlText labels[] = {
    {IDC_REPEAT_GROUP, 27},     {IDC_BATTERY_TEXT, 31},       {IDC_EVERY_TEXT, 39},    {IDC_REPEAT_TEXT, 40},
    {IDC_VIBRATE_IF_MUTED, 41}, {IDC_VIBRATE_WITH_SOUND, 44}, {IDC_NO_BACKLIGHT, 155},
};

constexpr const wchar_t *toneCounts[] = {L"1 x", L"2 x", L"3 x"};

// There is no entry for six. Kept: stored positions count on this list.
constexpr const wchar_t *repetitions[] = {L"1 x", L"2 x",  L"3 x",  L"4 x",  L"5 x",
                                          L"7 x", L"10 x", L"15 x", L"20 x", L"30 x"};
constexpr int endlessText = 209;
constexpr DWORD endless = 9999;
constexpr DWORD defaultRepetitions = 5;

constexpr const wchar_t *batteryLevels[] = {L"40", L"35", L"30", L"25", L"20", L"15", L"10"};
constexpr int lowestBatteryLevel = 5;   // at this and below the default is shown
constexpr DWORD defaultBatteryLevel = 20;

// The engine reads the seconds, this page the position.
struct Interval {
    const wchar_t *format;   // of the list entry, around the unit
    int unitText;
    DWORD seconds;
};

constexpr int secondsText = 11;
constexpr int minutesText = 10;

constexpr Interval intervals[] = {
    {L"20 %s", secondsText, 20},   {L"30 %s", secondsText, 30},  {L" 1 %s", minutesText, 60},
    {L" 2 %s", minutesText, 120},  {L" 3 %s", minutesText, 180}, {L" 4 %s", minutesText, 240},
    {L" 5 %s", minutesText, 300},  {L"10 %s", minutesText, 600}, {L"15 %s", minutesText, 900},
    {L"30 %s", minutesText, 1800},
};
constexpr DWORD longestInterval = 1800;   // also for a position that is none of the list's

struct CheckBox {
    int control;
    DWORD UserSettings::*field;
};

constexpr CheckBox checkBoxes[] = {
    {IDC_VIBRATE_IF_MUTED, &UserSettings::vibrateOnMute},
    {IDC_VIBRATE_WITH_SOUND, &UserSettings::alwaysVibrate},
    {IDC_NO_BACKLIGHT, &UserSettings::noBacklight},
};

constexpr size_t listTextCapacity = 101;   // 100 characters of an entry are read

// ---- Lists --------------------------------------------------------------------------------------------------------

void addEntry(HWND page, int list, const wchar_t *entry)
{
    SendDlgItemMessageW(page, list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entry));
}

template <size_t count> void addEntries(HWND page, int list, const wchar_t *const (&entries)[count])
{
    for (const wchar_t *entry : entries)
        addEntry(page, list, entry);
}

void selectEntry(HWND page, int list, DWORD position)
{
    SendDlgItemMessageW(page, list, CB_SETCURSEL, position, 0);
}

// -1 when nothing is selected.
DWORD selectedEntry(HWND page, int list)
{
    return static_cast<DWORD>(SendDlgItemMessageW(page, list, CB_GETCURSEL, 0, 0));
}

// ---- Showing the record -------------------------------------------------------------------------------------------

void fillRepetitions(HWND page)
{
    addEntries(page, IDC_REPETITIONS, repetitions);
    addEntry(page, IDC_REPETITIONS, getLanguageText(endlessText, nullptr));
    selectEntry(page, IDC_REPETITIONS, userSettings.soundRepeatOff);
}

// A level that is not in the list selects nothing.
void fillBatteryLevels(HWND page)
{
    addEntries(page, IDC_BATTERY, batteryLevels);
    int level = static_cast<int>(userSettings.batteryLife);
    if (level <= lowestBatteryLevel)
        level = defaultBatteryLevel;
    wchar_t entry[16];
    formatText(entry, L"%02d", level);
    SendDlgItemMessageW(page, IDC_BATTERY, CB_SELECTSTRING, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(entry));
}

void fillIntervals(HWND page)
{
    for (const Interval &interval : intervals) {
        wchar_t entry[300];   // the longest unit text and the number in front of it
        formatText(entry, interval.format, getLanguageText(interval.unitText, nullptr));
        addEntry(page, IDC_INTERVAL, entry);
    }
    selectEntry(page, IDC_INTERVAL, userSettings.soundDelayOff);
}

void showCheckBoxes(HWND page)
{
    for (const CheckBox &box : checkBoxes)
        SendDlgItemMessageW(page, box.control, BM_SETCHECK, userSettings.*box.field ? BST_CHECKED : BST_UNCHECKED, 0);
}

void showSettings(HWND page)
{
    setControlTexts(page, labels);
    addEntries(page, IDC_TONE_COUNT, toneCounts);
    selectEntry(page, IDC_TONE_COUNT, userSettings.soundRepeatTone);
    fillRepetitions(page);
    fillBatteryLevels(page);
    fillIntervals(page);
    showCheckBoxes(page);
}

// ---- Storing into the record --------------------------------------------------------------------------------------

// Taken literally: a translation of "Endless" that begins with a digit counts as that number.
DWORD parsedRepetitions(const wchar_t *entry)
{
    if (!entry[0])
        return defaultRepetitions;
    const DWORD number = _wtol(entry);
    return number ? number : endless;
}

DWORD intervalSeconds(DWORD position)
{
    return position < countOf(intervals) ? intervals[position].seconds : longestInterval;
}

DWORD parsedBatteryLevel(const wchar_t *entry)
{
    return entry[0] ? _wtol(entry) : defaultBatteryLevel;
}

void storeRepetitions(HWND page)
{
    wchar_t entry[listTextCapacity] = L"";
    GetDlgItemTextW(page, IDC_REPETITIONS, entry, countOf(entry));
    userSettings.soundRepeat = parsedRepetitions(entry);
    userSettings.soundRepeatOff = selectedEntry(page, IDC_REPETITIONS);
}

void storeBatteryLevel(HWND page)
{
    wchar_t entry[listTextCapacity] = L"";
    GetDlgItemTextW(page, IDC_BATTERY, entry, countOf(entry));
    userSettings.batteryLife = parsedBatteryLevel(entry);
}

void storeCheckBoxes(HWND page)
{
    for (const CheckBox &box : checkBoxes)
        userSettings.*box.field = SendDlgItemMessageW(page, box.control, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void storeSettings(HWND page)
{
    userSettings.soundRepeatTone = selectedEntry(page, IDC_TONE_COUNT);
    storeRepetitions(page);
    userSettings.soundDelayOff = selectedEntry(page, IDC_INTERVAL);
    userSettings.soundDelay = intervalSeconds(userSettings.soundDelayOff);
    storeBatteryLevel(page);
    storeCheckBoxes(page);
}

}   // namespace

INT_PTR CALLBACK AlarmsPageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        showSettings(page);
        break;
    case WM_NOTIFY:
        return endOnSheetNotification(page, lParam, storeSettings);
    }
    return pageChromeMessage(chrome, page, message, wParam, lParam);
}
