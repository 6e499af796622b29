#include "profile_schedule.h"

#include "control.h"
#include "control_windows.h"
#include "doctest.h"
#include "environment.h"
#include "intercept.h"
#include "language.h"
#include "modal_dialog.h"
#include "page_window.h"
#include "shell_values.h"
#include "test_phone.h"
#include "user_settings.h"

IMPORTED(SendDlgItemMessageW);
IMPORTED(SendMessageW);

namespace {

constexpr DWORD none = 0xFFFFFFFF;
constexpr DWORD german = 1;
constexpr wchar_t locationFile[] = L"\\Program Files\\Kelvane\\kv_Location.dat";

enum { home, work, meeting, night, loud, car, flight };

// A phone on which the program has just been started, all profiles in use.
struct StartedPhone : TestPhone {
    explicit StartedPhone(const char *base = "wm6") : TestPhone(base)
    {
        const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_DATE_CLASSES};
        InitCommonControlsEx(&classes);
        CoInitializeEx(nullptr, 0);
        restartProgram();
        getAppPath();
        getDeviceType();
        setDefaultProfileNames();
        userSettings.activeProfiles = 0x7E;
        userSettings.loggingOption = 0;
        removeValue(L"timeData");
    }
    ~StartedPhone() { CoUninitialize(); }

    void storePlaces(const std::wstring &text) const
    {
        writeFile(locationFile,
                  std::string(reinterpret_cast<const char *>(text.data()), text.size() * sizeof(wchar_t)));
    }
};

using Texts = std::vector<std::wstring>;

struct ScheduleDialog : PageWindow {
    ScheduleDialog() : PageWindow(isLandscape ? 196 : 173, ProfileTimeDlgProc) {}

    HWND list() const { return control(1276); }
    void tap(int id, int notification = STN_CLICKED) const
    {
        SendMessageW(handle(), WM_COMMAND, MAKEWPARAM(id, notification), reinterpret_cast<LPARAM>(control(id)));
    }
    void tapDays(const std::wstring &digits) const
    {
        for (wchar_t digit : digits)
            tap(1300 + (digit - L'1'));
    }
    void ok() const { SendMessageW(handle(), WM_COMMAND, IDOK, 0); }
    void cancel() const { SendMessageW(handle(), WM_COMMAND, IDCANCEL, 0); }

    void setTime(int hour, int minute) const
    {
        SYSTEMTIME time = {2008, 3, 5, 7, static_cast<WORD>(hour), static_cast<WORD>(minute), 0, 0};
        SendMessageW(control(1270), DTM_SETSYSTEMTIME, GDT_VALID, reinterpret_cast<LPARAM>(&time));
    }
    void add(const std::wstring &days, int hour, int minute) const
    {
        tapDays(days);
        setTime(hour, minute);
        tap(1278);
        tapDays(days);
    }

    int count() const { return static_cast<int>(SendMessageW(list(), LVM_GETITEMCOUNT, 0, 0)); }
    int columnCount() const
    {
        const HWND header = reinterpret_cast<HWND>(SendMessageW(list(), LVM_GETHEADER, 0, 0));
        return static_cast<int>(SendMessageW(header, HDM_GETITEMCOUNT, 0, 0));
    }
    std::wstring cell(int line, int column) const
    {
        wchar_t text[2000] = L"";
        LVITEMW item = {};
        item.iSubItem = column;
        item.pszText = text;
        item.cchTextMax = 2000;
        SendMessageW(list(), LVM_GETITEMTEXTW, static_cast<WPARAM>(line), reinterpret_cast<LPARAM>(&item));
        return text;
    }
    LPARAM parameter(int line) const
    {
        LVITEMW item = {};
        item.mask = LVIF_PARAM;
        item.iItem = line;
        SendMessageW(list(), LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item));
        return item.lParam;
    }
    std::wstring header(int column) const
    {
        wchar_t text[100] = L"";
        LVCOLUMNW record = {};
        record.mask = LVCF_TEXT;
        record.pszText = text;
        record.cchTextMax = 100;
        SendMessageW(list(), LVM_GETCOLUMNW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&record));
        return text;
    }
    // Each line as "profile|time|days".
    Texts lines() const
    {
        Texts found;
        for (int line = 0; line < count(); ++line)
            found.push_back(cell(line, 0) + L"|" + cell(line, 1) + L"|" + cell(line, 2));
        return found;
    }
    // The profiles' names, one character each: where a line has gone.
    std::wstring order() const
    {
        std::wstring found;
        for (int line = 0; line < count(); ++line)
            found += cell(line, 0).substr(0, 1);
        return found;
    }
    void selectLines(const std::vector<int> &wanted) const
    {
        LVITEMW item = {};
        item.stateMask = LVIS_SELECTED;
        SendMessageW(list(), LVM_SETITEMSTATE, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(&item));
        item.state = LVIS_SELECTED;
        for (int line : wanted)
            SendMessageW(list(), LVM_SETITEMSTATE, static_cast<WPARAM>(line), reinterpret_cast<LPARAM>(&item));
    }
    std::vector<int> selectedLines() const
    {
        std::vector<int> found;
        for (int line = 0; line < count(); ++line)
            if (SendMessageW(list(), LVM_GETITEMSTATE, static_cast<WPARAM>(line), LVIS_SELECTED))
                found.push_back(line);
        return found;
    }
    bool isShown(int id) const { return (GetWindowLongPtrW(control(id), GWL_STYLE) & WS_VISIBLE) != 0; }
};

Texts entriesOf(const PageWindow &dialog, int combo)
{
    Texts entries;
    for (int i = 0; i < dialog.entryCount(combo); ++i)
        entries.push_back(dialog.entry(combo, i));
    return entries;
}

// What OK makes of a stored schedule that nobody has changed.
std::wstring savedAgain(const std::wstring &stored)
{
    storeText(L"timeData", stored);
    ScheduleDialog dialog;
    dialog.ok();
    return storedText(L"timeData");
}

void setDerived(DWORD value)
{
    userSettings.activeSyncProfile = userSettings.ACPowerProfile = userSettings.outlookCheck = value;
}

