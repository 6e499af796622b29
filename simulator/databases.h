// The phone's property databases: the object store and the volumes that are mounted.
#pragma once

#include "core.h"

namespace sim {

// Whether all files of the phone's stores folder can be read. False when a line of one is malformed.
bool checkStores(const Phone &phone, std::wstring &problem);

// Handles of open databases, and mounted volumes, that the program holds.
int liveDatabases();
int liveVolumes();

}   // namespace sim
