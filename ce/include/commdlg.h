// File dialogs as the phone has them; stands in front of the desktop header of the same name, whose record has more fields
// than the phone accepts.
#pragma once

#include "phone.h"

#include "../layouts.h"

using OPENFILENAMEW = ce::OpenFileNameW;
using ce::openFileRecordSize;

extern "C" __declspec(dllimport) BOOL WINAPI GetOpenFileNameW(OPENFILENAMEW *request);
extern "C" __declspec(dllimport) BOOL WINAPI GetSaveFileNameW(OPENFILENAMEW *request);

constexpr DWORD OFN_HIDEREADONLY = 0x00000004;
constexpr DWORD OFN_PATHMUSTEXIST = 0x00000800;
constexpr DWORD OFN_FILEMUSTEXIST = 0x00001000;
constexpr DWORD OFN_PROJECT = 0x00400000;   // a folder is wanted
