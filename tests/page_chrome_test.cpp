#include "page_chrome.h"

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "intercept.h"
#include "page_window.h"
#include "resource.h"
#include "shell_values.h"
#include "test_phone.h"
#include "text.h"
#include "user_settings.h"

IMPORTED(GetScrollInfo);
IMPORTED(PostMessageW);

namespace {

constexpr COLORREF white = RGB(255, 255, 255);
constexpr COLORREF black = RGB(0, 0, 0);
constexpr COLORREF titleColor = RGB(0, 0, 156);
constexpr COLORREF pageColor = RGB(220, 220, 230);

constexpr DWORD german = 1;

// A phone on which the program has just been started.
struct StartedPhone : TestPhone {
    explicit StartedPhone(const char *base = "wm6") : TestPhone(base)
    {
        restartProgram();
        getAppPath();
    }
};

// ---- Pictures -----------------------------------------------------------------------------------------------------------

// A picture in memory that can be drawn on and looked at.
class Picture {
public:
    Picture(int width, int height, COLORREF ground) : width(width), height(height)
    {
        BITMAPINFO info = {};
        info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        context = CreateCompatibleDC(nullptr);
        bitmap = CreateDIBSection(context, &info, DIB_RGB_COLORS, reinterpret_cast<void **>(&bits), nullptr, 0);
        oldBitmap = SelectObject(context, bitmap);
        fill({0, 0, width, height}, ground);
    }
    ~Picture()
    {
        SelectObject(context, oldBitmap);
        DeleteObject(bitmap);
        DeleteDC(context);
    }
    Picture(const Picture &) = delete;
    Picture &operator=(const Picture &) = delete;

    HDC dc() const { return context; }

    COLORREF at(int x, int y) const
    {
        GdiFlush();
        const DWORD pixel = bits[y * width + x];
        return RGB(pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF);
    }

    void fill(const RECT &area, COLORREF color)
    {
        const HBRUSH brush = CreateSolidBrush(color);
        FillRect(context, &area, brush);
        DeleteObject(brush);
    }

    // Pixels of that colour within area.
    int count(const RECT &area, COLORREF color) const
    {
        int found = 0;
        for (int y = area.top; y < area.bottom; ++y)
            for (int x = area.left; x < area.right; ++x)
                found += at(x, y) == color;
        return found;
    }

    // Pixels within area in which two pictures differ.
    int differences(const Picture &other, const RECT &area) const
    {
        int found = 0;
        for (int y = area.top; y < area.bottom; ++y)
            for (int x = area.left; x < area.right; ++x)
                found += at(x, y) != other.at(x, y);
        return found;
    }

    const int width, height;

private:
    HDC context;
    HBITMAP bitmap;
    HGDIOBJ oldBitmap;
    DWORD *bits = nullptr;
};

// What the top of a page must look like: the title at (left, top) in a font of that height.
void drawExpectedTitle(Picture &picture, const wchar_t *title, int left, int top, int fontHeight)
{
    LOGFONTW record = {};
    record.lfHeight = fontHeight;
    record.lfWeight = 600;
    copyText(record.lfFaceName, L"Tahoma");
    const HFONT font = CreateFontIndirectW(&record);
    const HGDIOBJ oldFont = SelectObject(picture.dc(), font);
    SetTextColor(picture.dc(), titleColor);
    SetBkMode(picture.dc(), TRANSPARENT);
    RECT area = {left, top, picture.width, picture.height};
    DrawTextW(picture.dc(), title, -1, &area, DT_SINGLELINE);
    SelectObject(picture.dc(), oldFont);
    DeleteObject(font);
}

// A window with a client area of that width, scrollable as a page that does not fit.
class ScrolledWindow {
public:
    explicit ScrolledWindow(int width)
    {
        RECT frame = {0, 0, width, 100};
        window = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, width, frame.bottom, nullptr, nullptr, appInstance,
                                 nullptr);
        REQUIRE(window);
    }
    ~ScrolledWindow() { DestroyWindow(window); }
    ScrolledWindow(const ScrolledWindow &) = delete;
    ScrolledWindow &operator=(const ScrolledWindow &) = delete;

    void scrollTo(int position)
    {
        SCROLLINFO info = {};
        info.cbSize = sizeof info;
        info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
        info.nMax = 1000;
        info.nPage = 100;
        info.nPos = position;
        SetScrollInfo(window, SB_VERT, &info, FALSE);
        RECT client;
        GetClientRect(window, &client);
        clientWidth = client.right;
    }

