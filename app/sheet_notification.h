// The notifications a property sheet sends its pages.
#pragma once

#include "phone.h"

// On apply, calls the page's store function (unless an import has just replaced the settings) and ends the Options
// dialog; on reset, ends it without storing. Returns TRUE for these two, else FALSE. A page without anything to store
// passes null.
INT_PTR endOnSheetNotification(LPARAM lParam, HWND page = nullptr, void (*store)(HWND page) = nullptr);
