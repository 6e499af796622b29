// The Profiles page the way a person uses it: lines are tapped, entries chosen, and the registry and the list looked at.
#include "profiles_page.h"

#include <functional>

#include "control.h"
#include "control_windows.h"
#include "current_profile.h"
#include "doctest.h"
#include "environment.h"
#include "extra_settings.h"
#include "intercept.h"
#include "modal_dialog.h"
#include "option_file.h"
#include "page_window.h"
#include "picker_library.h"
#include "profile_record.h"
#include "resource.h"
#include "shell_values.h"
#include "sound_preview.h"
#include "test_phone.h"
#include "user_settings.h"

IMPORTED(CreateThread);
IMPORTED(EndDialog);
IMPORTED(MessageBoxW);
IMPORTED(GetWindowRect);
IMPORTED(SendMessageW);
IMPORTED(SetWindowPos);

namespace {

constexpr DWORD german = 1;

// A phone on which the program has just been started and the engine watches everything, so that a line's number is its
// row's.
struct StartedPhone : TestPhone {
    explicit StartedPhone(const char *base = "wm6") : TestPhone(base)
    {
        restartProgram();
        getAppPath();
        getDeviceType();
        SimSetPanel(FALSE);
        getUserSettings();
        watchAll(1);
        optionFlags = OptionFlags{};
    }
    ~StartedPhone()
    {
        SimSetPanel(FALSE);
        freeExtraSettings();
        extraSettings = ExtraSettings{};
    }

    static void watchAll(DWORD on)
    {
        for (DWORD UserSettings::*field :
             {&UserSettings::SMS, &UserSettings::MMS, &UserSettings::Email, &UserSettings::emailCustomAlarms,
              &UserSettings::missedCalls, &UserSettings::voiceMail, &UserSettings::reminders})
            userSettings.*field = on;
    }
};

struct ProfilesPage : PageWindow {
    ProfilesPage() : PageWindow(IDD_LIST_PAGE, ProfilesPageProc) {}

    HWND list() const { return control(1266); }

    int lineCount() const { return static_cast<int>(SendMessageW(list(), LVM_GETITEMCOUNT, 0, 0)); }

    int selectedLine() const
    {
        return static_cast<int>(SendMessageW(list(), LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED));
    }

    std::wstring cell(int line, int column) const
    {
        wchar_t text[600] = L"";
        LVITEMW item = {};
        item.iSubItem = column;
        item.pszText = text;
        item.cchTextMax = 600;
        SendMessageW(list(), LVM_GETITEMTEXTW, static_cast<WPARAM>(line), reinterpret_cast<LPARAM>(&item));
        return text;
    }
    std::wstring label(int line) const { return cell(line, 0); }
    std::wstring value(int line) const { return cell(line, 1); }

    std::vector<std::wstring> labels() const
    {
        std::vector<std::wstring> all;
        for (int line = 0; line < lineCount(); ++line)
            all.push_back(label(line));
        return all;
    }

    int lineOf(const std::wstring &wanted) const
    {
        for (int line = 0; line < lineCount(); ++line)
            if (label(line) == wanted)
                return line;
        return -1;
    }

    // A tap of the stylus in the middle of a line's label.
    void tap(int line) const
    {
        SendMessageW(list(), LVM_ENSUREVISIBLE, static_cast<WPARAM>(line), FALSE);
        RECT area = {LVIR_LABEL, 0, 0, 0};
        REQUIRE(SendMessageW(list(), LVM_GETITEMRECT, static_cast<WPARAM>(line), reinterpret_cast<LPARAM>(&area)));
        tapAt(area.left + 10, (area.top + area.bottom) / 2);
    }

    // What the list makes of a tap, for those who do it by the hundred.
    void goTo(int line) const
    {
        NMLISTVIEW click = {};
        click.hdr.hwndFrom = list();
        click.hdr.idFrom = 1266;
        click.hdr.code = static_cast<UINT>(NM_CLICK);
        click.iItem = line;
        SendMessageW(handle(), WM_NOTIFY, 1266, reinterpret_cast<LPARAM>(&click));
    }

    void tapAt(int x, int y) const
    {
        SendMessageW(list(), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, y));
        SendMessageW(list(), WM_LBUTTONUP, 0, MAKELPARAM(x, y));
    }

    void chooseProfile(int entry) const
    {
        select(1253, entry);
        SendMessageW(handle(), WM_COMMAND, MAKEWPARAM(1253, CBN_SELENDOK), reinterpret_cast<LPARAM>(control(1253)));
    }

    void chooseEntry(int combo, const std::wstring &wanted) const
    {
        const LRESULT index = SendMessageW(control(combo), CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1),
                                           reinterpret_cast<LPARAM>(wanted.c_str()));
        INFO("list " << combo << ", entry " << narrow(wanted));
        CHECK(index >= 0);
        select(combo, static_cast<int>(index));
    }

    void tapIcon(int id) const
    {
        SendMessageW(handle(), WM_COMMAND, MAKEWPARAM(id, STN_CLICKED), reinterpret_cast<LPARAM>(control(id)));
    }

    void check(int id, bool on) const { SendMessageW(control(id), BM_SETCHECK, on ? BST_CHECKED : BST_UNCHECKED, 0); }

    bool isShown(int id) const { return (GetWindowLongPtrW(control(id), GWL_STYLE) & WS_VISIBLE) != 0; }

    std::vector<std::wstring> entries(int combo) const
    {
        std::vector<std::wstring> all;
        for (int i = 0; i < entryCount(combo); ++i)
            all.push_back(entry(combo, i));
        return all;
    }
};

std::wstring keyOf(int profile)
{
    return std::wstring(kelvaneKey) + L"\\" + std::to_wstring(profile);
}

DWORD number(int profile, const std::wstring &name)
{
    return storedNumber(name.c_str(), keyOf(profile).c_str());
}

std::wstring text(int profile, const std::wstring &name)
{
    return storedText(name.c_str(), keyOf(profile).c_str());
}

bool isStored(int profile, const std::wstring &name)
{
    return storedValue(name.c_str(), keyOf(profile).c_str()).present;
}

void store(int profile, const wchar_t *name, DWORD value)
{
    storeNumber(name, value, keyOf(profile).c_str());
}

std::string joined(const std::vector<std::wstring> &texts)
{
    std::string all;
    for (const std::wstring &text : texts)
        all += narrow(text) + "|";
    return all;
}

constexpr int home = 0, work = 1, meeting = 2, night = 3;
constexpr int headingLine = 0;

constexpr int editorControls[] = {1289, 1290, 1291, 1292, 1293, 1294, 1297, 1326, 1327,
                                  1328, 1295, 1310, 1325, 1355, 1072, 1261, 1074, 1077};

std::vector<int> shownEditor(const ProfilesPage &page)
{
    std::vector<int> shown;
    for (int id : editorControls)
        if (page.isShown(id))
            shown.push_back(id);
    return shown;
}

}   // namespace

// ---- The list ---------------------------------------------------------------------------------------------------------

