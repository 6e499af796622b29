#include "user_settings.h"

#include <stddef.h>

#include "language.h"
#include "log.h"
#include "memory.h"
#include "shell_values.h"
#include "system_tweaks.h"
#include "version.h"

UserSettings userSettings = {};

namespace {

constexpr DWORD noProfile = static_cast<DWORD>(-1);
constexpr DWORD defaultShutdownDelay = 45;
constexpr int firstDefaultNameText = 134;
constexpr size_t storedNameCapacity = 50;   // of a profile: the 49 characters that Edit Profiles takes

constexpr DWORD bytesOf(size_t characters)
{
    return static_cast<DWORD>(characters * sizeof(wchar_t));
}

// ---- What reading a value entails ---------------------------------------------------------------------------------

// The alarm text takes fontColor, not alarmColor: kept, for colours that people chose with it stay as they are.
void deriveColors(const RegistryKey &)
{
    UserSettings &s = userSettings;
    s.textColor = s.autoColor ? s.fontColor : skinTextColor;
    s.alarmTextColor = s.autoAlarmColor ? s.fontColor : skinAlarmColor;
    s.scrollTextColor = s.autoScrollColor ? s.scrollColor : skinScrollColor;
}

void replaceZeroDelay(const RegistryKey &)
{
    if (userSettings.shutdownDelay == 0)
        userSettings.shutdownDelay = defaultShutdownDelay;
}

// One missing first name stands for a record never saved: then all names are the defaults, also those that are there.
void nameUnnamedProfiles()
{
    if (!userSettings.profileNames[0][0])
        setDefaultProfileNames();
}

void nameUnnamedProfilesAfterLoad(const RegistryKey &)
{
    nameUnnamedProfiles();
}

}   // namespace

// ---- The table ----------------------------------------------------------------------------------------------------

#define VALUE(name, kind, field, limit, capacity, saved, then)                                                         \
    {                                                                                                                  \
        L"" name, SettingKind::kind, offsetof(UserSettings, field), limit, capacity, saved, then                       \
    }
#define NUMBER(field) VALUE(#field, number, field, sizeof(DWORD), 0, true, nullptr)
#define NUMBER_THEN(field, then) VALUE(#field, number, field, sizeof(DWORD), 0, true, then)
#define NUMBER_READ_ONLY(field) VALUE(#field, number, field, sizeof(DWORD), 0, false, nullptr)
#define FIXED_TEXT(field, characters) VALUE(#field, text, field, bytesOf(characters), characters, true, nullptr)
#define PROFILE_NAME(number, then)                                                                                     \
    VALUE("profile" #number, text, profileNames[number - 1], bytesOf(storedNameCapacity), profileNameCapacity, true,   \
          then)
#define HEAP_TEXT(field, kind, bytes, saved) VALUE(#field, kind, field, bytes, 0, saved, nullptr)

const SettingRow userSettingRows[userSettingCount] = {
    FIXED_TEXT(skinName, skinNameCapacity),
    FIXED_TEXT(signalSound, soundNameCapacity),
    FIXED_TEXT(batterySound, soundNameCapacity),
    NUMBER(autoColor),
    NUMBER(fontColor),
    NUMBER(autoAlarmColor),
    NUMBER(alarmColor),
    NUMBER(autoScrollColor),
    NUMBER_THEN(scrollColor, deriveColors),
    NUMBER(AutoTextSize),
    NUMBER(textSize),
    NUMBER(AutoScrollSize),
    NUMBER(scrollSize),
    NUMBER(lang),
    NUMBER(SMS),
    NUMBER(MMS),
    NUMBER(Email),
    NUMBER(emailClient),
    NUMBER(emailAccounts),
    HEAP_TEXT(emailCustomAccounts, accountList, 1040, true),
    NUMBER(emailCustomAlarms),
    NUMBER(emailDefaultFolder),
    NUMBER(missedCalls),
    NUMBER(reminders),
    NUMBER(voiceMail),
    NUMBER(voiceMailPrompt),
    NUMBER(voiceMailPhoneApp),
    NUMBER(soundRepeat),
    NUMBER(soundRepeatOff),
    NUMBER(soundRepeatTone),
    NUMBER(soundDelay),
    NUMBER(soundDelayOff),
    NUMBER(batteryLife),
    NUMBER(batteryAlarm),
    NUMBER(lowBatteryOff),
    NUMBER(lowBatteryLevel),
    NUMBER(signalAlarm),
    NUMBER(lowSignalOff),
    NUMBER(lowSignalLevel),
    NUMBER(vibrateOnMute),
    NUMBER(alwaysVibrate),
    NUMBER_THEN(shutdownDelay, replaceZeroDelay),
    NUMBER(startupDelay),
    NUMBER(activeProfiles),
    PROFILE_NAME(1, nullptr),
    PROFILE_NAME(2, nullptr),
    PROFILE_NAME(3, nullptr),
    PROFILE_NAME(4, nullptr),
    PROFILE_NAME(5, nullptr),
    PROFILE_NAME(6, nullptr),
    PROFILE_NAME(7, nameUnnamedProfilesAfterLoad),
    NUMBER(noBacklight),
    NUMBER(autoAnswer),
    NUMBER(callAlarm),
    NUMBER(acousticPress),
    NUMBER(vibConnect),
    NUMBER(blankOnDial),
    NUMBER(systemVibrate),
    NUMBER(defaultSIP),
    NUMBER(skinsInStorage),
    NUMBER_READ_ONLY(quietMode),
    NUMBER(noBroker),
    NUMBER(loggingOption),
    NUMBER_READ_ONLY(alarmState),
    NUMBER(activeSyncProfile),
    NUMBER(ACPowerProfile),
    NUMBER(outlookCheck),
    NUMBER(profAsText),
    NUMBER(sysVoiceAlert),
    HEAP_TEXT(sysPhoneName, heapTextOnce, 200, false),   // the phone keeps its name while the program runs
    HEAP_TEXT(voicemail2, heapText, 200, true),
};

