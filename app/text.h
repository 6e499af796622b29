// Text helpers whose buffer sizes are deduced from the array, so that no call can name a wrong one.
// All of them always terminate what they write; what does not fit is cut.
#pragma once

#include "phone.h"

// Formats at most capacity - 1 characters into to. "%s" is wide in the wide form and 8-bit in the narrow one.
void formatInto(wchar_t *to, size_t capacity, const wchar_t *format, va_list arguments);
void formatInto(char *to, size_t capacity, const char *format, va_list arguments);

// Copies at most capacity - 1 characters of from.
void copyInto(wchar_t *to, size_t capacity, const wchar_t *from);

// Wide text as 8-bit text in the system's code page; characters it lacks become its replacement.
void narrowInto(char *to, size_t capacity, const wchar_t *from);

template <size_t capacity> void narrowText(char (&to)[capacity], const wchar_t *from)
{
    narrowInto(to, capacity, from);
}

template <size_t capacity> void formatText(wchar_t (&to)[capacity], const wchar_t *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    formatInto(to, capacity, format, arguments);
    va_end(arguments);
}

template <size_t capacity> void formatText(char (&to)[capacity], const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    formatInto(to, capacity, format, arguments);
    va_end(arguments);
}

template <size_t capacity> void copyText(wchar_t (&to)[capacity], const wchar_t *from)
{
    copyInto(to, capacity, from);
}

// Number of elements of an array.
template <typename Element, size_t count> constexpr size_t countOf(const Element (&)[count])
{
    return count;
}

// Heap texts. duplicateText throws OutOfMemory when there is no memory; freeText also clears the pointer.
wchar_t *duplicateText(const wchar_t *text);
void freeText(wchar_t *&text);

// A heap text that goes with its owner.
struct HeapText {
    explicit HeapText(wchar_t *owned) : text(owned) {}
    ~HeapText() { freeText(text); }
    HeapText(const HeapText &) = delete;
    HeapText &operator=(const HeapText &) = delete;

    wchar_t *release()
    {
        wchar_t *const released = text;
        text = nullptr;
        return released;
    }

    wchar_t *text;   // may be null
};
