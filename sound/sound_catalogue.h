// All sound files of the phone, by file name alone, as the sound lists show them and the records store them.
#pragma once

#include "phone.h"

// Adds the sound files found directly in a folder (not below it) to the catalogue. Nothing happens for null or an empty
// text; a folder that cannot be read adds nothing.
void addSoundsFromFolder(const wchar_t *folder);

// Fills a combo box with the catalogue, which the first call of a run collects. ringToneForm is 1 for the list of ring
// tones and 0 for any other: those leave out MIDI files on a phone that cannot play them as notifications.
void loadSoundCombo(HWND combo, int ringToneForm);

// Replaces a stored name by the full path of its file. When there is none, the name becomes the last path tried before
// Windows CE 5 and empty from there on, which the caller must take for "not found".
void getSoundFilePath(wchar_t (&name)[260]);

// Makes the next list collect the catalogue again; for tests that play several phones in one process.
void forgetSounds();
