#include "profile_schedule_data.h"

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "page_window.h"
#include "registry.h"
#include "test_phone.h"
#include "user_settings.h"

namespace {

constexpr DWORD none = 0xFFFFFFFF;
constexpr DWORD german = 1;

struct StartedPhone : TestPhone {
    StartedPhone()
    {
        restartProgram();
        getAppPath();
    }
};

// "(unreadable)" when there may be one that could not be read.
std::wstring storedSchedule()
{
    static wchar_t text[scheduleCapacity];
    text[0] = L'x';
    const bool isKnown = readSchedule(text);
    return isKnown ? text : text[0] ? L"(garbage)" : L"(unreadable)";
}

// Entries as "profile|when|time", and behind them what is left of the text.
std::vector<std::wstring> parsed(std::wstring text)
{
    std::vector<std::wstring> found;
    wchar_t *rest = &text[0];
    ScheduleEntry entry;
    while (nextScheduleEntry(rest, entry))
        found.push_back(std::to_wstring(entry.profile) + L"|" + entry.when + L"|" + entry.time);
    found.push_back(rest);
    return found;
}

using Texts = std::vector<std::wstring>;

std::wstring dayNames(const wchar_t *digits)
{
    wchar_t names[dayNamesCapacity];
    formatDayNames(names, digits);
    return names;
}

struct HeapSchedule {
    ScheduleText *const text = new ScheduleText;
    ~HeapSchedule() { delete text; }
};

}   // namespace

// ---- Reading ------------------------------------------------------------------------------------------------------------

TEST_CASE("timeData is read as it is stored")
{
    StartedPhone phone;
    removeValue(L"timeData");
    CHECK(storedSchedule() == L"");
    storeText(L"timeData", L"");
    CHECK(storedSchedule() == L"");
    storeText(L"timeData", L"2,12345,07:30\u00A7");
    CHECK(storedSchedule() == L"2,12345,07:30\u00A7");
}

TEST_CASE("timeData that is no text counts as missing, like one without a key, and is empty")
{
    StartedPhone phone;
    storeNumber(L"timeData", 0x00410041);
    CHECK(storedSchedule() == L"");
    storeBytes(L"timeData", REG_BINARY, L"2,1,07:30\u00A7", 22);
    CHECK(storedSchedule() == L"");
    removeKey(kelvaneKey);
    CHECK(storedSchedule() == L"");
}

TEST_CASE("timeData that is there but cannot be read is not taken for an empty one")
{
    StartedPhone phone;
    struct Order {
        int n;
        const wchar_t *operation;
    };
    for (const Order &order : {Order{0, L"open:*"}, Order{1, L"open:*"}, Order{0, L"read:timeData"},
                               Order{1, L"read:timeData"}, Order{2, L"read:timeData"}}) {
        storeText(L"timeData", L"2,1,07:30\u00A7");
        SimOrderFault(L"registry", order.n, order.operation, FALSE);
        INFO("failing: " << order.n << " " << narrow(order.operation));
        CHECK(storedSchedule() == L"(unreadable)");
        SimClearFaults();
        CHECK(storedSchedule() == L"2,1,07:30\u00A7");
    }
    removeValue(L"timeData");   // nobody can tell that it is missing
    SimOrderFault(L"registry", 0, L"read:timeData", FALSE);
    CHECK(storedSchedule() == L"(unreadable)");
    SimClearFaults();
}

TEST_CASE("2598 bytes of timeData are read, the terminator included")
{
    StartedPhone phone;
    for (size_t length : {1297, 1298, 1299, 1300, 2000}) {
        std::wstring text(length, L'x');
        text[0] = L'a';
        storeText(L"timeData", text);
        INFO("characters: " << static_cast<int>(length));
        CHECK(storedSchedule() == text.substr(0, 1298));
    }
}

TEST_CASE("timeData stored without terminator or with a byte too many is terminated")
{
    StartedPhone phone;
    storeBytes(L"timeData", REG_SZ, L"abc", 6);
    CHECK(storedSchedule() == L"abc");
    storeBytes(L"timeData", REG_SZ, L"abc", 5);
    CHECK(storedSchedule() == L"ab");
    storeBytes(L"timeData", REG_SZ, L"", 0);
    CHECK(storedSchedule() == L"");
}

