// Start-up of the device build, and what the compiler's exception runtime expects of a C library. The runtime itself
// (libsupc++ and libgcc) is the compiler's own.

#include <stddef.h>

#include "phone.h"

// ---- Start and end ---------------------------------------------------------------------------------------------------

namespace {

// The phone knows the current process by a constant.
const HANDLE currentProcess = reinterpret_cast<HANDLE>(66);

[[noreturn]] void endProcess(UINT exitCode)
{
    TerminateProcess(currentProcess, exitCode);
    for (;;) {
    }
}

}   // namespace

extern "C" {

typedef void (*Constructor)();
extern const Constructor constructorsBegin[];
extern const Constructor constructorsEnd[];

// Called by phoneEntry. Static objects are built, but not taken down: what they hold ends with the process.
[[noreturn]] void startProgram(HINSTANCE instance, HINSTANCE previous, LPWSTR commandLine, int showCommand)
{
    for (const Constructor *constructor = constructorsBegin; constructor != constructorsEnd; ++constructor)
        (*constructor)();
    endProcess(WinMain(instance, previous, commandLine, showCommand));
}

// The runtime's last resort, also for an exception that nothing catches.
[[noreturn]] void abort()
{
    endProcess(3);
}

}   // extern "C"

// The library's version prints the exception's decoded name, which would bring stdio and a name decoder into the program.
namespace __gnu_cxx {
void __verbose_terminate_handler()
{
    abort();
}
}   // namespace __gnu_cxx

// ---- Exceptions in flight, per thread --------------------------------------------------------------------------------

namespace __cxxabiv1 {

// What the runtime keeps per thread; the layout is that of the ARM exception handling ABI.
struct __cxa_eh_globals {
    void *caughtExceptions;
    unsigned uncaughtExceptions;
    void *propagatingExceptions;
};

namespace {

struct ThreadState {
    LONG thread;   // 0 while free
    __cxa_eh_globals globals;
};

// Far more than this program has threads at a time. No heap: exceptions report that the heap is exhausted.
ThreadState threadStates[16];

// Where the system keeps the current thread's identifier for every process to read.
LONG currentThread()
{
    return *reinterpret_cast<const volatile LONG *>(0xFFFFC804);
}

PHONE_API LONG InterlockedTestExchange(LONG *target, LONG expected, LONG desired);

// A thread that has ended leaves its record behind with nothing in flight; that of one that has not thrown yet is empty.
bool isIdle(const __cxa_eh_globals &globals)
{
    return !globals.caughtExceptions && !globals.uncaughtExceptions && !globals.propagatingExceptions;
}

bool claim(ThreadState &state, LONG owner, LONG thread)
{
    return InterlockedTestExchange(&state.thread, owner, thread) == owner;
}

__cxa_eh_globals *claimAny(LONG thread)
{
    for (ThreadState &state : threadStates)
        if (claim(state, 0, thread))
            return &state.globals;
    // Only after that many threads have thrown; one of them may live on, but it is idle.
    for (ThreadState &state : threadStates)
        if (const LONG owner = state.thread; isIdle(state.globals) && claim(state, owner, thread))
            return &state.globals;
    abort();
}

}   // namespace

extern "C" __cxa_eh_globals *__cxa_get_globals() noexcept
{
    const LONG thread = currentThread();
    for (ThreadState &state : threadStates)
        if (state.thread == thread)
            return &state.globals;
    return claimAny(thread);
}

// Asked where the state exists already, which costs no more to find the ordinary way.
extern "C" __cxa_eh_globals *__cxa_get_globals_fast() noexcept
{
    return __cxa_get_globals();
}

}   // namespace __cxxabiv1
