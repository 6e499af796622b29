#include "option_file_editor.h"

#include "dialog.h"
#include "environment.h"
#include "language.h"
#include "log.h"
#include "main_list.h"
#include "memory.h"
#include "option_file.h"
#include "resource.h"
#include "shell_values.h"
#include "whole_file.h"

namespace {

constexpr ControlText labels[] = {{IDOK, 0}, {IDCANCEL, 1}};

constexpr WPARAM noTextLimit = 0x7FFFFFFE;   // or a field takes no more than 30,000 characters

// ---- Showing the file ---------------------------------------------------------------------------------------------

// Takes out zero bytes, which no text field can hold; every save puts one at the end. Returns the new size.
int withoutZeros(char *bytes, size_t size)
{
    size_t kept = 0;
    for (size_t index = 0; index < size; ++index)
        if (bytes[index])
            bytes[kept++] = bytes[index];
    return static_cast<int>(kept);
}

bool setFieldText(HWND field, WholeFile &file)
{
    char *bytes = static_cast<char *>(file.content());
    const int size = withoutZeros(bytes, file.size());
    HeapArray<wchar_t> text(static_cast<size_t>(size) + 1);
    const int length = MultiByteToWideChar(CP_ACP, 0, bytes, size, text, size);
    text[length] = 0;
    SendMessageW(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(static_cast<wchar_t *>(text)));
    return (length > 0 || size == 0) && SendMessageW(field, WM_GETTEXTLENGTH, 0, 0) == length;
}

// Any other failure says nothing about the file: it may be there.
bool isMissing(const wchar_t *path)
{
    if (pathExists(path))
        return false;
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

// False when there is a file, or may be one, but not all of it is in the field.
bool showFile(HWND field)
{
    wchar_t path[optionPathCapacity];
    if (!optionFilePath(path) || isMissing(path))
        return true;
    WholeFile file;
    return file.read(path) && setFieldText(field, file) && file.isComplete();
}

// What could not be shown whole must not be overwritten by what is shown.
void loadField(HWND field)
{
    bool whole = false;
    try {
        SendMessageW(field, EM_LIMITTEXT, noTextLimit, 0);
        whole = showFile(field);
    } catch (...) {
        writeLog("** Exception showOptionFileEditor **");
    }
    SendMessageW(field, EM_SETREADONLY, !whole, 0);
}

// ---- Saving it ----------------------------------------------------------------------------------------------------

bool isReadOnly(HWND field)
{
    return (GetWindowLongPtrW(field, GWL_STYLE) & ES_READONLY) != 0;
}

// Stores the text with its terminator. That is kept; it is safe, for the zero byte stands behind all lines, and reading
// ends there. False when the text is not there in the end.
bool storeText(HWND field, const wchar_t *path)
{
    const size_t length = static_cast<size_t>(SendMessageW(field, WM_GETTEXTLENGTH, 0, 0));
    HeapArray<wchar_t> text(length + 1);
    const LPARAM to = reinterpret_cast<LPARAM>(static_cast<wchar_t *>(text));
    if (static_cast<size_t>(SendMessageW(field, WM_GETTEXT, length + 1, to)) != length)
        return false;
    text[length] = 0;
    const int size = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0)
        return false;
    HeapArray<char> bytes(static_cast<size_t>(size));
    WideCharToMultiByte(CP_ACP, 0, text, -1, bytes, size, nullptr, nullptr);
    return replaceFile(path, static_cast<char *>(bytes), static_cast<DWORD>(size));
}

void saveField(HWND field)
{
    wchar_t path[optionPathCapacity];
    if (isReadOnly(field) || !optionFilePath(path))
        return;
    try {
        if (!storeText(field, path))
            writeLog("** Kelvane_User.cfg not saved **");
    } catch (...) {
        writeLog("** Exception saveOptionFile **");
    }
}

// ---- The dialog ---------------------------------------------------------------------------------------------------

// The focus is set here: the dialog manager would select the whole text, and the first key would replace it.
void beginEditing(HWND dialog)
{
    makeFullScreen(dialog);
    showEmptyMenuBar(dialog);
    setControlTexts(dialog, labels);
    layoutMainList(dialog, 0, 1);
    const HWND field = GetDlgItem(dialog, IDC_OPTION_TEXT);
    loadField(field);
    SendMessageW(field, EM_SETSEL, 0, 0);
    SetFocus(field);
}

void eraseBackground(HWND dialog, HDC dc)
{
    RECT area;
    GetClientRect(dialog, &area);
    FillRect(dc, &area, backgroundBrush);
    SetWindowLongPtrW(dialog, DWL_MSGRESULT, TRUE);
}

void endEditing(HWND dialog, int command)
{
    if (command == IDOK)
        saveField(GetDlgItem(dialog, IDC_OPTION_TEXT));
    if (command == IDOK || command == IDCANCEL)
        EndDialog(dialog, command);
}

}   // namespace

void showOptionFileEditor(HWND owner)
{
    showDialog(owner, IDD_OPTION_FILE, OptionFileEditorProc);
}

INT_PTR CALLBACK OptionFileEditorProc(HWND dialog, UINT message, WPARAM wParam, LPARAM)
{
    switch (message) {
    case WM_INITDIALOG:
        beginEditing(dialog);
        return FALSE;
    case WM_SIZE:
        return layoutMainList(dialog, 0, 1);
    case WM_SETTINGCHANGE:
        return layoutMainList(dialog, wParam, 0);
    case WM_ERASEBKGND:
        eraseBackground(dialog, reinterpret_cast<HDC>(wParam));
        return TRUE;
    case WM_COMMAND:
        endEditing(dialog, LOWORD(wParam));
        return TRUE;
    }
    return dialogColours(message, wParam);
}
