#include "find_file.h"

#include "control.h"
#include "control_windows.h"
#include "doctest.h"
#include "environment.h"
#include "modal_dialog.h"
#include "page_window.h"
#include "shell_values.h"
#include "test_phone.h"
#include "text.h"
#include "user_settings.h"

namespace {

constexpr int list = 1319, path = 1320, rootButton = 1321, upButton = 1322;

// A phone on which the program has just been started.
struct StartedPhone : TestPhone {
    explicit StartedPhone(const char *base = "wm6") : TestPhone(base)
    {
        restartProgram();
        getAppPath();
        copyText(findFileFolder, L"\\");
    }
    ~StartedPhone() { freeText(pickedPath); }
};

bool find(bool foldersOnly, const std::function<void(HWND dialog)> &script)
{
    return runModal([&] { showFindFile(nullptr, foldersOnly); }, script);
}

struct Entry {
    std::wstring name;
    int image;
    LPARAM key;
};

Entry entryAt(HWND dialog, int row)
{
    wchar_t name[MAX_PATH] = L"";
    LVITEMW item = {};
    item.mask = LVIF_TEXT | LVIF_IMAGE | LVIF_PARAM;
    item.iItem = row;
    item.pszText = name;
    item.cchTextMax = MAX_PATH;
    CHECK(SendDlgItemMessageW(dialog, list, LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item)));
    return {item.pszText, item.iImage, item.lParam};
}

std::vector<std::wstring> namesOf(HWND dialog)
{
    std::vector<std::wstring> names;
    const int count = static_cast<int>(SendDlgItemMessageW(dialog, list, LVM_GETITEMCOUNT, 0, 0));
    for (int i = 0; i < count; ++i)
        names.push_back(entryAt(dialog, i).name);
    return names;
}

int rowOf(HWND dialog, const wchar_t *name)
{
    const std::vector<std::wstring> names = namesOf(dialog);
    for (size_t i = 0; i < names.size(); ++i)
        if (names[i] == name)
            return static_cast<int>(i);
    FAIL_CHECK("not in the list: " << narrow(name));
    return -1;
}

void tapRow(HWND dialog, int row)
{
    NMLISTVIEW tap = {};
    tap.hdr.hwndFrom = GetDlgItem(dialog, list);
    tap.hdr.idFrom = list;
    tap.hdr.code = static_cast<UINT>(NM_CLICK);
    tap.iItem = row;
    SendMessageW(dialog, WM_NOTIFY, list, reinterpret_cast<LPARAM>(&tap));
}

void tap(HWND dialog, const wchar_t *name)
{
    tapRow(dialog, rowOf(dialog, name));
}

void pressOk(HWND dialog)
{
    SendMessageW(dialog, WM_COMMAND, IDOK, 0);
}

// What pressing OK picks while the edit control holds a text; "(none)" when it is not taken.
std::wstring picked(bool foldersOnly, const std::wstring &text)
{
    freeText(pickedPath);
    CHECK(find(foldersOnly, [&](HWND dialog) {
        setControlText(dialog, path, text);
        pressOk(dialog);
        CHECK_FALSE(IsWindowVisible(dialog));
    }));
    return pickedPath ? pickedPath : L"(none)";
}

using Names = std::vector<std::wstring>;

const Names rootFolders = {L"My Documents", L"Program Files", L"Storage Card", L"Temp", L"Windows"};

}   // namespace

// ---- Opening ------------------------------------------------------------------------------------------------------------

