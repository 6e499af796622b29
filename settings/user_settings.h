// The general settings record: the engine's general options, as the registry holds them.
#pragma once

#include "record_rows.h"

// Characters of the fixed texts, the terminator included: what their registry values may hold at most.
constexpr size_t skinNameCapacity = 50;
constexpr size_t soundNameCapacity = 100;

// A profile name is read with at most 80 bytes, but a translated default name is taken over whole, so each name has room
// for the longest text a language file can yield.
constexpr size_t profileNameCapacity = 261;

constexpr int profileCount = 7;

// Numbers are REG_DWORDs of the same name, texts REG_SZ. Field order is free: userSettingRows (user_settings.cpp) says
// what is read and written, in which order and within which limits.
struct UserSettings {
    wchar_t skinName[skinNameCapacity];
    wchar_t signalSound[soundNameCapacity];
    wchar_t batterySound[soundNameCapacity];

    DWORD autoColor;
    DWORD fontColor;
    DWORD autoAlarmColor;
    DWORD alarmColor;
    DWORD autoScrollColor;
    DWORD scrollColor;
    DWORD AutoTextSize;
    DWORD textSize;
    DWORD AutoScrollSize;
    DWORD scrollSize;

    DWORD lang;   // language index, 0 is English; taken as signed by the translation
    DWORD SMS;
    DWORD MMS;
    DWORD Email;
    DWORD emailClient;
    DWORD emailAccounts;            // non-zero: emailCustomAccounts is read and written
    wchar_t *emailCustomAccounts;   // heap text or null
    DWORD emailCustomAlarms;
    DWORD emailDefaultFolder;
    DWORD missedCalls;
    DWORD reminders;
    DWORD voiceMail;
    DWORD voiceMailPrompt;
    DWORD voiceMailPhoneApp;

    DWORD soundRepeat;      // repetitions, 9999 is endless
    DWORD soundRepeatOff;   // list position of soundRepeat
    DWORD soundRepeatTone;
    DWORD soundDelay;      // seconds
    DWORD soundDelayOff;   // list position of soundDelay
    DWORD batteryLife;     // percent
    DWORD batteryAlarm;
    DWORD lowBatteryOff;
    DWORD lowBatteryLevel;
    DWORD signalAlarm;
    DWORD lowSignalOff;
    DWORD lowSignalLevel;
    DWORD vibrateOnMute;
    DWORD alwaysVibrate;
    DWORD shutdownDelay = 45;
    DWORD startupDelay;

    DWORD activeProfiles;   // bit 1 << n for profile n; profile 0 is always in use, whatever its bit says
    // profile1 .. profile7. The first begins empty, so that a registry without it is noticed when loading.
    wchar_t profileNames[profileCount][profileNameCapacity] = {L"",     L"Work", L"Meeting", L"Night",
                                                               L"Loud", L"Car",  L"Flight"};

    DWORD noBacklight;
    DWORD autoAnswer;
    DWORD callAlarm;
    DWORD acousticPress;
    DWORD vibConnect;
    DWORD blankOnDial;
    DWORD systemVibrate;
    DWORD defaultSIP;
    DWORD skinsInStorage;
    DWORD quietMode;   // the engine's; read only
    DWORD noBroker;
    DWORD loggingOption;       // bits of log.h
    DWORD alarmState;          // the engine's; read only
    DWORD activeSyncProfile;   // -1 is none
    DWORD ACPowerProfile;      // -1 is none
    DWORD outlookCheck;
    DWORD profAsText;
    DWORD sysVoiceAlert;
    wchar_t *sysPhoneName;   // heap text; read once per process, never written
    wchar_t *voicemail2;     // heap text

    // Derived when loading, not stored.
    DWORD textColor;
    DWORD alarmTextColor;
    DWORD scrollTextColor;
    bool loadBrokeOff;   // the last load did: the record lacks what the registry has
};

extern UserSettings userSettings;

constexpr size_t userSettingCount = 71;
extern const SettingRow userSettingRows[userSettingCount];

// Fills the record and applies the system tweaks. Returns 0; the status of opening the program's key when that fails (then
// nothing is read but all profiles have names); the status of opening or closing the volume key at the end; or
// ERROR_OUTOFMEMORY after an exception, which is logged. Values that cannot be read leave their field alone.
LONG getUserSettings();

// Writes the record. Returns the status of creating the key, or of closing it; single failures are ignored. After an
// exception, which is logged, ERROR_OUTOFMEMORY. Nothing is written after a load that broke off, by an exception or a key that
// is there but does not open, until one succeeds; the result is ERROR_INVALID_DATA then.
LONG saveUserSettings();

// Gives all seven profiles their default names in the current language.
void setDefaultProfileNames();

// Releases the heap texts of the record.
void freeUserSettings();
