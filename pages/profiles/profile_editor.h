// The editor above the Profiles page's list: the controls of one row at a time.
#pragma once

#include "phone.h"

// Shows the controls that edit a row of profileSettings and fills them from the profile's record; the row's description, or
// a heading's label, goes into the description line. The sound lists have been filled by the page before. A row that does
// not exist only hides the editor.
void fillProfileEditor(HWND page, int profile, int row);

// Hides every control of the editor.
void hideProfileEditor(HWND page);

// Writes what the row's controls hold into the profile's record. Headings and rows that do not exist are ignored, a profile
// outside 0 to 6 is logged.
void saveControl(HWND page, int profile, int row);
