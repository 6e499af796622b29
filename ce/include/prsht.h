// Property sheets as the phone has them; stands in front of the desktop header of the same name, whose structures have
// more fields than the phone accepts.
#pragma once

#include "../layouts.h"

using PROPSHEETPAGEW = ce::PropSheetPageW;
using PROPSHEETHEADERW = ce::PropSheetHeaderW;
using ce::propSheetRecordSize;

struct PSHNOTIFY {
    NMHDR hdr;
    LPARAM lParam;
};

extern "C" __declspec(dllimport) INT_PTR WINAPI PropertySheetW(const PROPSHEETHEADERW *header);

constexpr DWORD PSP_USETITLE = 0x08;

constexpr DWORD PSH_PROPSHEETPAGE = 0x0008;
constexpr DWORD PSH_USECALLBACK = 0x0100;
constexpr DWORD PSH_MAXIMIZE = 0x2000;

// What a sheet callback is asked.
constexpr UINT PSCB_INITIALIZED = 1;
constexpr UINT PSCB_GETVERSION = 3;

constexpr UINT PSM_SETCURSEL = WM_USER + 101;
constexpr UINT PSM_GETTABCONTROL = WM_USER + 116;
constexpr UINT PSM_PRESSBUTTON = WM_USER + 113;
constexpr WPARAM PSBTN_OK = 3;
constexpr UINT PSM_GETCURRENTPAGEHWND = WM_USER + 118;

constexpr UINT PSN_SETACTIVE = static_cast<UINT>(-200);
constexpr UINT PSN_KILLACTIVE = static_cast<UINT>(-201);
constexpr UINT PSN_APPLY = static_cast<UINT>(-202);
constexpr UINT PSN_RESET = static_cast<UINT>(-203);

constexpr LONG_PTR PSNRET_NOERROR = 0;
