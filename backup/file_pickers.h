// How the user picks a file or a folder: with a picker library when the phone has one, else with the Find File dialog.
#pragma once

#include "commdlg.h"
#include "phone.h"

// Characters of a picked path, the terminator included.
constexpr size_t pickedPathCapacity = 260;

// What is asked of the picker.
struct PickRequest {
    const wchar_t *filter;   // of a library: pairs of name and pattern, an empty one ends them; null for all files
    DWORD flags;             // of a library: OFN_...
    bool foldersOnly;        // of the Find File dialog: a folder is wanted
};

// What the user has picked: a heap text of pickedPathCapacity characters, or null. Freed with freeText, and so cleared, by
// whoever takes it; pickFile does so.
extern wchar_t *pickedPath;

// Makes an empty pickedPath unless there is one. Throws OutOfMemory.
void holdPickedPath();

// Lets the user pick and puts the path into an edit control of the dialog, which is left alone when the user cancels.
// Returns whether a path was put there; false as well while another request is open. The dialog's top-level window is
// disabled meanwhile. Failures (no memory) are logged.
bool pickFile(HWND dialog, int editControl, const PickRequest &request);

// Shows the file dialog of the library tgetfile.dll, or the system's own when that does not load: to open (mode 0) or to
// save (mode 1). Returns non-zero when the user has chosen a file, which is then where the record says.
BOOL getFileName(int mode, OPENFILENAMEW *request);
