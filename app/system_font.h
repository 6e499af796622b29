// Fonts made from the system font, the only stock font of a phone.
#pragma once

#include "phone.h"

// The record of the system font.
LOGFONTW systemFontRecord();

// The system font with another height (pixels, negative: of the em square) and weight. The caller deletes it.
HFONT createSystemFont(LONG height, LONG weight, bool underlined);
