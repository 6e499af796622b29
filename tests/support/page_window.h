// The program's windows under test: single pages, and the whole Options dialog with its sheet.
#pragma once

#include <functional>
#include <string>

#include "phone.h"

// One page, made from its template and procedure as the sheet makes it, shown at the phone's page size.
class PageWindow {
public:
    PageWindow(int dialogTemplate, DLGPROC procedure);
    ~PageWindow();
    PageWindow(const PageWindow &) = delete;
    PageWindow &operator=(const PageWindow &) = delete;

    HWND handle() const { return page; }
    HWND control(int id) const;   // fails the test when there is none
    std::wstring text(int id) const;
    std::wstring entry(int combo, int index) const;   // of a drop-down list
    int entryCount(int combo) const;
    int selection(int combo) const;   // -1 for none
    void select(int combo, int index) const;
    bool isChecked(int id) const;
    void click(int id) const;

    // What the sheet sends on OK and on Cancel; returns the procedure's answer.
    INT_PTR apply() const;
    INT_PTR reset() const;

    // Any notification of the sheet, with the identifier it ends the Options dialog with.
    INT_PTR notify(UINT code, UINT_PTR id) const;

private:
    HWND parent;
    HWND page;
};

// Brings what the program keeps for the length of a process back to what it is at start: records, flags, install
// directory, screen resolution. For tests that live through several starts in one process; call it once the phone is there.
void restartProgram();

// Runs script while a dialog without any behaviour stands for the Options dialog; returns what it was ended with,
// notEnded when script has left it open.
constexpr INT_PTR notEnded = -99;
INT_PTR runInOptionsDialog(const std::function<void()> &script);

// Runs OptionsDialogProc's dialog as the main window does. Once the sheet stands, script is called with it; after the
// script the sheet is cancelled unless the script has ended it (tapOk, cancel).
void runOptions(const std::function<void(HWND sheet)> &script);

// Starts the program as the phone does, with script as above; returns what WinMain returns.
int runProgram(const wchar_t *commandLine, const std::function<void(HWND sheet)> &script);

void tapOk(HWND sheet);
void cancelSheet(HWND sheet);

// Selects a page of the sheet (0 Display .. 5 About) and returns its window.
HWND showPage(HWND sheet, int index);
