#include "user_settings.h"

#include <cstring>
#include <string>
#include <vector>

#include "doctest.h"
#include "environment.h"
#include "language.h"
#include "shell_values.h"
#include "stored_forms.h"
#include "test_phone.h"
#include "text.h"

namespace {

// ---- What the engine and this program have agreed on -------------------------------------------------------------------

// The engine reads the same values: their names, order, limits (in bytes) and what is written are fixed for good, and so
// written out here once more.
struct Row {
    const wchar_t *name;
    SettingKind kind;
    void *field;
    DWORD limit;
    bool saved;
};

constexpr SettingKind number = SettingKind::number;
constexpr SettingKind text = SettingKind::text;

UserSettings &record = userSettings;

const Row rows[] = {
    {L"skinName", text, record.skinName, 100, true},
    {L"signalSound", text, record.signalSound, 200, true},
    {L"batterySound", text, record.batterySound, 200, true},
    {L"autoColor", number, &record.autoColor, 4, true},
    {L"fontColor", number, &record.fontColor, 4, true},
    {L"autoAlarmColor", number, &record.autoAlarmColor, 4, true},
    {L"alarmColor", number, &record.alarmColor, 4, true},
    {L"autoScrollColor", number, &record.autoScrollColor, 4, true},
    {L"scrollColor", number, &record.scrollColor, 4, true},
    {L"AutoTextSize", number, &record.AutoTextSize, 4, true},
    {L"textSize", number, &record.textSize, 4, true},
    {L"AutoScrollSize", number, &record.AutoScrollSize, 4, true},
    {L"scrollSize", number, &record.scrollSize, 4, true},
    {L"lang", number, &record.lang, 4, true},
    {L"SMS", number, &record.SMS, 4, true},
    {L"MMS", number, &record.MMS, 4, true},
    {L"Email", number, &record.Email, 4, true},
    {L"emailClient", number, &record.emailClient, 4, true},
    {L"emailAccounts", number, &record.emailAccounts, 4, true},
    {L"emailCustomAccounts", SettingKind::accountList, &record.emailCustomAccounts, 1040, true},
    {L"emailCustomAlarms", number, &record.emailCustomAlarms, 4, true},
    {L"emailDefaultFolder", number, &record.emailDefaultFolder, 4, true},
    {L"missedCalls", number, &record.missedCalls, 4, true},
    {L"reminders", number, &record.reminders, 4, true},
    {L"voiceMail", number, &record.voiceMail, 4, true},
    {L"voiceMailPrompt", number, &record.voiceMailPrompt, 4, true},
    {L"voiceMailPhoneApp", number, &record.voiceMailPhoneApp, 4, true},
    {L"soundRepeat", number, &record.soundRepeat, 4, true},
    {L"soundRepeatOff", number, &record.soundRepeatOff, 4, true},
    {L"soundRepeatTone", number, &record.soundRepeatTone, 4, true},
    {L"soundDelay", number, &record.soundDelay, 4, true},
    {L"soundDelayOff", number, &record.soundDelayOff, 4, true},
    {L"batteryLife", number, &record.batteryLife, 4, true},
    {L"batteryAlarm", number, &record.batteryAlarm, 4, true},
    {L"lowBatteryOff", number, &record.lowBatteryOff, 4, true},
    {L"lowBatteryLevel", number, &record.lowBatteryLevel, 4, true},
    {L"signalAlarm", number, &record.signalAlarm, 4, true},
    {L"lowSignalOff", number, &record.lowSignalOff, 4, true},
    {L"lowSignalLevel", number, &record.lowSignalLevel, 4, true},
    {L"vibrateOnMute", number, &record.vibrateOnMute, 4, true},
    {L"alwaysVibrate", number, &record.alwaysVibrate, 4, true},
    {L"shutdownDelay", number, &record.shutdownDelay, 4, true},
    {L"startupDelay", number, &record.startupDelay, 4, true},
    {L"activeProfiles", number, &record.activeProfiles, 4, true},
    {L"profile1", text, record.profileNames[0], 100, true},
    {L"profile2", text, record.profileNames[1], 100, true},
    {L"profile3", text, record.profileNames[2], 100, true},
    {L"profile4", text, record.profileNames[3], 100, true},
    {L"profile5", text, record.profileNames[4], 100, true},
    {L"profile6", text, record.profileNames[5], 100, true},
    {L"profile7", text, record.profileNames[6], 100, true},
    {L"noBacklight", number, &record.noBacklight, 4, true},
    {L"autoAnswer", number, &record.autoAnswer, 4, true},
    {L"callAlarm", number, &record.callAlarm, 4, true},
    {L"acousticPress", number, &record.acousticPress, 4, true},
    {L"vibConnect", number, &record.vibConnect, 4, true},
    {L"blankOnDial", number, &record.blankOnDial, 4, true},
    {L"systemVibrate", number, &record.systemVibrate, 4, true},
    {L"defaultSIP", number, &record.defaultSIP, 4, true},
    {L"skinsInStorage", number, &record.skinsInStorage, 4, true},
    {L"quietMode", number, &record.quietMode, 4, false},
    {L"noBroker", number, &record.noBroker, 4, true},
    {L"loggingOption", number, &record.loggingOption, 4, true},
    {L"alarmState", number, &record.alarmState, 4, false},
    {L"activeSyncProfile", number, &record.activeSyncProfile, 4, true},
    {L"ACPowerProfile", number, &record.ACPowerProfile, 4, true},
    {L"outlookCheck", number, &record.outlookCheck, 4, true},
    {L"profAsText", number, &record.profAsText, 4, true},
    {L"sysVoiceAlert", number, &record.sysVoiceAlert, 4, true},
    {L"sysPhoneName", SettingKind::heapTextOnce, &record.sysPhoneName, 200, false},
    {L"voicemail2", SettingKind::heapText, &record.voicemail2, 200, true},
};

constexpr size_t rowCount = sizeof rows / sizeof *rows;

const std::wstring defaultNames[] = {L"Home", L"Work", L"Meeting", L"Night", L"Loud", L"Car", L"Flight"};

constexpr DWORD none = 0xFFFFFFFF;

constexpr wchar_t volumeKey[] = L"ControlPanel\\Volume";
constexpr char loadFailed[] = "** Exception getUserSettings **";
constexpr char saveFailed[] = "** Exception saveUserSettings **";

constexpr LONG keyIsMissing = 2;       // ERROR_FILE_NOT_FOUND
constexpr LONG failedByOrder = 1016;   // ERROR_REGISTRY_IO_FAILED

// ---- The record's fields by row ----------------------------------------------------------------------------------------

DWORD &numberOf(const Row &row)
{
    return *static_cast<DWORD *>(row.field);
}

bool isNumber(const Row &row)
{
    return row.kind == number;
}

bool isHeapText(const Row &row)
{
    return row.kind != number && row.kind != text;
}

const Row &rowNamed(const std::wstring &name)
{
    for (const Row &row : rows)
        if (name == row.name)
            return row;
    FAIL("no such row");
    return rows[0];
}

bool isProfileName(const Row &row)
{
    return wcsncmp(row.name, L"profile", 7) == 0;
}

constexpr wchar_t nothingHeld[] = L"<nothing held>";

std::wstring contentOf(const Row &row)
{
    const wchar_t *content = isHeapText(row) ? *static_cast<wchar_t **>(row.field) : static_cast<wchar_t *>(row.field);
    return content ? content : nothingHeld;
}

void setContent(const Row &row, const std::wstring &content)
{
    if (isHeapText(row)) {
        wchar_t *&held = *static_cast<wchar_t **>(row.field);
        freeText(held);
        held = duplicateText(content.c_str());
    } else {
        wcscpy(static_cast<wchar_t *>(row.field), content.c_str());
    }
}

// ---- Contents no two rows share ----------------------------------------------------------------------------------------

DWORD indexOf(const Row &row)
{
    return static_cast<DWORD>(&row - rows);
}

DWORD newNumber(const Row &row)
{
    return 0x10 + indexOf(row);
}

std::wstring newText(const Row &row)
{
    return std::wstring(L"new ") + row.name;
}

DWORD oldNumber(const Row &row)
{
    return 0x5A000000 + indexOf(row);
}

std::wstring oldText(const Row &row)
{
    return std::wstring(L"old ") + row.name;
}

// A name the phone has told is not read again: as at the start of the process, the record holds none.
void makeRecordOld()
{
    for (const Row &row : rows) {
        if (isNumber(row))
            numberOf(row) = oldNumber(row);
        else
            setContent(row, oldText(row));
    }
    freeText(record.sysPhoneName);
}

void makeRecordNew()
{
    for (const Row &row : rows) {
        if (isNumber(row))
            numberOf(row) = newNumber(row);
        else
            setContent(row, newText(row));
    }
}

void storeNew(const Row &row)
{
    if (isNumber(row))
        storeNumber(row.name, newNumber(row));
    else
        storeText(row.name, newText(row));
}

void storeOld(const Row &row)
{
    if (isNumber(row))
        storeNumber(row.name, oldNumber(row));
    else
        storeText(row.name, oldText(row));
}

void checkLoaded(const Row &row)
{
    CAPTURE(narrow(row.name));
    if (isNumber(row))
        CHECK(numberOf(row) == newNumber(row));
    else
        CHECK(narrow(contentOf(row)) == narrow(newText(row)));
}

// What a value that cannot be read leaves behind in the record of makeRecordOld.
void checkNotRead(const Row &row)
{
    CAPTURE(narrow(row.name));
    if (row.field == &record.activeSyncProfile || row.field == &record.ACPowerProfile)
        CHECK(numberOf(row) == none);
    else if (isNumber(row))
        CHECK(numberOf(row) == oldNumber(row));
    else if (row.kind == text)
        CHECK(narrow(contentOf(row)) == narrow(oldText(row)));
    else if (row.kind == SettingKind::accountList)
        CHECK(record.emailCustomAccounts == nullptr);
    else
        CHECK(narrow(contentOf(row)) == "");
}

void checkStored(const Row &row, bool isNew)
{
    CAPTURE(narrow(row.name));
    if (isNumber(row))
        CHECK(storedNumber(row.name) == (isNew ? newNumber(row) : oldNumber(row)));
    else
        CHECK(narrow(storedText(row.name)) == narrow(isNew ? newText(row) : oldText(row)));
}

// ---- Phones ------------------------------------------------------------------------------------------------------------

void forgetRecord()
{
    freeUserSettings();
    record = UserSettings{};
    skinTextColor = skinAlarmColor = skinScrollColor = 0;
}

// A phone the program starts on for the first time: none of its own values are there yet.
struct NewPhone : TestPhone {
    NewPhone()
    {
        forgetRecord();
        removeKey(kelvaneKey);
    }
    ~NewPhone() { forgetRecord(); }

