#include "language.h"

#include <climits>
#include <iterator>
#include <map>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "shell_values.h"
#include "test_phone.h"
#include "text.h"
#include "user_settings.h"

namespace {

constexpr int identifierCount = 530;
constexpr int identifiersWithText = 500;

constexpr int english = 0;
constexpr int german = 1;

constexpr wchar_t germanFile[] = L"\\Program Files\\Kelvane\\kvl_DE.txt";

using Texts = std::map<int, std::wstring>;

// ---- The phone --------------------------------------------------------------------------------------------------------

// A phone on which the program is installed and set to a language.
struct LanguagePhone : TestPhone {
    explicit LanguagePhone(int lang)
    {
        appPath = duplicateText(installFolder);
        userSettings.lang = static_cast<DWORD>(lang);
    }
    ~LanguagePhone()
    {
        freeText(appPath);
        userSettings.lang = english;
    }

    void writeGermanFile(const std::wstring &content) const { writeFile(germanFile, utf16(content)); }

    static std::string utf16(const std::wstring &text)
    {
        return std::string(reinterpret_cast<const char *>(text.data()), text.size() * sizeof(wchar_t));
    }
};

std::string textOf(int id)
{
    return narrow(getLanguageText(id, nullptr));
}

// What identifier id reads as when this is the whole German file.
std::string textFrom(const LanguagePhone &phone, const std::wstring &content, int id)
{
    phone.writeGermanFile(content);
    return textOf(id);
}

void setLanguage(int lang)
{
    userSettings.lang = static_cast<DWORD>(lang);
}

// ---- Expected texts ---------------------------------------------------------------------------------------------------

// The number a line begins with.
int numberOf(const std::wstring &line)
{
    REQUIRE(!line.empty());
    REQUIRE(line[0] >= L'0');
    REQUIRE(line[0] <= L'9');
    return static_cast<int>(_wtol(line.c_str()));
}

std::string unescaped(std::string text)
{
    const std::pair<const char *, const char *> escapes[] = {{"\\n", "\n"}, {"\\t", "\t"}};
    for (const auto &escape : escapes)
        for (size_t at; (at = text.find(escape.first)) != std::string::npos;)
            text.replace(at, 2, escape.second);
    return text;
}

// The English texts as written down in language_texts.txt: a line '12 "Custom Mute"' for each.
Texts englishTexts()
{
    Texts texts;
    for (const std::string &line : linesOf(testData("language_texts.txt"))) {
        const size_t first = line.find('"'), last = line.rfind('"');
        if (line.empty() || line[0] == '#' || first == last)
            continue;
        texts[numberOf(widen(line))] = widen(unescaped(line.substr(first + 1, last - first - 1)));
    }
    REQUIRE(texts.size() == identifiersWithText);
    return texts;
}

std::vector<std::wstring> linesOf(const std::wstring &text)
{
    std::vector<std::wstring> lines;
    for (size_t start = 0, end; (end = text.find(L"\r\n", start)) != std::wstring::npos; start = end + 2)
        lines.push_back(text.substr(start, end - start));
    return lines;
}

// A language file taken apart line by line: unlike the program, which searches the whole of it for every text.
Texts parsed(const std::string &bytes)
{
    const std::wstring text(reinterpret_cast<const wchar_t *>(bytes.data()), bytes.size() / sizeof(wchar_t));
    std::vector<std::wstring> lines = linesOf(text);
    Texts texts;
    for (size_t i = 1; i < lines.size(); ++i) {
        const size_t equals = lines[i].find(L'=');
        REQUIRE(equals != std::wstring::npos);
        texts.emplace(numberOf(lines[i]), lines[i].substr(equals + 1));
    }
    return texts;
}

// ---- A control that remembers -----------------------------------------------------------------------------------------

// The texts a control has been sent since the last look.
std::vector<std::string> textsSent;

LRESULT CALLBACK recordTexts(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_SETTEXT) {
        CHECK(wParam == 0);
        textsSent.push_back(narrow(reinterpret_cast<const wchar_t *>(lParam)));
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

class RecordingControl {
public:
    explicit RecordingControl(HWND parent = nullptr, int id = 0)
    {
        window = CreateWindowExW(0, L"Static", L"before", parent ? WS_CHILD : WS_POPUP, 0, 0, 10, 10, parent,
                                 reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), appInstance, nullptr);
        REQUIRE(window);
        SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(recordTexts));
        textsSent.clear();
    }
    ~RecordingControl() { DestroyWindow(window); }
    RecordingControl(const RecordingControl &) = delete;
    RecordingControl &operator=(const RecordingControl &) = delete;

