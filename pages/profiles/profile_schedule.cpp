#include "profile_schedule.h"

#include <initializer_list>

#include "appointment_categories.h"
#include "control_icon.h"
#include "dialog.h"
#include "environment.h"
#include "key_operated.h"
#include "language.h"
#include "locale_time.h"
#include "location_file.h"
#include "log.h"
#include "profile_schedule_data.h"
#include "resource.h"
#include "scaling.h"
#include "shell_values.h"
#include "user_settings.h"

namespace {

// The dialog exists once.
struct ScheduleDialog {
    bool isLoaded;   // the list shows all that was stored: else it must not take that one's place
    bool eventMode;
    bool chosenDays[weekdayCount];
    HBRUSH chosenDayBrush;
    HBRUSH otherDayBrush;
};

ScheduleDialog state;

constexpr ControlText labels[] = {
    {IDC_SWITCH_TO_TEXT, 186}, {IDC_ON_TEXT, 187},    {IDC_AT_TEXT, 188},
    {IDC_EVENT_HINT, 190},     {IDC_ADD_SWITCH, 184}, {IDC_DELETE_SWITCH, 185},
};

constexpr ControlIcon icons[] = {
    {IDC_TO_EVENT_MODE, IDI_EVENT},
    {IDC_TO_TIME_MODE, IDI_SCHEDULE},
    {IDC_SWITCH_UP, IDI_UP},
    {IDC_SWITCH_DOWN, IDI_DOWN},
};

// What can be tapped without being a button.
constexpr int tappedIcons[] = {IDC_TO_EVENT_MODE, IDC_TO_TIME_MODE, IDC_SWITCH_UP, IDC_SWITCH_DOWN};

constexpr int dayLettersText = 189;   // the seven letters in one text, Monday first

// A chosen day is inverted: white on the blue of the pages' titles.
constexpr COLORREF chosenDayGround = RGB(0, 0, 156);
constexpr COLORREF chosenDayLetter = RGB(255, 255, 255);
constexpr COLORREF otherDayGround = RGB(255, 255, 255);
constexpr COLORREF otherDayLetter = RGB(0, 0, 0);

// Widths at 96 dots per inch. The last column takes what is left of the list when that is more.
struct Column {
    int text;
    int width;
};

constexpr Column columns[] = {{191, 80}, {192, 40}, {193, 92}};
constexpr int columnCount = countOf(columns);
constexpr int lastColumn = columnCount - 1;
constexpr int besideColumns = 18;   // a scroll bar and the list's frame

// The events that do not depend on the phone, in the order they are offered.
constexpr int eventTexts[] = {201, 202, 199, 200};
constexpr size_t eventCapacity = 50;    // 49 characters of an event's name are stored
constexpr size_t placeCapacity = 300;   // of an entry made of a place's name

// ---- The list -----------------------------------------------------------------------------------------------------

// One line of the list; large, for the heap.
struct Line {
    LPARAM when;
    wchar_t cells[columnCount][scheduleCapacity];
};

// A heap object that goes with its owner.
template <typename Object> struct Owned {
    Owned() : object(new Object) {}
    ~Owned() { delete object; }
    Owned(const Owned &) = delete;
    Owned &operator=(const Owned &) = delete;

    Object *const object;
};

HWND listOf(HWND dialog)
{
    return GetDlgItem(dialog, IDC_SWITCH_LIST);
}

int lineCount(HWND list)
{
    return static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
}

// The first selected line behind a line, or of all behind -1; -1 when there is none.
int nextSelectedLine(HWND list, int behind)
{
    return static_cast<int>(SendMessageW(list, LVM_GETNEXTITEM, static_cast<WPARAM>(behind), LVNI_SELECTED));
}

bool isSelected(HWND list, int index)
{
    return SendMessageW(list, LVM_GETITEMSTATE, index, LVIS_SELECTED) != 0;
}

void selectLine(HWND list, int index)
{
    LVITEMW item = {};
    item.stateMask = item.state = LVIS_SELECTED | LVIS_FOCUSED;
    SendMessageW(list, LVM_SETITEMSTATE, index, reinterpret_cast<LPARAM>(&item));
}

// Returns where the line is; -1 when it could not be inserted.
int insertLine(HWND list, int index, const wchar_t *profile, LPARAM when)
{
    LVITEMW item = {};
    item.mask = LVIF_TEXT | LVIF_PARAM;
    item.iItem = index;
    item.pszText = const_cast<wchar_t *>(profile);
    item.lParam = when;
    return static_cast<int>(SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item)));
}

