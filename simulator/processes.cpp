// Starting programs and threads. No program of the phone is really run: a start is a line of the journal.
#include "files.h"
#include "phone.h"

#include <shellapi.h>

namespace sim {
namespace {

// Pseudo handles the phone's headers compute instead of asking the system.
const HANDLE phoneCurrentThread = reinterpret_cast<HANDLE>(65);
const HANDLE phoneCurrentProcess = reinterpret_cast<HANDLE>(66);

// The phone's thread priorities, 0 for time-critical to 7 for idle, in the desktop's terms.
constexpr int desktopPriorities[] = {
    THREAD_PRIORITY_TIME_CRITICAL, THREAD_PRIORITY_HIGHEST, THREAD_PRIORITY_ABOVE_NORMAL, THREAD_PRIORITY_NORMAL,
    THREAD_PRIORITY_BELOW_NORMAL,  THREAD_PRIORITY_LOWEST,  THREAD_PRIORITY_LOWEST,       THREAD_PRIORITY_IDLE};

enum EventAction : DWORD { pulseEvent = 1, resetEvent = 2, setEvent = 3 };
enum TlsAction : DWORD { allocateSlot = 0, freeSlot = 1 };

std::wstring lastPart(const std::wstring &path)
{
    return path.substr(path.find_last_of(L'\\') + 1);
}

// Whether a name with or without its ".exe" is there: as a file, or in \Windows by the word of phone.ini.
bool programExists(const std::wstring &image)
{
    const bool bare = image.find(L'\\') == std::wstring::npos;
    for (const std::wstring &path : {image, image + L".exe"}) {
        if (existsOnPhone(bare ? L"\\Windows\\" + path : path) || (bare && existsOnPhone(L"\\" + path)))
            return true;
        const std::wstring name = lastPart(path);
        if ((bare || sameText(path.c_str(), (L"\\Windows\\" + name).c_str())) &&
            listed(L"programs", L"present", name.c_str()))
            return true;
    }
    return false;
}

// "mailto:", "http:" and their like belong to programs every phone has.
bool isAddress(const std::wstring &file)
{
    return file.find(L':') != std::wstring::npos;
}

void journalStart(const wchar_t *kind, const std::wstring &image, const std::wstring &arguments, bool found)
{
    std::vector<std::wstring> fields = {image, arguments};
    if (!found)
        fields.push_back(L"not found");
    journal(kind, fields);
}

// A handle like that of a program that has ended already: whoever waits for it goes on at once.
HANDLE endedProcess(const std::wstring &image)
{
    const HANDLE handle = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    rememberHandle(handle, HandleKind::process, image);
    return handle;
}

std::wstring textOf(LPCWSTR text)
{
    return text ? text : L"";
}

}   // namespace
}   // namespace sim

using namespace sim;

extern "C" {

// The command line goes without the program's name. The phone takes no security attributes, environment, directory or
// start-up information, and inherits no handles.
BOOL WINAPI simCreateProcessW(LPCWSTR image, LPWSTR commandLine, LPSECURITY_ATTRIBUTES process,
                              LPSECURITY_ATTRIBUTES thread, BOOL inherit, DWORD, LPVOID environment, LPWSTR directory,
                              LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information)
{
    if (!image || process || thread || inherit || environment || directory || startup) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const bool found = programExists(image);
    journalStart(L"process", image, textOf(commandLine), found);
    if (!found) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return FALSE;
    }
    if (information)
        *information = {endedProcess(image), endedProcess(image), 0x1000, 0x1004};
    return TRUE;
}

BOOL WINAPI simShellExecuteEx(LPSHELLEXECUTEINFOW info)
{
    if (!info || !info->lpFile) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const std::wstring file = info->lpFile;
    const bool found = !file.empty() && (isAddress(file) || existsOnPhone(file) || programExists(file));
    journalStart(L"shell", file, textOf(info->lpParameters), found);
    const bool wantsHandle = (info->fMask & SEE_MASK_NOCLOSEPROCESS) != 0;
    info->hProcess = found && wantsHandle ? endedProcess(file) : nullptr;
    info->hInstApp = reinterpret_cast<HINSTANCE>(static_cast<ULONG_PTR>(found ? 33 : SE_ERR_FNF));
    if (!found)
        SetLastError(ERROR_FILE_NOT_FOUND);
    return found;
}

BOOL WINAPI simTerminateProcess(HANDLE process, UINT code)
{
    if (process == phoneCurrentProcess || process == GetCurrentProcess())
        ExitProcess(code);   // which is what ending itself means on the phone: its DLLs hear of it
    return TerminateProcess(process, code);
}

BOOL WINAPI simSetThreadPriority(HANDLE thread, int priority)
{
    if (priority < 0 || priority >= static_cast<int>(ARRAYSIZE(desktopPriorities))) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return SetThreadPriority(thread == phoneCurrentThread ? GetCurrentThread() : thread, desktopPriorities[priority]);
}

BOOL WINAPI simEventModify(HANDLE event, DWORD action)
{
    switch (action) {
    case pulseEvent:
        return PulseEvent(event);
    case resetEvent:
        return ResetEvent(event);
    case setEvent:
        return SetEvent(event);
    default:
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
}

DWORD WINAPI simTlsCall(DWORD action, DWORD slot)
{
    return action == allocateSlot ? TlsAlloc() : action == freeSlot ? static_cast<DWORD>(TlsFree(slot)) : FALSE;
}

// On the desktop these are compiler built-ins; on the phone they are functions.
LONG WINAPI simInterlockedIncrement(LONG *value)
{
    return __sync_add_and_fetch(value, 1);
}
LONG WINAPI simInterlockedDecrement(LONG *value)
{
    return __sync_sub_and_fetch(value, 1);
}
LONG WINAPI simInterlockedExchange(LONG *value, LONG next)
{
    return __atomic_exchange_n(value, next, __ATOMIC_SEQ_CST);
}
LONG WINAPI simInterlockedExchangeAdd(LONG *value, LONG added)
{
    return __sync_fetch_and_add(value, added);
}
LONG WINAPI simInterlockedCompareExchange(LONG *value, LONG next, LONG expected)
{
    return __sync_val_compare_and_swap(value, expected, next);
}
LONG WINAPI simInterlockedTestExchange(LONG *value, LONG expected, LONG next)
{
    return __sync_val_compare_and_swap(value, expected, next);
}

}   // extern "C"
