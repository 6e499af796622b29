// Windows, dialogs, property sheets and the shell around them, as a person with a phone in the hand meets them.

#include <algorithm>
#include <functional>

#include "aygshell.h"
#include "control.h"
#include "control_windows.h"
#include "doctest.h"
#include "prsht.h"
#include "processes.h"

PHONE_API BOOL SipShowIM(DWORD flags);
PHONE_API BOOL SHDoneButton(HWND window, DWORD state);

namespace {

constexpr DWORD fullScreen = SHIDIF_DONEBUTTON | SHIDIF_SIZEDLGFULLSCREEN;

std::string placeText(const RECT &area)
{
    return "(" + std::to_string(area.left) + "," + std::to_string(area.top) + ")-(" + std::to_string(area.right) + "," +
           std::to_string(area.bottom) + ")";
}

std::string placeOf(HWND window)
{
    RECT area = {};
    GetWindowRect(window, &area);
    return placeText(area);
}

std::string classOf(HWND window)
{
    wchar_t name[64] = L"";
    GetClassNameW(window, name, 64);
    return narrow(name);
}

std::string textOf(HWND window)
{
    wchar_t text[256] = L"";
    GetWindowTextW(window, text, 256);
    return narrow(text);
}

std::string titleText()
{
    wchar_t text[256] = L"";
    SimTitleText(text, 256);
    return narrow(text);
}

// The simulator's own windows; the phone's functions leave them out.
HWND titleBar()
{
    return FindWindowA("HHTaskBar", nullptr);
}
HWND bottomBar()
{
    return FindWindowA("menu_worker", nullptr);
}
HWND panel()
{
    return FindWindowA("SipWndClass", nullptr);
}

void tap(HWND bar, int x)
{
    RECT area;
    GetClientRect(bar, &area);
    SendMessageW(bar, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, area.bottom / 2));
}

void handleMessages()
{
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
        DispatchMessageW(&message);
}

// ---- Templates written here --------------------------------------------------------------------------------------------

// A dialog template in either form, in memory.
class Template {
public:
    enum Form { plain, extended };

    Template(Form form, DWORD style, int width, int height, const wchar_t *font = nullptr, WORD points = 0) : form(form)
    {
        style |= font ? DS_SETFONT : 0;
        if (form == extended) {
            word(1), word(0xFFFF), number(0), number(0), number(style);
        } else {
            number(style), number(0);
        }
        countAt = bytes.size();
        word(0), word(10), word(20), word(static_cast<WORD>(width)), word(static_cast<WORD>(height));
        word(0), word(0), text(L"Title");
        if (font) {
            word(points);
            if (form == extended)
                word(FW_BOLD), bytes.push_back(0), bytes.push_back(1);
            text(font);
        }
    }

    Template &add(const wchar_t *className, WORD id, DWORD style, int left, int top, int width, int height)
    {
        bytes.resize((bytes.size() + 3) / 4 * 4);
        style |= WS_CHILD | WS_VISIBLE;
        if (form == extended)
            number(0), number(0), number(style);
        else
            number(style), number(0);
        for (int each : {left, top, width, height})
            word(static_cast<WORD>(each));
        word(id);
        if (form == extended)
            word(0);
        text(className), text(className), word(0);
        ++bytes[countAt];
        return *this;
    }

    const DLGTEMPLATE *get() const { return reinterpret_cast<const DLGTEMPLATE *>(bytes.data()); }

private:
    void word(WORD value)
    {
        bytes.push_back(static_cast<BYTE>(value));
        bytes.push_back(static_cast<BYTE>(value >> 8));
    }
    void number(DWORD value) { word(static_cast<WORD>(value)), word(static_cast<WORD>(value >> 16)); }
    void text(const wchar_t *value)
    {
        do
            word(*value);
        while (*value++);
    }

    std::vector<BYTE> bytes;
    size_t countAt;
    Form form;
};

// ---- Dialogs that write down what they are told ------------------------------------------------------------------------

struct Told {
    std::vector<std::string> lines;
    DWORD shellFlags = 0;   // for SHInitDialog; 0: not called
};

INT_PTR CALLBACK tellingProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_INITDIALOG) {
        SetPropW(dialog, L"Told", reinterpret_cast<HANDLE>(lParam));
        const DWORD flags = reinterpret_cast<Told *>(lParam)->shellFlags;
        SHINITDLGINFO info = {SHIDIM_FLAGS, dialog, flags};
        if (flags)
            CHECK(SHInitDialog(&info));
        return TRUE;
    }
    Told *const told = static_cast<Told *>(GetPropW(dialog, L"Told"));
    if (!told)
        return FALSE;
    if (message == WM_COMMAND && LOWORD(wParam) <= IDCANCEL)
        told->lines.push_back("command " + std::to_string(wParam) + " " + std::to_string(lParam));
    if (message == WM_SETTINGCHANGE)
        told->lines.push_back("change " + std::to_string(wParam) + " " + std::to_string(lParam));
    return FALSE;
}

using Lines = std::vector<std::string>;

