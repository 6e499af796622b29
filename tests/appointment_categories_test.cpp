#include "appointment_categories.h"

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "memory.h"
#include "pocketoutlook.h"
#include "test_phone.h"
#include "text.h"
#include "user_settings.h"

namespace {

constexpr wchar_t objectStore[] = L"object store";

using Names = std::vector<std::wstring>;

constexpr DWORD logEverything = 13;

// A phone whose device type has been determined, with COM for the length of its scope.
struct CategoriesPhone : TestPhone {
    explicit CategoriesPhone(const char *base = "wm6") : TestPhone(base)
    {
        getAppPath();
        getDeviceType();
        CoInitializeEx(nullptr, 0);
        userSettings.loggingOption = logEverything;
    }
    ~CategoriesPhone()
    {
        userSettings.loggingOption = 0;
        CoUninitialize();
        freeText(appPath);
        isOsVersion5 = 0;
    }
};

// What the program holds. The tests' own texts are counted as well, so that nothing of theirs may come or go in between.
struct Held {
    int allocations = SimLiveAllocations(), objects = SimLiveObjects(), databases = SimLiveDatabases();

    void checkSame(int results = 0) const
    {
        const int grown = SimLiveAllocations() - allocations;
        CHECK(grown == results);
        CHECK(SimLiveObjects() == objects);
        CHECK(SimLiveDatabases() == databases);
    }
};

// The text of getCategories, "(none)" for null; which is all that it may leave behind.
std::wstring categories()
{
    const Held before;
    wchar_t *text = getCategories();
    before.checkSame(text ? 1 : 0);
    SimClearFaults();   // orders are for the program only
    const std::wstring copy = text ? text : L"(none)";
    freeText(text);
    return copy;
}

// Names one after the other, each with a line feed behind it.
struct Collected {
    wchar_t text[40000];
    size_t length;
};

void collect(void *context, const wchar_t *name)
{
    Collected &collected = *static_cast<Collected *>(context);
    for (; *name && collected.length + 1 < countOf(collected.text); ++name)
        collected.text[collected.length++] = *name;
    collected.text[collected.length++] = L'\n';
}

Names listed()
{
    static Collected collected;
    collected.length = 0;
    const Held before;
    bool thrown = false;
    try {
        listAppointmentCategories(collect, &collected);
    } catch (...) {
        thrown = true;   // the exception itself is held until here
    }
    before.checkSame();
    if (thrown)
        throw OutOfMemory();
    SimClearFaults();
    Names names;
    for (size_t start = 0; start < collected.length; start += names.back().size() + 1)
        names.emplace_back(collected.text + start, wcschr(collected.text + start, L'\n'));
    return names;
}

std::wstring categoryNumbered(int number)
{
    return L"Category " + std::to_wstring(number);
}

const std::vector<std::string> wholeConversation = {"outlook logon 0x0", "outlook folder 9 0x0",
                                                    "outlook property 0x101A001F 0x8007007A",
                                                    "outlook property 0x101A001F 0x0", "outlook logoff 0x0"};

}   // namespace

// ---- Pocket Outlook ---------------------------------------------------------------------------------------------------

TEST_CASE("the categories of the calendar folder come as one text, and Outlook is left in good order")
{
    CategoriesPhone phone;
    CHECK(categories() == L"Business, Holiday, Personal");
    CHECK(phone.journal("outlook") == wholeConversation);
    CHECK(phone.journal("com").back() == "com create {05058F23-20BE-11D2-8F18-0000F87A4335} 0x0");
    CHECK(phone.log().empty());
}

TEST_CASE("a phone whose calendar has no categories gives an empty text and lists none")
{
    CategoriesPhone phone;
    phone.set(L"categories", L"names", L"");
    CHECK(categories() == L"");
    CHECK(listed() == Names{});
}

TEST_CASE("when any step fails there are no categories, and what was begun is ended")
{
    struct Row {
        const char *what;
        const wchar_t *call;
        std::vector<std::string> conversation;
    };
    const Row rows[] = {
        {"the object", L"create:*", {}},
        {"logging on", L"logon:", {"outlook logon 0x80004005"}},
        {"the folder", L"folder:9", {"outlook logon 0x0", "outlook folder 9 0x80004005", "outlook logoff 0x0"}},
        {"the folder as an item",
         L"interface:IItem",
         {"outlook logon 0x0", "outlook folder 9 0x0", "outlook logoff 0x0"}},
        {"every property",
         L"property:*",
         {"outlook logon 0x0", "outlook folder 9 0x0", "outlook property 0x101A001F 0x80004005", "outlook logoff 0x0"}},
    };
    for (const Row &row : rows) {
        CategoriesPhone phone;
        INFO(row.what);
        SimOrderFault(L"com", 0, row.call, FALSE);
        CHECK(categories() == L"(none)");
        SimOrderFault(L"com", 0, row.call, FALSE);
        CHECK(listed() == Names{});
        std::vector<std::string> twice = row.conversation;
        twice.insert(twice.end(), row.conversation.begin(), row.conversation.end());
        CHECK(phone.journal("outlook") == twice);
        CHECK(phone.log().empty());
        CHECK(categories() == L"Business, Holiday, Personal");
    }
}

