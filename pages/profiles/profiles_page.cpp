#include "profiles_page.h"

#include "commdlg.h"
#include "current_profile.h"
#include "edit_profiles.h"
#include "export_import_dialog.h"
#include "file_pickers.h"
#include "key_operated.h"
#include "language.h"
#include "main_list.h"
#include "option_file.h"
#include "page_chrome.h"
#include "profile_editor.h"
#include "profile_record.h"
#include "profile_schedule.h"
#include "resource.h"
#include "scaling.h"
#include "sheet_notification.h"
#include "shell_values.h"
#include "sound_catalogue.h"
#include "sound_preview.h"
#include "user_settings.h"

int currentProfile;

namespace {

constexpr ControlIcon headerIcons[] = {
    // from right to left
    {IDC_EXPORT, IDI_EXPORT},
    {IDC_EDIT_PROFILES, IDI_EDIT_PROFILES},
    {IDC_SCHEDULE, IDI_SCHEDULE},
};

constexpr PageChrome chrome = {90, L"options-profile", headerIcons, countOf(headerIcons)};

constexpr ControlIcon playIcon = {IDC_PLAY, IDI_PLAY};

constexpr ControlText labels[] = {
    {IDC_POPUP, 182},
    {IDC_VIBRATE, 183},
    {IDC_REPEAT_TEXT, 40},
    {IDC_SWITCH, 132},
};

constexpr int noRow = -1;
constexpr int firstRow = 1;   // the one edited at first; row 0 is a heading

int editedRow = noRow;   // of profileSettings; noRow while none is edited
int editedLine;          // the list's line clicked last

// ---- The list -----------------------------------------------------------------------------------------------------

constexpr int valueColumn = 1;

HWND listOf(HWND page)
{
    return GetDlgItem(page, IDC_MAIN_LIST);
}

bool isRow(int row)
{
    return row >= 0 && row < profileSettingCount;
}

bool isHeading(int row)
{
    return isRow(row) && profileSettings[row].kind == profileHeading;
}

void addLine(HWND list, int line, int row)
{
    LVITEMW item = {};
    item.mask = LVIF_TEXT | LVIF_PARAM;
    item.iItem = line;
    item.pszText = const_cast<wchar_t *>(getLanguageText(profileSettings[row].label, nullptr));
    item.lParam = row;
    SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
}

void addLines(HWND list)
{
    int line = 0;
    for (int row = 0; row < profileSettingCount; ++row)
        if (profileSettings[row].shown)
            addLine(list, line++, row);
}

// noRow for a line that does not exist, as when the space below the last one was tapped.
int rowOfLine(HWND list, int line)
{
    LVITEMW item = {};
    item.mask = LVIF_PARAM;
    item.iItem = line;
    if (line < 0 || !SendMessageW(list, LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item)))
        return noRow;
    return static_cast<int>(item.lParam);
}

void showValue(HWND list, int line, wchar_t *text)
{
    LVITEMW item = {};
    item.iSubItem = valueColumn;
    item.pszText = text;
    SendMessageW(list, LVM_SETITEMTEXTW, line, reinterpret_cast<LPARAM>(&item));
}

void selectLine(HWND list, int line)
{
    if (line < 0)   // which the list would take for all of them
        return;
    LVITEMW item = {};
    item.stateMask = item.state = LVIS_SELECTED | LVIS_FOCUSED;
    SendMessageW(list, LVM_SETITEMSTATE, line, reinterpret_cast<LPARAM>(&item));
}

void bringIntoSight(HWND list, int line)
{
    if (line >= 0)
        SendMessageW(list, LVM_ENSUREVISIBLE, line, FALSE);
}

INT_PTR colourLine(HWND page, LPARAM lParam)
{
    NMLVCUSTOMDRAW *const drawInfo = reinterpret_cast<NMLVCUSTOMDRAW *>(lParam);
    return listCustomDraw(page, drawInfo, isHeading(static_cast<int>(drawInfo->nmcd.lItemlParam)));
}

// ---- Which rows there are -----------------------------------------------------------------------------------------

// A row that is only there when the engine watches what it is about.
struct WatchedSetting {
    int setting;
    DWORD UserSettings::*watch;
    bool isRepeat;
};

