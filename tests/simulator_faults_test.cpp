// Faults ordered by a test or by faults.txt, and the counts of what a program holds.

#include <objbase.h>

#include <algorithm>

#include "control.h"
#include "doctest.h"
#include "phone_folder.h"
#include "processes.h"

extern "C" __declspec(dllimport) wchar_t *__cdecl _wcsdup(const wchar_t *text);

namespace {

constexpr wchar_t testKey[] = L"Software\\Faults";

LONG readNumber(HKEY key, const wchar_t *name)
{
    DWORD value, size = sizeof value;
    return RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE *>(&value), &size);
}

LONG writeNumber(HKEY key, const wchar_t *name)
{
    const DWORD value = 1;
    return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE *>(&value), sizeof value);
}

LONG openKey(const wchar_t *path)
{
    HKEY key;
    const LONG status = RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, 0, &key);
    if (status == ERROR_SUCCESS)
        RegCloseKey(key);
    return status;
}

bool order(const wchar_t *kind, int n, const wchar_t *call, bool raise = false)
{
    return SimOrderFault(kind, n, call, raise);
}

template <typename Call> bool raises(Call call)
{
    try {
        call();
    } catch (...) {
        return true;
    }
    return false;
}

// A key and a value to read.
struct Prepared {
    Prepared()
    {
        storeNumber(L"a", 1, testKey);
        storeNumber(L"b", 1, testKey);
        REQUIRE(RegOpenKeyExW(HKEY_CURRENT_USER, testKey, 0, 0, &key) == ERROR_SUCCESS);
    }
    ~Prepared()
    {
        SimClearFaults();
        RegCloseKey(key);
    }
    TestPhone phone;
    HKEY key;
};

}   // namespace

// ---- Which call --------------------------------------------------------------------------------------------------------

TEST_CASE("the nth matching call fails, once")
{
    for (int n : {1, 2, 5}) {
        Prepared here;
        REQUIRE(order(L"registry", n, L"read:a"));
        for (int call = 1; call <= 7; ++call) {
            CHECK(readNumber(here.key, L"b") == ERROR_SUCCESS);   // does not count
            CHECK(readNumber(here.key, L"a") == (call == n ? ERROR_REGISTRY_IO_FAILED : ERROR_SUCCESS));
        }
    }
}

TEST_CASE("without a number every matching call fails until the orders are cleared")
{
    Prepared here;
    REQUIRE(order(L"registry", 0, L"read:a"));
    for (int call = 1; call <= 3; ++call)
        CHECK(readNumber(here.key, L"a") == ERROR_REGISTRY_IO_FAILED);
    CHECK(readNumber(here.key, L"b") == ERROR_SUCCESS);
    SimClearFaults();
    CHECK(readNumber(here.key, L"a") == ERROR_SUCCESS);
}

TEST_CASE("an order matches in any letter case, by its start with an asterisk, or every call of its kind")
{
    const struct {
        const wchar_t *call;
        bool readA, readAb, writeA;
    } cases[] = {
        {L"READ:A", true, false, false},  {L"read:a*", true, true, false},  {L"read:*", true, true, false},
        {L"*", true, true, true},         {L"", true, true, true},          {nullptr, true, true, true},
        {L"read:", false, false, false},  {L"read", false, false, false},   {L"rea*", true, true, false},
        {L"write:a", false, false, true}, {L"read:b", false, false, false}, {L"read:ab", false, true, false},
    };
    Prepared here;
    storeNumber(L"ab", 1, testKey);
    for (const auto &each : cases) {
        INFO((each.call ? narrow(each.call) : "null"));
        REQUIRE(order(L"registry", 0, each.call));
        CHECK((readNumber(here.key, L"a") != ERROR_SUCCESS) == each.readA);
        CHECK((readNumber(here.key, L"ab") != ERROR_SUCCESS) == each.readAb);
        CHECK((writeNumber(here.key, L"a") != ERROR_SUCCESS) == each.writeA);
        SimClearFaults();
    }
}

TEST_CASE("several orders count for themselves")
{
    Prepared here;
    REQUIRE(order(L"registry", 2, L"read:a"));
    REQUIRE(order(L"registry", 3, L"read:*"));
    const LONG expected[] = {ERROR_SUCCESS, ERROR_REGISTRY_IO_FAILED, ERROR_REGISTRY_IO_FAILED, ERROR_SUCCESS};
    for (const LONG each : expected)
        CHECK(readNumber(here.key, L"a") == each);
}

