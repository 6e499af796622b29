// Reads mutated files with the program's own readers, each block of memory ending at an inaccessible page, and compares what
// comes out with what a plain reader on strings says.
//
//   fuzz.exe import|options|language COUNT [SEED]
//
// Files are served from memory and the registry is not touched, so that many inputs take little time. The first input on which
// the two differ, or that ends the program, is written to fuzz-<kind>.bin in the current directory, and the answer is 1. Input
// N of a seed is the same in every run.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "control.h"
#include "environment.h"
#include "intercept.h"
#include "language.h"
#include "option_file.h"
#include "phone.h"
#include "settings_import.h"
#include "text.h"
#include "user_settings.h"

IMPORTED(CreateFileW);
IMPORTED(GetFileSize);
IMPORTED(ReadFile);
IMPORTED(CloseHandle);
IMPORTED(RegCreateKeyExW);
IMPORTED(RegOpenKeyExW);
IMPORTED(RegSetValueExW);
IMPORTED(RegCloseKey);

namespace {

using Bytes = std::string;

// ---- Chance -------------------------------------------------------------------------------------------------------

// xorshift: the same numbers everywhere.
struct Chance {
    unsigned long long state;

    unsigned next()
    {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return static_cast<unsigned>(state >> 32);
    }
    size_t below(size_t limit) { return limit ? next() % limit : 0; }
    bool oneIn(unsigned count) { return next() % count == 0; }
};

Chance chance;

// ---- Inputs -------------------------------------------------------------------------------------------------------

std::vector<Bytes> corpus;
std::vector<Bytes> tokens;
size_t unit = 1;   // bytes of a character

size_t place(const Bytes &text)
{
    return chance.below(text.size() / unit + 1) * unit;
}

// Mostly short; now and then most of the file.
size_t stretch()
{
    return chance.below(chance.oneIn(8) ? 4000 : 30) * unit;
}

void flip(Bytes &text)
{
    if (!text.empty())
        text[chance.below(text.size())] ^= static_cast<char>(1 << chance.below(8));
}

void replaceByte(Bytes &text)
{
    if (!text.empty())
        text[chance.below(text.size())] = static_cast<char>(chance.next());
}

void erase(Bytes &text)
{
    text.erase(place(text), stretch());
}

void duplicate(Bytes &text)
{
    const Bytes part = text.substr(place(text), stretch());
    text.insert(place(text), part);
}

void insertToken(Bytes &text)
{
    text.insert(place(text), tokens[chance.below(tokens.size())]);
}

void insertRun(Bytes &text)
{
    const Bytes token = tokens[chance.below(tokens.size())];
    Bytes run;
    for (size_t count = chance.below(600); count; --count)
        run += token.substr(0, unit);
    text.insert(place(text), run);
}

void truncate(Bytes &text)
{
    text.resize(chance.oneIn(4) ? chance.below(text.size() + 1) : place(text));
}

void splice(Bytes &text)
{
    const Bytes &other = corpus[chance.below(corpus.size())];
    text = text.substr(0, place(text)) + other.substr(place(other));
}

constexpr void (*mutations[])(Bytes &) = {flip,        replaceByte, erase, duplicate, insertToken,
                                          insertToken, insertRun,   erase, truncate,  splice};

Bytes makeInput()
{
    Bytes text = corpus[chance.below(corpus.size())];
    for (size_t count = chance.below(8); count; --count)
        mutations[chance.below(std::size(mutations))](text);
    return text;
}

// ---- Memory -------------------------------------------------------------------------------------------------------

// The blocks of this program's own strings come from the same functions as those of the code under test. Only the latter's
// are guarded: Guarded goes around a call of it, Own around what it calls back.
template <BOOL on> struct Guarding {
    Guarding() { SimGuardAllocations(on); }
    ~Guarding() { SimGuardAllocations(!on); }
};

using Guarded = Guarding<TRUE>;
using Own = Guarding<FALSE>;

// ---- The file -----------------------------------------------------------------------------------------------------

const HANDLE fileHandle = reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(0x1230));

