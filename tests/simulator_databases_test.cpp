// The simulator's property databases, called as a program calls them.

#include "control.h"
#include "databases.h"
#include "doctest.h"
#include "optional_function.h"
#include "phone_folder.h"
#include "test_phone.h"

PHONE_API CEOID WINAPI CeReadRecordProps(HANDLE database, DWORD flags, WORD *count, CEPROPID *properties, BYTE **buffer,
                                         DWORD *size);

namespace {

constexpr CEPROPID nameProperty = 0x0001001F, numberProperty = 0x00020013;

const char *const fruit = "; a comment\n"
                          "# another\n"
                          "[Fruit]\n"
                          "sort 0x0001001F\n"
                          "sort 0x00020013 descending\n"
                          "\n"
                          "record\n"
                          "0x0001001F = Pear\n"
                          "0x00020013 = 2\n"
                          "record\n"
                          "0x0001001F = apple\n"
                          "0x00020013 = 3\n"
                          "record\n"
                          "0x00020013 = 1\n"
                          "[Empty]\n";

bool isNone(HANDLE handle)
{
    return handle == INVALID_HANDLE_VALUE;
}

HANDLE openByName(const wchar_t *name, DWORD flags = CEDB_AUTOINCREMENT, CEPROPID sort = 0)
{
    CEOID oid = 0;
    return CeOpenDatabase(&oid, const_cast<wchar_t *>(name), sort, flags, nullptr);
}

HANDLE openIn(CEGUID volume, const wchar_t *name, CEPROPID sort = 0)
{
    CEOID oid = 0;
    return CeOpenDatabaseEx(&volume, &oid, const_cast<wchar_t *>(name), sort, CEDB_AUTOINCREMENT, nullptr);
}

BOOL mount(CEGUID &volume, const wchar_t *path, DWORD flags)
{
    return CeMountDBVol(&volume, const_cast<wchar_t *>(path), flags);
}

CeMountDBVolExFunction newMountFunction()
{
    return optionalFunction<CeMountDBVolExFunction>(L"coredll.dll", L"CeMountDBVolEx");
}

BOOL mountNewKind(CEGUID &volume, const wchar_t *path, DWORD flags)
{
    const CeMountDBVolExFunction function = newMountFunction();
    const bool isThere = function != nullptr;
    REQUIRE(isThere);
    return function(&volume, const_cast<wchar_t *>(path), nullptr, flags);
}

// The whole record at the present place; "(none)" when there is none. Names and numbers only, "?" for what is not there.
std::string readRecord(HANDLE database, CEPROPID *wanted = nullptr, WORD count = 0)
{
    BYTE *buffer = nullptr;
    DWORD size = 0;
    std::string text;
    if (!CeReadRecordPropsEx(database, CEDB_ALLOWREALLOC, &count, wanted, &buffer, &size, nullptr))
        text = "(none)";
    else
        for (WORD i = 0; i < count; ++i) {
            const CEPROPVAL &value = reinterpret_cast<CEPROPVAL *>(buffer)[i];
            text += i ? " " : "";
            if (value.wFlags & CEDB_PROPNOTFOUND)
                text += "?";
            else if (TypeFromPropID(value.propid) == CEVT_LPWSTR)
                text += narrow(value.val.lpwstr);
            else
                text += std::to_string(value.val.ulVal);
        }
    if (buffer)
        LocalFree(buffer);
    return text;
}

std::vector<std::string> readAll(HANDLE database)
{
    std::vector<std::string> records;
    for (std::string each; (each = readRecord(database)) != "(none)";)
        records.push_back(each);
    return records;
}

struct FruitPhone : TestPhone {
    FruitPhone() { writeStore(L"object store", fruit); }
    ~FruitPhone()
    {
        CHECK(SimLiveDatabases() == 0);
        CHECK(SimLiveVolumes() == 0);
    }
};

}   // namespace

// ---- Opening and closing ----------------------------------------------------------------------------------------------

