// A file read whole into memory.
#pragma once

#include "phone.h"

class WholeFile {
public:
    WholeFile() = default;
    WholeFile(const WholeFile &) = delete;
    WholeFile &operator=(const WholeFile &) = delete;
    ~WholeFile();

    // Opens the file, which others may read meanwhile, and reads it; each to be called once. False when it cannot be opened,
    // has no size or one of more than 256 MB, or when there is no memory for it.
    bool open(const wchar_t *path);
    bool readContent();
    bool read(const wchar_t *path) { return open(path) && readContent(); }

    // After reading has answered true. Two zero characters of either width follow the content. Bytes that could not be read
    // are zero.
    void *content() const { return block; }
    size_t size() const { return fileSize; }
    bool isComplete() const { return bytesRead == fileSize; }

private:
    bool allocate();
    void close();

    HANDLE handle = INVALID_HANDLE_VALUE;
    void *block = nullptr;
    DWORD fileSize = 0;
    DWORD bytesRead = 0;
};
