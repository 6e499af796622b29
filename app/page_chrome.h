// What all pages have in common: header, help icon, background.
#pragma once

#include "phone.h"

// How a page differs from the others in its chrome.
struct PageChrome {
    int titleTextId;             // text of the header
    const wchar_t *helpAnchor;   // anchor in Kelvane.htm
};

// Answers the messages every page treats alike: loading the help icon, painting the header, a click on the help icon
// (which posts WM_HELP to the page), WM_HELP, and the background colours. Returns the dialog procedure's answer; FALSE
// for everything else. WM_INITDIALOG is answered TRUE.
INT_PTR pageChromeMessage(const PageChrome &chrome, HWND page, UINT message, WPARAM wParam, LPARAM lParam);

// Draws title and rule at the top of a page; nothing once the page is scrolled down by 15 or more.
void paintPageHeader(HWND page, HDC dc, const wchar_t *title);
