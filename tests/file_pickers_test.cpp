#include "file_pickers.h"

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "find_file.h"
#include "intercept.h"
#include "language.h"
#include "modal_dialog.h"
#include "page_window.h"
#include "picker_library.h"
#include "resource.h"
#include "shell_values.h"
#include "test_phone.h"
#include "text.h"
#include "user_settings.h"

IMPORTED(GetOpenFileNameW);
IMPORTED(GetProcAddressW);

namespace {

// A phone on which the program has just been started, with picker libraries whose user cancels.
struct PickerPhone : TestPhone {
    explicit PickerPhone(const std::vector<std::string> &libraries = {})
    {
        restartProgram();
        getAppPath();
        copyText(findFileFolder, L"\\");
        for (const std::string &library : libraries)
            install(library, library);
        cancel();
        SetEnvironmentVariableW(L"KV_PICKER_ASKED", nullptr);
    }
    ~PickerPhone() { mainWindow = nullptr; }

    void install(const std::string &library, const std::string &as) const
    {
        writeFile((L"\\Windows\\" + widen(as) + L".dll").c_str(), pickerLibrary(library));
    }
    void choose(const std::wstring &path) const { SetEnvironmentVariableW(L"KV_PICKER_ANSWER", path.c_str()); }
    void cancel() const { SetEnvironmentVariableW(L"KV_PICKER_ANSWER", nullptr); }
};

// What the last picker was asked with; empty when none was.
std::wstring asked()
{
    wchar_t text[1024] = L"";
    GetEnvironmentVariableW(L"KV_PICKER_ASKED", text, 1024);
    return text;
}

constexpr int field = 4711;

// The dialog that asks, and the edit control the path is for.
class AskingDialog {
public:
    AskingDialog()
    {
        dialog = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 240, 320, nullptr, nullptr, appInstance, nullptr);
        CreateWindowExW(0, L"Edit", L"as before", WS_CHILD, 0, 0, 200, 20, dialog,
                        reinterpret_cast<HMENU>(static_cast<INT_PTR>(field)), appInstance, nullptr);
    }
    ~AskingDialog() { DestroyWindow(dialog); }
    AskingDialog(const AskingDialog &) = delete;
    AskingDialog &operator=(const AskingDialog &) = delete;

    bool pick(const PickRequest &request) const { return pickFile(dialog, field, request); }
    std::wstring text() const { return controlText(dialog, field); }
    HWND handle() const { return dialog; }

private:
    HWND dialog;
};

constexpr PickRequest folderRequest = {nullptr, 0x400804, true};
constexpr PickRequest fileRequest = {L"Exe\0*.exe\0All files\0*.*\0", 0x1804, false};

OPENFILENAMEW recordFor(wchar_t *path, DWORD capacity)
{
    OPENFILENAMEW record = {};
    record.lStructSize = openFileRecordSize;
    record.lpstrFile = path;
    record.nMaxFile = capacity;
    record.lpstrTitle = L"Title";
    return record;
}

}   // namespace

// ---- Which picker -------------------------------------------------------------------------------------------------------

TEST_CASE("a picker library is asked with the whole record, a folder or a file")
{
    PickerPhone phone({"tgetfile"});
    mainWindow = reinterpret_cast<HWND>(static_cast<ULONG_PTR>(0x1234));
    AskingDialog dialog;
    dialog.pick(folderRequest);
    CHECK(asked() == L"tGetFile 0 size 76 owner 4660 filter (none) index 0 file '' of 260 title 'Dismiss Battery' "
                     L"flags 0x400804");
    dialog.pick(fileRequest);
    CHECK(asked() == L"tGetFile 0 size 76 owner 4660 filter Exe|*.exe|All files|*.*| index 0 file '' of 260 title "
                     L"'Dismiss Battery' flags 0x1804");
}

TEST_CASE("the other picker library is asked with the same record")
{
    PickerPhone phone({"gsgetfile"});
    mainWindow = reinterpret_cast<HWND>(static_cast<ULONG_PTR>(0x1234));
    AskingDialog dialog;
    dialog.pick(folderRequest);
    CHECK(asked() ==
          L"gsGetOpenFileName size 76 owner 4660 filter (none) index 0 file '' of 260 title 'Dismiss Battery' "
          L"flags 0x400804");
}

