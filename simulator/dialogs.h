// Dialogs on the phone's screen: frames, white ground, scrolling of what does not fit.
#pragma once

#include "templates.h"

namespace sim {

// Called for every dialog while it is being created (its handle exists, no message has been sent yet).
void attachDialog(HWND dialog);

// The answer of a dialog's procedure, with the desktop's grey ground replaced by the phone's white.
LRESULT whitened(UINT message, WPARAM wParam, LRESULT answer);

// Vertical scrolling of a dialog or page that is higher than its place. The scroll bar itself holds the state.
void updateScrolling(HWND dialog);
void scrollBy(HWND dialog, WPARAM request);
void scrollToTop(HWND dialog);
void scrollIntoView(HWND control);

// Makes dialog cover area without caption and frame.
void makeFullScreen(HWND dialog, const RECT &area);

}   // namespace sim