    HWND handle() const { return window; }
    std::string text() const
    {
        wchar_t buffer[512] = L"";
        GetWindowTextW(window, buffer, 512);
        return narrow(buffer);
    }

private:
    HWND window;
};

// ---- What a call must not leave behind --------------------------------------------------------------------------------

struct Holdings {
    int files = SimLiveFiles();
    int allocations = SimLiveAllocations();
    bool operator==(const Holdings &other) const { return files == other.files && allocations == other.allocations; }
};

}   // namespace

// ---- English ----------------------------------------------------------------------------------------------------------

TEST_CASE("every identifier has its English text, and those without one the empty text")
{
    LanguagePhone phone(english);
    const Texts expected = englishTexts();
    for (int id = 0; id < identifierCount; ++id) {
        INFO("identifier " << id);
        const auto row = expected.find(id);
        CHECK(textOf(id) == (row != expected.end() ? narrow(row->second) : ""));
    }
}

TEST_CASE("texts that are easily spoiled keep their blanks, line breaks and tabs")
{
    LanguagePhone phone(english);
    CHECK(textOf(0) == "OK");
    CHECK(textOf(35) == "Automatically answer phone after 'x' rings");
    CHECK(textOf(61) == "<vibrate>");
    CHECK(textOf(215) == "Calculation\t(In/Out)");
    CHECK(textOf(439) == "Do NOT forward to these numbers\nInsert full or partial number.");
    CHECK(textOf(473) == " conditional");
}

TEST_CASE("all identifiers without a text share one empty text")
{
    LanguagePhone phone(english);
    const int withoutText[] = {18, 20,  21,  22,  23,  24,  25,  29,  33,  45,  47,  48,  49,  50,  51,
                               88, 100, 125, 154, 194, 195, 252, 253, 315, 316, 393, 399, 400, 416, 417};
    REQUIRE(std::size(withoutText) == identifierCount - identifiersWithText);
    const wchar_t *shared = getLanguageText(-1, nullptr);
    CHECK(shared[0] == 0);
    for (int id : withoutText) {
        INFO("identifier " << id);
        CHECK(getLanguageText(id, nullptr) == shared);
    }
}

TEST_CASE("English texts stay where they are, so two can be used at once")
{
    LanguagePhone phone(english);
    const wchar_t *mute = getLanguageText(12, nullptr);
    CHECK(textOf(13) == "Mute");
    CHECK(narrow(mute) == "Custom Mute");
    CHECK(getLanguageText(12, nullptr) == mute);
}

TEST_CASE("a control is given the text and nothing is returned")
{
    LanguagePhone phone(english);
    RecordingControl control;
    CHECK(getLanguageText(12, control.handle()) == nullptr);
    CHECK(textsSent == std::vector<std::string>{"Custom Mute"});
    CHECK(control.text() == "Custom Mute");

    setLanguage(german);
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    CHECK(getLanguageText(12, control.handle()) == nullptr);
    CHECK(getLanguageText(13, control.handle()) == nullptr);   // not in the file
    CHECK(getLanguageText(18, control.handle()) == nullptr);   // no text at all
    CHECK(textsSent == std::vector<std::string>{"Custom Mute", "Stumm", "Mute", ""});
    CHECK(control.text() == "");
}

TEST_CASE("an identifier out of range yields the empty text and leaves the control alone")
{
    const int outOfRange[] = {-1, -12, 531, 1000, 65536 + 12, INT_MAX, INT_MIN};
    for (int lang : {english, german}) {
        LanguagePhone phone(lang);
        phone.writeGermanFile(L"\r\n-1=minus\r\n531=more\r\n1000=most\r\n");
        RecordingControl control;
        for (int id : outOfRange) {
            INFO("language " << lang << ", identifier " << id);
            CHECK(textOf(id) == "");
            const wchar_t *answer = getLanguageText(id, control.handle());
            REQUIRE(answer);
            CHECK(answer[0] == 0);
        }
        CHECK(textsSent.empty());
        CHECK(control.text() == "before");
    }
}

TEST_CASE("the last identifier has a text, and the one after it empties a control")
{
    for (int lang : {english, german}) {
        LanguagePhone phone(lang);
        phone.writeGermanFile(L"\r\n");
        RecordingControl control;
        CHECK(textOf(529) == "Reset count");
        CHECK(textOf(530) == "");
        CHECK(getLanguageText(529, control.handle()) == nullptr);
        CHECK(getLanguageText(530, control.handle()) == nullptr);
        CHECK(textsSent == std::vector<std::string>{"Reset count", ""});
    }
}

