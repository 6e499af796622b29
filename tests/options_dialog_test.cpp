#include "options_dialog.h"

#include <climits>

#include "about_page.h"
#include "addon_page.h"
#include "advanced_page.h"
#include "alarms_page.h"
#include "aygshell.h"
#include "control.h"
#include "control_windows.h"
#include "display_page.h"
#include "doctest.h"
#include "environment.h"
#include "extra_settings.h"
#include "intercept.h"
#include "main.h"
#include "page_window.h"
#include "processes.h"
#include "profiles_page.h"
#include "shell_values.h"
#include "system_font.h"
#include "test_phone.h"
#include "user_settings.h"

IMPORTED(CoCreateInstance);
IMPORTED(CoInitializeEx);
IMPORTED(CoUninitialize);
IMPORTED(CreateFontIndirectW);
IMPORTED(CreateSolidBrush);
IMPORTED(DefWindowProcW);
IMPORTED(DeleteObject);
IMPORTED(EndDialog);
IMPORTED(GetVersionExW);
IMPORTED(InitCommonControls);
IMPORTED(InitCommonControlsEx);
IMPORTED(PostMessageW);
IMPORTED(PropertySheetW);
IMPORTED(RegQueryValueExW);
IMPORTED(RegSetValueExW);
IMPORTED(CreateFileW);
IMPORTED(SendMessageW);
IMPORTED(SHCreateMenuBar);
IMPORTED(SHInitDialog);

namespace {

constexpr wchar_t logPath[] = L"\\Program Files\\Kelvane\\Kelvane.log";
constexpr char invalidProfile[] = "** kvSettings: Invalid Profile: 0";
constexpr char noPlayer[] = "** Media Player not supported";
constexpr INT_PTR noSheet = -1;

// A phone on which the program starts for the first time. It has no media player unless a test asks for one: Wine leaves
// something behind with each, and hangs in the sixtieth of a process.
struct FreshPhone : TestPhone {
    explicit FreshPhone(const char *base = "wm6") : TestPhone(base)
    {
        start();
        removeFile(logPath);
    }

    // What is kept for the length of a process, as at its start.
    void start() const
    {
        set(L"media", L"player", L"0");
        restartProgram();
        skinTextColor = skinAlarmColor = skinScrollColor = 0;
        mediaPlayer = nullptr;
        mainWindow = nullptr;
    }

    // Opens the phone anew with a changed text in its phone.ini, for what is read but once.
    void change(const wchar_t *section, const wchar_t *key, const wchar_t *value) const
    {
        WritePrivateProfileStringW(section, key, value, (folder() + L"\\phone.ini").c_str());
        REQUIRE(SimUsePhone(folder().c_str()));
        start();
    }
};

std::vector<std::string> linesWith(const std::vector<std::string> &lines, const std::string &part)
{
    std::vector<std::string> found;
    for (const std::string &line : lines)
        if (line.find(part) != std::string::npos)
            found.push_back(line);
    return found;
}

std::vector<std::string> one(const char *line)
{
    return {line};
}

// ---- What the program asks of the system, in its order ----------------------------------------------------------------------

std::vector<std::string> trace;

template <typename... Parts> void note(const std::string &what, Parts... parts)
{
    std::string line = what;
    ((line += " " + std::to_string(parts)), ...);
    trace.push_back(line);
}

// Ends the sheet before it begins.
INT_PTR WINAPI refuseSheet(const PROPSHEETHEADERW *)
{
    note("sheet");
    return noSheet;
}

// The Options dialog from its beginning to its end; the sheet must not stay.
INT_PTR runDialog()
{
    const HRSRC resource = FindResourceW(GetModuleHandleA(nullptr), MAKEINTRESOURCEW(500), RT_DIALOG);
    REQUIRE(resource);
    return DialogBoxIndirectParamW(
        GetModuleHandleA(nullptr),
        static_cast<const DLGTEMPLATE *>(LockResource(LoadResource(GetModuleHandleA(nullptr), resource))), nullptr,
        OptionsDialogProc, 0);
}

// The same without a sheet.
void runWithoutSheet()
{
    Intercept<__imp_PropertySheetW> refusing(refuseSheet);
    runDialog();
}

// A window for messages sent to the dialog procedure directly.
class PlainWindow {
public:
    PlainWindow()
        : window(CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, appInstance, nullptr))
    {
    }
    ~PlainWindow() { DestroyWindow(window); }
    operator HWND() const { return window; }

private:
    HWND window;
};

RECT screenRectangle(HWND window)
{
    RECT area;
    GetWindowRect(window, &area);
    return area;
}

HWND tabsOf(HWND sheet)
{
    return reinterpret_cast<HWND>(SendMessageW(sheet, PSM_GETTABCONTROL, 0, 0));
}

std::wstring tabText(HWND tabs, int index)
{
    wchar_t text[64] = L"";
    TCITEMW item = {};
    item.mask = TCIF_TEXT;
    item.pszText = text;
    item.cchTextMax = 64;
    SendMessageW(tabs, TCM_GETITEMW, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&item));
    return text;
}

bool panelIsUp()
{
    SIPINFO info = {};
    info.cbSize = sizeof info;
    SHSipInfo(SPI_GETSIPINFO, 0, &info, 0);
    return (info.fdwFlags & SIPF_ON) != 0;
}