namespace {

// Every row: its label, the description above the editor and the controls it is edited with.
struct Row {
    const wchar_t *label;
    const wchar_t *description;
    std::vector<int> controls;
};

const std::vector<int> choice = {1289}, sound = {1290, 1293, 1326, 1327, 1328}, repeat = {1072, 1261, 1074},
                       onOff = {1295}, heading = {};

const std::vector<Row> rows = {
    {L"Volumes", L"Volumes", heading},
    {L"System volume", L"Volume for all standard alarms", choice},
    {L"Phone Volume", L"Ringer volume for incoming calls", choice},
    {L"Call Volume", L"Volume when talking during a call", choice},
    {L"Notification volume", L"Kelvane notification volume", choice},
    {L"Notification Settings", L"Notification Settings", heading},
    {L"SMS Alarm", L"Notification when an SMS is received", sound},
    {L"SMS Alarm repeat", L"SMS Alarm custom repeat", repeat},
    {L"Custom SMS alarm", L"Group to activate for custom SMS alarms", choice},
    {L"MMS Alarm", L"Notification when an MMS is received", sound},
    {L"MMS repeat", L"MMS Alarm custom repeat", repeat},
    {L"Email Alarm", L"Notification when an Email is received", sound},
    {L"Email Alarm repeat", L"Email Alarm custom repeat", repeat},
    {L"Custom Email alarm", L"Group to activate for custom Email alarms", choice},
    {L"Voice Mail Alarm", L"Notification when a Voice mail is received", sound},
    {L"Voice Alarm repeat", L"Voice Alarm custom repeat", repeat},
    {L"Missed call Alarm", L"Notification when an call is missed", sound},
    {L"Missed Alarm repeat", L"Missed Alarm custom repeat", repeat},
    {L"Reminder Alarm", L"Notification when a Reminder (appointment/task) is active", sound},
    {L"Reminder repeat", L"Reminder Alarm custom repeat", repeat},
    {L"Ring Settings", L"Ring Settings", heading},
    {L"Ring Tone", L"Ring tone for incoming calls", {1290, 1297}},
    {L"Ring Type", L"Ring Type for incoming calls", choice},
    {L"Auto answer", L"Automatically answer phone after 'x' rings", choice},
    {L"Auto-blank on connect", L"Automatically blank screen on call connect", onOff},
    {L"Speaker phone", L"Automatically enable speaker phone (only on WM 5.0 devices!)", onOff},
    {L"Call Forwarding", L"Have your calls automatically forwarded to another phone", choice},
    {L"SMS Forwarding", L"Have your SMS's automatically forwarded to another phone", choice},
    {L"Radio Settings", L"Radio Settings", heading},
    {L"Activate radio", L"Enable the phone radio (deactivate for 'Flight mode' = no calls!)", choice},
    {L"Activate IR", L"Enable the incoming Infra-red interface (also bluetooth file transfer!)", onOff},
    {L"Bluetooth", L"Set Bluetooth power status", choice},
    {L"Headset", L"Activate Bluetooth headset", onOff},
    {L"Activate WLAN", L"Automatically activate WLAN radio", choice},
    {L"Data Band", L"Preferred data band (GPRS / UMTS) to save power (will cycle Radio off/on if required)", choice},
    {L"Network Snapshot", L"Load a network snapshot to configure network settings", choice},
    {L"General Settings", L"General Settings", heading},
    {L"Backlight %", L"Backlight setting when on battery power", choice},
    {L"Backlight Ext. %", L"Backlight setting (%) when on external power", choice},
    {L"Backlight Battery", L"Backlight timeout when on battery power", choice},
    {L"Backlight External", L"Backlight timeout when on external (AC) power", choice},
    {L"Shutdown Battery", L"Device timeout when on battery power", choice},
    {L"Shutdown External", L"Device timeout when on external (AC) power", choice},
    {L"SIM Code", L"Code to unlock SIM card when exiting flight mode. (leave empty if not required)", {1355}},
    {L"Run program", L"Select program to start when profile activated", {1291, 1325}},
    {L"Close program", L"Stop the running program when current profile ends", onOff},
    {L"Rotate screen", L"Select screen orientation when profile is activated", choice},
    {L"ActiveSync Auto-connect", L"ActiveSync Auto-connect schedule", choice},
    {L"Enable Push Email", L"Enable Push Email - only if installed", choice},
};

}   // namespace

TEST_CASE("the list has a line for every row, with its label, and a tap shows the row's editor and description")
{
    StartedPhone phone;
    ProfilesPage page;
    CHECK(rows.size() == 49);
    CHECK(page.lineCount() == 49);
    for (size_t i = 0; i < rows.size(); ++i) {
        const int line = static_cast<int>(i);
        INFO("line " << line << ": " << narrow(rows[i].label));
        CHECK(page.label(line) == rows[i].label);
        page.tap(line);
        CHECK(page.selectedLine() == line);
        CHECK(page.text(1287) == rows[i].description);
        CHECK(shownEditor(page) == rows[i].controls);
    }
}

TEST_CASE("the page opens with the first setting in its editor")
{
    StartedPhone phone;
    ProfilesPage page;
    CHECK(page.selectedLine() == 1);
    CHECK(SendMessageW(page.list(), LVM_GETTOPINDEX, 0, 0) == 0);
    CHECK(page.text(1287) == L"Volume for all standard alarms");
    CHECK(shownEditor(page) == std::vector<int>{1289});
    CHECK(page.text(1327) == L"Popup");
    CHECK(page.text(1326) == L"LED");
    CHECK(page.text(1328) == L"Vibrate");
    CHECK(page.text(1261) == L"rpt.");
    CHECK(page.text(1295) == L"On");
    for (int id : {1253, 1268, 1280, 1351, 1140})
        CHECK(page.isShown(id));
}

TEST_CASE("labels, descriptions and headings are in the language chosen")
{
    StartedPhone phone;
    userSettings.lang = german;
    ProfilesPage page;
    CHECK(page.label(0) == L"Lautstärke");
    CHECK(page.label(34) == L"Datennetz");
    CHECK(page.text(1287) == L"Lautstärke aller Standardalarme");
    CHECK(page.text(1328) == L"Vibrieren");
    CHECK(page.text(1261) == L"Wdh.");
    CHECK(page.text(1295) == L"Ein");
}

TEST_CASE("headings are drawn red on light blue, settings in two other blues, however many rows are hidden")
{
    for (DWORD watched : {1, 0}) {
        StartedPhone phone;
        StartedPhone::watchAll(watched);
        ProfilesPage page;
        int headings = 0;
        for (int line = 0; line < page.lineCount(); ++line) {
            LVITEMW item = {};
            item.mask = LVIF_PARAM;
            item.iItem = line;
            SendMessageW(page.list(), LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item));
            NMLVCUSTOMDRAW drawing = {};
            drawing.nmcd.hdr = {page.list(), 1266, static_cast<UINT>(NM_CUSTOMDRAW)};
            drawing.nmcd.dwDrawStage = 0x10001;   // before a line is painted
            drawing.nmcd.dwItemSpec = static_cast<DWORD_PTR>(line);
            drawing.nmcd.lItemlParam = item.lParam;
            drawing.clrText = 0x123456;
            SendMessageW(page.handle(), WM_NOTIFY, 1266, reinterpret_cast<LPARAM>(&drawing));
            const std::wstring label = page.label(line);
            const bool isHeading = label == L"Volumes" || label == L"Notification Settings" ||
                                   label == L"Ring Settings" || label == L"Radio Settings" ||
                                   label == L"General Settings";
            INFO("line " << line << ": " << narrow(label));
            headings += isHeading;
            CHECK(GetWindowLongPtrW(page.handle(), DWL_MSGRESULT) == 0x12);
            CHECK(drawing.clrText == (isHeading ? RGB(255, 0, 0) : 0x123456));
            CHECK(drawing.clrTextBk == (isHeading  ? RGB(210, 227, 251)
                                        : line % 2 ? RGB(205, 222, 251)
                                                   : RGB(188, 213, 251)));
        }
        CHECK(headings == 5);
    }
}

TEST_CASE("the columns are 130 and 95 pixels wide at 96 dots per inch, lines are selected whole")
{
    for (const char *name : {"wm6", "vga", "landscape"}) {
        StartedPhone phone(name);
        ProfilesPage page;
        const int scale = std::string(name) == "vga" ? 2 : 1;
        CHECK(SendMessageW(page.list(), LVM_GETCOLUMNWIDTH, 0, 0) == 130 * scale);
        CHECK(SendMessageW(page.list(), LVM_GETCOLUMNWIDTH, 1, 0) == 95 * scale);
        CHECK((SendMessageW(page.list(), LVM_GETEXTENDEDLISTVIEWSTYLE, 0, 0) & LVS_EX_FULLROWSELECT) != 0);
        const LONG_PTR style = GetWindowLongPtrW(page.list(), GWL_STYLE);
        CHECK((style & LVS_TYPEMASK) == LVS_REPORT);
        CHECK((style & LVS_SINGLESEL) != 0);
        CHECK((style & LVS_SHOWSELALWAYS) != 0);
    }
}

