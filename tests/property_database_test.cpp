#include "property_database.h"

#include "control.h"
#include "doctest.h"
#include "test_phone.h"

namespace {

constexpr wchar_t objectStore[] = L"object store";

const char *const threeRecords = "[Fruit]\n"
                                 "record\n"
                                 "0x0001001F = Apple\n"
                                 "0x00020013 = 7\n"
                                 "record\n"
                                 "0x0001001F = Pear\n"
                                 "record\n"
                                 "[Empty]\n";

// A phone whose object store has these databases.
struct StorePhone : TestPhone {
    StorePhone() : TestPhone("ppc2003") { writeStore(objectStore, threeRecords); }
};

struct Held {
    int databases = SimLiveDatabases(), allocations = SimLiveAllocations();

    bool isSame() const { return SimLiveDatabases() == databases && SimLiveAllocations() == allocations; }
};

int countOfProperties(const DatabaseRecord &record)
{
    return static_cast<int>(record.end() - record.begin());
}

}   // namespace

TEST_CASE("every record is read with all its properties, and none after the last")
{
    StorePhone phone;
    PropertyDatabase database;
    REQUIRE(database.open(L"Fruit"));
    REQUIRE(database.seekToBeginning());
    DatabaseRecord record;
    CHECK(countOfProperties(record) == 0);

    REQUIRE(record.readNext(database.handle()));
    REQUIRE(countOfProperties(record) == 2);
    CHECK(record.begin()[0].propid == 0x0001001F);
    CHECK(std::wstring(record.begin()[0].val.lpwstr) == L"Apple");
    CHECK(record.begin()[1].propid == 0x00020013);
    CHECK(record.begin()[1].val.ulVal == 7);

    REQUIRE(record.readNext(database.handle()));
    REQUIRE(countOfProperties(record) == 1);
    CHECK(std::wstring(record.begin()[0].val.lpwstr) == L"Pear");

    CHECK(record.readNext(database.handle()));   // there, and without properties
    CHECK(countOfProperties(record) == 0);
    CHECK_FALSE(record.readNext(database.handle()));
    CHECK(countOfProperties(record) == 0);
    CHECK_FALSE(record.readNext(database.handle()));
}

TEST_CASE("seeking the beginning starts again, and finds nothing in an empty database")
{
    StorePhone phone;
    PropertyDatabase database;
    REQUIRE(database.open(L"Fruit"));
    for (int pass = 0; pass < 2; ++pass) {
        REQUIRE(database.seekToBeginning());
        DatabaseRecord record;
        REQUIRE(record.readNext(database.handle()));
        CHECK(std::wstring(record.begin()[0].val.lpwstr) == L"Apple");
    }
    REQUIRE(database.open(L"Empty"));
    CHECK_FALSE(database.seekToBeginning());
    DatabaseRecord record;
    CHECK_FALSE(record.readNext(database.handle()));
}

TEST_CASE("a database that is not there cannot be opened, sought or read")
{
    StorePhone phone;
    const Held before;
    PropertyDatabase database;
    CHECK_FALSE(database.seekToBeginning());   // not opened at all
    CHECK_FALSE(database.open(L"Vegetables"));
    CHECK(database.handle() == INVALID_HANDLE_VALUE);
    CHECK_FALSE(database.seekToBeginning());
    DatabaseRecord record;
    CHECK_FALSE(record.readNext(database.handle()));
    CHECK(before.isSame());
}

TEST_CASE("a database is closed by its scope, by opening another one, and once only")
{
    StorePhone phone;
    const int before = SimLiveDatabases();
    {
        PropertyDatabase database;
        REQUIRE(database.open(L"Fruit"));
        CHECK(SimLiveDatabases() == before + 1);
        REQUIRE(database.open(L"Empty"));
        CHECK(SimLiveDatabases() == before + 1);
        CHECK_FALSE(database.open(L"Vegetables"));
        CHECK(SimLiveDatabases() == before);
        REQUIRE(database.open(L"Fruit"));
        database.close();
        CHECK(SimLiveDatabases() == before);
        database.close();
        REQUIRE(database.open(L"Fruit"));
    }
    CHECK(SimLiveDatabases() == before);
    CHECK(phone.journal("database") ==
          std::vector<std::string>{
              "database open Fruit object store", "database close Fruit 0", "database open Empty object store",
              "database close Empty 0", "database open Vegetables not found", "database open Fruit object store",
              "database close Fruit 0", "database open Fruit object store", "database close Fruit 0"});
}

TEST_CASE("a record's memory goes with the next one, a failed read and the record itself")
{
    StorePhone phone;
    PropertyDatabase database;
    REQUIRE(database.open(L"Fruit"));
    REQUIRE(database.seekToBeginning());
    const int before = SimLiveAllocations();
    {
        DatabaseRecord record;
        REQUIRE(record.readNext(database.handle()));
        CHECK(SimLiveAllocations() == before + 1);
        REQUIRE(record.readNext(database.handle()));
        CHECK(SimLiveAllocations() == before + 1);
        SimOrderFault(L"database", 1, L"read:*", FALSE);
        CHECK_FALSE(record.readNext(database.handle()));
        CHECK(SimLiveAllocations() == before + 1);   // what a failing read has made
        CHECK(countOfProperties(record) == 0);
        CHECK(record.readNext(database.handle()));   // the third record is still to come
        CHECK_FALSE(record.readNext(database.handle()));
        CHECK(SimLiveAllocations() == before);
        REQUIRE(database.seekToBeginning());
        REQUIRE(record.readNext(database.handle()));
    }
    CHECK(SimLiveAllocations() == before);
}

TEST_CASE("whichever call fails or throws, nothing stays open")
{
    StorePhone phone;
    for (const wchar_t *call : {L"open:*", L"seek:*", L"read:*", L"close:*"})
        for (bool raised : {false, true}) {
            INFO(narrow(call) << (raised ? " throws" : " fails"));
            SimOrderFault(L"database", 1, call, raised);
            const Held before;   // the test's own notes count as well
            try {
                PropertyDatabase database;
                DatabaseRecord record;
                if (database.open(L"Fruit") && database.seekToBeginning() && record.readNext(database.handle()))
                    CHECK(wcscmp(call, L"close:*") == 0);
            } catch (...) {
                CHECK(raised);
                CHECK(wcscmp(call, L"close:*") != 0);   // a destructor keeps it to itself
            }
            CHECK(before.isSame());
            SimClearFaults();
        }
}

TEST_CASE("without memory for a record it counts as none")
{
    StorePhone phone;
    const Held before;
    {
        PropertyDatabase database;
        REQUIRE(database.open(L"Fruit"));
        REQUIRE(database.seekToBeginning());
        DatabaseRecord record;
        SimOrderFault(L"memory", 1, L"alloc:", FALSE);
        CHECK_FALSE(record.readNext(database.handle()));
        CHECK(countOfProperties(record) == 0);
        CHECK(record.readNext(database.handle()));
    }
    CHECK(before.isSame());
}

TEST_CASE("a text of ten thousand characters is read whole")
{
    StorePhone phone;
    const std::string longest(10000, 'x');
    phone.writeStore(objectStore, "[Fruit]\nrecord\n0x0001001F = " + longest + "\n");
    PropertyDatabase database;
    REQUIRE(database.open(L"Fruit"));
    REQUIRE(database.seekToBeginning());
    DatabaseRecord record;
    REQUIRE(record.readNext(database.handle()));
    CHECK(narrow(record.begin()->val.lpwstr) == longest);
}
