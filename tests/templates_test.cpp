// Every dialog template, against one table: what is in it, whether it fits, whether a text is cut in any language. And
// which templates the sheet's pages are made from. A new dialog is a row here.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "about_page.h"
#include "addon_page.h"
#include "advanced_page.h"
#include "alarms_page.h"
#include "backup_dialog.h"
#include "control.h"
#include "display_page.h"
#include "doctest.h"
#include "edit_profiles.h"
#include "environment.h"
#include "export_import_dialog.h"
#include "find_file.h"
#include "intercept.h"
#include "language.h"
#include "logging_dialog.h"
#include "option_file_editor.h"
#include "options_dialog.h"
#include "page_window.h"
#include "profile_copy.h"
#include "profile_schedule.h"
#include "profiles_page.h"
#include "shell_values.h"
#include "test_phone.h"
#include "user_settings.h"

IMPORTED(PropertySheetW);

namespace fs = std::filesystem;

namespace {

// ---- The table ------------------------------------------------------------------------------------------------------------

struct Control {
    int id;
    const char *kind;   // as kindOf says
};

constexpr int anonymous = -1;

enum Screens { everyScreen, portraitOnly, landscapeOnly };

struct Template {
    int id;
    DLGPROC procedure;
    Screens screens;
    int title;   // text of the page's header
    std::vector<Control> controls;
    const char *caption = nullptr;   // of a dialog; pages have none
};

// Of the pages that list settings and edit one of them at a time; most are hidden at any moment.
const std::vector<Control> listPageControls = {
    {1253, "drop-down list"},
    {1287, "label"},
    {1289, "drop-down list"},
    {1293, "combo box"},
    {1297, "combo box"},
    {1290, "tapped icon"},
    {1327, "check box"},
    {1326, "check box"},
    {1328, "check box"},
    {1295, "check box"},
    {1291, "text field"},
    {1325, "button"},
    {1355, "text field"},
    {1072, "drop-down list"},
    {1261, "label"},
    {1074, "drop-down list"},
    {1292, "msctls_trackbar32"},
    {1294, "drop-down list"},
    {1310, "drop-down list"},
    {1077, "SysTabControl32"},
    {1266, "SysListView32"},
    {1268, "tapped icon"},
    {1280, "tapped icon"},
    {1351, "tapped icon"},
    {1140, "icon"},
};

bool isDialog(const Template &row)
{
    return row.caption != nullptr;
}

const std::vector<Control> profileTimeControls = {
    {1600, "label"},          {1253, "drop-down list"}, {1339, "tapped icon"},       {1268, "tapped icon"},
    {1601, "label"},          {1300, "tapped label"},   {1301, "tapped label"},      {1302, "tapped label"},
    {1303, "tapped label"},   {1304, "tapped label"},   {1305, "tapped label"},      {1306, "tapped label"},
    {1338, "drop-down list"}, {1602, "label"},          {1270, "SysDateTimePick32"}, {1341, "label"},
    {1278, "button"},         {1279, "button"},         {1365, "tapped icon"},       {1366, "tapped icon"},
    {1276, "SysListView32"},
};

// The dialog begins in time mode; this is its other one.
INT_PTR CALLBACK profileEventProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    const INT_PTR answer = ProfileTimeDlgProc(dialog, message, wParam, lParam);
    if (message == WM_INITDIALOG)
        SendMessageW(dialog, WM_COMMAND, 1339, 0);
    return answer;
}

