// A program that previews sounds and waits for their end: preview_player VOLUME NAME... asks for all of them at once, one
// request after the other, as a person does who taps on without patience. VOLUME is hexadecimal, 1 for the current one.
#include <stdio.h>
#include <stdlib.h>

#include "environment.h"
#include "sound_preview.h"
#include "user_settings.h"

int main(int count, char **arguments)
{
    if (count < 3) {
        fputs("usage: preview_player VOLUME NAME...\n", stderr);
        return 2;
    }
    getAppPath();
    getDeviceType();
    userSettings.loggingOption = 1 | 4 | 8;
    const DWORD volume = strtoul(arguments[1], nullptr, 16);
    for (int i = 2; i < count; ++i) {
        wchar_t name[MAX_PATH];
        MultiByteToWideChar(CP_ACP, 0, arguments[i], -1, name, MAX_PATH);
        playSoundFile(name, volume);
    }
    while (previewName[0])
        Sleep(10);
    return 0;
}
