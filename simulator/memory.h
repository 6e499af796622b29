// Counting the program's allocations.
#pragma once

namespace sim {

// Blocks from malloc, calloc, realloc and LocalAlloc that the program has not released yet.
int liveAllocations();

}   // namespace sim