TEST_CASE("an order for one kind leaves the others alone")
{
    Prepared here;
    REQUIRE(order(L"file", 0, nullptr));
    CHECK(readNumber(here.key, L"a") == ERROR_SUCCESS);
    CHECK(GetFileAttributesW(L"\\Windows") == INVALID_FILE_ATTRIBUTES);
    SimClearFaults();
    REQUIRE(order(L"registry", 0, nullptr));
    CHECK(GetFileAttributesW(L"\\Windows") != INVALID_FILE_ATTRIBUTES);
    void *const block = malloc(1);
    CHECK(block);
    free(block);
}

TEST_CASE("an unknown kind or a negative number is no order")
{
    TestPhone phone;
    CHECK_FALSE(order(L"light", 1, nullptr));
    CHECK_FALSE(order(L"", 1, nullptr));
    CHECK_FALSE(order(nullptr, 1, nullptr));
    CHECK_FALSE(order(L"registry", -1, nullptr));
    for (const wchar_t *kind : {L"registry", L"file", L"memory", L"database", L"com", L"sound", L"REGISTRY"})
        CHECK(order(kind, 99, nullptr));
}

TEST_CASE("a fault can be raised as an exception out of the call")
{
    Prepared here;
    REQUIRE(order(L"registry", 2, L"read:a", true));
    CHECK_FALSE(raises([&] { readNumber(here.key, L"a"); }));
    CHECK(raises([&] { readNumber(here.key, L"a"); }));
    CHECK_FALSE(raises([&] { readNumber(here.key, L"a"); }));
    REQUIRE(order(L"file", 1, L"attributes:\\Windows", true));
    CHECK(raises([] { GetFileAttributesW(L"\\Windows"); }));
    REQUIRE(order(L"memory", 1, L"alloc:", true));
    CHECK(raises([] { free(LocalAlloc(LMEM_FIXED, 1)); }));
}

TEST_CASE("playing a phone forgets the orders of the one before")
{
    Prepared here;
    REQUIRE(order(L"registry", 0, L"read:a"));
    REQUIRE(SimUsePhone(here.phone.folder().c_str()));
    CHECK(readNumber(here.key, L"a") == ERROR_SUCCESS);
}

// ---- Each kind ---------------------------------------------------------------------------------------------------------

TEST_CASE("every registry operation can fail, naming what it is about")
{
    Prepared here;
    HKEY made;
    wchar_t name[64];
    DWORD size = 64;
    const auto check = [&](const wchar_t *call, auto operation) {
        INFO(narrow(call));
        REQUIRE(operation() == ERROR_SUCCESS);
        REQUIRE(order(L"registry", 1, call));
        CHECK(operation() == ERROR_REGISTRY_IO_FAILED);
        CHECK(operation() == ERROR_SUCCESS);
    };
    check(L"open:Software\\Faults", [] { return openKey(testKey); });
    check(L"create:Software\\Faults", [&] {
        const LONG status = RegCreateKeyExW(HKEY_CURRENT_USER, testKey, 0, nullptr, 0, 0, nullptr, &made, nullptr);
        if (status == ERROR_SUCCESS)
            RegCloseKey(made);
        return status;
    });
    check(L"read:a", [&] { return readNumber(here.key, L"a"); });
    check(L"write:a", [&] { return writeNumber(here.key, L"a"); });
    check(L"delete:a", [&] {
        writeNumber(here.key, L"a");
        return RegDeleteValueW(here.key, L"a");
    });
    check(L"delete:Sub", [&] {
        makeKey(L"Software\\Faults\\Sub");
        return RegDeleteKeyW(here.key, L"Sub");
    });
    check(L"flush:Software\\Faults", [&] { return RegFlushKey(here.key); });
    check(L"flush:HKLM", [] { return RegFlushKey(HKEY_LOCAL_MACHINE); });
    check(L"enumerate:Software\\Faults", [&] {
        size = 64;
        return RegEnumValueW(here.key, 0, name, &size, nullptr, nullptr, nullptr, nullptr);
    });
    check(L"enumerate:HKCU", [&] {
        size = 64;
        return RegEnumKeyExW(HKEY_CURRENT_USER, 0, name, &size, nullptr, nullptr, nullptr, nullptr);
    });
    check(L"information:Software\\Faults", [&] {
        return RegQueryInfoKeyW(here.key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr, nullptr, nullptr);
    });
    CHECK(storedValue(L"b", testKey).present);
}

