// The About page of the options sheet.
#pragma once

#include "phone.h"

INT_PTR CALLBACK AboutPageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam);
