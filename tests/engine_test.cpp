#include "engine.h"

#include <map>

#include "control.h"
#include "doctest.h"
#include "intercept.h"
#include "page_window.h"
#include "processes.h"
#include "shell_values.h"
#include "test_phone.h"

IMPORTED(GetProcAddressW);
IMPORTED(GetWindow);
IMPORTED(GetClassNameW);
IMPORTED(PostMessageW);

namespace {

constexpr wchar_t lumenpaneKey[] = L"Software\\Tessaryn\\Lumenpane";
constexpr wchar_t handleValue[] = L"appWindow";

HWND windowNumbered(ULONG_PTR number)
{
    return reinterpret_cast<HWND>(number);
}

void setChanges(bool skin, bool imported, bool mail)
{
    skinChanged = skin;
    settingsImported = imported;
    mailSettingsChanged = mail;
}

struct ChangeRow {
    bool skin, imported, mail;
    const char *message;   // wParam and lParam
};

constexpr ChangeRow changeRows[] = {
    {false, false, false, "0x81FD 0 0"}, {false, false, true, "0x81FD 0 1"}, {false, true, false, "0x81FD 0 2"},
    {false, true, true, "0x81FD 0 2"},   {true, false, false, "0x81FD 1 0"}, {true, false, true, "0x81FD 1 1"},
    {true, true, false, "0x81FD 1 2"},   {true, true, true, "0x81FD 1 2"},
};

// ---- A window tree of the test's own -------------------------------------------------------------------------------------

struct FakeWindow {
    HWND child, next;
    const wchar_t *className;
};

const HWND desktop = windowNumbered(1);

std::map<HWND, FakeWindow> *tree;
std::vector<HWND> classesAsked;

// The tree that the program sees while the object lives; window 1 is the desktop.
class FakeTree {
public:
    explicit FakeTree(std::map<HWND, FakeWindow> windows) : windows(std::move(windows))
    {
        tree = &this->windows;
        classesAsked.clear();
    }

private:
    static HWND related(HWND window, UINT command)
    {
        if (!tree->count(window))
            return nullptr;
        return command == GW_CHILD ? tree->at(window).child : command == GW_HWNDNEXT ? tree->at(window).next : nullptr;
    }
    static int className(HWND window, LPWSTR name, int capacity)
    {
        classesAsked.push_back(window);
        CHECK(capacity == 260);
        wcscpy(name, tree->at(window).className);
        return static_cast<int>(wcslen(name));
    }

    std::map<HWND, FakeWindow> windows;
    static HWND WINAPI desktopWindow() { return desktop; }
    static FARPROC WINAPI lookUp(HMODULE, LPCWSTR name)
    {
        CHECK(std::wstring(name) == L"GetDesktopWindow");
        return reinterpret_cast<FARPROC>(reinterpret_cast<void *>(desktopWindow));
    }

    Intercept<__imp_GetProcAddressW> function{lookUp};
    Intercept<__imp_GetWindow> window{related};
    Intercept<__imp_GetClassNameW> name{className};
};

// Windows by number: {number, {child, next, class}}; 0 is none.
std::map<HWND, FakeWindow> windowTree(std::initializer_list<std::tuple<int, int, int, const wchar_t *>> rows)
{
    std::map<HWND, FakeWindow> windows;
    for (const auto &[number, child, next, className] : rows)
        windows[windowNumbered(number)] = {windowNumbered(child), windowNumbered(next), className};
    return windows;
}

void forgetStoredWindow()
{
    removeValue(handleValue);
}

}   // namespace

// ---- The stored window --------------------------------------------------------------------------------------------------

TEST_CASE("the window the engine has stored is its window, whether there is one or not")
{
    TestPhone phone;
    FakeTree none(windowTree({{1, 0, 0, L""}}));
    for (DWORD stored : {1u, 0x12345u, 0x7FFFFFFFu, 0x80000001u}) {
        CAPTURE(stored);
        storeNumber(handleValue, stored);
        CHECK(findEngineWindow(L"KelvaneZorCls") == windowNumbered(stored));
    }
}

