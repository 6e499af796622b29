// What the parts of the simulator share: the phone it plays, its paths, journal and faults.
// Everything lives in coredll.dll; commctrl.dll and aygshell.dll only forward their names to it.
#pragma once

#include <string>
#include <vector>
#include <windows.h>

namespace sim {

// The phone being played: the fixed facts of phone.ini. Texts and lists are asked for with setting() and listed().
struct Phone {
    std::wstring folder;   // Windows path of the phone folder, no trailing separator
    std::wstring name;     // [phone] name, by default the folder's name; the registry lives under this name
    int width, height;     // screen, pixels
    int dpi;               // dots per inch, both directions; 96 is 1:1
    DWORD osMajor, osMinor, osBuild;
};

// The phone named by PHONE, opened (and its registry seeded) at the first call. Ends the process with a message when
// PHONE names no phone folder.
const Phone &phone();

// A text of phone.ini; fallback when the section or key is missing.
std::wstring setting(const wchar_t *section, const wchar_t *key, const wchar_t *fallback = L"");
int settingNumber(const wchar_t *section, const wchar_t *key, int fallback = 0);

// The items of a comma-separated text of phone.ini, blanks around them removed.
std::vector<std::wstring> settingList(const wchar_t *section, const wchar_t *key);

// Whether item is in that list; letter case does not count.
bool listed(const wchar_t *section, const wchar_t *key, const wchar_t *item);

// n pixels of a 96 dpi phone in pixels of this phone.
inline int px(int n)
{
    return MulDiv(n, phone().dpi, 96);
}

// "\X" of the phone as a path of the host: <folder>\root\X. A path with a drive letter or "\\" in front is left alone.
std::wstring hostPath(const wchar_t *phonePath);

// The other way round; a host path outside the phone's root is returned as it is.
std::wstring phonePath(const wchar_t *hostPath);

// Reads a text file of the host: UTF-8 with or without byte-order mark, or UTF-16LE with one. False when it cannot be
// read; text is then left alone.
bool readTextFile(const std::wstring &path, std::wstring &text);

// The screen rectangle between title bar and bottom bar (or the raised input panel), in screen pixels of the phone.
RECT workArea();

// Adds one line to journal.log: kind, then the fields, tab-separated, UTF-8, CR LF. Fields are written as they are but for
// control characters, which become \t, \r, \n escapes. Safe from any thread and from two processes on one phone.
void journal(const wchar_t *kind, const std::vector<std::wstring> &fields);

// Ordered faults. A call site names its kind and the thing it is about (value name, path, "") and asks once per call.
enum class FaultKind { registry, file, allocation, database, object, sound };
enum class Fault { none, fail, raise };   // raise: the call throws, as a fault inside the system would
Fault faultDue(FaultKind kind, const wchar_t *operation, const wchar_t *detail);

// The object thrown for Fault::raise; the program catches it with catch (...).
struct OrderedFault {};

// Text conversions and small formatting for journal fields.
std::wstring number(long long value);
std::wstring hexadecimal(unsigned long long value);   // "0x81FD"
std::wstring windowName(HWND window);   // class name of a window, "(none)" for null, "(gone)" for a stale handle

}   // namespace sim
