// Files read and written whole.
#pragma once

#include "phone.h"

// An open file, closed at the end of its scope at the latest.
class FileHandle {
public:
    FileHandle() = default;
    FileHandle(const FileHandle &) = delete;
    FileHandle &operator=(const FileHandle &) = delete;
    ~FileHandle();   // a fault while closing goes nowhere

    // One of these is to be called, once. Others may read the file meanwhile unless another share is given. False when it
    // cannot be opened.
    bool forReading(const wchar_t *path);
    bool create(const wchar_t *path, DWORD share = FILE_SHARE_READ);   // whatever was there is gone
    void close();

    HANDLE handle() const { return file; }

private:
    bool open(const wchar_t *path, DWORD access, DWORD share, DWORD disposition);

    HANDLE file = INVALID_HANDLE_VALUE;
};

class WholeFile {
public:
    WholeFile() = default;
    WholeFile(const WholeFile &) = delete;
    WholeFile &operator=(const WholeFile &) = delete;
    ~WholeFile() { free(block); }

    // One of these is to be called, once. False when the file cannot be opened, has no size or one of more than 256 MB, or when
    // there is no memory for it.
    bool read(const wchar_t *path);
    bool read(const FileHandle &file);

    // After reading has answered true. Zeros for a character of either width follow the content. Bytes that could not be read
    // are zero as well.
    void *content() const { return block; }
    size_t size() const { return fileSize; }
    bool isComplete() const { return bytesRead == fileSize; }

private:
    bool allocate(DWORD size);

    void *block = nullptr;
    DWORD fileSize = 0;
    DWORD bytesRead = 0;
};

// Creates the file anew with this content. On a full or protected store the file stays as it was: a draft beside it, path
// with ".tmp" behind, has to succeed first. Should the file itself fail all the same, the draft takes its place. False
// when the new content is not there in the end. A path has at most 290 characters.
bool replaceFile(const wchar_t *path, const void *content, DWORD size);
