// What all pages have in common: header, help icon, background.
#pragma once

#include "control_icon.h"
#include "phone.h"

// How a page differs from the others in its chrome.
struct PageChrome {
    int titleTextId;             // text of the header
    const wchar_t *helpAnchor;   // anchor in Kelvane.htm

    // Icons of the page's own, in a row to the left of the help icon; the first stands next to it.
    const ControlIcon *icons = nullptr;
    int iconCount = 0;
};

// Answers the messages every page treats alike: loading and placing the header's icons, painting the header, a click on
// the help icon (which posts WM_HELP to the page), WM_HELP, and the background colours. Returns the dialog procedure's
// answer; FALSE for everything else. WM_INITDIALOG is answered TRUE.
INT_PTR pageChromeMessage(const PageChrome &chrome, HWND page, UINT message, WPARAM wParam, LPARAM lParam);

// Draws title and rule at the top of a page; nothing once the page is scrolled down by 15 or more.
void paintPageHeader(HWND page, HDC dc, const wchar_t *title);