TEST_CASE("without memory timeData is not read, and nothing is left open")
{
    StartedPhone phone;
    storeText(L"timeData", L"2,1,07:30\u00A7");
    wchar_t text[scheduleCapacity];
    const int keys = SimLiveKeys(), allocations = SimLiveAllocations();
    struct Order {
        const wchar_t *kind, *call;
        bool raise;
    };
    for (const Order &order : {Order{L"memory", L"alloc:", false}, Order{L"registry", L"read:timeData", true}}) {
        SimOrderFault(order.kind, 1, order.call, order.raise);
        bool thrown = false;
        try {
            readSchedule(text);
        } catch (...) {
            thrown = true;
        }
        CHECK(thrown);
        CHECK(SimLiveKeys() == keys);
        CHECK(SimLiveAllocations() == allocations);
    }
}

TEST_CASE("an entry is a profile, a trigger up to the second comma, and a time up to the end")
{
    CHECK(parsed(L"") == Texts{L""});
    CHECK(parsed(L"2,12345,07:30\u00A7") == Texts{L"2|12345|07:30", L""});
    CHECK(parsed(L"2,12345,07:30\u00A74,<Busy>,\u00A7") == Texts{L"2|12345|07:30", L"4|<Busy>|", L""});
    CHECK(parsed(L"1,Home, sweet,\u00A7") == Texts{L"1|Home| sweet,", L""});
    CHECK(parsed(L"1,Home\u00A7sweet,\u00A7") == Texts{L"1|Home|", L"0||", L""});   // a name with a "§"
}

TEST_CASE("an entry without its end is not one")
{
    CHECK(parsed(L"2,1,07:30") == Texts{L"2,1,07:30"});
    CHECK(parsed(L"2,1,07:30\u00A73,<Bu") == Texts{L"2|1|07:30", L"3,<Bu"});
}

TEST_CASE("missing fields are empty, a missing number is 0")
{
    CHECK(parsed(L"\u00A7") == Texts{L"0||", L""});
    CHECK(parsed(L"5\u00A7") == Texts{L"5||", L""});
    CHECK(parsed(L"5,1\u00A7") == Texts{L"5|1|", L""});
    CHECK(parsed(L",,\u00A7") == Texts{L"0||", L""});
    CHECK(parsed(L"x,1,07:30\u00A7") == Texts{L"0|1|07:30", L""});
    CHECK(parsed(L"12,1,07:30\u00A7-3,1,07:30\u00A7") == Texts{L"12|1|07:30", L"-3|1|07:30", L""});
}

// ---- Days ---------------------------------------------------------------------------------------------------------------

TEST_CASE("the digits of the chosen days are in the order of the week")
{
    struct Row {
        bool chosen[weekdayCount];
        const wchar_t *digits;
    };
    constexpr Row rows[] = {
        {{}, L""},
        {{true}, L"1"},
        {{false, false, false, false, false, false, true}, L"7"},
        {{true, true, true, true, true}, L"12345"},
        {{false, true, false, true, false, true}, L"246"},
        {{true, true, true, true, true, true, true}, L"1234567"},
    };
    for (const Row &row : rows) {
        wchar_t digits[weekdayCount + 1];
        formatDayDigits(digits, row.chosen);
        CHECK(std::wstring(digits) == row.digits);
    }
}

TEST_CASE("digits are shown as the days' names, joined by commas")
{
    StartedPhone phone;
    CHECK(dayNames(L"") == L"");
    CHECK(dayNames(L"3") == L"We");
    CHECK(dayNames(L"1234567") == L"Mo,Tu,We,Th,Fr,Sa,Su");
    CHECK(dayNames(L"71") == L"Su,Mo");
    CHECK(dayNames(L"0189 x2") == L"Mo,Tu");
    userSettings.lang = german;
    CHECK(dayNames(L"1234567") == L"Mo,Di,Mi,Do,Fr,Sa,So");
}

