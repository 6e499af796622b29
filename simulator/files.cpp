// The file functions: the desktop's own on mapped paths, with the phone's storage conditions and ordered faults.
#include "files.h"

#include "faults.h"
#include "phone.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <unordered_map>

namespace sim {
namespace {

constexpr DWORD orderedFailure = ERROR_IO_DEVICE;

struct OpenHandle {
    HandleKind kind;
    std::wstring path;
};

struct Search {
    HANDLE handle;            // of the desktop's search
    WIN32_FIND_DATAW found;   // entry to be handed out next
    bool inRoot;              // storage cards are directories of the root
    std::wstring pattern;     // as given
};

SRWLOCK handlesLock = SRWLOCK_INIT;
std::unordered_map<HANDLE, OpenHandle> openHandles;
std::map<ULONG_PTR, Search> searches;
ULONG_PTR nextSearch = 0x5EA00004;   // search handles are numbers of our own, so that they fit the phone's 32 bits
std::vector<HandleCloser> closers;

bool fails(const wchar_t *operation, const wchar_t *path)
{
    if (!failsByOrder(FaultKind::file, operation, path ? path : L""))
        return false;
    SetLastError(orderedFailure);
    return true;
}

bool failsOnHandle(const wchar_t *operation, HANDLE handle)
{
    std::wstring path;
    {
        Guard guard(handlesLock);
        const auto found = openHandles.find(handle);
        if (found != openHandles.end())
            path = found->second.path;
    }
    return fails(operation, path.c_str());
}

// The path in the form "\Folder\File", whatever the program wrote.
std::wstring plainPath(const wchar_t *path)
{
    std::wstring plain = phonePath(hostPath(path).c_str());
    while (plain.size() > 1 && plain.back() == L'\\')
        plain.pop_back();
    return plain;
}

bool isBelow(const std::wstring &path, const std::wstring &folder)
{
    return _wcsnicmp(path.c_str(), folder.c_str(), folder.size()) == 0 &&
           (path.size() == folder.size() || path[folder.size()] == L'\\');
}

// Whether storage at a path refuses changes: listed in phone.ini, or a file whose read-only attribute is set. The
// desktop may let an administrator write such a file, the phone never does.
bool isReadOnly(const wchar_t *path)
{
    const std::wstring plain = plainPath(path);
    for (const std::wstring &folder : settingList(L"storage", L"readonly"))
        if (isBelow(plain, folder))
            return true;
    const DWORD attributes = GetFileAttributesW(hostPath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) &&
           !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool refuse(DWORD error)
{
    SetLastError(error);
    return false;
}

// What every function with a path asks first: a path is given, and no fault is ordered.
bool mayTry(const wchar_t *operation, const wchar_t *path)
{
    if (fails(operation, path))
        return false;
    return path && *path ? true : refuse(ERROR_PATH_NOT_FOUND);
}

bool mayChange(const wchar_t *operation, const wchar_t *path)
{
    return mayTry(operation, path) && (!isReadOnly(path) || refuse(ERROR_ACCESS_DENIED));
}

bool diskFull()
{
    return settingNumber(L"storage", L"full") != 0;
}

bool isStorageCard(const std::wstring &plain)
{
    return plain.size() > 1 && listed(L"storage", L"cards", plain.c_str() + 1);
}

DWORD attributesOnPhone(DWORD attributes, bool storageCard)
{
    return storageCard ? attributes | FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_TEMPORARY : attributes;
}

// Whether CreateFile with these arguments changes storage.
bool opensForChange(const std::wstring &host, DWORD access, DWORD disposition)
{
    if (access & (GENERIC_WRITE | FILE_WRITE_DATA | FILE_APPEND_DATA))
        return true;
    return disposition != OPEN_EXISTING &&
           (disposition != OPEN_ALWAYS || GetFileAttributesW(host.c_str()) == INVALID_FILE_ATTRIBUTES);
}

// Names the phone does not list: it knows no "." and "..", and .keep only keeps an empty folder in version control.
bool isUnlisted(const wchar_t *name)
{
    return wcscmp(name, L".") == 0 || wcscmp(name, L"..") == 0 || wcscmp(name, L".keep") == 0;
}

// Moves on to an entry the phone would list.
bool skipUnlisted(Search &search)
{
    while (isUnlisted(search.found.cFileName))
        if (!FindNextFileW(search.handle, &search.found))
            return false;
    return true;
}

void handOut(const Search &search, PhoneFindData *data)
{
    const WIN32_FIND_DATAW &found = search.found;
    const bool card = search.inRoot && isStorageCard(std::wstring(L"\\") + found.cFileName);
    data->dwFileAttributes = attributesOnPhone(found.dwFileAttributes, card);
    data->ftCreationTime = found.ftCreationTime;
    data->ftLastAccessTime = found.ftLastAccessTime;
    data->ftLastWriteTime = found.ftLastWriteTime;
    data->nFileSizeHigh = found.nFileSizeHigh;
    data->nFileSizeLow = found.nFileSizeLow;
    data->dwOID = 0;
    memcpy(data->cFileName, found.cFileName, sizeof(data->cFileName));
}

}   // namespace

void rememberHandle(HANDLE handle, HandleKind kind, const std::wstring &path)
{
    Guard guard(handlesLock);
    openHandles[handle] = {kind, path};
}

int liveHandles(HandleKind kind)
{
    Guard guard(handlesLock);
    return static_cast<int>(std::count_if(openHandles.begin(), openHandles.end(),
                                          [kind](const auto &each) { return each.second.kind == kind; }));
}

int liveSearches()
{
    Guard guard(handlesLock);
    return static_cast<int>(searches.size());
}

bool existsOnPhone(const std::wstring &path)
{
    return !path.empty() && GetFileAttributesW(hostPath(path.c_str()).c_str()) != INVALID_FILE_ATTRIBUTES;
}

void addHandleCloser(HandleCloser closer)
{
    Guard guard(handlesLock);
    if (std::find(closers.begin(), closers.end(), closer) == closers.end())
        closers.push_back(closer);
}

}   // namespace sim

using namespace sim;

extern "C" {

HANDLE WINAPI simCreateFileW(LPCWSTR path, DWORD access, DWORD sharing, LPSECURITY_ATTRIBUTES, DWORD disposition,
                             DWORD flags, HANDLE)
{
    if (!mayTry(L"open", path))
        return INVALID_HANDLE_VALUE;
    const std::wstring host = hostPath(path);
    if (opensForChange(host, access, disposition) && isReadOnly(path)) {
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    const HANDLE file =
        CreateFileW(host.c_str(), access, sharing, nullptr, disposition, flags & ~FILE_FLAG_OVERLAPPED, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        const DWORD status = GetLastError();   // ERROR_ALREADY_EXISTS tells that the file was there
        rememberHandle(file, HandleKind::file, plainPath(path));
        SetLastError(status);
    }
    return file;
}

BOOL WINAPI simCloseHandle(HANDLE handle)
{
    std::vector<HandleCloser> others;
    bool known = false;
    OpenHandle entry{};
    {
        Guard guard(handlesLock);
        others = closers;
        const auto found = openHandles.find(handle);
        if (found != openHandles.end()) {
            known = true;
            entry = found->second;
            openHandles.erase(found);
        }
    }
    if (!known)
        for (const HandleCloser closer : others)
            if (closer(handle))
                return TRUE;
    const BOOL closed = CloseHandle(handle);
    // The file is closed even when a failure is ordered, so that the count of open files stays true.
    return known && entry.kind == HandleKind::file && fails(L"close", entry.path.c_str()) ? FALSE : closed;
}

BOOL WINAPI simReadFile(HANDLE file, LPVOID data, DWORD size, LPDWORD done, LPOVERLAPPED overlapped)
{
    return !failsOnHandle(L"read", file) && ReadFile(file, data, size, done, overlapped);
}

BOOL WINAPI simWriteFile(HANDLE file, LPCVOID data, DWORD size, LPDWORD done, LPOVERLAPPED overlapped)
{
    if (done)
        *done = 0;
    if (failsOnHandle(L"write", file))
        return FALSE;
    if (size > 0 && diskFull())
        return refuse(ERROR_DISK_FULL);
    return WriteFile(file, data, size, done, overlapped);
}

DWORD WINAPI simSetFilePointer(HANDLE file, LONG low, PLONG high, DWORD method)
{
    return failsOnHandle(L"seek", file) ? INVALID_SET_FILE_POINTER : SetFilePointer(file, low, high, method);
}

DWORD WINAPI simGetFileSize(HANDLE file, LPDWORD high)
{
    return failsOnHandle(L"size", file) ? INVALID_FILE_SIZE : GetFileSize(file, high);
}

BOOL WINAPI simSetEndOfFile(HANDLE file)
{
    return !failsOnHandle(L"truncate", file) && SetEndOfFile(file);
}

BOOL WINAPI simFlushFileBuffers(HANDLE file)
{
    return !failsOnHandle(L"flush", file) && FlushFileBuffers(file);
}

BOOL WINAPI simDeleteFileW(LPCWSTR path)
{
    return mayChange(L"delete", path) && DeleteFileW(hostPath(path).c_str());
}

BOOL WINAPI simMoveFileW(LPCWSTR from, LPCWSTR to)
{
    return mayChange(L"move", from) && mayChange(L"move", to) &&
           MoveFileW(hostPath(from).c_str(), hostPath(to).c_str());
}

BOOL WINAPI simCopyFileW(LPCWSTR from, LPCWSTR to, BOOL failIfExists)
{
    if (!mayTry(L"copy", from) || !mayChange(L"copy", to))
        return FALSE;
    if (diskFull())
        return refuse(ERROR_DISK_FULL);
    return CopyFileW(hostPath(from).c_str(), hostPath(to).c_str(), failIfExists);
}

BOOL WINAPI simCreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES)
{
    return mayChange(L"create", path) && CreateDirectoryW(hostPath(path).c_str(), nullptr);
}

BOOL WINAPI simRemoveDirectoryW(LPCWSTR path)
{
    return mayChange(L"remove", path) && RemoveDirectoryW(hostPath(path).c_str());
}

DWORD WINAPI simGetFileAttributesW(LPCWSTR path)
{
    if (!mayTry(L"attributes", path))
        return INVALID_FILE_ATTRIBUTES;
    const DWORD attributes = GetFileAttributesW(hostPath(path).c_str());
    return attributes == INVALID_FILE_ATTRIBUTES ? attributes
                                                 : attributesOnPhone(attributes, isStorageCard(plainPath(path)));
}

BOOL WINAPI simSetFileAttributesW(LPCWSTR path, DWORD attributes)
{
    return mayTry(L"attributes", path) && SetFileAttributesW(hostPath(path).c_str(), attributes);
}

BOOL WINAPI simFindClose(HANDLE handle)
{
    Guard guard(handlesLock);
    const auto search = searches.find(reinterpret_cast<ULONG_PTR>(handle));
    if (search == searches.end())
        return refuse(ERROR_INVALID_HANDLE);
    const BOOL closed = FindClose(search->second.handle);
    searches.erase(search);
    return closed;
}

HANDLE WINAPI simFindFirstFileW(LPCWSTR pattern, PhoneFindData *data)
{
    if (!mayTry(L"find", pattern))
        return INVALID_HANDLE_VALUE;
    Search search{};
    const std::wstring plain = plainPath(pattern);
    search.pattern = pattern;
    search.inRoot = plain.rfind(L'\\') == 0;
    search.handle = FindFirstFileW(hostPath(pattern).c_str(), &search.found);
    if (search.handle == INVALID_HANDLE_VALUE)
        return INVALID_HANDLE_VALUE;
    if (!skipUnlisted(search)) {
        FindClose(search.handle);
        SetLastError(ERROR_NO_MORE_FILES);
        return INVALID_HANDLE_VALUE;
    }
    handOut(search, data);
    Guard guard(handlesLock);
    const ULONG_PTR number = nextSearch;
    nextSearch += 4;
    searches[number] = search;
    return reinterpret_cast<HANDLE>(number);
}

BOOL WINAPI simFindNextFileW(HANDLE handle, PhoneFindData *data)
{
    Guard guard(handlesLock);
    const auto found = searches.find(reinterpret_cast<ULONG_PTR>(handle));
    if (found == searches.end())
        return refuse(ERROR_INVALID_HANDLE);
    Search &search = found->second;
    if (fails(L"next", search.pattern.c_str()))
        return FALSE;
    if (!FindNextFileW(search.handle, &search.found) || !skipUnlisted(search))
        return refuse(ERROR_NO_MORE_FILES);
    handOut(search, data);
    return TRUE;
}

}   // extern "C"