    int keysLeftOpen() const { return SimLiveKeys() - keysBefore; }

private:
    int keysBefore = SimLiveKeys();
};

// One that has every value.
struct UsedPhone : NewPhone {
    UsedPhone()
    {
        for (const Row &row : rows)
            storeNew(row);
    }
};

// One whose language files are found.
struct TranslatedPhone : NewPhone {
    explicit TranslatedPhone(const std::vector<std::wstring> &lines)
    {
        getAppPath();
        writeLanguageFile(L"DE", lines);
    }
};

const std::vector<std::wstring> germanNames = {L"Deutsch",    L"134=Zuhause", L"135=Arbeit", L"136=Besprechung",
                                               L"137=Nachts", L"138=Laut!",   L"139=Auto",   L"140=Flug"};

LONG loadOnce()
{
    const LONG status = getUserSettings();
    SimClearFaults();
    return status;
}

LONG saveOnce()
{
    const LONG status = saveUserSettings();
    SimClearFaults();
    return status;
}

void checkNames(const std::wstring (&expected)[7])
{
    for (int profile = 0; profile < 7; ++profile) {
        CAPTURE(profile);
        CHECK(narrow(record.profileNames[profile]) == narrow(expected[profile]));
    }
}

}   // namespace

// ---- The table ---------------------------------------------------------------------------------------------------------

TEST_CASE("the table has every value the engine knows, in its order, with its limits, fields and ways of saving")
{
    REQUIRE(rowCount == 71);
    REQUIRE(userSettingCount == 71);
    for (size_t index = 0; index < rowCount; ++index) {
        const Row &expected = rows[index];
        const SettingRow &row = userSettingRows[index];
        CAPTURE(narrow(expected.name));
        CHECK(narrow(row.name) == narrow(expected.name));
        CHECK(row.kind == expected.kind);
        CHECK(reinterpret_cast<BYTE *>(&userSettings) + row.offset == expected.field);
        CHECK(row.limit == expected.limit);
        CHECK(row.saved == expected.saved);
    }
}

TEST_CASE("a fixed text's field holds at least what may be read of it, a profile's name any translation")
{
    CHECK(sizeof record.skinName == 100);
    CHECK(sizeof record.signalSound == 200);
    CHECK(sizeof record.batterySound == 200);
    CHECK(sizeof record.profileNames[0] == 522);   // a translation is at most 261 characters with its terminator
    for (const SettingRow &row : userSettingRows)
        if (row.kind == SettingKind::text) {
            CAPTURE(narrow(row.name));
            CHECK(row.capacity == (wcsncmp(row.name, L"profile", 7) == 0 ? 261 : row.limit / sizeof(wchar_t)));
        }
}

// ---- Starting values ---------------------------------------------------------------------------------------------------

TEST_CASE("without any stored value the record has its defaults")
{
    NewPhone phone;
    makeKey(kelvaneKey);
    CHECK(getUserSettings() == 0);
    for (const Row &row : rows) {
        CAPTURE(narrow(row.name));
        if (row.field == &record.shutdownDelay)
            CHECK(numberOf(row) == 45);
        else if (row.field == &record.activeSyncProfile || row.field == &record.ACPowerProfile)
            CHECK(numberOf(row) == none);
        else if (isNumber(row))
            CHECK(numberOf(row) == 0);
        else if (row.kind == SettingKind::accountList)
            CHECK(record.emailCustomAccounts == nullptr);
        else if (!isProfileName(row))
            CHECK(narrow(contentOf(row)) == "");
    }
    checkNames(defaultNames);
}

