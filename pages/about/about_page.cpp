#include "about_page.h"

#include <initializer_list>

#include "control_icon.h"
#include "key_operated.h"
#include "language.h"
#include "logging_dialog.h"
#include "option_file_editor.h"
#include "page_chrome.h"
#include "resource.h"
#include "scaling.h"
#include "sheet_notification.h"
#include "shell_values.h"
#include "support.h"
#include "text.h"
#include "user_settings.h"
#include "version.h"

namespace {

constexpr PageChrome chrome = {5, L"options-user"};

constexpr ControlText labels[] = {{IDC_LOGGING_TEXT, 240}};

constexpr ControlIcon icons[] = {{IDC_PROGRAM_ICON, IDI_PROGRAM},
                                 {IDC_MAIL_ICON, IDI_MAIL},
                                 {IDC_OPTION_FILE_ICON, IDI_OPTIONS},
                                 {IDC_LOGGING_ICON, IDI_LOGGING}};

// ---- The version --------------------------------------------------------------------------------------------------

constexpr size_t productNameCapacity = 101;   // 100 characters of the label are kept
constexpr size_t versionLabelCapacity = productNameCapacity + countOf(programVersion);

void appendVersion(HWND page)
{
    wchar_t product[productNameCapacity] = L"";
    GetDlgItemTextW(page, IDC_VERSION, product, productNameCapacity);
    wchar_t label[versionLabelCapacity];
    formatText(label, L"%s%s", product, programVersion);
    SetDlgItemTextW(page, IDC_VERSION, label);
}

void readVersionLabel(HWND page, wchar_t (&label)[versionLabelCapacity])
{
    label[0] = 0;
    GetDlgItemTextW(page, IDC_VERSION, label, versionLabelCapacity);
}

// ---- The support address ------------------------------------------------------------------------------------------

// Pixels at 96 dots per inch, as the area below.
constexpr int addressX = 43;
constexpr int addressY = 90;
constexpr COLORREF addressColor = RGB(0, 0, 156);
constexpr COLORREF groundColor = RGB(220, 220, 230);

// Tapped when a point lies right of, below and above these.
constexpr int tapLeft = 42;
constexpr int tapTop = 88;
constexpr int tapBottom = 108;

void drawAddress(HWND page, HDC dc)
{
    const HGDIOBJ oldFont = SelectObject(dc, linkFont);
    SetTextColor(dc, addressColor);
    SetBkColor(dc, groundColor);
    SetBkMode(dc, OPAQUE);
    RECT area;
    GetClientRect(page, &area);
    area.left = scaleX(addressX);
    area.top = scaleY(addressY);
    DrawTextW(dc, supportAddress, -1, &area, DT_SINGLELINE | DT_NOPREFIX);
    SelectObject(dc, oldFont);
}

bool isOnAddress(int x, int y)
{
    return x > scaleX(tapLeft) && y > scaleY(tapTop) && y < scaleY(tapBottom);
}

// ---- What can be tapped -------------------------------------------------------------------------------------------

void mailToSupport(HWND page)
{
    wchar_t version[versionLabelCapacity];
    readVersionLabel(page, version);
    sendSupportMail(version);
}

// A log that is sent to support begins with a description of the device.
void setUpLogging(HWND page)
{
    showLoggingDialog(page);
    SetFocus(page);
    if (!userSettings.loggingOption)
        return;
    wchar_t version[versionLabelCapacity];
    readVersionLabel(page, version);
    writeSupportInfo(version);
}

struct Action {
    int control;
    void (*run)(HWND page);
};

constexpr Action actions[] = {
    {IDC_MAIL_ICON, mailToSupport},
    {IDC_OPTION_FILE_ICON, showOptionFileEditor},
    {IDC_OPTION_FILE_TEXT, showOptionFileEditor},
    {IDC_LOGGING_ICON, setUpLogging},
    {IDC_LOGGING_TEXT, setUpLogging},
};

// The second tap of two is no further request.
bool runCommand(HWND page, WPARAM wParam)
{
    for (const Action &action : actions)
        if (wParam == MAKEWPARAM(action.control, STN_CLICKED)) {
            action.run(page);
            return true;
        }
    return false;
}

bool tapAt(HWND page, int x, int y)
{
    const bool onAddress = isOnAddress(x, y);
    if (onAddress)
        mailToSupport(page);
    return onAddress;
}

// ---- The page -----------------------------------------------------------------------------------------------------

void beginPage(HWND page)
{
    setControlTexts(page, labels);
    appendVersion(page);
    loadControlIcons(page, icons);
    for (int control : {IDC_MAIL_ICON, IDC_OPTION_FILE_ICON, IDC_LOGGING_ICON})
        makeKeyOperated(page, control);
}

void paintPage(HWND page)
{
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(page, &paint);
    paintPageHeader(page, dc, getLanguageText(chrome.titleTextId, nullptr));
    drawAddress(page, dc);
    EndPaint(page, &paint);
}

}   // namespace

INT_PTR CALLBACK AboutPageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        beginPage(page);
        break;
    case WM_DESTROY:
        destroyControlIcons(page, icons);
        break;
    case WM_PAINT:
        paintPage(page);
        return TRUE;
    case WM_LBUTTONDOWN:
        return tapAt(page, static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)));
    case WM_COMMAND:
        if (runCommand(page, wParam))
            return TRUE;
        break;
    case WM_NOTIFY:
        return endOnSheetNotification(page, lParam);
    }
    return pageChromeMessage(chrome, page, message, wParam, lParam);
}
