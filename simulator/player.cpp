// The media player control. Its interfaces are complete so that every slot is in its place; what no program of ours calls is
// not implemented. An object may be used from any thread. It plays wave files through the desktop, and any other silently.
#include "player.h"

#include "faults.h"
#include "phone.h"
#include "sound.h"
#include "system.h"

#include <algorithm>
#include <wmp.h>

namespace sim {

const CLSID mediaPlayerClass = {0x6BF52A52, 0x394A, 0x11D3, {0xB1, 0x53, 0x00, 0xC0, 0x4F, 0x79, 0xFA, 0xA6}};

namespace {

class Player;

#define NOT_IMPLEMENTED(signature)                                                                                     \
    HRESULT STDMETHODCALLTYPE signature override                                                                       \
    {                                                                                                                  \
        return E_NOTIMPL;                                                                                              \
    }

bool fails(const wchar_t *call)
{
    return failsByOrder(FaultKind::sound, L"player", call);
}

// Reference counting and the calls by name, which all three objects have.
template <class Interface> class Automation : public Interface {
public:
    NOT_IMPLEMENTED(GetTypeInfoCount(UINT *))
    NOT_IMPLEMENTED(GetTypeInfo(UINT, LCID, ITypeInfo **))
    NOT_IMPLEMENTED(GetIDsOfNames(REFIID, LPOLESTR *, UINT, LCID, DISPID *))
    NOT_IMPLEMENTED(Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS *, VARIANT *, EXCEPINFO *, UINT *))
};

// A part of a player: its references are the player's, so that one left over is seen as an object left over.
template <class Interface> class Part : public Automation<Interface> {
public:
    explicit Part(Player &player) : player_(player) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID interfaceId, void **object) override
    {
        *object = nullptr;
        if (interfaceId != IID_IUnknown && interfaceId != IID_IDispatch && interfaceId != __uuidof(Interface))
            return E_NOINTERFACE;
        AddRef();
        *object = this;
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

protected:
    Player &player_;
};

class Controls : public Part<IWMPControls> {
public:
    using Part::Part;
    HRESULT STDMETHODCALLTYPE play() override;
    HRESULT STDMETHODCALLTYPE stop() override;
    HRESULT STDMETHODCALLTYPE pause() override;
    NOT_IMPLEMENTED(get_isAvailable(BSTR, VARIANT_BOOL *))
    NOT_IMPLEMENTED(fastForward())
    NOT_IMPLEMENTED(fastReverse())
    NOT_IMPLEMENTED(get_currentPosition(double *))
    NOT_IMPLEMENTED(put_currentPosition(double))
    NOT_IMPLEMENTED(get_currentPositionString(BSTR *))
    NOT_IMPLEMENTED(next())
    NOT_IMPLEMENTED(previous())
    NOT_IMPLEMENTED(currentItem(IWMPMedia **))
    NOT_IMPLEMENTED(put_currentItem(IWMPMedia *))
    NOT_IMPLEMENTED(get_currentMarker(LONG *))
    NOT_IMPLEMENTED(put_currentMarker(LONG))
    NOT_IMPLEMENTED(playItem(IWMPMedia *))
};

class Settings : public Part<IWMPSettings> {
public:
    using Part::Part;
    HRESULT STDMETHODCALLTYPE getMode(BSTR mode, VARIANT_BOOL *on) override;
    HRESULT STDMETHODCALLTYPE setMode(BSTR mode, VARIANT_BOOL on) override;
    NOT_IMPLEMENTED(get_isAvailable(BSTR, VARIANT_BOOL *))
    NOT_IMPLEMENTED(get_autoStart(VARIANT_BOOL *))
    NOT_IMPLEMENTED(put_autoStart(VARIANT_BOOL))
    NOT_IMPLEMENTED(get_baseURL(BSTR *))
    NOT_IMPLEMENTED(put_baseURL(BSTR))
    NOT_IMPLEMENTED(get_defaultFrame(BSTR *))
    NOT_IMPLEMENTED(put_defaultFrame(BSTR))
    NOT_IMPLEMENTED(get_invokeURLs(VARIANT_BOOL *))
    NOT_IMPLEMENTED(put_invokeURLs(VARIANT_BOOL))
    NOT_IMPLEMENTED(get_mute(VARIANT_BOOL *))
    NOT_IMPLEMENTED(put_mute(VARIANT_BOOL))
    NOT_IMPLEMENTED(get_playCount(LONG *))
    NOT_IMPLEMENTED(put_playCount(LONG))
    NOT_IMPLEMENTED(get_rate(double *))
    NOT_IMPLEMENTED(put_rate(double))
    NOT_IMPLEMENTED(get_balance(LONG *))
    NOT_IMPLEMENTED(put_balance(LONG))
    NOT_IMPLEMENTED(get_volume(LONG *))
    NOT_IMPLEMENTED(put_volume(LONG))
    NOT_IMPLEMENTED(get_enableErrorDialogs(VARIANT_BOOL *))
    NOT_IMPLEMENTED(put_enableErrorDialogs(VARIANT_BOOL))
};

class Player : public Automation<IWMPPlayer> {
public:
    Player() : controls_(*this), settings_(*this) {}
    virtual ~Player()
    {
        if (hasPlayed_)
            Sound::stop();
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID interfaceId, void **object) override
    {
        *object = nullptr;
        if (interfaceId != IID_IUnknown && interfaceId != IID_IDispatch && interfaceId != __uuidof(IWMPCore) &&
            interfaceId != __uuidof(IWMPPlayer))
            return E_NOINTERFACE;
        AddRef();
        *object = this;
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return InterlockedIncrement(&references_); }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = InterlockedDecrement(&references_);
        if (!left)
            delete this;
        return left;
    }

