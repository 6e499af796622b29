#include "file.h"

namespace {

// No file of this program comes near this; a larger one could not be held in a phone's memory anyway.
constexpr DWORD sizeLimit = 0x10000000;

}   // namespace

File::~File()
{
    try {
        close();
    } catch (...) {
        // Nobody is left to tell.
    }
}

bool File::openToRead(const wchar_t *path)
{
    close();
    file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    return isOpen();
}

bool File::create(const wchar_t *path)
{
    close();
    file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    return isOpen();
}

void File::close()
{
    if (!isOpen())
        return;
    const HANDLE closing = file;
    file = INVALID_HANDLE_VALUE;
    CloseHandle(closing);
}

bool File::write(const void *bytes, DWORD size)
{
    DWORD written = 0;
    return WriteFile(file, bytes, size, &written, nullptr) && written == size;
}

char *File::readWhole(size_t zeroBytes, DWORD *size)
{
    const DWORD bytes = GetFileSize(file, nullptr);
    if (bytes > sizeLimit)   // also INVALID_FILE_SIZE
        return nullptr;
    char *content = static_cast<char *>(malloc(bytes + zeroBytes));
    if (!content)
        return nullptr;
    memset(content, 0, bytes + zeroBytes);
    DWORD bytesRead = 0;
    ReadFile(file, content, bytes, &bytesRead, nullptr);
    if (size)
        *size = bytes;
    return content;
}
