#include "whole_file.h"

namespace {

// No file of the program comes near this; a larger one could not be held in a phone's memory anyway.
constexpr DWORD fileSizeLimit = 0x10000000;

}   // namespace

WholeFile::~WholeFile()
{
    free(block);
    try {
        close();
    } catch (...) {
        // Nobody is left to tell.
    }
}

void WholeFile::close()
{
    if (handle == INVALID_HANDLE_VALUE)
        return;
    const HANDLE closing = handle;
    handle = INVALID_HANDLE_VALUE;
    CloseHandle(closing);
}

bool WholeFile::allocate()
{
    fileSize = GetFileSize(handle, nullptr);
    if (fileSize > fileSizeLimit)   // also INVALID_FILE_SIZE
        return false;
    const size_t blockSize = (static_cast<size_t>(fileSize) / sizeof(wchar_t) + 2) * sizeof(wchar_t);
    block = malloc(blockSize);
    if (block)
        memset(block, 0, blockSize);
    return block != nullptr;
}

bool WholeFile::open(const wchar_t *path)
{
    handle = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    return handle != INVALID_HANDLE_VALUE;
}

bool WholeFile::readContent()
{
    if (!allocate())
        return false;
    if (!ReadFile(handle, block, fileSize, &bytesRead, nullptr))
        bytesRead = 0;
    close();
    return true;
}
