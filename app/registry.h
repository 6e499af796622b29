// Registry access in the few forms this program needs.
#pragma once

#include "text.h"

// Where everything of the program is stored, under HKEY_CURRENT_USER.
constexpr wchar_t programKey[] = L"Software\\Tessaryn\\Kelvane";

// An open key, closed at the end of its scope at the latest.
class RegistryKey {
public:
    RegistryKey() = default;
    RegistryKey(const RegistryKey &) = delete;
    RegistryKey &operator=(const RegistryKey &) = delete;
    ~RegistryKey();   // a fault while closing goes nowhere

    // All four return the registry status, 0 on success; a key already open is closed first.
    LONG open(HKEY root, const wchar_t *path);
    LONG create(HKEY root, const wchar_t *path);
    LONG flush();
    LONG close();

    HKEY handle() const { return key; }

private:
    HKEY key = nullptr;
};

// Reads a REG_DWORD. False, and value unchanged, when it is missing, of another type or not 4 bytes long.
bool readNumber(const RegistryKey &key, const wchar_t *name, DWORD &value);

// Reads a REG_SZ of at most limit bytes, the terminator included, into to (capacity in characters). False, and to
// unchanged, when it is missing, of another type or longer. A text stored without terminator is given one; when there is
// no room for that within limit bytes, its last character goes.
bool readTextInto(const RegistryKey &key, const wchar_t *name, DWORD limit, wchar_t *to, size_t capacity);

template <size_t capacity> bool readText(const RegistryKey &key, const wchar_t *name, wchar_t (&to)[capacity],
                                         DWORD limit = capacity * sizeof(wchar_t))
{
    return readTextInto(key, name, limit, to, capacity);
}

// The same for a text of any length, of which the first capacity - 1 characters are taken. Throws OutOfMemory.
bool readTextCutInto(const RegistryKey &key, const wchar_t *name, wchar_t *to, size_t capacity);

template <size_t capacity> bool readTextCut(const RegistryKey &key, const wchar_t *name, wchar_t (&to)[capacity])
{
    return readTextCutInto(key, name, to, capacity);
}

// Writers return the registry status. A text is stored with its terminator.
LONG writeNumber(const RegistryKey &key, const wchar_t *name, DWORD value);
LONG writeText(const RegistryKey &key, const wchar_t *name, const wchar_t *text);

// Stores exactly the given bytes as a REG_SZ, for a text whose stored length is fixed.
LONG writeTextBytes(const RegistryKey &key, const wchar_t *name, const wchar_t *text, DWORD bytes);