TEST_CASE("Find File fills the screen of every phone, with an ok button and the input panel lowered")
{
    struct Screen {
        const char *phone;
        RECT dialog, list;
    };
    // The list reaches from below the controls to near the lower edge.
    for (const Screen &screen : {Screen{"wm6", {0, 26, 240, 294}, {2, 53, 237, 268 - 5}},
                                 Screen{"landscape", {0, 26, 320, 214}, {2, 53, 317, 188 - 5}},
                                 Screen{"square", {0, 26, 240, 214}, {2, 53, 237, 188 - 5}},
                                 Screen{"vga", {0, 52, 480, 588}, {4, 106, 479, 536 - 25}}}) {
        StartedPhone phone(screen.phone);
        SimSetPanel(TRUE);
        CHECK(find(false, [&](HWND dialog) {
            RECT area, place, edit;
            GetWindowRect(dialog, &area);
            GetWindowRect(GetDlgItem(dialog, list), &place);
            GetWindowRect(GetDlgItem(dialog, path), &edit);
            MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT *>(&place), 2);
            MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT *>(&edit), 2);
            INFO(std::string(screen.phone)
                 << ": list " << place.left << "," << place.top << " to " << place.right << "," << place.bottom);
            CHECK(EqualRect(&area, &screen.dialog));
            CHECK(EqualRect(&place, &screen.list));
            CHECK(edit.right == place.right);
            CHECK(edit.bottom < place.top);
            CHECK(windowText(dialog) == L"Find File");
            CHECK(SimOkOwner() == dialog);
        }));
        CHECK(phone.journal("panel") == std::vector<std::string>{"panel on", "panel off"});
    }
}

TEST_CASE("Find File begins in the root, with one column and two images")
{
    StartedPhone phone;
    find(false, [](HWND dialog) {
        CHECK(controlText(dialog, path) == L"\\");
        CHECK(namesOf(dialog) == rootFolders);
        wchar_t title[300] = L"";
        LVCOLUMNW column = {};
        column.mask = LVCF_TEXT | LVCF_WIDTH;
        column.pszText = title;
        column.cchTextMax = 300;
        CHECK(SendDlgItemMessageW(dialog, list, LVM_GETCOLUMNW, 0, reinterpret_cast<LPARAM>(&column)));
        CHECK(std::wstring(column.pszText) == L"Name");
        CHECK(column.cx == 232);
        CHECK_FALSE(SendDlgItemMessageW(dialog, list, LVM_GETCOLUMNW, 1, reinterpret_cast<LPARAM>(&column)));
        const auto images =
            reinterpret_cast<HIMAGELIST>(SendDlgItemMessageW(dialog, list, LVM_GETIMAGELIST, LVSIL_SMALL, 0));
        CHECK(ImageList_GetImageCount(images) == 2);
        int width = 0, height = 0;
        CHECK(ImageList_GetIconSize(images, &width, &height));
        CHECK(width == 16);
        CHECK(height == 16);
    });
}

TEST_CASE("on a screen of twice the resolution images and column are twice as large")
{
    StartedPhone phone("vga");
    find(false, [](HWND dialog) {
        CHECK(SendDlgItemMessageW(dialog, list, LVM_GETCOLUMNWIDTH, 0, 0) == 464);
        const auto images =
            reinterpret_cast<HIMAGELIST>(SendDlgItemMessageW(dialog, list, LVM_GETIMAGELIST, LVSIL_SMALL, 0));
        int width = 0, height = 0;
        CHECK(ImageList_GetIconSize(images, &width, &height));
        CHECK(width == 32);
        CHECK(height == 32);
    });
}

TEST_CASE("the column's title is translated")
{
    StartedPhone phone;
    phone.writeLanguageFile(L"DE", {L"Test", L"292=" + std::wstring(200, L'N')});
    userSettings.lang = 1;
    find(false, [](HWND dialog) {
        wchar_t title[300] = L"";
        LVCOLUMNW column = {};
        column.mask = LVCF_TEXT;
        column.pszText = title;
        column.cchTextMax = 300;
        SendDlgItemMessageW(dialog, list, LVM_GETCOLUMNW, 0, reinterpret_cast<LPARAM>(&column));
        CHECK(std::wstring(column.pszText) == std::wstring(200, L'N'));
    });
}

