#include "list_text.h"

#include <string>
#include <vector>

#include "doctest.h"

namespace {

// All entries, and behind them what is left of the text.
std::vector<std::wstring> entriesOf(std::wstring text)
{
    std::vector<std::wstring> found;
    wchar_t *rest = &text[0];
    while (const wchar_t *entry = nextListEntry(rest))
        found.push_back(entry);
    found.push_back(rest);
    return found;
}

using Texts = std::vector<std::wstring>;

}   // namespace

TEST_CASE("a list's entries are what stands in front of each separator")
{
    CHECK(entriesOf(L"") == Texts{L""});
    CHECK(entriesOf(L"one") == Texts{L"one"});
    CHECK(entriesOf(L"one\u00A7") == Texts{L"one", L""});
    CHECK(entriesOf(L"one\u00A7two\u00A7") == Texts{L"one", L"two", L""});
    CHECK(entriesOf(L"one\u00A7two") == Texts{L"one", L"two"});
    CHECK(entriesOf(L"\u00A7\u00A7x") == Texts{L"", L"", L"x"});
}

TEST_CASE("no text has no entries")
{
    wchar_t *rest = nullptr;
    CHECK(nextListEntry(rest) == nullptr);
    CHECK(rest == nullptr);
}
