#include "display_page.h"

#include "page_chrome.h"
#include "sheet_notification.h"

namespace {

constexpr PageChrome chrome = {3, L"options-user"};

}   // namespace

INT_PTR CALLBACK DisplayPageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_NOTIFY)
        return endOnSheetNotification(page, lParam);
    return pageChromeMessage(chrome, page, message, wParam, lParam);
}