void setCell(HWND list, int index, int column, const wchar_t *text)
{
    LVITEMW item = {};
    item.iSubItem = column;
    item.pszText = const_cast<wchar_t *>(text);
    SendMessageW(list, LVM_SETITEMTEXTW, index, reinterpret_cast<LPARAM>(&item));
}

void readCell(HWND list, int index, int column, wchar_t (&text)[scheduleCapacity])
{
    LVITEMW item = {};
    item.iSubItem = column;
    item.pszText = text;
    item.cchTextMax = scheduleCapacity;
    text[0] = 0;
    SendMessageW(list, LVM_GETITEMTEXTW, index, reinterpret_cast<LPARAM>(&item));
}

void readLine(HWND list, int index, Line &line)
{
    LVITEMW item = {};
    item.mask = LVIF_PARAM;
    item.iItem = index;
    SendMessageW(list, LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item));
    line.when = item.lParam;
    for (int column = 0; column < columnCount; ++column)
        readCell(list, index, column, line.cells[column]);
}

// There are two of the line for a moment, so that none is lost when there is no memory for the second.
void moveLine(HWND list, int from, int to, Line &line)
{
    readLine(list, from, line);
    const bool isDown = to > from;
    const int index = insertLine(list, isDown ? to + 1 : to, line.cells[0], line.when);
    if (index < 0)
        return;
    for (int column = 1; column < columnCount; ++column)
        setCell(list, index, column, line.cells[column]);
    SendMessageW(list, LVM_DELETEITEM, isDown ? from : from + 1, 0);
    selectLine(list, to);
    SendMessageW(list, LVM_ENSUREVISIBLE, to, FALSE);
}

void insertColumns(HWND list)
{
    SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_FULLROWSELECT, LVS_EX_FULLROWSELECT);
    for (int index = 0; index < columnCount; ++index) {
        LVCOLUMNW column = {};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
        column.cx = scaleX(columns[index].width);
        column.iSubItem = index;
        column.pszText = const_cast<wchar_t *>(getLanguageText(columns[index].text, nullptr));
        SendMessageW(list, LVM_INSERTCOLUMNW, index, reinterpret_cast<LPARAM>(&column));
    }
}

void emptyList(HWND list)
{
    SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
    for (int index = columnCount - 1; index >= 0; --index)
        SendMessageW(list, LVM_DELETECOLUMN, index, 0);
}

// ---- Place --------------------------------------------------------------------------------------------------------

void widenLastColumn(HWND list)
{
    RECT area;
    GetWindowRect(list, &area);
    int width = area.right - area.left - scaleX(besideColumns);
    for (int index = 0; index < lastColumn; ++index)
        width -= scaleX(columns[index].width);
    if (width > scaleX(columns[lastColumn].width))
        SendMessageW(list, LVM_SETCOLUMNWIDTH, lastColumn, width);
}

// The template's list is as small as the smallest screen; on every screen it ends as far from the edges as it begins.
void fitList(HWND dialog)
{
    const HWND list = listOf(dialog);
    RECT client, outside, area;
    if (!list || !GetClientRect(dialog, &client) || !GetWindowRect(dialog, &outside) || !GetWindowRect(list, &area))
        return;
    const int margin = area.left - outside.left, top = area.top - outside.top;
    SetWindowPos(list, nullptr, 0, 0, client.right - 2 * margin, client.bottom - top - margin,
                 SWP_NOMOVE | SWP_NOZORDER);
    widenLastColumn(list);
}

