#include "window_search.h"

#include "memory.h"
#include "text.h"

namespace {

constexpr int nameCapacity = 100;   // characters of a class name or title that are compared
constexpr UINT answerLimit = 250;   // milliseconds; a hung window must not keep the program from starting

struct WindowSearch {
    wchar_t *title;
    wchar_t *className;
    HWND found;
};

wchar_t *copyOrNull(const wchar_t *text)
{
    return text ? duplicateText(text) : nullptr;
}

bool fits(const wchar_t *wanted, const wchar_t *actual)
{
    return !wanted || wcscmp(wanted, actual) == 0;
}

BOOL CALLBACK compareWindow(HWND window, LPARAM parameter)
{
    WindowSearch &search = *reinterpret_cast<WindowSearch *>(parameter);
    wchar_t className[nameCapacity] = L"";
    wchar_t title[nameCapacity] = L"";
    GetClassNameW(window, className, nameCapacity);
    DWORD_PTR length;
    SendMessageTimeout(window, WM_GETTEXT, nameCapacity, reinterpret_cast<LPARAM>(title), 0, answerLimit, &length);
    if (!fits(search.className, className) || !fits(search.title, title))
        return TRUE;
    search.found = window;
    return FALSE;
}

}   // namespace

HWND findWindowByClassAndTitle(const wchar_t *className, const wchar_t *title)
{
    WindowSearch search = {};
    try {
        search.title = copyOrNull(title);
        search.className = copyOrNull(className);
        EnumWindows(compareWindow, reinterpret_cast<LPARAM>(&search));
    } catch (const OutOfMemory &) {
        search.found = nullptr;   // without a search nothing is found
    }
    freeText(search.title);
    freeText(search.className);
    return search.found;
}
