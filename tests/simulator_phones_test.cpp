// What makes a phone: the folder PHONE names, what phone.ini says, and what the six phones answer about themselves.

#include <algorithm>
#include <cmath>

#include "control.h"
#include "doctest.h"
#include "host.h"
#include "notify.h"
#include "phone_folder.h"
#include "processes.h"

PHONE_API FARPROC GetProcAddressW(HMODULE module, const wchar_t *name);

namespace {

std::string currentName()
{
    wchar_t name[MAX_PATH] = L"";
    SimPhoneName(name, MAX_PATH);
    return narrow(name);
}

// The path as the host's own programs write it, where the desktop is Wine; empty elsewhere.
std::wstring unixPath(const std::wstring &path)
{
    using Translate = char *(const wchar_t *);
    const HMODULE kernel = GetModuleHandleA("kernel32.dll");
    const auto translate =
        reinterpret_cast<Translate *>(reinterpret_cast<void *>(GetProcAddress(kernel, "wine_get_unix_file_name")));
    char *const translated = translate ? translate(path.c_str()) : nullptr;
    const std::wstring result = translated ? widen(translated) : L"";
    if (translated)
        HeapFree(GetProcessHeap(), 0, translated);
    return result;
}

std::wstring forwardSlashes(std::wstring path)
{
    std::replace(path.begin(), path.end(), L'\\', L'/');
    return path;
}

std::wstring oemText()
{
    wchar_t text[64] = L"";
    REQUIRE(SystemParametersInfoW(SPI_GETOEMINFO, 64, text, 0));
    return text;
}

std::wstring platformText()
{
    wchar_t text[64] = L"";
    REQUIRE(SystemParametersInfoW(SPI_GETPLATFORMTYPE, 64, text, 0));
    return text;
}

int capability(int index)
{
    const HDC screen = GetDC(nullptr);
    const int value = GetDeviceCaps(screen, index);
    ReleaseDC(nullptr, screen);
    return value;
}

}   // namespace

// ---- PHONE -------------------------------------------------------------------------------------------------------------

TEST_CASE("PHONE names the phone folder as a Windows path or in unix form")
{
    TestPhone phone;
    const std::wstring unixForm = unixPath(phone.folder());
    const std::wstring forms[] = {phone.folder(), phone.folder() + L"\\", forwardSlashes(phone.folder()), unixForm,
                                  unixForm.empty() ? L"" : unixForm + L"/"};
    CHECK((unixForm.empty() || unixForm[0] == L'/'));
    for (const std::wstring &form : forms) {
        if (form.empty())
            continue;
        INFO(narrow(form));
        HostProcess engine("engine.exe", "", form.c_str());
        REQUIRE(waitFor([&] { return engine.output().find('\n') != std::string::npos; }));
        const std::string line = engine.output();
        REQUIRE(line.rfind("ready ", 0) == 0);
        const DWORD window = static_cast<DWORD>(std::stoul(line.substr(6)));
        CHECK(storedNumber(L"appWindow") == window);   // it found the registry of this very phone
        PostMessageA(reinterpret_cast<HWND>(static_cast<ULONG_PTR>(window)), WM_CLOSE, 0, 0);
        CHECK(engine.exitCode() == 0);
    }
}

TEST_CASE("a phone can be switched to by a path in either form")
{
    TestPhone phone;
    const std::string name = currentName();
    const PhoneFolder other;
    const std::wstring unixForm = unixPath(phone.folder());
    for (const std::wstring &form : {phone.folder(), forwardSlashes(phone.folder()) + L"/", unixForm}) {
        REQUIRE(other.use());
        CHECK(currentName() != name);
        if (form.empty())
            continue;
        INFO(narrow(form));
        REQUIRE(SimUsePhone(form.c_str()));
        CHECK(currentName() == name);
        CHECK(phone.fileExists(L"\\Windows"));
    }
}

TEST_CASE("a program without a phone says so and ends with 3")
{
    TestPhone phone;
    const std::wstring none = phone.folder() + L"\\none";
    const struct {
        const wchar_t *phone;
        std::string complaint;
    } cases[] = {
        {nullptr, "phone simulator: the environment variable PHONE must name a phone folder, such as phones/wm6\r\n"},
        {none.c_str(), "phone simulator: no phone.ini in the phone folder " + narrow(none) + "\r\n"},
    };
    for (const char *program : {"engine.exe", "kvsettings.exe"})
        for (const auto &each : cases) {
            const HostProcess process(program, "", each.phone);
            CHECK(process.exitCode() == 3);
            CHECK(process.output() == each.complaint);
        }
}

