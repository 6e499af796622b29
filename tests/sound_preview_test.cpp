#include "sound_preview.h"

#include <algorithm>
#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "fake_player.h"
#include "page_window.h"
#include "registry.h"
#include "shell_values.h"
#include "test_phone.h"
#include "text.h"
#include "user_settings.h"

namespace {

using Lines = std::vector<std::string>;

constexpr wchar_t logFile[] = L"\\Program Files\\Kelvane\\Kelvane.log";
constexpr wchar_t shellOverrides[] = L"ControlPanel\\Notifications\\ShellOverrides";
constexpr wchar_t volumeKey[] = L"ControlPanel\\Volume";
constexpr DWORD allLogging = 1 | 4 | 8;

// One line of text for a whole list, so that a failure shows both.
std::string joined(const Lines &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + "\n";
    return text;
}

// As many lines of the same kind, in a list written as one text.
std::string repeated(int count, const std::string &line)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += line + "\n";
    return text;
}

// The same where equal lines are counted.
std::string counted(const Lines &lines)
{
    std::string text;
    for (size_t i = 0, next; i < lines.size(); i = next) {
        for (next = i; next < lines.size() && lines[next] == lines[i];)
            ++next;
        text += lines[i] + (next - i > 1 ? " (" + std::to_string(next - i) + ")\n" : "\n");
    }
    return text;
}

bool waitUntil(bool (*condition)())
{
    const DWORD start = GetTickCount();
    while (!condition()) {
        if (GetTickCount() - start > 120000)   // longer than the longest sound here
            return false;
        Sleep(10);
    }
    return true;
}

// What concerns sound, and waits. Shorter waits than these are those of tests and of the log.
bool concernsSound(const std::string &line)
{
    const std::string kind = line.substr(0, line.find(' '));
    if (kind == "sleep")
        return line.size() > 8 || line > "sleep 49";   // "sleep 50" and any of three digits
    for (const char *each : {"play", "played", "volume", "audio-update", "power", "shell"})
        if (kind == each)
            return true;
    return false;
}

// ---- Phones -----------------------------------------------------------------------------------------------------------

// A phone whose waits are short and whose log takes everything.
struct SoundPhone : TestPhone {
    explicit SoundPhone(const char *base = "wm6", int divisor = 1000) : TestPhone(base)
    {
        restartProgram();
        getDeviceType();
        removeFile(logFile);
        userSettings.loggingOption = allLogging;
        previewName[0] = 0;
        previewStarting = false;
        savedVolume = 1;
        mediaPlayer = nullptr;
        SimShortenWaits(divisor);
        for (const wchar_t *name : {L"\\Windows\\ring1.wav", L"\\Windows\\song.mp3", L"\\Windows\\tune.mid"})
            writeFile(name, "");
    }
    ~SoundPhone()
    {
        userSettings = UserSettings{};
        isTexasInstruments = 0;
        mediaPlayer = nullptr;
        SimShortenWaits(1);
    }

    // All so far, as one text: "sleep 100 (200)" stands for 200 such lines.
    std::string sounds() const
    {
        Lines lines = journal();
        lines.erase(
            std::remove_if(lines.begin(), lines.end(), [](const std::string &line) { return !concernsSound(line); }),
            lines.end());
        return counted(lines);
    }
    std::string logged() const { return joined(log()); }
};

// The three kinds: with SndPlaySync, with a player, with neither.
constexpr const char *allKinds[] = {"wm6", "wm5", "ppc2003"};

// The preview thread's work, done by this thread.
void playNow(const wchar_t *name, DWORD volume = currentVolume)
{
    copyText(previewName, name);
    playSoundThread(reinterpret_cast<LPVOID>(static_cast<ULONG_PTR>(volume)));
}

// ---- A player ---------------------------------------------------------------------------------------------------------

Lines &calls = playerCalls;

// Waits until no thread has a preview any more. Each holds its player until it has written its last line; nobody looks into
// the log before, for it is not shared.
void waitForEnd(const FakePlayer &player, ULONG references = 1)
{
    static const FakePlayer *waitedFor;
    static ULONG atEnd;
    waitedFor = &player;
    atEnd = references;
    REQUIRE(waitUntil([] { return !previewName[0] && waitedFor->references == atEnd; }));
    CHECK(player.controls.references == 0);
    CHECK(player.settings.references == 0);
}