TEST_CASE("a table of labels is written to the controls of a dialog")
{
    LanguagePhone phone(english);
    const HWND dialog =
        CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 100, 100, nullptr, nullptr, appInstance, nullptr);
    REQUIRE(dialog);
    {
        RecordingControl first(dialog, 1001), second(dialog, 1002), third(dialog, 1003);
        const ControlText labels[] = {{1001, 0}, {1003, 1}};
        setControlTexts(dialog, labels);
        CHECK(first.text() == "OK");
        CHECK(second.text() == "before");
        CHECK(third.text() == "Cancel");
    }
    DestroyWindow(dialog);
}

// ---- Which file -------------------------------------------------------------------------------------------------------

namespace {

struct LanguageRow {
    int lang;
    const wchar_t *file;
};

constexpr LanguageRow languageRows[] = {
    {1, L"kvl_DE.txt"},   {2, L"kvl_IT.txt"},   {3, L"kvl_FR.txt"},  {4, L"kvl_CZ.txt"},  {5, L"kvl_HB.txt"},
    {6, L"kvl_RU.txt"},   {7, L"kvl_SP.txt"},   {8, L"kvl_PT.txt"},  {9, L"kvl_SW.txt"},  {10, L"kvl_NO.txt"},
    {11, L"kvl_HL.txt"},  {12, L"kvl_DN.txt"},  {13, L"kvl_PL.txt"}, {14, L"kvl_GR.txt"}, {15, L"kvl_HU.txt"},
    {16, L"kvl_CHS.txt"}, {17, L"kvl_CHT.txt"}, {18, L"kvl_JP.txt"},
};

std::wstring inInstallFolder(const wchar_t *file)
{
    return std::wstring(installFolder) + L"\\" + file;
}

}   // namespace

TEST_CASE("every language reads its own file")
{
    LanguagePhone phone(english);
    for (const LanguageRow &row : languageRows)
        phone.writeFile(inInstallFolder(row.file).c_str(),
                        LanguagePhone::utf16(std::wstring(L"title\r\n12=") + row.file + L"\r\n"));
    for (const LanguageRow &row : languageRows) {
        INFO("language " << row.lang);
        setLanguage(row.lang);
        CHECK(textOf(12) == narrow(row.file));
    }
}

TEST_CASE("a language whose file is missing takes no other file")
{
    LanguagePhone phone(english);
    for (const LanguageRow &row : languageRows)
        phone.writeFile(inInstallFolder(row.file).c_str(), LanguagePhone::utf16(L"title\r\n12=another\r\n"));
    for (const LanguageRow &row : languageRows) {
        INFO("language " << row.lang);
        setLanguage(row.lang);
        CHECK(textOf(12) == "another");
        phone.removeFile(inInstallFolder(row.file).c_str());
        CHECK(textOf(12) == "Custom Mute");
        phone.writeFile(inInstallFolder(row.file).c_str(), LanguagePhone::utf16(L"title\r\n12=another\r\n"));
    }
}

TEST_CASE("English never opens a file")
{
    LanguagePhone phone(english);
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    SimOrderFault(L"file", 1, L"open:*", FALSE);
    for (int lang : {english, -1, INT_MIN}) {
        setLanguage(lang);
        CHECK(textOf(12) == "Custom Mute");
    }
    // The ordered failure is still waiting for its first file.
    setLanguage(german);
    CHECK(textOf(12) == "Custom Mute");
    CHECK(textOf(12) == "Stumm");
}

TEST_CASE("a language index beyond the last language is English")
{
    LanguagePhone phone(english);
    for (const wchar_t *file : {L"kvl_.txt", L"kvl_(null).txt", L"kvl_JP.txt", L"kvl_DE.txt"})
        phone.writeFile(inInstallFolder(file).c_str(), LanguagePhone::utf16(L"title\r\n12=wrong\r\n"));
    const Holdings before;
    for (int lang : {19, 20, 255, 256 + german, 65536 + german, INT_MAX}) {
        INFO("language " << lang);
        setLanguage(lang);
        CHECK(textOf(12) == "Custom Mute");
    }
    CHECK(Holdings() == before);
}

