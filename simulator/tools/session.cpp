// A person's session with a phone, inside the desktop window that shows it: the program with the engine beside it.
//
//   session.exe [--without-engine] STATUS-FILE PROGRAM [ARGUMENT...]
//
// Runs PROGRAM to its end and writes its exit code as text to STATUS-FILE, because the desktop's own starter
// (explorer /desktop=...) answers 0 whatever happens. engine.exe is taken from this program's folder; without it, what is
// stored of an engine's window stays as it is.
#include <windows.h>

#include <cstdio>
#include <string>

namespace {

constexpr DWORD startLimit = 10000;   // ms
constexpr int exitCodeUsage = 2, exitCodeNotStarted = 127;

std::wstring folderOfThisProgram()
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring full = path;
    return full.substr(0, full.find_last_of(L'\\') + 1);
}

// The command line from its argument number first on, as it was written.
std::wstring commandLineFrom(int first)
{
    const wchar_t *rest = GetCommandLineW();
    for (int skipped = 0; *rest && skipped < first; ++skipped) {
        for (bool quoted = false; *rest && (quoted || *rest != L' '); ++rest)
            quoted ^= *rest == L'"';
        while (*rest == L' ')
            ++rest;
    }
    return rest;
}

bool start(std::wstring commandLine, PROCESS_INFORMATION &process)
{
    STARTUPINFOW how{};
    how.cb = sizeof(how);
    if (CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &how, &process))
        return true;
    fprintf(stderr, "session: cannot start %ls (error %lu)\n", commandLine.c_str(), GetLastError());
    return false;
}

void release(const PROCESS_INFORMATION &process)
{
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}

// Starts the engine, waits until its window stands, and answers whether it runs.
bool startEngine(PROCESS_INFORMATION &engine)
{
    if (!start(L"\"" + folderOfThisProgram() + L"engine.exe\"", engine))
        return false;
    WaitForInputIdle(engine.hProcess, startLimit);
    return true;
}

void endEngine(const PROCESS_INFORMATION &engine)
{
    PostThreadMessageW(engine.dwThreadId, WM_QUIT, 0, 0);
    if (WaitForSingleObject(engine.hProcess, startLimit) == WAIT_TIMEOUT)
        TerminateProcess(engine.hProcess, 1);
    release(engine);
}

DWORD runToEnd(const std::wstring &commandLine)
{
    PROCESS_INFORMATION program;
    if (!start(commandLine, program))
        return exitCodeNotStarted;
    WaitForSingleObject(program.hProcess, INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(program.hProcess, &status);
    release(program);
    return status;
}

bool writeStatus(const wchar_t *path, DWORD status)
{
    FILE *file = _wfopen(path, L"wb");
    if (!file)
        return false;
    fprintf(file, "%lu\n", status);
    return fclose(file) == 0;
}

}   // namespace

int wmain(int argumentCount, wchar_t **arguments)
{
    const bool withEngine = argumentCount < 2 || wcscmp(arguments[1], L"--without-engine") != 0;
    const int first = withEngine ? 1 : 2;
    if (argumentCount < first + 2) {
        fprintf(stderr, "usage: session [--without-engine] STATUS-FILE PROGRAM [ARGUMENT...]\n");
        return exitCodeUsage;
    }
    PROCESS_INFORMATION engine;
    const bool engineRuns = withEngine && startEngine(engine);
    const DWORD status = runToEnd(commandLineFrom(first + 1));
    if (engineRuns)
        endEngine(engine);
    return writeStatus(arguments[first], status) ? 0 : 1;
}
