#include "main.h"

#include "control.h"
#include "doctest.h"
#include "intercept.h"
#include "options_dialog.h"
#include "page_window.h"
#include "shell_values.h"
#include "test_phone.h"

IMPORTED(CreateWindowExW);
IMPORTED(DefWindowProcW);
IMPORTED(DialogBoxIndirectParamW);
IMPORTED(FindResourceW);
IMPORTED(GetMessageW);
IMPORTED(LoadIconW);
IMPORTED(RegisterClassW);
IMPORTED(SetForegroundWindow);

namespace {

constexpr wchar_t programClass[] = L"KelvaneSettingsCls";
constexpr wchar_t programTitle[] = L"Kelvane Settings";

HWND windowNumbered(ULONG_PTR number)
{
    return reinterpret_cast<HWND>(number);
}

// A phone on which the program starts for the first time. Without a media player it starts faster.
struct FreshPhone : TestPhone {
    FreshPhone()
    {
        set(L"media", L"player", L"0");
        restartProgram();
        mainWindow = nullptr;
        removeFile(L"\\Program Files\\Kelvane\\Kelvane.log");
    }
};

// A window that may or may not be a running copy of the program.
class TopWindow {
public:
    TopWindow(const wchar_t *className, const wchar_t *title)
    {
        WNDCLASSW description = {};
        description.lpfnWndProc = DefWindowProcW;
        description.hInstance = appInstance;
        description.lpszClassName = className;
        RegisterClassW(&description);
        window = CreateWindowExW(0, className, title, WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, appInstance, nullptr);
        name = className;
    }
    ~TopWindow()
    {
        DestroyWindow(window);
        UnregisterClassW(name, appInstance);   // the program registers its own
    }
    TopWindow(const TopWindow &) = delete;
    TopWindow &operator=(const TopWindow &) = delete;

    HWND window;

private:
    const wchar_t *name;
};

std::vector<std::string> profileLines(const TestPhone &phone)
{
    std::vector<std::string> found;
    for (const std::string &line : phone.log())
        if (line.find("Invalid Profile") != std::string::npos)
            found.push_back(line);
    return found;
}

// The dialog, over as soon as it is there.
int dialogs;

INT_PTR WINAPI skipDialog(HINSTANCE, LPCDLGTEMPLATEW, HWND, DLGPROC, LPARAM)
{
    return ++dialogs;
}

}   // namespace

// ---- The window class and the main window -----------------------------------------------------------------------------------

TEST_CASE("the window class has the program's icon, a white background and nothing else")
{
    FreshPhone phone;
    static WNDCLASSW seen;
    static std::wstring name;
    static ULONG_PTR icon;
    Intercept<__imp_LoadIconW> loading([](HINSTANCE instance, LPCWSTR number) -> HICON {
        icon = reinterpret_cast<ULONG_PTR>(number);
        return Intercept<__imp_LoadIconW>::real(instance, number);
    });
    Intercept<__imp_RegisterClassW> registering([](const WNDCLASSW *description) -> ATOM {
        seen = *description;
        name = description->lpszClassName;
        return 4711;
    });
    CHECK(MyRegisterClass(appInstance, L"AnyClass") == 4711);
    CHECK(name == L"AnyClass");
    CHECK(seen.style == 3);
    CHECK((seen.lpfnWndProc == MainWindowProc));
    CHECK(seen.cbClsExtra == 0);
    CHECK(seen.cbWndExtra == 0);
    CHECK(seen.hInstance == appInstance);
    CHECK(icon == 102);
    CHECK(seen.hIcon != nullptr);
    CHECK(seen.hCursor == nullptr);
    CHECK(seen.hbrBackground == GetStockObject(0));
    CHECK(seen.lpszMenuName == nullptr);
}

namespace {

struct SeenWindow {
    DWORD exStyle, style;
    std::wstring className, title;
    int x, y, width, height;
    HWND parent, mainWindow;
    HMENU menu;
    HINSTANCE instance, appInstance;
    void *parameter;
};

SeenWindow seenWindow;

HWND WINAPI seeWindow(DWORD exStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x, int y, int width, int height,
                      HWND parent, HMENU menu, HINSTANCE instance, LPVOID parameter)
{
    seenWindow = {exStyle, style,  className,  title, x,        y,           width,
                  height,  parent, mainWindow, menu,  instance, appInstance, parameter};
    return windowNumbered(0x1230);
}

}   // namespace

