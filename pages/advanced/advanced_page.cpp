#include "advanced_page.h"

#include "page_chrome.h"
#include "resource.h"
#include "sheet_notification.h"

namespace {

constexpr PageChrome chrome = {89, L"options-adv"};

}   // namespace

INT_PTR CALLBACK AdvancedPageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        ShowWindow(GetDlgItem(page, IDC_MAIN_LIST), SW_HIDE);   // of the template, nothing but the help icon is used yet
        break;
    case WM_NOTIFY:
        return endOnSheetNotification(page, lParam);
    }
    return pageChromeMessage(chrome, page, message, wParam, lParam);
}
