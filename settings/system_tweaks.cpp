#include "system_tweaks.h"

#include "language.h"
#include "registry.h"
#include "user_settings.h"

namespace {

constexpr wchar_t lowBatteryNotification[] = L"ControlPanel\\Notifications\\{A877D663-239C-47a7-9304-0D347F580408}";
constexpr wchar_t reminderNotification[] = L"ControlPanel\\Notifications\\{15F11F90-8A5F-454c-89FC-BA9B7AAB0CAD}";

constexpr int lowBatteryText = 255;
constexpr DWORD lowBatteryBytes = sizeof L"low battery";   // 24, whatever the translation

constexpr DWORD reminderIsSilent = 0x40000000;
constexpr DWORD muteBits = 3;

// Alarms must be heard while other media plays, once each and at full volume.
void letMediaPlayInBackground()
{
    RegistryKey key;
    if (key.open(HKEY_CURRENT_USER, L"Software\\Microsoft\\MediaPlayer\\Preferences") != ERROR_SUCCESS)
        return;
    writeNumber(key, L"PlayInBackground", 1);
    writeNumber(key, L"Repeat", 0);
    writeNumber(key, L"Mute", 0);
    writeNumber(key, L"Volume", 65535);
    key.flush();
    key.close();
}

void setMediaQuality()
{
    RegistryKey key;
    if (key.open(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows Media Player\\Audio") != ERROR_SUCCESS)
        return;
    writeNumber(key, L"Background Quality", 2);
    writeNumber(key, L"Repeat", 0);
    writeNumber(key, L"Volume", 0xFFFFFFFF);
    key.flush();
    key.close();
}

// The engine raises the low-battery alarm itself, so the system's own notification is switched off. Its name is restored
// when it is lost: always in 24 bytes, the size of the English one, so a longer translation is cut there and is stored
// without terminator. The buffer makes that safe for shorter ones.
void silenceLowBatteryNotification()
{
    RegistryKey key;
    if (key.open(HKEY_CURRENT_USER, lowBatteryNotification) != ERROR_SUCCESS)
        return;
    writeNumber(key, L"Options", 0);
    wchar_t name[100] = L"";
    readText(key, L"Default", name);
    if (!name[0]) {
        copyText(name, getLanguageText(lowBatteryText, nullptr));
        writeTextBytes(key, L"Default", name, lowBatteryBytes);
    }
    key.flush();
    key.close();
}

void letRemindersSound()
{
    RegistryKey key;
    if (!userSettings.reminders || key.open(HKEY_CURRENT_USER, reminderNotification) != ERROR_SUCCESS)
        return;
    DWORD options = 0;
    readNumber(key, L"Options", options);
    if (options > reminderIsSilent)
        writeNumber(key, L"Options", options & ~reminderIsSilent);
    key.flush();
    key.close();
}

LONG setMuteBits()
{
    RegistryKey key;
    if (const LONG status = key.open(HKEY_CURRENT_USER, L"ControlPanel\\Volume"))
        return status;
    DWORD mute = 0;
    readNumber(key, L"Mute", mute);
    if ((mute & muteBits) != muteBits)
        writeNumber(key, L"Mute", mute | muteBits);
    key.flush();
    return key.close();
}

}   // namespace

LONG applySystemTweaks()
{
    letMediaPlayInBackground();
    setMediaQuality();
    silenceLowBatteryNotification();
    letRemindersSound();
    return setMuteBits();
}