TEST_CASE("a program on a malformed phone says what is wrong and ends with 3")
{
    const PhoneFolder folder;
    folder.write("registry.reg", "Windows Registry Editor Version 5.00\n\n[bad\n");
    const HostProcess first("engine.exe", "", folder.path().c_str());
    CHECK(first.exitCode() == 3);
    CHECK(first.output() == "phone simulator: registry.reg: line 3 is not understood\r\n");

    folder.write("registry.reg", "Windows Registry Editor Version 5.00\n");
    folder.write("faults.txt", "# fine\nregistry fail\nnonsense\n");
    const HostProcess second("engine.exe", "", folder.path().c_str());
    CHECK(second.exitCode() == 3);
    CHECK(second.output() == "phone simulator: faults.txt: not understood: nonsense\r\n");
}

// ---- phone.ini ---------------------------------------------------------------------------------------------------------

TEST_CASE("what phone.ini leaves out has the documented default")
{
    const PhoneFolder folder;
    REQUIRE(folder.use());
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    REQUIRE(GetVersionExW(&version));
    CHECK(version.dwMajorVersion == 5);
    CHECK(version.dwMinorVersion == 2);
    CHECK(version.dwBuildNumber == 1235);
    CHECK(GetSystemMetrics(SM_CXSCREEN) == 240);
    CHECK(GetSystemMetrics(SM_CYSCREEN) == 320);
    CHECK(capability(LOGPIXELSX) == 96);
    CHECK(oemText().empty());
    CHECK(narrow(platformText()) == "PocketPC");
    CHECK(GetUserDefaultLCID() == 0x0409);
}

TEST_CASE("phone.ini may be UTF-8 or UTF-16, with comments, blanks and any letter case")
{
    const std::string text = "; comment\r\n# comment\n[PHONE]\r\n OEM =  M\xC3\xBCller = Co  \r\nOs=4.3\n[Screen]\n"
                             "WIDTH=0x1E0\n;height=1\nheight=100\nno value\n=\n";
    const std::wstring wide = L"\xFEFF" + widen(text);
    const std::string forms[] = {text, "\xEF\xBB\xBF" + text,
                                 std::string(reinterpret_cast<const char *>(wide.data()), wide.size() * 2)};
    for (const std::string &form : forms) {
        const PhoneFolder folder("ini", form);
        REQUIRE(folder.use());
        CHECK(narrow(oemText()) == "M\xC3\xBCller = Co");
        CHECK(GetSystemMetrics(SM_CXSCREEN) == 480);
        CHECK(GetSystemMetrics(SM_CYSCREEN) == 100);
        OSVERSIONINFOW version = {};
        version.dwOSVersionInfoSize = sizeof version;
        REQUIRE(GetVersionExW(&version));
        CHECK(version.dwMajorVersion == 4);
        CHECK(version.dwMinorVersion == 3);
        CHECK(version.dwBuildNumber == 0);
    }
}

// ---- The six phones ----------------------------------------------------------------------------------------------------

namespace {

struct KnownPhone {
    const char *name;
    DWORD major, minor, build;
    const char *oem;
    int width, height, dpi;
    LCID locale;
    const char *missing;   // optional exports
    bool player;
};

constexpr char noPlaying[] = "SndOpen, SndPlayAsync, SndPlaySync, SndGetWaitHandle, SndStop, SndClose";
constexpr char old[] = "SndOpen, SndPlayAsync, SndPlaySync, SndGetWaitHandle, SndStop, SndClose, "
                       "SndGetSoundDirectoriesList, SndGetSoundFileList, SndSetSound, SndGetSound, SHEnableSoftkey, "
                       "GetOpenFileNameEx, CeMountDBVolEx, CeCreateSession, CeOpenDatabaseInSession, "
                       "CeCreateDatabaseWithProps";

constexpr KnownPhone knownPhones[] = {
    {"wm6", 5, 2, 1235, "Example Phone 600", 240, 320, 96, 0x0409, "", true},
    {"wm5", 5, 1, 195, "Example Phone 500", 240, 320, 96, 0x0409, noPlaying, true},
    {"ppc2003", 4, 20, 1081, "Example Pocket PC", 240, 320, 96, 0x0409, old, false},
    {"vga", 5, 2, 19202, "Example Phone V480", 480, 640, 192, 0x0407, "", true},
    {"landscape", 5, 2, 1622, "Example Slider L320", 320, 240, 96, 0x0409, "", true},
    {"square", 5, 2, 1908, "Example Phone Q240", 240, 240, 96, 0x0809, "", true},
};

// A text of the phone's own phone.ini.
std::string iniText(const TestPhone &phone, const char *section, const char *key)
{
    char text[1024] = "";
    GetPrivateProfileStringA(section, key, "", text, sizeof text, (narrow(phone.folder()) + "\\phone.ini").c_str());
    return text;
}

}   // namespace