TEST_CASE("raising and lowering the input panel fits the list to what is left, again and again")
{
    StartedPhone phone;
    find(false, [](HWND dialog) {
        const auto height = [&] {
            RECT area;
            GetWindowRect(GetDlgItem(dialog, list), &area);
            return area.bottom - area.top;
        };
        for (int i = 0; i < 2; ++i) {
            SimSetPanel(TRUE);
            CHECK(waitFor([&] { return height() == 188 - 53 - 20 + 15; }));
            SimSetPanel(FALSE);
            CHECK(waitFor([&] { return height() == 294 - 53 - 20 + 15 - 26; }));
        }
    });
}

TEST_CASE("Find File lies on the pages' ground")
{
    StartedPhone phone;
    backgroundBrush = CreateSolidBrush(RGB(220, 220, 230));
    find(false, [](HWND dialog) {
        const HDC dc = GetDC(dialog);
        for (UINT message : {WM_CTLCOLORDLG, WM_CTLCOLORSTATIC, WM_CTLCOLORBTN})
            CHECK(SendMessageW(dialog, message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(dialog)) ==
                  reinterpret_cast<LRESULT>(backgroundBrush));
        ReleaseDC(dialog, dc);
    });
    DeleteObject(backgroundBrush);
    backgroundBrush = nullptr;
}

// ---- The list -------------------------------------------------------------------------------------------------------------

TEST_CASE("folders come first, then files, both by the first two letters of their names whatever their case")
{
    StartedPhone phone;
    phone.removeFolder(L"\\Temp");
    for (const wchar_t *folder : {L"\\Temp\\zoo", L"\\Temp\\Beta", L"\\Temp\\alpha", L"\\Temp\\B"})
        phone.makeFolder(folder);
    for (const wchar_t *file : {L"\\Temp\\apple.txt", L"\\Temp\\ZEBRA", L"\\Temp\\Banana.exe", L"\\Temp\\.hidden"})
        phone.writeFile(file, "x");
    phone.writeFile(L"\\Temp\\.keep", "");
    find(false, [](HWND dialog) {
        tap(dialog, L"Temp");
        CHECK(namesOf(dialog) ==
              Names{L"alpha", L"B", L"Beta", L"zoo", L".hidden", L"apple.txt", L"Banana.exe", L"ZEBRA"});
        struct Expected {
            int image;
            LPARAM key;
        };
        constexpr Expected expected[] = {{0, 'a' * 256 + 'l'},         {0, 'b' * 256},
                                         {0, 'b' * 256 + 'e'},         {0, 'z' * 256 + 'o'},
                                         {1, '.' * 256 + 'h' + 66000}, {1, 'a' * 256 + 'p' + 66000},
                                         {1, 'b' * 256 + 'a' + 66000}, {1, 'z' * 256 + 'e' + 66000}};
        for (int i = 0; i < 8; ++i) {
            const Entry entry = entryAt(dialog, i);
            INFO("entry " << i);
            CHECK(entry.image == expected[i].image);
            CHECK(entry.key == expected[i].key);
        }
    });
    find(true, [](HWND dialog) { CHECK(namesOf(dialog) == Names{L"alpha", L"B", L"Beta", L"zoo"}); });
}

// The key of a file is 66000 more than that of a folder, which is more than any Latin letter makes and less than others do.
TEST_CASE("a folder whose name begins with a letter beyond Latin comes after Latin files")
{
    StartedPhone phone;
    phone.removeFolder(L"\\Temp");
    phone.makeFolder(L"\\Temp\\\x0444\x043E\x0442\x043E");
    phone.makeFolder(L"\\Temp\\\x00E9t\x00E9");
    phone.writeFile(L"\\Temp\\zoo.txt", "x");
    copyText(findFileFolder, L"\\Temp");
    find(false, [](HWND dialog) {
        CHECK(namesOf(dialog) == Names{L"\x00E9t\x00E9", L"zoo.txt", L"\x0444\x043E\x0442\x043E"});
        CHECK(entryAt(dialog, 2).key == 0x0444 * 256 + 0x043E);
    });
}