    HWND window;
    int clientWidth = 0;
};

bool isBlank(const Picture &picture)
{
    const RECT all = {0, 0, picture.width, picture.height};
    return picture.count(all, white) == picture.width * picture.height;
}

}   // namespace

// ---- Header ------------------------------------------------------------------------------------------------------------

TEST_CASE("at 96 dots per inch the title stands at 3,3 in a 12 pixel font and the rule at 21 over the full width")
{
    StartedPhone phone;
    ScrolledWindow page(240);
    Picture drawn(260, 60, white);
    paintPageHeader(page.window, drawn.dc(), L"Alarm Settings");

    Picture expected(260, 60, white);
    drawExpectedTitle(expected, L"Alarm Settings", 3, 3, -12);
    expected.fill({0, 21, 240, 22}, black);
    CHECK(drawn.differences(expected, {0, 0, 260, 60}) == 0);
    CHECK(drawn.count({3, 3, 240, 21}, titleColor) > 100);
}

TEST_CASE("at 192 dots per inch the title stands at 6,6 in a 25 pixel font and a rule of two pixels at 42")
{
    StartedPhone phone("vga");
    ScrolledWindow page(480);
    Picture drawn(500, 100, white);
    paintPageHeader(page.window, drawn.dc(), L"Alarm Settings");

    Picture expected(500, 100, white);
    drawExpectedTitle(expected, L"Alarm Settings", 6, 6, -25);
    CHECK(drawn.differences(expected, {0, 0, 500, 41}) == 0);
    CHECK(drawn.count({0, 42, 480, 43}, black) == 480);
    CHECK(drawn.count({0, 41, 480, 44}, black) == 2 * 480);
    CHECK(drawn.count({0, 44, 500, 100}, white) == 500 * 56);
    CHECK(drawn.count({482, 0, 500, 100}, white) == 18 * 100);
}

TEST_CASE("a title with letters below the line leaves the rule whole")
{
    StartedPhone phone;
    ScrolledWindow page(240);
    Picture drawn(240, 60, white);
    paintPageHeader(page.window, drawn.dc(), L"gjpqy \u00C4\u00DC\u015E");
    CHECK(drawn.count({0, 21, 240, 22}, black) == 240);
    CHECK(drawn.count({0, 20, 240, 21}, white) == 240);
}

TEST_CASE("the header is drawn up to a scroll position of 14 and not from 15 on")
{
    StartedPhone phone;
    ScrolledWindow page(240);
    for (int position : {0, 1, 14}) {
        page.scrollTo(position);
        Picture drawn(260, 60, white);
        paintPageHeader(page.window, drawn.dc(), L"Title");
        INFO("position " << position);
        CHECK(drawn.count({0, 21, 260, 22}, black) == page.clientWidth);
        CHECK(drawn.count({3, 3, 240, 21}, titleColor) > 10);
    }
    for (int position : {15, 16, 500}) {
        page.scrollTo(position);
        Picture drawn(260, 60, white);
        paintPageHeader(page.window, drawn.dc(), L"Title");
        INFO("position " << position);
        CHECK(isBlank(drawn));
    }
}

namespace {

int shownPosition, trackedPosition;

BOOL WINAPI answerScrollInfo(HWND, int bar, LPSCROLLINFO info)
{
    CHECK(bar == SB_VERT);
    CHECK(info->cbSize == sizeof *info);
    CHECK((info->fMask & SIF_POS) != 0);
    CHECK((info->fMask & SIF_TRACKPOS) != 0);
    info->nPos = shownPosition;
    info->nTrackPos = trackedPosition;
    return TRUE;
}

}   // namespace

TEST_CASE("while the scroll box is dragged its place counts as well")
{
    struct Row {
        int shown, tracked;
        bool drawn;
    };
    StartedPhone phone;
    ScrolledWindow page(240);
    Intercept<__imp_GetScrollInfo> asking(answerScrollInfo);
    for (const Row &row :
         {Row{0, 14, true}, Row{0, 15, false}, Row{14, 14, true}, Row{15, 14, false}, Row{15, 15, false}}) {
        shownPosition = row.shown;
        trackedPosition = row.tracked;
        Picture drawn(240, 60, white);
        paintPageHeader(page.window, drawn.dc(), L"Title");
        INFO("position " << row.shown << ", dragged to " << row.tracked);
        CHECK(isBlank(drawn) != row.drawn);
    }
}

