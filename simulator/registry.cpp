// The registry functions. The phone's roots are keys of the desktop's registry; everything else is the desktop's own
// registry at work, held to the phone's limits.
#include "registry.h"

#include "faults.h"
#include "phone.h"
#include "registry_file.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>

namespace sim {
namespace {

struct Root {
    DWORD number;              // the predefined handle
    const wchar_t *name;       // below the phone's branch
    const wchar_t *fullName;   // in registry.reg
};

constexpr Root roots[] = {
    {0x80000000, L"HKCR", L"HKEY_CLASSES_ROOT"},
    {0x80000001, L"HKCU", L"HKEY_CURRENT_USER"},
    {0x80000002, L"HKLM", L"HKEY_LOCAL_MACHINE"},
    {0x80000003, L"HKU", L"HKEY_USERS"},
};

constexpr wchar_t allPhones[] = L"Software\\Phone Simulator\\";
constexpr size_t nameLimit = 255;   // characters
constexpr DWORD dataLimit = 4096;   // bytes
constexpr LONG orderedFailure = ERROR_REGISTRY_IO_FAILED;

SRWLOCK keysLock = SRWLOCK_INIT;
std::unordered_map<HKEY, std::wstring> openKeys;   // what the program holds, with the path it was opened by

// Programs may hand a predefined handle over as 32 bits or sign-extended to 64.
const Root *rootOf(HKEY key)
{
    const auto wide = reinterpret_cast<LONG_PTR>(key);
    for (const Root &each : roots)
        if (wide == static_cast<LONG_PTR>(each.number) || wide == static_cast<LONG>(each.number))
            return &each;
    return nullptr;
}

// A key as the real registry takes it: the parent handle and the path below it.
struct Place {
    HKEY parent;
    std::wstring path;
};

Place placeOf(HKEY key, const wchar_t *subkey)
{
    const Root *root = rootOf(key);
    const std::wstring below = subkey ? subkey : L"";
    if (!root)
        return {key, below};
    const std::wstring path = registryBranch(phone().name) + L"\\" + root->name;
    return {HKEY_CURRENT_USER, below.empty() ? path : path + L"\\" + below};
}

// A handle the real registry understands: the program's own, or the phone's root opened for the length of one call.
class RealKey {
public:
    explicit RealKey(HKEY key) : key_(key), opened_(rootOf(key) != nullptr)
    {
        if (opened_ && RegOpenKeyExW(HKEY_CURRENT_USER, placeOf(key, nullptr).path.c_str(), 0, KEY_ALL_ACCESS, &key_))
            key_ = nullptr;
    }
    ~RealKey()
    {
        if (opened_ && key_)
            RegCloseKey(key_);
    }
    RealKey(const RealKey &) = delete;
    RealKey &operator=(const RealKey &) = delete;
    operator HKEY() const { return key_; }

private:
    HKEY key_;
    bool opened_;
};

// The path a key was opened by, for faults; the root's short name for a predefined handle.
std::wstring nameOf(HKEY key)
{
    if (const Root *root = rootOf(key))
        return root->name;
    Guard guard(keysLock);
    const auto found = openKeys.find(key);
    return found != openKeys.end() ? found->second : L"";
}

void rememberKey(HKEY key, const wchar_t *subkey)
{
    Guard guard(keysLock);
    openKeys[key] = subkey ? subkey : L"";
}

bool fails(const wchar_t *operation, const wchar_t *detail)
{
    return failsByOrder(FaultKind::registry, operation, detail ? detail : L"");
}

// Whether every part of a key path, or a value name, is short enough for the phone.
bool nameFits(const wchar_t *name)
{
    size_t length = 0;
    for (; name && *name; ++name) {
        length = *name == L'\\' ? 0 : length + 1;
        if (length > nameLimit)
            return false;
    }
    return true;
}

// registry.reg names full roots; answers the path below the desktop's HKEY_CURRENT_USER, empty for an unknown root.
std::wstring seedPath(const std::wstring &branch, const std::wstring &path)
{
    const size_t rootLength = std::min(path.find(L'\\'), path.size());
    for (const Root &each : roots)
        if (sameText(path.substr(0, rootLength).c_str(), each.fullName))
            return branch + L"\\" + each.name + path.substr(rootLength);
    return L"";
}

bool seedValue(HKEY key, const RegistryValue &value)
{
    if (value.remove) {
        RegDeleteValueW(key, value.name.c_str());
        return true;
    }
    const DWORD size = static_cast<DWORD>(value.data.size());
    return value.name.size() <= nameLimit && size <= dataLimit &&
           RegSetValueExW(key, value.name.c_str(), 0, value.type, value.data.data(), size) == ERROR_SUCCESS;
}

bool seedKey(const std::wstring &branch, const RegistryKey &key, std::wstring &problem)
{
    const std::wstring path = seedPath(branch, key.path);
    problem = L"registry.reg: cannot enter the key " + key.path;
    if (path.empty())
        return false;
    if (key.remove) {
        RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
        return true;
    }
    HKEY handle;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &handle, nullptr))
        return false;
    bool done = true;
    for (const RegistryValue &value : key.values)
        if (done && !seedValue(handle, value)) {
            problem += L": value " + value.name;
            done = false;
        }
    RegCloseKey(handle);
    return done;
}