// A dialog without a loop of its own, gone with the object.
struct Dialog {
    explicit Dialog(DWORD shellFlags, const Template &source = {Template::plain, WS_POPUP | WS_VISIBLE, 100, 50},
                    HWND owner = nullptr)
    {
        told.shellFlags = shellFlags;
        handle = CreateDialogIndirectParamW(nullptr, source.get(), owner, tellingProc, reinterpret_cast<LPARAM>(&told));
        REQUIRE(handle);
        SetForegroundWindow(handle);
    }
    ~Dialog() { DestroyWindow(handle); }
    Dialog(const Dialog &) = delete;
    Dialog &operator=(const Dialog &) = delete;
    HWND handle;
    Told told;
};

struct Screen {
    const char *phone;
    const char *titleBar, *bottomBar;   // where the bars are
    const char *work;                   // between them
    const char *down, *up;              // the visible desktop with the panel down and up
    const char *panel;
};

constexpr Screen screens[] = {
    {"wm6", "(0,0)-(240,26)", "(0,294)-(240,320)", "(0,26)-(240,294)", "(0,26)-(240,320)", "(0,26)-(240,214)",
     "(0,214)-(240,294)"},
    {"wm5", "(0,0)-(240,26)", "(0,294)-(240,320)", "(0,26)-(240,294)", "(0,26)-(240,320)", "(0,26)-(240,214)",
     "(0,214)-(240,294)"},
    {"ppc2003", "(0,0)-(240,26)", "(0,294)-(240,320)", "(0,26)-(240,294)", "(0,26)-(240,320)", "(0,26)-(240,214)",
     "(0,214)-(240,294)"},
    {"vga", "(0,0)-(480,52)", "(0,588)-(480,640)", "(0,52)-(480,588)", "(0,52)-(480,640)", "(0,52)-(480,428)",
     "(0,428)-(480,588)"},
    {"landscape", "(0,0)-(320,26)", "(0,214)-(320,240)", "(0,26)-(320,214)", "(0,26)-(320,240)", "(0,26)-(320,134)",
     "(0,134)-(320,214)"},
    {"square", "(0,0)-(240,26)", "(0,214)-(240,240)", "(0,26)-(240,214)", "(0,26)-(240,240)", "(0,26)-(240,134)",
     "(0,134)-(240,214)"},
};

SIPINFO panelInfo()
{
    SIPINFO info = {};
    info.cbSize = sizeof info;
    CHECK(SHSipInfo(SPI_GETSIPINFO, 0, &info, 0));
    return info;
}

}   // namespace

// ---- Geometry ----------------------------------------------------------------------------------------------------------

TEST_CASE(
    "on every phone a full-screen dialog lies between a title bar and a bottom bar of 26 pixels at 96 dots per inch")
{
    for (const Screen &each : screens) {
        INFO(std::string(each.phone));
        const TestPhone phone(each.phone);
        const Dialog dialog(fullScreen);
        CHECK(placeOf(dialog.handle) == each.work);
        CHECK(placeOf(titleBar()) == each.titleBar);
        CHECK(placeOf(bottomBar()) == each.bottomBar);
        RECT client;
        GetClientRect(dialog.handle, &client);
        MapWindowPoints(dialog.handle, nullptr, reinterpret_cast<POINT *>(&client), 2);
        CHECK(placeText(client) == each.work);   // no frame of its own
        RECT area;
        REQUIRE(SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0));
        CHECK(placeText(area) == each.work);
    }
}

TEST_CASE("on every phone the visible desktop reaches the screen's end, or the panel while that is up")
{
    for (const Screen &each : screens) {
        INFO(std::string(each.phone));
        const TestPhone phone(each.phone);
        SIPINFO info = panelInfo();
        CHECK(placeText(info.rcVisibleDesktop) == each.down);
        CHECK(placeText(info.rcSipRect) == each.panel);
        CHECK((info.fdwFlags & SIPF_ON) == 0);
        const Dialog dialog(fullScreen);
        SimSetPanel(TRUE);
        info = panelInfo();
        CHECK(placeText(info.rcVisibleDesktop) == each.up);
        CHECK(placeText(info.rcSipRect) == each.panel);
        CHECK((info.fdwFlags & SIPF_ON) != 0);
        handleMessages();
        CHECK(placeOf(panel()) == each.panel);
        CHECK(IsWindowVisible(panel()));
        CHECK(placeOf(dialog.handle) == each.work);   // it is the program's to make room
    }
}

TEST_CASE("a new phone has its panel down and bars of its own size, whatever the one before did")
{
    {
        const TestPhone first("wm6");
        const Dialog dialog(fullScreen);
        SimSetPanel(TRUE);
    }
    const TestPhone second("vga");
    CHECK(placeText(panelInfo().rcVisibleDesktop) == "(0,52)-(480,640)");
    const Dialog dialog(fullScreen);
    CHECK(placeOf(titleBar()) == "(0,0)-(480,52)");
    CHECK(second.journal("panel").empty());
}

TEST_CASE("a record of the wrong size gets no panel information")
{
    TestPhone phone;
    SIPINFO info = {};
    for (const DWORD size : {DWORD(0), DWORD(sizeof info - 1), DWORD(sizeof info + 1)}) {
        info.cbSize = size;
        CHECK_FALSE(SHSipInfo(SPI_GETSIPINFO, 0, &info, 0));
        CHECK(info.rcVisibleDesktop.bottom == 0);
    }
    CHECK_FALSE(SHSipInfo(SPI_GETSIPINFO, 0, nullptr, 0));
    CHECK_FALSE(SHSipInfo(999, 0, &info, 0));
}

