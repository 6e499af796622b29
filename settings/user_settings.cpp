#include "user_settings.h"

#include <stddef.h>

#include "language.h"
#include "log.h"
#include "memory.h"
#include "registry.h"
#include "shell_values.h"
#include "system_tweaks.h"
#include "version.h"

UserSettings userSettings = {};

namespace {

constexpr DWORD noProfile = static_cast<DWORD>(-1);
constexpr DWORD defaultShutdownDelay = 45;
constexpr int firstDefaultNameText = 134;

constexpr DWORD bytesOf(size_t characters)
{
    return static_cast<DWORD>(characters * sizeof(wchar_t));
}

// ---- What reading a value entails ---------------------------------------------------------------------------------

// The alarm text takes fontColor, not alarmColor: so the engine's displays have always looked, and so it stays.
void deriveColors()
{
    UserSettings &s = userSettings;
    s.textColor = s.autoColor ? s.fontColor : skinTextColor;
    s.alarmTextColor = s.autoAlarmColor ? s.fontColor : skinAlarmColor;
    s.scrollTextColor = s.autoScrollColor ? s.scrollColor : skinScrollColor;
}

void replaceZeroDelay()
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
    VALUE("profile" #number, text, profileNames[number - 1], 80, profileNameCapacity, true, then)
#define HEAP_TEXT(field, kind, bytes, saved) VALUE(#field, kind, field, bytes, 0, saved, nullptr)

const UserSettingRow userSettingRows[userSettingCount] = {
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
    PROFILE_NAME(7, nameUnnamedProfiles),
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
    HEAP_TEXT(sysPhoneName, heapTextOnce, 200, false),
    HEAP_TEXT(voicemail2, heapText, 200, true),
};

namespace {

// ---- Loading ------------------------------------------------------------------------------------------------------

template <typename Field> Field &fieldOf(const UserSettingRow &row)
{
    return *reinterpret_cast<Field *>(reinterpret_cast<BYTE *>(&userSettings) + row.offset);
}

// The longest heap text in characters; values are read here before their copy is made.
constexpr size_t heapTextCapacity = 1040 / sizeof(wchar_t);

// Accounts are kept only while mail is watched per account; an empty list counts as none.
void loadAccountList(const RegistryKey &key, const UserSettingRow &row)
{
    wchar_t *&accounts = fieldOf<wchar_t *>(row);
    freeText(accounts);
    wchar_t stored[heapTextCapacity] = L"";
    if (userSettings.emailAccounts && readText(key, row.name, stored, row.limit) && stored[0])
        accounts = duplicateText(stored);
}

// The phone does not change its name while the program runs.
void loadHeapTextOnce(const RegistryKey &key, const UserSettingRow &row)
{
    wchar_t *&held = fieldOf<wchar_t *>(row);
    if (held)
        return;
    wchar_t stored[heapTextCapacity] = L"";
    readText(key, row.name, stored, row.limit);
    held = duplicateText(stored);
}

void loadHeapText(const RegistryKey &key, const UserSettingRow &row)
{
    wchar_t *&held = fieldOf<wchar_t *>(row);
    wchar_t stored[heapTextCapacity] = L"";
    readText(key, row.name, stored, row.limit);
    wchar_t *copy = duplicateText(stored);
    freeText(held);
    held = copy;
}

void loadRow(const RegistryKey &key, const UserSettingRow &row)
{
    switch (row.kind) {
    case SettingKind::number:
        readNumber(key, row.name, fieldOf<DWORD>(row));
        break;
    case SettingKind::text:
        readTextInto(key, row.name, row.limit, &fieldOf<wchar_t>(row), row.capacity);
        break;
    case SettingKind::heapText:
        loadHeapText(key, row);
        break;
    case SettingKind::heapTextOnce:
        loadHeapTextOnce(key, row);
        break;
    case SettingKind::accountList:
        loadAccountList(key, row);
        break;
    }
    if (row.afterLoad)
        row.afterLoad();
}

LONG loadUserSettings()
{
    userSettings.activeSyncProfile = noProfile;
    userSettings.ACPowerProfile = noProfile;
    RegistryKey key;
    if (const LONG status = key.open(HKEY_CURRENT_USER, programKey)) {
        nameUnnamedProfiles();
        return status;
    }
    for (const UserSettingRow &row : userSettingRows)
        loadRow(key, row);
    key.close();
    return applySystemTweaks();
}

// ---- Saving -------------------------------------------------------------------------------------------------------

// With per-account mail switched off the list is deleted as if it were a subkey, so a stored value of that name stays
// where it is: switching accounts on again brings the old list back. Kept on purpose.
void saveAccountList(const RegistryKey &key, const UserSettingRow &row)
{
    const wchar_t *accounts = fieldOf<wchar_t *>(row);
    if (!userSettings.emailAccounts)
        RegDeleteKeyW(key.handle(), row.name);
    else if (accounts)
        writeText(key, row.name, accounts);
}

void saveHeapText(const RegistryKey &key, const UserSettingRow &row)
{
    if (const wchar_t *text = fieldOf<wchar_t *>(row))
        writeText(key, row.name, text);
}

void saveRow(const RegistryKey &key, const UserSettingRow &row)
{
    switch (row.kind) {
    case SettingKind::number:
        writeNumber(key, row.name, fieldOf<DWORD>(row));
        break;
    case SettingKind::text:
        writeText(key, row.name, &fieldOf<wchar_t>(row));
        break;
    case SettingKind::heapText:
    case SettingKind::heapTextOnce:
        saveHeapText(key, row);
        break;
    case SettingKind::accountList:
        saveAccountList(key, row);
        break;
    }
}

LONG storeUserSettings()
{
    RegistryKey key;
    if (const LONG status = key.create(HKEY_CURRENT_USER, programKey))
        return status;
    for (const UserSettingRow &row : userSettingRows)
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
