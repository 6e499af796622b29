// The phone's file handles and search records.
#pragma once

#include "core.h"

namespace sim {

// WIN32_FIND_DATAW as the phone lays it out: no reserved pair, an object id, no short name.
struct PhoneFindData {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime, ftLastAccessTime, ftLastWriteTime;
    DWORD nFileSizeHigh, nFileSizeLow;
    DWORD dwOID;
    WCHAR cFileName[MAX_PATH];
};
static_assert(sizeof(PhoneFindData) == 560, "the phone's layout");

// A handle the program has to close with CloseHandle.
enum class HandleKind { file, process };
void rememberHandle(HANDLE handle, HandleKind kind, const std::wstring &path);
int liveHandles(HandleKind kind);

// Searches the program has not closed yet.
int liveSearches();

// Whether a file or folder is there on the phone.
bool existsOnPhone(const std::wstring &phonePath);

// Lets another part of the simulator own handles that the program closes with CloseHandle. The closer is asked for
// every handle that is no file; it closes its own and returns true, and false for any other. Adding one twice is
// harmless.
using HandleCloser = bool (*)(HANDLE handle);
void addHandleCloser(HandleCloser closer);

}   // namespace sim
