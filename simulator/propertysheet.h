// Property sheets in the phone's layout over comctl32's.
#pragma once

#include <windows.h>

namespace sim {

// Called for every child dialog while it is being created: a page of one of our sheets is kept to the page area.
void attachPage(HWND page, HWND parent);

// Whether window is a sheet made here.
bool isSheet(HWND window);

} // namespace sim
