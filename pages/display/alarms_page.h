// The Alarms page of the options sheet: how the engine repeats an alarm, when it stops, vibration and backlight.
#pragma once

#include "phone.h"

INT_PTR CALLBACK AlarmsPageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam);
