#include "main_list.h"

#include "aygshell.h"
#include "environment.h"
#include "resource.h"
#include "scaling.h"
#include "shell_values.h"
#include "text.h"

namespace {

// ---- Place --------------------------------------------------------------------------------------------------------

// The controls that can be a page's main one, in the order they are looked for, and how far down the page each begins.
struct MainControl {
    int id;
    int offset;   // 0: below the profile selector and the row editor
};

constexpr MainControl mainControls[] = {{IDC_MAIN_LIST, 0}, {IDC_FILE_LIST, 53}, {IDC_OPTION_TEXT, 30}};

constexpr int belowRowEditor = 130;

// Whether the soft input panel was up at the last layout.
bool sipWasOn;

HWND findMainControl(HWND page, int &offset)
{
    for (const MainControl &candidate : mainControls) {
        offset = candidate.offset;
        if (const HWND control = GetDlgItem(page, candidate.id))
            return control;
    }
    return nullptr;
}

SIPINFO readSipInfo()
{
    SIPINFO info = {};
    info.cbSize = sizeof info;
    SHSipInfo(SPI_GETSIPINFO, 0, &info, 0);
    return info;
}

// Notes the panel's state; false when a setting change has left it as it was.
bool panelStateIsNews(bool sipOn, WPARAM settingChange, int initial)
{
    if (!initial && settingChange && sipOn == sipWasOn)
        return false;
    sipWasOn = sipOn;
    return true;
}

void fitToDesktop(HWND control, int offset, const RECT &desktop, bool sipOn)
{
    const int x = scaleX(offset ? 2 : 1);
    const int y = scaleY(offset ? offset : belowRowEditor);
    int width = desktop.right - desktop.left;
    int height = desktop.bottom - desktop.top - y - scaleX(20);
    if (offset) {
        width -= 5;
        height += 15;
    }
    if (!sipOn)
        height -= scaleY(26);
    MoveWindow(control, x, y, width, height, TRUE);
}

// ---- Columns ------------------------------------------------------------------------------------------------------

constexpr int columnWidths[] = {130, 95};   // setting and value, at 96 dots per inch

// ---- Drop-down lists ----------------------------------------------------------------------------------------------

constexpr int editorControls[] = {IDC_CHOICE,      IDC_PLAY,         IDC_PROGRAM, IDC_TRACKBAR, IDC_ALARM_SOUND,
                                  IDC_SPARE_COMBO, IDC_RING_TONE,    IDC_LED,     IDC_POPUP,    IDC_VIBRATE,
                                  IDC_SWITCH,      IDC_SPARE_COMBO2, IDC_BROWSE,  IDC_SIM_CODE, IDC_INTERVAL,
                                  IDC_REPEAT_TEXT, IDC_REPETITIONS};

constexpr int dropDownLists[] = {IDC_ALARM_SOUND, IDC_RING_TONE, IDC_CHOICE, IDC_INTERVAL, IDC_REPETITIONS};

void setDropHeight(HWND combo, int height)
{
    RECT area;
    if (combo && GetWindowRect(combo, &area))
        SetWindowPos(combo, nullptr, 0, 0, area.right - area.left, height, SWP_NOMOVE | SWP_NOZORDER);
}

// ---- Colours ------------------------------------------------------------------------------------------------------

constexpr COLORREF evenRow = RGB(188, 213, 251);
constexpr COLORREF oddRow = RGB(205, 222, 251);
constexpr COLORREF highlightedRow = RGB(210, 227, 251);
constexpr COLORREF highlightedText = RGB(255, 0, 0);

void colourRow(NMLVCUSTOMDRAW *drawInfo, bool highlight)
{
    if (drawInfo->nmcd.lItemlParam < 0)
        return;
    drawInfo->clrTextBk = drawInfo->nmcd.dwItemSpec % 2 ? oddRow : evenRow;
    if (highlight) {
        drawInfo->clrText = highlightedText;
        drawInfo->clrTextBk = highlightedRow;
    }
}

LONG_PTR drawAnswer(NMLVCUSTOMDRAW *drawInfo, bool highlight)
{
    switch (drawInfo->nmcd.dwDrawStage) {
    case CDDS_PREPAINT:
        return CDRF_NOTIFYITEMDRAW;
    case CDDS_ITEMPREPAINT:
        colourRow(drawInfo, highlight);
        return CDRF_NEWFONT | CDRF_NOTIFYPOSTPAINT;
    }
    return 0;
}

// ---- Keys ---------------------------------------------------------------------------------------------------------

WNDPROC listProcedure;   // of the list that the keys are attached to

WNDPROC windowProcedure(HWND window)
{
    return reinterpret_cast<WNDPROC>(GetWindowLongPtrW(window, GWLP_WNDPROC));
}

// Returns the former procedure.
WNDPROC setWindowProcedure(HWND window, WNDPROC procedure)
{
    return reinterpret_cast<WNDPROC>(SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure)));
}

