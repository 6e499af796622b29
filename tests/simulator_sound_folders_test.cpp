// SndGetSoundDirectoriesList of the simulated phone: what it answers, and how wrong answers are ordered.

#include <string>
#include <vector>

#include "aygshell.h"
#include "control.h"
#include "doctest.h"
#include "test_phone.h"

PHONE_API FARPROC GetProcAddressW(HMODULE module, const wchar_t *name);

namespace {

using Names = std::vector<std::string>;
using Function = decltype(&SndGetSoundDirectoriesList);

Function lookedUp()
{
    const HMODULE shell = LoadLibraryW(L"aygshell.dll");
    if (!shell)
        return nullptr;
    const auto function = reinterpret_cast<Function>(
        reinterpret_cast<void *>(GetProcAddressW(shell, L"SndGetSoundDirectoriesList")));
    FreeLibrary(shell);   // this program has imported it, so it stays
    return function;
}

bool isThere()
{
    return lookedUp() != nullptr;
}

// Stays in place where the answer does not come.
SNDDIRECTORYINFO noArray;

struct Answer {
    HRESULT result;
    SNDDIRECTORYINFO *array = &noArray;
    int count = -7;

    explicit Answer(DWORD locations = SND_LOCATION_ALL)
    {
        const Function function = lookedUp();
        REQUIRE((function != nullptr));
        result = function(SND_EVENT_RINGTONELINE1, locations, &array, &count);
    }
    ~Answer()
    {
        if (array != &noArray)
            LocalFree(array);
    }
    Answer(const Answer &) = delete;
    Answer &operator=(const Answer &) = delete;

    Names paths() const
    {
        Names found;
        for (int i = 0; array != &noArray && i < count; ++i)
            found.push_back(narrow(array[i].szPathName));
        return found;
    }
};

}   // namespace

TEST_CASE("phones since Windows Mobile 5 tell their sound folders, older ones lack the function")
{
    struct Row {
        const char *phone;
        Names folders;
    };
    const Names usual{"\\Windows", "\\Windows\\Rings", "\\My Documents\\My Ringtones", "\\Storage Card"};
    for (const Row &row :
         {Row{"wm6", usual}, Row{"wm5", usual},
          Row{"landscape", {"\\Windows\\Rings", "\\My Documents\\My Ringtones", "\\Storage Card"}},
          Row{"square", {"\\Windows\\Rings", "\\My Documents\\My Ringtones"}},
          Row{"vga", {"\\My Documents\\My Ringtones", "\\Windows\\Rings", "\\WINDOWS", "\\Storage Card"}}}) {
        INFO(row.phone);
        TestPhone phone(row.phone);
        const int before = SimLiveAllocations();
        {
            Answer answer;
            CHECK(answer.result == S_OK);
            CHECK(answer.paths() == row.folders);
        }
        CHECK(SimLiveAllocations() == before);
    }
    TestPhone old("ppc2003");
    CHECK_FALSE(isThere());
}

TEST_CASE("a phone can lack the function or the library")
{
    TestPhone phone;
    phone.set(L"exports", L"missing", L"SndGetSoundDirectoriesList");
    CHECK_FALSE(isThere());
    phone.set(L"exports", L"missing", L"");
    CHECK(isThere());
    phone.set(L"exports", L"missing_modules", L"aygshell.dll");
    CHECK_FALSE(isThere());
}

TEST_CASE("folders are told apart by where they lie: on a card, in the user's data, in the system")
{
    TestPhone phone;
    phone.set(L"storage", L"cards", L"Storage Card, CF Card");
    phone.set(L"sounds", L"directories", L"\\Windows\\Rings, \\My Documents, \\CF Card\\Tones, \\WINDOWS, \\Windows2");
    CHECK(Answer(1).paths() == Names{"\\CF Card\\Tones"});
    CHECK(Answer(2).paths() == Names{"\\My Documents", "\\Windows2"});
    CHECK(Answer(4).paths() == Names{"\\Windows\\Rings", "\\WINDOWS"});
    CHECK(Answer(6).count == 4);
    CHECK(Answer(0).count == 0);
}

TEST_CASE("wrong answers are ordered in phone.ini")
{
    TestPhone phone;
    phone.set(L"sounds", L"directories", L"\\A, \\B");
    SUBCASE("a failure leaves array and count alone")
    {
        phone.set(L"sounds", L"result", L"0x80004005");
        Answer answer;
        CHECK(answer.result == E_FAIL);
        CHECK(answer.array == &noArray);
        CHECK(answer.count == -7);
    }
    SUBCASE("a count without array")
    {
        phone.set(L"sounds", L"array", L"0");
        Answer answer;
        CHECK(answer.result == S_OK);
        CHECK(answer.array == &noArray);
        CHECK(answer.count == 2);
    }
    SUBCASE("an array with a count of 0")
    {
        phone.set(L"sounds", L"count", L"0");
        Answer answer;
        CHECK(answer.array != &noArray);
        CHECK(answer.count == 0);
    }
    SUBCASE("more than there are, the rest empty")
    {
        phone.set(L"sounds", L"count", L"4");
        CHECK(Answer().paths() == Names{"\\A", "\\B", "", ""});
    }
    SUBCASE("no folders at all")
    {
        phone.set(L"sounds", L"directories", L"");
        Answer answer;
        CHECK(answer.array != &noArray);
        CHECK(answer.count == 0);
    }
    SUBCASE("no memory")
    {
        SNDDIRECTORYINFO *array = &noArray;
        int count = -7;
        const Function function = lookedUp();
        SimOrderFault(L"memory", 1, L"alloc:", FALSE);
        const HRESULT result = function(SND_EVENT_RINGTONELINE1, SND_LOCATION_ALL, &array, &count);
        SimClearFaults();
        CHECK(result == E_OUTOFMEMORY);
        CHECK(array == nullptr);
        CHECK(count == -7);
    }
}

TEST_CASE("a folder's path of 260 characters comes without an end, as a careless system might write it")
{
    TestPhone phone;
    phone.set(L"sounds", L"directories", (L"\\" + std::wstring(259, L'x') + L", \\B").c_str());
    Answer answer;
    CHECK(answer.count == 2);
    CHECK(answer.array[0].szPathName[259] == L'x');
    CHECK(answer.array[1].szPathName[0] == L'\\');
}
