#include "profile_record.h"

#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "extra_settings.h"
#include "page_window.h"
#include "test_phone.h"
#include "user_settings.h"

namespace {

constexpr DWORD german = 1;
constexpr int profile = 5;   // one that no phone begins with
constexpr wchar_t profileKey[] = L"Software\\Tessaryn\\Kelvane\\5";
constexpr wchar_t widcommKey[] = L"Software\\Widcomm\\BtConfig\\General";

constexpr DWORD minusOne = 0xFFFFFFFF;

// What every phone's table looks like before a page has hidden rows.
void showRows()
{
    for (ProfileSettingDescriptor &row : profileSettings)
        row.shown = row.setting != 42 && row.setting != 43;
}

// A phone on which the program has just been started, with an untouched profile.
struct StartedPhone : TestPhone {
    explicit StartedPhone(const char *base = "wm6") : TestPhone(base)
    {
        restartProgram();
        forget();
        getAppPath();
        keysBefore = SimLiveKeys();
    }
    ~StartedPhone() { forget(); }

    int keysLeftOpen() const { return SimLiveKeys() - keysBefore; }

private:
    static void forget()
    {
        freeExtraSettings();
        extraSettings = ExtraSettings{};
        profilePageState = ProfilePageState{};
        showRows();
    }

    int keysBefore;
};

// A profile that has never been saved.
void forgetProfile()
{
    removeKey(profileKey);
}

void storeSetting(const std::wstring &name, DWORD value)
{
    storeNumber(name.c_str(), value, profileKey);
}

void storeSetting(const std::wstring &name, const std::wstring &text)
{
    storeText(name.c_str(), text, profileKey);
}

DWORD settingNumber(const std::wstring &name)
{
    return storedNumber(name.c_str(), profileKey);
}

std::wstring settingText(const std::wstring &name)
{
    return storedText(name.c_str(), profileKey);
}

bool isStored(const std::wstring &name)
{
    return storedValue(name.c_str(), profileKey).present;
}

int rowOf(int setting)
{
    for (int row = 0; row < profileSettingCount; ++row)
        if (profileSettings[row].setting == setting)
            return row;
    FAIL("no row for setting " << setting);
    return -1;
}

std::wstring listText(int setting)
{
    wchar_t text[profileTextCapacity] = L"left over";
    INFO("setting " << setting);
    CHECK(loadProfileValueText(profile, rowOf(setting), text));
    return text;
}

ProfileEdit edited(int setting)
{
    ProfileEdit edit;
    edit.entry = edit.count = 77;   // must not be left
    loadProfileEdit(profile, rowOf(setting), edit);
    return edit;
}

void save(int setting, const ProfileEdit &edit)
{
    saveProfileEdit(profile, rowOf(setting), edit);
}

void saveEntry(int setting, int entry)
{
    ProfileEdit edit;
    edit.entry = entry;
    save(setting, edit);
}

void saveText(int setting, const std::wstring &text)
{
    ProfileEdit edit;
    copyText(edit.text, text.c_str());
    save(setting, edit);
}

// Shows a row in the editor and leaves it.
void saveUntouched(int setting)
{
    save(setting, edited(setting));
}

std::wstring nameOf(int setting)
{
    return std::to_wstring(setting);
}

std::vector<std::wstring> entriesOf(int setting)
{
    std::vector<std::wstring> entries;
    wchar_t text[profileTextCapacity];
    for (int i = 0; i < profileEntryCount(setting); ++i) {
        profileEntryText(setting, i, text);
        entries.push_back(text);
    }
    return entries;
}

std::vector<std::wstring> collected;

void collect(HWND, const wchar_t *entry)
{
    collected.push_back(entry);
}

std::vector<std::wstring> textEntriesOf(int setting)
{
    collected.clear();
    listTextEntries(setting, collect, nullptr);
    return collected;
}

std::string joined(const std::vector<std::wstring> &texts)
{
    std::wstring all;
    for (const std::wstring &text : texts)
        all += text + L"|";
    return narrow(all);
}

}   // namespace

// ---- The table --------------------------------------------------------------------------------------------------------

namespace {

struct ExpectedRow {
    int setting;
    DWORD kind;
    const wchar_t *label;
    const wchar_t *description;
};

// The engine and the export file know the settings by their numbers, so the table is written out here once more.
constexpr ExpectedRow expectedRows[] = {
    {-1, 9, L"Volumes", nullptr},
    {0, 5, L"System volume", L"Volume for all standard alarms"},
    {1, 5, L"Phone Volume", L"Ringer volume for incoming calls"},
    {2, 5, L"Call Volume", L"Volume when talking during a call"},
    {3, 5, L"Notification volume", L"Kelvane notification volume"},
    {-1, 9, L"Notification Settings", nullptr},
    {4, 7, L"SMS Alarm", L"Notification when an SMS is received"},
    {30, 14, L"SMS Alarm repeat", L"SMS Alarm custom repeat"},
    {43, 6, L"Custom SMS alarm", L"Group to activate for custom SMS alarms"},
    {39, 7, L"MMS Alarm", L"Notification when an MMS is received"},
    {40, 14, L"MMS repeat", L"MMS Alarm custom repeat"},
    {5, 7, L"Email Alarm", L"Notification when an Email is received"},
    {31, 14, L"Email Alarm repeat", L"Email Alarm custom repeat"},
    {42, 6, L"Custom Email alarm", L"Group to activate for custom Email alarms"},
    {6, 7, L"Voice Mail Alarm", L"Notification when a Voice mail is received"},
    {32, 14, L"Voice Alarm repeat", L"Voice Alarm custom repeat"},
    {7, 7, L"Missed call Alarm", L"Notification when an call is missed"},
    {33, 14, L"Missed Alarm repeat", L"Missed Alarm custom repeat"},
    {36, 7, L"Reminder Alarm", L"Notification when a Reminder (appointment/task) is active"},
    {37, 14, L"Reminder repeat", L"Reminder Alarm custom repeat"},
    {-1, 9, L"Ring Settings", nullptr},
    {8, 7, L"Ring Tone", L"Ring tone for incoming calls"},
    {9, 6, L"Ring Type", L"Ring Type for incoming calls"},
    {13, 6, L"Auto answer", L"Automatically answer phone after 'x' rings"},
    {22, 0, L"Auto-blank on connect", L"Automatically blank screen on call connect"},
    {27, 0, L"Speaker phone", L"Automatically enable speaker phone (only on WM 5.0 devices!)"},
    {25, 6, L"Call Forwarding", L"Have your calls automatically forwarded to another phone"},
    {26, 6, L"SMS Forwarding", L"Have your SMS's automatically forwarded to another phone"},
    {-1, 9, L"Radio Settings", nullptr},
    {10, 6, L"Activate radio", L"Enable the phone radio (deactivate for 'Flight mode' = no calls!)"},
    {11, 0, L"Activate IR", L"Enable the incoming Infra-red interface (also bluetooth file transfer!)"},
    {12, 6, L"Bluetooth", L"Set Bluetooth power status"},
    {23, 0, L"Headset", L"Activate Bluetooth headset"},
    {24, 6, L"Activate WLAN", L"Automatically activate WLAN radio"},
    {41, 6, L"Data Band", L"Preferred data band (GPRS / UMTS) to save power (will cycle Radio off/on if required)"},
    {38, 6, L"Network Snapshot", L"Load a network snapshot to configure network settings"},
    {-1, 9, L"General Settings", nullptr},
    {14, 6, L"Backlight %", L"Backlight setting when on battery power"},
    {21, 6, L"Backlight Ext. %", L"Backlight setting (%) when on external power"},
    {16, 6, L"Backlight Battery", L"Backlight timeout when on battery power"},
    {17, 6, L"Backlight External", L"Backlight timeout when on external (AC) power"},
    {19, 6, L"Shutdown Battery", L"Device timeout when on battery power"},
    {20, 6, L"Shutdown External", L"Device timeout when on external (AC) power"},
    {18, 10, L"SIM Code", L"Code to unlock SIM card when exiting flight mode. (leave empty if not required)"},
    {15, 12, L"Run program", L"Select program to start when profile activated"},
    {35, 0, L"Close program", L"Stop the running program when current profile ends"},
    {34, 6, L"Rotate screen", L"Select screen orientation when profile is activated"},
    {28, 6, L"ActiveSync Auto-connect", L"ActiveSync Auto-connect schedule"},
    {29, 6, L"Enable Push Email", L"Enable Push Email - only if installed"},
};

}   // namespace