TEST_CASE("user notifications are counted, and listed as far as there is room")
{
    TestPhone phone;
    DWORD needed = 99;
    CHECK_FALSE(CeGetUserNotificationHandles(nullptr, 0, &needed));
    CHECK(GetLastError() == ERROR_INSUFFICIENT_BUFFER);
    CHECK(needed == 2);
    HANDLE handles[3] = {};
    CHECK_FALSE(CeGetUserNotificationHandles(handles, 1, &needed));
    CHECK(handles[0] != nullptr);
    CHECK(handles[1] == nullptr);
    CHECK(CeGetUserNotificationHandles(handles, 3, &needed));
    CHECK(handles[1] != nullptr);
    CHECK(handles[1] != handles[0]);
    CHECK(handles[2] == nullptr);
    phone.set(L"notifications", L"pending", L"0");
    CHECK(CeGetUserNotificationHandles(nullptr, 0, &needed));
    CHECK(needed == 0);
    CHECK(CeGetUserNotificationHandles(nullptr, 0, nullptr));
}

TEST_CASE("every phone answers for itself: version, maker, platform, screen, resolution, region")
{
    for (const KnownPhone &each : knownPhones) {
        INFO(std::string(each.name));
        const TestPhone phone(each.name);
        OSVERSIONINFOW version = {};
        version.dwOSVersionInfoSize = sizeof version;
        REQUIRE(GetVersionExW(&version));
        CHECK(version.dwMajorVersion == each.major);
        CHECK(version.dwMinorVersion == each.minor);
        CHECK(version.dwBuildNumber == each.build);
        CHECK(version.dwPlatformId == 3);
        CHECK(version.szCSDVersion[0] == 0);
        CHECK(narrow(oemText()) == each.oem);
        CHECK(narrow(platformText()) == "PocketPC");
        CHECK(GetSystemMetrics(SM_CXSCREEN) == each.width);
        CHECK(GetSystemMetrics(SM_CYSCREEN) == each.height);
        CHECK(capability(HORZRES) == each.width);
        CHECK(capability(VERTRES) == each.height);
        CHECK(capability(LOGPIXELSX) == each.dpi);
        CHECK(capability(LOGPIXELSY) == each.dpi);
        CHECK(GetUserDefaultLCID() == each.locale);
        CHECK(GetSystemDefaultLCID() == each.locale);
        CHECK(GetUserDefaultLangID() == LANGIDFROMLCID(each.locale));
        CHECK(GetSystemDefaultLangID() == LANGIDFROMLCID(each.locale));
    }
}

TEST_CASE("every phone lacks the exports its system does not have yet")
{
    for (const KnownPhone &each : knownPhones) {
        INFO(std::string(each.name));
        const TestPhone phone(each.name);
        CHECK(iniText(phone, "exports", "missing") == each.missing);
        CHECK(iniText(phone, "exports", "missing_modules").empty());
        CHECK(iniText(phone, "media", "player") == (each.player ? "1" : "0"));
        const HMODULE core = LoadLibraryW(L"coredll.dll"), shell = LoadLibraryW(L"aygshell.dll");
        for (const char *name = each.missing; *name; name += std::min(strcspn(name, " ") + 1, strlen(name))) {
            const std::wstring wanted = widen(std::string(name, strcspn(name, ", ")));
            CHECK((GetProcAddressW(core, wanted.c_str()) == nullptr));
            CHECK((GetProcAddressW(shell, wanted.c_str()) == nullptr));
        }
    }
}