constexpr WatchedSetting watchedSettings[] = {
    {42, &UserSettings::emailCustomAlarms, false},
    {43, &UserSettings::emailCustomAlarms, false},
    {7, &UserSettings::missedCalls, false},
    {33, &UserSettings::missedCalls, true},
    {6, &UserSettings::voiceMail, false},
    {32, &UserSettings::voiceMail, true},
    {4, &UserSettings::SMS, false},
    {30, &UserSettings::SMS, true},
    {39, &UserSettings::MMS, false},
    {40, &UserSettings::MMS, true},
    {5, &UserSettings::Email, false},
    {31, &UserSettings::Email, true},
    {36, &UserSettings::reminders, false},
    {37, &UserSettings::reminders, true},
};

void chooseRows()
{
    for (ProfileSettingDescriptor &row : profileSettings)
        for (const WatchedSetting &watched : watchedSettings)
            if (row.setting == watched.setting)
                row.shown = userSettings.*watched.watch && !(watched.isRepeat && optionFlags.hideProfileAlarmRepeats);
}

// ---- Profiles -----------------------------------------------------------------------------------------------------

bool isInUse(int profile)
{
    return profile == 0 || (userSettings.activeProfiles & 1u << profile);
}

// Returns the entry's position.
LRESULT addProfile(HWND selector, int profile)
{
    const LRESULT entry =
        SendMessageW(selector, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(userSettings.profileNames[profile]));
    SendMessageW(selector, CB_SETITEMDATA, entry, profile);
    return entry;
}

// Selects the current profile; the first one when that is not in use.
void fillProfileSelector(HWND page)
{
    const HWND selector = GetDlgItem(page, IDC_PROFILE_SELECTOR);
    LRESULT selection = 0;
    SendMessageW(selector, CB_RESETCONTENT, 0, 0);
    for (int profile = 0; profile < profileCount; ++profile) {
        if (!isInUse(profile))
            continue;
        const LRESULT entry = addProfile(selector, profile);
        if (profile == currentProfile)
            selection = entry;
    }
    SendMessageW(selector, CB_SETCURSEL, selection, 0);
}

int selectedProfile(HWND page)
{
    const HWND selector = GetDlgItem(page, IDC_PROFILE_SELECTOR);
    const LRESULT entry = SendMessageW(selector, CB_GETCURSEL, 0, 0);
    if (entry < 0)   // no profile has been chosen, so none is left
        return currentProfile;
    return static_cast<int>(SendMessageW(selector, CB_GETITEMDATA, entry, 0));
}

void fillProfileValues(HWND page, int profile)
{
    wchar_t text[profileTextCapacity];
    int line = 0;
    for (int row = 0; row < profileSettingCount; ++row)
        if (loadProfileValueText(profile, row, text))
            showValue(listOf(page), line++, text);
}

// ---- The edited row -----------------------------------------------------------------------------------------------

void saveEditedRow(HWND page)
{
    if (editedRow == noRow)
        return;
    saveControl(page, currentProfile, editedRow);
    listEdited = true;
}

void leaveEditedRow(HWND page)
{
    if (editedRow == noRow)
        return;
    saveEditedRow(page);
    wchar_t text[profileTextCapacity];
    if (loadProfileValueText(currentProfile, editedRow, text))
        showValue(listOf(page), editedLine, text);
    editedRow = noRow;
}

// A heading is shown but there is nothing in it to edit. Without a row there is no editor either: what was typed into it
// would go nowhere.
void editRow(HWND page, int row)
{
    if (isRow(row)) {
        fillProfileEditor(page, currentProfile, row);
    } else {
        hideProfileEditor(page);
        SetDlgItemTextW(page, IDC_DESCRIPTION, L"");
    }
    editedRow = isRow(row) && !isHeading(row) ? row : noRow;
}

void clickLine(HWND page, LPARAM lParam)
{
    leaveEditedRow(page);
    editedLine = reinterpret_cast<const NMLISTVIEW *>(lParam)->iItem;
    editRow(page, rowOfLine(listOf(page), editedLine));
}

void changeProfile(HWND page)
{
    saveEditedRow(page);
    currentProfile = selectedProfile(page);
    fillProfileValues(page, currentProfile);
    if (editedRow != noRow)
        fillProfileEditor(page, currentProfile, editedRow);
    selectLine(listOf(page), editedLine);
    InvalidateRect(page, nullptr, TRUE);
}

// ---- Buttons and icons --------------------------------------------------------------------------------------------

constexpr size_t soundTextCapacity = 101;           // 100 characters of a sound's name are read
constexpr int specialSoundTexts[] = {93, 61, 94};   // "<system>", "<vibrate>", "<silent>"

