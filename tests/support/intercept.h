// Looking over the program's shoulder: for the length of a scope, a function of the test's own stands in the place of one
// that the program imports. It may call the function it stands for.
//
//     IMPORTED(DeleteObject);
//     ...
//     Intercept<__imp_DeleteObject> deleting([](HGDIOBJ object) -> BOOL {
//         trace.push_back("delete");
//         return Intercept<__imp_DeleteObject>::real(object);
//     });
#pragma once

#include <type_traits>

#include "phone.h"

// Declares the program's pointer to an imported function; at file scope.
#define IMPORTED(function) extern "C" decltype(&function) __imp_##function

template <auto &pointer> class Intercept {
public:
    using Function = std::remove_reference_t<decltype(pointer)>;

    explicit Intercept(Function replacement)
    {
        real = pointer;
        point(replacement);
    }
    ~Intercept() { point(real); }
    Intercept(const Intercept &) = delete;
    Intercept &operator=(const Intercept &) = delete;

    static inline Function real = nullptr;   // the function replaced

private:
    static void point(Function function)
    {
        DWORD protection;
        VirtualProtect(&pointer, sizeof pointer, PAGE_READWRITE, &protection);
        pointer = function;
        VirtualProtect(&pointer, sizeof pointer, protection, &protection);
    }
};
