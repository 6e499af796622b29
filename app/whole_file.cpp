#include "whole_file.h"

#include "text.h"

// ---- Open files ---------------------------------------------------------------------------------------------------

FileHandle::~FileHandle()
{
    try {
        close();
    } catch (...) {
        // Nobody is left to tell.
    }
}

bool FileHandle::open(const wchar_t *path, DWORD access, DWORD share, DWORD disposition)
{
    file = CreateFileW(path, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file != INVALID_HANDLE_VALUE;
}

bool FileHandle::forReading(const wchar_t *path)
{
    return open(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
}

bool FileHandle::create(const wchar_t *path, DWORD share)
{
    return open(path, GENERIC_WRITE, share, CREATE_ALWAYS);
}

void FileHandle::close()
{
    if (file == INVALID_HANDLE_VALUE)
        return;
    const HANDLE closing = file;
    file = INVALID_HANDLE_VALUE;
    CloseHandle(closing);
}

// ---- Reading ------------------------------------------------------------------------------------------------------

// No file of the program comes near this; a larger one could not be held in a phone's memory anyway.
static constexpr DWORD fileSizeLimit = 0x10000000;

bool WholeFile::allocate(DWORD size)
{
    if (size > fileSizeLimit)   // also INVALID_FILE_SIZE
        return false;
    const size_t blockSize = (static_cast<size_t>(size) / sizeof(wchar_t) + 2) * sizeof(wchar_t);
    block = malloc(blockSize);
    if (!block)
        return false;
    memset(block, 0, blockSize);
    fileSize = size;
    return true;
}

bool WholeFile::read(const FileHandle &file)
{
    if (!allocate(GetFileSize(file.handle(), nullptr)))
        return false;
    if (!ReadFile(file.handle(), block, fileSize, &bytesRead, nullptr))
        bytesRead = 0;
    return true;
}

bool WholeFile::read(const wchar_t *path)
{
    FileHandle file;
    return file.forReading(path) && read(file);
}

// ---- Writing ------------------------------------------------------------------------------------------------------

namespace {

enum class Outcome {
    untouched,   // could not be created
    broken,      // was created, but not all of the content got there
    complete,
};

Outcome writeAnew(const wchar_t *path, const void *content, DWORD size)
{
    FileHandle file;
    if (!file.create(path))
        return Outcome::untouched;
    DWORD written = 0;
    const bool good = WriteFile(file.handle(), content, size, &written, nullptr) && written == size;
    return good ? Outcome::complete : Outcome::broken;
}

}   // namespace

bool replaceFile(const wchar_t *path, const void *content, DWORD size)
{
    wchar_t draft[300];
    formatText(draft, L"%s.tmp", path);
    if (writeAnew(draft, content, size) != Outcome::complete) {
        DeleteFileW(draft);
        return false;
    }
    const Outcome outcome = writeAnew(path, content, size);
    if (outcome == Outcome::broken) {
        DeleteFileW(path);
        return MoveFileW(draft, path);
    }
    DeleteFileW(draft);
    return outcome == Outcome::complete;
}