namespace {

struct Watch {
    DWORD UserSettings::*field;
    std::vector<std::wstring> missing;   // labels that are not there when the field is 0
};

const std::vector<Watch> watches = {
    {&UserSettings::SMS, {L"SMS Alarm", L"SMS Alarm repeat"}},
    {&UserSettings::MMS, {L"MMS Alarm", L"MMS repeat"}},
    {&UserSettings::Email, {L"Email Alarm", L"Email Alarm repeat"}},
    {&UserSettings::voiceMail, {L"Voice Mail Alarm", L"Voice Alarm repeat"}},
    {&UserSettings::missedCalls, {L"Missed call Alarm", L"Missed Alarm repeat"}},
    {&UserSettings::reminders, {L"Reminder Alarm", L"Reminder repeat"}},
    {&UserSettings::emailCustomAlarms, {L"Custom SMS alarm", L"Custom Email alarm"}},
};

// The labels of all rows but these.
std::vector<std::wstring> allBut(const std::vector<std::wstring> &missing)
{
    std::vector<std::wstring> left;
    for (const Row &row : rows)
        if (std::find(missing.begin(), missing.end(), row.label) == missing.end())
            left.push_back(row.label);
    return left;
}

}   // namespace

TEST_CASE("a kind of event that is not watched has no rows")
{
    StartedPhone phone;
    std::vector<std::wstring> all;
    for (const Watch &watch : watches) {
        StartedPhone::watchAll(1);
        userSettings.*watch.field = 0;
        all.insert(all.end(), watch.missing.begin(), watch.missing.end());
        ProfilesPage page;
        CHECK(joined(page.labels()) == joined(allBut(watch.missing)));
    }
    StartedPhone::watchAll(0);
    {
        ProfilesPage page;
        CHECK(joined(page.labels()) == joined(allBut(all)));
    }
    StartedPhone::watchAll(1);
    CHECK(ProfilesPage().lineCount() == 49);
}

TEST_CASE("the option file can take all six repeat rows away")
{
    StartedPhone phone;
    optionFlags.hideProfileAlarmRepeats = 1;
    ProfilesPage page;
    CHECK(joined(page.labels()) == joined(allBut({L"SMS Alarm repeat", L"MMS repeat", L"Email Alarm repeat",
                                                  L"Voice Alarm repeat", L"Missed Alarm repeat", L"Reminder repeat"})));
}

TEST_CASE("values stand beside their own rows, however many rows are hidden")
{
    StartedPhone phone;
    store(home, L"10", 3);
    store(home, L"41", 2);
    store(home, L"40", 9);
    store(home, L"40_1", 2);
    userSettings.SMS = userSettings.emailCustomAlarms = 0;
    ProfilesPage page;
    CHECK(page.value(page.lineOf(L"Activate radio")) == L"Cycle radio (off/on)");
    CHECK(page.value(page.lineOf(L"Data Band")) == L"GSM/GPRS");
    CHECK(page.value(page.lineOf(L"MMS repeat")) == L"3 x 10 min");
    page.tap(page.lineOf(L"Data Band"));
    page.select(1289, 3);
    page.tap(headingLine);
    CHECK(page.value(page.lineOf(L"Data Band")) == L"UMTS (3G)");
    CHECK(number(home, L"41") == 3);
    CHECK(page.value(page.lineOf(L"Activate WLAN")) != L"UMTS (3G)");
}

// ---- Editing: settings that are stored as numbers ---------------------------------------------------------------------

namespace {

struct Choice {
    const wchar_t *entry;
    DWORD stored;
    const wchar_t *shown;   // in the list
};

struct ChoiceRow {
    int line;
    const wchar_t *name;
    std::vector<Choice> choices;
};

const std::vector<Choice> volumes = {
    {L"Leave Unchanged", 99, L"Leave Unchanged"},
    {L"0 %", 0, L"0 %"},
    {L"10 %", 10, L"10 %"},
    {L"20 %", 20, L"20 %"},
    {L"40 %", 40, L"40 %"},
    {L"60 %", 60, L"60 %"},
    {L"80 %", 80, L"80 %"},
    {L"100 %", 100, L"100 %"},
};

const std::vector<Choice> notificationVolumes = {
    {L"Leave Unchanged", 99, L"Leave Unchanged"},
    {L"0 %", 0, L"0 %"},
    {L"10 %", 10, L"10 %"},
    {L"20 %", 20, L"20 %"},
    {L"40 %", 40, L"40 %"},
    {L"60 %", 60, L"60 %"},
    {L"80 %", 80, L"80 %"},
    {L"100 %", 100, L"100 %"},
    {L"Escalating Volume", 98, L"Escalating Volume"},
};

const std::vector<Choice> backlights = {
    {L"Leave Unchanged", 99, L"Leave Unchanged"},
    {L"0 %", 0, L"0 %"},
    {L"10 %", 10, L"10 %"},
    {L"20 %", 20, L"20 %"},
    {L"30 %", 30, L"30 %"},
    {L"40 %", 40, L"40 %"},
    {L"50 %", 50, L"50 %"},
    {L"60 %", 60, L"60 %"},
    {L"70 %", 70, L"70 %"},
    {L"80 %", 80, L"80 %"},
    {L"90 %", 90, L"90 %"},
    {L"100 %", 100, L"100 %"},
};

const std::vector<Choice> timeOuts = {
    {L" 0 sec (always on)", 0, L"0 sec"}, {L"10 sec", 10, L"10 sec"},
    {L"30 sec", 30, L"30 sec"},           {L" 1 min", 60, L"1 min"},
    {L" 2 min", 120, L"2 min"},           {L" 3 min", 180, L"3 min"},
    {L" 5 min", 300, L"5 min"},           {L"10 min", 600, L"10 min"},
    {L"15 min", 900, L"15 min"},          {L"20 min", 1200, L"20 min"},
    {L"30 min", 1800, L"30 min"},         {L"60 min", 3600, L"60 min"},
};

const std::vector<Choice> offOn = {{L"Leave Unchanged", 0, L"Leave Unchanged"}, {L"Off", 1, L"Off"}, {L"On", 2, L"On"}};

const std::vector<ChoiceRow> choiceRows = {
    {1, L"0", volumes},
    {2, L"1", volumes},
    {3, L"2", volumes},
    {4, L"3", notificationVolumes},
    {22,
     L"9",
     {{L"<system>", 0, L"<system>"},
      {L"Ring", 1, L"Ring"},
      {L"Increasing Ring", 2, L"Increasing Ring"},
      {L"Ring once", 3, L"Ring once"},
      {L"Vibrate", 4, L"Vibrate"},
      {L"Vibrate and Ring", 5, L"Vibrate and Ring"},
      {L"Vibrate, then Ring", 6, L"Vibrate, then Ring"},
      {L"None", 7, L"None"},
      {L"Increasing Ring And Vibrate", 8, L"Increasing Ring And Vibrate"},
      {L"Fast Vibrate And Flash", 9, L"Fast Vibrate And Flash"},
      {L"Fast Vibrate, Flash And Ring", 10, L"Fast Vibrate, Flash And Ring"},
      {L"Vibrate and ring without pause", 11, L"Vibrate and ring without pause"},
      {L"Fast Vibrate, Flash And Increasing Ring", 12, L"Fast Vibrate, Flash And Increasing Ring"},
      {L"Vibrate 3 times then ring", 13, L"Vibrate 3 times then ring"}}},
    {23,
     L"13",
     {{L"None", 0, L"None"},
      {L"1 rings", 1, L"1 rings"},
      {L"2 rings", 2, L"2 rings"},
      {L"3 rings", 3, L"3 rings"},
      {L"4 rings", 4, L"4 rings"},
      {L"5 rings", 5, L"5 rings"},
      {L"6 rings", 6, L"6 rings"}}},
    {29,
     L"10",
     {{L"Leave Unchanged", 0, L"Leave Unchanged"},
      {L"Off", 1, L"Off"},
      {L"On", 2, L"On"},
      {L"Cycle radio (off/on)", 3, L"Cycle radio (off/on)"}}},
    {31,
     L"12",
     {{L"Leave Unchanged", 0, L"Leave Unchanged"},
      {L"Off", 1, L"Off"},
      {L"On", 2, L"On"},
      {L"Discoverable", 3, L"Discoverable"},
      {L"Activate on call", 4, L"Activate on call"}}},
    {33, L"24", offOn},
    {34,
     L"41",
     {{L"Leave Unchanged", 0, L"Leave Unchanged"},
      {L"Auto", 1, L"Auto"},
      {L"GSM/GPRS", 2, L"GSM/GPRS"},
      {L"UMTS (3G)", 3, L"UMTS (3G)"}}},
    {37, L"14", backlights},
    {38, L"21", backlights},
    {39, L"16", timeOuts},
    {40, L"17", timeOuts},
    {41, L"19", timeOuts},
    {42, L"20", timeOuts},
    {46,
     L"34",
     {{L"Leave Unchanged", 0, L"Leave Unchanged"},
      {L"Portrait", 1, L"Portrait"},
      {L"Landscape", 2, L"Landscape"},
      {L"Landscape Right", 3, L"Landscape Right"}}},
    {47,
     L"28",
     {{L"Leave Unchanged", 0, L"Leave Unchanged"},
      {L"Deactivate", 99, L"Deactivate"},
      {L" 5 min", 5, L"5 min"},
      {L"10 min", 10, L"10 min"},
      {L"15 min", 15, L"15 min"},
      {L"35 min", 35, L"35 min"},
      {L"65 min", 65, L"65 min"},
      {L"95 min", 95, L"95 min"}}},
    {48, L"29", offOn},
};

// Chooses an entry of the line in the editor, leaves the line, looks at what has become of it and comes back.
void checkChoice(const ProfilesPage &page, const ChoiceRow &row, int entry)
{
    const Choice &choice = row.choices[static_cast<size_t>(entry)];
    INFO("line " << row.line << ", entry " << entry);
    page.select(1289, entry);
    page.goTo(headingLine);
    const StoredValue stored = storedValue(row.name, keyOf(home).c_str());
    CHECK(stored.type == REG_DWORD);
    CHECK(stored.bytes.size() == 4);
    CHECK(number(home, row.name) == choice.stored);
    CHECK(page.value(row.line) == choice.shown);
    page.goTo(row.line);
    CHECK(page.selection(1289) == entry);
}

}   // namespace

