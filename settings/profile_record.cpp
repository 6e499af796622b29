#include "profile_record.h"

#include "extra_settings.h"
#include "log.h"
#include "user_settings.h"

ProfilePageState profilePageState = {};

// ---- The table ----------------------------------------------------------------------------------------------------

// Setting, kind, shown, description, label. The rows for custom groups come to light when custom alarms are switched on.
// clang-format off
ProfileSettingDescriptor profileSettings[profileSettingCount] = {
    {-1, profileHeading,    1,  -1, 159},
    { 0, profileVolume,     1, 101,  26},
    { 1, profileVolume,     1, 102, 160},
    { 2, profileVolume,     1, 103, 161},
    { 3, profileVolume,     1, 104, 162},

    {-1, profileHeading,    1,  -1,  52},
    { 4, profileAlarmSound, 1, 105, 163},
    {30, profileRepeat,     1, 443, 317},
    {43, profileChoice,     0, 487, 486},
    {39, profileAlarmSound, 1, 475, 476},
    {40, profileRepeat,     1, 478, 477},
    { 5, profileAlarmSound, 1, 106, 164},
    {31, profileRepeat,     1, 444, 318},
    {42, profileChoice,     0, 489, 488},
    { 6, profileAlarmSound, 1, 107, 165},
    {32, profileRepeat,     1, 445, 319},
    { 7, profileAlarmSound, 1, 108, 166},
    {33, profileRepeat,     1, 446, 320},
    {36, profileAlarmSound, 1, 429, 430},
    {37, profileRepeat,     1, 459, 458},

    {-1, profileHeading,    1,  -1, 169},
    { 8, profileAlarmSound, 1, 111, 170},
    { 9, profileChoice,     1,  34, 171},
    {13, profileChoice,     1,  35, 172},
    {22, profileSwitch,     1, 401, 325},
    {27, profileSwitch,     1, 405, 404},
    {25, profileChoice,     1, 259, 258},
    {26, profileChoice,     1, 307, 306},

    {-1, profileHeading,    1,  -1, 173},
    {10, profileChoice,     1, 126, 174},
    {11, profileSwitch,     1, 127, 175},
    {12, profileChoice,     1, 130, 176},
    {23, profileSwitch,     1, 150, 177},
    {24, profileChoice,     1, 211, 210},
    {41, profileChoice,     1, 482, 481},
    {38, profileChoice,     1, 462, 461},

    {-1, profileHeading,    1,  -1, 178},
    {14, profileChoice,     1, 129, 179},
    {21, profileChoice,     1, 234, 235},
    {16, profileChoice,     1, 198, 197},
    {17, profileChoice,     1, 205, 204},
    {19, profileChoice,     1, 230, 229},
    {20, profileChoice,     1, 232, 231},
    {18, profileSimCode,    1, 148, 203},
    {15, profileProgram,    1, 151, 180},
    {35, profileSwitch,     1, 434, 433},
    {34, profileChoice,     1, 309, 308},
    {28, profileChoice,     1, 409, 408},
    {29, profileChoice,     1, 413, 412},
};
// clang-format on

