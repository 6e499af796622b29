#include "sound_preview.h"

#include "aygshell.h"
#include "com_pointer.h"
#include "environment.h"
#include "log.h"
#include "optional_function.h"
#include "registry.h"
#include "shell_execute.h"
#include "shell_values.h"
#include "sound.h"
#include "sound_catalogue.h"
#include "user_settings.h"

// No lock guards these: a preview runs while the name is not empty, and the flag covers the moment between finding it
// empty and filling it.
wchar_t previewName[100];
bool previewStarting;

namespace {

// As it has always been, also a volume that is 1: it is not put back. No volume slider sets that.
constexpr DWORD nothingSaved = 1;

}   // namespace

DWORD savedVolume = nothingSaved;

namespace {

constexpr size_t pathCapacity = 260;

// How long a request waits for the preview before it.
constexpr int busyRounds = 50;
constexpr DWORD busyStep = 100;

// How long the media player is listened to.
constexpr int playerRounds = 40;
constexpr DWORD playerStep = 500;

// How long a program that the shell has started is left alone; and the player behind it, if there were one.
constexpr int shellRounds = 200;
constexpr DWORD shellStep = 100;
constexpr int shellPlayerRounds = 100;
constexpr DWORD shellPlayerStep = 200;

const HANDLE firstWaveDevice = nullptr;   // device number 0

// ---- The log ------------------------------------------------------------------------------------------------------

bool logs(DWORD bit)
{
    return (userSettings.loggingOption & bit) != 0;
}

void writeLogFor(DWORD bit, const char *line)
{
    if (logs(bit))
        writeLog(line);
}

// ---- Volume -------------------------------------------------------------------------------------------------------

constexpr wchar_t shellOverrides[] = L"ControlPanel\\Notifications\\ShellOverrides";

DWORD shellMode;   // above 0: the shell has silenced the phone, or has it vibrate

// A silenced phone has its volume at 0; the shell knows what it was before.
void readShellMode()
{
    shellMode = 0;
    RegistryKey key;
    if (key.open(HKEY_CURRENT_USER, shellOverrides) != ERROR_SUCCESS)
        return;
    readNumber(key, L"Mode", shellMode);
    if (shellMode)
        readNumber(key, L"SavedVolume", savedVolume);
}

void changeVolume(DWORD volume)
{
    readShellMode();
    if (!shellMode)
        waveOutGetVolume(firstWaveDevice, &savedVolume);
    waveOutSetVolume(firstWaveDevice, volume);
    if (logs(logDetailed))
        writeLogFormatted("setVol: %X", volume);
}

void writeShellOverrides()
{
    RegistryKey key;
    if (key.open(HKEY_CURRENT_USER, shellOverrides) != ERROR_SUCCESS)
        return;
    if (!isOsVersion5)   // later systems keep it
        writeNumber(key, L"Mode", shellMode);
    writeNumber(key, L"SavedVolume", savedVolume);
}

void writeSilentVolume()
{
    RegistryKey key;
    if (key.open(HKEY_CURRENT_USER, L"ControlPanel\\Volume") != ERROR_SUCCESS)
        return;
    savedVolume = 0;
    writeNumber(key, L"Volume", savedVolume);
}

// Setting a volume makes the system forget that the phone is silenced, so that is stored again.
void restoreVolume()
{
    if (savedVolume == nothingSaved)
        return;
    waveOutSetVolume(firstWaveDevice, savedVolume);
    if (!shellMode)
        return;
    waveOutSetVolume(firstWaveDevice, 0);
    writeShellOverrides();
    writeSilentVolume();
}

// The preview's volume, put back at the end of the scope at the latest.
class PreviewVolume {
public:
    PreviewVolume() = default;
    PreviewVolume(const PreviewVolume &) = delete;
    PreviewVolume &operator=(const PreviewVolume &) = delete;
    ~PreviewVolume()
    {
        try {
            restore();
        } catch (...) {
            // An exception is ending the preview already, and there is one line for both.
        }
    }

    void change(DWORD volume)
    {
        if (volume == currentVolume)
            return;
        isToBeRestored = true;   // even when setting it ends in an exception
        setVol(volume, 0);
    }

    void restore()
    {
        if (isToBeRestored) {
            isToBeRestored = false;
            setVol(0, 1);
        }
    }

private:
    bool isToBeRestored = false;
};

// ---- Power --------------------------------------------------------------------------------------------------------

// Without the backlight some phones let their audio device sleep in the middle of a sound.
bool needsAudioPower()
{
    return userSettings.noBacklight || isTexasInstruments;
}

class AudioPower {
public:
    AudioPower() = default;
    AudioPower(const AudioPower &) = delete;
    AudioPower &operator=(const AudioPower &) = delete;
    ~AudioPower()
    {
        try {
            release();
        } catch (...) {
            // As above; the system releases it with the process.
        }
    }

    void require() { requirement = SetPowerRequirement(L"WAV1:", powerStateFull, POWER_NAME, nullptr, 0); }