TEST_CASE("every entry of every choice is stored as its number, shown in the list and chosen again")
{
    StartedPhone phone;
    removeKey(keyOf(home).c_str());
    ProfilesPage page;
    for (const ChoiceRow &row : choiceRows) {
        page.goTo(row.line);
        std::vector<std::wstring> entries;
        for (const Choice &choice : row.choices)
            entries.push_back(choice.entry);
        CHECK(joined(page.entries(1289)) == joined(entries));
        for (size_t entry = 0; entry < row.choices.size(); ++entry)
            checkChoice(page, row, static_cast<int>(entry));
    }
}

TEST_CASE("every switch is stored as 1 or 0 and shown as On or Off")
{
    struct Switch {
        int line;
        const wchar_t *name;
    };
    StartedPhone phone;
    ProfilesPage page;
    for (const Switch &row :
         {Switch{24, L"22"}, Switch{25, L"27"}, Switch{30, L"11"}, Switch{32, L"23"}, Switch{45, L"35"}}) {
        for (bool on : {true, false, true}) {
            INFO("line " << row.line << ", on " << on);
            page.goTo(row.line);
            page.check(1295, on);
            page.goTo(headingLine);
            CHECK(number(home, row.name) == (on ? 1u : 0u));
            CHECK(page.value(row.line) == (on ? L"On" : L"Off"));
            page.goTo(row.line);
            CHECK(page.isChecked(1295) == on);
        }
    }
}

namespace {

struct RepeatRow {
    int line;
    const wchar_t *interval;
    const wchar_t *count;
};

constexpr RepeatRow repeatRows[] = {{7, L"30", L"30_1"},  {10, L"40", L"40_1"}, {12, L"31", L"31_1"},
                                    {15, L"32", L"32_1"}, {17, L"33", L"33_1"}, {19, L"37", L"37_1"}};

struct RepeatChoice {
    int interval, count;
    DWORD storedCount;
    const wchar_t *shown;
};

// Each interval and each count at least once.
constexpr RepeatChoice repeatChoices[] = {
    {0, 2, 2, L"Default"},
    {1, 3, 0xFFFFFFFF, L"No alarm"},
    {2, 0, 0, L"1 x 20 sec"},
    {3, 1, 1, L"2 x 30 sec"},
    {4, 2, 2, L"3 x 1 min"},
    {5, 3, 3, L"4 x 2 min"},
    {6, 4, 4, L"5 x 3 min"},
    {7, 5, 5, L"7 x 4 min"},
    {8, 6, 6, L"10 x 5 min"},
    {9, 7, 7, L"15 x 10 min"},
    {10, 8, 8, L"20 x 15 min"},
    {11, 9, 9, L"30 x 30 min"},
    {10, 10, 10, L"Endless x 15 min"},
    {12, 1, 1, L"Escalate 5 min"},
    {13, 10, 10, L"Escalate 10 min"},
};

}   // namespace

TEST_CASE("every interval and count of a repeat is stored by its position and shown in words")
{
    StartedPhone phone;
    ProfilesPage page;
    for (const RepeatRow &row : repeatRows) {
        page.goTo(row.line);
        CHECK(joined(page.entries(1072)) ==
              "Default|No alarm|20 sec|30 sec| 1 min| 2 min| 3 min| 4 min| 5 min|10 min|15 min|30 min|Escalate 5 min|"
              "Escalate 10 min|");
        CHECK(joined(page.entries(1074)) == "1 x|2 x|3 x|4 x|5 x|7 x|10 x|15 x|20 x|30 x|Endless|");
        for (const RepeatChoice &choice : repeatChoices) {
            INFO("line " << row.line << ": " << narrow(choice.shown));
            page.goTo(row.line);
            page.select(1072, choice.interval);
            page.select(1074, choice.count);
            page.goTo(headingLine);
            CHECK(number(home, row.interval) == static_cast<DWORD>(choice.interval));
            CHECK(number(home, row.count) == choice.storedCount);
            CHECK(page.value(row.line) == choice.shown);
        }
    }
}

// ---- Editing: settings that are stored as texts -----------------------------------------------------------------------

namespace {

struct SoundRow {
    int line;
    const wchar_t *name;
    int combo;
    const wchar_t *specials;   // offered in front of the files
};

constexpr SoundRow soundRows[] = {
    {6, L"4", 1293, L"<system>|<silent>|<vibrate>|"},
    {9, L"39", 1293, L"<silent>|<vibrate>|"},
    {11, L"5", 1293, L"<silent>|<vibrate>|"},
    {14, L"6", 1293, L"<silent>|<vibrate>|"},
    {16, L"7", 1293, L"<silent>|<vibrate>|"},
    {18, L"36", 1293, L"<silent>|<vibrate>|"},
    {21, L"8", 1297, L"<system>|"},
};

std::string specialsOf(const ProfilesPage &page, int combo)
{
    std::string all;
    for (const std::wstring &entry : page.entries(combo))
        if (entry[0] == L'<')
            all += narrow(entry) + "|";
    return all;
}

}   // namespace

TEST_CASE("a sound and its three flags are stored by name and shown in the list")
{
    StartedPhone phone;
    ProfilesPage page;
    for (const SoundRow &row : soundRows) {
        const std::wstring name = row.name;
        for (bool flag : {true, false}) {
            for (const wchar_t *chosen : {L"alarm1.wav", L"ring1.wav"}) {
                INFO("line " << row.line << ": " << narrow(chosen));
                page.goTo(row.line);
                CHECK(specialsOf(page, row.combo) == narrow(row.specials));
                page.chooseEntry(row.combo, chosen);
                page.check(1327, flag);
                page.check(1326, !flag);
                page.check(1328, flag);
                page.goTo(headingLine);
                CHECK(storedValue(row.name, keyOf(home).c_str()).type == REG_SZ);
                CHECK(text(home, name) == chosen);
                CHECK(number(home, name + L"_1") == (flag ? 1u : 0u));
                CHECK(number(home, name + L"_11") == (flag ? 0u : 1u));
                CHECK(number(home, name + L"_111") == (flag ? 1u : 0u));
                CHECK(page.value(row.line) == chosen);
                page.goTo(row.line);
                CHECK(page.text(row.combo) == chosen);
                CHECK(page.isChecked(1327) == flag);
                CHECK(page.isChecked(1326) == !flag);
            }
        }
    }
}

