// Entry of every test program.

#define DOCTEST_CONFIG_IMPLEMENT
#include "doctest.h"

#include "phone.h"
#include "shell_values.h"

// Each test program has a desktop of its own, so that none takes the focus or the foreground from another.
static void takeOwnDesktop()
{
    wchar_t name[64];
    wsprintfW(name, L"kelvane-test-%u", static_cast<unsigned>(GetCurrentProcessId()));
    const HDESK desktop = CreateDesktopW(name, nullptr, nullptr, 0, GENERIC_ALL, nullptr);
    if (desktop)
        SetThreadDesktop(desktop);
}

int main(int count, char **arguments)
{
    takeOwnDesktop();
    appInstance = GetModuleHandleA(nullptr);   // the host's: no phone is open yet
    doctest::Context context(count, arguments);
    return context.run();
}
