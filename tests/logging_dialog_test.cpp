#include "logging_dialog.h"

#include <functional>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "modal_dialog.h"
#include "page_window.h"
#include "shell_values.h"
#include "test_phone.h"
#include "user_settings.h"

namespace {

constexpr int basic = 1432, detailed = 1434, signal = 1435;

struct LoggingPhone : TestPhone {
    LoggingPhone()
    {
        restartProgram();
        getAppPath();
        removeFile(L"\\Program Files\\Kelvane\\Kelvane.log");
        storeNumber(L"loggingOption", 77);
        backgroundBrush = CreateSolidBrush(RGB(220, 220, 230));
    }
    ~LoggingPhone()
    {
        SimClearFaults();
        DeleteObject(backgroundBrush);
        backgroundBrush = nullptr;
        restartProgram();
    }
};

void show(const std::function<void(HWND dialog)> &script)
{
    CHECK(runModal([] { showLoggingDialog(nullptr); }, script));
}

void setBox(HWND dialog, int box, bool checked)
{
    SendDlgItemMessageW(dialog, box, BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
}

bool isChecked(HWND dialog, int box)
{
    return SendDlgItemMessageW(dialog, box, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void choose(bool basicBox, bool detailedBox, bool signalBox)
{
    show([=](HWND dialog) {
        setBox(dialog, basic, basicBox);
        setBox(dialog, detailed, detailedBox);
        setBox(dialog, signal, signalBox);
        SendMessageW(dialog, WM_COMMAND, IDOK, 0);
    });
}

}   // namespace

TEST_CASE("each box shows its bit of the logging option")
{
    LoggingPhone phone;
    for (DWORD option = 0; option < 32; ++option) {
        userSettings.loggingOption = option;
        bool shown[3] = {};
        show([&](HWND dialog) {
            shown[0] = isChecked(dialog, basic);
            shown[1] = isChecked(dialog, detailed);
            shown[2] = isChecked(dialog, signal);
        });
        CAPTURE(option);
        CHECK(shown[0] == ((option & 1) != 0));
        CHECK(shown[1] == ((option & 4) != 0));
        CHECK(shown[2] == ((option & 8) != 0));
        CHECK(userSettings.loggingOption == option);
    }
    CHECK(storedNumber(L"loggingOption") == 77);
}

TEST_CASE("bits that have no box are shown by none, outlive Cancel and go with OK")
{
    LoggingPhone phone;
    for (const DWORD option : {0x100u, 0x80000000u, 0xFFFFFFF2u}) {
        CAPTURE(option);
        storeNumber(L"loggingOption", 77);
        userSettings.loggingOption = option;
        bool anyBox = true;
        show([&](HWND dialog) {
            anyBox = isChecked(dialog, basic) || isChecked(dialog, detailed) || isChecked(dialog, signal);
            SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        });
        CHECK(!anyBox);
        CHECK(userSettings.loggingOption == option);
        CHECK(storedNumber(L"loggingOption") == 77);
        show([](HWND dialog) { SendMessageW(dialog, WM_COMMAND, IDOK, 0); });
        CHECK(userSettings.loggingOption == 0);
        CHECK(storedNumber(L"loggingOption") == 0);
    }
}

TEST_CASE("OK stores the chosen bits at once, and basic logging with any other")
{
    LoggingPhone phone;
    struct {
        bool basicBox, detailedBox, signalBox;
        DWORD option;
    } const choices[] = {
        {false, false, false, 0}, {true, false, false, 1}, {false, true, false, 5}, {true, true, false, 5},
        {false, false, true, 9},  {true, false, true, 9},  {false, true, true, 13}, {true, true, true, 13},
    };
    for (const auto &each : choices) {
        userSettings.loggingOption = 2;
        choose(each.basicBox, each.detailedBox, each.signalBox);
        CAPTURE(each.option);
        CHECK(userSettings.loggingOption == each.option);
        CHECK(storedValue(L"loggingOption").type == REG_DWORD);
        CHECK(storedNumber(L"loggingOption") == each.option);
    }
}

TEST_CASE("Cancel changes nothing")
{
    LoggingPhone phone;
    userSettings.loggingOption = 5;
    show([](HWND dialog) {
        setBox(dialog, basic, false);
        setBox(dialog, signal, true);
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    });
    CHECK(userSettings.loggingOption == 5);
    CHECK(storedNumber(L"loggingOption") == 77);
}

TEST_CASE("a box by itself neither stores nor closes")
{
    LoggingPhone phone;
    bool open = false;
    show([&](HWND dialog) {
        clickControl(dialog, detailed);
        open = IsWindowVisible(dialog) && isChecked(dialog, detailed);
    });
    CHECK(open);
    CHECK(userSettings.loggingOption == 0);
}

TEST_CASE("title, boxes and buttons are in the chosen language")
{
    LoggingPhone phone;
    phone.writeLanguageFile(
        L"DE", {L"Deutsch", L"0=Gut", L"1=Abbrechen", L"236=Protokolle", L"362=Einfach", L"363=Signal!", L"364=Genau"});
    userSettings.lang = 1;
    std::vector<std::wstring> texts;
    show([&](HWND dialog) {
        texts = {windowText(dialog),         controlText(dialog, IDOK),     controlText(dialog, IDCANCEL),
                 controlText(dialog, basic), controlText(dialog, detailed), controlText(dialog, signal)};
    });
    CHECK(texts == std::vector<std::wstring>{L"Protokolle", L"Gut", L"Abbrechen", L"Einfach", L"Genau", L"Signal!"});
}

TEST_CASE("the ground of the dialog and of its boxes is the pages', their text has none of its own")
{
    LoggingPhone phone;
    LRESULT answers[3] = {};
    int modes[3] = {};
    show([&](HWND dialog) {
        const HDC dc = GetDC(nullptr);
        int index = 0;
        for (const UINT message : {WM_CTLCOLORDLG, WM_CTLCOLORSTATIC, WM_CTLCOLORBTN}) {
            SetBkMode(dc, OPAQUE);
            answers[index] =
                SendMessageW(dialog, message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(dialog));
            modes[index++] = GetBkMode(dc);
        }
        ReleaseDC(nullptr, dc);
    });
    for (int index = 0; index < 3; ++index) {
        CHECK(answers[index] == reinterpret_cast<LRESULT>(backgroundBrush));
        CHECK(modes[index] == TRANSPARENT);
    }
}

TEST_CASE("an option that cannot be stored counts all the same")
{
    LoggingPhone phone;
    SimOrderFault(L"registry", 0, L"write:loggingOption", FALSE);
    choose(true, true, false);
    CHECK(userSettings.loggingOption == 5);
    CHECK(storedNumber(L"loggingOption") == 77);
    SimClearFaults();
    SimOrderFault(L"registry", 0, L"write:loggingOption", TRUE);
    choose(true, false, true);
    SimClearFaults();
    CHECK(userSettings.loggingOption == 9);
    CHECK(phone.log() == std::vector<std::string>{"** Exception showLoggingDialog **"});
    CHECK(SimLiveKeys() == 0);
}