TEST_CASE("the main window is visible, placed by the phone and known only once it stands")
{
    FreshPhone phone;
    Intercept<__imp_CreateWindowExW> creating(seeWindow);
    Intercept<__imp_RegisterClassW> registering([](const WNDCLASSW *description) -> ATOM {
        CHECK(std::wstring(description->lpszClassName) == programClass);
        return 1;
    });
    const HINSTANCE instance = appInstance;
    appInstance = nullptr;
    CHECK(InitInstance(instance, SW_SHOW) == 0);
    CHECK(appInstance == instance);
    CHECK(seenWindow.exStyle == 0);
    CHECK(seenWindow.className == programClass);
    CHECK(seenWindow.title == programTitle);
    CHECK(seenWindow.style == 0x10000000);
    for (int each : {seenWindow.x, seenWindow.y, seenWindow.width, seenWindow.height})
        CHECK(each == static_cast<int>(0x80000000));
    CHECK(seenWindow.parent == nullptr);
    CHECK(seenWindow.menu == nullptr);
    CHECK(seenWindow.instance == instance);
    CHECK(seenWindow.appInstance == instance);
    CHECK(seenWindow.parameter == nullptr);
    CHECK(seenWindow.mainWindow == nullptr);
    CHECK(mainWindow == windowNumbered(0x1230));
    mainWindow = nullptr;
}

TEST_CASE("a class or window that cannot be made goes unnoticed")
{
    FreshPhone phone;
    Intercept<__imp_RegisterClassW> registering([](const WNDCLASSW *) -> ATOM { return 0; });
    Intercept<__imp_CreateWindowExW> creating([](DWORD, LPCWSTR, LPCWSTR, DWORD, int, int, int, int, HWND, HMENU,
                                                 HINSTANCE, LPVOID) -> HWND { return nullptr; });
    CHECK(InitInstance(appInstance, SW_SHOW) == 0);
    CHECK(mainWindow == nullptr);
    CHECK(WinMain(appInstance, nullptr, nullptr, SW_SHOW) == 0);
}

TEST_CASE("the main window runs the Options dialog while it is being created")
{
    FreshPhone phone;
    static HINSTANCE dialogInstance;
    static const void *dialogTemplate;
    static HWND parent;
    static DLGPROC procedure;
    static LPARAM parameter;
    static ULONG_PTR number, type;
    Intercept<__imp_FindResourceW> finding([](HMODULE module, LPCWSTR name, LPCWSTR kind) -> HRSRC {
        number = reinterpret_cast<ULONG_PTR>(name);
        type = reinterpret_cast<ULONG_PTR>(kind);
        return Intercept<__imp_FindResourceW>::real(module, name, kind);
    });
    Intercept<__imp_DialogBoxIndirectParamW> running(
        [](HINSTANCE instance, LPCDLGTEMPLATEW resource, HWND owner, DLGPROC proc, LPARAM value) -> INT_PTR {
            dialogInstance = instance;
            dialogTemplate = resource;
            parent = owner;
            procedure = proc;
            parameter = value;
            return 1;
        });
    TopWindow window(L"AnyClass", L"");
    CHECK(MainWindowProc(window.window, WM_CREATE, 0, 0) == 0);
    CHECK(number == 500);
    CHECK(type == 5);
    CHECK(dialogInstance == appInstance);
    CHECK(dialogTemplate != nullptr);
    CHECK(parent == window.window);
    CHECK((procedure == OptionsDialogProc));
    CHECK(parameter == 0);
}

TEST_CASE("the end of the main window quits the message loop with 0")
{
    FreshPhone phone;
    CHECK(MainWindowProc(nullptr, WM_DESTROY, 0, 0) == 0);
    MSG message = {};
    REQUIRE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    CHECK(message.wParam == 0);
}

TEST_CASE("all else of the main window is the system's")
{
    FreshPhone phone;
    Intercept<__imp_DefWindowProcW> answering([](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
        CHECK(window == windowNumbered(8));
        return message * 10000 + static_cast<LRESULT>(wParam) * 100 + lParam;
    });
    for (UINT message : {0x0005u, 0x0010u, 0x0081u, 0x0082u, 0x0111u, 0x8000u})
        CHECK(MainWindowProc(windowNumbered(8), message, 3, 4) == message * 10000 + 304);
}

// ---- The command line -------------------------------------------------------------------------------------------------------

