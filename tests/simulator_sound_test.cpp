// What the simulator does with sound: its journal, its volume, the player of its own. And the preview where only a desktop
// shows what it does: windows in front, threads, the apartment.
#include <algorithm>
#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "intercept.h"
#include "mediaplayer.h"
#include "page_window.h"
#include "shell_execute.h"
#include "shell_values.h"
#include "sound.h"
#include "sound_preview.h"
#include "test_phone.h"
#include "text.h"
#include "user_settings.h"

IMPORTED(CreateThread);
IMPORTED(GetClassNameW);
IMPORTED(GetForegroundWindow);
IMPORTED(PostMessageW);
IMPORTED(ReleasePowerRequirement);
IMPORTED(SendMessageW);
IMPORTED(SetForegroundWindow);

namespace {

using Lines = std::vector<std::string>;

constexpr wchar_t ring[] = L"\\Windows\\ring1.wav";
constexpr wchar_t song[] = L"\\Windows\\song.mp3";

std::string joined(const Lines &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + "\n";
    return text;
}

struct SoundPhone : TestPhone {
    explicit SoundPhone(const char *base = "wm6", int divisor = 1000) : TestPhone(base)
    {
        restartProgram();
        userSettings.loggingOption = 13;
        previewName[0] = 0;
        previewStarting = false;
        savedVolume = 1;
        mediaPlayer = nullptr;
        writeFile(ring, "");
        writeFile(song, "");
        SimShortenWaits(divisor);
    }
    ~SoundPhone()
    {
        userSettings = UserSettings{};
        SimShortenWaits(1);
    }

    // Lines of some kinds, in their order.
    std::string lines(const Lines &kinds) const
    {
        Lines found;
        for (const std::string &line : journal())
            if (std::find(kinds.begin(), kinds.end(), line.substr(0, line.find(' '))) != kinds.end())
                found.push_back(line);
        return joined(found);
    }
};

void playNow(const wchar_t *name, DWORD volume = currentVolume)
{
    copyText(previewName, name);
    playSoundThread(reinterpret_cast<LPVOID>(static_cast<ULONG_PTR>(volume)));
}

// The player as the Options dialog makes it.
struct Player {
    Player()
    {
        CoInitializeEx(nullptr, 0);
        void *made = nullptr;
        REQUIRE(SUCCEEDED(
            CoCreateInstance(CLSID_WindowsMediaPlayer, nullptr, CLSCTX_INPROC_SERVER, IID_IWMPPlayer, &made)));
        object = static_cast<IWMPPlayer *>(made);
    }
    ~Player()
    {
        release();
        CoUninitialize();
    }
    void release()
    {
        if (object)
            object->Release();
        object = nullptr;
    }

    int state() const
    {
        WMPPlayState state = wmppsUndefined;
        CHECK(object->get_playState(&state) == S_OK);
        return state;
    }
    void open(const wchar_t *path) const
    {
        const BSTR address = SysAllocString(path);
        CHECK(object->put_URL(address) == S_OK);
        SysFreeString(address);
    }
    void stop() const
    {
        IWMPControls *controls = nullptr;
        REQUIRE(object->get_controls(&controls) == S_OK);
        CHECK(controls->stop() == S_OK);
        controls->Release();
    }

    IWMPPlayer *object = nullptr;
};

// A tone of a second: 8000 samples of 8 bits.
std::string waveFile(const std::string &samples)
{
    const auto number = [](size_t value, int bytes) {
        std::string text;
        for (; bytes > 0; --bytes, value >>= 8)
            text += static_cast<char>(value);
        return text;
    };
    return "RIFF" + number(36 + samples.size(), 4) + "WAVEfmt " + number(16, 4) + number(1, 2) + number(1, 2) +
           number(8000, 4) + number(8000, 4) + number(1, 2) + number(8, 2) + "data" + number(samples.size(), 4) +
           samples;
}

}   // namespace

// ---- The simulator ----------------------------------------------------------------------------------------------------

TEST_CASE("a sound is a line when it begins and one when it has ended")
{
    SoundPhone phone;
    CHECK(PlaySoundW(ring, nullptr, SND_FILENAME | SND_SYNC));
    CHECK_FALSE(PlaySoundW(L"\\Windows\\none.wav", nullptr, SND_FILENAME));
    CHECK_FALSE(PlaySoundW(nullptr, nullptr, SND_FILENAME));
    CHECK_FALSE(PlaySoundW(ring, nullptr, 0));   // the name of a system sound
    SimOrderFault(L"sound", 1, L"play:\\Windows\\ring1.wav", FALSE);
    CHECK_FALSE(PlaySoundW(ring, nullptr, SND_FILENAME));
    CHECK(phone.lines({"play", "played"}) == "play PlaySoundW \\Windows\\ring1.wav 0xFFFFFFFF\n"
                                             "played PlaySoundW \\Windows\\ring1.wav\n"
                                             "play PlaySoundW \\Windows\\none.wav 0xFFFFFFFF not found\n");
}

