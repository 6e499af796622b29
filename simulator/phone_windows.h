// Every window of the program passes here when it is created: it is marked as this phone's and, by its kind, put on the
// phone's screen or given the phone's behaviour.
#pragma once

#include <windows.h>

namespace sim {

// Watches the windows this thread creates from now on. Call before creating any.
void watchThread();

// Puts procedure in front of the window's own; the former one is remembered under key (one key per procedure).
void putInFront(HWND window, const wchar_t *key, WNDPROC procedure);
// The former procedure's answer; forgets key with WM_NCDESTROY.
LRESULT callFormer(HWND window, const wchar_t *key, UINT message, WPARAM wParam, LPARAM lParam);

bool hasClass(HWND window, const wchar_t *className);

}   // namespace sim
