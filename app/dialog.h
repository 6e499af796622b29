// What the program's dialogs have in common.
#pragma once

#include "phone.h"

// Runs a modal dialog of the resources; returns what it was ended with, -1 when it cannot be made.
INT_PTR showDialog(HWND owner, int dialogTemplate, DLGPROC procedure, LPARAM parameter = 0);

// Fills the screen with the dialog, with an ok button in the title bar and the input panel lowered. For WM_INITDIALOG.
void makeFullScreen(HWND dialog);

// Gives the dialog or sheet a bottom bar with nothing in it but the input panel's button. For WM_INITDIALOG.
void showEmptyMenuBar(HWND dialog);

// Answers the requests for the colours of a dialog, its static texts and buttons: the pages' ground, and no ground of
// their own. FALSE for every other message.
INT_PTR dialogColours(UINT message, WPARAM wParam);