TEST_CASE("a hundred entries of the same beginning are all listed")
{
    StartedPhone phone;
    phone.removeFolder(L"\\Temp");
    for (int i = 0; i < 100; ++i)
        phone.writeFile((L"\\Temp\\same" + std::to_wstring(i) + L".txt").c_str(), "x");
    copyText(findFileFolder, L"\\Temp");
    find(false, [](HWND dialog) { CHECK(namesOf(dialog).size() == 100); });
}

TEST_CASE("a folder that is empty or cannot be read gives an empty list")
{
    StartedPhone phone;
    phone.removeFolder(L"\\Temp");
    phone.makeFolder(L"\\Temp\\empty");
    find(false, [&](HWND dialog) {
        tap(dialog, L"Temp");
        tap(dialog, L"empty");
        CHECK(namesOf(dialog).empty());
        clickControl(dialog, rootButton);
        CHECK(namesOf(dialog) == rootFolders);
        phone.removeFolder(L"\\Temp");
        tap(dialog, L"Temp");
        CHECK(controlText(dialog, path) == L"\\Temp");
        CHECK(namesOf(dialog).empty());
        SimOrderFault(L"file", 1, L"find:*", FALSE);
        clickControl(dialog, rootButton);
        CHECK(namesOf(dialog).empty());
        clickControl(dialog, rootButton);
        CHECK(namesOf(dialog).size() == 4);
        CHECK(SendDlgItemMessageW(dialog, list, LVM_GETCOLUMNWIDTH, 0, 0) == 232);
    });
}

TEST_CASE("a folder that vanishes while it is read keeps what was found in it, in order")
{
    for (const BOOL raise : {FALSE, TRUE}) {
        StartedPhone phone;
        for (const wchar_t *name : {L"\\Temp\\a", L"\\Temp\\b", L"\\Temp\\c"})
            phone.makeFolder(name);
        find(true, [&](HWND dialog) {
            SimOrderFault(L"file", 2, L"next:\\Temp\\*", raise);
            tap(dialog, L"Temp");
            SimClearFaults();
            CHECK(namesOf(dialog) == Names{L"a", L"b"});
            clickControl(dialog, rootButton);
            CHECK(namesOf(dialog) == rootFolders);
        });
        CHECK(phone.log() ==
              (raise ? std::vector<std::string>{"** Exception fillFileList **"} : std::vector<std::string>{}));
    }
}

TEST_CASE("filling without clearing adds to what is there")
{
    StartedPhone phone;
    find(false, [](HWND dialog) {
        fillFileList(GetDlgItem(dialog, list), L"\\", false);
        CHECK(namesOf(dialog).size() == 10);
        fillFileList(GetDlgItem(dialog, list), L"\\", true);
        CHECK(namesOf(dialog).size() == 5);
        LVCOLUMNW column = {};
        column.mask = LVCF_WIDTH;
        CHECK_FALSE(SendDlgItemMessageW(dialog, list, LVM_GETCOLUMNW, 1, reinterpret_cast<LPARAM>(&column)));
    });
}

// ---- Moving about -----------------------------------------------------------------------------------------------------------

