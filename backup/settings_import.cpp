#include "settings_import.h"

#include "exchange_file.h"
#include "extra_settings.h"
#include "log.h"
#include "message.h"
#include "registry.h"
#include "user_settings.h"
#include "whole_file.h"

namespace {

constexpr int finishedText = 17;
constexpr int questionText = 59;
constexpr int missingText = 98;

// The engine's count of this phone's starts is exported but not taken over.
constexpr wchar_t startCountValue[] = L"bootcount";

// ---- Text ---------------------------------------------------------------------------------------------------------------

// 8-bit text as wide text, in a block that grows with what it is given.
class WideText {
public:
    WideText() = default;
    WideText(const WideText &) = delete;
    WideText &operator=(const WideText &) = delete;
    ~WideText() { delete[] text; }

    // The converted text, valid until the next call.
    const wchar_t *convert(const char *from, size_t length);

private:
    wchar_t *text = nullptr;
    size_t capacity = 0;
};

const wchar_t *WideText::convert(const char *from, size_t length)
{
    if (length >= capacity) {
        delete[] text;
        text = nullptr;
        capacity = 0;
        text = new wchar_t[length + 256];
        capacity = length + 256;
    }
    // No 8-bit code page has more characters than bytes.
    const int count = MultiByteToWideChar(CP_ACP, 0, from, static_cast<int>(length), text, static_cast<int>(capacity - 1));
    text[count > 0 ? count : 0] = 0;
    return text;
}

// The decimal number a text begins with, blanks and a sign allowed; 0 without one. What is too large for 32 bits loses its
// upper bits, so that a number stored as -1 may also be written as 4294967295.
DWORD leadingNumber(const char *text)
{
    while (*text == ' ' || *text == '\t')
        ++text;
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+')
        ++text;
    DWORD number = 0;
    for (; *text >= '0' && *text <= '9'; ++text)
        number = number * 10 + static_cast<DWORD>(*text - '0');
    return negative ? 0 - number : number;
}

// The places in a text where blank lines begin, each found once however often it is asked for: a file of millions of
// sections takes one pass, not one per section.
class BlankLines {
public:
    // The next line end of the desktop's and the phone's kind with a blank line behind it; without one in all that is left,
    // the next of the plain kind; null without either.
    char *next(char *from)
    {
        char *const found = desktop.next(from);
        return found ? found : plain.next(from);
    }

private:
    struct Finder {
        const char *mark;
        char *found = nullptr;   // the first at or behind the place last asked for
        bool exhausted = false;

        char *next(char *from)
        {
            if (!exhausted && (!found || found < from)) {
                found = strstr(from, mark);
                exhausted = !found;
            }
            return exhausted ? nullptr : found;
        }
    };

    Finder desktop = {"\r\n\r\n"};
    Finder plain = {"\n\n"};
};

// Where the text goes on behind a blank line of either kind.
char *behindBlankLine(char *lineEnd)
{
    return lineEnd[2] == '\r' ? lineEnd + 4 : lineEnd + 2;
}

// ---- Values -------------------------------------------------------------------------------------------------------------

// What converts the texts of a file.
struct Converters {
    WideText header;
    WideText name;
    WideText value;
};

// name=type,value; anything else is not a value. ended: there is a line end behind it. The last line of a section has
// none, and the two values that are not to be taken over are only looked for in lines that have: kept, because the engine's
// files have always been read so.
void importLine(const RegistryKey &key, Converters &converters, const char *line, bool ended)
{
    const char *const equals = strchr(line, '=');
    const char *const comma = equals ? strchr(equals + 1, ',') : nullptr;
    if (!comma)
        return;
    const wchar_t *const name = converters.name.convert(line, equals - line);
    const DWORD type = leadingNumber(equals + 1);
    const char *const value = comma + 1;
    const wchar_t *const skipped = type == REG_SZ ? installPathValue : startCountValue;
    if (ended && _wcsicmp(name, skipped) == 0)
        return;
    if (type == REG_SZ) {
        writeText(key, name, converters.value.convert(value, strlen(value)));
        return;
    }
    const DWORD number = leadingNumber(value);
    RegSetValueExW(key.handle(), name, 0, type, reinterpret_cast<const BYTE *>(&number), sizeof number);
}

// text is cut into its lines.
void importSection(const RegistryKey &key, Converters &converters, char *text)
{
    while (char *const lineEnd = strchr(text, '\n')) {
        *lineEnd = 0;
        if (lineEnd > text && lineEnd[-1] == '\r')
            lineEnd[-1] = 0;
        importLine(key, converters, text, true);
        text = lineEnd + 1;
    }
    importLine(key, converters, text, false);
}

// ---- Sections -----------------------------------------------------------------------------------------------------------

// A section is a header, which names a key, a blank line, the key's values, a blank line. The path is taken as it stands: it
// may name a key outside the program's own. Answers whether there was one, and then moves rest behind it. The last
// section of a file needs its blank line as well.
bool importNextSection(char *&rest, BlankLines &blankLines, Converters &converters)
{
    char *const headerEnd = blankLines.next(rest);
    if (!headerEnd || headerEnd == rest)
        return false;
    RegistryKey key;
    const wchar_t *const path = converters.header.convert(rest, headerEnd - rest);
    const bool opened = key.create(HKEY_CURRENT_USER, path) == ERROR_SUCCESS;
    char *const body = behindBlankLine(headerEnd);
    char *const bodyEnd = blankLines.next(body);
    if (!bodyEnd)
        return false;
    rest = behindBlankLine(bodyEnd);
    *bodyEnd = 0;
    if (opened)
        importSection(key, converters, body);
    return true;
}

// content ends with two zero bytes, which is as far as a blank line at its very end can lead.
void importContent(char *content)
{
    BlankLines blankLines;
    Converters converters;
    while (importNextSection(content, blankLines, converters)) {
    }
}

// ---- The file -----------------------------------------------------------------------------------------------------------

// A file that cannot be read to its end is not imported at all. What was imported before an exception stays, and is loaded.
bool importFile(const FileHandle &file)
{
    WholeFile whole;
    if (!whole.read(file) || !whole.isComplete())
        return false;
    bool done = true;
    try {
        importContent(static_cast<char *>(whole.content()));
    } catch (...) {
        writeLog("** Exception importSettings **");
        done = false;
    }
    getUserSettings();
    getExtraSettings();
    return done;
}

bool userAgrees()
{
    return showMessage(questionText, MB_YESNO | MB_ICONEXCLAMATION) == IDYES;
}

int importFrom(const FileHandle &file, bool quiet)
{
    if (!quiet && !userAgrees())
        return 0;
    if (!importFile(file))
        return 0;
    if (!quiet)
        showMessage(finishedText, MB_OK);
    return 1;
}

int importNamed(const wchar_t *path, bool quiet)
{
    FileHandle file;
    if (file.forReading(path))
        return importFrom(file, quiet);
    if (!quiet)
        showMessage(missingText, MB_ICONHAND);
    return 0;
}

}   // namespace

int importSettings(int quiet)
{
    wchar_t path[exchangePathCapacity];
    if (!exchangeFilePath(path))
        return 0;
    writeLog("Import registry");
    try {
        return importNamed(path, quiet != 0);
    } catch (...) {
        writeLog("** Exception importSettings **");
        return 0;
    }
}