// ---- Modes --------------------------------------------------------------------------------------------------------

bool isVisible(HWND control)
{
    return (GetWindowLongPtrW(control, GWL_STYLE) & WS_VISIBLE) != 0;
}

void show(HWND dialog, int control, bool visible)
{
    ShowWindow(GetDlgItem(dialog, control), visible ? SW_SHOW : SW_HIDE);
}

// Nobody could go on by keys from a control that has been hidden.
void keepFocusVisible(HWND dialog, HWND focus, int refuge)
{
    if (focus && GetParent(focus) == dialog && !isVisible(focus))
        SetFocus(GetDlgItem(dialog, refuge));
}

void switchMode(HWND dialog, bool eventMode)
{
    constexpr int inTimeMode[] = {IDC_TO_EVENT_MODE, IDC_AT_TEXT, IDC_SWITCH_TIME};
    constexpr int inEventMode[] = {IDC_TO_TIME_MODE, IDC_EVENT, IDC_EVENT_HINT};
    const HWND focus = GetFocus();
    state.eventMode = eventMode;
    for (int control : inTimeMode)
        show(dialog, control, !eventMode);
    for (int day = 0; day < weekdayCount; ++day)
        show(dialog, IDC_MONDAY + day, !eventMode);
    for (int control : inEventMode)
        show(dialog, control, eventMode);
    keepFocusVisible(dialog, focus, eventMode ? IDC_TO_TIME_MODE : IDC_TO_EVENT_MODE);
}

void toEventMode(HWND dialog)
{
    switchMode(dialog, true);
}

void toTimeMode(HWND dialog)
{
    switchMode(dialog, false);
}

// ---- Days ---------------------------------------------------------------------------------------------------------

bool isDay(int control)
{
    return control >= IDC_MONDAY && control < IDC_MONDAY + weekdayCount;
}

// A translation with fewer letters leaves the last days as the template has them.
void labelDays(HWND dialog)
{
    const wchar_t *letters = getLanguageText(dayLettersText, nullptr);
    for (int day = 0; day < weekdayCount && letters[day]; ++day) {
        const wchar_t letter[] = {letters[day], 0};
        SendDlgItemMessageW(dialog, IDC_MONDAY + day, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(letter));
    }
}

void toggleDay(HWND dialog, int control)
{
    bool &chosen = state.chosenDays[control - IDC_MONDAY];
    chosen = !chosen;
    InvalidateRect(GetDlgItem(dialog, control), nullptr, TRUE);
}

void createBrushes()
{
    state.chosenDayBrush = CreateSolidBrush(chosenDayGround);
    state.otherDayBrush = CreateSolidBrush(otherDayGround);
}

void deleteBrushes()
{
    DeleteObject(state.chosenDayBrush);
    DeleteObject(state.otherDayBrush);
    state.chosenDayBrush = state.otherDayBrush = nullptr;
}

INT_PTR colourControl(HDC dc, HWND control)
{
    SetBkMode(dc, TRANSPARENT);
    const int id = GetDlgCtrlID(control);
    if (!isDay(id))
        return reinterpret_cast<INT_PTR>(backgroundBrush);
    const bool chosen = state.chosenDays[id - IDC_MONDAY];
    SetTextColor(dc, chosen ? chosenDayLetter : otherDayLetter);
    return reinterpret_cast<INT_PTR>(chosen ? state.chosenDayBrush : state.otherDayBrush);
}

// ---- Filling ------------------------------------------------------------------------------------------------------

const wchar_t *profileName(int profile)
{
    return profile >= 0 && profile < profileCount ? userSettings.profileNames[profile] : L"";
}

