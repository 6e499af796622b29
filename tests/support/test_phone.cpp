#include "test_phone.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "control.h"
#include "doctest.h"

namespace fs = std::filesystem;

namespace {

// Where the build has put the phones: beside the running test.
fs::path phonesFolder()
{
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);   // the host's: no phone is open yet
    return fs::path(program).parent_path() / "phones";
}

// The process and a count make the name unique among tests that run side by side.
std::wstring uniqueName(const char *base)
{
    static int count;
    return widen(base) + L"-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
}

void setName(const fs::path &folder, const std::wstring &name)
{
    WritePrivateProfileStringW(L"phone", L"name", name.c_str(), (folder / "phone.ini").c_str());
}

fs::path hostPathOf(const wchar_t *path)
{
    wchar_t buffer[MAX_PATH];
    REQUIRE(SimHostPath(path, buffer, MAX_PATH));
    return buffer;
}

std::string readHostFile(const fs::path &path)
{
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

}   // namespace

TestPhone::TestPhone(const char *base)
{
    name = uniqueName(base);
    const fs::path folderPath = fs::temp_directory_path() / name;
    fs::remove_all(folderPath);   // process numbers come back: a test that crashed may have left its phone
    SimDeletePhoneRegistry(name.c_str());
    fs::copy(phonesFolder() / base, folderPath, fs::copy_options::recursive);
    // What the phone has gathered in the build tree since it was delivered.
    fs::remove(folderPath / "journal.log");
    fs::remove(folderPath / "root" / "Program Files" / "Kelvane" / "Kelvane.log");
    setName(folderPath, name);
    hostFolder = folderPath.wstring();
    REQUIRE(SimUsePhone(hostFolder.c_str()));
}

TestPhone::~TestPhone()
{
    SimClearFaults();
    SimSetSetting(L"storage", L"readonly", L"");   // or the phone's own files could not go
    SimSetClock(nullptr);
    SimDeletePhoneRegistry(name.c_str());
    std::error_code ignored;
    fs::remove_all(hostFolder, ignored);
}

void TestPhone::writeFile(const wchar_t *path, const std::string &bytes) const
{
    const fs::path file = hostPathOf(path);
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string TestPhone::readFile(const wchar_t *path) const
{
    REQUIRE_MESSAGE(fileExists(path), "missing on the phone: " << narrow(path));
    return readHostFile(hostPathOf(path));
}

bool TestPhone::fileExists(const wchar_t *path) const
{
    return fs::exists(hostPathOf(path));
}

void TestPhone::removeFile(const wchar_t *path) const
{
    fs::remove(hostPathOf(path));
}

void TestPhone::makeFolder(const wchar_t *path) const
{
    fs::create_directories(hostPathOf(path));
}

void TestPhone::removeFolder(const wchar_t *path) const
{
    fs::remove_all(hostPathOf(path));
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
    std::vector<std::string> found;
    for (std::string line : linesOf(readHostFile(fs::path(hostFolder) / "journal.log"))) {
        if (!kind.empty() && line.rfind(kind + "\t", 0) != 0)
            continue;
        std::replace(line.begin(), line.end(), '\t', ' ');
        found.push_back(line);
    }
    return found;
}

std::vector<std::string> TestPhone::log() const
{
    const size_t prefixLength = strlen("07/03 14:05:09 ->");
    const std::wstring path = std::wstring(installFolder) + L"\\Kelvane.log";
    std::vector<std::string> lines;
    for (const std::string &line : linesOf(readHostFile(hostPathOf(path.c_str()))))
        lines.push_back(line.substr(std::min(prefixLength, line.size())));
    return lines;
}

void TestPhone::set(const wchar_t *section, const wchar_t *key, const wchar_t *value) const
{
    SimSetSetting(section, key, value);
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
    char pair[4];
    for (BYTE byte : bytes) {
        std::snprintf(pair, sizeof pair, "%02x", byte);
        text += pair;
    }
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

std::vector<std::wstring> valueNames(HKEY key)
{
    std::vector<std::wstring> names;
    wchar_t valueName[256];
    for (DWORD index = 0, size = 256;
         RegEnumValueW(key, index, valueName, &size, nullptr, nullptr, nullptr, nullptr) == 0; ++index, size = 256)
        names.emplace_back(valueName, size);
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::wstring> subkeyNames(HKEY key)
{
    std::vector<std::wstring> names;
    wchar_t keyName[256];
    for (DWORD index = 0, size = 256;
         RegEnumKeyExW(key, index, keyName, &size, nullptr, nullptr, nullptr, nullptr) == 0; ++index, size = 256)
        names.emplace_back(keyName, size);
    std::sort(names.begin(), names.end());
    return names;
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

std::string goldenFile(const char *fileName)
{
    std::string path = std::string(TEST_DATA) + "/golden/" + fileName;
    if (path.front() == '/')
        path.insert(0, "Z:");   // where Wine has the files of its host
    REQUIRE_MESSAGE(fs::exists(path), "missing: " << path);
    std::string text;
    for (const std::string &line : linesOf(readHostFile(path)))
        text += line + "\n";
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
