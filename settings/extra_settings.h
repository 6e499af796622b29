// The billing settings record: cost tracking and its counters, data connection, location service, one-click mute, voice
// command and forwarding. It lies in the same key as the general record and is shared with the engine, which counts.
#pragma once

#include "record_rows.h"

// Characters of the fixed texts, the terminator included: what their registry values may hold at most.
constexpr size_t forwardTextCapacity = 20;

// Numbers are REG_DWORDs of the same name, texts REG_SZ. Field order is free: extraSettingRows (extra_settings.cpp) says
// what is read and written, and in which order. Money is in hundredths of the currency unit.
struct ExtraSettings {
    DWORD billActive;
    DWORD monthlyLog;
    DWORD smsCost;
    DWORD smsCostIn;
    DWORD smsCount;
    DWORD smsFolderCount;   // the engine's; read only
    DWORD smsFree;
    DWORD smsNextReset;
    DWORD monthlyFixCost;
    DWORD monthlyCredit;
    DWORD minBillUnit;

    DWORD mmsCount;
    DWORD mmsFolderCount;   // the engine's; read only
    DWORD mmsCost;

    DWORD gprsIn;
    DWORD gprsOut;
    DWORD gprsInDaily;
    DWORD gprsOutDaily;
    DWORD ThisDay;   // day of the month on which the daily counters were last reset

    DWORD peakActive;
    DWORD peakStart;
    DWORD peakEnd;
    DWORD peakDays;
    DWORD freeTotal;
    DWORD freeIntern;
    DWORD freePeak;
    DWORD freeOffpeak;

    DWORD voiceCost;
    DWORD offPeakCost;
    DWORD peakCost;
    DWORD incomingCost;
    DWORD minCost;
    DWORD fixCost;
    DWORD dailyCostLimit;
    DWORD monthlyCostLimit;

    DWORD GPRSTraffic;
    DWORD GPRSMonCost;
    DWORD GPRSCostKB;
    DWORD GPRSCostOffKB;
    DWORD GPRSMonVol;
    DWORD GPRSDayLimit;
    DWORD GPRSMonLimit;
    DWORD GPRSPacketSize;

    DWORD cleanupLog;
    DWORD logCostData;
    DWORD rotatorText;   // bit mask of the items shown
    DWORD rotatorType;
    DWORD rotatorFreq;
    DWORD rotatorSpeed;

    DWORD standbyHours;
    DWORD callHours;
    DWORD disableLED;
    DWORD gprsOnEmail;
    DWORD smsSendNotify;
    DWORD smsRecieveNotify;   // spelled so in the registry

    DWORD GPRS;
    DWORD GPRS_Disc;
    DWORD GPRS_Time;
    DWORD GPRS_Auto;
    DWORD GPRS_No;
    DWORD GPRS_AutoOff;

    DWORD VoiceCommand;

    DWORD locationService;
    DWORD locRIL;
    DWORD locRILDll;
    DWORD locSIM;
    DWORD locCB;
    DWORD KillCBPopup;
    DWORD locWLAN;
    DWORD locGPS;
    DWORD locPort;
    DWORD locRange;
    DWORD locWakeToCheck;
    DWORD locWakeEvery;
    DWORD locWakeFor;
    DWORD locWakeWhen;
    DWORD locWakeStart;
    DWORD locWakeEnd;

    DWORD quickMute;
    DWORD quickMuteKey;
    DWORD quickMuteTime;
    DWORD oneClickAlarm;

    DWORD forwardingActive;   // the engine's; read only
    wchar_t *forwardCall;     // heap texts or null
    wchar_t *forwardCall2;
    wchar_t *forwardCall3;
    wchar_t *forwardCall4;
    DWORD forwardFix;
    wchar_t forwardPrefix[forwardTextCapacity];
    wchar_t forwardSuffix[forwardTextCapacity];
    wchar_t forwardEnd[forwardTextCapacity];
    wchar_t smsForwardExcept[forwardTextCapacity];
    wchar_t smsForwardExcept2[forwardTextCapacity];

    // Derived when loading, not stored: how many of the rotator's items are shown, and whether the last load broke off, so
    // that the record lacks what the registry has.
    DWORD rotatorCount;
    bool loadBrokeOff;
};

extern ExtraSettings extraSettings;

constexpr size_t extraSettingCount = 93;
extern const SettingRow extraSettingRows[extraSettingCount];

// Fills the record. Values that cannot be read leave their field alone; without the program's key nothing is touched. On
// another day of the month than at the last reset the daily data counters go back to 0, in the registry too. An exception is
// logged and ends the load.
void getExtraSettings();

// Writes the record; flushed on systems from version 5 on. Single failures are ignored, an exception is logged and ends the
// save. Nothing is written after a load that broke off, by an exception or a key that is there but does not open, until one
// succeeds.
void saveExtraSettings();

// Releases the heap texts of the record.
void freeExtraSettings();
