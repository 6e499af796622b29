// Structures and values of the phone's property databases, which Pocket Outlook hands out its items' properties in as well.
// Both the program's headers and the simulator use these.
#ifndef CE_PROPERTY_LAYOUTS_H
#define CE_PROPERTY_LAYOUTS_H

#include <windows.h>

using CEOID = DWORD;      // object identifier; 0 is none
using CEPROPID = DWORD;   // the low word is the type, the high word the property's number

struct CEGUID {
    DWORD Data1, Data2, Data3, Data4;
};

struct CEBLOB {
    DWORD dwCount;
    BYTE *lpb;
};

union CEVALUNION {
    short iVal;
    USHORT uiVal;
    LONG lVal;
    ULONG ulVal;
    FILETIME filetime;
    LPWSTR lpwstr;
    CEBLOB blob;
    BOOL boolVal;
    double dblVal;
};

struct CEPROPVAL {
    CEPROPID propid;
    WORD wLenData;   // not used by the phone
    WORD wFlags;
    CEVALUNION val;
};

// A sort order of up to three properties: the form that every phone accepts.
struct SORTORDERSPECEX {
    WORD wVersion;   // 1
    WORD wNumProps;
    WORD wKeyFlags;
    WORD wReserved;
    CEPROPID rgPropID[3];
    DWORD rgdwFlags[3];
};

struct CENOTIFYREQUEST {
    DWORD dwSize;
    HWND hwnd;
    DWORD dwFlags;
    HANDLE hHeap;
    DWORD dwParam;
};

struct CEVOLUMEOPTIONS {
    WORD wVersion;   // 1
    DWORD cbBufferPool;
    DWORD dwAutoShrinkPercent;
    DWORD dwFlushInterval;
    DWORD cMaxNotifyChanges;
    DWORD dwDefaultTimeout;
    WCHAR wszPassword[41];
    DWORD dwFlags;
};

// Types of properties.
constexpr WORD CEVT_I2 = 2;
constexpr WORD CEVT_I4 = 3;
constexpr WORD CEVT_R8 = 5;
constexpr WORD CEVT_BOOL = 11;
constexpr WORD CEVT_UI2 = 18;
constexpr WORD CEVT_UI4 = 19;
constexpr WORD CEVT_LPWSTR = 31;
constexpr WORD CEVT_FILETIME = 64;
constexpr WORD CEVT_BLOB = 65;

constexpr WORD TypeFromPropID(CEPROPID property)
{
    return static_cast<WORD>(property & 0xFFFF);
}

constexpr WORD CEDB_PROPNOTFOUND = 0x0100;   // in wFlags: asked for, and not there

constexpr DWORD CEDB_AUTOINCREMENT = 0x00000001;   // for opening: each read moves on to the next record
constexpr DWORD CEDB_ALLOWREALLOC = 0x00000001;    // for reading: the system makes the buffer as large as need be
constexpr DWORD EDB_MOUNT_FLAG = 0x80000000;

constexpr DWORD CEDB_SEEK_CEOID = 1;
constexpr DWORD CEDB_SEEK_BEGINNING = 2;
constexpr DWORD CEDB_SEEK_END = 4;
constexpr DWORD CEDB_SEEK_CURRENT = 8;

constexpr DWORD CEDB_SORT_DESCENDING = 1;

// Volumes that have no file: the object store, and any of those mounted.
constexpr CEGUID CE_SYSTEM_VOLUME = {0, 0, 0, 0};
constexpr CEGUID CE_ANY_VOLUME = {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF};

#endif
