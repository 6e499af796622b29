#include "text.h"

#include <cstring>
#include <new>
#include <string>

#include "control.h"
#include "doctest.h"
#include "memory.h"
#include "test_phone.h"

namespace {

// A buffer with a mark behind it that no helper may touch.
template <typename Character, size_t capacity> struct Guarded {
    Character buffer[capacity];
    Character mark = 'M';

    Guarded()
    {
        for (Character &each : buffer)
            each = 'x';
    }
    std::basic_string<Character> content() const { return buffer; }
    bool isIntact() const { return mark == 'M' && terminator() < capacity; }
    size_t terminator() const
    {
        size_t length = 0;
        while (length < capacity && buffer[length])
            ++length;
        return length;
    }
};

template <size_t capacity> std::wstring copied(const wchar_t *from)
{
    Guarded<wchar_t, capacity> to;
    copyText(to.buffer, from);
    REQUIRE(to.isIntact());
    return to.content();
}

template <size_t capacity> std::wstring formattedWide(const wchar_t *argument)
{
    Guarded<wchar_t, capacity> to;
    formatText(to.buffer, L"<%s>", argument);
    REQUIRE(to.isIntact());
    return to.content();
}

template <size_t capacity> std::string formattedNarrow(const char *argument)
{
    Guarded<char, capacity> to;
    formatText(to.buffer, "<%s>", argument);
    REQUIRE(to.isIntact());
    return to.content();
}

// The call with the next allocation failing; true when it threw OutOfMemory.
template <typename Action> bool runsOutOfMemory(Action action)
{
    SimOrderFault(L"memory", 1, L"alloc:", FALSE);
    bool thrown = false;
    try {
        action();
    } catch (const OutOfMemory &) {
        thrown = true;
    }
    SimClearFaults();
    return thrown;
}

}   // namespace

// ---- Copying -----------------------------------------------------------------------------------------------------------

TEST_CASE("a copy holds what fits with its terminator, and no more")
{
    CHECK(copied<8>(L"") == L"");
    CHECK(copied<8>(L"a") == L"a");
    CHECK(copied<8>(L"sixchr") == L"sixchr");
    CHECK(copied<8>(L"seven c") == L"seven c");
    CHECK(copied<8>(L"eight ch") == L"eight c");
    CHECK(copied<8>(L"nine char") == L"nine ch");
    CHECK(copied<2>(L"ab") == L"a");
    CHECK(copied<1>(L"ab") == L"");
    CHECK(copied<1>(L"") == L"");
}

TEST_CASE("a copy leaves the buffer behind its terminator alone")
{
    wchar_t buffer[8] = L"1234567";
    copyText(buffer, L"ab");
    CHECK(std::wstring(buffer) == L"ab");
    CHECK(std::wstring(buffer + 3) == L"4567");
}

TEST_CASE("copying takes a capacity in characters")
{
    wchar_t buffer[4] = L"zzz";
    copyInto(buffer, 3, L"abc");
    CHECK(std::wstring(buffer) == L"ab");
    CHECK(buffer[3] == 0);
}

TEST_CASE("a text copied onto itself stays")
{
    wchar_t buffer[8] = L"seven c";
    copyText(buffer, buffer);
    CHECK(std::wstring(buffer) == L"seven c");
}

TEST_CASE("countOf counts elements, not bytes")
{
    const wchar_t characters[7] = {};
    const int numbers[3] = {};
    CHECK(countOf(characters) == 7);
    CHECK(countOf(numbers) == 3);
    CHECK(countOf(L"abc") == 4);
}

// ---- Formatting --------------------------------------------------------------------------------------------------------

TEST_CASE("a wide text is cut at its buffer's end and always terminated")
{
    TestPhone phone;
    CHECK(formattedWide<8>(L"") == L"<>");
    CHECK(formattedWide<8>(L"four") == L"<four>");
    CHECK(formattedWide<8>(L"fives") == L"<fives>");    // exactly full
    CHECK(formattedWide<8>(L"sixsix") == L"<sixsix");   // as long as the buffer, without room for the terminator
    CHECK(formattedWide<8>(L"sevens.") == L"<sevens");
    CHECK(formattedWide<8>(std::wstring(5000, L'n').c_str()) == L"<nnnnnn");
    CHECK(formattedWide<1>(L"abc") == L"");
    CHECK(formattedWide<2>(L"abc") == L"<");
}

TEST_CASE("an 8-bit text is cut at its buffer's end and always terminated")
{
    TestPhone phone;
    CHECK(formattedNarrow<8>("") == "<>");
    CHECK(formattedNarrow<8>("four") == "<four>");
    CHECK(formattedNarrow<8>("fives") == "<fives>");
    CHECK(formattedNarrow<8>("sixsix") == "<sixsix");
    CHECK(formattedNarrow<8>("sevens.") == "<sevens");
    CHECK(formattedNarrow<8>(std::string(5000, 'n').c_str()) == "<nnnnnn");
    CHECK(formattedNarrow<1>("abc") == "");
    CHECK(formattedNarrow<2>("abc") == "<");
}

