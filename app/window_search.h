// Finding a window of another process.
#pragma once

#include "phone.h"

// The first top-level window of that class and title, compared exactly; either may be null, which fits any. Null when
// there is none. A window that does not answer within 250 ms counts as untitled.
HWND findWindowByClassAndTitle(const wchar_t *className, const wchar_t *title);
