// The Display page of the options sheet.
#pragma once

#include "phone.h"

INT_PTR CALLBACK DisplayPageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam);
