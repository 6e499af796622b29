#include "location_file.h"

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "page_window.h"
#include "test_phone.h"
#include "text.h"

namespace {

constexpr wchar_t locationFile[] = L"\\Program Files\\Kelvane\\kv_Location.dat";

struct StartedPhone : TestPhone {
    StartedPhone()
    {
        restartProgram();
        getAppPath();
    }

    void writeBytes(const std::string &bytes) const { writeFile(locationFile, bytes); }

    void write(const std::wstring &text) const
    {
        writeBytes(std::string(reinterpret_cast<const char *>(text.data()), text.size() * sizeof(wchar_t)));
    }
};

// "(none)" when there is none.
std::wstring contentOfFile()
{
    const HeapText content(readLocationFile());
    return content.text ? content.text : L"(none)";
}

void addName(void *context, const wchar_t *name)
{
    static_cast<std::vector<std::wstring> *>(context)->push_back(name);
}

using Names = std::vector<std::wstring>;

Names namesOfFile()
{
    Names names;
    listLocations(addName, &names);
    return names;
}

bool readingThrows()
{
    try {
        const HeapText content(readLocationFile());
    } catch (...) {
        return true;
    }
    return false;
}

const std::wstring twoGroups = L"1234,1240,@Home\u00A75678,@Office\u00A7";

}   // namespace

// ---- The whole file -----------------------------------------------------------------------------------------------------

TEST_CASE("the whole file of locations is read as a text")
{
    StartedPhone phone;
    phone.write(twoGroups + L'\0');
    CHECK(contentOfFile() == twoGroups);
}

TEST_CASE("a file of locations without a zero at its end is terminated")
{
    StartedPhone phone;
    phone.write(twoGroups);
    CHECK(contentOfFile() == twoGroups);
}

TEST_CASE("an empty file of locations is an empty text, and so is one of a single byte")
{
    StartedPhone phone;
    phone.writeBytes("");
    CHECK(contentOfFile() == L"");
    phone.writeBytes("x");
    CHECK(contentOfFile() == L"");
}

TEST_CASE("the last byte of a file of odd length is left out")
{
    StartedPhone phone;
    phone.writeBytes(std::string("a\0b\0c", 5));
    CHECK(contentOfFile() == L"ab");
}

TEST_CASE("a file of locations that is longer than any the program writes is read whole")
{
    StartedPhone phone;
    const std::wstring longText(60000, L'x');
    phone.write(longText);
    CHECK(contentOfFile() == longText);
}

TEST_CASE("there are no locations without a file, without an install directory, or when the file cannot be read")
{
    StartedPhone phone;
    CHECK(contentOfFile() == L"(none)");
    phone.write(twoGroups);
    for (const wchar_t *operation : {L"open:*", L"size:*", L"read:*"}) {
        SimOrderFault(L"file", 0, operation, FALSE);
        INFO("failing: " << narrow(operation));
        CHECK(contentOfFile() == L"(none)");
        CHECK(namesOfFile().empty());
        SimClearFaults();
    }
    CHECK(contentOfFile() == twoGroups);
    freeText(appPath);
    CHECK(contentOfFile() == L"(none)");
}

TEST_CASE("whatever goes wrong while the file of locations is read, nothing is left open or allocated")
{
    StartedPhone phone;
    phone.write(twoGroups);
    const int files = SimLiveFiles(), allocations = SimLiveAllocations();
    for (const wchar_t *operation : {L"open:*", L"size:*", L"read:*"}) {
        SimOrderFault(L"file", 1, operation, TRUE);
        CHECK(readingThrows());
        CHECK(SimLiveFiles() == files);
        CHECK(SimLiveAllocations() == allocations);
    }
    SimOrderFault(L"file", 1, L"close:*", TRUE);
    CHECK_FALSE(readingThrows());
    SimClearFaults();
    SimOrderFault(L"memory", 1, L"alloc:", FALSE);
    CHECK(readingThrows());
    CHECK(SimLiveFiles() == files);
    CHECK(SimLiveAllocations() == allocations);
}

// ---- Names --------------------------------------------------------------------------------------------------------------

TEST_CASE("the names of the locations are what stands behind each record's first at sign")
{
    struct Row {
        const wchar_t *content;
        Names names;
    };
    const Row rows[] = {
        {L"", {}},
        {L"1234,1240,@Home\u00A75678,@Office\u00A7", {L"Home", L"Office"}},
        {L"1234,@Home\u00A75678,@Office", {L"Home"}},          // no end
        {L"1234,Home\u00A75678,@Office\u00A7", {L"Office"}},   // no at sign
        {L"1234,@\u00A75678,@Office\u00A7", {L"Office"}},      // no name
        {L"1,@a@b\u00A7", {L"a@b"}},
        {L"1,@Home\u00A7\u00A72,@Office\u00A7", {L"Home"}},   // an empty record ends the file
        {L"\u00A72,@Office\u00A7", {}},
        {L"@x\u00A7", {L"x"}},
    };
    StartedPhone phone;
    for (const Row &row : rows) {
        phone.write(row.content);
        INFO("file " << narrow(row.content));
        CHECK(namesOfFile() == row.names);
    }
}

TEST_CASE("an exception of whoever collects the names leaves nothing behind")
{
    StartedPhone phone;
    phone.write(twoGroups);
    const int files = SimLiveFiles(), allocations = SimLiveAllocations();
    bool thrown = false;
    try {
        listLocations([](void *, const wchar_t *) { throw 1; }, nullptr);
    } catch (int) {
        thrown = true;
    }
    CHECK(thrown);
    CHECK(SimLiveFiles() == files);
    CHECK(SimLiveAllocations() == allocations);
}
