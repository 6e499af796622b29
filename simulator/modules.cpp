// Modules: which DLLs and exports this phone has, and where its modules are said to lie.
#include "faults.h"
#include "files.h"
#include "phone.h"

#include <algorithm>

namespace sim {
namespace {

// The modules that make up the phone; every other one must be a file of the phone.
constexpr const wchar_t *systemModules[] = {L"coredll.dll", L"aygshell.dll", L"commctrl.dll", L"ole32.dll",
                                            L"oleaut32.dll"};

std::wstring lastPart(const std::wstring &path)
{
    return path.substr(path.find_last_of(L"\\/") + 1);
}

std::wstring folderOf(HMODULE module)
{
    wchar_t path[MAX_PATH];
    const std::wstring full(path, GetModuleFileNameW(module, path, ARRAYSIZE(path)));
    return full.substr(0, full.find_last_of(L'\\'));
}

HMODULE ownModule()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&ownModule), &module);
    return module;
}

bool isSystemModule(const std::wstring &name)
{
    return std::any_of(std::begin(systemModules), std::end(systemModules),
                       [&name](const wchar_t *each) { return sameText(each, name.c_str()); });
}

std::wstring withExtension(const std::wstring &name)
{
    return lastPart(name).find(L'.') == std::wstring::npos ? name + L".dll" : name;
}

// Where the phone finds a module file: as given, or in \Windows, the root and the program's folder.
std::wstring findModuleFile(const std::wstring &name)
{
    if (name.find(L'\\') != std::wstring::npos)
        return existsOnPhone(name) ? hostPath(name.c_str()) : L"";
    for (const wchar_t *folder : {L"\\Windows\\", L"\\", L"\\Program Files\\Kelvane\\"})
        if (existsOnPhone(folder + name))
            return hostPath((folder + name).c_str());
    return L"";
}

template <class Handle> Handle refuse(DWORD error)
{
    SetLastError(error);
    return nullptr;
}

}   // namespace
}   // namespace sim

using namespace sim;

extern "C" {

HMODULE WINAPI simLoadLibraryW(LPCWSTR path)
{
    if (!path || !*path)
        return refuse<HMODULE>(ERROR_MOD_NOT_FOUND);
    const std::wstring wanted = withExtension(path), name = lastPart(wanted);
    if (listed(L"exports", L"missing_modules", name.c_str()))
        return refuse<HMODULE>(ERROR_MOD_NOT_FOUND);
    if (isSystemModule(name)) {
        // Ours lie beside coredll.dll; COM is the desktop's.
        const HMODULE ours = LoadLibraryW((folderOf(ownModule()) + L"\\" + name).c_str());
        return ours ? ours : LoadLibraryW(name.c_str());
    }
    const std::wstring file = findModuleFile(wanted);
    return file.empty() ? refuse<HMODULE>(ERROR_MOD_NOT_FOUND) : LoadLibraryW(file.c_str());
}

// The phone takes a wide name, or an ordinal in the low word.
FARPROC WINAPI simGetProcAddressW(HMODULE module, LPCWSTR name)
{
    if (IS_INTRESOURCE(name)) {
        // Our coredll numbers its exports as the linker pleases, not as the phone does.
        return module == ownModule() ? refuse<FARPROC>(ERROR_PROC_NOT_FOUND)
                                     : GetProcAddress(module, reinterpret_cast<LPCSTR>(name));
    }
    if (listed(L"exports", L"missing", name))
        return refuse<FARPROC>(ERROR_PROC_NOT_FOUND);
    return GetProcAddress(module, utf8(name).c_str());
}

// The phone tells modules apart by their base names alone.
HMODULE WINAPI simGetModuleHandleW(LPCWSTR path)
{
    return path ? GetModuleHandleW(withExtension(lastPart(path)).c_str()) : GetModuleHandleW(nullptr);
}

DWORD WINAPI simGetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size)
{
    wchar_t real[MAX_PATH];
    const std::wstring host(real, GetModuleFileNameW(module, real, ARRAYSIZE(real)));
    if (host.empty())
        return 0;
    std::wstring path = phonePath(host.c_str());
    if (path == host) {   // a module of the build folder: the program, or a part of the system
        const bool program = !module || module == GetModuleHandleW(nullptr);
        path = (program ? L"\\Program Files\\Kelvane\\" : L"\\Windows\\") + lastPart(host);
    }
    if (size == 0)
        return 0;
    const size_t length = std::min<size_t>(path.size(), size - 1);
    std::copy_n(path.c_str(), length, buffer);
    buffer[length] = 0;
    if (length < path.size())
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return static_cast<DWORD>(length);
}

}   // extern "C"