void prepareTimePicker(HWND dialog)
{
    wchar_t format[timeTextCapacity];
    localeTimePickerFormat(format);
    SendDlgItemMessageW(dialog, IDC_SWITCH_TIME, DTM_SETFORMATW, 0, reinterpret_cast<LPARAM>(format));
}

// An entry's item value is one more than its profile's number.
void fillProfiles(HWND dialog)
{
    const HWND combo = GetDlgItem(dialog, IDC_SWITCH_PROFILE);
    for (int profile = 0; profile < profileCount; ++profile) {
        if (profile > 0 && !(userSettings.activeProfiles & 1u << profile))
            continue;
        const LRESULT entry = SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(profileName(profile)));
        SendMessageW(combo, CB_SETITEMDATA, entry, profile + 1);
    }
    SendMessageW(combo, CB_SETCURSEL, 0, 0);
}

void fillList(HWND list)
{
    wchar_t text[scheduleCapacity];
    if (!readSchedule(text))
        return;
    if (!text[0])   // at once: Cancel does not bring them back
        userSettings.activeSyncProfile = userSettings.ACPowerProfile = static_cast<DWORD>(-1);
    wchar_t *rest = text;
    ScheduleEntry entry;
    int entries = 0;
    for (; nextScheduleEntry(rest, entry); ++entries)
        addScheduleLine(list, entries, entry.profile, entry.when, entry.time);
    state.isLoaded = lineCount(list) == entries;
}

// combo is the window of the list of events.
void addEvent(void *combo, const wchar_t *name)
{
    SendMessageW(static_cast<HWND>(combo), CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(name));
}

void addPlace(void *combo, const wchar_t *name)
{
    for (const wchar_t *format : {L"[%s]", L"Leave [%s]"}) {
        wchar_t entry[placeCapacity];
        formatText(entry, format, name);
        addEvent(combo, entry);
    }
}

void fillEvents(HWND dialog)
{
    const HWND combo = GetDlgItem(dialog, IDC_EVENT);
    for (int text : eventTexts)
        addEvent(combo, getLanguageText(text, nullptr));
    SendMessageW(combo, CB_SETCURSEL, 0, 0);   // whatever becomes of the others
    listAppointmentCategories(addEvent, combo);
    listLocations(addPlace, combo);
}

void fillDialog(HWND dialog)
{
    setControlTexts(dialog, labels);
    labelDays(dialog);
    prepareTimePicker(dialog);
    fillProfiles(dialog);
    insertColumns(listOf(dialog));
    widenLastColumn(listOf(dialog));
    fillList(listOf(dialog));
    fillEvents(dialog);
    toTimeMode(dialog);
}

void prepareControls(HWND dialog)
{
    loadControlIcons(dialog, icons);
    for (int icon : tappedIcons)
        makeKeyOperated(dialog, icon);
    for (int day = 0; day < weekdayCount; ++day)
        makeKeyOperated(dialog, IDC_MONDAY + day);
}

void begin(HWND dialog)
{
    state = {};
    createBrushes();
    prepareControls(dialog);
    makeFullScreen(dialog);
    try {
        fillDialog(dialog);
    } catch (...) {
        writeLog("** Exception ProfileTimeDlgProc - init **");
    }
}

void release(HWND dialog)
{
    destroyControlIcons(dialog, icons);
    deleteBrushes();
}

// ---- Changing the list --------------------------------------------------------------------------------------------

// Profile 0, which is always in use, when none is selected.
int selectedProfile(HWND dialog)
{
    const HWND combo = GetDlgItem(dialog, IDC_SWITCH_PROFILE);
    const LRESULT entry = SendMessageW(combo, CB_GETCURSEL, 0, 0);
    return entry < 0 ? 0 : static_cast<int>(SendMessageW(combo, CB_GETITEMDATA, entry, 0)) - 1;
}

