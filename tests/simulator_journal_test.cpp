// The journal: the form of every line, and two programs writing into one.

#include <algorithm>
#include <shellapi.h>

#include "aygshell.h"
#include "control.h"
#include "control_windows.h"
#include "doctest.h"
#include "host.h"
#include "phone_folder.h"
#include "processes.h"

#undef ShellExecuteEx
PHONE_API BOOL ShellExecuteEx(SHELLEXECUTEINFOW *info);

namespace {

// journal.log byte for byte.
std::string journalBytes(const TestPhone &phone)
{
    wchar_t path[MAX_PATH];
    REQUIRE(SimJournalPath(path, MAX_PATH));
    CHECK(narrow(path) == narrow(phone.folder() + L"\\journal.log"));
    std::ifstream stream(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void write(const wchar_t *kind, const std::vector<const wchar_t *> &fields)
{
    SimJournal(kind, fields.data(), static_cast<int>(fields.size()));
}

}   // namespace

TEST_CASE("a line is its kind and fields with tabs between, UTF-8, and ends with CR LF")
{
    TestPhone phone;
    CHECK(journalBytes(phone).empty());
    write(L"kind", {});
    write(L"kind", {L"one"});
    write(L"kind", {L"", L"gr\u00FCn \u20AC", L" blanks "});
    CHECK(journalBytes(phone) == "kind\r\nkind\tone\r\nkind\t\tgr\xC3\xBCn \xE2\x82\xAC\t blanks \r\n");
}

TEST_CASE("control characters within a field are escaped, backslashes are not")
{
    TestPhone phone;
    write(L"k", {L"a\tb", L"c\r\nd", L"\x01\x1F", L"C:\\temp", L"\x7F"});
    CHECK(journalBytes(phone) == "k\ta\\tb\tc\\r\\nd\t\\x01\\x1F\tC:\\temp\t\x7F\r\n");
}

TEST_CASE("starting a program is journalled with its image, its command line, and whether it was not found")
{
    TestPhone phone;
    phone.set(L"programs", L"present", L"tool.exe");
    const auto start = [](const wchar_t *image, const wchar_t *arguments) {
        std::wstring line = arguments ? arguments : L"";
        CreateProcessW(image, arguments ? line.data() : nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, nullptr,
                       nullptr);
    };
    start(L"tool.exe", L"-a \"b c\"");
    start(L"\\Windows\\tool.exe", nullptr);
    start(L"none.exe", L"x");
    start(L"none.exe", nullptr);
    CHECK(journalBytes(phone) == "process\ttool.exe\t-a \"b c\"\r\nprocess\t\\Windows\\tool.exe\t\r\n"
                                 "process\tnone.exe\tx\tnot found\r\nprocess\tnone.exe\t\tnot found\r\n");
}

TEST_CASE("opening something by the shell is journalled with file and parameters, and whether it was not found")
{
    TestPhone phone;
    phone.writeFile(L"\\Windows\\page.htm", "");
    SHELLEXECUTEINFOW info = {};
    info.cbSize = sizeof info;
    const auto open = [&](const wchar_t *file, const wchar_t *parameters) {
        info.lpFile = file;
        info.lpParameters = parameters;
        return ShellExecuteEx(&info) != FALSE;
    };
    CHECK(open(L"\\Windows\\page.htm", nullptr));
    CHECK(open(L"iexplore.exe", L"file:\\page.htm#top"));
    CHECK(open(L"http://example.org/", nullptr));
    CHECK_FALSE(open(L"\\Windows\\none.htm", L"p"));
    CHECK(GetLastError() == ERROR_FILE_NOT_FOUND);
    CHECK(journalBytes(phone) == "shell\t\\Windows\\page.htm\t\r\nshell\tiexplore.exe\tfile:\\page.htm#top\r\n"
                                 "shell\thttp://example.org/\t\r\nshell\t\\Windows\\none.htm\tp\tnot found\r\n");
}

TEST_CASE("messages to windows of other programs are journalled, those to the program's own are not")
{
    TestPhone phone;
    const Engine engine(phone);
    const HWND own = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    REQUIRE(PostMessageW(own, WM_NULL, 0, 0));
    SendMessageW(own, WM_NULL, 0, 0);
    CHECK(PostMessageW(nullptr, WM_NULL, 0, 0));
    CHECK(phone.journal("message").empty());
    CHECK(PostMessageW(engine.window(), 0x81FD, 7, -1));
    SendMessageW(engine.window(), 0x8200, static_cast<WPARAM>(-1), 2);
    CHECK(SendNotifyMessageW(engine.window(), 0xABCD, 0xFFFFFFFF, -0x80000000LL));
    CHECK_FALSE(PostMessageW(reinterpret_cast<HWND>(0x7FFFFFF0), 0x401, 1, 2));
    DestroyWindow(own);
    CHECK_FALSE(PostMessageW(own, 0x402, 0, 0));
    CHECK(phone.journal("message") == std::vector<std::string>{
                                          "message KelvaneZorCls 0x81FD 7 -1",
                                          "message KelvaneZorCls 0x8200 18446744073709551615 2",
                                          "message KelvaneZorCls 0xABCD 4294967295 -2147483648",
                                          "message (gone) 0x401 1 2",
                                          "message (gone) 0x402 0 0",
                                      });
    CHECK(engine.received() ==
          std::vector<std::string>{"0x81FD 7 -1", "0x8200 18446744073709551615 2", "0xABCD 4294967295 -2147483648"});
}

TEST_CASE("a message that fails leaves its error for the program")
{
    TestPhone phone;
    SetLastError(ERROR_SUCCESS);
    CHECK_FALSE(PostMessageW(reinterpret_cast<HWND>(0x7FFFFFF0), 0x401, 1, 2));
    CHECK(GetLastError() == ERROR_INVALID_WINDOW_HANDLE);
}

TEST_CASE("a broadcast is journalled with message and parameters")
{
    TestPhone phone;
    CHECK(PostMessageW(HWND_BROADCAST, 0xC123, 5, -6));
    CHECK(SendNotifyMessageW(HWND_BROADCAST, 0xC124, 224, 0));
    CHECK(journalBytes(phone) == "broadcast\t0xC123\t5\t-6\r\nbroadcast\t0xC124\t224\t0\r\n");
}

TEST_CASE("menu bars are journalled with their flags and resource, the panel with each change")
{
    TestPhone phone;
    const HWND own = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    SHMENUBARINFO bar = {};
    bar.cbSize = sizeof bar;
    bar.hwndParent = own;
    bar.dwFlags = SHCMBF_EMPTYBAR;
    CHECK(SHCreateMenuBar(&bar));
    bar.dwFlags = SHCMBF_EMPTYBAR | 0x44;
    bar.nToolBarId = 301;
    CHECK(SHCreateMenuBar(&bar));
    SimSetPanel(TRUE);
    SimSetPanel(TRUE);
    SimSetPanel(FALSE);
    SimSetPanel(FALSE);
    CHECK(journalBytes(phone) == "menu\t0x1\t0\r\nmenu\t0x45\t301\r\npanel\ton\r\npanel\toff\r\n");
    DestroyWindow(own);
}

TEST_CASE("two programs on one phone write whole lines into one journal")
{
    TestPhone phone;
    const Engine engine(phone);
    constexpr int count = 300;
    // This program journals what it posts while the engine journals what it gets.
    std::vector<std::string> sent, got;
    for (int i = 0; i < count; ++i) {
        REQUIRE(PostMessageW(engine.window(), 0x8100, static_cast<WPARAM>(i), 1000000));
        sent.push_back("message KelvaneZorCls 0x8100 " + std::to_string(i) + " 1000000");
        got.push_back("0x8100 " + std::to_string(i) + " 1000000");
    }
    CHECK((engine.received() == got));
    CHECK((phone.journal("message") == sent));
    for (const std::string &line : phone.journal())
        CHECK((line.rfind("message KelvaneZorCls 0x8100 ", 0) == 0 || line.rfind("engine 0x8", 0) == 0));
}

TEST_CASE("the journal lies in the folder of the phone played last")
{
    TestPhone first;
    write(L"to-first", {});
    {
        TestPhone second;
        write(L"to-second", {});
        CHECK(second.journal() == std::vector<std::string>{"to-second"});
        REQUIRE(SimUsePhone(first.folder().c_str()));
    }
    write(L"again", {});
    CHECK(first.journal() == std::vector<std::string>{"to-first", "again"});
}