LOGFONTW recordOf(HFONT font)
{
    LOGFONTW record = {};
    GetObjectW(font, sizeof record, &record);
    return record;
}

}   // namespace

// ---- Beginning --------------------------------------------------------------------------------------------------------------

namespace {

bool isOneOf(const std::wstring &name, std::initializer_list<const wchar_t *> names)
{
    for (const wchar_t *each : names)
        if (name == each)
            return true;
    return false;
}

LONG WINAPI traceReading(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size)
{
    if (isOneOf(name, {L"InstallDir", L"skinName", L"voicemail2", L"billActive", L"smsForwardExcept2", L"skinTextColor",
                       L"skinAlarmColor", L"skinScrollColor"}))
        note("read " + narrow(name));
    return Intercept<__imp_RegQueryValueExW>::real(key, name, reserved, type, data, size);
}

HRESULT WINAPI traceCreating(const CLSID &classId, IUnknown *outer, DWORD context, const IID &interfaceId,
                             void **object)
{
    const bool asked =
        IsEqualGUID(classId, CLSID_WindowsMediaPlayer) && IsEqualGUID(interfaceId, IID_IWMPPlayer) && !outer;
    note(asked ? "player" : "something else", context);
    return Intercept<__imp_CoCreateInstance>::real(classId, outer, context, interfaceId, object);
}

}   // namespace

TEST_CASE(
    "the dialog prepares the system, loads its settings, makes its drawing objects and runs its sheet, in this order")
{
    FreshPhone phone;
    startProfile = 7;
    trace.clear();
    {
        Intercept<__imp_InitCommonControls> controls([] { note("controls"); });
        Intercept<__imp_InitCommonControlsEx> classes([](const INITCOMMONCONTROLSEX *init) -> BOOL {
            note("control classes", init->dwSize, init->dwICC);
            return TRUE;
        });
        Intercept<__imp_CoInitializeEx> com([](void *reserved, DWORD concurrency) -> HRESULT {
            note("com", reserved != nullptr, concurrency);
            return Intercept<__imp_CoInitializeEx>::real(reserved, concurrency);
        });
        Intercept<__imp_CoCreateInstance> creating(traceCreating);
        Intercept<__imp_RegQueryValueExW> reading(traceReading);
        Intercept<__imp_GetVersionExW> version([](LPOSVERSIONINFOW info) -> BOOL {
            note("device type");
            return Intercept<__imp_GetVersionExW>::real(info);
        });
        Intercept<__imp_CreateFileW> files([](LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                                              DWORD disposition, DWORD attributes, HANDLE like) -> HANDLE {
            if (wcsstr(path, L"Kelvane_User.cfg"))
                note("option file");
            return Intercept<__imp_CreateFileW>::real(path, access, share, security, disposition, attributes, like);
        });
        Intercept<__imp_CreateFontIndirectW> fonts([](const LOGFONTW *record) -> HFONT {
            note("font", record->lfHeight, record->lfWeight, record->lfUnderline);
            return Intercept<__imp_CreateFontIndirectW>::real(record);
        });
        Intercept<__imp_CreateSolidBrush> brushes([](COLORREF color) -> HBRUSH {
            note("brush", color);
            return Intercept<__imp_CreateSolidBrush>::real(color);
        });
        runWithoutSheet();
    }
    const std::vector<std::string> expected = {
        "controls",
        "control classes 8 256",
        "com 0 0",
        "player 1",
        "read InstallDir",
        "device type",
        "read skinName",
        "read voicemail2",
        "read billActive",
        "read smsForwardExcept2",
        "option file",
        "font -14 700 0",
        "font -11 600 1",
        "brush 15129820",
        "read skinTextColor",
        "read skinAlarmColor",
        "read skinScrollColor",
        "sheet",
    };
    CHECK(trace == expected);
}

TEST_CASE("what goes wrong at the beginning is logged in the order of the beginning")
{
    FreshPhone phone;
    phone.change(L"phone", L"os", L"2.11");
    userSettings.loggingOption = 4;
    startProfile = 7;
    SimOrderFault(L"registry", 0, L"read:InstallDir", TRUE);
    SimOrderFault(L"registry", 0, L"read:skinName", TRUE);
    runWithoutSheet();
    SimClearFaults();
    std::vector<std::string> warnings;
    for (const std::string &line : phone.log())
        if (line.rfind("** ", 0) == 0)
            warnings.push_back(line);
    const std::vector<std::string> expected = {
        noPlayer,       "** Exception getAppPath **", "** Unsupported OS version!!", "** Exception getUserSettings **",
        invalidProfile,
    };
    CHECK(warnings == expected);
}

TEST_CASE("the dialog takes note of itself and forgets that a list was edited")
{
    FreshPhone phone;
    listEdited = true;
    runOptions([](HWND sheet) {
        CHECK_FALSE(listEdited);
        CHECK(optionsDialog != nullptr);
        CHECK(optionsDialog == GetWindow(sheet, GW_OWNER));
        wchar_t caption[32] = L"";
        GetWindowTextW(optionsDialog, caption, 32);
        CHECK(std::wstring(caption) == L"Options");
        CHECK_FALSE(IsWindowVisible(optionsDialog));
    });
}

