// Sound: playing wave files through the desktop, the volume, the power of the audio device.
#include "sound.h"

#include "faults.h"
#include "files.h"
#include "phone.h"
#include "registry.h"
#include "system.h"

#include <algorithm>
#include <cstring>
#include <mmsystem.h>

namespace sim {
namespace {

constexpr DWORD fullVolume = 0xFFFFFFFF;
constexpr DWORD lengthUnknown = 1000;   // of anything but a wave file, milliseconds
constexpr size_t largestFile = 64 * 1024 * 1024;

// ---- The volume, kept beside the phone's registry -----------------------------------------------------------------

constexpr wchar_t volumeValue[] = L"Wave volume";

bool readNumber(const std::wstring &key, const wchar_t *name, DWORD &number)
{
    DWORD size = sizeof number;
    return RegGetValueW(HKEY_CURRENT_USER, key.c_str(), name, RRF_RT_REG_DWORD, nullptr, &number, &size) ==
           ERROR_SUCCESS;
}

void setWaveVolume(DWORD volume)
{
    RegSetKeyValueW(HKEY_CURRENT_USER, registryBranch(phone().name).c_str(), volumeValue, REG_DWORD, &volume,
                    sizeof volume);
}

// ---- Wave files ---------------------------------------------------------------------------------------------------

std::string readFile(const std::wstring &path)
{
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return "";
    const DWORD size = GetFileSize(file, nullptr);
    std::string bytes(size <= largestFile ? size : 0, '\0');
    DWORD read = 0;
    if (!ReadFile(file, &bytes[0], static_cast<DWORD>(bytes.size()), &read, nullptr))
        read = 0;
    CloseHandle(file);
    bytes.resize(read);
    return bytes;
}

DWORD numberAt(const std::string &bytes, size_t offset)
{
    DWORD value;
    memcpy(&value, &bytes[offset], sizeof value);
    return value;
}

// The parts of a wave file that matter, found by walking its chunks.
struct Wave {
    PCMWAVEFORMAT format{};
    size_t data = 0, dataSize = 0;

    explicit Wave(const std::string &bytes)
    {
        if (bytes.size() < 12 || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 4, "WAVE") != 0)
            return;
        for (size_t at = 12; at + 8 <= bytes.size();) {
            const size_t start = at + 8, size = std::min<size_t>(numberAt(bytes, at + 4), bytes.size() - start);
            if (bytes.compare(at, 4, "fmt ") == 0 && size >= sizeof format)
                memcpy(&format, &bytes[start], sizeof format);
            if (bytes.compare(at, 4, "data") == 0) {
                data = start;
                dataSize = size;
            }
            at = start + size + size % 2;
        }
    }

    bool isValid() const { return dataSize && format.wf.nAvgBytesPerSec; }
    DWORD length() const { return static_cast<DWORD>(dataSize * 1000ull / format.wf.nAvgBytesPerSec); }
};

// Winmm knows one volume per stream, and the stream of PlaySound is its own: the samples themselves are made quieter. Other
// formats than plain samples stay as they are.
void applyVolume(std::string &bytes, const Wave &wave, DWORD volume)
{
    const int levels[] = {LOWORD(volume), HIWORD(volume)};
    const int channels = wave.format.wf.nChannels, bits = wave.format.wBitsPerSample;
    if (volume == fullVolume || wave.format.wf.wFormatTag != WAVE_FORMAT_PCM || channels < 1 || channels > 2 ||
        (bits != 8 && bits != 16))
        return;
    const size_t step = bits / 8;
    for (size_t i = 0; (i + 1) * step <= wave.dataSize; ++i) {
        char *const sample = &bytes[wave.data + i * step];
        const int level = levels[i % channels];
        if (bits == 8) {
            *sample = static_cast<char>(128 + (static_cast<unsigned char>(*sample) - 128) * level / 0xFFFF);
        } else {
            short value;
            memcpy(&value, sample, sizeof value);
            value = static_cast<short>(value * level / 0xFFFF);
            memcpy(sample, &value, sizeof value);
        }
    }
}

// Loaded with the first sound: most runs of the program are silent.
bool hostPlay(const char *wave, DWORD flags)
{
    using Function = BOOL(WINAPI *)(LPCWSTR, HMODULE, DWORD);
    static const auto play = reinterpret_cast<Function>(
        reinterpret_cast<void *>(GetProcAddress(LoadLibraryW(L"winmm.dll"), "PlaySoundW")));
    return play && play(reinterpret_cast<LPCWSTR>(wave), nullptr, wave ? flags : 0);
}

bool playsOnDesktop(const std::string &wave, DWORD flags)
{
    return !wave.empty() && settingNumber(L"sound", L"heard", 1) &&
           hostPlay(wave.data(), SND_MEMORY | SND_NODEFAULT | flags);
}

std::string startedBytes;   // what the desktop is playing

SRWLOCK requirementsLock = SRWLOCK_INIT;
std::vector<std::wstring> requirements;   // the devices of all that there have been; released ones are empty

// Journals the beginning of a sound; a missing file is said so.
void journalPlay(const wchar_t *means, const std::wstring &path, bool found)
{
    std::vector<std::wstring> fields = {means, path, hexadecimal(waveVolume())};
    if (!found)
        fields.push_back(L"not found");
    journal(L"play", fields);
}

bool playNamed(const wchar_t *means, const std::wstring &path)
{
    if (failsByOrder(FaultKind::sound, L"play", path.c_str()))
        return false;
    Sound sound(path);
    journalPlay(means, path, sound.exists());
    if (!sound.exists())
        return false;
    sound.playToEnd();
    journal(L"played", {means, path});
    return true;
}

}   // namespace

