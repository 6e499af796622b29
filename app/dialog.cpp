#include "dialog.h"

#include "aygshell.h"
#include "shell_values.h"

INT_PTR showDialog(HWND owner, int dialogTemplate, DLGPROC procedure, LPARAM parameter)
{
    const HRSRC resource = FindResourceW(appInstance, MAKEINTRESOURCEW(dialogTemplate), RT_DIALOG);
    if (!resource)
        return -1;
    const auto description = static_cast<const DLGTEMPLATE *>(LockResource(LoadResource(appInstance, resource)));
    return DialogBoxIndirectParamW(appInstance, description, owner, procedure, parameter);
}

void makeFullScreen(HWND dialog)
{
    SHINITDLGINFO info = {};
    info.dwMask = SHIDIM_FLAGS;
    info.hDlg = dialog;
    info.dwFlags = SHIDIF_DONEBUTTON | SHIDIF_SIZEDLGFULLSCREEN | SHIDIF_SIPDOWN;
    SHInitDialog(&info);
}

void showEmptyMenuBar(HWND dialog)
{
    SHMENUBARINFO bar = {};
    bar.cbSize = sizeof bar;
    bar.hwndParent = dialog;
    bar.dwFlags = SHCMBF_EMPTYBAR;
    SHCreateMenuBar(&bar);
}

INT_PTR dialogColours(UINT message, WPARAM wParam)
{
    switch (message) {
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORBTN:   // what a phone's check boxes ask
        SetBkMode(reinterpret_cast<HDC>(wParam), TRANSPARENT);
        return reinterpret_cast<INT_PTR>(backgroundBrush);
    }
    return FALSE;
}
