// Modal dialogs under test: what a person does in one happens inside its own message loop.
#pragma once

#include <functional>
#include <string>

#include "phone.h"

// Calls show, which opens a dialog or a message box, and script with that dialog once it stands; what script leaves open is
// cancelled. Returns whether a dialog has appeared. Scripts may call it again, for a dialog above theirs.
bool runModal(
    const std::function<void()> &show, const std::function<void(HWND dialog)> &script = [](HWND) {});

// Of a control of a dialog.
std::wstring controlText(HWND dialog, int id);
void setControlText(HWND dialog, int id, const std::wstring &text);
void clickControl(HWND dialog, int id);

// The text of a window, such as a dialog's title.
std::wstring windowText(HWND window);