TEST_CASE("a database is opened by name in any letter case, or by its identifier")
{
    FruitPhone phone;
    CEOID oid = 0;
    HANDLE database = CeOpenDatabase(&oid, const_cast<wchar_t *>(L"FRUIT"), 0, 0, nullptr);
    REQUIRE_FALSE(isNone(database));
    CHECK(SimLiveDatabases() == 1);
    CHECK(oid != 0);
    CHECK(CloseHandle(database));
    CHECK(SimLiveDatabases() == 0);
    CHECK_FALSE(CloseHandle(database));

    database = CeOpenDatabase(&oid, nullptr, 0, 0, nullptr);
    REQUIRE_FALSE(isNone(database));
    CHECK(readRecord(database) == "Pear 2");
    CloseHandle(database);
    CHECK(phone.journal("database") ==
          std::vector<std::string>{"database open FRUIT object store", "database close Fruit 0",
                                   "database open number 1 object store", "database close Fruit 1"});
}

TEST_CASE("what is not there cannot be opened")
{
    FruitPhone phone;
    CHECK(isNone(openByName(L"Vegetables")));
    CHECK(GetLastError() == ERROR_FILE_NOT_FOUND);
    CEOID oid = 99;
    CHECK(isNone(CeOpenDatabase(&oid, nullptr, 0, 0, nullptr)));
    CHECK(GetLastError() == ERROR_FILE_NOT_FOUND);
    oid = 0;
    CHECK(isNone(CeOpenDatabase(&oid, nullptr, 0, 0, nullptr)));
    CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
    CHECK(isNone(CeOpenDatabase(nullptr, const_cast<wchar_t *>(L"Fruit"), 0, 0, nullptr)));
    CHECK(isNone(openIn({1, 2, 3, 4}, L"Fruit")));   // no volume of that name is mounted
    CHECK(phone.journal("database") == std::vector<std::string>{"database open Vegetables not found",
                                                                "database open number 99 not found",
                                                                "database open Fruit not found"});
}

TEST_CASE("a phone without stores has no database")
{
    TestPhone phone;
    CHECK(isNone(openByName(L"Fruit")));
    CHECK(GetLastError() == ERROR_FILE_NOT_FOUND);
}

// ---- Order, seeking ---------------------------------------------------------------------------------------------------

TEST_CASE("records come in the order of the file, or in one the database has")
{
    FruitPhone phone;
    const struct {
        CEPROPID sort;
        std::vector<std::string> expected;
    } rows[] = {
        {0, {"Pear 2", "apple 3", "1"}},
        {nameProperty, {"apple 3", "Pear 2", "1"}},   // letter case does not count; what lacks the property comes last
        {numberProperty, {"apple 3", "Pear 2", "1"}},
    };
    for (const auto &row : rows) {
        const HANDLE database = openByName(L"Fruit", CEDB_AUTOINCREMENT, row.sort);
        CHECK(readAll(database) == row.expected);
        CloseHandle(database);
    }
    CHECK(isNone(openByName(L"Fruit", 0, 0x00030013)));
    CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
    CHECK(phone.journal("database").back() == "database open Fruit no such order");

    CEGUID store = CE_SYSTEM_VOLUME;
    SORTORDERSPECEX order = {1, 1, 0, 0, {nameProperty}, {}};
    CEOID oid = 0;
    const HANDLE database =
        CeOpenDatabaseEx2(&store, &oid, const_cast<wchar_t *>(L"Fruit"), &order, CEDB_AUTOINCREMENT, nullptr);
    CHECK(readRecord(database) == "apple 3");
    CloseHandle(database);
}

