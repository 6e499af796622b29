#include "processes.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "doctest.h"

namespace fs = std::filesystem;

// The desktop's functions that have a phone's namesake are called by their 8-bit names: the simulator takes the wide ones.

namespace {

fs::path folderOfThisTest()
{
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    return fs::path(program).parent_path();
}

std::string desktopOfThisTest()
{
    char name[128] = "";
    GetUserObjectInformationA(GetThreadDesktop(GetCurrentThreadId()), UOI_NAME, name, sizeof name, nullptr);
    return name;
}

std::string newOutputFile()
{
    static int count;
    const std::string name =
        "kelvane-output-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++count) + ".txt";
    return (fs::temp_directory_path() / name).string();
}

HANDLE openForChild(const std::string &path)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    return CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inherited,
                       CREATE_ALWAYS, 0, nullptr);
}

// PHONE as the child is to find it; as it was afterwards.
struct PhoneVariable {
    explicit PhoneVariable(const wchar_t *value)
    {
        known = GetEnvironmentVariableW(L"PHONE", former, MAX_PATH) > 0;
        SetEnvironmentVariableW(L"PHONE", value);
    }
    ~PhoneVariable() { SetEnvironmentVariableW(L"PHONE", known ? former : nullptr); }
    wchar_t former[MAX_PATH];
    bool known;
};

struct WindowsWanted {
    DWORD process;
    const wchar_t *className;
    std::vector<HWND> found;
};

BOOL CALLBACK collectWindow(HWND window, LPARAM parameter)
{
    WindowsWanted &wanted = *reinterpret_cast<WindowsWanted *>(parameter);
    DWORD process = 0;
    wchar_t className[64] = L"";
    GetWindowThreadProcessId(window, &process);
    GetClassNameW(window, className, 64);
    if (process == wanted.process && wcscmp(className, wanted.className) == 0 && IsWindowVisible(window))
        wanted.found.push_back(window);
    return TRUE;
}

bool isSheet(HWND window)
{
    DWORD_PTR tabs = 0;
    return SendMessageTimeoutA(window, PSM_GETTABCONTROL, 0, 0, SMTO_ABORTIFHUNG, 1000, &tabs) && tabs;
}

}   // namespace

HostProcess::HostProcess(const char *program, const std::string &arguments, const wchar_t *phoneFolder)
    : outputFile(newOutputFile())
{
    const HANDLE output = openForChild(outputFile);
    std::string desktop = desktopOfThisTest();
    STARTUPINFOA how = {};
    how.cb = sizeof how;
    how.lpDesktop = desktop.data();
    how.dwFlags = STARTF_USESTDHANDLES;
    how.hStdOutput = how.hStdError = output;
    std::string commandLine = "\"" + (folderOfThisTest() / program).string() + "\"";
    if (!arguments.empty())
        commandLine += " " + arguments;
    const PhoneVariable variable(phoneFolder);
    const BOOL started =
        CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &how, &process);
    CloseHandle(output);
    REQUIRE_MESSAGE(started, "cannot start " << commandLine);
}

HostProcess::~HostProcess()
{
    if (isRunning()) {
        TerminateProcess(process.hProcess, 99);
        WaitForSingleObject(process.hProcess, 10000);
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    DeleteFileA(outputFile.c_str());
}

bool HostProcess::isRunning() const
{
    return WaitForSingleObject(process.hProcess, 0) == WAIT_TIMEOUT;
}

int HostProcess::exitCode() const
{
    REQUIRE(waitFor([this] { return !isRunning(); }));
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    return static_cast<int>(code);
}

std::string HostProcess::output() const
{
    std::ifstream stream(outputFile, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

std::vector<HWND> HostProcess::windows(const wchar_t *className) const
{
    WindowsWanted wanted = {process.dwProcessId, className, {}};
    EnumDesktopWindows(GetThreadDesktop(GetCurrentThreadId()), collectWindow, reinterpret_cast<LPARAM>(&wanted));
    return wanted.found;
}

HWND HostProcess::sheet() const
{
    HWND found = nullptr;
    const bool stands = waitFor([&] {
        for (HWND window : windows(L"#32770"))
            if (isSheet(window))
                found = window;
        return found || !isRunning();
    });
    REQUIRE_MESSAGE((stands && found), "no sheet; the program printed: " << output());
    return found;
}

void HostProcess::tapOk() const
{
    const std::vector<HWND> bars = windows(L"HHTaskBar");
    REQUIRE(bars.size() == 1);
    RECT bar;
    GetClientRect(bars[0], &bar);
    const LONG middle = bar.bottom / 2;   // the round button's place from the bar's right end, too
    PostMessageA(bars[0], WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(bar.right - middle, middle));
}

// ---- The engine -------------------------------------------------------------------------------------------------------

namespace {

constexpr char ready[] = "ready ";

HWND readWindow(const HostProcess &process)
{
    REQUIRE(waitFor([&] { return process.output().find('\n') != std::string::npos || !process.isRunning(); }));
    const std::string line = process.output();
    REQUIRE_MESSAGE(line.rfind(ready, 0) == 0, "the engine printed: " << line);
    return reinterpret_cast<HWND>(static_cast<ULONG_PTR>(std::strtoul(line.c_str() + strlen(ready), nullptr, 10)));
}

constexpr UINT markMessage = WM_APP + 1;   // means nothing to anybody

}   // namespace

Engine::Engine(const TestPhone &phone, const char *arguments)
    : phone(phone), process("engine.exe", arguments, phone.folder().c_str()), engineWindow(readWindow(process))
{
}

Engine::~Engine()
{
    // It takes its handle out of the registry, which must be over before the phone goes.
    PostMessageA(engineWindow, WM_CLOSE, 0, 0);
    waitFor([this] { return !process.isRunning(); });
}

std::vector<std::string> Engine::received() const
{
    // Messages arrive in their order: once this one is there, so is everything before it.
    static int marks;
    const std::string mark = "engine 0x8001 " + std::to_string(++marks) + " 0";
    PostMessageA(engineWindow, markMessage, static_cast<WPARAM>(marks), 0);
    std::vector<std::string> lines;
    REQUIRE(waitFor([&] {
        lines = phone.journal("engine");
        return !lines.empty() && lines.back() == mark;
    }));
    std::vector<std::string> messages;
    for (const std::string &line : lines)
        if (line.rfind("engine 0x8001 ", 0) != 0)
            messages.push_back(line.substr(strlen("engine ")));
    return messages;
}