const std::vector<Template> &templates()
{
    static const std::vector<Template> table = {
        {109, DisplayPageProc, portraitOnly, 3, {{1140, "icon"}}},
        {195, DisplayPageProc, landscapeOnly, 3, {{1140, "icon"}}},
        {113,
         AlarmsPageProc,
         everyScreen,
         4,
         {{1077, "group box"},
          {1075, "drop-down list"},
          {1078, "label"},
          {1072, "drop-down list"},
          {1261, "label"},
          {1074, "drop-down list"},
          {1179, "label"},
          {1181, "drop-down list"},
          {anonymous, "label"},
          {1177, "check box"},
          {1180, "check box"},
          {1294, "check box"},
          {1140, "icon"}}},
        {154, AdvancedPageProc, everyScreen, 89, listPageControls},
        {154, ProfilesPageProc, everyScreen, 90, listPageControls},
        {122, AddonPageProc, everyScreen, 260, {{1140, "icon"}}},
        {157,
         ProfileCopyProc,
         everyScreen,
         0,
         {{anonymous, "label"},
          {1257, "drop-down list"},
          {anonymous, "label"},
          {1409, "drop-down list"},
          {1406, "button"},
          {2, "button"}},
         "Profile Copy Settings"},
        {186,
         ExportImportProc,
         everyScreen,
         0,
         {{1367, "label"}, {1, "button"}, {2, "button"}, {4, "button"}, {3, "button"}, {1406, "button"}},
         "Export / Import"},
        {119,
         BackupProc,
         everyScreen,
         0,
         {{anonymous, "label"}, {1069, "text field"}, {1070, "button"}, {1, "button"}},
         "Backup / Restore"},
        {163,
         FindFileProc,
         everyScreen,
         0,
         {{anonymous, "label"}, {1320, "text field"}, {1321, "button"}, {1322, "button"}, {1319, "SysListView32"}},
         "Find File"},
        {172,
         EditProfilesProc,
         everyScreen,
         0,
         {{1368, "label"},
          {1369, "label"},
          {1343, "check box"},
          {1350, "text field"},
          {1344, "check box"},
          {1351, "text field"},
          {1345, "check box"},
          {1352, "text field"},
          {1346, "check box"},
          {1353, "text field"},
          {1347, "check box"},
          {1354, "text field"},
          {1348, "check box"},
          {1355, "text field"},
          {1349, "check box"},
          {1356, "text field"},
          {1376, "check box"},
          {1, "button"},
          {2, "button"}},
         "Edit Profiles"},
        {173, ProfileTimeDlgProc, portraitOnly, 0, profileTimeControls, "Profile Time"},
        {173, profileEventProc, portraitOnly, 0, profileTimeControls, "Profile Time"},
        {196, ProfileTimeDlgProc, landscapeOnly, 0, profileTimeControls, "Profile Time"},
        {196, profileEventProc, landscapeOnly, 0, profileTimeControls, "Profile Time"},
        {120,
         AboutPageProc,
         portraitOnly,
         5,
         {{1155, "mute icon"},
          {1156, "label"},
          {1157, "tapped icon"},
          {1098, "tapped icon"},
          {1158, "label"},
          {1193, "tapped icon"},
          {1159, "label"},
          {1140, "icon"}}},
        {194,
         AboutPageProc,
         landscapeOnly,
         5,
         {{1155, "mute icon"},
          {1156, "label"},
          {1157, "tapped icon"},
          {1098, "tapped icon"},
          {1158, "label"},
          {1193, "tapped icon"},
          {1159, "label"},
          {1140, "icon"}}},
        {130,
         OptionFileEditorProc,
         everyScreen,
         0,
         {{1097, "text field"}, {1, "button"}, {2, "button"}},
         "Kelvane_User.cfg"},
        {200,
         LoggingDialogProc,
         everyScreen,
         236,
         {{1432, "check box"}, {1434, "check box"}, {1435, "check box"}, {1, "button"}, {2, "button"}},
         "Logging Options"},
    };
    return table;
}

struct Screen {
    const char *phone;
    bool portrait;
    int scale;           // pixels for one at 96 dots per inch
    int width, height;   // of a page: the screen without title bar (26), tabs (20) and bottom bar (26)
};

constexpr Screen screens[] = {
    {"wm6", true, 1, 240, 248}, {"wm5", true, 1, 240, 248},        {"ppc2003", true, 1, 240, 248},
    {"vga", true, 2, 480, 496}, {"landscape", false, 1, 320, 168}, {"square", false, 1, 240, 168},
};

// Dialogs have no tabs below them.
int heightOf(const Template &row, const Screen &screen)
{
    return screen.height + (isDialog(row) ? 20 * screen.scale : 0);
}

bool serves(const Template &row, const Screen &screen)
{
    return row.screens == everyScreen || (row.screens == portraitOnly) == screen.portrait;
}

