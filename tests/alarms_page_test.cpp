#include "alarms_page.h"

#include "doctest.h"
#include "environment.h"
#include "page_window.h"
#include "resource.h"
#include "shell_values.h"
#include "test_phone.h"
#include "user_settings.h"

namespace {

// A phone on which the program has just been started.
struct StartedPhone : TestPhone {
    explicit StartedPhone(const char *base = "wm6") : TestPhone(base)
    {
        restartProgram();
        getAppPath();
    }
};

struct AlarmsPage : PageWindow {
    AlarmsPage() : PageWindow(IDD_ALARMS_PAGE, AlarmsPageProc) {}
};

constexpr DWORD german = 1;
constexpr DWORD none = 0xFFFFFFFF;
constexpr DWORD untouched = 4711;

std::vector<std::wstring> entriesOf(const PageWindow &page, int list)
{
    std::vector<std::wstring> entries;
    for (int i = 0; i < page.entryCount(list); ++i)
        entries.push_back(page.entry(list, i));
    return entries;
}

void checkEntries(const PageWindow &page, int list, const std::vector<std::wstring> &expected)
{
    const std::vector<std::wstring> entries = entriesOf(page, list);
    CHECK(entries.size() == expected.size());
    for (size_t i = 0; i < entries.size() && i < expected.size(); ++i) {
        INFO("list " << list << ", entry " << i << ": " << narrow(entries[i]));
        CHECK(entries[i] == expected[i]);
    }
}

std::wstring selectedText(const PageWindow &page, int list)
{
    return page.selection(list) < 0 ? L"" : page.entry(list, page.selection(list));
}

}   // namespace

// ---- Texts ------------------------------------------------------------------------------------------------------------

namespace {

struct Label {
    int control;
    const wchar_t *english;
    const wchar_t *german;
};

constexpr Label labels[] = {
    {1077, L"Repeat", L"Wiederholung"},
    {1078, L"every", L"alle"},
    {1261, L"rpt.", L"Wdh."},
    {1179, L"Stop if battery less than", L"Stopp bei Akku unter"},
    {1177, L"Always vibrate if muted", L"Bei Stummschaltung immer vibrieren"},
    {1180, L"Always vibrate even with sound", L"Auch mit Ton immer vibrieren"},
    {1294, L"Don't activate backlight on alarm", L"Bei Alarm keine Beleuchtung"},
};

}   // namespace

TEST_CASE("the Alarms page is labelled in English by default")
{
    StartedPhone phone;
    AlarmsPage page;
    for (const Label &label : labels) {
        INFO("control " << label.control);
        CHECK(page.text(label.control) == label.english);
    }
}

TEST_CASE("the Alarms page is labelled in German when German is chosen")
{
    StartedPhone phone;
    userSettings.lang = german;
    AlarmsPage page;
    for (const Label &label : labels) {
        INFO("control " << label.control);
        CHECK(page.text(label.control) == label.german);
    }
}

TEST_CASE("every label of the Alarms page takes the text of its own identifier")
{
    StartedPhone phone;
    phone.writeLanguageFile(L"DE", {L"Test", L"27=text 27", L"31=text 31", L"39=text 39", L"40=text 40", L"41=text 41",
                                    L"44=text 44", L"155=text 155"});
    userSettings.lang = german;
    AlarmsPage page;
    CHECK(page.text(1077) == L"text 27");
    CHECK(page.text(1179) == L"text 31");
    CHECK(page.text(1078) == L"text 39");
    CHECK(page.text(1261) == L"text 40");
    CHECK(page.text(1177) == L"text 41");
    CHECK(page.text(1180) == L"text 44");
    CHECK(page.text(1294) == L"text 155");
}

// ---- Entries ----------------------------------------------------------------------------------------------------------

