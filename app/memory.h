// The program's own allocation: operator new on top of the phone's heap.
#pragma once

// Thrown by operator new when the heap is exhausted: the only exception this program throws.
struct OutOfMemory {};
