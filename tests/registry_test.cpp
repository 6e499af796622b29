#include "registry.h"

#include <cstring>
#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "test_phone.h"

namespace {

constexpr wchar_t testKey[] = L"Software\\Test";
constexpr wchar_t otherKey[] = L"Software\\Test\\Other";

constexpr LONG keyIsMissing = 2;        // ERROR_FILE_NOT_FOUND
constexpr LONG handleIsInvalid = 6;     // ERROR_INVALID_HANDLE
constexpr LONG failedByOrder = 1016;    // ERROR_REGISTRY_IO_FAILED
constexpr LONG parameterIsWrong = 87;   // ERROR_INVALID_PARAMETER

// A phone with an empty key, open.
struct PhoneWithKey : TestPhone {
    PhoneWithKey()
    {
        makeKey(testKey);
        REQUIRE(key.open(HKEY_CURRENT_USER, testKey) == 0);
    }
    ~PhoneWithKey() { key.close(); }

    RegistryKey key;
};

void fail(const wchar_t *call)
{
    SimOrderFault(L"registry", 1, call, FALSE);
}

void storeCharacters(const wchar_t *name, const std::wstring &characters, DWORD type = REG_SZ)
{
    storeBytes(name, type, characters.data(), characters.size() * sizeof(wchar_t), testKey);
}

std::vector<BYTE> bytesOf(const std::wstring &characters)
{
    const BYTE *first = reinterpret_cast<const BYTE *>(characters.data());
    return std::vector<BYTE>(first, first + characters.size() * sizeof(wchar_t));
}

// A field with a mark behind it.
template <size_t capacity> struct Field {
    wchar_t text[capacity] = {};
    wchar_t mark = L'M';

    Field()
    {
        if (capacity > 3)
            copyInto(text, capacity, L"old");
    }
};

}   // namespace

// ---- Keys --------------------------------------------------------------------------------------------------------------

TEST_CASE("everything of the program lies under one key")
{
    CHECK(std::wstring(programKey) == L"Software\\Tessaryn\\Kelvane");
}