void addNewLine(HWND dialog, const wchar_t *when, const wchar_t *time)
{
    if (!when[0]) {
        if (userSettings.loggingOption & logBasic)
            writeLog("Add Time ignored: wDays not defined!");
        return;
    }
    const HWND list = listOf(dialog);
    addScheduleLine(list, lineCount(list), selectedProfile(dialog), when, time);
    SendMessageW(list, LVM_ENSUREVISIBLE, lineCount(list) - 1, FALSE);
}

// A longer name is cut, as it has always been: that of a place loses its bracket.
void addEventLine(HWND dialog)
{
    wchar_t name[eventCapacity] = L"";
    GetDlgItemTextW(dialog, IDC_EVENT, name, eventCapacity);
    addNewLine(dialog, name, L"");
}

void addTimeLine(HWND dialog)
{
    SYSTEMTIME chosen = {};
    SendDlgItemMessageW(dialog, IDC_SWITCH_TIME, DTM_GETSYSTEMTIME, 0, reinterpret_cast<LPARAM>(&chosen));
    wchar_t time[timeTextCapacity];
    formatTimeOfDay(time, chosen.wHour, chosen.wMinute);
    wchar_t digits[weekdayCount + 1];
    formatDayDigits(digits, state.chosenDays);
    addNewLine(dialog, digits, time);
}

void addSwitch(HWND dialog)
{
    if (state.eventMode)
        addEventLine(dialog);
    else
        addTimeLine(dialog);
}

void deleteSwitch(HWND dialog)
{
    const HWND list = listOf(dialog);
    const int line = nextSelectedLine(list, -1);
    if (line >= 0)
        SendMessageW(list, LVM_DELETEITEM, line, 0);
}

// The selected lines are taken from the end they move to, so that none is met again at its new place. Each is looked at by
// itself: of two selected lines at the end, the outer one stays and the other changes places with it.
void moveUp(HWND dialog)
{
    const HWND list = listOf(dialog);
    const Owned<Line> line;
    for (int index = nextSelectedLine(list, -1); index >= 0; index = nextSelectedLine(list, index))
        if (index > 0)
            moveLine(list, index, index - 1, *line.object);
}

void moveDown(HWND dialog)
{
    const HWND list = listOf(dialog);
    const Owned<Line> line;
    for (int index = lineCount(list) - 2; index >= 0; --index)
        if (isSelected(list, index))
            moveLine(list, index, index + 1, *line.object);
}

// ---- End ----------------------------------------------------------------------------------------------------------

// Of profiles with the same name, the first is meant; an unknown name is profile 0.
int profileOfName(const wchar_t *name)
{
    for (int profile = 0; profile < profileCount; ++profile)
        if (wcscmp(name, userSettings.profileNames[profile]) == 0)
            return profile;
    return 0;
}

// A line is known as an event's by its parameter. One whose name begins with a digit is taken for days, and only this
// number of it is stored; so it has always been.
bool storeLine(const Line &line, ScheduleText &text)
{
    const wchar_t *when = line.cells[2];
    wchar_t digits[16];
    if (line.when >= 1) {
        formatText(digits, L"%d", static_cast<int>(line.when));
        when = digits;
    }
    if (!text.add(profileOfName(line.cells[0]), when, line.cells[1]))
        return false;
    if (line.when < 1 && isAppointmentEvent(when))
        userSettings.outlookCheck = 1;
    return true;
}

void buildText(HWND list, Line &line, ScheduleText &text)
{
    const int lines = lineCount(list);
    for (int index = 0; index < lines; ++index) {
        readLine(list, index, line);
        if (!storeLine(line, text))
            break;
    }
}

// What follows from the stored schedule. It is put back at the end of the scope, unless another schedule has been stored.
class FollowingSettings {
public:
    FollowingSettings() = default;
    FollowingSettings(const FollowingSettings &) = delete;
    FollowingSettings &operator=(const FollowingSettings &) = delete;
    ~FollowingSettings()
    {
        if (isOutdated)
            return;
        userSettings.activeSyncProfile = activeSyncProfile;
        userSettings.ACPowerProfile = powerProfile;
        userSettings.outlookCheck = outlookCheck;
    }

