// The exception runtime as it is linked into the bare image: what the program counts on, and more.

#include "doctest.h"

#include "control.h"
#include "log.h"
#include "memory.h"
#include "test_phone.h"
#include "text.h"

namespace {

struct Base {
    int value;
};
struct Derived : Base {};
struct Unrelated {};

int destroyed;

struct Witness {
    ~Witness() { ++destroyed; }
};

// Far enough down that frames of every shape are unwound.
[[gnu::noinline]] int throwFrom(int depth, int value)
{
    Witness witness;
    char room[40];
    room[depth] = static_cast<char>(value);
    if (depth == 0)
        throw Derived{{value}};
    return throwFrom(depth - 1, value) + room[depth];
}

}   // namespace

TEST_CASE("an exception is caught as its type, as its base and as any")
{
    int caught = 0;
    try {
        throwFrom(0, 1);
    } catch (const Unrelated &) {
        caught = 100;
    } catch (const Derived &exception) {
        caught += exception.value;
    }
    try {
        throwFrom(3, 2);
    } catch (Base &exception) {
        caught += exception.value;
    }
    try {
        throwFrom(5, 4);
    } catch (...) {
        caught += 4;
    }
    CHECK(caught == 7);
}

TEST_CASE("unwinding destroys the objects on its way, once each")
{
    destroyed = 0;
    try {
        throwFrom(9, 0);
    } catch (const Base &) {
    }
    CHECK(destroyed == 10);
}

TEST_CASE("an exception can be thrown on, and handlers can be nested")
{
    int steps = 0;
    try {
        try {
            throwFrom(1, 7);
        } catch (const Base &outer) {
            try {
                throw Unrelated();
            } catch (const Unrelated &) {
                steps += outer.value;
            }
            throw;
        }
    } catch (const Derived &exception) {
        steps += 10 * exception.value;
    }
    CHECK(steps == 77);
}

TEST_CASE("an exception may be thrown and caught while another one unwinds")
{
    struct Careful {
        int &caught;
        ~Careful()
        {
            try {
                throw Unrelated();
            } catch (...) {
                ++caught;
            }
        }
    };
    int caught = 0;
    try {
        Careful careful{caught};
        throwFrom(2, 1);
    } catch (const Base &) {
        caught += 10;
    }
    CHECK(caught == 11);
}

TEST_CASE("three hundred exceptions leave no memory behind")
{
    const int before = SimLiveAllocations();
    int sum = 0;
    for (int round = 0; round < 300; ++round) {
        try {
            throwFrom(round % 4, 1);
        } catch (const Base &exception) {
            sum += exception.value;
        }
    }
    const int after = SimLiveAllocations();
    CHECK(sum == 300);
    CHECK(after == before);
}

TEST_CASE("exhausted memory is reported even when there is none for the exception either")
{
    TestPhone phone;
    bool caught = false;
    SimOrderFault(L"memory", 0, L"alloc:", FALSE);
    try {
        duplicateText(L"text");
    } catch (const OutOfMemory &) {
        caught = true;
    }
    SimClearFaults();
    CHECK(caught);
}

TEST_CASE("an exception from inside a call of the system is caught like any other")
{
    TestPhone phone;
    bool caught = false;
    SimOrderFault(L"file", 1, L"attributes:\\Windows", TRUE);
    try {
        GetFileAttributesW(L"\\Windows");
    } catch (...) {
        caught = true;
    }
    CHECK(caught);
}
