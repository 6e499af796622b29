#include "language.h"

#include "default_texts.h"
#include "environment.h"
#include "text.h"
#include "user_settings.h"
#include "whole_file.h"

namespace {

// Translators name their files by these codes; lang - 1 is the index.
constexpr const wchar_t *languageCodes[] = {L"DE", L"IT", L"FR", L"CZ", L"HB", L"RU", L"SP",  L"PT",  L"SW",
                                            L"NO", L"HL", L"DN", L"PL", L"GR", L"HU", L"CHS", L"CHT", L"JP"};

// An entry, from its line feed up to its carriage return, must be shorter than this many bytes.
constexpr size_t entryLimit = 520;
constexpr size_t longestText = 259;

// The last text taken from a file.
wchar_t translation[translationCapacity];

// Null when the index stands for no file.
const wchar_t *languageCode(int lang)
{
    if (lang < 1 || lang > static_cast<int>(countOf(languageCodes)))
        return nullptr;
    return languageCodes[lang - 1];
}

// An entry is known by the line feed in front of it, so the first line of a file never is one.
void copyEntry(const wchar_t *content, int id, wchar_t (&buffer)[translationCapacity])
{
    wchar_t key[20];
    formatText(key, L"\n%d=", id);
    const wchar_t *entry = wcsstr(content, key);
    if (!entry)
        return;
    const wchar_t *end = wcschr(entry + 2, L'\r');   // past the line feed and the first digit
    if (!end || (end - entry) * sizeof(wchar_t) >= entryLimit)
        return;
    const wchar_t *text = entry + wcslen(key);
    const size_t length = end - text;
    const size_t copied = length < longestText ? length : longestText;
    memcpy(buffer, text, copied * sizeof(wchar_t));
    buffer[copied] = 0;
}

// Opens, reads and frees the file at every call, without a cache: a translator can replace it while the program runs
// and see the new texts on the next page.
void readEntry(const wchar_t *code, int id, wchar_t (&buffer)[translationCapacity])
{
    wchar_t path[MAX_PATH];
    formatText(path, L"%s\\kvl_%s.txt", appPath, code);
    WholeFile file;
    if (file.read(path))
        copyEntry(static_cast<const wchar_t *>(file.content()), id, buffer);
}

const wchar_t *deliver(const wchar_t *text, HWND control)
{
    if (!control)
        return text;
    SendMessageW(control, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
    return nullptr;
}

}   // namespace

const wchar_t *getLanguageText(int id, HWND control)
{
    if (id < 0 || id > textCount)
        return emptyText;
    memset(translation, 0, sizeof translation);
    if (static_cast<int>(userSettings.lang) > 0)
        readLanguageFile(translation, id);
    if (translation[0])
        return deliver(translation, control);
    // One past the last row passes the range test above; it is an empty text as well.
    return deliver(id < textCount ? defaultTexts[id] : emptyText, control);
}

void readLanguageFile(wchar_t (&buffer)[translationCapacity], int id)
{
    buffer[0] = 0;
    const wchar_t *code = languageCode(static_cast<int>(userSettings.lang));
    if (!appPath || !code)
        return;
    try {
        readEntry(code, id, buffer);
    } catch (...) {
        // No text, as when the file cannot be read. Dialog procedures ask for texts all the time, and no exception may
        // leave them; a line in the log for every label would bury the others.
    }
}