TEST_CASE("a sound that is not heard lasts as long as it says or as phone.ini does")
{
    SoundPhone phone("wm6", 1);
    phone.writeFile(ring, waveFile(std::string(1600, '\x80')));   // 200 ms
    phone.set(L"sounds", L"duration", L"");
    DWORD start = GetTickCount();
    PlaySoundW(ring, nullptr, SND_FILENAME);
    CHECK(GetTickCount() - start >= 190);
    phone.set(L"sounds", L"duration", L"100");
    start = GetTickCount();
    PlaySoundW(ring, nullptr, SND_FILENAME);
    CHECK(GetTickCount() - start >= 90);
}

TEST_CASE("the volume of a phone is kept with it; a new one has that of its registry")
{
    SoundPhone phone;
    DWORD volume = 0;
    CHECK(waveOutGetVolume(nullptr, &volume) == 0);
    CHECK(volume == 0xFFFFFFFF);
    storeNumber(L"Volume", 0x11112222, L"ControlPanel\\Volume");
    waveOutGetVolume(nullptr, &volume);
    CHECK(volume == 0x11112222);
    CHECK(waveOutSetVolume(nullptr, 0x33334444) == 0);
    REQUIRE(SimUsePhone(phone.folder().c_str()));   // as another program does
    waveOutGetVolume(nullptr, &volume);
    CHECK(volume == 0x33334444);
    PlaySoundW(ring, nullptr, SND_FILENAME);
    CHECK(waveOutGetVolume(reinterpret_cast<HANDLE>(1), &volume) != 0);
    CHECK(waveOutSetVolume(reinterpret_cast<HANDLE>(1), 0) != 0);
    CHECK(phone.lines({"volume", "play"}) == "volume 0x33334444\nplay PlaySoundW \\Windows\\ring1.wav 0x33334444\n");
}

TEST_CASE("the audio device's power is required and released once")
{
    SoundPhone phone;
    const HANDLE first = SetPowerRequirement(L"WAV1:", powerStateFull, POWER_NAME, nullptr, 0);
    const HANDLE second = SetPowerRequirement(L"BKL1:", 1, POWER_NAME, nullptr, 0);
    CHECK(first);
    CHECK(second);
    CHECK(first != second);
    CHECK_FALSE(SetPowerRequirement(L"WAV1:", powerStateFull, 0, nullptr, 0));
    CHECK(ReleasePowerRequirement(first) == ERROR_SUCCESS);
    CHECK(ReleasePowerRequirement(first) == ERROR_INVALID_HANDLE);
    CHECK(ReleasePowerRequirement(nullptr) == ERROR_INVALID_HANDLE);
    CHECK(ReleasePowerRequirement(second) == ERROR_SUCCESS);
    CHECK(phone.lines({"power"}) == "power WAV1: D0\npower BKL1: D1\npower WAV1: released\npower BKL1: released\n");
}

TEST_CASE("shortened waits are lines of the journal, short ones stay as they are")
{
    SoundPhone phone("wm6", 50);
    const DWORD start = GetTickCount();
    Sleep(2000);
    Sleep(50);
    Sleep(49);
    CHECK(GetTickCount() - start < 1900);
    SimShortenWaits(1);
    Sleep(60);
    CHECK(phone.lines({"sleep"}) == "sleep 2000\nsleep 50\n");
}

TEST_CASE("the shell opens no file without a name")
{
    SoundPhone phone;
    ShellExecuteInfo info = {};
    info.cbSize = sizeof info;
    info.lpFile = L"";
    CHECK_FALSE(ShellExecuteEx(&info));
}