TEST_CASE("the lists of the Alarms page hold exactly their entries in English")
{
    StartedPhone phone;
    AlarmsPage page;
    checkEntries(page, 1075, {L"1 x", L"2 x", L"3 x"});
    checkEntries(
        page, 1072,
        {L"20 sec", L"30 sec", L" 1 min", L" 2 min", L" 3 min", L" 4 min", L" 5 min", L"10 min", L"15 min", L"30 min"});
    checkEntries(page, 1074,
                 {L"1 x", L"2 x", L"3 x", L"4 x", L"5 x", L"7 x", L"10 x", L"15 x", L"20 x", L"30 x", L"Endless"});
    checkEntries(page, 1181, {L"40", L"35", L"30", L"25", L"20", L"15", L"10"});
}

TEST_CASE("the units and the endless entry of the Alarms page's lists are translated")
{
    StartedPhone phone;
    userSettings.lang = german;
    AlarmsPage page;
    checkEntries(page, 1075, {L"1 x", L"2 x", L"3 x"});
    checkEntries(page, 1072,
                 {L"20 Sek.", L"30 Sek.", L" 1 Min.", L" 2 Min.", L" 3 Min.", L" 4 Min.", L" 5 Min.", L"10 Min.",
                  L"15 Min.", L"30 Min."});
    checkEntries(page, 1074,
                 {L"1 x", L"2 x", L"3 x", L"4 x", L"5 x", L"7 x", L"10 x", L"15 x", L"20 x", L"30 x", L"Endlos"});
    checkEntries(page, 1181, {L"40", L"35", L"30", L"25", L"20", L"15", L"10"});
}

TEST_CASE("a unit of 250 characters is shown whole behind its number")
{
    StartedPhone phone;
    const std::wstring seconds(250, L's'), minutes(250, L'm');
    phone.writeLanguageFile(L"DE", {L"Test", L"11=" + seconds, L"10=" + minutes});
    userSettings.lang = german;
    AlarmsPage page;
    CHECK(page.entry(1072, 0) == L"20 " + seconds);
    CHECK(page.entry(1072, 1) == L"30 " + seconds);
    CHECK(page.entry(1072, 2) == L" 1 " + minutes);
    CHECK(page.entry(1072, 9) == L"30 " + minutes);
}

TEST_CASE("an empty translation of a list's text leaves the English one")
{
    StartedPhone phone;
    phone.writeLanguageFile(L"DE", {L"Test", L"10=", L"11=", L"209="});
    userSettings.lang = german;
    AlarmsPage page;
    CHECK(page.entry(1072, 0) == L"20 sec");
    CHECK(page.entry(1072, 9) == L"30 min");
    CHECK(page.entry(1074, 10) == L"Endless");
}

// ---- From the record to the controls ------------------------------------------------------------------------------------

TEST_CASE("every stored tone count is shown as its entry")
{
    StartedPhone phone;
    const wchar_t *const expected[] = {L"1 x", L"2 x", L"3 x"};
    for (DWORD position = 0; position < 3; ++position) {
        userSettings.soundRepeatTone = position;
        AlarmsPage page;
        CHECK(page.selection(1075) == static_cast<int>(position));
        CHECK(selectedText(page, 1075) == expected[position]);
    }
}

TEST_CASE("every stored interval position is shown as its entry, whatever the seconds say")
{
    StartedPhone phone;
    const wchar_t *const expected[] = {L"20 sec", L"30 sec", L" 1 min", L" 2 min", L" 3 min",
                                       L" 4 min", L" 5 min", L"10 min", L"15 min", L"30 min"};
    userSettings.soundDelay = 60;
    for (DWORD position = 0; position < 10; ++position) {
        userSettings.soundDelayOff = position;
        AlarmsPage page;
        CHECK(page.selection(1072) == static_cast<int>(position));
        CHECK(selectedText(page, 1072) == expected[position]);
    }
}

