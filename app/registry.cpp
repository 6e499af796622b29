#include "registry.h"

RegistryKey::~RegistryKey()
{
    try {
        close();
    } catch (...) {
        // Nobody is left to tell.
    }
}

LONG RegistryKey::open(HKEY root, const wchar_t *path)
{
    close();
    return RegOpenKeyExW(root, path, 0, KEY_ALL_ACCESS, &key);
}

LONG RegistryKey::create(HKEY root, const wchar_t *path)
{
    close();
    DWORD disposition;
    return RegCreateKeyExW(root, path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &key,
                           &disposition);
}

LONG RegistryKey::flush()
{
    return RegFlushKey(key);
}

LONG RegistryKey::close()
{
    if (!key)
        return ERROR_SUCCESS;
    const HKEY closing = key;
    key = nullptr;
    return RegCloseKey(closing);
}

bool readNumber(const RegistryKey &key, const wchar_t *name, DWORD &value)
{
    DWORD type, stored, size = sizeof stored;
    if (RegQueryValueExW(key.handle(), name, nullptr, &type, reinterpret_cast<BYTE *>(&stored), &size) != ERROR_SUCCESS)
        return false;
    if (type != REG_DWORD || size != sizeof stored)
        return false;
    value = stored;
    return true;
}

// The longest text that is read anywhere is a list of mail accounts of 1040 bytes.
constexpr DWORD longestText = 1040;

bool readTextInto(const RegistryKey &key, const wchar_t *name, DWORD limit, wchar_t *to, size_t capacity)
{
    // Read aside first: a value that does not fit must leave the field alone, and the system may have begun to copy it.
    wchar_t stored[longestText / sizeof(wchar_t) + 1];
    if (limit > longestText)
        limit = longestText;
    DWORD type, size = limit;
    if (RegQueryValueExW(key.handle(), name, nullptr, &type, reinterpret_cast<BYTE *>(stored), &size) != ERROR_SUCCESS)
        return false;
    if (type != REG_SZ || size > limit)
        return false;
    const size_t roomForText = limit / sizeof(wchar_t) - 1;
    const size_t characters = size / sizeof(wchar_t);
    stored[characters < roomForText ? characters : roomForText] = 0;
    copyInto(to, capacity, stored);
    return true;
}

bool readTextCutInto(const RegistryKey &key, const wchar_t *name, wchar_t *to, size_t capacity)
{
    DWORD type, size = 0;
    if (RegQueryValueExW(key.handle(), name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS || type != REG_SZ)
        return false;
    const HeapText stored(new wchar_t[size / sizeof(wchar_t) + 1]);
    BYTE *const bytes = reinterpret_cast<BYTE *>(stored.text);
    if (RegQueryValueExW(key.handle(), name, nullptr, &type, bytes, &size) != ERROR_SUCCESS || type != REG_SZ)
        return false;
    stored.text[size / sizeof(wchar_t)] = 0;
    copyInto(to, capacity, stored.text);
    return true;
}

LONG writeNumber(const RegistryKey &key, const wchar_t *name, DWORD value)
{
    return RegSetValueExW(key.handle(), name, 0, REG_DWORD, reinterpret_cast<const BYTE *>(&value), sizeof value);
}

LONG writeText(const RegistryKey &key, const wchar_t *name, const wchar_t *text)
{
    return writeTextBytes(key, name, text, static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t)));
}

LONG writeTextBytes(const RegistryKey &key, const wchar_t *name, const wchar_t *text, DWORD bytes)
{
    return RegSetValueExW(key.handle(), name, 0, REG_SZ, reinterpret_cast<const BYTE *>(text), bytes);
}
