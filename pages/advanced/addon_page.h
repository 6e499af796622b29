// The Add-on page of the options sheet.
#pragma once

#include "phone.h"

INT_PTR CALLBACK AddonPageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam);
