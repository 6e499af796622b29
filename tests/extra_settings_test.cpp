#include "extra_settings.h"

#include <cstring>
#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "environment.h"
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

ExtraSettings &record = extraSettings;

const Row rows[] = {
    {L"billActive", number, &record.billActive, 4, true},
    {L"monthlyLog", number, &record.monthlyLog, 4, true},
    {L"smsCost", number, &record.smsCost, 4, true},
    {L"smsCostIn", number, &record.smsCostIn, 4, true},
    {L"smsCount", number, &record.smsCount, 4, true},
    {L"smsFolderCount", number, &record.smsFolderCount, 4, false},
    {L"smsFree", number, &record.smsFree, 4, true},
    {L"smsNextReset", number, &record.smsNextReset, 4, true},
    {L"monthlyFixCost", number, &record.monthlyFixCost, 4, true},
    {L"monthlyCredit", number, &record.monthlyCredit, 4, true},
    {L"minBillUnit", number, &record.minBillUnit, 4, true},
    {L"mmsCount", number, &record.mmsCount, 4, true},
    {L"mmsFolderCount", number, &record.mmsFolderCount, 4, false},
    {L"mmsCost", number, &record.mmsCost, 4, true},
    {L"gprsIn", number, &record.gprsIn, 4, true},
    {L"gprsOut", number, &record.gprsOut, 4, true},
    {L"gprsInDaily", number, &record.gprsInDaily, 4, true},
    {L"gprsOutDaily", number, &record.gprsOutDaily, 4, true},
    {L"ThisDay", number, &record.ThisDay, 4, true},
    {L"peakActive", number, &record.peakActive, 4, true},
    {L"peakStart", number, &record.peakStart, 4, true},
    {L"peakEnd", number, &record.peakEnd, 4, true},
    {L"peakDays", number, &record.peakDays, 4, true},
    {L"freeTotal", number, &record.freeTotal, 4, true},
    {L"freeIntern", number, &record.freeIntern, 4, true},
    {L"freePeak", number, &record.freePeak, 4, true},
    {L"freeOffpeak", number, &record.freeOffpeak, 4, true},
    {L"voiceCost", number, &record.voiceCost, 4, true},
    {L"offPeakCost", number, &record.offPeakCost, 4, true},
    {L"peakCost", number, &record.peakCost, 4, true},
    {L"incomingCost", number, &record.incomingCost, 4, true},
    {L"minCost", number, &record.minCost, 4, true},
    {L"fixCost", number, &record.fixCost, 4, true},
    {L"dailyCostLimit", number, &record.dailyCostLimit, 4, true},
    {L"monthlyCostLimit", number, &record.monthlyCostLimit, 4, true},
    {L"GPRSTraffic", number, &record.GPRSTraffic, 4, true},
    {L"GPRSMonCost", number, &record.GPRSMonCost, 4, true},
    {L"GPRSCostKB", number, &record.GPRSCostKB, 4, true},
    {L"GPRSCostOffKB", number, &record.GPRSCostOffKB, 4, true},
    {L"GPRSMonVol", number, &record.GPRSMonVol, 4, true},
    {L"GPRSDayLimit", number, &record.GPRSDayLimit, 4, true},
    {L"GPRSMonLimit", number, &record.GPRSMonLimit, 4, true},
    {L"GPRSPacketSize", number, &record.GPRSPacketSize, 4, true},
    {L"cleanupLog", number, &record.cleanupLog, 4, true},
    {L"logCostData", number, &record.logCostData, 4, true},
    {L"rotatorText", number, &record.rotatorText, 4, true},
    {L"rotatorType", number, &record.rotatorType, 4, true},
    {L"rotatorFreq", number, &record.rotatorFreq, 4, true},
    {L"rotatorSpeed", number, &record.rotatorSpeed, 4, true},
    {L"standbyHours", number, &record.standbyHours, 4, true},
    {L"callHours", number, &record.callHours, 4, true},
    {L"disableLED", number, &record.disableLED, 4, true},
    {L"gprsOnEmail", number, &record.gprsOnEmail, 4, true},
    {L"smsSendNotify", number, &record.smsSendNotify, 4, true},
    {L"smsRecieveNotify", number, &record.smsRecieveNotify, 4, true},
    {L"GPRS", number, &record.GPRS, 4, true},
    {L"GPRS_Disc", number, &record.GPRS_Disc, 4, true},
    {L"GPRS_Time", number, &record.GPRS_Time, 4, true},
    {L"GPRS_Auto", number, &record.GPRS_Auto, 4, true},
    {L"GPRS_No", number, &record.GPRS_No, 4, true},
    {L"GPRS_AutoOff", number, &record.GPRS_AutoOff, 4, true},
    {L"VoiceCommand", number, &record.VoiceCommand, 4, true},
    {L"locationService", number, &record.locationService, 4, true},
    {L"locRIL", number, &record.locRIL, 4, true},
    {L"locRILDll", number, &record.locRILDll, 4, true},
    {L"locSIM", number, &record.locSIM, 4, true},
    {L"locCB", number, &record.locCB, 4, true},
    {L"KillCBPopup", number, &record.KillCBPopup, 4, true},
    {L"locWLAN", number, &record.locWLAN, 4, true},
    {L"locGPS", number, &record.locGPS, 4, true},
    {L"locPort", number, &record.locPort, 4, true},
    {L"locRange", number, &record.locRange, 4, true},
    {L"locWakeToCheck", number, &record.locWakeToCheck, 4, true},
    {L"locWakeEvery", number, &record.locWakeEvery, 4, true},
    {L"locWakeFor", number, &record.locWakeFor, 4, true},
    {L"locWakeWhen", number, &record.locWakeWhen, 4, true},
    {L"locWakeStart", number, &record.locWakeStart, 4, true},
    {L"locWakeEnd", number, &record.locWakeEnd, 4, true},
    {L"quickMute", number, &record.quickMute, 4, true},
    {L"quickMuteKey", number, &record.quickMuteKey, 4, true},
    {L"quickMuteTime", number, &record.quickMuteTime, 4, true},
    {L"oneClickAlarm", number, &record.oneClickAlarm, 4, true},
    {L"forwardingActive", number, &record.forwardingActive, 4, false},
    {L"forwardCall", SettingKind::optionalText, &record.forwardCall, 200, true},
    {L"forwardCall2", SettingKind::optionalText, &record.forwardCall2, 200, true},
    {L"forwardCall3", SettingKind::optionalText, &record.forwardCall3, 200, true},
    {L"forwardCall4", SettingKind::optionalText, &record.forwardCall4, 200, true},
    {L"forwardFix", number, &record.forwardFix, 4, true},
    {L"forwardPrefix", text, record.forwardPrefix, 40, true},
    {L"forwardSuffix", text, record.forwardSuffix, 40, true},
    {L"forwardEnd", text, record.forwardEnd, 40, true},
    {L"smsForwardExcept", text, record.smsForwardExcept, 40, true},
    {L"smsForwardExcept2", text, record.smsForwardExcept2, 40, true},
};