// ---- The panel ---------------------------------------------------------------------------------------------------------

TEST_CASE("the panel's button raises and lowers it, and every window of the program hears of it")
{
    for (const Screen &each : screens) {
        INFO(std::string(each.phone));
        const TestPhone phone(each.phone);
        Dialog first(fullScreen), second(fullScreen);
        RECT bar;
        GetClientRect(bottomBar(), &bar);
        // In the middle, since Windows Mobile 5; at the right end before.
        const bool old = std::string(each.phone) == "ppc2003";
        tap(bottomBar(), old ? bar.right / 2 : bar.right - 10);
        CHECK((panelInfo().fdwFlags & SIPF_ON) == 0);
        tap(bottomBar(), old ? bar.right - 10 : bar.right / 2);
        CHECK((panelInfo().fdwFlags & SIPF_ON) != 0);
        tap(bottomBar(), old ? bar.right - 10 : bar.right / 2);
        CHECK((panelInfo().fdwFlags & SIPF_ON) == 0);
        for (const Dialog *dialog : {&first, &second})
            CHECK((dialog->told.lines == Lines{"change 224 0", "change 224 0"}));
        CHECK((phone.journal("panel") == Lines{"panel on", "panel off"}));
    }
}

TEST_CASE("the program raises and lowers the panel too, and hears of real changes only")
{
    const TestPhone phone;
    Dialog dialog(fullScreen);
    CHECK(SipShowIM(1));
    CHECK(SipShowIM(1));
    SIPINFO info = panelInfo();
    info.fdwFlags = 0;
    CHECK(SHSipInfo(SPI_SETSIPINFO, 0, &info, 0));
    CHECK(SHSipInfo(SPI_SETSIPINFO, 0, &info, 0));
    CHECK(SimTapPanelButton());
    Dialog lowering(fullScreen | SHIDIF_SIPDOWN);
    CHECK((panelInfo().fdwFlags & SIPF_ON) == 0);
    CHECK((dialog.told.lines == Lines(4, "change 224 0")));
    CHECK((phone.journal("panel") == Lines{"panel on", "panel off", "panel on", "panel off"}));
}

// ---- Dialogs -----------------------------------------------------------------------------------------------------------

TEST_CASE("dialogs keep their class and their controls the given identifiers")
{
    const TestPhone phone;
    for (const Template::Form form : {Template::plain, Template::extended}) {
        Template source(form, WS_POPUP | WS_VISIBLE, 100, 80);
        source.add(L"Button", 1001, WS_TABSTOP, 5, 5, 40, 14).add(L"Edit", 65535, WS_BORDER, 5, 25, 40, 12);
        const Dialog dialog(fullScreen, source);
        CHECK(classOf(dialog.handle) == "#32770");
        CHECK(textOf(dialog.handle) == "Title");
        CHECK(classOf(GetDlgItem(dialog.handle, 1001)) == "Button");
        CHECK(classOf(GetDlgItem(dialog.handle, 65535)) == "Edit");
        CHECK_FALSE(GetDlgItem(dialog.handle, 1002));
    }
}

TEST_CASE("dialog units come from the system font whatever a template says, on every phone")
{
    struct Said {
        Template::Form form;
        const wchar_t *font;
        WORD points;
    };
    const Said said[] = {{Template::plain, nullptr, 0},        {Template::plain, L"Courier New", 20},
                         {Template::plain, L"Tahoma", 8},      {Template::extended, nullptr, 0},
                         {Template::extended, L"Marlett", 30}, {Template::extended, L"MS Shell Dlg", 8}};
    for (const Screen &screen : screens) {
        INFO(std::string(screen.phone));
        const TestPhone phone(screen.phone);
        const int factor = std::string(screen.phone) == "vga" ? 2 : 1;
        const DWORD units = static_cast<DWORD>(GetDialogBaseUnits());
        CHECK(LOWORD(units) >= 6 * factor);
        CHECK(LOWORD(units) <= 7 * factor);
        CHECK(HIWORD(units) >= 13 * factor);
        CHECK(HIWORD(units) <= 15 * factor);
        for (const Said &each : said) {
            Template source(each.form, WS_POPUP, 100, 40, each.font, each.points);
            source.add(L"Static", 1001, 0, 8, 16, 40, 8);
            const Dialog dialog(fullScreen, source);
            RECT area = {4, 8, 400, 800};
            REQUIRE(MapDialogRect(dialog.handle, &area));
            CHECK(area.left == LOWORD(units));
            CHECK(area.top == HIWORD(units));
            CHECK(area.right == 100 * LOWORD(units));
            CHECK(area.bottom == 100 * HIWORD(units));
            RECT control;
            GetWindowRect(GetDlgItem(dialog.handle, 1001), &control);
            CHECK(control.right - control.left == 10 * LOWORD(units));
            CHECK(control.bottom - control.top == HIWORD(units));
            LOGFONTW font = {};
            GetObjectW(reinterpret_cast<HFONT>(SendDlgItemMessageW(dialog.handle, 1001, WM_GETFONT, 0, 0)), sizeof font,
                       &font);
            CHECK(narrow(font.lfFaceName) == "Tahoma");
            CHECK(font.lfHeight == -12 * factor);
            CHECK(font.lfWeight <= FW_NORMAL);   // a plain template leaves the choice open
        }
    }
}