Sound::Sound(const std::wstring &phonePath) : exists_(!phonePath.empty() && existsOnPhone(phonePath))
{
    if (!exists_)
        return;
    bytes_ = readFile(hostPath(phonePath.c_str()));
    const Wave wave(bytes_);
    if (wave.isValid())
        applyVolume(bytes_, wave, waveVolume());
    else
        bytes_.clear();
    length_ = settingNumber(L"sound", L"duration", wave.isValid() ? wave.length() : lengthUnknown);
}

void Sound::playToEnd()
{
    if (!playsOnDesktop(bytes_, SND_SYNC))
        waitForPhone(length_);
}

void Sound::start()
{
    stop();
    bytes_.swap(startedBytes);   // the desktop goes on reading them
    playsOnDesktop(startedBytes, SND_ASYNC);
}

void Sound::stop()
{
    if (!startedBytes.empty())
        hostPlay(nullptr, 0);
    startedBytes.clear();
}

DWORD waveVolume()
{
    DWORD volume = fullVolume;
    if (!readNumber(registryBranch(phone().name), volumeValue, volume))
        readNumber(registryBranch(phone().name) + L"\\HKCU\\ControlPanel\\Volume", L"Volume", volume);
    return volume;
}

}   // namespace sim

using namespace sim;

extern "C" {

BOOL WINAPI simPlaySoundW(LPCWSTR sound, HMODULE, DWORD flags)
{
    constexpr DWORD known = SND_FILENAME | SND_NODEFAULT;
    if (!sound || !(flags & SND_FILENAME) || (flags & ~known)) {   // other forms are not needed so far
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return playNamed(L"PlaySoundW", sound);
}

HRESULT WINAPI simSndPlaySync(LPCWSTR path, DWORD flags)
{
    constexpr DWORD ignoreUserSettings = 1;
    if (!path || (flags & ~ignoreUserSettings))
        return E_INVALIDARG;
    return playNamed(L"SndPlaySync", path) ? S_OK : HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
}

MMRESULT WINAPI simWaveOutGetVolume(HANDLE device, DWORD *volume)
{
    if (device)
        return MMSYSERR_BADDEVICEID;   // a phone has one
    if (failsByOrder(FaultKind::sound, L"volume", L"get"))
        return MMSYSERR_ERROR;
    *volume = waveVolume();
    return MMSYSERR_NOERROR;
}

MMRESULT WINAPI simWaveOutSetVolume(HANDLE device, DWORD volume)
{
    if (device)
        return MMSYSERR_BADDEVICEID;
    if (failsByOrder(FaultKind::sound, L"volume", L"set"))
        return MMSYSERR_ERROR;
    setWaveVolume(volume);
    journal(L"volume", {hexadecimal(volume)});
    return MMSYSERR_NOERROR;
}

// What a phone makes of the registry's volume is not known well enough to be imitated.
void WINAPI simAudioUpdateFromRegistry()
{
    failsByOrder(FaultKind::sound, L"update", L"");
    journal(L"audio-update", {});
}

HANDLE WINAPI simSetPowerRequirement(const wchar_t *device, int state, ULONG flags, void *, ULONG)
{
    constexpr ULONG byName = 1;
    if (!device || !(flags & byName) || failsByOrder(FaultKind::sound, L"power", device))
        return nullptr;
    journal(L"power", {device, L"D" + number(state)});
    Guard guard(requirementsLock);
    requirements.push_back(device);
    return reinterpret_cast<HANDLE>(requirements.size());   // never reused: a second release is noticed
}

DWORD WINAPI simReleasePowerRequirement(HANDLE requirement)
{
    const size_t index = reinterpret_cast<size_t>(requirement) - 1;
    std::wstring device;
    {
        Guard guard(requirementsLock);
        if (index >= requirements.size() || requirements[index].empty())
            return ERROR_INVALID_HANDLE;
        device.swap(requirements[index]);
    }
    journal(L"power", {device, L"released"});
    failsByOrder(FaultKind::sound, L"release", device.c_str());
    return ERROR_SUCCESS;
}

}   // extern "C"