TEST_CASE("a program is stored as it is typed")
{
    StartedPhone phone;
    ProfilesPage page;
    page.goTo(44);
    SetDlgItemTextW(page.handle(), 1291, L"\\Program Files\\Player\\player.exe");
    page.goTo(headingLine);
    CHECK(text(home, L"15") == L"\\Program Files\\Player\\player.exe");
    CHECK(page.value(44) == L"\\Program Files\\Player\\player.exe");
    page.goTo(44);
    CHECK(page.text(1291) == L"\\Program Files\\Player\\player.exe");
}

TEST_CASE("a SIM code is stored scrambled, shown as stars and kept when the row is left untouched")
{
    StartedPhone phone;
    ProfilesPage page;
    CHECK(page.value(43) == L"");
    page.goTo(43);
    CHECK(page.text(1355) == L"");
    SetDlgItemTextW(page.handle(), 1355, L"1234");
    page.goTo(headingLine);
    const std::wstring code = text(home, L"18");
    CHECK(code.size() == 4);
    CHECK(code != L"1234");
    CHECK(page.value(43) == L"****");
    page.goTo(43);
    CHECK(page.text(1355) == L"****");
    page.goTo(headingLine);
    CHECK(text(home, L"18") == code);
}

TEST_CASE("forwarding, snapshot and groups are stored as the text chosen")
{
    StartedPhone phone;
    phone.writeFile(L"\\Program Files\\Kelvane\\office.net", "x");
    storeText(L"emailGroups", L"Family^1;2\u00A7Boss^3\u00A7");
    wchar_t target[] = L"Office\u00A7555";
    extraSettings.forwardCall = duplicateText(target);
    struct TextRow {
        int line;
        const wchar_t *name;
        std::string entries;
        std::wstring chosen;
    };
    const std::string targets = narrow(L"Leave Unchanged|Off|Office\u00A7555|Office\u00A7555 conditional|");
    const TextRow textRows[] = {{26, L"25", targets, L"Off"},
                                {26, L"25", targets, L"Office\u00A7555 conditional"},
                                {27, L"26", targets, L"Office\u00A7555"},
                                {35, L"38", "Leave Unchanged|office|", L"office"},
                                {8, L"43", "None|Family|Boss|", L"Boss"},
                                {13, L"42", "None|Family|Boss|", L"Family"}};
    ProfilesPage page;
    for (const TextRow &row : textRows) {
        INFO("line " << row.line << ": " << narrow(row.chosen));
        page.goTo(row.line);
        CHECK(joined(page.entries(1289)) == row.entries);
        page.chooseEntry(1289, row.chosen);
        page.goTo(headingLine);
        CHECK(text(home, row.name) == row.chosen);
        CHECK(page.value(row.line) == row.chosen);
        page.goTo(row.line);
        CHECK(page.entry(1289, page.selection(1289)) == row.chosen);
    }
}

// ---- When a row is saved ----------------------------------------------------------------------------------------------

TEST_CASE("a tap on another line saves the row, also one that was not changed")
{
    StartedPhone phone;
    removeKey(keyOf(home).c_str());
    ProfilesPage page;
    CHECK_FALSE(keyExists(keyOf(home).c_str()));
    page.tap(2);
    CHECK(number(home, L"0") == 99);   // what a new profile begins with
    CHECK_FALSE(isStored(home, L"1"));
    CHECK(listEdited);
    page.tap(3);
    CHECK(number(home, L"1") == 99);
}

TEST_CASE("a heading leaves no row to be saved")
{
    StartedPhone phone;
    removeKey(keyOf(home).c_str());
    ProfilesPage page;
    page.tap(headingLine);
    CHECK(page.text(1287) == L"Volumes");
    removeKey(keyOf(home).c_str());
    listEdited = false;
    page.tap(5);
    page.tap(2);
    CHECK_FALSE(keyExists(keyOf(home).c_str()));
    CHECK_FALSE(listEdited);
    page.apply();
    CHECK(isStored(home, L"1"));
}

TEST_CASE("a tap beside the lines saves the row and leaves nothing to edit")
{
    StartedPhone phone("landscape");
    ProfilesPage page;
    page.tap(1);
    page.select(1289, 4);
    for (int nowhere : {-1, 49, 1000}) {
        page.goTo(nowhere);
        CHECK(number(home, L"0") == 40);
        CHECK(shownEditor(page).empty());
        CHECK(page.text(1287) == L"");
    }
    listEdited = false;
    page.chooseProfile(0);
    page.tap(2);
    CHECK_FALSE(listEdited);
    CHECK(shownEditor(page) == std::vector<int>{1289});
}

TEST_CASE("OK saves the row being edited, then the list is emptied and the Options dialog ended")
{
    StartedPhone phone;
    const INT_PTR result = runInOptionsDialog([] {
        ProfilesPage page;
        page.tap(3);
        page.select(1289, 7);
        page.notify(static_cast<UINT>(PSN_APPLY), 11);
        CHECK(page.lineCount() == 0);
        CHECK(SendMessageW(page.list(), LVM_GETCOLUMNWIDTH, 0, 0) == 0);
    });
    CHECK(result == 11);
    CHECK(number(home, L"2") == 100);
    CHECK(listEdited);
}

TEST_CASE("Cancel drops the row being edited, but not those saved before")
{
    StartedPhone phone;
    store(home, L"2", 20);
    const INT_PTR result = runInOptionsDialog([] {
        ProfilesPage page;
        page.tap(2);
        page.select(1289, 6);
        page.tap(3);
        page.select(1289, 7);
        page.notify(static_cast<UINT>(PSN_RESET), 12);
        CHECK(page.lineCount() == 0);
    });
    CHECK(result == 12);
    CHECK(number(home, L"1") == 80);
    CHECK(number(home, L"2") == 20);
}

TEST_CASE("OK after an import leaves the imported values alone")
{
    StartedPhone phone;
    store(home, L"2", 20);
    runInOptionsDialog([] {
        ProfilesPage page;
        page.tap(3);
        page.select(1289, 7);
        listEdited = false;
        settingsImported = true;
        page.notify(static_cast<UINT>(PSN_APPLY), 1);
        CHECK(page.lineCount() == 0);
    });
    CHECK(number(home, L"2") == 20);
    CHECK_FALSE(listEdited);
}

// ---- Profiles ---------------------------------------------------------------------------------------------------------

TEST_CASE("the selector offers the first profile and those in use")
{
    struct Mask {
        DWORD mask;
        const char *entries;
    };
    StartedPhone phone;
    for (const Mask &row : {Mask{0, "Home|"}, Mask{1, "Home|"}, Mask{8, "Home|Night|"}, Mask{0x42, "Home|Work|Flight|"},
                            Mask{0x7F, "Home|Work|Meeting|Night|Loud|Car|Flight|"}, Mask{0xFFFFFF80, "Home|"}}) {
        userSettings.activeProfiles = row.mask;
        ProfilesPage page;
        INFO("mask " << row.mask);
        CHECK(joined(page.entries(1253)) == row.entries);
        CHECK(page.selection(1253) == 0);
    }
}

TEST_CASE("a selector without a selection leaves the profile as it is")
{
    StartedPhone phone;
    userSettings.activeProfiles = 127;
    store(night, L"0", 40);
    ProfilesPage page;
    page.chooseProfile(night);
    page.chooseProfile(-1);
    CHECK(currentProfile == night);
    CHECK(page.value(1) == L"40 %");
}

namespace {

HWND selector;
std::vector<int> selectorHeights;

BOOL WINAPI noteSelectorHeight(HWND window, HWND behind, int x, int y, int width, int height, UINT flags)
{
    if (GetDlgCtrlID(window) == 1253)
        selectorHeights.push_back(height);
    return Intercept<__imp_SetWindowPos>::real(window, behind, x, y, width, height, flags);
}

// As on a system that counts the list in.
BOOL WINAPI droppedArea(HWND window, RECT *area)
{
    const BOOL known = Intercept<__imp_GetWindowRect>::real(window, area);
    if (window == selector)
        area->bottom = area->top + 180;
    return known;
}

LRESULT lowestAsked;

LRESULT WINAPI noteTextHeight(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (window == selector && message == CB_SETITEMHEIGHT && lParam < lowestAsked)
        lowestAsked = lParam;
    return Intercept<__imp_SendMessageW>::real(window, message, wParam, lParam);
}

}   // namespace