// ---- Languages -------------------------------------------------------------------------------------------------------------

// The codes of language files; the first is language 1.
constexpr const char *codes[] = {"DE", "IT", "FR", "CZ", "HB", "RU", "SP",  "PT",  "SW",
                                 "NO", "HL", "DN", "PL", "GR", "HU", "CHS", "CHT", "JP"};

struct Language {
    DWORD number;
    std::string name;
    std::string file;   // its bytes; empty for English
};

std::string readHostFile(const fs::path &path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<Language> findLanguages()
{
    std::vector<Language> found = {{0, "English", ""}};
    const fs::path folder = fs::path(TEST_DATA).parent_path() / "languages";
    for (DWORD i = 0; i < std::size(codes); ++i) {
        const fs::path path = folder / (std::string("kvl_") + codes[i] + ".txt");
        if (fs::exists(path))
            found.push_back({i + 1, codes[i], readHostFile(path)});
    }
    return found;
}

const std::vector<Language> &languages()
{
    static const std::vector<Language> all = findLanguages();
    return all;
}

// A phone on which the program has just been started, with the files of all languages.
struct StartedPhone : TestPhone {
    explicit StartedPhone(const char *base = "wm6") : TestPhone(base)
    {
        const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_DATE_CLASSES};
        InitCommonControlsEx(&classes);
        restartProgram();
        getAppPath();
        for (const Language &language : languages())
            if (language.number)
                writeFile((std::wstring(installFolder) + L"\\kvl_" + widen(language.name) + L".txt").c_str(),
                          language.file);
    }
};

// ---- Controls --------------------------------------------------------------------------------------------------------------

std::string kindOfButton(LONG_PTR style)
{
    switch (style & BS_TYPEMASK) {
    case BS_GROUPBOX:
        return "group box";
    case BS_AUTOCHECKBOX:
        return "check box";
    case BS_AUTORADIOBUTTON:
        return "radio button";
    case BS_PUSHBUTTON:
    case BS_DEFPUSHBUTTON:
        return "button";
    }
    return "unknown button";
}

std::string kindOfStatic(LONG_PTR style)
{
    const bool operatedByKeys = (style & SS_NOTIFY) && (style & WS_TABSTOP);
    switch (style & SS_TYPEMASK) {
    case SS_ICON:
        return operatedByKeys ? "tapped icon" : style & SS_NOTIFY ? "icon" : "mute icon";
    case SS_LEFT:
    case SS_CENTER:
    case SS_RIGHT:
    case SS_LEFTNOWORDWRAP:
        return operatedByKeys ? "tapped label" : "label";
    }
    return "unknown static";
}

std::string kindOfCombo(LONG_PTR style)
{
    const LONG_PTR kind = style & (CBS_SIMPLE | CBS_DROPDOWN | CBS_DROPDOWNLIST);
    return kind == CBS_DROPDOWNLIST ? "drop-down list" : kind == CBS_DROPDOWN ? "combo box" : "simple combo";
}

std::string kindOf(HWND control)
{
    wchar_t className[64] = L"";
    GetClassNameW(control, className, 64);
    const LONG_PTR style = GetWindowLongPtrW(control, GWL_STYLE);
    const std::wstring name = className;
    if (name == L"Button")
        return kindOfButton(style);
    if (name == L"Static")
        return kindOfStatic(style);
    if (name == L"ComboBox")
        return kindOfCombo(style);
    if (name == L"Edit")
        return "text field";
    return narrow(name);
}

bool isFocusable(const std::string &kind)
{
    return kind != "label" && kind != "icon" && kind != "mute icon" && kind != "group box";
}

int idOf(HWND control)
{
    return static_cast<short>(GetDlgCtrlID(control));
}

std::vector<HWND> controlsOf(HWND page)
{
    std::vector<HWND> controls;
    for (HWND control = GetWindow(page, GW_CHILD); control; control = GetWindow(control, GW_HWNDNEXT))
        controls.push_back(control);
    return controls;
}

bool isShown(HWND control)
{
    return (GetWindowLongPtrW(control, GWL_STYLE) & WS_VISIBLE) != 0;
}