TEST_CASE("seeking finds places from the beginning, the end, the present one, and records")
{
    FruitPhone phone;
    const HANDLE database = openByName(L"Fruit", 0);
    const struct {
        DWORD type;
        int value;
        int index;   // -1: nowhere
        const char *record;
    } rows[] = {
        {CEDB_SEEK_BEGINNING, 0, 0, "Pear 2"},  {CEDB_SEEK_BEGINNING, 2, 2, "1"},
        {CEDB_SEEK_BEGINNING, 3, -1, "(none)"}, {CEDB_SEEK_BEGINNING, 1, 1, "apple 3"},
        {CEDB_SEEK_CURRENT, 1, 2, "1"},         {CEDB_SEEK_CURRENT, 1, -1, "(none)"},
        {CEDB_SEEK_CURRENT, -1, 2, "1"},        {CEDB_SEEK_CURRENT, -2, 0, "Pear 2"},
        {CEDB_SEEK_CURRENT, -1, -1, "(none)"},  {CEDB_SEEK_END, 0, 2, "1"},
        {CEDB_SEEK_END, -2, 0, "Pear 2"},       {CEDB_SEEK_END, -3, -1, "(none)"},
        {CEDB_SEEK_CEOID, 3, 1, "apple 3"},     {CEDB_SEEK_CEOID, 1, -1, "(none)"},   // the database's own
    };
    for (const auto &row : rows) {
        INFO(row.type << " " << row.value);
        DWORD index = 77;
        const CEOID found = CeSeekDatabase(database, row.type, static_cast<DWORD>(row.value), &index);
        CHECK((found != 0) == (row.index >= 0));
        CHECK(index == (row.index >= 0 ? static_cast<DWORD>(row.index) : 77));
        CHECK(readRecord(database) == row.record);
    }
    CHECK(CeSeekDatabase(database, 0x20, 0, nullptr) == 0);   // by value: not simulated
    CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
    CHECK(CeSeekDatabase(database, CEDB_SEEK_BEGINNING, 0, nullptr) == 2);
    CloseHandle(database);
    CHECK(CeSeekDatabase(database, CEDB_SEEK_BEGINNING, 0, nullptr) == 0);
    CHECK(GetLastError() == ERROR_INVALID_HANDLE);
    const std::vector<std::string> lines = phone.journal("database");
    CHECK(lines[1] == "database seek Fruit beginning 0");
    CHECK(lines[7] == "database seek Fruit current -1");
    CHECK(lines[11] == "database seek Fruit end -2");
    CHECK(lines[13] == "database seek Fruit record 3");
}

TEST_CASE("a read goes on to the next record only if the database was opened so")
{
    FruitPhone phone;
    HANDLE database = openByName(L"Fruit", 0);
    CHECK(readRecord(database) == "Pear 2");
    CHECK(readRecord(database) == "Pear 2");
    CloseHandle(database);
    database = openByName(L"Fruit", CEDB_AUTOINCREMENT);
    CHECK(readAll(database) == std::vector<std::string>{"Pear 2", "apple 3", "1"});
    CHECK(readRecord(database) == "(none)");
    CHECK(GetLastError() == ERROR_NO_MORE_ITEMS);
    CloseHandle(database);
    CHECK(phone.journal("database").back() == "database close Fruit 3");
}

// ---- Reading ----------------------------------------------------------------------------------------------------------

TEST_CASE("properties that are asked for come in that order, with a mark where one is missing")
{
    FruitPhone phone;
    const HANDLE database = openByName(L"Fruit");
    CEPROPID wanted[] = {numberProperty, 0x00090013, nameProperty};
    CHECK(readRecord(database, wanted, 3) == "2 ? Pear");
    CHECK(readRecord(database, wanted, 1) == "3");
    CHECK(readRecord(database, wanted, 3) == "1 ? ?");
    CloseHandle(database);
}

TEST_CASE("properties of all types")
{
    TestPhone phone;
    phone.writeStore(L"object store", "[All]\n"
                                      "record\n"
                                      "0x00010002 = -32768\n"
                                      "0x00020012 = 0xFFFF\n"
                                      "0x00030003 = -2147483648\n"
                                      "0x00040013 = 4294967295\n"
                                      "0x0005000B = 1\n"
                                      "0x00060005 = 2.5\n"
                                      "0x00070040 = 2008-03-07 14:05:09\n"
                                      "0x00080041 = 00 7f FF\n"
                                      "0x0009001F = \" blanks \"\n"
                                      "0x000A001F =\n"
                                      "0x000B001F = Gesch\xC3\xA4"
                                      "ft = \"a\"\n");
    const HANDLE database = openByName(L"All");
    WORD count = 0;
    DWORD size = 0;
    BYTE *buffer = nullptr;
    REQUIRE(CeReadRecordProps(database, CEDB_ALLOWREALLOC, &count, nullptr, &buffer, &size));
    REQUIRE(count == 11);
    const CEPROPVAL *values = reinterpret_cast<CEPROPVAL *>(buffer);
    CHECK(values[0].propid == 0x00010002);
    CHECK(values[10].propid == 0x000B001F);
    CHECK(values[0].val.iVal == -32768);
    CHECK(values[1].val.uiVal == 0xFFFF);
    CHECK(values[2].val.lVal == -2147483647 - 1);
    CHECK(values[3].val.ulVal == 0xFFFFFFFF);
    CHECK(values[4].val.boolVal == TRUE);
    CHECK(values[5].val.dblVal == 2.5);
    CHECK(values[6].val.filetime.dwHighDateTime == 0x01C8805C);
    CHECK(values[7].val.blob.dwCount == 3);
    CHECK(std::vector<BYTE>(values[7].val.blob.lpb, values[7].val.blob.lpb + 3) == std::vector<BYTE>{0, 0x7F, 0xFF});
    CHECK(std::wstring(values[8].val.lpwstr) == L" blanks ");
    CHECK(std::wstring(values[9].val.lpwstr) == L"");
    CHECK(std::wstring(values[10].val.lpwstr) == L"Gesch\x00E4"
                                                 L"ft = \"a\"");
    for (WORD i = 0; i < count; ++i)
        CHECK(values[i].wFlags == 0);
    LocalFree(buffer);
    CloseHandle(database);
}

