#include "sound_preview.h"

void playSoundFile(const wchar_t *, DWORD) {}

DWORD WINAPI playSoundThread(LPVOID)
{
    return 0;
}

DWORD setVol(DWORD, int)
{
    return 0;
}
