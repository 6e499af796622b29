// The phone's values in place of the desktop's. mingw's headers describe the desktop; where the phone has another layout or
// another number under the same name, this header, found before mingw's of the same name, puts it right for the device
// build. (The simulator takes the desktop's values and turns to the phone's what has to be.)
#pragma once

// ---- Structures with another layout ----------------------------------------------------------------------------------

#include <windef.h>

struct PhoneCriticalSection {
    UINT LockCount;
    HANDLE OwnerThread;
    HANDLE hCrit;
    DWORD needtrap;
    DWORD dwContentions;
};

// <windows.h> names the desktop's structure in its functions through these, which <windef.h> above has declared already.
#define RTL_CRITICAL_SECTION PhoneCriticalSection
#define PRTL_CRITICAL_SECTION PhoneCriticalSection *

#define _WIN32_FIND_DATAW _desktopFindData
#define WIN32_FIND_DATAW desktopFindData
#define PWIN32_FIND_DATAW desktopFindDataPointer
#define LPWIN32_FIND_DATAW desktopFindDataLongPointer
#define FindFirstFileW desktopFindFirstFile
#define FindNextFileW desktopFindNextFile

#include_next <windows.h>
#include <stdlib.h>   // malloc and free: for the desktop's processors <windows.h> brings them along

#undef RTL_CRITICAL_SECTION
#undef PRTL_CRITICAL_SECTION
#undef _WIN32_FIND_DATAW
#undef WIN32_FIND_DATAW
#undef PWIN32_FIND_DATAW
#undef LPWIN32_FIND_DATAW
#undef FindFirstFileW
#undef FindNextFileW

struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwOID;
    WCHAR cFileName[MAX_PATH];
};

extern "C" HANDLE FindFirstFileW(LPCWSTR pattern, WIN32_FIND_DATAW *found);
extern "C" BOOL FindNextFileW(HANDLE search, WIN32_FIND_DATAW *found);

// Other structures with another layout, which nothing needs so far: to use one, give it its phone layout above first.
#pragma GCC poison NOTIFYICONDATAW MENUITEMINFOW PROCESSENTRY32W

// ---- Constants with another value ------------------------------------------------------------------------------------

#undef WS_OVERLAPPED
#undef WS_MINIMIZEBOX
#undef WS_MAXIMIZEBOX
#define WS_OVERLAPPED (WS_BORDER | WS_CAPTION)
#define WS_MINIMIZEBOX 0x00010000L
#define WS_MAXIMIZEBOX 0x00020000L

#undef SW_MAX
#undef SW_SHOWMAXIMIZED
#undef SW_MAXIMIZE
#undef SW_RESTORE
#define SW_MAX 10
#define SW_SHOWMAXIMIZED 11
#define SW_MAXIMIZE 12
#define SW_RESTORE 13

#undef THREAD_PRIORITY_TIME_CRITICAL
#undef THREAD_PRIORITY_HIGHEST
#undef THREAD_PRIORITY_ABOVE_NORMAL
#undef THREAD_PRIORITY_NORMAL
#undef THREAD_PRIORITY_BELOW_NORMAL
#undef THREAD_PRIORITY_LOWEST
#undef THREAD_PRIORITY_IDLE
#define THREAD_PRIORITY_TIME_CRITICAL 0
#define THREAD_PRIORITY_HIGHEST 1
#define THREAD_PRIORITY_ABOVE_NORMAL 2
#define THREAD_PRIORITY_NORMAL 3
#define THREAD_PRIORITY_BELOW_NORMAL 4
#define THREAD_PRIORITY_LOWEST 5
#define THREAD_PRIORITY_ABOVE_IDLE 6
#define THREAD_PRIORITY_IDLE 7

// The phone tells a colour's index from a brush by this bit.
#define SYS_COLOR_INDEX_FLAG 0x40000000
#undef COLOR_WINDOW
#undef COLOR_WINDOWFRAME
#undef COLOR_WINDOWTEXT
#undef COLOR_HIGHLIGHT
#undef COLOR_HIGHLIGHTTEXT
#undef COLOR_BTNFACE
#undef COLOR_BTNSHADOW
#undef COLOR_GRAYTEXT
#undef COLOR_BTNTEXT
#define COLOR_WINDOW (SYS_COLOR_INDEX_FLAG | 5)
#define COLOR_WINDOWFRAME (SYS_COLOR_INDEX_FLAG | 6)
#define COLOR_WINDOWTEXT (SYS_COLOR_INDEX_FLAG | 8)
#define COLOR_HIGHLIGHT (SYS_COLOR_INDEX_FLAG | 13)
#define COLOR_HIGHLIGHTTEXT (SYS_COLOR_INDEX_FLAG | 14)
#define COLOR_BTNFACE (SYS_COLOR_INDEX_FLAG | 15)
#define COLOR_BTNSHADOW (SYS_COLOR_INDEX_FLAG | 16)
#define COLOR_GRAYTEXT (SYS_COLOR_INDEX_FLAG | 17)
#define COLOR_BTNTEXT (SYS_COLOR_INDEX_FLAG | 18)
