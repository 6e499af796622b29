// Where the program is installed and what kind of device it runs on.
#pragma once

#include "phone.h"

// The install directory, without trailing separator; null until getAppPath has run. Owned by this module.
extern wchar_t *appPath;

// 0 or 1; all 0 until getDeviceType has run.
extern DWORD isOsVersion3;
extern DWORD isOsVersion4;
extern DWORD isOsVersion5;   // 5 or later
extern DWORD isTreo;
extern DWORD isI730;
extern DWORD isP525;
extern DWORD isArte;
extern DWORD isTexasInstruments;
extern DWORD isTreo750;
extern DWORD isOtherTreo;
extern DWORD needsKeyWorkaround;
extern DWORD isLandscape;   // also on a square screen
extern DWORD hasSynchrologic;
extern DWORD excludesMidiSounds;   // notifications cannot play MIDI files; no model is known for it, so nothing sets it

// Finds the install directory (once; again while it does not contain "\Kelvane"). Returns appPath, null when memory ran
// out. An unusable directory is not reported: it shows later as missing files.
wchar_t *getAppPath();

// Sets the flags above from the system version, the maker's identification and the registry.
void getDeviceType();

// Whether a file or folder of that name exists.
bool pathExists(const wchar_t *path);