TEST_CASE("names of days that do not fit are cut")
{
    StartedPhone phone;
    CHECK(dayNames(std::wstring(170, L'1').c_str()).size() == 509);   // 170 names and the commas between them
    CHECK(dayNames(std::wstring(171, L'1').c_str()).size() == 511);
    CHECK(dayNames(std::wstring(1298, L'1').c_str()).size() == 511);
    phone.writeLanguageFile(L"DE", {L"Test", L"141=" + std::wstring(250, L'm')});
    userSettings.lang = german;
    CHECK(dayNames(L"11") == std::wstring(250, L'm') + L"," + std::wstring(250, L'm'));
    CHECK(dayNames(L"111111").size() == 511);
}

// ---- Writing ------------------------------------------------------------------------------------------------------------

TEST_CASE("entries are written one behind the other")
{
    HeapSchedule schedule;
    CHECK(std::wstring(schedule.text->text) == L"");
    CHECK(schedule.text->add(2, L"12345", L"07:30"));
    CHECK(schedule.text->add(4, L"<Busy>", L""));
    CHECK(schedule.text->add(0, L"", L""));
    CHECK(std::wstring(schedule.text->text) == L"2,12345,07:30\u00A74,<Busy>,\u00A70,,\u00A7");
    CHECK(schedule.text->length == 28);
}

TEST_CASE("entries are taken while the text is shorter than 1220 characters")
{
    for (int length : {1219, 1220, 1221}) {
        HeapSchedule schedule;
        CHECK(schedule.text->add(1, std::wstring(length - 4, L'x').c_str(), L""));
        CHECK(static_cast<int>(schedule.text->length) == length);
        INFO("characters: " << length);
        CHECK(schedule.text->add(2, L"3", L"10:00") == (length < 1220));
        const std::wstring written = schedule.text->text;
        CHECK(static_cast<int>(written.size()) == (length < 1220 ? length + 10 : length));
        CHECK(written.back() == L'\u00A7');
    }
}

TEST_CASE("the longest possible entry fits behind the longest text that takes one, and longer fields are cut")
{
    HeapSchedule schedule;
    const std::wstring field(1298, L'w'), longer(1299, L'w');
    CHECK(schedule.text->add(1, std::wstring(1215, L'x').c_str(), L""));
    CHECK(schedule.text->length == 1219);
    CHECK(schedule.text->add(6, longer.c_str(), longer.c_str()));
    CHECK(schedule.text->length == 1219 + 2600);
    const std::wstring expected = L"6," + field + L"," + field + L"\u00A7";
    CHECK(std::wstring(schedule.text->text + 1219) == expected);
    CHECK_FALSE(schedule.text->add(1, L"1", L"07:00"));
}

TEST_CASE("timeData is written with its terminator, also when it is empty")
{
    StartedPhone phone;
    removeKey(kelvaneKey);
    CHECK(writeSchedule(L"2,1,07:30\u00A7") == 0);
    CHECK(storedValue(L"timeData").type == REG_SZ);
    CHECK(storedValue(L"timeData").bytes.size() == 22);
    CHECK(storedText(L"timeData") == L"2,1,07:30\u00A7");
    CHECK(writeSchedule(L"") == 0);
    CHECK(storedValue(L"timeData").bytes.size() == 2);
}

TEST_CASE("a schedule that cannot be written leaves the stored one")
{
    StartedPhone phone;
    storeText(L"timeData", L"2,1,07:30\u00A7");
    for (const wchar_t *operation : {L"create:*", L"write:timeData"}) {
        SimOrderFault(L"registry", 0, operation, FALSE);
        CHECK(writeSchedule(L"") != 0);
        SimClearFaults();
        CHECK(storedText(L"timeData") == L"2,1,07:30\u00A7");
    }
}

// ---- What follows ---------------------------------------------------------------------------------------------------------