TEST_CASE("the flags that say what has changed survive the beginning")
{
    FreshPhone phone;
    skinChanged = settingsImported = mailSettingsChanged = true;
    runWithoutSheet();
    CHECK(skinChanged);
    CHECK(settingsImported);
    CHECK(mailSettingsChanged);
}

// ---- Start profile ----------------------------------------------------------------------------------------------------------

TEST_CASE("a start profile from 0 to 6 is kept, any other becomes 0 and is logged once, as 0")
{
    struct Row {
        int given, kept;
    };
    constexpr Row rows[] = {{INT_MIN, 0}, {-2, 0}, {-1, 0}, {0, 0}, {1, 1}, {2, 2},  {3, 3},
                            {4, 4},       {5, 5},  {6, 6},  {7, 0}, {9, 0}, {99, 0}, {INT_MAX, 0}};
    for (const Row &row : rows) {
        CAPTURE(row.given);
        FreshPhone phone;
        startProfile = row.given;
        runWithoutSheet();
        CHECK(startProfile == row.kept);
        const bool logged = row.given < 0 || row.given > 6;
        CHECK(linesWith(phone.log(), "Profile") == (logged ? one(invalidProfile) : std::vector<std::string>()));
    }
}

TEST_CASE("an invalid start profile is logged in the install directory, logging switched off or not")
{
    for (DWORD option : {0u, 1u, 4u, 8u}) {
        CAPTURE(option);
        FreshPhone phone;
        storeNumber(L"loggingOption", option);
        storeText(L"InstallDir", L"\\Storage Card\\Kelvane");
        phone.makeFolder(L"\\Storage Card\\Kelvane");
        startProfile = -1;
        runWithoutSheet();
        CHECK(phone.readFile(L"\\Storage Card\\Kelvane\\Kelvane.log").find(invalidProfile) != std::string::npos);
        CHECK(linesWith(phone.log(), invalidProfile).empty());
    }
}

// ---- Media player -----------------------------------------------------------------------------------------------------------

TEST_CASE("a phone with a media player gives the pages one, and gets it back")
{
    FreshPhone phone;
    phone.set(L"media", L"player", L"1");
    const int before = SimLiveObjects();
    runOptions([&](HWND) {
        CHECK(mediaPlayer != nullptr);
        CHECK(SimLiveObjects() == before + 1);
    });
    CHECK(mediaPlayer == nullptr);
    CHECK(SimLiveObjects() == before);
    const std::vector<std::string> com = {
        "com initialize",
        "com create {6BF52A52-394A-11D3-B153-00C04F79FAA6} 0x0",
        "com uninitialize 0",
    };
    CHECK(phone.journal("com") == com);
}

TEST_CASE("a phone without a media player opens the sheet all the same")
{
    TestPhone phone("ppc2003");   // which never had one
    restartProgram();
    mediaPlayer = nullptr;
    bool opened = false;
    runOptions([&](HWND) {
        opened = true;
        CHECK(mediaPlayer == nullptr);
    });
    CHECK(opened);
    CHECK(linesWith(phone.journal("com"), "create").size() == 1);
    CHECK(phone.journal("com").back() == "com uninitialize 0");
    CHECK(linesWith(phone.log(), noPlayer).empty());
}

TEST_CASE("a missing media player is logged when detailed logging was on before the settings were loaded")
{
    struct Row {
        const wchar_t *player;
        DWORD inMemory, stored;
        bool logged;
    };
    constexpr Row rows[] = {
        {L"0", 4, 0, true},  {L"0", 5, 1, true},  {L"0", 0xC, 0, true}, {L"0", 0, 4, false}, {L"0", 0, 0xFF, false},
        {L"0", 1, 4, false}, {L"0", 8, 4, false}, {L"0", 11, 4, false}, {L"1", 4, 4, false},
    };
    for (const Row &row : rows) {
        CAPTURE(row.inMemory);
        CAPTURE(row.stored);
        FreshPhone phone;
        phone.set(L"media", L"player", row.player);
        storeNumber(L"loggingOption", row.stored);
        userSettings.loggingOption = row.inMemory;
        runWithoutSheet();
        CHECK(linesWith(phone.log(), "Media Player") == (row.logged ? one(noPlayer) : std::vector<std::string>()));
    }
}

TEST_CASE("the second dialog of a process logs a missing media player, for it knows the option by then")
{
    FreshPhone phone;
    storeNumber(L"loggingOption", 4);
    runWithoutSheet();
    CHECK(linesWith(phone.log(), noPlayer).empty());
    runWithoutSheet();
    CHECK(linesWith(phone.log(), noPlayer) == one(noPlayer));
}

// ---- Fonts, brush, colours --------------------------------------------------------------------------------------------------

