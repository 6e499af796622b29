// The Profile Copy Settings dialog: overwrites what one profile has stored with what another has.
#pragma once

#include "registry.h"

// Shows it for the profile (0..6) the user works on, which is offered to copy from and not to overwrite.
void showProfileCopy(HWND owner, int profile);

// The dialog's procedure; its parameter is the profile.
INT_PTR CALLBACK ProfileCopyProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);

// Writes every value of an open key into another, with its name, type and bytes; values of the target that the source lacks
// stay. Returns the status of the enumeration that ended the copy: ERROR_NO_MORE_ITEMS after the last value, ERROR_MORE_DATA
// at a value of more than 8192 bytes, behind which nothing is copied. Throws OutOfMemory.
LONG copyProfileValues(const RegistryKey &sourceKey, const RegistryKey &targetKey);