TEST_CASE("the table of profile settings has its 49 rows in the order they are shown in")
{
    StartedPhone phone;
    REQUIRE(sizeof expectedRows / sizeof *expectedRows == 49);
    REQUIRE(profileSettingCount == 49);
    for (int i = 0; i < 49; ++i) {
        const ExpectedRow &expected = expectedRows[i];
        const ProfileSettingDescriptor &row = profileSettings[i];
        INFO("row " << i);
        CHECK(row.setting == expected.setting);
        CHECK(row.kind == expected.kind);
        CHECK(row.shown == (expected.setting == 42 || expected.setting == 43 ? 0u : 1u));
        CHECK(narrow(getLanguageText(row.label, nullptr)) == narrow(expected.label));
        if (expected.description)
            CHECK(narrow(getLanguageText(row.description, nullptr)) == narrow(expected.description));
        else
            CHECK(row.description == -1);
    }
}

TEST_CASE("a profile's key is the program's with the profile's number")
{
    wchar_t path[profileKeyCapacity];
    profileKeyPath(0, path);
    CHECK(narrow(path) == "Software\\Tessaryn\\Kelvane\\0");
    profileKeyPath(6, path);
    CHECK(narrow(path) == "Software\\Tessaryn\\Kelvane\\6");
    profileKeyPath(static_cast<int>(0x80000000), path);
    CHECK(narrow(path) == "Software\\Tessaryn\\Kelvane\\-2147483648");
}

// ---- Lists of numbers -------------------------------------------------------------------------------------------------

namespace {

struct ExpectedList {
    int setting;
    std::vector<std::wstring> entries;
    std::vector<DWORD> stored;
    std::vector<std::wstring> shown;   // where the list's words differ from the entry; else empty
};

const std::vector<std::wstring> steps = {
    L"Leave Unchanged", L"0 %", L"10 %", L"20 %", L"40 %", L"60 %", L"80 %", L"100 %"};
const std::vector<DWORD> storedSteps = {99, 0, 10, 20, 40, 60, 80, 100};

const std::vector<std::wstring> fineSteps = {L"Leave Unchanged",
                                             L"0 %",
                                             L"10 %",
                                             L"20 %",
                                             L"30 %",
                                             L"40 %",
                                             L"50 %",
                                             L"60 %",
                                             L"70 %",
                                             L"80 %",
                                             L"90 %",
                                             L"100 %"};
const std::vector<DWORD> storedFineSteps = {99, 0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100};

const std::vector<std::wstring> timeOuts = {L" 0 sec (always on)",
                                            L"10 sec",
                                            L"30 sec",
                                            L" 1 min",
                                            L" 2 min",
                                            L" 3 min",
                                            L" 5 min",
                                            L"10 min",
                                            L"15 min",
                                            L"20 min",
                                            L"30 min",
                                            L"60 min"};
const std::vector<std::wstring> shownTimeOuts = {L"0 sec", L"10 sec", L"30 sec", L"1 min",  L"2 min",  L"3 min",
                                                 L"5 min", L"10 min", L"15 min", L"20 min", L"30 min", L"60 min"};
const std::vector<DWORD> storedTimeOuts = {0, 10, 30, 60, 120, 180, 300, 600, 900, 1200, 1800, 3600};

const std::vector<std::wstring> onOrOff = {L"Leave Unchanged", L"Off", L"On"};

const ExpectedList expectedLists[] = {
    {0, steps, storedSteps, {}},
    {1, steps, storedSteps, {}},
    {2, steps, storedSteps, {}},
    {3,
     {L"Leave Unchanged", L"0 %", L"10 %", L"20 %", L"40 %", L"60 %", L"80 %", L"100 %", L"Escalating Volume"},
     {99, 0, 10, 20, 40, 60, 80, 100, 98},
     {}},
    {14, fineSteps, storedFineSteps, {}},
    {21, fineSteps, storedFineSteps, {}},
    {16, timeOuts, storedTimeOuts, shownTimeOuts},
    {17, timeOuts, storedTimeOuts, shownTimeOuts},
    {19, timeOuts, storedTimeOuts, shownTimeOuts},
    {20, timeOuts, storedTimeOuts, shownTimeOuts},
    {9,
     {L"<system>", L"Ring", L"Increasing Ring", L"Ring once", L"Vibrate", L"Vibrate and Ring", L"Vibrate, then Ring",
      L"None", L"Increasing Ring And Vibrate", L"Fast Vibrate And Flash", L"Fast Vibrate, Flash And Ring",
      L"Vibrate and ring without pause", L"Fast Vibrate, Flash And Increasing Ring", L"Vibrate 3 times then ring"},
     {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13},
     {}},
    {13, {L"None", L"1 rings", L"2 rings", L"3 rings", L"4 rings", L"5 rings", L"6 rings"}, {0, 1, 2, 3, 4, 5, 6}, {}},
    {10, {L"Leave Unchanged", L"Off", L"On", L"Cycle radio (off/on)"}, {0, 1, 2, 3}, {}},
    {12, {L"Leave Unchanged", L"Off", L"On", L"Discoverable", L"Activate on call"}, {0, 1, 2, 3, 4}, {}},
    {24, onOrOff, {0, 1, 2}, {}},
    {29, onOrOff, {0, 1, 2}, {}},
    {41, {L"Leave Unchanged", L"Auto", L"GSM/GPRS", L"UMTS (3G)"}, {0, 1, 2, 3}, {}},
    {34, {L"Leave Unchanged", L"Portrait", L"Landscape", L"Landscape Right"}, {0, 1, 2, 3}, {}},
    {28,
     {L"Leave Unchanged", L"Deactivate", L" 5 min", L"10 min", L"15 min", L"35 min", L"65 min", L"95 min"},
     {0, 99, 5, 10, 15, 35, 65, 95},
     {L"Leave Unchanged", L"Deactivate", L"5 min", L"10 min", L"15 min", L"35 min", L"65 min", L"95 min"}},
};

// A number that is stored, how the list shows it, and the entry that the editor chooses.
struct Unlisted {
    int setting;
    DWORD stored;
    const wchar_t *shown;
    int entry;
};

}   // namespace

TEST_CASE("every list of numbers offers exactly its entries")
{
    StartedPhone phone;
    for (const ExpectedList &list : expectedLists) {
        INFO("setting " << list.setting);
        REQUIRE(list.entries.size() == list.stored.size());
        CHECK(joined(entriesOf(list.setting)) == joined(list.entries));
    }
    for (int setting : {-1, 4, 8, 11, 15, 18, 22, 25, 26, 38, 42, 43, 44})
        CHECK(profileEntryCount(setting) == 0);
}

TEST_CASE("choosing an entry stores its number, which is then shown in the list and chosen in the editor")
{
    StartedPhone phone;
    for (const ExpectedList &list : expectedLists) {
        forgetProfile();
        for (size_t i = 0; i < list.entries.size(); ++i) {
            INFO("setting " << list.setting << ", entry " << static_cast<int>(i));
            saveEntry(list.setting, static_cast<int>(i));
            CHECK(settingNumber(nameOf(list.setting)) == list.stored[i]);
            CHECK(narrow(listText(list.setting)) == narrow(list.shown.empty() ? list.entries[i] : list.shown[i]));
            CHECK(edited(list.setting).entry == static_cast<int>(i));
        }
    }
}

TEST_CASE("a number without an entry is shown as it is and, save for times, stays until another is chosen")
{
    constexpr Unlisted unlisted[] = {
        {0, 98, L"Escalating Volume", -1},
        {1, 98, L"Escalating Volume", -1},
        {2, 98, L"Escalating Volume", -1},
        {0, 30, L"30 %", -1},
        {0, 1, L"1 %", -1},
        {3, 97, L"97 %", -1},
        {3, 101, L"101 %", -1},
        {3, minusOne, L"4294967295 %", -1},
        {14, 45, L"45 %", -1},
        {14, 98, L"98 %", -1},
        {21, 101, L"101 %", -1},
        {9, 14, L"14", -1},
        {9, minusOne, L"4294967295", -1},
        {13, 7, L"7 rings", -1},
        {10, 4, L"4", -1},
        {12, 5, L"5", -1},
        {24, 3, L"3", -1},
        {29, 99, L"99", -1},
        {41, 4, L"4", -1},
        {34, 4, L"4", -1},
    };
    StartedPhone phone;
    for (const Unlisted &value : unlisted) {
        INFO("setting " << value.setting << ", stored " << static_cast<long long>(value.stored));
        storeSetting(nameOf(value.setting), value.stored);
        CHECK(narrow(listText(value.setting)) == narrow(value.shown));
        CHECK(edited(value.setting).entry == value.entry);
        saveUntouched(value.setting);
        CHECK(settingNumber(nameOf(value.setting)) == value.stored);
    }
}

