#include "text.h"

// The phone's formatters leave the text open when it does not fit, and wherever they meet a character they cannot
// convert; zeros in advance end it in both cases.
void formatInto(wchar_t *to, size_t capacity, const wchar_t *format, va_list arguments)
{
    memset(to, 0, capacity * sizeof *to);
    _vsnwprintf(to, capacity - 1, format, arguments);
}

void formatInto(char *to, size_t capacity, const char *format, va_list arguments)
{
    memset(to, 0, capacity);
    _vsnprintf(to, capacity - 1, format, arguments);
}

void copyInto(wchar_t *to, size_t capacity, const wchar_t *from)
{
    size_t length = 0;
    for (; length < capacity - 1 && from[length]; ++length)
        to[length] = from[length];
    to[length] = 0;
}

// One wide character at a time, so that a text that does not fit is cut between characters.
void narrowInto(char *to, size_t capacity, const wchar_t *from)
{
    size_t used = 0;
    for (; *from; ++from) {
        char bytes[8];
        const int count = WideCharToMultiByte(CP_ACP, 0, from, 1, bytes, sizeof bytes, nullptr, nullptr);
        if (count <= 0 || used + count >= capacity)
            break;
        memcpy(to + used, bytes, count);
        used += count;
    }
    to[used] = 0;
}

wchar_t *duplicateText(const wchar_t *text)
{
    const size_t size = wcslen(text) + 1;
    wchar_t *copy = new wchar_t[size];
    copyInto(copy, size, text);
    return copy;
}

void freeText(wchar_t *&text)
{
    delete[] text;
    text = nullptr;
}
