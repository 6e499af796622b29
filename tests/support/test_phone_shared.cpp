// The half of a test phone that is the same on the simulated and on the emulated phone: what comes down to files, to the
// phone's own registry functions and to texts.

#include "test_phone.h"

#include <algorithm>

#include "doctest.h"

// ---- Files ------------------------------------------------------------------------------------------------------------

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    for (size_t start = 0, end; start < text.size(); start = end + 1) {
        end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start - (end > start && text[end - 1] == '\r')));
    }
    return lines;
}

void TestPhone::writeLanguageFile(const wchar_t *code, const std::vector<std::wstring> &lines) const
{
    std::wstring text = L"\xFEFF";
    for (const std::wstring &line : lines)
        text += line + L"\r\n";
    const std::wstring path = std::wstring(installFolder) + L"\\kvl_" + code + L".txt";
    writeFile(path.c_str(), std::string(reinterpret_cast<const char *>(text.data()), text.size() * sizeof(wchar_t)));
}

std::vector<std::string> TestPhone::log() const
{
    const size_t prefixLength = strlen("07/03 14:05:09 ->");
    const std::wstring path = std::wstring(installFolder) + L"\\Kelvane.log";
    std::vector<std::string> lines;
    if (fileExists(path.c_str()))
        for (const std::string &line : linesOf(readFile(path.c_str())))
            lines.push_back(line.substr(std::min(prefixLength, line.size())));
    return lines;
}

std::string goldenFile(const char *fileName)
{
    std::string text;
    for (const std::string &line : linesOf(testData((std::string("golden/") + fileName).c_str())))
        text += line + "\n";
    return text;
}

// ---- Registry ---------------------------------------------------------------------------------------------------------