TEST_CASE("the selector drops to the height of the page's other lists")
{
    struct Row {
        const char *phone;
        int height;
    };
    for (const Row &row : {Row{"wm6", 180}, Row{"vga", 360}, Row{"landscape", 120}, Row{"square", 120}}) {
        StartedPhone phone(row.phone);
        selectorHeights.clear();
        Intercept<__imp_SetWindowPos> resizing(noteSelectorHeight);
        ProfilesPage page;
        SendMessageW(page.handle(), WM_SIZE, 0, 0);
        INFO(std::string(row.phone));
        CHECK(selectorHeights.size() >= 2);
        for (int height : selectorHeights)
            CHECK(height == row.height);
    }
}

TEST_CASE("the selector's text is never lowered to less than 12 pixels at 96 dots per inch")
{
    for (const char *name : {"wm6", "vga"}) {
        StartedPhone phone(name);
        ProfilesPage page;
        selector = page.control(1253);
        lowestAsked = 1000;
        Intercept<__imp_GetWindowRect> measuring(droppedArea);
        Intercept<__imp_SendMessageW> asking(noteTextHeight);
        for (int i = 0; i < 2; ++i)
            Intercept<__imp_SendMessageW>::real(page.handle(), WM_SIZE, 0, 0);
        INFO(std::string(name));
        CHECK(lowestAsked == (name == std::string("vga") ? 24 : 12));
    }
}

TEST_CASE("with profiles 0 and 3 only, the second entry is profile 3")
{
    StartedPhone phone;
    userSettings.activeProfiles = 8;
    removeKey(keyOf(work).c_str());
    store(night, L"0", 10);
    ProfilesPage page;
    CHECK(page.entryCount(1253) == 2);
    page.chooseProfile(1);
    CHECK(currentProfile == night);
    CHECK(page.value(1) == L"10 %");
    CHECK(page.entry(1289, page.selection(1289)) == L"10 %");
    page.select(1289, 5);
    page.tap(2);
    CHECK(number(night, L"0") == 60);
    CHECK_FALSE(keyExists(keyOf(work).c_str()));
}

TEST_CASE("each of the seven profiles is shown and saved by its own number")
{
    StartedPhone phone;
    userSettings.activeProfiles = 0x7E;
    for (int profile = 0; profile < 7; ++profile)
        store(profile, L"14", static_cast<DWORD>(10 * profile + 10));
    ProfilesPage page;
    page.tap(37);
    for (int profile = 0; profile < 7; ++profile) {
        INFO("profile " << profile);
        page.chooseProfile(profile);
        CHECK(currentProfile == profile);
        CHECK(page.value(37) == std::to_wstring(10 * profile + 10) + L" %");
        CHECK(page.selectedLine() == 37);
        CHECK(page.selection(1289) == profile + 2);   // "Leave Unchanged", "0 %", "10 %" ...
        page.select(1289, 11 - profile);
    }
    page.tap(headingLine);
    for (int profile = 0; profile < 7; ++profile)
        CHECK(number(profile, L"14") == static_cast<DWORD>(100 - 10 * profile));
}

TEST_CASE("a change of profile saves the edit to the old profile and shows the same row of the new one")
{
    StartedPhone phone;
    store(home, L"41", 1);
    store(work, L"41", 2);
    ProfilesPage page;
    page.tap(34);
    page.select(1289, 3);
    listEdited = false;
    page.chooseProfile(1);
    CHECK(listEdited);
    CHECK(number(home, L"41") == 3);
    CHECK(number(work, L"41") == 2);
    CHECK(page.value(34) == L"GSM/GPRS");
    CHECK(page.selection(1289) == 2);
    CHECK(page.selectedLine() == 34);
    page.chooseProfile(0);
    CHECK(page.value(34) == L"UMTS (3G)");
    CHECK(page.selection(1289) == 3);
}

TEST_CASE("the arrow keys change the profile in the closed selector")
{
    StartedPhone phone;
    ProfilesPage page;
    SendMessageW(page.control(1253), WM_KEYDOWN, VK_DOWN, 0);
    CHECK(page.selection(1253) == 1);
    CHECK(currentProfile == work);
}

TEST_CASE("the profile given at start is shown first, one that is not in use gives way to the first")
{
    StartedPhone phone;
    userSettings.activeProfiles = 0xC;
    store(meeting, L"0", 20);
    store(home, L"0", 40);
    startProfile = meeting;
    {
        ProfilesPage page;
        CHECK(page.selection(1253) == 1);
        CHECK(currentProfile == meeting);
        CHECK(page.value(1) == L"20 %");
    }
    startProfile = work;
    ProfilesPage page;
    CHECK(page.selection(1253) == 0);
    CHECK(currentProfile == home);
    CHECK(page.value(1) == L"40 %");
}

// ---- Icons and buttons ------------------------------------------------------------------------------------------------

namespace {

// Closes the dialog that an icon opens, after a look at it.
void whenDialogOpens(const std::function<void(HWND dialog)> &script)
{
    static const std::function<void(HWND)> *pending;
    pending = &script;
    SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR timer, DWORD) {
        HWND dialog = nullptr;
        EnumThreadWindows(
            GetCurrentThreadId(),
            [](HWND window, LPARAM found) -> BOOL {
                wchar_t name[16] = L"";
                GetClassNameW(window, name, 16);
                if (wcscmp(name, L"#32770") != 0 || !IsWindowVisible(window))
                    return TRUE;
                *reinterpret_cast<HWND *>(found) = window;
                return FALSE;
            },
            reinterpret_cast<LPARAM>(&dialog));
        if (!dialog)
            return;
        KillTimer(nullptr, timer);
        (*pending)(dialog);
    });
}

}   // namespace

TEST_CASE("Edit Profiles renames and hides profiles; a profile that is hidden while it is shown gives way to the first")
{
    StartedPhone phone;
    userSettings.activeProfiles = 0xA;
    store(night, L"0", 10);
    store(home, L"0", 80);
    ProfilesPage page;
    page.chooseProfile(2);
    CHECK(currentProfile == night);
    page.select(1289, 3);
    bool opened = false;
    const std::function<void(HWND)> script = [&](HWND dialog) {
        opened = true;
        SetDlgItemTextW(dialog, 1351, L"Office");
        SendDlgItemMessageW(dialog, 1346, BM_SETCHECK, BST_UNCHECKED, 0);
        SendMessageW(dialog, WM_COMMAND, IDOK, 0);
    };
    whenDialogOpens(script);
    page.tapIcon(1280);
    CHECK(opened);
    CHECK(joined(page.entries(1253)) == "Home|Office|");
    CHECK(page.selection(1253) == 0);
    CHECK(currentProfile == home);
    CHECK(number(night, L"0") == 20);   // the edit was saved where it was made
    CHECK(page.value(1) == L"80 %");
    CHECK(page.entry(1289, page.selection(1289)) == L"80 %");
}

TEST_CASE("Edit Profiles that leaves the profile in use changes nothing but the selector")
{
    StartedPhone phone;
    userSettings.activeProfiles = 0xA;
    ProfilesPage page;
    page.chooseProfile(2);
    page.select(1289, 3);
    listEdited = false;
    const std::function<void(HWND)> script = [](HWND dialog) { SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0); };
    whenDialogOpens(script);
    page.tapIcon(1280);
    CHECK(page.selection(1253) == 2);
    CHECK(currentProfile == night);
    CHECK(page.selection(1289) == 3);
    CHECK_FALSE(listEdited);
}

TEST_CASE("the schedule's icon opens the Profile Time dialog")
{
    StartedPhone phone;
    ProfilesPage page;
    bool opened = false;
    const std::function<void(HWND)> script = [&](HWND dialog) {
        opened = true;
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    };
    whenDialogOpens(script);
    page.tapIcon(1268);
    CHECK(opened);
}

