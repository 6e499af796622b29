// What a folder holds, entry by entry; nothing when it cannot be read.
//
//     for (FolderSearch search(L"\\Windows\\*"); search.atEntry(); search.next())
//         use(search.entry().cFileName);
#pragma once

#include "phone.h"

class FolderSearch {
public:
    explicit FolderSearch(const wchar_t *pattern) : handle(FindFirstFileW(pattern, &found))
    {
        isAtEntry = handle != INVALID_HANDLE_VALUE;
    }
    FolderSearch(const FolderSearch &) = delete;
    FolderSearch &operator=(const FolderSearch &) = delete;
    ~FolderSearch()
    {
        if (handle != INVALID_HANDLE_VALUE)
            FindClose(handle);
    }

    bool atEntry() const { return isAtEntry; }
    const WIN32_FIND_DATAW &entry() const { return found; }
    void next() { isAtEntry = FindNextFileW(handle, &found); }

private:
    WIN32_FIND_DATAW found;
    const HANDLE handle;
    bool isAtEntry;
};
