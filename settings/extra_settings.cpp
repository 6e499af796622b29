#include "extra_settings.h"

#include <stddef.h>

#include "environment.h"
#include "log.h"

ExtraSettings extraSettings = {};

namespace {

// ---- What reading a value entails ---------------------------------------------------------------------------------

// Only the day of the month is kept, so the same day of the next month does not count as another one.
void resetDailyCounters(const RegistryKey &key)
{
    ExtraSettings &s = extraSettings;
    SYSTEMTIME now;
    GetLocalTime(&now);
    if (s.ThisDay == now.wDay)
        return;
    s.ThisDay = now.wDay;
    s.gprsInDaily = s.gprsOutDaily = 0;
    writeNumber(key, L"ThisDay", s.ThisDay);
    writeNumber(key, L"gprsInDaily", s.gprsInDaily);
    writeNumber(key, L"gprsOutDaily", s.gprsOutDaily);
}

// The rotator's item 0x20 is not counted. Kept on purpose: the count is derived and never stored, so nothing is lost by it.
constexpr DWORD countedRotatorItems = 0x1FDF;

void countRotatorItems(const RegistryKey &)
{
    extraSettings.rotatorCount = 0;
    for (DWORD items = extraSettings.rotatorText & countedRotatorItems; items; items &= items - 1)
        ++extraSettings.rotatorCount;
}

}   // namespace

// ---- The table ----------------------------------------------------------------------------------------------------

#define VALUE(field, kind, bytes, capacity, saved, then)                                                               \
    {                                                                                                                  \
        L"" #field, SettingKind::kind, offsetof(ExtraSettings, field), bytes, capacity, saved, then                    \
    }
#define NUMBER(field) VALUE(field, number, sizeof(DWORD), 0, true, nullptr)
#define NUMBER_THEN(field, then) VALUE(field, number, sizeof(DWORD), 0, true, then)
#define NUMBER_READ_ONLY(field) VALUE(field, number, sizeof(DWORD), 0, false, nullptr)

// Of a stored forwarding text that is longer than its limit, or of another type, nothing is read, and the empty text is saved
// in its place. Kept on purpose: it is safe, for no buffer is outgrown, and half a number would be worse than none.
#define HEAP_TEXT(field) VALUE(field, optionalText, 200, 0, true, nullptr)
#define FIXED_TEXT(field) VALUE(field, text, sizeof(ExtraSettings::field), forwardTextCapacity, true, nullptr)