TEST_CASE("a picker library is asked for programs, music, documents, pictures or any file that is there")
{
    for (const char *library : {"tgetfile", "gsgetfile"}) {
        StartedPhone phone;
        phone.writeFile((L"\\Windows\\" + widen(library) + L".dll").c_str(), pickerLibrary(library));
        SetEnvironmentVariableW(L"KV_PICKER_ANSWER", L"\\play.exe");
        SetEnvironmentVariableW(L"KV_PICKER_ASKED", nullptr);
        ProfilesPage page;
        page.tap(44);
        page.click(1325);
        SetEnvironmentVariableW(L"KV_PICKER_ANSWER", nullptr);
        wchar_t asked[1024] = L"";
        GetEnvironmentVariableW(L"KV_PICKER_ASKED", asked, 1024);
        CHECK(narrow(asked) ==
              (library == std::string("tgetfile") ? "tGetFile 0" : "gsGetOpenFileName") +
                  std::string(" size 76 owner 0 filter Exe|*.exe|"
                              "Music|*.mp3;*.mp4;*.wav;*.asx;*.ogg;*.ra;*.rm;*.ram;*.wma;*.vqf;|"
                              "Documents|*.pwi;*.psw;*.pxl|Graphics|*.bmp;*.gif;*.jpg;*.png|All files|*.*| index 0 "
                              "file '' of 260 title 'Dismiss Battery' flags 0x1804"));
        CHECK(page.text(1291) == L"\\play.exe");
        page.tap(headingLine);
        CHECK(text(home, L"15") == L"\\play.exe");
    }
}

TEST_CASE("without a picker library the program is picked in Find File and saved with the row")
{
    StartedPhone phone;
    phone.writeFile(L"\\play.exe", "x");
    ProfilesPage page;
    page.tap(44);
    const std::function<void(HWND)> script = [](HWND dialog) {
        SetDlgItemTextW(dialog, 1320, L"\\play.exe");
        SendMessageW(dialog, WM_COMMAND, IDOK, 0);
    };
    whenDialogOpens(script);
    page.click(1325);
    CHECK(page.text(1291) == L"\\play.exe");
    CHECK_FALSE(isStored(home, L"15"));
    const std::function<void(HWND)> cancelling = [](HWND dialog) {
        SetDlgItemTextW(dialog, 1320, L"\\other.exe");
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    };
    whenDialogOpens(cancelling);
    page.click(1325);
    CHECK(page.text(1291) == L"\\play.exe");
    page.tap(headingLine);
    CHECK(text(home, L"15") == L"\\play.exe");
}

TEST_CASE("the help icon and a help request open the page's chapter")
{
    StartedPhone phone;
    ProfilesPage page;
    SendMessageW(page.handle(), WM_HELP, 0, 0);
    CHECK(phone.journal("process") == std::vector<std::string>{"process peghelp.exe Kelvane.htm#options-profile"});
    page.tapIcon(1140);
    waitFor([&] { return phone.journal("process").size() == 2; });
    CHECK(phone.journal("process").size() == 2);
}

namespace {

std::vector<std::wstring> played;
std::vector<DWORD> volumesAsked;

// Stands for the thread that would play: it is over at once.
HANDLE WINAPI notePreview(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID volume, DWORD, LPDWORD)
{
    played.push_back(previewName);
    volumesAsked.push_back(static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(volume)));
    previewName[0] = 0;
    return CreateEventW(nullptr, TRUE, TRUE, nullptr);
}

}   // namespace

TEST_CASE("the play icon plays the sound in the editor, the ring tone from its own list")
{
    StartedPhone phone;
    played.clear();
    volumesAsked.clear();
    Intercept<__imp_CreateThread> starting(notePreview);
    ProfilesPage page;
    page.tap(6);
    page.chooseEntry(1293, L"alarm1.wav");
    page.tapIcon(1290);
    page.tap(21);
    page.chooseEntry(1297, L"ring1.wav");
    page.tapIcon(1290);
    CHECK(joined(played) == "alarm1.wav|ring1.wav|");
    CHECK(volumesAsked == std::vector<DWORD>{1, 1});
    const std::wstring name99(99, L'n'), name100(100, L'n');
    SetDlgItemTextW(page.handle(), 1297, name99.c_str());
    page.tapIcon(1290);
    CHECK(played.back() == name99);
    SetDlgItemTextW(page.handle(), 1297, (name100 + L"cut").c_str());
    page.tapIcon(1290);
    CHECK(played.back() == name99);   // of which the preview takes 99
}

TEST_CASE("special names are not played, in no language")
{
    StartedPhone phone;
    phone.writeLanguageFile(L"DE", {L"Test", L"61=vibrieren", L"93=System", L"94=still"});
    played.clear();
    Intercept<__imp_CreateThread> starting(notePreview);
    ProfilesPage page;
    page.tap(6);
    for (const wchar_t *name : {L"<system>", L"<vibrate>", L"<silent>", L"<anything", L"<", L""}) {
        SetDlgItemTextW(page.handle(), 1293, name);
        page.tapIcon(1290);
    }
    userSettings.lang = german;
    for (const wchar_t *name : {L"vibrieren", L"System", L"still"}) {
        SetDlgItemTextW(page.handle(), 1293, name);
        page.tapIcon(1290);
    }
    CHECK(joined(played) == "");
    SetDlgItemTextW(page.handle(), 1293, L"stiller.wav");
    page.tapIcon(1290);
    CHECK(joined(played) == "stiller.wav|");
}

TEST_CASE("the second tap of two does not ask an icon again")
{
    StartedPhone phone;
    played.clear();
    Intercept<__imp_CreateThread> starting(notePreview);
    ProfilesPage page;
    page.tap(6);
    page.chooseEntry(1293, L"alarm1.wav");
    SendMessageW(page.handle(), WM_COMMAND, MAKEWPARAM(1290, STN_DBLCLK), 0);
    CHECK(played.empty());
}

TEST_CASE("the icons of header and editor are there at both resolutions, and released with the page")
{
    for (const char *name : {"wm6", "vga"}) {
        StartedPhone phone(name);
        {
            ProfilesPage first;
        }   // what the controls keep for the process is there after the first time
        const int before = SimLiveGdi();
        {
            ProfilesPage page;
            for (int id : {1268, 1280, 1351, 1290, 1140}) {
                RECT area;
                GetClientRect(page.control(id), &area);
                INFO(std::string(name) << ", icon " << id);
                CHECK(SendMessageW(page.control(id), STM_GETICON, 0, 0) != 0);
                CHECK(area.right == (std::string(name) == "vga" ? 32 : 16));
            }
        }
        CHECK(SimLiveGdi() == before);
    }
}

// ---- In the sheet -----------------------------------------------------------------------------------------------------

namespace {

RECT placeOf(HWND page, int id)
{
    RECT area;
    GetWindowRect(GetDlgItem(page, id), &area);
    MapWindowPoints(nullptr, page, reinterpret_cast<POINT *>(&area), 2);
    return area;
}

int selectedLineOf(HWND list)
{
    return static_cast<int>(SendMessageW(list, LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED));
}

std::wstring textOf(HWND page, int id)
{
    wchar_t text[200] = L"";
    GetDlgItemTextW(page, id, text, 200);
    return text;
}

}   // namespace

// What a person does who taps the export icon and then a button of the dialog; message boxes are agreed to. Answers whether
// the sheet was confirmed by it. The page has an edit that is not saved yet.
static bool tapExportIcon(HWND sheet, int button)
{
    static bool ended;
    ended = false;
    const Intercept<__imp_MessageBoxW> agreeing(
        [](HWND, LPCWSTR, LPCWSTR, UINT style) -> int { return (style & MB_TYPEMASK) == MB_YESNO ? IDYES : IDOK; });
    const Intercept<__imp_EndDialog> ending([](HWND dialog, INT_PTR result) -> BOOL {
        ended |= dialog == optionsDialog;
        return Intercept<__imp_EndDialog>::real(dialog, result);
    });
    const HWND page = showPage(sheet, 3);
    SendDlgItemMessageW(page, 1289, CB_SETCURSEL, 3, 0);   // 20 %
    CHECK(runModal([=] { SendMessageW(page, WM_COMMAND, MAKEWPARAM(1351, STN_CLICKED), 0); },
                   [=](HWND dialog) {
                       CHECK(windowText(dialog) == L"Export / Import");
                       SendMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(button), 0);
                   }));
    waitFor([] { return ended; }, settingsImported ? 20000 : 200);
    return ended;
}

