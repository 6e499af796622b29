// The program as a person meets it: a process of its own, started, used and closed.

#include "control.h"
#include "doctest.h"
#include "page_window.h"
#include "processes.h"
#include "test_phone.h"

namespace {

constexpr wchar_t logPath[] = L"\\Program Files\\Kelvane\\Kelvane.log";
constexpr char invalidProfile[] = "** kvSettings: Invalid Profile: 0";
constexpr char openedOnce[] = "com initialize";   // the journal's line for one Options dialog

// A phone with nothing in its log.
struct CleanPhone : TestPhone {
    explicit CleanPhone(const char *base = "wm6") : TestPhone(base) { removeFile(logPath); }

    // For all processes started from now on.
    void setForAll(const wchar_t *section, const wchar_t *key, const wchar_t *value) const
    {
        WritePrivateProfileStringW(section, key, value, (folder() + L"\\phone.ini").c_str());
    }

    // faults.txt beside the phone's root; for all processes started from now on.
    void orderFaults(const char *text) const { writeFile((folder() + L"\\faults.txt").c_str(), text); }
};

// The settings program on a phone.
struct Settings : HostProcess {
    explicit Settings(const TestPhone &phone, const std::string &commandLine = "")
        : HostProcess("kvsettings.exe", commandLine, phone.folder().c_str())
    {
    }

    // Waits for the sheet, taps ok and waits for the end.
    int useAndClose() const
    {
        sheet();
        tapOk();
        return exitCode();
    }
};

std::vector<std::string> profileLines(const TestPhone &phone)
{
    std::vector<std::string> found;
    for (const std::string &line : phone.log())
        if (line.find("Invalid Profile") != std::string::npos)
            found.push_back(line);
    return found;
}

size_t dialogsOpened(const TestPhone &phone)
{
    size_t count = 0;
    for (const std::string &line : phone.journal("com"))
        count += line == openedOnce;
    return count;
}

// A visible window of this process in front of all others.
class WindowInFront {
public:
    WindowInFront(const wchar_t *className, const wchar_t *title)
    {
        WNDCLASSW description = {};
        description.lpfnWndProc = DefWindowProcW;
        description.hInstance = GetModuleHandleA(nullptr);
        description.lpszClassName = className;
        RegisterClassW(&description);
        window = CreateWindowExW(0, className, title, WS_POPUP | WS_VISIBLE, 0, 0, 100, 100, nullptr, nullptr,
                                 description.hInstance, nullptr);
        SetForegroundWindow(window);
        REQUIRE(waitFor([this] { return GetForegroundWindow() == window; }));
    }
    ~WindowInFront() { DestroyWindow(window); }
    WindowInFront(const WindowInFront &) = delete;
    WindowInFront &operator=(const WindowInFront &) = delete;

    HWND window;
};

std::wstring unixPath(const std::wstring &windowsPath)
{
    using Converter = char *(CDECL *)(const wchar_t *);
    const FARPROC found = GetProcAddress(GetModuleHandleA("kernel32.dll"), "wine_get_unix_file_name");
    if (!found)
        return L"";   // not Wine: there are no such paths
    char *path = reinterpret_cast<Converter>(reinterpret_cast<void *>(found))(windowsPath.c_str());
    const std::wstring converted = widen(path ? path : "");
    HeapFree(GetProcessHeap(), 0, path);
    return converted;
}

}   // namespace

// ---- Command line -----------------------------------------------------------------------------------------------------------

TEST_CASE("a process started with a profile number the program has not logs it once; with any other, nothing")
{
    struct Row {
        const char *commandLine;
        size_t lines;
    };
    constexpr Row rows[] = {{"", 0}, {"3", 0}, {"6", 0}, {"abc", 0}, {"9", 1}, {"-1", 1}};
    for (const Row &row : rows) {
        CAPTURE(row.commandLine);
        CleanPhone phone;
        Settings program(phone, row.commandLine);
        CHECK(program.useAndClose() == 0);
        CHECK(profileLines(phone) == std::vector<std::string>(row.lines, invalidProfile));
        CHECK(dialogsOpened(phone) == 1);
    }
}

// ---- One copy only ----------------------------------------------------------------------------------------------------------

