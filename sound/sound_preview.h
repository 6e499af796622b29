// Hearing a sound before it is chosen: one preview at a time, played by a thread of its own, so that the dialog goes on.
#pragma once

#include "phone.h"

// The volume that leaves the volume alone.
constexpr DWORD currentVolume = 1;

// Plays a sound once. name is a stored sound name or a full path; of a longer one than 99 characters the rest is cut.
// volume is a waveOut volume (low word left, high word right) for the length of the preview, or currentVolume.
// Returns at once, except while another preview runs: it waits for that up to 5 seconds and then drops the request. Special
// names ("<silent>"), an empty name and null play nothing. Failure is silence, and a line in the log.
void playSoundFile(const wchar_t *name, DWORD volume);

// The preview thread: plays what previewName says and empties that, with the volume as its argument. Catches everything.
DWORD WINAPI playSoundThread(LPVOID volume);

// restore 0: remembers the volume in use and sets this one. restore 1: puts the remembered one back and keeps a phone silent
// that was silenced by its shell. Returns the remembered volume while no shell mode is in force, else 0.
DWORD setVol(DWORD volume, int restore);

// What the two threads share; also for tests. The dialog's thread fills the name, the preview's empties it.
extern wchar_t previewName[100];   // the sound being played; empty while there is no preview
extern bool previewStarting;       // a request is being handed to its thread: another one is refused
extern DWORD savedVolume;          // what setVol remembers; 1 for nothing