constexpr size_t rowCount = sizeof rows / sizeof *rows;

constexpr char loadFailed[] = "** Exception getExtraSettings **";
constexpr char saveFailed[] = "** Exception saveExtraSettings **";

constexpr WORD today = 5;   // the day of the month on the tests' phones

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
    return row.kind == SettingKind::optionalText;
}

const Row &rowNamed(const std::wstring &name)
{
    for (const Row &row : rows)
        if (name == row.name)
            return row;
    FAIL("no such row");
    return rows[0];
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

// The day is today's in both, or loading would reset the counters; tests of their own look at that.
DWORD newNumber(const Row &row)
{
    return row.field == &record.ThisDay ? today : 0x10 + indexOf(row);
}

DWORD oldNumber(const Row &row)
{
    return row.field == &record.ThisDay ? today : 0x5A000000 + indexOf(row);
}

std::wstring newText(const Row &row)
{
    return std::wstring(L"n ") + row.name;
}

std::wstring oldText(const Row &row)
{
    return std::wstring(L"o ") + row.name;
}

void makeRecordOld()
{
    for (const Row &row : rows) {
        if (isNumber(row))
            numberOf(row) = oldNumber(row);
        else
            setContent(row, oldText(row));
    }
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

void checkUntouched(const Row &row)
{
    CAPTURE(narrow(row.name));
    if (isNumber(row))
        CHECK(numberOf(row) == oldNumber(row));
    else
        CHECK(narrow(contentOf(row)) == narrow(oldText(row)));
}

// What a value that cannot be read leaves behind in the record of makeRecordOld.
void checkNotRead(const Row &row)
{
    CAPTURE(narrow(row.name));
    if (isHeapText(row))
        CHECK(narrow(contentOf(row)) == narrow(nothingHeld));
    else
        checkUntouched(row);
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
    freeExtraSettings();
    record = ExtraSettings{};
    isOsVersion5 = 0;
}

void setDay(WORD day, WORD month = 3)
{
    const SYSTEMTIME now = {2008, month, 3, day, 14, 5, 9, 0};
    SimSetClock(&now);
}

// A phone the program starts on for the first time: none of its own values are there yet.
struct NewPhone : TestPhone {
    NewPhone()
    {
        forgetRecord();
        removeKey(kelvaneKey);
        setDay(today);
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

void loadOnce()
{
    getExtraSettings();
    SimClearFaults();
}

void saveOnce()
{
    saveExtraSettings();
    SimClearFaults();
}

}   // namespace

// ---- The table ---------------------------------------------------------------------------------------------------------

TEST_CASE(
    "the table has every billing value the engine knows, in its order, with its limits, fields and ways of saving")
{
    REQUIRE(rowCount == 93);
    REQUIRE(extraSettingCount == 93);
    for (size_t index = 0; index < rowCount; ++index) {
        const Row &expected = rows[index];
        const SettingRow &row = extraSettingRows[index];
        CAPTURE(narrow(expected.name));
        CHECK(narrow(row.name) == narrow(expected.name));
        CHECK(row.kind == expected.kind);
        CHECK(reinterpret_cast<BYTE *>(&extraSettings) + row.offset == expected.field);
        CHECK(row.limit == expected.limit);
        CHECK(row.saved == expected.saved);
    }
}

TEST_CASE("a fixed text's field holds 19 characters and their terminator")
{
    CHECK(sizeof record.forwardPrefix == 40);
    CHECK(sizeof record.forwardSuffix == 40);
    CHECK(sizeof record.forwardEnd == 40);
    CHECK(sizeof record.smsForwardExcept == 40);
    CHECK(sizeof record.smsForwardExcept2 == 40);
    for (const SettingRow &row : extraSettingRows)
        if (row.kind == text)
            CHECK(row.capacity == 20);
}

// ---- Starting values ---------------------------------------------------------------------------------------------------

TEST_CASE("without any stored value the record is empty but for today's day")
{
    NewPhone phone;
    makeKey(kelvaneKey);
    getExtraSettings();
    for (const Row &row : rows) {
        CAPTURE(narrow(row.name));
        if (row.field == &record.ThisDay)
            CHECK(numberOf(row) == 5);
        else if (isNumber(row))
            CHECK(numberOf(row) == 0);
        else if (isHeapText(row))
            CHECK(narrow(contentOf(row)) == narrow(nothingHeld));
        else
            CHECK(narrow(contentOf(row)) == "");
    }
    CHECK(record.rotatorCount == 0);
}

TEST_CASE("without the program's key, or when it does not open, the record is left alone and no key is made")
{
    NewPhone phone;
    makeRecordOld();
    record.ThisDay = 31;
    record.rotatorCount = 99;
    getExtraSettings();
    CHECK(!keyExists(kelvaneKey));
    CHECK(record.ThisDay == 31);
    CHECK(record.rotatorCount == 99);

    for (const Row &row : rows)
        storeNew(row);
    orderFailure(L"open:Software\\Tessaryn\\Kelvane");
    loadOnce();
    CHECK(record.ThisDay == 31);
    CHECK(record.rotatorCount == 99);
    record.ThisDay = today;
    for (const Row &row : rows)
        checkUntouched(row);
    CHECK(phone.log().empty());
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("a value that is missing when settings are loaded again keeps what the record had, a forwarding number goes")
{
    NewPhone phone;
    makeKey(kelvaneKey);
    makeRecordOld();
    getExtraSettings();
    for (const Row &row : rows)
        checkNotRead(row);
}

// ---- Reading -----------------------------------------------------------------------------------------------------------

TEST_CASE("every billing value is read into its own field")
{
    UsedPhone phone;
    const std::string before = dumpKey(kelvaneKey);
    makeRecordOld();
    getExtraSettings();
    for (const Row &row : rows)
        checkLoaded(row);
    CHECK(dumpKey(kelvaneKey) == before);
    CHECK(phone.log().empty());
}

TEST_CASE("numbers are read with all their bits")
{
    NewPhone phone;
    for (const DWORD pattern : {0u, 1u, 2u, 9999999u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        CAPTURE(pattern);
        for (const Row &row : rows)
            if (isNumber(row) && row.field != &record.ThisDay)
                storeNumber(row.name, pattern);
        makeRecordOld();
        getExtraSettings();
        for (const Row &row : rows) {
            CAPTURE(narrow(row.name));
            if (isNumber(row) && row.field != &record.ThisDay)
                CHECK(numberOf(row) == pattern);
        }
    }
}

TEST_CASE("a number of another type or size is not read")
{
    NewPhone phone;
    for (const NumberForm &form : numberForms) {
        CAPTURE(form.what);
        for (const Row &row : rows)
            if (isNumber(row))
                storeNumberForm(row.name, form);
        makeRecordOld();
        getExtraSettings();
        for (const Row &row : rows)
            if (isNumber(row))
                checkNotRead(row);
    }
}

TEST_CASE("texts are read up to their limit, always terminated, and not at all when they are longer")
{
    NewPhone phone;
    const int formCount = static_cast<int>(storedForms(40).size());
    for (int index = 0; index < formCount; ++index) {
        makeRecordOld();
        for (const Row &row : rows)
            if (!isNumber(row))
                storeForm(row.name, storedForms(row.limit)[index]);
        getExtraSettings();
        for (const Row &row : rows) {
            if (isNumber(row))
                continue;
            const StoredForm form = storedForms(row.limit)[index];
            CAPTURE(form.what);
            CAPTURE(narrow(row.name));
            if (form.read < 0)
                checkNotRead(row);
            else if (form.read == 0 && isHeapText(row))
                CHECK(narrow(contentOf(row)) == narrow(nothingHeld));
            else
                CHECK(narrow(contentOf(row)) == narrow(textOfLength(row.name, static_cast<size_t>(form.read))));
        }
    }
}

TEST_CASE("the fields beside a text of the greatest length stay as they are")
{
    NewPhone phone;
    for (const Row &row : rows) {
        if (isNumber(row))
            continue;
        CAPTURE(narrow(row.name));
        makeRecordOld();
        storeForm(row.name, {"", REG_SZ, row.limit / 2, row.limit, 0});
        getExtraSettings();
        for (const Row &other : rows)
            if (&other != &row)
                checkNotRead(other);
        removeValue(row.name);
    }
}

// ---- The daily reset ---------------------------------------------------------------------------------------------------

namespace {

// Counters of a day and of all time, as the engine has left them.
void storeCounters(DWORD day)
{
    storeNumber(L"gprsIn", 1000);
    storeNumber(L"gprsOut", 2000);
    storeNumber(L"gprsInDaily", 300);
    storeNumber(L"gprsOutDaily", 400);
    storeNumber(L"ThisDay", day);
}

void checkCounters(DWORD day, DWORD in, DWORD out)
{
    CHECK(record.ThisDay == day);
    CHECK(record.gprsInDaily == in);
    CHECK(record.gprsOutDaily == out);
    CHECK(storedNumber(L"ThisDay") == day);
    CHECK(storedNumber(L"gprsInDaily") == in);
    CHECK(storedNumber(L"gprsOutDaily") == out);
    CHECK(record.gprsIn == 1000);
    CHECK(record.gprsOut == 2000);
    CHECK(storedNumber(L"gprsIn") == 1000);
    CHECK(storedNumber(L"gprsOut") == 2000);
}

}   // namespace

TEST_CASE("the first load of a day puts the daily data counters back to 0 at once, the next one leaves them")
{
    NewPhone phone;
    storeCounters(4);
    getExtraSettings();
    checkCounters(5, 0, 0);

    storeNumber(L"gprsInDaily", 7);
    storeNumber(L"gprsOutDaily", 8);
    getExtraSettings();
    checkCounters(5, 7, 8);

    setDay(6);
    getExtraSettings();
    checkCounters(6, 0, 0);
}

TEST_CASE("only the day of the month counts")
{
    NewPhone phone;
    setDay(5, 4);
    storeCounters(5);
    getExtraSettings();
    checkCounters(5, 300, 400);   // a month later

    struct {
        WORD day;
        DWORD last;
    } const others[] = {{1, 31}, {31, 1}, {31, 30}, {1, 0}, {1, 0xFFFFFFFF}, {1, 0x10001}, {29, 28}};
    for (const auto &each : others) {
        CAPTURE(each.day);
        CAPTURE(each.last);
        setDay(each.day);
        storeCounters(each.last);
        getExtraSettings();
        checkCounters(each.day, 0, 0);
    }
}

TEST_CASE("a phone that never reset its counters does so at the first load")
{
    NewPhone phone;
    storeCounters(0);
    removeValue(L"ThisDay");
    getExtraSettings();
    checkCounters(5, 0, 0);
}

TEST_CASE("a reset writes nothing but the day and the two counters")
{
    UsedPhone phone;
    storeNumber(L"ThisDay", 4);
    getExtraSettings();
    for (const Row &row : rows) {
        const bool reset =
            row.field == &record.ThisDay || row.field == &record.gprsInDaily || row.field == &record.gprsOutDaily;
        if (!reset) {
            checkLoaded(row);
            checkStored(row, true);
        }
    }
}

TEST_CASE("a reset that cannot be written counts all the same, each value for itself")
{
    for (const wchar_t *failing : {L"ThisDay", L"gprsInDaily", L"gprsOutDaily"}) {
        CAPTURE(narrow(failing));
        UsedPhone phone;
        storeCounters(4);
        orderFailure(std::wstring(L"write:") + failing);
        loadOnce();
        CHECK(record.ThisDay == 5);
        CHECK(record.gprsInDaily == 0);
        CHECK(record.gprsOutDaily == 0);
        CHECK(storedNumber(L"ThisDay") == (wcscmp(failing, L"ThisDay") == 0 ? 4u : 5u));
        CHECK(storedNumber(L"gprsInDaily") == (wcscmp(failing, L"gprsInDaily") == 0 ? 300u : 0u));
        CHECK(storedNumber(L"gprsOutDaily") == (wcscmp(failing, L"gprsOutDaily") == 0 ? 400u : 0u));
        CHECK(narrow(record.smsForwardExcept2) == "n smsForwardExcept2");
        CHECK(phone.log().empty());
    }
}

TEST_CASE("a reset comes after the data counters are read and before anything else is, day first")
{
    struct {
        const wchar_t *call;
        bool dayStored, inStored, outStored, reached;
    } const steps[] = {
        {L"read:ThisDay", false, false, false, false},     {L"write:ThisDay", false, false, false, false},
        {L"write:gprsInDaily", true, false, false, false}, {L"write:gprsOutDaily", true, true, false, false},
        {L"read:peakActive", true, true, true, false},     {L"read:peakStart", true, true, true, true},
    };
    for (const auto &step : steps) {
        CAPTURE(narrow(step.call));
        UsedPhone phone;
        storeCounters(4);
        orderException(step.call);
        loadOnce();
        CHECK(storedNumber(L"ThisDay") == (step.dayStored ? 5u : 4u));
        CHECK(storedNumber(L"gprsInDaily") == (step.inStored ? 0u : 300u));
        CHECK(storedNumber(L"gprsOutDaily") == (step.outStored ? 0u : 400u));
        CHECK(record.peakActive == (step.reached ? newNumber(rowNamed(L"peakActive")) : 0));
        CHECK(phone.log() == std::vector<std::string>{loadFailed});
        CHECK(phone.keysLeftOpen() == 0);
    }
}

// ---- The rotator -------------------------------------------------------------------------------------------------------

TEST_CASE("the rotator's items are counted without 0x20 and without bits that are no items")
{
    struct {
        DWORD mask, count;
    } const cases[] = {
        {0, 0},    {0x1, 1},     {0x2, 1},     {0x4, 1},    {0x8, 1},        {0x10, 1},        {0x20, 0},
        {0x40, 1}, {0x80, 1},    {0x100, 1},   {0x200, 1},  {0x400, 1},      {0x800, 1},       {0x1000, 1},
        {0x3F, 5}, {0x1FFF, 12}, {0x1FDF, 12}, {0x2000, 0}, {0x80000000, 0}, {0xFFFFFFFF, 12}, {0x1001, 2},
    };
    NewPhone phone;
    for (const auto &each : cases) {
        CAPTURE(each.mask);
        record.rotatorCount = 77;
        storeNumber(L"rotatorText", each.mask);
        getExtraSettings();
        CHECK(record.rotatorCount == each.count);
        CHECK(record.rotatorText == each.mask);
    }
}

TEST_CASE("the count of the rotator's items is not stored and follows what the record holds when none is stored")
{
    NewPhone phone;
    makeKey(kelvaneKey);
    record.rotatorText = 0x7;
    getExtraSettings();
    CHECK(record.rotatorCount == 3);
    saveExtraSettings();
    CHECK(!storedValue(L"rotatorCount").present);
}

// ---- Forwarding --------------------------------------------------------------------------------------------------------

TEST_CASE("an empty forwarding number counts as none and is written back empty")
{
    NewPhone phone;
    const wchar_t *const names[] = {L"forwardCall", L"forwardCall2", L"forwardCall3", L"forwardCall4"};
    for (const wchar_t *name : names) {
        storeText(name, L"");
        setContent(rowNamed(name), L"old");
    }
    getExtraSettings();
    CHECK(record.forwardCall == nullptr);
    CHECK(record.forwardCall2 == nullptr);
    CHECK(record.forwardCall3 == nullptr);
    CHECK(record.forwardCall4 == nullptr);
    for (const wchar_t *name : names)
        removeValue(name);
    saveExtraSettings();
    for (const wchar_t *name : names) {
        CHECK(storedValue(name).type == REG_SZ);
        CHECK(storedValue(name).bytes == std::vector<BYTE>{0, 0});
    }
}

TEST_CASE("a forwarding text that is too long or of another type counts as absent and is saved empty")
{
    NewPhone phone;
    makeKey(kelvaneKey);
    const int formCount = static_cast<int>(storedForms(40).size());
    int refused = 0;
    for (int index = 0; index < formCount; ++index) {
        forgetRecord();
        for (const Row &row : rows)
            if (!isNumber(row))
                storeForm(row.name, storedForms(row.limit)[index]);
        getExtraSettings();
        saveExtraSettings();
        if (storedForms(40)[index].read >= 0)
            continue;
        ++refused;
        for (const Row &row : rows) {
            if (isNumber(row))
                continue;
            CAPTURE(storedForms(40)[index].what);
            CAPTURE(narrow(row.name));
            CHECK(storedValue(row.name).type == REG_SZ);
            CHECK(storedValue(row.name).bytes == std::vector<BYTE>{0, 0});
        }
    }
    CHECK(refused == 7);
}

TEST_CASE("a forwarding number is replaced at every load")
{
    NewPhone phone;
    storeText(L"forwardCall", L"+15550101");
    getExtraSettings();
    CHECK(narrow(contentOf(rowNamed(L"forwardCall"))) == "+15550101");
    storeText(L"forwardCall", L"+15550102");
    getExtraSettings();
    CHECK(narrow(contentOf(rowNamed(L"forwardCall"))) == "+15550102");
    removeValue(L"forwardCall");
    getExtraSettings();
    CHECK(record.forwardCall == nullptr);
}

TEST_CASE("freeing the record releases its forwarding numbers and can be repeated")
{
    NewPhone phone;
    const int before = SimLiveAllocations();
    for (const wchar_t *name : {L"forwardCall", L"forwardCall2", L"forwardCall3", L"forwardCall4"})
        setContent(rowNamed(name), L"1");
    const int held = SimLiveAllocations();
    freeExtraSettings();
    freeExtraSettings();
    const int after = SimLiveAllocations();
    CHECK(held == before + 4);
    CHECK(after == before);
    CHECK(record.forwardCall == nullptr);
    CHECK(record.forwardCall2 == nullptr);
    CHECK(record.forwardCall3 == nullptr);
    CHECK(record.forwardCall4 == nullptr);
}

// ---- Writing -----------------------------------------------------------------------------------------------------------

namespace {

void checkStoredNumber(const Row &row, DWORD expected)
{
    const StoredValue value = storedValue(row.name);
    CHECK(value.type == REG_DWORD);
    std::vector<BYTE> bytes(4);
    memcpy(bytes.data(), &expected, 4);
    CHECK(value.bytes == bytes);
}

void checkStoredText(const Row &row, const std::wstring &expected)
{
    const StoredValue value = storedValue(row.name);
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
    saveExtraSettings();
    for (const Row &row : rows) {
        CAPTURE(narrow(row.name));
        CHECK(storedValue(row.name).present == row.saved);
        if (!row.saved)
            continue;
        if (isNumber(row))
            checkStoredNumber(row, content);
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
    checkSaving(0xFFFFFFFF, false, 18);
}

TEST_CASE("a forwarding number beyond what is read of it is saved whole")
{
    NewPhone phone;
    for (const Row &row : rows)
        if (isHeapText(row))
            setContent(row, textOfLength(row.name, 1500));
    saveExtraSettings();
    for (const Row &row : rows)
        if (isHeapText(row))
            checkStoredText(row, textOfLength(row.name, 1500));
}

TEST_CASE("saving replaces values of another type")
{
    NewPhone phone;
    for (const Row &row : rows)
        storeBytes(row.name, REG_BINARY, "nine byte", 9);
    makeRecordNew();
    saveExtraSettings();
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

TEST_CASE("the engine's own counts and its forwarding state are never written")
{
    NewPhone phone;
    storeNumber(L"smsFolderCount", 1);
    storeNumber(L"mmsFolderCount", 2);
    storeNumber(L"forwardingActive", 3);
    makeRecordNew();
    saveExtraSettings();
    CHECK(storedNumber(L"smsFolderCount") == 1);
    CHECK(storedNumber(L"mmsFolderCount") == 2);
    CHECK(storedNumber(L"forwardingActive") == 3);
}

TEST_CASE("values of others under the program's key stay")
{
    NewPhone phone;
    storeNumber(L"appWindow", 0x1234);
    storeText(L"costData", L"1,2\x00A7");
    storeText(L"skinName", L"Blue");
    storeNumber(L"0", 60, L"Software\\Tessaryn\\Kelvane\\0");
    saveExtraSettings();
    CHECK(storedNumber(L"appWindow") == 0x1234);
    CHECK(storedText(L"costData") == L"1,2\x00A7");
    CHECK(storedText(L"skinName") == L"Blue");
    CHECK(storedNumber(L"0", L"Software\\Tessaryn\\Kelvane\\0") == 60);
}

TEST_CASE("a billing record saved on a new phone makes exactly this key")
{
    NewPhone phone;
    makeRecordNew();
    record.dailyCostLimit = 0xFFFFFFFF;
    record.smsFree = 9999999;
    saveExtraSettings();
    CHECK(dumpKey(kelvaneKey) == goldenFile("extra_settings.txt"));
}

TEST_CASE("a billing record of a first start, saved, makes exactly this key")
{
    NewPhone phone;
    makeKey(kelvaneKey);
    getExtraSettings();
    saveExtraSettings();
    CHECK(dumpKey(kelvaneKey) == goldenFile("extra_settings_first_start.txt"));
}

TEST_CASE("loading and saving lose nothing")
{
    NewPhone phone;
    for (const Row &row : rows) {
        if (row.field == &record.ThisDay)
            storeNumber(row.name, today);
        else if (isNumber(row))
            storeNumber(row.name, 0x89ABCD00 + indexOf(row));
        else
            storeText(row.name, textOfLength(row.name, row.limit / 2 - 1));
    }
    const std::string before = dumpKey(kelvaneKey);
    getExtraSettings();
    saveExtraSettings();
    CHECK(dumpKey(kelvaneKey) == before);
}

// ---- Flushing ----------------------------------------------------------------------------------------------------------

TEST_CASE("saving flushes on systems from version 5 on, after everything is written and before closing")
{
    NewPhone phone;
    isOsVersion5 = 1;
    makeRecordNew();
    orderException(L"flush:Software\\Tessaryn\\Kelvane");
    saveOnce();
    for (const Row &row : rows)
        if (row.saved)
            checkStored(row, true);
    CHECK(phone.log() == std::vector<std::string>{saveFailed});
    CHECK(phone.keysLeftOpen() == 0);

    orderFailure(L"flush:*");
    saveOnce();
    CHECK(phone.log().size() == 1);
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("saving does not flush on older systems")
{
    NewPhone phone;
    isOsVersion5 = 0;
    orderException(L"flush:*");
    saveOnce();
    CHECK(storedValue(L"smsForwardExcept2").present);
    CHECK(phone.log().empty());
}

// ---- Failures of single values -----------------------------------------------------------------------------------------

TEST_CASE("saving writes nothing when the key cannot be made")
{
    NewPhone phone;
    makeRecordNew();
    orderFailure(L"create:Software\\Tessaryn\\Kelvane");
    saveOnce();
    CHECK(!keyExists(kelvaneKey));
    CHECK(phone.log().empty());
}

TEST_CASE("a value that fails to be read keeps its field and costs no other")
{
    UsedPhone phone;
    for (const Row &failing : rows) {
        CAPTURE(narrow(failing.name));
        makeRecordOld();
        orderFailure(std::wstring(L"read:") + failing.name);
        loadOnce();
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
        saveOnce();
        for (const Row &row : rows)
            checkStored(row, row.saved && &row != &failing);
    }
    CHECK(phone.log().empty());
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("nothing can be read or written: the record and the registry stay, the program goes on")
{
    UsedPhone phone;
    const std::string before = dumpKey(kelvaneKey);
    makeRecordOld();
    orderFailure(L"read:*");
    loadOnce();
    for (const Row &row : rows)
        checkNotRead(row);
    orderFailure(L"write:*");
    saveOnce();
    CHECK(dumpKey(kelvaneKey) == before);
    CHECK(phone.log().empty());
    CHECK(phone.keysLeftOpen() == 0);
}

// ---- Exceptions --------------------------------------------------------------------------------------------------------

TEST_CASE("values are read in their order: an exception at any is logged, ends the load there and leaves no key open")
{
    UsedPhone phone;
    for (const Row &failing : rows) {
        CAPTURE(narrow(failing.name));
        makeRecordOld();
        orderException(std::wstring(L"read:") + failing.name);
        loadOnce();
        for (const Row &row : rows) {
            if (&row < &failing)
                checkLoaded(row);
            else if (&row == &failing)
                checkNotRead(row);
            else
                checkUntouched(row);
        }
        CHECK(phone.keysLeftOpen() == 0);
    }
    CHECK(phone.log() == std::vector<std::string>(rowCount, loadFailed));
}

TEST_CASE(
    "all numbers are written in their order, then the texts: an exception at any is logged and ends the save there")
{
    std::vector<const Row *> order;
    for (const Row &row : rows)
        if (row.saved && isNumber(row))
            order.push_back(&row);
    for (const wchar_t *name : {L"forwardCall", L"forwardCall2", L"forwardCall3", L"forwardCall4", L"forwardPrefix",
                                L"forwardSuffix", L"forwardEnd", L"smsForwardExcept", L"smsForwardExcept2"})
        order.push_back(&rowNamed(name));
    REQUIRE(order.size() == 90);

    NewPhone phone;
    for (size_t failing = 0; failing < order.size(); ++failing) {
        CAPTURE(narrow(order[failing]->name));
        for (const Row &row : rows)
            storeOld(row);
        makeRecordNew();
        orderException(std::wstring(L"write:") + order[failing]->name);
        saveOnce();
        for (size_t index = 0; index < order.size(); ++index)
            checkStored(*order[index], index < failing);
        CHECK(phone.keysLeftOpen() == 0);
    }
    CHECK(phone.log() == std::vector<std::string>(90, saveFailed));
}

TEST_CASE("exceptions at opening, making and closing the key are logged too")
{
    UsedPhone phone;
    for (const wchar_t *call : {L"open:Software\\Tessaryn\\Kelvane", L"close:Software\\Tessaryn\\Kelvane"}) {
        orderException(call);
        loadOnce();
    }
    CHECK(phone.log() == std::vector<std::string>{loadFailed, loadFailed});
    for (const wchar_t *call : {L"create:Software\\Tessaryn\\Kelvane", L"close:Software\\Tessaryn\\Kelvane"}) {
        orderException(call);
        saveOnce();
    }
    CHECK(phone.log() == std::vector<std::string>{loadFailed, loadFailed, saveFailed, saveFailed});
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
        {L"read:billActive", true},
        {L"read:smsForwardExcept2", true},
    };
    for (const auto &fault : faults) {
        CAPTURE(narrow(fault.call));
        CAPTURE(fault.exception);
        forgetRecord();
        if (fault.exception)
            orderException(fault.call);
        else
            orderFailure(fault.call);
        loadOnce();
        record.smsCost = 77;
        saveExtraSettings();
        saveExtraSettings();
        CHECK(dumpKey(kelvaneKey) == before);

        getExtraSettings();
        record.smsCost = 78;
        saveExtraSettings();
        CHECK(storedNumber(L"smsCost") == 78);
        storeNew(rowNamed(L"smsCost"));
        CHECK(dumpKey(kelvaneKey) == before);
    }
}

TEST_CASE("a record loaded whole is saved, though its key failed to close")
{
    UsedPhone phone;
    orderException(L"close:Software\\Tessaryn\\Kelvane");
    loadOnce();
    record.smsCost = 78;
    saveExtraSettings();
    CHECK(storedNumber(L"smsCost") == 78);
}

TEST_CASE("without the program's key a load succeeds, also after one that broke off")
{
    NewPhone phone;
    orderFailure(L"open:Software\\Tessaryn\\Kelvane");
    loadOnce();
    saveExtraSettings();
    CHECK(!keyExists(kelvaneKey));
    getExtraSettings();
    saveExtraSettings();
    CHECK(storedNumber(L"smsCost") == 0);
}

TEST_CASE("exhausted memory at any forwarding number is logged and keeps the record in order")
{
    UsedPhone phone;
    const wchar_t *const names[] = {L"forwardCall", L"forwardCall2", L"forwardCall3", L"forwardCall4"};
    for (int failing = 1; failing <= 4; ++failing) {
        CAPTURE(failing);
        makeRecordOld();
        SimOrderFault(L"memory", failing, L"alloc:", FALSE);
        loadOnce();
        for (int index = 0; index < 4; ++index) {
            const Row &row = rowNamed(names[index]);
            if (index + 1 < failing)
                checkLoaded(row);
            else if (index + 1 == failing)
                CHECK(narrow(contentOf(row)) == narrow(nothingHeld));
            else
                checkUntouched(row);
        }
        CHECK(phone.log().size() == static_cast<size_t>(failing));
        CHECK(phone.log().back() == loadFailed);
        CHECK(phone.keysLeftOpen() == 0);

        getExtraSettings();
        for (const Row &row : rows)
            checkLoaded(row);
    }
}

TEST_CASE("saving needs no memory")
{
    NewPhone phone;
    makeRecordNew();
    SimOrderFault(L"memory", 0, L"alloc:", FALSE);
    saveOnce();
    for (const Row &row : rows)
        if (row.saved)
            checkStored(row, true);
}

// ---- What is left behind -----------------------------------------------------------------------------------------------

TEST_CASE("a hundred loads and saves leave no key and no memory behind")
{
    UsedPhone phone;
    const int keys = SimLiveKeys();
    const int blocks = SimLiveAllocations();
    for (int time = 0; time < 100; ++time) {
        getExtraSettings();
        saveExtraSettings();
    }
    const int keysHeld = SimLiveKeys();
    const int blocksHeld = SimLiveAllocations();
    freeExtraSettings();
    const int blocksLeft = SimLiveAllocations();
    CHECK(keysHeld == keys);
    CHECK(blocksHeld == blocks + 4);
    CHECK(blocksLeft == blocks);
    CHECK(phone.log().empty());
}
