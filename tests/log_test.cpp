#include "log.h"

#include <algorithm>
#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "test_phone.h"
#include "text.h"
#include "user_settings.h"

namespace {

constexpr wchar_t logFile[] = L"\\Program Files\\Kelvane\\Kelvane.log";
constexpr wchar_t openOfLogFile[] = L"open:\\Program Files\\Kelvane\\Kelvane.log";

// 7 March, 14:05:09.
constexpr SYSTEMTIME afternoon = {2008, 3, 5, 7, 14, 5, 9, 0};
constexpr char afternoonPrefix[] = "07/03 14:05:09 ->";

constexpr DWORD sizeLimit = 60000;

void setInstallPath(const wchar_t *path)
{
    freeText(appPath);
    if (path)
        appPath = duplicateText(path);
}

// A phone on which the program is installed, logging is on and the clock stands.
struct LogPhone : TestPhone {
    LogPhone()
    {
        setInstallPath(installFolder);
        userSettings.loggingOption = 1;
        SimSetClock(&afternoon);
    }
    ~LogPhone()
    {
        setInstallPath(nullptr);
        userSettings.loggingOption = 0;
    }

    // The whole log; empty when there is none.
    std::string content() const { return fileExists(logFile) ? readFile(logFile) : ""; }
};

// A line as it stands in the file.
std::string stamped(const std::string &text)
{
    return afternoonPrefix + text + "\r\n";
}

// ---- Threads ----------------------------------------------------------------------------------------------------------

constexpr DWORD patience = 20000;

class Thread {
public:
    template <typename Argument> Thread(DWORD(WINAPI *body)(Argument *), Argument *argument)
        : handle(CreateThread(nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(body), argument, 0, nullptr))
    {
        REQUIRE(handle);
    }
    ~Thread()
    {
        join();
        CloseHandle(handle);
    }
    Thread(const Thread &) = delete;
    Thread &operator=(const Thread &) = delete;

    // The thread's exit code.
    DWORD join() const
    {
        CHECK(WaitForSingleObject(handle, patience) == WAIT_OBJECT_0);
        DWORD code = 0;
        GetExitCodeThread(handle, &code);
        return code;
    }

private:
    HANDLE handle;
};

class Event {
public:
    Event() : handle(CreateEventW(nullptr, TRUE, FALSE, nullptr)) { REQUIRE(handle); }
    ~Event() { CloseHandle(handle); }
    Event(const Event &) = delete;
    Event &operator=(const Event &) = delete;
    void set() const { SetEvent(handle); }
    bool wait() const { return WaitForSingleObject(handle, patience) == WAIT_OBJECT_0; }

private:
    HANDLE handle;
};

LONGLONG microseconds()
{
    LARGE_INTEGER now, frequency;
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    return now.QuadPart / frequency.QuadPart * 1000000 +
           now.QuadPart % frequency.QuadPart * 1000000 / frequency.QuadPart;
}

DWORD WINAPI tryLock(void *)
{
    if (!TryEnterCriticalSection(&logLock))
        return 0;
    LeaveCriticalSection(&logLock);
    return 1;
}

// Asked in another thread: the one that holds the lock may always take it again.
bool lockIsFree()
{
    return Thread(tryLock, static_cast<void *>(nullptr)).join() == 1;
}

// Another thread in possession of the log until it is released.
class LockHolder {
public:
    LockHolder() : thread(hold, this) { REQUIRE(taken.wait()); }
    ~LockHolder() { release(); }
    void release()
    {
        wanted.set();
        thread.join();
    }

private:
    static DWORD WINAPI hold(LockHolder *self)
    {
        EnterCriticalSection(&logLock);
        self->taken.set();
        self->wanted.wait();
        LeaveCriticalSection(&logLock);
        return 0;
    }
    Event taken, wanted;
    Thread thread;   // started last
};

}   // namespace

// ---- Lines ------------------------------------------------------------------------------------------------------------