TEST_CASE("the player plays what it is given until that is over or it is stopped")
{
    SoundPhone phone("wm5", 1);
    phone.writeFile(ring, "");
    phone.set(L"sounds", L"duration", L"100");
    Player player;
    CHECK(player.state() == 0);
    player.open(ring);
    CHECK(waitFor([&] { return player.state() == 1; }));
    phone.set(L"sounds", L"duration", L"1000000");
    player.open(song);
    CHECK(player.state() == 3);
    player.stop();
    CHECK(player.state() == 1);
    player.open(L"\\Windows\\none.mp3");
    CHECK(player.state() == 10);
    CHECK(phone.lines({"play", "player"}) ==
          "player url \\Windows\\ring1.wav\nplay player \\Windows\\ring1.wav 0xFFFFFFFF\n"
          "player url \\Windows\\song.mp3\nplay player \\Windows\\song.mp3 0xFFFFFFFF\nplayer stop\n"
          "player url \\Windows\\none.mp3\nplay player \\Windows\\none.mp3 0xFFFFFFFF not found\n");
}

TEST_CASE("a player whose states are written down reads them out, whatever it is told")
{
    SoundPhone phone("wm5");
    phone.set(L"media", L"states", L"2, 6, 9");
    Player player;
    CHECK(player.state() == 2);
    player.open(song);
    CHECK(player.state() == 6);
    player.stop();
    CHECK(player.state() == 9);
    CHECK(player.state() == 9);
}

TEST_CASE("a player in a loop plays on, and its mode can be asked for")
{
    SoundPhone phone("wm5", 1);
    Player player;
    IWMPSettings *settings = nullptr;
    REQUIRE(player.object->get_settings(&settings) == S_OK);
    const BSTR loop = SysAllocString(L"loop"), shuffle = SysAllocString(L"shuffle");
    VARIANT_BOOL on = 0;
    CHECK(settings->setMode(loop, -1) == S_OK);
    CHECK(settings->getMode(loop, &on) == S_OK);
    CHECK(on == -1);
    CHECK(settings->setMode(shuffle, -1) == E_INVALIDARG);
    player.open(song);   // over at once
    CHECK(player.state() == 3);
    CHECK(settings->setMode(loop, 0) == S_OK);
    CHECK(player.state() == 1);
    settings->Release();
    SysFreeString(loop);
    SysFreeString(shuffle);
    CHECK(phone.lines({"player"}) == "player mode loop 1\nplayer url \\Windows\\song.mp3\nplayer mode loop 0\n");
}

TEST_CASE("every call of the player can be made to fail")
{
    SoundPhone phone("wm5");
    Player player;
    SimOrderFault(L"sound", 0, L"player:*", FALSE);
    WMPPlayState state;
    IWMPControls *controls;
    IWMPSettings *settings;
    CHECK(FAILED(player.object->get_playState(&state)));
    CHECK(FAILED(player.object->get_controls(&controls)));
    CHECK(FAILED(player.object->get_settings(&settings)));
    CHECK(FAILED(player.object->put_URL(nullptr)));
    CHECK(phone.lines({"player", "play"}) == "");
}

TEST_CASE("a player is an object of the program's until its last part is released")
{
    SoundPhone phone("wm5");
    const int before = SimLiveObjects();
    Player player;
    CHECK(SimLiveObjects() == before + 1);
    IWMPControls *controls = nullptr;
    REQUIRE(player.object->get_controls(&controls) == S_OK);
    player.release();
    CHECK(SimLiveObjects() == before + 1);
    controls->Release();
    CHECK(SimLiveObjects() == before);
}

TEST_CASE("a phone without a player makes none")
{
    SoundPhone phone("ppc2003");
    CoInitializeEx(nullptr, 0);
    void *made = &phone;
    CHECK(FAILED(CoCreateInstance(CLSID_WindowsMediaPlayer, nullptr, CLSCTX_INPROC_SERVER, IID_IWMPPlayer, &made)));
    CHECK(!made);
    CoUninitialize();
}

// ---- The preview on it ------------------------------------------------------------------------------------------------

TEST_CASE("a preview thread plays through the player, in its apartment, while the dialog goes on")
{
    SoundPhone phone("wm5");
    Player player;
    mediaPlayer = player.object;
    playSoundFile(song, currentVolume);
    CHECK(waitFor([&] { return !previewName[0] && phone.journal("com").size() == 4; }));
    mediaPlayer = nullptr;
    CHECK(phone.lines({"com", "player"}) == "com initialize\ncom create {6BF52A52-394A-11D3-B153-00C04F79FAA6} 0x0\n"
                                            "com initialize\nplayer mode loop 0\nplayer url \\Windows\\song.mp3\n"
                                            "com uninitialize 1\n");
}

