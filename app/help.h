// The system's help viewer on this program's help file.
#pragma once

// Opens Kelvane.htm at an anchor such as "options-alarm". A phone without the viewer shows nothing.
void openHelp(const wchar_t *anchor);
