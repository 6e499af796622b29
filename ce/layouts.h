// The phone's structures where the desktop has longer ones under the same name. In property sheets and file dialogs the
// fields the desktop added behind are missing, and the phone refuses a size that counts them. Both the program's headers
// and the simulator use these.
#ifndef CE_LAYOUTS_H
#define CE_LAYOUTS_H

#include <windows.h>

namespace ce {

struct PropSheetPageW {
    DWORD dwSize;
    DWORD dwFlags;
    HINSTANCE hInstance;
    union {
        LPCWSTR pszTemplate;
        LPCDLGTEMPLATEW pResource;
    };
    union {
        HICON hIcon;
        LPCWSTR pszIcon;
    };
    LPCWSTR pszTitle;
    DLGPROC pfnDlgProc;
    LPARAM lParam;
    UINT(CALLBACK *pfnCallback)(HWND window, UINT message, PropSheetPageW *page);
    UINT *pcRefParent;
};

typedef int(CALLBACK *PropSheetCallback)(HWND sheet, UINT message, LPARAM lParam);

// PROPSHEETPAGE handles are the desktop's; naming the structure spares this header <prsht.h>.
struct PropSheetHeaderW {
    DWORD dwSize;
    DWORD dwFlags;
    HWND hwndParent;
    HINSTANCE hInstance;
    union {
        HICON hIcon;
        LPCWSTR pszIcon;
    };
    LPCWSTR pszCaption;
    UINT nPages;
    union {
        UINT nStartPage;
        LPCWSTR pStartPage;
    };
    union {
        const PropSheetPageW *ppsp;
        struct _PSP **phpage;
    };
    PropSheetCallback pfnCallback;
};

// What the program writes into dwSize, whatever the pointers' size.
constexpr DWORD propSheetRecordSize = 40;

// What a file dialog is asked with, and where it puts its answer.
struct OpenFileNameW {
    DWORD lStructSize;
    HWND hwndOwner;
    HINSTANCE hInstance;
    LPCWSTR lpstrFilter;
    LPWSTR lpstrCustomFilter;
    DWORD nMaxCustFilter;
    DWORD nFilterIndex;
    LPWSTR lpstrFile;
    DWORD nMaxFile;
    LPWSTR lpstrFileTitle;
    DWORD nMaxFileTitle;
    LPCWSTR lpstrInitialDir;
    LPCWSTR lpstrTitle;
    DWORD Flags;
    WORD nFileOffset;
    WORD nFileExtension;
    LPCWSTR lpstrDefExt;
    LPARAM lCustData;
    FARPROC lpfnHook;
    LPCWSTR lpTemplateName;
};

// What the program writes into lStructSize, whatever the pointers' size.
constexpr DWORD openFileRecordSize = 76;

// An entry of a folder.
struct FindDataW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwOID;
    WCHAR cFileName[MAX_PATH];
};
static_assert(sizeof(FindDataW) == 560, "the phone's WIN32_FIND_DATAW has 560 bytes");

#ifndef _WIN64
static_assert(sizeof(OpenFileNameW) == openFileRecordSize, "the phone's OPENFILENAMEW has 76 bytes");
static_assert(sizeof(PropSheetPageW) == propSheetRecordSize, "the phone's PROPSHEETPAGEW has 40 bytes");
static_assert(sizeof(PropSheetHeaderW) == propSheetRecordSize, "the phone's PROPSHEETHEADERW has 40 bytes");
#endif

} // namespace ce

#endif
