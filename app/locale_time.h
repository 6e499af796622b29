// How the user's region writes times of day.
#pragma once

#include "text.h"

// The first character of the region's time separator; a colon when it has none.
wchar_t localeTimeSeparator();

// Whether the region counts the hours to 24.
bool localeHas24Hours();

// Characters of a time of day or of a time picker's format, the terminator included.
constexpr size_t timeTextCapacity = 16;

// The format of a time picker (DTM_SETFORMATW) that shows hours and minutes the region's way.
void localeTimePickerFormat(wchar_t (&format)[timeTextCapacity]);

// A time of day as the engine stores it: two digits each, with the region's separator in between.
void formatTimeOfDay(wchar_t (&to)[timeTextCapacity], int hour, int minute);