TEST_CASE("resetting leaves no profile and no switching by appointments")
{
    StartedPhone phone;
    userSettings.activeSyncProfile = 3;
    userSettings.ACPowerProfile = 4;
    userSettings.outlookCheck = 1;
    resetScheduleSettings();
    CHECK(userSettings.activeSyncProfile == none);
    CHECK(userSettings.ACPowerProfile == none);
    CHECK(userSettings.outlookCheck == 0);
}

TEST_CASE("events of appointments are categories and the states of an appointment, and leaving a place")
{
    struct Row {
        const wchar_t *name;
        bool isAppointment;
    };
    constexpr Row rows[] = {
        {L"<ActiveSync>", false},
        {L"<Power-no ActiveSync>", false},
        {L"<Busy>", true},
        {L"<Out of Office>", true},
        {L"Holiday", true},
        {L"[Home]", false},
        {L"<other>", false},
        {L"Leave [Home]", true},
        {L"[x <Busy>]", true},
        {L"<x <Out of Office>", true},
        {L"", true},
    };
    StartedPhone phone;
    for (const Row &row : rows) {
        INFO("event " << narrow(row.name));
        CHECK(isAppointmentEvent(row.name) == row.isAppointment);
    }
}

TEST_CASE("the profile of an event is the number two characters in front of its name")
{
    struct Row {
        const wchar_t *text;
        DWORD activeSync, power;
    };
    constexpr Row rows[] = {
        {L"", 77, 78},
        {L"2,12345,07:30\u00A7", 77, 78},
        {L"3,<ActiveSync>,\u00A7", 3, 78},
        {L"5,<Power-no ActiveSync>,\u00A7", 77, 5},
        {L"0,<Power-no ActiveSync>,\u00A76,<ActiveSync>,\u00A7", 6, 0},
        {L"1,<ActiveSync>,\u00A72,<ActiveSync>,\u00A7", 1, 78},
        {L"<ActiveSync>", 77, 78},
        {L",<ActiveSync>", 77, 78},
        {L"1,[<ActiveSync>],\u00A7", 0, 78},                        // inside the name of a place
        {L"1,[<ActiveSync>],\u00A72,<ActiveSync>,\u00A7", 0, 78},   // and before the event itself
        {L"2,<ActiveSync>,\u00A71,[<ActiveSync>],\u00A7", 2, 78},
    };
    StartedPhone phone;
    for (const Row &row : rows) {
        userSettings.activeSyncProfile = 77;
        userSettings.ACPowerProfile = 78;
        takeProfilesFrom(row.text);
        INFO("text " << narrow(row.text));
        CHECK(userSettings.activeSyncProfile == row.activeSync);
        CHECK(userSettings.ACPowerProfile == row.power);
    }
}

TEST_CASE("events are known by their translated names and by the English ones")
{
    StartedPhone phone;
    phone.writeLanguageFile(L"DE", {L"Test", L"199=<Besetzt>", L"200=<Weg>", L"201=<Abgleich>", L"202=<Strom>"});
    userSettings.lang = german;
    takeProfilesFrom(L"3,<Abgleich>,\u00A74,<Strom>,\u00A7");
    CHECK(userSettings.activeSyncProfile == 3);
    CHECK(userSettings.ACPowerProfile == 4);
    takeProfilesFrom(L"5,<ActiveSync>,\u00A76,<Power-no ActiveSync>,\u00A7");
    CHECK(userSettings.activeSyncProfile == 5);
    CHECK(userSettings.ACPowerProfile == 6);
    takeProfilesFrom(L"1,<ActiveSync>,\u00A72,<Abgleich>,\u00A73,<Strom>,\u00A74,<Power-no ActiveSync>,\u00A7");
    CHECK(userSettings.activeSyncProfile == 1);   // the first, whatever its language
    CHECK(userSettings.ACPowerProfile == 3);
    for (const wchar_t *name : {L"<Besetzt>", L"<Weg>", L"<Busy>", L"<Out of Office>"})
        CHECK(isAppointmentEvent(name));
    for (const wchar_t *name : {L"<Abgleich>", L"<Strom>", L"<ActiveSync>"})
        CHECK_FALSE(isAppointmentEvent(name));
}
