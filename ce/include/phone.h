// The phone's API as this program sees it: the one system header that program sources include.
//
// Most declarations are mingw-w64's, which agree with the phone's. What differs is put right here or in the headers
// beside this one. Declaring a function is not enough to use it: its name must also stand in one of the import lists
// (../coredll.def and its neighbours), for that is all that either build links against.
#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif

// The phone passes a wide command line to a function that is called WinMain all the same.
#define WinMain desktopWinMain
#include <windows.h>
#undef WinMain
#include <commctrl.h>

#define PHONE_API extern "C" __declspec(dllimport)

extern "C" int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR commandLine, int showCommand);

// ---- Constants with another value or no name on the desktop ------------------------------------------------------

#undef COMCTL32_VERSION
constexpr LRESULT COMCTL32_VERSION = 0x020C;   // the Pocket PC 2003 value, accepted by all later systems

#undef SPI_GETPLATFORMTYPE
#undef SPI_GETOEMINFO
constexpr UINT SPI_GETPLATFORMTYPE = 257;
constexpr UINT SPI_GETOEMINFO = 258;

#ifndef DWL_MSGRESULT
#define DWL_MSGRESULT 0
#endif

#undef SYSTEM_FONT
constexpr int SYSTEM_FONT = 13;   // the only stock font of a phone

// ---- Functions with another name or signature --------------------------------------------------------------------

#undef SendMessageTimeout
PHONE_API LRESULT WINAPI SendMessageTimeout(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT flags,
                                            UINT milliseconds, DWORD_PTR *result);

PHONE_API FARPROC WINAPI GetProcAddressW(HMODULE module, const wchar_t *name);   // a wide name, unlike the desktop's

// A loaded resource is its address: the phone has no function for it.
#define LockResource(resource) static_cast<void *>(resource)

#ifdef _WIN64
// The simulator is a 64-bit program, where these two take and return values as wide as a pointer.
#undef SetWindowLongPtr
#undef GetWindowLongPtr
extern "C" LONG_PTR WINAPI phoneSetWindowLong(HWND window, int index, LONG_PTR value) __asm__("SetWindowLongW");
extern "C" LONG_PTR WINAPI phoneGetWindowLong(HWND window, int index) __asm__("GetWindowLongW");
#define SetWindowLongPtrW phoneSetWindowLong
#define GetWindowLongPtrW phoneGetWindowLong

// The simulator fills the phone's record of a folder's entry, which is shorter than the desktop's.
#include "../layouts.h"
PHONE_API HANDLE WINAPI phoneFindFirstFile(LPCWSTR pattern, ce::FindDataW *found) __asm__("FindFirstFileW");
PHONE_API BOOL WINAPI phoneFindNextFile(HANDLE search, ce::FindDataW *found) __asm__("FindNextFileW");
#define WIN32_FIND_DATAW ce::FindDataW
#define FindFirstFileW phoneFindFirstFile
#define FindNextFileW phoneFindNextFile
#endif

// ---- C runtime (all of it lives in coredll) ----------------------------------------------------------------------

#include <stdarg.h>
#include <stddef.h>

PHONE_API int __cdecl _vsnprintf(char *to, size_t count, const char *format, va_list arguments);
PHONE_API int __cdecl _vsnwprintf(wchar_t *to, size_t count, const wchar_t *format, va_list arguments);
PHONE_API long __cdecl _wtol(const wchar_t *text);
PHONE_API wchar_t *__cdecl _wcslwr(wchar_t *text);
