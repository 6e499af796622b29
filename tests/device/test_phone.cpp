// TestPhone on the emulated phone: the same as tests/support/test_phone.cpp, by the stand-in's functions.

#include "test_phone.h"

#include <algorithm>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "page_window.h"
#include "scaling.h"
#include "shell_values.h"
#include "text.h"
#include "user_settings.h"

extern "C" {
int TestFile(const wchar_t *path, void *buffer, int size);   // its size; -1 when there is none; read when it fits
void TestWriteFile(const wchar_t *path, const void *bytes, size_t size);   // without bytes: removes it
int TestHostFile(const char *path, void *buffer, int size);                // the same of the machine this runs on
void TestFolder(const wchar_t *path, BOOL exists);
BOOL TestFreshPhone(const wchar_t *base);
int TestJournal(char *buffer, int size);   // lines; the size of all
}

namespace {

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    for (size_t start = 0, end; start < text.size(); start = end + 1) {
        end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start - (end > start && text[end - 1] == '\r')));
    }
    return lines;
}

std::wstring textOf(const StoredValue &value)
{
    std::wstring text(reinterpret_cast<const wchar_t *>(value.bytes.data()), value.bytes.size() / sizeof(wchar_t));
    return text.substr(0, text.find(L'\0'));
}

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

}   // namespace

// The same as in tests/support/page_window.cpp, which is about windows otherwise.
void restartProgram()
{
    freeUserSettings();
    userSettings = UserSettings{};
    freeText(appPath);
    isLandscape = 0;
    startProfile = 0;
    optionsDialog = currentPage = nullptr;
    listEdited = skinChanged = settingsImported = mailSettingsChanged = false;
    forgetResolution();
}

// The stand-in keeps its one phone by the name it has in phones/.
TestPhone::TestPhone(const char *base) : hostFolder(widen(base)), name(hostFolder)
{
    REQUIRE(TestFreshPhone(hostFolder.c_str()));
}

TestPhone::~TestPhone()
{
    SimClearFaults();
    SimSetClock(nullptr);
}

void TestPhone::writeFile(const wchar_t *path, const std::string &bytes) const
{
    TestWriteFile(path, bytes.data(), bytes.size());
}

std::string TestPhone::readFile(const wchar_t *path) const
{
    const int size = TestFile(path, nullptr, 0);
    REQUIRE(size >= 0);
    std::string bytes(size, '\0');
    TestFile(path, &bytes[0], size);
    return bytes;
}

bool TestPhone::fileExists(const wchar_t *path) const
{
    return TestFile(path, nullptr, 0) >= 0;
}

void TestPhone::removeFile(const wchar_t *path) const
{
    TestWriteFile(path, nullptr, 0);
}

void TestPhone::makeFolder(const wchar_t *path) const
{
    TestFolder(path, TRUE);
}

void TestPhone::removeFolder(const wchar_t *path) const
{
    TestFolder(path, FALSE);
}

void TestPhone::writeLanguageFile(const wchar_t *code, const std::vector<std::wstring> &lines) const
{
    std::wstring text = L"\xFEFF";
    for (const std::wstring &line : lines)
        text += line + L"\r\n";
    const std::wstring path = std::wstring(installFolder) + L"\\kvl_" + code + L".txt";
    writeFile(path.c_str(), std::string(reinterpret_cast<const char *>(text.data()), text.size() * sizeof(wchar_t)));
}

std::vector<std::string> TestPhone::journal(const std::string &kind) const
{
    std::string text(TestJournal(nullptr, 0), '\0');
    TestJournal(&text[0], static_cast<int>(text.size()));
    std::vector<std::string> found;
    for (const std::string &line : linesOf(text))
        if (kind.empty() || line.rfind(kind + " ", 0) == 0)
            found.push_back(line);
    return found;
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

void TestPhone::set(const wchar_t *section, const wchar_t *key, const wchar_t *value) const
{
    SimSetSetting(section, key, value);
}

// ---- Registry ---------------------------------------------------------------------------------------------------------

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
    if (keyExists(keyPath, root))
        REQUIRE(RegDeleteKeyW(root, keyPath) == ERROR_SUCCESS);
}