// A preview by a player, from its request to the end of its thread.
void playWith(FakePlayer &player, const wchar_t *name)
{
    mediaPlayer = &player;
    playSoundFile(name, currentVolume);
    waitForEnd(player, player.dialogCloses ? 0 : 1);
}

}   // namespace

// ---- Requests ---------------------------------------------------------------------------------------------------------

TEST_CASE("a missing, empty or special name plays nothing and says so")
{
    SoundPhone phone;
    playSoundFile(nullptr, currentVolume);
    for (const wchar_t *name : {L"", L"<silent>", L"<system>", L"<vibrate>", L"<", L"<ring1.wav"})
        playSoundFile(name, currentVolume);
    CHECK(phone.logged() == repeated(7, "playSoundFile: Sound not played"));
    CHECK(phone.sounds() == "");
    CHECK(!previewName[0]);
    CHECK(!previewStarting);
}

TEST_CASE("a request during another one's hand-over is refused at once")
{
    SoundPhone phone;
    previewStarting = true;
    playSoundFile(L"ring1.wav", currentVolume);
    CHECK(phone.logged() == "playSoundFile: Sound not played\n");
    CHECK(phone.sounds() == "");
    CHECK(previewStarting);
    CHECK(!previewName[0]);
    previewStarting = false;
}

TEST_CASE("refusals are logged with basic logging only")
{
    SoundPhone phone;
    userSettings.loggingOption = 4 | 8;
    playSoundFile(L"<silent>", currentVolume);
    copyText(previewName, L"long.wav");
    playSoundFile(L"ring1.wav", currentVolume);
    CHECK(phone.logged() == "");
    userSettings.loggingOption = 1;
    playSoundFile(L"<silent>", currentVolume);
    playSoundFile(L"ring1.wav", currentVolume);
    CHECK(phone.logged() == "playSoundFile: Sound not played\nplaySoundFile: Still busy\n");
}

TEST_CASE("a request waits five seconds for the preview before it and is dropped then")
{
    SoundPhone phone;
    copyText(previewName, L"long.wav");   // a preview that does not end
    playSoundFile(L"ring1.wav", currentVolume);
    CHECK(phone.logged() == "playSoundFile: Still busy\n");
    CHECK(phone.sounds() == "sleep 100 (50)\n");
    CHECK(std::wstring(previewName) == L"long.wav");
    CHECK(!previewStarting);
}

TEST_CASE("a request is played by a thread as soon as the preview before it has ended")
{
    SoundPhone phone("wm6", 10);
    FakePlayer player({3});
    mediaPlayer = &player;
    phone.set(L"sounds", L"duration", L"500");
    playSoundFile(L"ring1.wav", currentVolume);
    playSoundFile(L"song.mp3", currentVolume);
    CHECK(!previewStarting);
    waitForEnd(player);
    CHECK(joined(phone.journal("play")) == "play SndPlaySync \\windows\\ring1.wav 0xFFFFFFFF\n"
                                           "play SndPlaySync \\windows\\song.mp3 0xFFFFFFFF\n");
    const std::string sounds = phone.sounds();
    CHECK(sounds.find("sleep 100") != std::string::npos);
    CHECK(sounds.find("played SndPlaySync \\windows\\ring1.wav") < sounds.find("play SndPlaySync \\windows\\song.mp3"));
    CHECK(sounds.find("played SndPlaySync \\windows\\song.mp3") != std::string::npos);
    CHECK(phone.log().size() == 6);
}

TEST_CASE("a request is dropped while a sound of a minute plays, and that goes on")
{
    SoundPhone phone("wm6", 100);
    FakePlayer player({3});
    mediaPlayer = &player;
    phone.set(L"sounds", L"duration", L"60000");
    playSoundFile(L"ring1.wav", currentVolume);
    playSoundFile(L"song.mp3", currentVolume);
    CHECK(std::wstring(previewName) == L"ring1.wav");
    waitForEnd(player);
    CHECK(phone.logged().find("playSoundFile: Still busy\n") != std::string::npos);
    CHECK(joined(phone.journal("play")) == "play SndPlaySync \\windows\\ring1.wav 0xFFFFFFFF\n");
    CHECK(joined(phone.journal("played")) == "played SndPlaySync \\windows\\ring1.wav\n");
}

