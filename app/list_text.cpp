#include "list_text.h"

wchar_t *nextListEntry(wchar_t *&rest)
{
    wchar_t *end = rest ? wcschr(rest, listSeparator) : nullptr;
    if (!end)
        return nullptr;
    wchar_t *const entry = rest;
    *end = 0;
    rest = end + 1;
    return entry;
}