TEST_CASE("when only the second request for the property fails there are no categories")
{
    CategoriesPhone phone;
    SimOrderFault(L"com", 2, L"property:*", FALSE);
    CHECK(categories() == L"(none)");
    CHECK(phone.journal("outlook")[3] == "outlook property 0x101A001F 0x80004005");
    CHECK(phone.journal("outlook")[4] == "outlook logoff 0x0");
}

TEST_CASE("a failing log-off does not take the categories away")
{
    for (bool raised : {false, true}) {
        CategoriesPhone phone;
        SimOrderFault(L"com", 0, L"logoff:", raised);
        CHECK(categories() == L"Business, Holiday, Personal");
        CHECK(phone.log().empty());
    }
}

TEST_CASE("a phone without Pocket Outlook has no categories")
{
    CategoriesPhone phone;
    phone.set(L"outlook", L"present", L"0");
    CHECK(categories() == L"(none)");
    CHECK(listed() == Names{});
    CHECK(phone.journal("com").back() == "com create {05058F23-20BE-11D2-8F18-0000F87A4335} 0x80040154");
}

TEST_CASE("a calendar that does not have the property has no categories")
{
    CategoriesPhone phone;
    phone.set(L"outlook", L"lists", L"0");
    CHECK(categories() == L"(none)");
    CHECK(listed() == Names{});
    CHECK(phone.journal("outlook")[3] == "outlook property 0x101A001F 0x0");
    CHECK(phone.log().empty());
}

TEST_CASE("without COM there are no categories")
{
    CategoriesPhone phone;
    CoUninitialize();
    CHECK(categories() == L"(none)");
    CHECK(phone.journal("com").back() == "com create {05058F23-20BE-11D2-8F18-0000F87A4335} 0x800401F0");
    CoInitializeEx(nullptr, 0);
    CHECK(categories() == L"Business, Holiday, Personal");
}

TEST_CASE("Pocket PC 2003's Outlook lacks the interface")
{
    CategoriesPhone phone("ppc2003");
    CHECK(categories() == L"(none)");
    CHECK(phone.journal("com").back() == "com create {05058F23-20BE-11D2-8F18-0000F87A4335} 0x80004002");
}

TEST_CASE("a list that grows between the two requests is read as long as it grows by no more than 16 bytes")
{
    const struct {
        const wchar_t *late;
        const wchar_t *expected;
    } rows[] = {
        {L", Birth", L"Business, Holiday, Personal, Birth"},
        {L", School", L"Business, Holiday, Personal, School"},   // 8 characters, 16 bytes
        {L", Society", L"(none)"},
    };
    for (const auto &row : rows) {
        CategoriesPhone phone;
        phone.set(L"categories", L"late", row.late);
        CHECK(categories() == row.expected);
    }
}

TEST_CASE("an exception in any step is logged, gives no categories and leaves nothing behind")
{
    for (const wchar_t *call : {L"create:*", L"logon:", L"folder:9", L"interface:IItem", L"property:*"}) {
        CategoriesPhone phone;
        INFO(narrow(call));
        SimOrderFault(L"com", 1, call, TRUE);
        CHECK(categories() == L"(none)");
        CHECK(phone.log() == std::vector<std::string>{"Exception: getCategories"});
        CHECK(listed() == Names{L"Business", L"Holiday", L"Personal"});
    }
}

TEST_CASE("the line about an exception is left out while logging is off")
{
    CategoriesPhone phone;
    userSettings.loggingOption = 0;
    SimOrderFault(L"com", 1, L"logon:", TRUE);
    CHECK(categories() == L"(none)");
    CHECK(phone.log().empty());
}

TEST_CASE("running out of memory is such an exception")
{
    for (int allocation : {1, 2}) {
        CategoriesPhone phone;
        INFO("allocation " << allocation);
        SimOrderFault(L"memory", allocation, L"alloc:", FALSE);
        CHECK(categories() == L"(none)");
        CHECK(phone.log() == std::vector<std::string>{"Exception: getCategories"});
    }
    CategoriesPhone phone;
    SimOrderFault(L"memory", 3, L"alloc:", FALSE);   // there is no third
    CHECK(categories() == L"Business, Holiday, Personal");
}

