// The phone's property sheet structures. They are shorter than the desktop's: the fields the desktop added behind are
// missing, and the phone refuses a size that counts them. Both the program's headers and the simulator use these.
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

#ifndef _WIN64
static_assert(sizeof(PropSheetPageW) == propSheetRecordSize, "the phone's PROPSHEETPAGEW has 40 bytes");
static_assert(sizeof(PropSheetHeaderW) == propSheetRecordSize, "the phone's PROPSHEETHEADERW has 40 bytes");
#endif

} // namespace ce

#endif