TEST_CASE("a phone that does not tell its desktop window has no engine in its tree")
{
    TestPhone phone;
    forgetStoredWindow();
    phone.set(L"exports", L"missing", L"GetDesktopWindow");
    CHECK(findEngineWindow(L"KelvaneZorCls") == nullptr);
}

TEST_CASE("a stored window outweighs a window in the tree")
{
    TestPhone phone;
    FakeTree engineInTree(windowTree({{1, 2, 0, L""}, {2, 3, 0, L""}, {3, 4, 0, L""}, {4, 0, 0, L"KelvaneZorCls"}}));
    storeNumber(handleValue, 77);
    CHECK(findEngineWindow(L"KelvaneZorCls") == windowNumbered(77));
    CHECK(classesAsked.empty());
}

TEST_CASE("a stored 0 counts as stored: the tree is not searched and no engine found")
{
    TestPhone phone;
    FakeTree engineInTree(windowTree({{1, 2, 0, L""}, {2, 3, 0, L""}, {3, 4, 0, L""}, {4, 0, 0, L"KelvaneZorCls"}}));
    storeNumber(handleValue, 0);
    CHECK(findEngineWindow(L"KelvaneZorCls") == nullptr);
    CHECK(classesAsked.empty());
}

TEST_CASE("without a stored number the tree is searched")
{
    TestPhone phone;
    FakeTree engineInTree(windowTree({{1, 2, 0, L""}, {2, 3, 0, L""}, {3, 4, 0, L""}, {4, 0, 0, L"KelvaneZorCls"}}));
    SUBCASE("because there is no value")
    {
        forgetStoredWindow();
    }
    SUBCASE("because the program's key is missing")
    {
        removeKey(kelvaneKey);
    }
    SUBCASE("because the value is a text")
    {
        storeText(handleValue, L"77");
    }
    SUBCASE("because the value is binary")
    {
        const DWORD handle = 77;
        storeBytes(handleValue, REG_BINARY, &handle, sizeof handle);
    }
    SUBCASE("because the number is too short")
    {
        const WORD handle = 77;
        storeBytes(handleValue, REG_DWORD, &handle, sizeof handle);
    }
    SUBCASE("because the number is too long")
    {
        const ULONGLONG handle = 77;
        storeBytes(handleValue, REG_DWORD, &handle, sizeof handle);
    }
    SUBCASE("because the value cannot be read")
    {
        storeNumber(handleValue, 77);
        SimOrderFault(L"registry", 0, L"read:appWindow", FALSE);
    }
    SUBCASE("because the key cannot be opened")
    {
        storeNumber(handleValue, 77);
        SimOrderFault(L"registry", 0, L"open:Software\\Tessaryn\\Kelvane", FALSE);
    }
    CHECK(findEngineWindow(L"KelvaneZorCls") == windowNumbered(4));
}

TEST_CASE("the sister program's engine is known by its own key alone")
{
    TestPhone phone;
    storeNumber(handleValue, 77);
    FakeTree sisterInTree(windowTree({{1, 2, 0, L""}, {2, 3, 0, L""}, {3, 4, 0, L""}, {4, 0, 0, L"lumenpaneZorCls"}}));
    SUBCASE("its stored window")
    {
        storeNumber(handleValue, 88, lumenpaneKey);
        CHECK(findEngineWindow(L"lumenpaneZorCls") == windowNumbered(88));
    }
    SUBCASE("a stored 0")
    {
        storeNumber(handleValue, 0, lumenpaneKey);
        CHECK(findEngineWindow(L"lumenpaneZorCls") == nullptr);
    }
    SUBCASE("no such key")
    {
        CHECK(findEngineWindow(L"lumenpaneZorCls") == nullptr);
    }
    SUBCASE("a key without the value")
    {
        makeKey(lumenpaneKey);
        CHECK(findEngineWindow(L"lumenpaneZorCls") == nullptr);
    }
    SUBCASE("a value of another type")
    {
        storeText(handleValue, L"88", lumenpaneKey);
        CHECK(findEngineWindow(L"lumenpaneZorCls") == nullptr);
    }
    CHECK(classesAsked.empty());
}

