// Property sheets in the phone's layout over comctl32's.
#pragma once

#include <windows.h>

namespace sim {

// Called for every child dialog while it is being created: a page of one of our sheets is kept to the page area.
void attachPage(HWND page, HWND parent);

// Called for every top-level dialog of the desktop's own while it is being created: the one that comes while a sheet is
// being made is the sheet's window.
void attachSheet(HWND dialog);

// Shows another page when message is Ctrl+Tab or Ctrl+Shift+Tab anywhere in a sheet. Returns whether it was.
bool turnPage(const MSG &message);

// Whether window is a sheet made here.
bool isSheet(HWND window);

}   // namespace sim