TEST_CASE("a time-out is shown in whole minutes from a minute on, and one without an entry becomes 30 seconds")
{
    constexpr Unlisted times[] = {
        {16, 1, L"1 sec", 2},
        {17, 9, L"9 sec", 2},
        {19, 45, L"45 sec", 2},
        {20, 59, L"59 sec", 2},
        {16, 61, L"1 min", 3},
        {17, 90, L"1 min", 3},
        {19, 119, L"1 min", 3},
        {20, 125, L"2 min", 4},
        {16, 240, L"4 min", 2},
        {17, 3599, L"59 min", 2},
        {19, 3659, L"60 min", 11},
        {20, 3660, L"61 min", 2},
        {16, minusOne, L"71582788 min", 2},
    };
    StartedPhone phone;
    for (const Unlisted &time : times) {
        INFO("stored " << static_cast<long long>(time.stored));
        storeSetting(nameOf(time.setting), time.stored);
        CHECK(narrow(listText(time.setting)) == narrow(time.shown));
        CHECK(edited(time.setting).entry == time.entry);
        saveUntouched(time.setting);
        CHECK(settingNumber(nameOf(time.setting)) == storedTimeOuts[time.entry]);
    }
}

TEST_CASE("a schedule of ActiveSync without an entry is shown in minutes and becomes 65 minutes")
{
    constexpr Unlisted times[] = {{28, 1, L"1 min", 6},
                                  {28, 30, L"30 min", 6},
                                  {28, 60, L"60 min", 6},
                                  {28, 98, L"98 min", 6},
                                  {28, 100, L"100 min", 6}};
    StartedPhone phone;
    for (const Unlisted &time : times) {
        storeSetting(L"28", time.stored);
        CHECK(narrow(listText(28)) == narrow(time.shown));
        CHECK(edited(28).entry == time.entry);
        saveUntouched(28);
        CHECK(settingNumber(L"28") == 65);
    }
}

TEST_CASE("an entry that no list has stores nothing")
{
    StartedPhone phone;
    for (const ExpectedList &list : expectedLists) {
        INFO("setting " << list.setting);
        storeSetting(nameOf(list.setting), 4711);
        for (int entry : {noEntry, static_cast<int>(list.entries.size()), 1000, static_cast<int>(0x80000000)})
            saveEntry(list.setting, entry);
        CHECK(settingNumber(nameOf(list.setting)) == 4711);
        wchar_t text[profileTextCapacity] = L"left over";
        profileEntryText(list.setting, static_cast<int>(list.entries.size()), text);
        CHECK(text[0] == 0);
        profileEntryText(list.setting, noEntry, text);
        CHECK(text[0] == 0);
    }
}

TEST_CASE("the ring types carry 99 for the system's and their number from 0")
{
    CHECK(ringTypeItemValue(0) == 99);
    CHECK(ringTypeItemValue(1) == 0);
    CHECK(ringTypeItemValue(13) == 12);
}

