// The phone's file system: a path of the phone is a path below root, in every function that takes one; storage cards,
// read-only and full storage; modules and programs, which are found by path as well.

#include <algorithm>
#include <filesystem>
#include <shellapi.h>

#include "control.h"
#include "doctest.h"
#include "host.h"
#include "test_phone.h"

// As the phone has them.
#undef ShellExecuteEx
PHONE_API BOOL ShellExecuteEx(SHELLEXECUTEINFOW *info);
PHONE_API FARPROC GetProcAddressW(HMODULE module, const wchar_t *name);

namespace fs = std::filesystem;

namespace {

constexpr char kernel[] = "kernel32.dll";

// A found file as the phone lays it out.
struct FoundFile {
    DWORD attributes;
    FILETIME created, accessed, written;
    DWORD sizeHigh, sizeLow;
    DWORD objectId;
    wchar_t name[MAX_PATH];
};

HANDLE findFirst(const wchar_t *pattern, FoundFile &found)
{
    return FindFirstFileW(pattern, reinterpret_cast<WIN32_FIND_DATAW *>(&found));
}

bool findNext(HANDLE search, FoundFile &found)
{
    return FindNextFileW(search, reinterpret_cast<WIN32_FIND_DATAW *>(&found));
}

// The names a pattern finds, sorted and joined by blanks.
std::string listing(const wchar_t *pattern)
{
    std::vector<std::string> names;
    FoundFile found;
    const HANDLE search = findFirst(pattern, found);
    if (search != INVALID_HANDLE_VALUE) {
        do
            names.push_back(narrow(found.name));
        while (findNext(search, found));
        CHECK(GetLastError() == ERROR_NO_MORE_FILES);
        CHECK(FindClose(search));
    }
    std::sort(names.begin(), names.end());
    std::string joined;
    for (const std::string &name : names)
        joined += (joined.empty() ? "" : " ") + name;
    return joined;
}

HANDLE open(const wchar_t *path, DWORD access, DWORD disposition)
{
    return CreateFileW(path, access, 0, nullptr, disposition, 0, nullptr);
}

bool create(const wchar_t *path, const std::string &content = "")
{
    const HANDLE file = open(path, GENERIC_WRITE, CREATE_ALWAYS);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    const BOOL done = WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr);
    return CloseHandle(file) && done && written == content.size();
}

// Whether the call failed with this error.
template <typename Result> bool failedWith(DWORD error, Result result, Result failure)
{
    return GetLastError() == error && result == failure;
}

fs::path rootOf(const TestPhone &phone)
{
    return fs::path(phone.folder()) / "root";
}

// A program for \Windows: any real DLL will do.
void copyModule(const TestPhone &phone, const wchar_t *name)
{
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    const fs::path to = rootOf(phone) / (name + 1);
    fs::create_directories(to.parent_path());
    fs::copy_file(fs::path(program).parent_path() / "aygshell.dll", to);
}

}   // namespace

// ---- Paths -------------------------------------------------------------------------------------------------------------

