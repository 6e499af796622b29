// The phone's shell around the program's windows: title bar, bottom bar, input panel, full-screen dialogs.
#pragma once

#include <string>
#include <windows.h>

namespace sim {

// Heights at 96 dots per inch.
constexpr int titleBarHeight = 26;
constexpr int bottomBarHeight = 26;
constexpr int panelHeight = 80;

// --- areas of the screen ---
RECT screenArea();
RECT fullScreenArea();   // between the bars, whatever the panel does
RECT visibleDesktop();   // what SIPINFO calls so: to the bottom of the screen, or to the panel when that is up

// --- bars (bars.cpp) ---
// Creates the bars on this thread unless the process has them already.
void ensureBars();
// Takes the bars and the panel of a former phone away; the next phone's windows bring its own.
void forgetBars();
bool isBar(HWND window);
HWND bottomBarWindow();
void showTitleBar(bool shown);
// Asks the bars to look again at the active window; cheap, and safe at any moment of a window's life.
void refreshBars();

// The window the person works with: the active one, else the foremost enabled visible one of the program.
HWND phoneActiveWindow();
// Its text, or that of the nearest owner that has one.
std::wstring titleText();
// The window that gets IDOK from the title bar's button; null when there is no button.
HWND okOwner();
void tapOk();

// --- what a window asked of the bars, kept with the window ---
enum class BarWish { okButton, cancelButton, menuBar, hidePanelButton, fullScreen, centred };
void setWish(HWND window, BarWish wish, bool on);
bool hasWish(HWND window, BarWish wish);

// --- input panel (panel.cpp) ---
constexpr wchar_t panelClass[] = L"SipWndClass";
// Creates the panel's window, hidden while it is down; the bars do so with theirs.
void createPanel();
// Lowers the panel for good and without a word, and forgets its window.
void forgetPanel();
// A dialog that carries a SIPPREF control has the panel raised while one of its edit controls has the focus.
void preferPanelFor(HWND focus);
HWND panelHandle();
bool panelUp();
// Raises or lowers it; when that changes anything, the program's windows and pages are told and a line is journalled.
void setPanel(bool up);

// A gradient as the shell draws it, top to bottom.
void fillGradient(HDC dc, const RECT &area, COLORREF top, COLORREF bottom);

// A device context in memory that is shown when it goes out of scope.
class PaintBuffer {
public:
    PaintBuffer(HDC target, const RECT &area);
    ~PaintBuffer();
    PaintBuffer(const PaintBuffer &) = delete;
    PaintBuffer &operator=(const PaintBuffer &) = delete;
    HDC dc() const { return dc_; }

private:
    HDC target_;
    RECT area_;
    HDC dc_;
    HBITMAP bitmap_;
    HGDIOBJ oldBitmap_;
};

}   // namespace sim
