#include "folder_entries.h"

FolderEntries::FolderEntries(const wchar_t *pattern) : search(FindFirstFileW(pattern, &entry)) {}

FolderEntries::~FolderEntries()
{
    if (search != INVALID_HANDLE_VALUE)
        FindClose(search);
}

const WIN32_FIND_DATAW *FolderEntries::next()
{
    if (search == INVALID_HANDLE_VALUE)
        return nullptr;
    if (!isFirst && !FindNextFileW(search, &entry))
        return nullptr;
    isFirst = false;
    return &entry;
}