TEST_CASE("another language takes effect with the next call")
{
    LanguagePhone phone(german);
    phone.writeLanguageFile(L"DE", {L"Deutsch", L"12=Stumm"});
    phone.writeLanguageFile(L"IT", {L"Italiano", L"12=Muto"});
    CHECK(textOf(12) == "Stumm");
    setLanguage(2);
    CHECK(textOf(12) == "Muto");
    setLanguage(english);
    CHECK(textOf(12) == "Custom Mute");
}

TEST_CASE("without an install path there is no file to open")
{
    LanguagePhone phone(german);
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    phone.writeFile(L"\\kvl_DE.txt", LanguagePhone::utf16(L"\r\n12=root\r\n"));
    freeText(appPath);
    SimOrderFault(L"file", 1, L"open:*", FALSE);
    CHECK(textOf(12) == "Custom Mute");
    CHECK(textOf(13) == "Mute");
    appPath = duplicateText(installFolder);
    CHECK(textOf(12) == "Custom Mute");   // the failure, still waiting
    CHECK(textOf(12) == "Stumm");
}

TEST_CASE("the file is looked for in the install directory, wherever that is")
{
    LanguagePhone phone(german);
    phone.writeFile(L"\\Storage Card\\Kelvane\\kvl_DE.txt", LanguagePhone::utf16(L"\r\n12=Karte\r\n"));
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    freeText(appPath);
    appPath = duplicateText(L"\\Storage Card\\Kelvane");
    CHECK(textOf(12) == "Karte");
}

TEST_CASE("an install path as long as the registry allows is only a missing file")
{
    LanguagePhone phone(german);
    for (size_t length : {248, 249, 250, 258, 259}) {
        INFO("length " << length);
        freeText(appPath);
        appPath = duplicateText((L"\\" + std::wstring(length - 1, L'x')).c_str());
        CHECK(textOf(12) == "Custom Mute");
    }
}

// ---- The reader's limits ----------------------------------------------------------------------------------------------

TEST_CASE("an entry of 518 bytes from line feed to carriage return is read whole, one of 520 is missing")
{
    LanguagePhone phone(german);
    struct Row {
        int id;
        const wchar_t *key;
        const char *englishText;
    };
    const Row rows[] = {{1, L"\n1=", "Cancel"}, {12, L"\n12=", "Custom Mute"}, {112, L"\n112=", "Ring"}};
    for (const Row &row : rows) {
        const size_t keyLength = wcslen(row.key);
        for (size_t distance : {257, 258, 259, 260, 261, 300, 1000}) {   // characters of two bytes
            INFO("identifier " << row.id << ", distance " << distance);
            const std::wstring text = L"<" + std::wstring(distance - keyLength - 2, L'x') + L">";
            const std::wstring content = L"title\r" + std::wstring(row.key) + text + L"\r\n13=after\r\n";
            CHECK(textFrom(phone, content, row.id) == (distance < 260 ? narrow(text) : row.englishText));
        }
    }
}

TEST_CASE("an entry that is too long hides neither the one before nor the one after it")
{
    LanguagePhone phone(german);
    const std::wstring content = L"title\r\n1=before\r\n12=" + std::wstring(400, L'x') + L"\r\n13=after\r\n";
    CHECK(textFrom(phone, content, 1) == "before");
    CHECK(textFrom(phone, content, 12) == "Custom Mute");
    CHECK(textFrom(phone, content, 13) == "after");
}

TEST_CASE("the first line of a file is never an entry")
{
    LanguagePhone phone(german);
    CHECK(textFrom(phone, L"12=first\r\n13=second\r\n", 12) == "Custom Mute");
    CHECK(textFrom(phone, L"12=first\r\n13=second\r\n", 13) == "second");
    CHECK(textFrom(phone,
                   L"\xFEFF"
                   L"12=first\r\n13=second\r\n",
                   12) == "Custom Mute");
    CHECK(textFrom(phone,
                   L"\xFEFF"
                   L"12=first\r\n13=second\r\n",
                   13) == "second");
    // An empty first line is as good as any other.
    CHECK(textFrom(phone, L"\r\n12=second\r\n", 12) == "second");
    CHECK(textFrom(phone, L"\n12=second\r\n", 12) == "second");
}

TEST_CASE("a byte order mark is part of the first line")
{
    LanguagePhone phone(german);
    CHECK(textFrom(phone, L"\xFEFFtitle\r\n12=Stumm\r\n", 12) == "Stumm");
    CHECK(textFrom(phone, L"title\r\n12=Stumm\r\n", 12) == "Stumm");
    CHECK(textFrom(phone, L"\xFEFF\r\n12=Stumm\r\n", 12) == "Stumm");
}

