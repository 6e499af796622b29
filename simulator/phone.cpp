// The phone folder: its phone.ini and its paths.
#include "phone.h"

#include "databases.h"
#include "faults.h"
#include "registry.h"

#include <atomic>
#include <cwctype>

namespace sim {
namespace {

struct Setting {
    std::wstring section, key, value;
};

// Reading settings and facts needs no lock once a phone is open: only tests switch phones, between calls of the
// program.
SRWLOCK openingLock = SRWLOCK_INIT;
std::atomic<bool> opened{false};
Phone current{};
std::vector<Setting> settings;

constexpr int exitCodeNoPhone = 3;

std::wstring trimmed(const std::wstring &text)
{
    size_t first = 0, last = text.size();
    while (first < last && iswspace(text[first]))
        ++first;
    while (last > first && iswspace(text[last - 1]))
        --last;
    return text.substr(first, last - first);
}

std::vector<std::wstring> split(const std::wstring &text, wchar_t separator)
{
    std::vector<std::wstring> parts;
    for (size_t start = 0; start <= text.size();) {
        size_t end = text.find(separator, start);
        if (end == std::wstring::npos)
            end = text.size();
        parts.push_back(trimmed(text.substr(start, end - start)));
        start = end + 1;
    }
    return parts;
}

std::vector<Setting> parseSettings(const std::wstring &text)
{
    std::vector<Setting> result;
    std::wstring section;
    for (const std::wstring &line : split(text, L'\n')) {
        if (line.empty() || line[0] == L';' || line[0] == L'#')
            continue;
        if (line.front() == L'[' && line.back() == L']') {
            section = trimmed(line.substr(1, line.size() - 2));
            continue;
        }
        const size_t equals = line.find(L'=');
        if (equals != std::wstring::npos)
            result.push_back({section, trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1))});
    }
    return result;
}

const Setting *findSetting(const wchar_t *section, const wchar_t *key)
{
    for (const Setting &each : settings)
        if (sameText(each.section.c_str(), section) && sameText(each.key.c_str(), key))
            return &each;
    return nullptr;
}

// The folder as an absolute Windows path without a separator at its end.
std::wstring windowsPath(std::wstring folder)
{
    if (!folder.empty() && folder[0] == L'/')
        folder.insert(0, L"Z:");
    for (wchar_t &each : folder)
        if (each == L'/')
            each = L'\\';
    wchar_t full[1024];
    const DWORD length = GetFullPathNameW(folder.c_str(), ARRAYSIZE(full), full, nullptr);
    if (length > 0 && length < ARRAYSIZE(full))
        folder = full;
    while (folder.size() > 3 && folder.back() == L'\\')
        folder.pop_back();
    return folder;
}

// Three numbers "5.2.1235"; what is missing is 0.
void parseVersion(const std::wstring &text, Phone &phone)
{
    const std::vector<std::wstring> parts = split(text, L'.');
    DWORD *const fields[] = {&phone.osMajor, &phone.osMinor, &phone.osBuild};
    for (size_t i = 0; i < ARRAYSIZE(fields); ++i)
        *fields[i] = i < parts.size() ? wcstoul(parts[i].c_str(), nullptr, 10) : 0;
}

Phone readFacts(const std::wstring &folder)
{
    Phone phone{};
    phone.folder = folder;
    phone.name = setting(L"phone", L"name");
    if (phone.name.empty())
        phone.name = folder.substr(folder.find_last_of(L'\\') + 1);
    for (wchar_t &each : phone.name)
        if (each == L'\\' || each == L'/')
            each = L'_';
    phone.width = settingNumber(L"screen", L"width", 240);
    phone.height = settingNumber(L"screen", L"height", 320);
    phone.dpi = settingNumber(L"screen", L"dpi", 96);
    parseVersion(setting(L"phone", L"os", L"5.2.1235"), phone);
    return phone;
}

bool openPhone(const std::wstring &folder, std::wstring &problem)
{
    const std::wstring path = windowsPath(folder);
    std::wstring text;
    if (!readTextFile(path + L"\\phone.ini", text)) {
        problem = L"no phone.ini in the phone folder " + path;
        return false;
    }
    settings = parseSettings(text);
    current = readFacts(path);
    return loadFaults(current, problem) && checkStores(current, problem) && seedRegistry(current, problem);
}

std::wstring phoneOfEnvironment()
{
    wchar_t folder[1024];
    const DWORD length = GetEnvironmentVariableW(L"PHONE", folder, ARRAYSIZE(folder));
    return length > 0 && length < ARRAYSIZE(folder) ? folder : L"";
}

