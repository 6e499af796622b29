// The Advanced page of the options sheet; shares its template with the Profiles page.
#pragma once

#include "phone.h"

INT_PTR CALLBACK AdvancedPageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam);