void checkDerived(DWORD activeSync, DWORD power, DWORD appointments)
{
    CHECK(userSettings.activeSyncProfile == activeSync);
    CHECK(userSettings.ACPowerProfile == power);
    CHECK(userSettings.outlookCheck == appointments);
}

}   // namespace

// ---- Texts ------------------------------------------------------------------------------------------------------------

TEST_CASE("the Profile Time dialog is labelled in the user's language, in both templates")
{
    struct Label {
        int control;
        const wchar_t *english, *german;
    };
    constexpr Label labels[] = {
        {1600, L"Switch to:", L"Wechsel zu:"},
        {1601, L"On:", L"Am:"},
        {1602, L"At:", L"Um:"},
        {1278, L"Add", L"Einf\u00FCgen"},
        {1279, L"Delete", L"L\u00F6schen"},
        {1341, L"(Profile change on Appoint. category)", L"(Profilwechsel nach Terminkategorie)"},
        {1300, L"M", L"M"},
        {1301, L"T", L"D"},
        {1302, L"W", L"M"},
        {1303, L"T", L"D"},
        {1304, L"F", L"F"},
        {1305, L"S", L"S"},
        {1306, L"S", L"S"},
    };
    for (const char *base : {"wm6", "square"}) {
        StartedPhone phone(base);
        for (DWORD language : {DWORD(0), german}) {
            if (language && !phone.fileExists(L"\\Program Files\\Kelvane\\kvl_DE.txt"))
                continue;   // only the first phone has a translation
            userSettings.lang = language;
            ScheduleDialog dialog;
            for (const Label &label : labels) {
                INFO(std::string(base) << ", control " << label.control);
                CHECK(dialog.text(label.control) == (language ? label.german : label.english));
            }
            CHECK(dialog.columnCount() == 3);
            CHECK(dialog.header(0) == (language ? L"Profil" : L"Profile"));
            CHECK(dialog.header(1) == (language ? L"Zeit" : L"Time"));
            CHECK(dialog.header(2) == (language ? L"Tage" : L"Days"));
        }
    }
}

TEST_CASE("a translation with another number of letters for the days leaves none of them empty")
{
    StartedPhone phone;
    userSettings.lang = german;
    phone.writeLanguageFile(L"DE", {L"Test", L"189=abc"});
    ScheduleDialog shorter;
    CHECK(shorter.text(1300) == L"a");
    CHECK(shorter.text(1302) == L"c");
    CHECK(shorter.text(1303) == L"T");
    CHECK(shorter.text(1306) == L"S");
    phone.writeLanguageFile(L"DE", {L"Test", L"189=abcdefghij"});
    ScheduleDialog longer;
    CHECK(longer.text(1306) == L"g");
}

TEST_CASE("the time picker shows hours and minutes the way of the user's region")
{
    StartedPhone phone;
    struct Row {
        const wchar_t *locale, *format;
    };
    static std::wstring asked;
    for (const Row &row : {Row{L"0x0409", L"h:mm tt"}, Row{L"0x0407", L"HH:mm"}, Row{L"0x040B", L"HH.mm"}}) {
        phone.set(L"locale", L"id", row.locale);
        asked.clear();
        Intercept<__imp_SendDlgItemMessageW> sending(
            [](HWND dialog, int control, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
                if (control == 1270 && message == DTM_SETFORMATW)
                    asked = reinterpret_cast<const wchar_t *>(lParam);
                return Intercept<__imp_SendDlgItemMessageW>::real(dialog, control, message, wParam, lParam);
            });
        ScheduleDialog dialog;
        CHECK(asked == row.format);
    }
}

// ---- Lists to choose from -----------------------------------------------------------------------------------------------

TEST_CASE("profile 0 and the profiles in use can be switched to, each known by its number")
{
    StartedPhone phone;
    struct Row {
        DWORD mask;
        std::vector<int> profiles;
    };
    const Row rows[] = {
        {0, {0}}, {1, {0}}, {0x7E, {0, 1, 2, 3, 4, 5, 6}}, {0x48, {0, 3, 6}}, {0xFFFFFF80, {0}},
    };
    for (const Row &row : rows) {
        userSettings.activeProfiles = row.mask;
        ScheduleDialog dialog;
        INFO("mask " << row.mask);
        REQUIRE(dialog.entryCount(1253) == static_cast<int>(row.profiles.size()));
        CHECK(dialog.selection(1253) == 0);
        for (size_t i = 0; i < row.profiles.size(); ++i) {
            CHECK(dialog.entry(1253, static_cast<int>(i)) == userSettings.profileNames[row.profiles[i]]);
            CHECK(SendMessageW(dialog.control(1253), CB_GETITEMDATA, i, 0) == row.profiles[i] + 1);
        }
    }
}

TEST_CASE("events are ActiveSync, power, the states of an appointment, the categories, and each place")
{
    StartedPhone phone;
    phone.set(L"categories", L"names", L"Business, Holiday");
    phone.storePlaces(L"1234,@Home\u00A75678,@Office\u00A7");
    const Texts expected = {
        L"<ActiveSync>", L"<Power-no ActiveSync>", L"<Busy>",   L"<Out of Office>", L"Business", L"Holiday",
        L"[Home]",       L"Leave [Home]",          L"[Office]", L"Leave [Office]"};
    ScheduleDialog dialog;
    CHECK(entriesOf(dialog, 1338) == expected);
    CHECK(dialog.selection(1338) == 0);
}

TEST_CASE("without categories and places there are the four events of every phone, in the user's language")
{
    StartedPhone phone;
    phone.set(L"categories", L"names", L"");
    {
        ScheduleDialog dialog;
        CHECK(entriesOf(dialog, 1338) ==
              Texts{L"<ActiveSync>", L"<Power-no ActiveSync>", L"<Busy>", L"<Out of Office>"});
    }
    phone.writeLanguageFile(L"DE", {L"Test", L"199=<Besetzt>", L"200=<Weg>", L"201=<Abgleich>", L"202=<Strom>"});
    userSettings.lang = german;
    ScheduleDialog dialog;
    CHECK(entriesOf(dialog, 1338) == Texts{L"<Abgleich>", L"<Strom>", L"<Besetzt>", L"<Weg>"});
}

