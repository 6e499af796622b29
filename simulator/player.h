// The media player control.
#pragma once

#include <objbase.h>

namespace sim {

extern const CLSID mediaPlayerClass;

// A new player, asked for by interface; every one plays through the same loudspeakers.
HRESULT createPlayer(LPUNKNOWN outer, REFIID interfaceId, void **object);

}   // namespace sim
