// Stored data of every form a text of a record may be found in, right and wrong, and faults of the registry by name; for
// the tests of the records.
#pragma once

#include <string>
#include <vector>

#include "control.h"
#include "test_phone.h"

// Data stored for a text of a given limit: `length` characters and zeros behind them, cut after `size` bytes; and how many
// characters of it arrive.
struct StoredForm {
    const char *what;
    DWORD type;
    size_t length;
    size_t size;
    int read;   // -1 when it is not taken
};

inline std::vector<StoredForm> storedForms(size_t limit)
{
    const size_t longest = limit / 2 - 1;
    const int whole = static_cast<int>(longest);
    return {
        {"empty", REG_SZ, 0, 2, 0},
        {"no bytes at all", REG_SZ, 0, 0, 0},
        {"a single byte", REG_SZ, 1, 1, 0},
        {"one character", REG_SZ, 1, 4, 1},
        {"one character, unterminated", REG_SZ, 1, 2, 1},
        {"three characters and half of a fourth", REG_SZ, 4, 7, 3},
        {"two terminators", REG_SZ, 3, 10, 3},
        {"one below the longest", REG_SZ, longest - 1, limit - 2, whole - 1},
        {"the longest", REG_SZ, longest, limit, whole},
        {"the longest, unterminated", REG_SZ, longest, limit - 2, whole},
        {"the longest and half a terminator", REG_SZ, longest, limit - 1, whole},
        {"as many bytes as allowed, unterminated", REG_SZ, longest + 1, limit, whole},
        {"one byte too long", REG_SZ, longest, limit + 1, -1},
        {"one character too long", REG_SZ, longest + 1, limit + 2, -1},
        {"as long as a value can be", REG_SZ, 2047, 4096, -1},
        {"expandable", REG_EXPAND_SZ, 3, 8, -1},
        {"several texts", REG_MULTI_SZ, 3, 8, -1},
        {"bytes", REG_BINARY, 3, 8, -1},
        {"a number", REG_DWORD, 1, 4, -1},
    };
}

// What is stored for a number but is none.
struct NumberForm {
    const char *what;
    DWORD type;
    size_t size;
};

constexpr NumberForm numberForms[] = {
    {"text of four bytes", REG_SZ, 4}, {"expandable text", REG_EXPAND_SZ, 4},
    {"bytes", REG_BINARY, 4},          {"nothing", REG_DWORD, 0},
    {"a byte", REG_DWORD, 1},          {"two bytes", REG_DWORD, 2},
    {"three bytes", REG_DWORD, 3},     {"five bytes", REG_DWORD, 5},
    {"eight bytes", REG_DWORD, 8},     {"big-endian", REG_DWORD_BIG_ENDIAN, 4},
    {"no type", REG_NONE, 4},
};

inline void storeNumberForm(const wchar_t *name, const NumberForm &form)
{
    const BYTE bytes[8] = {'7', 0, 0, 0, 1, 2, 3, 4};
    storeBytes(name, form.type, bytes, form.size);
}

// A text no other value's name makes.
inline std::wstring textOfLength(const wchar_t *name, size_t characters)
{
    std::wstring content;
    while (content.size() < characters)
        content += std::wstring(name) + L'\x00E4' + L'.';
    return content.substr(0, characters);
}

inline void storeForm(const wchar_t *name, const StoredForm &form)
{
    std::wstring data = textOfLength(name, form.length);
    data.resize(4096 / sizeof(wchar_t) + 1);
    storeBytes(name, form.type, data.data(), form.size);
}

// A text as it is stored: with its terminator.
inline std::vector<BYTE> bytesOf(const std::wstring &content)
{
    const BYTE *first = reinterpret_cast<const BYTE *>(content.c_str());
    return std::vector<BYTE>(first, first + (content.size() + 1) * sizeof(wchar_t));
}

inline void orderFailure(const std::wstring &call)
{
    SimOrderFault(L"registry", 0, call.c_str(), FALSE);
}

inline void orderException(const std::wstring &call)
{
    SimOrderFault(L"registry", 0, call.c_str(), TRUE);
}
