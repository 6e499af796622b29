// kv_Location.dat in the install directory: the groups of mobile cells that the engine knows as places.
//
// Records of a cell list (separated by ","), ",@", the group's name and "§", one behind the other in UTF-16.
#pragma once

#include "phone.h"

// The whole file as a terminated text in a new buffer, which the caller frees with freeText; a byte too many at the end is
// left out. Null when the install directory is unknown, the file cannot be opened or read, or is 256 MB or longer. Throws
// OutOfMemory.
wchar_t *readLocationFile();

// Calls add(context, name) for every group of the file, in its order; names are never empty and valid during the call only.
// Ends at the first record that is empty or lacks its "§"; passes over one without an at sign. What add throws is passed on,
// with nothing left behind.
void listLocations(void (*add)(void *context, const wchar_t *name), void *context);