TEST_CASE("every stored repetition position is shown as its entry, whatever the number says")
{
    StartedPhone phone;
    const wchar_t *const expected[] = {L"1 x",  L"2 x",  L"3 x",  L"4 x",  L"5 x",    L"7 x",
                                       L"10 x", L"15 x", L"20 x", L"30 x", L"Endless"};
    userSettings.soundRepeat = 3;
    for (DWORD position = 0; position < 11; ++position) {
        userSettings.soundRepeatOff = position;
        AlarmsPage page;
        CHECK(page.selection(1074) == static_cast<int>(position));
        CHECK(selectedText(page, 1074) == expected[position]);
    }
}

TEST_CASE("a stored position that a list does not have selects nothing")
{
    StartedPhone phone;
    struct Row {
        DWORD tone, interval, repetitions;
    };
    for (const Row &row :
         {Row{3, 10, 11}, Row{none, none, none}, Row{100, 1800, 9999}, Row{0x80000000, 0x7FFFFFFF, 0x80000000}}) {
        userSettings.soundRepeatTone = row.tone;
        userSettings.soundDelayOff = row.interval;
        userSettings.soundRepeatOff = row.repetitions;
        AlarmsPage page;
        INFO("positions " << row.tone << ", " << row.interval << ", " << row.repetitions);
        CHECK(page.selection(1075) == -1);
        CHECK(page.selection(1072) == -1);
        CHECK(page.selection(1074) == -1);
    }
}

TEST_CASE("a stored battery level is shown when the list has it, at 5 and below as 20, and otherwise not at all")
{
    StartedPhone phone;
    struct Row {
        DWORD stored;
        int selection;
        const wchar_t *text;
    };
    constexpr Row rows[] = {
        {40, 0, L"40"},         {35, 1, L"35"},   {30, 2, L"30"}, {25, 3, L"25"}, {20, 4, L"20"},        {15, 5, L"15"},
        {10, 6, L"10"},         {none, 4, L"20"}, {0, 4, L"20"},  {1, 4, L"20"},  {4, 4, L"20"},         {5, 4, L"20"},
        {0x80000000, 4, L"20"}, {6, -1, L""},     {8, -1, L""},   {9, -1, L""},   {11, -1, L""},         {39, -1, L""},
        {41, -1, L""},          {99, -1, L""},    {100, -1, L""}, {400, -1, L""}, {0x7FFFFFFF, -1, L""},
    };
    for (const Row &row : rows) {
        userSettings.batteryLife = row.stored;
        AlarmsPage page;
        INFO("stored " << row.stored);
        CHECK(page.selection(1181) == row.selection);
        CHECK(selectedText(page, 1181) == row.text);
    }
}

TEST_CASE("a check box of the Alarms page shows any number but 0 as checked")
{
    struct Box {
        int control;
        DWORD UserSettings::*field;
    };
    constexpr Box boxes[] = {
        {1177, &UserSettings::vibrateOnMute}, {1180, &UserSettings::alwaysVibrate}, {1294, &UserSettings::noBacklight}};
    StartedPhone phone;
    for (const Box &box : boxes) {
        for (DWORD stored : {0, 1, 2}) {
            restartProgram();
            userSettings.*box.field = stored;
            AlarmsPage page;
            for (const Box &other : boxes) {
                INFO("control " << other.control << " with " << stored << " stored for " << box.control);
                CHECK(page.isChecked(other.control) == (stored != 0 && other.control == box.control));
            }
        }
    }
}

TEST_CASE("what the registry holds is what the Alarms page shows")
{
    StartedPhone phone;
    storeNumber(L"soundRepeatTone", 2);
    storeNumber(L"soundDelayOff", 7);
    storeNumber(L"soundRepeatOff", 5);
    storeNumber(L"batteryLife", 35);
    storeNumber(L"vibrateOnMute", 0);
    storeNumber(L"alwaysVibrate", 1);
    storeNumber(L"noBacklight", 1);
    getUserSettings();
    AlarmsPage page;
    CHECK(selectedText(page, 1075) == L"3 x");
    CHECK(selectedText(page, 1072) == L"10 min");
    CHECK(selectedText(page, 1074) == L"7 x");
    CHECK(selectedText(page, 1181) == L"35");
    CHECK_FALSE(page.isChecked(1177));
    CHECK(page.isChecked(1180));
    CHECK(page.isChecked(1294));
}