namespace {

// ---- Loading ------------------------------------------------------------------------------------------------------

// Accounts are kept only while mail is watched per account; an empty list counts as none.
void loadAccountList(const RegistryKey &key, const SettingRow &row)
{
    if (userSettings.emailAccounts)
        loadOptionalText(key, row, userSettings.emailCustomAccounts);
    else
        freeText(userSettings.emailCustomAccounts);
}

void loadRow(const RegistryKey &key, const SettingRow &row)
{
    if (row.kind == SettingKind::accountList)
        loadAccountList(key, row);
    else
        loadSettingRow(key, &userSettings, row);
    if (row.afterLoad)
        row.afterLoad(key);
}

LONG loadUserSettings()
{
    userSettings.activeSyncProfile = noProfile;
    userSettings.ACPowerProfile = noProfile;
    userSettings.loadBrokeOff = true;
    RegistryKey key;
    if (const LONG status = key.open(HKEY_CURRENT_USER, programKey)) {
        nameUnnamedProfiles();
        userSettings.loadBrokeOff = status != ERROR_FILE_NOT_FOUND;   // without its key the program is new here
        return status;
    }
    for (const SettingRow &row : userSettingRows)
        loadRow(key, row);
    userSettings.loadBrokeOff = false;
    key.close();
    return applySystemTweaks();
}

// ---- Saving -------------------------------------------------------------------------------------------------------

// With per-account mail switched off the list is deleted as if it were a subkey, so a stored value of that name stays
// where it is: switching accounts on again brings the old list back. Kept on purpose.
void saveAccountList(const RegistryKey &key, const SettingRow &row)
{
    const wchar_t *accounts = userSettings.emailCustomAccounts;
    if (!userSettings.emailAccounts)
        RegDeleteKeyW(key.handle(), row.name);
    else if (accounts)
        writeText(key, row.name, accounts);
}

void saveRow(const RegistryKey &key, const SettingRow &row)
{
    if (row.kind == SettingKind::accountList)
        saveAccountList(key, row);
    else
        saveSettingRow(key, &userSettings, row);
}

// A record that was not loaded whole would put zeros over the user's settings.
LONG storeUserSettings()
{
    if (userSettings.loadBrokeOff)
        return ERROR_INVALID_DATA;
    RegistryKey key;
    if (const LONG status = key.create(HKEY_CURRENT_USER, programKey))
        return status;
    for (const SettingRow &row : userSettingRows)
        if (row.saved)
            saveRow(key, row);
    writeText(key, L"Version", programVersion);
    return key.close();   // not flushed: the billing record, saved right after, decides on that
}

}   // namespace

LONG getUserSettings()
{
    try {
        return loadUserSettings();
    } catch (...) {
        writeLog("** Exception getUserSettings **");
        return ERROR_OUTOFMEMORY;
    }
}

LONG saveUserSettings()
{
    try {
        return storeUserSettings();
    } catch (...) {
        writeLog("** Exception saveUserSettings **");
        return ERROR_OUTOFMEMORY;
    }
}

void setDefaultProfileNames()
{
    for (int profile = 0; profile < profileCount; ++profile)
        copyText(userSettings.profileNames[profile], getLanguageText(firstDefaultNameText + profile, nullptr));
}

void freeUserSettings()
{
    freeText(userSettings.emailCustomAccounts);
    freeText(userSettings.sysPhoneName);
    freeText(userSettings.voicemail2);
}