TEST_CASE("the caller's own buffer is used when it is large enough")
{
    FruitPhone phone;
    const HANDLE database = openByName(L"Fruit", 0);
    constexpr DWORD needed = 2 * sizeof(CEPROPVAL) + 12;   // "Pear" with its zero, up to a whole word
    alignas(8) BYTE memory[200];
    BYTE *buffer = memory;
    for (DWORD room : {DWORD{0}, needed - 1}) {
        WORD count = 0;
        DWORD size = room;
        CHECK(CeReadRecordPropsEx(database, 0, &count, nullptr, &buffer, &size, nullptr) == 0);
        CHECK(GetLastError() == ERROR_INSUFFICIENT_BUFFER);
        CHECK(size == needed);
        CHECK(count == 0);
    }
    WORD count = 0;
    DWORD size = needed;
    CHECK(CeReadRecordPropsEx(database, 0, &count, nullptr, &buffer, &size, nullptr) == 2);
    CHECK(count == 2);
    CHECK(buffer == memory);
    CHECK(CeReadRecordPropsEx(database, 0, nullptr, nullptr, &buffer, &size, nullptr) == 0);
    CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
    CloseHandle(database);
}

TEST_CASE("a buffer of the phone's is made, grows and comes from the heap that is named")
{
    FruitPhone phone;
    const HANDLE database = openByName(L"Fruit", 0);
    const int before = SimLiveAllocations();
    BYTE *buffer = static_cast<BYTE *>(LocalAlloc(LMEM_FIXED, 4));
    DWORD size = 4;
    WORD count = 0;
    REQUIRE(CeReadRecordPropsEx(database, CEDB_ALLOWREALLOC, &count, nullptr, &buffer, &size, nullptr));
    CHECK(std::wstring(reinterpret_cast<CEPROPVAL *>(buffer)->val.lpwstr) == L"Pear");
    CHECK(SimLiveAllocations() == before + 1);
    LocalFree(buffer);
    CHECK(SimLiveAllocations() == before);

    const HANDLE heap = HeapCreate(0, 0, 0);
    buffer = nullptr;
    REQUIRE(CeReadRecordPropsEx(database, CEDB_ALLOWREALLOC, &count, nullptr, &buffer, &size, heap));
    CHECK(std::wstring(reinterpret_cast<CEPROPVAL *>(buffer)->val.lpwstr) == L"Pear");
    CHECK(SimLiveAllocations() == before);
    CHECK(HeapFree(heap, 0, buffer));
    HeapDestroy(heap);
    CloseHandle(database);
}

// ---- Volumes ----------------------------------------------------------------------------------------------------------

