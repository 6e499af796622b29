// Opening a phone folder and switching to another one. What other parts ask of the phone is in core.h.
#pragma once

#include "core.h"

namespace sim {

// Makes the phone in folder (host path, either slash) the one this process plays: settings and faults are read anew,
// and a registry that was never seeded is. False when folder is no phone folder or one of its files is malformed; problem
// then says why, and no phone is open.
bool usePhone(const std::wstring &folder, std::wstring &problem);

// Replaces one text of phone.ini for this process; the file stays as it is.
void overrideSetting(const wchar_t *section, const wchar_t *key, const wchar_t *value);

// Writes a line to standard error, which also works in a program without a console.
void complain(const std::wstring &text);

// Whether two texts are equal when letter case does not count.
inline bool sameText(const wchar_t *a, const wchar_t *b)
{
    return _wcsicmp(a, b) == 0;
}

// The UTF-8 form of a text, for what is written to files and streams.
std::string utf8(const std::wstring &text);

// Holds a lock for the length of a block.
class Guard {
public:
    explicit Guard(SRWLOCK &lock) : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
    ~Guard() { ReleaseSRWLockExclusive(&lock_); }
    Guard(const Guard &) = delete;
    Guard &operator=(const Guard &) = delete;

private:
    SRWLOCK &lock_;
};

// A mutex all programs of the desktop share by name, held for the length of a block.
class SharedGuard {
public:
    explicit SharedGuard(const std::wstring &name);
    ~SharedGuard();
    SharedGuard(const SharedGuard &) = delete;
    SharedGuard &operator=(const SharedGuard &) = delete;

private:
    HANDLE mutex_;
};

}   // namespace sim
