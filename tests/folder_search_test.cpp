#include "folder_search.h"

#include <algorithm>

#include "control.h"
#include "doctest.h"
#include "test_phone.h"

namespace {

using Names = std::vector<std::wstring>;

Names namesOf(const wchar_t *pattern)
{
    Names names;
    for (FolderSearch search(pattern); search.atEntry(); search.next())
        names.push_back(search.entry().cFileName);
    std::sort(names.begin(), names.end());
    return names;
}

DWORD firstAttributes(const wchar_t *pattern)
{
    const FolderSearch search(pattern);
    REQUIRE(search.atEntry());
    return search.entry().dwFileAttributes;
}

}   // namespace

TEST_CASE("every entry of a folder is found once")
{
    TestPhone phone;
    phone.removeFolder(L"\\Temp");
    phone.makeFolder(L"\\Temp\\folder");
    phone.writeFile(L"\\Temp\\a.txt", "");
    phone.writeFile(L"\\Temp\\b.net", "");
    CHECK(namesOf(L"\\Temp\\*") == Names{L"a.txt", L"b.net", L"folder"});
}

TEST_CASE("an entry says whether it is a folder")
{
    TestPhone phone;
    phone.removeFolder(L"\\Temp");
    phone.writeFile(L"\\Temp\\file", "12345");
    CHECK((firstAttributes(L"\\Temp\\*") & FILE_ATTRIBUTE_DIRECTORY) == 0);
    phone.removeFolder(L"\\Temp");
    phone.makeFolder(L"\\Temp\\folder");
    CHECK((firstAttributes(L"\\Temp\\*") & FILE_ATTRIBUTE_DIRECTORY) != 0);
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