namespace {

using RowText = wchar_t[profileTextCapacity];

// What the list reads of a text, and what the editor reads, so that nothing longer is lost when its row is saved again.
constexpr DWORD listTextLimit = 100 * sizeof(wchar_t);
constexpr DWORD editedTextLimit = 520 * sizeof(wchar_t);
static_assert(editedTextLimit <= sizeof(RowText));

// ---- Entries ------------------------------------------------------------------------------------------------------

constexpr int noText = -1;
constexpr int minutesText = 10;
constexpr int secondsText = 11;
constexpr int escalatingText = 28;
constexpr int systemText = 93;
constexpr int noneText = 118;
constexpr int offText = 131;
constexpr int onText = 132;
constexpr int leaveUnchangedText = 149;
constexpr int endlessText = 209;
constexpr int defaultText = 357;
constexpr int activateOnCallText = 428;
constexpr int conditionalText = 473;

// An entry of a list whose choice is stored as a number.
struct Entry {
    const wchar_t *format;   // around number and text; null: the text alone
    int number;
    int text;
    DWORD stored;
};

constexpr Entry words(int text, DWORD stored)
{
    return {nullptr, 0, text, stored};
}

constexpr Entry percent(int number)
{
    return {L"%d %%", number, noText, static_cast<DWORD>(number)};
}

// One-digit times have a blank in front, so that the column lines up.
constexpr Entry seconds(int number, DWORD stored)
{
    return {L"%2d %s", number, secondsText, stored};
}

constexpr Entry minutes(int number, DWORD stored)
{
    return {L"%2d %s", number, minutesText, stored};
}

constexpr Entry rings(int number)
{
    return {L"%d rings", number, noText, static_cast<DWORD>(number)};
}

constexpr Entry times(int number, DWORD stored)
{
    return {L"%d x", number, noText, stored};
}

// Volumes go in larger steps than the backlight, without 30, 50, 70 and 90 %. That is on purpose.
constexpr Entry volumes[] = {
    words(leaveUnchangedText, 99),
    percent(0),
    percent(10),
    percent(20),
    percent(40),
    percent(60),
    percent(80),
    percent(100),
    words(escalatingText, 98),
};

constexpr Entry backlights[] = {
    words(leaveUnchangedText, 99),
    percent(0),
    percent(10),
    percent(20),
    percent(30),
    percent(40),
    percent(50),
    percent(60),
    percent(70),
    percent(80),
    percent(90),
    percent(100),
};

constexpr Entry timeOuts[] = {
    {L"%2d %s (always on)", 0, secondsText, 0},
    seconds(10, 10),
    seconds(30, 30),
    minutes(1, 60),
    minutes(2, 120),
    minutes(3, 180),
    minutes(5, 300),
    minutes(10, 600),
    minutes(15, 900),
    minutes(20, 1200),
    minutes(30, 1800),
    minutes(60, 3600),
};

constexpr Entry ringTypes[] = {
    words(systemText, 0), words(112, 1), words(113, 2), words(114, 3),  words(115, 4),  words(116, 5),  words(117, 6),
    words(118, 7),        words(119, 8), words(120, 9), words(121, 10), words(122, 11), words(123, 12), words(124, 13),
};

// The singular is not told apart: the list has always said "1 rings".
constexpr Entry autoAnswers[] = {words(noneText, 0), rings(1), rings(2), rings(3), rings(4), rings(5), rings(6)};

constexpr Entry radios[] = {words(leaveUnchangedText, 0), words(offText, 1), words(onText, 2), words(242, 3)};

constexpr Entry bluetooths[] = {words(leaveUnchangedText, 0), words(offText, 1), words(onText, 2), words(133, 3),
                                words(activateOnCallText, 4)};

// With the Widcomm stack there is no "Discoverable".
constexpr Entry widcommBluetooths[] = {words(leaveUnchangedText, 0), words(offText, 1), words(onText, 2),
                                       words(activateOnCallText, 4)};

constexpr Entry onOrOff[] = {words(leaveUnchangedText, 0), words(offText, 1), words(onText, 2)};

constexpr Entry dataBands[] = {words(leaveUnchangedText, 0), words(485, 1), words(484, 2), words(483, 3)};

constexpr Entry rotations[] = {words(leaveUnchangedText, 0), words(310, 1), words(311, 2), words(369, 3)};

// 35, 65 and 95 look odd, but are the steps that are meant.
constexpr Entry autoConnects[] = {
    words(leaveUnchangedText, 0),
    words(302, 99),
    minutes(5, 5),
    minutes(10, 10),
    minutes(15, 15),
    minutes(35, 35),
    minutes(65, 65),
    minutes(95, 95),
};

constexpr Entry intervals[] = {
    words(defaultText, 0), words(447, 1),   seconds(20, 2), seconds(30, 3), minutes(1, 4),
    minutes(2, 5),         minutes(3, 6),   minutes(4, 7),  minutes(5, 8),  minutes(10, 9),
    minutes(15, 10),       minutes(30, 11), words(448, 12), words(449, 13),
};
constexpr int defaultInterval = 0;
constexpr int noAlarmInterval = 1;
constexpr DWORD noAlarmCount = static_cast<DWORD>(-1);

constexpr Entry repeatCounts[repeatCountEntries] = {
    times(1, 0),
    times(2, 1),
    times(3, 2),
    times(4, 3),
    times(5, 4),
    times(7, 5),
    times(10, 6),
    times(15, 7),
    times(20, 8),
    times(30, 9),
    words(endlessText, 10),
};
constexpr DWORD endlessCount = 10;   // and above

void entryText(const Entry &entry, RowText &text)
{
    const wchar_t *unit = getLanguageText(entry.text, nullptr);
    if (entry.format)
        formatText(text, entry.format, entry.number, unit);
    else
        copyText(text, unit);
}

// ---- Numbers in words ---------------------------------------------------------------------------------------------

void showPlain(DWORD stored, RowText &text)
{
    formatText(text, L"%u", stored);
}

void showPercent(DWORD stored, RowText &text)
{
    formatText(text, L"%u %%", stored);
}

void showRings(DWORD stored, RowText &text)
{
    formatText(text, L"%u rings", stored);
}

void showMinutes(DWORD stored, RowText &text)
{
    formatText(text, L"%u %s", stored, getLanguageText(minutesText, nullptr));
}

constexpr DWORD secondsPerMinute = 60;

void showTime(DWORD stored, RowText &text)
{
    const bool inMinutes = stored >= secondsPerMinute;
    formatText(text, L"%u %s", inMinutes ? stored / secondsPerMinute : stored,
               getLanguageText(inMinutes ? minutesText : secondsText, nullptr));
}

// ---- Lists of numbers ---------------------------------------------------------------------------------------------

// What a stored number is taken for.
DWORD asStored(DWORD stored)
{
    return stored;
}

// A time-out is shown, and chosen again, in whole minutes.
DWORD wholeMinutes(DWORD stored)
{
    return stored < secondsPerMinute ? stored : stored / secondsPerMinute * secondsPerMinute;
}

DWORD withoutDiscoverable(DWORD stored)
{
    return stored == 3 ? 4 : stored;
}

struct NumberList {
    int setting;
    const Entry *entries;
    int known;                             // entries whose words are shown for a stored value
    int offered;                           // the first of them; what can be chosen
    void (*showOther)(DWORD, RowText &);   // a stored value that no words stand for
    DWORD (*read)(DWORD);                  // what a stored value is taken for
    int otherwise;                         // chosen for a stored value that no entry stands for, and for a missing one
};

template <size_t size> constexpr NumberList numberList(int setting, const Entry (&entries)[size],
                                                       void (*showOther)(DWORD, RowText &) = showPlain,
                                                       DWORD (*read)(DWORD) = asStored, int otherwise = noEntry,
                                                       int withheld = 0)
{
    const int known = static_cast<int>(size);
    return {setting, entries, known, known - withheld, showOther, read, otherwise};
}

constexpr NumberList volumeList(int setting, int withheld)
{
    return numberList(setting, volumes, showPercent, asStored, noEntry, withheld);
}

// A time-out that no entry stands for is offered, and so stored, as the third one. That is what the list has always done.
constexpr NumberList timeOutList(int setting)
{
    return numberList(setting, timeOuts, showTime, wholeMinutes, 2);
}

constexpr int bluetoothSetting = 12;

// Only notifications can escalate; the other volumes know the word, but do not offer it.
constexpr NumberList numberLists[] = {
    volumeList(0, 1),
    volumeList(1, 1),
    volumeList(2, 1),
    volumeList(3, 0),
    numberList(ringTypeSetting, ringTypes),
    numberList(10, radios),
    numberList(bluetoothSetting, bluetooths),
    numberList(13, autoAnswers, showRings),
    numberList(14, backlights, showPercent),
    timeOutList(16),
    timeOutList(17),
    timeOutList(19),
    timeOutList(20),
    numberList(21, backlights, showPercent),
    numberList(24, onOrOff),
    numberList(28, autoConnects, showMinutes, asStored, 6),
    numberList(29, onOrOff),
    numberList(34, rotations),
    numberList(41, dataBands),
};

constexpr NumberList widcommList = numberList(bluetoothSetting, widcommBluetooths, showPlain, withoutDiscoverable);

bool hasWidcommStack()
{
    RegistryKey key;
    return key.open(HKEY_LOCAL_MACHINE, L"Software\\Widcomm\\BtConfig\\General") == ERROR_SUCCESS;
}

// Null for a setting that is not stored as a number of a list of its own.
const NumberList *findNumberList(int setting)
{
    if (setting == bluetoothSetting && hasWidcommStack())
        return &widcommList;
    for (const NumberList &list : numberLists)
        if (list.setting == setting)
            return &list;
    return nullptr;
}

int findEntry(const Entry *entries, int count, DWORD stored)
{
    for (int i = 0; i < count; ++i)
        if (entries[i].stored == stored)
            return i;
    return noEntry;
}

int chosenEntry(const NumberList &list, DWORD stored)
{
    const int entry = findEntry(list.entries, list.offered, list.read(stored));
    return entry == noEntry ? list.otherwise : entry;
}

int chosenWithoutValue(const NumberList &list)
{
    return list.otherwise == noEntry ? 0 : list.otherwise;
}

void showNumber(const NumberList &list, DWORD stored, RowText &text)
{
    const int entry = findEntry(list.entries, list.known, list.read(stored));
    if (entry != noEntry && !list.entries[entry].format)
        entryText(list.entries[entry], text);
    else
        list.showOther(stored, text);
}

// ---- The registry -------------------------------------------------------------------------------------------------

using ValueName = wchar_t[24];

void settingName(int setting, ValueName &name)
{
    formatText(name, L"%d", setting);
}

// Companion values add to the setting's number: "_1", "_11", "_111".
void companionName(int setting, const wchar_t *suffix, ValueName &name)
{
    formatText(name, L"%d%s", setting, suffix);
}

bool isProfile(int profile)
{
    return profile >= 0 && profile < profileCount;
}

bool isRow(int row)
{
    return row >= 0 && row < profileSettingCount;
}

enum class Form { missing, number, text, unreadable, unknown };

// The key may be closed, because it could not be opened; status says why.
Form formOf(const RegistryKey &key, LONG status, const wchar_t *name)
{
    DWORD type = 0, size = 0;
    if (!status)
        status = RegQueryValueExW(key.handle(), name, nullptr, &type, nullptr, &size);
    if (status)
        return status == ERROR_FILE_NOT_FOUND ? Form::missing : Form::unreadable;
    if (type == REG_DWORD)
        return size == sizeof(DWORD) ? Form::number : Form::unreadable;
    if (type == REG_SZ)
        return size <= editedTextLimit ? Form::text : Form::unreadable;
    return Form::unknown;
}

// The value of one row, as far as a value can be held in a few bytes.
struct StoredRow {
    int setting;
    DWORD kind;
    RegistryKey key;
    LONG status;
    ValueName name;
    Form form;
    DWORD number = 0;   // 0 also for what is none