TEST_CASE("a volume is mounted, its databases opened, and unmounted when none of them is open any more")
{
    FruitPhone phone;
    phone.writeStore(L"cemail.vol", "[pmailFolders]\nrecord\n0x3001001F = ActiveSync\n");
    CEGUID volume = {};
    REQUIRE(mount(volume, L"\\cemail.vol", OPEN_ALWAYS));
    CHECK(GetLastError() == ERROR_SUCCESS);
    CHECK(SimLiveVolumes() == 1);
    CEGUID same = {};
    REQUIRE(mount(same, L"\\CEMAIL.VOL", OPEN_EXISTING));
    CHECK(GetLastError() == ERROR_ALREADY_EXISTS);
    CHECK(memcmp(&volume, &same, sizeof volume) == 0);
    CHECK(SimLiveVolumes() == 1);

    CHECK(isNone(openIn(volume, L"Fruit")));
    CHECK(isNone(openByName(L"pmailFolders")));
    HANDLE database = openIn(volume, L"pmailFolders");
    CHECK(readRecord(database) == "ActiveSync");
    CHECK_FALSE(CeUnmountDBVol(&volume));
    CHECK(GetLastError() == ERROR_SHARING_VIOLATION);
    CloseHandle(database);
    database = openIn(CE_ANY_VOLUME, L"pmailFolders");
    CHECK_FALSE(isNone(database));
    CloseHandle(database);
    database = openIn(CE_SYSTEM_VOLUME, L"Fruit");
    CHECK_FALSE(isNone(database));
    CloseHandle(database);
    CHECK(CeUnmountDBVol(&volume));
    CHECK(SimLiveVolumes() == 0);
    CHECK_FALSE(CeUnmountDBVol(&volume));
    CHECK(isNone(openIn(volume, L"pmailFolders")));
    CHECK(phone.journal("database") ==
          std::vector<std::string>{"database mount \\cemail.vol", "database mount \\CEMAIL.VOL mounted already",
                                   "database open Fruit not found", "database open pmailFolders not found",
                                   "database open pmailFolders \\cemail.vol", "database unmount \\cemail.vol in use",
                                   "database close pmailFolders 1", "database open pmailFolders \\cemail.vol",
                                   "database close pmailFolders 0", "database open Fruit object store",
                                   "database close Fruit 0", "database unmount \\cemail.vol",
                                   "database open pmailFolders not found"});
}

TEST_CASE("how a volume is mounted that is there, and one that is not")
{
    FruitPhone phone;
    phone.writeStore(L"old.vol", "[Data]\n");
    const struct {
        DWORD flags;
        const wchar_t *path;
        DWORD error;
        bool hasData;
    } rows[] = {
        {CREATE_NEW, L"\\old.vol", ERROR_ALREADY_EXISTS, false},
        {CREATE_ALWAYS, L"\\old.vol", 0, false},
        {OPEN_EXISTING, L"\\old.vol", 0, true},
        {OPEN_EXISTING, L"\\My Documents\\old.vol", 0, true},   // the folder does not count
        {OPEN_ALWAYS, L"\\old.vol", 0, true},
        {TRUNCATE_EXISTING, L"\\old.vol", 0, false},
        {0, L"\\old.vol", ERROR_INVALID_PARAMETER, false},
        {6, L"\\old.vol", ERROR_INVALID_PARAMETER, false},
        {CREATE_NEW, L"\\new.vol", 0, false},
        {CREATE_ALWAYS, L"\\new.vol", 0, false},
        {OPEN_EXISTING, L"\\new.vol", ERROR_FILE_NOT_FOUND, false},
        {OPEN_ALWAYS, L"\\new.vol", 0, false},
        {TRUNCATE_EXISTING, L"\\new.vol", ERROR_FILE_NOT_FOUND, false},
        {OPEN_ALWAYS, L"", ERROR_INVALID_PARAMETER, false},
    };
    for (const auto &row : rows) {
        INFO(row.flags << " " << narrow(row.path));
        CEGUID volume = {};
        const BOOL mounted = mount(volume, row.path, row.flags);
        CHECK(mounted == (row.error == 0));
        CHECK(GetLastError() == row.error);
        if (mounted) {
            const HANDLE database = openIn(volume, L"Data");
            CHECK(isNone(database) == !row.hasData);
            if (!isNone(database))
                CloseHandle(database);
            CHECK(CeUnmountDBVol(&volume));
        }
    }
}