TEST_CASE("painting the header leaves pen and font as they were and keeps no object")
{
    StartedPhone phone;
    ScrolledWindow page(240);
    Picture drawn(240, 60, white);
    const HGDIOBJ pen = GetCurrentObject(drawn.dc(), OBJ_PEN);
    const HGDIOBJ font = GetCurrentObject(drawn.dc(), OBJ_FONT);
    paintPageHeader(page.window, drawn.dc(), L"Title");
    const int before = SimLiveGdi();
    for (int i = 0; i < 20; ++i)
        paintPageHeader(page.window, drawn.dc(), L"Title");
    CHECK(SimLiveGdi() == before);
    CHECK(GetCurrentObject(drawn.dc(), OBJ_PEN) == pen);
    CHECK(GetCurrentObject(drawn.dc(), OBJ_FONT) == font);
}

// ---- Messages ----------------------------------------------------------------------------------------------------------

namespace {

constexpr PageChrome someChrome = {4, L"some-anchor"};
constexpr int helpIcon = 1140;

INT_PTR CALLBACK somePageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam)
{
    return pageChromeMessage(someChrome, page, message, wParam, lParam);
}

struct SomePage : PageWindow {
    SomePage() : PageWindow(IDD_ALARMS_PAGE, somePageProc) {}
};

constexpr char someHelp[] = "process peghelp.exe Kelvane.htm#some-anchor";

struct Posted {
    HWND window;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};

std::vector<Posted> posted;

BOOL WINAPI notePost(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    posted.push_back({window, message, wParam, lParam});
    return TRUE;
}

}   // namespace

TEST_CASE("a tap on the help icon posts one request for help to the page")
{
    StartedPhone phone;
    SomePage page;
    posted.clear();
    Intercept<__imp_PostMessageW> posting(notePost);
    SendMessageW(page.control(helpIcon), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(4, 4));
    SendMessageW(page.control(helpIcon), WM_LBUTTONUP, 0, MAKELPARAM(4, 4));
    CHECK(phone.journal("process").empty());
    REQUIRE(posted.size() == 1);
    CHECK(posted[0].window == page.handle());
    CHECK(posted[0].message == WM_HELP);
    CHECK(posted[0].wParam == 0);
    CHECK(posted[0].lParam == 0);
}

TEST_CASE("the icon's command is answered, another control's is not")
{
    StartedPhone phone;
    SomePage page;
    posted.clear();
    Intercept<__imp_PostMessageW> posting(notePost);
    const LPARAM icon = reinterpret_cast<LPARAM>(page.control(helpIcon));
    CHECK(somePageProc(page.handle(), WM_COMMAND, MAKEWPARAM(helpIcon, STN_CLICKED), icon) == TRUE);
    CHECK(posted.size() == 1);
    CHECK(somePageProc(page.handle(), WM_COMMAND, MAKEWPARAM(helpIcon, STN_DBLCLK), icon) == FALSE);
    for (int other : {IDOK, IDCANCEL, 1139, 1141, 1177})
        CHECK(somePageProc(page.handle(), WM_COMMAND, MAKEWPARAM(other, 0), 0) == FALSE);
    CHECK(posted.size() == 1);
}

TEST_CASE("a request for help opens the page's anchor in the viewer")
{
    StartedPhone phone;
    SomePage page;
    SendMessageW(page.control(helpIcon), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(4, 4));
    CHECK(waitFor([&] { return !phone.journal("process").empty(); }));
    CHECK(phone.journal("process") == std::vector<std::string>{someHelp});
    CHECK(somePageProc(page.handle(), WM_HELP, 0, 0) == TRUE);
    CHECK(phone.journal("process") == std::vector<std::string>{someHelp, someHelp});
}

TEST_CASE("on a phone without the viewer a request for help shows nothing and the page goes on")
{
    StartedPhone phone;
    phone.set(L"programs", L"present", L"");
    SomePage page;
    CHECK(somePageProc(page.handle(), WM_HELP, 0, 0) == TRUE);
    CHECK(phone.journal() == std::vector<std::string>{std::string(someHelp) + " not found"});
    CHECK(IsWindow(page.handle()));
}