TEST_CASE("imported settings close the sheet, and the row being edited is not written over them")
{
    StartedPhone phone;
    phone.writeFile(L"\\Program Files\\Kelvane\\kv_Export.txt",
                    "Software\\Tessaryn\\Kelvane\\0\r\n\r\n0=4,80\r\n1=4,40\r\n\r\n");
    store(home, L"0", 60);
    runOptions([](HWND sheet) { CHECK(tapExportIcon(sheet, IDOK)); });
    CHECK(settingsImported);
    CHECK(number(home, L"0") == 80);
    CHECK(number(home, L"1") == 40);
}

TEST_CASE("after an export, or an import that found no file, the sheet goes on")
{
    StartedPhone phone;
    store(home, L"0", 60);
    runOptions([&](HWND sheet) {
        CHECK_FALSE(tapExportIcon(sheet, IDOK));   // imports, but there is no file
        CHECK_FALSE(phone.fileExists(L"\\Program Files\\Kelvane\\kv_Export.txt"));
        CHECK_FALSE(tapExportIcon(sheet, IDCANCEL));   // exports
        CHECK(phone.fileExists(L"\\Program Files\\Kelvane\\kv_Export.txt"));
        CHECK_FALSE(settingsImported);
        tapOk(sheet);
    });
    CHECK(number(home, L"0") == 20);   // the edit came through
}

TEST_CASE("in the sheet the arrow keys act like taps, while the page is shown")
{
    StartedPhone phone;
    runOptions([](HWND sheet) {
        const HWND page = showPage(sheet, 3);
        const HWND list = GetDlgItem(page, 1266);
        CHECK(currentPage == page);
        SendMessageW(list, WM_KEYDOWN, VK_DOWN, 0);
        CHECK(selectedLineOf(list) == 2);
        CHECK(textOf(page, 1287) == L"Ringer volume for incoming calls");
        CHECK(isStored(home, L"0"));
        SendMessageW(list, WM_KEYDOWN, VK_UP, 0);
        CHECK(selectedLineOf(list) == 1);
        CHECK(textOf(page, 1287) == L"Volume for all standard alarms");
        const LONG_PTR taken = GetWindowLongPtrW(list, GWLP_WNDPROC);
        showPage(sheet, 1);
        CHECK(GetWindowLongPtrW(list, GWLP_WNDPROC) != taken);
        showPage(sheet, 3);
        CHECK(GetWindowLongPtrW(list, GWLP_WNDPROC) == taken);
        CHECK(currentPage == page);
    });
}

TEST_CASE("in the sheet the list fills what the input panel leaves, with the line being edited in sight")
{
    struct Fit {
        const char *phone;
        LONG listWidth, down, up;   // the list's width, and its height with the panel down and up
    };
    for (const Fit &fit : {Fit{"wm6", 240, 118, 38}, Fit{"vga", 480, 236, 76}, Fit{"square", 240, 38, 0}}) {
        StartedPhone phone(fit.phone);
        INFO(std::string(fit.phone));
        runOptions([&](HWND sheet) {
            const HWND page = showPage(sheet, 3);
            const HWND list = GetDlgItem(page, 1266);
            const int scale = std::string(fit.phone) == "vga" ? 2 : 1;
            RECT area = placeOf(page, 1266);
            CHECK(area.left == scale);
            CHECK(area.top == 130 * scale);
            CHECK(area.right - area.left == fit.listWidth);
            CHECK(area.bottom - area.top == fit.down);
            SendMessageW(list, WM_KEYDOWN, VK_DOWN, 0);
            SendMessageW(list, WM_KEYDOWN, VK_DOWN, 0);
            SimSetPanel(TRUE);
            area = placeOf(page, 1266);
            CHECK(area.bottom - area.top == fit.up);
            const LRESULT top = SendMessageW(list, LVM_GETTOPINDEX, 0, 0);
            if (fit.up) {
                CHECK(top <= 3);
                CHECK(3 < top + SendMessageW(list, LVM_GETCOUNTPERPAGE, 0, 0));
            }
            SimSetPanel(FALSE);
            area = placeOf(page, 1266);
            CHECK(area.bottom - area.top == fit.down);
        });
    }
}

TEST_CASE("in the sheet the header's controls reach the right edge of every screen, above the rule")
{
    for (const char *name : {"wm6", "vga", "landscape", "square"}) {
        StartedPhone phone(name);
        runOptions([&](HWND sheet) {
            const HWND page = showPage(sheet, 3);
            const int scale = std::string(name) == "vga" ? 2 : 1;
            RECT client;
            GetClientRect(page, &client);
            LONG right = client.right - 3 * scale;
            for (int id : {1140, 1351, 1280, 1268}) {
                const RECT icon = placeOf(page, id);
                INFO(std::string(name) << ", icon " << id);
                CHECK(icon.right == right);
                CHECK(icon.top == scale);
                right = icon.left - 4 * scale;
            }
            const RECT selector = placeOf(page, 1253);
            CHECK(selector.right == right);
            CHECK(selector.bottom <= 21 * scale);
            RECT scrolled;
            GetClientRect(GetDlgItem(page, 1266), &scrolled);
            CHECK(scrolled.right >= (130 + 95) * scale);   // no scroll bar along the bottom
        });
    }
}

TEST_CASE("in the sheet OK saves the row being edited")
{
    StartedPhone phone;
    runOptions([](HWND sheet) {
        const HWND page = showPage(sheet, 3);
        SendDlgItemMessageW(page, 1289, CB_SETCURSEL, 2, 0);
        tapOk(sheet);
    });
    CHECK(number(home, L"0") == 10);
}

TEST_CASE("the program's start takes the profile that the page begins with")
{
    StartedPhone phone;
    int profile = -1;
    runProgram(L"2", [&](HWND sheet) {
        showPage(sheet, 3);
        profile = currentProfile;
    });
    CHECK(profile == 2);
}

// ---- Room -------------------------------------------------------------------------------------------------------------

namespace {

SIZE measured(const std::wstring &text, UINT format, int width = 0)
{
    const HDC dc = GetDC(nullptr);
    const HGDIOBJ old = SelectObject(dc, GetStockObject(SYSTEM_FONT));
    RECT area = {0, 0, width, 0};
    DrawTextW(dc, text.c_str(), -1, &area, format | DT_CALCRECT | DT_NOPREFIX);
    SelectObject(dc, old);
    ReleaseDC(nullptr, dc);
    return {area.right, area.bottom};
}

// Pixels at 96 dots per inch that a drop-down list needs beside its text, with the phone's 13 for the arrow.
constexpr int arrowAndEdges = 19;

void checkEditorRoom(const ProfilesPage &page, int scale)
{
    const RECT area = placeOf(page.handle(), 1287);
    const SIZE description = measured(page.text(1287), DT_WORDBREAK, area.right - area.left);
    INFO("description " << narrow(page.text(1287)));
    CHECK(description.cx <= area.right - area.left);
    CHECK(description.cy <= area.bottom - area.top);
    for (int combo : {1289, 1072, 1074}) {
        if (!page.isShown(combo))
            continue;
        const RECT place = placeOf(page.handle(), combo);
        for (const std::wstring &entry : page.entries(combo)) {
            INFO("list " << combo << ": " << narrow(entry));
            CHECK(measured(entry, DT_SINGLELINE).cx <= place.right - place.left - arrowAndEdges * scale);
        }
    }
}

}   // namespace

TEST_CASE("descriptions and entries of every editor have room, in English and German")
{
    for (const char *name : {"wm6", "vga"}) {
        StartedPhone phone(name);
        for (DWORD language : {DWORD{0}, german}) {
            userSettings.lang = language;
            ProfilesPage page;
            for (int line = 0; line < page.lineCount(); ++line) {
                page.goTo(line);
                INFO(std::string(name) << ", language " << language << ", line " << line);
                checkEditorRoom(page, std::string(name) == "vga" ? 2 : 1);
            }
        }
    }
}

TEST_CASE("opening and closing the page keeps no memory, key or file")
{
    StartedPhone phone;
    {
        ProfilesPage first;
    }
    const int allocations = SimLiveAllocations(), keys = SimLiveKeys(), files = SimLiveFiles();
    {
        ProfilesPage page;
        page.tap(6);
        page.chooseProfile(1);
        page.apply();
    }
    CHECK(SimLiveAllocations() == allocations);
    CHECK(SimLiveKeys() == keys);
    CHECK(SimLiveFiles() == files);
}
