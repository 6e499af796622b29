// The allocation functions: the desktop's own, counted, and failing on order.
#include "memory.h"

#include "faults.h"
#include "phone.h"

#include <cstdlib>
#include <cstring>
#include <unordered_set>

namespace sim {
namespace {

SRWLOCK blocksLock = SRWLOCK_INIT;

// Blocks handed out here. What the simulator itself allocates for the program to release is not among them, so such
// a release does not count.
std::unordered_set<void *> &blocks()
{
    // Never destroyed: the program may release memory while the process ends.
    static auto *const all = new std::unordered_set<void *>;
    return *all;
}

void *counted(void *block)
{
    if (block) {
        Guard guard(blocksLock);
        blocks().insert(block);
    }
    return block;
}

// Returns whether the block was counted.
bool forget(void *block)
{
    Guard guard(blocksLock);
    return blocks().erase(block) != 0;
}

bool fails()
{
    return failsByOrder(FaultKind::allocation, L"alloc", L"");
}

bool localFails()
{
    if (!fails())
        return false;
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return true;
}

}   // namespace

int liveAllocations()
{
    Guard guard(blocksLock);
    return static_cast<int>(blocks().size());
}

}   // namespace sim

using namespace sim;

extern "C" {

void *simMalloc(size_t size)
{
    return fails() ? nullptr : counted(malloc(size));
}

void *simCalloc(size_t count, size_t size)
{
    return fails() ? nullptr : counted(calloc(count, size));
}

void *simRealloc(void *old, size_t size)
{
    if (fails())
        return nullptr;
    // Forgotten first: once released, the address may be another thread's.
    const bool known = forget(old);
    void *const block = realloc(old, size);
    if (!block && known && size != 0)
        counted(old);
    return counted(block);
}

void simFree(void *block)
{
    forget(block);
    free(block);
}

// Counted like any block of malloc, which it is released like.
wchar_t *simWcsdup(const wchar_t *text)
{
    const size_t size = (wcslen(text) + 1) * sizeof(wchar_t);
    void *const copy = simMalloc(size);
    return static_cast<wchar_t *>(copy ? memcpy(copy, text, size) : nullptr);
}

// The phone has fixed memory only and ignores LMEM_MOVEABLE.
HLOCAL WINAPI simLocalAlloc(UINT flags, SIZE_T size)
{
    return localFails() ? nullptr : counted(LocalAlloc(flags & LMEM_ZEROINIT, size));
}

HLOCAL WINAPI simLocalReAlloc(HLOCAL old, SIZE_T size, UINT flags)
{
    if (localFails())
        return nullptr;
    const bool known = forget(old);
    // Without LMEM_MOVEABLE the desktop would only resize in place.
    const HLOCAL block = LocalReAlloc(old, size, (flags & LMEM_ZEROINIT) | LMEM_MOVEABLE);
    if (!block && known)
        counted(old);
    return counted(block);
}

HLOCAL WINAPI simLocalFree(HLOCAL block)
{
    forget(block);
    return LocalFree(block);
}

SIZE_T WINAPI simLocalSize(HLOCAL block)
{
    return LocalSize(block);
}

}   // extern "C"
