#include "support.h"

#include "environment.h"
#include "log.h"
#include "memory.h"
#include "notify.h"
#include "registry.h"
#include "shell_execute.h"
#include "text.h"
#include "user_settings.h"

namespace {

constexpr wchar_t preferredMailProgram[] = L"\\Windows\\pmail.exe";
constexpr wchar_t otherMailProgram[] = L"\\Windows\\tmail.exe";

constexpr size_t ownerCapacity = 260;   // 520 bytes
constexpr size_t shortCapacity = 50;    // 100 bytes
constexpr size_t platformCapacity = 260;

// Too large for the stack.
struct MailTexts {
    wchar_t owner[ownerCapacity];
    wchar_t oem[oemCapacity];
    wchar_t body[ownerCapacity + oemCapacity + 260];
    wchar_t arguments[ownerCapacity + oemCapacity + 400];
};

struct LogTexts {
    wchar_t wide[oemCapacity];
    char narrow[2 * oemCapacity];
    char line[2 * oemCapacity + 200];
};

// ---- What the phone says ------------------------------------------------------------------------------------------

template <size_t capacity>
void readValue(HKEY root, const wchar_t *path, const wchar_t *name, wchar_t (&text)[capacity])
{
    text[0] = 0;
    RegistryKey key;
    if (key.open(root, path) == ERROR_SUCCESS)
        readText(key, name, text);
}

void readOwner(wchar_t (&owner)[ownerCapacity])
{
    readValue(HKEY_CURRENT_USER, L"ControlPanel\\Owner", L"Owner", owner);
}

OSVERSIONINFOW systemVersion()
{
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    GetVersionExW(&version);
    return version;
}

int pendingNotifications()
{
    DWORD count = 0;
    CeGetUserNotificationHandles(nullptr, 0, &count);
    return static_cast<int>(count);
}

// ---- Mail ---------------------------------------------------------------------------------------------------------

void buildArguments(MailTexts &texts, const wchar_t *version)
{
    readOwner(texts.owner);
    readOemText(texts.oem);
    const OSVERSIONINFOW system = systemVersion();
    formatText(texts.body, L"%s\r\nPPC:  %s, v%d.%d\r\nVersion: %s", texts.owner, texts.oem,
               static_cast<int>(system.dwMajorVersion), static_cast<int>(system.dwMinorVersion), version);
    formatText(texts.arguments, L"-to \"%s\" -body \"ID:   %s\"", supportAddress, texts.body);
}

void startMailProgram(const wchar_t *arguments)
{
    ShellExecuteInfo start = {};
    start.cbSize = sizeof start;
    start.lpFile = pathExists(preferredMailProgram) ? preferredMailProgram : otherMailProgram;
    start.lpParameters = arguments;
    start.nShow = SW_SHOWNORMAL;
    ShellExecuteEx(&start);
}

// ---- Log ----------------------------------------------------------------------------------------------------------

// Made narrow first: the formatter would stop at a character that is not plain ASCII.
void logText(LogTexts &texts, const char *format, const wchar_t *text)
{
    narrowText(texts.narrow, text);
    formatText(texts.line, format, texts.narrow);
    writeLog(texts.line);
}

void logPlatform(LogTexts &texts)
{
    wchar_t platform[platformCapacity] = L"";
    SystemParametersInfoW(SPI_GETPLATFORMTYPE, platformCapacity, platform, 0);
    platform[platformCapacity - 1] = 0;
    logText(texts, "Device : %s", platform);
}

void logOwner(LogTexts &texts)
{
    wchar_t owner[ownerCapacity];
    readOwner(owner);
    logText(texts, "Owner  : %s", owner);
}

void logSystem(LogTexts &texts)
{
    wchar_t update[shortCapacity];
    char narrowUpdate[2 * shortCapacity];
    readValue(HKEY_LOCAL_MACHINE, L"System\\Versions", L"Aku", update);
    narrowText(narrowUpdate, update);
    readOemText(texts.wide);
    narrowText(texts.narrow, texts.wide);
    const OSVERSIONINFOW system = systemVersion();
    formatText(texts.line, "PPC    : %s, v%d.%d (AKU: %s)", texts.narrow, static_cast<int>(system.dwMajorVersion),
               static_cast<int>(system.dwMinorVersion), narrowUpdate);
    writeLog(texts.line);
}

void logAlarms()
{
    const UserSettings &s = userSettings;
    writeLogFormatted("Active Alarms (%d): E:%d S:%d V:%d M:%d B:%d S:%d(%d)", pendingNotifications(), s.Email, s.SMS,
                      s.voiceMail, s.missedCalls, s.batteryAlarm, s.signalAlarm, s.lowSignalLevel);
}

// The user's own number and, where that is set, its companion; else the numbers the network has given.
void logVoiceMail(LogTexts &texts)
{
    wchar_t first[shortCapacity] = L"", second[shortCapacity] = L"";
    RegistryKey key;
    if (key.open(HKEY_CURRENT_USER, L"Software\\Microsoft\\VMail") == ERROR_SUCCESS) {
        const bool own = readText(key, L"UserProvidedNumber1", first);
        if (!own)
            readText(key, L"PhoneNumber1", first);
        readText(key, own ? L"UserProvidedNumber2" : L"PhoneNumber2", second);
    }
    formatText(texts.wide, L"%s, %s, %s", first, second, userSettings.voicemail2 ? userSettings.voicemail2 : L"");
    logText(texts, "Voicemail#: %s", texts.wide);
}

const char *levelName()
{
    if (userSettings.loggingOption & logSignal)
        return "Signal";
    return userSettings.loggingOption & logDetailed ? "Detail" : "Basic";
}

void warnOfUnsupportedDevice()
{
    RegistryKey key;
    if (key.open(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Apps\\Cyberbank") == ERROR_SUCCESS)
        writeLog("** Warning: Cyberbank POZ device - Not supported!");
}

void logAll(LogTexts &texts, const wchar_t *version)
{
    logPlatform(texts);
    logOwner(texts);
    writeLogFormatted("Layout : %d x %d", GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN));
    logSystem(texts);
    logText(texts, "Version: %s", version);
    if (userSettings.sysPhoneName && userSettings.sysPhoneName[0])
        logText(texts, "Operator: %s", userSettings.sysPhoneName);
    logAlarms();
    if (userSettings.voiceMail)
        logVoiceMail(texts);
    writeLogFormatted("Log-level: %s", levelName());
    warnOfUnsupportedDevice();
}

}   // namespace

void sendSupportMail(const wchar_t *version)
{
    try {
        HeapArray<MailTexts> texts(1);
        buildArguments(*texts, version);
        startMailProgram(texts[0].arguments);
    } catch (...) {
        writeLog("** Exception sendSupportMail **");
    }
}

void writeSupportInfo(const wchar_t *version)
{
    try {
        HeapArray<LogTexts> texts(1);
        logAll(*texts, version);
    } catch (...) {
        writeLog("** Exception writeSupportInfo **");
    }
}
