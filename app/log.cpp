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

// An open file, closed at the end of its scope at the latest.
class LogFile {
public:
    explicit LogFile(const wchar_t *path) { open(path); }
    LogFile(const LogFile &) = delete;
    LogFile &operator=(const LogFile &) = delete;
    ~LogFile() { close(); }

    bool isOpen() const { return handle != INVALID_HANDLE_VALUE; }
    void startAgainWhenFull(const wchar_t *path);
    bool moveToEnd() { return SetFilePointer(handle, 0, nullptr, FILE_END) != INVALID_SET_FILE_POINTER; }
    void write(const char *bytes);

private:
    void open(const wchar_t *path)
    {
        handle = CreateFileW(path, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    }
    void close()
    {
        if (isOpen())
            CloseHandle(handle);
        handle = INVALID_HANDLE_VALUE;
    }

    HANDLE handle;
};

// A log whose size cannot be told is not thrown away.
void LogFile::startAgainWhenFull(const wchar_t *path)
{
    const DWORD size = GetFileSize(handle, nullptr);
    if (size == INVALID_FILE_SIZE || size <= logSizeLimit)
        return;
    close();
    DeleteFileW(path);
    open(path);
}

void LogFile::write(const char *bytes)
{
    DWORD written;
    WriteFile(handle, bytes, static_cast<DWORD>(strlen(bytes)), &written, nullptr);
}

void appendLine(LogFile &file, const char *text)
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    char prefix[32];
    formatText(prefix, "%02d/%02d %02d:%02d:%02d ->", now.wDay, now.wMonth, now.wHour, now.wMinute, now.wSecond);
    file.write(prefix);
    file.write(text);
    file.write("\r\n");
}

void appendToLog(const char *text)
{
    wchar_t path[MAX_PATH + countOf(logName)];
    buildLogPath(path);
    LogFile file(path);
    if (!file.isOpen())
        return;
    file.startAgainWhenFull(path);
    if (file.isOpen() && file.moveToEnd())
        appendLine(file, text);
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
    try {
        appendToLog(text);
    } catch (...) {
        // There is no log to say it in.
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