TEST_CASE("the name of a place of any length is offered, cut where no room is left")
{
    StartedPhone phone;
    phone.set(L"categories", L"names", L"");
    phone.storePlaces(L"1,@" + std::wstring(290, L'p') + L"\u00A72,@" + std::wstring(5000, L'q') + L"\u00A7");
    ScheduleDialog dialog;
    REQUIRE(dialog.entryCount(1338) == 8);
    CHECK(dialog.entry(1338, 5) == L"Leave [" + std::wstring(290, L'p') + L"]");
    CHECK(dialog.entry(1338, 6) == L"[" + std::wstring(298, L'q'));
    CHECK(dialog.entry(1338, 7) == L"Leave [" + std::wstring(292, L'q'));
}

// ---- The stored schedule ------------------------------------------------------------------------------------------------

TEST_CASE("stored switches are shown with profile, time and days, or with profile and event")
{
    StartedPhone phone;
    storeText(L"timeData", L"2,12345,07:30\u00A74,<Busy>,\u00A70,67,22.00\u00A76,[Home],\u00A7");
    ScheduleDialog dialog;
    CHECK(dialog.lines() ==
          Texts{L"Meeting|07:30|Mo,Tu,We,Th,Fr", L"Loud||<Busy>", L"Home|22.00|Sa,Su", L"Flight||[Home]"});
    CHECK(dialog.parameter(0) == 12345);
    CHECK(dialog.parameter(1) == 0);
    CHECK(dialog.parameter(2) == 67);
    CHECK(dialog.parameter(3) == 0);
}

TEST_CASE("a switch to a profile that does not exist is shown without a name")
{
    StartedPhone phone;
    storeText(L"timeData", L"7,1,07:30\u00A7-1,2,08:00\u00A7999999,3,09:00\u00A7");
    ScheduleDialog dialog;
    CHECK(dialog.lines() == Texts{L"|07:30|Mo", L"|08:00|Tu", L"|09:00|We"});
}

TEST_CASE("an entry without an end is not shown, and not saved again")
{
    StartedPhone phone;
    CHECK(savedAgain(L"2,1,07:30\u00A73,<Bu") == L"2,1,07:30\u00A7");
    CHECK(savedAgain(L"2,1,07:30") == L"");
}

TEST_CASE("of a schedule of more than 2598 bytes the first 1298 characters count")
{
    StartedPhone phone;
    const std::wstring last = L"3,4,05:06\u00A7";
    for (size_t length : {1297, 1298, 1299}) {
        const std::wstring first = L"1," + std::wstring(length - last.size() - 4, L'e') + L",\u00A7";
        storeText(L"timeData", first + last);
        ScheduleDialog dialog;
        INFO("characters: " << length);
        CHECK(dialog.count() == (length <= 1298 ? 2 : 1));
        CHECK(dialog.cell(0, 2) == std::wstring(length - last.size() - 4, L'e'));
    }
}

TEST_CASE("an empty or missing schedule means no profile for ActiveSync and power, at once")
{
    StartedPhone phone;
    for (bool stored : {false, true}) {
        if (stored)
            storeText(L"timeData", L"");
        setDerived(3);
        ScheduleDialog dialog;
        CHECK(dialog.count() == 0);
        checkDerived(none, none, 3);
        dialog.cancel();
        checkDerived(none, none, 3);
        CHECK(storedValue(L"timeData").present == stored);
    }
    storeText(L"timeData", L"2,1,07:30\u00A7");
    setDerived(3);
    ScheduleDialog dialog;
    checkDerived(3, 3, 3);
}

TEST_CASE("OK without a line stores an empty schedule")
{
    StartedPhone phone;
    setDerived(1);
    ScheduleDialog dialog;
    dialog.ok();
    CHECK(storedValue(L"timeData").type == REG_SZ);
    CHECK(storedValue(L"timeData").bytes == std::vector<BYTE>{0, 0});
    checkDerived(none, none, 0);
}

// ---- Modes and days -----------------------------------------------------------------------------------------------------

TEST_CASE("the icons switch between a time on days and an event")
{
    StartedPhone phone;
    const std::vector<int> ofTime = {1339, 1602, 1270, 1300, 1301, 1302, 1303, 1304, 1305, 1306},
                           ofEvent = {1268, 1338, 1341};
    const std::vector<int> ofBoth = {1253, 1276, 1278, 1279, 1365, 1366, 1600, 1601};
    ScheduleDialog dialog;
    const auto checkShown = [&](bool eventMode) {
        for (int control : ofTime)
            CHECK(dialog.isShown(control) == !eventMode);
        for (int control : ofEvent)
            CHECK(dialog.isShown(control) == eventMode);
        for (int control : ofBoth)
            CHECK(dialog.isShown(control));
    };
    checkShown(false);
    dialog.tap(1339);
    checkShown(true);
    dialog.tap(1268);
    checkShown(false);
    dialog.tap(1339, STN_DBLCLK);
    checkShown(true);
}

TEST_CASE("other notifications than taps do nothing")
{
    StartedPhone phone;
    ScheduleDialog dialog;
    dialog.tapDays(L"1");
    for (int notification : {2, 3, 5, 6}) {
        dialog.tap(1339, notification);
        dialog.tap(1278, notification);
    }
    CHECK(dialog.isShown(1339));
    CHECK(dialog.count() == 0);
}

namespace {

struct DayColours {
    COLORREF ground, letter;

    bool operator==(const DayColours &other) const { return ground == other.ground && letter == other.letter; }
};

DayColours coloursOf(const ScheduleDialog &dialog, int day)
{
    const HDC dc = GetDC(nullptr);
    const HGDIOBJ brush =
        reinterpret_cast<HGDIOBJ>(SendMessageW(dialog.handle(), WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc),
                                               reinterpret_cast<LPARAM>(dialog.control(day))));
    LOGBRUSH record = {};
    GetObjectW(brush, sizeof record, &record);
    const DayColours colours = {record.lbColor, GetTextColor(dc)};
    CHECK(GetBkMode(dc) == TRANSPARENT);
    ReleaseDC(nullptr, dc);
    return colours;
}

}   // namespace

