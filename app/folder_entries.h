// The entries of a folder.
#pragma once

#include "phone.h"

// Goes through what a pattern such as "\Windows\*" finds, in the folder's order. A folder that cannot be read has no
// entries.
class FolderEntries {
public:
    explicit FolderEntries(const wchar_t *pattern);
    ~FolderEntries();
    FolderEntries(const FolderEntries &) = delete;
    FolderEntries &operator=(const FolderEntries &) = delete;

    // The next one, valid until the next call; null after the last.
    const WIN32_FIND_DATAW *next();

private:
    HANDLE search;
    WIN32_FIND_DATAW entry;
    bool isFirst = true;
};