    void release()
    {
        if (const HANDLE held = requirement) {
            requirement = nullptr;
            ReleasePowerRequirement(held);
        }
    }

    // The sound's end is still in the device when the call that played it returns.
    void releaseAfterSound()
    {
        if (!requirement)
            return;
        Sleep(500);
        release();
        Sleep(50);
    }

private:
    HANDLE requirement = nullptr;
};

// ---- Media player -------------------------------------------------------------------------------------------------

class AutomationText {
public:
    explicit AutomationText(const wchar_t *from) : text(SysAllocString(from)) {}
    AutomationText(const AutomationText &) = delete;
    AutomationText &operator=(const AutomationText &) = delete;
    ~AutomationText() { SysFreeString(text); }

    const BSTR text;   // null when memory ran out
};

WMPPlayState playState(IWMPPlayer *player)
{
    WMPPlayState state = wmppsUndefined;
    player->get_playState(&state);
    return state;
}

void logPlayState(const char *format, WMPPlayState state)
{
    if (logs(logBasic))
        writeLogFormatted(format, state);
}

// A paused player does not stop before it plays.
void stopPlayer(IWMPPlayer *player, bool isPaused)
{
    ComPointer<IWMPControls> controls;
    player->get_controls(controls.receiver());
    if (!controls)
        return;
    if (isPaused) {
        controls->play();
        Sleep(200);
    }
    controls->stop();
}

void switchLoopOff(IWMPPlayer *player)
{
    ComPointer<IWMPSettings> settings;
    player->get_settings(settings.receiver());
    const AutomationText loop(L"loop");
    if (settings && loop.text)
        settings->setMode(loop.text, automationFalse);
}

// Returns the state after it.
WMPPlayState waitWhilePlaying(IWMPPlayer *player, int rounds, DWORD step)
{
    WMPPlayState state = playState(player);
    for (; rounds > 0 && (state == wmppsPlaying || state == wmppsBuffering); --rounds) {
        Sleep(step);
        state = playState(player);
    }
    return state;
}

WMPPlayState quietPlayer(IWMPPlayer *player)
{
    const WMPPlayState state = playState(player);
    logPlayState("Player State: %d", state);
    if (state != wmppsPaused && state != wmppsPlaying)
        return state;
    writeLog("Player playing or paused - stop it");
    stopPlayer(player, state == wmppsPaused);
    Sleep(1000);
    const WMPPlayState now = playState(player);
    logPlayState("Player State now: %d", now);
    return now;
}

void playWithPlayer(IWMPPlayer *player, const wchar_t *path)
{
    const WMPPlayState state = quietPlayer(player);
    if (state != wmppsUndefined && state != wmppsStopped && state != wmppsReady)
        return;
    switchLoopOff(player);
    const AutomationText address(path);
    if (address.text)
        player->put_URL(address.text);
    Sleep(500);
    if (waitWhilePlaying(player, playerRounds, playerStep) == wmppsPlaying) {
        writeLog("Media player still playing...");
        stopPlayer(player, false);
    }
}

// ---- Shell --------------------------------------------------------------------------------------------------------

void openWithShell(const wchar_t *path)
{
    ShellExecuteInfo info = {};
    info.cbSize = sizeof info;
    info.fMask = SEE_MASK_NOCLOSEPROCESS;
    info.lpFile = path;
    info.nShow = SW_SHOWNORMAL;
    if (ShellExecuteEx(&info) && info.hProcess)
        CloseHandle(info.hProcess);
}

bool isPlayerInFront()
{
    wchar_t className[100] = L"";
    GetClassNameW(GetForegroundWindow(), className, countOf(className));
    return wcsstr(className, L"WMP for ") != nullptr;
}

// Whatever program comes up, the dialog stays in front. Always takes 20 seconds: the wait could only end early, and the
// player only be listened to, if there were a player, and a phone that has one does not play through the shell.
void playWithShell(IWMPPlayer *player, const wchar_t *path)
{
    openWithShell(path);
    const HWND front = GetForegroundWindow();
    for (int round = 0; round < shellRounds; ++round) {
        if (isPlayerInFront() && player)
            break;
        Sleep(shellStep);
        if (GetForegroundWindow() != front)
            SetForegroundWindow(front);
    }
    SetForegroundWindow(front);
    if (player)
        waitWhilePlaying(player, shellPlayerRounds, shellPlayerStep);
}

// ---- Playing ------------------------------------------------------------------------------------------------------

// The shell's library, kept in memory while it is asked.
class ShellLibrary {
public:
    ShellLibrary() : module(LoadLibraryW(name)) {}
    ShellLibrary(const ShellLibrary &) = delete;
    ShellLibrary &operator=(const ShellLibrary &) = delete;
    ~ShellLibrary()
    {
        if (module)
            FreeLibrary(module);
    }

    bool isLoaded() const { return module != nullptr; }