TEST_CASE("a tap inverts a day, and the next tap puts it back")
{
    constexpr DayColours chosen = {RGB(0, 0, 156), RGB(255, 255, 255)}, other = {RGB(255, 255, 255), RGB(0, 0, 0)};
    StartedPhone phone;
    ScheduleDialog dialog;
    for (int day = 1300; day <= 1306; ++day) {
        CHECK((coloursOf(dialog, day) == other));
        dialog.tap(day);
        for (int each = 1300; each <= 1306; ++each)
            CHECK((coloursOf(dialog, each) == (each == day ? chosen : other)));
        dialog.tap(day, STN_DBLCLK);
        CHECK((coloursOf(dialog, day) == other));
    }
}

TEST_CASE("the other texts lie on the ground of the pages")
{
    StartedPhone phone;
    backgroundBrush = CreateSolidBrush(RGB(220, 220, 230));
    {
        ScheduleDialog dialog;
        for (UINT message : {WM_CTLCOLORSTATIC, WM_CTLCOLORBTN, WM_CTLCOLORDLG}) {
            const HDC dc = GetDC(nullptr);
            CHECK(SendMessageW(dialog.handle(), message, reinterpret_cast<WPARAM>(dc),
                               reinterpret_cast<LPARAM>(dialog.control(1600))) ==
                  reinterpret_cast<LRESULT>(backgroundBrush));
            ReleaseDC(nullptr, dc);
        }
    }
    DeleteObject(backgroundBrush);
    backgroundBrush = nullptr;
}

TEST_CASE("the days of a former dialog are not those of the next")
{
    StartedPhone phone;
    {
        ScheduleDialog dialog;
        dialog.tapDays(L"123");
        dialog.tap(1339);
        dialog.cancel();
    }
    ScheduleDialog dialog;
    dialog.tap(1278);
    CHECK(dialog.count() == 0);
}

// ---- Adding -------------------------------------------------------------------------------------------------------------

TEST_CASE("of the name of a place 49 characters are taken, so that a long one loses its bracket")
{
    struct Row {
        size_t length;
        std::wstring entering, leaving;
    };
    const Row rows[] = {
        {41, L"[" + std::wstring(41, L'p') + L"]", L"Leave [" + std::wstring(41, L'p') + L"]"},
        {42, L"[" + std::wstring(42, L'p') + L"]", L"Leave [" + std::wstring(42, L'p')},
        {47, L"[" + std::wstring(47, L'p') + L"]", L"Leave [" + std::wstring(42, L'p')},
        {48, L"[" + std::wstring(48, L'p'), L"Leave [" + std::wstring(42, L'p')},
        {49, L"[" + std::wstring(48, L'p'), L"Leave [" + std::wstring(42, L'p')},
    };
    StartedPhone phone;
    phone.set(L"categories", L"names", L"");
    for (const Row &row : rows) {
        phone.storePlaces(L"1,@" + std::wstring(row.length, L'p') + L"\u00A7");
        ScheduleDialog dialog;
        dialog.tap(1339);
        for (int event : {4, 5}) {
            dialog.select(1338, event);
            dialog.tap(1278);
        }
        INFO("characters: " << static_cast<int>(row.length));
        CHECK(dialog.cell(0, 2) == row.entering);
        CHECK(dialog.cell(1, 2) == row.leaving);
        removeValue(L"timeData");
    }
}

TEST_CASE("a category with the separator in its name comes back as two entries")
{
    StartedPhone phone;
    phone.set(L"categories", L"names", L"A\u00A7B");
    {
        ScheduleDialog dialog;
        dialog.tap(1339);
        dialog.select(1253, night);
        dialog.select(1338, 4);
        dialog.tap(1278);
        CHECK(dialog.lines() == Texts{L"Night||A\u00A7B"});
        dialog.ok();
    }
    CHECK(storedText(L"timeData") == L"3,A\u00A7B,\u00A7");
    ScheduleDialog dialog;
    CHECK(dialog.lines() == Texts{L"Night||A", L"Home||"});
}

TEST_CASE("a switch at a time on the chosen days is added at the end of the list")
{
    StartedPhone phone;
    ScheduleDialog dialog;
    dialog.select(1253, meeting);
    dialog.add(L"5312", 7, 5);
    dialog.select(1253, home);
    dialog.add(L"7", 0, 0);
    dialog.select(1253, flight);
    dialog.add(L"1234567", 23, 59);
    CHECK(dialog.lines() ==
          Texts{L"Meeting|07:05|Mo,Tu,We,Fr", L"Home|00:00|Su", L"Flight|23:59|Mo,Tu,We,Th,Fr,Sa,Su"});
    dialog.ok();
    CHECK(storedText(L"timeData") == L"2,1235,07:05\u00A70,7,00:00\u00A76,1234567,23:59\u00A7");
    checkDerived(none, none, 0);
}

TEST_CASE("of the profiles in use, the one chosen is switched to")
{
    StartedPhone phone;
    userSettings.activeProfiles = 0x28;
    ScheduleDialog dialog;
    dialog.select(1253, 2);
    dialog.add(L"1", 8, 0);
    dialog.ok();
    CHECK(storedText(L"timeData") == L"5,1,08:00\u00A7");
}

TEST_CASE("a time is stored with the separator of the user's region")
{
    StartedPhone phone;
    phone.set(L"locale", L"id", L"0x040B");
    ScheduleDialog dialog;
    dialog.add(L"1", 13, 45);
    dialog.ok();
    CHECK(storedText(L"timeData") == L"0,1,13.45\u00A7");
}

TEST_CASE("without a day nothing is added, and basic logging says so")
{
    StartedPhone phone;
    ScheduleDialog dialog;
    for (DWORD option : {0, 4, 12, 1}) {
        userSettings.loggingOption = option;
        dialog.tap(1278);
        dialog.tapDays(L"33");
        dialog.tap(1278);
        CHECK(dialog.count() == 0);
        const std::vector<std::string> twice(2, "Add Time ignored: wDays not defined!");
        INFO("logging " << option);
        CHECK(phone.log() == (option & 1 ? twice : std::vector<std::string>{}));
    }
}

