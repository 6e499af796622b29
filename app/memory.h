// The program's own allocation: operator new on top of the phone's heap.
#pragma once

#include "phone.h"

// Thrown by operator new when the heap is exhausted: the only exception this program throws.
struct OutOfMemory {};

// An array on the heap, released at the end of its scope. Throws OutOfMemory.
template <typename Element> class HeapArray {
public:
    explicit HeapArray(size_t count) : elements(new Element[count]) {}
    ~HeapArray() { delete[] elements; }
    HeapArray(const HeapArray &) = delete;
    HeapArray &operator=(const HeapArray &) = delete;

    operator Element *() const { return elements; }

private:
    Element *elements;
};