TEST_CASE("the first of several entries of an identifier counts")
{
    LanguagePhone phone(german);
    CHECK(textFrom(phone, L"\r\n12=one\r\n13=x\r\n12=two\r\n12=three\r\n", 12) == "one");
    // Even if it is of no use.
    CHECK(textFrom(phone, L"\r\n12=\r\n12=two\r\n", 12) == "Custom Mute");
    CHECK(textFrom(phone, L"\r\n12=" + std::wstring(300, L'x') + L"\r\n12=two\r\n", 12) == "Custom Mute");
}

TEST_CASE("an entry with nothing after the equals sign falls back to English")
{
    LanguagePhone phone(german);
    CHECK(textFrom(phone, L"\r\n12=\r\n13=Ruhe\r\n", 12) == "Custom Mute");
    CHECK(textFrom(phone, L"\r\n1=\r\n13=Ruhe\r\n", 1) == "Cancel");
    CHECK(textFrom(phone, L"\r\n112=\r\n13=Ruhe\r\n", 112) == "Ring");
    // A blank is a text.
    CHECK(textFrom(phone, L"\r\n12= \r\n", 12) == " ");
}

TEST_CASE("an identifier is not mistaken for one that begins or ends like it")
{
    LanguagePhone phone(german);
    const std::wstring longestFirst = L"title\r\n112=c\r\n12=b\r\n2=d\r\n1=a\r\n";
    CHECK(textFrom(phone, longestFirst, 1) == "a");
    CHECK(textFrom(phone, longestFirst, 2) == "d");
    CHECK(textFrom(phone, longestFirst, 12) == "b");
    CHECK(textFrom(phone, longestFirst, 112) == "c");
    CHECK(textFrom(phone, L"title\r\n12=Mute\r\n", 12) == "Mute");
    CHECK(textFrom(phone, L"title\r\n12=Mute\r\n", 1) == "Cancel");
    CHECK(textFrom(phone, L"title\r\n12=Mute\r\n", 2) == "Date:");
    CHECK(textFrom(phone, L"title\r\n112=x\r\n", 12) == "Custom Mute");
    CHECK(textFrom(phone, L"title\r\n112=x\r\n", 1) == "Cancel");
}

TEST_CASE("what stands inside a text is not an entry")
{
    LanguagePhone phone(german);
    CHECK(textFrom(phone, L"title\r\n13=x 12=y\r\n", 12) == "Custom Mute");
    CHECK(textFrom(phone, L"title\r\n13=12=y\r\n", 12) == "Custom Mute");
    CHECK(textFrom(phone, L"title\r\n13=12=y\r\n", 13) == "12=y");
    CHECK(textFrom(phone, L"title\r\n13=\r12=y\r\n", 12) == "Custom Mute");   // a carriage return alone ends no line
}

TEST_CASE("a text is taken literally")
{
    LanguagePhone phone(german);
    CHECK(textFrom(phone, L"\r\n12=  a\\n%s %d\t\"b\"=c;#  \r\n", 12) == "  a\\n%s %d\t\"b\"=c;#  ");
    CHECK(textFrom(phone, L"\r\n12=\x00E4\x05E9\x0416\x4E2D\xD83D\xDE00\r\n", 12) ==
          "\xC3\xA4\xD7\xA9\xD0\x96\xE4\xB8\xAD\xF0\x9F\x98\x80");
}

TEST_CASE("only the plain decimal number is an identifier")
{
    LanguagePhone phone(german);
    for (const wchar_t *line :
         {L"012=x", L" 12=x", L"+12=x", L"12 =x", L"12.=x", L"0xC=x", L"12", L"=x", L"12:x", L";12=x"}) {
        INFO("line " << narrow(line));
        CHECK(textFrom(phone, L"title\r\n" + std::wstring(line) + L"\r\n13=Ruhe\r\n", 12) == "Custom Mute");
        CHECK(textFrom(phone, L"title\r\n" + std::wstring(line) + L"\r\n13=Ruhe\r\n", 13) == "Ruhe");
    }
}

TEST_CASE("the identifier zero is an entry like any other")
{
    LanguagePhone phone(german);
    CHECK(textFrom(phone, L"\r\n0=Gut\r\n10=Min.\r\n", 0) == "Gut");
    CHECK(textFrom(phone, L"\r\n10=Min.\r\n", 0) == "OK");
}

TEST_CASE("a file gives a text to an identifier that has none in English")
{
    LanguagePhone phone(german);
    CHECK(textFrom(phone, L"\r\n18=neu\r\n", 18) == "neu");
}

