// The notifications a property sheet sends its pages.
#pragma once

#include "phone.h"

// On apply, calls the page's store function (unless an import has just replaced the settings) and ends the Options
// dialog; on reset, ends it without storing. Returns TRUE for these two, else FALSE. A page without anything to store
// passes no function.
INT_PTR endOnSheetNotification(HWND page, LPARAM lParam, void (*store)(HWND page) = nullptr);