// ---- From the controls to the record ------------------------------------------------------------------------------------

TEST_CASE("applying stores the position of every tone count")
{
    StartedPhone phone;
    for (int position : {0, 1, 2, -1}) {
        AlarmsPage page;
        page.select(1075, position);
        page.apply();
        CHECK(userSettings.soundRepeatTone == static_cast<DWORD>(position));
    }
}

TEST_CASE("applying stores position and seconds of every interval")
{
    StartedPhone phone;
    constexpr DWORD seconds[] = {20, 30, 60, 120, 180, 240, 300, 600, 900, 1800};
    for (DWORD position = 0; position < 10; ++position) {
        AlarmsPage page;
        page.select(1072, static_cast<int>(position));
        page.apply();
        INFO("position " << position);
        CHECK(userSettings.soundDelayOff == position);
        CHECK(userSettings.soundDelay == seconds[position]);
    }
}

TEST_CASE("without a selected interval applying stores 1800 seconds")
{
    StartedPhone phone;
    userSettings.soundDelayOff = 10;
    AlarmsPage page;
    page.apply();
    CHECK(userSettings.soundDelayOff == none);
    CHECK(userSettings.soundDelay == 1800);
}

TEST_CASE("applying stores position and number of every repetition count")
{
    StartedPhone phone;
    constexpr DWORD numbers[] = {1, 2, 3, 4, 5, 7, 10, 15, 20, 30, 9999};
    for (DWORD position = 0; position < 11; ++position) {
        AlarmsPage page;
        page.select(1074, static_cast<int>(position));
        page.apply();
        INFO("position " << position);
        CHECK(userSettings.soundRepeatOff == position);
        CHECK(userSettings.soundRepeat == numbers[position]);
    }
}

TEST_CASE("without a selected repetition count applying stores 5")
{
    StartedPhone phone;
    userSettings.soundRepeatOff = 11;
    AlarmsPage page;
    page.apply();
    CHECK(userSettings.soundRepeatOff == none);
    CHECK(userSettings.soundRepeat == 5);
}

TEST_CASE("the translated endless entry is parsed literally")
{
    struct Row {
        const wchar_t *translation;
        DWORD stored;
    };
    constexpr Row rows[] = {{L"Endlos", 9999}, {L"4ever", 4},       {L"8", 8},     {L"0 = endless", 9999},
                            {L"x 3", 9999},    {L"100 times", 100}, {L"24/7", 24}, {L"", 9999}};
    StartedPhone phone;
    for (const Row &row : rows) {
        phone.writeLanguageFile(L"DE", {L"Test", std::wstring(L"209=") + row.translation});
        userSettings.lang = german;
        AlarmsPage page;
        page.select(1074, 10);
        page.apply();
        INFO("translation " << narrow(row.translation));
        CHECK(userSettings.soundRepeat == row.stored);
        CHECK(userSettings.soundRepeatOff == 10);
    }
}

TEST_CASE("a translation of Endless longer than what is read still counts as endless")
{
    StartedPhone phone;
    phone.writeLanguageFile(L"DE", {L"Test", L"209=" + std::wstring(250, L'e')});
    userSettings.lang = german;
    AlarmsPage page;
    page.select(1074, 10);
    page.apply();
    CHECK(userSettings.soundRepeat == 9999);
}