TEST_CASE("the sister program's class is told by its exact letters")
{
    TestPhone phone;
    storeNumber(handleValue, 77);
    storeNumber(handleValue, 88, lumenpaneKey);
    CHECK(findEngineWindow(L"LumenpaneZorCls") == windowNumbered(77));
    CHECK(findEngineWindow(L"lumenpaneZorClsX") == windowNumbered(77));
    CHECK(findEngineWindow(L"lumenpaneZor") == windowNumbered(77));
}

TEST_CASE("asking for the engine leaves no key open")
{
    TestPhone phone;
    const int before = SimLiveKeys();
    storeNumber(handleValue, 77);
    findEngineWindow(L"KelvaneZorCls");
    findEngineWindow(L"lumenpaneZorCls");
    forgetStoredWindow();
    findEngineWindow(L"KelvaneZorCls");
    CHECK(SimLiveKeys() == before);
}

// ---- The window tree ------------------------------------------------------------------------------------------------------

TEST_CASE("the third level of the window tree is walked from its first window to its last")
{
    TestPhone phone;
    forgetStoredWindow();
    FakeTree walk(windowTree({{1, 2, 0, L""},
                              {2, 3, 9, L"KelvaneZorCls"},
                              {3, 4, 8, L"KelvaneZorCls"},
                              {4, 7, 5, L"Clock"},
                              {5, 0, 6, L"Owner"},
                              {6, 0, 10, L"KelvaneZorCls"},
                              {7, 0, 0, L"KelvaneZorCls"},
                              {8, 7, 0, L"KelvaneZorCls"},
                              {9, 0, 0, L"KelvaneZorCls"},
                              {10, 0, 0, L"KelvaneZorCls"}}));
    CHECK(findEngineWindow(L"KelvaneZorCls") == windowNumbered(6));
    CHECK(classesAsked == std::vector<HWND>{windowNumbered(4), windowNumbered(5), windowNumbered(6)});
}

TEST_CASE("with nothing below the first window of the second level, its next sibling's children are walked")
{
    TestPhone phone;
    forgetStoredWindow();
    FakeTree walk(windowTree({{1, 2, 0, L""},
                              {2, 3, 0, L""},
                              {3, 0, 4, L"KelvaneZorCls"},
                              {4, 5, 7, L"KelvaneZorCls"},
                              {5, 0, 6, L"Clock"},
                              {6, 0, 0, L"KelvaneZorCls"},
                              {7, 6, 0, L"KelvaneZorCls"}}));
    CHECK(findEngineWindow(L"KelvaneZorCls") == windowNumbered(6));
    CHECK(classesAsked == std::vector<HWND>{windowNumbered(5), windowNumbered(6)});
}

TEST_CASE("only one sibling stands in for an empty third level")
{
    TestPhone phone;
    forgetStoredWindow();
    FakeTree walk(windowTree(
        {{1, 2, 0, L""}, {2, 3, 0, L""}, {3, 0, 4, L""}, {4, 0, 5, L""}, {5, 6, 0, L""}, {6, 0, 0, L"KelvaneZorCls"}}));
    CHECK(findEngineWindow(L"KelvaneZorCls") == nullptr);
    CHECK(classesAsked.empty());
}

TEST_CASE("the sibling's children are not walked after those of the first window")
{
    TestPhone phone;
    forgetStoredWindow();
    FakeTree walk(windowTree({{1, 2, 0, L""},
                              {2, 3, 0, L""},
                              {3, 4, 5, L""},
                              {4, 0, 0, L"Clock"},
                              {5, 6, 0, L""},
                              {6, 0, 0, L"KelvaneZorCls"}}));
    CHECK(findEngineWindow(L"KelvaneZorCls") == nullptr);
}

TEST_CASE("a tree that ends too early holds no engine")
{
    TestPhone phone;
    forgetStoredWindow();
    SUBCASE("at the desktop")
    {
        FakeTree walk(windowTree({{1, 0, 2, L""}, {2, 2, 2, L"KelvaneZorCls"}}));
        CHECK(findEngineWindow(L"KelvaneZorCls") == nullptr);
    }
    SUBCASE("at the first level")
    {
        FakeTree walk(windowTree({{1, 2, 0, L""}, {2, 0, 3, L"KelvaneZorCls"}, {3, 4, 0, L""}, {4, 4, 0, L""}}));
        CHECK(findEngineWindow(L"KelvaneZorCls") == nullptr);
    }
    SUBCASE("at a second level of one window")
    {
        FakeTree walk(windowTree({{1, 2, 0, L""}, {2, 3, 0, L""}, {3, 0, 0, L"KelvaneZorCls"}}));
        CHECK(findEngineWindow(L"KelvaneZorCls") == nullptr);
    }
    CHECK(classesAsked.empty());
}