RECT placeOf(HWND control)
{
    RECT area;
    GetWindowRect(control, &area);
    MapWindowPoints(nullptr, GetParent(control), reinterpret_cast<POINT *>(&area), 2);
    return area;
}

std::wstring textOf(HWND control)
{
    wchar_t text[512] = L"";
    GetWindowTextW(control, text, 512);
    return text;
}

// ---- Measuring ----------------------------------------------------------------------------------------------------------

SIZE measured(HFONT font, const std::wstring &text, UINT format, int width = 0)
{
    const HDC dc = GetDC(nullptr);
    const HGDIOBJ old = SelectObject(dc, font);
    RECT area = {0, 0, width, 0};
    DrawTextW(dc, text.c_str(), -1, &area, format | DT_CALCRECT);
    SelectObject(dc, old);
    ReleaseDC(nullptr, dc);
    return {area.right, area.bottom};
}

HFONT systemFont()
{
    return static_cast<HFONT>(GetStockObject(SYSTEM_FONT));
}

// Of a page's header: 12 pixels semi-bold at 96 dots per inch, 25 at 192.
int titleWidth(const std::wstring &title, int scale)
{
    LOGFONTW record = {};
    record.lfHeight = scale == 1 ? -12 : -25;
    record.lfWeight = 600;
    wcscpy(record.lfFaceName, L"Tahoma");
    const HFONT font = CreateFontIndirectW(&record);
    const int width = measured(font, title, DT_SINGLELINE).cx;
    DeleteObject(font);
    return width;
}

// Pixels at 96 dots per inch that a control needs beside its text.
int surroundings(const std::string &kind)
{
    if (kind == "check box" || kind == "radio button")
        return 17;   // the box and a gap
    if (kind == "group box")
        return 16;   // the frame's corners
    if (kind == "button")
        return 8;
    if (kind == "drop-down list" || kind == "combo box")
        return 23;   // the arrow and the edges
    return 0;
}

bool holdsText(HWND control, const std::wstring &text, int scale)
{
    const RECT area = placeOf(control);
    const int width = area.right - area.left - surroundings(kindOf(control)) * scale;
    const int height = area.bottom - area.top;
    const SIZE line = measured(systemFont(), text, DT_SINGLELINE);
    if (line.cx <= width)
        return kindOf(control) == "group box" || line.cy <= height;
    if (kindOf(control) != "label" || height < 2 * line.cy)
        return false;
    const SIZE wrapped = measured(systemFont(), text, DT_WORDBREAK, width);
    return wrapped.cx <= width && wrapped.cy <= height;
}

std::vector<std::wstring> textsOf(HWND control)
{
    const std::string kind = kindOf(control);
    if (kind != "drop-down list" && kind != "combo box")
        return {textOf(control)};
    std::vector<std::wstring> entries(static_cast<size_t>(SendMessageW(control, CB_GETCOUNT, 0, 0)));
    for (size_t i = 0; i < entries.size(); ++i) {
        wchar_t entry[512] = L"";
        SendMessageW(control, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(entry));
        entries[i] = entry;
    }
    return entries;
}

// Runs check with every page on every screen it serves, in every language.
template <typename Check> void onEveryScreen(Check check)
{
    for (const Screen &screen : screens) {
        StartedPhone phone(screen.phone);
        for (const Language &language : languages()) {
            userSettings.lang = language.number;
            for (const Template &row : templates()) {
                if (!serves(row, screen))
                    continue;
                INFO(std::string(screen.phone) << ", " << language.name << ", template " << row.id);
                const PageWindow page(row.id, row.procedure);
                check(page.handle(), row, screen);
            }
        }
    }
}

// The header of a template resource, plain form.
struct TemplateHeader {
    DWORD style, extendedStyle;
    WORD controlCount;
    short x, y, width, height;
};

TemplateHeader headerOf(int id)
{
    const HRSRC resource = FindResourceW(appInstance, MAKEINTRESOURCEW(id), RT_DIALOG);
    REQUIRE(resource);
    TemplateHeader header;
    memcpy(&header, LockResource(LoadResource(appInstance, resource)), 18);
    return header;
}

}   // namespace

// ---- Templates -------------------------------------------------------------------------------------------------------------

