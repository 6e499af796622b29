// Files in the few forms this program needs.
#pragma once

#include "phone.h"

// An open file, closed at the end of its scope at the latest. Nothing thrown while closing leaves the destructor.
class File {
public:
    File() = default;
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    ~File();

    // Both answer whether the file is open now; a file already open is closed first. Others may read a file that is
    // open for reading; one that is created replaces a file of that name and belongs to nobody else meanwhile.
    bool openToRead(const wchar_t *path);
    bool create(const wchar_t *path);
    void close();

    bool isOpen() const { return file != INVALID_HANDLE_VALUE; }

    // Whether all the bytes were written.
    bool write(const void *bytes, DWORD size);

    // The whole content in a new block, with zeroBytes zero bytes behind it; size (if asked for) is the content's alone.
    // Where reading ends early, zeros stand for the rest. Null when there is no memory for it or the size is not to be
    // had. The caller frees the block with free().
    char *readWhole(size_t zeroBytes, DWORD *size = nullptr);

private:
    HANDLE file = INVALID_HANDLE_VALUE;
};
