// The text file that all settings are exported to and imported from.
//
// It is 8-bit text in the phone's code page, which a person can read and edit:
//
//     Software\Tessaryn\Kelvane           the key
//                                         a blank line
//     skinName=1,blue_big                 name=type,value for every value, the type as the registry numbers them
//     lowBatteryLevel=4,20
//                                         a blank line before the next key
//     Software\Tessaryn\Kelvane\1
//     ...
#pragma once

#include "text.h"

// Its name in the install directory.
constexpr wchar_t exchangeFileName[] = L"kv_Export.txt";

// This value is where the program lies on this phone: it is neither exported nor imported.
constexpr wchar_t installPathValue[] = L"installdir";

// Room for its path with any install directory.
constexpr size_t exchangePathCapacity = MAX_PATH + countOf(exchangeFileName);

// Builds the path of the file; false while the install directory is not known.
bool exchangeFilePath(wchar_t (&path)[exchangePathCapacity]);
