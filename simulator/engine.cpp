// The engine's stand-in: a program of its own on the same phone, with the window that the settings program notifies. It
// writes down what it receives.
//
//   engine.exe                 hidden top-level window; its handle stands in the registry value appWindow
//   engine.exe --no-appwindow  no such value; the window hangs in the today screen's window tree, three levels down
//   engine.exe --no-appwindow --sibling   likewise, below the second window of the second level
//
// Prints "ready <window handle, decimal>" when it is up. Ends with WM_CLOSE to that window, or when the named event
// "Local\kv-engine-stop-<phone's name>" is set.
#include "control.h"

#include <cstdio>
#include <cwchar>
#include <string>

namespace {

constexpr wchar_t engineClass[] = L"KelvaneZorCls";
constexpr wchar_t todayClass[] = L"DesktopExplorerWindow";   // the phone's today screen and, below it, its parts
constexpr wchar_t todayPartClass[] = L"TodayPart";
constexpr wchar_t engineKey[] = L"Software\\Tessaryn\\Kelvane";
constexpr wchar_t windowValue[] = L"appWindow";

// The functions of coredll.dll this program needs. They are looked up, because linking the phone's DLL would also bring
// in the phone's idea of every other function.
template <class Function> Function phoneFunction(const char *name)
{
    static const HMODULE phone = LoadLibraryW(L"coredll.dll");
    const FARPROC address = phone ? GetProcAddress(phone, name) : nullptr;
    if (!address)
        ExitProcess(1);
    return reinterpret_cast<Function>(reinterpret_cast<void *>(address));
}

#define PHONE_FUNCTION(name) phoneFunction<decltype(&name)>(#name)

std::wstring phoneName()
{
    wchar_t name[260] = L"";
    PHONE_FUNCTION(SimPhoneName)(name, ARRAYSIZE(name));
    return name;
}

void journalMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    static const auto write = PHONE_FUNCTION(SimJournal);
    wchar_t messageText[16];
    _snwprintf(messageText, ARRAYSIZE(messageText), L"0x%X", message);
    const std::wstring first = std::to_wstring(wParam), second = std::to_wstring(lParam);
    const wchar_t *const fields[] = {messageText, first.c_str(), second.c_str()};
    write(L"engine", fields, ARRAYSIZE(fields));
}

LRESULT CALLBACK engineWindow(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message >= WM_USER)
        journalMessage(message, wParam, lParam);
    if (message == WM_DESTROY)
        PostQuitMessage(0);
    return DefWindowProcW(window, message, wParam, lParam);
}

void registerClass(const wchar_t *name, WNDPROC procedure)
{
    WNDCLASSW description{};
    description.lpfnWndProc = procedure;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = name;
    RegisterClassW(&description);
}

HWND createWindow(const wchar_t *className, DWORD style, HWND parent, const wchar_t *title = L"")
{
    return CreateWindowExW(0, className, title, style, 0, 0, 0, 0, parent, nullptr, GetModuleHandleW(nullptr), nullptr);
}

// The today screen, which carries the phone's name (the simulated desktop lists it first), with two parts, and the
// engine among the children of the first or second of them. A part created later lies above the other.
HWND createInTodayScreen(bool belowSibling)
{
    const HWND today = createWindow(todayClass, WS_POPUP, nullptr, phoneName().c_str());
    const HWND parts[] = {createWindow(todayPartClass, WS_CHILD, today), createWindow(todayPartClass, WS_CHILD, today)};
    const bool firstIsAbove = GetWindow(today, GW_CHILD) == parts[0];
    const HWND above = parts[firstIsAbove ? 0 : 1], below = parts[firstIsAbove ? 1 : 0];
    const HWND owner = belowSibling ? below : above;
    const HWND engine = createWindow(engineClass, WS_CHILD, owner);
    // The engine is not the first child: whoever looks for it has to walk along the siblings.
    SetWindowPos(createWindow(todayPartClass, WS_CHILD, owner), HWND_TOP, 0, 0, 0, 0,
                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    return engine;
}

// Writes the window's handle where the settings program looks for it, or removes it.
void storeWindow(HWND window)
{
    HKEY key;
    if (PHONE_FUNCTION(RegCreateKeyExW)(HKEY_CURRENT_USER, engineKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                                        nullptr) != ERROR_SUCCESS)
        return;
    const DWORD handle = static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(window));
    if (window)
        PHONE_FUNCTION(RegSetValueExW)
    (key, windowValue, 0, REG_DWORD, reinterpret_cast<const BYTE *>(&handle), sizeof(handle));
    else PHONE_FUNCTION(RegDeleteValueW)(key, windowValue);
    PHONE_FUNCTION(RegCloseKey)(key);
}

HANDLE createStopEvent()
{
    return CreateEventW(nullptr, TRUE, FALSE, (L"Local\\kv-engine-stop-" + phoneName()).c_str());
}

void sayReady(HWND window)
{
    char line[40];
    const int length =
        _snprintf(line, sizeof(line), "ready %lu\r\n", static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(window)));
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line, length, &written, nullptr);
}

// Serves the window until it is closed or the event is set.
void serve(HWND window, HANDLE stop)
{
    for (;;) {
        if (MsgWaitForMultipleObjects(1, &stop, FALSE, INFINITE, QS_ALLINPUT) == WAIT_OBJECT_0)
            DestroyWindow(window);
        for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
            if (message.message == WM_QUIT)
                return;
            DispatchMessageW(&message);
        }
    }
}

}   // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR commandLine, int)
{
    const bool inTree = wcsstr(commandLine, L"--no-appwindow") != nullptr;
    registerClass(engineClass, engineWindow);
    registerClass(todayClass, DefWindowProcW);
    registerClass(todayPartClass, DefWindowProcW);
    const HANDLE stop = createStopEvent();
    const HWND window = inTree ? createInTodayScreen(wcsstr(commandLine, L"--sibling") != nullptr)
                               : createWindow(engineClass, WS_POPUP, nullptr);
    if (!inTree)
        storeWindow(window);
    sayReady(window);
    serve(window, stop);
    if (!inTree)
        storeWindow(nullptr);
    return 0;
}