[[noreturn]] void endWithoutPhone(const std::wstring &problem)
{
    complain(L"phone simulator: " + problem);
    ExitProcess(exitCodeNoPhone);
}

void openFirstPhone()
{
    Guard guard(openingLock);
    if (opened)
        return;
    const std::wstring folder = phoneOfEnvironment();
    if (folder.empty())
        endWithoutPhone(L"the environment variable PHONE must name a phone folder, such as phones/wm6");
    std::wstring problem;
    if (!openPhone(folder, problem))
        endWithoutPhone(problem);
    opened = true;
}

}   // namespace

const Phone &phone()
{
    if (!opened)
        openFirstPhone();
    return current;
}

bool usePhone(const std::wstring &folder, std::wstring &problem)
{
    Guard guard(openingLock);
    opened = openPhone(folder, problem);
    return opened;
}

std::wstring setting(const wchar_t *section, const wchar_t *key, const wchar_t *fallback)
{
    const Setting *found = findSetting(section, key);
    return found ? found->value : fallback;
}

int settingNumber(const wchar_t *section, const wchar_t *key, int fallback)
{
    const Setting *found = findSetting(section, key);
    return found && !found->value.empty() ? static_cast<int>(wcstoul(found->value.c_str(), nullptr, 0)) : fallback;
}

std::vector<std::wstring> settingList(const wchar_t *section, const wchar_t *key)
{
    std::vector<std::wstring> items;
    for (std::wstring &item : split(setting(section, key), L','))
        if (!item.empty())
            items.push_back(std::move(item));
    return items;
}

bool listed(const wchar_t *section, const wchar_t *key, const wchar_t *item)
{
    for (const std::wstring &each : settingList(section, key))
        if (sameText(each.c_str(), item))
            return true;
    return false;
}

void overrideSetting(const wchar_t *section, const wchar_t *key, const wchar_t *value)
{
    if (const Setting *found = findSetting(section, key))
        const_cast<Setting *>(found)->value = value;
    else
        settings.push_back({section, key, value});
}

std::wstring hostPath(const wchar_t *phonePath)
{
    if (!phonePath)
        return L"";
    std::wstring path = phonePath;
    for (wchar_t &each : path)
        if (each == L'/')
            each = L'\\';
    if (path.compare(0, 2, L"\\\\") == 0 || (path.size() > 1 && path[1] == L':'))
        return path;
    // There is no current directory on the phone: a relative path counts from the root.
    const bool rooted = !path.empty() && path[0] == L'\\';
    return phone().folder + L"\\root" + (rooted ? L"" : L"\\") + path;
}

std::wstring phonePath(const wchar_t *hostPath)
{
    const std::wstring root = phone().folder + L"\\root";
    if (_wcsnicmp(hostPath, root.c_str(), root.size()) != 0)
        return hostPath;
    const wchar_t *rest = hostPath + root.size();
    return *rest == 0 ? L"\\" : *rest == L'\\' ? rest : hostPath;
}

bool readTextFile(const std::wstring &path, std::wstring &text)
{
    const DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, sharing, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    std::string bytes(GetFileSize(file, nullptr), '\0');
    DWORD got = 0;
    const bool complete =
        ReadFile(file, &bytes[0], static_cast<DWORD>(bytes.size()), &got, nullptr) && got == bytes.size();
    CloseHandle(file);
    if (!complete)
        return false;
    if (bytes.compare(0, 2, "\xFF\xFE") == 0) {
        text.assign(reinterpret_cast<const wchar_t *>(bytes.data() + 2), (bytes.size() - 2) / sizeof(wchar_t));
        return true;
    }
    const size_t mark = bytes.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    const int size = static_cast<int>(bytes.size() - mark);
    text.resize(MultiByteToWideChar(CP_UTF8, 0, bytes.data() + mark, size, nullptr, 0));
    MultiByteToWideChar(CP_UTF8, 0, bytes.data() + mark, size, &text[0], static_cast<int>(text.size()));
    return true;
}

std::string utf8(const std::wstring &text)
{
    const int size = static_cast<int>(text.size());
    std::string bytes(WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, &bytes[0], static_cast<int>(bytes.size()), nullptr, nullptr);
    return bytes;
}

void complain(const std::wstring &text)
{
    const std::string line = utf8(text) + "\r\n";
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

SharedGuard::SharedGuard(const std::wstring &name) : mutex_(CreateMutexW(nullptr, FALSE, name.c_str()))
{
    // A holder that died leaves the mutex abandoned; what it guards is complete lines or a registry seeded again.
    WaitForSingleObject(mutex_, INFINITE);
}

SharedGuard::~SharedGuard()
{
    ReleaseMutex(mutex_);
    CloseHandle(mutex_);
}

}   // namespace sim