TEST_CASE("of a name 99 characters are used, whatever its length")
{
    SoundPhone phone;
    userSettings.loggingOption = 4;
    FakePlayer player({3});
    for (const size_t length : {98, 99, 100, 102, 103, 259, 1000}) {
        const std::wstring name = L"\\Windows\\" + std::wstring(length - 13, L'n') + L".wav";
        std::wstring used = name.substr(0, 99);
        if (length > 102)
            used += L".wav";   // its own is cut off with the dot
        phone.removeFile(logFile);
        phone.writeFile(used.c_str(), "");
        playWith(player, name.c_str());
        CHECK(phone.log()[0] == "playSoundThread: 0x1, " + narrow(used));
    }
}

// ---- Finding the file -------------------------------------------------------------------------------------------------

TEST_CASE("a name without a dot is looked up as a wave file, any other as it is")
{
    struct Row {
        const wchar_t *name;
        const wchar_t *file;
        const char *path;   // as the log says it
    };
    constexpr Row rows[] = {
        {L"ring9", L"\\Windows\\ring9.wav", "\\windows\\ring9.wav"},
        {L"ring9.wav", L"\\Windows\\ring9.wav", "\\windows\\ring9.wav"},
        {L"no.9", L"\\Windows\\no.9", "\\windows\\no.9"},
        {L".", L"\\Windows\\x", ""},
        {L"\\My Documents\\tone", L"\\My Documents\\tone.wav", "\\My Documents\\tone.wav"},
        {L"\\My.Documents\\tone", L"\\My.Documents\\tone", "\\My.Documents\\tone"},
        {L"\\My Documents\\tone.mp3", L"\\My Documents\\tone.mp3", "\\My Documents\\tone.mp3"},
    };
    for (const Row &row : rows) {
        SoundPhone phone;
        phone.writeFile(row.file, "");
        userSettings.loggingOption = 4;
        playNow(row.name);
        INFO(narrow(row.name));
        CHECK(phone.log()[0] == std::string("playSoundThread: 0x1, ") + row.path);
    }
}

TEST_CASE("a name of 99 characters without a dot gets its extension")
{
    SoundPhone phone;
    const std::wstring name(99, L'n');
    phone.writeFile((L"\\Windows\\" + name + L".wav").c_str(), "");
    playNow(name.c_str());
    CHECK(phone.sounds() == "play SndPlaySync \\windows\\" + narrow(name) + ".wav 0xFFFFFFFF\n" +
                                "played SndPlaySync \\windows\\" + narrow(name) + ".wav\n");
}

TEST_CASE("a name that is found nowhere goes to the player all the same")
{
    struct Row {
        const char *base;
        const char *sounds;
    };
    const Row rows[] = {
        {"wm6", "play SndPlaySync  0xFFFFFFFF not found\n"},   // newer systems leave nothing of the name
        {"ppc2003", "play PlaySoundW \\SD Card\\My Documents\\none.wav 0xFFFFFFFF not found\n"},
    };
    for (const Row &row : rows) {
        SoundPhone phone(row.base);
        playNow(L"none.wav");
        CHECK(phone.sounds() == std::string(row.sounds));
        CHECK(!previewName[0]);
    }
    SoundPhone phone("wm5");   // and nothing is no wave file
    playNow(L"none.wav");
    CHECK(phone.sounds() == "shell   not found\nsleep 100 (200)\n");
}

// ---- Means of playing -------------------------------------------------------------------------------------------------

TEST_CASE("Windows Mobile 6 plays every kind of file itself")
{
    for (const char *name : {"ring1.wav", "song.mp3", "tune.mid"}) {
        SoundPhone phone;
        FakePlayer player({3});
        mediaPlayer = &player;
        playNow(widen(name).c_str());
        const std::string path = std::string("\\windows\\") + name;
        CHECK(phone.sounds() == "play SndPlaySync " + path + " 0xFFFFFFFF\n" + "played SndPlaySync " + path + "\n");
        CHECK(phone.logged() == "playSoundThread: 0x1, " + path + "\nWM 6.0 SndPlaySync\nplaySoundFile: End\n");
        CHECK(calls.empty());
        CHECK(!previewName[0]);
    }
}