// ---- Line ends and encodings ------------------------------------------------------------------------------------------

TEST_CASE("a last entry without carriage return falls back to English")
{
    LanguagePhone phone(german);
    CHECK(textFrom(phone, L"\r\n12=Stumm\r\n13=Ruhe", 13) == "Mute");
    CHECK(textFrom(phone, L"\r\n12=Stumm\r\n13=Ruhe", 12) == "Stumm");
    CHECK(textFrom(phone, L"\r\n12=Stumm\r\n13=Ruhe\n", 13) == "Mute");
    CHECK(textFrom(phone, L"\r\n12=Stumm\r\n13=Ruhe\r", 13) == "Ruhe");   // the line feed is of no account
    CHECK(textFrom(phone, L"\r\n12=", 12) == "Custom Mute");
    CHECK(textFrom(phone, L"\r\n12", 12) == "Custom Mute");
}

TEST_CASE("a file with other line ends is English throughout")
{
    LanguagePhone phone(german);
    for (int id : {1, 12, 13}) {
        CHECK(textFrom(phone, L"title\n1=a\n12=b\n13=c\n", id) == textFrom(phone, L"", id));
        CHECK(textFrom(phone, L"title\r1=a\r12=b\r13=c\r", id) == textFrom(phone, L"", id));
    }
}

TEST_CASE("a text runs on to the next carriage return, over line feeds too")
{
    LanguagePhone phone(german);
    CHECK(textFrom(phone, L"title\r\n12=two\nlines\r\n", 12) == "two\nlines");
    CHECK(textFrom(phone, L"title\n12=b\n13=c\r\n", 12) == "b\n13=c");
    CHECK(textFrom(phone, L"title\n12=b\n13=c\r\n", 13) == "c");
}

TEST_CASE("a file in another encoding is English throughout")
{
    const std::string latin = "title\r\n12=Stumm\r\n13=Ruhe\r\n";
    const std::string utf8 = "\xEF\xBB\xBFtitle\r\n12=St\xC3\xBCmm\r\n13=Ruhe\r\n";
    std::string bigEndian = LanguagePhone::utf16(L"\xFEFFtitle\r\n12=Stumm\r\n13=Ruhe\r\n");
    for (size_t i = 0; i < bigEndian.size(); i += 2)
        std::swap(bigEndian[i], bigEndian[i + 1]);
    // Text of two bytes a character that begins at an odd place.
    const std::string shifted = "x" + LanguagePhone::utf16(L"\r\n12=Stumm\r\n");
    LanguagePhone phone(german);
    for (const std::string &bytes : {latin, latin + "x", utf8, bigEndian, shifted}) {
        phone.writeFile(germanFile, bytes);
        INFO("size " << bytes.size());
        CHECK(textOf(12) == "Custom Mute");
        CHECK(textOf(13) == "Mute");
    }
}

TEST_CASE("a zero character ends the file")
{
    LanguagePhone phone(german);
    const std::wstring zero(1, L'\0');
    CHECK(textFrom(phone, L"\r\n12=Stumm\r\n" + zero + L"\r\n13=Ruhe\r\n", 12) == "Stumm");
    CHECK(textFrom(phone, L"\r\n12=Stumm\r\n" + zero + L"\r\n13=Ruhe\r\n", 13) == "Mute");
    CHECK(textFrom(phone, L"\r\n12=St" + zero + L"umm\r\n", 12) == "Custom Mute");
    CHECK(textFrom(phone, zero, 12) == "Custom Mute");
}

TEST_CASE("files of the smallest and of odd sizes are read safely")
{
    LanguagePhone phone(german);
    const Holdings before;
    for (const char *bytes : {"", "\n", "1", "\xFF\xFE", "\n1", "\n12", "\n1=", "\n12=\r"}) {
        INFO("size " << strlen(bytes));
        phone.writeFile(germanFile, bytes);
        CHECK(textOf(12) == "Custom Mute");
        CHECK(textOf(1) == "Cancel");
    }
    CHECK(Holdings() == before);
    // The odd byte at the end spoils nothing before it, and completes nothing.
    phone.writeFile(germanFile, LanguagePhone::utf16(L"\r\n12=Stumm\r\n13=Ruhe") + "\r");
    CHECK(textOf(12) == "Stumm");
    phone.writeFile(germanFile, LanguagePhone::utf16(L"\r\n12=Stumm\r") + "\n");
    CHECK(textOf(12) == "Stumm");
    CHECK(textOf(13) == "Mute");
}

