#include "folder_entries.h"

#include <algorithm>

#include "control.h"
#include "doctest.h"
#include "test_phone.h"

namespace {

std::vector<std::wstring> namesOf(const wchar_t *pattern)
{
    std::vector<std::wstring> names;
    FolderEntries entries(pattern);
    while (const WIN32_FIND_DATAW *entry = entries.next())
        names.push_back(entry->cFileName);
    CHECK(entries.next() == nullptr);
    std::sort(names.begin(), names.end());
    return names;
}

using Names = std::vector<std::wstring>;

}   // namespace

TEST_CASE("every entry of a folder is found once")
{
    TestPhone phone;
    phone.removeFolder(L"\\Temp");
    phone.makeFolder(L"\\Temp\\folder");
    phone.writeFile(L"\\Temp\\a.txt", "");
    phone.writeFile(L"\\Temp\\b.net", "");
    CHECK(namesOf(L"\\Temp\\*") == Names{L"a.txt", L"b.net", L"folder"});
    CHECK(namesOf(L"\\Temp\\*.net") == Names{L"b.net"});
}

TEST_CASE("an entry has its attributes and size")
{
    TestPhone phone;
    phone.removeFolder(L"\\Temp");
    phone.writeFile(L"\\Temp\\five", "12345");
    FolderEntries entries(L"\\Temp\\*");
    const WIN32_FIND_DATAW *entry = entries.next();
    REQUIRE(entry);
    CHECK((entry->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0);
    CHECK(entry->nFileSizeLow == 5);
    CHECK(entry->nFileSizeHigh == 0);
    FolderEntries root(L"\\Te*");
    entry = root.next();
    REQUIRE(entry);
    CHECK((entry->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0);
}

TEST_CASE("a folder that is empty, missing or unreadable has no entries")
{
    TestPhone phone;
    phone.removeFolder(L"\\Temp");
    phone.makeFolder(L"\\Temp");
    CHECK(namesOf(L"\\Temp\\*").empty());
    CHECK(namesOf(L"\\Gone\\*").empty());
    phone.writeFile(L"\\Temp\\a.txt", "");
    SimOrderFault(L"file", 1, L"find:*", FALSE);
    CHECK(namesOf(L"\\Temp\\*").empty());
    CHECK(namesOf(L"\\Temp\\*") == Names{L"a.txt"});
}