TEST_CASE("the number the command line begins with becomes the start profile, unchecked so far")
{
    struct Row {
        const wchar_t *commandLine;
        int profile;
    };
    constexpr Row rows[] = {{nullptr, 0}, {L"", 0},
                            {L"0", 0},    {L"1", 1},
                            {L"3", 3},    {L"6", 6},
                            {L"7", 7},    {L"9", 9},
                            {L"-1", -1},  {L"+4", 4},
                            {L" 5", 5},   {L"5 ", 5},
                            {L"2 6", 2},  {L"4x", 4},
                            {L"abc", 0},  {L"x4", 0},
                            {L" ", 0},    {L"-", 0},
                            {L"03", 3},   {L"\"3\"", 0},
                            {L"3.9", 3},  {L"1000000", 1000000}};
    for (const Row &row : rows) {
        CAPTURE(row.profile);
        CAPTURE(narrow(row.commandLine ? row.commandLine : L"(none)"));
        FreshPhone phone;
        Intercept<__imp_DialogBoxIndirectParamW> skipping(skipDialog);
        dialogs = 0;
        startProfile = 5;
        CHECK(runProgram(row.commandLine, [](HWND) {}) == 0);
        CHECK(dialogs == 1);
        CHECK(startProfile == row.profile);
    }
}

TEST_CASE("a whole run keeps a start profile there is and corrects any other with one line in the log")
{
    struct Row {
        const wchar_t *commandLine;
        int profile;
        size_t lines;
    };
    constexpr Row rows[] = {{nullptr, 0, 0}, {L"", 0, 0},  {L"3", 3, 0},  {L"6", 6, 0},
                            {L"7", 0, 1},    {L"9", 0, 1}, {L"-1", 0, 1}, {L"abc", 0, 0}};
    for (const Row &row : rows) {
        CAPTURE(narrow(row.commandLine ? row.commandLine : L"(none)"));
        FreshPhone phone;
        int shown = -1;
        CHECK(runProgram(row.commandLine, [&](HWND) { shown = startProfile; }) == 0);
        CHECK(shown == row.profile);
        CHECK(profileLines(phone) == std::vector<std::string>(row.lines, "** kvSettings: Invalid Profile: 0"));
    }
}

TEST_CASE("the program ends when its dialog ends: the message loop is never reached")
{
    FreshPhone phone;
    static int loops;
    loops = 0;
    Intercept<__imp_GetMessageW> looping([](LPMSG, HWND, UINT, UINT) -> BOOL {
        ++loops;
        return FALSE;
    });
    bool opened = false;
    CHECK(runProgram(nullptr, [&](HWND sheet) {
              opened = true;
              CHECK(mainWindow == nullptr);
              const HWND owner = GetWindow(GetWindow(sheet, GW_OWNER), GW_OWNER);
              wchar_t text[64] = L"";
              GetClassNameW(owner, text, 64);
              CHECK(std::wstring(text) == programClass);
              GetWindowTextW(owner, text, 64);
              CHECK(std::wstring(text) == programTitle);
          }) == 0);
    CHECK(opened);
    CHECK(loops == 0);
}

// ---- A second copy ----------------------------------------------------------------------------------------------------------

TEST_CASE("a running copy is brought to the front with its dialog, and that is all")
{
    FreshPhone phone;
    TopWindow running(programClass, programTitle);
    static std::vector<HWND> raised;
    raised.clear();
    Intercept<__imp_SetForegroundWindow> raising([](HWND window) -> BOOL {
        raised.push_back(window);
        return TRUE;
    });
    Intercept<__imp_DialogBoxIndirectParamW> skipping(skipDialog);
    dialogs = 0;
    startProfile = 5;
    wchar_t commandLine[] = L"3";
    CHECK(WinMain(appInstance, nullptr, commandLine, SW_SHOW) == 0);
    CHECK(raised == std::vector<HWND>{windowNumbered(reinterpret_cast<ULONG_PTR>(running.window) | 1)});
    CHECK(dialogs == 0);
    CHECK(mainWindow == nullptr);
    CHECK(startProfile == 5);
    CHECK(phone.journal().empty());
}

TEST_CASE("a window that shares the class or the title alone is no running copy")
{
    FreshPhone phone;
    TopWindow sameTitle(L"OtherCls", programTitle);
    TopWindow sameClass(programClass, L"Other title");
    static int raised;
    raised = 0;
    Intercept<__imp_SetForegroundWindow> raising([](HWND) -> BOOL { return ++raised > 0; });
    Intercept<__imp_DialogBoxIndirectParamW> skipping(skipDialog);
    Intercept<__imp_CreateWindowExW> creating(
        [](DWORD, LPCWSTR, LPCWSTR, DWORD, int, int, int, int, HWND, HMENU, HINSTANCE, LPVOID) -> HWND {
            ++dialogs;
            return nullptr;
        });
    dialogs = 0;
    CHECK(WinMain(appInstance, nullptr, nullptr, SW_SHOW) == 0);
    CHECK(raised == 0);
    CHECK(dialogs == 1);
}
