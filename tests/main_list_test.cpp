#include "main_list.h"

#include "control_windows.h"
#include "doctest.h"
#include "environment.h"
#include "intercept.h"
#include "page_window.h"
#include "resource.h"
#include "shell_values.h"
#include "test_dialogs.h"
#include "test_phone.h"

IMPORTED(CallWindowProcW);
IMPORTED(SetWindowPos);

namespace {

constexpr WPARAM panelMoved = 224;   // what a setting change carries when the input panel has moved

// A phone with its input panel down, on which the program has just been started.
struct StartedPhone : TestPhone {
    explicit StartedPhone(const char *base = "wm6") : TestPhone(base)
    {
        restartProgram();
        SimSetPanel(FALSE);
    }
    ~StartedPhone() { SimSetPanel(FALSE); }
};

INT_PTR CALLBACK quietProc(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

struct ListPage : PageWindow {
    explicit ListPage(DLGPROC procedure = quietProc) : PageWindow(IDD_TEST_LIST_PAGE, procedure) {}
};

struct Place {
    int left, top, width, height;
    bool operator==(const Place &other) const
    {
        return left == other.left && top == other.top && width == other.width && height == other.height;
    }
};

doctest::String toString(const Place &place)
{
    return doctest::toString(place.left) + "," + doctest::toString(place.top) + " " + doctest::toString(place.width) +
           "x" + doctest::toString(place.height);
}

Place placeOf(const PageWindow &page, int id)
{
    RECT area;
    GetWindowRect(page.control(id), &area);
    MapWindowPoints(nullptr, page.handle(), reinterpret_cast<POINT *>(&area), 2);
    return {area.left, area.top, area.right - area.left, area.bottom - area.top};
}

constexpr Place elsewhere = {7, 9, 30, 40};

void moveElsewhere(const PageWindow &page, int id)
{
    MoveWindow(page.control(id), elsewhere.left, elsewhere.top, elsewhere.width, elsewhere.height, FALSE);
}

// Leaves only one of the three controls that can be the main one.
void keepOnly(const PageWindow &page, int id)
{
    for (int other : {1266, 1319, 1097})
        if (other != id)
            DestroyWindow(page.control(other));
}

}   // namespace

// ---- Place -------------------------------------------------------------------------------------------------------------

namespace {

struct Layout {
    const char *phone;
    int control;
    Place panelDown;
    Place panelUp;
};

// Panel down: 240x294, or 480x588, between title bar and the screen's bottom; up: 240x188 or 480x376.
constexpr Layout layouts[] = {
    {"wm6", 1266, {1, 130, 240, 118}, {1, 130, 240, 38}},    // 294 - 130 - 20 - 26; 188 - 130 - 20
    {"wm6", 1319, {2, 53, 235, 210}, {2, 53, 235, 130}},     // 294 - 53 - 20 + 15 - 26; 188 - 53 - 20 + 15
    {"wm6", 1097, {2, 30, 235, 233}, {2, 30, 235, 153}},     // 294 - 30 - 20 + 15 - 26; 188 - 30 - 20 + 15
    {"vga", 1266, {2, 260, 480, 236}, {2, 260, 480, 76}},    // 588 - 260 - 40 - 52; 376 - 260 - 40
    {"vga", 1319, {4, 106, 475, 405}, {4, 106, 475, 245}},   // 588 - 106 - 40 + 15 - 52; 376 - 106 - 40 + 15
    {"vga", 1097, {4, 60, 475, 451}, {4, 60, 475, 291}},     // 588 - 60 - 40 + 15 - 52; 376 - 60 - 40 + 15
};

}   // namespace

TEST_CASE("the main control of a page fills what the input panel leaves, at both resolutions")
{
    for (const Layout &layout : layouts) {
        StartedPhone phone(layout.phone);
        ListPage page;
        keepOnly(page, layout.control);
        INFO(std::string(layout.phone) << ", control " << layout.control);
        CHECK(layoutMainList(page.handle(), 0, 1) == 1);
        CHECK(placeOf(page, layout.control) == layout.panelDown);
        SimSetPanel(TRUE);
        CHECK(layoutMainList(page.handle(), panelMoved, 0) == 1);
        CHECK(placeOf(page, layout.control) == layout.panelUp);
        SimSetPanel(FALSE);
        CHECK(layoutMainList(page.handle(), panelMoved, 0) == 1);
        CHECK(placeOf(page, layout.control) == layout.panelDown);
    }
}

TEST_CASE("a page shown while the input panel is up is fitted above it")
{
    for (const Layout &layout : layouts) {
        StartedPhone phone(layout.phone);
        SimSetPanel(TRUE);
        ListPage page;
        keepOnly(page, layout.control);
        layoutMainList(page.handle(), 0, 1);
        INFO(std::string(layout.phone) << ", control " << layout.control);
        CHECK(placeOf(page, layout.control) == layout.panelUp);
    }
}

TEST_CASE("of several candidates the list view is the main control, then the file list, then the text")
{
    StartedPhone phone;
    ListPage page;
    for (int main : {1266, 1319, 1097}) {
        for (int control : {1266, 1319, 1097})
            if (GetDlgItem(page.handle(), control))
                moveElsewhere(page, control);
        layoutMainList(page.handle(), 0, 1);
        for (int control : {1266, 1319, 1097}) {
            INFO("main control " << main << ", looking at " << control);
            if (GetDlgItem(page.handle(), control))
                CHECK((placeOf(page, control) == elsewhere) == (control != main));
        }
        DestroyWindow(page.control(main));
    }
    CHECK(layoutMainList(page.handle(), 0, 1) == 1);   // a page without any is left alone
    CHECK(layoutMainList(page.handle(), panelMoved, 0) == 1);
}

TEST_CASE("a setting change that leaves the panel as it was does nothing")
{
    for (BOOL up : {FALSE, TRUE}) {
        StartedPhone phone;
        SimSetPanel(up);
        ListPage page;
        layoutMainList(page.handle(), 0, 1);
        for (int repeated = 0; repeated < 3; ++repeated) {
            moveElsewhere(page, 1266);
            CHECK(layoutMainList(page.handle(), panelMoved, 0) == 1);
            CHECK(placeOf(page, 1266) == elsewhere);
        }
    }
}

TEST_CASE("a change of size fits the control again whatever the panel does")
{
    StartedPhone phone;
    ListPage page;
    for (BOOL up : {FALSE, FALSE, TRUE, TRUE, FALSE}) {
        SimSetPanel(up);
        moveElsewhere(page, 1266);
        CHECK(layoutMainList(page.handle(), 0, 1) == 1);
        CHECK(placeOf(page, 1266) == (up ? Place{1, 130, 240, 38} : Place{1, 130, 240, 118}));
    }
}

TEST_CASE("each raising and lowering of the panel is noticed once")
{
    StartedPhone phone;
    ListPage page;
    layoutMainList(page.handle(), 0, 1);
    for (BOOL up : {TRUE, FALSE, TRUE, FALSE}) {
        SimSetPanel(up);
        moveElsewhere(page, 1266);
        layoutMainList(page.handle(), panelMoved, 0);
        CHECK(placeOf(page, 1266) == (up ? Place{1, 130, 240, 38} : Place{1, 130, 240, 118}));
        moveElsewhere(page, 1266);
        layoutMainList(page.handle(), panelMoved, 0);
        CHECK(placeOf(page, 1266) == elsewhere);
    }
}

TEST_CASE("the panel's state at the last layout counts, also when another page was laid out")
{
    StartedPhone phone;
    ListPage first, second;
    layoutMainList(first.handle(), 0, 1);
    SimSetPanel(TRUE);
    layoutMainList(second.handle(), 0, 1);
    moveElsewhere(first, 1266);
    layoutMainList(first.handle(), panelMoved, 0);
    CHECK(placeOf(first, 1266) == elsewhere);
}

// ---- Drop-down lists ------------------------------------------------------------------------------------------------------

namespace {

constexpr int editorControls[] = {1289, 1290, 1291, 1292, 1293, 1294, 1297, 1326, 1327,
                                  1328, 1295, 1310, 1325, 1355, 1072, 1261, 1074};
constexpr int dropDownLists[] = {1293, 1297, 1289, 1072, 1074};

bool isShown(const PageWindow &page, int id)
{
    return (GetWindowLongPtrW(page.control(id), GWL_STYLE) & WS_VISIBLE) != 0;
}

struct Resize {
    HWND window, behind;
    int width, height;
    UINT flags;
};

std::vector<Resize> resizes;

BOOL WINAPI noteResize(HWND window, HWND behind, int x, int y, int width, int height, UINT flags)
{
    resizes.push_back({window, behind, width, height, flags});
    return Intercept<__imp_SetWindowPos>::real(window, behind, x, y, width, height, flags);
}

struct DropHeight {
    const char *phone;
    DWORD landscape;
    int height;
};

constexpr DropHeight dropHeights[] = {{"wm6", 0, 180}, {"wm6", 1, 120},       {"vga", 0, 360},
                                      {"vga", 1, 240}, {"landscape", 1, 120}, {"square", 1, 120}};

}   // namespace

TEST_CASE("the editor controls of a list page are hidden, all others stay")
{
    StartedPhone phone;
    ListPage page;
    setComboHeights(page.handle());
    for (int control : editorControls) {
        INFO("control " << control);
        CHECK_FALSE(isShown(page, control));
    }
    for (int control : {1253, 1287, 1266, 1319, 1097}) {
        INFO("control " << control);
        CHECK(isShown(page, control));
    }
}

TEST_CASE("the five drop-down lists drop to 180 pixels in portrait and 120 in landscape, scaled, their width kept")
{
    for (const DropHeight &row : dropHeights) {
        StartedPhone phone(row.phone);
        isLandscape = row.landscape;
        ListPage page;
        std::vector<Place> before;
        for (int list : dropDownLists)
            before.push_back(placeOf(page, list));
        resizes.clear();
        {
            Intercept<__imp_SetWindowPos> resizing(noteResize);
            setComboHeights(page.handle());
        }
        INFO(std::string(row.phone) << ", landscape " << row.landscape);
        REQUIRE(resizes.size() == 5);
        for (int i = 0; i < 5; ++i) {
            INFO("list " << dropDownLists[i]);
            CHECK(resizes[i].window == page.control(dropDownLists[i]));
            CHECK(resizes[i].width == before[i].width);
            CHECK(resizes[i].height == row.height);
            CHECK((resizes[i].flags & (SWP_NOMOVE | SWP_NOZORDER | SWP_NOSIZE)) == (SWP_NOMOVE | SWP_NOZORDER));
            const Place after = placeOf(page, dropDownLists[i]);
            CHECK(after.left == before[i].left);
            CHECK(after.top == before[i].top);
            CHECK(after.width == before[i].width);
        }
    }
}

TEST_CASE("which way up the screen is follows from the detected device")
{
    for (const char *name : {"wm6", "landscape", "square"}) {
        StartedPhone phone(name);
        getDeviceType();
        ListPage page;
        resizes.clear();
        Intercept<__imp_SetWindowPos> resizing(noteResize);
        setComboHeights(page.handle());
        REQUIRE_FALSE(resizes.empty());
        INFO(std::string(name));
        CHECK(resizes[0].height == (name == std::string("wm6") ? 180 : 120));
    }
}

TEST_CASE("a page without the editor controls is left alone")
{
    StartedPhone phone;
    PageWindow page(IDD_ABOUT_PAGE, quietProc);
    resizes.clear();
    Intercept<__imp_SetWindowPos> resizing(noteResize);
    setComboHeights(page.handle());
    CHECK(resizes.empty());
}

// ---- Colours -------------------------------------------------------------------------------------------------------------

namespace {

constexpr COLORREF evenRow = 0xFBD5BC;
constexpr COLORREF oddRow = 0xFBDECD;
constexpr COLORREF highlightedRow = 0xFBE3D2;
constexpr COLORREF red = 0x0000FF;
constexpr COLORREF asBefore = 0x123456;

struct Drawn {
    LONG_PTR result;
    COLORREF text, background;
};

Drawn draw(DWORD stage, DWORD_PTR row, LPARAM data, bool highlight)
{
    ListPage page;
    NMLVCUSTOMDRAW info = {};
    info.nmcd.dwDrawStage = stage;
    info.nmcd.dwItemSpec = row;
    info.nmcd.lItemlParam = data;
    info.clrText = info.clrTextBk = asBefore;
    CHECK(listCustomDraw(page.handle(), &info, highlight) == TRUE);
    return {GetWindowLongPtrW(page.handle(), DWL_MSGRESULT), info.clrText, info.clrTextBk};
}

constexpr DWORD itemStage = 0x10001;

}   // namespace

TEST_CASE("before painting the list asks to be told of each row")
{
    StartedPhone phone;
    for (bool highlight : {false, true}) {
        const Drawn drawn = draw(1, 0, 0, highlight);
        CHECK(drawn.result == 0x20);
        CHECK(drawn.text == asBefore);
        CHECK(drawn.background == asBefore);
    }
}

TEST_CASE("rows alternate between two blues and keep their text colour")
{
    StartedPhone phone;
    struct Row {
        DWORD_PTR index;
        COLORREF background;
    };
    for (const Row &row :
         {Row{0, evenRow}, Row{1, oddRow}, Row{2, evenRow}, Row{3, oddRow}, Row{24, evenRow}, Row{25, oddRow}}) {
        for (LPARAM data : {LPARAM(0), LPARAM(1), LPARAM(0x7FFFFFFF)}) {
            const Drawn drawn = draw(itemStage, row.index, data, false);
            INFO("row " << row.index << ", data " << data);
            CHECK(drawn.result == 0x12);
            CHECK(drawn.background == row.background);
            CHECK(drawn.text == asBefore);
        }
    }
}

TEST_CASE("a highlighted row is red on light blue whatever its parity")
{
    StartedPhone phone;
    for (DWORD_PTR row : {0, 1, 8}) {
        const Drawn drawn = draw(itemStage, row, 0, true);
        CHECK(drawn.result == 0x12);
        CHECK(drawn.background == highlightedRow);
        CHECK(drawn.text == red);
    }
}

TEST_CASE("a row whose data is negative keeps its colours")
{
    StartedPhone phone;
    for (LPARAM data : {LPARAM(-1), LPARAM(-2), LPARAM(-0x7FFFFFFF - 1)}) {
        for (bool highlight : {false, true}) {
            const Drawn drawn = draw(itemStage, 1, data, highlight);
            CHECK(drawn.result == 0x12);
            CHECK(drawn.background == asBefore);
            CHECK(drawn.text == asBefore);
        }
    }
}

TEST_CASE("every other stage of drawing is answered with 0")
{
    StartedPhone phone;
    for (DWORD stage : {0, 2, 3, 4, 0x10000, 0x10002, 0x10003, 0x10004, 0x30001, 0x30002}) {
        for (bool highlight : {false, true}) {
            const Drawn drawn = draw(stage, 1, 0, highlight);
            INFO("stage " << stage);
            CHECK(drawn.result == 0);
            CHECK(drawn.background == asBefore);
            CHECK(drawn.text == asBefore);
        }
    }
}

TEST_CASE("the answer to a stage replaces that to an earlier one")
{
    StartedPhone phone;
    ListPage page;
    NMLVCUSTOMDRAW info = {};
    for (DWORD stage : {1, 2}) {
        info.nmcd.dwDrawStage = stage;
        listCustomDraw(page.handle(), &info, false);
    }
    CHECK(GetWindowLongPtrW(page.handle(), DWL_MSGRESULT) == 0);
}

// ---- Keys ----------------------------------------------------------------------------------------------------------------

namespace {

std::vector<NMLISTVIEW> clicks;

INT_PTR CALLBACK clickedProc(HWND, UINT message, WPARAM wParam, LPARAM lParam)
{
    const NMHDR *header = reinterpret_cast<const NMHDR *>(lParam);
    if (message != WM_NOTIFY || static_cast<int>(header->code) != -2)
        return FALSE;
    CHECK(wParam == 1266);
    clicks.push_back(*reinterpret_cast<const NMLISTVIEW *>(lParam));
    return TRUE;
}

constexpr int noRow = -1;

// A list page as it is while the user is on it, with that many rows, one of them selected.
class KeyPage : public ListPage {
public:
    KeyPage(int rows, int selected) : ListPage(clickedProc)
    {
        LVCOLUMNW column = {};
        column.mask = LVCF_WIDTH;
        column.cx = 80;
        send(LVM_INSERTCOLUMNW, 0, &column);
        for (int row = 0; row < rows; ++row) {
            LVITEMW item = {};
            item.mask = LVIF_TEXT;
            item.iItem = row;
            item.pszText = const_cast<wchar_t *>(L"row");
            send(LVM_INSERTITEMW, 0, &item);
        }
        originalProcedure = procedure();
        if (selected != noRow)
            select(selected);
        attachMainListKeys(handle());
        currentPage = handle();
        clicks.clear();
    }
    ~KeyPage()
    {
        SetWindowLongPtrW(list(), GWLP_WNDPROC, originalProcedure);
        currentPage = nullptr;
    }

