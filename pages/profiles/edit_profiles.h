// The Edit Profiles dialog: which profiles are in use and what they are called.
#pragma once

#include "phone.h"

// Shows it; on OK the general settings record has the new names, visibility and menu form.
void showEditProfiles(HWND owner);

INT_PTR CALLBACK EditProfilesProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
