// The profile records: what a profile can set, how its values are stored, and the words and lists they are shown in. No
// windows here; pages/profiles/profile_editor.h moves the values between this record and the controls.
#pragma once

#include "language.h"
#include "registry.h"

// What a setting is, as the table has always numbered it. It decides the stored form and the controls that edit it.
enum ProfileSettingKind : DWORD {
    profileSwitch = 0,       // DWORD 0 or 1
    profileText = 2,         // REG_SZ; no row uses it
    profileVolume = 5,       // DWORD, a percentage or one of two special numbers
    profileChoice = 6,       // DWORD or REG_SZ, by setting
    profileAlarmSound = 7,   // REG_SZ, and three DWORD flags in the values "n_1", "n_11" and "n_111"
    profileHeading = 9,      // nothing
    profileSimCode = 10,     // REG_SZ, scrambled
    profileProgram = 12,     // REG_SZ
    profileRepeat = 14,      // DWORD, and the DWORD of the count in the value "n_1"
};

// One line of the Profiles page's list.
struct ProfileSettingDescriptor {
    int setting;       // names the registry value; -1 for a heading
    DWORD kind;        // ProfileSettingKind
    DWORD shown;       // 1: listed and edited; the page sets it from the general settings
    int description;   // text identifiers, -1 for none
    int label;
};

constexpr int profileSettingCount = 49;
extern ProfileSettingDescriptor profileSettings[profileSettingCount];

// Settings that somebody has to tell from others of their kind.
constexpr int smsSoundSetting = 4;
constexpr int ringToneSetting = 8;
constexpr int ringTypeSetting = 9;
constexpr int snapshotSetting = 38;

// Characters of any value in words, the terminator included: two translated texts and a number between them.
constexpr size_t profileTextCapacity = 2 * translationCapacity + 24;

// What the page knows of the profile it shows; filled by loadProfileValueText as the rows are loaded. A missing value is 0.
struct ProfilePageState {
    DWORD ringType, bluetooth, radio, wlan, pushEmail;
    DWORD popup, led, vibrate;   // of the alarm sound loaded last
};

extern ProfilePageState profilePageState;

// A profile's key under HKEY_CURRENT_USER.
constexpr size_t profileKeyCapacity = countOf(programKey) + 12;
void profileKeyPath(int profile, wchar_t (&path)[profileKeyCapacity]);

// The value of a row in the words of the page's list. False, and text empty, for a row that is hidden or does not exist;
// true with an empty text for a heading and for a value that is missing, longer than 99 characters or cannot be read. An
// exception is logged and counts as such a value.
bool loadProfileValueText(int profile, int row, wchar_t (&text)[profileTextCapacity]);

// ---- What the editor shows of a row and gives back --------------------------------------------------------------------

constexpr int noEntry = -1;

// Which of these count depends on the row's kind; the others are as here.
struct ProfileEdit {
    bool foreign = false;   // there is a value, but no text to show: the editor stays blank
    bool on = false;        // a switch
    int entry = noEntry;    // position in the list of a setting that is stored as a number; noEntry: none was chosen
    int count = noEntry;    // position in the list of repeat counts
    bool popup = false, led = false, vibrate = false;
    wchar_t text[profileTextCapacity] = L"";   // of a setting that is stored as a text
};

// What the editor is to show. For a missing value that is a list's first entry, save where a list says otherwise. An
// exception is logged and leaves the editor blank.
void loadProfileEdit(int profile, int row, ProfileEdit &edit);

// Writes a row and what belongs to it into the profile's key, which is created if need be. An entry that was not chosen is
// not written, so a stored value that no entry stands for stays, as does a foreign one under an editor left blank. A
// profile outside 0 to 6 and an exception are logged; nothing else that fails is reported.
void saveProfileEdit(int profile, int row, const ProfileEdit &edit);

// ---- Lists ------------------------------------------------------------------------------------------------------------

// The entries offered for a setting that is stored as a number; 0 for a setting that is not. A repeat's are its intervals.
int profileEntryCount(int setting);
void profileEntryText(int setting, int entry, wchar_t (&text)[profileTextCapacity]);

// What the page keeps with an entry of the ring types: 99 for the system's, else its number from 0.
DWORD ringTypeItemValue(int entry);

constexpr int repeatCountEntries = 11;
void repeatCountEntryText(int entry, wchar_t (&text)[profileTextCapacity]);

// Calls add for every entry of a list whose stored value is the chosen text itself, but for those that are files.
void listTextEntries(int setting, void (*add)(HWND list, const wchar_t *entry), HWND list);

// The special names among the sounds, in the order of the sound catalogue, and whether a setting offers each.
constexpr int specialSoundCount = 3;
const wchar_t *specialSoundName(int index);
bool offersSpecialSound(int setting, int index);

// Stands for a stored SIM code, in the list and in the editor.
constexpr wchar_t hiddenSimCode[] = L"****";
constexpr int simCodeLimit = 20;   // characters of a code
