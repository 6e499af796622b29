// The Windows Mobile shell (aygshell.dll): full-screen dialogs, menu bar, soft input panel.
#pragma once

#include "phone.h"

struct SHINITDLGINFO {
    DWORD dwMask;
    HWND hDlg;
    DWORD dwFlags;
};

constexpr DWORD SHIDIM_FLAGS = 0x0001;

constexpr DWORD SHIDIF_DONEBUTTON = 0x0001;
constexpr DWORD SHIDIF_SIZEDLGFULLSCREEN = 0x0004;
constexpr DWORD SHIDIF_SIPDOWN = 0x0008;

struct SHMENUBARINFO {
    DWORD cbSize;
    HWND hwndParent;
    DWORD dwFlags;
    UINT nToolBarId;
    HINSTANCE hInstRes;
    int nBmpId;
    int cBmpImages;
    HWND hwndMB;   // out
    COLORREF clrBk;
};

constexpr DWORD SHCMBF_EMPTYBAR = 0x0001;

struct SIPINFO {
    DWORD cbSize;
    DWORD fdwFlags;
    RECT rcVisibleDesktop;
    RECT rcSipRect;
    DWORD dwImDataSize;
    void *pvImData;
};

constexpr DWORD SIPF_ON = 0x0001;

constexpr UINT SPI_SETSIPINFO = 224;   // also the wParam of the WM_SETTINGCHANGE that the panel causes
constexpr UINT SPI_GETSIPINFO = 225;

PHONE_API BOOL SHInitDialog(SHINITDLGINFO *info);
PHONE_API BOOL SHCreateMenuBar(SHMENUBARINFO *info);
PHONE_API BOOL SHSipInfo(UINT action, UINT number, void *data, UINT notify);

// ---- System sounds, from Windows Mobile 5 on: looked up at run time, never imported --------------------------------------

enum SND_EVENT { SND_EVENT_RINGTONELINE1 = 1 };   // the one value that means the same in all versions

constexpr DWORD SND_LOCATION_ALL = 0xFFFFFFFF;

struct SNDDIRECTORYINFO {
    WCHAR szPathName[260];
};

// The folders with sounds for an event, as one array that the caller releases with LocalFree.
PHONE_API HRESULT SndGetSoundDirectoriesList(SND_EVENT event, DWORD locations, SNDDIRECTORYINFO **directories, int *count);

// From Windows Mobile 6 on: looked up at run time, never imported. Plays any kind of sound file to its end.
PHONE_API HRESULT SndPlaySync(const wchar_t *path, DWORD flags);

#ifdef UNDER_CE
static_assert(sizeof(SHINITDLGINFO) == 12 && sizeof(SHMENUBARINFO) == 36 && sizeof(SIPINFO) == 48);
#endif
static_assert(sizeof(SNDDIRECTORYINFO) == 520);
