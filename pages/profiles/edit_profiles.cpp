#include "edit_profiles.h"

#include "dialog.h"
#include "language.h"
#include "resource.h"
#include "text.h"
#include "user_settings.h"

namespace {

// The check boxes carry fixed names, in the order of the profiles, whatever the user calls them.
constexpr ControlText labels[] = {
    {IDOK, 0}, {IDCANCEL, 1}, {IDC_VISIBLE_TEXT, 207}, {IDC_RENAME_TEXT, 208}, {IDC_MENU_AS_TEXT, 284},
};

constexpr DWORD alwaysInUse = 1;   // profile 0; its check box is disabled

constexpr size_t editedNameCapacity = 50;   // 49 characters of a name are taken over

int visibleBox(int profile)
{
    return IDC_PROFILE_VISIBLE + profile;
}

int nameField(int profile)
{
    return IDC_PROFILE_NAME + profile;
}

void check(HWND dialog, int box, bool checked)
{
    SendDlgItemMessageW(dialog, box, BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
}

bool isChecked(HWND dialog, int box)
{
    return SendDlgItemMessageW(dialog, box, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void showSettings(HWND dialog)
{
    makeFullScreen(dialog);
    setControlTexts(dialog, labels);
    const DWORD inUse = userSettings.activeProfiles | alwaysInUse;
    for (int profile = 0; profile < profileCount; ++profile) {
        check(dialog, visibleBox(profile), (inUse & (1u << profile)) != 0);
        SendDlgItemMessageW(dialog, nameField(profile), EM_LIMITTEXT, editedNameCapacity - 1, 0);
        SetDlgItemTextW(dialog, nameField(profile), userSettings.profileNames[profile]);
    }
    check(dialog, IDC_MENU_AS_TEXT, userSettings.profAsText != 0);
}

void storeSettings(HWND dialog)
{
    userSettings.activeProfiles = alwaysInUse;
    for (int profile = 0; profile < profileCount; ++profile) {
        if (isChecked(dialog, visibleBox(profile)))
            userSettings.activeProfiles |= 1u << profile;
        wchar_t name[editedNameCapacity] = L"";
        GetDlgItemTextW(dialog, nameField(profile), name, countOf(name));
        copyText(userSettings.profileNames[profile], name);
    }
    userSettings.profAsText = isChecked(dialog, IDC_MENU_AS_TEXT);
}

}   // namespace

INT_PTR CALLBACK EditProfilesProc(HWND dialog, UINT message, WPARAM wParam, LPARAM)
{
    switch (message) {
    case WM_INITDIALOG:
        showSettings(dialog);
        return TRUE;
    case WM_COMMAND:
        if (LOWORD(wParam) == IDOK)
            storeSettings(dialog);
        if (LOWORD(wParam) == IDOK || LOWORD(wParam) == IDCANCEL)
            EndDialog(dialog, LOWORD(wParam));
        return TRUE;
    }
    return dialogColours(message, wParam);
}

void showEditProfiles(HWND owner)
{
    showDialog(owner, IDD_EDIT_PROFILES, EditProfilesProc);
}
