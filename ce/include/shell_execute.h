// Opening a file with the program it belongs to.
#pragma once

#include "phone.h"

struct ShellExecuteInfo {   // 60 bytes on the phone
    DWORD cbSize;
    ULONG fMask;
    HWND hwnd;
    const wchar_t *lpVerb;   // null: open
    const wchar_t *lpFile;
    const wchar_t *lpParameters;
    const wchar_t *lpDirectory;
    int nShow;
    HINSTANCE hInstApp;
    void *lpIDList;
    const wchar_t *lpClass;
    HKEY hkeyClass;
    DWORD dwHotKey;
    HANDLE hIcon;
    HANDLE hProcess;
};

constexpr ULONG SEE_MASK_NOCLOSEPROCESS = 0x40;   // hProcess is then the caller's to close

PHONE_API BOOL WINAPI ShellExecuteEx(ShellExecuteInfo *info);