    static constexpr wchar_t name[] = L"aygshell.dll";

private:
    const HMODULE module;
};

// Windows Mobile 6 plays everything itself. False on an older phone.
bool playWithSystem(const wchar_t *path)
{
    const ShellLibrary library;
    if (!library.isLoaded())
        return false;
    const auto play = optionalFunction<decltype(&SndPlaySync)>(library.name, L"SndPlaySync");
    if (!play)
        return false;
    play(path, 0);
    writeLog("WM 6.0 SndPlaySync");
    return true;
}

// Names are stored in lower case. A full path that is not, such as "\Windows\RING.WAV", goes the way of compressed files.
void play(const wchar_t *path, IWMPPlayer *player)
{
    if (playWithSystem(path))
        return;
    if (wcsstr(path, L".wav"))
        PlaySoundW(path, nullptr, SND_FILENAME | SND_SYNC);
    else if (player)
        playWithPlayer(player, path);
    else
        playWithShell(player, path);
}

// ---- The thread ---------------------------------------------------------------------------------------------------

// The player that goes with the request, with a reference of its own: the dialog may close, and release its one, while the
// thread still plays.
IWMPPlayer *requestedPlayer;

// The player is an object of the apartment that the dialog's thread has opened for all threads. Joining that keeps COM in
// memory when the dialog closes first.
class Apartment {
public:
    explicit Apartment(bool isNeeded) : isJoined(isNeeded && SUCCEEDED(CoInitializeEx(nullptr, 0))) {}
    Apartment(const Apartment &) = delete;
    Apartment &operator=(const Apartment &) = delete;
    ~Apartment()
    {
        if (isJoined)
            CoUninitialize();
    }

private:
    const bool isJoined;
};

// What a preview has from its request to its end. The name is emptied but once: the next preview may have filled it again
// while this one still waits to give the power back.
class RunningPreview {
public:
    RunningPreview() : apartment(requestedPlayer), player(requestedPlayer) { requestedPlayer = nullptr; }
    RunningPreview(const RunningPreview &) = delete;
    RunningPreview &operator=(const RunningPreview &) = delete;
    ~RunningPreview() { end(); }

    void end()
    {
        if (!hasEnded)
            previewName[0] = 0;
        hasEnded = true;
    }

private:
    const Apartment apartment;   // left after the player is released

public:
    const ComPointer<IWMPPlayer> player;

private:
    bool hasEnded = false;
};

void findPath(wchar_t (&path)[pathCapacity])
{
    formatText(path, wcschr(previewName, L'.') ? L"%s" : L"%s.wav", previewName);
    getSoundFilePath(path);
}

void preview(DWORD volume)
{
    RunningPreview running;
    wchar_t path[pathCapacity];
    findPath(path);
    PreviewVolume loudness;
    loudness.change(volume);
    if (logs(logDetailed))
        writeLogFormatted("playSoundThread: 0x%X, %s", volume, LoggedName(path).text);
    AudioPower power;
    if (needsAudioPower())
        power.require();
    play(path, running.player.get());
    loudness.restore();
    running.end();
    power.releaseAfterSound();
    writeLogFor(logSignal, "playSoundFile: End");
}

// ---- Requests -----------------------------------------------------------------------------------------------------

bool isPlayable(const wchar_t *name)
{
    return name && name[0] && name[0] != L'<';   // "<silent>" and its like are no files
}

bool waitForPreviewBefore()
{
    for (int round = 0; round < busyRounds && previewName[0]; ++round)
        Sleep(busyStep);
    return !previewName[0];
}

void startThread(DWORD volume)
{
    requestedPlayer = mediaPlayer;
    if (requestedPlayer)
        requestedPlayer->AddRef();
    DWORD identifier;
    const HANDLE thread = CreateThread(nullptr, 0, playSoundThread,
                                       reinterpret_cast<LPVOID>(static_cast<ULONG_PTR>(volume)), 0, &identifier);
    if (thread) {
        CloseHandle(thread);
        return;
    }
    if (requestedPlayer)
        requestedPlayer->Release();
    requestedPlayer = nullptr;
    previewName[0] = 0;   // or every later request would find it busy
}

}   // namespace

void playSoundFile(const wchar_t *name, DWORD volume)
{
    if (!isPlayable(name) || previewStarting) {
        writeLogFor(logBasic, "playSoundFile: Sound not played");
        return;
    }
    previewStarting = true;
    if (!waitForPreviewBefore()) {
        previewStarting = false;
        writeLogFor(logBasic, "playSoundFile: Still busy");
        return;
    }
    copyText(previewName, name);
    previewStarting = false;
    startThread(volume);
}

DWORD WINAPI playSoundThread(LPVOID volume)
{
    try {
        preview(static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(volume)));
    } catch (...) {
        writeLog("** Exception playSoundThread **");
    }
    return 0;
}

DWORD setVol(DWORD volume, int restore)
{
    if (restore)
        restoreVolume();
    else
        changeVolume(volume);
    AudioUpdateFromRegistry();
    return shellMode ? 0 : savedVolume;
}
