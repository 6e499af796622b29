#include "dialog.h"

#include "aygshell.h"
#include "shell_values.h"

INT_PTR runDialog(int templateId, HWND owner, DLGPROC procedure, LPARAM parameter)
{
    const HRSRC resource = FindResourceW(appInstance, MAKEINTRESOURCEW(templateId), RT_DIALOG);
    const auto dialogTemplate = static_cast<const DLGTEMPLATE *>(LockResource(LoadResource(appInstance, resource)));
    return DialogBoxIndirectParamW(appInstance, dialogTemplate, owner, procedure, parameter);
}

void fillScreen(HWND dialog)
{
    SHINITDLGINFO set = {};
    set.dwMask = SHIDIM_FLAGS;
    set.hDlg = dialog;
    set.dwFlags = SHIDIF_DONEBUTTON | SHIDIF_SIZEDLGFULLSCREEN | SHIDIF_SIPDOWN;
    SHInitDialog(&set);
}

INT_PTR dialogGroundMessage(UINT message, WPARAM wParam)
{
    switch (message) {
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORBTN:   // what a phone's check boxes ask
        SetBkMode(reinterpret_cast<HDC>(wParam), TRANSPARENT);
        return reinterpret_cast<INT_PTR>(backgroundBrush);
    }
    return FALSE;
}