TEST_CASE("the picker's title is a translated text, the one of the battery alarm")
{
    PickerPhone phone({"gsgetfile"});
    AskingDialog dialog;
    userSettings.lang = 1;
    dialog.pick(folderRequest);
    CHECK(asked().find(L"title 'Akkuwarnung beenden'") != std::wstring::npos);
    const std::wstring longest(250, L't');
    phone.writeLanguageFile(L"DE", {L"Test", L"84=" + longest});
    dialog.pick(folderRequest);
    CHECK(asked().find(L"title '" + longest + L"'") != std::wstring::npos);
}

TEST_CASE("of two picker libraries tgetfile.dll is asked")
{
    PickerPhone phone({"tgetfile", "gsgetfile"});
    AskingDialog dialog;
    dialog.pick(fileRequest);
    CHECK(asked().rfind(L"tGetFile 0 ", 0) == 0);
}

TEST_CASE("a chosen path goes to the edit control, and nothing stays behind")
{
    for (const char *library : {"tgetfile", "gsgetfile"}) {
        PickerPhone phone({library});
        AskingDialog dialog;
        phone.choose(L"\\Storage Card\\Backup");
        dialog.pick(folderRequest);
        const int blocks = SimLiveAllocations();
        CHECK(dialog.pick(folderRequest));
        CHECK(dialog.text() == L"\\Storage Card\\Backup");
        CHECK(pickedPath == nullptr);
        CHECK(SimLiveAllocations() == blocks);
        CHECK(GetModuleHandleW((widen(library) + L".dll").c_str()) == nullptr);
    }
}

TEST_CASE("a cancelled picker leaves the edit control as it was, and nothing behind")
{
    for (const char *library : {"tgetfile", "gsgetfile"}) {
        PickerPhone phone({library});
        AskingDialog dialog;
        dialog.pick(folderRequest);
        const int blocks = SimLiveAllocations();
        CHECK_FALSE(dialog.pick(folderRequest));
        CHECK(dialog.text() == L"as before");
        CHECK(pickedPath == nullptr);
        CHECK(SimLiveAllocations() == blocks);
        CHECK(GetModuleHandleW((widen(library) + L".dll").c_str()) == nullptr);
    }
}

TEST_CASE("each pick begins with an empty path")
{
    PickerPhone phone({"tgetfile"});
    AskingDialog dialog;
    phone.choose(L"\\first");
    dialog.pick(folderRequest);
    phone.cancel();
    dialog.pick(folderRequest);
    CHECK(asked().find(L"file '' of 260") != std::wstring::npos);
    CHECK(dialog.text() == L"\\first");
}

TEST_CASE("a path left by somebody is not leaked")
{
    PickerPhone phone({"tgetfile"});
    AskingDialog dialog;
    dialog.pick(folderRequest);
    const int blocks = SimLiveAllocations();
    pickedPath = duplicateText(L"\\left");
    CHECK_FALSE(dialog.pick(folderRequest));
    CHECK(dialog.text() == L"as before");
    CHECK(SimLiveAllocations() == blocks);
}

TEST_CASE("a path of 259 characters is taken whole, one that fills the buffer without an end is ended")
{
    PickerPhone phone({"gsgetfile"});
    AskingDialog dialog;
    for (size_t length : {258, 259, 260, 261, 400}) {
        const std::wstring path = L"\\" + std::wstring(length - 1, L'p');
        phone.choose(path);
        CHECK(dialog.pick(folderRequest));
        INFO(length << " characters");
        CHECK(dialog.text() == path.substr(0, 259));
    }
}