TEST_CASE("an entry far inside a large file is found")
{
    LanguagePhone phone(german);
    std::wstring content = L"title\r\n";
    for (int line = 0; line < 20000; ++line)
        content += L"; a remark between the entries\r\n";
    CHECK(textFrom(phone, content + L"12=Stumm\r\n", 12) == "Stumm");
}

// ---- What can go wrong ------------------------------------------------------------------------------------------------

TEST_CASE("a file that cannot be opened, measured, held or read means English, once")
{
    struct Row {
        const wchar_t *kind;
        const wchar_t *call;
    };
    const Row rows[] = {{L"file", L"open:*"}, {L"file", L"size:*"}, {L"memory", L"alloc:*"}, {L"file", L"read:*"}};
    LanguagePhone phone(german);
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    for (const Row &row : rows) {
        INFO(narrow(row.kind) << " " << narrow(row.call));
        const Holdings before;
        SimOrderFault(row.kind, 1, row.call, FALSE);
        const wchar_t *failing = getLanguageText(12, nullptr);
        const wchar_t *wanted = getLanguageText(12, nullptr);
        CHECK(Holdings() == before);
        CHECK(narrow(wanted) == "Stumm");
        CHECK(narrow(failing) == "Custom Mute");
        CHECK(phone.log().empty());
    }
}

TEST_CASE("an exception in the file system means English, once, and goes nowhere")
{
    LanguagePhone phone(german);
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    for (const wchar_t *call : {L"open:*", L"size:*", L"read:*"}) {
        INFO(narrow(call));
        const Holdings before;
        bool escaped = false;
        SimOrderFault(L"file", 1, call, TRUE);
        try {
            CHECK(textOf(12) == "Custom Mute");
        } catch (...) {
            escaped = true;
        }
        SimClearFaults();
        CHECK_FALSE(escaped);
        CHECK(textOf(12) == "Stumm");
        CHECK(Holdings() == before);
        CHECK(phone.log().empty());
    }
}

TEST_CASE("a control is given English when the file fails")
{
    LanguagePhone phone(german);
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    RecordingControl control;
    SimOrderFault(L"file", 1, L"read:*", FALSE);
    CHECK(getLanguageText(12, control.handle()) == nullptr);
    CHECK(getLanguageText(12, control.handle()) == nullptr);
    CHECK(textsSent == std::vector<std::string>{"Custom Mute", "Stumm"});
}

