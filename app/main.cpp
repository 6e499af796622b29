#include "main.h"

#include "dialog.h"
#include "options_dialog.h"
#include "resource.h"
#include "shell_values.h"
#include "window_search.h"

namespace {

// With the low bit set the phone also brings the window's last active pop-up to the front: its open Options dialog.
void bringToFront(HWND window)
{
    SetForegroundWindow(reinterpret_cast<HWND>(reinterpret_cast<ULONG_PTR>(window) | 1));
}

void readCommandLine(const wchar_t *commandLine)
{
    startProfile = 0;
    if (commandLine && commandLine[0])
        startProfile = _wtol(commandLine);
}

// The modal dialog runs until the user has finished: their whole time in the program is spent in here.
void runOptionsDialog(HWND window)
{
    RECT client;
    GetClientRect(window, &client);
    showDialog(window, IDD_OPTIONS, OptionsDialogProc);
}

int runMessageLoop()
{
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}

}   // namespace

ATOM MyRegisterClass(HINSTANCE instance, const wchar_t *className)
{
    WNDCLASSW windowClass = {};
    windowClass.style = CS_HREDRAW | CS_VREDRAW;
    windowClass.lpfnWndProc = MainWindowProc;
    windowClass.hInstance = instance;
    windowClass.hIcon = LoadIconW(instance, MAKEINTRESOURCEW(IDI_PROGRAM));
    windowClass.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
    windowClass.lpszClassName = className;
    return RegisterClassW(&windowClass);
}

BOOL InitInstance(HINSTANCE instance, int)
{
    appInstance = instance;
    MyRegisterClass(instance, mainWindowClass);
    mainWindow = CreateWindowExW(0, mainWindowClass, mainWindowTitle, WS_VISIBLE, CW_USEDEFAULT, CW_USEDEFAULT,
                                 CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, instance, nullptr);
    // Not an error: the dialog is over by now, and with it the program.
    return FALSE;
}

LRESULT CALLBACK MainWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_CREATE:
        runOptionsDialog(window);
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPWSTR commandLine, int showCommand)
{
    if (const HWND running = findWindowByClassAndTitle(mainWindowClass, mainWindowTitle)) {
        bringToFront(running);
        return 0;
    }
    readCommandLine(commandLine);
    // InitInstance never succeeds, so the loop below is never reached and the process ends as soon as the Options dialog
    // has closed. This shape is intended.
    if (!InitInstance(instance, showCommand))
        return 0;
    return runMessageLoop();
}
