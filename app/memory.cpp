#include "memory.h"
#include "phone.h"

void *operator new(size_t size)
{
    void *block = malloc(size ? size : 1);
    if (!block)
        throw OutOfMemory();
    return block;
}

void *operator new[](size_t size)
{
    return operator new(size);
}

void operator delete(void *block) noexcept
{
    free(block);
}

void operator delete[](void *block) noexcept
{
    free(block);
}

void operator delete(void *block, size_t) noexcept
{
    free(block);
}

void operator delete[](void *block, size_t) noexcept
{
    free(block);
}
