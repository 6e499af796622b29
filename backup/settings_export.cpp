#include "settings_export.h"

#include "exchange_file.h"
#include "log.h"
#include "message.h"
#include "registry.h"
#include "whole_file.h"

namespace {

constexpr int finishedText = 16;

constexpr DWORD nameCapacity = 260;     // characters of a value's or subkey's name, the terminator included
constexpr DWORD dataCapacity = 4200;    // bytes of a value
constexpr DWORD longestCharacter = 4;   // bytes of a 16-bit character in any code page

constexpr char lineEnd[] = "\r\n";
constexpr char blankLine[] = "\r\n\r\n";

// The file, written in blocks, and the buffers for what goes into it; too much for a phone's stack.
struct Export {
    FileHandle file;
    char pending[longestCharacter * (dataCapacity / sizeof(wchar_t) + 2)];   // holds the longest text
    DWORD used = 0;
    wchar_t name[nameCapacity];
    // With room for the terminator that a text may lack, and for half a character before it.
    wchar_t data[dataCapacity / sizeof(wchar_t) + 2];
    DWORD dataSize;   // bytes

    void flush();
    void append(const char *bytes, DWORD size);
    void append(const char *text) { append(text, static_cast<DWORD>(strlen(text))); }
    void append(const wchar_t *text);
    void append(int number);
};

void Export::flush()
{
    DWORD written;
    if (used)
        WriteFile(file.handle(), pending, used, &written, nullptr);
    used = 0;
}

void Export::append(const char *bytes, DWORD size)
{
    if (used + size > sizeof pending)
        flush();
    memcpy(pending + used, bytes, size);
    used += size;
}

void Export::append(const wchar_t *text)
{
    const DWORD length = static_cast<DWORD>(wcslen(text));
    if (length * longestCharacter > sizeof pending - used)
        flush();
    const int count = WideCharToMultiByte(CP_ACP, 0, text, static_cast<int>(length), pending + used,
                                          static_cast<int>(sizeof pending - used), nullptr, nullptr);
    if (count > 0)
        used += static_cast<DWORD>(count);
}

void Export::append(int number)
{
    char digits[16];
    formatText(digits, "%d", number);
    append(digits);
}

// ---- One value ----------------------------------------------------------------------------------------------------------

// A number is what four bytes hold. One of another size is asked for again as four bytes: a longer one is not given then.
int numberOf(HKEY key, const Export &out)
{
    DWORD value = 0, size = sizeof value;
    if (out.dataSize == size)
        memcpy(&value, out.data, size);
    else
        RegQueryValueExW(key, out.name, nullptr, nullptr, reinterpret_cast<BYTE *>(&value), &size);
    return static_cast<int>(value);
}

// Data of any type but a number is written as the text it would be, up to its first zero character.
void writeValueLine(HKEY key, Export &out, DWORD type)
{
    out.append(out.name);
    out.append("=");
    out.append(static_cast<int>(type));
    out.append(",");
    if (type == REG_DWORD)
        out.append(numberOf(key, out));
    else
        out.append(out.data);
    out.append(lineEnd);
}

// ---- One key ------------------------------------------------------------------------------------------------------------

// Reads the value of that index into the buffers; false at the end, and at a value that does not fit them: what follows
// such a value is not exported.
bool readValue(HKEY key, DWORD index, Export &out, DWORD &type)
{
    DWORD nameSize = nameCapacity;
    out.dataSize = dataCapacity;
    BYTE *const data = reinterpret_cast<BYTE *>(out.data);
    if (RegEnumValueW(key, index, out.name, &nameSize, nullptr, &type, data, &out.dataSize) != ERROR_SUCCESS)
        return false;
    memset(data + out.dataSize, 0, sizeof(wchar_t) + out.dataSize % sizeof(wchar_t));   // the terminator it may lack
    return true;
}

void writeKeyValues(HKEY key, Export &out)
{
    DWORD type;
    for (DWORD index = 0; readValue(key, index, out, type); ++index)
        if (_wcsicmp(out.name, installPathValue) != 0)
            writeValueLine(key, out, type);
}

// A key without values leaves three line ends in a row, at which an import loses its place. Kept: the format has no other way to
// say it, and the program's keys always have values.
void writeSubkey(const RegistryKey &parent, Export &out, const wchar_t *name)
{
    RegistryKey key;
    if (key.open(parent.handle(), name) != ERROR_SUCCESS)
        return;
    out.append(lineEnd);
    out.append(programKey);
    out.append("\\");
    out.append(name);
    out.append(blankLine);
    writeKeyValues(key.handle(), out);
}

void writeSubkeys(const RegistryKey &key, Export &out)
{
    for (DWORD index = 0;; ++index) {
        wchar_t name[nameCapacity];
        DWORD size = nameCapacity;
        if (RegEnumKeyExW(key.handle(), index, name, &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            return;
        writeSubkey(key, out, name);
    }
}

// ---- The file -----------------------------------------------------------------------------------------------------------

// The file stays empty when the program has no key.
void writeAllKeys(Export &out)
{
    RegistryKey key;
    if (key.open(HKEY_CURRENT_USER, programKey) != ERROR_SUCCESS)
        return;
    out.append(programKey);
    out.append(blankLine);
    writeKeyValues(key.handle(), out);
    writeSubkeys(key, out);
    out.append(lineEnd);
    out.flush();
}

// The buffers come first: without memory for them the file that is there already stays as it is.
bool writeExchangeFile(const wchar_t *path)
{
    Export *out = nullptr;
    bool created = false;
    try {
        out = new Export;
        created = out->file.create(path, 0);
        if (created)
            writeAllKeys(*out);
    } catch (...) {
        writeLog("** Exception exportSettings **");   // what has been written so far stays, as after a write that failed
    }
    delete out;
    return created;
}

}   // namespace

int exportSettings()
{
    wchar_t path[exchangePathCapacity];
    if (!exchangeFilePath(path) || !writeExchangeFile(path))
        return 0;
    showMessage(finishedText, MB_OK);
    return 1;
}
