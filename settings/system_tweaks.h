// Settings of the phone itself that the engine needs, put right whenever the general settings are loaded.
#pragma once

#include "phone.h"

// Applies them in order, each only where its key exists. Returns the status of opening the volume key (the last one) when
// that fails, else that of closing it.
LONG applySystemTweaks();