TEST_CASE("a phone whose shell library does not load plays as an older one")
{
    SoundPhone phone;
    phone.writeFile(L"\\Storage Card\\card.wav", "");
    phone.set(L"exports", L"missing_modules", L"aygshell.dll");
    playNow(L"\\Storage Card\\card.wav");
    CHECK(phone.sounds() ==
          "play PlaySoundW \\Storage Card\\card.wav 0xFFFFFFFF\nplayed PlaySoundW \\Storage Card\\card.wav\n");
}

TEST_CASE("older phones play wave files with the system's function, player or not")
{
    for (const char *base : {"wm5", "ppc2003"}) {
        SoundPhone phone(base);
        phone.writeFile(L"\\Storage Card\\x.wav.mp3", "");   // the extension may be anywhere
        FakePlayer player({3});
        mediaPlayer = &player;
        playNow(L"\\Windows\\ring1.wav");
        playNow(L"\\Storage Card\\x.wav.mp3");
        CHECK(phone.sounds() ==
              "play PlaySoundW \\Windows\\ring1.wav 0xFFFFFFFF\nplayed PlaySoundW \\Windows\\ring1.wav\n"
              "play PlaySoundW \\Storage Card\\x.wav.mp3 0xFFFFFFFF\nplayed PlaySoundW \\Storage Card\\x.wav.mp3\n");
        CHECK(calls.empty());
        CHECK(phone.logged() == "playSoundThread: 0x1, \\Windows\\ring1.wav\nplaySoundFile: End\n"
                                "playSoundThread: 0x1, \\Storage Card\\x.wav.mp3\nplaySoundFile: End\n");
    }
}

TEST_CASE("a wave file with a capital extension goes to the player")
{
    SoundPhone phone("wm5");
    FakePlayer player({1});
    phone.writeFile(L"\\Storage Card\\LOUD.WAV", "");
    playWith(player, L"\\Storage Card\\LOUD.WAV");
    CHECK(calls[2] == "url \\Storage Card\\LOUD.WAV");
}

TEST_CASE("without a player the shell opens the file, and 20 seconds pass whatever comes of it")
{
    SoundPhone phone("ppc2003");
    const int processes = SimLiveProcesses();
    playNow(L"song.mp3");
    CHECK(phone.sounds() == "shell \\Windows\\song.mp3 \nsleep 100 (200)\n");
    CHECK(phone.logged() == "playSoundThread: 0x1, \\Windows\\song.mp3\nplaySoundFile: End\n");
    CHECK(SimLiveProcesses() == processes);
    CHECK(!previewName[0]);
}

// ---- The media player -------------------------------------------------------------------------------------------------

TEST_CASE("a player at rest gets the file, without loop, and is listened to until it stops")
{
    for (const int rest : {0, 1, 10}) {
        SoundPhone phone("wm5");
        FakePlayer player({rest, 3, 6, 3, 1});
        playWith(player, L"song.mp3");
        const std::string state = std::to_string(rest);
        CHECK(joined(calls) ==
              "state " + state + "\nloop off\nurl \\windows\\song.mp3\nstate 3\nstate 6\nstate 3\nstate 1\n");
        CHECK(phone.sounds() == "sleep 500 (4)\n");
        CHECK(phone.logged().find("playSoundThread: 0x1, \\windows\\song.mp3\nPlayer State: " + state + "\n") == 0);
        CHECK(phone.logged().find("still") == std::string::npos);
    }
}

TEST_CASE("a player at work is stopped first")
{
    SoundPhone phone("wm5");
    FakePlayer player({3, 1, 1});
    playWith(player, L"song.mp3");
    CHECK(joined(calls) == "state 3\nstop\nstate 1\nloop off\nurl \\windows\\song.mp3\nstate 1\n");
    CHECK(phone.sounds() == "sleep 1000\nsleep 500\n");
    CHECK(phone.logged().find("Player State: 3\nPlayer playing or paused - stop it\nPlayer State now: 1\n") !=
          std::string::npos);
}

TEST_CASE("a paused player is made to play before it is stopped")
{
    SoundPhone phone("wm5");
    FakePlayer player({2, 10, 1});
    playWith(player, L"song.mp3");
    CHECK(joined(calls) == "state 2\nplay\nstop\nstate 10\nloop off\nurl \\windows\\song.mp3\nstate 1\n");
    CHECK(phone.sounds() == "sleep 200\nsleep 1000\nsleep 500\n");
    CHECK(phone.logged().find("Player State: 2\nPlayer playing or paused - stop it\nPlayer State now: 10\n") !=
          std::string::npos);
}

