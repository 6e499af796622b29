#include "network_snapshots.h"

#include <algorithm>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "intercept.h"
#include "page_window.h"
#include "resource.h"
#include "shell_values.h"
#include "test_phone.h"
#include "text.h"

IMPORTED(FindFirstFileW);

namespace {

// A phone on which the program has just been started.
struct StartedPhone : TestPhone {
    StartedPhone()
    {
        restartProgram();
        getAppPath();
    }
    void addFile(const std::wstring &name) const { writeFile((installFolder + (L"\\" + name)).c_str(), "x"); }
};

// A dialog with a list box, and a drop-down list.
class Lists {
public:
    Lists()
    {
        dialog = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 240, 320, nullptr, nullptr, appInstance, nullptr);
        listBox =
            CreateWindowExW(0, L"ListBox", L"", WS_CHILD, 0, 0, 200, 100, dialog,
                            reinterpret_cast<HMENU>(static_cast<INT_PTR>(IDC_SNAPSHOT_LIST)), appInstance, nullptr);
        combo = CreateWindowExW(0, L"ComboBox", L"", WS_CHILD | CBS_DROPDOWNLIST, 0, 120, 200, 100, dialog, nullptr,
                                appInstance, nullptr);
    }
    ~Lists() { DestroyWindow(dialog); }
    Lists(const Lists &) = delete;
    Lists &operator=(const Lists &) = delete;

    std::vector<std::wstring> inListBox() const { return entries(listBox, LB_GETCOUNT, LB_GETTEXT); }
    std::vector<std::wstring> inCombo() const { return entries(combo, CB_GETCOUNT, CB_GETLBTEXT); }

    HWND dialog, listBox, combo;

private:
    static std::vector<std::wstring> entries(HWND list, UINT countMessage, UINT textMessage)
    {
        std::vector<std::wstring> found(static_cast<size_t>(SendMessageW(list, countMessage, 0, 0)));
        for (size_t i = 0; i < found.size(); ++i) {
            wchar_t text[MAX_PATH] = L"";
            SendMessageW(list, textMessage, i, reinterpret_cast<LPARAM>(text));
            found[i] = text;
        }
        return found;
    }
};

using Names = std::vector<std::wstring>;

// The directory's order is the file system's affair.
Names sorted(Names names)
{
    std::sort(names.begin(), names.end());
    return names;
}

}   // namespace

TEST_CASE("every name with .net in it is a snapshot, called by what stands in front of that")
{
    StartedPhone phone;
    for (const wchar_t *name : {L"Home.net", L"x.net.bak", L"office.network", L"a.b.net", L"two.net.net",
                                L"blank name.net", L"plain.txt", L"net", L"Xnet", L"upper.NET"})
        phone.addFile(name);
    phone.makeFolder((std::wstring(installFolder) + L"\\folder.net").c_str());
    const Names expected = {L"Home", L"a.b", L"blank name", L"folder", L"office", L"two", L"x"};
    Lists lists;
    listSnapshots(lists.dialog, 1);
    CHECK(sorted(lists.inListBox()) == expected);
    CHECK(lists.inCombo().empty());
    listSnapshots(lists.combo, 0);
    CHECK(sorted(lists.inCombo()) == expected);
}

TEST_CASE("the list box is emptied first, the drop-down list keeps what it has")
{
    StartedPhone phone;
    phone.addFile(L"Home.net");
    Lists lists;
    SendMessageW(lists.listBox, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"old"));
    SendMessageW(lists.combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"Leave Unchanged"));
    for (int i = 0; i < 2; ++i)
        listSnapshots(lists.dialog, 5);   // any number but 0
    CHECK(lists.inListBox() == Names{L"Home"});
    listSnapshots(lists.combo, 0);
    CHECK(lists.inCombo() == Names{L"Leave Unchanged", L"Home"});
}

TEST_CASE("without a snapshot the list box is empty")
{
    StartedPhone phone;
    Lists lists;
    SendMessageW(lists.listBox, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"old"));
    listSnapshots(lists.dialog, 1);
    CHECK(lists.inListBox().empty());
}