TEST_CASE("page, labels, edit fields and check boxes get the shared background and transparent text")
{
    StartedPhone phone;
    SomePage page;
    backgroundBrush = CreateSolidBrush(pageColor);
    for (UINT message : {WM_CTLCOLORDLG, WM_CTLCOLORSTATIC, WM_CTLCOLOREDIT, WM_CTLCOLORBTN}) {
        Picture picture(10, 10, white);
        SetBkMode(picture.dc(), OPAQUE);
        const INT_PTR answer = somePageProc(page.handle(), message, reinterpret_cast<WPARAM>(picture.dc()),
                                            reinterpret_cast<LPARAM>(page.handle()));
        INFO("message " << message);
        CHECK(answer == reinterpret_cast<INT_PTR>(backgroundBrush));
        CHECK(GetBkMode(picture.dc()) == TRANSPARENT);
    }
    Picture picture(10, 10, white);
    CHECK(somePageProc(page.handle(), WM_CTLCOLORLISTBOX, reinterpret_cast<WPARAM>(picture.dc()), 0) == FALSE);
    DeleteObject(backgroundBrush);
    backgroundBrush = nullptr;
}

TEST_CASE("other messages are left to the dialog manager")
{
    StartedPhone phone;
    SomePage page;
    CHECK(somePageProc(page.handle(), WM_SIZE, 0, 0) == FALSE);
    CHECK(somePageProc(page.handle(), WM_ERASEBKGND, 0, 0) == FALSE);
    CHECK(somePageProc(page.handle(), WM_SETTINGCHANGE, 0, 0) == FALSE);
}

TEST_CASE("the help icon is 16 pixels large at 96 dots per inch and 32 at 192, and goes with its page")
{
    struct Row {
        const char *phone;
        int size;
    };
    for (const Row &row : {Row{"wm6", 16}, Row{"vga", 32}}) {
        StartedPhone phone(row.phone);
        RECT area;
        {
            SomePage page;
            CHECK(SendMessageW(page.control(helpIcon), STM_GETICON, 0, 0) != 0);
            GetWindowRect(page.control(helpIcon), &area);
        }
        INFO(std::string(row.phone));
        CHECK(area.right - area.left == row.size);
        CHECK(area.bottom - area.top == row.size);
        const int before = SimLiveGdi();
        for (int i = 0; i < 10; ++i)
            SomePage();
        CHECK(SimLiveGdi() == before);
    }
}

// ---- The pages of the real sheet -----------------------------------------------------------------------------------------

namespace {

struct SheetPage {
    const wchar_t *englishHeader;
    const wchar_t *germanHeader;
    const char *help;
};

// In tab order.
constexpr SheetPage sheetPages[] = {
    {L"Display Settings", L"Anzeigeeinstellungen", "process peghelp.exe Kelvane.htm#options-user"},
    {L"Alarm Settings", L"Alarmeinstellungen", "process peghelp.exe Kelvane.htm#options-alarm"},
    {L"Advanced Settings", L"Erweiterte Einstellungen", "process peghelp.exe Kelvane.htm#options-adv"},
    {L"Profile:", L"Profil:", "process peghelp.exe Kelvane.htm#options-profile"},
    {L"Addon Settings", L"Extras", "process peghelp.exe Kelvane.htm#options-addon"},
    {L"About", L"Info", "process peghelp.exe Kelvane.htm#options-user"},
};

void repaint(HWND window)
{
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
}

void photograph(HWND window, Picture &picture)
{
    repaint(window);
    const HDC dc = GetDC(window);
    BitBlt(picture.dc(), 0, 0, picture.width, picture.height, dc, 0, 0, SRCCOPY);
    ReleaseDC(window, dc);
}

RECT placeOf(HWND page, int id)
{
    RECT area = {};
    GetWindowRect(GetDlgItem(page, id), &area);
    MapWindowPoints(nullptr, page, reinterpret_cast<POINT *>(&area), 2);
    return area;
}

// The header's area, the help icon's place left out, and all that is right of a title with a drop-down list beside it.
RECT titleArea(HWND page)
{
    const HWND selector = GetDlgItem(page, 1253);
    const int next = selector && IsWindowVisible(selector) ? 1253 : helpIcon;
    return {0, 0, placeOf(page, next).left, 21};
}

void checkHeaders(const wchar_t *SheetPage::*header)
{
    runOptions([&](HWND sheet) {
        for (int index = 0; index < 6; ++index) {
            const HWND page = showPage(sheet, index);
            Picture shown(240, 40, white);
            photograph(page, shown);
            Picture expected(240, 40, pageColor);
            drawExpectedTitle(expected, sheetPages[index].*header, 3, 3, -12);
            INFO("page " << index);
            CHECK(shown.differences(expected, titleArea(page)) == 0);
            CHECK(shown.count({0, 21, 240, 22}, black) == 240);
        }
    });
}

}   // namespace