const SettingRow extraSettingRows[extraSettingCount] = {
    NUMBER(billActive),
    NUMBER(monthlyLog),
    NUMBER(smsCost),
    NUMBER(smsCostIn),
    NUMBER(smsCount),
    NUMBER_READ_ONLY(smsFolderCount),
    NUMBER(smsFree),
    NUMBER(smsNextReset),
    NUMBER(monthlyFixCost),
    NUMBER(monthlyCredit),
    NUMBER(minBillUnit),
    NUMBER(mmsCount),
    NUMBER_READ_ONLY(mmsFolderCount),
    NUMBER(mmsCost),
    NUMBER(gprsIn),
    NUMBER(gprsOut),
    NUMBER(gprsInDaily),
    NUMBER(gprsOutDaily),
    NUMBER_THEN(ThisDay, resetDailyCounters),
    NUMBER(peakActive),
    NUMBER(peakStart),
    NUMBER(peakEnd),
    NUMBER(peakDays),
    NUMBER(freeTotal),
    NUMBER(freeIntern),
    NUMBER(freePeak),
    NUMBER(freeOffpeak),
    NUMBER(voiceCost),
    NUMBER(offPeakCost),
    NUMBER(peakCost),
    NUMBER(incomingCost),
    NUMBER(minCost),
    NUMBER(fixCost),
    NUMBER(dailyCostLimit),
    NUMBER(monthlyCostLimit),
    NUMBER(GPRSTraffic),
    NUMBER(GPRSMonCost),
    NUMBER(GPRSCostKB),
    NUMBER(GPRSCostOffKB),
    NUMBER(GPRSMonVol),
    NUMBER(GPRSDayLimit),
    NUMBER(GPRSMonLimit),
    NUMBER(GPRSPacketSize),
    NUMBER(cleanupLog),
    NUMBER(logCostData),
    NUMBER(rotatorText),
    NUMBER(rotatorType),
    NUMBER(rotatorFreq),
    NUMBER_THEN(rotatorSpeed, countRotatorItems),
    NUMBER(standbyHours),
    NUMBER(callHours),
    NUMBER(disableLED),
    NUMBER(gprsOnEmail),
    NUMBER(smsSendNotify),
    NUMBER(smsRecieveNotify),
    NUMBER(GPRS),
    NUMBER(GPRS_Disc),
    NUMBER(GPRS_Time),
    NUMBER(GPRS_Auto),
    NUMBER(GPRS_No),
    NUMBER(GPRS_AutoOff),
    NUMBER(VoiceCommand),
    NUMBER(locationService),
    NUMBER(locRIL),
    NUMBER(locRILDll),
    NUMBER(locSIM),
    NUMBER(locCB),
    NUMBER(KillCBPopup),
    NUMBER(locWLAN),
    NUMBER(locGPS),
    NUMBER(locPort),
    NUMBER(locRange),
    NUMBER(locWakeToCheck),
    NUMBER(locWakeEvery),
    NUMBER(locWakeFor),
    NUMBER(locWakeWhen),
    NUMBER(locWakeStart),
    NUMBER(locWakeEnd),
    NUMBER(quickMute),
    NUMBER(quickMuteKey),
    NUMBER(quickMuteTime),
    NUMBER(oneClickAlarm),
    NUMBER_READ_ONLY(forwardingActive),
    HEAP_TEXT(forwardCall),
    HEAP_TEXT(forwardCall2),
    HEAP_TEXT(forwardCall3),
    HEAP_TEXT(forwardCall4),
    NUMBER(forwardFix),
    FIXED_TEXT(forwardPrefix),
    FIXED_TEXT(forwardSuffix),
    FIXED_TEXT(forwardEnd),
    FIXED_TEXT(smsForwardExcept),
    FIXED_TEXT(smsForwardExcept2),
};

namespace {

void loadExtraSettings()
{
    extraSettings.loadBrokeOff = true;
    RegistryKey key;
    if (const LONG status = key.open(HKEY_CURRENT_USER, programKey)) {
        extraSettings.loadBrokeOff = status != ERROR_FILE_NOT_FOUND;   // without its key the program is new here
        return;
    }
    for (const SettingRow &row : extraSettingRows) {
        loadSettingRow(key, &extraSettings, row);
        if (row.afterLoad)
            row.afterLoad(key);
    }
    extraSettings.loadBrokeOff = false;
    key.close();
}

void saveRows(const RegistryKey &key, bool numbers)
{
    for (const SettingRow &row : extraSettingRows)
        if (row.saved && (row.kind == SettingKind::number) == numbers)
            saveSettingRow(key, &extraSettings, row);
}

// A record that was not loaded whole would put zeros over the tariffs and the engine's counters.
void storeExtraSettings()
{
    if (extraSettings.loadBrokeOff)
        return;
    RegistryKey key;
    if (key.create(HKEY_CURRENT_USER, programKey) != ERROR_SUCCESS)
        return;
    // All numbers come before the texts, also the one that is read among them.
    saveRows(key, true);
    saveRows(key, false);
    if (isOsVersion5)
        key.flush();
    key.close();
}

}   // namespace

void getExtraSettings()
{
    try {
        loadExtraSettings();
    } catch (...) {
        writeLog("** Exception getExtraSettings **");
    }
}

void saveExtraSettings()
{
    try {
        storeExtraSettings();
    } catch (...) {
        writeLog("** Exception saveExtraSettings **");
    }
}

void freeExtraSettings()
{
    freeText(extraSettings.forwardCall);
    freeText(extraSettings.forwardCall2);
    freeText(extraSettings.forwardCall3);
    freeText(extraSettings.forwardCall4);
}