// A name that stands for something else than a file.
bool isSpecialSound(const wchar_t *name)
{
    for (int text : specialSoundTexts)
        if (wcscmp(name, getLanguageText(text, nullptr)) == 0)
            return true;
    return name[0] == L'<';
}

void previewSelectedSound(HWND page, int row)
{
    if (!isRow(row))
        return;
    wchar_t name[soundTextCapacity] = L"";
    const int combo = profileSettings[row].setting == ringToneSetting ? IDC_RING_TONE : IDC_ALARM_SOUND;
    GetDlgItemTextW(page, combo, name, countOf(name));
    if (!isSpecialSound(name))
        playSoundFile(name, currentVolume);
}

void playSelectedSound(HWND page)
{
    previewSelectedSound(page, editedRow);
}

constexpr PickRequest programRequest = {
    L"Exe\0*.exe\0"
    L"Music\0*.mp3;*.mp4;*.wav;*.asx;*.ogg;*.ra;*.rm;*.ram;*.wma;*.vqf;\0"
    L"Documents\0*.pwi;*.psw;*.pxl\0"
    L"Graphics\0*.bmp;*.gif;*.jpg;*.png\0"
    L"All files\0*.*\0",
    OFN_HIDEREADONLY | OFN_PATHMUSTEXIST | OFN_FILEMUSTEXIST,
    false,
};

void pickProgram(HWND page)
{
    pickFile(page, IDC_PROGRAM, programRequest);
}

// The profile shown may no longer be in use: then the page goes on with the one that the selector has instead.
void editProfiles(HWND page)
{
    showEditProfiles(page);
    fillProfileSelector(page);
    if (selectedProfile(page) != currentProfile)
        changeProfile(page);
}

// Settings that have come back from a file are complete: the sheet is confirmed, and no page writes its controls over them.
// What is in the editor belongs to what is exported or copied.
void exportOrImport(HWND page)
{
    saveEditedRow(page);
    showExportImport(page, currentProfile);
    if (settingsImported)
        PostMessageW(GetParent(page), PSM_PRESSBUTTON, PSBTN_OK, 0);
}

struct Action {
    WPARAM command;
    void (*run)(HWND page);
};

constexpr Action actions[] = {
    {MAKEWPARAM(IDC_PROFILE_SELECTOR, CBN_SELENDOK), changeProfile},
    {MAKEWPARAM(IDC_PLAY, STN_CLICKED), playSelectedSound},
    {MAKEWPARAM(IDC_BROWSE, BN_CLICKED), pickProgram},
    {MAKEWPARAM(IDC_EXPORT, STN_CLICKED), exportOrImport},
    {MAKEWPARAM(IDC_EDIT_PROFILES, STN_CLICKED), editProfiles},
    {MAKEWPARAM(IDC_SCHEDULE, STN_CLICKED), showProfileSchedule},
};

bool runAction(HWND page, WPARAM command)
{
    for (const Action &action : actions)
        if (action.command == command) {
            action.run(page);
            return true;
        }
    return false;
}

// ---- The page -----------------------------------------------------------------------------------------------------

// Lower than a drop-down list is by itself, for the rule below it to stay free.
constexpr int selectorHeight = 20;   // at 96 dots per inch, as all of these
constexpr int lowestText = 12;
constexpr int selectorGap = 4;   // to the icons

int heightOf(HWND control)
{
    RECT area;
    return GetWindowRect(control, &area) ? area.bottom - area.top : 0;
}

// What is asked for is the height of the text's area, and how much the edges add to it is the system's affair. A system
// that tells the height of the dropped list would have it lowered to nothing.
void lowerProfileSelector(HWND selector)
{
    LRESULT textHeight = SendMessageW(selector, CB_GETITEMHEIGHT, static_cast<WPARAM>(-1), 0);
    while (heightOf(selector) > scaleY(selectorHeight) && --textHeight >= scaleY(lowestText))
        SendMessageW(selector, CB_SETITEMHEIGHT, static_cast<WPARAM>(-1), textHeight);
}

// The selector takes the header's room between title and icons.
void fitProfileSelector(HWND page)
{
    const HWND selector = GetDlgItem(page, IDC_PROFILE_SELECTOR);
    RECT area, nextIcon;
    GetWindowRect(selector, &area);
    GetWindowRect(GetDlgItem(page, IDC_SCHEDULE), &nextIcon);
    const int width = nextIcon.left - scaleX(selectorGap) - area.left;
    SetWindowPos(selector, nullptr, 0, 0, width, listDropHeight(), SWP_NOMOVE | SWP_NOZORDER);
    lowerProfileSelector(selector);
}

