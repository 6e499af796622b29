// The wait cursor, shown until the end of its scope, whichever way that is left.
#pragma once

#include "phone.h"

class WaitCursor {
public:
    WaitCursor() : former(SetCursor(LoadCursorW(nullptr, IDC_WAIT))) {}
    WaitCursor(const WaitCursor &) = delete;
    WaitCursor &operator=(const WaitCursor &) = delete;
    ~WaitCursor() { SetCursor(former); }

private:
    const HCURSOR former;   // null on a phone, which has no other cursor
};