TEST_CASE("a date and time picker begins at the time of the phone's clock")
{
    TestPhone phone;
    const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_DATE_CLASSES};
    InitCommonControlsEx(&classes);
    const SYSTEMTIME standing = {2008, 3, 5, 7, 14, 5, 9, 0};
    SimSetClock(&standing);
    const HWND parent =
        CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 100, 100, nullptr, nullptr, nullptr, nullptr);
    const HWND picker = CreateWindowExW(0, DATETIMEPICK_CLASSW, L"", WS_CHILD | DTS_TIMEFORMAT, 0, 0, 80, 20, parent,
                                        nullptr, nullptr, nullptr);
    REQUIRE(picker);
    SYSTEMTIME shown = {};
    CHECK(SendMessageW(picker, DTM_GETSYSTEMTIME, 0, reinterpret_cast<LPARAM>(&shown)) == GDT_VALID);
    CHECK(shown.wYear == 2008);
    CHECK(shown.wMonth == 3);
    CHECK(shown.wDay == 7);
    CHECK(shown.wHour == 14);
    CHECK(shown.wMinute == 5);
    DestroyWindow(parent);
    SimSetClock(nullptr);
}

TEST_CASE("a template that is cut off or no template makes no dialog")
{
    const TestPhone phone;
    CHECK_FALSE(CreateDialogIndirectParamW(nullptr, nullptr, nullptr, tellingProc, 0));
    CHECK(GetLastError() == ERROR_INVALID_PARAMETER);
    // Its items would lie behind the end of the memory it lies in.
    BYTE *const page = static_cast<BYTE *>(VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    REQUIRE(page);
    DLGTEMPLATE *const source = reinterpret_cast<DLGTEMPLATE *>(page + 4096 - sizeof(DLGTEMPLATE) - 6);
    *source = {WS_POPUP, 0, 1, 0, 0, 10, 10};
    CHECK_FALSE(CreateDialogIndirectParamW(nullptr, source, nullptr, tellingProc, 0));
    CHECK(DialogBoxIndirectParamW(nullptr, source, nullptr, tellingProc, 0) == -1);
    VirtualFree(page, 0, MEM_RELEASE);
}

TEST_CASE("a small dialog stays on the phone's screen")
{
    for (const Screen &each : screens) {
        INFO(std::string(each.phone));
        const TestPhone phone(each.phone);
        const Dialog dialog(SHIDIF_DONEBUTTON, Template(Template::plain, WS_POPUP | WS_CAPTION | WS_VISIBLE, 60, 200));
        RECT area, work;
        GetWindowRect(dialog.handle, &area);
        REQUIRE(SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0));
        CHECK(area.left >= work.left);
        CHECK(area.top >= work.top);
        CHECK(area.right <= work.right);
        CHECK(area.bottom <= work.bottom);
    }
}

// ---- The ok button -----------------------------------------------------------------------------------------------------

TEST_CASE("the ok button sends IDOK to the dialog in front, if that asked for the button")
{
    const TestPhone phone;
    Dialog outer(fullScreen);
    CHECK(SimOkOwner() == outer.handle);
    {
        Dialog inner(fullScreen, Template(Template::plain, WS_POPUP | WS_VISIBLE, 100, 50), outer.handle);
        CHECK(SimOkOwner() == inner.handle);
        CHECK(SimTapOk());
        CHECK(inner.told.lines.empty());   // posted, as a tap's is
        handleMessages();
        CHECK((inner.told.lines == Lines{"command 1 0"}));
        CHECK(outer.told.lines.empty());
        Dialog none(SHIDIF_SIZEDLGFULLSCREEN, Template(Template::plain, WS_POPUP | WS_VISIBLE, 100, 50), inner.handle);
        CHECK_FALSE(SimOkOwner());
        CHECK_FALSE(SimTapOk());
        CHECK(SHDoneButton(none.handle, 1));
        CHECK(SimOkOwner() == none.handle);
        CHECK(SHDoneButton(none.handle, 2));
        CHECK_FALSE(SimOkOwner());
    }
    SetForegroundWindow(outer.handle);
    RECT bar;
    GetClientRect(titleBar(), &bar);
    tap(titleBar(), bar.right / 2);
    handleMessages();
    CHECK(outer.told.lines.empty());
    tap(titleBar(), bar.right - 13);
    handleMessages();
    CHECK((outer.told.lines == Lines{"command 1 0"}));
}

TEST_CASE("the title bar carries the title of the dialog in front, or its owner's")
{
    const TestPhone phone;
    const Dialog outer(fullScreen);
    SetWindowTextW(outer.handle, L"Outer");
    CHECK(titleText() == "Outer");
    const Dialog inner(fullScreen, Template(Template::plain, WS_POPUP | WS_VISIBLE, 100, 50), outer.handle);
    CHECK(titleText() == "Title");
    SetWindowTextW(inner.handle, L"");
    CHECK(titleText() == "Outer");
}

