#include "option_file_editor.h"

#include <functional>
#include <string>

#include "control.h"
#include "control_windows.h"
#include "doctest.h"
#include "environment.h"
#include "modal_dialog.h"
#include "option_file.h"
#include "page_window.h"
#include "shell_values.h"
#include "test_phone.h"
#include "text.h"
#include "user_settings.h"

namespace {

constexpr wchar_t path[] = L"\\Program Files\\Kelvane\\Kelvane_User.cfg";
constexpr wchar_t draft[] = L"\\Program Files\\Kelvane\\Kelvane_User.cfg.tmp";
constexpr char notSaved[] = "** Kelvane_User.cfg not saved **";

constexpr int field = 1097;

// A phone on which the program has been started, so far that dialogs can be shown.
struct EditorPhone : TestPhone {
    explicit EditorPhone(const char *base = "wm6") : TestPhone(base)
    {
        restartProgram();
        getAppPath();
        removeFile(path);
        removeFile(L"\\Program Files\\Kelvane\\Kelvane.log");
        backgroundBrush = CreateSolidBrush(RGB(220, 220, 230));
        SimSetPanel(FALSE);
    }
    ~EditorPhone()
    {
        SimSetPanel(FALSE);
        SimClearFaults();
        DeleteObject(backgroundBrush);
        backgroundBrush = nullptr;
    }
};

void edit(const std::function<void(HWND dialog)> &script)
{
    CHECK(runModal([] { showOptionFileEditor(nullptr); }, script));
}

std::wstring textOf(HWND dialog)
{
    const HWND control = GetDlgItem(dialog, field);
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(control)) + 1, L'\0');
    text.resize(static_cast<size_t>(GetWindowTextW(control, text.data(), static_cast<int>(text.size()))));
    return text;
}

void setText(HWND dialog, const std::wstring &text)
{
    SendMessageW(GetDlgItem(dialog, field), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

void type(HWND dialog, const wchar_t *keys)
{
    for (; *keys; ++keys)
        SendMessageW(GetDlgItem(dialog, field), WM_CHAR, *keys, 0);
}

void ok(HWND dialog)
{
    SendMessageW(dialog, WM_COMMAND, IDOK, 0);
}

bool isReadOnly(HWND dialog)
{
    return (GetWindowLongPtrW(GetDlgItem(dialog, field), GWL_STYLE) & ES_READONLY) != 0;
}

std::string withZero(const std::string &text)
{
    return text + std::string(1, '\0');
}

// The bytes in the file after the content was shown and saved without a change.
std::string afterOk(const EditorPhone &phone, const std::string &content)
{
    phone.writeFile(path, content);
    edit(ok);
    return phone.readFile(path);
}

RECT placeOf(HWND dialog, int id)
{
    RECT area;
    GetWindowRect(GetDlgItem(dialog, id), &area);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT *>(&area), 2);
    return area;
}

}   // namespace

// ---- Showing -----------------------------------------------------------------------------------------------------------

TEST_CASE("the editor shows the file as it is, under its name, ready for typing at its beginning")
{
    EditorPhone phone;
    phone.writeFile(path, "; Kelvane\r\nUseFastGraphics=1\r\n");
    std::wstring text, title;
    HWND focus = nullptr, control = nullptr, okOwner = nullptr, shown = nullptr;
    DWORD first = 9, last = 9;
    bool readOnly = true;
    edit([&](HWND dialog) {
        shown = dialog;
        text = textOf(dialog);
        title = windowText(dialog);
        control = GetDlgItem(dialog, field);
        focus = GetFocus();
        SendMessageW(control, EM_GETSEL, reinterpret_cast<WPARAM>(&first), reinterpret_cast<LPARAM>(&last));
        readOnly = isReadOnly(dialog);
        okOwner = SimOkOwner();
    });
    CHECK(text == L"; Kelvane\r\nUseFastGraphics=1\r\n");
    CHECK(title == L"Kelvane_User.cfg");
    CHECK(focus == control);
    CHECK(first == 0);
    CHECK(last == 0);
    CHECK(!readOnly);
    CHECK(okOwner == shown);
    CHECK(phone.readFile(path) == "; Kelvane\r\nUseFastGraphics=1\r\n");
}

TEST_CASE("the title bar names the file, and the bottom bar has the input panel's button")
{
    EditorPhone phone;
    wchar_t title[64] = L"";
    bool tapped = false;
    edit([&](HWND) {
        SimTitleText(title, 64);
        tapped = SimTapPanelButton();
    });
    CHECK(std::wstring(title) == L"Kelvane_User.cfg");
    CHECK(tapped);
}