TEST_CASE("a file that others read is shared with them")
{
    LanguagePhone phone(german);
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    const HANDLE reader =
        CreateFileW(germanFile, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    REQUIRE(reader != INVALID_HANDLE_VALUE);
    CHECK(textOf(12) == "Stumm");
    CloseHandle(reader);
    CHECK(textOf(12) == "Stumm");
}

TEST_CASE("a file that someone is writing means English until it is closed")
{
    LanguagePhone phone(german);
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    for (DWORD sharing : {DWORD{0}, DWORD{FILE_SHARE_READ}}) {
        const HANDLE writer =
            CreateFileW(germanFile, GENERIC_WRITE, sharing, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        REQUIRE(writer != INVALID_HANDLE_VALUE);
        CHECK(textOf(12) == "Custom Mute");
        CloseHandle(writer);
        CHECK(textOf(12) == "Stumm");
    }
}

TEST_CASE("a read-only language file is as good as any")
{
    LanguagePhone phone(german);
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    phone.set(L"storage", L"readonly", L"\\Program Files\\Kelvane");
    CHECK(textOf(12) == "Stumm");
    phone.set(L"storage", L"readonly", L"");
}

TEST_CASE("a folder of the file's name means English")
{
    LanguagePhone phone(german);
    phone.removeFile(germanFile);
    phone.makeFolder(germanFile);
    CHECK(textOf(12) == "Custom Mute");
}

// ---- The translation buffer -------------------------------------------------------------------------------------------

TEST_CASE("a text from a file stays valid until the next call, which clears it whole")
{
    LanguagePhone phone(german);
    phone.writeGermanFile(L"\r\n12=" + std::wstring(200, L'x') + L"\r\n13=Ruhe\r\n");
    const wchar_t *translation = getLanguageText(12, nullptr);
    CHECK(wcslen(translation) == 200);
    CHECK(translation[199] == L'x');

    // An identifier out of range is no such call.
    getLanguageText(-1, nullptr);
    getLanguageText(531, nullptr);
    CHECK(wcslen(translation) == 200);

    CHECK(getLanguageText(13, nullptr) == translation);
    CHECK(std::wstring(translation, 261) == L"Ruhe" + std::wstring(257, L'\0'));

    getLanguageText(12, nullptr);
    setLanguage(english);
    CHECK(textOf(13) == "Mute");
    CHECK(std::wstring(translation, 261) == std::wstring(261, L'\0'));
}

TEST_CASE("reading an entry leaves the buffer empty when there is none")
{
    LanguagePhone phone(german);
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    wchar_t buffer[261];
    readLanguageFile(buffer, 12);
    CHECK(narrow(buffer) == "Stumm");
    readLanguageFile(buffer, 13);
    CHECK(buffer[0] == 0);
    readLanguageFile(buffer, 12);
    phone.removeFile(germanFile);
    readLanguageFile(buffer, 12);
    CHECK(buffer[0] == 0);
    for (int lang : {english, -1, 19}) {
        setLanguage(lang);
        buffer[0] = L'x';
        readLanguageFile(buffer, 12);
        CHECK(buffer[0] == 0);
    }
    setLanguage(german);
    freeText(appPath);
    buffer[0] = L'x';
    readLanguageFile(buffer, 12);
    CHECK(buffer[0] == 0);
}

TEST_CASE("a file replaced between two calls is noticed")
{
    LanguagePhone phone(german);
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    CHECK(textOf(12) == "Stumm");
    phone.writeGermanFile(L"\r\n12=Ruhe\r\n");
    CHECK(textOf(12) == "Ruhe");
    phone.removeFile(germanFile);
    CHECK(textOf(12) == "Custom Mute");
    phone.writeGermanFile(L"\r\n12=Stumm\r\n");
    CHECK(textOf(12) == "Stumm");
}

TEST_CASE("a thousand calls leave no file and no memory behind")
{
    struct Row {
        const wchar_t *kind;
        const wchar_t *call;
    };
    const Row rows[] = {{nullptr, nullptr}, {L"file", L"size:*"}, {L"memory", L"alloc:*"}, {L"file", L"read:*"}};
    LanguagePhone phone(german);
    phone.writeGermanFile(L"\r\n12=Stumm\r\n14=" + std::wstring(300, L'x') + L"\r\n");
    for (const Row &row : rows) {
        INFO("failing: " << (row.call ? narrow(row.call) : "nothing"));
        const Holdings before;
        if (row.kind)
            SimOrderFault(row.kind, 0, row.call, FALSE);
        for (int call = 0; call < 250; ++call)
            for (int id : {12, 13, 14, 530})
                getLanguageText(id, nullptr);
        SimClearFaults();
        CHECK(Holdings() == before);
    }
    // Nor one the next writer would be kept out by.
    const HANDLE writer =
        CreateFileW(germanFile, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    CHECK(writer != INVALID_HANDLE_VALUE);
    CloseHandle(writer);
}

// ---- The German file --------------------------------------------------------------------------------------------------

TEST_CASE("on a German phone every text comes from the German file")
{
    LanguagePhone phone(german);
    const Texts expected = parsed(phone.readFile(germanFile));
    const Texts inEnglish = englishTexts();
    CHECK(expected.size() == identifiersWithText);
    CHECK(narrow(expected.at(1)) == "Abbrechen");
    for (int id = 0; id < identifierCount; ++id) {
        INFO("identifier " << id);
        CHECK(expected.count(id) == inEnglish.count(id));
        CHECK(textOf(id) == (expected.count(id) ? narrow(expected.at(id)) : ""));
    }
}

TEST_CASE("with every second entry gone, each missing text falls back to English by itself")
{
    LanguagePhone phone(german);
    const Texts whole = parsed(phone.readFile(germanFile));
    const Texts inEnglish = englishTexts();
    std::vector<std::wstring> lines = {L"every second entry"};
    Texts expected = inEnglish;
    bool keep = false;
    for (const auto &entry : whole) {
        keep = !keep;
        if (!keep)
            continue;
        lines.push_back(std::to_wstring(entry.first) + L"=" + entry.second);
        expected[entry.first] = entry.second;
    }
    REQUIRE(lines.size() == 1 + identifiersWithText / 2);
    phone.writeLanguageFile(L"DE", lines);
    RecordingControl control;
    for (const auto &text : expected) {
        INFO("identifier " << text.first);
        CHECK(textOf(text.first) == narrow(text.second));
        getLanguageText(text.first, control.handle());
        CHECK(textsSent.back() == narrow(text.second));
    }
}
