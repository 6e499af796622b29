// The phone's clock.
#pragma once

#include "core.h"

namespace sim {

// Stops the clock of this process at a local time; null lets it run again.
void setClock(const SYSTEMTIME *localTime);

}   // namespace sim