TEST_CASE("a missing file gives an empty editor")
{
    EditorPhone phone;
    std::wstring text = L"?";
    bool readOnly = true;
    edit([&](HWND dialog) {
        text = textOf(dialog);
        readOnly = isReadOnly(dialog);
    });
    CHECK(text.empty());
    CHECK(!readOnly);
    CHECK(!phone.fileExists(path));
}

TEST_CASE("a missing folder gives an empty editor, too")
{
    EditorPhone phone;
    freeText(appPath);
    appPath = duplicateText(L"\\No such folder\\Kelvane");
    bool readOnly = true;
    edit([&](HWND dialog) { readOnly = isReadOnly(dialog); });
    CHECK(!readOnly);
}

TEST_CASE("the buttons are in the chosen language")
{
    EditorPhone phone;
    phone.writeLanguageFile(L"DE", {L"Deutsch", L"0=Gut", L"1=Abbrechen"});
    userSettings.lang = 1;
    std::wstring okText, cancelText;
    edit([&](HWND dialog) {
        okText = controlText(dialog, IDOK);
        cancelText = controlText(dialog, IDCANCEL);
    });
    CHECK(okText == L"Gut");
    CHECK(cancelText == L"Abbrechen");
}

TEST_CASE("the text field takes the screen below the buttons, down to the bottom bar or the input panel")
{
    struct {
        const char *phone;
        RECT down, up;
    } const screens[] = {
        {"wm6", {2, 30, 237, 263}, {2, 30, 237, 183}},
        {"vga", {4, 60, 479, 511}, {4, 60, 479, 351}},
        {"landscape", {2, 30, 317, 183}, {2, 30, 317, 103}},
        {"square", {2, 30, 237, 183}, {2, 30, 237, 103}},
    };
    for (const auto &screen : screens) {
        CAPTURE(screen.phone);
        EditorPhone phone(screen.phone);
        RECT down = {}, up = {}, again = {}, button = {};
        edit([&](HWND dialog) {
            down = placeOf(dialog, field);
            button = placeOf(dialog, IDCANCEL);
            SimSetPanel(TRUE);
            waitFor([&] { return placeOf(dialog, field).bottom != down.bottom; });
            up = placeOf(dialog, field);
            SimSetPanel(FALSE);
            waitFor([&] { return placeOf(dialog, field).bottom != up.bottom; });
            again = placeOf(dialog, field);
        });
        CHECK(EqualRect(&down, &screen.down));
        CHECK(EqualRect(&up, &screen.up));
        CHECK(EqualRect(&again, &screen.down));
        CHECK(button.bottom <= down.top);
        CHECK(down.bottom == screen.down.bottom);
        CHECK(up.bottom == screen.up.bottom);
        CHECK(down.right == screen.down.right);
    }
}

TEST_CASE("the ground is the pages' own")
{
    EditorPhone phone;
    COLORREF ground = 0;
    LRESULT answer = 0;
    edit([&](HWND dialog) {
        const HDC screen = GetDC(nullptr);
        const HDC dc = CreateCompatibleDC(screen);
        const HBITMAP bitmap = CreateCompatibleBitmap(screen, 20, 20);
        const HGDIOBJ old = SelectObject(dc, bitmap);
        answer = SendMessageW(dialog, WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc), 0);
        ground = GetPixel(dc, 10, 10);
        SelectObject(dc, old);
        DeleteObject(bitmap);
        DeleteDC(dc);
        ReleaseDC(nullptr, screen);
    });
    CHECK(answer != 0);
    CHECK(ground == RGB(220, 220, 230));
}

// ---- Saving ------------------------------------------------------------------------------------------------------------

TEST_CASE("OK writes the text and one zero byte, and no second one the next time")
{
    EditorPhone phone;
    CHECK(afterOk(phone, ";\r\nusefastgraphics=1\r\n") == withZero(";\r\nusefastgraphics=1\r\n"));
    CHECK(afterOk(phone, phone.readFile(path)) == withZero(";\r\nusefastgraphics=1\r\n"));
    CHECK(!phone.fileExists(draft));
    CHECK(phone.log().empty());
}

TEST_CASE("OK writes what was typed, a new line as carriage return and line feed")
{
    EditorPhone phone;
    phone.writeFile(path, "b=2\r\n");
    edit([](HWND dialog) {
        type(dialog, L"; first\ra=1\r");
        ok(dialog);
    });
    CHECK(phone.readFile(path) == withZero("; first\r\na=1\r\nb=2\r\n"));

    edit([](HWND dialog) {
        setText(dialog, L"");
        ok(dialog);
    });
    CHECK(phone.readFile(path) == withZero(""));
}

TEST_CASE("OK in an empty editor creates a file of one zero byte")
{
    EditorPhone phone;
    edit(ok);
    CHECK(phone.readFile(path) == withZero(""));
}