TEST_CASE("each template has exactly its controls, each of its kind")
{
    StartedPhone phone;
    for (const Template &row : templates()) {
        const PageWindow page(row.id, row.procedure);
        std::vector<std::string> expected, found;
        for (const Control &control : row.controls)
            expected.push_back(std::to_string(control.id) + " " + control.kind);
        for (HWND control : controlsOf(page.handle()))
            found.push_back(std::to_string(idOf(control)) + " " + kindOf(control));
        std::sort(expected.begin(), expected.end());
        std::sort(found.begin(), found.end());
        INFO("template " << row.id);
        CHECK(found.size() == expected.size());
        for (size_t i = 0; i < std::min(found.size(), expected.size()); ++i)
            CHECK(found[i] == expected[i]);
    }
}

TEST_CASE("every template of the resources is in the table")
{
    std::vector<int> known = {500};   // the Options dialog has no controls and is never shown
    for (const Template &row : templates())
        known.push_back(row.id);
    EnumResourceNamesW(
        appInstance, RT_DIALOG,
        [](HMODULE, LPCWSTR, LPWSTR name, LONG_PTR ids) -> BOOL {
            const int id = static_cast<int>(reinterpret_cast<ULONG_PTR>(name));
            const std::vector<int> &all = *reinterpret_cast<const std::vector<int> *>(ids);
            INFO("template " << id);
            CHECK(std::find(all.begin(), all.end(), id) != all.end());
            return TRUE;
        },
        reinterpret_cast<LONG_PTR>(&known));
}

TEST_CASE("the Options dialog has a caption and no controls")
{
    StartedPhone phone;
    CHECK(headerOf(500).controlCount == 0);
    std::wstring caption;
    runInOptionsDialog([&] { caption = textOf(optionsDialog); });
    CHECK(caption == L"Options");
}

TEST_CASE("a page's template is an untitled child in which the dialog manager can move the focus")
{
    for (const Template &row : templates()) {
        if (isDialog(row))
            continue;
        const TemplateHeader header = headerOf(row.id);
        INFO("template " << row.id);
        CHECK((header.style & WS_CHILD) != 0);
        CHECK((header.style & WS_CAPTION) == 0);
        CHECK((header.style & DS_CONTROL) != 0);
        CHECK((header.style & WS_POPUP) == 0);
    }
}

TEST_CASE("a dialog's template is a captioned window")
{
    StartedPhone phone;
    for (const Template &row : templates()) {
        if (!isDialog(row))
            continue;
        const TemplateHeader header = headerOf(row.id);
        INFO("template " << row.id);
        CHECK((header.style & WS_POPUP) != 0);
        CHECK((header.style & WS_CAPTION) == WS_CAPTION);
        CHECK((header.style & WS_CHILD) == 0);
        CHECK(narrow(textOf(PageWindow(row.id, row.procedure).handle())) == row.caption);
    }
}

TEST_CASE("templates that portrait or square screens show are at most 137 units wide")
{
    for (const Template &row : templates()) {
        INFO("template " << row.id);
        CHECK(headerOf(row.id).width <= 137);
    }
}

TEST_CASE("controls lie within the page on every screen")
{
    onEveryScreen([](HWND page, const Template &row, const Screen &screen) {
        for (HWND control : controlsOf(page)) {
            const RECT area = placeOf(control);
            INFO("control " << idOf(control) << ": " << area.left << "," << area.top << " to " << area.right << ","
                            << area.bottom);
            CHECK(area.left >= 0);
            CHECK(area.top >= 0);
            // A list page's list is as wide as the screen and begins a point from its edge.
            CHECK(area.right <= screen.width + (idOf(control) == 1266 ? screen.scale : 0));
            CHECK(area.bottom <= heightOf(row, screen));
        }
    });
}