// ---- Names from the text ----------------------------------------------------------------------------------------------

TEST_CASE("the text is split where a comma and a blank are, and nowhere else")
{
    const struct {
        const wchar_t *list;
        Names expected;
    } rows[] = {
        {L"Business, Holiday, Personal", {L"Business", L"Holiday", L"Personal"}},
        {L"Business", {L"Business"}},
        {L"Smith,Jones, Work", {L"Smith,Jones", L"Work"}},
        {L"Business,Holiday", {L"Business,Holiday"}},
        {L"A ,B , C", {L"A ,B ", L"C"}},
        {L"A,  B", {L"A", L" B"}},
        {L"A,, B", {L"A,", L"B"}},
        {L"A, , B", {L"A", L"B"}},
        {L", A", {L"A"}},
        {L"A, ", {L"A"}},
        {L"A,", {L"A,"}},
        {L", , ", {}},
        {L", ", {}},
        {L"Gesch\x00E4"
         L"ft, \x041B\x0438\x0447\x043D\x043E\x0435, \x4F1A\x8B70",
         {L"Gesch\x00E4"
          L"ft",
          L"\x041B\x0438\x0447\x043D\x043E\x0435", L"\x4F1A\x8B70"}},
    };
    CategoriesPhone phone;
    for (const auto &row : rows) {
        INFO(narrow(row.list));
        phone.set(L"categories", L"list", row.list);
        CHECK(categories() == row.list);
        CHECK(listed() == row.expected);
    }
}

TEST_CASE("two hundred categories and one of ten thousand characters are listed whole")
{
    CategoriesPhone phone;
    std::wstring text;
    Names expected;
    for (int i = 0; i < 200; ++i) {
        expected.push_back(categoryNumbered(i));
        text += expected.back() + L", ";
    }
    expected.emplace_back(10000, L'x');
    text += expected.back();
    phone.set(L"categories", L"list", text.c_str());
    CHECK(categories() == text);
    CHECK(listed() == expected);
}

// ---- The categories database ------------------------------------------------------------------------------------------

TEST_CASE("an older phone's categories come from its database, those with a name and a positive number")
{
    CategoriesPhone phone("ppc2003");
    CHECK(listed() == Names{L"Business", L"Holiday", L"Personal"});
    CHECK(phone.journal("database") == std::vector<std::string>{"database open \\Categories Database object store",
                                                                "database seek \\Categories Database beginning 0",
                                                                "database close \\Categories Database 7"});
    CHECK(phone.journal("outlook").empty());
    CHECK(phone.log().empty());
}

TEST_CASE("which records are categories")
{
    const struct {
        const char *properties;
        bool isCategory;
    } rows[] = {
        {"0x4001001F = Name\n0x40020013 = 1", true},
        {"0x4001001F = Name\n0x40020013 = 0", false},
        {"0x4001001F = Name\n0x40020013 = 0xFFFFFFFF", true},   // has no sign
        {"0x4001001F = Name\n0x40020003 = 1", true},
        {"0x4001001F = Name\n0x40020003 = 0x7FFFFFFF", true},
        {"0x4001001F = Name\n0x40020003 = 0", false},
        {"0x4001001F = Name\n0x40020003 = -1", false},
        {"0x4001001F = Name\n0x40020002 = 1", true},
        {"0x4001001F = Name\n0x40020002 = 0", false},
        {"0x4001001F = Name\n0x40020002 = -1", false},
        {"0x4001001F = Name\n0x40020012 = 1", true},
        {"0x4001001F = Name\n0x40020012 = 0", false},
        {"0x4001001F = Name\n0x40020012 = 0xFFFF", true},
        {"0x4001001F = Name\n0x40020041 = 01", false},   // no number
        {"0x40020013 = 1\n0x4001001F = Name", true},
        {"0x4001001F = Name\n0x4003001F = Other\n0x40020013 = 1", true},
        {"0x4001001F = Name\n0x40020013 = 1\n0x40030013 = 0", true},
        {"0x4001001F = Name\n0x40020013 = 0\n0x40030013 = 1", false},
        {"0x4001001F = Name", false},
        {"0x40020013 = 1", false},
        {"0x4001001F =\n0x40020013 = 1", false},
        {"", false},
    };
    CategoriesPhone phone("ppc2003");
    for (const auto &row : rows) {
        INFO(row.properties);
        phone.writeStore(objectStore, std::string("[\\Categories Database]\nrecord\n") + row.properties +
                                          "\nrecord\n0x4001001F = Last\n0x40020013 = 1\n");
        CHECK(listed() == (row.isCategory ? Names{L"Name", L"Last"} : Names{L"Last"}));
    }
}

