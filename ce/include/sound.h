// Sound, and the power its device needs.
#pragma once

#include "phone.h"

constexpr DWORD SND_SYNC = 0;               // return when the sound has ended
constexpr DWORD SND_FILENAME = 0x00020000;   // the name is that of a wave file

PHONE_API BOOL WINAPI PlaySoundW(const wchar_t *sound, HMODULE module, DWORD flags);

// Volumes have the left channel in the low and the right one in the high word. A device number in the place of a handle
// means the whole device. Both return 0 on success.
PHONE_API UINT WINAPI waveOutGetVolume(HANDLE device, DWORD *volume);
PHONE_API UINT WINAPI waveOutSetVolume(HANDLE device, DWORD volume);

// Has the system take up what ControlPanel\Volume says.
PHONE_API void WINAPI AudioUpdateFromRegistry();

// Keeps a device in a power state until the requirement is released; null on failure. The last two arguments are not used.
PHONE_API HANDLE WINAPI SetPowerRequirement(const void *device, int state, ULONG flags, void *system, ULONG systemFlags);
PHONE_API DWORD WINAPI ReleasePowerRequirement(HANDLE requirement);
constexpr int powerStateFull = 0;    // D0
constexpr ULONG POWER_NAME = 1;      // the device is given by its name
