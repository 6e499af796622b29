// The phone's property databases. A database has records, a record has properties; every one lies in a volume: the object
// store, or a file that is mounted.
//
// CeMountDBVolEx is missing on Pocket PC 2003: it has to be looked up (optional_function.h).
#pragma once

#include "phone.h"

#include "../property_layouts.h"

// Mounting: flags is OPEN_ALWAYS and its like; a volume that is mounted already is a success.
PHONE_API BOOL WINAPI CeMountDBVol(CEGUID *volume, LPWSTR path, DWORD flags);
PHONE_API BOOL WINAPI CeUnmountDBVol(CEGUID *volume);
using CeMountDBVolExFunction = BOOL(WINAPI *)(CEGUID *volume, LPWSTR path, CEVOLUMEOPTIONS *options, DWORD flags);

// Opening: INVALID_HANDLE_VALUE is failure, CloseHandle closes. The identifier stands for the database where there is no
// name, and is set to the database's where there is one. CeOpenDatabase knows the object store only.
PHONE_API HANDLE WINAPI CeOpenDatabase(CEOID *database, LPWSTR name, CEPROPID sortProperty, DWORD flags, HWND notified);
PHONE_API HANDLE WINAPI CeOpenDatabaseEx(CEGUID *volume, CEOID *database, LPWSTR name, CEPROPID sortProperty,
                                         DWORD flags, CENOTIFYREQUEST *request);
PHONE_API HANDLE WINAPI CeOpenDatabaseEx2(CEGUID *volume, CEOID *database, LPWSTR name, SORTORDERSPECEX *sort,
                                          DWORD flags, CENOTIFYREQUEST *request);

// The identifier of the record found, 0 when there is none; index becomes its place.
PHONE_API CEOID WINAPI CeSeekDatabase(HANDLE database, DWORD seekType, DWORD value, DWORD *index);

// Reads the record at the present place. Without identifiers all of its properties. The buffer begins with an array of
// count CEPROPVALs, followed by what they point to; one that the system has made (CEDB_ALLOWREALLOC, null heap) is released
// with LocalFree, after a failed call as well. Returns the record's identifier, 0 when there is no further one.
PHONE_API CEOID WINAPI CeReadRecordPropsEx(HANDLE database, DWORD flags, WORD *count, CEPROPID *properties,
                                           BYTE **buffer, DWORD *size, HANDLE heap);