TEST_CASE("a line is day, month and time in two digits, the text right behind the arrow, CR LF")
{
    struct Row {
        SYSTEMTIME now;
        const char *line;
    };
    const Row rows[] = {
        {{2008, 3, 5, 7, 14, 5, 9, 0}, "07/03 14:05:09 ->** Exception getAppPath **\r\n"},
        {{2007, 12, 6, 1, 9, 3, 7, 999}, "01/12 09:03:07 ->** Exception getAppPath **\r\n"},
        {{2007, 12, 1, 31, 23, 59, 59, 0}, "31/12 23:59:59 ->** Exception getAppPath **\r\n"},
        {{2008, 1, 2, 1, 0, 0, 0, 0}, "01/01 00:00:00 ->** Exception getAppPath **\r\n"},
    };
    for (const Row &row : rows) {
        LogPhone phone;
        SimSetClock(&row.now);
        writeLog("** Exception getAppPath **");
        CHECK(phone.readFile(logFile) == row.line);
    }
}

TEST_CASE("a text is written as it is: blanks, percent signs, bytes beyond ASCII, line ends")
{
    LogPhone phone;
    const std::string texts[] = {" a ", "100%s%d%n", "\xC3\xA4\xFF\x01", "a\r\nb", "\t"};
    std::string expected;
    for (const std::string &text : texts) {
        writeLog(text.c_str());
        expected += stamped(text);
    }
    CHECK(phone.content() == expected);
}

TEST_CASE("an empty text is a line with nothing behind the arrow")
{
    LogPhone phone;
    writeLog("");
    CHECK(phone.content() == "07/03 14:05:09 ->\r\n");
}

TEST_CASE("a very long text is written whole")
{
    LogPhone phone;
    const std::string text = "*" + std::string(200000, 'x') + "end";
    writeLog(text.c_str());
    CHECK(phone.content() == stamped(text));
}

TEST_CASE("a new line is put behind what the log holds, whatever that is")
{
    LogPhone phone;
    writeLog("one");
    writeLog("two");
    CHECK(phone.content() == stamped("one") + stamped("two"));

    const std::string old("no end of line\0 and a zero", 26);
    phone.writeFile(logFile, old);
    writeLog("three");
    CHECK(phone.content() == old + stamped("three"));
}

TEST_CASE("a formatted line takes narrow and wide texts and numbers")
{
    LogPhone phone;
    writeLogFormatted("%S, %s, x:%d", L"wide", "narrow", -7);
    CHECK(phone.content() == stamped("wide, narrow, x:-7"));
}

TEST_CASE("a formatted line of 1023 characters is written whole, a longer one is cut at worst")
{
    for (size_t length : {1022, 1023, 1024, 5000}) {
        LogPhone phone;
        INFO("length " << length);
        const std::string text(length, 'x');
        writeLogFormatted("%s", text.c_str());
        const std::vector<std::string> lines = phone.log();
        REQUIRE(lines.size() == 1);
        CHECK(lines[0].size() >= std::min<size_t>(length, 1023));
        CHECK(text.compare(0, lines[0].size(), lines[0]) == 0);
    }
}

// ---- Which lines ------------------------------------------------------------------------------------------------------

TEST_CASE("lines with an asterisk in front are always written, others only while the low byte of the option is set")
{
    struct Row {
        DWORD option;
        bool written;
    };
    const Row rows[] = {{0, false},          {1, true},           {4, true},         {8, true},
                        {0x10, true},        {0x80, true},        {0xFF, true},      {0x100, false},
                        {0x1FF, true},       {0x101, true},       {0xFF00, false},   {0x10000, false},
                        {0x80000000, false}, {0xFFFFFF00, false}, {0xFFFFFFFF, true}};
    for (const Row &row : rows) {
        LogPhone phone;
        INFO("option " << row.option);
        userSettings.loggingOption = row.option;
        writeLog("closeDatabases");
        CHECK(phone.fileExists(logFile) == row.written);
        writeLog("*");
        writeLog("** error");
        writeLog(" * not in front");
        writeLog("");
        const std::string errors = stamped("*") + stamped("** error");
        CHECK(phone.content() ==
              (row.written ? stamped("closeDatabases") + errors + stamped(" * not in front") + stamped("") : errors));
    }
}

TEST_CASE("an unwanted line does not touch the log, nor does it wait for it")
{
    LogPhone phone;
    userSettings.loggingOption = 0;
    phone.writeFile(logFile, std::string(sizeLimit + 1, 'x'));
    SimOrderFault(L"file", 1, L"", FALSE);
    LockHolder holder;
    writeLog("unwanted");
    holder.release();
    CHECK(phone.content().size() == sizeLimit + 1);
    userSettings.loggingOption = 1;
    writeLog("lost to the ordered failure, which no call has met yet");
    CHECK(phone.content().size() == sizeLimit + 1);
}

