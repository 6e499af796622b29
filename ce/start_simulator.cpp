// Start-up of the simulator build: from the compiler's own start-up to the phone's WinMain.

#include "phone.h"

namespace {

// The library allocates a thread's account of exceptions at its first throw. Have it done while there is memory: a throw
// that finds none ends the program.
void openExceptionAccount()
{
    try {
        throw 0;
    } catch (...) {
    }
}

}   // namespace

extern "C" int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR commandLine, int showCommand)
{
    openExceptionAccount();
    return WinMain(instance, previous, commandLine, showCommand);
}

// The library's version prints the exception's decoded name, which would bring stdio and a name decoder into the program.
// No exception gets that far.
namespace __gnu_cxx {
void __verbose_terminate_handler()
{
    TerminateProcess(reinterpret_cast<HANDLE>(-1), 3);
}
}   // namespace __gnu_cxx
