// Lists that are stored as one text: each entry ends with "§".
#pragma once

#include "text.h"

constexpr wchar_t listSeparator = 0x00A7;   // §

// Takes the next entry off rest: it is terminated in place, and rest goes on behind it. Null when there is no separator
// left, and then rest stays; a null rest is an empty one.
wchar_t *nextListEntry(wchar_t *&rest);