Bytes fileContent;
size_t readable;   // bytes the file gives before reading fails
const wchar_t *fileName;
int openFiles;

HANDLE WINAPI openFile(LPCWSTR path, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE)
{
    const size_t length = wcslen(path), ending = wcslen(fileName);
    if (length < ending || wcscmp(path + length - ending, fileName) != 0)
        return INVALID_HANDLE_VALUE;
    ++openFiles;
    return fileHandle;
}

DWORD WINAPI fileSize(HANDLE, LPDWORD)
{
    return static_cast<DWORD>(fileContent.size());
}

BOOL WINAPI readFile(HANDLE, LPVOID buffer, DWORD size, LPDWORD read, LPOVERLAPPED)
{
    const size_t count = std::min<size_t>(size, readable);
    memcpy(buffer, fileContent.data(), count);
    *read = static_cast<DWORD>(count);
    return count == size;
}

BOOL WINAPI closeFile(HANDLE)
{
    --openFiles;
    return TRUE;
}

void serve(const Bytes &content)
{
    fileContent = content;
    readable = chance.oneIn(50) ? chance.below(content.size() + 1) : content.size();
}

// What the other readers have in their buffer: a file that cannot be read to its end counts as far as it came, for that is
// there; what is missing is zero.
Bytes bufferContent()
{
    Bytes content = fileContent;
    std::fill(content.begin() + static_cast<ptrdiff_t>(readable), content.end(), '\0');
    return content;
}

// ---- The registry -------------------------------------------------------------------------------------------------

// A key that was created (no name) or a value that was set in the one created last.
struct Change {
    bool isKey;
    std::wstring name;
    DWORD type;
    Bytes data;

    bool operator==(const Change &other) const
    {
        return isKey == other.isKey && name == other.name && type == other.type && data == other.data;
    }
};

const HKEY keyHandle = reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x4560));

std::vector<Change> changes;
int openKeys;

LONG WINAPI createKey(HKEY, LPCWSTR path, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY key, LPDWORD)
{
    const Own own;
    changes.push_back({true, path, 0, ""});
    ++openKeys;
    *key = keyHandle;
    return ERROR_SUCCESS;
}

LONG WINAPI setValue(HKEY, LPCWSTR name, DWORD, DWORD type, const BYTE *data, DWORD size)
{
    const Own own;
    changes.push_back({false, name, type, Bytes(reinterpret_cast<const char *>(data), size)});
    return ERROR_SUCCESS;
}

// The records find nothing to load.
LONG WINAPI openKey(HKEY, LPCWSTR, DWORD, REGSAM, PHKEY)
{
    return ERROR_FILE_NOT_FOUND;
}

LONG WINAPI closeKey(HKEY)
{
    --openKeys;
    return ERROR_SUCCESS;
}

// ---- Import -------------------------------------------------------------------------------------------------------

std::wstring wide(const Bytes &text)
{
    std::wstring result(text.size() + 1, 0);
    result.resize(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                                          &result[0], static_cast<int>(result.size()))));
    return result;
}

DWORD numberAt(const Bytes &text, size_t at)
{
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t'))
        ++at;
    const bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+'))
        ++at;
    DWORD number = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
        number = number * 10 + static_cast<DWORD>(text[at] - '0');
    return negative ? 0 - number : number;
}

bool sameName(const std::wstring &name, const wchar_t *other)
{
    return _wcsicmp(name.c_str(), other) == 0;
}

void expectLine(const Bytes &line, bool ended, std::vector<Change> &expected)
{
    const size_t equals = line.find('=');
    const size_t comma = equals == Bytes::npos ? equals : line.find(',', equals);
    if (comma == Bytes::npos)
        return;
    const std::wstring name = wide(line.substr(0, equals));
    const DWORD type = numberAt(line, equals + 1);
    if (ended && sameName(name, type == REG_SZ ? L"installdir" : L"bootcount"))
        return;
    if (type == REG_SZ) {
        const std::wstring text = wide(line.substr(comma + 1));
        expected.push_back(
            {false, name, type, Bytes(reinterpret_cast<const char *>(text.c_str()), text.size() * 2 + 2)});
        return;
    }
    const DWORD number = numberAt(line, comma + 1);
    expected.push_back({false, name, type, Bytes(reinterpret_cast<const char *>(&number), 4)});
}

