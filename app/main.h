// Start-up: one running copy, one main window.
#pragma once

#include "phone.h"

constexpr wchar_t mainWindowClass[] = L"KelvaneSettingsCls";
constexpr wchar_t mainWindowTitle[] = L"Kelvane Settings";

// Registers the main window's class; returns its atom, 0 on failure.
ATOM MyRegisterClass(HINSTANCE instance, const wchar_t *className);

// Creates the main window, in whose creation all of the program runs. Always returns 0, which ends the program.
BOOL InitInstance(HINSTANCE instance, int showCommand);

LRESULT CALLBACK MainWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
