#include "file_pickers.h"

#include "environment.h"
#include "find_file.h"
#include "language.h"
#include "log.h"
#include "shell_values.h"
#include "text.h"

wchar_t *pickedPath;

namespace {

constexpr wchar_t systemPickerFile[] = L"\\windows\\tgetfile.dll";
constexpr wchar_t systemPicker[] = L"tgetfile.dll";
constexpr wchar_t otherPickerFile[] = L"\\windows\\gsgetfile.dll";
constexpr wchar_t otherPicker[] = L"gsgetfile.dll";

// "Dismiss Battery". The pickers have carried this title ever since and keep it.
constexpr int titleText = 84;

bool isPicking;   // pickedPath belongs to that request

enum PickMode { openMode = 0, saveMode = 1 };

using SystemPicker = BOOL(WINAPI *)(int mode, OPENFILENAMEW *request);
using OtherPicker = BOOL(WINAPI *)(OPENFILENAMEW *request);

// A library, loaded for the length of a scope.
class Library {
public:
    explicit Library(const wchar_t *name) : module(LoadLibraryW(name)) {}
    ~Library()
    {
        if (module)
            FreeLibrary(module);
    }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    bool isLoaded() const { return module != nullptr; }

    // Null when the library has no such function.
    template <typename Function> Function function(const wchar_t *name) const
    {
        return module ? reinterpret_cast<Function>(reinterpret_cast<void *>(GetProcAddressW(module, name))) : nullptr;
    }

private:
    HMODULE module;
};

HWND topLevelWindow(HWND window)
{
    while (GetWindowLongPtrW(window, GWL_STYLE) & WS_CHILD)
        window = GetParent(window);
    return window;
}

// A library is told of the main window, which the program does not have yet while its pages are up; so it cannot keep the
// asking dialog from being used meanwhile. This does, for the length of a scope, and leads back to where the user was.
class DisabledWindow {
public:
    explicit DisabledWindow(HWND disabled)
        : window(disabled), focus(GetFocus()), wasDisabled(EnableWindow(disabled, FALSE) != FALSE)
    {
    }
    ~DisabledWindow()
    {
        if (wasDisabled)
            return;
        EnableWindow(window, TRUE);
        SetForegroundWindow(window);
        if (focus)
            SetFocus(focus);
    }
    DisabledWindow(const DisabledWindow &) = delete;
    DisabledWindow &operator=(const DisabledWindow &) = delete;

private:
    const HWND window, focus;
    const bool wasDisabled;
};

BOOL askOtherPicker(OPENFILENAMEW *request)
{
    const Library library(otherPicker);
    const auto ask = library.function<OtherPicker>(L"gsGetOpenFileName");
    return ask ? ask(request) : FALSE;
}

OPENFILENAMEW pickerRecord(const PickRequest &request, const wchar_t *title)
{
    OPENFILENAMEW record = {};
    record.lStructSize = openFileRecordSize;
    record.hwndOwner = mainWindow;
    record.lpstrFilter = request.filter;
    record.lpstrFile = pickedPath;
    record.nMaxFile = pickedPathCapacity;
    record.lpstrTitle = title;
    record.Flags = request.flags;
    return record;
}

// Returns whether the user has chosen a path, which pickedPath then holds.
bool askLibrary(HWND dialog, const PickRequest &request, bool hasSystemPicker)
{
    wchar_t title[translationCapacity];   // the text is the picker's for longer than until the next text
    copyText(title, getLanguageText(titleText, nullptr));
    OPENFILENAMEW record = pickerRecord(request, title);
    const DisabledWindow disabled(topLevelWindow(dialog));
    const BOOL chosen = hasSystemPicker ? getFileName(openMode, &record) : askOtherPicker(&record);
    pickedPath[pickedPathCapacity - 1] = 0;   // whatever a library makes of the room it is given
    return chosen != FALSE;
}

bool askFindFile(HWND owner, bool foldersOnly)
{
    showFindFile(owner, foldersOnly);
    return pickedPath[0] != 0;
}

bool askForPath(HWND owner, const PickRequest &request)
{
    const bool hasSystemPicker = pathExists(systemPickerFile);
    if (hasSystemPicker || pathExists(otherPickerFile))
        return askLibrary(owner, request, hasSystemPicker);
    return askFindFile(owner, request.foldersOnly);
}

}   // namespace

void holdPickedPath()
{
    if (!pickedPath)
        pickedPath = new wchar_t[pickedPathCapacity]();
}

bool pickFile(HWND dialog, int editControl, const PickRequest &request)
{
    if (isPicking)
        return false;
    isPicking = true;
    bool picked = false;
    try {
        freeText(pickedPath);
        holdPickedPath();
        picked = askForPath(dialog, request);
        if (picked)
            SetDlgItemTextW(dialog, editControl, pickedPath);
    } catch (...) {
        writeLog("** Exception pickFile **");
    }
    freeText(pickedPath);
    isPicking = false;
    return picked;
}

BOOL getFileName(int mode, OPENFILENAMEW *request)
{
    const Library library(systemPicker);
    if (library.isLoaded()) {
        const auto ask = library.function<SystemPicker>(L"tGetFile");
        return ask ? ask(mode, request) : FALSE;
    }
    switch (mode) {
    case openMode:
        return GetOpenFileNameW(request);
    case saveMode:
        return GetSaveFileNameW(request);
    }
    return FALSE;
}
