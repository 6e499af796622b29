// Holds the headers to the phone's layouts and values wherever they differ from the desktop's and the program uses them:
// the device build fails here when a header is found in the wrong order or changes. No code comes of this file.

#include <stddef.h>

#include "aygshell.h"
#include "commdlg.h"
#include "databases.h"
#include "mediaplayer.h"
#include "phone.h"
#include "pocketoutlook.h"
#include "prsht.h"
#include "shell_execute.h"

// ---- The machine -----------------------------------------------------------------------------------------------------

enum SmallEnumeration { smallValue };
static_assert(sizeof(void *) == 4 && sizeof(long) == 4 && sizeof(wchar_t) == 2 && sizeof(SmallEnumeration) == 4);
static_assert(static_cast<wchar_t>(-1) > 0 && static_cast<char>(-1) < 0);
static_assert(alignof(long long) == 8, "passed by value to the system, such a number would be misread");

// ---- Structures ------------------------------------------------------------------------------------------------------

#define LIES_AT(structure, field, offset) static_assert(offsetof(structure, field) == offset)

static_assert(sizeof(CRITICAL_SECTION) == 20);
LIES_AT(CRITICAL_SECTION, OwnerThread, 4);
LIES_AT(CRITICAL_SECTION, dwContentions, 16);

static_assert(sizeof(WIN32_FIND_DATAW) == 560);
LIES_AT(WIN32_FIND_DATAW, nFileSizeLow, 32);
LIES_AT(WIN32_FIND_DATAW, dwOID, 36);
LIES_AT(WIN32_FIND_DATAW, cFileName, 40);

static_assert(sizeof(OSVERSIONINFOW) == 276);
LIES_AT(OSVERSIONINFOW, dwPlatformId, 16);

static_assert(sizeof(WNDCLASSW) == 40);
LIES_AT(WNDCLASSW, lpszClassName, 36);

static_assert(sizeof(PROPSHEETPAGEW) == 40);
LIES_AT(PROPSHEETPAGEW, pszTemplate, 12);
LIES_AT(PROPSHEETPAGEW, pszTitle, 20);
LIES_AT(PROPSHEETPAGEW, pfnDlgProc, 24);
LIES_AT(PROPSHEETPAGEW, pcRefParent, 36);

static_assert(sizeof(PROPSHEETHEADERW) == 40);
LIES_AT(PROPSHEETHEADERW, pszCaption, 20);
LIES_AT(PROPSHEETHEADERW, nPages, 24);
LIES_AT(PROPSHEETHEADERW, nStartPage, 28);
LIES_AT(PROPSHEETHEADERW, ppsp, 32);
LIES_AT(PROPSHEETHEADERW, pfnCallback, 36);

static_assert(sizeof(OPENFILENAMEW) == 76 && openFileRecordSize == 76);
LIES_AT(OPENFILENAMEW, lpstrFilter, 12);
LIES_AT(OPENFILENAMEW, nFilterIndex, 24);
LIES_AT(OPENFILENAMEW, lpstrFile, 28);
LIES_AT(OPENFILENAMEW, nMaxFile, 32);
LIES_AT(OPENFILENAMEW, lpstrTitle, 48);
LIES_AT(OPENFILENAMEW, Flags, 52);
LIES_AT(OPENFILENAMEW, lpTemplateName, 72);

static_assert(sizeof(PSHNOTIFY) == 16 && sizeof(NMHDR) == 12 && sizeof(MSG) == 28);
LIES_AT(PSHNOTIFY, lParam, 12);

// The list view reads as far as the mask tells it, so the desktop's longer record does no harm: only the beginning counts.
LIES_AT(LVITEMW, state, 12);
LIES_AT(LVITEMW, stateMask, 16);
LIES_AT(LVITEMW, lParam, 32);
LIES_AT(LVITEMW, iIndent, 36);

static_assert(sizeof(NMCUSTOMDRAW) == 48);
LIES_AT(NMCUSTOMDRAW, dwItemSpec, 36);
LIES_AT(NMCUSTOMDRAW, lItemlParam, 44);
LIES_AT(NMLVCUSTOMDRAW, clrText, 48);
LIES_AT(NMLVCUSTOMDRAW, clrTextBk, 52);
LIES_AT(NMLVCUSTOMDRAW, iSubItem, 56);

static_assert(sizeof(SHINITDLGINFO) == 12 && sizeof(SHMENUBARINFO) == 36 && sizeof(SIPINFO) == 48);
LIES_AT(SHMENUBARINFO, hInstRes, 16);
LIES_AT(SHMENUBARINFO, hwndMB, 28);
LIES_AT(SIPINFO, rcVisibleDesktop, 8);
LIES_AT(SIPINFO, rcSipRect, 24);

static_assert(sizeof(ShellExecuteInfo) == 60);
LIES_AT(ShellExecuteInfo, lpFile, 16);
LIES_AT(ShellExecuteInfo, nShow, 28);
LIES_AT(ShellExecuteInfo, hProcess, 56);

static_assert(sizeof(LOGFONTW) == 92 && sizeof(SYSTEMTIME) == 16 && sizeof(PAINTSTRUCT) == 64);
static_assert(sizeof(SCROLLINFO) == 28 && sizeof(PROCESS_INFORMATION) == 16 && sizeof(INITCOMMONCONTROLSEX) == 8);
static_assert(sizeof(DLGTEMPLATE) == 18);

static_assert(sizeof(CEGUID) == 16 && sizeof(CEBLOB) == 8 && sizeof(CEPROPVAL) == 16 && sizeof(CENOTIFYREQUEST) == 20);
LIES_AT(CEBLOB, lpb, 4);
LIES_AT(CEPROPVAL, wFlags, 6);
LIES_AT(CEPROPVAL, val, 8);
static_assert(sizeof(SORTORDERSPECEX) == 32 && sizeof(CEVOLUMEOPTIONS) == 112);
LIES_AT(SORTORDERSPECEX, rgPropID, 8);
LIES_AT(SORTORDERSPECEX, rgdwFlags, 20);
LIES_AT(CEVOLUMEOPTIONS, dwDefaultTimeout, 20);
LIES_AT(CEVOLUMEOPTIONS, dwFlags, 108);

// ---- Constants -------------------------------------------------------------------------------------------------------

static_assert(WS_OVERLAPPED == 0x00C00000 && WS_MINIMIZEBOX == 0x00010000 && WS_MAXIMIZEBOX == 0x00020000);
static_assert(SW_SHOWMAXIMIZED == 11 && SW_MAXIMIZE == 12 && SW_RESTORE == 13);
static_assert(THREAD_PRIORITY_HIGHEST == 1 && THREAD_PRIORITY_NORMAL == 3 && THREAD_PRIORITY_IDLE == 7);
static_assert(COLOR_WINDOW == 0x40000005 && COLOR_BTNTEXT == 0x40000012);
static_assert(COMCTL32_VERSION == 0x020C && SPI_GETPLATFORMTYPE == 257 && SPI_GETOEMINFO == 258 && SYSTEM_FONT == 13);