    HRESULT STDMETHODCALLTYPE close() override { return stop(); }
    HRESULT STDMETHODCALLTYPE get_URL(BSTR *url) override
    {
        Guard guard(lock_);
        *url = SysAllocString(url_.c_str());
        return *url ? S_OK : E_OUTOFMEMORY;
    }
    HRESULT STDMETHODCALLTYPE put_URL(BSTR url) override;
    HRESULT STDMETHODCALLTYPE get_playState(WMPPlayState *state) override;
    HRESULT STDMETHODCALLTYPE get_controls(IWMPControls **controls) override
    {
        return handOut(L"controls", controls_, controls);
    }
    HRESULT STDMETHODCALLTYPE get_settings(IWMPSettings **settings) override
    {
        return handOut(L"settings", settings_, settings);
    }

    NOT_IMPLEMENTED(get_openState(WMPOpenState *))
    NOT_IMPLEMENTED(get_currentMedia(IWMPMedia **))
    NOT_IMPLEMENTED(put_currentMedia(IWMPMedia *))
    NOT_IMPLEMENTED(get_mediaCollection(IWMPMediaCollection **))
    NOT_IMPLEMENTED(get_playlistCollection(IWMPPlaylistCollection **))
    NOT_IMPLEMENTED(get_versionInfo(BSTR *))
    NOT_IMPLEMENTED(launchURL(BSTR))
    NOT_IMPLEMENTED(get_network(IWMPNetwork **))
    NOT_IMPLEMENTED(get_currentPlaylist(IWMPPlaylist **))
    NOT_IMPLEMENTED(put_currentPlaylist(IWMPPlaylist *))
    NOT_IMPLEMENTED(get_cdromCollection(IWMPCdromCollection **))
    NOT_IMPLEMENTED(get_closedCaption(IWMPClosedCaption **))
    NOT_IMPLEMENTED(get_isOnline(VARIANT_BOOL *))
    NOT_IMPLEMENTED(get_Error(IWMPError **))
    NOT_IMPLEMENTED(get_status(BSTR *))
    NOT_IMPLEMENTED(get_enabled(VARIANT_BOOL *))
    NOT_IMPLEMENTED(put_enabled(VARIANT_BOOL))
    NOT_IMPLEMENTED(get_fullScreen(VARIANT_BOOL *))
    NOT_IMPLEMENTED(put_fullScreen(VARIANT_BOOL))
    NOT_IMPLEMENTED(get_enableContextMenu(VARIANT_BOOL *))
    NOT_IMPLEMENTED(put_enableContextMenu(VARIANT_BOOL))
    NOT_IMPLEMENTED(put_uiMode(BSTR))
    NOT_IMPLEMENTED(get_uiMode(BSTR *))