TEST_CASE("no two controls overlap, but a group box may contain others whole")
{
    onEveryScreen([](HWND page, const Template &, const Screen &) {
        const std::vector<HWND> controls = controlsOf(page);
        for (size_t i = 0; i < controls.size(); ++i) {
            for (size_t k = i + 1; k < controls.size(); ++k) {
                if (!isShown(controls[i]) || !isShown(controls[k]))
                    continue;
                const RECT first = placeOf(controls[i]), second = placeOf(controls[k]);
                RECT common, together;
                if (!IntersectRect(&common, &first, &second))
                    continue;
                UnionRect(&together, &first, &second);
                const bool contained = (kindOf(controls[i]) == "group box" && EqualRect(&together, &first)) ||
                                       (kindOf(controls[k]) == "group box" && EqualRect(&together, &second));
                INFO("controls " << idOf(controls[i]) << " and " << idOf(controls[k]));
                CHECK(contained);
            }
        }
    });
}

TEST_CASE("the caption of a group box is not covered by a control in it")
{
    onEveryScreen([](HWND page, const Template &, const Screen &screen) {
        for (HWND box : controlsOf(page)) {
            if (kindOf(box) != "group box")
                continue;
            const SIZE text = measured(systemFont(), textOf(box), DT_SINGLELINE);
            RECT caption = placeOf(box);
            caption.left += 8 * screen.scale;
            caption.right = caption.left + text.cx;
            caption.bottom = caption.top + text.cy;
            for (HWND control : controlsOf(page)) {
                const RECT area = placeOf(control);
                RECT common;
                INFO("group box " << idOf(box) << ", control " << idOf(control));
                CHECK((control == box || !IntersectRect(&common, &caption, &area)));
            }
        }
    });
}

TEST_CASE("no text is cut in any language")
{
    onEveryScreen([](HWND page, const Template &, const Screen &screen) {
        for (HWND control : controlsOf(page)) {
            for (const std::wstring &text : textsOf(control)) {
                const SIZE size = measured(systemFont(), text, DT_SINGLELINE);
                const RECT area = placeOf(control);
                INFO("control " << idOf(control) << " of " << area.right - area.left << "x" << area.bottom - area.top
                                << " pixels, text of " << size.cx << "x" << size.cy << ": " << narrow(text));
                CHECK(holdsText(control, text, screen.scale));
            }
        }
    });
}

TEST_CASE("a drop-down list shows at least four entries at once, and fits the screen while it is open")
{
    onEveryScreen([](HWND page, const Template &, const Screen &screen) {
        for (HWND control : controlsOf(page)) {
            if (kindOf(control) != "drop-down list")
                continue;
            RECT dropped;
            SendMessageW(control, CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(&dropped));
            const LRESULT entry = SendMessageW(control, CB_GETITEMHEIGHT, 0, 0);
            const RECT closed = placeOf(control);
            const LRESULT entries = SendMessageW(control, CB_GETCOUNT, 0, 0);
            const LRESULT room = dropped.bottom - dropped.top - (closed.bottom - closed.top);
            INFO("control " << idOf(control));
            CHECK(room >= std::min<LRESULT>(4, entries) * entry);
            CHECK(dropped.bottom - dropped.top <= screen.height + 72 * screen.scale);   // the bars may be covered
        }
    });
}

TEST_CASE("tabbing reaches every control that can have the focus")
{
    onEveryScreen([](HWND page, const Template &, const Screen &) {
        std::vector<HWND> reached;
        const HWND start = GetNextDlgTabItem(page, nullptr, FALSE);
        for (HWND control = start; control && reached.size() < 100;) {
            reached.push_back(control);
            control = GetNextDlgTabItem(page, control, FALSE);
            if (control == start)
                break;
        }
        for (HWND control : controlsOf(page)) {
            const bool wanted = isFocusable(kindOf(control)) && isShown(control) && IsWindowEnabled(control);
            INFO("control " << idOf(control));
            CHECK((std::find(reached.begin(), reached.end(), control) != reached.end()) == wanted);
        }
    });
}

TEST_CASE("the help icon lies in the header, beside the title in every language")
{
    onEveryScreen([](HWND page, const Template &row, const Screen &screen) {
        if (isDialog(row))
            return;
        const RECT icon = placeOf(GetDlgItem(page, 1140));
        const std::wstring title = getLanguageText(row.title, nullptr);
        INFO("title " << narrow(title));
        CHECK(icon.top >= 0);
        CHECK(icon.bottom <= 21 * screen.scale);
        CHECK(icon.left >= 3 * screen.scale + titleWidth(title, screen.scale));
    });
}

