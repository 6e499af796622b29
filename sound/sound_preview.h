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

// The preview thread: plays what playSoundFile has asked for, with volume as its argument. Catches everything.
DWORD WINAPI playSoundThread(LPVOID volume);

// restore 0: remembers the volume in use and sets this one. restore 1: puts the remembered one back and keeps a phone silent
// that was silenced by its shell. Returns the remembered volume while no shell mode is in force, else 0.
DWORD setVol(DWORD volume, int restore);