TEST_CASE("every event can be added, and derives the settings it is for")
{
    struct Row {
        int entry;
        const wchar_t *stored;
        DWORD activeSync, power, appointments;
    };
    constexpr Row rows[] = {
        {0, L"3,<ActiveSync>,\u00A7", 3, none, 0},    {1, L"3,<Power-no ActiveSync>,\u00A7", none, 3, 0},
        {2, L"3,<Busy>,\u00A7", none, none, 1},       {3, L"3,<Out of Office>,\u00A7", none, none, 1},
        {4, L"3,Holiday,\u00A7", none, none, 1},      {5, L"3,[Home],\u00A7", none, none, 0},
        {6, L"3,Leave [Home],\u00A7", none, none, 1},
    };
    StartedPhone phone;
    phone.set(L"categories", L"names", L"Holiday");
    phone.storePlaces(L"1,@Home\u00A7");
    for (const Row &row : rows) {
        removeValue(L"timeData");
        setDerived(5);
        ScheduleDialog dialog;
        dialog.tapDays(L"123");   // of no account in this mode
        dialog.tap(1339);
        dialog.select(1253, night);
        dialog.select(1338, row.entry);
        dialog.tap(1278);
        CHECK(dialog.cell(0, 1) == L"");
        dialog.ok();
        INFO("event " << row.entry);
        CHECK(storedText(L"timeData") == row.stored);
        checkDerived(row.activeSync, row.power, row.appointments);
    }
}

TEST_CASE("49 characters of an event's name are stored")
{
    StartedPhone phone;
    for (size_t length : {48, 49, 50, 200}) {
        const std::wstring category(length, L'c');
        phone.set(L"categories", L"names", category.c_str());
        removeValue(L"timeData");
        ScheduleDialog dialog;
        dialog.tap(1339);
        REQUIRE(dialog.entryCount(1338) == 5);
        dialog.select(1338, 4);
        dialog.tap(1278);
        dialog.ok();
        INFO("characters: " << length);
        CHECK(storedText(L"timeData") == L"0," + category.substr(0, 49) + L",\u00A7");
    }
}

TEST_CASE("without a chosen event nothing is added")
{
    StartedPhone phone;
    ScheduleDialog dialog;
    dialog.tap(1339);
    dialog.select(1338, -1);
    dialog.tap(1278);
    CHECK(dialog.count() == 0);
}

// ---- Deleting and moving --------------------------------------------------------------------------------------------------

namespace {

// Work, Meeting, Night, Loud, Car, each on another day.
constexpr wchar_t fiveLines[] = L"1,1,01:00\u00A72,2,02:00\u00A73,3,03:00\u00A74,<Busy>,\u00A75,5,05:00\u00A7";

}   // namespace

TEST_CASE("Delete takes the first selected line away")
{
    StartedPhone phone;
    storeText(L"timeData", fiveLines);
    ScheduleDialog dialog;
    dialog.tap(1279);
    CHECK(dialog.order() == L"WMNLC");
    dialog.selectLines({1, 3});
    dialog.tap(1279);
    CHECK(dialog.order() == L"WNLC");
    dialog.tap(1279);
    CHECK(dialog.order() == L"WNC");
    dialog.tap(1279);
    CHECK(dialog.order() == L"WNC");
    dialog.ok();
    CHECK(storedText(L"timeData") == L"1,1,01:00\u00A73,3,03:00\u00A75,5,05:00\u00A7");
}

TEST_CASE("Up and Down move every selected line by one, keep it selected, and leave it at the end of the list")
{
    struct Row {
        int icon;
        std::vector<int> selected;
        const wchar_t *order;
        std::vector<int> selectedAfter;
    };
    const Row rows[] = {
        {1365, {}, L"WMNLC", {}},         {1365, {0}, L"WMNLC", {0}},       {1365, {1}, L"MWNLC", {0}},
        {1365, {4}, L"WMNCL", {3}},       {1365, {2, 3}, L"WNLMC", {1, 2}}, {1365, {1, 4}, L"MWNCL", {0, 3}},
        {1365, {0, 1}, L"MWNLC", {0, 1}},   // the line at the top stays, and the other one passes it
        {1366, {}, L"WMNLC", {}},         {1366, {4}, L"WMNLC", {4}},       {1366, {3}, L"WMNCL", {4}},
        {1366, {0}, L"MWNLC", {1}},       {1366, {1, 2}, L"WLMNC", {2, 3}}, {1366, {0, 3}, L"MWNCL", {1, 4}},
        {1366, {3, 4}, L"WMNCL", {3, 4}},
    };
    StartedPhone phone;
    ScheduleDialog dialog;
    for (const Row &row : rows) {
        SendMessageW(dialog.list(), LVM_DELETEALLITEMS, 0, 0);
        for (int profile = work; profile <= car; ++profile)
            addScheduleLine(dialog.list(), profile - work, profile, L"1", L"07:30");
        dialog.selectLines(row.selected);
        dialog.tap(row.icon);
        INFO("icon " << row.icon << ", expected " << narrow(row.order) << ", found " << narrow(dialog.order()));
        CHECK(dialog.order() == row.order);
        CHECK(dialog.selectedLines() == row.selectedAfter);
    }
}

TEST_CASE("a line that is moved keeps its columns and its days, however long they are")
{
    StartedPhone phone;
    const std::wstring event(1280, L'e');
    storeText(L"timeData", L"1,135,01:00\u00A72," + event + L",\u00A7");
    ScheduleDialog dialog;
    dialog.selectLines({0});
    dialog.tap(1366);
    CHECK(dialog.lines() == Texts{L"Meeting||" + event, L"Work|01:00|Mo,We,Fr"});
    CHECK(dialog.parameter(1) == 135);
    dialog.selectLines({0});
    dialog.tap(1366);
    CHECK(dialog.lines() == Texts{L"Work|01:00|Mo,We,Fr", L"Meeting||" + event});
    CHECK(dialog.parameter(1) == 0);
}

TEST_CASE("a line that cannot be moved stays where it is, selected as it was")
{
    StartedPhone phone;
    storeText(L"timeData", fiveLines);
    ScheduleDialog dialog;
    const Texts before = dialog.lines();
    dialog.selectLines({1, 3});
    Intercept<__imp_SendMessageW> sending([](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
        return message == LVM_INSERTITEMW ? -1
                                          : Intercept<__imp_SendMessageW>::real(window, message, wParam, lParam);
    });
    for (int icon : {1365, 1366}) {
        dialog.tap(icon);
        CHECK(dialog.lines() == before);
        CHECK(dialog.selectedLines() == std::vector<int>{1, 3});
    }
}