TEST_CASE("names of the database are taken as they are")
{
    CategoriesPhone phone("ppc2003");
    phone.writeStore(objectStore, "[\\Categories Database]\n"
                                  "record\n0x4001001F = Smith, Jones\n0x40020013 = 1\n"
                                  "record\n0x4001001F = \" \"\n0x40020013 = 1\n"
                                  "record\n0x4001001F = Gesch\xC3\xA4"
                                  "ft\n0x40020013 = 1\n");
    CHECK(listed() == Names{L"Smith, Jones", L" ",
                            L"Gesch\x00E4"
                            L"ft"});
}

TEST_CASE("a hundred records are listed in their order")
{
    CategoriesPhone phone("ppc2003");
    std::string text = "[\\Categories Database]\n";
    Names expected;
    for (int i = 0; i < 100; ++i) {
        expected.push_back(categoryNumbered(i));
        text += "record\n0x4001001F = " + narrow(expected.back()) + "\n0x40020013 = 1\n";
    }
    phone.writeStore(objectStore, text);
    CHECK(listed() == expected);
}

TEST_CASE("a missing or empty database lists nothing")
{
    CategoriesPhone phone("ppc2003");
    phone.writeStore(objectStore, "[Other]\n");
    CHECK(listed() == Names{});
    phone.writeStore(objectStore, "[\\Categories Database]\n");
    CHECK(listed() == Names{});
    CHECK(phone.log().empty());
}

TEST_CASE("a database that fails lists what came before")
{
    const struct {
        int n;
        const wchar_t *call;
        Names expected;
    } rows[] = {
        {1, L"open:\\Categories Database", {}},
        {1, L"seek:\\Categories Database", {}},
        {1, L"read:\\Categories Database", {}},
        {2, L"read:\\Categories Database", {L"Business"}},
        {7, L"read:\\Categories Database", {L"Business", L"Holiday", L"Personal"}},
        {1, L"close:\\Categories Database", {L"Business", L"Holiday", L"Personal"}},
    };
    for (const auto &row : rows) {
        CategoriesPhone phone("ppc2003");
        INFO(narrow(row.call) << " " << row.n);
        SimOrderFault(L"database", row.n, row.call, FALSE);
        CHECK(listed() == row.expected);
    }
}

TEST_CASE("an exception of the database is logged and ends the list, with nothing left open")
{
    const struct {
        int n;
        const wchar_t *call;
        Names expected;
    } rows[] = {
        {1, L"open:*", {}},
        {1, L"seek:*", {}},
        {1, L"read:*", {}},
        {2, L"read:*", {L"Business"}},
    };
    for (const auto &row : rows) {
        CategoriesPhone phone("ppc2003");
        INFO(narrow(row.call) << " " << row.n);
        SimOrderFault(L"database", row.n, row.call, TRUE);
        CHECK(listed() == row.expected);
        CHECK(phone.log() == std::vector<std::string>{"Exception: getCategories"});
    }
}

// ---- The receiver -----------------------------------------------------------------------------------------------------

TEST_CASE("an exception of the receiver is passed on, with nothing left open")
{
    for (const char *base : {"wm6", "ppc2003"}) {
        CategoriesPhone phone(base);
        INFO(base);
        int received = 0;
        const Held before;
        bool thrown = false;
        try {
            listAppointmentCategories(
                [](void *context, const wchar_t *) {
                    if (++*static_cast<int *>(context) == 2)
                        throw OutOfMemory();
                },
                &received);
        } catch (const OutOfMemory &) {
            thrown = true;
        }
        before.checkSame();
        CHECK(thrown);
        CHECK(received == 2);
        CHECK(phone.log().empty());
    }
}

TEST_CASE("the kind of system decides which source is asked")
{
    for (DWORD isNew : {0, 1}) {
        CategoriesPhone phone("wm5");
        INFO("Windows CE 5 or later: " << isNew);
        phone.writeStore(objectStore, "[\\Categories Database]\nrecord\n0x4001001F = Stored\n0x40020013 = 1\n");
        isOsVersion5 = isNew;
        CHECK(listed() == (isNew ? Names{L"Business", L"Personal"} : Names{L"Stored"}));
        CHECK(phone.journal("outlook").empty() == !isNew);
        CHECK(phone.journal("database").empty() == (isNew != 0));
    }
}