TEST_CASE("a second start brings the first copy's sheet to the front and ends without a window of its own")
{
    CleanPhone phone;
    Settings first(phone, "2");
    const HWND sheet = first.sheet();
    WindowInFront other(L"InFrontCls", L"Something else");
    REQUIRE(GetForegroundWindow() != sheet);
    {
        Settings second(phone, "9");
        CHECK(second.exitCode() == 0);
        CHECK(second.output() == "");
    }
    CHECK(waitFor([&] { return GetForegroundWindow() == sheet; }));
    CHECK(first.isRunning());
    CHECK(first.windows(L"KelvaneSettingsCls").empty());   // the main window never shows
    CHECK(dialogsOpened(phone) == 1);
    CHECK(profileLines(phone).empty());
    first.tapOk();
    CHECK(first.exitCode() == 0);
}

TEST_CASE("after the first copy has ended the program starts again")
{
    CleanPhone phone;
    for (size_t start : {1, 2}) {
        Settings program(phone);
        CHECK(program.useAndClose() == 0);
        CHECK(dialogsOpened(phone) == start);
    }
}

TEST_CASE("a foreign window with the program's title is no running copy")
{
    CleanPhone phone;
    WindowInFront foreign(L"ForeignCls", L"Kelvane Settings");
    Settings program(phone);
    CHECK(program.useAndClose() == 0);
    CHECK(dialogsOpened(phone) == 1);
}

TEST_CASE("a foreign window with the program's class is no running copy")
{
    CleanPhone phone;
    WindowInFront foreign(L"KelvaneSettingsCls", L"Something else");
    Settings program(phone);
    CHECK(program.useAndClose() == 0);
    CHECK(dialogsOpened(phone) == 1);
}

// ---- Closing ----------------------------------------------------------------------------------------------------------------

TEST_CASE("closing with ok saves the settings and tells the engine once")
{
    CleanPhone phone;
    Engine engine(phone);
    storeText(L"Version", L"an old one");
    Settings program(phone);
    CHECK(program.useAndClose() == 0);
    CHECK(storedText(L"Version") == L"1.60.2 (#160)");
    CHECK(engine.received() == std::vector<std::string>{"0x81FD 0 0"});
    CHECK(phone.journal("message") == std::vector<std::string>{"message KelvaneZorCls 0x81FD 0 0"});
    CHECK(program.output() == "");
}

TEST_CASE("closing with Escape saves the settings and tells the engine once")
{
    CleanPhone phone;
    Engine engine(phone);
    storeText(L"Version", L"an old one");
    Settings program(phone);
    PostMessageA(program.sheet(), WM_COMMAND, IDCANCEL, 0);   // what the key comes to
    CHECK(program.exitCode() == 0);
    CHECK(storedText(L"Version") == L"1.60.2 (#160)");
    CHECK(engine.received() == std::vector<std::string>{"0x81FD 0 0"});
}

TEST_CASE("every phone opens and closes the program")
{
    for (const char *base : {"wm6", "wm5", "ppc2003", "vga", "landscape", "square"}) {
        CAPTURE(base);
        CleanPhone phone(base);
        Settings program(phone);
        CHECK(program.useAndClose() == 0);
        CHECK(program.output() == "");
        CHECK(storedValue(L"Version").present);
    }
}

// ---- Where the phone is -----------------------------------------------------------------------------------------------------

TEST_CASE("PHONE names the phone's folder as a Windows path or as a unix path")
{
    CleanPhone phone;
    std::wstring folder = phone.folder();
    SUBCASE("a Windows path") {}
    SUBCASE("a Windows path with slashes and one at its end")
    {
        for (wchar_t &each : folder)
            if (each == L'\\')
                each = L'/';
        folder += L'/';
    }
    SUBCASE("a unix path")
    {
        folder = unixPath(folder);
        if (folder.empty())
            return;
        REQUIRE(folder[0] == L'/');
    }
    storeText(L"Version", L"an old one");
    HostProcess program("kvsettings.exe", "9", folder.c_str());
    program.sheet();
    program.tapOk();
    CHECK(program.exitCode() == 0);
    CHECK(profileLines(phone).size() == 1);
    CHECK(storedText(L"Version") == L"1.60.2 (#160)");
}