TEST_CASE("without the program's key the record has its defaults and the phone is left as it is")
{
    NewPhone phone;
    const std::string before =
        dumpKey(L"ControlPanel") + dumpKey(L"Software") + dumpKey(L"Software", HKEY_LOCAL_MACHINE);
    CHECK(getUserSettings() == keyIsMissing);
    CHECK(record.shutdownDelay == 45);
    CHECK(record.activeSyncProfile == none);
    CHECK(record.ACPowerProfile == none);
    CHECK(record.soundRepeat == 0);
    CHECK(record.skinName[0] == 0);
    CHECK(record.emailCustomAccounts == nullptr);
    checkNames(defaultNames);
    CHECK(dumpKey(L"ControlPanel") + dumpKey(L"Software") + dumpKey(L"Software", HKEY_LOCAL_MACHINE) == before);
    CHECK(phone.log().empty());
}

TEST_CASE("a key that does not open leaves the record alone but for the two profiles")
{
    UsedPhone phone;
    makeRecordOld();
    orderFailure(L"open:Software\\Tessaryn\\Kelvane");
    CHECK(loadOnce() == failedByOrder);
    CHECK(record.activeSyncProfile == none);
    CHECK(record.ACPowerProfile == none);
    for (const Row &row : rows) {
        CAPTURE(narrow(row.name));
        if (row.field == &record.activeSyncProfile || row.field == &record.ACPowerProfile)
            continue;
        if (isNumber(row))
            CHECK(numberOf(row) == oldNumber(row));
        else if (row.kind == SettingKind::heapTextOnce)
            CHECK(record.sysPhoneName == nullptr);
        else
            CHECK(narrow(contentOf(row)) == narrow(oldText(row)));
    }
}

TEST_CASE("a value that is missing when settings are loaded again keeps what the record had")
{
    NewPhone phone;
    makeKey(kelvaneKey);
    makeRecordOld();
    CHECK(getUserSettings() == 0);
    for (const Row &row : rows)
        checkNotRead(row);
}

// ---- Reading -----------------------------------------------------------------------------------------------------------

TEST_CASE("every value is read into its own field")
{
    UsedPhone phone;
    makeRecordOld();
    CHECK(getUserSettings() == 0);
    for (const Row &row : rows)
        checkLoaded(row);
    CHECK(phone.log().empty());
}