TEST_CASE("the shared fonts are the system font in the sizes of the screen's resolution, bold or underlined")
{
    struct Row {
        const wchar_t *dpi;
        LONG header, link;
    };
    // Whole pixels, every division cut off.
    constexpr Row rows[] = {
        {L"96", -14, -11}, {L"192", -28, -22}, {L"128", -18, -15}, {L"131", -19, -15}, {L"144", -21, -17}};
    for (const Row &row : rows) {
        CAPTURE(row.header);
        FreshPhone phone;
        phone.change(L"screen", L"dpi", row.dpi);
        const LOGFONTW system = recordOf(static_cast<HFONT>(GetStockObject(SYSTEM_FONT)));
        static LOGFONTW header, link;
        Intercept<__imp_PropertySheetW> looking([](const PROPSHEETHEADERW *) -> INT_PTR {
            header = recordOf(headerFont);
            link = recordOf(linkFont);
            return noSheet;
        });
        runDialog();
        CHECK(header.lfHeight == row.header);
        CHECK(header.lfWeight == 700);
        CHECK(header.lfUnderline == system.lfUnderline);
        CHECK(link.lfHeight == row.link);
        CHECK(link.lfWeight == 600);
        CHECK(link.lfUnderline == 1);
        for (const LOGFONTW *font : {&header, &link}) {
            CHECK(std::wstring(font->lfFaceName) == system.lfFaceName);
            CHECK(font->lfItalic == system.lfItalic);
            CHECK(font->lfCharSet == system.lfCharSet);
            CHECK(font->lfWidth == system.lfWidth);
        }
    }
}

TEST_CASE("the shared brush is solid in the pages' background colour")
{
    FreshPhone phone;
    static LOGBRUSH brush;
    Intercept<__imp_PropertySheetW> looking([](const PROPSHEETHEADERW *) -> INT_PTR {
        GetObjectW(backgroundBrush, sizeof brush, &brush);
        return noSheet;
    });
    runDialog();
    CHECK(brush.lbStyle == BS_SOLID);
    CHECK(brush.lbColor == 0xE6DCDC);
}

TEST_CASE("the skin's colours are read from the registry")
{
    FreshPhone phone;
    storeNumber(L"skinTextColor", 0x00123456);
    storeNumber(L"skinAlarmColor", 0xFFFFFFFF);
    storeNumber(L"skinScrollColor", 0);
    skinScrollColor = 5;
    runWithoutSheet();
    CHECK(skinTextColor == 0x00123456);
    CHECK(skinAlarmColor == 0xFFFFFFFF);
    CHECK(skinScrollColor == 0);
}

TEST_CASE("a skin colour that is not to be had stays as it is, and the others are read")
{
    FreshPhone phone;
    storeNumber(L"skinTextColor", 11);
    storeNumber(L"skinAlarmColor", 12);
    storeNumber(L"skinScrollColor", 13);
    skinTextColor = 1;
    skinAlarmColor = 2;
    skinScrollColor = 3;
    struct {
        DWORD text, alarm, scroll;
    } expected = {11, 12, 13};
    SUBCASE("text missing")
    {
        removeValue(L"skinTextColor");
        expected.text = 1;
    }
    SUBCASE("alarm missing")
    {
        removeValue(L"skinAlarmColor");
        expected.alarm = 2;
    }
    SUBCASE("scroller missing")
    {
        removeValue(L"skinScrollColor");
        expected.scroll = 3;
    }
    SUBCASE("text of another type")
    {
        storeText(L"skinTextColor", L"7");
        expected.text = 1;
    }
    SUBCASE("alarm too long")
    {
        storeBytes(L"skinAlarmColor", REG_DWORD, "12345678", 8);
        expected.alarm = 2;
    }
    SUBCASE("text cannot be read")
    {
        SimOrderFault(L"registry", 0, L"read:skinTextColor", FALSE);
        expected.text = 1;
    }
    SUBCASE("alarm cannot be read")
    {
        SimOrderFault(L"registry", 0, L"read:skinAlarmColor", FALSE);
        expected.alarm = 2;
    }
    SUBCASE("scroller cannot be read")
    {
        SimOrderFault(L"registry", 0, L"read:skinScrollColor", FALSE);
        expected.scroll = 3;
    }
    SUBCASE("no key")
    {
        removeKey(kelvaneKey);
        expected = {1, 2, 3};
    }
    SUBCASE("no key can be opened")
    {
        SimOrderFault(L"registry", 0, L"open:Software\\Tessaryn\\Kelvane", FALSE);
        expected = {1, 2, 3};
    }
    runWithoutSheet();
    CHECK(skinTextColor == expected.text);
    CHECK(skinAlarmColor == expected.alarm);
    CHECK(skinScrollColor == expected.scroll);
}

// ---- The sheet --------------------------------------------------------------------------------------------------------------

namespace {

struct SeenPage {
    DWORD size, flags;
    HINSTANCE instance;
    ULONG_PTR dialogTemplate;
    std::wstring title;
    DLGPROC procedure;
};

struct SeenSheet {
    DWORD size, flags;
    HWND parent;
    HINSTANCE instance;
    UINT startPage;
    bool captioned;
    int(CALLBACK *callback)(HWND, UINT, LPARAM);
    std::vector<SeenPage> pages;
};

SeenSheet seen;

INT_PTR WINAPI seeSheet(const PROPSHEETHEADERW *header)
{
    seen = {header->dwSize,      header->dwFlags,
            header->hwndParent,  header->hInstance,
            header->nStartPage,  header->pszCaption != nullptr,
            header->pfnCallback, {}};
    for (UINT i = 0; i < header->nPages; ++i) {
        const PROPSHEETPAGEW &page = header->ppsp[i];
        seen.pages.push_back({page.dwSize, page.dwFlags, page.hInstance, reinterpret_cast<ULONG_PTR>(page.pszTemplate),
                              page.pszTitle, page.pfnDlgProc});
    }
    return noSheet;
}

struct ExpectedPage {
    const wchar_t *title;
    ULONG_PTR portrait, landscape;
    DLGPROC procedure;
};

const ExpectedPage expectedPages[] = {
    {L"Display", 109, 195, DisplayPageProc}, {L"Alarms", 113, 113, AlarmsPageProc},
    {L"Adv", 154, 154, AdvancedPageProc},    {L"Profiles", 154, 154, ProfilesPageProc},
    {L"Addon", 122, 122, AddonPageProc},     {L"About", 120, 194, AboutPageProc},
};

}   // namespace