TEST_CASE("the dialog's end leaves a running preview its player")
{
    SoundPhone phone("wm5");
    phone.set(L"media", L"states", L"0, 3");   // for ever
    const int before = SimLiveObjects();
    {
        Player player;
        mediaPlayer = player.object;
        playSoundFile(song, currentVolume);
        REQUIRE(waitFor([&] { return phone.journal("player").size() == 2; }));
        mediaPlayer = nullptr;
    }
    CHECK(waitFor([&] { return !previewName[0] && phone.journal("com").size() == 5; }));
    CHECK(phone.journal("player").back() == "player stop");
    CHECK(phone.journal("com").back() == "com uninitialize 0");
    CHECK(SimLiveObjects() == before);
}

TEST_CASE("a preview for which there is no thread does not block the next one")
{
    SoundPhone phone("wm5");
    Player player;
    mediaPlayer = player.object;
    {
        Intercept<__imp_CreateThread> none([](LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD,
                                              LPDWORD) -> HANDLE { return nullptr; });
        playSoundFile(ring, currentVolume);
    }
    CHECK(!previewName[0]);
    CHECK(!previewStarting);
    const int before = SimLiveObjects();
    player.release();   // the reference for the thread has been given back
    CHECK(SimLiveObjects() == before - 1);
    mediaPlayer = nullptr;
}

// What is in front, reading after reading, and what is brought there.
namespace {
std::vector<HWND> fronts;
size_t frontReadings;
std::vector<HWND> broughtToFront;

HWND window(ULONG_PTR number)
{
    return reinterpret_cast<HWND>(number);
}

HWND WINAPI scriptedFront()
{
    return fronts[std::min(frontReadings++, fronts.size() - 1)];
}

BOOL WINAPI noteFront(HWND front)
{
    broughtToFront.push_back(front);
    return TRUE;
}

int WINAPI playerClass(HWND, LPWSTR name, int capacity)
{
    CHECK(capacity == 100);
    wcscpy(name, L"WMP for Pocket PC");
    return 17;
}
}   // namespace

TEST_CASE("whatever the shell brings up, the window that was in front comes back")
{
    SoundPhone phone("ppc2003");
    broughtToFront.clear();
    frontReadings = 0;
    // Two readings a round, one before and one after the wait. The program comes up in the second and the third round.
    fronts = {window(0x10), window(0x10), window(0x10), window(0x10),
              window(0x20), window(0x20), window(0x30), window(0x10)};
    {
        Intercept<__imp_GetForegroundWindow> front(scriptedFront);
        Intercept<__imp_SetForegroundWindow> bring(noteFront);
        playNow(song);
    }
    CHECK(broughtToFront == std::vector<HWND>{window(0x10), window(0x10), window(0x10)});   // the last one in the end
    CHECK(phone.journal("sleep").size() == 200);
}

TEST_CASE("a player's window in front does not shorten the shell's 20 seconds")
{
    SoundPhone phone("ppc2003");
    broughtToFront.clear();
    frontReadings = 0;
    fronts = {window(0x10)};
    {
        Intercept<__imp_GetForegroundWindow> front(scriptedFront);
        Intercept<__imp_SetForegroundWindow> bring(noteFront);
        Intercept<__imp_GetClassNameW> name(playerClass);
        playNow(song);
    }
    CHECK(phone.journal("sleep").size() == 200);
    CHECK(broughtToFront == std::vector<HWND>{window(0x10)});
}

TEST_CASE("a preview that begins while the one before gives its power back keeps its name")
{
    SoundPhone phone;
    userSettings.noBacklight = 1;
    static std::wstring nameAtRelease;
    nameAtRelease = L"?";
    {
        Intercept<__imp_ReleasePowerRequirement> releasing([](HANDLE requirement) -> DWORD {
            nameAtRelease = previewName;
            copyText(previewName, L"next.wav");
            return Intercept<__imp_ReleasePowerRequirement>::real(requirement);
        });
        playNow(ring);
    }
    CHECK(nameAtRelease.empty());
    CHECK(std::wstring(previewName) == L"next.wav");
    previewName[0] = 0;
}

TEST_CASE("a preview touches no window but those in front")
{
    static int messages;
    messages = 0;
    for (const char *base : {"wm6", "wm5", "ppc2003"}) {
        SoundPhone phone(base);
        Intercept<__imp_SendMessageW> sending([](HWND, UINT, WPARAM, LPARAM) -> LRESULT { return ++messages; });
        Intercept<__imp_PostMessageW> posting([](HWND, UINT, WPARAM, LPARAM) -> BOOL { return ++messages; });
        playNow(ring, 0x80008000);
        playNow(song);
    }
    CHECK(messages == 0);
}
