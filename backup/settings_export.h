// Writing all settings to the exchange file.
#pragma once

#include "phone.h"

// Writes every value of the program's key and of its direct subkeys, and says so. Returns 1; 0, without a message, when the
// install directory is not known, the file cannot be created or there is no memory. Failing writes make the file shorter
// and are not reported.
int exportSettings();