TEST_CASE("each kind of volume has its own way of being mounted")
{
    FruitPhone phone;
    phone.writeStore(L"old.vol", "[Data]\n");
    phone.writeStore(L"new.vol", "volume new\n[Data]\n");
    CEGUID volume = {};
    CHECK_FALSE(mount(volume, L"\\new.vol", OPEN_ALWAYS));
    CHECK(GetLastError() == ERROR_BAD_FORMAT);
    CHECK(memcmp(&volume, &CE_ANY_VOLUME, sizeof volume) == 0);
    CHECK(mount(volume, L"\\new.vol", OPEN_ALWAYS | EDB_MOUNT_FLAG));
    CHECK(CeUnmountDBVol(&volume));
    CHECK_FALSE(mountNewKind(volume, L"\\old.vol", OPEN_ALWAYS));
    CHECK(GetLastError() == ERROR_BAD_FORMAT);
    CHECK(mountNewKind(volume, L"\\new.vol", OPEN_ALWAYS));
    const HANDLE database = openIn(volume, L"Data");
    CHECK_FALSE(isNone(database));
    CloseHandle(database);
    CHECK(CeUnmountDBVol(&volume));
}

TEST_CASE("Pocket PC 2003 does not export the newer way of mounting")
{
    TestPhone phone("ppc2003");
    const bool isThere = newMountFunction() != nullptr;
    CHECK_FALSE(isThere);
}

// ---- Faults -----------------------------------------------------------------------------------------------------------

TEST_CASE("every operation fails and throws on order, and nothing changes by it")
{
    FruitPhone phone;
    phone.writeStore(L"cemail.vol", "[pmailFolders]\n");
    CEGUID volume = {};
    SimOrderFault(L"database", 1, L"mount:\\cemail.vol", FALSE);
    CHECK_FALSE(mount(volume, L"\\cemail.vol", OPEN_ALWAYS));
    CHECK(GetLastError() == ERROR_DATABASE_FAILURE);
    SimOrderFault(L"database", 1, L"mount:*", TRUE);
    CHECK_THROWS(mount(volume, L"\\cemail.vol", OPEN_ALWAYS));
    REQUIRE(mount(volume, L"\\cemail.vol", OPEN_ALWAYS));

    SimOrderFault(L"database", 1, L"open:Fruit", FALSE);
    CHECK(isNone(openByName(L"Fruit")));
    CHECK(GetLastError() == ERROR_DATABASE_FAILURE);
    SimOrderFault(L"database", 1, L"open:*", TRUE);
    CHECK_THROWS(openByName(L"Fruit"));
    CHECK(SimLiveDatabases() == 0);
    const HANDLE database = openByName(L"Fruit");
    REQUIRE_FALSE(isNone(database));

    SimOrderFault(L"database", 1, L"seek:Fruit", FALSE);
    CHECK(CeSeekDatabase(database, CEDB_SEEK_BEGINNING, 1, nullptr) == 0);
    CHECK(GetLastError() == ERROR_DATABASE_FAILURE);
    SimOrderFault(L"database", 1, L"seek:*", TRUE);
    CHECK_THROWS(CeSeekDatabase(database, CEDB_SEEK_BEGINNING, 1, nullptr));
    const int before = SimLiveAllocations();
    SimOrderFault(L"database", 1, L"read:Fruit", FALSE);
    BYTE *buffer = nullptr;
    DWORD size = 0;
    WORD count = 0;
    CHECK(CeReadRecordPropsEx(database, CEDB_ALLOWREALLOC, &count, nullptr, &buffer, &size, nullptr) == 0);
    CHECK(GetLastError() == ERROR_DATABASE_FAILURE);
    CHECK(SimLiveAllocations() == before + 1);   // to be released after a failure as well
    LocalFree(buffer);
    SimOrderFault(L"database", 1, L"read:*", TRUE);
    CHECK_THROWS(readRecord(database));
    CHECK(readRecord(database) == "Pear 2");

    SimOrderFault(L"database", 1, L"close:Fruit", TRUE);
    CHECK_THROWS(CloseHandle(database));
    CHECK(SimLiveDatabases() == 0);   // closed all the same

    SimOrderFault(L"database", 1, L"unmount:\\cemail.vol", FALSE);
    CHECK_FALSE(CeUnmountDBVol(&volume));
    CHECK(SimLiveVolumes() == 1);
    SimOrderFault(L"database", 1, L"unmount:*", TRUE);
    CHECK_THROWS(CeUnmountDBVol(&volume));
    CHECK(CeUnmountDBVol(&volume));
    CHECK(phone.journal("database") ==
          std::vector<std::string>{"database mount \\cemail.vol failed", "database mount \\cemail.vol",
                                   "database open Fruit failed", "database open Fruit object store",
                                   "database close Fruit 1", "database unmount \\cemail.vol failed",
                                   "database unmount \\cemail.vol"});
}