TEST_CASE("with the Widcomm stack Bluetooth cannot be discoverable, and its last entry is stored as 4")
{
    StartedPhone phone;
    makeKey(widcommKey, HKEY_LOCAL_MACHINE);
    CHECK(joined(entriesOf(12)) == "Leave Unchanged|Off|On|Activate on call|");
    constexpr DWORD stored[] = {0, 1, 2, 4};
    const wchar_t *const shown[] = {L"Leave Unchanged", L"Off", L"On", L"Activate on call"};
    for (int entry = 0; entry < 4; ++entry) {
        saveEntry(12, entry);
        CHECK(settingNumber(L"12") == stored[entry]);
        CHECK(narrow(listText(12)) == narrow(shown[entry]));
        CHECK(edited(12).entry == entry);
    }
    storeSetting(L"12", 3);
    CHECK(narrow(listText(12)) == "Activate on call");
    CHECK(edited(12).entry == 3);
    saveUntouched(12);
    CHECK(settingNumber(L"12") == 4);
    storeSetting(L"12", 5);
    CHECK(narrow(listText(12)) == "5");
    saveUntouched(12);
    CHECK(settingNumber(L"12") == 5);
    saveEntry(12, 4);
    CHECK(settingNumber(L"12") == 5);
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("the phone with a foreign Bluetooth stack lacks Discoverable from the start")
{
    StartedPhone phone("landscape");
    CHECK(profileEntryCount(12) == 4);
}

// ---- Switches ---------------------------------------------------------------------------------------------------------

TEST_CASE("a switch is stored as 1 or 0 and shown as On or Off")
{
    StartedPhone phone;
    for (int setting : {11, 22, 23, 27, 35}) {
        INFO("setting " << setting);
        for (bool on : {true, false}) {
            ProfileEdit edit;
            edit.on = on;
            save(setting, edit);
            CHECK(settingNumber(nameOf(setting)) == (on ? 1u : 0u));
            CHECK(narrow(listText(setting)) == (on ? "On" : "Off"));
            CHECK(edited(setting).on == on);
        }
        storeSetting(nameOf(setting), 2);
        CHECK(narrow(listText(setting)) == "On");
        saveUntouched(setting);
        CHECK(settingNumber(nameOf(setting)) == 1);
    }
}

// ---- Repeats ----------------------------------------------------------------------------------------------------------

namespace {

const int repeats[] = {30, 31, 32, 33, 37, 40};

std::wstring countNameOf(int setting)
{
    return nameOf(setting) + L"_1";
}

void saveRepeat(int setting, int interval, int count)
{
    ProfileEdit edit;
    edit.entry = interval;
    edit.count = count;
    save(setting, edit);
}

}   // namespace

TEST_CASE("the lists of a repeat offer exactly their intervals and counts")
{
    StartedPhone phone;
    for (int setting : repeats)
        CHECK(joined(entriesOf(setting)) ==
              "Default|No alarm|20 sec|30 sec| 1 min| 2 min| 3 min| 4 min| 5 min|10 min|15 min|30 min|Escalate 5 min|"
              "Escalate 10 min|");
    std::vector<std::wstring> counts;
    wchar_t text[profileTextCapacity];
    for (int i = 0; i < repeatCountEntries; ++i) {
        repeatCountEntryText(i, text);
        counts.push_back(text);
    }
    CHECK(joined(counts) == "1 x|2 x|3 x|4 x|5 x|7 x|10 x|15 x|20 x|30 x|Endless|");
    for (int entry : {-1, 11}) {
        repeatCountEntryText(entry, text);
        CHECK(text[0] == 0);
    }
}

TEST_CASE("every interval of a repeat is stored as its position and shown with the count")
{
    StartedPhone phone;
    userSettings.soundRepeatOff = 6;
    const wchar_t *const shown[] = {L"Default",    L"No alarm",   L"3 x 20 sec",     L"3 x 30 sec",     L"3 x 1 min",
                                    L"3 x 2 min",  L"3 x 3 min",  L"3 x 4 min",      L"3 x 5 min",      L"3 x 10 min",
                                    L"3 x 15 min", L"3 x 30 min", L"Escalate 5 min", L"Escalate 10 min"};
    for (DWORD interval = 0; interval < 14; ++interval) {
        INFO("interval " << static_cast<int>(interval));
        saveRepeat(30, static_cast<int>(interval), 2);
        CHECK(settingNumber(L"30") == interval);
        CHECK(settingNumber(L"30_1") == (interval == 1 ? minusOne : 2u));
        CHECK(narrow(listText(30)) == narrow(shown[interval]));
        CHECK(edited(30).entry == static_cast<int>(interval));
        CHECK(edited(30).count == (interval < 2 ? 6 : 2));
    }
}

TEST_CASE("every count of a repeat is stored as its position and shown as its number")
{
    StartedPhone phone;
    const wchar_t *const shown[] = {L"1 x 20 sec",  L"2 x 20 sec",  L"3 x 20 sec",      L"4 x 20 sec",
                                    L"5 x 20 sec",  L"7 x 20 sec",  L"10 x 20 sec",     L"15 x 20 sec",
                                    L"20 x 20 sec", L"30 x 20 sec", L"Endless x 20 sec"};
    for (DWORD count = 0; count < 11; ++count) {
        INFO("count " << static_cast<int>(count));
        saveRepeat(40, 2, static_cast<int>(count));
        CHECK(settingNumber(L"40_1") == count);
        CHECK(narrow(listText(40)) == narrow(shown[count]));
        CHECK(edited(40).count == static_cast<int>(count));
    }
    for (DWORD count : {DWORD(10), DWORD(11), DWORD(9999), minusOne}) {
        storeSetting(L"40_1", count);
        CHECK(narrow(listText(40)) == "Endless x 20 sec");
        CHECK(edited(40).count == 10);
    }
}

TEST_CASE("all six repeats have a value and a count of their own")
{
    StartedPhone phone;
    for (int setting : repeats) {
        saveRepeat(setting, 10, 10);
        CHECK(settingNumber(nameOf(setting)) == 10);
        CHECK(settingNumber(countNameOf(setting)) == 10);
        CHECK(narrow(listText(setting)) == "Endless x 15 min");
    }
}

TEST_CASE("a repeat without alarm shows so whatever its count, and is stored with the count -1")
{
    StartedPhone phone;
    userSettings.soundRepeatOff = 3;
    storeSetting(L"31", 1);
    for (DWORD count : {DWORD(0), DWORD(5), DWORD(10), minusOne}) {
        storeSetting(L"31_1", count);
        CHECK(narrow(listText(31)) == "No alarm");
        CHECK(edited(31).entry == 1);
        CHECK(edited(31).count == (count == minusOne ? 3 : static_cast<int>(count)));
        saveUntouched(31);
        CHECK(settingNumber(L"31") == 1);
        CHECK(settingNumber(L"31_1") == minusOne);
    }
    saveRepeat(31, 1, noEntry);
    CHECK(settingNumber(L"31_1") == minusOne);
}

TEST_CASE("the default interval chooses the general count, which is what saving stores")
{
    StartedPhone phone;
    storeSetting(L"32", 0);
    storeSetting(L"32_1", 2);
    for (DWORD position : {0, 5, 10}) {
        userSettings.soundRepeatOff = position;
        CHECK(narrow(listText(32)) == "Default");
        CHECK(edited(32).entry == 0);
        CHECK(edited(32).count == static_cast<int>(position));
        saveUntouched(32);
        CHECK(settingNumber(L"32_1") == position);
    }
    for (DWORD position : {DWORD(11), minusOne}) {   // none of the list's
        userSettings.soundRepeatOff = position;
        CHECK(edited(32).count == noEntry);
        saveUntouched(32);
        CHECK(settingNumber(L"32_1") == 10);
    }
}

TEST_CASE("a repeat without a stored count has the first")
{
    StartedPhone phone;
    storeSetting(L"33", 2);
    CHECK(narrow(listText(33)) == "1 x 20 sec");
    CHECK(edited(33).count == 0);
}

TEST_CASE("an interval that no entry stands for is shown as its number and stays until another is chosen")
{
    StartedPhone phone;
    for (DWORD interval : {DWORD(14), DWORD(99), minusOne}) {
        storeSetting(L"37", interval);
        storeSetting(L"37_1", 4);
        CHECK(narrow(listText(37)) == (interval == 14 ? "14" : interval == 99 ? "99" : "4294967295"));
        CHECK(edited(37).entry == noEntry);
        CHECK(edited(37).count == 4);
        saveUntouched(37);
        CHECK(settingNumber(L"37") == interval);
        CHECK(settingNumber(L"37_1") == 4);
    }
    saveRepeat(37, 14, 11);
    CHECK(settingNumber(L"37") == minusOne);
    CHECK(settingNumber(L"37_1") == 4);
    saveRepeat(37, 2, 3);
    CHECK(narrow(listText(37)) == "4 x 20 sec");
}

// ---- Alarm sounds -----------------------------------------------------------------------------------------------------

TEST_CASE("an alarm sound is stored as it is called, with its three flags")
{
    StartedPhone phone;
    for (int setting : {4, 5, 6, 7, 8, 36, 39}) {
        for (int flags = 0; flags < 8; ++flags) {
            INFO("setting " << setting << ", flags " << flags);
            ProfileEdit edit;
            copyText(edit.text, flags % 2 ? L"ring1.wav" : L"<silent>");
            edit.popup = flags & 1;
            edit.led = flags & 2;
            edit.vibrate = flags & 4;
            save(setting, edit);
            const std::wstring name = nameOf(setting);
            CHECK(narrow(settingText(name)) == (flags % 2 ? "ring1.wav" : "<silent>"));
            CHECK(settingNumber(name + L"_1") == (flags & 1 ? 1u : 0u));
            CHECK(settingNumber(name + L"_11") == (flags & 2 ? 1u : 0u));
            CHECK(settingNumber(name + L"_111") == (flags & 4 ? 1u : 0u));
            CHECK(narrow(listText(setting)) == (flags % 2 ? "ring1.wav" : "<silent>"));
            const ProfileEdit shown = edited(setting);
            CHECK(narrow(shown.text) == (flags % 2 ? "ring1.wav" : "<silent>"));
            CHECK(shown.popup == edit.popup);
            CHECK(shown.led == edit.led);
            CHECK(shown.vibrate == edit.vibrate);
            CHECK_FALSE(shown.foreign);
        }
    }
}

TEST_CASE("a flag that is missing, of another type or more than 1 counts as 0, 0 and 1")
{
    StartedPhone phone;
    storeSetting(L"4", L"ring1.wav");
    storeSetting(L"4_11", L"1");
    storeSetting(L"4_111", 2);
    CHECK_FALSE(edited(4).popup);
    CHECK_FALSE(edited(4).led);
    CHECK(edited(4).vibrate);
    saveUntouched(4);
    CHECK(settingNumber(L"4_1") == 0);
    CHECK(narrow(settingText(L"4_11")) == "1");   // not replaced by a box that could not show it
    CHECK(settingNumber(L"4_111") == 1);
    ProfileEdit edit = edited(4);
    edit.led = true;
    save(4, edit);
    CHECK(settingNumber(L"4_11") == 1);
}

TEST_CASE("each alarm offers its own special names")
{
    StartedPhone phone;
    CHECK(narrow(specialSoundName(0)) == "<system>");
    CHECK(narrow(specialSoundName(1)) == "<silent>");
    CHECK(narrow(specialSoundName(2)) == "<vibrate>");
    const auto offered = [](int setting) {
        std::string names;
        for (int i = 0; i < specialSoundCount; ++i)
            names += offersSpecialSound(setting, i) ? narrow(specialSoundName(i)) : "";
        return names;
    };
    CHECK(offered(4) == "<system><silent><vibrate>");
    for (int setting : {5, 6, 7, 36, 39})
        CHECK(offered(setting) == "<silent><vibrate>");
    CHECK(offered(8) == "<system>");
}

// ---- Texts ------------------------------------------------------------------------------------------------------------

namespace {

const int texts[] = {4, 8, 15, 25, 26, 38, 39};   // stored as they are chosen; one of each kind and more

}   // namespace

TEST_CASE("a text is stored as it is, with its terminator, and shown so")
{
    StartedPhone phone;
    for (int setting : texts) {
        INFO("setting " << setting);
        saveText(setting, L"Some\x00A7Text & more");
        const StoredValue value = storedValue(nameOf(setting).c_str(), profileKey);
        CHECK(value.type == REG_SZ);
        CHECK(value.bytes.size() == 2 * 17);
        CHECK(narrow(listText(setting)) == narrow(L"Some\x00A7Text & more"));
        CHECK(narrow(edited(setting).text) == narrow(L"Some\x00A7Text & more"));
    }
}

TEST_CASE("the list shows texts of up to 99 characters, the editor longer ones too")
{
    StartedPhone phone;
    for (int setting : texts) {
        INFO("setting " << setting);
        for (size_t length : {99, 100, 101, 259, 519}) {
            const std::wstring text(length, L'x');
            storeSetting(nameOf(setting), text);
            CHECK(narrow(listText(setting)) == (length <= 99 ? narrow(text) : ""));
            CHECK(narrow(edited(setting).text) == narrow(text));
            CHECK_FALSE(edited(setting).foreign);
            saveUntouched(setting);
            CHECK(narrow(settingText(nameOf(setting))) == narrow(text));
        }
    }
}

TEST_CASE("a text longer than the editor holds stays until it gets another")
{
    StartedPhone phone;
    for (int setting : {4, 15, 25}) {
        const std::wstring longText(520, L'x');
        storeSetting(nameOf(setting), longText);
        CHECK(listText(setting).empty());
        CHECK(edited(setting).text[0] == 0);
        CHECK(edited(setting).foreign);
        saveUntouched(setting);
        CHECK(narrow(settingText(nameOf(setting))) == narrow(longText));
        saveText(setting, L"short");
        CHECK(narrow(settingText(nameOf(setting))) == "short");
    }
}

TEST_CASE("a text stored without its terminator is shown, the last character lost where there is no room for it")
{
    StartedPhone phone;
    const std::wstring text(100, L'x');
    storeBytes(L"15", REG_SZ, text.c_str(), 10, profileKey);
    CHECK(narrow(listText(15)) == "xxxxx");
    storeBytes(L"15", REG_SZ, text.c_str(), 11, profileKey);
    CHECK(narrow(listText(15)) == "xxxxx");
    storeBytes(L"15", REG_SZ, text.c_str(), 200, profileKey);
    CHECK(narrow(listText(15)) == std::string(99, 'x'));
    storeBytes(L"15", REG_SZ, text.c_str(), 0, profileKey);
    CHECK(listText(15).empty());
    CHECK_FALSE(edited(15).foreign);
}

TEST_CASE("an emptied program or sound is stored empty, an unchosen choice not at all")
{
    StartedPhone phone;
    for (int setting : texts) {
        INFO("setting " << setting);
        storeSetting(nameOf(setting), L"old");
        saveText(setting, L"");
        const bool isChoice = setting == 25 || setting == 26 || setting == 38;
        CHECK(narrow(settingText(nameOf(setting))) == (isChoice ? "old" : ""));
        CHECK(storedValue(nameOf(setting).c_str(), profileKey).bytes.size() == (isChoice ? 8u : 2u));
    }
}

TEST_CASE("the paths of programs are shown and stored as they are")
{
    StartedPhone phone;
    saveText(15, L"\\Storage Card\\Program Files\\A \"b\" c.exe");
    CHECK(narrow(settingText(L"15")) == "\\Storage Card\\Program Files\\A \"b\" c.exe");
    CHECK(narrow(listText(15)) == "\\Storage Card\\Program Files\\A \"b\" c.exe");
}

// ---- Values of another type -------------------------------------------------------------------------------------------

namespace {

constexpr BYTE threeBytes[] = {1, 2, 3};

const int oneOfEachKind[] = {0, 3, 4, 8, 9, 10, 12, 15, 16, 18, 22, 25, 28, 30, 38};

}   // namespace

TEST_CASE("a value that is neither number nor text is shown as ??? and stays until another is chosen")
{
    StartedPhone phone;
    for (int setting : oneOfEachKind) {
        for (DWORD type : {DWORD(REG_BINARY), DWORD(REG_MULTI_SZ), DWORD(REG_NONE)}) {
            INFO("setting " << setting << ", type " << static_cast<int>(type));
            storeBytes(nameOf(setting).c_str(), type, threeBytes, 3, profileKey);
            CHECK(narrow(listText(setting)) == "???");
            const ProfileEdit edit = edited(setting);
            CHECK(edit.entry == noEntry);
            CHECK(edit.text[0] == 0);
            CHECK_FALSE(edit.on);
            save(setting, edit);
            const StoredValue value = storedValue(nameOf(setting).c_str(), profileKey);
            CHECK(value.type == type);
            CHECK(value.bytes.size() == 3);
        }
    }
    storeBytes(L"0", REG_BINARY, std::string(4000, 'b').data(), 4000, profileKey);
    CHECK(narrow(listText(0)) == "???");
}

TEST_CASE("a text where a number belongs is shown as it is and stays until another is chosen")
{
    StartedPhone phone;
    for (int setting : {0, 9, 12, 16, 22, 28, 30}) {
        INFO("setting " << setting);
        storeSetting(nameOf(setting), L"40 %");
        CHECK(narrow(listText(setting)) == "40 %");
        CHECK(edited(setting).entry == noEntry);
        saveUntouched(setting);
        CHECK(narrow(settingText(nameOf(setting))) == "40 %");
    }
    saveEntry(0, 4);
    CHECK(settingNumber(L"0") == 40);
    ProfileEdit on;
    on.on = true;
    save(22, on);
    CHECK(settingNumber(L"22") == 1);
}

TEST_CASE("a number where a text belongs is shown in digits and stays until another is chosen")
{
    StartedPhone phone;
    for (int setting : texts) {
        INFO("setting " << setting);
        storeSetting(nameOf(setting), 12);
        CHECK(narrow(listText(setting)) == "12");
        CHECK(edited(setting).text[0] == 0);
        CHECK(edited(setting).foreign);
        saveUntouched(setting);
        CHECK(settingNumber(nameOf(setting)) == 12);
        saveText(setting, L"new");
        CHECK(narrow(settingText(nameOf(setting))) == "new");
    }
}

TEST_CASE("a number that is not four bytes long is shown as nothing and stays until another is chosen")
{
    StartedPhone phone;
    for (int setting : {0, 4, 16, 18, 22, 30}) {
        INFO("setting " << setting);
        storeBytes(nameOf(setting).c_str(), REG_DWORD, threeBytes, 3, profileKey);
        CHECK(listText(setting).empty());
        saveUntouched(setting);
        CHECK(storedValue(nameOf(setting).c_str(), profileKey).bytes.size() == 3);
    }
}

// ---- SIM code ---------------------------------------------------------------------------------------------------------

TEST_CASE("a SIM code is stored with the key's digits added, from its twentieth backwards")
{
    struct Row {
        const wchar_t *entered;
        const wchar_t *stored;
    };
    constexpr Row rows[] = {
        {L"1", L"g"},
        {L"1234", L"ggkf"},
        {L"0000", L"fehb"},
        {L"00000000000000000000", L"fehbgaci`dfdgaci`bhe"},
        {L"123456789012345678901", L"ggkflgjqidgfjehogjqe"},   // the twenty-first character is not taken
        {L"aZ*#", L"\x0097\x008F\x0062\x0055"},
        {L"\xFFFF", L"\x0035"},
    };
    StartedPhone phone;
    for (const Row &row : rows) {
        INFO("code " << narrow(row.entered));
        saveText(18, row.entered);
        CHECK(narrow(settingText(L"18")) == narrow(row.stored));
        CHECK(storedValue(L"18", profileKey).bytes.size() == 2 * (wcslen(row.stored) + 1));
        CHECK(narrow(listText(18)) == "****");
        CHECK(narrow(edited(18).text) == "****");
    }
}

TEST_CASE("an untouched SIM code keeps what is stored, whatever it looks like")
{
    StartedPhone phone;
    for (const std::wstring &code : {std::wstring(L"g"), std::wstring(L"****"), std::wstring(150, L'z')}) {
        storeSetting(L"18", code);
        CHECK(narrow(listText(18)) == "****");
        saveUntouched(18);
        CHECK(narrow(settingText(L"18")) == narrow(code));
    }
}

TEST_CASE("an emptied SIM code is stored empty and shown as nothing")
{
    StartedPhone phone;
    storeSetting(L"18", L"ggkf");
    saveText(18, L"");
    CHECK(storedValue(L"18", profileKey).bytes.size() == 2);
    CHECK(listText(18).empty());
    CHECK(edited(18).text[0] == 0);
    CHECK_FALSE(edited(18).foreign);
}

TEST_CASE("stars that are not the four of a stored code are a code")
{
    StartedPhone phone;
    for (const wchar_t *code : {L"***", L"*****", L"****1"}) {
        storeSetting(L"18", L"old");
        saveText(18, code);
        CHECK(settingText(L"18") != L"old");
        CHECK(settingText(L"18").size() == wcslen(code));
    }
}

TEST_CASE("a SIM code that is no text is not shown and stays until there is another")
{
    StartedPhone phone;
    storeSetting(L"18", 1234);
    CHECK(listText(18).empty());
    CHECK(edited(18).text[0] == 0);
    saveUntouched(18);
    CHECK(settingNumber(L"18") == 1234);
    storeSetting(L"18", std::wstring(600, L'x'));
    saveUntouched(18);
    CHECK(settingText(L"18").size() == 600);
    saveText(18, L"1");
    CHECK(narrow(settingText(L"18")) == "g");
}

// ---- Lists of texts ---------------------------------------------------------------------------------------------------

TEST_CASE("the forwarding lists offer every target that has a number, each also conditionally")
{
    StartedPhone phone;
    CHECK(joined(textEntriesOf(25)) == "Leave Unchanged|Off|");
    extraSettings.forwardCall = duplicateText(L"Home\x00A7"
                                              L"0123");
    extraSettings.forwardCall2 = duplicateText(L"no number");
    extraSettings.forwardCall4 = duplicateText(L"\x00A7");
    for (int setting : {25, 26})
        CHECK(joined(textEntriesOf(setting)) == narrow(L"Leave Unchanged|Off|Home\x00A7"
                                                       L"0123|Home\x00A7"
                                                       L"0123 conditional|\x00A7|\x00A7 conditional|"));
    extraSettings.forwardCall3 = duplicateText((std::wstring(29, L'n') + L"\x00A7" + std::wstring(69, L'1')).c_str());
    const std::vector<std::wstring> entries = textEntriesOf(25);
    REQUIRE(entries.size() == 8);
    CHECK(entries[5].size() == 99 + 12);
    saveText(25, entries[5]);
    CHECK(settingText(L"25") == entries[5]);
    CHECK(narrow(edited(25).text) == narrow(entries[5]));
    CHECK(narrow(textEntriesOf(25)[0]) == "Leave Unchanged");
}

TEST_CASE("before the snapshots stands the choice to leave the network unchanged")
{
    StartedPhone phone;
    CHECK(joined(textEntriesOf(38)) == "Leave Unchanged|");
}

TEST_CASE("settings without a list of texts list nothing")
{
    StartedPhone phone;
    for (int setting : {-1, 0, 4, 9, 15, 18, 30})
        CHECK(textEntriesOf(setting).empty());
}

namespace {

std::wstring group(const std::wstring &name)
{
    return name + L"^0*;^ring1.wav";
}

std::string groupsOf(const std::wstring &stored)
{
    storeText(L"emailGroups", stored);
    CHECK(joined(textEntriesOf(42)) == joined(textEntriesOf(43)));
    return joined(textEntriesOf(42));
}

}   // namespace

TEST_CASE("the custom alarms offer none and the names of the groups")
{
    StartedPhone phone;
    removeValue(L"emailGroups", kelvaneKey);
    CHECK(joined(textEntriesOf(42)) == "None|");
    CHECK(groupsOf(L"") == "None|");
    CHECK(groupsOf(L"\x00A7") == "None|");
    CHECK(groupsOf(L"\x00A7" + group(L"All email") + L"\x00A7") == "None|All email|");
    CHECK(groupsOf(L"\x00A7" + group(L"A") + L"\x00A7" + group(L"b c") + L"\x00A7") == "None|A|b c|");
    CHECK(groupsOf(group(L"A") + L"\x00A7" + group(L"B")) == "None|A|B|");   // without the outer separators
    CHECK(groupsOf(L"\x00A7"
                   L"bare\x00A7^0*;^\x00A7\x00A7" +
                   group(L"B") + L"\x00A7") == "None|bare|B|");
}

TEST_CASE("the custom alarms offer ten groups at most")
{
    StartedPhone phone;
    std::wstring groups = L"\x00A7";
    std::string expected = "None|";
    for (int i = 1; i <= 11; ++i) {
        groups += group(L"g" + std::to_wstring(i)) + L"\x00A7";
        if (i <= 10)
            expected += "g" + std::to_string(i) + "|";
        CHECK(groupsOf(groups) == expected);
    }
}

TEST_CASE("the groups are read with 2600 bytes; a longer text and one of another type are none")
{
    StartedPhone phone;
    const std::wstring begin = L"\x00A7"
                               L"A^0";
    CHECK(groupsOf(begin + std::wstring(1299 - begin.size(), L'x')) == "None|A|");
    CHECK(groupsOf(begin + std::wstring(1300 - begin.size(), L'x')) == "None|");
    const std::wstring full(1300, L'y');
    storeBytes(L"emailGroups", REG_SZ, full.data(), 2600, kelvaneKey);   // no terminator
    CHECK(joined(textEntriesOf(42)) == "None|" + std::string(1300, 'y') + "|");
    storeBytes(L"emailGroups", REG_BINARY, begin.data(), 8, kelvaneKey);
    CHECK(joined(textEntriesOf(42)) == "None|");
    storeNumber(L"emailGroups", 1);
    CHECK(joined(textEntriesOf(42)) == "None|");
    removeKey(kelvaneKey);
    CHECK(joined(textEntriesOf(42)) == "None|");
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("a custom group is stored by its name once its row is shown")
{
    StartedPhone phone;
    for (int setting : {42, 43}) {
        wchar_t text[profileTextCapacity] = L"left over";
        CHECK_FALSE(loadProfileValueText(profile, rowOf(setting), text));
        CHECK(text[0] == 0);
        saveText(setting, L"Friends");
        CHECK(narrow(settingText(nameOf(setting))) == "Friends");
        profileSettings[rowOf(setting)].shown = 1;
        CHECK(narrow(listText(setting)) == "Friends");
    }
}

// ---- Missing values ---------------------------------------------------------------------------------------------------

namespace {

// What leaving an untouched row stores in a profile that has nothing. Choices among texts are the editor's to fill in.
struct FirstSaving {
    int setting;
    const char *stored;
};

constexpr FirstSaving firstSavings[] = {
    {0, "0=dword:99\n"},
    {1, "1=dword:99\n"},
    {2, "2=dword:99\n"},
    {3, "3=dword:99\n"},
    {4, "4=text:2:\n4_1=dword:0\n4_11=dword:0\n4_111=dword:0\n"},
    {5, "5=text:2:\n5_1=dword:0\n5_11=dword:0\n5_111=dword:0\n"},
    {6, "6=text:2:\n6_1=dword:0\n6_11=dword:0\n6_111=dword:0\n"},
    {7, "7=text:2:\n7_1=dword:0\n7_11=dword:0\n7_111=dword:0\n"},
    {8, "8=text:2:\n8_1=dword:0\n8_11=dword:0\n8_111=dword:0\n"},
    {9, "9=dword:0\n"},
    {10, "10=dword:0\n"},
    {11, "11=dword:0\n"},
    {12, "12=dword:0\n"},
    {13, "13=dword:0\n"},
    {14, "14=dword:99\n"},
    {15, "15=text:2:\n"},
    {16, "16=dword:30\n"},
    {17, "17=dword:30\n"},
    {18, "18=text:2:\n"},
    {19, "19=dword:30\n"},
    {20, "20=dword:30\n"},
    {21, "21=dword:99\n"},
    {22, "22=dword:0\n"},
    {23, "23=dword:0\n"},
    {24, "24=dword:0\n"},
    {25, ""},
    {26, ""},
    {27, "27=dword:0\n"},
    {28, "28=dword:65\n"},
    {29, "29=dword:0\n"},
    {30, "30=dword:0\n30_1=dword:4\n"},
    {31, "31=dword:0\n31_1=dword:4\n"},
    {32, "32=dword:0\n32_1=dword:4\n"},
    {33, "33=dword:0\n33_1=dword:4\n"},
    {34, "34=dword:0\n"},
    {35, "35=dword:0\n"},
    {36, "36=text:2:\n36_1=dword:0\n36_11=dword:0\n36_111=dword:0\n"},
    {37, "37=dword:0\n37_1=dword:4\n"},
    {38, ""},
    {39, "39=text:2:\n39_1=dword:0\n39_11=dword:0\n39_111=dword:0\n"},
    {40, "40=dword:0\n40_1=dword:4\n"},
    {41, "41=dword:0\n"},
    {42, ""},
    {43, ""},
};

}   // namespace

TEST_CASE("a profile without a key shows every row empty, and so does one with an empty key")
{
    StartedPhone phone;
    forgetProfile();
    for (int round = 0; round < 2; ++round) {
        for (int row = 0; row < profileSettingCount; ++row) {
            INFO("row " << row);
            wchar_t text[profileTextCapacity] = L"left over";
            const int setting = profileSettings[row].setting;
            CHECK(loadProfileValueText(profile, row, text) == (setting != 42 && setting != 43));
            CHECK(text[0] == 0);
        }
        CHECK(keyExists(profileKey) == (round == 1));   // showing does not create it
        makeKey(profileKey);
    }
    CHECK(phone.keysLeftOpen() == 0);
    CHECK(phone.log().empty());
}

TEST_CASE("saving one row creates the key with only that row's values")
{
    StartedPhone phone;
    userSettings.soundRepeatOff = 4;
    CHECK(sizeof firstSavings / sizeof *firstSavings == 44);
    for (const FirstSaving &row : firstSavings) {
        INFO("setting " << row.setting);
        forgetProfile();
        const ProfileEdit edit = edited(row.setting);
        CHECK_FALSE(edit.foreign);
        save(row.setting, edit);
        CHECK(dumpKey(profileKey) == std::string("[Software\\Tessaryn\\Kelvane\\5]\n") + row.stored);
    }
    CHECK(phone.keysLeftOpen() == 0);
    CHECK(phone.log().empty());
}

TEST_CASE("leaving every row of a whole profile untouched changes nothing in it")
{
    StartedPhone phone;
    userSettings.soundRepeatOff = 4;
    for (const ExpectedList &list : expectedLists)
        storeSetting(nameOf(list.setting), list.stored.back());
    for (int setting : {4, 5, 6, 7, 8, 36, 39}) {
        storeSetting(nameOf(setting), L"Some Sound.WAV");
        storeSetting(nameOf(setting) + L"_1", 1);
        storeSetting(nameOf(setting) + L"_11", 0);
        storeSetting(nameOf(setting) + L"_111", 1);
    }
    for (int setting : repeats) {
        storeSetting(nameOf(setting), 9);
        storeSetting(countNameOf(setting), 8);
    }
    for (int setting : {15, 18, 25, 26, 38, 42, 43})
        storeSetting(nameOf(setting), L"some text");
    for (int setting : {11, 22, 23, 27, 35})
        storeSetting(nameOf(setting), 1);
    storeSetting(L"4711", L"another program's");
    const std::string before = dumpKey(profileKey);
    for (const ExpectedRow &row : expectedRows)
        if (row.setting >= 0)
            saveUntouched(row.setting);
    CHECK(dumpKey(profileKey) == before);
}

// ---- Profiles and rows ------------------------------------------------------------------------------------------------

TEST_CASE("every profile has values of its own")
{
    StartedPhone phone;
    ProfileEdit edit;
    for (int i = 0; i < 7; ++i) {
        edit.entry = i + 1;
        saveProfileEdit(i, 1, edit);
    }
    const wchar_t *const shown[] = {L"0 %", L"10 %", L"20 %", L"40 %", L"60 %", L"80 %", L"100 %"};
    wchar_t text[profileTextCapacity];
    for (int i = 0; i < 7; ++i) {
        CHECK(loadProfileValueText(i, 1, text));
        CHECK(narrow(text) == narrow(shown[i]));
        CHECK(storedNumber(L"0", (std::wstring(kelvaneKey) + L"\\" + std::to_wstring(i)).c_str()) ==
              storedSteps[i + 1]);
    }
}

TEST_CASE("a profile outside 0 to 6 is refused and logged when saving, and empty when loading")
{
    StartedPhone phone;
    storeNumber(L"0", 40, L"Software\\Tessaryn\\Kelvane\\7");
    const std::string before = dumpKey(kelvaneKey);
    ProfileEdit edit;
    edit.entry = 1;
    for (int wrong : {-1, 7, 1000})
        saveProfileEdit(wrong, 1, edit);
    saveProfileEdit(-1, 0, edit);   // also for a heading
    CHECK(dumpKey(kelvaneKey) == before);
    CHECK(phone.log() ==
          std::vector<std::string>{"** saveControl: Invalid profile -1", "** saveControl: Invalid profile 7",
                                   "** saveControl: Invalid profile 1000", "** saveControl: Invalid profile -1"});
    wchar_t text[profileTextCapacity] = L"left over";
    CHECK(loadProfileValueText(7, 1, text));
    CHECK(text[0] == 0);
    loadProfileEdit(7, 1, edit);
    CHECK(edit.entry == 0);
}

TEST_CASE("headings are shown without a value and never saved")
{
    StartedPhone phone;
    forgetProfile();
    ProfileEdit edit;
    edit.entry = 1;
    copyText(edit.text, L"text");
    for (int row : {0, 5, 20, 28, 36}) {
        wchar_t text[profileTextCapacity] = L"left over";
        CHECK(loadProfileValueText(profile, row, text));
        CHECK(text[0] == 0);
        saveProfileEdit(profile, row, edit);
        ProfileEdit shown;
        loadProfileEdit(profile, row, shown);
        CHECK(shown.entry == noEntry);
    }
    CHECK_FALSE(keyExists(profileKey));
    CHECK(phone.log().empty());
}

TEST_CASE("a row that does not exist is neither loaded nor saved")
{
    StartedPhone phone;
    forgetProfile();
    ProfileEdit edit;
    edit.entry = 1;
    for (int row : {-1, 49, 1000, static_cast<int>(0x80000000)}) {
        wchar_t text[profileTextCapacity] = L"left over";
        CHECK_FALSE(loadProfileValueText(profile, row, text));
        CHECK(text[0] == 0);
        saveProfileEdit(profile, row, edit);
        ProfileEdit shown;
        shown.entry = 5;
        loadProfileEdit(profile, row, shown);
        CHECK(shown.entry == noEntry);
    }
    CHECK_FALSE(keyExists(profileKey));
    CHECK(phone.log().empty());
}

TEST_CASE("a hidden row is not loaded, but can be saved")
{
    StartedPhone phone;
    profileSettings[rowOf(9)].shown = 0;
    saveEntry(9, 4);
    wchar_t text[profileTextCapacity] = L"left over";
    CHECK_FALSE(loadProfileValueText(profile, rowOf(9), text));
    CHECK(text[0] == 0);
    CHECK(settingNumber(L"9") == 4);
}

// ---- What the page knows ----------------------------------------------------------------------------------------------

TEST_CASE("loading the rows that the page watches notes their values, 0 for a missing one")
{
    struct Watched {
        int setting;
        DWORD ProfilePageState::*field;
    };
    constexpr Watched watched[] = {{9, &ProfilePageState::ringType},
                                   {12, &ProfilePageState::bluetooth},
                                   {10, &ProfilePageState::radio},
                                   {24, &ProfilePageState::wlan},
                                   {29, &ProfilePageState::pushEmail}};
    StartedPhone phone;
    for (const Watched &row : watched) {
        INFO("setting " << row.setting);
        for (DWORD stored : {1, 2, 4711}) {
            storeSetting(nameOf(row.setting), stored);
            listText(row.setting);
            CHECK(profilePageState.*row.field == stored);
        }
        for (const Watched &other : watched)
            CHECK((profilePageState.*other.field != 0) == (&other <= &row));
    }
    forgetProfile();
    for (const Watched &row : watched) {
        listText(row.setting);
        CHECK(profilePageState.*row.field == 0);
    }
}

TEST_CASE("loading an alarm sound notes its flags, and no other row does")
{
    StartedPhone phone;
    storeSetting(L"4_1", 1);
    storeSetting(L"8_11", 1);
    storeSetting(L"39_111", 1);
    storeSetting(L"30_1", 1);
    struct Row {
        int setting;
        DWORD popup, led, vibrate;
    };
    for (const Row &row :
         {Row{4, 1, 0, 0}, Row{30, 1, 0, 0}, Row{8, 0, 1, 0}, Row{39, 0, 0, 1}, Row{0, 0, 0, 1}, Row{5, 0, 0, 0}}) {
        INFO("setting " << row.setting);
        listText(row.setting);
        CHECK(profilePageState.popup == row.popup);
        CHECK(profilePageState.led == row.led);
        CHECK(profilePageState.vibrate == row.vibrate);
    }
    edited(4);
    CHECK(profilePageState.popup == 1);
}

// ---- Translations -----------------------------------------------------------------------------------------------------

TEST_CASE("units and names are translated, and what is stored does not depend on them")
{
    StartedPhone phone;
    userSettings.lang = german;
    CHECK(joined(entriesOf(16)) == " 0 Sek. (always on)|10 Sek.|30 Sek.| 1 Min.| 2 Min.| 3 Min.| 5 Min.|10 Min.|"
                                   "15 Min.|20 Min.|30 Min.|60 Min.|");
    CHECK(joined(entriesOf(28)) == narrow(L"Unver\x00E4ndert|Deaktivieren| 5 Min.|10 Min.|15 Min.|35 Min.|65 Min.|"
                                          L"95 Min.|"));
    CHECK(joined(entriesOf(12)) == narrow(L"Unver\x00E4ndert|Aus|Ein|Sichtbar|Bei Anruf ein|"));
    CHECK(joined(entriesOf(30)) ==
          "Standard|Kein Alarm|20 Sek.|30 Sek.| 1 Min.| 2 Min.| 3 Min.| 4 Min.| 5 Min.|10 Min.|15 Min.|30 Min.|"
          "Ansteigend 5 Min.|Ansteigend 10 Min.|");
    for (int setting : {3, 9, 13, 16, 20, 28, 34}) {
        for (const ExpectedList &list : expectedLists) {
            if (list.setting != setting)
                continue;
            const int last = static_cast<int>(list.stored.size()) - 1;
            for (int entry : {0, 1, 2, last}) {
                INFO("setting " << setting << ", entry " << entry);
                saveEntry(setting, entry);
                CHECK(settingNumber(nameOf(setting)) == list.stored[entry]);
                CHECK(edited(setting).entry == entry);
            }
        }
    }
}

TEST_CASE("the list's words are translated")
{
    StartedPhone phone;
    userSettings.lang = german;
    struct Row {
        int setting;
        DWORD stored;
        const wchar_t *shown;
    };
    for (const Row &row : {Row{3, 98, L"Ansteigend"}, Row{0, 99, L"Unver\x00E4ndert"}, Row{16, 45, L"45 Sek."},
                           Row{16, 90, L"1 Min."}, Row{9, 7, L"Keine"}, Row{22, 1, L"Ein"}, Row{22, 0, L"Aus"},
                           Row{28, 99, L"Deaktivieren"}, Row{28, 7, L"7 Min."}, Row{30, 1, L"Kein Alarm"}}) {
        storeSetting(nameOf(row.setting), row.stored);
        CHECK(narrow(listText(row.setting)) == narrow(row.shown));
    }
    storeSetting(L"30", 10);
    storeSetting(L"30_1", 10);
    CHECK(narrow(listText(30)) == "Endlos x 15 Min.");
    storeSetting(L"30_1", 5);
    CHECK(narrow(listText(30)) == "7 x 15 Min.");
    extraSettings.forwardCall = duplicateText(L"A\x00A7"
                                              L"1");
    CHECK(joined(textEntriesOf(26)) == narrow(L"Unver\x00E4ndert|Aus|A\x00A7"
                                              L"1|A\x00A7"
                                              L"1 bedingt|"));
    CHECK(joined(textEntriesOf(42)) == "Keine|");
}

TEST_CASE("a unit that holds the word for seconds, and names that begin with digits, mislead nobody")
{
    StartedPhone phone;
    phone.writeLanguageFile(
        L"DE", {L"Test", L"10=nosecmin", L"11=sec", L"118=3 none", L"149=7 as it is", L"302=5 off", L"28=40 loud"});
    userSettings.lang = german;
    struct Row {
        int setting, entry;
        DWORD stored;
    };
    for (const Row &row :
         {Row{16, 3, 60}, Row{13, 0, 0}, Row{28, 0, 0}, Row{28, 1, 99}, Row{0, 0, 99}, Row{3, 8, 98}}) {
        saveEntry(row.setting, row.entry);
        CHECK(settingNumber(nameOf(row.setting)) == row.stored);
        CHECK(edited(row.setting).entry == row.entry);
    }
}

TEST_CASE("the longest texts a language file can have are shown whole")
{
    StartedPhone phone;
    const std::wstring unit(250, L'u'), endless(250, L'e');
    phone.writeLanguageFile(L"DE", {L"Test", L"10=" + unit, L"209=" + endless, L"473=" + unit});
    userSettings.lang = german;
    storeSetting(L"30", 10);
    storeSetting(L"30_1", 10);
    CHECK(narrow(listText(30)) == narrow(endless + L" x 15 " + unit));
    CHECK(narrow(entriesOf(16)[3]) == narrow(L" 1 " + unit));
    extraSettings.forwardCall = duplicateText((std::wstring(98, L'n') + L"\x00A7").c_str());
    CHECK(textEntriesOf(25)[3].size() == 99 + 250);
}

// ---- Failures ---------------------------------------------------------------------------------------------------------

namespace {

void orderFault(const wchar_t *call, bool raise)
{
    SimOrderFault(L"registry", 0, call, raise);
}

}   // namespace

TEST_CASE("a profile whose key cannot be opened shows nothing, and its values stay")
{
    StartedPhone phone;
    for (int setting : oneOfEachKind) {
        INFO("setting " << setting);
        forgetProfile();
        storeSetting(nameOf(setting), 1);
        orderFault(L"open:Software\\Tessaryn\\Kelvane\\5", false);
        CHECK(listText(setting).empty());
        const ProfileEdit edit = edited(setting);
        CHECK(edit.entry == noEntry);
        CHECK(edit.text[0] == 0);
        SimClearFaults();
        if (setting != 22) {   // an unchecked box cannot be told from one that could not be read
            save(setting, edit);
            CHECK(settingNumber(nameOf(setting)) == 1);
        }
    }
    CHECK(phone.log().empty());
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("a value that cannot be read is shown as nothing and stays")
{
    StartedPhone phone;
    for (int setting : oneOfEachKind) {
        INFO("setting " << setting);
        storeSetting(nameOf(setting), 1);
        orderFault((L"read:" + nameOf(setting)).c_str(), false);
        CHECK(listText(setting).empty());
        saveUntouched(setting);
        SimClearFaults();
        CHECK(settingNumber(nameOf(setting)) == 1);
    }
    CHECK(phone.log().empty());
}

TEST_CASE("when the key cannot be created nothing is written and nothing reported")
{
    StartedPhone phone;
    forgetProfile();
    orderFault(L"create:Software\\Tessaryn\\Kelvane\\5", false);
    for (const FirstSaving &row : firstSavings)
        saveUntouched(row.setting);
    SimClearFaults();
    CHECK_FALSE(keyExists(profileKey));
    CHECK(phone.log().empty());
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("a value that cannot be written costs none of its companions and is not reported")
{
    StartedPhone phone;
    ProfileEdit edit;
    copyText(edit.text, L"ring1.wav");
    edit.popup = edit.led = edit.vibrate = true;
    const wchar_t *const names[] = {L"4", L"4_1", L"4_11", L"4_111"};
    for (const wchar_t *failing : names) {
        forgetProfile();
        orderFault((std::wstring(L"write:") + failing).c_str(), false);
        save(4, edit);
        SimClearFaults();
        for (const wchar_t *name : names)
            CHECK(isStored(name) == (wcscmp(name, failing) != 0));
    }
    CHECK(phone.log().empty());
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("an exception while loading is logged, and the row counts as one without a value to show")
{
    StartedPhone phone;
    storeSetting(L"4", L"ring1.wav");
    storeSetting(L"4_111", 1);
    const wchar_t *const calls[] = {L"open:*", L"read:4", L"read:4_111"};
    for (const wchar_t *call : calls) {
        INFO("at " << narrow(call));
        orderFault(call, true);
        CHECK(listText(4).empty());
        const ProfileEdit edit = edited(4);
        CHECK(edit.text[0] == 0);
        CHECK(edit.foreign);
        SimClearFaults();
        CHECK(phone.keysLeftOpen() == 0);
    }
    std::vector<std::string> expected;
    for (int i = 0; i < 3; ++i) {
        expected.push_back("** Exception loadProfileValueText **");
        expected.push_back("** Exception loadProfileEdit **");
    }
    CHECK(phone.log() == expected);
}

TEST_CASE("an exception while saving is logged and ends the saving there")
{
    StartedPhone phone;
    ProfileEdit edit;
    copyText(edit.text, L"ring1.wav");
    const wchar_t *const calls[] = {L"create:*", L"write:4", L"write:4_11"};
    for (const wchar_t *call : calls) {
        INFO("at " << narrow(call));
        forgetProfile();
        orderFault(call, true);
        save(4, edit);
        SimClearFaults();
        CHECK(isStored(L"4") == (call == calls[2]));
        CHECK(isStored(L"4_1") == (call == calls[2]));
        CHECK_FALSE(isStored(L"4_11"));
        CHECK_FALSE(isStored(L"4_111"));
        CHECK(phone.keysLeftOpen() == 0);
    }
    CHECK(phone.log() == std::vector<std::string>(3, "** Exception saveControl **"));
}

TEST_CASE("showing, listing and saving keep no memory")
{
    StartedPhone phone;
    storeText(L"emailGroups", L"\x00A7" + group(L"A") + L"\x00A7");
    collected = {};
    const int before = SimLiveAllocations();
    for (const FirstSaving &row : firstSavings) {
        if (row.setting != 42 && row.setting != 43)
            listText(row.setting);
        saveUntouched(row.setting);
        textEntriesOf(row.setting);
    }
    collected = {};
    CHECK(SimLiveAllocations() == before);
    CHECK(phone.keysLeftOpen() == 0);
}