// ---- The size limit ---------------------------------------------------------------------------------------------------

TEST_CASE("a log of more than 60000 bytes starts again with the next line")
{
    for (DWORD size : {59990u, 59999u, 60000u, 60001u, 100000u}) {
        LogPhone phone;
        INFO("size " << size);
        const std::string old(size, 'x');
        phone.writeFile(logFile, old);
        writeLog("** new");
        const std::string first = stamped("** new"), second = stamped("** newer");
        CHECK(phone.content() == (size <= 60000 ? old + first : first));
        writeLog("** newer");
        CHECK(phone.content() == (size <= 60000 ? second : first + second));
    }
}

TEST_CASE("an unwanted line leaves a log of any size alone")
{
    LogPhone phone;
    userSettings.loggingOption = 0x100;
    phone.writeFile(logFile, std::string(sizeLimit + 1, 'x'));
    writeLog("unwanted");
    CHECK(phone.content() == std::string(sizeLimit + 1, 'x'));
}

TEST_CASE("when the log cannot be opened again after it was deleted, the line is lost and the next one is not")
{
    LogPhone phone;
    phone.writeFile(logFile, std::string(sizeLimit + 1, 'x'));
    const int files = SimLiveFiles();
    SimOrderFault(L"file", 2, openOfLogFile, FALSE);
    writeLog("** lost");
    CHECK_FALSE(phone.fileExists(logFile));
    CHECK(lockIsFree());
    CHECK(SimLiveFiles() == files);
    writeLog("** next");
    CHECK(phone.content() == stamped("** next"));
}

TEST_CASE("a log that cannot be deleted goes on growing")
{
    LogPhone phone;
    const std::string old(sizeLimit + 1, 'x');
    phone.writeFile(logFile, old);
    SimOrderFault(L"file", 1, L"delete:*", FALSE);
    writeLog("** new");
    CHECK(phone.content() == old + stamped("** new"));
}

TEST_CASE("a log whose size cannot be told is kept")
{
    LogPhone phone;
    phone.writeFile(logFile, "old\r\n");
    SimOrderFault(L"file", 1, L"size:*", FALSE);
    writeLog("** new");
    CHECK(phone.content() == "old\r\n" + stamped("** new"));
}

// ---- Where ------------------------------------------------------------------------------------------------------------

TEST_CASE("the log lies in the install directory, else in the English folder, the German one or the root")
{
    constexpr wchar_t englishFolder[] = L"\\Program Files\\Kelvane";
    constexpr wchar_t germanFolder[] = L"\\Programme\\Kelvane";
    const std::vector<const wchar_t *> places = {L"\\Storage Card\\Kelvane\\Kelvane.log", logFile,
                                                 L"\\Programme\\Kelvane\\Kelvane.log", L"\\Kelvane.log"};
    struct Row {
        const wchar_t *installPath;
        bool hasEnglishFolder, hasGermanFolder;
        const wchar_t *place;
    };
    const Row rows[] = {
        {L"\\Storage Card\\Kelvane", true, true, places[0]},
        {L"\\Programme\\Kelvane", true, true, places[2]},
        {nullptr, true, true, places[1]},
        {nullptr, true, false, places[1]},
        {nullptr, false, true, places[2]},
        {nullptr, false, false, places[3]},
        {L"", true, true, places[1]},
        {L"", true, false, places[1]},
        {L"", false, true, places[2]},
        {L"", false, false, places[3]},
    };
    for (const Row &row : rows) {
        LogPhone phone;
        INFO("install path " << (row.installPath ? narrow(row.installPath) : "(null)") << ", English folder "
                             << row.hasEnglishFolder << ", German folder " << row.hasGermanFolder);
        phone.makeFolder(L"\\Storage Card\\Kelvane");
        if (!row.hasEnglishFolder)
            phone.removeFolder(englishFolder);
        if (row.hasGermanFolder)
            phone.makeFolder(germanFolder);
        setInstallPath(row.installPath);
        writeLog("** here");
        for (const wchar_t *place : places)
            CHECK(phone.fileExists(place) == (wcscmp(place, row.place) == 0));
        CHECK(phone.readFile(row.place) == stamped("** here"));
    }
}