    bool isOutdated = false;

private:
    const DWORD activeSyncProfile = userSettings.activeSyncProfile;
    const DWORD powerProfile = userSettings.ACPowerProfile;
    const DWORD outlookCheck = userSettings.outlookCheck;
};

void saveSchedule(HWND dialog)
{
    const Owned<ScheduleText> text;
    const Owned<Line> line;
    FollowingSettings former;
    resetScheduleSettings();
    if (userSettings.loggingOption & logDetailed)
        writeLog("ProfileTimeDlgProc settings saved");
    buildText(listOf(dialog), *line.object, *text.object);
    takeProfilesFrom(text.object->text);
    former.isOutdated = writeSchedule(text.object->text) == ERROR_SUCCESS;
}

void end(HWND dialog, INT_PTR result)
{
    emptyList(listOf(dialog));
    EndDialog(dialog, result);
}

// A dialog that cannot save its settings closes all the same. A schedule that could not be read stays as it is, with what
// follows from it.
void confirm(HWND dialog)
{
    try {
        if (state.isLoaded)
            saveSchedule(dialog);
        else
            writeLog("ProfileTimeDlgProc: not read, not saved");
    } catch (...) {
        writeLog("** Exception ProfileTimeDlgProc - save **");
    }
    end(dialog, IDOK);
}

void cancel(HWND dialog)
{
    end(dialog, IDCANCEL);
}

// ---- Commands -----------------------------------------------------------------------------------------------------

struct Action {
    int control;
    void (*perform)(HWND dialog);
};

constexpr Action actions[] = {
    {IDC_TO_EVENT_MODE, toEventMode},
    {IDC_TO_TIME_MODE, toTimeMode},
    {IDC_ADD_SWITCH, addSwitch},
    {IDC_DELETE_SWITCH, deleteSwitch},
    {IDC_SWITCH_UP, moveUp},
    {IDC_SWITCH_DOWN, moveDown},
    {IDOK, confirm},
    {IDCANCEL, cancel},
};

bool perform(HWND dialog, int control)
{
    if (isDay(control)) {
        toggleDay(dialog, control);
        return true;
    }
    for (const Action &action : actions) {
        if (action.control == control) {
            action.perform(dialog);
            return true;
        }
    }
    return false;
}

// Of two quick taps on an icon or a day, the second is one as well.
bool isTap(int notification)
{
    return notification == STN_CLICKED || notification == STN_DBLCLK;
}

bool command(HWND dialog, WPARAM wParam)
{
    try {
        return isTap(HIWORD(wParam)) && perform(dialog, LOWORD(wParam));
    } catch (...) {
        writeLog("** Exception ProfileTimeDlgProc **");
        return true;
    }
}

}   // namespace

void addScheduleLine(HWND list, int index, int profile, const wchar_t *when, const wchar_t *time)
{
    const int line = insertLine(list, index, profileName(profile), _wtol(when));
    if (line < 0)
        return;
    if (!time[0]) {
        setCell(list, line, 2, when);
        return;
    }
    wchar_t days[dayNamesCapacity];
    formatDayNames(days, when);
    setCell(list, line, 1, time);
    setCell(list, line, 2, days);
}

INT_PTR CALLBACK ProfileTimeDlgProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        begin(dialog);
        return TRUE;
    case WM_COMMAND:
        return command(dialog, wParam);
    case WM_SIZE:
        fitList(dialog);
        return FALSE;
    case WM_DESTROY:
        release(dialog);
        return FALSE;
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORBTN:
        return colourControl(reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam));
    }
    return FALSE;
}

void showProfileSchedule(HWND owner)
{
    showDialog(owner, isLandscape ? IDD_PROFILE_TIME_LANDSCAPE : IDD_PROFILE_TIME, ProfileTimeDlgProc);
}
