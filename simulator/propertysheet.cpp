// Property sheets: the phone's structures translated, comctl32's sheet underneath, the phone's layout on top.
#include "propertysheet.h"

#include "../ce/layouts.h"
#include "core.h"
#include "dialogs.h"
#include "phone_windows.h"
#include "shell.h"

#include <algorithm>
#include <commctrl.h>
#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <prsht.h>
#include <vector>

namespace sim {

namespace {

constexpr wchar_t sheetKey[] = L"PhoneSheetProc";
constexpr wchar_t pageKey[] = L"PhonePageProc";
constexpr wchar_t tabKey[] = L"PhoneTabProc";
constexpr wchar_t sheetMark[] = L"PhoneSheet";

constexpr int tabHeight = 20;   // at 96 dots per inch
constexpr int tabControlId = 0x3020, applyButtonId = 0x3021, separatorId = 0x3022, helpButtonId = 9;

constexpr UINT getVersion = 3, getTitle = 4;   // PSCB_ codes only the phone has
constexpr DWORD knownPageFlags = PSP_DLGINDIRECT | PSP_USETITLE | PSP_USEREFPARENT | PSP_USECALLBACK | PSP_PREMATURE;
constexpr DWORD knownSheetFlags = PSH_PROPTITLE | PSH_PROPSHEETPAGE | PSH_USEPSTARTPAGE | PSH_MODELESS;

// The phone's structures are the first part of the desktop's, so pages and callbacks can be handed either.
static_assert(offsetof(ce::PropSheetPageW, pcRefParent) == offsetof(PROPSHEETPAGEW, pcRefParent), "front part");
static_assert(offsetof(ce::PropSheetHeaderW, pfnCallback) == offsetof(PROPSHEETHEADERW, pfnCallback), "front part");

// A sheet from PropertySheetW to its window's end.
struct Sheet {
    HWND window = nullptr;   // null until comctl32 creates it
    ce::PropSheetCallback callback = nullptr;
    bool captioned = false;
    std::vector<PROPSHEETPAGEW> pages;
    std::list<PhoneTemplate> templates;   // comctl32 reads them when a page is first shown

    int call(UINT message, LPARAM lParam) const { return callback != nullptr ? callback(window, message, lParam) : 0; }
};

// Sheets nest, so those not yet created wait on a stack; the others are found by their window.
thread_local std::vector<Sheet *> sheetsInCreation;
thread_local std::map<HWND, Sheet *> sheets;
// Modeless sheets outlive the call that made them.
thread_local std::map<HWND, std::unique_ptr<Sheet>> modelessSheets;
// Templates of pages made singly, by the page's handle.
thread_local std::map<HPROPSHEETPAGE, PhoneTemplate> singlePageTemplates;

bool validSize(DWORD size, size_t realSize)
{
    return size == ce::propSheetRecordSize || size == realSize;
}

// --- translation ---

const void *findTemplate(const ce::PropSheetPageW &page)
{
    if ((page.dwFlags & PSP_DLGINDIRECT) != 0) {
        return page.pResource;
    }
    HRSRC resource = FindResourceW(page.hInstance, page.pszTemplate, reinterpret_cast<LPCWSTR>(RT_DIALOG));
    return resource == nullptr ? nullptr : LockResource(LoadResource(page.hInstance, resource));
}

bool translatePage(const ce::PropSheetPageW &page, PROPSHEETPAGEW &desktop, PhoneTemplate &rewritten)
{
    rewritten = phoneTemplate(findTemplate(page));
    if (!validSize(page.dwSize, sizeof page) || !rewritten.valid()) {
        return false;
    }
    desktop = {};
    desktop.dwSize = sizeof desktop;
    desktop.dwFlags = (page.dwFlags & knownPageFlags) | PSP_DLGINDIRECT;
    desktop.hInstance = page.hInstance;
    desktop.pResource = rewritten.get();
    desktop.pszTitle = page.pszTitle;
    desktop.pfnDlgProc = page.pfnDlgProc;
    desktop.lParam = page.lParam;
    desktop.pfnCallback = reinterpret_cast<LPFNPSPCALLBACKW>(page.pfnCallback);
    desktop.pcRefParent = page.pcRefParent;
    return true;
}

bool translatePages(const ce::PropSheetHeaderW &header, Sheet &sheet)
{
    sheet.pages.resize(header.nPages);
    for (UINT i = 0; i < header.nPages; ++i) {
        sheet.templates.emplace_back();
        if (!translatePage(header.ppsp[i], sheet.pages[i], sheet.templates.back())) {
            return false;
        }
    }
    return true;
}

// --- layout ---

RECT pageArea(HWND sheet)
{
    RECT area;
    GetClientRect(sheet, &area);
    area.bottom = std::max<LONG>(0, area.bottom - px(tabHeight));
    return area;
}

HWND firstPage(HWND sheet)
{
    return FindWindowExW(sheet, nullptr, L"#32770", nullptr);
}

HWND nextPage(HWND sheet, HWND page)
{
    return FindWindowExW(sheet, page, L"#32770", nullptr);
}

void layOutSheet(HWND sheet)
{
    RECT area = pageArea(sheet);
    HWND tab = GetDlgItem(sheet, tabControlId);
    SetWindowPos(tab, nullptr, 0, area.bottom, area.right, px(tabHeight), SWP_NOZORDER | SWP_NOACTIVATE);
    InvalidateRect(tab, nullptr, TRUE);
    for (HWND page = firstPage(sheet); page != nullptr; page = nextPage(sheet, page)) {
        SetWindowPos(page, nullptr, 0, 0, area.right, area.bottom, SWP_NOZORDER | SWP_NOACTIVATE);
    }
}

void tellPages(HWND sheet, UINT message, WPARAM wParam, LPARAM lParam)
{
    for (HWND page = firstPage(sheet); page != nullptr; page = nextPage(sheet, page)) {
        SendMessageW(page, message, wParam, lParam);
    }
}

// --- the tab strip ---

constexpr COLORREF stripGround = RGB(212, 219, 230), tabGround = RGB(232, 236, 243), tabLine = RGB(96, 108, 128),
                   tabText = RGB(0, 0, 0);

void drawTab(HWND tab, HDC dc, int index, int height)
{
    RECT area;
    if (!SendMessageW(tab, TCM_GETITEMRECT, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&area))) {
        return;
    }
    const bool selected = SendMessageW(tab, TCM_GETCURSEL, 0, 0) == index;
    wchar_t text[64] = L"";
    TCITEMW item = {};
    item.mask = TCIF_TEXT;
    item.pszText = text;
    item.cchTextMax = 64;
    SendMessageW(tab, TCM_GETITEMW, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&item));