TEST_CASE("with an install path, a missing folder is not replaced by another one")
{
    LogPhone phone;
    setInstallPath(L"\\Gone\\Kelvane");
    const int files = SimLiveFiles();
    writeLog("** lost");
    CHECK_FALSE(phone.fileExists(logFile));
    CHECK_FALSE(phone.fileExists(L"\\Kelvane.log"));
    CHECK_FALSE(phone.fileExists(L"\\Gone"));
    CHECK(lockIsFree());
    CHECK(SimLiveFiles() == files);
    phone.makeFolder(L"\\Gone\\Kelvane");
    writeLog("** found");
    CHECK(phone.readFile(L"\\Gone\\Kelvane\\Kelvane.log") == stamped("** found"));
}

TEST_CASE("an install path as long as the registry allows is harmless")
{
    LogPhone phone;
    for (size_t length : {246, 247, 248, 258, 259}) {
        setInstallPath((L"\\" + std::wstring(length - 1, L'x')).c_str());
        writeLog("** lost");
        CHECK(lockIsFree());
    }
    setInstallPath(installFolder);
    writeLog("** written");
    CHECK(phone.content() == stamped("** written"));
}

// ---- Failures ---------------------------------------------------------------------------------------------------------

TEST_CASE("a line for a read-only folder or a full phone is lost, and the next one is not")
{
    struct Row {
        const wchar_t *key;
        const wchar_t *failing;
        const wchar_t *working;
    };
    for (const Row &row : {Row{L"readonly", L"\\Program Files\\Kelvane", L""}, Row{L"full", L"1", L"0"}}) {
        LogPhone phone;
        INFO("storage " << narrow(row.key));
        const int files = SimLiveFiles();
        writeLog("** one");
        phone.set(L"storage", row.key, row.failing);
        writeLog("** lost");
        phone.set(L"storage", row.key, row.working);
        CHECK(phone.content() == stamped("** one"));
        CHECK(lockIsFree());
        CHECK(SimLiveFiles() == files);
        writeLog("** two");
        CHECK(phone.content() == stamped("** one") + stamped("** two"));
    }
}

TEST_CASE("while another program has the log open, whatever for, lines are lost")
{
    for (DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}}) {
        LogPhone phone;
        writeLog("** one");
        // It would share the file; the writer does not.
        const HANDLE other = CreateFileW(logFile, access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                         FILE_ATTRIBUTE_NORMAL, nullptr);
        REQUIRE(other != INVALID_HANDLE_VALUE);
        const int files = SimLiveFiles();
        writeLog("** lost");
        CHECK(lockIsFree());
        CHECK(SimLiveFiles() == files);
        CloseHandle(other);
        writeLog("** two");
        CHECK(phone.content() == stamped("** one") + stamped("** two"));
    }
}