TEST_CASE("tapping folders goes down, the buttons go up one folder or to the root")
{
    StartedPhone phone;
    phone.makeFolder(L"\\Temp\\one\\two");
    find(true, [](HWND dialog) {
        tap(dialog, L"Temp");
        CHECK(controlText(dialog, path) == L"\\Temp");
        CHECK(namesOf(dialog) == Names{L"one"});
        tap(dialog, L"one");
        CHECK(controlText(dialog, path) == L"\\Temp\\one");
        tap(dialog, L"two");
        CHECK(controlText(dialog, path) == L"\\Temp\\one\\two");
        clickControl(dialog, upButton);
        CHECK(controlText(dialog, path) == L"\\Temp\\one");
        CHECK(namesOf(dialog) == Names{L"two"});
        clickControl(dialog, upButton);
        CHECK(controlText(dialog, path) == L"\\Temp");
        clickControl(dialog, upButton);
        CHECK(controlText(dialog, path) == L"\\");
        CHECK(namesOf(dialog) == rootFolders);
        clickControl(dialog, upButton);
        CHECK(controlText(dialog, path) == L"\\");
        tap(dialog, L"Temp");
        tap(dialog, L"one");
        clickControl(dialog, rootButton);
        CHECK(controlText(dialog, path) == L"\\");
        CHECK(namesOf(dialog) == rootFolders);
    });
}

TEST_CASE("tapping a file puts it behind the folder, in place of another")
{
    StartedPhone phone;
    phone.writeFile(L"\\Temp\\a.txt", "");
    phone.writeFile(L"\\Temp\\b.txt", "");
    find(false, [](HWND dialog) {
        tap(dialog, L"Temp");
        tap(dialog, L"a.txt");
        CHECK(controlText(dialog, path) == L"\\Temp\\a.txt");
        tap(dialog, L"b.txt");
        CHECK(controlText(dialog, path) == L"\\Temp\\b.txt");
        CHECK(namesOf(dialog) == Names{L"a.txt", L"b.txt"});
        clickControl(dialog, upButton);
        CHECK(controlText(dialog, path) == L"\\");
    });
}

TEST_CASE("a dot makes a name a file's, whatever it belongs to")
{
    StartedPhone phone;
    phone.makeFolder(L"\\Temp\\v1.2\\below");
    phone.writeFile(L"\\Temp\\readme", "");
    copyText(findFileFolder, L"\\Temp");
    find(false, [](HWND dialog) {
        tap(dialog, L"v1.2");
        CHECK(controlText(dialog, path) == L"\\Temp\\v1.2");
        CHECK(namesOf(dialog) == Names{L"v1.2", L"readme"});
        tap(dialog, L"readme");   // taken for a folder, which it is not
        CHECK(controlText(dialog, path) == L"\\Temp\\readme");
        CHECK(namesOf(dialog).empty());
    });
}

TEST_CASE("tapping beside the entries does nothing")
{
    StartedPhone phone;
    find(false, [](HWND dialog) {
        tapRow(dialog, -1);
        tapRow(dialog, 5);
        CHECK(controlText(dialog, path) == L"\\");
        CHECK(namesOf(dialog) == rootFolders);
    });
}

TEST_CASE("the right key and the space bar open what is selected, the left key goes up")
{
    StartedPhone phone;
    phone.makeFolder(L"\\Temp\\one");
    find(true, [](HWND dialog) {
        const HWND view = GetDlgItem(dialog, list);
        for (WPARAM key : {VK_RIGHT, VK_SPACE}) {
            SendMessageW(view, WM_KEYDOWN, key, 1);   // nothing is selected yet
            CHECK(controlText(dialog, path) == L"\\");
            LVITEMW item = {};
            item.state = item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
            SendMessageW(view, LVM_SETITEMSTATE, rowOf(dialog, L"Temp"), reinterpret_cast<LPARAM>(&item));
            SendMessageW(view, WM_KEYDOWN, key, 1);
            CHECK(controlText(dialog, path) == L"\\Temp");
            SendMessageW(view, WM_KEYDOWN, VK_LEFT, 1);
            CHECK(controlText(dialog, path) == L"\\");
        }
    });
}

