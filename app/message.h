// Message boxes of this program.
#pragma once

#include "phone.h"

// Shows a text (i18n/default_texts.cpp) under the program's name, in front of the active window; style as for MessageBoxW,
// whose answer it returns.
int showMessage(int textId, UINT style);