TEST_CASE("texts in a format are as wide as the format")
{
    TestPhone phone;
    wchar_t wide[64];
    formatText(wide, L"%s\\kvl_%s.txt", L"\\Programme\\M\x00FCnchen \x20AC", L"DE");
    CHECK(std::wstring(wide) == L"\\Programme\\M\x00FCnchen \x20AC\\kvl_DE.txt");
    char narrowText[64];
    formatText(narrowText, "%s %d", "** line", -1);
    CHECK(std::string(narrowText) == "** line -1");
}

TEST_CASE("numbers are formatted as they are used")
{
    TestPhone phone;
    wchar_t wide[64];
    formatText(wide, L"%d %d %u %02d %x", 2147483647, -2147483647 - 1, 4294967295u, 7, 0x2A);
    CHECK(std::wstring(wide) == L"2147483647 -2147483648 4294967295 07 2a");
    char narrowText[64];
    formatText(narrowText, "%02d/%02d %02d:%02d:%02d ->", 7, 3, 14, 5, 9);
    CHECK(std::string(narrowText) == "07/03 14:05:09 ->");
}

// ---- Heap texts --------------------------------------------------------------------------------------------------------

TEST_CASE("a duplicate is a text of its own")
{
    TestPhone phone;
    wchar_t original[] = L"M\x00FCnchen";
    wchar_t *copy = duplicateText(original);
    original[0] = L'X';
    CHECK(copy != original);
    CHECK(std::wstring(copy) == L"M\x00FCnchen");
    freeText(copy);
    CHECK(copy == nullptr);
}

TEST_CASE("empty and long texts are duplicated whole")
{
    TestPhone phone;
    wchar_t *empty = duplicateText(L"");
    CHECK(std::wstring(empty) == L"");
    freeText(empty);
    const std::wstring content(100000, L'n');
    wchar_t *longCopy = duplicateText(content.c_str());
    CHECK(content == longCopy);
    freeText(longCopy);
}

TEST_CASE("a freed text gives its block back, and may be freed again")
{
    TestPhone phone;
    const int before = SimLiveAllocations();
    wchar_t *copy = duplicateText(L"text");
    const int held = SimLiveAllocations();
    freeText(copy);
    freeText(copy);
    const int after = SimLiveAllocations();
    CHECK(held == before + 1);
    CHECK(after == before);
}

TEST_CASE("duplicating without memory throws and holds nothing")
{
    TestPhone phone;
    runsOutOfMemory([] { duplicateText(L"text"); });   // a thread's first exception makes its bookkeeping, for good
    const int before = SimLiveAllocations();
    const bool thrown = runsOutOfMemory([] { duplicateText(L"text"); });
    const int after = SimLiveAllocations();
    CHECK(thrown);
    CHECK(after == before);
}

// ---- Allocation --------------------------------------------------------------------------------------------------------

TEST_CASE("a heap text goes with its owner, unless that has released it")
{
    const int before = SimLiveAllocations();
    {
        const HeapText owner(duplicateText(L"text"));
        const HeapText nothing(nullptr);
        CHECK(std::wstring(owner.text) == L"text");
    }
    CHECK(SimLiveAllocations() == before);
    HeapText owner(duplicateText(L"text"));
    wchar_t *released = owner.release();
    CHECK(owner.text == nullptr);
    freeText(released);
    CHECK(SimLiveAllocations() == before);
}

TEST_CASE("exhausted memory is an exception for objects and for arrays")
{
    TestPhone phone;
    CHECK(runsOutOfMemory([] { operator delete(operator new(4)); }));
    CHECK(runsOutOfMemory([] { operator delete[](operator new[](4)); }));
    CHECK(runsOutOfMemory([] { operator delete(operator new(0)); }));
}

TEST_CASE("every block lies on the phone's heap and goes back there")
{
    TestPhone phone;
    const int before = SimLiveAllocations();
    void *object = operator new(16);
    void *array = operator new[](16);
    void *sizedObject = operator new(16);
    void *sizedArray = operator new[](16);
    const int held = SimLiveAllocations();
    operator delete(object);
    operator delete[](array);
    operator delete (sizedObject, size_t{16});
    operator delete[](sizedArray, size_t{16});
    operator delete(nullptr);
    operator delete[](nullptr);
    const int after = SimLiveAllocations();
    CHECK(held == before + 4);
    CHECK(after == before);
}

TEST_CASE("blocks of no bytes are blocks of their own")
{
    TestPhone phone;
    void *first = operator new(0);
    void *second = operator new(0);
    CHECK(first != nullptr);
    CHECK(second != nullptr);
    CHECK(first != second);
    operator delete(first);
    operator delete(second);
}

TEST_CASE("a block can be filled to its last byte")
{
    TestPhone phone;
    for (const size_t size : {1u, 2u, 15u, 16u, 17u, 4096u, 100000u}) {
        BYTE *block = static_cast<BYTE *>(operator new(size));
        memset(block, 0xA5, size);
        CHECK(block[size - 1] == 0xA5);
        operator delete(block);
    }
}