    StoredRow(int profile, const ProfileSettingDescriptor &row) : setting(row.setting), kind(row.kind)
    {
        wchar_t path[profileKeyCapacity];
        profileKeyPath(profile, path);
        status = isProfile(profile) ? key.open(HKEY_CURRENT_USER, path) : ERROR_FILE_NOT_FOUND;
        settingName(setting, name);
        form = formOf(key, status, name);
        if (form == Form::number && !readNumber(key, name, number))
            form = Form::unreadable;
    }

    DWORD companion(const wchar_t *suffix) const
    {
        ValueName companionValue;
        companionName(setting, suffix, companionValue);
        DWORD value = 0;
        if (!status)
            readNumber(key, companionValue, value);
        return value;
    }
};

constexpr wchar_t popupSuffix[] = L"_1";
constexpr wchar_t ledSuffix[] = L"_11";
constexpr wchar_t vibrateSuffix[] = L"_111";
constexpr wchar_t countSuffix[] = L"_1";

// ---- Loading ------------------------------------------------------------------------------------------------------

// Values that the page wants to know besides showing them.
struct WatchedSetting {
    int setting;
    DWORD ProfilePageState::*field;
};

constexpr WatchedSetting watchedSettings[] = {
    {ringTypeSetting, &ProfilePageState::ringType},
    {bluetoothSetting, &ProfilePageState::bluetooth},
    {10, &ProfilePageState::radio},
    {24, &ProfilePageState::wlan},
    {29, &ProfilePageState::pushEmail},
};

void noteWatchedNumber(const StoredRow &row)
{
    for (const WatchedSetting &watched : watchedSettings)
        if (watched.setting == row.setting)
            profilePageState.*watched.field = row.number;
}

void noteFlags(const StoredRow &row)
{
    profilePageState.popup = row.companion(popupSuffix);
    profilePageState.led = row.companion(ledSuffix);
    profilePageState.vibrate = row.companion(vibrateSuffix);
}

void notePageState(const StoredRow &row)
{
    noteWatchedNumber(row);
    if (row.kind == profileAlarmSound)
        noteFlags(row);
}

void showRepeat(const StoredRow &row, RowText &text)
{
    if (row.number >= countOf(intervals))
        return showPlain(row.number, text);
    const Entry &interval = intervals[row.number];
    if (!interval.format)
        return entryText(interval, text);
    const DWORD count = row.companion(countSuffix);
    wchar_t countText[translationCapacity];   // the next text asked for may take its place
    if (count < endlessCount)
        formatText(countText, L"%d", repeatCounts[count].number);
    else
        copyText(countText, getLanguageText(endlessText, nullptr));
    formatText(text, L"%s x %d %s", countText, interval.number, getLanguageText(interval.text, nullptr));
}

void showNumberRow(const StoredRow &row, RowText &text)
{
    const NumberList *list = findNumberList(row.setting);
    if (row.kind == profileSwitch)
        copyText(text, getLanguageText(row.number ? onText : offText, nullptr));
    else if (row.kind == profileRepeat)
        showRepeat(row, text);
    else if (list)
        showNumber(*list, row.number, text);
    else
        showPlain(row.number, text);
}

// Only whether there is a code may be seen.
void showSimCode(const StoredRow &row, RowText &text)
{
    if (row.form == Form::text && readText(row.key, row.name, text, editedTextLimit) && text[0])
        copyText(text, hiddenSimCode);
}

void showValue(const StoredRow &row, RowText &text)
{
    if (row.form == Form::unknown)
        copyText(text, L"???");
    else if (row.form == Form::missing || row.form == Form::unreadable)
        return;
    else if (row.kind == profileSimCode)
        showSimCode(row, text);
    else if (row.form == Form::text)
        readText(row.key, row.name, text, listTextLimit);
    else
        showNumberRow(row, text);
}

void loadListedRow(int profile, const ProfileSettingDescriptor &descriptor, RowText &text)
{
    const StoredRow row(profile, descriptor);
    notePageState(row);
    showValue(row, text);
}

// ---- Loading for the editor ---------------------------------------------------------------------------------------

int defaultCountEntry()
{
    return userSettings.soundRepeatOff < repeatCountEntries ? static_cast<int>(userSettings.soundRepeatOff) : noEntry;
}

// A default interval shows the general count, whatever is stored, and leaving the row stores that. A repeat without alarm
// has none of its own: whoever chooses another interval for it begins with the general one.
int chosenCount(const StoredRow &row)
{
    const DWORD count = row.companion(countSuffix);
    if (row.number == defaultInterval || (row.number == noAlarmInterval && count == noAlarmCount))
        return defaultCountEntry();
    return static_cast<int>(count < endlessCount ? count : endlessCount);
}

void editRepeat(const StoredRow &row, ProfileEdit &edit)
{
    if (row.form != Form::number && row.form != Form::missing)
        return;
    edit.entry = findEntry(intervals, countOf(intervals), row.number);
    edit.count = chosenCount(row);
}

void editListedNumber(const StoredRow &row, const NumberList &list, ProfileEdit &edit)
{
    if (row.form == Form::number)
        edit.entry = chosenEntry(list, row.number);
    else if (row.form == Form::missing)
        edit.entry = chosenWithoutValue(list);
}

void editText(const StoredRow &row, ProfileEdit &edit)
{
    edit.foreign = row.form != Form::text && row.form != Form::missing;
    if (row.kind == profileSimCode)
        showSimCode(row, edit.text);
    else if (row.form == Form::text)
        readText(row.key, row.name, edit.text, editedTextLimit);
}

void editFlags(const StoredRow &row, ProfileEdit &edit)
{
    noteFlags(row);
    edit.popup = profilePageState.popup != 0;
    edit.led = profilePageState.led != 0;
    edit.vibrate = profilePageState.vibrate != 0;
}

void loadEditedRow(int profile, const ProfileSettingDescriptor &descriptor, ProfileEdit &edit)
{
    const StoredRow row(profile, descriptor);
    const NumberList *list = findNumberList(row.setting);
    if (row.kind == profileSwitch)
        edit.on = row.number != 0;
    else if (row.kind == profileRepeat)
        editRepeat(row, edit);
    else if (list)
        editListedNumber(row, *list, edit);
    else
        editText(row, edit);
    if (row.kind == profileAlarmSound)
        editFlags(row, edit);
}

// ---- Saving -------------------------------------------------------------------------------------------------------

// A box left unchecked does not replace what it could not show.
void saveFlag(const RegistryKey &key, const wchar_t *name, bool on)
{
    const Form form = formOf(key, ERROR_SUCCESS, name);
    if (on || form == Form::number || form == Form::missing)
        writeNumber(key, name, on);
}

void saveCompanionFlag(const RegistryKey &key, int setting, const wchar_t *suffix, bool on)
{
    ValueName name;
    companionName(setting, suffix, name);
    saveFlag(key, name, on);
}

void saveFlags(const RegistryKey &key, int setting, const ProfileEdit &edit)
{
    saveCompanionFlag(key, setting, popupSuffix, edit.popup);
    saveCompanionFlag(key, setting, ledSuffix, edit.led);
    saveCompanionFlag(key, setting, vibrateSuffix, edit.vibrate);
}

void saveListedNumber(const RegistryKey &key, const wchar_t *name, const NumberList &list, int entry)
{
    if (entry >= 0 && entry < list.offered)
        writeNumber(key, name, list.entries[entry].stored);
}

void saveRepeat(const RegistryKey &key, const wchar_t *name, int setting, const ProfileEdit &edit)
{
    ValueName countName;
    companionName(setting, countSuffix, countName);
    if (edit.entry >= 0 && edit.entry < static_cast<int>(countOf(intervals)))
        writeNumber(key, name, intervals[edit.entry].stored);
    if (edit.entry == noAlarmInterval)
        writeNumber(key, countName, noAlarmCount);
    else if (edit.count >= 0 && edit.count < repeatCountEntries)
        writeNumber(key, countName, repeatCounts[edit.count].stored);
}

// An empty text is stored only where it can be told from a blank editor.
void saveText(const RegistryKey &key, const wchar_t *name, DWORD kind, const wchar_t *text)
{
    const Form form = formOf(key, ERROR_SUCCESS, name);
    const bool blankCounts = kind != profileChoice && (form == Form::text || form == Form::missing);
    if (text[0] || blankCounts)
        writeText(key, name, text);
}

// Shared with the engine, which takes the same digits off again.
constexpr wchar_t simCodeKey[] = L"58209317464093172856";
static_assert(countOf(simCodeKey) - 1 >= simCodeLimit);

// The key's digits are used from its twentieth back to its first; a code has no more characters than that.
void saveSimCode(const RegistryKey &key, const wchar_t *name, const wchar_t *code)
{
    if (wcscmp(code, hiddenSimCode) == 0)
        return;
    wchar_t scrambled[simCodeLimit + 1] = L"";
    for (int i = 0; i < simCodeLimit && code[i]; ++i)
        scrambled[i] = static_cast<wchar_t>(code[i] + simCodeKey[simCodeLimit - 1 - i]);
    saveText(key, name, profileSimCode, scrambled);
}

void saveRow(const RegistryKey &key, const ProfileSettingDescriptor &row, const ProfileEdit &edit)
{
    ValueName name;
    settingName(row.setting, name);
    const NumberList *list = findNumberList(row.setting);
    if (row.kind == profileSwitch)
        saveFlag(key, name, edit.on);
    else if (row.kind == profileRepeat)
        saveRepeat(key, name, row.setting, edit);
    else if (row.kind == profileSimCode)
        saveSimCode(key, name, edit.text);
    else if (list)
        saveListedNumber(key, name, *list, edit.entry);
    else
        saveText(key, name, row.kind, edit.text);
    if (row.kind == profileAlarmSound)
        saveFlags(key, row.setting, edit);
}

void saveEditedRow(int profile, int row, const ProfileEdit &edit)
{
    wchar_t path[profileKeyCapacity];
    profileKeyPath(profile, path);
    RegistryKey key;
    if (key.create(HKEY_CURRENT_USER, path) == ERROR_SUCCESS)
        saveRow(key, profileSettings[row], edit);
}

// ---- Lists of texts -----------------------------------------------------------------------------------------------

constexpr wchar_t itemSeparator = 0xA7;

void listForwarding(void (*add)(HWND, const wchar_t *), HWND list, const wchar_t *target)
{
    if (!target || !wcschr(target, itemSeparator))
        return;
    RowText conditional;
    formatText(conditional, L"%s%s", target, getLanguageText(conditionalText, nullptr));
    add(list, target);
    add(list, conditional);
}

// What is chosen is stored as it reads here, in the language of the moment. After a change of language it is no entry of the
// list any more, but it stays.
void listForwardings(void (*add)(HWND, const wchar_t *), HWND list)
{
    add(list, getLanguageText(leaveUnchangedText, nullptr));
    add(list, getLanguageText(offText, nullptr));
    const wchar_t *const targets[] = {extraSettings.forwardCall, extraSettings.forwardCall2, extraSettings.forwardCall3,
                                      extraSettings.forwardCall4};
    for (const wchar_t *target : targets)
        listForwarding(add, list, target);
}

constexpr DWORD groupsLimit = 2600;   // bytes of all groups together
constexpr int groupLimit = 10;

// Too much for the stack of a dialog inside dialogs.
struct GroupsText {
    wchar_t *const text = new wchar_t[groupsLimit / sizeof(wchar_t) + 1];