TEST_CASE("the sheet is asked for with six pages in their order, in the templates of the screen's orientation")
{
    struct Row {
        const char *phone;
        bool portrait;
    };
    constexpr Row rows[] = {{"wm6", true}, {"vga", true}, {"landscape", false}, {"square", false}};
    for (const Row &row : rows) {
        CAPTURE(row.phone);
        FreshPhone phone(row.phone);
        PlainWindow parent;
        Intercept<__imp_PropertySheetW> seeing(seeSheet);
        CHECK(runOptionsSheet(parent) == noSheet);
        CHECK(seen.size == 40);
        CHECK(seen.flags == 0x2108);
        CHECK(seen.parent == parent);
        CHECK(seen.instance == appInstance);
        CHECK(seen.startPage == 0);
        CHECK_FALSE(seen.captioned);
        CHECK((seen.callback == OptionsSheetCallback));
        REQUIRE(seen.pages.size() == 6);
        for (size_t i = 0; i < 6; ++i) {
            CAPTURE(i);
            const SeenPage &page = seen.pages[i];
            CHECK(page.size == 40);
            CHECK(page.flags == 8);
            CHECK(page.instance == appInstance);
            CHECK(page.dialogTemplate == (row.portrait ? expectedPages[i].portrait : expectedPages[i].landscape));
            CHECK(page.title == expectedPages[i].title);
            CHECK((page.procedure == expectedPages[i].procedure));
        }
    }
}

TEST_CASE("the result of the sheet is handed on")
{
    FreshPhone phone;
    static INT_PTR result;
    Intercept<__imp_PropertySheetW> answering([](const PROPSHEETHEADERW *) -> INT_PTR { return result; });
    for (INT_PTR each : {-1, 0, 1, 5}) {
        result = each;
        CHECK(runOptionsSheet(nullptr) == each);
    }
}

TEST_CASE("page titles are translated and cut after 20 characters")
{
    FreshPhone phone;
    phone.writeLanguageFile(L"DE", {L"First line", L"6=Anzeige", L"7=1234567890123456789", L"91=12345678901234567890",
                                    L"92=123456789012345678901", L"15=1234567890123456789012345", L"5=Info"});
    storeNumber(L"lang", 1);
    Intercept<__imp_PropertySheetW> seeing(seeSheet);
    runDialog();
    const wchar_t *const titles[] = {
        L"Anzeige", L"1234567890123456789", L"12345678901234567890", L"12345678901234567890", L"12345678901234567890",
        L"Info"};
    REQUIRE(seen.pages.size() == 6);
    for (size_t i = 0; i < 6; ++i)
        CHECK(seen.pages[i].title == titles[i]);
}

TEST_CASE("the sheet shows six tabs along its bottom, the first one first")
{
    FreshPhone phone;
    runOptions([](HWND sheet) {
        const HWND tabs = tabsOf(sheet);
        CHECK(SendMessageW(tabs, TCM_GETITEMCOUNT, 0, 0) == 6);
        CHECK(SendMessageW(tabs, TCM_GETCURSEL, 0, 0) == 0);
        CHECK((GetWindowLongPtrW(tabs, GWL_STYLE) & TCS_BOTTOM) != 0);
        CHECK((GetWindowLongPtrW(tabs, GWL_STYLE) & WS_VISIBLE) != 0);
        for (int i = 0; i < 6; ++i)
            CHECK(tabText(tabs, i) == expectedPages[i].title);
        CHECK(screenRectangle(tabs).bottom == screenRectangle(sheet).bottom);
        CHECK(screenRectangle(tabs).top >= screenRectangle(sheet).bottom - 30);
    });
}

TEST_CASE("the sheet fills the screen between the bars")
{
    struct Row {
        const char *phone;
        RECT area;
    };
    const Row rows[] = {{"wm6", {0, 26, 240, 294}},
                        {"ppc2003", {0, 26, 240, 294}},
                        {"vga", {0, 52, 480, 588}},
                        {"landscape", {0, 26, 320, 214}},
                        {"square", {0, 26, 240, 214}}};
    for (const Row &row : rows) {
        CAPTURE(row.phone);
        FreshPhone phone(row.phone);
        runOptions([&](HWND sheet) {
            const RECT area = screenRectangle(sheet);
            CHECK(EqualRect(&area, &row.area));
        });
    }
}

TEST_CASE("the sheet lowers the input panel and puts up an ok button and an empty menu bar")
{
    FreshPhone phone;
    SimSetPanel(TRUE);
    REQUIRE(panelIsUp());
    runOptions([](HWND sheet) {
        CHECK_FALSE(panelIsUp());
        CHECK(SimOkOwner() == sheet);
    });
    CHECK(phone.journal("menu") == one("menu 0x1 0"));
}