TEST_CASE("a file called nothing but .net is a snapshot without a name")
{
    StartedPhone phone;
    phone.addFile(L".net");
    Lists lists;
    listSnapshots(lists.dialog, 1);
    CHECK(lists.inListBox() == Names{L""});
}

TEST_CASE("a long name is listed whole")
{
    StartedPhone phone;
    const std::wstring name(100, L'n');
    phone.addFile(name + L".net");
    Lists lists;
    listSnapshots(lists.dialog, 1);
    CHECK(lists.inListBox() == Names{name});
}

TEST_CASE("an install directory that is missing has no snapshots")
{
    StartedPhone phone;
    phone.addFile(L"Home.net");
    freeText(appPath);
    appPath = duplicateText(L"\\Gone\\Kelvane");
    Lists lists;
    listSnapshots(lists.dialog, 1);
    listSnapshots(lists.combo, 0);
    CHECK(lists.inListBox().empty());
    CHECK(lists.inCombo().empty());
    freeText(appPath);
    appPath = duplicateText((L"\\Kelvane" + std::wstring(251, L'd')).c_str());
    listSnapshots(lists.dialog, 1);
    CHECK(lists.inListBox().empty());
}

TEST_CASE("a folder that cannot be read lists nothing, an exception is logged")
{
    StartedPhone phone;
    phone.addFile(L"Home.net");
    Lists lists;
    SimOrderFault(L"file", 1, L"find:*", FALSE);
    listSnapshots(lists.dialog, 1);
    CHECK(lists.inListBox().empty());
    CHECK(phone.log().empty());
    SimOrderFault(L"file", 1, L"find:*", TRUE);
    listSnapshots(lists.dialog, 1);
    CHECK(lists.inListBox().empty());
    CHECK(phone.log() == std::vector<std::string>{"** Exception listSnapshots **"});
}

TEST_CASE("snapshots stand in the order in which the folder has them, unsorted")
{
    StartedPhone phone;
    for (const wchar_t *name : {L"b.net", L"A.net", L"c.net"})
        phone.addFile(name);
    Lists lists;
    SendMessageW(lists.combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"Leave Unchanged"));
    Intercept<__imp_FindFirstFileW> first([](const wchar_t *pattern, WIN32_FIND_DATAW *found) -> HANDLE {
        const HANDLE search = Intercept<__imp_FindFirstFileW>::real(pattern, found);
        wcscpy(found->cFileName, L"z.net");
        return search;
    });
    listSnapshots(lists.dialog, 1);
    listSnapshots(lists.combo, 0);
    Names all = lists.inListBox();
    REQUIRE(all.size() > 1);
    CHECK(all.front() == L"z");
    all.insert(all.begin(), L"Leave Unchanged");
    CHECK(lists.inCombo() == all);
}

TEST_CASE("a folder that vanishes while it is read keeps the snapshots found in it")
{
    for (const BOOL raise : {FALSE, TRUE}) {
        StartedPhone phone;
        Lists lists;
        Intercept<__imp_FindFirstFileW> first([](const wchar_t *pattern, WIN32_FIND_DATAW *found) -> HANDLE {
            const HANDLE search = Intercept<__imp_FindFirstFileW>::real(pattern, found);
            wcscpy(found->cFileName, L"first.net");
            return search;
        });
        const int files = SimLiveFiles();
        SimOrderFault(L"file", 1, L"next:*", raise);
        listSnapshots(lists.dialog, 1);
        CHECK(lists.inListBox() == Names{L"first"});
        SimOrderFault(L"file", 1, L"next:*", raise);
        listSnapshots(lists.combo, 0);
        CHECK(lists.inCombo() == Names{L"first"});
        SimClearFaults();
        CHECK(SimLiveFiles() == files);
        CHECK(phone.log() == std::vector<std::string>(raise ? 2 : 0, "** Exception listSnapshots **"));
    }
}
