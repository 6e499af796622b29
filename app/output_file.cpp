#include "output_file.h"

OutputFile::~OutputFile()
{
    try {
        close();
    } catch (...) {
        // Nobody is left to tell.
    }
}

bool OutputFile::create(const wchar_t *path)
{
    file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file != INVALID_HANDLE_VALUE;
}

bool OutputFile::write(const void *bytes, DWORD size)
{
    DWORD written = 0;
    return WriteFile(file, bytes, size, &written, nullptr) && written == size;
}

void OutputFile::close()
{
    if (file == INVALID_HANDLE_VALUE)
        return;
    const HANDLE closing = file;
    file = INVALID_HANDLE_VALUE;
    CloseHandle(closing);
}
