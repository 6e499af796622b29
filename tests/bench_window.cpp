// The least a program with a window can be, for comparison: a plain window, nothing in it.
#include <windows.h>

namespace {

LRESULT CALLBACK bareWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_DESTROY)
        PostQuitMessage(0);
    return DefWindowProcW(window, message, wParam, lParam);
}

}   // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR, int)
{
    WNDCLASSW description{};
    description.lpfnWndProc = bareWindowProc;
    description.hInstance = instance;
    description.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
    description.lpszClassName = L"BareWindow";
    RegisterClassW(&description);
    CreateWindowExW(0, description.lpszClassName, L"", WS_POPUP | WS_VISIBLE, 0, 0, 240, 320, nullptr, nullptr,
                    instance, nullptr);
    for (MSG message; GetMessageW(&message, nullptr, 0, 0) > 0;)
        DispatchMessageW(&message);
    return 0;
}
