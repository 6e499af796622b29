#include "window_search.h"

#include <string>

#include "control.h"
#include "doctest.h"
#include "test_phone.h"

namespace {

constexpr wchar_t wantedClass[] = L"WantedCls";
constexpr wchar_t wantedTitle[] = L"Wanted title";

void registerClass(const std::wstring &name)
{
    WNDCLASSW description = {};
    description.lpfnWndProc = DefWindowProcW;
    description.hInstance = GetModuleHandleA(nullptr);
    description.lpszClassName = name.c_str();
    RegisterClassW(&description);   // once is enough, and a second time does no harm
}

// A top-level window of a class and title of its own.
class TopWindow {
public:
    TopWindow(const std::wstring &className, const std::wstring &title)
    {
        registerClass(className);
        window = CreateWindowExW(0, className.c_str(), title.c_str(), WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                 GetModuleHandleA(nullptr), nullptr);
        REQUIRE(window);
    }
    ~TopWindow() { DestroyWindow(window); }
    TopWindow(const TopWindow &) = delete;
    TopWindow &operator=(const TopWindow &) = delete;

    HWND window;
};

// A thread with a top-level window that handles no messages until the object goes.
class HungWindow {
public:
    HungWindow(const wchar_t *className, const wchar_t *title) : className(className), title(title)
    {
        registerClass(className);
        thread = CreateThread(nullptr, 0, hang, this, 0, nullptr);
        WaitForSingleObject(created, INFINITE);
        REQUIRE(window);
    }
    ~HungWindow()
    {
        SetEvent(over);
        WaitForSingleObject(thread, INFINITE);
        for (HANDLE handle : {thread, created, over})
            CloseHandle(handle);
    }
    HungWindow(const HungWindow &) = delete;
    HungWindow &operator=(const HungWindow &) = delete;

    HWND window = nullptr;

private:
    static DWORD WINAPI hang(void *parameter)
    {
        HungWindow &self = *static_cast<HungWindow *>(parameter);
        SetThreadDesktop(self.desktop);
        self.window = CreateWindowExW(0, self.className, self.title, WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                      GetModuleHandleA(nullptr), nullptr);
        SetEvent(self.created);
        WaitForSingleObject(self.over, INFINITE);
        DestroyWindow(self.window);
        return 0;
    }

    const wchar_t *className, *title;
    HDESK desktop = GetThreadDesktop(GetCurrentThreadId());
    HANDLE created = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    HANDLE over = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    HANDLE thread;
};

BOOL CALLBACK takeFirst(HWND window, LPARAM result)
{
    *reinterpret_cast<HWND *>(result) = window;
    return FALSE;
}

HWND firstTopWindow()
{
    HWND first = nullptr;
    EnumWindows(takeFirst, reinterpret_cast<LPARAM>(&first));
    return first;
}

}   // namespace

TEST_CASE("a window is found by its class and title together")
{
    TestPhone phone;
    TopWindow other(L"OtherCls", L"Other title");
    TopWindow wanted(wantedClass, wantedTitle);
    CHECK(findWindowByClassAndTitle(wantedClass, wantedTitle) == wanted.window);
}

TEST_CASE("a window whose class or title alone fits is not found")
{
    TestPhone phone;
    TopWindow sameClass(wantedClass, L"Other title");
    TopWindow sameTitle(L"OtherCls", wantedTitle);
    CHECK(findWindowByClassAndTitle(wantedClass, wantedTitle) == nullptr);
}

TEST_CASE("without a title any window of the class is found")
{
    TestPhone phone;
    TopWindow other(L"OtherCls", wantedTitle);
    TopWindow wanted(wantedClass, L"Any title");
    CHECK(findWindowByClassAndTitle(wantedClass, nullptr) == wanted.window);
}

TEST_CASE("without a class any window of the title is found")
{
    TestPhone phone;
    TopWindow other(wantedClass, L"Other title");
    TopWindow wanted(L"AnyCls", wantedTitle);
    CHECK(findWindowByClassAndTitle(nullptr, wantedTitle) == wanted.window);
}

TEST_CASE("without class and title the first window of all is found")
{
    TestPhone phone;
    TopWindow one(L"OtherCls", L"One"), another(L"OtherCls", L"Another");
    REQUIRE(firstTopWindow() != nullptr);
    CHECK(findWindowByClassAndTitle(nullptr, nullptr) == firstTopWindow());
}

