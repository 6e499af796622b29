// A media player of the tests' own: it answers the states it is given, and keeps what it is asked for.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "mediaplayer.h"
#include "shell_values.h"
#include "test_phone.h"

#define NOT_USED(signature)                                                                                            \
    HRESULT WINAPI signature override                                                                                  \
    {                                                                                                                  \
        return E_NOTIMPL;                                                                                              \
    }

template <typename Interface> struct FakeObject : Interface {
    HRESULT WINAPI QueryInterface(const IID &, void **) override { return E_NOINTERFACE; }
    ULONG WINAPI AddRef() override { return ++references; }
    ULONG WINAPI Release() override { return --references; }
    NOT_USED(GetTypeInfoCount(UINT *))
    NOT_USED(GetTypeInfo(UINT, LCID, void **))
    NOT_USED(GetIDsOfNames(const IID &, wchar_t **, UINT, LCID, LONG *))
    NOT_USED(Invoke(LONG, const IID &, LCID, WORD, void *, void *, void *, UINT *))

    volatile ULONG references = 0;
};

inline std::vector<std::string> playerCalls;   // what the player is asked for, in order

struct FakeControls : FakeObject<IWMPControls> {
    NOT_USED(get_isAvailable(BSTR, VARIANT_BOOL *))
    HRESULT WINAPI play() override
    {
        playerCalls.push_back("play");
        return S_OK;
    }
    HRESULT WINAPI stop() override
    {
        playerCalls.push_back("stop");
        return S_OK;
    }
};

struct FakeSettings : FakeObject<IWMPSettings> {
    NOT_USED(get_isAvailable(BSTR, VARIANT_BOOL *))
    NOT_USED(get_autoStart(VARIANT_BOOL *))
    NOT_USED(put_autoStart(VARIANT_BOOL))
    NOT_USED(get_baseURL(BSTR *))
    NOT_USED(put_baseURL(BSTR))
    NOT_USED(get_defaultFrame(BSTR *))
    NOT_USED(put_defaultFrame(BSTR))
    NOT_USED(get_invokeURLs(VARIANT_BOOL *))
    NOT_USED(put_invokeURLs(VARIANT_BOOL))
    NOT_USED(get_mute(VARIANT_BOOL *))
    NOT_USED(put_mute(VARIANT_BOOL))
    NOT_USED(get_playCount(LONG *))
    NOT_USED(put_playCount(LONG))
    NOT_USED(get_rate(double *))
    NOT_USED(put_rate(double))
    NOT_USED(get_balance(LONG *))
    NOT_USED(put_balance(LONG))
    NOT_USED(get_volume(LONG *))
    NOT_USED(put_volume(LONG))
    NOT_USED(getMode(BSTR, VARIANT_BOOL *))
    HRESULT WINAPI setMode(BSTR mode, VARIANT_BOOL on) override
    {
        playerCalls.push_back(narrow(mode) + (on ? " on" : " off"));
        return S_OK;
    }
};

// Answers the states it is given, one reading after the other, the last one from then on.
struct FakePlayer : FakeObject<IWMPPlayer> {
    explicit FakePlayer(std::vector<int> states) : states(std::move(states))
    {
        references = 1;
        playerCalls.clear();
    }

    NOT_USED(close())
    NOT_USED(get_URL(BSTR *))
    NOT_USED(get_openState(int *))
    HRESULT WINAPI put_URL(BSTR address) override
    {
        playerCalls.push_back("url " + narrow(address));
        if (dialogCloses) {
            mediaPlayer->Release();
            mediaPlayer = nullptr;
        }
        return S_OK;
    }
    HRESULT WINAPI get_playState(WMPPlayState *state) override
    {
        if (fails)
            return E_FAIL;
        const int current = states[std::min(readings++, states.size() - 1)];
        playerCalls.push_back("state " + std::to_string(current));
        *state = static_cast<WMPPlayState>(current);
        return S_OK;
    }
    HRESULT WINAPI get_controls(IWMPControls **result) override { return handOut(controls, result); }
    HRESULT WINAPI get_settings(IWMPSettings **result) override { return handOut(settings, result); }

    template <typename Object, typename Interface> HRESULT handOut(Object &object, Interface **result)
    {
        if (fails)
            return E_FAIL;
        object.AddRef();
        *result = &object;
        return S_OK;
    }

    FakeControls controls;
    FakeSettings settings;
    std::vector<int> states;
    size_t readings = 0;
    bool fails = false;          // every call that can
    bool dialogCloses = false;   // as soon as the player has its address
};
