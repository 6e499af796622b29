#include "text.h"

void formatInto(wchar_t *to, size_t capacity, const wchar_t *format, va_list arguments)
{
    _vsnwprintf(to, capacity - 1, format, arguments);
    to[capacity - 1] = 0;   // the phone's formatter leaves the text open when it does not fit
}

void formatInto(char *to, size_t capacity, const char *format, va_list arguments)
{
    _vsnprintf(to, capacity - 1, format, arguments);
    to[capacity - 1] = 0;
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
