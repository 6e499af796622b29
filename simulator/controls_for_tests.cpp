// The control functions: a thin layer over the parts of the simulator.
#include "control.h"

#include "com.h"
#include "databases.h"
#include "faults.h"
#include "files.h"
#include "memory.h"
#include "phone.h"
#include "registry.h"
#include "shell.h"
#include "system.h"

namespace sim {
namespace {

BOOL answer(const std::wstring &text, wchar_t *buffer, int size)
{
    if (!buffer || size < 0 || text.size() >= static_cast<size_t>(size))
        return FALSE;
    wcscpy(buffer, text.c_str());
    return TRUE;
}

BOOL succeeded(bool done, const std::wstring &problem)
{
    if (!done)
        complain(L"phone simulator: " + problem);
    return done;
}

std::wstring textOf(const wchar_t *text)
{
    return text ? text : L"";
}

// One entry of the table of GDI handles that every process sees, in 64-bit processes.
struct GdiEntry {
    ULONG64 object;
    DWORD owner;
    WORD unique;
    BYTE type, flags;
    ULONG64 userPointer;
};

constexpr int gdiTableOffset = 0xF8;   // of the table's address in the process environment block
constexpr int gdiTableSize = 16384;

// Wine does not count GDI objects for GetGuiResources, but keeps the table; an entry in use has a type.
int countGdiTable()
{
    using CurrentBlock = const BYTE *(NTAPI *)();
    const FARPROC currentBlock = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetCurrentPeb");
    const BYTE *block = reinterpret_cast<CurrentBlock>(reinterpret_cast<void *>(currentBlock))();
    const auto *table = *reinterpret_cast<const GdiEntry *const *>(block + gdiTableOffset);
    int count = 0;
    for (int i = 0; table && i < gdiTableSize; ++i)
        count += table[i].object != 0 && table[i].type != 0;
    return count;
}

}   // namespace
}   // namespace sim

using namespace sim;

extern "C" {

BOOL WINAPI SimUsePhone(const wchar_t *folder)
{
    setClock(nullptr);
    shortenWaits(1);
    forgetBars();
    std::wstring problem;
    return succeeded(usePhone(textOf(folder), problem), problem);
}

BOOL WINAPI SimSeedRegistry()
{
    std::wstring problem;
    return succeeded(reseedRegistry(phone(), problem), problem);
}

BOOL WINAPI SimDeletePhoneRegistry(const wchar_t *name)
{
    return deleteRegistry(textOf(name));
}

void WINAPI SimSetSetting(const wchar_t *section, const wchar_t *key, const wchar_t *value)
{
    phone();
    overrideSetting(section, key, value);
}

BOOL WINAPI SimHostPath(const wchar_t *phonePath, wchar_t *buffer, int size)
{
    return answer(hostPath(phonePath), buffer, size);
}

BOOL WINAPI SimJournalPath(wchar_t *buffer, int size)
{
    return answer(phone().folder + L"\\journal.log", buffer, size);
}

BOOL WINAPI SimPhoneName(wchar_t *buffer, int size)
{
    return answer(phone().name, buffer, size);
}

void WINAPI SimJournal(const wchar_t *kind, const wchar_t *const *fields, int count)
{
    journal(kind, {fields, fields + count});
}

void WINAPI SimSetClock(const SYSTEMTIME *localTime)
{
    setClock(localTime);
}

void WINAPI SimShortenWaits(int divisor)
{
    shortenWaits(divisor);
}

BOOL WINAPI SimOrderFault(const wchar_t *kind, int n, const wchar_t *operationAndDetail, BOOL raise)
{
    FaultKind known;
    if (n < 0 || !faultKindNamed(textOf(kind), known))
        return FALSE;
    phone();   // opening it later would drop the order
    orderFault(known, n, textOf(operationAndDetail), raise ? Fault::raise : Fault::fail);
    return TRUE;
}

void WINAPI SimClearFaults()
{
    clearFaults();
}

void WINAPI SimGuardAllocations(BOOL on)
{
    guardAllocations(on);
}

int WINAPI SimLiveAllocations()
{
    return liveAllocations();
}
int WINAPI SimLiveFiles()
{
    return liveHandles(HandleKind::file);
}
int WINAPI SimLiveSearches()
{
    return liveSearches();
}
int WINAPI SimLiveProcesses()
{
    return liveHandles(HandleKind::process);
}
int WINAPI SimLiveKeys()
{
    return liveKeys();
}
int WINAPI SimLiveObjects()
{
    return liveObjects();
}

int WINAPI SimLiveDatabases()
{
    return liveDatabases();
}

int WINAPI SimLiveVolumes()
{
    return liveVolumes();
}

int WINAPI SimLiveGdi()
{
    const int counted = static_cast<int>(GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS));
    return counted ? counted : countGdiTable();
}

}   // extern "C"