// ---- Saving -------------------------------------------------------------------------------------------------------------

TEST_CASE("an unchanged schedule is saved as it was")
{
    StartedPhone phone;
    for (const wchar_t *text :
         {L"2,12345,07:30\u00A74,<Busy>,\u00A70,67,22:00\u00A76,[Home],\u00A75,Leave [Home],\u00A73,Holiday,\u00A7",
          L"1,1,07:30\u00A71,1,07:30\u00A7", L"1,21,07:30\u00A7"}) {
        INFO("schedule " << narrow(text));
        CHECK(savedAgain(text) == text);
    }
}

TEST_CASE("entries that are none of the dialog's are saved as what they are shown as")
{
    struct Row {
        const wchar_t *stored, *saved;
        DWORD appointments;
    };
    constexpr Row rows[] = {
        {L"7,1,07:30\u00A7", L"0,1,07:30\u00A7", 0},         // no such profile
        {L"1,2nd shift,\u00A7", L"1,2,\u00A7", 0},           // a name that begins with a digit
        {L"1,Home, sweet,\u00A7", L"1,, sweet,\u00A7", 1},   // a name with a comma
        {L"1,<Busy>,07:30\u00A7", L"1,,07:30\u00A7", 1},     // an event at a time
        {L"\u00A7", L"0,,\u00A7", 1},
        {L"3,01,07:30\u00A7", L"3,1,07:30\u00A7", 0},
    };
    StartedPhone phone;
    for (const Row &row : rows) {
        INFO("stored " << narrow(row.stored));
        CHECK(savedAgain(row.stored) == row.saved);
        CHECK(userSettings.outlookCheck == row.appointments);
    }
}

TEST_CASE("of profiles with the same name, the first is switched to")
{
    StartedPhone phone;
    wcscpy(userSettings.profileNames[night], L"Work");
    CHECK(savedAgain(L"3,1,07:30\u00A72,1,08:00\u00A71,1,09:00\u00A7") ==
          L"1,1,07:30\u00A72,1,08:00\u00A71,1,09:00\u00A7");
}

TEST_CASE("a profile's name of any length leads back to its number")
{
    StartedPhone phone;
    wmemset(userSettings.profileNames[night], L'n', profileNameCapacity - 1);
    userSettings.profileNames[night][profileNameCapacity - 1] = 0;
    CHECK(savedAgain(L"3,1,07:30\u00A7") == L"3,1,07:30\u00A7");
}

TEST_CASE("the last of several entries for appointments and the first for ActiveSync and power count")
{
    StartedPhone phone;
    setDerived(5);
    savedAgain(
        L"1,<ActiveSync>,\u00A72,<ActiveSync>,\u00A73,<Power-no ActiveSync>,\u00A74,Holiday,\u00A76,1,07:30\u00A7");
    checkDerived(1, 3, 1);
}

TEST_CASE("lines are saved while the text is shorter than 1220 characters")
{
    StartedPhone phone;
    for (size_t length : {1219, 1220, 1221}) {
        const std::wstring first = L"1," + std::wstring(length - 4, L'e') + L",\u00A7", second = L"2,1,07:30\u00A7",
                           third = L"3,<ActiveSync>,\u00A7";
        const std::wstring saved = savedAgain(first + second + third);
        INFO("characters: " << length);
        CHECK(saved == (length < 1220 ? first + second : first));
        CHECK(userSettings.activeSyncProfile == none);
    }
}

TEST_CASE("a dropped line switches nothing by appointments")
{
    StartedPhone phone;
    savedAgain(L"1,[" + std::wstring(1220, L'e') + L"],\u00A72,Holiday,\u00A7");
    CHECK(userSettings.outlookCheck == 0);
}

TEST_CASE("detailed logging notes that a schedule was saved")
{
    StartedPhone phone;
    for (DWORD option : {0, 1, 4}) {
        userSettings.loggingOption = option;
        ScheduleDialog dialog;
        dialog.ok();
        INFO("logging " << option);
        CHECK(phone.log() == (option & 4 ? std::vector<std::string>{"ProfileTimeDlgProc settings saved"}
                                         : std::vector<std::string>{}));
    }
}

TEST_CASE("Cancel writes nothing and derives nothing")
{
    StartedPhone phone;
    storeText(L"timeData", L"2,1,07:30\u00A7");
    setDerived(5);
    ScheduleDialog dialog;
    dialog.add(L"1", 8, 0);
    dialog.cancel();
    CHECK(storedText(L"timeData") == L"2,1,07:30\u00A7");
    checkDerived(5, 5, 5);
    CHECK(dialog.count() == 0);
    CHECK(dialog.columnCount() == 0);
}

// ---- The dialog on the phone ----------------------------------------------------------------------------------------------

TEST_CASE("the dialog fills the screen, its list the rest of it, and the title bar's ok saves")
{
    for (const char *base : {"wm6", "vga", "landscape", "square"}) {
        StartedPhone phone(base);
        RECT client = {}, list = {};
        wchar_t title[50] = L"";
        bool tapped = false;
        const bool appeared = runModal([] { showProfileSchedule(nullptr); },
                                       [&](HWND dialog) {
                                           GetClientRect(dialog, &client);
                                           GetWindowRect(GetDlgItem(dialog, 1276), &list);
                                           MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT *>(&list), 2);
                                           SimTitleText(title, 50);
                                           SendMessageW(dialog, WM_COMMAND, 1339, 0);
                                           SendMessageW(dialog, WM_COMMAND, 1278, 0);
                                           tapped = SimTapOk();
                                           waitFor([&] { return !IsWindowVisible(dialog); });
                                       });
        INFO(std::string(base));
        CHECK(appeared);
        CHECK(tapped);
        CHECK(std::wstring(title) == L"Profile Time");
        CHECK(client.right == GetSystemMetrics(SM_CXSCREEN));
        CHECK(list.left > 0);
        CHECK(client.right - list.right == list.left);
        CHECK(client.bottom - list.bottom == list.left);
        CHECK(storedText(L"timeData") == L"0,<ActiveSync>,\u00A7");
        CHECK(userSettings.activeSyncProfile == 0);
    }
}

