// What tests and companion programs ask of the simulator itself. Exported by coredll.dll; no phone has these functions,
// and the program never calls them. All sizes are in characters, all texts are wide, functions that answer BOOL answer
// FALSE on failure and leave their outputs alone.
#pragma once

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

// ---- The phone ---------------------------------------------------------------------------------------------------

// Plays the phone in folder (Windows path, or unix path as in PHONE) from now on: phone.ini and faults.txt are read
// anew, and the registry is seeded if the phone has none yet; ordered faults, overridden settings and a set clock are
// forgotten. Nothing of the former phone should be open. FALSE (reason on standard error) leaves no phone open.
BOOL WINAPI SimUsePhone(const wchar_t *folder);

// Throws this phone's registry away and seeds it from registry.reg again.
BOOL WINAPI SimSeedRegistry(void);

// Removes the registry of the phone called name. FALSE when there is none.
BOOL WINAPI SimDeletePhoneRegistry(const wchar_t *name);

// Sets a text of phone.ini for this process only.
void WINAPI SimSetSetting(const wchar_t *section, const wchar_t *key, const wchar_t *value);

// Host path of a path of the phone, and of journal.log. FALSE when size does not hold it with its terminator.
BOOL WINAPI SimHostPath(const wchar_t *phonePath, wchar_t *buffer, int size);
BOOL WINAPI SimJournalPath(wchar_t *buffer, int size);

// The phone's name, as its registry is called.
BOOL WINAPI SimPhoneName(wchar_t *buffer, int size);

// Adds a line to the journal: kind, then count fields.
void WINAPI SimJournal(const wchar_t *kind, const wchar_t *const *fields, int count);

// Stops the clock this process sees at a local time; null lets it run (or stand where phone.ini stops it) again.
void WINAPI SimSetClock(const SYSTEMTIME *localTime);

// Makes the waits of this process, those for sounds that are not heard and Sleep from 50 ms up, divisor times as short, and
// journals each such Sleep with the length asked for. 1 makes them as long as they are again.
void WINAPI SimShortenWaits(int divisor);

// ---- Faults ------------------------------------------------------------------------------------------------------

// Orders a fault. kind: "registry", "file", "memory", "database", "com" or "sound". n: the nth matching call from now on
// (1 is the next), once; 0: every matching call. operationAndDetail: "write:lowBatteryLevel", "open:\\Windows\\*",
// "read:*"; null or empty matches every call of the kind. raise: the call throws instead of failing. FALSE for an unknown
// kind.
BOOL WINAPI SimOrderFault(const wchar_t *kind, int n, const wchar_t *operationAndDetail, BOOL raise);
void WINAPI SimClearFaults(void);

// ---- Memory ------------------------------------------------------------------------------------------------------

// Lets every block that malloc, calloc, realloc, LocalAlloc or LocalReAlloc gives from now on end at an inaccessible page: a
// byte read or written behind it ends the program. Slow, and 64 KB of address space for each; for looking after mistakes.
void WINAPI SimGuardAllocations(BOOL on);

// ---- What the program holds --------------------------------------------------------------------------------------

int WINAPI SimLiveAllocations(void);   // blocks of malloc, calloc, realloc, LocalAlloc
int WINAPI SimLiveFiles(void);         // handles of CreateFileW
int WINAPI SimLiveSearches(void);      // handles of FindFirstFileW
int WINAPI SimLiveProcesses(void);     // process and thread handles of CreateProcessW and ShellExecuteEx
int WINAPI SimLiveKeys(void);          // keys of RegOpenKeyExW and RegCreateKeyExW
int WINAPI SimLiveObjects(void);       // COM objects of CoCreateInstance, and Pocket Outlook's folders
int WINAPI SimLiveDatabases(void);     // handles of CeOpenDatabase and its kin
int WINAPI SimLiveVolumes(void);       // mounted database volumes
int WINAPI SimLiveGdi(void);           // GDI objects of this process, the simulator's own included: compare two counts

#ifdef __cplusplus
}
#endif
