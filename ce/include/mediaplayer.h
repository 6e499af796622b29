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

#ifndef __IDispatch_INTERFACE_DEFINED__
// Objects that scripts can use as well; nobody here calls through the names.
struct IDispatch : IUnknown {
    virtual HRESULT WINAPI GetTypeInfoCount(UINT *count) = 0;
    virtual HRESULT WINAPI GetTypeInfo(UINT index, LCID locale, void **info) = 0;
    virtual HRESULT WINAPI GetIDsOfNames(const IID &reserved, wchar_t **names, UINT count, LCID locale, LONG *numbers) = 0;
    virtual HRESULT WINAPI Invoke(LONG number, const IID &reserved, LCID locale, WORD flags, void *arguments, void *result,
                                  void *exception, UINT *badArgument) = 0;
};
#endif

// A text in memory of the Automation library, which knows its length.
typedef wchar_t *BSTR;
PHONE_API BSTR WINAPI SysAllocString(const wchar_t *text);   // null when memory ran out
PHONE_API void WINAPI SysFreeString(BSTR text);

// A truth value of Automation; true is -1.
typedef short VARIANT_BOOL;
constexpr VARIANT_BOOL automationFalse = 0;

// The player control; present from Windows Media Player 10 Mobile on. Of each interface the first functions are declared, in
// their order, up to the last one in use.

enum WMPPlayState {
    wmppsUndefined = 0,
    wmppsStopped = 1,
    wmppsPaused = 2,
    wmppsPlaying = 3,
    wmppsBuffering = 6,
    wmppsReady = 10,
};

struct IWMPControls : IDispatch {
    virtual HRESULT WINAPI get_isAvailable(BSTR item, VARIANT_BOOL *available) = 0;
    virtual HRESULT WINAPI play() = 0;
    virtual HRESULT WINAPI stop() = 0;
};

struct IWMPSettings : IDispatch {
    virtual HRESULT WINAPI get_isAvailable(BSTR item, VARIANT_BOOL *available) = 0;
    virtual HRESULT WINAPI get_autoStart(VARIANT_BOOL *on) = 0;
    virtual HRESULT WINAPI put_autoStart(VARIANT_BOOL on) = 0;
    virtual HRESULT WINAPI get_baseURL(BSTR *address) = 0;
    virtual HRESULT WINAPI put_baseURL(BSTR address) = 0;
    virtual HRESULT WINAPI get_defaultFrame(BSTR *frame) = 0;
    virtual HRESULT WINAPI put_defaultFrame(BSTR frame) = 0;
    virtual HRESULT WINAPI get_invokeURLs(VARIANT_BOOL *on) = 0;
    virtual HRESULT WINAPI put_invokeURLs(VARIANT_BOOL on) = 0;
    virtual HRESULT WINAPI get_mute(VARIANT_BOOL *on) = 0;
    virtual HRESULT WINAPI put_mute(VARIANT_BOOL on) = 0;
    virtual HRESULT WINAPI get_playCount(LONG *count) = 0;
    virtual HRESULT WINAPI put_playCount(LONG count) = 0;
    virtual HRESULT WINAPI get_rate(double *rate) = 0;
    virtual HRESULT WINAPI put_rate(double rate) = 0;
    virtual HRESULT WINAPI get_balance(LONG *balance) = 0;
    virtual HRESULT WINAPI put_balance(LONG balance) = 0;
    virtual HRESULT WINAPI get_volume(LONG *percent) = 0;
    virtual HRESULT WINAPI put_volume(LONG percent) = 0;
    virtual HRESULT WINAPI getMode(BSTR mode, VARIANT_BOOL *on) = 0;
    virtual HRESULT WINAPI setMode(BSTR mode, VARIANT_BOOL on) = 0;
};

struct IWMPPlayer : IDispatch {
    virtual HRESULT WINAPI close() = 0;
    virtual HRESULT WINAPI get_URL(BSTR *address) = 0;
    virtual HRESULT WINAPI put_URL(BSTR address) = 0;
    virtual HRESULT WINAPI get_openState(int *state) = 0;
    virtual HRESULT WINAPI get_playState(WMPPlayState *state) = 0;
    virtual HRESULT WINAPI get_controls(IWMPControls **controls) = 0;
    virtual HRESULT WINAPI get_settings(IWMPSettings **settings) = 0;
};

constexpr CLSID CLSID_WindowsMediaPlayer = {
    0x6BF52A52, 0x394A, 0x11D3, {0xB1, 0x53, 0x00, 0xC0, 0x4F, 0x79, 0xFA, 0xA6}};
constexpr IID IID_IWMPPlayer = {0x6BF52A4F, 0x394A, 0x11D3, {0xB1, 0x53, 0x00, 0xC0, 0x4F, 0x79, 0xFA, 0xA6}};
