#include "find_file.h"

#include "dialog.h"
#include "environment.h"
#include "folder_search.h"
#include "language.h"
#include "log.h"
#include "main_list.h"
#include "resource.h"
#include "scaling.h"
#include "shell_values.h"
#include "text.h"

wchar_t findFileFolder[pickedPathCapacity] = L"\\";

namespace {

constexpr wchar_t root[] = L"\\";

bool foldersOnly;    // as the dialog was last opened
HIMAGELIST images;   // of the open dialog

// ---- Paths ----------------------------------------------------------------------------------------------------------

const wchar_t *separatorAfter(const wchar_t *folder)
{
    return wcscmp(folder, root) == 0 ? L"" : L"\\";
}

// False, and path unchanged, when the path would not fit: one that is cut names something else.
bool appendName(wchar_t (&path)[pickedPathCapacity], const wchar_t *folder, const wchar_t *name)
{
    const wchar_t *separator = separatorAfter(folder);
    if (wcslen(folder) + wcslen(separator) + wcslen(name) >= pickedPathCapacity)
        return false;
    formatText(path, L"%s%s%s", folder, separator, name);
    return true;
}

void cutLastName(wchar_t (&folder)[pickedPathCapacity])
{
    size_t length = wcslen(folder);
    while (length > 0 && folder[length] != L'\\')
        --length;
    folder[length] = 0;
    if (!folder[0])
        copyText(folder, root);
}

bool isFolder(const wchar_t *path)
{
    const DWORD attributes = GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

// The folder of the last time may be gone, with its card or for good: then it is the next one above that is still there.
// A file without a dot in its name has been "entered" like a folder, and is none.
void leaveVanishedFolders()
{
    try {
        while (wcscmp(findFileFolder, root) != 0 && !isFolder(findFileFolder))
            cutLastName(findFileFolder);
    } catch (...) {
        writeLog("** Exception FindFile **");
    }
}

// ---- The list -------------------------------------------------------------------------------------------------------

enum Image { folderImage, fileImage };

constexpr int imageIcons[] = {IDI_FOLDER, IDI_FILE};   // in the order of Image
constexpr int imageSize = 16;
constexpr int nameText = 292;
constexpr int nameWidth = 232;

// What puts files behind folders. It does so for names that begin with a Latin letter: a folder whose name begins with a
// character above U+0100 has a greater key than most files. Kept; it is no more than an odd place in the list.
constexpr LPARAM filesBehind = 66000;

void makeImages()
{
    const int width = scaleX(imageSize), height = scaleY(imageSize);
    images = ImageList_Create(width, height, ILC_COLORDDB | ILC_MASK, countOf(imageIcons), 0);
    for (int icon : imageIcons) {
        const HANDLE image = LoadImageW(appInstance, MAKEINTRESOURCEW(icon), IMAGE_ICON, width, height, 0);
        ImageList_ReplaceIcon(images, -1, static_cast<HICON>(image));
        DestroyIcon(static_cast<HICON>(image));
    }
}

// The list view shows them and leaves them ours.
void attachImages(HWND list)
{
    SendMessageW(list, LVM_SETIMAGELIST, LVSIL_SMALL, reinterpret_cast<LPARAM>(images));
}

void destroyImages(HWND list)
{
    SendMessageW(list, LVM_SETIMAGELIST, LVSIL_SMALL, 0);
    ImageList_Destroy(images);
    images = nullptr;
}

void emptyList(HWND list)
{
    SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
    while (SendMessageW(list, LVM_DELETECOLUMN, 0, 0))
        ;
}

void addNameColumn(HWND list)
{
    wchar_t title[translationCapacity];
    copyText(title, getLanguageText(nameText, nullptr));
    LVCOLUMNW column = {};
    column.mask = LVCF_TEXT | LVCF_WIDTH;
    column.pszText = title;
    column.cx = scaleX(nameWidth);
    SendMessageW(list, LVM_INSERTCOLUMNW, 0, reinterpret_cast<LPARAM>(&column));
}

LPARAM sortKey(const wchar_t *name)
{
    wchar_t lower[MAX_PATH];
    copyText(lower, name);
    _wcslwr(lower);
    return lower[0] * 256 + (lower[0] ? lower[1] : 0);
}

void addEntry(HWND list, const wchar_t *name, Image image)
{
    wchar_t text[MAX_PATH];   // the list view's record has no constant text
    copyText(text, name);
    LVITEMW item = {};
    item.mask = LVIF_TEXT | LVIF_IMAGE | LVIF_PARAM;
    item.iItem = static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
    item.pszText = text;
    item.iImage = image;
    item.lParam = sortKey(name) + (image == fileImage ? filesBehind : 0);
    SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
}

void addEntries(HWND list, const wchar_t *folder)
{
    wchar_t pattern[pickedPathCapacity + 2];
    formatText(pattern, L"%s%s*", folder, separatorAfter(folder));
    for (FolderSearch search(pattern); search.atEntry(); search.next()) {
        if (search.entry().dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            addEntry(list, search.entry().cFileName, folderImage);
        else if (!foldersOnly)
            addEntry(list, search.entry().cFileName, fileImage);
    }
}

int CALLBACK compareKeys(LPARAM first, LPARAM second, LPARAM)
{
    return static_cast<int>(first - second);   // of two numbers below 2^25
}

// ---- What the user does ---------------------------------------------------------------------------------------------

void showFolder(HWND dialog)
{
    SetDlgItemTextW(dialog, IDC_FOLDER_PATH, findFileFolder);
    fillFileList(GetDlgItem(dialog, IDC_FILE_LIST), findFileFolder, true);
}

void goToRoot(HWND dialog)
{
    copyText(findFileFolder, root);
    showFolder(dialog);
}

void goUp(HWND dialog)
{
    cutLastName(findFileFolder);
    showFolder(dialog);
}

// A name tells what it belongs to: without a dot it is a folder's, which is entered, with one a file's, which is only put
// into the edit control. A folder with a dot in its name can so be chosen, but not entered.
void tapEntry(HWND dialog, int row)
{
    wchar_t name[MAX_PATH] = L"", path[pickedPathCapacity];
    LVITEMW item = {};
    item.pszText = name;
    item.cchTextMax = countOf(name);
    SendDlgItemMessageW(dialog, IDC_FILE_LIST, LVM_GETITEMTEXTW, row, reinterpret_cast<LPARAM>(&item));
    if (!name[0] || !appendName(path, findFileFolder, name))
        return;
    if (wcschr(name, L'.')) {
        SetDlgItemTextW(dialog, IDC_FOLDER_PATH, path);
    } else {
        copyText(findFileFolder, path);
        showFolder(dialog);
    }
}

// What the stylus does by tapping: into the selected folder to the right, out of this one to the left.
void pressKey(HWND dialog, WORD key)
{
    if (key == VK_LEFT)
        goUp(dialog);
    else if (key == VK_RIGHT || key == VK_SPACE)
        tapEntry(dialog, static_cast<int>(SendDlgItemMessageW(dialog, IDC_FILE_LIST, LVM_GETNEXTITEM,
                                                              static_cast<WPARAM>(-1), LVNI_SELECTED)));
}

void notified(HWND dialog, const NMHDR *notification)
{
    if (notification->idFrom != IDC_FILE_LIST)
        return;
    if (notification->code == static_cast<UINT>(NM_CLICK))
        tapEntry(dialog, reinterpret_cast<const NMLISTVIEW *>(notification)->iItem);
    else if (notification->code == static_cast<UINT>(LVN_KEYDOWN))
        pressKey(dialog, reinterpret_cast<const NMLVKEYDOWN *>(notification)->wVKey);
}

// A folder is taken whatever is there; a file only when it looks like one.
void takePath(HWND dialog)
{
    wchar_t path[pickedPathCapacity] = L"";
    GetDlgItemTextW(dialog, IDC_FOLDER_PATH, path, countOf(path));
    if (!foldersOnly && !wcschr(path, L'.'))
        return;
    try {
        holdPickedPath();
        copyInto(pickedPath, pickedPathCapacity, path);
    } catch (...) {
        writeLog("** Exception FindFile **");
    }
}

// ---- The dialog -----------------------------------------------------------------------------------------------------

void initialise(HWND dialog, bool wantsFolder)
{
    makeFullScreen(dialog);
    foldersOnly = wantsFolder;
    SendDlgItemMessageW(dialog, IDC_FOLDER_PATH, EM_LIMITTEXT, pickedPathCapacity - 1, 0);
    makeImages();
    leaveVanishedFolders();
    showFolder(dialog);
    layoutMainList(dialog, 0, 1);
}

void release(HWND dialog)
{
    const HWND list = GetDlgItem(dialog, IDC_FILE_LIST);
    destroyImages(list);
    emptyList(list);
}

// The edit control ends where the list does.
void layOut(HWND dialog, WPARAM settingChange, int initial)
{
    layoutMainList(dialog, settingChange, initial);
    const HWND edit = GetDlgItem(dialog, IDC_FOLDER_PATH);
    RECT list, area;
    if (GetWindowRect(GetDlgItem(dialog, IDC_FILE_LIST), &list) && GetWindowRect(edit, &area))
        SetWindowPos(edit, nullptr, 0, 0, list.right - area.left, area.bottom - area.top, SWP_NOMOVE | SWP_NOZORDER);
}

void commanded(HWND dialog, int command)
{
    switch (command) {
    case IDC_ROOT_FOLDER:
        goToRoot(dialog);
        break;
    case IDC_FOLDER_ABOVE:
        goUp(dialog);
        break;
    case IDOK:
        takePath(dialog);
        EndDialog(dialog, IDOK);
        break;
    case IDCANCEL:
        EndDialog(dialog, IDCANCEL);
        break;
    }
}

}   // namespace

void fillFileList(HWND list, const wchar_t *folder, bool clear)
{
    if (clear)
        emptyList(list);
    addNameColumn(list);
    attachImages(list);
    SendMessageW(list, WM_SETREDRAW, FALSE, 0);
    try {
        addEntries(list, folder);
    } catch (...) {
        writeLog("** Exception fillFileList **");
    }
    SendMessageW(list, LVM_SORTITEMS, 0, reinterpret_cast<LPARAM>(compareKeys));
    SendMessageW(list, WM_SETREDRAW, TRUE, 0);
}

INT_PTR CALLBACK FindFileProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        initialise(dialog, lParam != 0);
        return TRUE;
    case WM_SIZE:
        layOut(dialog, 0, 1);
        return TRUE;
    case WM_SETTINGCHANGE:
        layOut(dialog, wParam, 0);
        return TRUE;
    case WM_NOTIFY:
        notified(dialog, reinterpret_cast<const NMHDR *>(lParam));
        return TRUE;
    case WM_COMMAND:
        commanded(dialog, LOWORD(wParam));
        return TRUE;
    case WM_DESTROY:
        release(dialog);
        return TRUE;
    }
    return dialogColours(message, wParam);
}

void showFindFile(HWND owner, bool wantsFolder)
{
    showDialog(owner, IDD_FIND_FILE, FindFileProc, wantsFolder);
}