    GroupsText() { text[0] = 0; }
    ~GroupsText() { delete[] text; }
    GroupsText(const GroupsText &) = delete;
    GroupsText &operator=(const GroupsText &) = delete;
};

void readGroups(GroupsText &groups)
{
    RegistryKey key;
    DWORD type, size = groupsLimit;
    if (key.open(HKEY_CURRENT_USER, programKey) ||
        RegQueryValueExW(key.handle(), L"emailGroups", nullptr, &type, reinterpret_cast<BYTE *>(groups.text), &size))
        size = 0;
    else if (type != REG_SZ || size > groupsLimit)
        size = 0;
    groups.text[size / sizeof(wchar_t)] = 0;
}

// Cuts the text at the next of two characters and returns what is behind; null at its end.
wchar_t *cutAt(wchar_t *text, wchar_t separator)
{
    wchar_t *const end = wcschr(text, separator);
    if (!end)
        return nullptr;
    *end = 0;
    return end + 1;
}

// Every entry is a name, "^" and what the group is about.
void listGroups(void (*add)(HWND, const wchar_t *), HWND list)
{
    add(list, getLanguageText(noneText, nullptr));
    GroupsText groups;
    readGroups(groups);
    int added = 0;
    for (wchar_t *entry = groups.text; entry && added < groupLimit;) {
        wchar_t *const next = cutAt(entry, itemSeparator);
        cutAt(entry, L'^');
        if (entry[0]) {
            add(list, entry);
            ++added;
        }
        entry = next;
    }
}

struct TextList {
    int setting;
    void (*listEntries)(void (*add)(HWND, const wchar_t *), HWND list);
};

// The snapshots' own entries are the names of files.
void listBeforeSnapshots(void (*add)(HWND, const wchar_t *), HWND list)
{
    add(list, getLanguageText(leaveUnchangedText, nullptr));
}

constexpr TextList textLists[] = {
    {25, listForwardings},   // calls
    {26, listForwardings},   // SMS
    {snapshotSetting, listBeforeSnapshots},
    {42, listGroups},   // mail
    {43, listGroups},   // SMS
};

// ---- Special sounds -----------------------------------------------------------------------------------------------

struct SpecialSound {
    int text;
    bool forSms, forRingTone, forOthers;
};

constexpr SpecialSound specialSounds[specialSoundCount] = {
    {systemText, true, true, false},
    {94, true, false, true},   // silent
    {61, true, false, true},   // vibrate
};

}   // namespace