TEST_CASE("an empty menu bar leaves the panel's button, a dialog may hide it")
{
    const TestPhone phone;
    const Dialog dialog(fullScreen);
    SHMENUBARINFO bar = {};
    bar.cbSize = sizeof bar;
    bar.hwndParent = dialog.handle;
    bar.dwFlags = SHCMBF_EMPTYBAR;
    CHECK(SHCreateMenuBar(&bar));
    CHECK(bar.hwndMB == bottomBar());
    CHECK(SimTapPanelButton());
    bar.dwFlags = SHCMBF_EMPTYBAR | 0x04;
    CHECK(SHCreateMenuBar(&bar));
    CHECK_FALSE(SimTapPanelButton());
    bar.dwFlags = 0;   // wants a menu of a resource
    CHECK_FALSE(SHCreateMenuBar(&bar));
    bar.cbSize -= 4;
    CHECK_FALSE(SHCreateMenuBar(&bar));
}

// ---- Modal loops, driven by a timer ------------------------------------------------------------------------------------

namespace {

struct Step {
    std::function<HWND()> awaited;   // the window the step waits for
    std::function<void(HWND)> act;
};
std::vector<Step> steps;
size_t nextStep;
DWORD plannedAt;
constexpr DWORD patience = 20000;

// Whatever is open has waited too long for what never came.
BOOL CALLBACK giveUp(HWND window, LPARAM)
{
    if (classOf(window) == "#32770" && IsWindowVisible(window))
        EndDialog(window, -99);
    PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
    return TRUE;
}

void CALLBACK takeStep(HWND, UINT, UINT_PTR timer, DWORD)
{
    if (GetTickCount() - plannedAt > patience) {
        CHECK_MESSAGE(nextStep >= steps.size(), "step " << nextStep << " never came");
        EnumWindows(giveUp, 0);
        return;
    }
    const HWND window = nextStep < steps.size() ? steps[nextStep].awaited() : nullptr;
    if (window) {
        const size_t step = nextStep++;
        steps[step].act(window);
    }
    if (nextStep >= steps.size())
        KillTimer(nullptr, timer);
}

// Has the steps taken one after the other by the modal loops that run from now on.
void plan(const std::vector<Step> &planned)
{
    steps = planned;
    nextStep = 0;
    plannedAt = GetTickCount();
    SetTimer(nullptr, 0, 10, takeStep);
}

struct Found {
    const wchar_t *title;
    bool sheet;
    HWND window;
};

BOOL CALLBACK compareTitle(HWND window, LPARAM parameter)
{
    Found &wanted = *reinterpret_cast<Found *>(parameter);
    const bool isSheet = SendMessageW(window, PSM_GETTABCONTROL, 0, 0) != 0;
    if (classOf(window) != "#32770" || !IsWindowVisible(window) || !IsWindowEnabled(window) ||
        isSheet != wanted.sheet || textOf(window) != narrow(wanted.title))
        return TRUE;
    wanted.window = window;
    return FALSE;
}

std::function<HWND()> dialogCalled(const wchar_t *title, bool sheet = false)
{
    return [=] {
        Found wanted = {title, sheet, nullptr};
        EnumWindows(compareTitle, reinterpret_cast<LPARAM>(&wanted));
        return wanted.window;
    };
}

std::function<HWND()> sheetCalled(const wchar_t *title)
{
    return dialogCalled(title, true);
}

void press(HWND window, WPARAM key)
{
    PostMessageW(window, WM_KEYDOWN, key, 1);
    PostMessageW(window, WM_KEYUP, key, 0xC0000001);
}

}   // namespace

TEST_CASE("message boxes have the buttons, texts and answers of their kind, on the phone's screen")
{
    const struct {
        UINT type;
        std::vector<int> buttons;
        int escape;   // its answer; 0 when it stays
    } kinds[] = {{MB_OK, {IDOK}, IDOK},
                 {MB_OKCANCEL | MB_ICONQUESTION, {IDOK, IDCANCEL}, IDCANCEL},
                 {MB_ABORTRETRYIGNORE, {IDABORT, IDRETRY, IDIGNORE}, 0},
                 {MB_YESNOCANCEL | MB_ICONHAND, {IDYES, IDNO, IDCANCEL}, IDCANCEL},
                 {MB_YESNO, {IDYES, IDNO}, 0},
                 {MB_RETRYCANCEL, {IDRETRY, IDCANCEL}, IDCANCEL}};
    for (const char *name : {"wm6", "vga", "square"}) {
        const TestPhone phone(name);
        for (const auto &kind : kinds) {
            if (std::string(name) != "wm6" && kind.buttons.size() < 3)
                continue;   // the widest are enough for the other screens
            for (const int chosen : kind.buttons) {
                plan({{dialogCalled(L"Question"), [&](HWND box) {
                           CHECK(textOf(GetDlgItem(box, 0xFFFF)) == "Some\ntext");
                           for (int id = IDOK; id <= IDNO; ++id)
                               CHECK((GetDlgItem(box, id) != nullptr) ==
                                     (std::count(kind.buttons.begin(), kind.buttons.end(), id) == 1));
                           RECT area, work;
                           GetWindowRect(box, &area);
                           SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
                           CHECK((area.left >= work.left && area.right <= work.right));
                           CHECK((area.top >= work.top && area.bottom <= work.bottom));
                           SendMessageW(GetDlgItem(box, chosen), BM_CLICK, 0, 0);
                       }}});
                CHECK(MessageBoxW(nullptr, L"Some\ntext", L"Question", kind.type) == chosen);
            }
            plan({{dialogCalled(L"Question"), [&](HWND box) {
                       SendMessageW(box, WM_COMMAND, IDCANCEL, 0);
                       if (!kind.escape)
                           SendMessageW(box, WM_COMMAND, static_cast<WPARAM>(kind.buttons[1]), 0);
                   }}});
            CHECK(MessageBoxW(nullptr, L"", L"Question", kind.type) == (kind.escape ? kind.escape : kind.buttons[1]));
        }
    }
    const TestPhone phone;
    CHECK(MessageBoxW(nullptr, L"", L"", 6) == 0);
}