TEST_CASE("a path of the phone is the same path below root, in every function that takes one")
{
    TestPhone phone;
    const fs::path root = rootOf(phone);
    fs::create_directories(root / "Here");

    SUBCASE("CreateFileW")
    {
        REQUIRE(create(L"\\Here\\a.txt", "abc"));
        CHECK(fs::file_size(root / "Here" / "a.txt") == 3);
    }
    SUBCASE("CopyFileW, MoveFileW and DeleteFileW")
    {
        REQUIRE(create(L"\\Here\\a.txt"));
        CHECK(CopyFileW(L"\\Here\\a.txt", L"\\Temp\\b.txt", TRUE));
        CHECK(fs::exists(root / "Temp" / "b.txt"));
        CHECK(failedWith(ERROR_FILE_EXISTS, CopyFileW(L"\\Here\\a.txt", L"\\Temp\\b.txt", TRUE), FALSE));
        CHECK(CopyFileW(L"\\Here\\a.txt", L"\\Temp\\b.txt", FALSE));
        CHECK(MoveFileW(L"\\Temp\\b.txt", L"\\Here\\c.txt"));
        CHECK_FALSE(fs::exists(root / "Temp" / "b.txt"));
        CHECK(fs::exists(root / "Here" / "c.txt"));
        CHECK(DeleteFileW(L"\\Here\\a.txt"));
        CHECK_FALSE(fs::exists(root / "Here" / "a.txt"));
    }
    SUBCASE("CreateDirectoryW and RemoveDirectoryW")
    {
        CHECK(CreateDirectoryW(L"\\Here\\Sub", nullptr));
        CHECK(fs::is_directory(root / "Here" / "Sub"));
        CHECK(failedWith(ERROR_ALREADY_EXISTS, CreateDirectoryW(L"\\Here\\Sub", nullptr), FALSE));
        CHECK(RemoveDirectoryW(L"\\Here\\Sub"));
        CHECK_FALSE(fs::exists(root / "Here" / "Sub"));
    }
    SUBCASE("GetFileAttributesW and SetFileAttributesW")
    {
        REQUIRE(create(L"\\Here\\a.txt"));
        CHECK(SetFileAttributesW(L"\\Here\\a.txt", FILE_ATTRIBUTE_READONLY));
        const std::wstring host = (root / "Here" / "a.txt").wstring();
        CHECK((HOST(kernel, GetFileAttributesW)(host.c_str()) & FILE_ATTRIBUTE_READONLY) != 0);
        CHECK((GetFileAttributesW(L"\\Here\\a.txt") & FILE_ATTRIBUTE_READONLY) != 0);
        CHECK(SetFileAttributesW(L"\\Here\\a.txt", FILE_ATTRIBUTE_NORMAL));
        CHECK((GetFileAttributesW(L"\\Here") & FILE_ATTRIBUTE_DIRECTORY) != 0);
        CHECK(failedWith(ERROR_FILE_NOT_FOUND, GetFileAttributesW(L"\\Here\\none"), INVALID_FILE_ATTRIBUTES));
    }
    SUBCASE("FindFirstFileW")
    {
        REQUIRE(create(L"\\Here\\a.txt", "abcd"));
        REQUIRE(create(L"\\Here\\b.ini"));
        CHECK(listing(L"\\Here\\*") == "a.txt b.ini");
        CHECK(listing(L"\\Here\\*.ini") == "b.ini");
        CHECK(listing(L"\\Here\\*.none") == "");
        FoundFile found;
        const HANDLE search = findFirst(L"\\Here\\a.txt", found);
        REQUIRE(search != INVALID_HANDLE_VALUE);
        CHECK(narrow(found.name) == "a.txt");
        CHECK(found.sizeLow == 4);
        CHECK(found.sizeHigh == 0);
        CHECK((found.attributes & FILE_ATTRIBUTE_DIRECTORY) == 0);
        CHECK(FindClose(search));
    }
    SUBCASE("LoadLibraryW")
    {
        copyModule(phone, L"\\Here\\loaded.dll");
        const HMODULE module = LoadLibraryW(L"\\Here\\loaded.dll");
        CHECK(module);
        FreeLibrary(module);
        CHECK(failedWith<HMODULE>(ERROR_MOD_NOT_FOUND, LoadLibraryW(L"\\Here\\none.dll"), nullptr));
    }
    SUBCASE("CreateProcessW and ShellExecuteEx")
    {
        REQUIRE(create(L"\\Here\\tool.exe"));
        REQUIRE(create(L"\\Here\\page.htm"));
        CHECK(CreateProcessW(L"\\Here\\tool.exe", nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, nullptr,
                             nullptr));
        SHELLEXECUTEINFOW info = {};
        info.cbSize = sizeof info;
        info.lpFile = L"\\Here\\page.htm";
        CHECK(ShellExecuteEx(&info));
        info.lpFile = L"\\Here\\none.htm";
        CHECK_FALSE(ShellExecuteEx(&info));
    }
    SUBCASE("SimHostPath")
    {
        wchar_t host[MAX_PATH];
        REQUIRE(SimHostPath(L"\\Here\\a.txt", host, MAX_PATH));
        CHECK(narrow(host) == narrow(phone.folder() + L"\\root\\Here\\a.txt"));
        const int length = static_cast<int>(wcslen(host));
        CHECK_FALSE(SimHostPath(L"\\Here\\a.txt", host, length));
        CHECK(SimHostPath(L"\\Here\\a.txt", host, length + 1));
    }
}