TEST_CASE("a class in the tree is compared exactly")
{
    TestPhone phone;
    forgetStoredWindow();
    FakeTree walk(windowTree({{1, 2, 0, L""},
                              {2, 3, 0, L""},
                              {3, 4, 0, L""},
                              {4, 0, 5, L"kelvaneZorCls"},
                              {5, 0, 6, L"KelvaneZorClsX"},
                              {6, 0, 7, L"KelvaneZor"},
                              {7, 0, 0, L""}}));
    CHECK(findEngineWindow(L"KelvaneZorCls") == nullptr);
    CHECK(findEngineWindow(L"KelvaneZor") == windowNumbered(6));
}

// ---- The message ----------------------------------------------------------------------------------------------------------

TEST_CASE("the engine is posted exactly what has changed")
{
    TestPhone phone;
    Engine engine(phone);
    std::vector<std::string> expected;
    for (const ChangeRow &row : changeRows) {
        setChanges(row.skin, row.imported, row.mail);
        notifyEngine();
        expected.push_back(row.message);
    }
    setChanges(false, false, false);
    CHECK(engine.received() == expected);
    for (std::string &line : expected)
        line = "message KelvaneZorCls " + line;
    CHECK(phone.journal("message") == expected);
}

TEST_CASE("the engine's stored handle is its window's")
{
    TestPhone phone;
    Engine engine(phone);
    CHECK(findEngineWindow(L"KelvaneZorCls") == engine.window());
}

TEST_CASE("an engine that has stored no handle is found in the today screen and told")
{
    TestPhone phone;
    forgetStoredWindow();
    const char *arguments = "";
    SUBCASE("below the screen's first part")
    {
        arguments = "--no-appwindow";
    }
    SUBCASE("below the screen's second part")
    {
        arguments = "--no-appwindow --sibling";
    }
    Engine engine(phone, arguments);
    CHECK_FALSE(storedValue(handleValue).present);
    CHECK(findEngineWindow(L"KelvaneZorCls") == engine.window());
    setChanges(true, false, true);
    notifyEngine();
    setChanges(false, false, false);
    CHECK(engine.received() == std::vector<std::string>{"0x81FD 1 1"});
}

TEST_CASE("a window that is gone is posted the message all the same")
{
    TestPhone phone;
    DWORD stale;
    {
        Engine engine(phone);
        stale = storedNumber(handleValue);
    }
    storeNumber(handleValue, stale);
    REQUIRE_FALSE(IsWindow(windowNumbered(stale)));
    notifyEngine();
    CHECK(phone.journal("message") == std::vector<std::string>{"message (gone) 0x81FD 0 0"});
}

TEST_CASE("an engine that does not run is told nothing")
{
    TestPhone phone;
    static int posted;
    posted = 0;
    Intercept<__imp_PostMessageW> posting([](HWND, UINT, WPARAM, LPARAM) -> BOOL { return ++posted > 0; });
    SUBCASE("no stored window and none in the tree")
    {
        forgetStoredWindow();
        FakeTree none(windowTree({{1, 0, 0, L""}}));
        notifyEngine();
    }
    SUBCASE("a stored 0")
    {
        storeNumber(handleValue, 0);
        notifyEngine();
    }
    CHECK(posted == 0);
    CHECK(phone.log().empty());
}

TEST_CASE("the message is posted to the Kelvane engine, not to the sister program's")
{
    TestPhone phone;
    storeNumber(handleValue, 77);
    storeNumber(handleValue, 88, lumenpaneKey);
    static std::vector<HWND> targets;
    targets.clear();
    Intercept<__imp_PostMessageW> posting([](HWND window, UINT, WPARAM, LPARAM) -> BOOL {
        targets.push_back(window);
        return TRUE;
    });
    notifyEngine();
    CHECK(targets == std::vector<HWND>{windowNumbered(77)});
}