void profileKeyPath(int profile, wchar_t (&path)[profileKeyCapacity])
{
    formatText(path, L"%s\\%d", programKey, profile);
}

bool loadProfileValueText(int profile, int row, wchar_t (&text)[profileTextCapacity])
{
    text[0] = 0;
    if (!isRow(row))
        return false;
    const ProfileSettingDescriptor &descriptor = profileSettings[row];
    if (descriptor.kind == profileHeading)
        return true;
    if (descriptor.setting < 0 || !descriptor.shown)
        return false;
    try {
        loadListedRow(profile, descriptor, text);
    } catch (...) {
        text[0] = 0;
        writeLog("** Exception loadProfileValueText **");
    }
    return true;
}

void loadProfileEdit(int profile, int row, ProfileEdit &edit)
{
    edit = ProfileEdit{};
    if (!isRow(row) || profileSettings[row].setting < 0)
        return;
    try {
        loadEditedRow(profile, profileSettings[row], edit);
    } catch (...) {
        edit = ProfileEdit{};
        edit.foreign = true;
        writeLog("** Exception loadProfileEdit **");
    }
}

void saveProfileEdit(int profile, int row, const ProfileEdit &edit)
{
    if (!isProfile(profile)) {
        writeLogFormatted("** saveControl: Invalid profile %d", profile);
        return;
    }
    if (!isRow(row) || profileSettings[row].setting < 0)
        return;
    try {
        saveEditedRow(profile, row, edit);
    } catch (...) {
        writeLog("** Exception saveControl **");
    }
}

