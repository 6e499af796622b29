#include "settings_export.h"

#include "exchange_file.h"
#include "message.h"
#include "registry.h"
#include "whole_file.h"

namespace {

constexpr int finishedText = 16;

constexpr DWORD nameCapacity = 260;   // characters of a value's or subkey's name, the terminator included
constexpr DWORD dataCapacity = 4200;  // bytes of a value

constexpr char lineEnd[] = "\r\n";
constexpr char blankLine[] = "\r\n\r\n";

// The file, written in blocks, and the buffers for what goes into it; too much for a phone's stack.
struct Export {
    FileHandle file;
    char pending[4096];
    DWORD used = 0;
    wchar_t name[nameCapacity];
    // With room for the terminator that a text may lack, and for half a character before it.
    wchar_t data[dataCapacity / sizeof(wchar_t) + 2];

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

// One character at a time, so that a text of any length passes through.
void Export::append(const wchar_t *text)
{
    for (; *text; ++text) {
        char bytes[8];
        const int count = WideCharToMultiByte(CP_ACP, 0, text, 1, bytes, sizeof bytes, nullptr, nullptr);
        if (count > 0)
            append(bytes, static_cast<DWORD>(count));
    }
}

void Export::append(int number)
{
    char digits[16];
    formatText(digits, "%d", number);
    append(digits);
}

// ---- One value ----------------------------------------------------------------------------------------------------------

// The number is read anew by its name, as four bytes.
int numberOf(HKEY key, const wchar_t *name)
{
    DWORD value = 0, size = sizeof value;
    RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE *>(&value), &size);
    return static_cast<int>(value);
}

// Data of any type but a number is written as the text it would be, up to its first zero character.
void writeValueLine(HKEY key, Export &out, const wchar_t *name, DWORD type, const wchar_t *data)
{
    out.append(name);
    out.append("=");
    out.append(static_cast<int>(type));
    out.append(",");
    if (type == REG_DWORD)
        out.append(numberOf(key, name));
    else
        out.append(data);
    out.append(lineEnd);
}

// ---- One key ------------------------------------------------------------------------------------------------------------

// Reads the value of that index into the buffers; false at the end, and at a value that does not fit them: what follows
// such a value is not exported.
bool readValue(HKEY key, DWORD index, Export &out, DWORD &type)
{
    DWORD nameSize = nameCapacity, dataSize = dataCapacity;
    memset(out.data, 0, sizeof out.data);
    return RegEnumValueW(key, index, out.name, &nameSize, nullptr, &type, reinterpret_cast<BYTE *>(out.data),
                         &dataSize) == ERROR_SUCCESS;
}

void writeKeyValues(HKEY key, Export &out)
{
    DWORD type;
    for (DWORD index = 0; readValue(key, index, out, type); ++index)
        if (_wcsicmp(out.name, installPathValue) != 0)
            writeValueLine(key, out, out.name, type, out.data);
}

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
        // What has been written so far stays, as after a write that failed.
    }
    delete out;
    return created;
}

}   // namespace

int exportSettings()
{
    wchar_t path[MAX_PATH];
    if (!exchangeFilePath(path) || !writeExchangeFile(path))
        return 0;
    showMessage(finishedText, MB_OK);
    return 1;
}