bool keyExists(const wchar_t *key, HKEY root)
{
    return OpenKey(root, key, false).key != nullptr;
}

namespace {

std::string hexadecimal(const std::vector<BYTE> &bytes)
{
    std::string text;
    for (const BYTE byte : bytes)
        for (const int digit : {byte >> 4, byte & 15})
            text += "0123456789abcdef"[digit];
    return text;
}

std::string dataOf(const StoredValue &value)
{
    if (value.type == REG_DWORD && value.bytes.size() == 4)
        return "dword:" + std::to_string(*reinterpret_cast<const DWORD *>(value.bytes.data()));
    if (value.type == REG_SZ)
        return "text:" + std::to_string(value.bytes.size()) + ":" + narrow(textOf(value));
    return std::to_string(value.type) + ":" + hexadecimal(value.bytes);
}

template <typename Enumerate> std::vector<std::wstring> names(Enumerate enumerate)
{
    std::vector<std::wstring> found;
    wchar_t name[256];
    for (DWORD index = 0, size = 256; enumerate(index, name, &size) == ERROR_SUCCESS; ++index, size = 256)
        found.emplace_back(name, size);
    std::sort(found.begin(), found.end());
    return found;
}

}   // namespace

std::string dumpKey(const wchar_t *keyPath, HKEY root)
{
    OpenKey open(root, keyPath, false);
    if (!open.key)
        return "";
    std::string text = "[" + narrow(keyPath) + "]\n";
    for (const std::wstring &name : names([&](DWORD index, wchar_t *to, DWORD *size) {
             return RegEnumValueW(open.key, index, to, size, nullptr, nullptr, nullptr, nullptr);
         }))
        text += narrow(name) + "=" + dataOf(storedValue(name.c_str(), keyPath, root)) + "\n";
    for (const std::wstring &name : names([&](DWORD index, wchar_t *to, DWORD *size) {
             return RegEnumKeyExW(open.key, index, to, size, nullptr, nullptr, nullptr, nullptr);
         }))
        text += dumpKey((std::wstring(keyPath) + L"\\" + name).c_str(), root);
    return text;
}

std::string goldenFile(const char *fileName)
{
    const int size = TestHostFile((std::string(TEST_DATA "/golden/") + fileName).c_str(), nullptr, 0);
    REQUIRE(size >= 0);
    std::string text(size, '\0');
    TestHostFile((std::string(TEST_DATA "/golden/") + fileName).c_str(), &text[0], size);
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

// ---- Texts ------------------------------------------------------------------------------------------------------------

std::string narrow(const std::wstring &text)
{
    std::string utf8;
    for (const unsigned character : text) {
        if (character < 0x80) {
            utf8 += static_cast<char>(character);
        } else if (character < 0x800) {
            utf8 += static_cast<char>(0xC0 | character >> 6);
            utf8 += static_cast<char>(0x80 | (character & 0x3F));
        } else {
            utf8 += static_cast<char>(0xE0 | character >> 12);
            utf8 += static_cast<char>(0x80 | (character >> 6 & 0x3F));
            utf8 += static_cast<char>(0x80 | (character & 0x3F));
        }
    }
    return utf8;
}

std::wstring widen(const std::string &utf8)
{
    std::wstring text;
    for (size_t at = 0; at < utf8.size();) {
        const unsigned char first = utf8[at++];
        unsigned character = first < 0x80 ? first : first < 0xE0 ? first & 0x1F : first & 0x0F;
        for (int more = first < 0x80 ? 0 : first < 0xE0 ? 1 : 2; more > 0; --more)
            character = character << 6 | (utf8[at++] & 0x3F);
        text += static_cast<wchar_t>(character);
    }
    return text;
}