TEST_CASE("a fault while a key is closed leaves nothing open, failing or raised")
{
    TestPhone phone;
    const int before = SimLiveKeys();
    for (const bool raise : {false, true}) {
        HKEY key;
        REQUIRE(RegCreateKeyExW(HKEY_CURRENT_USER, testKey, 0, nullptr, 0, 0, nullptr, &key, nullptr) == ERROR_SUCCESS);
        REQUIRE(SimLiveKeys() == before + 1);
        REQUIRE(order(L"registry", 1, L"close:Software\\Faults", raise));
        LONG status = ERROR_SUCCESS;
        CHECK(raises([&] { status = RegCloseKey(key); }) == raise);
        CHECK(status == (raise ? ERROR_SUCCESS : ERROR_REGISTRY_IO_FAILED));
        CHECK(SimLiveKeys() == before);
        CHECK(RegCloseKey(key) != ERROR_SUCCESS);   // it really is no key any more
    }
}

TEST_CASE("every operation on a path can fail, naming the path as given")
{
    TestPhone phone;
    phone.writeFile(L"\\Temp\\f", "abc");
    WIN32_FIND_DATAW found;
    const auto check = [&](const wchar_t *call, auto succeeds) {
        INFO(narrow(call));
        REQUIRE(succeeds());
        REQUIRE(order(L"file", 1, call));
        CHECK_FALSE(succeeds());
        CHECK(GetLastError() == ERROR_IO_DEVICE);
        CHECK(succeeds());
    };
    check(L"open:\\Temp\\f", [] {
        const HANDLE file = CreateFileW(L"\\Temp\\f", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        return file != INVALID_HANDLE_VALUE && CloseHandle(file);
    });
    check(L"attributes:\\Temp\\f", [] { return GetFileAttributesW(L"\\Temp\\f") != INVALID_FILE_ATTRIBUTES; });
    check(L"attributes:\\temp\\F", [] { return SetFileAttributesW(L"\\Temp\\f", FILE_ATTRIBUTE_NORMAL) != FALSE; });
    check(L"copy:\\Temp\\f", [] { return CopyFileW(L"\\Temp\\f", L"\\Temp\\g", FALSE) != FALSE; });
    check(L"copy:\\Temp\\g", [] { return CopyFileW(L"\\Temp\\f", L"\\Temp\\g", FALSE) != FALSE; });
    check(L"find:\\Temp\\*", [&] {
        const HANDLE search = FindFirstFileW(L"\\Temp\\*", &found);
        return search != INVALID_HANDLE_VALUE && FindClose(search);
    });
    check(L"next:\\Temp\\*", [&] {   // f and its copy
        const HANDLE search = FindFirstFileW(L"\\Temp\\*", &found);
        const BOOL more = FindNextFileW(search, &found);
        const DWORD status = GetLastError();
        FindClose(search);
        SetLastError(status);
        return more != FALSE;
    });
    bool there = true;
    const auto move = [&] {
        const BOOL moved = there ? MoveFileW(L"\\Temp\\f", L"\\Temp\\m") : MoveFileW(L"\\Temp\\m", L"\\Temp\\f");
        there = moved ? !there : there;
        return moved != FALSE;
    };
    check(L"move:\\Temp\\m", move);
    check(L"create:\\Temp\\d*", [n = 0]() mutable {
        return CreateDirectoryW((L"\\Temp\\d" + std::to_wstring(++n)).c_str(), nullptr) != FALSE;
    });
    // The second directory's creation was ordered to fail.
    check(L"remove:\\Temp\\d*", [n = 0]() mutable {
        static const wchar_t *const left[] = {L"\\Temp\\d1", L"\\Temp\\d3", L"\\Temp\\d3"};
        return RemoveDirectoryW(left[n++]) != FALSE;
    });
    check(L"delete:\\Temp\\x*", [&, n = 0]() mutable {
        const std::wstring path = L"\\Temp\\x" + std::to_wstring(++n);
        phone.writeFile(path.c_str(), "");
        return DeleteFileW(path.c_str()) != FALSE;
    });
    CHECK(phone.fileExists(L"\\Temp\\x2"));
}

TEST_CASE("every operation on an open file can fail, naming its path")
{
    TestPhone phone;
    const HANDLE file = CreateFileW(L"/Temp/f", GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    REQUIRE(file != INVALID_HANDLE_VALUE);
    DWORD done = 0;
    char byte = 'x';
    const auto check = [&](const wchar_t *call, auto succeeds) {
        INFO(narrow(call));
        REQUIRE(succeeds());
        REQUIRE(order(L"file", 1, call));
        CHECK_FALSE(succeeds());
        CHECK(GetLastError() == ERROR_IO_DEVICE);
        CHECK(succeeds());
    };
    check(L"write:\\Temp\\f", [&] { return WriteFile(file, &byte, 1, &done, nullptr) != FALSE; });
    check(L"read:\\Temp\\f", [&] { return ReadFile(file, &byte, 1, &done, nullptr) != FALSE; });
    check(L"seek:\\Temp\\f", [&] { return SetFilePointer(file, 0, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER; });
    check(L"size:\\Temp\\f", [&] { return GetFileSize(file, nullptr) != INVALID_FILE_SIZE; });
    check(L"truncate:\\Temp\\f", [&] { return SetEndOfFile(file) != FALSE; });
    check(L"flush:\\Temp\\f", [&] { return FlushFileBuffers(file) != FALSE; });
    REQUIRE(order(L"file", 1, L"write:\\Temp\\f"));
    done = 77;
    CHECK_FALSE(WriteFile(file, &byte, 1, &done, nullptr));
    CHECK(done == 0);
    REQUIRE(order(L"file", 1, L"close:\\Temp\\f"));
    const int before = SimLiveFiles();
    CHECK_FALSE(CloseHandle(file));
    CHECK(GetLastError() == ERROR_IO_DEVICE);
    CHECK(SimLiveFiles() == before - 1);
    CHECK(DeleteFileW(L"\\Temp\\f"));   // it really is closed
}

TEST_CASE("every allocation can fail")
{
    TestPhone phone;
    const auto check = [](auto allocate) {
        REQUIRE(order(L"memory", 1, L"alloc:"));
        void *const failed = allocate();
        CHECK(failed == nullptr);
        void *const block = allocate();
        CHECK(block != nullptr);
        return block;
    };
    free(check([]() -> void * { return malloc(8); }));
    free(check([]() -> void * { return calloc(2, 8); }));
    free(check([]() -> void * { return _wcsdup(L"text"); }));
    LocalFree(check([]() -> void * { return LocalAlloc(LMEM_ZEROINIT, 8); }));

    SUBCASE("a block that cannot be resized stays as it is")
    {
        char *volatile block = static_cast<char *>(malloc(4));   // else the compiler takes it for gone after realloc
        memcpy(block, "abc", 4);
        REQUIRE(order(L"memory", 1, L"alloc:"));
        void *const failed = realloc(block, 400000);
        CHECK(failed == nullptr);
        CHECK(std::string(block) == "abc");
        free(block);
        const HLOCAL local = LocalAlloc(LMEM_ZEROINIT, 4);
        REQUIRE(order(L"memory", 1, L"alloc:"));
        CHECK_FALSE(LocalReAlloc(local, 400000, LMEM_MOVEABLE));
        CHECK(GetLastError() == ERROR_NOT_ENOUGH_MEMORY);
        CHECK(LocalSize(local) == 4);
        LocalFree(local);
    }
    SUBCASE("device contexts run out by an order of their own")
    {
        REQUIRE(order(L"memory", 1, L"dc:"));
        void *const block = malloc(1);
        CHECK(block != nullptr);
        free(block);
        CHECK_FALSE(GetDC(nullptr));
        const HDC screen = GetDC(nullptr);
        CHECK(screen);
        ReleaseDC(nullptr, screen);
    }
}

TEST_CASE("memory needs no phone, so that a program can start without one")
{
    char former[1024];
    const bool known = GetEnvironmentVariableA("PHONE", former, sizeof former) > 0;
    const PhoneFolder broken;
    broken.write("registry.reg", "nonsense");
    SetEnvironmentVariableA("PHONE", nullptr);
    // From here on no phone is open, and the first block that asked for one would end this program.
    REQUIRE(broken.complaint() != "");
    void *volatile block = malloc(8);
    CHECK(block != nullptr);
    free(block);
    LocalFree(LocalAlloc(LMEM_FIXED, 8));
    SetEnvironmentVariableA("PHONE", known ? former : nullptr);
}

// ---- faults.txt --------------------------------------------------------------------------------------------------------

TEST_CASE("faults.txt orders faults from the start")
{
    const PhoneFolder folder;
    folder.write("faults.txt", "# comment\r\n\r\n   \r\nregistry 2 read:a fail\r\n"
                               "REGISTRY\twrite:long name with blanks \tFAIL\r\n"
                               "  file 1 attributes:\\Program Files\\* raise\n"
                               "registry 3 open:* fail");
    // A line that is indented is none: kinds stand at the beginning.
    CHECK(folder.complaint() ==
          "phone simulator: faults.txt: not understood:   file 1 attributes:\\Program Files\\* raise\r\n");
    folder.write("faults.txt", "# comment\r\n\r\n   \r\nregistry 2 read:a fail\r\n"
                               "REGISTRY\twrite:long name with blanks \tFAIL\r\n"
                               "file 1 attributes:\\Program Files\\* raise\n"
                               "registry 3 open:never* fail");
    REQUIRE(folder.complaint() == "");
    HKEY key;
    REQUIRE(RegCreateKeyExW(HKEY_CURRENT_USER, testKey, 0, nullptr, 0, 0, nullptr, &key, nullptr) == ERROR_SUCCESS);
    CHECK(writeNumber(key, L"a") == ERROR_SUCCESS);
    CHECK(readNumber(key, L"a") == ERROR_SUCCESS);
    CHECK(readNumber(key, L"a") == ERROR_REGISTRY_IO_FAILED);
    CHECK(readNumber(key, L"a") == ERROR_SUCCESS);
    CHECK(writeNumber(key, L"long name with blanks") == ERROR_REGISTRY_IO_FAILED);
    CHECK(raises([] { GetFileAttributesW(L"\\Program Files\\x"); }));
    for (int call = 1; call <= 4; ++call)
        CHECK(openKey(L"never there") == (call == 3 ? ERROR_REGISTRY_IO_FAILED : ERROR_FILE_NOT_FOUND));
    RegCloseKey(key);
}

TEST_CASE("faults.txt is refused with the line that is not understood")
{
    for (const char *line :
         {"registry", "fail", "light fail", "registry 1", "registry read:a", "registry read:a failed",
          "registry read fail", "registry 5x fail", "registry -1 fail", "registry 1 read fail"}) {
        INFO(line);
        const PhoneFolder folder;
        folder.write("faults.txt", std::string("registry fail\n") + line + "\nmemory fail\n");
        CHECK(folder.complaint() == std::string("phone simulator: faults.txt: not understood: ") + line + "\r\n");
    }
    for (const char *line : {"registry fail", "registry 0 fail", "file raise", "memory 12 alloc: fail",
                             "database * fail", "registry  7   read:*   raise  "}) {
        INFO(line);
        const PhoneFolder folder;
        folder.write("faults.txt", line);
        CHECK(folder.complaint() == "");
    }
}

TEST_CASE("a program meets the faults of its phone's faults.txt")
{
    TestPhone phone;
    FILE *const faults = _wfopen((phone.folder() + L"\\faults.txt").c_str(), L"w");
    REQUIRE(faults);
    std::fputs("registry write:appWindow fail\n", faults);
    std::fclose(faults);
    const Engine engine(phone);
    CHECK_FALSE(storedValue(L"appWindow").present);
}

// ---- Counts ------------------------------------------------------------------------------------------------------------

TEST_CASE("blocks of memory are counted from allocation to release")
{
    TestPhone phone;
    const int before = SimLiveAllocations();
    void *block = malloc(8);
    void *volatile zeroed = calloc(1, 8);   // else the compiler leaves an allocation without a use out
    HLOCAL local = LocalAlloc(0, 8);
    wchar_t *copy = _wcsdup(L"x");
    CHECK(SimLiveAllocations() == before + 4);
    block = realloc(block, 100000);
    local = LocalReAlloc(local, 100000, 0);
    CHECK(SimLiveAllocations() == before + 4);
    free(block);
    free(zeroed);
    free(copy);
    LocalFree(local);
    CHECK(SimLiveAllocations() == before);
    free(nullptr);
    CHECK(SimLiveAllocations() == before);
}

TEST_CASE("files and keys are counted from opening to closing")
{
    TestPhone phone;
    const int files = SimLiveFiles(), keys = SimLiveKeys();
    const HANDLE file = CreateFileW(L"\\Temp\\f", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    HKEY key;
    REQUIRE(RegCreateKeyExW(HKEY_CURRENT_USER, testKey, 0, nullptr, 0, 0, nullptr, &key, nullptr) == ERROR_SUCCESS);
    CHECK(SimLiveFiles() == files + 1);
    CHECK(SimLiveKeys() == keys + 1);
    CHECK(CreateFileW(L"\\None\\f", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr) == INVALID_HANDLE_VALUE);
    CHECK(openKey(L"None") == ERROR_FILE_NOT_FOUND);
    CHECK(SimLiveFiles() == files + 1);
    CHECK(SimLiveKeys() == keys + 1);
    CloseHandle(file);
    RegCloseKey(key);
    CHECK(SimLiveFiles() == files);
    CHECK(SimLiveKeys() == keys);
}

TEST_CASE("drawing objects are counted")
{
    TestPhone phone;
    const int before = SimLiveGdi();
    const HBRUSH brush = CreateSolidBrush(RGB(1, 2, 3));
    CHECK(SimLiveGdi() == before + 1);
    DeleteObject(brush);
    CHECK(SimLiveGdi() == before);
}

TEST_CASE("a guarded block ends at a page that cannot be accessed, and holds what blocks hold")
{
    TestPhone phone;
    const auto endsAtGuard = [](void *block, size_t size) {
        MEMORY_BASIC_INFORMATION behind = {};
        VirtualQuery(static_cast<BYTE *>(block) + size, &behind, sizeof behind);
        return behind.State == MEM_RESERVE || (behind.State == MEM_COMMIT && behind.Protect == PAGE_NOACCESS);
    };
    const int before = SimLiveAllocations();
    SimGuardAllocations(TRUE);
    for (size_t size : {0, 1, 2, 15, 4095, 4096, 4097, 100000}) {
        char *block = static_cast<char *>(malloc(size));
        char *const cleared = static_cast<char *>(calloc(size, 1));
        const HLOCAL local = LocalAlloc(LMEM_ZEROINIT, size);
        REQUIRE((block && cleared && local));
        CHECK(endsAtGuard(block, size));
        CHECK(endsAtGuard(cleared, size));
        CHECK(endsAtGuard(local, size));
        CHECK(LocalSize(local) == size);
        CHECK(std::count(cleared, cleared + size, 0) == static_cast<ptrdiff_t>(size));
        memset(block, 'x', size);
        block = static_cast<char *>(realloc(block, size + 10));
        CHECK(endsAtGuard(block, size + 10));
        CHECK(std::count(block, block + size, 'x') == static_cast<ptrdiff_t>(size));
        const HLOCAL larger = LocalReAlloc(local, size + 10, LMEM_MOVEABLE | LMEM_ZEROINIT);
        CHECK(endsAtGuard(larger, size + 10));
        CHECK(std::count(static_cast<char *>(larger), static_cast<char *>(larger) + size + 10, 0) ==
              static_cast<ptrdiff_t>(size + 10));
        free(block);
        free(cleared);
        LocalFree(larger);
    }
    // Blocks of either kind are released at any time.
    void *const guarded = malloc(5);
    SimGuardAllocations(FALSE);
    void *const plain = malloc(5);
    CHECK_FALSE(endsAtGuard(plain, 5));
    free(guarded);
    SimGuardAllocations(TRUE);
    free(realloc(plain, 50));
    SimGuardAllocations(FALSE);
    CHECK(SimLiveAllocations() == before);
}

TEST_CASE("objects of COM are counted until the program releases them")
{
    TestPhone phone;
    const IID unknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    REQUIRE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
    const int before = SimLiveObjects();
    IUnknown *object = nullptr;
    const CLSID player = {0x6BF52A52, 0x394A, 0x11D3, {0xB1, 0x53, 0x00, 0xC0, 0x4F, 0x79, 0xFA, 0xA6}};
    phone.set(L"media", L"player", L"0");
    CHECK(CoCreateInstance(player, nullptr, CLSCTX_INPROC_SERVER, unknown, reinterpret_cast<void **>(&object)) ==
          REGDB_E_CLASSNOTREG);
    CHECK_FALSE(object);
    CHECK(SimLiveObjects() == before);
    const CLSID link = {0x00021401, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};   // the shell's link
    REQUIRE(
        SUCCEEDED(CoCreateInstance(link, nullptr, CLSCTX_INPROC_SERVER, unknown, reinterpret_cast<void **>(&object))));
    CHECK(SimLiveObjects() == before + 1);
    object->Release();
    CHECK(SimLiveObjects() == before);
    CoUninitialize();
    const std::vector<std::string> lines = phone.journal("com");
    REQUIRE(lines.size() == 4);
    CHECK(lines[0] == "com initialize");
    CHECK(lines[1] == "com create {6BF52A52-394A-11D3-B153-00C04F79FAA6} 0x80040154");
    CHECK(lines[2] == "com create {00021401-0000-0000-C000-000000000046} 0x0");
    CHECK(lines[3] == "com uninitialize 0");
}