TEST_CASE("applying stores every battery level, and 20 without a selected one")
{
    StartedPhone phone;
    constexpr DWORD levels[] = {40, 35, 30, 25, 20, 15, 10};
    for (int position = 0; position < 7; ++position) {
        AlarmsPage page;
        page.select(1181, position);
        page.apply();
        CHECK(userSettings.batteryLife == levels[position]);
    }
    for (DWORD unlisted : {8, 99, 100}) {
        userSettings.batteryLife = unlisted;
        AlarmsPage page;
        page.apply();
        INFO("stored before: " << unlisted);
        CHECK(userSettings.batteryLife == 20);
    }
}

TEST_CASE("applying an untouched page replaces a battery level of 5 or less by the 20 it has shown")
{
    StartedPhone phone;
    for (DWORD stored : {none, DWORD(0), DWORD(5)}) {
        userSettings.batteryLife = stored;
        AlarmsPage page;
        page.apply();
        CHECK(userSettings.batteryLife == 20);
    }
}

TEST_CASE("a tap on a check box of the Alarms page is stored as 1 or 0 by applying")
{
    struct Box {
        int control;
        DWORD UserSettings::*field;
    };
    constexpr Box boxes[] = {
        {1177, &UserSettings::vibrateOnMute}, {1180, &UserSettings::alwaysVibrate}, {1294, &UserSettings::noBacklight}};
    StartedPhone phone;
    for (const Box &box : boxes) {
        for (DWORD stored : {0, 1, 2}) {
            userSettings.*box.field = stored;
            AlarmsPage page;
            page.click(box.control);
            CHECK(userSettings.*box.field == stored);   // not before apply
            page.apply();
            INFO("control " << box.control << ", stored before: " << stored);
            CHECK(userSettings.*box.field == (stored ? 0u : 1u));
        }
        userSettings.*box.field = 2;
        AlarmsPage untouchedPage;
        untouchedPage.apply();
        CHECK(userSettings.*box.field == 1);
    }
}

TEST_CASE("applying stores nothing but the nine settings of the Alarms page")
{
    StartedPhone phone;
    getUserSettings();
    UserSettings before = userSettings;
    AlarmsPage page;
    page.apply();
    UserSettings after = userSettings;
    for (DWORD UserSettings::*field :
         {&UserSettings::soundRepeat, &UserSettings::soundRepeatOff, &UserSettings::soundRepeatTone,
          &UserSettings::soundDelay, &UserSettings::soundDelayOff, &UserSettings::batteryLife,
          &UserSettings::vibrateOnMute, &UserSettings::alwaysVibrate, &UserSettings::noBacklight})
        before.*field = after.*field = 0;
    CHECK(memcmp(&before, &after, sizeof before) == 0);
}

// ---- The sheet's notifications ------------------------------------------------------------------------------------------

namespace {

constexpr DWORD UserSettings::*pageFields[] = {
    &UserSettings::soundRepeat,   &UserSettings::soundRepeatOff, &UserSettings::soundRepeatTone,
    &UserSettings::soundDelay,    &UserSettings::soundDelayOff,  &UserSettings::batteryLife,
    &UserSettings::vibrateOnMute, &UserSettings::alwaysVibrate,  &UserSettings::noBacklight};

void setFields(DWORD value)
{
    for (DWORD UserSettings::*field : pageFields)
        userSettings.*field = value;
}

void checkFields(DWORD value)
{
    for (DWORD UserSettings::*field : pageFields)
        CHECK(userSettings.*field == value);
}

// Lets a page with another choice in every control be told by the sheet; returns how the Options dialog ended.
INT_PTR tellChangedPage(UINT notification, UINT_PTR id)
{
    return runInOptionsDialog([&] {
        AlarmsPage page;
        for (int list : {1075, 1072, 1074, 1181})
            page.select(list, 1);
        for (int box : {1177, 1180, 1294})
            page.click(box);
        page.notify(notification, id);
    });
}

}   // namespace

