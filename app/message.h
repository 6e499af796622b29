// Message boxes of this program, under its name and in front of the active window.
#pragma once

#include "phone.h"

// A text by its identifier, or one that is not translated; style and answer as for MessageBoxW.
int showMessage(int textId, UINT style);
int showMessage(const wchar_t *text, UINT style);