TEST_CASE("a tap on the title bar's ok button saves as well")
{
    EditorPhone phone;
    edit([](HWND dialog) {
        setText(dialog, L"x");
        SimTapOk();
        waitFor([&] { return !IsWindowVisible(dialog); });
    });
    CHECK(phone.readFile(path) == withZero("x"));
}

TEST_CASE("Cancel writes nothing")
{
    EditorPhone phone;
    const auto changeAndCancel = [](HWND dialog) {
        setText(dialog, L"changed");
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    };
    edit(changeAndCancel);
    CHECK(!phone.fileExists(path));
    phone.writeFile(path, "as it was");
    edit(changeAndCancel);
    CHECK(phone.readFile(path) == "as it was");
}

TEST_CASE("what the field tells while one types neither saves nor closes")
{
    EditorPhone phone;
    bool open = false;
    edit([&](HWND dialog) {
        type(dialog, L"abc");
        SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(field, EN_CHANGE), 0);
        open = IsWindow(dialog) != FALSE;
    });
    CHECK(open);
    CHECK(!phone.fileExists(path));
}

TEST_CASE("the flags are not read again after editing")
{
    EditorPhone phone;
    phone.writeFile(path, ";\r\ni730led=1\r\n");
    getUserConfigSettings();
    edit([](HWND dialog) {
        setText(dialog, L";\r\ni730led=0\r\nusefastgraphics=1\r\n");
        ok(dialog);
    });
    CHECK(optionFlags.i730Led == 1);
    CHECK(optionFlags.useFastGraphics == 0);
    getUserConfigSettings();
    CHECK(optionFlags.i730Led == 0);
    CHECK(optionFlags.useFastGraphics == 1);
}

// ---- Nothing is lost ---------------------------------------------------------------------------------------------------

TEST_CASE("every byte but zero survives being shown and saved, and so do line ends of all kinds")
{
    EditorPhone phone;
    std::string bytes;
    for (int value = 1; value < 256; ++value)
        bytes += static_cast<char>(value);
    for (const std::string &content :
         {bytes, std::string("a\nb\nc"), std::string("a\rb\rc"), std::string("\n\n\r\r\n\n\r"), std::string("a\r\r\nb"),
          std::string("no end of line"), std::string("\r\n"), std::string(" \t ")}) {
        const std::string saved = afterOk(phone, content);
        CHECK((saved == withZero(content)));
    }
}

TEST_CASE("what lies behind a zero byte moves up")
{
    EditorPhone phone;
    CHECK((afterOk(phone, std::string("a=1\r\n\0b=2\r\n\0\0c", 14)) == withZero("a=1\r\nb=2\r\nc")));
    CHECK((afterOk(phone, std::string(50, '\0')) == withZero("")));
}

TEST_CASE("a file beyond what a field takes by itself is shown and saved whole")
{
    EditorPhone phone;
    std::string content;
    for (int line = 0; content.size() < 200000; ++line)
        content += "; line " + std::to_string(line) + "\r\n";
    phone.writeFile(path, content);
    edit([](HWND dialog) {
        type(dialog, L"x");   // there is room for more, too
        ok(dialog);
    });
    CHECK((phone.readFile(path) == withZero("x" + content)));
}

TEST_CASE("a file that is there but cannot be read whole is not edited and not overwritten")
{
    struct {
        const wchar_t *kind, *call;
        int time;
    } const faults[] = {
        {L"file", L"open:\\Program Files\\Kelvane\\Kelvane_User.cfg", 1},
        {L"file", L"size:\\Program Files\\Kelvane\\Kelvane_User.cfg", 1},
        {L"file", L"read:\\Program Files\\Kelvane\\Kelvane_User.cfg", 1},
    };
    for (const BOOL raise : {FALSE, TRUE})
        for (const auto &fault : faults) {
            CAPTURE(narrow(fault.call));
            CAPTURE(raise);
            EditorPhone phone;
            phone.writeFile(path, "precious\r\n");
            SimOrderFault(fault.kind, fault.time, fault.call, raise);
            bool readOnly = false;
            std::wstring text = L"?";
            edit([&](HWND dialog) {
                SimClearFaults();
                readOnly = isReadOnly(dialog);
                text = textOf(dialog);
                type(dialog, L"new");
                ok(dialog);
            });
            CHECK(readOnly);
            CHECK(text.empty());
            CHECK(phone.readFile(path) == "precious\r\n");
            CHECK(phone.log().size() == (raise ? 1u : 0u));
        }
}