    RECT face{area.left, selected ? 0 : px(1), area.right, height - (selected ? 0 : px(2))};
    SelectObject(dc, GetStockObject(DC_PEN));
    SelectObject(dc, GetStockObject(DC_BRUSH));
    SetDCPenColor(dc, tabLine);
    SetDCBrushColor(dc, selected ? GetSysColor(COLOR_WINDOW) : tabGround);
    // Drawn from above the strip, so that the tab hangs open under its page.
    Rectangle(dc, face.left, selected ? -px(2) : 0, face.right + 1, face.bottom);
    HGDIOBJ old = SelectObject(dc, systemFont());
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, tabText);
    DrawTextW(dc, text, -1, &face, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    if (selected && GetFocus() == tab) {
        InflateRect(&face, -px(2), -px(2));
        DrawFocusRect(dc, &face);
    }
    SelectObject(dc, old);
}

void paintTabs(HWND tab)
{
    PAINTSTRUCT painting;
    HDC target = BeginPaint(tab, &painting);
    RECT client;
    GetClientRect(tab, &client);
    {
        PaintBuffer buffer(target, client);
        fillGradient(buffer.dc(), client, stripGround, stripGround);
        RECT line{0, 0, client.right, px(1)};
        fillGradient(buffer.dc(), line, tabLine, tabLine);
        const int count = static_cast<int>(SendMessageW(tab, TCM_GETITEMCOUNT, 0, 0));
        for (int i = 0; i < count; ++i) {
            drawTab(tab, buffer.dc(), i, client.bottom);
        }
    }
    EndPaint(tab, &painting);
}

// comctl32 makes the scroller as high as the desktop's scroll bars; a finger wants the whole strip.
void fitScroller(HWND tab)
{
    HWND scroller = FindWindowExW(tab, nullptr, UPDOWN_CLASSW, nullptr);
    RECT area, client;
    if (scroller != nullptr && GetClientRect(tab, &client) && GetWindowRect(scroller, &area)) {
        MapWindowPoints(nullptr, tab, reinterpret_cast<POINT *>(&area), 2);
        SetWindowPos(scroller, nullptr, area.left, px(1), area.right - area.left, client.bottom - px(1),
                     SWP_NOZORDER | SWP_NOACTIVATE);
    }
}

LRESULT CALLBACK tabProc(HWND tab, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_PAINT:
        paintTabs(tab);
        return 0;
    case WM_ERASEBKGND:
        return TRUE;
    }
    LRESULT answer = callFormer(tab, tabKey, message, wParam, lParam);
    if (message == WM_SIZE || message == WM_PARENTNOTIFY) {
        fitScroller(tab);
    }
    // comctl32 paints some changes at once, in its own manner.
    if (message == WM_LBUTTONDOWN || message == WM_LBUTTONUP || message == WM_SETFOCUS || message == WM_KILLFOCUS ||
        message == TCM_SETCURSEL || message == WM_HSCROLL || message == WM_KEYDOWN) {
        InvalidateRect(tab, nullptr, FALSE);
    }
    return answer;
}