TEST_CASE("a player that does not come to rest is left alone")
{
    for (const int state : {4, 5, 6, 7, 8, 9, 11}) {
        SoundPhone phone("wm5");
        FakePlayer player({state});
        playWith(player, L"song.mp3");
        CHECK(joined(calls) == "state " + std::to_string(state) + "\n");
        CHECK(phone.sounds() == "");
    }
    for (const int state : {2, 3, 6, 9}) {
        SoundPhone phone("wm5");
        FakePlayer player({3, state});
        playWith(player, L"song.mp3");
        CHECK(joined(calls) == "state 3\nstop\nstate " + std::to_string(state) + "\n");
        CHECK(phone.sounds() == "sleep 1000\n");
    }
}

TEST_CASE("a player that still plays after 40 looks is stopped")
{
    SoundPhone phone("wm5");
    FakePlayer player({0, 3});
    playWith(player, L"song.mp3");
    CHECK(joined(calls) == "state 0\nloop off\nurl \\windows\\song.mp3\n" + repeated(41, "state 3") + "stop\n");
    CHECK(phone.sounds() == "sleep 500 (41)\n");
    CHECK(phone.logged().find("Media player still playing...\nplaySoundFile: End\n") != std::string::npos);
}

TEST_CASE("a player that stops at the 40th look, or buffers longer, needs no stopping")
{
    std::vector<int> playing(41, 3);
    playing[0] = 1;
    for (const int last : {1, 6}) {
        SoundPhone phone("wm5");
        std::vector<int> states = playing;
        states.push_back(last);
        FakePlayer player(states);
        playWith(player, L"song.mp3");
        CHECK(calls.size() == 1 + 2 + 41);
        CHECK(calls.back() == "state " + std::to_string(last));
        CHECK(phone.sounds() == "sleep 500 (41)\n");
        CHECK(phone.logged().find("still") == std::string::npos);
    }
}

TEST_CASE("the player's states are logged with basic logging, what is done about them always")
{
    struct Row {
        DWORD logging;
        const char *lines;
    };
    constexpr Row rows[] = {
        {0, ""},
        {1,
         "Player State: 3\nPlayer playing or paused - stop it\nPlayer State now: 1\nMedia player still playing...\n"},
        {2, "Player playing or paused - stop it\nMedia player still playing...\n"},
        {4, "playSoundThread: 0x1, \\windows\\song.mp3\nPlayer playing or paused - stop it\n"
            "Media player still playing...\n"},
        {8, "Player playing or paused - stop it\nMedia player still playing...\nplaySoundFile: End\n"},
    };
    for (const Row &row : rows) {
        SoundPhone phone("wm5");
        userSettings.loggingOption = row.logging;
        FakePlayer player({3, 1, 3});
        playWith(player, L"song.mp3");
        CHECK(phone.logged() == row.lines);
    }
}

TEST_CASE("a player of which nothing works does no harm")
{
    SoundPhone phone("wm5");
    FakePlayer player({3});
    player.fails = true;
    playWith(player, L"song.mp3");
    CHECK(joined(calls) == "url \\windows\\song.mp3\n");   // a state that cannot be told is that of a new player
    CHECK(phone.logged().find("Player State: 0\n") != std::string::npos);
    CHECK(phone.sounds() == "sleep 500\n");
}

TEST_CASE("a preview keeps the player when the dialog is closed meanwhile")
{
    SoundPhone phone("wm5");
    FakePlayer player({0, 3, 3, 1});
    player.dialogCloses = true;
    playWith(player, L"song.mp3");
    CHECK(joined(calls) == "state 0\nloop off\nurl \\windows\\song.mp3\nstate 3\nstate 3\nstate 1\n");
}

// ---- Volume -----------------------------------------------------------------------------------------------------------

TEST_CASE("a preview at the current volume leaves every volume setting untouched")
{
    for (const char *base : allKinds)
        for (const DWORD mode : {0u, 1u}) {
            SoundPhone phone(base);
            storeNumber(L"Mode", mode, shellOverrides);
            storeNumber(L"SavedVolume", 0x11112222, shellOverrides);
            storeNumber(L"Volume", 0x33334444, volumeKey);
            playNow(L"\\Windows\\ring1.wav", currentVolume);
            CHECK(phone.sounds().find("volume") == std::string::npos);
            CHECK(phone.sounds().find("audio-update") == std::string::npos);
            CHECK(storedNumber(L"Mode", shellOverrides) == mode);
            CHECK(storedNumber(L"SavedVolume", shellOverrides) == 0x11112222);
            CHECK(storedNumber(L"Volume", volumeKey) == 0x33334444);
            CHECK(savedVolume == 1);
        }
}

