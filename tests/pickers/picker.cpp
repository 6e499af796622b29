// A picker library for test phones. It asks nobody: the path it answers with is that of the environment variable
// KV_PICKER_ANSWER, none for a user who cancels; what it was asked is left in KV_PICKER_ASKED. The longest answers fill the
// whole buffer and leave no room for a terminator, as a careless library might.
#include "../../ce/layouts.h"

#include <string>

namespace {

std::wstring joined(const wchar_t *texts)
{
    std::wstring all;
    for (; texts && *texts; texts += wcslen(texts) + 1)
        all += std::wstring(texts) + L"|";
    return all;
}

std::wstring given(const wchar_t *text)
{
    return text ? text : L"(none)";
}

BOOL answer(const std::wstring &function, ce::OpenFileNameW *request)
{
    wchar_t asked[1024], path[512];
    _snwprintf(asked, 1024, L"%ls size %lu owner %llu filter %ls index %lu file '%ls' of %lu title '%ls' flags 0x%lX",
               function.c_str(), request->lStructSize, reinterpret_cast<unsigned long long>(request->hwndOwner),
               request->lpstrFilter ? joined(request->lpstrFilter).c_str() : L"(none)", request->nFilterIndex,
               request->lpstrFile, request->nMaxFile, given(request->lpstrTitle).c_str(), request->Flags);
    SetEnvironmentVariableW(L"KV_PICKER_ASKED", asked);
    SetLastError(0);
    const DWORD length = GetEnvironmentVariableW(L"KV_PICKER_ANSWER", path, 512);
    if (length == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND)
        return FALSE;
    for (DWORD i = 0; i <= length && i < request->nMaxFile; ++i)
        request->lpstrFile[i] = path[i];
    return TRUE;
}

}   // namespace

#ifdef TGETFILE
extern "C" __declspec(dllexport) BOOL WINAPI tGetFile(int mode, ce::OpenFileNameW *request)
{
    return answer(L"tGetFile " + std::to_wstring(mode), request);
}
#endif

#ifdef GSGETFILE
extern "C" __declspec(dllexport) BOOL WINAPI gsGetOpenFileName(ce::OpenFileNameW *request)
{
    return answer(L"gsGetOpenFileName", request);
}
#endif
