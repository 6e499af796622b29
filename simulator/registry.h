// The phone's registry inside the desktop's.
#pragma once

#include "core.h"

namespace sim {

// "Software\Phone Simulator\<name>", below the desktop's HKEY_CURRENT_USER.
std::wstring registryBranch(const std::wstring &phoneName);

// Seeds the phone's registry from its registry.reg unless it has been before. False when that file is malformed.
bool seedRegistry(const Phone &phone, std::wstring &problem);

// Throws the phone's registry away and seeds it again.
bool reseedRegistry(const Phone &phone, std::wstring &problem);

// Removes the registry of the phone with that name, whether it is the one being played or not.
bool deleteRegistry(const std::wstring &phoneName);

// How many keys the program holds open.
int liveKeys();

}   // namespace sim