TEST_CASE("a library without the function, or that does not load, chooses nothing")
{
    PickerPhone phone;
    AskingDialog dialog;
    phone.choose(L"\\chosen");
    phone.install("nopicker", "gsgetfile");
    CHECK_FALSE(dialog.pick(folderRequest));
    phone.writeFile(L"\\Windows\\gsgetfile.dll", "not a library");
    CHECK_FALSE(dialog.pick(folderRequest));
    phone.install("nopicker", "tgetfile");
    CHECK_FALSE(dialog.pick(folderRequest));
    CHECK(dialog.text() == L"as before");
    CHECK(phone.journal("file-dialog").empty());
}

TEST_CASE("a tgetfile.dll that does not load is replaced by the system's dialog")
{
    PickerPhone phone;
    AskingDialog dialog;
    phone.writeFile(L"\\Windows\\tgetfile.dll", "not a library");
    phone.set(L"file-dialog", L"answer", L"\\Windows\\tgetfile.dll");
    CHECK(dialog.pick(fileRequest));
    CHECK(dialog.text() == L"\\Windows\\tgetfile.dll");
    CHECK(phone.journal("file-dialog") ==
          std::vector<std::string>{"file-dialog open Dismiss Battery 0x1804 Exe|*.exe|All files|*.* "
                                   "\\Windows\\tgetfile.dll"});
    phone.set(L"file-dialog", L"answer", L"");
    CHECK_FALSE(dialog.pick(fileRequest));
    CHECK(dialog.text() == L"\\Windows\\tgetfile.dll");
}

// ---- Without a library ----------------------------------------------------------------------------------------------------

TEST_CASE("without a picker library the Find File dialog is shown, for a folder or a file")
{
    PickerPhone phone;
    phone.writeFile(L"\\file.txt", "");
    AskingDialog dialog;
    for (const PickRequest &request : {folderRequest, fileRequest}) {
        int entries = 0;
        const bool shown =
            runModal([&] { CHECK_FALSE(dialog.pick(request)); },
                     [&](HWND find) {
                         CHECK(windowText(find) == L"Find File");
                         CHECK(GetWindow(find, GW_OWNER) == dialog.handle());
                         entries = static_cast<int>(SendDlgItemMessageW(find, IDC_FILE_LIST, LVM_GETITEMCOUNT, 0, 0));
                         setControlText(find, 1320, L"\\file.txt");
                     });
        CHECK(shown);
        CHECK(entries == (request.foldersOnly ? 5 : 6));
        CHECK(dialog.text() == L"as before");
        CHECK(pickedPath == nullptr);
    }
    CHECK(asked().empty());
}

TEST_CASE("the path of the Find File dialog goes to the edit control, but an empty one does not")
{
    PickerPhone phone;
    AskingDialog dialog;
    const auto pick = [&](const wchar_t *path) {
        bool picked = false;
        runModal([&] { picked = dialog.pick(folderRequest); },
                 [&](HWND find) {
                     setControlText(find, 1320, path);
                     SendMessageW(find, WM_COMMAND, IDOK, 0);
                 });
        return picked;
    };
    CHECK(pick(L"\\Storage Card"));
    CHECK(dialog.text() == L"\\Storage Card");
    CHECK_FALSE(pick(L""));
    CHECK(dialog.text() == L"\\Storage Card");
    CHECK(pickedPath == nullptr);
}

// ---- While a picker is open -------------------------------------------------------------------------------------------

namespace {

struct PickerUp {
    const AskingDialog *dialog = nullptr;
    int calls = 0;
    bool wasEnabled = true, secondPicked = true, throws = false;
    bool keptPath = false;
};

PickerUp up;

// What happens while a picker, whichever, is in front.
BOOL pickerIsUp(OPENFILENAMEW *request)
{
    ++up.calls;
    up.wasEnabled = IsWindowEnabled(up.dialog->handle());
    wchar_t *const path = pickedPath;
    up.secondPicked = up.dialog->pick(folderRequest);
    up.keptPath = path && pickedPath == path && request->lpstrFile == path;
    if (up.throws)
        throw 1;
    copyInto(request->lpstrFile, request->nMaxFile, L"\\chosen");
    return TRUE;
}

BOOL WINAPI systemLibraryIsUp(int, OPENFILENAMEW *request)
{
    return pickerIsUp(request);
}

BOOL WINAPI otherLibraryIsUp(OPENFILENAMEW *request)
{
    return pickerIsUp(request);
}

FARPROC WINAPI functionOfTest(HMODULE, const wchar_t *name)
{
    void *const function = name == std::wstring(L"tGetFile") ? reinterpret_cast<void *>(systemLibraryIsUp)
                                                             : reinterpret_cast<void *>(otherLibraryIsUp);
    return reinterpret_cast<FARPROC>(function);
}

}   // namespace