// ---- Files ------------------------------------------------------------------------------------------------------------

TEST_CASE("a phone whose stores have a line that means nothing is not played, and the complaint names the line")
{
    const struct {
        const char *text;
        int line;   // 0: all is well
    } rows[] = {
        {"", 0},
        {"[A]", 0},
        {"[A]\nsort 0x1001F\nsort 0x20013 descending\nrecord\nrecord\n", 0},
        {"volume new\n[A]\n", 0},
        {"\r\n; x\r\n[A]\r\nrecord\r\n0x1001F=x\r\n", 0},
        {"record\n", 1},
        {"[A]\n\n0x1001F = x\n", 3},
        {"[A\n", 1},
        {"[]\n", 1},
        {"[A]\nvolume new\n", 2},
        {"volume\n", 1},
        {"[A]\nsort\n", 2},
        {"[A]\nsort x\n", 2},
        {"[A]\nsort 0x1001F upward\n", 2},
        {"[A]\nrecord\nx\n", 3},
        {"[A]\nrecord\n= 1\n", 3},
        {"[A]\nrecord\n0x100000013 = 1\n", 3},
        {"[A]\nrecord\n0x00010063 = 1\n", 3},   // no such type
        {"[A]\nrecord\n0x00010013 =\n", 3},
        {"[A]\nrecord\n0x00010013 = 1x\n", 3},
        {"[A]\nrecord\n0x00010013 = -1\n", 3},
        {"[A]\nrecord\n0x00010013 = 4294967296\n", 3},
        {"[A]\nrecord\n0x00010003 = 2147483648\n", 3},
        {"[A]\nrecord\n0x00010002 = 32768\n", 3},
        {"[A]\nrecord\n0x00010012 = 65536\n", 3},
        {"[A]\nrecord\n0x0001000B = 2\n", 3},
        {"[A]\nrecord\n0x00010005 = 1,5\n", 3},
        {"[A]\nrecord\n0x00010040 = 2008-03-07\n", 3},
        {"[A]\nrecord\n0x00010040 = 2008-13-07 14:05:09\n", 3},
        {"[A]\nrecord\n0x00010041 = 1\n", 3},
        {"[A]\nrecord\n0x00010041 = 00,01\n", 3},
        {"[A]\nrecord\n0x00010041 = 0g\n", 3},
    };
    for (const auto &row : rows) {
        INFO(row.text);
        PhoneFolder folder;
        std::filesystem::create_directories(std::filesystem::path(folder.path()) / "stores");
        folder.write("stores/object store.txt", row.text);
        const std::string complaint = folder.complaint();
        CHECK(complaint.empty() == (row.line == 0));
        if (row.line)
            CHECK(complaint.find("object store.txt: line " + std::to_string(row.line) + " ") != std::string::npos);
    }
}

TEST_CASE("a file that becomes malformed while the phone is in use cannot be opened")
{
    FruitPhone phone;
    phone.writeStore(L"object store", "nonsense\n");
    CHECK(isNone(openByName(L"Fruit")));
    phone.writeStore(L"bad.vol", "nonsense\n");
    CEGUID volume = {};
    CHECK_FALSE(mount(volume, L"\\bad.vol", OPEN_ALWAYS));
    CHECK(GetLastError() == ERROR_FILE_CORRUPT);
}

TEST_CASE("Pocket PC 2003 has categories in its object store")
{
    TestPhone phone("ppc2003");
    const HANDLE database = openByName(L"\\Categories Database");
    REQUIRE_FALSE(isNone(database));
    CHECK(readAll(database) == std::vector<std::string>{"Business 3", "Holiday 1", "Conference 0", "1", "Workshop",
                                                        "Personal 2", "Trip 4294967295"});
    CloseHandle(database);
}