TEST_CASE("a message box has the default button it was given under the focus")
{
    const TestPhone phone;
    const UINT defaults[] = {MB_DEFBUTTON1, MB_DEFBUTTON2, MB_DEFBUTTON3};
    const int expected[] = {IDYES, IDNO, IDCANCEL};
    for (int i = 0; i < 3; ++i) {
        plan({{dialogCalled(L"Question"), [&](HWND box) {
                   CHECK(GetFocus() == GetDlgItem(box, expected[i]));
                   press(GetFocus(), VK_RETURN);
               }}});
        CHECK(MessageBoxW(nullptr, L"", L"Question", MB_YESNOCANCEL | defaults[i]) == expected[i]);
    }
}

// ---- Property sheets ---------------------------------------------------------------------------------------------------

namespace {

std::vector<std::string> sheetLog;
std::function<void(HWND)> whenPressed;   // the button of a page

INT_PTR CALLBACK pageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_SETTINGCHANGE)
        sheetLog.push_back("change " + std::to_string(wParam));
    if (message == WM_COMMAND && LOWORD(wParam) == 1001 && HIWORD(wParam) == BN_CLICKED && whenPressed)
        whenPressed(page);
    if (message == WM_NOTIFY) {
        const UINT code = reinterpret_cast<NMHDR *>(lParam)->code;
        if (code == PSN_APPLY)
            sheetLog.push_back("apply");
        if (code == PSN_RESET)
            sheetLog.push_back("reset");
    }
    return FALSE;
}

int CALLBACK sheetCallback(HWND sheet, UINT message, LPARAM)
{
    if (message == PSCB_GETVERSION)
        return static_cast<int>(COMCTL32_VERSION);
    if (message == PSCB_INITIALIZED) {
        SHINITDLGINFO info = {SHIDIM_FLAGS, sheet, fullScreen};
        SHInitDialog(&info);
    }
    return 0;
}

Template pageTemplate()
{
    Template source(Template::plain, WS_CHILD | WS_VISIBLE, 130, 100);
    source.add(L"Button", 1001, WS_TABSTOP, 5, 5, 40, 14).add(L"Edit", 1002, WS_TABSTOP | WS_BORDER, 5, 25, 40, 12);
    return source;
}

INT_PTR runSheet(const wchar_t *title, int pageCount, HWND owner = nullptr)
{
    static const wchar_t *const names[] = {L"First",        L"Second",           L"Third",
                                           L"A longer one", L"Another long one", L"Last of all"};
    const Template source = pageTemplate();
    PROPSHEETPAGEW pages[6] = {};
    for (int i = 0; i < pageCount; ++i) {
        pages[i].dwSize = propSheetRecordSize;
        pages[i].dwFlags = 1 | PSP_USETITLE;   // PSP_DLGINDIRECT
        pages[i].pResource = source.get();
        pages[i].pszTitle = names[i];
        pages[i].pfnDlgProc = pageProc;
    }
    PROPSHEETHEADERW header = {};
    header.dwSize = propSheetRecordSize;
    header.dwFlags = PSH_PROPSHEETPAGE | PSH_USECALLBACK | PSH_MAXIMIZE;
    header.hwndParent = owner;
    header.pszCaption = title;
    header.nPages = static_cast<UINT>(pageCount);
    header.ppsp = pages;
    header.pfnCallback = sheetCallback;
    sheetLog.clear();
    return PropertySheetW(&header);
}

HWND tabsOf(HWND sheet)
{
    return reinterpret_cast<HWND>(SendMessageW(sheet, PSM_GETTABCONTROL, 0, 0));
}

HWND pageOf(HWND sheet)
{
    return reinterpret_cast<HWND>(SendMessageW(sheet, PSM_GETCURRENTPAGEHWND, 0, 0));
}

}   // namespace

TEST_CASE("a sheet answers the ok button by applying, and Escape by resetting")
{
    const TestPhone phone;
    plan({{sheetCalled(L"Sheet"), [](HWND sheet) {
               CHECK(SimOkOwner() == sheet);
               CHECK(SimTapOk());
           }}});
    CHECK(runSheet(L"Sheet", 2) > 0);
    CHECK((sheetLog == Lines{"apply"}));   // pages never shown are not asked

    plan({{sheetCalled(L"Sheet"), [](HWND sheet) { press(GetDlgItem(pageOf(sheet), 1002), VK_ESCAPE); }}});
    CHECK(runSheet(L"Sheet", 2) == 0);
    CHECK((sheetLog == Lines{"reset"}));
}

