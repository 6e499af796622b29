// The phone's system sounds: where it keeps them.
#include "core.h"

#include <algorithm>
#include <cstring>

extern "C" HLOCAL WINAPI simLocalAlloc(UINT flags, SIZE_T size);

namespace sim {
namespace {

// SND_LOCATION_...: which kinds of folders a program asks for.
constexpr DWORD onStorageCard = 1, inUserData = 2, inRom = 4;

struct SoundDirectory {   // SNDDIRECTORYINFO
    WCHAR path[260];
};
static_assert(sizeof(SoundDirectory) == 520, "the phone's layout");

DWORD locationOf(const std::wstring &path)
{
    const std::wstring top = path.substr(1, path.find(L'\\', 1) - 1);
    if (listed(L"storage", L"cards", top.c_str()))
        return onStorageCard;
    return _wcsicmp(top.c_str(), L"Windows") == 0 ? inRom : inUserData;
}

std::vector<std::wstring> soundDirectories(DWORD locations)
{
    std::vector<std::wstring> found;
    for (const std::wstring &path : settingList(L"sounds", L"directories"))
        if (locations & locationOf(path))
            found.push_back(path);
    return found;
}

// Room for capacity records; those without a path are empty. Null when memory has run out.
SoundDirectory *recordsOf(const std::vector<std::wstring> &paths, size_t capacity)
{
    auto *const records =
        static_cast<SoundDirectory *>(simLocalAlloc(LMEM_ZEROINIT, std::max<size_t>(capacity, 1) * sizeof(SoundDirectory)));
    for (size_t i = 0; records && i < paths.size(); ++i)
        memcpy(records[i].path, paths[i].c_str(),
               std::min(paths[i].size(), ARRAYSIZE(records[i].path)) * sizeof(WCHAR));
    return records;
}

}   // namespace
}   // namespace sim

using namespace sim;

// The answer is the list of phone.ini, or one of the wrong ones that it orders.
extern "C" HRESULT WINAPI simSndGetSoundDirectoriesList(int, DWORD locations, SoundDirectory **directories, int *count)
{
    const auto result = static_cast<HRESULT>(settingNumber(L"sounds", L"result"));
    if (FAILED(result))
        return result;
    const std::vector<std::wstring> paths = soundDirectories(locations);
    const int told = settingNumber(L"sounds", L"count", static_cast<int>(paths.size()));
    if (settingNumber(L"sounds", L"array", 1)) {
        *directories = recordsOf(paths, std::max<size_t>(paths.size(), told > 0 ? told : 0));
        if (!*directories)
            return E_OUTOFMEMORY;
    }
    *count = told;
    return result;
}
