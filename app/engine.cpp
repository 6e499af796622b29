#include "engine.h"

#include "optional_function.h"
#include "registry.h"
#include "shell_values.h"

namespace {

constexpr UINT settingsChangedMessage = WM_APP + 509;

// The sister program's engine is known by its registry value only.
constexpr wchar_t lumenpaneClass[] = L"lumenpaneZorCls";
constexpr wchar_t lumenpaneKey[] = L"Software\\Tessaryn\\Lumenpane";

// False when no handle is stored there. One that is, even of a window long gone, counts as the engine's.
bool readStoredWindow(const wchar_t *keyPath, HWND &window)
{
    RegistryKey key;
    DWORD handle;
    if (key.open(HKEY_CURRENT_USER, keyPath) != ERROR_SUCCESS || !readNumber(key, L"appWindow", handle))
        return false;
    window = reinterpret_cast<HWND>(static_cast<ULONG_PTR>(handle));
    return true;
}

// Null on a phone that does not tell.
HWND desktopWindow()
{
    using GetDesktopWindowFunction = HWND(WINAPI *)();
    const auto getDesktopWindow = optionalFunction<GetDesktopWindowFunction>(L"coredll.dll", L"GetDesktopWindow");
    return getDesktopWindow ? getDesktopWindow() : nullptr;
}

HWND firstChild(HWND window)
{
    return window ? GetWindow(window, GW_CHILD) : nullptr;
}

// First window of the third level: below the first window of the second, or below its next sibling.
HWND thirdLevel()
{
    const HWND second = firstChild(firstChild(desktopWindow()));
    if (!second)
        return nullptr;
    const HWND third = firstChild(second);
    return third ? third : firstChild(GetWindow(second, GW_HWNDNEXT));
}

HWND findInTree(const wchar_t *className)
{
    for (HWND window = thirdLevel(); window; window = GetWindow(window, GW_HWNDNEXT)) {
        wchar_t name[260] = L"";
        GetClassNameW(window, name, static_cast<int>(countOf(name)));
        if (wcscmp(name, className) == 0)
            return window;
    }
    return nullptr;
}

// An import outweighs a change of the monitored mail account.
LPARAM changeCode()
{
    if (settingsImported)
        return 2;
    return mailSettingsChanged ? 1 : 0;
}

}   // namespace

HWND findEngineWindow(const wchar_t *className)
{
    const bool isLumenpane = wcscmp(className, lumenpaneClass) == 0;
    HWND window = nullptr;
    if (readStoredWindow(isLumenpane ? lumenpaneKey : programKey, window) || isLumenpane)
        return window;
    return findInTree(className);
}

void notifyEngine()
{
    if (const HWND engine = findEngineWindow(engineClass))
        PostMessageW(engine, settingsChangedMessage, skinChanged ? 1 : 0, changeCode());
}