void expectSection(Bytes text, std::vector<Change> &expected)
{
    for (size_t end; (end = text.find('\n')) != Bytes::npos; text.erase(0, end + 1)) {
        Bytes line = text.substr(0, end);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        expectLine(line, true, expected);
    }
    expectLine(text, false, expected);
}

// The content has zero bytes behind it, and text ends at the first one from the place it is looked at.
size_t blankLine(const Bytes &content, size_t from)
{
    const size_t end = content.find('\0', from);
    for (const char *mark : {"\r\n\r\n", "\n\n"}) {
        const size_t found = content.find(mark, from);
        if (found != Bytes::npos && found < end)
            return found;
    }
    return Bytes::npos;
}

std::vector<Change> expectedOfImport(const Bytes &file)
{
    std::vector<Change> expected;
    const Bytes content = file + Bytes(4, '\0');
    const auto behind = [&](size_t end) { return end + (content[end + 2] == '\r' ? 4 : 2); };
    for (size_t from = 0;;) {
        const size_t headerEnd = blankLine(content, from);
        if (headerEnd == Bytes::npos || headerEnd == from)
            return expected;
        expected.push_back({true, wide(content.substr(from, headerEnd - from)), 0, ""});
        const size_t body = behind(headerEnd), bodyEnd = blankLine(content, body);
        if (bodyEnd == Bytes::npos)
            return expected;
        expectSection(content.substr(body, bodyEnd - body), expected);
        from = behind(bodyEnd);
    }
}

bool importAgrees()
{
    {
        const Guarded guarded;
        importSettings(1);
    }
    // A file that cannot be read to its end is not imported.
    const bool isReadable = readable == fileContent.size();
    const bool same = changes == (isReadable ? expectedOfImport(fileContent) : std::vector<Change>{});
    std::vector<Change>().swap(changes);
    return same;
}

// ---- Option file --------------------------------------------------------------------------------------------------

Bytes lowerCase(Bytes text)
{
    for (char &each : text)
        if (each >= 'A' && each <= 'Z')
            each = static_cast<char>(each + 32);
    return text;
}

void expectRow(const OptionRow &row, const Bytes &text, OptionFlags &expected)
{
    const size_t found = text.find(Bytes("\r\n") + row.key);
    const size_t equals = found == Bytes::npos ? found : text.find('=', found);
    const size_t end = equals == Bytes::npos ? equals : text.find('\n', equals);
    if (end == Bytes::npos)
        return;
    const Bytes value = text.substr(equals + 1, end - equals - 1);
    const int number = atoi(value.c_str());
    DWORD &flag = expected.*row.flag;
    switch (row.kind) {
    case OptionKind::vibration:
        for (const auto &[word, setting] :
             {std::pair<const char *, DWORD>{"2long", 5}, {"1long", 4}, {"3short", 3}, {"1short", 1}})
            flag = value.find(word) != Bytes::npos ? setting : flag;
        break;
    case OptionKind::off:
        flag = number == 0 ? 1 : flag;
        break;
    case OptionKind::on:
        flag = number == 1 ? 1 : flag;
        break;
    case OptionKind::number:
        flag = static_cast<DWORD>(number);
        break;
    case OptionKind::delay:
        flag = number < 0 || number > 1000 ? 20 : static_cast<DWORD>(number);
        break;
    }
}

bool optionsAgree()
{
    OptionFlags expected = optionFlags;
    for (const OptionRow &row : optionRows)
        if (row.reset)
            expected.*row.flag = 0;
    const Bytes content = bufferContent();
    const Bytes text = lowerCase(content.substr(0, content.find('\0')));
    for (const OptionRow &row : optionRows)
        expectRow(row, text, expected);
    {
        const Guarded guarded;
        getUserConfigSettings();
    }
    return memcmp(&expected, &optionFlags, sizeof expected) == 0;
}

// ---- Language file ------------------------------------------------------------------------------------------------