TEST_CASE("Escape cancels a dialog")
{
    const TestPhone phone;
    static Told told;
    told = {};
    told.shellFlags = fullScreen;
    plan({{dialogCalled(L"Title"), [](HWND dialog) { press(dialog, VK_ESCAPE); }},
          {[] { return told.lines.empty() ? nullptr : dialogCalled(L"Title")(); },
           [](HWND dialog) { EndDialog(dialog, 7); }}});
    const Template source(Template::plain, WS_POPUP | WS_VISIBLE, 100, 50);
    CHECK(DialogBoxIndirectParamW(nullptr, source.get(), nullptr, tellingProc, reinterpret_cast<LPARAM>(&told)) == 7);
    CHECK((told.lines == Lines{"command 2 0"}));
}

TEST_CASE("a sheet's tabs lie along the bottom in one row that scrolls, its page fills the rest, its buttons are gone")
{
    for (const Screen &each : screens) {
        INFO(std::string(each.phone));
        const TestPhone phone(each.phone);
        for (const int count : {1, 6}) {
            plan({{sheetCalled(L"Sheet"), [&](HWND sheet) {
                       CHECK(classOf(sheet) == "#32770");
                       CHECK(placeOf(sheet) == each.work);
                       RECT work, tabs, page;
                       GetWindowRect(sheet, &work);
                       GetWindowRect(tabsOf(sheet), &tabs);
                       GetWindowRect(pageOf(sheet), &page);
                       CHECK(classOf(tabsOf(sheet)) == "SysTabControl32");
                       CHECK(tabs.bottom == work.bottom);
                       CHECK(tabs.left == work.left);
                       CHECK(tabs.right == work.right);
                       CHECK(placeText(page) == placeText({work.left, work.top, work.right, tabs.top}));
                       CHECK(SendMessageW(tabsOf(sheet), TCM_GETROWCOUNT, 0, 0) == 1);
                       RECT last = {}, client;
                       SendMessageW(tabsOf(sheet), TCM_GETITEMRECT, static_cast<WPARAM>(count - 1),
                                    reinterpret_cast<LPARAM>(&last));
                       GetClientRect(tabsOf(sheet), &client);
                       const HWND scroller = FindWindowExA(tabsOf(sheet), nullptr, UPDOWN_CLASSA, nullptr);
                       CHECK((last.right > client.right) == (count == 6));
                       CHECK((scroller && IsWindowVisible(scroller)) == (count == 6));
                       for (const int id : {int(IDOK), int(IDCANCEL), 0x3021, 9})
                           CHECK_FALSE(IsWindowVisible(GetDlgItem(sheet, id)));
                       if (count == 6) {
                           SendMessageW(sheet, PSM_SETCURSEL, 5, 0);
                           SendMessageW(tabsOf(sheet), TCM_GETITEMRECT, 5, reinterpret_cast<LPARAM>(&last));
                           CHECK(last.left >= 0);
                           CHECK(last.right <= client.right);
                       }
                       PostMessageW(sheet, WM_COMMAND, IDCANCEL, 0);
                   }}});
            CHECK(runSheet(L"Sheet", count) == 0);
        }
    }
}

TEST_CASE("the panel's changes reach a sheet's pages")
{
    const TestPhone phone;
    plan({{sheetCalled(L"Sheet"), [](HWND sheet) {
               SendMessageW(sheet, PSM_SETCURSEL, 1, 0);
               CHECK(SimTapPanelButton());
               PostMessageW(sheet, WM_COMMAND, IDCANCEL, 0);
           }}});
    CHECK(runSheet(L"Sheet", 3) == 0);
    CHECK((sheetLog == Lines{"change 224", "change 224", "reset", "reset"}));
}

TEST_CASE("Ctrl+Tab and Ctrl+Shift+Tab turn the pages in a circle, without a tap before")
{
    const TestPhone phone;
    const auto pressKeys = [](bool shift) {
        keybd_event(VK_CONTROL, 0, 0, 0);
        if (shift)
            keybd_event(VK_SHIFT, 0, 0, 0);
        keybd_event(VK_TAB, 0, 0, 0);
        keybd_event(VK_TAB, 0, KEYEVENTF_KEYUP, 0);
        if (shift)
            keybd_event(VK_SHIFT, 0, KEYEVENTF_KEYUP, 0);
        keybd_event(VK_CONTROL, 0, KEYEVENTF_KEYUP, 0);
    };
    const auto sheetAt = [](int page) {
        return [=] {
            const HWND sheet = sheetCalled(L"Sheet")();
            return sheet && SendMessageW(tabsOf(sheet), TCM_GETCURSEL, 0, 0) == page ? sheet : nullptr;
        };
    };
    plan({{sheetAt(0), [&](HWND) { pressKeys(false); }},
          {sheetAt(1), [&](HWND) { pressKeys(false); }},
          {sheetAt(2), [&](HWND) { pressKeys(false); }},
          {sheetAt(0), [&](HWND) { pressKeys(true); }},
          {sheetAt(2), [&](HWND) { pressKeys(true); }},
          {sheetAt(1), [](HWND sheet) { PostMessageW(sheet, WM_COMMAND, IDCANCEL, 0); }}});
    CHECK(runSheet(L"Sheet", 3) == 0);
    CHECK(nextStep == 6);
}

