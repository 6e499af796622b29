#include "control_icon.h"

#include "scaling.h"
#include "shell_values.h"

void loadControlIcon(HWND dialog, const ControlIcon &row)
{
    const int size = scaleX(16);
    const HANDLE icon = LoadImageW(appInstance, MAKEINTRESOURCEW(row.icon), IMAGE_ICON, size, size, 0);
    SendDlgItemMessageW(dialog, row.control, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0);
}

void destroyControlIcon(HWND dialog, const ControlIcon &row)
{
    DestroyIcon(reinterpret_cast<HICON>(SendDlgItemMessageW(dialog, row.control, STM_SETICON, 0, 0)));
}