std::wstring expectedText(const std::wstring &content, int id)
{
    const std::wstring key = L"\n" + std::to_wstring(id) + L"=";
    const size_t entry = content.find(key);
    const size_t end = entry == std::wstring::npos ? entry : content.find(L'\r', entry + 2);
    if (end == std::wstring::npos || end - entry >= 260)
        return L"";
    // An entry that ends before its equals sign has not been one: its key holds no carriage return.
    return content.substr(entry + key.size(), std::min<size_t>(end - entry - key.size(), 259));
}

bool languageAgrees()
{
    Bytes bytes = bufferContent();
    bytes.resize(bytes.size() / 2 * 2 + (bytes.size() % 2 ? 2 : 0));
    std::wstring content(reinterpret_cast<const wchar_t *>(bytes.data()), bytes.size() / 2);
    content = content.substr(0, content.find(L'\0'));
    userSettings.lang = 1;
    for (int count = 0; count < 4; ++count) {
        const int id = static_cast<int>(chance.below(530));
        wchar_t text[translationCapacity];
        memset(text, 0xCD, sizeof text);
        {
            const Guarded guarded;
            readLanguageFile(text, id);
        }
        if (text != expectedText(content, id))
            return false;
    }
    return true;
}

// ---- Kinds of inputs ----------------------------------------------------------------------------------------------