TEST_CASE("the profile selector begins beside the title in every language")
{
    onEveryScreen([](HWND page, const Template &row, const Screen &screen) {
        const HWND selector = GetDlgItem(page, 1253);
        if (!selector || !isShown(selector))
            return;
        const std::wstring title = getLanguageText(row.title, nullptr);
        INFO("title " << narrow(title));
        CHECK(placeOf(selector).left >= 3 * screen.scale + titleWidth(title, screen.scale));
    });
}

TEST_CASE("controls of a page lie either in the header, above its rule, or below it")
{
    constexpr int headerControls[] = {1140, 1253, 1268, 1280, 1351};
    onEveryScreen([&](HWND page, const Template &row, const Screen &screen) {
        if (isDialog(row))
            return;
        for (HWND control : controlsOf(page)) {
            if (!isShown(control))
                continue;
            const RECT area = placeOf(control);
            const bool inHeader = std::find(std::begin(headerControls), std::end(headerControls), idOf(control)) !=
                                  std::end(headerControls);
            INFO("control " << idOf(control) << " from " << area.top << " to " << area.bottom);
            CHECK((inHeader ? area.bottom <= 21 * screen.scale : area.top > 21 * screen.scale));
        }
    });
}

// ---- The sheet ---------------------------------------------------------------------------------------------------------------

TEST_CASE("on every screen a page of the sheet has the room its template was made for")
{
    for (const Screen &screen : screens) {
        StartedPhone phone(screen.phone);
        RECT client = {};
        runOptions([&](HWND sheet) { GetClientRect(showPage(sheet, 1), &client); });
        INFO(std::string(screen.phone));
        CHECK(client.right == screen.width);
        CHECK(client.bottom == screen.height);
    }
}

namespace {

struct SheetPage {
    const wchar_t *englishTitle;
    const wchar_t *germanTitle;
    int titleText;
    int portraitTemplate;
    int landscapeTemplate;
    DLGPROC procedure;
};

constexpr SheetPage sheetPages[] = {
    {L"Display", L"Anzeige", 6, 109, 195, DisplayPageProc}, {L"Alarms", L"Alarme", 7, 113, 113, AlarmsPageProc},
    {L"Adv", L"Erweitert", 91, 154, 154, AdvancedPageProc}, {L"Profiles", L"Profile", 92, 154, 154, ProfilesPageProc},
    {L"Addon", L"Extras", 15, 122, 122, AddonPageProc},     {L"About", L"Info", 5, 120, 194, AboutPageProc},
};

struct AskedPage {
    DWORD size, flags;
    HINSTANCE instance;
    int dialogTemplate;
    std::wstring title;
    DLGPROC procedure;
};

PROPSHEETHEADERW askedSheet;
std::vector<AskedPage> askedPages;

// Stands for the sheet: notes what it is asked to show.
INT_PTR WINAPI noteSheet(const PROPSHEETHEADERW *header)
{
    askedSheet = *header;
    askedPages.clear();
    for (UINT i = 0; i < header->nPages; ++i) {
        const PROPSHEETPAGEW &page = header->ppsp[i];
        askedPages.push_back({page.dwSize, page.dwFlags, page.hInstance,
                              static_cast<int>(reinterpret_cast<ULONG_PTR>(page.pszTemplate)), page.pszTitle,
                              page.pfnDlgProc});
    }
    return 4242;
}

const HWND someParent = reinterpret_cast<HWND>(static_cast<ULONG_PTR>(0x1234));

void askForSheet()
{
    Intercept<__imp_PropertySheetW> asking(noteSheet);
    CHECK(runOptionsSheet(someParent) == 4242);
    REQUIRE(askedPages.size() == 6);
}

std::vector<std::wstring> tabTitles(HWND sheet)
{
    const HWND tabs = reinterpret_cast<HWND>(SendMessageW(sheet, PSM_GETTABCONTROL, 0, 0));
    std::vector<std::wstring> titles(static_cast<size_t>(SendMessageW(tabs, TCM_GETITEMCOUNT, 0, 0)));
    for (size_t i = 0; i < titles.size(); ++i) {
        wchar_t text[64] = L"";
        TCITEMW item = {};
        item.mask = TCIF_TEXT;
        item.pszText = text;
        item.cchTextMax = 64;
        SendMessageW(tabs, TCM_GETITEMW, i, reinterpret_cast<LPARAM>(&item));
        titles[i] = text;
    }
    return titles;
}

void checkTitles(const std::vector<std::wstring> &titles, const wchar_t *SheetPage::*expected)
{
    REQUIRE(titles.size() == 6);
    for (size_t i = 0; i < 6; ++i) {
        INFO("page " << i << ": " << narrow(titles[i]));
        CHECK(titles[i] == sheetPages[i].*expected);
    }
}

}   // namespace