int profileEntryCount(int setting)
{
    for (const ProfileSettingDescriptor &row : profileSettings)
        if (row.setting == setting && row.kind == profileRepeat)
            return countOf(intervals);
    const NumberList *list = findNumberList(setting);
    return list ? list->offered : 0;
}

void profileEntryText(int setting, int entry, wchar_t (&text)[profileTextCapacity])
{
    text[0] = 0;
    if (entry < 0 || entry >= profileEntryCount(setting))
        return;
    const NumberList *list = findNumberList(setting);
    entryText(list ? list->entries[entry] : intervals[entry], text);
}

DWORD ringTypeItemValue(int entry)
{
    return entry > 0 ? static_cast<DWORD>(entry - 1) : 99;
}

void repeatCountEntryText(int entry, wchar_t (&text)[profileTextCapacity])
{
    text[0] = 0;
    if (entry >= 0 && entry < repeatCountEntries)
        entryText(repeatCounts[entry], text);
}

void listTextEntries(int setting, void (*add)(HWND list, const wchar_t *entry), HWND list)
{
    for (const TextList &texts : textLists)
        if (texts.setting == setting)
            texts.listEntries(add, list);
}

const wchar_t *specialSoundName(int index)
{
    return getLanguageText(specialSounds[index].text, nullptr);
}

bool offersSpecialSound(int setting, int index)
{
    const SpecialSound &sound = specialSounds[index];
    if (setting == smsSoundSetting)
        return sound.forSms;
    return setting == ringToneSetting ? sound.forRingTone : sound.forOthers;
}