TEST_CASE("a file that the system cannot tell the presence of is edited only when it can be read whole")
{
    struct {
        const wchar_t *alsoFailing;   // besides the question for its attributes
        bool raise, editable;
    } const cases[] = {
        {nullptr, false, true},
        {L"open:\\Program Files\\Kelvane\\Kelvane_User.cfg", false, false},
        {L"read:\\Program Files\\Kelvane\\Kelvane_User.cfg", false, false},
        {nullptr, true, false},
    };
    for (const auto &each : cases) {
        CAPTURE(each.raise);
        CAPTURE(each.editable);
        EditorPhone phone;
        phone.writeFile(path, "precious\r\n");
        SimOrderFault(L"file", 0, L"attributes:\\Program Files\\Kelvane\\Kelvane_User.cfg", each.raise);
        if (each.alsoFailing)
            SimOrderFault(L"file", 0, each.alsoFailing, FALSE);
        bool readOnly = false;
        edit([&](HWND dialog) {
            SimClearFaults();
            readOnly = isReadOnly(dialog);
            type(dialog, L"new");
            ok(dialog);
        });
        CHECK(readOnly != each.editable);
        CHECK((phone.readFile(path) == (each.editable ? withZero("newprecious\r\n") : "precious\r\n")));
    }
}

TEST_CASE("with no memory for the file it is not edited and not overwritten")
{
    EditorPhone phone;
    phone.writeFile(path, "precious\r\n" + std::string(100000, 'x'));
    static bool readOnly;
    readOnly = false;
    SimOrderFault(L"memory", 0, L"alloc:", FALSE);
    const std::function<void(HWND)> script = [](HWND dialog) {
        readOnly = isReadOnly(dialog);
        ok(dialog);
        SimClearFaults();
    };
    edit(script);
    SimClearFaults();
    CHECK(readOnly);
    CHECK(phone.readFile(path).size() == 100010);
}

TEST_CASE("on a full store or in a protected folder the file stays as it was, and the log tells")
{
    struct {
        const wchar_t *key, *value;
    } const stores[] = {{L"full", L"1"}, {L"readonly", path}, {L"readonly", draft}};
    for (const auto &store : stores) {
        CAPTURE(narrow(store.key));
        EditorPhone phone;
        phone.writeFile(path, "precious\r\n");
        bool closed = false;
        edit([&](HWND dialog) {
            setText(dialog, L"new");
            phone.set(L"storage", store.key, store.value);
            ok(dialog);
            phone.set(L"storage", store.key, L"");
            closed = !IsWindow(dialog) || !IsWindowVisible(dialog);
        });
        CHECK(closed);
        CHECK(phone.readFile(path) == "precious\r\n");
        CHECK(!phone.fileExists(draft));
        if (std::wstring(store.key) != L"full")   // there is no room for the line, either
            CHECK(phone.log() == std::vector<std::string>{notSaved});
    }
}

TEST_CASE("a fault while saving closes the dialog, is logged and leaves the old content")
{
    EditorPhone phone;
    phone.writeFile(path, "precious\r\n");
    edit([](HWND dialog) {
        setText(dialog, L"new");
        SimOrderFault(L"file", 1, L"open:\\Program Files\\Kelvane\\Kelvane_User.cfg.tmp", TRUE);
        ok(dialog);
    });
    CHECK(phone.readFile(path) == "precious\r\n");
    CHECK(phone.log() == std::vector<std::string>{"** Exception saveOptionFile **"});
}

TEST_CASE("with no memory for the text it is not saved")
{
    EditorPhone phone;
    phone.writeFile(path, "precious\r\n");
    const std::function<void(HWND)> script = [](HWND dialog) {
        SetDlgItemTextW(dialog, field, L"new");
        SimOrderFault(L"memory", 1, L"alloc:", FALSE);
        ok(dialog);
        SimClearFaults();
    };
    edit(script);
    CHECK(phone.readFile(path) == "precious\r\n");
}

TEST_CASE("before the install directory is known the editor is empty and saves nothing")
{
    EditorPhone phone;
    phone.writeFile(path, "precious\r\n");
    freeText(appPath);
    std::wstring text = L"?";
    edit([&](HWND dialog) {
        text = textOf(dialog);
        ok(dialog);
    });
    CHECK(text.empty());
    CHECK(phone.readFile(path) == "precious\r\n");
}

TEST_CASE("opening and closing the editor leaves nothing behind")
{
    EditorPhone phone;
    phone.writeFile(path, ";\r\n");
    edit(ok);
    const int blocks = SimLiveAllocations();
    const int files = SimLiveFiles();
    for (int time = 0; time < 5; ++time)
        edit(ok);
    const int blocksNow = SimLiveAllocations();
    const int filesNow = SimLiveFiles();
    CHECK(blocksNow == blocks);
    CHECK(filesNow == files);
}