TEST_CASE("the sheet is a maximised one of six pages that begins with the first")
{
    StartedPhone phone;
    askForSheet();
    CHECK(askedSheet.dwSize == propSheetRecordSize);
    CHECK(askedSheet.dwFlags == 0x2108);
    CHECK(askedSheet.hwndParent == someParent);
    CHECK(askedSheet.hInstance == appInstance);
    CHECK(askedSheet.nPages == 6);
    CHECK(askedSheet.nStartPage == 0);
    CHECK((askedSheet.pfnCallback == OptionsSheetCallback));
    for (const AskedPage &page : askedPages) {
        CHECK(page.size == propSheetRecordSize);
        CHECK(page.flags == 8);
        CHECK(page.instance == appInstance);
    }
}

TEST_CASE("each page has its own procedure and the template for the screen, a square screen that for landscape")
{
    for (const Screen &screen : screens) {
        StartedPhone phone(screen.phone);
        askForSheet();
        for (size_t i = 0; i < 6; ++i) {
            INFO(std::string(screen.phone) << ", page " << i);
            CHECK(askedPages[i].dialogTemplate ==
                  (screen.portrait ? sheetPages[i].portraitTemplate : sheetPages[i].landscapeTemplate));
            CHECK((askedPages[i].procedure == sheetPages[i].procedure));
        }
    }
}

TEST_CASE("the tabs carry the pages' titles in English")
{
    StartedPhone phone;
    std::vector<std::wstring> titles;
    runOptions([&](HWND sheet) { titles = tabTitles(sheet); });
    checkTitles(titles, &SheetPage::englishTitle);
}

TEST_CASE("the tabs carry the pages' titles in German when German is stored")
{
    StartedPhone phone;
    storeNumber(L"lang", 1);
    std::vector<std::wstring> titles;
    runOptions([&](HWND sheet) { titles = tabTitles(sheet); });
    checkTitles(titles, &SheetPage::germanTitle);
}

TEST_CASE("a page's title is cut at 20 characters")
{
    for (size_t length : {1, 19, 20, 21, 250}) {
        StartedPhone phone;
        std::vector<std::wstring> lines = {L"Test"};
        for (const SheetPage &page : sheetPages)
            lines.push_back(std::to_wstring(page.titleText) + L"=" + std::wstring(length, L'a' + page.titleText % 26));
        phone.writeLanguageFile(L"DE", lines);
        userSettings.lang = 1;
        askForSheet();
        for (size_t i = 0; i < 6; ++i) {
            INFO("page " << i << ", " << length << " characters");
            const wchar_t letter = static_cast<wchar_t>(L'a' + sheetPages[i].titleText % 26);
            CHECK(askedPages[i].title == std::wstring(std::min<size_t>(length, 20), letter));
        }
    }
}

TEST_CASE("the tabs lie below the pages")
{
    for (const char *name : {"wm6", "vga", "landscape", "square"}) {
        StartedPhone phone(name);
        LONG_PTR style = 0;
        RECT tabs = {}, page = {};
        runOptions([&](HWND sheet) {
            const HWND control = reinterpret_cast<HWND>(SendMessageW(sheet, PSM_GETTABCONTROL, 0, 0));
            style = GetWindowLongPtrW(control, GWL_STYLE);
            GetWindowRect(control, &tabs);
            GetWindowRect(showPage(sheet, 0), &page);
        });
        INFO(std::string(name));
        CHECK((style & TCS_BOTTOM) != 0);
        CHECK(tabs.top >= page.bottom);
    }
}