TEST_CASE("sheets nest, and the inner one's ok leaves the outer one alone")
{
    const TestPhone phone;
    static INT_PTR inner;
    whenPressed = [](HWND page) { inner = runSheet(L"Inner", 1, GetParent(page)); };
    plan({{sheetCalled(L"Outer"), [](HWND sheet) { PostMessageW(pageOf(sheet), WM_COMMAND, 1001, 0); }},
          {sheetCalled(L"Inner"),
           [](HWND sheet) {
               CHECK(SimOkOwner() == sheet);
               CHECK(titleText() == "Inner");
               CHECK_FALSE(IsWindowEnabled(GetWindow(sheet, GW_OWNER)));
               CHECK(SimTapOk());
           }},
          {sheetCalled(L"Outer"), [](HWND sheet) {
               CHECK((sheetLog == Lines{"apply"}));
               CHECK(titleText() == "Outer");
               PostMessageW(sheet, WM_COMMAND, IDCANCEL, 0);
           }}});
    CHECK(runSheet(L"Outer", 2) == 0);
    whenPressed = nullptr;
    CHECK(inner > 0);
}

TEST_CASE("a sheet or page record of the wrong size makes no sheet")
{
    const TestPhone phone;
    const Template source = pageTemplate();
    PROPSHEETPAGEW page = {};
    page.dwFlags = 1;
    page.pResource = source.get();
    page.pfnDlgProc = pageProc;
    PROPSHEETHEADERW header = {};
    header.dwFlags = PSH_PROPSHEETPAGE;
    header.nPages = 1;
    header.ppsp = &page;
    for (const DWORD size : {DWORD(0), DWORD(propSheetRecordSize - 4), DWORD(propSheetRecordSize + 4)}) {
        page.dwSize = propSheetRecordSize;
        header.dwSize = size;
        CHECK(PropertySheetW(&header) == -1);
        page.dwSize = size;
        header.dwSize = propSheetRecordSize;
        CHECK(PropertySheetW(&header) == -1);
    }
    CHECK(PropertySheetW(nullptr) == -1);
}

// ---- Other windows -----------------------------------------------------------------------------------------------------

namespace {

BOOL CALLBACK collect(HWND window, LPARAM list)
{
    reinterpret_cast<std::vector<HWND> *>(list)->push_back(window);
    return TRUE;
}

bool sees(HWND window)
{
    std::vector<HWND> windows;
    EnumWindows(collect, reinterpret_cast<LPARAM>(&windows));
    return std::count(windows.begin(), windows.end(), window) == 1;
}

}   // namespace

TEST_CASE("a program sees neither the bars nor the windows of other phones")
{
    const TestPhone first;
    const Dialog mine(fullScreen, Template(Template::plain, WS_POPUP | WS_VISIBLE, 100, 50));
    SetWindowTextW(mine.handle, L"Of the first phone");
    CHECK(sees(mine.handle));
    CHECK_FALSE(sees(titleBar()));
    CHECK_FALSE(sees(bottomBar()));
    CHECK_FALSE(FindWindowW(L"HHTaskBar", nullptr));
    CHECK(FindWindowW(L"#32770", L"Of the first phone") == mine.handle);
    CHECK(FindWindowW(nullptr, L"Of the first phone") == mine.handle);
    CHECK_FALSE(FindWindowW(L"Static", L"Of the first phone"));
    {
        const TestPhone second;
        CHECK_FALSE(sees(mine.handle));
        CHECK_FALSE(FindWindowW(nullptr, L"Of the first phone"));
        const Dialog other(fullScreen);
        CHECK(sees(other.handle));
    }
    REQUIRE(SimUsePhone(first.folder().c_str()));
    CHECK(sees(mine.handle));
}

TEST_CASE("SetForegroundWindow with the lowest bit set brings another program's open pop-up to the front")
{
    const TestPhone phone;
    SimSetSetting(L"media", L"player", L"0");
    const HostProcess program("kvsettings.exe", "", phone.folder().c_str());
    const HWND sheet = program.sheet();
    const std::vector<HWND> mains = program.windows(L"KelvaneSettingsCls");
    const HWND main = mains.empty() ? FindWindowW(L"KelvaneSettingsCls", nullptr) : mains[0];
    REQUIRE(main);
    const Dialog mine(fullScreen);
    REQUIRE(waitFor([&] { return GetForegroundWindow() == mine.handle; }));
    CHECK(SetForegroundWindow(reinterpret_cast<HWND>(reinterpret_cast<ULONG_PTR>(main) | 1)));
    CHECK(waitFor([&] { return GetForegroundWindow() == sheet; }));
    const auto isAbove = [&] {
        for (HWND window = sheet; window; window = GetWindow(window, GW_HWNDNEXT))
            if (window == mine.handle)
                return true;
        return false;
    };
    CHECK(waitFor(isAbove));
}