TEST_CASE("the list has room for the longest default name and, beside a scroll bar, for all columns")
{
    for (const char *base : {"wm6", "vga", "landscape", "square"}) {
        StartedPhone phone(base);
        runModal([] { showProfileSchedule(nullptr); },
                 [&](HWND dialog) {
                     const HWND list = GetDlgItem(dialog, 1276);
                     RECT area = {};
                     GetClientRect(list, &area);
                     int widths = 0;
                     for (WPARAM column = 0; column < 3; ++column)
                         widths += static_cast<int>(SendMessageW(list, LVM_GETCOLUMNWIDTH, column, 0));
                     const LRESULT name = SendMessageW(list, LVM_GETSTRINGWIDTHW, 0,
                                                       reinterpret_cast<LPARAM>(L"Besprechung"));
                     INFO(std::string(base));
                     CHECK(name > 0);
                     CHECK(SendMessageW(list, LVM_GETCOLUMNWIDTH, 0, 0) >= name + 8);
                     CHECK(widths <= area.right - GetSystemMetrics(SM_CXVSCROLL));
                 });
    }
}

TEST_CASE("a control that is hidden by a change of the mode loses the focus to the other mode's icon")
{
    StartedPhone phone;
    runModal([] { showProfileSchedule(nullptr); },
             [](HWND dialog) {
                 for (int control : {1339, 1270, 1303}) {
                     SetFocus(GetDlgItem(dialog, control));
                     SendMessageW(dialog, WM_COMMAND, 1339, 0);
                     INFO("control " << control);
                     CHECK(GetDlgCtrlID(GetFocus()) == 1268);
                     SendMessageW(dialog, WM_COMMAND, 1268, 0);
                     CHECK(GetDlgCtrlID(GetFocus()) == 1339);
                 }
                 SetFocus(GetDlgItem(dialog, 1276));
                 SendMessageW(dialog, WM_COMMAND, 1339, 0);
                 CHECK(GetDlgCtrlID(GetFocus()) == 1276);
             });
}

TEST_CASE("days are chosen and icons tapped by the space bar and the action key")
{
    StartedPhone phone;
    runModal([] { showProfileSchedule(nullptr); },
             [](HWND dialog) {
                 SendMessageW(GetDlgItem(dialog, 1301), WM_KEYDOWN, VK_SPACE, 0);
                 SendMessageW(GetDlgItem(dialog, 1303), WM_KEYDOWN, VK_RETURN, 0);
                 SendMessageW(dialog, WM_COMMAND, 1278, 0);
                 SendMessageW(GetDlgItem(dialog, 1339), WM_KEYDOWN, VK_RETURN, 0);
                 SendMessageW(dialog, WM_COMMAND, 1278, 0);
                 LVITEMW item = {};
                 item.stateMask = item.state = LVIS_SELECTED;
                 SendMessageW(GetDlgItem(dialog, 1276), LVM_SETITEMSTATE, 1, reinterpret_cast<LPARAM>(&item));
                 SendMessageW(GetDlgItem(dialog, 1365), WM_KEYDOWN, VK_SPACE, 0);
                 SendMessageW(dialog, WM_COMMAND, IDOK, 0);
             });
    const std::wstring stored = storedText(L"timeData");
    CHECK(stored.substr(0, 21) == L"0,<ActiveSync>,\u00A70,24,");
}

// ---- Failures -----------------------------------------------------------------------------------------------------------

TEST_CASE("an exception at the beginning is logged, and the dialog stays with what it has")
{
    struct Order {
        const wchar_t *kind, *call;
        bool raise;
        int lines, events;
        bool isSaved;
    };
    constexpr Order orders[] = {
        {L"registry", L"read:timeData", true, 0, 0, false},
        {L"registry", L"open:Software\\Tessaryn\\Kelvane", true, 0, 0, false},
        {L"memory", L"alloc:", false, 0, 0, false},
        {L"file", L"open:\\Program Files\\Kelvane\\kv_Location.dat", true, 1, 4, true},
    };
    for (const Order &order : orders) {
        StartedPhone phone;
        phone.set(L"categories", L"names", L"");
        phone.storePlaces(L"1,@Home\u00A7");
        storeText(L"timeData", L"2,1,07:30\u00A7");
        setDerived(5);
        SimOrderFault(order.kind, 1, order.call, order.raise);
        ScheduleDialog dialog;
        SimClearFaults();
        INFO("fault " << narrow(order.call));
        CHECK(phone.log() == std::vector<std::string>{"** Exception ProfileTimeDlgProc - init **"});
        CHECK(dialog.entryCount(1253) == 7);
        CHECK(dialog.count() == order.lines);
        CHECK(dialog.entryCount(1338) == order.events);
        CHECK(dialog.selection(1338) == (order.events ? 0 : -1));
        CHECK(dialog.isShown(1339));
        dialog.add(L"2", 9, 0);
        CHECK(dialog.count() == order.lines + 1);
        dialog.ok();
        CHECK(storedText(L"timeData") == (order.isSaved ? L"2,1,07:30\u00A70,2,09:00\u00A7" : L"2,1,07:30\u00A7"));
        if (order.isSaved)
            checkDerived(none, none, 0);
        else
            checkDerived(5, 5, 5);
    }
}

TEST_CASE("a schedule that cannot be read is left alone by OK, with what follows from it")
{
    for (const wchar_t *call : {L"open:Software\\Tessaryn\\Kelvane", L"read:timeData"}) {
        StartedPhone phone;
        userSettings.loggingOption = 1;
        storeText(L"timeData", L"2,1,07:30\u00A7");
        setDerived(5);
        SimOrderFault(L"registry", 0, call, FALSE);
        ScheduleDialog dialog;
        SimClearFaults();
        INFO("failing: " << narrow(call));
        CHECK(dialog.count() == 0);
        CHECK(dialog.selection(1338) == 0);
        checkDerived(5, 5, 5);
        dialog.ok();
        CHECK(storedText(L"timeData") == L"2,1,07:30\u00A7");
        checkDerived(5, 5, 5);
        CHECK(phone.log() == std::vector<std::string>{"ProfileTimeDlgProc: not read, not saved"});
    }
}

