// COM, and the Windows Media Player control, as far as this program uses them.
#pragma once

#include "phone.h"

#ifndef __IUnknown_INTERFACE_DEFINED__
#define __IUnknown_INTERFACE_DEFINED__
struct IUnknown {
    virtual HRESULT WINAPI QueryInterface(const IID &interfaceId, void **object) = 0;
    virtual ULONG WINAPI AddRef() = 0;
    virtual ULONG WINAPI Release() = 0;
};
#endif

constexpr DWORD CLSCTX_INPROC_SERVER = 1;

PHONE_API HRESULT WINAPI CoInitializeEx(void *reserved, DWORD concurrency);
PHONE_API void WINAPI CoUninitialize();
PHONE_API HRESULT WINAPI CoCreateInstance(const CLSID &classId, IUnknown *outer, DWORD context, const IID &interfaceId,
                                          void **object);

// The player control; present from Windows Media Player 10 Mobile on. Only its lifetime matters so far, so only the
// slots that every COM object has are declared.
struct IWMPPlayer : IUnknown {};

constexpr CLSID CLSID_WindowsMediaPlayer = {
    0x6BF52A52, 0x394A, 0x11D3, {0xB1, 0x53, 0x00, 0xC0, 0x4F, 0x79, 0xFA, 0xA6}};
constexpr IID IID_IWMPPlayer = {0x6BF52A4F, 0x394A, 0x11D3, {0xB1, 0x53, 0x00, 0xC0, 0x4F, 0x79, 0xFA, 0xA6}};
