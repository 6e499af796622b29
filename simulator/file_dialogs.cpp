// The system's file dialogs: phone.ini says what the user answers, or the desktop's own dialog asks on the phone's files.
#include "core.h"
#include "files.h"
#include "phone.h"

#include "../ce/layouts.h"

#include <commdlg.h>

namespace sim {
namespace {

constexpr wchar_t askUser[] = L"?";

constexpr DWORD pathMustExist = 0x800, fileMustExist = 0x1000, folderWanted = 0x00400000;

using DesktopDialog = BOOL(WINAPI *)(OPENFILENAMEW *);

// A filter list as the journal shows it: its texts, with bars in between.
std::wstring joinedFilter(const wchar_t *filter)
{
    std::wstring joined;
    for (const wchar_t *text = filter; text && *text; text += wcslen(text) + 1)
        joined += (joined.empty() ? L"" : L"|") + std::wstring(text);
    return joined;
}

std::wstring givenText(const wchar_t *text)
{
    return text ? text : L"";
}

std::wstring folderOf(const std::wstring &path)
{
    const size_t separator = path.find_last_of(L'\\');
    return separator == 0 || separator == std::wstring::npos ? L"\\" : path.substr(0, separator);
}

bool isAcceptable(const std::wstring &path, DWORD flags)
{
    if (path.empty() || ((flags & (pathMustExist | fileMustExist)) && !existsOnPhone(folderOf(path))))
        return false;
    return !(flags & fileMustExist) || existsOnPhone(path);
}

bool giveAnswer(ce::OpenFileNameW *request, const std::wstring &path)
{
    if (!isAcceptable(path, request->Flags) || path.size() >= request->nMaxFile)
        return false;
    wcscpy(request->lpstrFile, path.c_str());
    request->nFileOffset = static_cast<WORD>(path.find_last_of(L'\\') + 1);
    const size_t dot = path.find_last_of(L'.');
    request->nFileExtension = static_cast<WORD>(dot == std::wstring::npos ? 0 : dot + 1);
    return true;
}

// The phone path chosen in the desktop's dialog, which begins in the phone's root; empty when it was cancelled or led out of
// the phone.
std::wstring askOnDesktop(const ce::OpenFileNameW &request, const char *function)
{
    const HMODULE dialogs = LoadLibraryW(L"comdlg32.dll");
    void *const address = dialogs ? reinterpret_cast<void *>(GetProcAddress(dialogs, function)) : nullptr;
    if (!address)
        return L"";
    wchar_t file[MAX_PATH] = L"";
    const std::wstring folder = hostPath(request.lpstrInitialDir ? request.lpstrInitialDir : L"\\");
    OPENFILENAMEW record = {};
    record.lStructSize = sizeof record;
    record.hwndOwner = request.hwndOwner;
    record.lpstrFilter = request.lpstrFilter;
    record.nFilterIndex = request.nFilterIndex;
    record.lpstrFile = file;
    record.nMaxFile = MAX_PATH;
    record.lpstrInitialDir = folder.c_str();
    record.lpstrTitle = request.lpstrTitle;
    record.Flags = (request.Flags & ~folderWanted) | OFN_EXPLORER | OFN_NOCHANGEDIR;
    if (!reinterpret_cast<DesktopDialog>(address)(&record))
        return L"";
    const std::wstring path = phonePath(file);
    return path == file ? L"" : path;
}

BOOL answer(ce::OpenFileNameW *request, const wchar_t *what, const char *function)
{
    if (!request || request->lStructSize != ce::openFileRecordSize || !request->lpstrFile || !request->nMaxFile) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const std::wstring told = setting(L"file-dialog", L"answer", askUser);
    const std::wstring path = told == askUser ? askOnDesktop(*request, function) : told;
    const bool chosen = giveAnswer(request, path);
    journal(L"file-dialog", {what, givenText(request->lpstrTitle), hexadecimal(request->Flags),
                             joinedFilter(request->lpstrFilter), chosen ? path : L"cancelled"});
    return chosen;
}

}   // namespace
}   // namespace sim

extern "C" {

BOOL WINAPI simGetOpenFileNameW(ce::OpenFileNameW *request)
{
    return sim::answer(request, L"open", "GetOpenFileNameW");
}

BOOL WINAPI simGetSaveFileNameW(ce::OpenFileNameW *request)
{
    return sim::answer(request, L"save", "GetSaveFileNameW");
}

}   // extern "C"