TEST_CASE("a sheet that stands is made full-screen before its menu bar is made")
{
    FreshPhone phone;
    trace.clear();
    static HWND dressed, withMenu;
    Intercept<__imp_SHInitDialog> dressing([](SHINITDLGINFO *info) -> BOOL {
        note("full screen", info->dwMask, info->dwFlags);
        dressed = info->hDlg;
        return Intercept<__imp_SHInitDialog>::real(info);
    });
    Intercept<__imp_SHCreateMenuBar> menu([](SHMENUBARINFO *info) -> BOOL {
        note("menu bar", info->cbSize == sizeof *info, info->dwFlags, info->nToolBarId, info->nBmpId, info->cBmpImages);
        withMenu = info->hwndParent;
        return Intercept<__imp_SHCreateMenuBar>::real(info);
    });
    runOptions([](HWND sheet) {
        CHECK(dressed == sheet);
        CHECK(withMenu == sheet);
    });
    CHECK(trace == std::vector<std::string>{"full screen 1 13", "menu bar 1 1 0 0 0"});
}

TEST_CASE("every tab shows its page")
{
    FreshPhone phone;
    runOptions([](HWND sheet) {
        std::vector<HWND> pages;
        for (int i = 0; i < 6; ++i) {
            const HWND page = showPage(sheet, i);
            CHECK(IsWindowVisible(page));
            CHECK(SendMessageW(tabsOf(sheet), TCM_GETCURSEL, 0, 0) == i);
            for (HWND other : pages)
                CHECK(page != other);
            pages.push_back(page);
        }
    });
}

TEST_CASE("asked for its version the sheet's callback names that of the Pocket PC")
{
    FreshPhone phone;
    CHECK(OptionsSheetCallback(nullptr, PSCB_GETVERSION, 0) == 0x20C);
    CHECK(OptionsSheetCallback(nullptr, 3, 1) == 0x20C);
}

TEST_CASE("the sheet's callback answers 0 to all else")
{
    FreshPhone phone;
    PlainWindow window;
    for (UINT message : {0u, 2u, 4u, 5u, 82u, 84u, 0x111u, 0x8001u})
        CHECK(OptionsSheetCallback(window, message, 1) == 0);
    CHECK(phone.journal().empty());
}

TEST_CASE("the sheet's callback opens the help at the options and answers 0")
{
    FreshPhone phone;
    CHECK(OptionsSheetCallback(nullptr, WM_HELP, 0) == 0);
    CHECK(OptionsSheetCallback(nullptr, 83, 0) == 0);
    const std::string line = "process peghelp.exe Kelvane.htm#options-user";
    CHECK(phone.journal("process") == std::vector<std::string>{line, line});
    CHECK(SimLiveProcesses() == 0);
}

TEST_CASE("the help key opens the help of the sheet")
{
    FreshPhone phone;
    runOptions([](HWND sheet) { SendMessageW(sheet, WM_HELP, 0, 0); });
    CHECK(phone.journal("process") == one("process peghelp.exe Kelvane.htm#options-user"));
}

TEST_CASE("a phone without a help viewer shows no help and holds no handle")
{
    FreshPhone phone;
    phone.set(L"programs", L"present", L"");
    CHECK(OptionsSheetCallback(nullptr, WM_HELP, 0) == 0);
    CHECK(phone.journal("process") == one("process peghelp.exe Kelvane.htm#options-user not found"));
    CHECK(SimLiveProcesses() == 0);
}

TEST_CASE("a sheet that cannot be created ends the dialog instead of hanging")
{
    FreshPhone phone;
    Engine engine(phone);
    // A module without any templates.
    appInstance = GetModuleHandleA("kernel32.dll");
    const INT_PTR result = runDialog();
    appInstance = GetModuleHandleA(nullptr);
    CHECK(result == IDCANCEL);
    CHECK(storedValue(L"Version").present);
    CHECK(engine.received() == one("0x81FD 0 0"));
}

// ---- The dialog's messages --------------------------------------------------------------------------------------------------

TEST_CASE("OK and Cancel commands end the dialog with their numbers, others do nothing")
{
    FreshPhone phone;
    PlainWindow dialog;
    static std::vector<INT_PTR> results;
    static HWND ended;
    Intercept<__imp_EndDialog> ending([](HWND window, INT_PTR result) -> BOOL {
        ended = window;
        results.push_back(result);
        return TRUE;
    });
    for (WORD code : {0, 1, 5}) {
        CAPTURE(code);
        for (WORD id : {1, 2}) {
            results.clear();
            CHECK(OptionsDialogProc(dialog, WM_COMMAND, MAKEWPARAM(id, code), 0) == TRUE);
            CHECK(results == std::vector<INT_PTR>{id});
            CHECK(ended == dialog);
        }
        results.clear();
        for (WORD id : {0, 3, 8, 9, 500, 0xFFFF})
            CHECK(OptionsDialogProc(dialog, WM_COMMAND, MAKEWPARAM(id, code), 0) == FALSE);
        CHECK(results.empty());
    }
}