TEST_CASE("the first of several fitting windows is found")
{
    TestPhone phone;
    TopWindow below(wantedClass, wantedTitle), above(wantedClass, wantedTitle);
    SetWindowPos(above.window, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    CHECK(findWindowByClassAndTitle(wantedClass, wantedTitle) == above.window);
    SetWindowPos(below.window, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    CHECK(findWindowByClassAndTitle(wantedClass, wantedTitle) == below.window);
}

TEST_CASE("nothing is found when no window fits")
{
    TestPhone phone;
    CHECK(findWindowByClassAndTitle(L"NobodyCls", nullptr) == nullptr);
    CHECK(findWindowByClassAndTitle(nullptr, L"Nobody's title") == nullptr);
    CHECK(findWindowByClassAndTitle(L"NobodyCls", L"Nobody's title") == nullptr);
}

TEST_CASE("an empty title is compared, not left out")
{
    TestPhone phone;
    TopWindow titled(wantedClass, wantedTitle);
    CHECK(findWindowByClassAndTitle(wantedClass, L"") == nullptr);
    TopWindow untitled(wantedClass, L"");
    CHECK(findWindowByClassAndTitle(wantedClass, L"") == untitled.window);
}

TEST_CASE("an empty class fits no window")
{
    TestPhone phone;
    TopWindow window(wantedClass, wantedTitle);
    CHECK(findWindowByClassAndTitle(L"", wantedTitle) == nullptr);
}

TEST_CASE("letter case counts in class and title")
{
    TestPhone phone;
    TopWindow wanted(wantedClass, wantedTitle);
    CHECK(findWindowByClassAndTitle(L"wantedcls", wantedTitle) == nullptr);
    CHECK(findWindowByClassAndTitle(wantedClass, L"wanted title") == nullptr);
    CHECK(findWindowByClassAndTitle(L"WANTEDCLS", nullptr) == nullptr);
    CHECK(findWindowByClassAndTitle(nullptr, L"WANTED TITLE") == nullptr);
}

TEST_CASE("a part of a class or title is not enough")
{
    TestPhone phone;
    TopWindow wanted(wantedClass, wantedTitle);
    CHECK(findWindowByClassAndTitle(L"WantedCl", wantedTitle) == nullptr);
    CHECK(findWindowByClassAndTitle(wantedClass, L"Wanted") == nullptr);
    CHECK(findWindowByClassAndTitle(L"WantedClsX", wantedTitle) == nullptr);
    CHECK(findWindowByClassAndTitle(wantedClass, L"Wanted title ") == nullptr);
}

// 100 characters are read with the terminator among them, so 99 count.
TEST_CASE("the first 99 characters of a title are compared")
{
    TestPhone phone;
    const std::wstring read(99, L't');
    for (size_t length : {98, 99, 100, 101}) {
        CAPTURE(length);
        const std::wstring title(length, L't');
        TopWindow window(wantedClass, title);
        CHECK(findWindowByClassAndTitle(wantedClass, title.substr(0, 99).c_str()) == window.window);
        CHECK((findWindowByClassAndTitle(wantedClass, title.c_str()) == window.window) == (length <= 99));
        CHECK((findWindowByClassAndTitle(wantedClass, read.c_str()) == window.window) == (length >= 99));
    }
}

TEST_CASE("the first 99 characters of a class are compared")
{
    TestPhone phone;
    for (size_t length : {98, 99, 100, 101}) {
        CAPTURE(length);
        const std::wstring name = L"C" + std::to_wstring(length) + std::wstring(length, L'c');
        const std::wstring className = name.substr(0, length);
        TopWindow window(className, wantedTitle);
        CHECK(findWindowByClassAndTitle(className.substr(0, 99).c_str(), wantedTitle) == window.window);
        CHECK((findWindowByClassAndTitle(className.c_str(), wantedTitle) == window.window) == (length <= 99));
    }
}

TEST_CASE("hung windows do not keep the search from finding the others")
{
    TestPhone phone;
    TopWindow wanted(wantedClass, wantedTitle);
    HungWindow first(wantedClass, wantedTitle), second(L"OtherCls", wantedTitle);
    SetWindowPos(wanted.window, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    const DWORD start = GetTickCount();
    CHECK(findWindowByClassAndTitle(wantedClass, wantedTitle) == wanted.window);
    CHECK(GetTickCount() - start < 5000);
}

TEST_CASE("a hung window counts as untitled")
{
    TestPhone phone;
    HungWindow hung(L"HungCls", wantedTitle);
    CHECK(findWindowByClassAndTitle(L"HungCls", wantedTitle) == nullptr);
    CHECK(findWindowByClassAndTitle(L"HungCls", nullptr) == hung.window);
    CHECK(findWindowByClassAndTitle(L"HungCls", L"") == hung.window);
}

TEST_CASE("a search leaves no memory behind, found or not")
{
    TestPhone phone;
    TopWindow wanted(wantedClass, wantedTitle);
    const wchar_t *const classes[] = {wantedClass, L"NobodyCls", nullptr};
    const wchar_t *const titles[] = {wantedTitle, L"Nobody's title", nullptr};
    for (const wchar_t *className : classes)
        for (const wchar_t *title : titles) {
            const int before = SimLiveAllocations();
            findWindowByClassAndTitle(className, title);
            const int after = SimLiveAllocations();
            CHECK(after == before);
        }
}

TEST_CASE("a search that runs out of memory finds nothing and leaves none behind")
{
    TestPhone phone;
    TopWindow wanted(wantedClass, wantedTitle);
    for (int nth : {1, 2}) {
        CAPTURE(nth);
        const int before = SimLiveAllocations();
        SimOrderFault(L"memory", nth, nullptr, FALSE);
        const HWND found = findWindowByClassAndTitle(wantedClass, wantedTitle);
        SimClearFaults();
        const int after = SimLiveAllocations();
        CHECK(found == nullptr);
        CHECK(after == before);
    }
}
