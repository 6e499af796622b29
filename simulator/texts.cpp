// Letter case as the phone has it: of all letters, one for one, whatever the locale. The desktop's C runtime leaves letters
// with accents alone.
#include <windows.h>

namespace {

wchar_t *mapped(wchar_t *text, DWORD form)
{
    const int length = static_cast<int>(wcslen(text));
    if (length)
        LCMapStringEx(LOCALE_NAME_INVARIANT, form, text, length, text, length, nullptr, nullptr, 0);
    return text;
}

}   // namespace

extern "C" {

wchar_t *simWcslwr(wchar_t *text)
{
    return mapped(text, LCMAP_LOWERCASE);
}

wchar_t *simWcsupr(wchar_t *text)
{
    return mapped(text, LCMAP_UPPERCASE);
}

}   // extern "C"