TEST_CASE("without a phone the program ends with code 3 and says why")
{
    CleanPhone phone;
    const wchar_t *variable = nullptr;
    const char *reason = "PHONE must name a phone folder";
    SUBCASE("no PHONE") {}
    SUBCASE("an empty PHONE")
    {
        variable = L"";
    }
    SUBCASE("a folder that does not exist")
    {
        variable = L"C:\\no such folder";
        reason = "no phone.ini in the phone folder C:\\no such folder";
    }
    SUBCASE("a folder that is no phone")
    {
        variable = L"C:\\windows";
        reason = "no phone.ini in the phone folder C:\\windows";
    }
    HostProcess program("kvsettings.exe", "", variable);
    CHECK(program.exitCode() == 3);
    const std::string output = program.output();
    CAPTURE(output);
    CHECK(output.find(reason) != std::string::npos);
}

// ---- Faults -----------------------------------------------------------------------------------------------------------------

TEST_CASE("a registry that takes nothing does not keep the program from ending well and telling the engine")
{
    CleanPhone phone;
    Engine engine(phone);
    storeText(L"Version", L"an old one");
    phone.setForAll(L"clock", L"now", L"2008-03-07 14:05:09");
    storeNumber(L"ThisDay", 7);   // the day's counters are not reset
    const char *faults = "";
    SUBCASE("the key cannot be created")
    {
        faults = "registry create:Software\\Tessaryn\\Kelvane fail\n";
    }
    SUBCASE("no value can be written")
    {
        faults = "registry write:* fail\n";
    }
    SUBCASE("the system throws at the first value of either record")
    {
        faults = "registry 1 write:skinName raise\nregistry 1 write:billActive raise\n";
    }
    phone.orderFaults(faults);
    const std::string before = dumpKey(kelvaneKey);
    Settings program(phone);
    CHECK(program.useAndClose() == 0);
    CHECK(dumpKey(kelvaneKey) == before);
    CHECK(engine.received() == std::vector<std::string>{"0x81FD 0 0"});
}

TEST_CASE("a registry that gives nothing lets the program open, close and save defaults")
{
    CleanPhone phone;
    phone.orderFaults("registry open:Software\\Tessaryn\\Kelvane fail\n");
    Settings program(phone);
    CHECK(program.useAndClose() == 0);
    CHECK(storedText(L"Version") == L"1.60.2 (#160)");
    CHECK(storedNumber(L"shutdownDelay") == 45);
}

TEST_CASE("a log that cannot be written is done without")
{
    CleanPhone phone;
    Engine engine(phone);
    bool fileMade = false;
    SUBCASE("read-only storage")
    {
        phone.setForAll(L"storage", L"readonly", L"\\Program Files\\Kelvane");
    }
    SUBCASE("full storage")
    {
        phone.setForAll(L"storage", L"full", L"1");
        fileMade = true;
    }
    SUBCASE("a log that cannot be opened")
    {
        phone.orderFaults("file open:\\Program Files\\Kelvane\\Kelvane.log fail\n");
    }
    SUBCASE("a log that cannot be written to")
    {
        phone.orderFaults("file write:* fail\n");
        fileMade = true;
    }
    Settings program(phone, "9");
    CHECK(program.useAndClose() == 0);
    CHECK(phone.fileExists(logPath) == fileMade);
    if (fileMade)
        CHECK(phone.readFile(logPath) == "");
    CHECK(engine.received() == std::vector<std::string>{"0x81FD 0 0"});
}

TEST_CASE("a missing install directory leaves the program without a log, not without its settings")
{
    CleanPhone phone;
    Engine engine(phone);
    removeValue(L"InstallDir");
    removeValue(L"InstallDir", L"Software\\Apps\\Tessaryn Kelvane", HKEY_LOCAL_MACHINE);
    phone.removeFolder(L"\\Program Files\\Kelvane");
    storeText(L"Version", L"an old one");
    Settings program(phone, "9");
    CHECK(program.useAndClose() == 0);
    CHECK_FALSE(phone.fileExists(L"\\Program Files\\Kelvane"));
    CHECK_FALSE(phone.fileExists(L"\\Kelvane.log"));
    CHECK(storedText(L"Version") == L"1.60.2 (#160)");
    CHECK(engine.received() == std::vector<std::string>{"0x81FD 0 0"});
}
