#include "profile_editor.h"

#include "log.h"
#include "main_list.h"
#include "network_snapshots.h"
#include "profile_record.h"
#include "resource.h"

namespace {

bool fillFailed;   // then the controls hold another row's values, or half of this one's, which must not be saved

void showControl(HWND page, int id)
{
    ShowWindow(GetDlgItem(page, id), SW_SHOW);
}

void setText(HWND page, int id, const wchar_t *text)
{
    SendDlgItemMessageW(page, id, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
}

void readControlText(HWND page, int id, ProfileEdit &edit)
{
    GetDlgItemTextW(page, id, edit.text, countOf(edit.text));
}

void setCheck(HWND page, int id, bool checked)
{
    SendDlgItemMessageW(page, id, BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
}

bool isChecked(HWND page, int id)
{
    return SendDlgItemMessageW(page, id, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

// ---- Drop-down lists ----------------------------------------------------------------------------------------------

void addEntry(HWND combo, const wchar_t *entry)
{
    SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entry));
}

void selectEntry(HWND combo, int entry)
{
    SendMessageW(combo, CB_SETCURSEL, static_cast<WPARAM>(entry), 0);
}

int selectedEntry(HWND page, int id)
{
    return static_cast<int>(SendDlgItemMessageW(page, id, CB_GETCURSEL, 0, 0));
}

// The next entry behind a position that is the text in whatever letter case; past the last one it goes on with the first.
// noEntry when there is none.
int findAnyCase(HWND combo, int behind, const wchar_t *text)
{
    return static_cast<int>(
        SendMessageW(combo, CB_FINDSTRINGEXACT, static_cast<WPARAM>(behind), reinterpret_cast<LPARAM>(text)));
}

// Of a list of files, whose names differ by more than their letter case.
int findFile(HWND combo, const wchar_t *name)
{
    return findAnyCase(combo, noEntry, name);
}

bool isEntry(HWND combo, int index, const wchar_t *text)
{
    wchar_t entry[profileTextCapacity];
    if (SendMessageW(combo, CB_GETLBTEXTLEN, index, 0) >= static_cast<LRESULT>(countOf(entry)))
        return false;
    SendMessageW(combo, CB_GETLBTEXT, index, reinterpret_cast<LPARAM>(entry));
    return wcscmp(entry, text) == 0;
}

// Of a list of names that the user has made up: "Family" and "family" are two of them. noEntry when there is none.
int findText(HWND combo, const wchar_t *text)
{
    for (int last = noEntry;;) {
        const int index = findAnyCase(combo, last, text);
        if (index <= last)   // there is none, or the search has come round
            return noEntry;
        if (isEntry(combo, index, text))
            return index;
        last = index;
    }
}

HWND emptiedCombo(HWND page, int id)
{
    const HWND combo = GetDlgItem(page, id);
    SendMessageW(combo, CB_RESETCONTENT, 0, 0);
    return combo;
}

// Where nothing is stored the list begins with its first entry; a text that is not among the entries selects none.
int entryOfText(HWND combo, const ProfileEdit &edit, int (*find)(HWND combo, const wchar_t *text))
{
    if (edit.text[0])
        return find(combo, edit.text);
    return edit.foreign ? noEntry : 0;
}

// ---- Switches -----------------------------------------------------------------------------------------------------

void fillSwitch(HWND page, int, const ProfileEdit &edit)
{
    setCheck(page, IDC_SWITCH, edit.on);
    showControl(page, IDC_SWITCH);
}

void readSwitch(HWND page, int, ProfileEdit &edit)
{
    edit.on = isChecked(page, IDC_SWITCH);
}

// ---- Volumes and choices ------------------------------------------------------------------------------------------

void addNumberEntries(HWND combo, int setting, int count)
{
    wchar_t entry[profileTextCapacity];
    for (int i = 0; i < count; ++i) {
        profileEntryText(setting, i, entry);
        addEntry(combo, entry);
        if (setting == ringTypeSetting)
            SendMessageW(combo, CB_SETITEMDATA, i, ringTypeItemValue(i));
    }
}

void addTextEntries(HWND combo, int setting)
{
    listTextEntries(setting, addEntry, combo);
    if (setting == snapshotSetting)
        listSnapshots(combo, 0);
}

void fillChoice(HWND page, int setting, const ProfileEdit &edit)
{
    const HWND combo = emptiedCombo(page, IDC_CHOICE);
    if (const int count = profileEntryCount(setting)) {
        addNumberEntries(combo, setting, count);
        selectEntry(combo, edit.entry);
    } else {
        addTextEntries(combo, setting);
        selectEntry(combo, entryOfText(combo, edit, findText));
    }
    showControl(page, IDC_CHOICE);
}

void readChoice(HWND page, int, ProfileEdit &edit)
{
    edit.entry = selectedEntry(page, IDC_CHOICE);
    readControlText(page, IDC_CHOICE, edit);
}

// ---- Alarm sounds -------------------------------------------------------------------------------------------------

int soundCombo(int setting)
{
    return setting == ringToneSetting ? IDC_RING_TONE : IDC_ALARM_SOUND;
}

// The page has filled the list for all settings alike. Here the special names come and go, in front and in their order.
void offerSpecialSounds(HWND combo, int setting)
{
    int position = 0;
    for (int i = 0; i < specialSoundCount; ++i) {
        const wchar_t *name = specialSoundName(i);
        const int entry = findFile(combo, name);
        const bool offered = offersSpecialSound(setting, i);
        if (offered && entry < 0)
            SendMessageW(combo, CB_INSERTSTRING, position, reinterpret_cast<LPARAM>(name));
        else if (!offered && entry >= 0)
            SendMessageW(combo, CB_DELETESTRING, entry, 0);
        position += offered;
    }
}

// A sound that is not in the list, as when its card has been taken out, is shown all the same, and in its own letter case.
void selectSound(HWND page, int control, const ProfileEdit &edit)
{
    const HWND combo = GetDlgItem(page, control);
    SendMessageW(combo, CB_LIMITTEXT, MAX_PATH - 1, 0);
    selectEntry(combo, noEntry);
    selectEntry(combo, entryOfText(combo, edit, findFile));
    if (edit.text[0])
        setText(page, control, edit.text);
}

void showSoundControls(HWND page, int setting)
{
    showControl(page, soundCombo(setting));
    showControl(page, IDC_PLAY);
    if (setting == ringToneSetting)
        return;
    showControl(page, IDC_POPUP);
    showControl(page, IDC_LED);
    showControl(page, IDC_VIBRATE);
}

void fillAlarmSound(HWND page, int setting, const ProfileEdit &edit)
{
    offerSpecialSounds(GetDlgItem(page, soundCombo(setting)), setting);
    selectSound(page, soundCombo(setting), edit);
    setCheck(page, IDC_POPUP, edit.popup);
    setCheck(page, IDC_LED, edit.led);
    setCheck(page, IDC_VIBRATE, edit.vibrate);
    showSoundControls(page, setting);
}

// The ring tone's boxes are not shown, but hold what is stored and write it back.
void readAlarmSound(HWND page, int setting, ProfileEdit &edit)
{
    readControlText(page, soundCombo(setting), edit);
    edit.popup = isChecked(page, IDC_POPUP);
    edit.led = isChecked(page, IDC_LED);
    edit.vibrate = isChecked(page, IDC_VIBRATE);
}

// ---- Repeats ------------------------------------------------------------------------------------------------------

void fillRepeatCounts(HWND page, int count)
{
    const HWND combo = emptiedCombo(page, IDC_REPETITIONS);
    wchar_t entry[profileTextCapacity];
    for (int i = 0; i < repeatCountEntries; ++i) {
        repeatCountEntryText(i, entry);
        addEntry(combo, entry);
    }
    selectEntry(combo, count);
}

void fillRepeat(HWND page, int setting, const ProfileEdit &edit)
{
    const HWND intervals = emptiedCombo(page, IDC_INTERVAL);
    addNumberEntries(intervals, setting, profileEntryCount(setting));
    selectEntry(intervals, edit.entry);
    fillRepeatCounts(page, edit.count);
    showControl(page, IDC_INTERVAL);
    showControl(page, IDC_REPEAT_TEXT);
    showControl(page, IDC_REPETITIONS);
}

void readRepeat(HWND page, int, ProfileEdit &edit)
{
    edit.entry = selectedEntry(page, IDC_INTERVAL);
    edit.count = selectedEntry(page, IDC_REPETITIONS);
}

// ---- SIM code, program and other texts ----------------------------------------------------------------------------

void fillSimCode(HWND page, int, const ProfileEdit &edit)
{
    SendDlgItemMessageW(page, IDC_SIM_CODE, EM_LIMITTEXT, simCodeLimit, 0);
    setText(page, IDC_SIM_CODE, edit.text);
    showControl(page, IDC_SIM_CODE);
}

void readSimCode(HWND page, int, ProfileEdit &edit)
{
    readControlText(page, IDC_SIM_CODE, edit);
}

void fillPlainText(HWND page, int, const ProfileEdit &edit)
{
    SendDlgItemMessageW(page, IDC_PROGRAM, EM_LIMITTEXT, MAX_PATH - 1, 0);
    setText(page, IDC_PROGRAM, edit.text);
    showControl(page, IDC_PROGRAM);
}

void fillProgram(HWND page, int setting, const ProfileEdit &edit)
{
    fillPlainText(page, setting, edit);
    showControl(page, IDC_BROWSE);
}

void readPlainText(HWND page, int, ProfileEdit &edit)
{
    readControlText(page, IDC_PROGRAM, edit);
}

// ---- Kinds --------------------------------------------------------------------------------------------------------

struct Editor {
    DWORD kind;
    void (*fill)(HWND page, int setting, const ProfileEdit &edit);
    void (*read)(HWND page, int setting, ProfileEdit &edit);
};

constexpr Editor editors[] = {
    {profileSwitch, fillSwitch, readSwitch},
    {profileText, fillPlainText, readPlainText},
    {profileVolume, fillChoice, readChoice},
    {profileChoice, fillChoice, readChoice},
    {profileAlarmSound, fillAlarmSound, readAlarmSound},
    {profileSimCode, fillSimCode, readSimCode},
    {profileProgram, fillProgram, readPlainText},
    {profileRepeat, fillRepeat, readRepeat},
};

// Null for a heading and for a row that does not exist.
const Editor *findEditor(int row)
{
    if (row >= 0 && row < profileSettingCount)
        for (const Editor &editor : editors)
            if (editor.kind == profileSettings[row].kind)
                return &editor;
    return nullptr;
}

void describeRow(HWND page, int row)
{
    if (row < 0 || row >= profileSettingCount)
        return;
    const ProfileSettingDescriptor &descriptor = profileSettings[row];
    const bool isHeading = descriptor.kind == profileHeading;
    getLanguageText(isHeading ? descriptor.label : descriptor.description, GetDlgItem(page, IDC_DESCRIPTION));
}

void editRow(HWND page, int profile, int row)
{
    const Editor *editor = findEditor(row);
    if (!editor)
        return;
    ProfileEdit edit;
    loadProfileEdit(profile, row, edit);
    editor->fill(page, profileSettings[row].setting, edit);
}

}   // namespace

void fillProfileEditor(HWND page, int profile, int row)
{
    fillFailed = false;
    try {
        hideProfileEditor(page);
        describeRow(page, row);
        editRow(page, profile, row);
    } catch (...) {
        fillFailed = true;
        writeLog("** Exception fillProfileEditor **");
    }
}

void hideProfileEditor(HWND page)
{
    setComboHeights(page);
}

void saveControl(HWND page, int profile, int row)
{
    if (fillFailed)
        return;
    ProfileEdit edit;
    if (const Editor *editor = findEditor(row))
        editor->read(page, profileSettings[row].setting, edit);
    saveProfileEdit(profile, row, edit);
}