TEST_CASE("a path that would be longer than 259 characters is not gone to, nor cut")
{
    StartedPhone phone;
    phone.writeFile(L"\\a.txt", "");
    for (size_t length : {253, 254, 255}) {
        find(false, [&](HWND dialog) {
            const std::wstring deep = L"\\" + std::wstring(length - 1, L'd');
            copyText(findFileFolder, deep.c_str());
            setControlText(dialog, path, L"as before");
            tap(dialog, L"Temp");   // 5 characters with the separator
            INFO(length << " characters");
            CHECK(controlText(dialog, path) == (length <= 254 ? deep + L"\\Temp" : L"as before"));
            CHECK(findFileFolder == (length <= 254 ? deep + L"\\Temp" : deep));
            CHECK(namesOf(dialog).empty() == (length <= 254));
        });
        copyText(findFileFolder, L"\\");
        find(false, [&](HWND dialog) {
            const std::wstring deep = L"\\" + std::wstring(length - 2, L'd');
            copyText(findFileFolder, deep.c_str());
            setControlText(dialog, path, L"as before");
            tap(dialog, L"a.txt");   // 6 characters with the separator
            CHECK(controlText(dialog, path) == (length <= 254 ? deep + L"\\a.txt" : L"as before"));
        });
        copyText(findFileFolder, L"\\");
    }
}

// ---- Leaving ------------------------------------------------------------------------------------------------------------------

TEST_CASE("a folder is taken whatever it is called, a file only with a dot")
{
    StartedPhone phone;
    for (const wchar_t *text : {L"\\", L"\\Temp", L"\\Temp\\a.txt", L"typed", L""})
        CHECK(picked(true, text) == text);
    for (const wchar_t *text : {L"\\Temp\\a.txt", L".", L"a.b\\c"})
        CHECK(picked(false, text) == text);
    for (const wchar_t *text : {L"\\", L"\\Temp", L"typed", L""})
        CHECK(picked(false, text) == L"(none)");
}

TEST_CASE("the taken path replaces what pickedPath holds, and one that is not taken does not")
{
    StartedPhone phone;
    holdPickedPath();
    wcscpy(pickedPath, L"\\old.txt");
    const wchar_t *const held = pickedPath;
    find(false, [](HWND dialog) { pressOk(dialog); });
    CHECK(pickedPath == std::wstring(L"\\old.txt"));
    find(false, [](HWND dialog) {
        setControlText(dialog, path, L"\\new.txt");
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    });
    CHECK(pickedPath == std::wstring(L"\\old.txt"));
    find(false, [](HWND dialog) {
        setControlText(dialog, path, L"\\new.txt");
        pressOk(dialog);
    });
    CHECK(pickedPath == std::wstring(L"\\new.txt"));
    CHECK(pickedPath == held);
}

TEST_CASE("Cancel picks nothing, the title bar's ok button what is in the edit control")
{
    StartedPhone phone;
    find(true, [](HWND dialog) { SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0); });
    CHECK(pickedPath == nullptr);
    find(true, [](HWND dialog) {
        tap(dialog, L"Temp");
        CHECK(SimTapOk());
        CHECK(waitFor([&] { return !IsWindow(dialog) || !IsWindowVisible(dialog); }));
    });
    REQUIRE(pickedPath);
    CHECK(pickedPath == std::wstring(L"\\Temp"));
}

TEST_CASE("no more than 259 characters can be typed, and they are all taken")
{
    StartedPhone phone;
    find(true, [](HWND dialog) {
        CHECK(SendDlgItemMessageW(dialog, path, EM_GETLIMITTEXT, 0, 0) == 259);
        setControlText(dialog, path, L"");
        const std::wstring typed(300, L'x');
        SendDlgItemMessageW(dialog, path, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(typed.c_str()));
        pressOk(dialog);
    });
    REQUIRE(pickedPath);
    CHECK(pickedPath == std::wstring(259, L'x'));
}

