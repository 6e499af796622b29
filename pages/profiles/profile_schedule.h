// The Profile Time dialog: when, and on which events, the engine switches profiles by itself.
#pragma once

#include "phone.h"

// Shows the dialog in the template for this screen, and returns when the user is done. OK writes timeData at once and sets
// activeSyncProfile, ACPowerProfile and outlookCheck of the general record; Cancel writes nothing. getDeviceType must have
// run and the date-time classes must be registered.
void showProfileSchedule(HWND owner);

// The dialog's procedure.
INT_PTR CALLBACK ProfileTimeDlgProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);

// Inserts a line at index of the dialog's list: the profile's name (empty for a number that no profile has), the time,
// and the names of the days in when; without a time, when itself as the name of an event. The line's parameter is the
// integer that when begins with: the days' digits, or 0.
void addScheduleLine(HWND list, int index, int profile, const wchar_t *when, const wchar_t *time);
