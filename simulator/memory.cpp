// The allocation functions: the desktop's own, counted, and failing on order. On request every block ends at a page nobody may
// touch, so that a program stops at the first byte it reads or writes behind it.
#include "memory.h"

#include "faults.h"
#include "phone.h"

#include <cstdlib>
#include <cstring>
#include <unordered_map>
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

// ---- Guarded blocks -----------------------------------------------------------------------------------------------------

constexpr size_t pageSize = 4096;

struct GuardedBlock {
    BYTE *pages;
    size_t size;
};

bool guarding;   // what is allocated from now on

// By address; never destroyed, as above.
std::unordered_map<void *, GuardedBlock> &guardedBlocks()
{
    static auto *const all = new std::unordered_map<void *, GuardedBlock>;
    return *all;
}

// The block ends exactly where its pages end, so it is aligned no better than its size is. Its content is what no program
// should count on.
void *guardedMalloc(size_t size)
{
    const size_t usable = (size + pageSize - 1) / pageSize * pageSize;
    if (usable < size)
        return nullptr;
    BYTE *const pages = static_cast<BYTE *>(VirtualAlloc(nullptr, usable + pageSize, MEM_RESERVE, PAGE_NOACCESS));
    if (!pages)
        return nullptr;
    if (usable && !VirtualAlloc(pages, usable, MEM_COMMIT, PAGE_READWRITE)) {
        VirtualFree(pages, 0, MEM_RELEASE);
        return nullptr;
    }
    BYTE *const block = pages + usable - size;
    memset(block, 0xCD, size);
    Guard guard(blocksLock);
    guardedBlocks()[block] = {pages, size};
    return block;
}

// Whether the block is a guarded one, and its size.
bool isGuarded(void *block, size_t &size)
{
    Guard guard(blocksLock);
    const auto found = guardedBlocks().find(block);
    if (found == guardedBlocks().end())
        return false;
    size = found->second.size;
    return true;
}

// Releases a guarded block; false for any other.
bool guardedFree(void *block)
{
    BYTE *pages;
    {
        Guard guard(blocksLock);
        const auto found = guardedBlocks().find(block);
        if (found == guardedBlocks().end())
            return false;
        pages = found->second.pages;
        guardedBlocks().erase(found);
    }
    VirtualFree(pages, 0, MEM_RELEASE);
    return true;
}

// ---- Either kind --------------------------------------------------------------------------------------------------------

void *allocate(size_t size)
{
    return guarding ? guardedMalloc(size) : malloc(size);
}

void *allocateCleared(size_t size)
{
    void *const block = guarding ? guardedMalloc(size) : calloc(1, size);
    return block && guarding ? memset(block, 0, size) : block;
}

void *reallocate(void *old, size_t size)
{
    size_t oldSize = 0;
    const bool oldGuarded = isGuarded(old, oldSize);
    if (!oldGuarded && !(guarding && !old))
        return realloc(old, size);
    if (old && size == 0) {
        guardedFree(old);
        return nullptr;
    }
    void *const block = guardedMalloc(size);
    if (block && old) {
        memcpy(block, old, oldSize < size ? oldSize : size);
        guardedFree(old);
    }
    return block;
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

// LocalAlloc's blocks, which are released by other functions when they are not guarded.
HLOCAL localAllocate(UINT flags, SIZE_T size)
{
    if (!guarding)
        return LocalAlloc(flags & LMEM_ZEROINIT, size);
    return flags & LMEM_ZEROINIT ? allocateCleared(size) : allocate(size);
}

HLOCAL localReallocate(HLOCAL old, SIZE_T size, UINT flags)
{
    size_t oldSize;
    // Without LMEM_MOVEABLE the desktop would only resize in place.
    if (!isGuarded(old, oldSize))
        return LocalReAlloc(old, size, (flags & LMEM_ZEROINIT) | LMEM_MOVEABLE);
    BYTE *const block = static_cast<BYTE *>(reallocate(old, size ? size : 1));
    if (block && (flags & LMEM_ZEROINIT) && size > oldSize)
        memset(block + oldSize, 0, size - oldSize);
    return block;
}

}   // namespace

void guardAllocations(bool on)
{
    guarding = on;
}

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
    return fails() ? nullptr : counted(allocate(size));
}

void *simCalloc(size_t count, size_t size)
{
    if (fails() || (size && count > SIZE_MAX / size))
        return nullptr;
    return counted(allocateCleared(count * size));
}

void *simRealloc(void *old, size_t size)
{
    if (fails())
        return nullptr;
    // Forgotten first: once released, the address may be another thread's.
    const bool known = forget(old);
    void *const block = reallocate(old, size);
    if (!block && known && size != 0)
        counted(old);
    return counted(block);
}

void simFree(void *block)
{
    forget(block);
    if (!guardedFree(block))
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
    return localFails() ? nullptr : counted(localAllocate(flags, size));
}

HLOCAL WINAPI simLocalReAlloc(HLOCAL old, SIZE_T size, UINT flags)
{
    if (localFails())
        return nullptr;
    const bool known = forget(old);
    const HLOCAL block = localReallocate(old, size, flags);
    if (!block && known)
        counted(old);
    return counted(block);
}

HLOCAL WINAPI simLocalFree(HLOCAL block)
{
    forget(block);
    return guardedFree(block) ? nullptr : LocalFree(block);
}

SIZE_T WINAPI simLocalSize(HLOCAL block)
{
    size_t size;
    return isGuarded(block, size) ? size : LocalSize(block);
}

}   // extern "C"
