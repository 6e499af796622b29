// The diagnostic log, Kelvane.log in the install directory.
#pragma once

#include "text.h"

// Bits of userSettings.loggingOption. Callers test detailed or signal before they build such a line.
constexpr DWORD logBasic = 1;
constexpr DWORD logDetailed = 4;
constexpr DWORD logSignal = 8;

// Appends one time-stamped line. Lines that begin with "*" are always written, others only while the low byte of
// loggingOption is not 0. Never fails visibly: a line is lost when the file cannot be opened or another thread holds the
// log for longer than 10 ms. Any length; any thread.
void writeLog(const char *text);

// Formats a line of at most 1023 characters first.
void writeLogFormatted(const char *format, ...);

// A name or path as an argument for "%s" of a line: the formatter would stop at a character that it cannot convert.
struct LoggedName {
    explicit LoggedName(const wchar_t *name) { narrowText(text, name); }

    char text[1000];
};

// The critical section that serialises the writers; for a test that holds it.
extern CRITICAL_SECTION logLock;