TEST_CASE("a preview at a volume of its own puts the former one back")
{
    for (const char *base : allKinds) {
        SoundPhone phone(base);
        storeNumber(L"Mode", 0, shellOverrides);
        storeNumber(L"SavedVolume", 0x11112222, shellOverrides);
        storeNumber(L"Volume", 0x33334444, volumeKey);
        playNow(L"\\Windows\\ring1.wav", 0x80008000);
        const char *means = std::string(base) == "wm6" ? "SndPlaySync" : "PlaySoundW";
        CHECK(phone.sounds() == std::string("volume 0x80008000\naudio-update\nplay ") + means +
                                    " \\Windows\\ring1.wav 0x80008000\nplayed " + means +
                                    " \\Windows\\ring1.wav\nvolume 0x33334444\naudio-update\n");
        CHECK(storedNumber(L"SavedVolume", shellOverrides) == 0x11112222);
        CHECK(storedNumber(L"Volume", volumeKey) == 0x33334444);
        CHECK(phone.log()[0] == "setVol: 80008000");
        CHECK(phone.log()[1] == "playSoundThread: 0x80008000, \\Windows\\ring1.wav");
    }
}

TEST_CASE("a silenced phone plays audibly and is silent again afterwards")
{
    for (const char *base : allKinds)
        for (const DWORD mode : {1u, 2u, 0xFFFFFFFFu}) {
            SoundPhone phone(base);
            const bool isOld = std::string(base) == "ppc2003";
            storeNumber(L"Mode", mode, shellOverrides);
            storeNumber(L"SavedVolume", 0x77778888, shellOverrides);
            storeNumber(L"Volume", 0, volumeKey);
            CHECK(setVol(0xFFFFFFFF, 0) == 0);
            CHECK(savedVolume == 0x77778888);
            removeValue(L"Mode", shellOverrides);
            storeNumber(L"SavedVolume", 5, shellOverrides);
            storeNumber(L"Volume", 6, volumeKey);
            CHECK(setVol(0, 1) == 0);
            CHECK(phone.sounds() == "volume 0xFFFFFFFF\naudio-update\nvolume 0x77778888\nvolume 0x0\naudio-update\n");
            CHECK(storedValue(L"Mode", shellOverrides).present == isOld);
            if (isOld)
                CHECK(storedNumber(L"Mode", shellOverrides) == mode);
            CHECK(storedNumber(L"SavedVolume", shellOverrides) == 0x77778888);
            CHECK(storedNumber(L"Volume", volumeKey) == 0);
            CHECK(savedVolume == 0);
            CHECK(phone.logged() == "setVol: FFFFFFFF\n");
        }
}

TEST_CASE("the remembered volume is returned while the phone is not silenced")
{
    SoundPhone phone;
    storeNumber(L"Volume", 0x12345678, volumeKey);
    CHECK(setVol(0x50005000, 0) == 0x12345678);
    CHECK(setVol(0x60006000, 0) == 0x50005000);
    CHECK(setVol(7, 1) == 0x50005000);
    CHECK(setVol(7, 1) == 0x50005000);   // it stays remembered
    CHECK(phone.sounds() == "volume 0x50005000\naudio-update\nvolume 0x60006000\naudio-update\n"
                            "volume 0x50005000\naudio-update\nvolume 0x50005000\naudio-update\n");
    CHECK(phone.logged() == "setVol: 50005000\nsetVol: 60006000\n");
}

TEST_CASE("restoring where nothing is remembered only has the system look at the registry")
{
    SoundPhone phone;
    CHECK(setVol(0x50005000, 1) == 1);
    CHECK(phone.sounds() == "audio-update\n");
    CHECK(phone.logged() == "");
}

