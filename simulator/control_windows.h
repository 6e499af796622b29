// What tests do to the phone from outside: taps on the bars, the panel, a look at the title. Exported by coredll.dll.
#pragma once

#include <windows.h>

extern "C" {
// Taps the title bar's ok button. FALSE when there is none. The command is posted, as a tap's is.
BOOL WINAPI SimTapOk(void);
// Taps the input panel's button in the bottom bar. FALSE when the active window hid it.
BOOL WINAPI SimTapPanelButton(void);
// Raises or lowers the panel.
void WINAPI SimSetPanel(BOOL up);
// The text in the title bar; size in characters. Returns its length.
int WINAPI SimTitleText(LPWSTR buffer, int size);
// The window the ok button belongs to, or null.
HWND WINAPI SimOkOwner(void);
}