void prepareTabs(HWND sheet)
{
    HWND tab = GetDlgItem(sheet, tabControlId);
    putInFront(tab, tabKey, tabProc);
    SetWindowLongPtrW(tab, GWL_STYLE, GetWindowLongPtrW(tab, GWL_STYLE) & ~(TCS_MULTILINE | TCS_RAGGEDRIGHT));
    SendMessageW(tab, WM_SETFONT, reinterpret_cast<WPARAM>(systemFont()), FALSE);
    SendMessageW(tab, TCM_SETPADDING, 0, MAKELPARAM(px(5), px(2)));
    SendMessageW(tab, TCM_SETMINTABWIDTH, 0, px(20));
    SendMessageW(tab, TCM_SETITEMSIZE, 0, MAKELPARAM(0, px(tabHeight) - px(2)));
}

// --- sheet and pages ---

void hideButtons(HWND sheet)
{
    for (int id : {IDOK, IDCANCEL, applyButtonId, separatorId, helpButtonId}) {
        if (HWND button = GetDlgItem(sheet, id)) {
            ShowWindow(button, SW_HIDE);
        }
    }
}

LRESULT CALLBACK sheetProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    auto entry = sheets.find(window);
    switch (message) {
    case WM_HELP:
        if (entry != sheets.end() && entry->second->callback != nullptr) {
            return entry->second->call(WM_HELP, lParam);
        }
        break;
    case WM_NCDESTROY:
        sheets.erase(window);
        modelessSheets.erase(window);
        break;
    }
    LRESULT answer = callFormer(window, sheetKey, message, wParam, lParam);
    switch (message) {
    case WM_SIZE:
        layOutSheet(window);
        break;
    case WM_SETTINGCHANGE:
        tellPages(window, message, wParam, lParam);
        break;
    }
    return answer;
}

// A page's ground is what the program says; a desktop with visual styles would lay its own tab texture over it.
LRESULT eraseGround(HWND page, HDC dc)
{
    RECT client;
    GetClientRect(page, &client);
    const LRESULT brush =
        SendMessageW(page, WM_CTLCOLORDLG, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(page));
    FillRect(dc, &client, reinterpret_cast<HBRUSH>(brush));
    return TRUE;
}

LRESULT CALLBACK pageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_ERASEBKGND) {
        return eraseGround(page, reinterpret_cast<HDC>(wParam));
    }
    if (message == WM_WINDOWPOSCHANGING) {
        // comctl32 lays pages into the frame it believes in; ours is the whole area above the tabs.
        auto *position = reinterpret_cast<WINDOWPOS *>(lParam);
        RECT area = pageArea(GetParent(page));
        position->x = position->y = 0;
        position->cx = area.right;
        position->cy = area.bottom;
        position->flags &= ~static_cast<UINT>(SWP_NOMOVE | SWP_NOSIZE);
    }
    if (message == WM_SETTINGCHANGE) {
        scrollToTop(page);   // pages place their list anew, reckoning from the top
    }
    LRESULT answer = callFormer(page, pageKey, message, wParam, lParam);
    switch (message) {
    case WM_SIZE:
    case WM_SHOWWINDOW:
    case WM_SETTINGCHANGE:
        updateScrolling(page);
        break;
    case WM_VSCROLL:
        if (lParam == 0) {
            scrollBy(page, wParam);
        }
        break;
    }
    return message == WM_NCDESTROY ? answer : whitened(message, wParam, answer);
}

void nameSheet(const Sheet &sheet)
{
    wchar_t title[257] = L"";
    if (sheet.call(getTitle, reinterpret_cast<LPARAM>(title)) != 0 || title[0] != 0) {
        SetWindowTextW(sheet.window, title);
    } else if (!sheet.captioned) {
        SetWindowTextW(sheet.window, L"");   // not comctl32's "Properties"; the title bar shows the owner's name
    }
}

int CALLBACK sheetCallback(HWND window, UINT message, LPARAM lParam)
{
    if (message == PSCB_PRECREATE) {
        return sheetsInCreation.empty() ? 0 : sheetsInCreation.back()->call(message, lParam);
    }
    if (message == PSCB_INITIALIZED && !sheetsInCreation.empty()) {
        Sheet &sheet = *sheetsInCreation.back();
        sheetsInCreation.pop_back();
        sheet.window = window;
        sheets[window] = &sheet;
        putInFront(window, sheetKey, sheetProc);
        hideButtons(window);
        prepareTabs(window);
        nameSheet(sheet);
        sheet.call(message, lParam);
        layOutSheet(window);
        return 0;
    }
    auto entry = sheets.find(window);
    return entry == sheets.end() ? 0 : entry->second->call(message, lParam);
}