TEST_CASE("every phone is seeded with the settings program's key")
{
    for (const KnownPhone &each : knownPhones) {
        INFO(std::string(each.name));
        const TestPhone phone(each.name);
        CHECK(storedText(L"InstallDir") == L"\\Program Files\\Kelvane");
        CHECK(phone.fileExists(L"\\Program Files\\Kelvane"));
        CHECK(phone.fileExists(L"\\Windows\\Rings"));
    }
}

TEST_CASE("version and texts are refused when their record or buffer has the wrong size")
{
    TestPhone phone;
    OSVERSIONINFOEXW wrong = {};
    for (const DWORD size : {DWORD(0), DWORD(sizeof(OSVERSIONINFOW) - 1), DWORD(sizeof(OSVERSIONINFOEXW))}) {
        wrong.dwOSVersionInfoSize = size;
        CHECK_FALSE(GetVersionExW(reinterpret_cast<OSVERSIONINFOW *>(&wrong)));
        CHECK(wrong.dwMajorVersion == 0);
    }
    wchar_t text[18] = L"untouched";
    CHECK_FALSE(SystemParametersInfoW(SPI_GETOEMINFO, 17, text, 0));   // "Example Phone 600" has 17 characters
    CHECK(GetLastError() == ERROR_INSUFFICIENT_BUFFER);
    CHECK(narrow(text) == "untouched");
    CHECK(SystemParametersInfoW(SPI_GETOEMINFO, 18, text, 0));
    CHECK(narrow(text) == "Example Phone 600");
    CHECK_FALSE(SystemParametersInfoW(SPI_GETOEMINFO, 18, nullptr, 0));
    CHECK_FALSE(SystemParametersInfoW(SPI_SETDESKWALLPAPER, 0, text, 0));   // would change the desktop
}

TEST_CASE("metrics grow with the phone's resolution, and unknown ones are 0")
{
    const struct {
        int index, at96;
    } scaled[] = {{SM_CXVSCROLL, 13}, {SM_CYHSCROLL, 13}, {SM_CYCAPTION, 26}, {SM_CYMENU, 26},  {SM_CXBORDER, 1},
                  {SM_CXICON, 32},    {SM_CYICON, 32},    {SM_CXSMICON, 16},  {SM_CYSMICON, 16}};
    for (const char *name : {"wm6", "vga"}) {
        const TestPhone phone(name);
        const int factor = strcmp(name, "vga") == 0 ? 2 : 1;
        for (const auto &each : scaled) {
            INFO(each.index);
            CHECK(GetSystemMetrics(each.index) == factor * each.at96);
        }
        CHECK(GetSystemMetrics(SM_CMONITORS) == 1);
        CHECK(GetSystemMetrics(SM_MOUSEPRESENT) == 1);
        CHECK(GetSystemMetrics(SM_CLEANBOOT) == 0);
        CHECK(GetSystemMetrics(9999) == 0);
    }
}

TEST_CASE("the one stock font is Tahoma of 9 points")
{
    for (const KnownPhone &each : knownPhones) {
        const TestPhone phone(each.name);
        LOGFONTW font = {};
        REQUIRE(GetObjectW(GetStockObject(SYSTEM_FONT), sizeof font, &font));
        CHECK(narrow(font.lfFaceName) == "Tahoma");
        CHECK(font.lfHeight == -12 * each.dpi / 96);
        CHECK(font.lfWeight == FW_NORMAL);
    }
}

TEST_CASE("dates, times and numbers are written as in the phone's region")
{
    const SYSTEMTIME time = {2008, 3, 5, 7, 14, 5, 9, 0};
    const struct {
        std::string phone, country, month, decimal;
    } cases[] = {{"wm6", "United States", "March", "."},
                 {"vga", "Germany", "M\xC3\xA4rz", ","},
                 {"square", "United Kingdom", "March", "."}};
    for (const auto &each : cases) {
        INFO(each.phone);
        const TestPhone phone(each.phone.c_str());
        wchar_t text[64] = L"";
        for (const LCID locale : {LCID(LOCALE_USER_DEFAULT), LCID(LOCALE_SYSTEM_DEFAULT), LCID(0)}) {
            REQUIRE(GetLocaleInfoW(locale, LOCALE_SENGCOUNTRY, text, 64));
            CHECK(narrow(text) == each.country);
            REQUIRE(GetDateFormatW(locale, 0, &time, L"MMMM", text, 64));
            CHECK(narrow(text) == each.month);
        }
        REQUIRE(GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, text, 64));
        CHECK(narrow(text) == each.decimal);
        REQUIRE(GetLocaleInfoW(0x0407, LOCALE_SDECIMAL, text, 64));   // asked for by number
        CHECK(narrow(text) == ",");
    }
}