TEST_CASE("while another program has the log open for itself, lines are lost")
{
    LogPhone phone;
    writeLog("** one");
    const HANDLE other = CreateFileW(logFile, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    REQUIRE(other != INVALID_HANDLE_VALUE);
    writeLog("** lost");
    CloseHandle(other);
    CHECK(lockIsFree());
    writeLog("** two");
    CHECK(phone.content() == stamped("** one") + stamped("** two"));
}

TEST_CASE("whichever call fails, the lock and the file are let go")
{
    for (const wchar_t *call : {L"open:*", L"size:*", L"seek:*", L"write:*", L"close:*", L"attributes:*"})
        for (bool overLimit : {false, true}) {
            LogPhone phone;
            INFO("failing: " << narrow(call) << ", over the limit: " << overLimit);
            const int files = SimLiveFiles(), allocations = SimLiveAllocations();
            if (overLimit)
                phone.writeFile(logFile, std::string(sizeLimit + 1, 'x'));
            SimOrderFault(L"file", 0, call, FALSE);
            writeLog("** failing");
            SimClearFaults();
            CHECK(lockIsFree());
            CHECK(SimLiveFiles() == files);
            CHECK(SimLiveAllocations() == allocations);
            phone.removeFile(logFile);   // and nobody has it open
            writeLog("** next");
            CHECK(phone.content() == stamped("** next"));
        }
}

TEST_CASE("a thousand lines leave no file and no memory behind")
{
    LogPhone phone;
    const int files = SimLiveFiles(), allocations = SimLiveAllocations();
    for (int line = 0; line < 1000; ++line)
        writeLog("**");
    CHECK(SimLiveFiles() == files);
    CHECK(SimLiveAllocations() == allocations);
    const std::string line = stamped("**");
    CHECK(phone.content().size() == 1000 * line.size());
}

// ---- Threads ----------------------------------------------------------------------------------------------------------

TEST_CASE("while another thread has the log, a line is given up after one more try")
{
    LogPhone phone;
    writeLog("** before");
    LockHolder holder;
    const LONGLONG start = microseconds();
    writeLog("** lost");
    const LONGLONG duration = microseconds() - start;
    CHECK_FALSE(lockIsFree());   // the holder has not been waited for
    CHECK(phone.content() == stamped("** before"));
    CHECK(duration >= 8000);
    CHECK(duration < 5000000);
    holder.release();
    CHECK(lockIsFree());
    writeLog("** after");
    CHECK(phone.content() == stamped("** before") + stamped("** after"));
}

namespace {

// Lets the lock go a few milliseconds after it is told to, which is while the writer waits for its second try.
struct LateReleaser {
    Event taken, go;
    LONGLONG released = 0;

    static DWORD WINAPI run(LateReleaser *self)
    {
        EnterCriticalSection(&logLock);
        self->taken.set();
        self->go.wait();
        const LONGLONG start = microseconds();
        while (microseconds() - start < 3000)
            continue;
        self->released = microseconds();
        LeaveCriticalSection(&logLock);
        return 0;
    }
};

}   // namespace

TEST_CASE("a line is written after all when the other thread lets the log go in time")
{
    LogPhone phone;
    // On a busy computer the other thread may be late; it will not be so every time.
    bool writtenAtSecondTry = false;
    for (int attempt = 0; attempt < 200 && !writtenAtSecondTry; ++attempt) {
        phone.removeFile(logFile);
        LateReleaser releaser;
        Thread thread(LateReleaser::run, &releaser);
        REQUIRE(releaser.taken.wait());
        releaser.go.set();
        const LONGLONG start = microseconds();
        writeLog("** patient");
        thread.join();
        const bool wasHeldAtFirst = releaser.released - start > 2000;
        writtenAtSecondTry = wasHeldAtFirst && phone.content() == stamped("** patient");
    }
    CHECK(writtenAtSecondTry);
    CHECK(lockIsFree());
}

namespace {

constexpr int linesPerWriter = 200;

std::string lineOfWriter(char name, int number)
{
    const std::string threeDigits = std::to_string(1000 + number).substr(1);
    return std::string("*") + name + threeDigits + std::string(100, name) + name;
}

struct Writer {
    char name;
    const Event *start;

    static DWORD WINAPI run(Writer *self)
    {
        self->start->wait();
        for (int line = 0; line < linesPerWriter; ++line)
            writeLog(lineOfWriter(self->name, line).c_str());
        return 0;
    }
};

// The number of a line of that writer; fails the test if the line is not one, whole.
int numberOfLine(const std::string &line, char name)
{
    const int number = static_cast<int>(_wtol(widen(line.substr(2, 3)).c_str()));
    CHECK(line == lineOfWriter(name, number));
    return number;
}

}   // namespace

TEST_CASE("two threads at once may lose lines, but every line in the log is whole and in order")
{
    LogPhone phone;
    const int files = SimLiveFiles();
    {
        const Event start;
        Writer first{'a', &start}, second{'b', &start};
        Thread one(Writer::run, &first), two(Writer::run, &second);
        start.set();
    }
    const std::vector<std::string> lines = phone.log();
    int last[2] = {-1, -1}, count[2] = {0, 0};
    for (const std::string &line : lines) {
        REQUIRE(line.size() > 5);
        const int writer = line[1] == 'a' ? 0 : 1;
        const int number = numberOfLine(line, "ab"[writer]);
        CHECK(number > last[writer]);
        last[writer] = number;
        ++count[writer];
    }
    CHECK(count[0] > 0);
    CHECK(count[1] > 0);
    CHECK(lines.size() <= 2 * linesPerWriter);
    const std::string line = stamped(std::string(106, 'x'));
    CHECK(phone.content().size() == lines.size() * line.size());
    CHECK(SimLiveFiles() == files);
    CHECK(lockIsFree());
}
