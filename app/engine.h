// The resident engine, as this program meets it: one hidden window.
#pragma once

#include "phone.h"

constexpr wchar_t engineClass[] = L"KelvaneZorCls";

// The engine's window: the handle it has left in the registry (which is not checked), else the window of that class at the
// third level of the window tree. Null when there is none.
HWND findEngineWindow(const wchar_t *className);

// Posts the engine what has changed; nothing when it does not run.
void notifyEngine();