    HRESULT play();
    HRESULT stop();
    HRESULT pause();
    void setLoop(bool on) { loops_ = on; }
    bool loops() const { return loops_; }

private:
    template <class Object, class Interface> HRESULT handOut(const wchar_t *call, Object &object, Interface **result)
    {
        *result = nullptr;
        if (fails(call))
            return E_FAIL;
        object.AddRef();
        *result = &object;
        return S_OK;
    }

    WMPPlayState scriptedState(const std::vector<std::wstring> &states);
    void begin();

    LONG references_ = 1;
    Controls controls_;
    Settings settings_;

    SRWLOCK lock_ = SRWLOCK_INIT;   // of what follows
    std::wstring url_;
    WMPPlayState state_ = wmppsUndefined;
    ULONGLONG end_ = 0;        // when what it plays is over, by the desktop's clock
    size_t readings_ = 0;      // of a state that is scripted
    bool loops_ = false, hasPlayed_ = false;
};

template <class Interface> ULONG Part<Interface>::AddRef()
{
    return player_.AddRef();
}
template <class Interface> ULONG Part<Interface>::Release()
{
    return player_.Release();
}

HRESULT Controls::play()
{
    return player_.play();
}
HRESULT Controls::stop()
{
    return player_.stop();
}
HRESULT Controls::pause()
{
    return player_.pause();
}

HRESULT Settings::getMode(BSTR mode, VARIANT_BOOL *on)
{
    if (!mode || !on || !sameText(mode, L"loop"))
        return E_INVALIDARG;
    *on = player_.loops() ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

HRESULT Settings::setMode(BSTR mode, VARIANT_BOOL on)
{
    if (!mode || !sameText(mode, L"loop"))
        return E_INVALIDARG;
    if (fails(L"mode"))
        return E_FAIL;
    journal(L"player", {L"mode", mode, number(on != VARIANT_FALSE)});
    player_.setLoop(on != VARIANT_FALSE);
    return S_OK;
}

// Begins to play what the address names; a file that is not there leaves the player ready for another.
void Player::begin()
{
    Sound sound(url_);
    std::vector<std::wstring> fields = {L"player", url_, hexadecimal(waveVolume())};
    if (!sound.exists())
        fields.push_back(L"not found");
    journal(L"play", fields);
    state_ = sound.exists() ? wmppsPlaying : wmppsReady;
    end_ = GetTickCount64() + realLength(sound.length());
    sound.start();
    hasPlayed_ = true;
}

HRESULT Player::put_URL(BSTR url)
{
    if (fails(L"url"))
        return E_FAIL;
    Guard guard(lock_);
    url_ = url ? url : L"";
    journal(L"player", {L"url", url_});
    begin();   // it starts by itself, as the control does unless it is told not to
    return S_OK;
}

// What [media] states says, one reading after the other; the last one stays.
WMPPlayState Player::scriptedState(const std::vector<std::wstring> &states)
{
    const std::wstring &text = states[std::min(readings_++, states.size() - 1)];
    return static_cast<WMPPlayState>(wcstoul(text.c_str(), nullptr, 10));
}

HRESULT Player::get_playState(WMPPlayState *state)
{
    if (fails(L"state"))
        return E_FAIL;
    Guard guard(lock_);
    const std::vector<std::wstring> states = settingList(L"media", L"states");
    if (state_ == wmppsPlaying && !loops_ && GetTickCount64() >= end_)
        state_ = wmppsStopped;
    *state = states.empty() ? state_ : scriptedState(states);
    return S_OK;
}

HRESULT Player::play()
{
    if (fails(L"play"))
        return E_FAIL;
    Guard guard(lock_);
    journal(L"player", {L"play"});
    if (!url_.empty())
        begin();
    return S_OK;
}

HRESULT Player::stop()
{
    if (fails(L"stop"))
        return E_FAIL;
    Guard guard(lock_);
    journal(L"player", {L"stop"});
    Sound::stop();
    state_ = wmppsStopped;
    return S_OK;
}

HRESULT Player::pause()
{
    Guard guard(lock_);
    journal(L"player", {L"pause"});
    Sound::stop();
    state_ = wmppsPaused;
    return S_OK;
}

}   // namespace

HRESULT createPlayer(LPUNKNOWN outer, REFIID interfaceId, void **object)
{
    *object = nullptr;
    if (outer)
        return CLASS_E_NOAGGREGATION;
    auto *const player = new Player;
    const HRESULT result = player->QueryInterface(interfaceId, object);
    player->Release();
    return result;
}

}   // namespace sim
