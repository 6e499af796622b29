// Counting the program's allocations.
#pragma once

namespace sim {

// Blocks from malloc, calloc, realloc and LocalAlloc that the program has not released yet.
int liveAllocations();

// From now on, every block ends at an inaccessible page (or no longer does). Blocks of either kind may be released any time.
void guardAllocations(bool on);

}   // namespace sim