TEST_CASE("applying the Alarms page stores and ends the Options dialog with the notification's identifier")
{
    StartedPhone phone;
    setFields(untouched);
    CHECK(tellChangedPage(PSN_APPLY, 77) == 77);
    CHECK(userSettings.soundRepeatTone == 1);
    CHECK(userSettings.soundDelay == 30);
    CHECK(userSettings.soundRepeat == 2);
    CHECK(userSettings.batteryLife == 35);
    CHECK(userSettings.noBacklight == 0);
}

TEST_CASE("after an import applying the Alarms page stores nothing but ends the Options dialog")
{
    StartedPhone phone;
    setFields(untouched);
    settingsImported = true;
    CHECK(tellChangedPage(PSN_APPLY, 77) == 77);
    checkFields(untouched);
}

TEST_CASE("resetting the Alarms page stores nothing and ends the Options dialog")
{
    StartedPhone phone;
    setFields(untouched);
    CHECK(tellChangedPage(PSN_RESET, 78) == 78);
    checkFields(untouched);
}

TEST_CASE("other notifications neither store nor end anything")
{
    StartedPhone phone;
    setFields(untouched);
    for (int notification : {-200, -201, -205, -209}) {   // shown, left, help, asked whether cancelling is all right
        CHECK(tellChangedPage(static_cast<UINT>(notification), 79) == notEnded);
        checkFields(untouched);
    }
}

TEST_CASE("ok in the sheet writes what was chosen on the Alarms page into the registry")
{
    StartedPhone phone;
    storeNumber(L"batteryLife", 8);
    for (const wchar_t *box : {L"vibrateOnMute", L"alwaysVibrate", L"noBacklight"})
        storeNumber(box, 0);
    runOptions([](HWND sheet) {
        const HWND page = showPage(sheet, 1);
        SendDlgItemMessageW(page, 1075, CB_SETCURSEL, 2, 0);
        SendDlgItemMessageW(page, 1072, CB_SETCURSEL, 9, 0);
        SendDlgItemMessageW(page, 1074, CB_SETCURSEL, 10, 0);
        SendDlgItemMessageW(page, 1177, BM_CLICK, 0, 0);
        tapOk(sheet);
    });
    CHECK(storedNumber(L"soundRepeatTone") == 2);
    CHECK(storedNumber(L"soundDelay") == 1800);
    CHECK(storedNumber(L"soundDelayOff") == 9);
    CHECK(storedNumber(L"soundRepeat") == 9999);
    CHECK(storedNumber(L"soundRepeatOff") == 10);
    CHECK(storedNumber(L"batteryLife") == 20);
    CHECK(storedNumber(L"vibrateOnMute") == 1);
    CHECK(storedNumber(L"alwaysVibrate") == 0);
    CHECK(storedNumber(L"noBacklight") == 0);
}

TEST_CASE("cancelling the sheet leaves the registry as it was, whatever the Alarms page shows")
{
    StartedPhone phone;
    storeNumber(L"soundDelay", 240);
    storeNumber(L"soundDelayOff", 5);
    storeNumber(L"batteryLife", 8);
    storeNumber(L"vibrateOnMute", 0);
    runOptions([](HWND sheet) {
        const HWND page = showPage(sheet, 1);
        SendDlgItemMessageW(page, 1072, CB_SETCURSEL, 9, 0);
        SendDlgItemMessageW(page, 1177, BM_CLICK, 0, 0);
        cancelSheet(sheet);
    });
    CHECK(storedNumber(L"soundDelay") == 240);
    CHECK(storedNumber(L"soundDelayOff") == 5);
    CHECK(storedNumber(L"batteryLife") == 8);
    CHECK(storedNumber(L"vibrateOnMute") == 0);
}

TEST_CASE("a page that was never shown does not touch the settings when the sheet is confirmed")
{
    StartedPhone phone;
    storeNumber(L"batteryLife", 8);
    storeNumber(L"soundDelayOff", 12);
    runOptions([](HWND sheet) { tapOk(sheet); });
    CHECK(storedNumber(L"batteryLife") == 8);
    CHECK(storedNumber(L"soundDelayOff") == 12);
}
