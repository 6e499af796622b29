#include "environment.h"

#include <initializer_list>

#include "log.h"
#include "registry.h"
#include "scaling.h"
#include "user_settings.h"
#include "version.h"

wchar_t *appPath;

DWORD isOsVersion3;
DWORD isOsVersion4;
DWORD isOsVersion5;
DWORD isTreo;
DWORD isI730;
DWORD isP525;
DWORD isArte;
DWORD isTexasInstruments;
DWORD isTreo750;
DWORD isOtherTreo;
DWORD needsKeyWorkaround;
DWORD isLandscape;
DWORD hasSynchrologic;
DWORD excludesMidiSounds;

namespace {

// What the installer writes on the machine, as opposed to what the program keeps for the user.
constexpr wchar_t installerKey[] = L"Software\\Apps\\Tessaryn Kelvane";
constexpr wchar_t installDirValue[] = L"InstallDir";

constexpr wchar_t germanInstallDir[] = L"\\Programme\\Kelvane";
constexpr wchar_t englishInstallDir[] = L"\\Program Files\\Kelvane";

constexpr size_t pathCapacity = 260;   // 520 bytes, the most that is read of a stored path
constexpr size_t shortestInstallDir = 10;
constexpr size_t oemCapacity = 2048;   // the system is told 2048, which it may take as bytes or as characters

void readInstallDir(HKEY root, const wchar_t *path, wchar_t (&folder)[pathCapacity])
{
    RegistryKey key;
    if (key.open(root, path) == ERROR_SUCCESS)
        readText(key, installDirValue, folder);
}

bool isTooShort(const wchar_t *folder)
{
    return wcslen(folder) < shortestInstallDir;
}

void findInstallDir(wchar_t (&folder)[pathCapacity])
{
    folder[0] = 0;
    readInstallDir(HKEY_CURRENT_USER, programKey, folder);
    if (isTooShort(folder))
        readInstallDir(HKEY_LOCAL_MACHINE, installerKey, folder);
    if (isTooShort(folder) && !pathExists(folder))
        copyText(folder, pathExists(germanInstallDir) ? germanInstallDir : englishInstallDir);
}

DWORD flag(bool condition)
{
    return condition ? 1 : 0;
}

bool contains(const wchar_t *text, const wchar_t *part)
{
    return wcsstr(text, part) != nullptr;
}

bool containsAny(const wchar_t *text, std::initializer_list<const wchar_t *> parts)
{
    for (const wchar_t *part : parts)
        if (contains(text, part))
            return true;
    return false;
}

void readOsVersion()
{
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    GetVersionExW(&version);
    isOsVersion3 = flag(version.dwMajorVersion == 3);
    isOsVersion4 = flag(version.dwMajorVersion == 4);
    isOsVersion5 = flag(version.dwMajorVersion >= 5);
    if (version.dwMajorVersion < 3)
        writeLog("** Unsupported OS version!!");
}

void readOemText(wchar_t (&oem)[oemCapacity])
{
    oem[0] = 0;
    SystemParametersInfoW(SPI_GETOEMINFO, oemCapacity, oem, 0);
    oem[oemCapacity - 1] = 0;
    _wcslwr(oem);
}

void setModelFlags(const wchar_t *oem)
{
    isTreo = flag(contains(oem, L"treo"));
    isI730 = flag(containsAny(oem, {L"i73", L"i83"}));
    isP525 = flag(containsAny(oem, {L"p525", L"p535"}));
    isArte = flag(wcsncmp(oem, L"arte", 4) == 0);
    isTexasInstruments = flag(contains(oem, L"texas instrument"));
}

void setTreoFlags()
{
    isTreo750 = isOtherTreo = 0;
    RegistryKey key;
    if (!isTreo || key.open(HKEY_LOCAL_MACHINE, L"Software\\Palm\\Version") != ERROR_SUCCESS)
        return;
    wchar_t software[pathCapacity] = L"";
    readText(key, L"SoftwareVersionString", software);
    isTreo750 = flag(contains(software, L"treo750"));
    isOtherTreo = flag(!isTreo750);
}

bool userKeyExists(const wchar_t *path)
{
    RegistryKey key;
    return key.open(HKEY_CURRENT_USER, path) == ERROR_SUCCESS;
}

// This model's notification light stays off unless it is counted as in use.
void repairNotificationLed()
{
    RegistryKey key;
    if (key.create(HKEY_CURRENT_USER, L"ControlPanel\\Notifications\\Default") == ERROR_SUCCESS)
        writeNumber(key, L"LedRefCount", 1);
}

// The maker's text is made narrow first: the formatter would stop at a character that is not plain ASCII. Never part of
// its caller, whose own buffers would then lie on the stack together with these.
[[gnu::noinline]] void logDeviceType(const wchar_t *oem)
{
    char narrowOem[oemCapacity];
    char line[oemCapacity + 128];
    narrowText(narrowOem, oem);
    formatText(line, "getDeviceType: Ver:%S, %s, %s, x:%d, y:%d", programVersion, narrowOem,
               isOsVersion5 ? "WM5" : "WM2003", GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN));
    writeLog(line);
}

}   // namespace

bool pathExists(const wchar_t *path)
{
    return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
}

wchar_t *getAppPath()
{
    try {
        if (appPath && contains(appPath, L"\\Kelvane"))
            return appPath;
        freeText(appPath);
        wchar_t folder[pathCapacity];
        findInstallDir(folder);
        appPath = duplicateText(folder);
    } catch (...) {
        writeLog("** Exception getAppPath **");
    }
    return appPath;
}

void getDeviceType()
{
    readOsVersion();
    wchar_t oem[oemCapacity];
    readOemText(oem);
    setModelFlags(oem);
    setTreoFlags();
    needsKeyWorkaround = flag(isI730 || isTreo || containsAny(oem, {L"mio ", L"g50v", L"x500", L"loox"}));
    isLandscape = flag(screenOrientation() != 1);
    hasSynchrologic = flag(userKeyExists(L"Software\\Synchrologic"));
    if (contains(oem, L"wiza"))
        repairNotificationLed();
    if (userSettings.loggingOption & logDetailed)
        logDeviceType(oem);
}