bool createRoots(const std::wstring &branch)
{
    for (const Root &each : roots) {
        HKEY handle;
        const std::wstring path = branch + L"\\" + each.name;
        if (RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &handle, nullptr))
            return false;
        RegCloseKey(handle);
    }
    return true;
}

bool keyExists(const std::wstring &path)
{
    HKEY handle;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &handle))
        return false;
    RegCloseKey(handle);
    return true;
}

bool enterRegistryFile(const Phone &phone, std::wstring &problem)
{
    std::wstring text;
    std::vector<RegistryKey> keys;
    if (readTextFile(phone.folder + L"\\registry.reg", text)) {
        const int badLine = parseRegistryText(text, keys);
        if (badLine) {
            problem = L"registry.reg: line " + number(badLine) + L" is not understood";
            return false;
        }
    }
    const std::wstring branch = registryBranch(phone.name);
    if (!createRoots(branch)) {
        problem = L"cannot create the registry key " + branch;
        return false;
    }
    for (const RegistryKey &key : keys)
        if (!seedKey(branch, key, problem))
            return false;
    problem.clear();
    return true;
}

bool enterOrLeaveNothing(const Phone &phone, std::wstring &problem)
{
    if (enterRegistryFile(phone, problem))
        return true;
    deleteRegistry(phone.name);   // a half-seeded registry would pass for a complete one at the next start
    return false;
}

}   // namespace

std::wstring registryBranch(const std::wstring &phoneName)
{
    return allPhones + phoneName;
}

bool seedRegistry(const Phone &phone, std::wstring &problem)
{
    const SharedGuard guard(L"Local\\kv-seed-" + phone.name);
    return keyExists(registryBranch(phone.name)) || enterOrLeaveNothing(phone, problem);
}

bool reseedRegistry(const Phone &phone, std::wstring &problem)
{
    const SharedGuard guard(L"Local\\kv-seed-" + phone.name);
    deleteRegistry(phone.name);
    return enterOrLeaveNothing(phone, problem);
}

bool deleteRegistry(const std::wstring &phoneName)
{
    return !phoneName.empty() && RegDeleteTreeW(HKEY_CURRENT_USER, registryBranch(phoneName).c_str()) == ERROR_SUCCESS;
}

int liveKeys()
{
    Guard guard(keysLock);
    return static_cast<int>(openKeys.size());
}

}   // namespace sim

using namespace sim;

