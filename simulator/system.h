// The phone's clock and its waits.
#pragma once

#include "core.h"

namespace sim {

// Stops the clock of this process at a local time; null lets it run again.
void setClock(const SYSTEMTIME *localTime);

// Makes the phone's waits divisor times as short, and each Sleep a line of the journal; 1 makes them real.
void shortenWaits(int divisor);

// Waits that many of the phone's milliseconds, and how long they really take.
void waitForPhone(DWORD milliseconds);
DWORD realLength(DWORD milliseconds);

}   // namespace sim