    HWND list() const { return control(1266); }
    LONG_PTR procedure() const { return GetWindowLongPtrW(list(), GWLP_WNDPROC); }
    void press(int key) const { SendMessageW(list(), WM_KEYDOWN, static_cast<WPARAM>(key), 1); }

    int selectedRow() const
    {
        return static_cast<int>(SendMessageW(list(), LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED));
    }
    int selectedCount() const { return static_cast<int>(SendMessageW(list(), LVM_GETSELECTEDCOUNT, 0, 0)); }

    void select(int row) const
    {
        LVITEMW item = {};
        item.stateMask = item.state = LVIS_SELECTED | LVIS_FOCUSED;
        send(LVM_SETITEMSTATE, static_cast<WPARAM>(row), &item);
    }

    bool isInSight(int row) const
    {
        const int top = static_cast<int>(SendMessageW(list(), LVM_GETTOPINDEX, 0, 0));
        const int height = static_cast<int>(SendMessageW(list(), LVM_GETCOUNTPERPAGE, 0, 0));
        return row >= top && row < top + height;
    }

    LONG_PTR originalProcedure;

private:
    void send(UINT message, WPARAM wParam, void *data) const
    {
        SendMessageW(list(), message, wParam, reinterpret_cast<LPARAM>(data));
    }
};

struct Move {
    int rows, selected;
    int afterDown, afterUp;   // row selected afterwards; the same one when nothing happens
};

constexpr Move moves[] = {
    {0, noRow, noRow, noRow},
    {1, noRow, noRow, noRow},
    {1, 0, 0, 0},
    {2, noRow, 0, noRow},   // with nothing selected the first row is one further down
    {2, 0, 0, 0},
    {2, 1, 1, 0},
    {3, noRow, 0, noRow},
    {3, 0, 1, 0},
    {3, 1, 1, 0},   // the last row is not reached
    {3, 2, 2, 1},
    {25, noRow, 0, noRow},
    {25, 0, 1, 0},
    {25, 1, 2, 0},
    {25, 22, 23, 21},
    {25, 23, 23, 22},
    {25, 24, 24, 23},
};

void checkMove(const Move &move, int key, int expected)
{
    KeyPage page(move.rows, move.selected);
    page.press(key);
    INFO(std::string(key == VK_DOWN ? "down" : "up") << " in " << move.rows << " rows from " << move.selected);
    CHECK(page.selectedRow() == expected);
    CHECK(page.selectedCount() == (expected == noRow ? 0 : 1));
    const bool moved = expected != move.selected;
    CHECK(clicks.size() == (moved ? 1 : 0));
    if (moved && !clicks.empty()) {
        CHECK(clicks[0].iItem == expected);
        CHECK(clicks[0].hdr.hwndFrom == page.list());
        CHECK(clicks[0].hdr.idFrom == 1266);
    }
}

}   // namespace

TEST_CASE("the down arrow taps the next row, but stops at the last but one")
{
    StartedPhone phone;
    for (const Move &move : moves)
        checkMove(move, VK_DOWN, move.afterDown);
}

TEST_CASE("the up arrow taps the row before, down to the first")
{
    StartedPhone phone;
    for (const Move &move : moves)
        checkMove(move, VK_UP, move.afterUp);
}

TEST_CASE("arrows walk through a long list and keep the row in sight")
{
    StartedPhone phone;
    KeyPage page(25, 0);
    for (int row = 1; row <= 23; ++row) {
        page.press(VK_DOWN);
        INFO("row " << row);
        CHECK(page.selectedRow() == row);
        CHECK(page.isInSight(row));
    }
    for (int row = 22; row >= 0; --row) {
        page.press(VK_UP);
        INFO("row " << row);
        CHECK(page.selectedRow() == row);
        CHECK(page.isInSight(row));
    }
    CHECK(clicks.size() == 46);
}

TEST_CASE("the click goes to the page shown, which need not be the list's own")
{
    StartedPhone phone;
    KeyPage list(5, 0);
    KeyPage shown(0, noRow);
    currentPage = shown.handle();
    list.press(VK_DOWN);
    REQUIRE(clicks.size() == 1);
    CHECK(clicks[0].hdr.hwndFrom == list.list());
    currentPage = nullptr;
    list.press(VK_DOWN);
    CHECK(list.selectedRow() == 2);
    CHECK(clicks.size() == 1);
}

namespace {

struct Passed {
    UINT message;
    WPARAM wParam;
};

std::vector<Passed> passedOn;

LRESULT WINAPI notePassing(WNDPROC procedure, HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    passedOn.push_back({message, wParam});
    return Intercept<__imp_CallWindowProcW>::real(procedure, window, message, wParam, lParam);
}

bool passes(HWND list, UINT message, WPARAM wParam)
{
    passedOn.clear();
    Intercept<__imp_CallWindowProcW> passing(notePassing);
    SendMessageW(list, message, wParam, 1);
    return !passedOn.empty() && passedOn[0].message == message && passedOn[0].wParam == wParam;
}

}   // namespace

TEST_CASE("only pressing the up and down arrows is kept from the list itself")
{
    StartedPhone phone;
    for (int selected : {0, 2, 4}) {
        KeyPage page(5, selected);
        CHECK_FALSE(passes(page.list(), WM_KEYDOWN, VK_DOWN));
        CHECK_FALSE(passes(page.list(), WM_KEYDOWN, VK_UP));
        clicks.clear();
        for (int key : {VK_LEFT, VK_RIGHT, VK_PRIOR, VK_NEXT, VK_TAB, VK_F1})
            CHECK(passes(page.list(), WM_KEYDOWN, static_cast<WPARAM>(key)));
        for (UINT message : {WM_KEYUP, WM_SYSKEYDOWN, WM_CHAR}) {
            CHECK(passes(page.list(), message, VK_DOWN));
            CHECK(passes(page.list(), message, VK_UP));
        }
        CHECK(clicks.empty());
    }
}

TEST_CASE("the list's own answer comes back for what is passed on")
{
    StartedPhone phone;
    KeyPage page(5, 2);
    CHECK(SendMessageW(page.list(), LVM_GETITEMCOUNT, 0, 0) == 5);
    page.press(VK_HOME);
    CHECK(page.selectedRow() == 0);
    page.press(VK_END);
    CHECK(page.selectedRow() == 4);   // past the arrow's bound
}

TEST_CASE("a list whose keys are given back has its own procedure again")
{
    StartedPhone phone;
    KeyPage page(5, 3);
    CHECK(page.procedure() == reinterpret_cast<LONG_PTR>(mainListKeyProc));
    detachMainListKeys(page.handle());
    CHECK(page.procedure() == page.originalProcedure);
    page.press(VK_DOWN);
    CHECK(page.selectedRow() == 4);   // the list's own arrow reaches the last row
    CHECK(clicks.empty());
}

TEST_CASE("the keys of two pages can be taken and given back in any order")
{
    StartedPhone phone;
    KeyPage first(5, 0), second(5, 0);
    detachMainListKeys(first.handle());
    CHECK(first.procedure() == first.originalProcedure);
    second.press(VK_DOWN);
    CHECK(second.selectedRow() == 1);
    attachMainListKeys(first.handle());
    detachMainListKeys(second.handle());
    CHECK(second.procedure() == second.originalProcedure);
    detachMainListKeys(first.handle());
    CHECK(first.procedure() == first.originalProcedure);
}

TEST_CASE("taking the keys of a list twice is as good as once")
{
    StartedPhone phone;
    KeyPage page(5, 0);
    attachMainListKeys(page.handle());
    detachMainListKeys(page.handle());
    CHECK(page.procedure() == page.originalProcedure);
}

TEST_CASE("giving back keys that were never taken leaves the list alone")
{
    StartedPhone phone;
    KeyPage page(5, 0);
    detachMainListKeys(page.handle());
    detachMainListKeys(page.handle());
    CHECK(page.procedure() == page.originalProcedure);
}