extern "C" {

LONG WINAPI simRegOpenKeyExW(HKEY key, LPCWSTR subkey, DWORD, REGSAM, PHKEY result)
{
    if (fails(L"open", subkey))
        return orderedFailure;
    if (!result)
        return ERROR_INVALID_PARAMETER;
    const Place place = placeOf(key, subkey);
    // The phone ignores the access asked for; a key opened for reading can be written to.
    const LONG status = RegOpenKeyExW(place.parent, place.path.c_str(), 0, KEY_ALL_ACCESS, result);
    if (status == ERROR_SUCCESS)
        rememberKey(*result, subkey);
    return status;
}

LONG WINAPI simRegCreateKeyExW(HKEY key, LPCWSTR subkey, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES,
                               PHKEY result, LPDWORD disposition)
{
    if (fails(L"create", subkey))
        return orderedFailure;
    if (!subkey || !result || !nameFits(subkey))
        return ERROR_INVALID_PARAMETER;
    const Place place = placeOf(key, subkey);
    const LONG status =
        RegCreateKeyExW(place.parent, place.path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, result, disposition);
    if (status == ERROR_SUCCESS)
        rememberKey(*result, subkey);
    return status;
}

LONG WINAPI simRegCloseKey(HKEY key)
{
    const std::wstring name = nameOf(key);
    // The key is closed even when a fault is ordered, so that the count of open keys stays true.
    const Fault fault = faultDue(FaultKind::registry, L"close", name.c_str());
    LONG status = ERROR_SUCCESS;
    if (!rootOf(key)) {
        Guard guard(keysLock);
        openKeys.erase(key);
        status = RegCloseKey(key);
    }
    if (fault == Fault::raise)
        throw OrderedFault();
    return fault == Fault::fail ? orderedFailure : status;
}

LONG WINAPI simRegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size)
{
    if (fails(L"read", name))
        return orderedFailure;
    if (data && !size)
        return ERROR_INVALID_PARAMETER;
    // Read aside first: the desktop may touch the buffer or append a terminator, the phone does neither.
    BYTE content[dataLimit];
    DWORD found = sizeof(content);
    const RealKey real(key);
    const LONG status = RegQueryValueExW(real, name, nullptr, type, content, &found);
    if (status != ERROR_SUCCESS && status != ERROR_MORE_DATA)
        return status;
    if (!size)
        return ERROR_SUCCESS;
    const DWORD room = *size;
    *size = found;
    if (!data)
        return ERROR_SUCCESS;
    if (found > room || status == ERROR_MORE_DATA)
        return ERROR_MORE_DATA;
    memcpy(data, content, found);
    return ERROR_SUCCESS;
}

LONG WINAPI simRegSetValueExW(HKEY key, LPCWSTR name, DWORD, DWORD type, const BYTE *data, DWORD size)
{
    if (fails(L"write", name))
        return orderedFailure;
    if (size > dataLimit || (size && !data) || !nameFits(name))
        return ERROR_INVALID_PARAMETER;
    // The desktop adds a terminator it finds behind an unterminated text; the phone stores exactly the bytes given.
    BYTE content[dataLimit + sizeof(wchar_t)];
    memcpy(content, data, size);
    memset(content + size, 0xFF, sizeof(wchar_t));
    return RegSetValueExW(RealKey(key), name, 0, type, content, size);
}

// Deletes the key with everything below it, as the phone does.
LONG WINAPI simRegDeleteKeyW(HKEY key, LPCWSTR subkey)
{
    if (fails(L"delete", subkey))
        return orderedFailure;
    if (!subkey || !*subkey)
        return ERROR_INVALID_PARAMETER;
    const Place place = placeOf(key, subkey);
    return RegDeleteTreeW(place.parent, place.path.c_str());
}

LONG WINAPI simRegDeleteValueW(HKEY key, LPCWSTR name)
{
    if (fails(L"delete", name))
        return orderedFailure;
    return RegDeleteValueW(RealKey(key), name);
}

LONG WINAPI simRegFlushKey(HKEY key)
{
    if (fails(L"flush", nameOf(key).c_str()))
        return orderedFailure;
    return RegFlushKey(RealKey(key));
}

LONG WINAPI simRegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameSize, LPDWORD reserved, LPDWORD type,
                             LPBYTE data, LPDWORD size)
{
    if (fails(L"enumerate", nameOf(key).c_str()))
        return orderedFailure;
    return RegEnumValueW(RealKey(key), index, name, nameSize, reserved, type, data, size);
}

LONG WINAPI simRegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameSize, LPDWORD reserved, LPWSTR className,
                             LPDWORD classSize, PFILETIME written)
{
    if (fails(L"enumerate", nameOf(key).c_str()))
        return orderedFailure;
    return RegEnumKeyExW(RealKey(key), index, name, nameSize, reserved, className, classSize, written);
}

LONG WINAPI simRegQueryInfoKeyW(HKEY key, LPWSTR className, LPDWORD classSize, LPDWORD reserved, LPDWORD subkeys,
                                LPDWORD longestSubkey, LPDWORD longestClass, LPDWORD values, LPDWORD longestName,
                                LPDWORD longestData, LPDWORD security, PFILETIME written)
{
    if (fails(L"information", nameOf(key).c_str()))
        return orderedFailure;
    return RegQueryInfoKeyW(RealKey(key), className, classSize, reserved, subkeys, longestSubkey, longestClass, values,
                            longestName, longestData, security, written);
}

}   // extern "C"
