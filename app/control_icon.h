// Icons in static controls of dialogs, in the size the screen's resolution asks for.
#pragma once

#include "phone.h"

// A static control with SS_ICON and the icon resource it shows.
struct ControlIcon {
    int control;
    int icon;
};

// Loads the icon at 16 pixels of a 96 dots-per-inch screen; a static control by itself would take the large image.
void loadControlIcon(HWND dialog, const ControlIcon &row);

// Takes the icon out of its control and releases it.
void destroyControlIcon(HWND dialog, const ControlIcon &row);

template <size_t count> void loadControlIcons(HWND dialog, const ControlIcon (&rows)[count])
{
    for (const ControlIcon &row : rows)
        loadControlIcon(dialog, row);
}

template <size_t count> void destroyControlIcons(HWND dialog, const ControlIcon (&rows)[count])
{
    for (const ControlIcon &row : rows)
        destroyControlIcon(dialog, row);
}