// ---- The clock ---------------------------------------------------------------------------------------------------------

namespace {

std::string now()
{
    SYSTEMTIME time;
    GetLocalTime(&time);
    char text[64];
    std::snprintf(text, sizeof text, "%u-%02u-%02u %02u:%02u:%02u day %u", time.wYear, time.wMonth, time.wDay,
                  time.wHour, time.wMinute, time.wSecond, time.wDayOfWeek);
    return text;
}

// Seconds the phone's local time is away from the host's.
double awayFromHost()
{
    SYSTEMTIME here, there;
    GetLocalTime(&here);
    HOST("kernel32.dll", GetLocalTime)(&there);
    ULARGE_INTEGER a, b;
    SystemTimeToFileTime(&here, reinterpret_cast<FILETIME *>(&a));
    SystemTimeToFileTime(&there, reinterpret_cast<FILETIME *>(&b));
    return std::abs(static_cast<double>(static_cast<LONGLONG>(a.QuadPart - b.QuadPart))) / 1e7;
}

}   // namespace

TEST_CASE("the clock runs with the host's unless it is stopped")
{
    TestPhone phone;
    CHECK(awayFromHost() < 60);
    const SYSTEMTIME time = {2009, 12, 4, 31, 23, 59, 58, 500};
    SimSetClock(&time);
    CHECK(now() == "2009-12-31 23:59:58 day 4");
    SYSTEMTIME universal, local;
    GetSystemTime(&universal);
    REQUIRE(HOST("kernel32.dll", SystemTimeToTzSpecificLocalTime)(nullptr, &universal, &local));
    CHECK(local.wHour == 23);
    CHECK(local.wMinute == 59);
    wchar_t text[64] = L"";
    REQUIRE(GetTimeFormatW(0x0407, 0, nullptr, L"HH:mm:ss", text, 64));
    CHECK(narrow(text) == "23:59:58");
    REQUIRE(GetDateFormatW(0x0407, 0, nullptr, L"dd.MM.yyyy", text, 64));
    CHECK(narrow(text) == "31.12.2009");
    SimSetClock(nullptr);
    CHECK(awayFromHost() < 60);
}

TEST_CASE("phone.ini can stop the clock, a test can set it to another time, and another phone starts it again")
{
    const PhoneFolder folder("clock", "[clock]\nnow=2008-03-07 14:05:09\n");
    REQUIRE(folder.use());
    CHECK(now() == "2008-03-07 14:05:09 day 5");
    const SYSTEMTIME time = {2000, 1, 6, 1, 0, 0, 0, 0};
    SimSetClock(&time);
    CHECK(now() == "2000-01-01 00:00:00 day 6");
    SimSetClock(nullptr);
    CHECK(now() == "2008-03-07 14:05:09 day 5");
    SimSetClock(&time);
    REQUIRE(folder.use());
    CHECK(now() == "2008-03-07 14:05:09 day 5");
    TestPhone other;
    CHECK(awayFromHost() < 60);
    SimSetSetting(L"clock", L"now", L"2008-02-30 00:00:00");   // no such day
    CHECK(awayFromHost() < 60);
}

// ---- Texts of phone.ini, replaced --------------------------------------------------------------------------------------

TEST_CASE("a text of phone.ini is replaced for this process until the phone is played anew")
{
    TestPhone phone;
    phone.set(L"PHONE", L"Oem", L"Another maker");
    CHECK(narrow(oemText()) == "Another maker");
    phone.set(L"phone", L"platform", L"Smartphone");
    CHECK(narrow(platformText()) == "Smartphone");
    CHECK(iniText(phone, "phone", "oem") == "Example Phone 600");
    REQUIRE(SimUsePhone(phone.folder().c_str()));
    CHECK(narrow(oemText()) == "Example Phone 600");
}

TEST_CASE("a phone that cannot be played leaves none open")
{
    TestPhone phone;
    const PhoneFolder broken;
    broken.write("registry.reg", "nonsense");
    CHECK(broken.complaint() == "phone simulator: registry.reg: line 1 is not understood\r\n");
    REQUIRE(SimUsePhone(phone.folder().c_str()));
    CHECK(narrow(oemText()) == "Example Phone 600");
}