// The Advanced page has no use for these, so the template hides them.
void showHeaderControls(HWND page)
{
    ShowWindow(GetDlgItem(page, IDC_PROFILE_SELECTOR), SW_SHOW);
    for (const ControlIcon &row : headerIcons) {
        ShowWindow(GetDlgItem(page, row.control), SW_SHOW);
        makeKeyOperated(page, row.control);
    }
}

void fillSoundLists(HWND page)
{
    loadSoundCombo(GetDlgItem(page, IDC_ALARM_SOUND), 0);
    loadSoundCombo(GetDlgItem(page, IDC_RING_TONE), 1);
}

void fillList(HWND page)
{
    const HWND list = listOf(page);
    chooseRows();
    addMainListColumns(page);
    addLines(list);
    fillSoundLists(page);
    fillProfileValues(page, currentProfile);
    hideProfileEditor(page);
    editedLine = firstRow;   // no row before it is ever hidden
    editRow(page, firstRow);
    selectLine(list, editedLine);
}

void beginPage(HWND page)
{
    currentPage = page;
    setControlTexts(page, labels);
    loadControlIcon(page, playIcon);
    makeKeyOperated(page, IDC_PLAY);
    showHeaderControls(page);
    fitProfileSelector(page);
    currentProfile = startProfile;
    fillProfileSelector(page);
    currentProfile = selectedProfile(page);   // the one asked for at start may not be in use
    fillList(page);
    layoutMainList(page, 0, 1);
    bringIntoSight(listOf(page), 0);   // selecting a line may have scrolled the list while it was smaller
    InvalidateRect(page, nullptr, TRUE);
    UpdateWindow(page);
}

// The line being edited stays in sight when the input panel comes up over the list.
void fitList(HWND page, WPARAM settingChange, int initial)
{
    layoutMainList(page, settingChange, initial);
    bringIntoSight(listOf(page), editedLine);
}

INT_PTR activatePage(HWND page)
{
    currentPage = page;
    attachMainListKeys(page);
    fitList(page, 0, 0);
    SetWindowLongPtrW(page, DWL_MSGRESULT, 0);
    return TRUE;
}

INT_PTR deactivatePage(HWND page)
{
    detachMainListKeys(page);
    SetWindowLongPtrW(page, DWL_MSGRESULT, FALSE);   // the page lets itself be left
    return TRUE;
}

INT_PTR endPage(HWND page, LPARAM lParam)
{
    if (!endOnSheetNotification(page, lParam, saveEditedRow))
        return FALSE;
    editedRow = noRow;
    emptyMainList(page);
    return TRUE;
}

INT_PTR answerList(HWND page, LPARAM lParam)
{
    switch (reinterpret_cast<const NMHDR *>(lParam)->code) {
    case NM_CUSTOMDRAW:
        return colourLine(page, lParam);
    case NM_CLICK:
        clickLine(page, lParam);
        return TRUE;
    }
    return FALSE;
}

INT_PTR answerNotification(HWND page, LPARAM lParam)
{
    const NMHDR &notification = *reinterpret_cast<const NMHDR *>(lParam);
    if (notification.idFrom == IDC_MAIN_LIST)
        return answerList(page, lParam);
    switch (notification.code) {
    case PSN_SETACTIVE:
        return activatePage(page);
    case PSN_KILLACTIVE:
        return deactivatePage(page);
    }
    return endPage(page, lParam);
}

}   // namespace

INT_PTR CALLBACK ProfilesPageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        beginPage(page);
        break;
    case WM_SIZE:
        pageChromeMessage(chrome, page, message, wParam, lParam);   // places the icons that the selector ends at
        fitProfileSelector(page);
        fitList(page, 0, 1);
        return FALSE;
    case WM_SETTINGCHANGE:
        fitList(page, wParam, 0);
        break;
    case WM_NOTIFY:
        return answerNotification(page, lParam);
    case WM_COMMAND:
        if (runAction(page, wParam))
            return TRUE;
        break;
    case WM_DESTROY:
        destroyControlIcon(page, playIcon);
        break;
    }
    return pageChromeMessage(chrome, page, message, wParam, lParam);
}