TEST_CASE("a volume of exactly 1 counts as none, and is not put back")
{
    for (const DWORD volume : {0u, 1u, 2u}) {
        SoundPhone phone;
        storeNumber(L"Volume", volume, volumeKey);
        playNow(L"\\Windows\\ring1.wav", 0x80008000);
        const std::string restored = volume == 1 ? "" : "volume 0x" + std::to_string(volume) + "\n";
        CHECK(phone.sounds() == "volume 0x80008000\naudio-update\nplay SndPlaySync \\Windows\\ring1.wav 0x80008000\n"
                                "played SndPlaySync \\Windows\\ring1.wav\n" + restored + "audio-update\n");
    }
}

TEST_CASE("a path is logged whole, with a mark for what the phone's code page lacks")
{
    SoundPhone phone;
    phone.writeFile(L"\\Windows\\Kl\xE4nge \x4E2D.wav", "");
    playNow(L"\\Windows\\Kl\xE4nge \x4E2D.wav");
    CHECK(phone.log().front() == "playSoundThread: 0x1, \\Windows\\Kl\xE4nge ?.wav");
}

TEST_CASE("setting a volume is logged with detailed logging only")
{
    SoundPhone phone;
    userSettings.loggingOption = 1 | 8;
    setVol(0xABCD, 0);
    CHECK(phone.logged() == "");
    userSettings.loggingOption = 4;
    setVol(0xABCD, 0);
    CHECK(phone.logged() == "setVol: ABCD\n");
}

TEST_CASE("registry keys that are missing are passed over")
{
    SoundPhone phone;
    removeKey(shellOverrides);
    removeKey(volumeKey);
    CHECK(setVol(0x50005000, 0) == 0xFFFFFFFF);   // no override: the volume in use is remembered
    CHECK(setVol(0, 1) == 0xFFFFFFFF);
    CHECK(!keyExists(shellOverrides));
    CHECK(!keyExists(volumeKey));
}

TEST_CASE("a silenced phone that loses its keys during the preview keeps what it has")
{
    SoundPhone phone("ppc2003");
    storeNumber(L"Mode", 1, shellOverrides);
    storeNumber(L"SavedVolume", 0x77778888, shellOverrides);
    setVol(0x50005000, 0);
    removeKey(shellOverrides);
    removeKey(volumeKey);
    CHECK(setVol(0, 1) == 0);
    CHECK(phone.sounds() == "volume 0x50005000\naudio-update\nvolume 0x77778888\nvolume 0x0\naudio-update\n");
    CHECK(!keyExists(shellOverrides));
    CHECK(!keyExists(volumeKey));
    CHECK(savedVolume == 0x77778888);   // and it is not forgotten
}

TEST_CASE("a silenced phone whose shell remembers no volume has nothing to be put back")
{
    SoundPhone phone;
    storeNumber(L"Mode", 1, shellOverrides);
    removeValue(L"SavedVolume", shellOverrides);
    CHECK(setVol(0x50005000, 0) == 0);
    CHECK(savedVolume == 1);
    CHECK(setVol(0, 1) == 0);
    CHECK(phone.sounds() == "volume 0x50005000\naudio-update (2)\n");
}

TEST_CASE("a volume that cannot be read is none to be put back")
{
    SoundPhone phone;
    SimOrderFault(L"sound", 0, L"volume:get", FALSE);
    playNow(L"\\Windows\\ring1.wav", 0x80008000);
    CHECK(phone.sounds() == "volume 0x80008000\naudio-update\nplay SndPlaySync \\Windows\\ring1.wav 0x80008000\n"
                            "played SndPlaySync \\Windows\\ring1.wav\naudio-update\n");
}

// ---- Power ------------------------------------------------------------------------------------------------------------

TEST_CASE("the audio device is kept awake where the backlight stays off, and on phones by Texas Instruments")
{
    struct Row {
        bool noBacklight, texasInstruments;
    };
    for (const Row &row : {Row{true, false}, Row{false, true}, Row{true, true}}) {
        SoundPhone phone;
        userSettings.noBacklight = row.noBacklight;
        isTexasInstruments = row.texasInstruments;
        playNow(L"\\Windows\\ring1.wav", 0x80008000);
        CHECK(phone.sounds() ==
              "volume 0x80008000\naudio-update\npower WAV1: D0\nplay SndPlaySync \\Windows\\ring1.wav 0x80008000\n"
              "played SndPlaySync \\Windows\\ring1.wav\nvolume 0xFFFFFFFF\naudio-update\n"
              "sleep 500\npower WAV1: released\nsleep 50\n");
    }
    SoundPhone phone;
    playNow(L"\\Windows\\ring1.wav");
    CHECK(phone.sounds().find("power") == std::string::npos);
    CHECK(phone.sounds().find("sleep") == std::string::npos);
}