TEST_CASE("messages that do not concern the dialog get the system's answer")
{
    FreshPhone phone;
    PlainWindow dialog;
    static HWND window;
    Intercept<__imp_DefWindowProcW> answering([](HWND asked, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
        window = asked;
        return message * 10000 + static_cast<LRESULT>(wParam) * 100 + lParam;
    });
    for (UINT message : {0x0008u, 0x0010u, 0x0046u, 0x8123u}) {
        window = nullptr;
        CHECK(OptionsDialogProc(dialog, message, 7, 9) == message * 10000 + 709);
        CHECK(window == dialog);
    }
}

TEST_CASE("the dialog accepts its initialisation, and passes its end on")
{
    FreshPhone phone;
    PlainWindow dialog;
    Intercept<__imp_PropertySheetW> refusing(refuseSheet);
    Intercept<__imp_EndDialog> ending([](HWND, INT_PTR) -> BOOL { return TRUE; });
    CHECK(OptionsDialogProc(dialog, WM_INITDIALOG, 0, 0) == TRUE);
    Intercept<__imp_DefWindowProcW> answering([](HWND, UINT, WPARAM, LPARAM) -> LRESULT { return 4711; });
    CHECK(OptionsDialogProc(dialog, WM_DESTROY, 0, 0) == 4711);
}

// ---- End --------------------------------------------------------------------------------------------------------------------

namespace {

void endByOk(HWND sheet)
{
    tapOk(sheet);
}

void endByCancel(HWND sheet)
{
    cancelSheet(sheet);
}

void endByEscape(HWND sheet)
{
    const HWND focus = GetFocus();
    PostMessageA(focus && IsChild(sheet, focus) ? focus : sheet, WM_KEYDOWN, VK_ESCAPE, 0);
    waitFor([sheet] { return !IsWindowVisible(sheet); }, 100);
}

void endByTitleBar(HWND sheet)
{
    CHECK(SimTapOk());
    waitFor([sheet] { return !IsWindowVisible(sheet); }, 100);
}

void endByClosing(HWND sheet)
{
    SendMessageA(sheet, WM_CLOSE, 0, 0);
}

struct EndRow {
    const char *name;
    void (*end)(HWND sheet);
};

const EndRow endRows[] = {
    {"OK", endByOk},           {"Cancel", endByCancel}, {"Escape", endByEscape}, {"ok in the title bar", endByTitleBar},
    {"closing", endByClosing},
};

}   // namespace

TEST_CASE("the settings are saved and the engine is told whichever way the sheet ends")
{
    for (const EndRow &row : endRows) {
        CAPTURE(row.name);
        FreshPhone phone;
        phone.set(L"media", L"player", L"1");
        Engine engine(phone);
        storeText(L"Version", L"an old one");
        runOptions([&](HWND sheet) {
            userSettings.textSize = 77;   // on none of the pages that fill their fields
            skinChanged = true;
            row.end(sheet);
        });
        CHECK(storedNumber(L"textSize") == 77);
        CHECK(storedText(L"Version") == L"1.60.2 (#160)");
        CHECK(engine.received() == one("0x81FD 1 0"));
        CHECK(SimLiveObjects() == 0);
        CHECK(phone.journal("com").back() == "com uninitialize 0");
    }
}

TEST_CASE("after an import the engine is told of it, whatever else has changed")
{
    FreshPhone phone;
    Engine engine(phone);
    runOptions([](HWND) {
        mailSettingsChanged = true;
        settingsImported = true;
    });
    CHECK(engine.received() == one("0x81FD 0 2"));
}

namespace {

// Stands in for the media player: it only knows when it is let go.
struct TracingPlayer : IWMPPlayer {
    HRESULT WINAPI QueryInterface(const IID &, void **) override { return E_NOINTERFACE; }
    ULONG WINAPI AddRef() override { return 1; }
    ULONG WINAPI Release() override
    {
        // Held while the fonts went, let go before this.
        note("release player, texts held", userSettings.voicemail2 != nullptr, userSettings.sysPhoneName != nullptr,
             userSettings.emailCustomAccounts != nullptr, extraSettings.forwardCall != nullptr);
        return 0;
    }
};

HGDIOBJ linkObject, headerObject, brushObject;

BOOL WINAPI traceDeleting(HGDIOBJ object)
{
    if (object == linkObject)
        note("delete link font, texts held", userSettings.voicemail2 != nullptr);
    else if (object == headerObject)
        note("delete header font");
    else if (object == brushObject)
        note("delete brush, texts held", userSettings.voicemail2 != nullptr);
    return Intercept<__imp_DeleteObject>::real(object);
}

LONG WINAPI traceWriting(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE *data, DWORD size)
{
    if (isOneOf(name, {L"skinName", L"Version", L"billActive", L"smsForwardExcept2"}))
        note("write " + narrow(name));
    return Intercept<__imp_RegSetValueExW>::real(key, name, reserved, type, data, size);
}

HRESULT WINAPI giveTracingPlayer(const CLSID &, IUnknown *, DWORD, const IID &, void **object)
{
    static TracingPlayer player;
    *object = &player;
    return S_OK;
}

LRESULT WINAPI traceSending(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_CLOSE)
        note("close main window, player held", window == mainWindow, mediaPlayer != nullptr);
    return window ? Intercept<__imp_SendMessageW>::real(window, message, wParam, lParam) : 0;
}

}   // namespace

