#include "profile_copy.h"

#include "dialog.h"
#include "log.h"
#include "message.h"
#include "memory.h"
#include "profile_record.h"
#include "resource.h"
#include "user_settings.h"

namespace {

// ---- Lists ----------------------------------------------------------------------------------------------------------

constexpr int noProfile = -1;   // what a list without a selection answers

void addProfile(HWND dialog, int list, int profile)
{
    const LRESULT position = SendDlgItemMessageW(dialog, list, CB_ADDSTRING, 0,
                                                 reinterpret_cast<LPARAM>(userSettings.profileNames[profile]));
    SendDlgItemMessageW(dialog, list, CB_SETITEMDATA, position, profile);
}

int profileAt(HWND dialog, int list, LRESULT position)
{
    return static_cast<int>(SendDlgItemMessageW(dialog, list, CB_GETITEMDATA, position, 0));
}

int selectedProfile(HWND dialog, int list)
{
    const LRESULT position = SendDlgItemMessageW(dialog, list, CB_GETCURSEL, 0, 0);
    return position < 0 ? noProfile : profileAt(dialog, list, position);
}

// The first entry when the profile is not in the list.
void selectProfile(HWND dialog, int list, int profile)
{
    LRESULT position = SendDlgItemMessageW(dialog, list, CB_GETCOUNT, 0, 0) - 1;
    while (position > 0 && profileAt(dialog, list, position) != profile)
        --position;
    SendDlgItemMessageW(dialog, list, CB_SETCURSEL, position, 0);
}

void showProfiles(HWND dialog, int current)
{
    makeFullScreen(dialog);
    SendDlgItemMessageW(dialog, IDC_COPY_SOURCE, CB_RESETCONTENT, 0, 0);
    SendDlgItemMessageW(dialog, IDC_COPY_TARGET, CB_RESETCONTENT, 0, 0);
    for (int profile = 0; profile < profileCount; ++profile) {
        if (!(userSettings.activeProfiles & (1u << profile)))
            continue;
        addProfile(dialog, IDC_COPY_SOURCE, profile);
        if (profile != current)
            addProfile(dialog, IDC_COPY_TARGET, profile);
    }
    selectProfile(dialog, IDC_COPY_SOURCE, current);
    SendDlgItemMessageW(dialog, IDC_COPY_TARGET, CB_SETCURSEL, 0, 0);
}

// ---- Copying --------------------------------------------------------------------------------------------------------

constexpr DWORD nameCapacity = 260;    // characters
constexpr DWORD dataCapacity = 8192;   // bytes

LONG openProfile(RegistryKey &key, int profile)
{
    wchar_t path[profileKeyCapacity];
    profileKeyPath(profile, path);
    return key.open(HKEY_CURRENT_USER, path);
}

// Only onto a profile that has been saved before. A copy that ended early counts as done like any other.
void copyProfile(int from, int to)
{
    RegistryKey source, target;
    if (openProfile(source, from) != ERROR_SUCCESS || openProfile(target, to) != ERROR_SUCCESS)
        return;
    copyProfileValues(source, target);
    target.close();
    showMessage(L"Profile copied successfully", MB_OK);
}

void overwrite(HWND dialog)
{
    const int from = selectedProfile(dialog, IDC_COPY_SOURCE);
    const int to = selectedProfile(dialog, IDC_COPY_TARGET);
    if (from == to || from == noProfile || to == noProfile)
        return;
    try {
        copyProfile(from, to);
    } catch (...) {
        writeLog("** Exception copyProfileValues **");
    }
}

void commanded(HWND dialog, int command)
{
    switch (command) {
    case IDC_OVERWRITE:
        overwrite(dialog);
        break;
    case IDOK:   // of the title bar
    case IDCANCEL:
        EndDialog(dialog, command);
        break;
    }
}

}   // namespace

LONG copyProfileValues(const RegistryKey &sourceKey, const RegistryKey &targetKey)
{
    const HeapArray<BYTE> data(dataCapacity);   // too large for the stack
    for (DWORD index = 0;; ++index) {
        wchar_t name[nameCapacity];
        DWORD nameSize = nameCapacity, size = dataCapacity, type;
        const LONG status = RegEnumValueW(sourceKey.handle(), index, name, &nameSize, nullptr, &type, data, &size);
        if (status != ERROR_SUCCESS)
            return status;
        RegSetValueExW(targetKey.handle(), name, 0, type, data, size);
    }
}

INT_PTR CALLBACK ProfileCopyProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        showProfiles(dialog, static_cast<int>(lParam));
        return TRUE;
    case WM_COMMAND:
        commanded(dialog, LOWORD(wParam));
        return TRUE;
    }
    return dialogColours(message, wParam);
}

void showProfileCopy(HWND owner, int profile)
{
    showDialog(owner, IDD_PROFILE_COPY, ProfileCopyProc, profile);
}
