// The text format of registry.reg: "Windows Registry Editor Version 5.00".
#pragma once

#include "core.h"

namespace sim {

struct RegistryValue {
    std::wstring name;   // empty for the default value
    DWORD type;
    std::vector<BYTE> data;
    bool remove;   // "name"=-
};

struct RegistryKey {
    std::wstring path;   // "HKEY_CURRENT_USER\Software\..."
    bool remove;         // [-path]
    std::vector<RegistryValue> values;
};

// Parses the text of a whole file. Returns 0, or the number of the first line it does not understand.
int parseRegistryText(const std::wstring &text, std::vector<RegistryKey> &keys);

}   // namespace sim
