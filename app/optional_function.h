// Functions that not every supported phone has. They are looked up when they are needed: a program that imports a name its
// phone lacks does not start.
#pragma once

#include "phone.h"

// The function of that name in a library that is loaded already; null when this phone lacks it.
template <typename Function> Function optionalFunction(const wchar_t *library, const wchar_t *name)
{
    const HMODULE module = GetModuleHandleW(library);
    // The general function pointer is on its way to its real type; the detour over void spares the warning.
    return module ? reinterpret_cast<Function>(reinterpret_cast<void *>(GetProcAddressW(module, name))) : nullptr;
}