TEST_CASE("a schedule of which a line could not be shown is left alone by OK")
{
    StartedPhone phone;
    storeText(L"timeData", fiveLines);
    setDerived(5);
    static int insertions;
    insertions = 0;
    Intercept<__imp_SendMessageW> sending([](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
        return message == LVM_INSERTITEMW && ++insertions == 2
                   ? -1
                   : Intercept<__imp_SendMessageW>::real(window, message, wParam, lParam);
    });
    ScheduleDialog dialog;
    CHECK(dialog.order() == L"WNLC");
    dialog.ok();
    CHECK(storedText(L"timeData") == fiveLines);
    checkDerived(5, 5, 5);
}

TEST_CASE("a dialog that was filled after one that was not saves again")
{
    StartedPhone phone;
    storeText(L"timeData", L"2,1,07:30\u00A7");
    SimOrderFault(L"registry", 1, L"read:timeData", TRUE);
    {
        ScheduleDialog dialog;
        dialog.ok();
    }
    SimClearFaults();
    ScheduleDialog dialog;
    dialog.add(L"2", 9, 0);
    dialog.ok();
    CHECK(storedText(L"timeData") == L"2,1,07:30\u00A70,2,09:00\u00A7");
}

TEST_CASE("missing sources of events count as empty ones")
{
    StartedPhone phone;
    phone.storePlaces(L"1,@Home\u00A7");
    phone.set(L"categories", L"names", L"");
    SimOrderFault(L"file", 0, L"open:*", FALSE);
    ScheduleDialog dialog;
    SimClearFaults();
    CHECK(dialog.entryCount(1338) == 4);
    CHECK(phone.log().empty());
}

TEST_CASE("an exception of the categories database leaves the other events and a selected first one")
{
    for (const wchar_t *call : {L"open:*", L"seek:*", L"read:*"}) {
        StartedPhone phone("ppc2003");
        userSettings.loggingOption = 1;
        phone.storePlaces(L"1,@Home\u00A7");
        SimOrderFault(L"database", 1, call, TRUE);
        ScheduleDialog dialog;
        SimClearFaults();
        INFO("raising: " << narrow(call));
        CHECK(entriesOf(dialog, 1338) == Texts{L"<ActiveSync>", L"<Power-no ActiveSync>", L"<Busy>",
                                               L"<Out of Office>", L"[Home]", L"Leave [Home]"});
        CHECK(dialog.selection(1338) == 0);
        CHECK(phone.log() == std::vector<std::string>{"Exception: getCategories"});
    }
}

TEST_CASE("whatever goes wrong at saving, the dialog ends")
{
    struct Order {
        const wchar_t *kind, *call;
        bool raise;
        bool logged;
    };
    constexpr Order orders[] = {
        {L"registry", L"write:timeData", false, false},
        {L"registry", L"create:*", false, false},
        {L"registry", L"write:timeData", true, true},
        {L"memory", L"alloc:", false, true},
    };
    for (const Order &order : orders) {
        StartedPhone phone;
        userSettings.lang = german;
        storeText(L"timeData", L"2,1,07:30\u00A74,<ActiveSync>,\u00A76,Holiday,\u00A7");
        setDerived(5);
        const bool appeared = runModal([] { showProfileSchedule(nullptr); },
                                       [&](HWND dialog) {
                                           SimOrderFault(order.kind, 1, order.call, order.raise);
                                           SendMessageW(dialog, WM_COMMAND, IDOK, 0);
                                           SimClearFaults();
                                           CHECK_FALSE(IsWindowVisible(dialog));
                                       });
        INFO("fault " << narrow(order.call) << ", " << order.raise);
        CHECK(appeared);
        CHECK(storedText(L"timeData") == L"2,1,07:30\u00A74,<ActiveSync>,\u00A76,Holiday,\u00A7");
        checkDerived(5, 5, 5);
        CHECK(phone.log() == (order.logged ? std::vector<std::string>{"** Exception ProfileTimeDlgProc - save **"}
                                           : std::vector<std::string>{}));
    }
}

TEST_CASE("an exception in a command is logged, and the dialog goes on")
{
    StartedPhone phone;
    storeText(L"timeData", fiveLines);
    ScheduleDialog dialog;
    dialog.selectLines({1});
    for (int icon : {1365, 1366}) {
        SimOrderFault(L"memory", 1, L"alloc:", FALSE);
        dialog.tap(icon);
    }
    CHECK(dialog.order() == L"WMNLC");
    CHECK(phone.log() == std::vector<std::string>(2, "** Exception ProfileTimeDlgProc **"));
    dialog.tap(1365);
    CHECK(dialog.order().substr(0, 5) == L"MWNLC");
}

TEST_CASE("a dialog leaves nothing behind, however it ends")
{
    StartedPhone phone;
    phone.storePlaces(L"1,@Home\u00A7");
    const auto openAndEnd = [](WPARAM command) {
        storeText(L"timeData", fiveLines);
        runModal([] { showProfileSchedule(nullptr); },
                 [&](HWND dialog) {
                     SendMessageW(dialog, WM_COMMAND, 1300, 0);
                     SendMessageW(dialog, WM_COMMAND, 1278, 0);
                     UpdateWindow(dialog);
                     SendMessageW(dialog, WM_COMMAND, command, 0);
                 });
    };
    openAndEnd(IDOK);   // what is made once and kept
    const int gdi = SimLiveGdi(), allocations = SimLiveAllocations(), keys = SimLiveKeys(), files = SimLiveFiles(),
              objects = SimLiveObjects();
    for (int round = 0; round < 3; ++round) {
        openAndEnd(IDOK);
        openAndEnd(IDCANCEL);
    }
    CHECK(SimLiveGdi() == gdi);
    CHECK(SimLiveAllocations() == allocations);
    CHECK(SimLiveKeys() == keys);
    CHECK(SimLiveFiles() == files);
    CHECK(SimLiveObjects() == objects);
}
