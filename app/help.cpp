#include "help.h"

#include "text.h"

void openHelp(const wchar_t *anchor)
{
    wchar_t topic[64];
    formatText(topic, L"Kelvane.htm#%s", anchor);
    PROCESS_INFORMATION process;
    if (!CreateProcessW(L"peghelp.exe", topic, nullptr, nullptr, FALSE, 0, nullptr, nullptr, nullptr, &process))
        return;
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}