TEST_CASE("while a picker is open the dialog is disabled and a second request is refused, without harm to the first")
{
    for (const char *picker : {"tgetfile", "gsgetfile", "the system's"})
        for (bool throws : {false, true}) {
            INFO(std::string(picker) << (throws ? ", throwing" : ""));
            PickerPhone phone;
            const bool isLibrary = picker != std::string("the system's");
            if (isLibrary)
                phone.install(picker, picker);
            else
                phone.writeFile(L"\\Windows\\tgetfile.dll", "not a library");
            AskingDialog dialog;
            up = {};
            up.dialog = &dialog;
            up.throws = throws;
            Intercept<__imp_GetOpenFileNameW> systemDialog(otherLibraryIsUp);
            bool picked;
            if (isLibrary) {
                Intercept<__imp_GetProcAddressW> looking(functionOfTest);
                picked = dialog.pick(fileRequest);
            } else {
                picked = dialog.pick(fileRequest);
            }
            CHECK(up.calls == 1);
            CHECK_FALSE(up.wasEnabled);
            CHECK_FALSE(up.secondPicked);
            CHECK(up.keptPath);
            CHECK(picked == !throws);
            CHECK(dialog.text() == (throws ? L"as before" : L"\\chosen"));
            CHECK(IsWindowEnabled(dialog.handle()));
            CHECK(pickedPath == nullptr);
            up.throws = false;
            Intercept<__imp_GetProcAddressW> looking(functionOfTest);
            CHECK(dialog.pick(fileRequest));   // the refusal ends with the first request
        }
}

TEST_CASE("a picker disables the window that a page is in, and gives the focus back")
{
    PickerPhone phone({"tgetfile"});
    AskingDialog dialog;
    ShowWindow(dialog.handle(), SW_SHOW);
    const HWND page = CreateWindowExW(0, L"Static", L"", WS_CHILD | WS_VISIBLE, 0, 40, 200, 100, dialog.handle(),
                                      nullptr, appInstance, nullptr);
    const HWND edit = CreateWindowExW(0, L"Edit", L"", WS_CHILD | WS_VISIBLE, 0, 0, 200, 20, page,
                                      reinterpret_cast<HMENU>(static_cast<INT_PTR>(field)), appInstance, nullptr);
    SetFocus(edit);
    REQUIRE(GetFocus() == edit);
    up = {};
    up.dialog = &dialog;
    Intercept<__imp_GetProcAddressW> looking(functionOfTest);
    CHECK(pickFile(page, field, fileRequest));
    CHECK_FALSE(up.wasEnabled);
    CHECK(IsWindowEnabled(page));
    CHECK(IsWindowEnabled(dialog.handle()));
    CHECK(GetFocus() == edit);
    CHECK(controlText(page, field) == L"\\chosen");
}

TEST_CASE("a dialog that was disabled before stays so")
{
    PickerPhone phone({"tgetfile"});
    AskingDialog dialog;
    EnableWindow(dialog.handle(), FALSE);
    dialog.pick(fileRequest);
    CHECK_FALSE(asked().empty());
    CHECK_FALSE(IsWindowEnabled(dialog.handle()));
}

TEST_CASE("a second request while Find File is open is refused as well")
{
    PickerPhone phone;
    AskingDialog dialog;
    bool first = false, second = true;
    const bool shown = runModal([&] { first = dialog.pick(folderRequest); },
                                [&](HWND find) {
                                    second = dialog.pick(folderRequest);
                                    setControlText(find, 1320, L"\\Temp");
                                    SendMessageW(find, WM_COMMAND, IDOK, 0);
                                });
    CHECK(shown);
    CHECK(first);
    CHECK_FALSE(second);
    CHECK(dialog.text() == L"\\Temp");
}

