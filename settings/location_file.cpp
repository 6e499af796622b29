#include "location_file.h"

#include "environment.h"
#include "list_text.h"
#include "text.h"
#include "whole_file.h"

namespace {

constexpr DWORD fileSizeLimit = 0x10000000;   // what is longer no phone could hold

bool openForReading(FileHandle &file)
{
    wchar_t path[MAX_PATH + 20];
    formatText(path, L"%s\\kv_Location.dat", appPath);
    return file.forReading(path);
}

wchar_t *readCharacters(HANDLE file, DWORD characters)
{
    HeapText content(new wchar_t[characters + 1]);
    DWORD bytesRead = 0;
    if (!ReadFile(file, content.text, characters * sizeof(wchar_t), &bytesRead, nullptr))
        return nullptr;
    content.text[bytesRead / sizeof(wchar_t)] = 0;
    return content.release();
}

}   // namespace

wchar_t *readLocationFile()
{
    if (!appPath)
        return nullptr;
    FileHandle file;
    if (!openForReading(file))
        return nullptr;
    const DWORD size = GetFileSize(file.handle(), nullptr);
    if (size >= fileSizeLimit)   // also INVALID_FILE_SIZE
        return nullptr;
    return readCharacters(file.handle(), size / sizeof(wchar_t));
}

void listLocations(void (*add)(void *context, const wchar_t *name), void *context)
{
    const HeapText content(readLocationFile());
    wchar_t *rest = content.text;
    for (wchar_t *record = nextListEntry(rest); record && record[0]; record = nextListEntry(rest)) {
        const wchar_t *at = wcschr(record, L'@');
        if (at && at[1])
            add(context, at + 1);
    }
}
