// What the pages share while the Options dialog is open.
#pragma once

#include "mediaplayer.h"
#include "phone.h"

extern int startProfile;        // from the command line; 0..6 once the Options dialog has checked it
extern HINSTANCE appInstance;   // owner of every resource
extern HWND mainWindow;         // null until its creation has returned, so all the while the user is in the program

extern HWND optionsDialog;   // pages end it with EndDialog when the sheet is finished
extern HWND currentPage;     // the list page last shown; list keys send their clicks there
extern bool listEdited;      // an entry of a page's list has been edited

extern HBRUSH backgroundBrush;   // pages and dialogs fill their background with it
extern HFONT headerFont;
extern HFONT linkFont;
extern IWMPPlayer *mediaPlayer;   // null on a phone without one

// Colours of the skin in use; unchanged by a missing registry value.
extern DWORD skinTextColor;
extern DWORD skinAlarmColor;
extern DWORD skinScrollColor;

// What the engine is told when the dialog ends.
extern bool skinChanged;
extern bool settingsImported;   // pages then do not write their controls back
extern bool mailSettingsChanged;