TEST_CASE("on every screen the help icon stands in the page's upper right corner")
{
    struct Row {
        const char *phone;
        int left, top, size;
    };
    for (const Row &row : {Row{"wm6", 221, 1, 16}, Row{"wm5", 221, 1, 16}, Row{"ppc2003", 221, 1, 16},
                           Row{"vga", 442, 2, 32}, Row{"landscape", 301, 1, 16}, Row{"square", 221, 1, 16}}) {
        StartedPhone phone(row.phone);
        runOptions([&](HWND sheet) {
            for (int index = 0; index < 6; ++index) {
                const RECT icon = placeOf(showPage(sheet, index), helpIcon);
                INFO(std::string(row.phone) << ", page " << index);
                CHECK(icon.left == row.left);
                CHECK(icon.top == row.top);
                CHECK(icon.right == row.left + row.size);
                CHECK(icon.bottom == row.top + row.size);
            }
        });
    }
}

TEST_CASE("each page of the sheet paints its header in English")
{
    StartedPhone phone;
    checkHeaders(&SheetPage::englishHeader);
}

TEST_CASE("each page of the sheet paints its header in German")
{
    StartedPhone phone;
    storeNumber(L"lang", german);
    checkHeaders(&SheetPage::germanHeader);
}

TEST_CASE("the help icon of each page opens that page's help")
{
    StartedPhone phone;
    std::vector<std::string> expected;
    for (const SheetPage &page : sheetPages)
        expected.push_back(page.help);
    runOptions([&](HWND sheet) {
        bool opened = true;
        for (size_t index = 0; index < 6 && opened; ++index) {
            const HWND page = showPage(sheet, static_cast<int>(index));
            SendDlgItemMessageW(page, helpIcon, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(4, 4));
            opened = waitFor([&] { return phone.journal("process").size() == index + 1; });
            INFO("page " << index);
            CHECK(opened);
        }
    });
    CHECK(phone.journal("process") == expected);
}

TEST_CASE("the sheet's own request for help opens the user's page of it")
{
    StartedPhone phone;
    runOptions([&](HWND sheet) { SendMessageW(sheet, WM_HELP, 0, 0); });
    CHECK(phone.journal("process") == std::vector<std::string>{"process peghelp.exe Kelvane.htm#options-user"});
}

TEST_CASE("the page behind its controls, its labels and its check boxes have the page's colour")
{
    StartedPhone phone;
    runOptions([](HWND sheet) {
        for (int index = 0; index < 6; ++index) {
            const HWND page = showPage(sheet, index);
            RECT client;
            GetClientRect(page, &client);
            Picture shown(client.right, client.bottom, white);
            photograph(page, shown);
            INFO("page " << index);
            CHECK(shown.at(0, 0) == pageColor);
            const LONG bottom = index == 3 ? 130 : client.bottom;   // where the list of the Profiles page begins
            CHECK(shown.at(client.right - 1, bottom - 1) == pageColor);
            CHECK(shown.at(0, bottom - 1) == pageColor);
            if (index != 1)
                continue;
            for (int control : {1078, 1261, 1179, 1177, 1180, 1294}) {
                const RECT area = placeOf(page, control);
                INFO("control " << control);
                CHECK(shown.at(area.right - 1, area.top) == pageColor);
                CHECK(shown.at(area.right - 1, area.bottom - 1) == pageColor);
                CHECK(shown.count(area, pageColor) > (area.right - area.left) * (area.bottom - area.top) / 2);
            }
        }
    });
}

TEST_CASE("the shared background of the running program is the page's colour")
{
    StartedPhone phone;
    LOGBRUSH brush = {};
    runOptions([&](HWND) { GetObjectW(backgroundBrush, sizeof brush, &brush); });
    CHECK(brush.lbStyle == BS_SOLID);
    CHECK(brush.lbColor == pageColor);
}
