#include "page_chrome.h"

#include "dialog.h"
#include "help.h"
#include "language.h"
#include "resource.h"
#include "scaling.h"
#include "shell_values.h"
#include "system_font.h"

namespace {

constexpr COLORREF titleColor = RGB(0, 0, 156);
constexpr int scrolledAway = 15;   // from this scroll position on the header is out of sight

bool headerIsVisible(HWND page)
{
    SCROLLINFO scroll = {};
    scroll.cbSize = sizeof scroll;
    scroll.fMask = SIF_POS | SIF_TRACKPOS;
    GetScrollInfo(page, SB_VERT, &scroll);
    return scroll.nPos < scrolledAway && scroll.nTrackPos < scrolledAway;
}

// -trunc(trunc(dpi * 9.5) / 72), in whole numbers.
int titleFontHeight()
{
    return -(verticalResolution() * 19 / 2 / 72);
}

void drawTitle(HDC dc, RECT area, const wchar_t *title)
{
    SetTextColor(dc, titleColor);
    SetBkMode(dc, TRANSPARENT);
    DrawTextW(dc, title, -1, &area, DT_SINGLELINE);
}

void drawRule(HDC dc, int y, int right)
{
    const POINT line[] = {{0, y}, {right, y}};
    Polyline(dc, line, 2);
}

void paintPage(const PageChrome &chrome, HWND page)
{
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(page, &paint);
    paintPageHeader(page, dc, getLanguageText(chrome.titleTextId, nullptr));
    EndPaint(page, &paint);
}

// ---- Icons of the header ------------------------------------------------------------------------------------------

constexpr ControlIcon helpIcon = {IDC_HELP_ICON, IDI_HELP};
constexpr int edgeGap = 3;   // between the rightmost icon and the page's edge; at 96 dots per inch, as all here
constexpr int iconGap = 4;
constexpr int iconTop = 1;

void loadIcons(const PageChrome &chrome, HWND page)
{
    loadControlIcon(page, helpIcon);
    for (int i = 0; i < chrome.iconCount; ++i)
        loadControlIcon(page, chrome.icons[i]);
}

void destroyIcons(const PageChrome &chrome, HWND page)
{
    destroyControlIcon(page, helpIcon);
    for (int i = 0; i < chrome.iconCount; ++i)
        destroyControlIcon(page, chrome.icons[i]);
}

// Returns where the icon begins.
int placeIconLeftOf(HWND page, int control, int right)
{
    const HWND icon = GetDlgItem(page, control);
    RECT area;
    if (!icon || !GetWindowRect(icon, &area))
        return right;
    const int left = right - (area.right - area.left);
    SetWindowPos(icon, nullptr, left, scaleY(iconTop), 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    return left;
}

// A template that serves both orientations cannot know where the page's right edge is.
void placeIcons(const PageChrome &chrome, HWND page)
{
    RECT client;
    GetClientRect(page, &client);
    int left = placeIconLeftOf(page, IDC_HELP_ICON, client.right - scaleX(edgeGap));
    for (int i = 0; i < chrome.iconCount; ++i)
        left = placeIconLeftOf(page, chrome.icons[i].control, left - scaleX(iconGap));
}

}   // namespace

void paintPageHeader(HWND page, HDC dc, const wchar_t *title)
{
    if (!headerIsVisible(page))
        return;
    const HPEN pen = CreatePen(PS_SOLID, scaleX(1), RGB(0, 0, 0));
    const HFONT font = createSystemFont(titleFontHeight(), FW_SEMIBOLD, false);
    const HGDIOBJ oldPen = SelectObject(dc, pen);
    const HGDIOBJ oldFont = SelectObject(dc, font);
    RECT area;
    GetClientRect(page, &area);
    area.left = scaleX(3);
    area.top += scaleY(3);
    drawTitle(dc, area, title);
    drawRule(dc, area.top + scaleY(18), area.right);
    SelectObject(dc, oldFont);
    SelectObject(dc, oldPen);
    DeleteObject(font);
    DeleteObject(pen);
}

INT_PTR pageChromeMessage(const PageChrome &chrome, HWND page, UINT message, WPARAM wParam, LPARAM)
{
    switch (message) {
    case WM_INITDIALOG:
        loadIcons(chrome, page);
        return TRUE;
    case WM_SIZE:
        placeIcons(chrome, page);
        return FALSE;
    case WM_DESTROY:
        destroyIcons(chrome, page);
        return FALSE;
    case WM_PAINT:
        paintPage(chrome, page);
        return TRUE;
    case WM_COMMAND:
        if (wParam != MAKEWPARAM(IDC_HELP_ICON, STN_CLICKED))   // the second tap of two is no further request
            return FALSE;
        PostMessageW(page, WM_HELP, 0, 0);
        return TRUE;
    case WM_HELP:
        openHelp(chrome.helpAnchor);
        return TRUE;
    }
    // The edit controls of a page have its ground as well.
    return dialogColours(message == WM_CTLCOLOREDIT ? WM_CTLCOLORSTATIC : message, wParam);
}
