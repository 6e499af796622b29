// The simulator's Pocket Outlook, called as a program calls it: by the places of its functions.

#include "control.h"
#include "doctest.h"
#include "pocketoutlook.h"
#include "test_phone.h"

namespace {

const CLSID application = {0x05058F23, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
const IID firstInterface = {0x05058F22, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
const IID secondInterface = {0xAF7D0DC7, 0x3D35, 0x424B, {0xAA, 0x60, 0x27, 0xA3, 0x8B, 0x8B, 0x62, 0x9E}};
const IID folderInterface = {0x05058F20, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
const IID itemInterface = {0xFB8998D0, 0x38F0, 0x4D12, {0xAC, 0x56, 0x4E, 0xC8, 0xFC, 0xE9, 0xF3, 0xD5}};
const IID unknownInterface = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID scriptInterface = {0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

constexpr HRESULT ok = 0, failed = static_cast<HRESULT>(0x80004005), noInterface = static_cast<HRESULT>(0x80004002),
                  notRegistered = static_cast<HRESULT>(0x80040154), noRoom = static_cast<HRESULT>(0x8007007A),
                  badArgument = static_cast<HRESULT>(0x80070057);

enum Slot {
    queryInterface = 0,
    addRef = 1,
    release = 2,
    logon = 7,
    logoff = 8,
    getDefaultFolder = 10,
    getItemFromOidEx = 28,
    getItems = 7,
    receiveFromInfrared = 12,
    getProps = 3,
    removeCategory = 16,
};

// Calls the function at that place of the object's table.
template <typename... Arguments> HRESULT call(void *object, int slot, Arguments... arguments)
{
    using Function = HRESULT(WINAPI *)(void *, Arguments...);
    return reinterpret_cast<Function>((*static_cast<void ***>(object))[slot])(object, arguments...);
}

struct OutlookPhone : TestPhone {
    explicit OutlookPhone(const char *base = "wm6") : TestPhone(base) { CoInitializeEx(nullptr, 0); }
    ~OutlookPhone()
    {
        CHECK(SimLiveObjects() == 0);
        CoUninitialize();
    }
};

HRESULT create(const IID &interfaceId, void **object)
{
    return CoCreateInstance(application, nullptr, CLSCTX_INPROC_SERVER, interfaceId, object);
}

// The calendar as an item, and what was needed on the way.
struct Calendar {
    Calendar()
    {
        REQUIRE(create(secondInterface, &outlook) == ok);
        REQUIRE(call(outlook, logon, 0) == ok);
        REQUIRE(call(outlook, getDefaultFolder, 9, &folder) == ok);
        REQUIRE(call(folder, queryInterface, &itemInterface, &item) == ok);
    }
    ~Calendar()
    {
        call(item, release);
        call(folder, release);
        call(outlook, logoff);
        call(outlook, release);
    }
    HRESULT get(const std::vector<CEPROPID> &properties, CEPROPVAL **values, ULONG *size, ULONG flags = 0,
                HANDLE heap = nullptr)
    {
        return call(item, getProps, properties.data(), flags, static_cast<WORD>(properties.size()), values, size, heap);
    }
    std::wstring categories()
    {
        alignas(8) BYTE memory[1000];
        CEPROPVAL *values = reinterpret_cast<CEPROPVAL *>(memory);
        ULONG size = sizeof memory;
        REQUIRE(get({0x101A001F}, &values, &size) == ok);
        return values->val.lpwstr;
    }
    void *outlook = nullptr, *folder = nullptr, *item = nullptr;
};

}   // namespace

TEST_CASE("newer phones have both interfaces of the application, Pocket PC 2003 the first one")
{
    for (const char *base : {"wm6", "wm5", "ppc2003"}) {
        OutlookPhone phone(base);
        INFO(base);
        const bool isNew = std::string(base) != "ppc2003";
        for (const IID &each : {firstInterface, secondInterface, unknownInterface, scriptInterface, folderInterface}) {
            void *object = &phone;
            const bool expected = each != folderInterface && (isNew || each != secondInterface);
            CHECK(create(each, &object) == (expected ? ok : noInterface));
            CHECK((object != nullptr) == expected);
            if (object) {
                CHECK(SimLiveObjects() == 1);
                call(object, release);
            }
        }
    }
}

TEST_CASE("without COM, the class or with an owner there is no object")
{
    OutlookPhone phone;
    void *object = &phone;
    phone.set(L"outlook", L"present", L"0");
    CHECK(create(firstInterface, &object) == notRegistered);
    CHECK_FALSE(object);
    phone.set(L"outlook", L"present", L"1");
    IUnknown *const owner = reinterpret_cast<IUnknown *>(&phone);
    CHECK(CoCreateInstance(application, owner, CLSCTX_INPROC_SERVER, firstInterface, &object) ==
          static_cast<HRESULT>(0x80040110));
    CoUninitialize();
    CHECK(create(firstInterface, &object) == static_cast<HRESULT>(0x800401F0));
    CoInitializeEx(nullptr, 0);
    CHECK(create(firstInterface, &object) == ok);
    call(object, release);
}

TEST_CASE("folders are there for who is logged on, by their numbers")
{
    OutlookPhone phone;
    void *outlook = nullptr, *folder = &phone;
    REQUIRE(create(secondInterface, &outlook) == ok);
    CHECK(call(outlook, getDefaultFolder, 9, &folder) == failed);
    CHECK_FALSE(folder);
    CHECK(call(outlook, logoff) == failed);
    CHECK(call(outlook, logon, 0) == ok);
    for (int number : {9, 10, 13}) {
        REQUIRE(call(outlook, getDefaultFolder, number, &folder) == ok);
        CHECK(SimLiveObjects() == 2);
        call(folder, release);
        CHECK(SimLiveObjects() == 1);
    }
    for (int number : {0, 8, 11, 14})
        CHECK(call(outlook, getDefaultFolder, number, &folder) == badArgument);
    CHECK(call(outlook, logoff) == ok);
    CHECK(call(outlook, getDefaultFolder, 9, &folder) == failed);
    call(outlook, release);
    CHECK(phone.journal("outlook").front() == "outlook folder 9 0x80004005");
    CHECK(phone.journal("outlook")[7] == "outlook folder 8 0x80070057");
}

TEST_CASE("a folder is an item as well, and counts until all references to it are gone")
{
    OutlookPhone phone;
    {
        Calendar calendar;
        void *same = nullptr;
        CHECK(call(calendar.item, queryInterface, &folderInterface, &same) == ok);
        CHECK(same == calendar.folder);
        CHECK(call(calendar.item, queryInterface, &secondInterface, &same) == noInterface);
        CHECK(call(calendar.folder, release) == 2);
        CHECK(call(calendar.item, addRef) == 3);
        CHECK(call(calendar.item, release) == 2);
        CHECK(SimLiveObjects() == 2);
    }
    CHECK(SimLiveObjects() == 0);
}

TEST_CASE("on Pocket PC 2003 a folder is no item")
{
    OutlookPhone phone("ppc2003");
    void *outlook = nullptr, *folder = nullptr, *item = &phone;
    REQUIRE(create(firstInterface, &outlook) == ok);
    CHECK(call(outlook, logon, 0) == ok);
    REQUIRE(call(outlook, getDefaultFolder, 9, &folder) == ok);
    CHECK(call(folder, queryInterface, &itemInterface, &item) == noInterface);
    CHECK_FALSE(item);
    call(folder, release);
    call(outlook, release);
}

TEST_CASE("what nobody asks for is not there")
{
    OutlookPhone phone;
    Calendar calendar;
    const HRESULT notThere = static_cast<HRESULT>(0x80004001);
    for (int slot : {3, 4, 9, 11, 27, getItemFromOidEx + 0})
        CHECK(call(calendar.outlook, slot, nullptr, nullptr, nullptr, nullptr) == notThere);
    for (int slot : {3, getItems + 0, receiveFromInfrared + 0})
        CHECK(call(calendar.folder, slot, nullptr, nullptr, nullptr, nullptr) == notThere);
    for (int slot : {4, 5, removeCategory + 0})
        CHECK(call(calendar.item, slot, nullptr, nullptr, nullptr, nullptr) == notThere);
}

TEST_CASE("properties go into a buffer that is large enough, and its size is told")
{
    OutlookPhone phone;
    phone.set(L"categories", L"names", L"Work, Play");
    Calendar calendar;
    constexpr ULONG needed = sizeof(CEPROPVAL) + 2 * 11;
    alignas(8) BYTE memory[200];
    for (ULONG room : {ULONG{0}, needed - 1}) {
        CEPROPVAL *values = room ? reinterpret_cast<CEPROPVAL *>(memory) : nullptr;
        ULONG size = room;
        CHECK(calendar.get({0x101A001F}, &values, &size) == noRoom);
        CHECK(size == needed);
    }
    CEPROPVAL *values = reinterpret_cast<CEPROPVAL *>(memory);
    ULONG size = needed;
    REQUIRE(calendar.get({0x101A001F}, &values, &size) == ok);
    CHECK(static_cast<void *>(values) == memory);
    CHECK(values->propid == 0x101A001F);
    CHECK(values->wFlags == 0);
    CHECK(std::wstring(values->val.lpwstr) == L"Work, Play");

    size = sizeof memory;
    REQUIRE(calendar.get({0x10000066, 0x101A001F}, &values, &size) == ok);
    CHECK(values[0].propid == 0x10000066);
    CHECK(values[0].wFlags == CEDB_PROPNOTFOUND);
    CHECK(std::wstring(values[1].val.lpwstr) == L"Work, Play");

    phone.set(L"outlook", L"lists", L"0");
    size = sizeof memory;
    REQUIRE(calendar.get({0x101A001F}, &values, &size) == ok);
    CHECK(size == sizeof(CEPROPVAL));
    CHECK(values->wFlags == CEDB_PROPNOTFOUND);

    CHECK(calendar.get({}, &values, &size) == badArgument);
    CHECK(calendar.get({0x101A001F}, nullptr, &size) == badArgument);
    CHECK(calendar.get({0x101A001F}, &values, nullptr) == badArgument);
}

TEST_CASE("the buffer can be left to Pocket Outlook, on a heap of the caller's")
{
    OutlookPhone phone;
    Calendar calendar;
    const HANDLE heap = HeapCreate(0, 0, 0);
    CEPROPVAL *values = nullptr;
    ULONG size = 0;
    REQUIRE(calendar.get({0x101A001F}, &values, &size, CEDB_ALLOWREALLOC, heap) == ok);
    CHECK(std::wstring(values->val.lpwstr) == L"Business, Holiday, Personal");
    CHECK(HeapFree(heap, 0, values));
    HeapDestroy(heap);
}

TEST_CASE("the list is the phone's names, or a text as it stands, and more of it can come late")
{
    OutlookPhone phone;
    phone.set(L"categories", L"names", L" A ,, B,C ");
    {
        Calendar calendar;
        CHECK(calendar.categories() == L"A, B, C");
    }
    phone.set(L"categories", L"names", L"");
    {
        Calendar calendar;
        CHECK(calendar.categories() == L"");
    }
    phone.set(L"categories", L"list", L"A,B, C, ");
    phone.set(L"categories", L"late", L"D");
    for (int time = 0; time < 2; ++time) {   // late for everyone who opens the folder
        Calendar calendar;
        CHECK(calendar.categories() == L"A,B, C, ");
        CHECK(calendar.categories() == L"A,B, C, D");
    }
}

TEST_CASE("every step fails and throws on order")
{
    OutlookPhone phone;
    void *outlook = nullptr, *folder = nullptr, *item = nullptr;
    SimOrderFault(L"com", 1, L"create:{05058F23-20BE-11D2-8F18-0000F87A4335}", FALSE);
    CHECK(create(secondInterface, &outlook) == failed);
    CHECK_FALSE(outlook);
    SimOrderFault(L"com", 1, L"create:*", TRUE);
    CHECK_THROWS(create(secondInterface, &outlook));
    REQUIRE(create(secondInterface, &outlook) == ok);

    SimOrderFault(L"com", 1, L"logon:", FALSE);
    CHECK(call(outlook, logon, 0) == failed);
    SimOrderFault(L"com", 1, L"logon:", TRUE);
    CHECK_THROWS(call(outlook, logon, 0));
    REQUIRE(call(outlook, logon, 0) == ok);

    SimOrderFault(L"com", 1, L"folder:10", FALSE);
    CHECK(call(outlook, getDefaultFolder, 10, &folder) == failed);
    SimOrderFault(L"com", 1, L"folder:*", TRUE);
    CHECK_THROWS(call(outlook, getDefaultFolder, 9, &folder));
    REQUIRE(call(outlook, getDefaultFolder, 9, &folder) == ok);

    SimOrderFault(L"com", 1, L"interface:IItem", FALSE);
    CHECK(call(folder, queryInterface, &itemInterface, &item) == noInterface);
    SimOrderFault(L"com", 1, L"interface:IItem", TRUE);
    CHECK_THROWS(call(folder, queryInterface, &itemInterface, &item));
    REQUIRE(call(folder, queryInterface, &itemInterface, &item) == ok);

    const CEPROPID property = 0x101A001F;
    CEPROPVAL *values = nullptr;
    ULONG size = 0;
    SimOrderFault(L"com", 1, L"property:0x101A001F", FALSE);
    CHECK(call(item, getProps, &property, 0, WORD{1}, &values, &size, nullptr) == failed);
    CHECK(size == 0);
    SimOrderFault(L"com", 1, L"property:*", TRUE);
    CHECK_THROWS(call(item, getProps, &property, 0, WORD{1}, &values, &size, nullptr));

    SimOrderFault(L"com", 1, L"logoff:", TRUE);
    CHECK_THROWS(call(outlook, logoff));
    SimOrderFault(L"com", 1, L"logoff:", FALSE);
    CHECK(call(outlook, logoff) == failed);
    CHECK(SimLiveObjects() == 2);
    call(item, release);
    call(folder, release);
    call(outlook, release);
    CHECK(phone.journal("com")[1] == "com create {05058F23-20BE-11D2-8F18-0000F87A4335} 0x80004005");
    CHECK(phone.journal("outlook") == std::vector<std::string>{"outlook logon 0x80004005", "outlook logon 0x0",
                                                               "outlook folder 10 0x80004005", "outlook folder 9 0x0",
                                                               "outlook property 0x101A001F 0x80004005",
                                                               "outlook logoff 0x80004005"});
}

TEST_CASE("what is still held when COM ends is told in the journal")
{
    OutlookPhone phone;
    void *outlook = nullptr, *folder = nullptr;
    REQUIRE(create(firstInterface, &outlook) == ok);
    CHECK(call(outlook, logon, 0) == ok);
    REQUIRE(call(outlook, getDefaultFolder, 9, &folder) == ok);
    CoUninitialize();
    CHECK(phone.journal("com").back() == "com uninitialize 2");
    call(folder, release);
    call(outlook, release);
    CoInitializeEx(nullptr, 0);
}