TEST_CASE(
    "the dialog ends by saving, deleting, releasing, telling the engine and closing the main window, in this order")
{
    FreshPhone phone;
    storeNumber(L"appWindow", 0x4440);
    storeText(L"forwardCall", L"+15550101");
    trace.clear();
    PlainWindow dialog;
    PlainWindow standsForMain;
    Intercept<__imp_PropertySheetW> refusing([](const PROPSHEETHEADERW *) -> INT_PTR { return noSheet; });
    Intercept<__imp_EndDialog> ending([](HWND, INT_PTR) -> BOOL { return TRUE; });
    Intercept<__imp_CoCreateInstance> creating(giveTracingPlayer);
    Intercept<__imp_RegSetValueExW> writing(traceWriting);
    Intercept<__imp_DeleteObject> deleting(traceDeleting);
    Intercept<__imp_CoUninitialize> com([] {
        note("end com, player held", mediaPlayer != nullptr);
        Intercept<__imp_CoUninitialize>::real();
    });
    Intercept<__imp_PostMessageW> posting([](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> BOOL {
        note("post", reinterpret_cast<ULONG_PTR>(window), message, wParam, lParam);
        return TRUE;
    });
    OptionsDialogProc(dialog, WM_INITDIALOG, 0, 0);
    REQUIRE(userSettings.voicemail2 != nullptr);
    REQUIRE(userSettings.sysPhoneName != nullptr);
    REQUIRE(userSettings.emailCustomAccounts != nullptr);
    REQUIRE(extraSettings.forwardCall != nullptr);
    linkObject = linkFont;
    headerObject = headerFont;
    brushObject = backgroundBrush;
    mainWindow = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, appInstance, nullptr);
    trace.clear();
    {
        Intercept<__imp_SendMessageW> sending(traceSending);
        OptionsDialogProc(dialog, WM_DESTROY, 0, 0);
    }
    mainWindow = nullptr;
    const std::vector<std::string> expected = {
        "write skinName",
        "write Version",
        "write billActive",
        "write smsForwardExcept2",
        "delete link font, texts held 1",
        "delete header font",
        "delete brush, texts held 1",
        "release player, texts held 0 0 0 0",
        "end com, player held 0",
        "post 17472 33277 0 0",
        "close main window, player held 1 0",
    };
    CHECK(trace == expected);
}

TEST_CASE("a dialog that ends before its main window is known closes none")
{
    FreshPhone phone;
    trace.clear();
    static std::vector<HWND> closed;
    closed.clear();
    Intercept<__imp_SendMessageW> sending([](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
        if (message == WM_CLOSE)
            closed.push_back(window);
        return Intercept<__imp_SendMessageW>::real(window, message, wParam, lParam);
    });
    runWithoutSheet();
    CHECK(closed == std::vector<HWND>{nullptr});
}

TEST_CASE("settings that cannot be saved do not keep the dialog from ending and telling the engine")
{
    FreshPhone phone;
    Engine engine(phone);
    SUBCASE("the key cannot be created")
    {
        SimOrderFault(L"registry", 0, L"create:Software\\Tessaryn\\Kelvane", FALSE);
    }
    SUBCASE("no value can be written")
    {
        SimOrderFault(L"registry", 0, L"write:*", FALSE);
    }
    SUBCASE("the system throws")
    {
        SimOrderFault(L"registry", 0, L"write:textSize", TRUE);
        SimOrderFault(L"registry", 0, L"write:billActive", TRUE);
    }
    runOptions([](HWND) {});
    SimClearFaults();
    CHECK(engine.received() == one("0x81FD 0 0"));
    CHECK(SimLiveObjects() == 0);
    CHECK(SimLiveKeys() == 0);
}

namespace {

struct Holdings {
    int gdi = SimLiveGdi(), allocations = SimLiveAllocations(), files = SimLiveFiles(), keys = SimLiveKeys(),
        processes = SimLiveProcesses(), objects = SimLiveObjects();
};

}   // namespace

TEST_CASE("ten openings and closings leave nothing behind")
{
    FreshPhone phone;
    for (const wchar_t *name : {L"forwardCall", L"forwardCall2", L"forwardCall3", L"forwardCall4"})
        storeText(name, L"+15550101");
    const std::function<void(HWND)> visitAllPages = [](HWND sheet) {
        for (int i = 0; i < 6; ++i)
            showPage(sheet, i);
    };
    phone.set(L"media", L"player", L"1");
    runOptions(visitAllPages);   // what is made once and kept
    runOptions(visitAllPages);
    const Holdings before;
    for (int i = 0; i < 10; ++i)
        runOptions(visitAllPages);
    const Holdings after;
    CHECK(after.gdi == before.gdi);
    CHECK(after.allocations == before.allocations);
    CHECK(after.files == before.files);
    CHECK(after.keys == before.keys);
    CHECK(after.processes == before.processes);
    CHECK(after.objects == before.objects);
    CHECK(before.files == 0);
    CHECK(before.keys == 0);
    CHECK(before.processes == 0);
    CHECK(before.objects == 0);
    CHECK(headerFont == nullptr);
    CHECK(linkFont == nullptr);
    CHECK(backgroundBrush == nullptr);
    CHECK(userSettings.emailCustomAccounts == nullptr);
    CHECK(userSettings.sysPhoneName == nullptr);
    CHECK(userSettings.voicemail2 == nullptr);
    CHECK(extraSettings.forwardCall == nullptr);
    CHECK(extraSettings.forwardCall4 == nullptr);
}
