// The desktop's own functions where the phone has one of the same name: a test that judges the simulator from outside
// must not look through it.
//
//     HOST("advapi32.dll", RegOpenKeyExW)(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &key);
#pragma once

#include "doctest.h"
#include "phone.h"

template <typename Function> Function *hostFunction(const char *dll, const char *name)
{
    const HMODULE module = LoadLibraryA(dll);
    void *const address = module ? reinterpret_cast<void *>(GetProcAddress(module, name)) : nullptr;
    REQUIRE_MESSAGE(address, "no " << name << " in " << dll);
    return reinterpret_cast<Function *>(address);
}

#define HOST(dll, function) hostFunction<decltype(function)>(dll, #function)
