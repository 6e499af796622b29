// A file that is written anew.
#pragma once

#include "phone.h"

// Closed at the end of its scope at the latest. Nothing thrown while closing leaves the destructor.
class OutputFile {
public:
    OutputFile() = default;
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;
    ~OutputFile();

    // Replaces a file of that name; nobody else may open it meanwhile. To be called once.
    bool create(const wchar_t *path);

    // Whether all the bytes were written.
    bool write(const void *bytes, DWORD size);

    void close();

private:
    HANDLE file = INVALID_HANDLE_VALUE;
};