TEST_CASE("opening finds keys of both roots and makes none")
{
    TestPhone phone;
    RegistryKey key;
    CHECK(key.handle() == nullptr);
    CHECK(key.open(HKEY_CURRENT_USER, L"ControlPanel\\Volume") == 0);
    CHECK(key.handle() != nullptr);
    CHECK(key.open(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Inbox\\Settings") == 0);
    CHECK(key.handle() != nullptr);
    CHECK(key.open(HKEY_CURRENT_USER, L"Software\\Missing") == keyIsMissing);
    CHECK(key.handle() == nullptr);
    CHECK(!keyExists(L"Software\\Missing"));
}

TEST_CASE("creating makes a key with all above it and opens one that is there")
{
    TestPhone phone;
    RegistryKey key;
    CHECK(key.create(HKEY_CURRENT_USER, L"Software\\New\\Below\\Deep") == 0);
    CHECK(keyExists(L"Software\\New\\Below\\Deep"));
    CHECK(writeNumber(key, L"n", 5) == 0);
    CHECK(key.create(HKEY_CURRENT_USER, L"Software\\New\\Below\\Deep") == 0);
    DWORD value = 0;
    CHECK(readNumber(key, L"n", value));
    CHECK(value == 5);
}

TEST_CASE("an opened key can be read and written")
{
    PhoneWithKey phone;
    CHECK(writeNumber(phone.key, L"n", 7) == 0);
    DWORD value = 0;
    CHECK(readNumber(phone.key, L"n", value));
    CHECK(value == 7);
}

TEST_CASE("a key is closed at the end of its scope, and before another is opened")
{
    TestPhone phone;
    makeKey(testKey);
    makeKey(otherKey);
    const int before = SimLiveKeys();
    {
        RegistryKey key;
        CHECK(key.open(HKEY_CURRENT_USER, testKey) == 0);
        CHECK(SimLiveKeys() == before + 1);
        CHECK(key.open(HKEY_CURRENT_USER, otherKey) == 0);
        CHECK(SimLiveKeys() == before + 1);
        CHECK(key.create(HKEY_CURRENT_USER, testKey) == 0);
        CHECK(SimLiveKeys() == before + 1);
        CHECK(key.open(HKEY_CURRENT_USER, L"Software\\Missing") == keyIsMissing);
        CHECK(SimLiveKeys() == before);
        CHECK(key.create(HKEY_CURRENT_USER, testKey) == 0);
    }
    CHECK(SimLiveKeys() == before);
}

TEST_CASE("closing answers its status, once; a closed key closes without one")
{
    PhoneWithKey phone;
    CHECK(phone.key.close() == 0);
    CHECK(phone.key.handle() == nullptr);
    CHECK(phone.key.close() == 0);

    CHECK(phone.key.open(HKEY_CURRENT_USER, testKey) == 0);
    fail(L"close:Software\\Test");
    CHECK(phone.key.close() == failedByOrder);
    CHECK(phone.key.handle() == nullptr);
    CHECK(phone.key.close() == 0);
}

TEST_CASE("opening, creating and flushing answer their status")
{
    PhoneWithKey phone;
    CHECK(phone.key.flush() == 0);
    fail(L"flush:Software\\Test");
    CHECK(phone.key.flush() == failedByOrder);
    fail(L"open:Software\\Test");
    CHECK(phone.key.open(HKEY_CURRENT_USER, testKey) == failedByOrder);
    CHECK(phone.key.handle() == nullptr);
    fail(L"create:Software\\Test");
    CHECK(phone.key.create(HKEY_CURRENT_USER, testKey) == failedByOrder);
    CHECK(phone.key.handle() == nullptr);
}

TEST_CASE("a key that is not open reads and writes nothing")
{
    TestPhone phone;
    RegistryKey key;
    DWORD value = 5;
    wchar_t content[10] = L"old";
    CHECK(!readNumber(key, L"n", value));
    CHECK(!readText(key, L"t", content));
    CHECK(value == 5);
    CHECK(std::wstring(content) == L"old");
    CHECK(writeNumber(key, L"n", 1) == handleIsInvalid);
    CHECK(writeText(key, L"t", L"x") == handleIsInvalid);
    CHECK(key.flush() == handleIsInvalid);
}

// ---- Numbers -----------------------------------------------------------------------------------------------------------

TEST_CASE("numbers go there and back with all their bits")
{
    PhoneWithKey phone;
    for (const DWORD number : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0x12345678u, 0xFFFFFFFFu}) {
        CHECK(writeNumber(phone.key, L"n", number) == 0);
        DWORD value = ~number;
        CHECK(readNumber(phone.key, L"n", value));
        CHECK(value == number);
    }
    const StoredValue stored = storedValue(L"n", testKey);
    CHECK(stored.type == REG_DWORD);
    CHECK(stored.bytes.size() == 4);
}

TEST_CASE("what is not a number of four bytes is not read and changes nothing")
{
    PhoneWithKey phone;
    const BYTE bytes[] = {1, 2, 3, 4, 5, 6, 7, 8};
    const struct {
        DWORD type;
        size_t size;
    } cases[] = {{REG_DWORD, 0},  {REG_DWORD, 1}, {REG_DWORD, 3}, {REG_DWORD, 5},           {REG_DWORD, 8},
                 {REG_BINARY, 4}, {REG_SZ, 4},    {REG_NONE, 4},  {REG_DWORD_BIG_ENDIAN, 4}};
    for (const auto &each : cases) {
        CAPTURE(each.type);
        CAPTURE(each.size);
        storeBytes(L"n", each.type, bytes, each.size, testKey);
        DWORD value = 0xABCDEF;
        CHECK(!readNumber(phone.key, L"n", value));
        CHECK(value == 0xABCDEF);
    }
    removeValue(L"n", testKey);
    DWORD value = 0xABCDEF;
    CHECK(!readNumber(phone.key, L"n", value));
    CHECK(value == 0xABCDEF);
}

TEST_CASE("a number that fails to be read changes nothing, one that fails to be written answers why")
{
    PhoneWithKey phone;
    CHECK(writeNumber(phone.key, L"n", 1) == 0);
    fail(L"read:n");
    DWORD value = 0xABCDEF;
    CHECK(!readNumber(phone.key, L"n", value));
    CHECK(value == 0xABCDEF);
    fail(L"write:n");
    CHECK(writeNumber(phone.key, L"n", 2) == failedByOrder);
    CHECK(storedNumber(L"n", testKey) == 1);
}

// ---- Texts -------------------------------------------------------------------------------------------------------------

TEST_CASE("a text is read when its bytes, terminator included, are within the limit")
{
    PhoneWithKey phone;
    const struct {
        std::wstring stored;
        bool read;
        std::wstring text;
    } cases[] = {
        {L"", true, L""},
        {std::wstring(L"\0", 1), true, L""},
        {std::wstring(L"a\0", 2), true, L"a"},
        {std::wstring(L"eight ch\0", 9), true, L"eight ch"},
        {std::wstring(L"nine char\0", 10), true, L"nine char"},
        {std::wstring(L"ten charac\0", 11), false, L"old"},
        {std::wstring(L"nine char\0\0", 11), false, L"old"},
        {std::wstring(L"a\0b\0", 4), true, L"a"},
    };
    for (const auto &each : cases) {
        CAPTURE(narrow(each.stored));
        storeCharacters(L"t", each.stored);
        Field<10> field;
        CHECK(readText(phone.key, L"t", field.text) == each.read);
        CHECK(narrow(field.text) == narrow(each.text));
        CHECK(field.mark == L'M');
    }
}

TEST_CASE("an unterminated text is given a terminator, at the cost of its last character when there is no room")
{
    PhoneWithKey phone;
    Field<10> field;
    storeCharacters(L"t", L"nine char");
    CHECK(readText(phone.key, L"t", field.text));
    CHECK(narrow(field.text) == "nine char");
    storeCharacters(L"t", L"ten charac");
    CHECK(readText(phone.key, L"t", field.text));
    CHECK(narrow(field.text) == "ten chara");
    CHECK(field.mark == L'M');
}

TEST_CASE("half a character at a text's end is left away")
{
    PhoneWithKey phone;
    Field<10> field;
    storeBytes(L"t", REG_SZ, L"abcdefghij", 1, testKey);
    CHECK(readText(phone.key, L"t", field.text));
    CHECK(narrow(field.text) == "");
    storeBytes(L"t", REG_SZ, L"abcdefghij", 7, testKey);
    CHECK(readText(phone.key, L"t", field.text));
    CHECK(narrow(field.text) == "abc");
    storeBytes(L"t", REG_SZ, L"abcdefghij", 19, testKey);
    CHECK(readText(phone.key, L"t", field.text));
    CHECK(narrow(field.text) == "abcdefghi");
    CHECK(field.mark == L'M');
}

TEST_CASE("what is no text, or is missing, is not read and changes nothing")
{
    PhoneWithKey phone;
    for (const DWORD type : {REG_EXPAND_SZ, REG_MULTI_SZ, REG_BINARY, REG_DWORD, REG_NONE}) {
        CAPTURE(type);
        storeCharacters(L"t", std::wstring(L"a\0", 2), type);
        Field<10> field;
        CHECK(!readText(phone.key, L"t", field.text));
        CHECK(narrow(field.text) == "old");
    }
    Field<10> field;
    CHECK(!readText(phone.key, L"missing", field.text));
    CHECK(narrow(field.text) == "old");
    storeText(L"t", L"new", testKey);
    fail(L"read:t");
    CHECK(!readText(phone.key, L"t", field.text));
    CHECK(narrow(field.text) == "old");
}

TEST_CASE("a limit below the field's size holds")
{
    PhoneWithKey phone;
    Field<10> field;
    storeText(L"t", L"abc", testKey);
    CHECK(!readText(phone.key, L"t", field.text, 6));
    CHECK(!readText(phone.key, L"t", field.text, 7));
    CHECK(narrow(field.text) == "old");
    CHECK(readText(phone.key, L"t", field.text, 8));
    CHECK(narrow(field.text) == "abc");
}

TEST_CASE("limits that hold no character read empty texts only")
{
    PhoneWithKey phone;
    for (const DWORD limit : {0u, 1u, 2u, 3u}) {
        CAPTURE(limit);
        Field<10> field;
        storeText(L"t", L"abc", testKey);
        CHECK(!readText(phone.key, L"t", field.text, limit));
        CHECK(narrow(field.text) == "old");
        storeCharacters(L"t", L"");
        CHECK(readText(phone.key, L"t", field.text, limit));
        CHECK(narrow(field.text) == "");
        CHECK(field.mark == L'M');
    }
    Field<10> field;
    storeCharacters(L"t", L"a");
    CHECK(readText(phone.key, L"t", field.text, 2));
    CHECK(narrow(field.text) == "");
}

TEST_CASE("a text within the limit but longer than the field is cut")
{
    PhoneWithKey phone;
    Field<4> field;
    storeText(L"t", L"abcdefgh", testKey);
    CHECK(readText(phone.key, L"t", field.text, 100));
    CHECK(narrow(field.text) == "abc");
    CHECK(field.mark == L'M');
    Field<1> smallest;
    CHECK(readText(phone.key, L"t", smallest.text, 100));
    CHECK(narrow(smallest.text) == "");
    CHECK(smallest.mark == L'M');
}

TEST_CASE("texts of up to 1040 bytes are read, longer ones not, however large the field")
{
    PhoneWithKey phone;
    static Field<3000> field;
    storeText(L"t", std::wstring(519, L'n'), testKey);
    CHECK(readText(phone.key, L"t", field.text));
    CHECK(field.text == std::wstring(519, L'n'));
    storeCharacters(L"t", std::wstring(520, L'n'));
    CHECK(readText(phone.key, L"t", field.text));
    CHECK(field.text == std::wstring(519, L'n'));

    wcscpy(field.text, L"old");
    for (const size_t length : {520, 521, 2047}) {
        storeText(L"t", std::wstring(length, L'n'), testKey);
        CHECK(!readText(phone.key, L"t", field.text));
        CHECK(narrow(field.text) == "old");
    }
    CHECK(field.mark == L'M');
}

TEST_CASE("reading leaves the field behind the text's terminator alone")
{
    PhoneWithKey phone;
    wchar_t field[8] = L"1234567";
    storeText(L"t", L"ab", testKey);
    CHECK(readText(phone.key, L"t", field));
    CHECK(std::wstring(field) == L"ab");
    CHECK(std::wstring(field + 3) == L"4567");
}

TEST_CASE("a text is stored with its terminator and nothing behind")
{
    PhoneWithKey phone;
    CHECK(writeText(phone.key, L"t", L"M\x00FCnchen") == 0);
    CHECK(storedValue(L"t", testKey).type == REG_SZ);
    CHECK(storedValue(L"t", testKey).bytes == bytesOf(std::wstring(L"M\x00FCnchen\0", 8)));
    CHECK(writeText(phone.key, L"t", L"") == 0);
    CHECK(storedValue(L"t", testKey).bytes == bytesOf(std::wstring(L"\0", 1)));
}

TEST_CASE("a text of a fixed size is stored in exactly its bytes")
{
    PhoneWithKey phone;
    const wchar_t buffer[12] = L"Akku";
    CHECK(writeTextBytes(phone.key, L"t", buffer, 24) == 0);
    CHECK(storedValue(L"t", testKey).type == REG_SZ);
    CHECK(storedValue(L"t", testKey).bytes == bytesOf(std::wstring(buffer, 12)));
    CHECK(writeTextBytes(phone.key, L"t", L"unterminated text", 24) == 0);
    CHECK(storedValue(L"t", testKey).bytes == bytesOf(L"unterminated"));
    CHECK(writeTextBytes(phone.key, L"t", L"", 0) == 0);
    CHECK(storedValue(L"t", testKey).bytes.empty());
}

TEST_CASE("a value holds 4096 bytes; a longer text answers an error and the stored one stays")
{
    PhoneWithKey phone;
    CHECK(writeText(phone.key, L"t", std::wstring(2047, L'n').c_str()) == 0);
    CHECK(writeText(phone.key, L"t", std::wstring(2048, L'm').c_str()) == parameterIsWrong);
    CHECK(storedText(L"t", testKey) == std::wstring(2047, L'n'));
    fail(L"write:t");
    CHECK(writeText(phone.key, L"t", L"x") == failedByOrder);
    CHECK(storedText(L"t", testKey) == std::wstring(2047, L'n'));
}

// ---- Texts of any length -----------------------------------------------------------------------------------------------

TEST_CASE("a text of any length is read up to the end of the buffer")
{
    TestPhone phone;
    makeKey(testKey);
    RegistryKey key;
    REQUIRE(key.open(HKEY_CURRENT_USER, testKey) == 0);
    for (size_t length : {0, 1, 8, 9, 10, 520, 521, 2047}) {
        storeText(L"t", std::wstring(length, L'n'), testKey);
        wchar_t text[10] = L"untouched";
        CHECK(readTextCut(key, L"t", text));
        CHECK(std::wstring(text) == std::wstring(length < 9 ? length : 9, L'n'));
    }
}

TEST_CASE("a text of any length that is missing, no text or not readable leaves its buffer alone")
{
    TestPhone phone;
    makeKey(testKey);
    storeNumber(L"number", 7, testKey);
    storeText(L"t", L"text", testKey);
    RegistryKey key;
    REQUIRE(key.open(HKEY_CURRENT_USER, testKey) == 0);
    wchar_t text[10] = L"untouched";
    CHECK_FALSE(readTextCut(key, L"missing", text));
    CHECK_FALSE(readTextCut(key, L"number", text));
    for (int call : {1, 2}) {   // its size, its content
        SimOrderFault(L"registry", call, L"read:t", FALSE);
        CHECK_FALSE(readTextCut(key, L"t", text));
    }
    CHECK(std::wstring(text) == L"untouched");
    CHECK(readTextCut(key, L"t", text));
}

// ---- Exceptions --------------------------------------------------------------------------------------------------------

TEST_CASE("an exception on the way leaves no key open")
{
    TestPhone phone;
    makeKey(testKey);
    const int before = SimLiveKeys();
    SimOrderFault(L"registry", 1, L"read:n", TRUE);
    bool caught = false;
    try {
        RegistryKey key;
        key.open(HKEY_CURRENT_USER, testKey);
        DWORD value;
        readNumber(key, L"n", value);
    } catch (...) {
        caught = true;
    }
    CHECK(caught);
    CHECK(SimLiveKeys() == before);
}

TEST_CASE("an exception at closing reaches the caller, and the key is not closed a second time")
{
    TestPhone phone;
    makeKey(testKey);
    const int before = SimLiveKeys();
    {
        RegistryKey key;
        CHECK(key.open(HKEY_CURRENT_USER, testKey) == 0);
        SimOrderFault(L"registry", 1, L"close:Software\\Test", TRUE);
        bool caught = false;
        try {
            key.close();
        } catch (...) {
            caught = true;
        }
        CHECK(caught);
        CHECK(key.handle() == nullptr);
    }
    CHECK(SimLiveKeys() == before);
}

// The last one here: a program that lets an exception out of a destructor ends, and its tests with it.
TEST_CASE("an exception at closing a key at the end of its scope goes nowhere")
{
    TestPhone phone;
    makeKey(testKey);
    const int before = SimLiveKeys();
    {
        RegistryKey key;
        CHECK(key.open(HKEY_CURRENT_USER, testKey) == 0);
        SimOrderFault(L"registry", 1, L"close:Software\\Test", TRUE);
    }
    CHECK(SimLiveKeys() == before);
}