Bytes fileOf(const char *path)
{
    const std::string host = *path == '/' ? std::string("Z:") + path : path;
    std::ifstream stream(host, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// Whole files take their time: most inputs come from a piece that begins anywhere.
void addPieces(const Bytes &file, size_t size, int count)
{
    if (file.empty()) {
        fprintf(stderr, "fuzz: an input to begin with is missing\n");
        exit(2);
    }
    corpus.push_back(file);
    for (int piece = 0; piece < count; ++piece)
        corpus.push_back(file.substr(chance.below(file.size() / unit) * unit, size));
}

void beginImport()
{
    fileName = L"kv_Export.txt";
    const Bytes header = "Software\\Tessaryn\\Kelvane\r\n\r\n";
    addPieces(fileOf(TEST_DATA "/golden/kv_Export.txt"), 600, 20);
    for (size_t each = corpus.size(); each-- > 1;)
        corpus.push_back(header + corpus[each] + "\r\n\r\n" + header + corpus[1 + chance.below(each)] + "\r\n\r\n");
    for (int copy = 0; copy < 4; ++copy)   // the two names that are not taken over, but from a section's last line
        corpus.push_back(header + "installdir=1,a\r\nbootcount=4,1\r\nx=4,1\r\nInstallDir=1,b\r\n\r\n" + header +
                         "BOOTCOUNT=4,2\r\n\r\n");
    Bytes plain = corpus[3];
    plain.erase(std::remove(plain.begin(), plain.end(), '\r'), plain.end());
    corpus.push_back("Software\\Tessaryn\\Kelvane\n\n" + plain + "\n\n");
    tokens = {"\r\n\r\n",     "\n\n", "\n\n\r",      "\r\n", "\n",
              "\r",           "=",    ",",           "\xA7", Bytes(1, '\0'),
              Bytes(2, '\0'), "=1,",  "=4,",         "=3,",  "installdir=1,",
              "bootcount=4,", "-",    "99999999999", " ",    "Software\\Tessaryn\\Kelvane",
              "\xFF"};
}

void beginOptions()
{
    fileName = L"Kelvane_User.cfg";
    Bytes all = "; options\r\n";
    for (const OptionRow &row : optionRows)
        all += Bytes(row.key) + "=1\r\n";
    addPieces(all, 150, 20);
    corpus.push_back("x\r\nVibrateSetting=2long\r\nSignalAlarmDelay=1000\r\nHideUnreadItems=-3\r\n");
    tokens = {"\r\n",
              "\n",
              "\r",
              "=",
              "=0\r\n",
              "=1\r\n",
              "=1001\r\n",
              "=-1\r\n",
              "1short",
              "3short",
              "1long",
              "2long",
              "\r\nvibratesetting=",
              "\r\nSIGNALALARMDELAY=",
              "99999999999",
              Bytes(1, '\0'),
              "\xA7",
              "\xFF"};
}

Bytes bytesOf(const std::wstring &text)
{
    return Bytes(reinterpret_cast<const char *>(text.data()), text.size() * sizeof(wchar_t));
}

void beginLanguage()
{
    unit = sizeof(wchar_t);
    fileName = L"kvl_DE.txt";
    addPieces(fileOf(TEST_DATA "/../languages/kvl_DE.txt"), 2000, 60);
    for (const wchar_t *token :
         {L"\r\n", L"\n", L"\r", L"=", L"\n5=", L"\n52=", L"\n529=", L"\n530=", L"\xA7", L"\xFEFF", L"0", L"7"})
        tokens.push_back(bytesOf(token));
    tokens.push_back(Bytes(2, '\0'));
    tokens.push_back(bytesOf(std::wstring(259, L'x')));
    tokens.push_back(bytesOf(std::wstring(260, L'y')));
}

struct Kind {
    const char *name;
    void (*begin)();
    bool (*agrees)();
};

constexpr Kind kinds[] = {
    {"import", beginImport, importAgrees},
    {"options", beginOptions, optionsAgree},
    {"language", beginLanguage, languageAgrees},
};

// ---- The run ------------------------------------------------------------------------------------------------------

const Kind *running;
unsigned long number;

void reportInput(const char *what)
{
    const std::string path = std::string("fuzz-") + running->name + ".bin";
    std::ofstream(path, std::ios::binary | std::ios::trunc) << fileContent;
    fprintf(stderr, "fuzz %s: input %lu %s, kept in %s (%zu bytes, %zu readable)\n", running->name, number, what,
            path.c_str(), fileContent.size(), readable);
    fflush(stderr);
}

LONG WINAPI reportCrash(EXCEPTION_POINTERS *what)
{
    char text[80];
    snprintf(text, sizeof text, "ended the program (0x%08lX at %p)", what->ExceptionRecord->ExceptionCode,
             what->ExceptionRecord->ExceptionAddress);
    reportInput(text);
    ExitProcess(1);
}

int run(const Kind &kind, unsigned long count, unsigned long long seed)
{
    running = &kind;
    chance.state = seed * 0x9E3779B97F4A7C15 + 1;
    kind.begin();
    SetUnhandledExceptionFilter(reportCrash);
    appPath = duplicateText(L"\\Program Files\\Kelvane");
    const Intercept<__imp_CreateFileW> opening(openFile);
    const Intercept<__imp_GetFileSize> measuring(fileSize);
    const Intercept<__imp_ReadFile> reading(readFile);
    const Intercept<__imp_CloseHandle> closing(closeFile);
    const Intercept<__imp_RegCreateKeyExW> creatingKey(createKey);
    const Intercept<__imp_RegOpenKeyExW> openingKey(openKey);
    const Intercept<__imp_RegSetValueExW> setting(setValue);
    const Intercept<__imp_RegCloseKey> closingKey(closeKey);
    unsigned long long bytes = 0;
    for (number = 0; number < count; ++number) {
        serve(makeInput());
        bytes += fileContent.size();
        const int blocks = SimLiveAllocations();
        const char *complaint = nullptr;
        if (!kind.agrees())
            complaint = "is read differently";
        else if (openFiles || openKeys)
            complaint = "leaves a file or a key open";
        else if (SimLiveAllocations() != blocks)
            complaint = "leaves memory behind";
        if (complaint) {
            reportInput(complaint);
            return 1;
        }
    }
    printf("fuzz %s: %lu inputs, %llu KB, no complaint\n", kind.name, count, bytes / 1024);
    return 0;
}

}   // namespace

int main(int argumentCount, char **arguments)
{
    for (const Kind &kind : kinds)
        if (argumentCount >= 3 && strcmp(arguments[1], kind.name) == 0)
            return run(kind, strtoul(arguments[2], nullptr, 10),
                       argumentCount > 3 ? strtoull(arguments[3], nullptr, 10) : 1);
    fprintf(stderr, "usage: fuzz import|options|language COUNT [SEED]\n");
    return 2;
}