// ---- Failures ---------------------------------------------------------------------------------------------------------------

TEST_CASE("without memory nothing is picked, and the log says so")
{
    PickerPhone phone({"tgetfile"});
    AskingDialog dialog;
    phone.choose(L"\\chosen");
    SimOrderFault(L"memory", 1, L"alloc:", FALSE);
    CHECK_FALSE(dialog.pick(folderRequest));
    SimClearFaults();
    CHECK(dialog.text() == L"as before");
    CHECK(phone.log() == std::vector<std::string>{"** Exception pickFile **"});
}

TEST_CASE("an exception while looking for the libraries is logged and leaks nothing")
{
    PickerPhone phone({"tgetfile"});
    AskingDialog dialog;
    phone.choose(L"\\chosen");
    dialog.pick(folderRequest);
    const int blocks = SimLiveAllocations();
    SimOrderFault(L"file", 1, L"attributes:\\windows\\tgetfile.dll", TRUE);
    CHECK_FALSE(dialog.pick(folderRequest));
    SimClearFaults();
    CHECK(phone.log() == std::vector<std::string>{"** Exception pickFile **"});
    CHECK(pickedPath == nullptr);
    CHECK(SimLiveAllocations() == blocks);
}

// ---- getFileName --------------------------------------------------------------------------------------------------------------

TEST_CASE("getFileName hands mode and record to tgetfile.dll and answers what that does")
{
    PickerPhone phone({"tgetfile"});
    wchar_t path[300] = L"\\old";
    OPENFILENAMEW record = recordFor(path, 300);
    for (int mode : {0, 1, 2, -1}) {
        CHECK(getFileName(mode, &record) == FALSE);
        CHECK(asked().rfind(L"tGetFile " + std::to_wstring(mode) + L" size 76 owner 0", 0) == 0);
        CHECK(asked().find(L"file '\\old' of 300 title 'Title'") != std::wstring::npos);
    }
    phone.choose(L"\\new.txt");
    CHECK(getFileName(1, &record) != FALSE);
    CHECK(path == std::wstring(L"\\new.txt"));
    CHECK(GetModuleHandleW(L"tgetfile.dll") == nullptr);
    CHECK(phone.journal("file-dialog").empty());
}

TEST_CASE("getFileName shows the system's dialogs without the library: 0 to open, 1 to save, nothing else")
{
    PickerPhone phone;
    phone.writeFile(L"\\Temp\\there.txt", "");
    phone.set(L"file-dialog", L"answer", L"\\Temp\\there.txt");
    wchar_t path[pickedPathCapacity] = L"";
    OPENFILENAMEW record = recordFor(path, pickedPathCapacity);
    CHECK(getFileName(0, &record) != FALSE);
    CHECK(path == std::wstring(L"\\Temp\\there.txt"));
    phone.set(L"file-dialog", L"answer", L"\\Temp\\new.txt");
    CHECK(getFileName(1, &record) != FALSE);
    CHECK(path == std::wstring(L"\\Temp\\new.txt"));
    for (int mode : {2, -1, 100})
        CHECK(getFileName(mode, &record) == FALSE);
    CHECK(phone.journal("file-dialog") == std::vector<std::string>{"file-dialog open Title 0x0  \\Temp\\there.txt",
                                                                   "file-dialog save Title 0x0  \\Temp\\new.txt"});
}

TEST_CASE("getFileName answers 0 when the library lacks the function, without any dialog")
{
    PickerPhone phone;
    phone.install("nopicker", "tgetfile");
    phone.set(L"file-dialog", L"answer", L"\\Temp\\new.txt");
    wchar_t path[pickedPathCapacity] = L"";
    OPENFILENAMEW record = recordFor(path, pickedPathCapacity);
    CHECK(getFileName(0, &record) == FALSE);
    CHECK(getFileName(1, &record) == FALSE);
    CHECK(phone.journal("file-dialog").empty());
    CHECK(GetModuleHandleW(L"tgetfile.dll") == nullptr);
}