TEST_CASE("a relative path counts from the root, and a slash is as good as a backslash")
{
    TestPhone phone;
    REQUIRE(create(L"plain.txt"));
    CHECK(fs::exists(rootOf(phone) / "plain.txt"));
    REQUIRE(create(L"/Temp/slash.txt"));
    CHECK(phone.fileExists(L"\\Temp\\slash.txt"));
    REQUIRE(create(L"Temp/mixed.txt"));
    CHECK(listing(L"Temp\\*.txt") == "mixed.txt slash.txt");
    CHECK(DeleteFileW(L"plain.txt"));
}

TEST_CASE("a path with a drive letter is the host's")
{
    TestPhone phone;
    const std::wstring outside = (fs::path(phone.folder()) / "outside.txt").wstring();
    REQUIRE(create(outside.c_str(), "x"));
    CHECK(fs::exists(outside));
    CHECK(fs::exists(fs::path(phone.folder()) / "outside.txt"));
    CHECK(DeleteFileW(outside.c_str()));
}

TEST_CASE("no path, and a path into a missing folder, are not found")
{
    TestPhone phone;
    const wchar_t *const empty[] = {nullptr, L""};
    for (const wchar_t *path : empty) {
        CHECK(failedWith(ERROR_PATH_NOT_FOUND, open(path, GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE));
        CHECK(failedWith(ERROR_PATH_NOT_FOUND, DeleteFileW(path), FALSE));
        CHECK(failedWith(ERROR_PATH_NOT_FOUND, CreateDirectoryW(path, nullptr), FALSE));
        CHECK(failedWith(ERROR_PATH_NOT_FOUND, GetFileAttributesW(path), INVALID_FILE_ATTRIBUTES));
        CHECK(failedWith(ERROR_PATH_NOT_FOUND, MoveFileW(path, L"\\x"), FALSE));
        CHECK(failedWith(ERROR_PATH_NOT_FOUND, CopyFileW(path, L"\\x", FALSE), FALSE));
    }
    CHECK(failedWith(ERROR_PATH_NOT_FOUND, open(L"\\None\\x", GENERIC_WRITE, CREATE_ALWAYS), INVALID_HANDLE_VALUE));
    CHECK(failedWith(ERROR_FILE_NOT_FOUND, open(L"\\None", GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE));
}

TEST_CASE("a file is read, written, measured, cut and sought in")
{
    TestPhone phone;
    const HANDLE file = open(L"\\Temp\\f", GENERIC_READ | GENERIC_WRITE, CREATE_NEW);
    REQUIRE(file != INVALID_HANDLE_VALUE);
    DWORD done = 0;
    CHECK(WriteFile(file, "0123456789", 10, &done, nullptr));
    CHECK(done == 10);
    CHECK(GetFileSize(file, nullptr) == 10);
    CHECK(SetFilePointer(file, 4, nullptr, FILE_BEGIN) == 4);
    CHECK(SetEndOfFile(file));
    CHECK(SetFilePointer(file, -2, nullptr, FILE_END) == 2);
    char buffer[8] = "";
    CHECK(ReadFile(file, buffer, 8, &done, nullptr));
    CHECK(std::string(buffer, done) == "23");
    CHECK(FlushFileBuffers(file));
    CHECK(CloseHandle(file));
    CHECK(phone.readFile(L"\\Temp\\f") == "0123");
    CHECK(failedWith(ERROR_FILE_EXISTS, open(L"\\Temp\\f", GENERIC_WRITE, CREATE_NEW), INVALID_HANDLE_VALUE));
}

TEST_CASE("opening tells whether a file was there")
{
    TestPhone phone;
    for (const DWORD expected : {DWORD(ERROR_SUCCESS), DWORD(ERROR_ALREADY_EXISTS)}) {
        SetLastError(ERROR_SUCCESS);
        const HANDLE file = open(L"\\Temp\\f", GENERIC_WRITE, OPEN_ALWAYS);
        CHECK(GetLastError() == expected);
        CHECK(CloseHandle(file));
    }
}

TEST_CASE("neither the folder itself, its parent nor the keepers of empty folders are listed")
{
    TestPhone phone;
    phone.makeFolder(L"\\Empty");
    phone.writeFile(L"\\Empty\\.keep", "");
    CHECK(listing(L"\\Empty\\*") == "");
    CHECK(failedWith(ERROR_NO_MORE_FILES, listing(L"\\Empty\\*").empty(), true));
    phone.writeFile(L"\\Empty\\kept.txt", "");
    CHECK(listing(L"\\Empty\\*") == "kept.txt");
    CHECK(listing(L"\\Empty\\*.*") == "kept.txt");
}

TEST_CASE("a search that is over, or never began, is no search")
{
    TestPhone phone;
    FoundFile found;
    const HANDLE search = findFirst(L"\\*", found);
    REQUIRE(search != INVALID_HANDLE_VALUE);
    CHECK(reinterpret_cast<ULONG_PTR>(search) <= 0xFFFFFFFF);   // a phone's handle has 32 bits
    CHECK(FindClose(search));
    CHECK(failedWith(ERROR_INVALID_HANDLE, FindClose(search), FALSE));
    CHECK(failedWith(ERROR_INVALID_HANDLE, findNext(search, found), false));
    CHECK(findFirst(L"\\None\\*", found) == INVALID_HANDLE_VALUE);
}

// ---- Storage -----------------------------------------------------------------------------------------------------------

TEST_CASE("a storage card reports the directory and temporary attributes, an ordinary folder does not")
{
    constexpr DWORD card = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_TEMPORARY;
    const struct {
        const char *phone;
        std::vector<std::wstring> cards;
    } phones[] = {
        {"wm6", {L"Storage Card"}}, {"wm5", {L"Storage Card"}},       {"ppc2003", {L"Storage Card", L"SD Card"}},
        {"vga", {L"Storage Card"}}, {"landscape", {L"Storage Card"}}, {"square", {}}};
    for (const auto &each : phones) {
        INFO(each.phone);
        TestPhone phone(each.phone);
        std::vector<std::wstring> found;
        FoundFile entry;
        const HANDLE search = findFirst(L"\\*", entry);
        REQUIRE(search != INVALID_HANDLE_VALUE);
        do {
            const bool isCard = (entry.attributes & card) == card;
            CHECK(isCard == ((entry.attributes & FILE_ATTRIBUTE_TEMPORARY) != 0));
            CHECK(isCard == ((GetFileAttributesW((std::wstring(L"\\") + entry.name).c_str()) & card) == card));
            if (isCard)
                found.push_back(entry.name);
        } while (findNext(search, entry));
        FindClose(search);
        std::sort(found.rbegin(), found.rend());
        CHECK((found == each.cards));
    }
}

TEST_CASE("a storage card is known by its own path only")
{
    TestPhone phone;
    phone.set(L"storage", L"cards", L"Storage Card, CF Card, Missing");
    phone.makeFolder(L"\\cf card\\CF Card");
    const auto isCard = [](const wchar_t *path) {
        const DWORD attributes = GetFileAttributesW(path);
        return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_TEMPORARY) != 0;
    };
    CHECK(isCard(L"\\Storage Card"));
    CHECK(isCard(L"\\storage card\\"));
    CHECK(isCard(L"/Storage Card"));
    CHECK(isCard(L"\\CF Card"));
    CHECK_FALSE(isCard(L"\\CF Card\\CF Card"));
    CHECK_FALSE(isCard(L"\\Windows"));
    CHECK_FALSE(isCard(L"\\"));
    CHECK_FALSE(isCard(L"\\Missing"));
}

TEST_CASE("nothing changes at or below a read-only place")
{
    TestPhone phone;
    phone.writeFile(L"\\Rom\\Sub\\old.txt", "old");
    phone.writeFile(L"\\Temp\\new.txt", "new");
    phone.set(L"storage", L"readonly", L"\\Rom");
    const auto denied = [](BOOL result) { return failedWith(ERROR_ACCESS_DENIED, result, FALSE); };
    CHECK_FALSE(create(L"\\Rom\\Sub\\old.txt"));
    CHECK(GetLastError() == ERROR_ACCESS_DENIED);
    CHECK_FALSE(create(L"\\Rom\\new.txt"));
    CHECK(denied(DeleteFileW(L"\\Rom\\Sub\\old.txt")));
    CHECK(denied(MoveFileW(L"\\Rom\\Sub\\old.txt", L"\\Temp\\old.txt")));
    CHECK(denied(MoveFileW(L"\\Temp\\new.txt", L"\\Rom\\new.txt")));
    CHECK(denied(CopyFileW(L"\\Temp\\new.txt", L"\\Rom\\new.txt", FALSE)));
    CHECK(denied(CreateDirectoryW(L"\\Rom\\More", nullptr)));
    CHECK(denied(RemoveDirectoryW(L"\\rom\\Sub")));
    CHECK(failedWith(ERROR_ACCESS_DENIED, open(L"\\Rom\\none.txt", GENERIC_READ, OPEN_ALWAYS), INVALID_HANDLE_VALUE));

    const HANDLE reading = open(L"\\Rom\\Sub\\old.txt", GENERIC_READ, OPEN_EXISTING);
    CHECK(reading != INVALID_HANDLE_VALUE);
    CloseHandle(reading);
    CHECK(CopyFileW(L"\\Rom\\Sub\\old.txt", L"\\Temp\\copy.txt", FALSE));
    CHECK(create(L"\\Rome"));
    CHECK(phone.readFile(L"\\Rom\\Sub\\old.txt") == "old");
    phone.set(L"storage", L"readonly", L"");   // so that the phone can be removed
}

TEST_CASE("a read-only file refuses writing and deletion whatever the host would allow")
{
    TestPhone phone;
    phone.writeFile(L"\\Temp\\f", "old");
    REQUIRE(SetFileAttributesW(L"\\Temp\\f", FILE_ATTRIBUTE_READONLY));
    CHECK_FALSE(create(L"\\Temp\\f"));
    CHECK(GetLastError() == ERROR_ACCESS_DENIED);
    CHECK(failedWith(ERROR_ACCESS_DENIED, DeleteFileW(L"\\Temp\\f"), FALSE));
    REQUIRE(SetFileAttributesW(L"\\Temp\\f", FILE_ATTRIBUTE_NORMAL));
    CHECK(DeleteFileW(L"\\Temp\\f"));
}

TEST_CASE("full storage takes no byte more, but can be read and tidied")
{
    TestPhone phone;
    phone.writeFile(L"\\Temp\\f", "old");
    phone.set(L"storage", L"full", L"1");
    const HANDLE file = open(L"\\Temp\\g", GENERIC_WRITE, CREATE_ALWAYS);
    REQUIRE(file != INVALID_HANDLE_VALUE);
    DWORD written = 77;
    CHECK(failedWith(ERROR_DISK_FULL, WriteFile(file, "x", 1, &written, nullptr), FALSE));
    CHECK(written == 0);
    CHECK(WriteFile(file, "", 0, &written, nullptr));
    CloseHandle(file);
    CHECK(failedWith(ERROR_DISK_FULL, CopyFileW(L"\\Temp\\f", L"\\Temp\\h", FALSE), FALSE));
    CHECK_FALSE(phone.fileExists(L"\\Temp\\h"));
    CHECK(phone.readFile(L"\\Temp\\g").empty());
    CHECK(DeleteFileW(L"\\Temp\\g"));
    phone.set(L"storage", L"full", L"0");
    CHECK(create(L"\\Temp\\g", "x"));
}

// ---- Modules -----------------------------------------------------------------------------------------------------------

namespace {

bool loads(const wchar_t *name)
{
    const HMODULE module = LoadLibraryW(name);
    if (!module)
        CHECK(GetLastError() == ERROR_MOD_NOT_FOUND);
    else
        FreeLibrary(module);
    return module != nullptr;
}

std::wstring moduleFileName(HMODULE module)
{
    wchar_t path[MAX_PATH];
    const DWORD length = GetModuleFileNameW(module, path, MAX_PATH);
    CHECK(wcslen(path) == length);
    return path;
}

}   // namespace

TEST_CASE("a real DLL in the phone's Windows folder is loaded and its exports are found")
{
    TestPhone phone;
    CHECK_FALSE(loads(L"vendor.dll"));
    copyModule(phone, L"\\Windows\\vendor.dll");
    for (const wchar_t *name :
         {L"vendor.dll", L"VENDOR.DLL", L"vendor", L"\\Windows\\vendor.dll", L"\\Windows\\vendor"}) {
        INFO(narrow(name));
        const HMODULE module = LoadLibraryW(name);
        REQUIRE(module);
        CHECK((GetProcAddressW(module, L"SHInitDialog") != nullptr));
        CHECK((GetProcAddressW(module, L"NoSuchFunction") == nullptr));
        CHECK(lstrcmpiW(moduleFileName(module).c_str(), L"\\Windows\\vendor.dll") == 0);
        CHECK(GetModuleHandleW(L"\\Windows\\vendor.dll") == module);
        FreeLibrary(module);
    }
    // It must be unloaded before its file can go.
    CHECK(waitFor([] { return GetModuleHandleA("vendor.dll") == nullptr; }));
}

TEST_CASE("DLLs are also found in the root and in the program's folder, but nowhere else")
{
    TestPhone phone;
    copyModule(phone, L"\\inroot.dll");
    copyModule(phone, L"\\Program Files\\Kelvane\\inprogram.dll");
    copyModule(phone, L"\\Temp\\elsewhere.dll");
    CHECK(loads(L"inroot.dll"));
    CHECK(loads(L"inprogram.dll"));
    CHECK_FALSE(loads(L"elsewhere.dll"));
    CHECK(loads(L"\\Temp\\elsewhere.dll"));
    CHECK_FALSE(loads(nullptr));
    CHECK_FALSE(loads(L""));
}

TEST_CASE("of the desktop's DLLs only those a phone has are there")
{
    TestPhone phone;
    for (const wchar_t *name : {L"coredll.dll", L"coredll", L"CommCtrl.dll", L"aygshell", L"\\Windows\\aygshell.dll",
                                L"ole32.dll", L"oleaut32.dll"}) {
        INFO(narrow(name));
        CHECK(loads(name));
    }
    for (const wchar_t *name : {L"kernel32.dll", L"user32.dll", L"comctl32.dll", L"shell32", L"advapi32.dll"}) {
        INFO(narrow(name));
        CHECK_FALSE(loads(name));
    }
}

TEST_CASE("GetProcAddressW hides the exports and LoadLibraryW the modules this phone lacks")
{
    TestPhone phone;
    const HMODULE shell = LoadLibraryW(L"aygshell.dll"), core = LoadLibraryW(L"coredll.dll");
    REQUIRE((GetProcAddressW(shell, L"SHInitDialog") != nullptr));
    REQUIRE((GetProcAddressW(core, L"GetTickCount") != nullptr));
    phone.set(L"exports", L"missing", L"SomethingElse, SHInitDialog");
    CHECK((GetProcAddressW(shell, L"SHInitDialog") == nullptr));
    CHECK(GetLastError() == ERROR_PROC_NOT_FOUND);
    CHECK((GetProcAddressW(shell, L"SHSipInfo") != nullptr));
    CHECK((GetProcAddressW(core, L"GetTickCount") != nullptr));
    CHECK((GetProcAddressW(core, MAKEINTRESOURCEW(1)) == nullptr));   // numbered as the linker pleases
    CHECK(GetLastError() == ERROR_PROC_NOT_FOUND);

    CHECK(loads(L"ole32.dll"));
    phone.set(L"exports", L"missing_modules", L"ole32.dll, vendor.dll");
    CHECK_FALSE(loads(L"ole32.dll"));
    CHECK_FALSE(loads(L"OLE32"));
    CHECK(loads(L"oleaut32.dll"));
    copyModule(phone, L"\\Windows\\vendor.dll");
    CHECK_FALSE(loads(L"vendor.dll"));
}

TEST_CASE("the program believes it lies in its folder on the phone")
{
    TestPhone phone;
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    const std::string expected = "\\Program Files\\Kelvane\\" + fs::path(program).filename().string();
    CHECK(narrow(moduleFileName(nullptr)) == expected);
    CHECK(narrow(moduleFileName(GetModuleHandleW(nullptr))) == expected);
    CHECK(narrow(moduleFileName(LoadLibraryW(L"coredll.dll"))) == "\\Windows\\coredll.dll");

    wchar_t buffer[5] = L"....";
    CHECK(GetModuleFileNameW(nullptr, buffer, 5) == 4);
    CHECK(GetLastError() == ERROR_INSUFFICIENT_BUFFER);
    CHECK(narrow(buffer) == "\\Pro");
    CHECK(GetModuleFileNameW(nullptr, buffer, 0) == 0);
}

// ---- Programs ----------------------------------------------------------------------------------------------------------

namespace {

bool starts(const wchar_t *image, const wchar_t *arguments = nullptr)
{
    std::wstring line = arguments ? arguments : L"";
    const bool started = CreateProcessW(image, arguments ? line.data() : nullptr, nullptr, nullptr, FALSE, 0, nullptr,
                                        nullptr, nullptr, nullptr);
    if (!started)
        CHECK(GetLastError() == ERROR_FILE_NOT_FOUND);
    return started;
}

}   // namespace

TEST_CASE("a program starts when its file is there or phone.ini says so")
{
    TestPhone phone;
    phone.set(L"programs", L"present", L"listed.exe");
    phone.writeFile(L"\\Windows\\file.exe", "");
    phone.writeFile(L"\\atroot.exe", "");
    for (const wchar_t *image : {L"listed.exe", L"LISTED.EXE", L"listed", L"\\Windows\\listed.exe",
                                 L"\\windows\\listed", L"file.exe", L"file", L"\\Windows\\file.exe", L"atroot.exe"}) {
        INFO(narrow(image));
        CHECK(starts(image));
    }
    for (const wchar_t *image :
         {L"none.exe", L"\\Temp\\listed.exe", L"\\Temp\\file.exe", L"listed.ex", L"\\listed.exe"}) {
        INFO(narrow(image));
        CHECK_FALSE(starts(image));
    }
}

TEST_CASE("a started program is a handle of a process that has ended already")
{
    TestPhone phone;
    phone.set(L"programs", L"present", L"tool.exe");
    const int before = SimLiveProcesses();
    PROCESS_INFORMATION made = {};
    REQUIRE(CreateProcessW(L"tool.exe", nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, nullptr, &made));
    CHECK(SimLiveProcesses() == before + 2);
    CHECK(WaitForSingleObject(made.hProcess, 0) == WAIT_OBJECT_0);
    CHECK(CloseHandle(made.hThread));
    CHECK(CloseHandle(made.hProcess));
    CHECK(SimLiveProcesses() == before);

    SHELLEXECUTEINFOW info = {};
    info.cbSize = sizeof info;
    info.fMask = SEE_MASK_NOCLOSEPROCESS;
    info.lpFile = L"tool.exe";
    REQUIRE(ShellExecuteEx(&info));
    CHECK(SimLiveProcesses() == before + 1);
    CHECK(CloseHandle(info.hProcess));
    CHECK(SimLiveProcesses() == before);
}

TEST_CASE("what the phone ignores must not be asked for")
{
    TestPhone phone;
    phone.set(L"programs", L"present", L"tool.exe");
    STARTUPINFOW startup = {};
    wchar_t folder[] = L"\\Temp";
    const auto refused = [](BOOL result) { return failedWith(ERROR_INVALID_PARAMETER, result, FALSE); };
    CHECK(refused(CreateProcessW(nullptr, nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, nullptr, nullptr)));
    CHECK(refused(CreateProcessW(L"tool.exe", nullptr, nullptr, nullptr, TRUE, 0, nullptr, nullptr, nullptr, nullptr)));
    CHECK(refused(CreateProcessW(L"tool.exe", nullptr, nullptr, nullptr, FALSE, 0, nullptr, folder, nullptr, nullptr)));
    CHECK(
        refused(CreateProcessW(L"tool.exe", nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, nullptr)));
    CHECK(phone.journal("process").empty());
}
