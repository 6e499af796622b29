// The main list of a list page: its place, its colours, its keys.
#pragma once

#include "phone.h"

// Fits the page's main control (IDC_MAIN_LIST, else IDC_FILE_LIST, else IDC_OPTION_TEXT) to the visible desktop.
// Called with initial = 1 on WM_SIZE, and with the message's wParam as settingChange on WM_SETTINGCHANGE. Returns 1.
int layoutMainList(HWND page, WPARAM settingChange, int initial);

// Gives the main list of a page that edits rows of settings its two columns, and takes them away again with all lines.
void addMainListColumns(HWND page);
void emptyMainList(HWND page);

// What the drop-down lists of a list page drop to, in pixels. A phone takes this, not the closed height, for the height of a
// drop-down list.
int listDropHeight();

// Hides the editor controls of a list page and gives its drop-down lists the height they drop to, keeping their width.
void setComboHeights(HWND page);

// The answer to a list view's NM_CUSTOMDRAW: rows in alternating colours, red on light blue when highlight is set. The
// drawing stage's answer goes to the dialog's message result; returns TRUE.
INT_PTR listCustomDraw(HWND dialog, NMLVCUSTOMDRAW *drawInfo, bool highlight);

// Puts mainListKeyProc in front of the page's main list, and takes it away again.
void attachMainListKeys(HWND page);
void detachMainListKeys(HWND page);

// Window procedure of an attached list: the up and down arrows select the neighbouring row and tell currentPage that it
// was clicked.
LRESULT CALLBACK mainListKeyProc(HWND list, UINT message, WPARAM wParam, LPARAM lParam);