TEST_CASE("numbers are read with all their bits")
{
    NewPhone phone;
    for (const DWORD pattern : {0u, 1u, 2u, 45u, 9999u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
        CAPTURE(pattern);
        for (const Row &row : rows)
            if (isNumber(row))
                storeNumber(row.name, pattern);
        makeRecordOld();
        CHECK(getUserSettings() == 0);
        for (const Row &row : rows) {
            CAPTURE(narrow(row.name));
            if (isNumber(row))
                CHECK(numberOf(row) == (pattern == 0 && row.field == &record.shutdownDelay ? 45 : pattern));
        }
    }
}

TEST_CASE("a number of another type or size is not read")
{
    NewPhone phone;
    for (const NumberForm &each : numberForms) {
        CAPTURE(each.what);
        for (const Row &row : rows)
            if (isNumber(row))
                storeNumberForm(row.name, each);
        makeRecordOld();
        CHECK(getUserSettings() == 0);
        for (const Row &row : rows)
            if (isNumber(row))
                checkNotRead(row);
    }
}

namespace {

void checkForm(const Row &row, const StoredForm &form)
{
    CAPTURE(narrow(row.name));
    if (form.read < 0)
        checkNotRead(row);
    else if (form.read == 0 && row.kind == SettingKind::accountList)
        CHECK(record.emailCustomAccounts == nullptr);
    else if (form.read == 0 && isProfileName(row))
        CHECK(narrow(contentOf(row)) == narrow(defaultNames[row.name[7] - L'1']));
    else
        CHECK(narrow(contentOf(row)) == narrow(textOfLength(row.name, static_cast<size_t>(form.read))));
}

}   // namespace

TEST_CASE("texts are read up to their limit, always terminated, and not at all when they are longer")
{
    NewPhone phone;
    storeNumber(L"emailAccounts", 1);
    storeNumber(L"lang", 0);
    const int formCount = static_cast<int>(storedForms(100).size());
    for (int index = 0; index < formCount; ++index) {
        makeRecordOld();
        for (const Row &row : rows)
            if (!isNumber(row))
                storeForm(row.name, storedForms(row.limit)[index]);
        CHECK(getUserSettings() == 0);
        for (const Row &row : rows)
            if (!isNumber(row)) {
                const StoredForm form = storedForms(row.limit)[index];
                CAPTURE(form.what);
                checkForm(row, form);
            }
    }
}

TEST_CASE("the fields beside a text of the greatest length stay as they are")
{
    NewPhone phone;
    storeNumber(L"emailAccounts", 1);
    for (const Row &row : rows) {
        if (isNumber(row))
            continue;
        CAPTURE(narrow(row.name));
        makeRecordOld();
        storeForm(row.name, {"", REG_SZ, row.limit / 2, row.limit, 0});
        CHECK(getUserSettings() == 0);
        for (const Row &other : rows)
            if (&other != &row && other.field != &record.emailAccounts)
                checkNotRead(other);
        removeValue(row.name);
    }
}

// ---- Derived values ----------------------------------------------------------------------------------------------------

TEST_CASE("colours come from the skin or from the user's choice, the alarm's from the font colour")
{
    NewPhone phone;
    for (const DWORD chosen : {1u, 0xFFFFFFFFu})
        for (int choice = 0; choice < 8; ++choice) {
            CAPTURE(choice);
            skinTextColor = 0x111111;
            skinAlarmColor = 0x222222;
            skinScrollColor = 0x333333;
            storeNumber(L"fontColor", 0xAAAAAA);
            storeNumber(L"alarmColor", 0xBBBBBB);
            storeNumber(L"scrollColor", 0xCCCCCC);
            storeNumber(L"autoColor", choice & 1 ? chosen : 0);
            storeNumber(L"autoAlarmColor", choice & 2 ? chosen : 0);
            storeNumber(L"autoScrollColor", choice & 4 ? chosen : 0);
            CHECK(getUserSettings() == 0);
            CHECK(record.textColor == (choice & 1 ? 0xAAAAAAu : 0x111111u));
            CHECK(record.alarmTextColor == (choice & 2 ? 0xAAAAAAu : 0x222222u));
            CHECK(record.scrollTextColor == (choice & 4 ? 0xCCCCCCu : 0x333333u));
        }
}

TEST_CASE("the derived colours are not stored")
{
    NewPhone phone;
    record.textColor = record.alarmTextColor = record.scrollTextColor = 0x123456;
    CHECK(saveUserSettings() == 0);
    for (const wchar_t *name : {L"textColor", L"alarmTextColor", L"scrollTextColor"})
        CHECK(!storedValue(name).present);
}

TEST_CASE("a shutdown delay of 0 counts as 45 and is saved as that")
{
    NewPhone phone;
    storeNumber(L"shutdownDelay", 0);
    record.shutdownDelay = 7;
    CHECK(getUserSettings() == 0);
    CHECK(record.shutdownDelay == 45);
    CHECK(saveUserSettings() == 0);
    CHECK(storedNumber(L"shutdownDelay") == 45);

    for (const DWORD delay : {1u, 44u, 45u, 46u, 9999u}) {
        storeNumber(L"shutdownDelay", delay);
        CHECK(getUserSettings() == 0);
        CHECK(record.shutdownDelay == delay);
    }
}

TEST_CASE("a shutdown delay of 0 in the record is replaced also when none is stored, but saved as it is")
{
    NewPhone phone;
    makeKey(kelvaneKey);
    record.shutdownDelay = 0;
    CHECK(getUserSettings() == 0);
    CHECK(record.shutdownDelay == 45);

    record.shutdownDelay = 0;
    CHECK(saveUserSettings() == 0);
    CHECK(storedNumber(L"shutdownDelay") == 0);
}

TEST_CASE("the profiles for synchronising and for external power are none again at every load without them")
{
    NewPhone phone;
    storeNumber(L"activeSyncProfile", 3);
    storeNumber(L"ACPowerProfile", 5);
    CHECK(getUserSettings() == 0);
    CHECK(record.activeSyncProfile == 3);
    CHECK(record.ACPowerProfile == 5);

    removeValue(L"activeSyncProfile");
    removeValue(L"ACPowerProfile");
    CHECK(getUserSettings() == 0);
    CHECK(record.activeSyncProfile == none);
    CHECK(record.ACPowerProfile == none);

    record.activeSyncProfile = record.ACPowerProfile = 2;
    removeKey(kelvaneKey);
    CHECK(getUserSettings() == keyIsMissing);
    CHECK(record.activeSyncProfile == none);
    CHECK(record.ACPowerProfile == none);
}

// ---- Profile names -----------------------------------------------------------------------------------------------------

TEST_CASE("an empty first profile name makes all seven the defaults, the others' own names included")
{
    NewPhone phone;
    storeText(L"profile1", L"");
    storeText(L"profile2", L"Office");
    storeText(L"profile7", L"Plane");
    CHECK(getUserSettings() == 0);
    checkNames(defaultNames);
}

TEST_CASE("a missing first profile name makes all seven the defaults")
{
    NewPhone phone;
    storeText(L"profile2", L"Office");
    CHECK(getUserSettings() == 0);
    checkNames(defaultNames);
}

TEST_CASE("with a first profile name the others stay as they are stored, empty ones too")
{
    NewPhone phone;
    storeText(L"profile1", L"Base");
    storeText(L"profile2", L"Office");
    storeText(L"profile3", L"");
    storeText(L"profile4", L"4");
    storeText(L"profile5", L" ");
    storeText(L"profile6", L"Car");
    storeText(L"profile7", L"");
    record.profileNames[2][0] = L'x';
    CHECK(getUserSettings() == 0);
    const std::wstring expected[] = {L"Base", L"Office", L"", L"4", L" ", L"Car", L""};
    checkNames(expected);
}

TEST_CASE("with a first profile name, a later one that is missing is the English default")
{
    NewPhone phone;
    storeText(L"profile1", L"Base");
    storeText(L"profile3", L"Sitting");
    CHECK(getUserSettings() == 0);
    const std::wstring expected[] = {L"Base", L"Work", L"Sitting", L"Night", L"Loud", L"Car", L"Flight"};
    checkNames(expected);
}

TEST_CASE("default profile names are in the stored language already at the load that reads it")
{
    TranslatedPhone phone(germanNames);
    storeNumber(L"lang", 1);
    CHECK(getUserSettings() == 0);
    const std::wstring german[] = {L"Zuhause", L"Arbeit", L"Besprechung", L"Nachts", L"Laut!", L"Auto", L"Flug"};
    checkNames(german);

    // Names once given stay, until the Display page changes the language.
    storeNumber(L"lang", 0);
    CHECK(getUserSettings() == 0);
    checkNames(german);
    forgetRecord();
    CHECK(getUserSettings() == 0);
    checkNames(defaultNames);
}

TEST_CASE("default profile names replace what is there, a name without translation by the English one")
{
    TranslatedPhone phone({L"Deutsch", L"134=Zuhause", L"136=", L"140=Flug"});
    makeRecordOld();
    record.lang = 1;
    setDefaultProfileNames();
    const std::wstring expected[] = {L"Zuhause", L"Work", L"Meeting", L"Night", L"Loud", L"Car", L"Flug"};
    checkNames(expected);
}

TEST_CASE("the longest translation of a profile name is taken over and saved whole")
{
    // The line from its line feed to its carriage return has 259 characters at most, "134=" included.
    const std::wstring longest(254, L'n'), tooLong(255, L'n');
    std::vector<std::wstring> lines = {L"Deutsch"};
    for (int id = 134; id < 140; ++id)
        lines.push_back(std::to_wstring(id) + L"=" + longest);
    lines.push_back(L"140=" + tooLong);
    TranslatedPhone phone(lines);

    makeRecordOld();
    record.lang = 1;
    setDefaultProfileNames();
    const std::wstring expected[] = {longest, longest, longest, longest, longest, longest, L"Flight"};
    checkNames(expected);
    CHECK(record.noBacklight == oldNumber(rowNamed(L"noBacklight")));
    CHECK(record.activeProfiles == oldNumber(rowNamed(L"activeProfiles")));

    CHECK(saveUserSettings() == 0);
    CHECK(storedValue(L"profile1").bytes == bytesOf(longest));
    CHECK(storedValue(L"profile6").bytes == bytesOf(longest));
    CHECK(storedValue(L"profile7").bytes == bytesOf(L"Flight"));
}

TEST_CASE("names of 39, 40 and 41 characters by translation are not cut")
{
    for (const size_t length : {39, 40, 41}) {
        const std::wstring name(length, L'w');
        TranslatedPhone phone({L"Deutsch", L"134=" + name, L"135=" + name, L"140=" + name});
        record.lang = 1;
        setDefaultProfileNames();
        CHECK(narrow(record.profileNames[0]) == narrow(name));
        CHECK(narrow(record.profileNames[1]) == narrow(name));
        CHECK(narrow(record.profileNames[2]) == "Meeting");
        CHECK(narrow(record.profileNames[6]) == narrow(name));
    }
}

TEST_CASE("a name of 49 characters survives saving and loading")
{
    NewPhone phone;
    for (const size_t length : {39, 40, 48, 49}) {
        CAPTURE(length);
        makeRecordOld();
        std::vector<std::wstring> names;
        for (int profile = 0; profile < 7; ++profile) {
            names.push_back(std::wstring(length - 1, L'n') + static_cast<wchar_t>(L'1' + profile));
            copyText(record.profileNames[profile], names.back().c_str());
        }
        CHECK(saveUserSettings() == 0);
        makeRecordOld();
        CHECK(getUserSettings() == 0);
        for (int profile = 0; profile < 7; ++profile)
            CHECK(narrow(record.profileNames[profile]) == narrow(names[profile]));
    }
}

// ---- Heap texts --------------------------------------------------------------------------------------------------------

TEST_CASE("the account list is read only while mail is watched per account")
{
    NewPhone phone;
    storeText(L"emailCustomAccounts", L"Private;");
    for (const DWORD accounts : {1u, 2u, 0xFFFFFFFFu}) {
        storeNumber(L"emailAccounts", accounts);
        CHECK(getUserSettings() == 0);
        CHECK(narrow(contentOf(rowNamed(L"emailCustomAccounts"))) == "Private;");
    }
    storeNumber(L"emailAccounts", 0);
    CHECK(getUserSettings() == 0);
    CHECK(record.emailCustomAccounts == nullptr);
}

TEST_CASE("a list held from before is gone after loading when none or an empty one is stored")
{
    NewPhone phone;
    const Row &row = rowNamed(L"emailCustomAccounts");
    storeNumber(L"emailAccounts", 1);
    setContent(row, L"old");
    CHECK(getUserSettings() == 0);
    CHECK(record.emailCustomAccounts == nullptr);

    storeText(L"emailCustomAccounts", L"");
    setContent(row, L"old");
    CHECK(getUserSettings() == 0);
    CHECK(record.emailCustomAccounts == nullptr);
}

TEST_CASE("the account list is written while mail is watched per account")
{
    NewPhone phone;
    record.emailAccounts = 1;
    setContent(rowNamed(L"emailCustomAccounts"), L"Private;Work;");
    CHECK(saveUserSettings() == 0);
    CHECK(storedValue(L"emailCustomAccounts").type == REG_SZ);
    CHECK(storedValue(L"emailCustomAccounts").bytes == bytesOf(L"Private;Work;"));
}

TEST_CASE("with no list held the stored one stays")
{
    NewPhone phone;
    storeText(L"emailCustomAccounts", L"Private;");
    record.emailAccounts = 1;
    CHECK(saveUserSettings() == 0);
    CHECK(narrow(storedText(L"emailCustomAccounts")) == "Private;");
}

TEST_CASE("with accounts switched off a stored list stays, while a subkey of its name goes with all that is in it")
{
    NewPhone phone;
    constexpr wchar_t subkey[] = L"Software\\Tessaryn\\Kelvane\\emailCustomAccounts";
    storeText(L"emailCustomAccounts", L"Private;");
    storeNumber(L"left", 1, L"Software\\Tessaryn\\Kelvane\\emailCustomAccounts\\deeper");
    setContent(rowNamed(L"emailCustomAccounts"), L"Other;");
    record.emailAccounts = 0;
    CHECK(saveUserSettings() == 0);
    CHECK(narrow(storedText(L"emailCustomAccounts")) == "Private;");
    CHECK(!keyExists(subkey));
    CHECK(keyExists(kelvaneKey));

    // Switched on again, the old list is back.
    storeNumber(L"emailAccounts", 1);
    CHECK(getUserSettings() == 0);
    CHECK(narrow(contentOf(rowNamed(L"emailCustomAccounts"))) == "Private;");
}

TEST_CASE("with accounts switched on a subkey of the list's name stays")
{
    NewPhone phone;
    constexpr wchar_t subkey[] = L"Software\\Tessaryn\\Kelvane\\emailCustomAccounts";
    makeKey(subkey);
    record.emailAccounts = 1;
    setContent(rowNamed(L"emailCustomAccounts"), L"Other;");
    CHECK(saveUserSettings() == 0);
    CHECK(keyExists(subkey));
}

TEST_CASE("the profiles' subkeys survive saving")
{
    NewPhone phone;
    storeNumber(L"0", 60, L"Software\\Tessaryn\\Kelvane\\0");
    storeNumber(L"0", 61, L"Software\\Tessaryn\\Kelvane\\6");
    CHECK(saveUserSettings() == 0);
    CHECK(storedNumber(L"0", L"Software\\Tessaryn\\Kelvane\\0") == 60);
    CHECK(storedNumber(L"0", L"Software\\Tessaryn\\Kelvane\\6") == 61);
}

TEST_CASE("the phone's name is read once per process")
{
    NewPhone phone;
    storeText(L"sysPhoneName", L"First");
    CHECK(getUserSettings() == 0);
    CHECK(narrow(record.sysPhoneName) == "First");
    const wchar_t *held = record.sysPhoneName;
    storeText(L"sysPhoneName", L"Second");
    CHECK(getUserSettings() == 0);
    CHECK(record.sysPhoneName == held);
    CHECK(narrow(record.sysPhoneName) == "First");

    freeUserSettings();
    CHECK(getUserSettings() == 0);
    CHECK(narrow(record.sysPhoneName) == "Second");
}

TEST_CASE("a phone without a name is not asked again either")
{
    NewPhone phone;
    makeKey(kelvaneKey);
    CHECK(getUserSettings() == 0);
    CHECK(narrow(record.sysPhoneName) == "");
    storeText(L"sysPhoneName", L"Late");
    CHECK(getUserSettings() == 0);
    CHECK(narrow(record.sysPhoneName) == "");
}

TEST_CASE("the second voice-mail number is replaced at every load")
{
    NewPhone phone;
    storeText(L"voicemail2", L"+15550101");
    CHECK(getUserSettings() == 0);
    CHECK(narrow(record.voicemail2) == "+15550101");
    storeText(L"voicemail2", L"+15550102");
    CHECK(getUserSettings() == 0);
    CHECK(narrow(record.voicemail2) == "+15550102");
    removeValue(L"voicemail2");
    CHECK(getUserSettings() == 0);
    CHECK(narrow(record.voicemail2) == "");
}

TEST_CASE("the second voice-mail number is written only when one is held, an empty one too")
{
    NewPhone phone;
    storeText(L"voicemail2", L"+15550101");
    CHECK(saveUserSettings() == 0);
    CHECK(narrow(storedText(L"voicemail2")) == "+15550101");

    setContent(rowNamed(L"voicemail2"), L"");
    CHECK(saveUserSettings() == 0);
    CHECK(storedValue(L"voicemail2").bytes == bytesOf(L""));
}

TEST_CASE("freeing the record releases its heap texts and can be repeated")
{
    NewPhone phone;
    const int before = SimLiveAllocations();
    record.emailCustomAccounts = duplicateText(L"a");
    record.sysPhoneName = duplicateText(L"b");
    record.voicemail2 = duplicateText(L"c");
    const int held = SimLiveAllocations();
    freeUserSettings();
    freeUserSettings();
    const int after = SimLiveAllocations();
    CHECK(held == before + 3);
    CHECK(after == before);
    CHECK(record.emailCustomAccounts == nullptr);
    CHECK(record.sysPhoneName == nullptr);
    CHECK(record.voicemail2 == nullptr);
}

// ---- Writing -----------------------------------------------------------------------------------------------------------

namespace {

void checkStoredNumber(const Row &row, DWORD expected)
{
    const StoredValue value = storedValue(row.name);
    CHECK(value.present);
    CHECK(value.type == REG_DWORD);
    std::vector<BYTE> bytes(4);
    memcpy(bytes.data(), &expected, 4);
    CHECK(value.bytes == bytes);
}

void checkStoredText(const Row &row, const std::wstring &expected)
{
    const StoredValue value = storedValue(row.name);
    CHECK(value.present);
    CHECK(value.type == REG_SZ);
    CHECK(value.bytes == bytesOf(expected));
}

// Saves a record of one number and, for each text, of so many characters below the longest; then looks at every value.
void checkSaving(DWORD content, bool emptyTexts, size_t below)
{
    for (const Row &row : rows) {
        if (isNumber(row))
            numberOf(row) = content;
        else
            setContent(row, emptyTexts ? L"" : textOfLength(row.name, row.limit / 2 - 1 - below));
    }
    record.emailAccounts = 1;
    CHECK(saveUserSettings() == 0);
    for (const Row &row : rows) {
        CAPTURE(narrow(row.name));
        if (!row.saved)
            CHECK(!storedValue(row.name).present);
        else if (isNumber(row))
            checkStoredNumber(row, row.field == &record.emailAccounts ? 1 : content);
        else
            checkStoredText(row, emptyTexts ? L"" : textOfLength(row.name, row.limit / 2 - 1 - below));
    }
}

}   // namespace

TEST_CASE("every number is saved as four bytes and every text with its terminator and nothing behind")
{
    NewPhone phone;
    checkSaving(0, true, 0);
    checkSaving(1, false, 0);
    checkSaving(0x80000000, false, 1);
    checkSaving(0xFFFFFFFF, false, 38);
}

TEST_CASE("a text beyond what is read of it is saved whole")
{
    NewPhone phone;
    record.emailAccounts = 1;
    for (const Row &row : rows)
        if (isHeapText(row))
            setContent(row, textOfLength(row.name, 1500));
    CHECK(saveUserSettings() == 0);
    CHECK(storedValue(L"emailCustomAccounts").bytes == bytesOf(textOfLength(L"emailCustomAccounts", 1500)));
    CHECK(storedValue(L"voicemail2").bytes == bytesOf(textOfLength(L"voicemail2", 1500)));
}

TEST_CASE("saving replaces values of another type")
{
    NewPhone phone;
    for (const Row &row : rows)
        storeBytes(row.name, REG_BINARY, "nine byte", 9);
    makeRecordNew();
    CHECK(saveUserSettings() == 0);
    for (const Row &row : rows) {
        CAPTURE(narrow(row.name));
        if (!row.saved)
            CHECK(storedValue(row.name).type == REG_BINARY);
        else if (isNumber(row))
            checkStoredNumber(row, newNumber(row));
        else
            checkStoredText(row, newText(row));
    }
}

TEST_CASE("the engine's own values are never written")
{
    NewPhone phone;
    storeNumber(L"quietMode", 1);
    storeNumber(L"alarmState", 7);
    storeText(L"sysPhoneName", L"Example");
    record.quietMode = 2;
    record.alarmState = 8;
    setContent(rowNamed(L"sysPhoneName"), L"Other");
    CHECK(saveUserSettings() == 0);
    CHECK(storedNumber(L"quietMode") == 1);
    CHECK(storedNumber(L"alarmState") == 7);
    CHECK(narrow(storedText(L"sysPhoneName")) == "Example");
}

TEST_CASE("the program's version is written with every save")
{
    NewPhone phone;
    storeText(L"Version", L"1.0");
    CHECK(saveUserSettings() == 0);
    const StoredValue version = storedValue(L"Version");
    CHECK(version.type == REG_SZ);
    CHECK(version.bytes == bytesOf(L"1.60.2 (#160)"));
    CHECK(version.bytes.size() == 28);
}

TEST_CASE("values of others under the program's key stay")
{
    NewPhone phone;
    storeNumber(L"appWindow", 0x1234);
    storeText(L"timeData", L"1,12345,07:30\x00A7");
    CHECK(saveUserSettings() == 0);
    CHECK(storedNumber(L"appWindow") == 0x1234);
    CHECK(storedText(L"timeData") == L"1,12345,07:30\x00A7");
}

TEST_CASE("a record saved on a new phone makes exactly this key")
{
    NewPhone phone;
    makeRecordNew();
    record.activeSyncProfile = none;
    record.fontColor = 0x00C0C0C0;
    record.soundRepeat = 9999;
    CHECK(saveUserSettings() == 0);
    CHECK(dumpKey(kelvaneKey) == goldenFile("user_settings.txt"));
}

TEST_CASE("a record of a first start, saved, makes exactly this key")
{
    NewPhone phone;
    makeKey(kelvaneKey);
    CHECK(getUserSettings() == 0);
    CHECK(saveUserSettings() == 0);
    CHECK(dumpKey(kelvaneKey) == goldenFile("user_settings_first_start.txt"));
}

TEST_CASE("loading and saving lose nothing")
{
    NewPhone phone;
    for (const Row &row : rows) {
        if (isNumber(row))
            storeNumber(row.name, 0x89ABCD00 + indexOf(row));
        else
            storeText(row.name, textOfLength(row.name, row.limit / 2 - 1));
    }
    storeText(L"Version", L"1.60.2 (#160)");
    const std::string before = dumpKey(kelvaneKey);
    CHECK(getUserSettings() == 0);
    CHECK(saveUserSettings() == 0);
    CHECK(dumpKey(kelvaneKey) == before);

    forgetRecord();
    CHECK(getUserSettings() == 0);
    for (const Row &row : rows) {
        CAPTURE(narrow(row.name));
        if (isNumber(row))
            CHECK(numberOf(row) == 0x89ABCD00 + indexOf(row));
        else
            CHECK(narrow(contentOf(row)) == narrow(textOfLength(row.name, row.limit / 2 - 1)));
    }
}

TEST_CASE("the settings a phone came with are the same after loading and saving")
{
    TestPhone phone;
    forgetRecord();
    storeText(L"voicemail2", L"");
    CHECK(getUserSettings() == 0);
    CHECK(saveUserSettings() == 0);
    const std::string once = dumpKey(kelvaneKey);
    forgetRecord();
    CHECK(getUserSettings() == 0);
    CHECK(narrow(record.skinName) == "Blue");
    CHECK(narrow(record.emailCustomAccounts) == "ActiveSync;Private;");
    CHECK(record.activeProfiles == 14);
    CHECK(saveUserSettings() == 0);
    CHECK(dumpKey(kelvaneKey) == once);
    forgetRecord();
}

// ---- Status ------------------------------------------------------------------------------------------------------------

TEST_CASE("loading answers the status of opening and of closing the volume key")
{
    UsedPhone phone;
    orderFailure(L"close:ControlPanel\\Volume");
    CHECK(loadOnce() == failedByOrder);
    orderFailure(L"open:ControlPanel\\Volume");
    CHECK(loadOnce() == failedByOrder);
    removeKey(volumeKey);
    makeRecordOld();
    CHECK(getUserSettings() == keyIsMissing);
    for (const Row &row : rows)
        checkLoaded(row);
    CHECK(!keyExists(volumeKey));
}

TEST_CASE("loading does not mind that its own key fails to close")
{
    UsedPhone phone;
    storeNumber(L"Mute", 0, volumeKey);
    orderFailure(L"close:Software\\Tessaryn\\Kelvane");
    CHECK(loadOnce() == 0);
    CHECK(storedNumber(L"Mute", volumeKey) == 3);
}

TEST_CASE("loading applies the system tweaks every time")
{
    UsedPhone phone;
    for (int time = 0; time < 2; ++time) {
        storeNumber(L"Mute", 4, volumeKey);
        CHECK(getUserSettings() == 0);
        CHECK(storedNumber(L"Mute", volumeKey) == 7);
    }
}

TEST_CASE("loading needs no more than what is stored and adds nothing to the program's key")
{
    UsedPhone phone;
    const std::string before = dumpKey(kelvaneKey);
    CHECK(getUserSettings() == 0);
    CHECK(dumpKey(kelvaneKey) == before);

    NewPhone other;
    CHECK(getUserSettings() == keyIsMissing);
    CHECK(!keyExists(kelvaneKey));
}

TEST_CASE("saving writes nothing when the key cannot be made")
{
    NewPhone phone;
    makeRecordNew();
    orderFailure(L"create:Software\\Tessaryn\\Kelvane");
    CHECK(saveOnce() == failedByOrder);
    CHECK(!keyExists(kelvaneKey));
    CHECK(phone.log().empty());
}

TEST_CASE("saving answers the status of closing the key, after everything is written")
{
    NewPhone phone;
    makeRecordNew();
    orderFailure(L"close:Software\\Tessaryn\\Kelvane");
    CHECK(saveOnce() == failedByOrder);
    CHECK(phone.log().empty());
    for (const Row &row : rows)
        if (row.saved)
            checkStored(row, true);
    CHECK(narrow(storedText(L"Version")) == "1.60.2 (#160)");
}

TEST_CASE("saving does not flush")
{
    NewPhone phone;
    orderException(L"flush:*");
    CHECK(saveOnce() == 0);
    CHECK(phone.log().empty());
}

// ---- Failures of single values -----------------------------------------------------------------------------------------

TEST_CASE("a value that fails to be read keeps its field and costs no other")
{
    UsedPhone phone;
    for (const Row &failing : rows) {
        CAPTURE(narrow(failing.name));
        makeRecordOld();
        orderFailure(std::wstring(L"read:") + failing.name);
        CHECK(loadOnce() == 0);
        for (const Row &row : rows) {
            if (&row == &failing)
                checkNotRead(row);
            else
                checkLoaded(row);
        }
    }
    CHECK(phone.log().empty());
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("a value that fails to be written keeps what is stored and costs no other")
{
    NewPhone phone;
    for (const Row &failing : rows) {
        if (!failing.saved)
            continue;
        CAPTURE(narrow(failing.name));
        for (const Row &row : rows)
            storeOld(row);
        makeRecordNew();
        orderFailure(std::wstring(L"write:") + failing.name);
        CHECK(saveOnce() == 0);
        for (const Row &row : rows)
            checkStored(row, row.saved && &row != &failing);
        CHECK(narrow(storedText(L"Version")) == "1.60.2 (#160)");
    }
    CHECK(phone.log().empty());
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("a version that fails to be written, or a list that fails to be deleted, costs no value")
{
    NewPhone phone;
    makeRecordNew();
    orderFailure(L"write:Version");
    CHECK(saveOnce() == 0);
    for (const Row &row : rows)
        if (row.saved)
            checkStored(row, true);
    CHECK(!storedValue(L"Version").present);

    makeRecordNew();
    record.emailAccounts = 0;
    orderFailure(L"delete:emailCustomAccounts");
    CHECK(saveOnce() == 0);
    CHECK(narrow(storedText(L"Version")) == "1.60.2 (#160)");
    CHECK(phone.log().empty());
}

TEST_CASE("nothing can be read or written: the record and the registry stay, the program goes on")
{
    UsedPhone phone;
    const std::string before = dumpKey(kelvaneKey);
    makeRecordOld();
    orderFailure(L"read:*");
    CHECK(loadOnce() == 0);
    for (const Row &row : rows)
        checkNotRead(row);
    orderFailure(L"write:*");
    CHECK(saveOnce() == 0);
    CHECK(dumpKey(kelvaneKey) == before);
    CHECK(phone.log().empty());
}

// ---- Exceptions --------------------------------------------------------------------------------------------------------

namespace {

// The record of makeRecordOld after an exception at the reading of the failing row: what comes before it has been read.
void checkReadUpTo(const Row &failing)
{
    for (const Row &row : rows) {
        if (&row < &failing)
            checkLoaded(row);
        else if (isNumber(row) || row.kind == text)
            checkNotRead(row);
    }
    if (&failing <= &rowNamed(L"emailCustomAccounts"))   // let go before it is read
        CHECK(
            narrow(contentOf(rowNamed(L"emailCustomAccounts"))) ==
            narrow(failing.kind == SettingKind::accountList ? nothingHeld : oldText(rowNamed(L"emailCustomAccounts"))));
    if (&failing <= &rowNamed(L"sysPhoneName"))
        CHECK(record.sysPhoneName == nullptr);
    CHECK(narrow(record.voicemail2) == narrow(oldText(rowNamed(L"voicemail2"))));
}

}   // namespace

TEST_CASE("an exception at any value's reading is logged, ends the load there and leaves no key open")
{
    UsedPhone phone;
    storeNumber(L"Mute", 0, volumeKey);
    for (const Row &failing : rows) {
        CAPTURE(narrow(failing.name));
        makeRecordOld();
        orderException(std::wstring(L"read:") + failing.name);
        CHECK(loadOnce() != 0);
        checkReadUpTo(failing);
        CHECK(phone.keysLeftOpen() == 0);
    }
    CHECK(phone.log() == std::vector<std::string>(rowCount, loadFailed));
    CHECK(storedNumber(L"Mute", volumeKey) == 0);   // the tweaks come after the record
}

TEST_CASE("an exception at any value's writing is logged, ends the save there and leaves no key open")
{
    NewPhone phone;
    std::vector<std::string> expectedLog;
    for (const Row &failing : rows) {
        if (!failing.saved)
            continue;
        CAPTURE(narrow(failing.name));
        for (const Row &row : rows)
            storeOld(row);
        storeText(L"Version", L"1.0");
        makeRecordNew();
        orderException(std::wstring(L"write:") + failing.name);
        CHECK(saveOnce() != 0);
        for (const Row &row : rows)
            checkStored(row, row.saved && &row < &failing);
        CHECK(narrow(storedText(L"Version")) == "1.0");
        CHECK(phone.keysLeftOpen() == 0);
        expectedLog.push_back(saveFailed);
    }
    CHECK(phone.log() == expectedLog);
}

TEST_CASE("the version is written last")
{
    NewPhone phone;
    makeRecordNew();
    orderException(L"write:Version");
    CHECK(saveOnce() != 0);
    for (const Row &row : rows)
        if (row.saved)
            checkStored(row, true);
    CHECK(phone.log() == std::vector<std::string>{saveFailed});
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("exceptions at opening, making, deleting and closing are logged too")
{
    UsedPhone phone;
    orderException(L"open:Software\\Tessaryn\\Kelvane");
    CHECK(loadOnce() != 0);
    CHECK(phone.log() == std::vector<std::string>{loadFailed});
    orderException(L"close:Software\\Tessaryn\\Kelvane");
    CHECK(loadOnce() != 0);
    CHECK(phone.log() == std::vector<std::string>{loadFailed, loadFailed});

    orderException(L"create:Software\\Tessaryn\\Kelvane");
    CHECK(saveOnce() != 0);
    record.emailAccounts = 0;
    orderException(L"delete:emailCustomAccounts");
    CHECK(saveOnce() != 0);
    orderException(L"close:Software\\Tessaryn\\Kelvane");
    CHECK(saveOnce() != 0);
    CHECK(phone.log() == std::vector<std::string>{loadFailed, loadFailed, saveFailed, saveFailed, saveFailed});
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("after a load that broke off nothing is saved until a load succeeds")
{
    UsedPhone phone;
    const std::string before = dumpKey(kelvaneKey);
    struct {
        const wchar_t *call;
        bool exception;
    } const faults[] = {
        {L"open:Software\\Tessaryn\\Kelvane", false},
        {L"open:Software\\Tessaryn\\Kelvane", true},
        {L"read:skinName", true},
        {L"read:voicemail2", true},
    };
    for (const auto &fault : faults) {
        CAPTURE(narrow(fault.call));
        CAPTURE(fault.exception);
        forgetRecord();
        if (fault.exception)
            orderException(fault.call);
        else
            orderFailure(fault.call);
        CHECK(loadOnce() != 0);
        record.textSize = 77;
        CHECK(saveUserSettings() == ERROR_INVALID_DATA);
        CHECK(saveUserSettings() == ERROR_INVALID_DATA);
        CHECK(dumpKey(kelvaneKey) == before);
    }
    CHECK(loadOnce() == 0);
    record.textSize = 78;
    CHECK(saveUserSettings() == 0);
    CHECK(storedNumber(L"textSize") == 78);
}

TEST_CASE("a record loaded whole is saved, though its key or the tweaks after it failed")
{
    UsedPhone phone;
    DWORD size = 77;
    for (const wchar_t *call : {L"close:Software\\Tessaryn\\Kelvane", L"close:ControlPanel\\Volume"}) {
        CAPTURE(narrow(call));
        orderException(call);
        CHECK(loadOnce() != 0);
        record.textSize = ++size;
        CHECK(saveUserSettings() == 0);
        CHECK(storedNumber(L"textSize") == size);
    }
}

TEST_CASE("without the program's key a load is complete, also after one that broke off")
{
    NewPhone phone;
    orderFailure(L"open:Software\\Tessaryn\\Kelvane");
    CHECK(loadOnce() != 0);
    CHECK(saveUserSettings() == ERROR_INVALID_DATA);
    CHECK(!keyExists(kelvaneKey));
    CHECK(loadOnce() == ERROR_FILE_NOT_FOUND);
    CHECK(saveUserSettings() == 0);
    CHECK(storedNumber(L"shutdownDelay") == 45);
}

TEST_CASE("an exception in any system tweak is logged as one of loading, with the record loaded")
{
    UsedPhone phone;
    for (const wchar_t *call : {L"open:Software\\Microsoft\\MediaPlayer\\Preferences", L"write:PlayInBackground",
                                L"write:Background Quality", L"read:Default", L"read:Options", L"write:Options",
                                L"flush:ControlPanel\\Volume", L"close:ControlPanel\\Volume"}) {
        CAPTURE(narrow(call));
        phone.removeFile(L"\\Program Files\\Kelvane\\Kelvane.log");
        makeRecordOld();
        orderException(call);
        CHECK(loadOnce() != 0);
        for (const Row &row : rows)
            checkLoaded(row);
        CHECK(phone.log() == std::vector<std::string>{loadFailed});
        CHECK(phone.keysLeftOpen() == 0);
    }
}

TEST_CASE("exhausted memory at any heap text is logged and keeps the record in order")
{
    UsedPhone phone;
    const Row &accounts = rowNamed(L"emailCustomAccounts");
    const Row &voicemail = rowNamed(L"voicemail2");
    // The accounts' copy is the first to be made, the phone's name the second, the voice-mail number the third.
    for (int failing = 1; failing <= 3; ++failing) {
        CAPTURE(failing);
        makeRecordOld();
        SimOrderFault(L"memory", failing, L"alloc:", FALSE);
        CHECK(loadOnce() != 0);
        CHECK(narrow(contentOf(accounts)) == narrow(failing == 1 ? nothingHeld : newText(accounts)));
        CHECK(narrow(contentOf(rowNamed(L"sysPhoneName"))) ==
              (failing == 3 ? "new sysPhoneName" : narrow(nothingHeld)));
        CHECK(narrow(contentOf(voicemail)) == narrow(oldText(voicemail)));
        CHECK(phone.keysLeftOpen() == 0);
        CHECK(phone.log().size() == static_cast<size_t>(failing));
        CHECK(phone.log().back() == loadFailed);

        CHECK(getUserSettings() == 0);
        for (const Row &row : rows)
            checkLoaded(row);
    }
    makeRecordOld();
    SimOrderFault(L"memory", 4, L"alloc:", FALSE);
    CHECK(loadOnce() == 0);
    CHECK(phone.log().size() == 3);
}

namespace {

// The first exception of a thread makes its own bookkeeping, which takes memory.
void makeFirstException()
{
    try {
        throw 0;
    } catch (int) {
    }
}

}   // namespace

TEST_CASE("with no memory left at all loading still ends in an orderly way")
{
    UsedPhone phone;
    makeRecordOld();
    makeFirstException();
    SimOrderFault(L"memory", 0, L"alloc:", FALSE);
    CHECK(loadOnce() != 0);
    CHECK(phone.log() == std::vector<std::string>{loadFailed});
    CHECK(record.emailCustomAccounts == nullptr);
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("saving needs no memory")
{
    NewPhone phone;
    makeRecordNew();
    SimOrderFault(L"memory", 0, L"alloc:", FALSE);
    CHECK(saveOnce() == 0);
    for (const Row &row : rows)
        if (row.saved)
            checkStored(row, true);
}

// ---- What is left behind -----------------------------------------------------------------------------------------------

TEST_CASE("hundreds of loads and saves leave no key and no memory behind")
{
    UsedPhone phone;
    const int keys = SimLiveKeys();
    const int blocks = SimLiveAllocations();
    LONG problems = 0;
    for (int time = 0; time < 200; ++time) {
        problems |= getUserSettings();
        problems |= saveUserSettings();
    }
    const int keysHeld = SimLiveKeys();
    const int blocksHeld = SimLiveAllocations();
    freeUserSettings();
    const int blocksLeft = SimLiveAllocations();
    CHECK(problems == 0);
    CHECK(keysHeld == keys);
    CHECK(blocksHeld == blocks + 3);
    CHECK(blocksLeft == blocks);
    CHECK(phone.log().empty());
}