TEST_CASE("the next opening begins in the folder last shown, however that was left")
{
    StartedPhone phone;
    phone.makeFolder(L"\\Temp\\one");
    find(true, [](HWND dialog) {
        tap(dialog, L"Temp");
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    });
    find(true, [](HWND dialog) {
        CHECK(controlText(dialog, path) == L"\\Temp");
        CHECK(namesOf(dialog) == Names{L"one"});
        tap(dialog, L"one");
        setControlText(dialog, path, L"\\Windows");
        pressOk(dialog);
    });
    find(true, [](HWND dialog) { CHECK(controlText(dialog, path) == L"\\Temp\\one"); });
}

TEST_CASE("when the folder last shown is gone, the next one above it is shown")
{
    StartedPhone phone;
    phone.makeFolder(L"\\Temp\\one\\two");
    copyText(findFileFolder, L"\\Temp\\one\\two");
    phone.removeFolder(L"\\Temp\\one");
    find(true, [](HWND dialog) { CHECK(controlText(dialog, path) == L"\\Temp"); });
    copyText(findFileFolder, L"\\gone\\deep\\below");
    find(true, [](HWND dialog) {
        CHECK(controlText(dialog, path) == L"\\");
        CHECK(namesOf(dialog) == rootFolders);
    });
    copyText(findFileFolder, (L"\\" + std::wstring(258, L'd')).c_str());
    find(true, [](HWND dialog) { CHECK(controlText(dialog, path) == L"\\"); });
}

TEST_CASE("a file that was gone to like a folder is left for the folder it is in")
{
    StartedPhone phone;
    phone.writeFile(L"\\Temp\\README", "x");
    copyText(findFileFolder, L"\\Temp\\README");
    find(true, [](HWND dialog) { CHECK(controlText(dialog, path) == L"\\Temp"); });
    copyText(findFileFolder, L"\\Temp");
    find(true, [](HWND dialog) { CHECK(controlText(dialog, path) == L"\\Temp"); });
}

// ---- Failures -------------------------------------------------------------------------------------------------------------------

TEST_CASE("an exception while looking at a folder is logged, and the dialog stays")
{
    StartedPhone phone;
    find(false, [&](HWND dialog) {
        SimOrderFault(L"file", 1, L"find:*", TRUE);
        tap(dialog, L"Temp");
        CHECK(namesOf(dialog).empty());
        CHECK(phone.log() == std::vector<std::string>{"** Exception fillFileList **"});
        clickControl(dialog, rootButton);
        CHECK(namesOf(dialog) == rootFolders);
    });
    copyText(findFileFolder, L"\\Temp");
    SimOrderFault(L"file", 1, L"attributes:\\Temp", TRUE);
    find(false, [](HWND dialog) { CHECK(controlText(dialog, path) == L"\\Temp"); });
    CHECK(phone.log() == std::vector<std::string>{"** Exception fillFileList **", "** Exception FindFile **"});
}

TEST_CASE("without memory nothing is picked, and the log says so")
{
    StartedPhone phone;
    find(true, [](HWND dialog) {
        SimOrderFault(L"memory", 1, L"alloc:", FALSE);
        pressOk(dialog);
        SimClearFaults();
    });
    CHECK(pickedPath == nullptr);
    CHECK(phone.log() == std::vector<std::string>{"** Exception FindFile **"});
}

TEST_CASE("opening and leaving Find File over and over holds on to nothing")
{
    StartedPhone phone;
    const auto openAndLeave = [](UINT command) {
        find(false, [&](HWND dialog) {
            tap(dialog, L"Temp");
            SendMessageW(dialog, WM_COMMAND, command, 0);
        });
    };
    openAndLeave(IDOK);
    copyText(findFileFolder, L"\\");
    const int objects = SimLiveGdi(), blocks = SimLiveAllocations();
    for (int i = 0; i < 5; ++i) {
        openAndLeave(i % 2 ? IDOK : IDCANCEL);
        copyText(findFileFolder, L"\\");
    }
    CHECK(SimLiveGdi() == objects);
    CHECK(SimLiveAllocations() == blocks);
}
