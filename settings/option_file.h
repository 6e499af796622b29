// The advanced option file, Kelvane_User.cfg in the install directory: rarely needed switches and fixes for single devices.
// The engine reads the same file by itself.
#pragma once

#include "phone.h"

constexpr wchar_t optionFileName[] = L"Kelvane_User.cfg";

// 0 or 1 where nothing else is said; all 0 until getUserConfigSettings has run.
struct OptionFlags {
    DWORD vibrateSetting;   // 1 short, 3 short, 1 long, 2 long: 1, 3, 4, 5
    DWORD missedCallFilterOff;
    DWORD memoryAsPercent;
    DWORD dataAsMb;
    DWORD profileChangeNotify;   // any number
    DWORD i730Led;
    DWORD hideZeroItemCount;
    DWORD trinityWlanFix;
    DWORD wlanViaDriver;
    DWORD alwaysEnterSim;
    DWORD vibrateOnConnectFix;
    DWORD disableSingleBacklight;
    DWORD speakerphoneFix;
    DWORD systemNotifyPowerDown;
    DWORD alarmOnEveryEvent;
    DWORD email2IsMms;
    DWORD otherSmsClient;
    DWORD signalAlarmDelay;   // 0 to 1000
    DWORD clearMissedCallSmsOnVoice;
    DWORD hideUnreadItems;   // any number
    DWORD useDatabaseForCustomSms;
    DWORD hideProfileAlarmRepeats;
    DWORD useFastGraphics;
};

extern OptionFlags optionFlags;

// What a key's value makes of its flag.
enum class OptionKind {
    vibration,   // one of four words
    off,         // 1 when the value is 0
    on,          // 1 when the value is 1
    number,      // the value itself
    delay,       // the value, 20 when it is outside 0 to 1000
};

struct OptionRow {
    const char *key;
    OptionKind kind;
    DWORD OptionFlags::*flag;
    bool reset;   // to 0 before the file is read
};

constexpr size_t optionCount = 24;
extern const OptionRow optionRows[optionCount];

// Reads the file into the flags; nothing happens before the install directory is known. A file that is missing or cannot be
// read leaves the flags as they are after the reset. An exception is logged.
void getUserConfigSettings();

// The path of the file. False before the install directory is known.
constexpr size_t optionPathCapacity = MAX_PATH + 20;
bool optionFilePath(wchar_t (&path)[optionPathCapacity]);