TEST_CASE("a device that cannot be kept awake is not waited for")
{
    SoundPhone phone;
    userSettings.noBacklight = 1;
    SimOrderFault(L"sound", 1, L"power:WAV1:", FALSE);
    playNow(L"\\Windows\\ring1.wav");
    CHECK(phone.sounds() ==
          "play SndPlaySync \\Windows\\ring1.wav 0xFFFFFFFF\nplayed SndPlaySync \\Windows\\ring1.wav\n");
    CHECK(phone.logged().find("playSoundFile: End\n") != std::string::npos);
}

// ---- Exceptions -------------------------------------------------------------------------------------------------------

TEST_CASE("an exception is logged, even without logging, and everything is put back")
{
    for (const DWORD logging : {0u, 1u}) {
        SoundPhone phone;
        userSettings.loggingOption = logging;
        userSettings.noBacklight = 1;
        const int keys = SimLiveKeys();
        SimOrderFault(L"sound", 1, L"play:*", TRUE);
        playNow(L"\\Windows\\ring1.wav", 0x80008000);
        CHECK(phone.logged() == "** Exception playSoundThread **\n");
        CHECK(phone.sounds() == "volume 0x80008000\naudio-update\npower WAV1: D0\npower WAV1: released\n"
                                "volume 0xFFFFFFFF\naudio-update\n");
        CHECK(!previewName[0]);
        CHECK(SimLiveKeys() == keys);
        // The next one plays.
        userSettings.noBacklight = 0;
        playNow(L"\\Windows\\ring1.wav");
        CHECK(phone.sounds().find("played SndPlaySync") != std::string::npos);
    }
}

TEST_CASE("an exception at any step ends the preview and leaves it ready for another")
{
    struct Row {
        const wchar_t *kind;
        const wchar_t *call;
        const char *volumes;   // how the journal of the volume ends
    };
    constexpr Row rows[] = {
        {L"file", L"attributes:*", ""},
        {L"registry", L"read:Mode", "audio-update\n"},
        {L"registry", L"read:SavedVolume", "audio-update\n"},
        {L"sound", L"volume:set", ""},
        {L"sound", L"update:", "volume 0x0\naudio-update\n"},
        {L"sound", L"play:*", "volume 0x0\naudio-update\n"},
        {L"sound", L"release:*", "volume 0x0\naudio-update\nsleep 500\npower WAV1: released\n"},
        {L"registry", L"write:SavedVolume", "volume 0x77778888\nvolume 0x0\npower WAV1: released\n"},
        {L"registry", L"write:Volume", "volume 0x77778888\nvolume 0x0\npower WAV1: released\n"},
    };
    for (const Row &row : rows) {
        INFO(narrow(row.call));
        SoundPhone phone;
        storeNumber(L"Mode", 1, shellOverrides);
        storeNumber(L"SavedVolume", 0x77778888, shellOverrides);
        userSettings.noBacklight = 1;
        const int keys = SimLiveKeys();
        SimOrderFault(row.kind, 1, row.call, TRUE);
        playNow(L"\\Windows\\ring1.wav", 0x80008000);
        SimClearFaults();
        const std::string sounds = phone.sounds(), end = row.volumes;
        CHECK(phone.log().back() == "** Exception playSoundThread **");
        CHECK(sounds.size() >= end.size());
        CHECK(sounds.substr(sounds.size() - std::min(sounds.size(), end.size())) == end);
        CHECK(!previewName[0]);
        CHECK(SimLiveKeys() == keys);
    }
}

TEST_CASE("dozens of previews leave nothing behind")
{
    SoundPhone phone;
    userSettings.loggingOption = 0;
    userSettings.noBacklight = 1;
    playNow(L"ring1", 0x80008000);
    const int allocations = SimLiveAllocations(), keys = SimLiveKeys(), files = SimLiveFiles();
    for (int i = 0; i < 50; ++i)
        playNow(L"ring1", 0x80008000);
    CHECK(SimLiveAllocations() == allocations);
    CHECK(SimLiveKeys() == keys);
    CHECK(SimLiveFiles() == files);
}
