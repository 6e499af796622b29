#include "sheet_notification.h"

#include "shell_values.h"

namespace {

void endOptionsDialog(const NMHDR &notification)
{
    EndDialog(optionsDialog, static_cast<INT_PTR>(notification.idFrom));
}

}   // namespace

INT_PTR endOnSheetNotification(HWND page, LPARAM lParam, void (*store)(HWND page))
{
    const NMHDR &notification = *reinterpret_cast<const NMHDR *>(lParam);
    switch (notification.code) {
    case PSN_APPLY:
        if (store && !settingsImported)
            store(page);
        SetWindowLongPtrW(page, DWL_MSGRESULT, PSNRET_NOERROR);
        endOptionsDialog(notification);
        return TRUE;
    case PSN_RESET:
        endOptionsDialog(notification);
        return TRUE;
    }
    return FALSE;
}