PROPSHEETHEADERW desktopHeader(const ce::PropSheetHeaderW &header, const Sheet &sheet)
{
    PROPSHEETHEADERW desktop = {};
    desktop.dwSize = sizeof desktop;
    desktop.dwFlags = (header.dwFlags & knownSheetFlags) | PSH_USECALLBACK | PSH_NOAPPLYNOW | PSH_NOCONTEXTHELP;
    desktop.hwndParent = header.hwndParent;
    desktop.hInstance = header.hInstance;
    desktop.pszCaption = header.pszCaption;
    desktop.nPages = header.nPages;
    desktop.pStartPage = header.pStartPage;
    desktop.phpage = header.phpage;
    if ((header.dwFlags & PSH_PROPSHEETPAGE) != 0) {
        desktop.ppsp = sheet.pages.data();
    }
    desktop.pfnCallback = sheetCallback;
    return desktop;
}

bool isSoundHeader(const ce::PropSheetHeaderW *header)
{
    return header != nullptr && validSize(header->dwSize, sizeof *header) && header->nPages > 0 &&
           header->nPages <= MAXPROPPAGES && header->ppsp != nullptr;
}

}   // namespace

bool isSheet(HWND window)
{
    return GetPropW(window, sheetMark) != nullptr;
}

bool turnPage(const MSG &message)
{
    HWND sheet = GetAncestor(message.hwnd, GA_ROOT);
    if (message.message != WM_KEYDOWN || message.wParam != VK_TAB || GetKeyState(VK_CONTROL) >= 0 || !isSheet(sheet)) {
        return false;
    }
    HWND tab = GetDlgItem(sheet, tabControlId);
    const int count = static_cast<int>(SendMessageW(tab, TCM_GETITEMCOUNT, 0, 0));
    const int current = static_cast<int>(SendMessageW(tab, TCM_GETCURSEL, 0, 0));
    const int step = GetKeyState(VK_SHIFT) < 0 ? count - 1 : 1;
    SendMessageW(sheet, PSM_SETCURSEL, static_cast<WPARAM>((current + step) % std::max(1, count)), 0);
    return true;
}

void attachSheet(HWND dialog)
{
    if (!sheetsInCreation.empty()) {
        SetPropW(dialog, sheetMark, reinterpret_cast<HANDLE>(1));
    }
}

void attachPage(HWND page, HWND parent)
{
    if (isSheet(parent)) {
        putInFront(page, pageKey, pageProc);
    }
}

}   // namespace sim

extern "C" {

INT_PTR WINAPI simPropertySheetW(const ce::PropSheetHeaderW *header)
{
    using namespace sim;
    auto sheet = std::make_unique<Sheet>();
    if (!isSoundHeader(header) || ((header->dwFlags & PSH_PROPSHEETPAGE) != 0 && !translatePages(*header, *sheet))) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return -1;
    }
    watchThread();
    sheet->callback = (header->dwFlags & PSH_USECALLBACK) != 0 ? header->pfnCallback : nullptr;
    sheet->captioned = header->pszCaption != nullptr;
    sheet->call(getVersion, 0);
    const size_t depth = sheetsInCreation.size();
    sheetsInCreation.push_back(sheet.get());
    PROPSHEETHEADERW desktop = desktopHeader(*header, *sheet);
    INT_PTR result = PropertySheetW(&desktop);
    sheetsInCreation.resize(std::min(depth, sheetsInCreation.size()));   // a sheet that failed to appear
    if ((header->dwFlags & PSH_MODELESS) != 0 && sheet->window != nullptr) {
        HWND window = sheet->window;
        modelessSheets[window] = std::move(sheet);
    }
    return result;
}

HPROPSHEETPAGE WINAPI simCreatePropertySheetPageW(const ce::PropSheetPageW *page)
{
    sim::PhoneTemplate rewritten;
    PROPSHEETPAGEW desktop;
    if (page == nullptr || !sim::translatePage(*page, desktop, rewritten)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    HPROPSHEETPAGE handle = CreatePropertySheetPageW(&desktop);
    if (handle != nullptr) {
        sim::singlePageTemplates[handle] = std::move(rewritten);
    }
    return handle;
}

BOOL WINAPI simDestroyPropertySheetPage(HPROPSHEETPAGE page)
{
    BOOL done = DestroyPropertySheetPage(page);
    sim::singlePageTemplates.erase(page);
    return done;
}

}   // extern "C"