namespace {

struct OpenKey {
    OpenKey(HKEY root, const wchar_t *path, bool create)
    {
        DWORD disposition;
        const LONG status =
            create ? RegCreateKeyExW(root, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, &disposition)
                   : RegOpenKeyExW(root, path, 0, KEY_ALL_ACCESS, &key);
        if (status != ERROR_SUCCESS)
            key = nullptr;
    }
    ~OpenKey()
    {
        if (key)
            RegCloseKey(key);
    }
    HKEY key = nullptr;
};

std::string hexadecimal(const std::vector<BYTE> &bytes)
{
    std::string text;
    for (const BYTE byte : bytes)
        for (const int digit : {byte >> 4, byte & 15})
            text += "0123456789abcdef"[digit];
    return text;
}

std::wstring textOf(const StoredValue &value)
{
    std::wstring text(reinterpret_cast<const wchar_t *>(value.bytes.data()), value.bytes.size() / sizeof(wchar_t));
    return text.substr(0, text.find(L'\0'));
}

std::string dataOf(const StoredValue &value)
{
    if (value.type == REG_DWORD && value.bytes.size() == 4)
        return "dword:" + std::to_string(*reinterpret_cast<const DWORD *>(value.bytes.data()));
    if (value.type == REG_SZ)
        return "text:" + std::to_string(value.bytes.size()) + ":" + narrow(textOf(value));
    return std::to_string(value.type) + ":" + hexadecimal(value.bytes);
}

template <typename Enumerate> std::vector<std::wstring> sortedNames(HKEY key, Enumerate enumerate)
{
    std::vector<std::wstring> names;
    wchar_t name[256];
    for (DWORD index = 0, size = 256;
         enumerate(key, index, name, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS; ++index, size = 256)
        names.emplace_back(name, size);
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::wstring> valueNames(HKEY key)
{
    return sortedNames(key, RegEnumValueW);
}

std::vector<std::wstring> subkeyNames(HKEY key)
{
    return sortedNames(key, RegEnumKeyExW);
}

}   // namespace

StoredValue storedValue(const wchar_t *valueName, const wchar_t *keyPath, HKEY root)
{
    StoredValue value;
    OpenKey open(root, keyPath, false);
    DWORD size = 0;
    if (!open.key || RegQueryValueExW(open.key, valueName, nullptr, &value.type, nullptr, &size) != ERROR_SUCCESS)
        return value;
    value.bytes.resize(size);
    value.present = true;
    if (size)
        REQUIRE(RegQueryValueExW(open.key, valueName, nullptr, &value.type, value.bytes.data(), &size) ==
                ERROR_SUCCESS);
    return value;
}

DWORD storedNumber(const wchar_t *valueName, const wchar_t *key, HKEY root)
{
    const StoredValue value = storedValue(valueName, key, root);
    INFO("value " << narrow(valueName));
    REQUIRE(value.present);
    REQUIRE(value.type == REG_DWORD);
    REQUIRE(value.bytes.size() == 4);
    return *reinterpret_cast<const DWORD *>(value.bytes.data());
}

std::wstring storedText(const wchar_t *valueName, const wchar_t *key, HKEY root)
{
    const StoredValue value = storedValue(valueName, key, root);
    INFO("value " << narrow(valueName));
    REQUIRE(value.present);
    REQUIRE(value.type == REG_SZ);
    return textOf(value);
}

void storeBytes(const wchar_t *valueName, DWORD type, const void *bytes, size_t size, const wchar_t *key, HKEY root)
{
    OpenKey open(root, key, true);
    REQUIRE(open.key);
    REQUIRE(RegSetValueExW(open.key, valueName, 0, type, static_cast<const BYTE *>(bytes), static_cast<DWORD>(size)) ==
            0);
}

void storeNumber(const wchar_t *valueName, DWORD value, const wchar_t *key, HKEY root)
{
    storeBytes(valueName, REG_DWORD, &value, sizeof value, key, root);
}

void storeText(const wchar_t *valueName, const std::wstring &text, const wchar_t *key, HKEY root)
{
    storeBytes(valueName, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t), key, root);
}

void removeValue(const wchar_t *valueName, const wchar_t *keyPath, HKEY root)
{
    OpenKey open(root, keyPath, false);
    if (open.key)
        RegDeleteValueW(open.key, valueName);
}

void makeKey(const wchar_t *key, HKEY root)
{
    REQUIRE(OpenKey(root, key, true).key);
}

void removeKey(const wchar_t *keyPath, HKEY root)
{
    std::vector<std::wstring> subkeys;
    {
        OpenKey open(root, keyPath, false);
        if (!open.key)
            return;
        subkeys = subkeyNames(open.key);
    }
    for (const std::wstring &subkey : subkeys)
        removeKey((std::wstring(keyPath) + L"\\" + subkey).c_str(), root);
    REQUIRE(RegDeleteKeyW(root, keyPath) == ERROR_SUCCESS);
}

bool keyExists(const wchar_t *key, HKEY root)
{
    return OpenKey(root, key, false).key != nullptr;
}

std::string dumpKey(const wchar_t *keyPath, HKEY root)
{
    std::vector<std::wstring> values, subkeys;
    {
        OpenKey open(root, keyPath, false);
        if (!open.key)
            return "";
        values = valueNames(open.key);
        subkeys = subkeyNames(open.key);
    }
    std::string text = "[" + narrow(keyPath) + "]\n";
    for (const std::wstring &valueName : values)
        text += narrow(valueName) + "=" + dataOf(storedValue(valueName.c_str(), keyPath, root)) + "\n";
    for (const std::wstring &subkey : subkeys)
        text += dumpKey((std::wstring(keyPath) + L"\\" + subkey).c_str(), root);
    return text;
}

// ---- Text -------------------------------------------------------------------------------------------------------------

std::string narrow(const std::wstring &text)
{
    std::string utf8(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                                             nullptr, 0, nullptr, nullptr)),
                     '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), utf8.data(),
                        static_cast<int>(utf8.size()), nullptr, nullptr);
    return utf8;
}

std::wstring widen(const std::string &utf8)
{
    std::wstring text(
        static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0)),
        L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), text.data(),
                        static_cast<int>(text.size()));
    return text;
}
