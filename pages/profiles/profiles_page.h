// The Profiles page of the options sheet; shares its template with the Advanced page.
#pragma once

#include "phone.h"

INT_PTR CALLBACK ProfilesPageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam);
