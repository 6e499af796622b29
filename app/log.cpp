#include "log.h"

#include "environment.h"
#include "user_settings.h"

CRITICAL_SECTION logLock;

namespace {

// The file starts again, empty, once it has grown beyond this.
constexpr DWORD logSizeLimit = 60000;

constexpr wchar_t logName[] = L"\\Kelvane.log";
constexpr wchar_t englishFolder[] = L"\\Program Files\\Kelvane";
constexpr wchar_t germanFolder[] = L"\\Programme\\Kelvane";

// Set up before WinMain runs, so that a line can be written from anywhere at any time.
struct LogLockSetUp {
    LogLockSetUp() { InitializeCriticalSection(&logLock); }
} logLockSetUp;

// Tries, waits once, tries again: the writer never blocks its caller.
bool takeLogLock()
{
    if (TryEnterCriticalSection(&logLock))
        return true;
    Sleep(10);
    return TryEnterCriticalSection(&logLock);
}

template <size_t capacity> void buildLogPath(wchar_t (&path)[capacity])
{
    const bool hasInstallPath = appPath && appPath[0];
    const wchar_t *folder = hasInstallPath ? appPath : L"";
    if (!hasInstallPath) {
        if (pathExists(englishFolder))
            folder = englishFolder;
        else if (pathExists(germanFolder))
            folder = germanFolder;
    }
    formatText(path, L"%s%s", folder, logName);
}

HANDLE openLogFile(const wchar_t *path)
{
    return CreateFileW(path, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// A log whose size cannot be told is not thrown away.
bool isFull(HANDLE file)
{
    const DWORD size = GetFileSize(file, nullptr);
    return size != INVALID_FILE_SIZE && size > logSizeLimit;
}

// The log opened for appending, started afresh when it is full; INVALID_HANDLE_VALUE when that is not possible.
HANDLE openLog()
{
    wchar_t path[MAX_PATH + countOf(logName)];
    buildLogPath(path);
    HANDLE file = openLogFile(path);
    if (file == INVALID_HANDLE_VALUE)
        return file;
    if (isFull(file)) {
        CloseHandle(file);
        DeleteFileW(path);
        file = openLogFile(path);
    }
    return file;
}

void writeBytes(HANDLE file, const char *bytes)
{
    DWORD written;
    WriteFile(file, bytes, static_cast<DWORD>(strlen(bytes)), &written, nullptr);
}

void appendLine(HANDLE file, const char *text)
{
    SetFilePointer(file, 0, nullptr, FILE_END);
    SYSTEMTIME now;
    GetLocalTime(&now);
    char prefix[32];
    formatText(prefix, "%02d/%02d %02d:%02d:%02d ->", now.wDay, now.wMonth, now.wHour, now.wMinute, now.wSecond);
    writeBytes(file, prefix);
    writeBytes(file, text);
    writeBytes(file, "\r\n");
}

bool isWanted(const char *text)
{
    return (userSettings.loggingOption & 0xFF) != 0 || text[0] == '*';
}

}   // namespace

void writeLog(const char *text)
{
    if (!isWanted(text) || !takeLogLock())
        return;
    const HANDLE file = openLog();
    if (file != INVALID_HANDLE_VALUE) {
        appendLine(file, text);
        CloseHandle(file);
    }
    LeaveCriticalSection(&logLock);
}

void writeLogFormatted(const char *format, ...)
{
    char line[1024];
    va_list arguments;
    va_start(arguments, format);
    formatInto(line, countOf(line), format, arguments);
    va_end(arguments);
    writeLog(line);
}