int selectedRow(HWND list)
{
    return static_cast<int>(SendMessageW(list, LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED));
}

void selectRow(HWND list, int row)
{
    LVITEMW item = {};
    item.stateMask = LVIS_SELECTED;
    item.state = LVIS_SELECTED;
    SendMessageW(list, LVM_SETITEMSTATE, row, reinterpret_cast<LPARAM>(&item));
    SendMessageW(list, LVM_ENSUREVISIBLE, row, FALSE);
}

// Tells the page that the row was tapped.
void clickRow(HWND list, int row)
{
    NMLISTVIEW click = {};
    click.hdr.hwndFrom = list;
    click.hdr.idFrom = IDC_MAIN_LIST;
    click.hdr.code = static_cast<UINT>(NM_CLICK);
    click.iItem = row;
    SendMessageW(currentPage, WM_NOTIFY, IDC_MAIN_LIST, reinterpret_cast<LPARAM>(&click));
}

void moveTo(HWND list, int row)
{
    selectRow(list, row);
    clickRow(list, row);
}

// The down arrow stops one row short: from the last row but one it does not move on. Kept as the program has always
// done it; the last row is reached with the stylus.
void arrowDown(HWND list)
{
    const int rows = static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
    const int row = selectedRow(list);
    if (row < rows - 2)
        moveTo(list, row + 1);
}

void arrowUp(HWND list)
{
    const int row = selectedRow(list);
    if (row > 0)
        moveTo(list, row - 1);
}

}   // namespace

int layoutMainList(HWND page, WPARAM settingChange, int initial)
{
    int offset;
    const HWND control = findMainControl(page, offset);
    const SIPINFO sip = readSipInfo();
    const bool sipOn = (sip.fdwFlags & SIPF_ON) != 0;
    if (panelStateIsNews(sipOn, settingChange, initial) && control)
        fitToDesktop(control, offset, sip.rcVisibleDesktop, sipOn);
    return 1;
}

void addMainListColumns(HWND page)
{
    const HWND list = GetDlgItem(page, IDC_MAIN_LIST);
    for (size_t i = 0; i < countOf(columnWidths); ++i) {
        LVCOLUMNW column = {};
        column.mask = LVCF_WIDTH;
        column.cx = scaleX(columnWidths[i]);
        SendMessageW(list, LVM_INSERTCOLUMNW, i, reinterpret_cast<LPARAM>(&column));
    }
    SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_FULLROWSELECT, LVS_EX_FULLROWSELECT);
    SendMessageW(list, LVM_SETBKCOLOR, 0,
                 highlightedRow);   // beside the rows, where a screen is wider than the columns
}

void emptyMainList(HWND page)
{
    const HWND list = GetDlgItem(page, IDC_MAIN_LIST);
    SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
    for (size_t i = countOf(columnWidths); i > 0; --i)
        SendMessageW(list, LVM_DELETECOLUMN, i - 1, 0);
}

int listDropHeight()
{
    return scaleY(isLandscape ? 120 : 180);
}

void setComboHeights(HWND page)
{
    for (int id : editorControls)
        if (const HWND control = GetDlgItem(page, id))
            ShowWindow(control, SW_HIDE);
    for (int id : dropDownLists)
        setDropHeight(GetDlgItem(page, id), listDropHeight());
}

INT_PTR listCustomDraw(HWND dialog, NMLVCUSTOMDRAW *drawInfo, bool highlight)
{
    SetWindowLongPtrW(dialog, DWL_MSGRESULT, drawAnswer(drawInfo, highlight));
    return TRUE;
}

void attachMainListKeys(HWND page)
{
    const HWND list = GetDlgItem(page, IDC_MAIN_LIST);
    if (windowProcedure(list) != mainListKeyProc)
        listProcedure = setWindowProcedure(list, mainListKeyProc);
}

void detachMainListKeys(HWND page)
{
    const HWND list = GetDlgItem(page, IDC_MAIN_LIST);
    if (windowProcedure(list) == mainListKeyProc)
        setWindowProcedure(list, listProcedure);
}

LRESULT CALLBACK mainListKeyProc(HWND list, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_KEYDOWN && wParam == VK_DOWN) {
        arrowDown(list);
        return 0;
    }
    if (message == WM_KEYDOWN && wParam == VK_UP) {
        arrowUp(list);
        return 0;
    }
    return CallWindowProcW(listProcedure, list, message, wParam, lParam);
}
