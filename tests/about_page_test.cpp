#include "about_page.h"

#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "intercept.h"
#include "modal_dialog.h"
#include "page_window.h"
#include "shell_values.h"
#include "system_font.h"
#include "test_phone.h"
#include "user_settings.h"

IMPORTED(DrawTextW);
IMPORTED(GetDlgItemTextW);

namespace {

constexpr int versionLabel = 1156, mailIcon = 1157, optionFileIcon = 1098, optionFileText = 1158, loggingIcon = 1193,
              loggingText = 1159;

// A phone with nothing in its log, on which the program has been started so far that pages can be shown.
struct AboutPhone : TestPhone {
    explicit AboutPhone(const char *base = "wm6") : TestPhone(base)
    {
        restartProgram();
        getAppPath();
        removeFile(L"\\Program Files\\Kelvane\\Kelvane.log");
        backgroundBrush = CreateSolidBrush(RGB(220, 220, 230));
        linkFont = createSystemFont(-11, FW_SEMIBOLD, true);
    }
    ~AboutPhone()
    {
        SimClearFaults();
        DeleteObject(linkFont);
        DeleteObject(backgroundBrush);
        linkFont = nullptr;
        backgroundBrush = nullptr;
        restartProgram();
    }

    size_t mailsSent() const { return journal("shell").size(); }
};

struct AboutPage : PageWindow {
    explicit AboutPage(int dialogTemplate = 120) : PageWindow(dialogTemplate, AboutPageProc) {}

    void tap(int x, int y) const
    {
        SendMessageW(handle(), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, y));
        SendMessageW(handle(), WM_LBUTTONUP, 0, MAKELPARAM(x, y));
    }

    void command(int id, int code = STN_CLICKED) const
    {
        SendMessageW(handle(), WM_COMMAND, MAKEWPARAM(id, code), reinterpret_cast<LPARAM>(control(id)));
    }
};

// The title of the dialog that a command opens; it is cancelled.
std::wstring dialogOpenedBy(const AboutPage &page, int id)
{
    std::wstring title = L"(none)";
    runModal([&] { page.command(id); }, [&](HWND dialog) { title = windowText(dialog); });
    return title;
}

void chooseLogging(const AboutPage &page, int box)
{
    CHECK(runModal([&] { page.command(loggingIcon); },
                   [=](HWND dialog) {
                       for (int each : {1432, 1434, 1435})
                           SendDlgItemMessageW(dialog, each, BM_SETCHECK, each == box ? BST_CHECKED : BST_UNCHECKED, 0);
                       SendMessageW(dialog, WM_COMMAND, IDOK, 0);
                   }));
}

}   // namespace

TEST_CASE("the version follows the product's name, in both templates")
{
    AboutPhone phone;
    CHECK(AboutPage(120).text(versionLabel) == L"Kelvane Settings 1.60.2 (#160)");
    CHECK(AboutPage(194).text(versionLabel) == L"Kelvane Settings 1.60.2 (#160)");
}

TEST_CASE("a product name in the label is kept up to 100 characters")
{
    AboutPhone phone;
    static size_t length;
    // A label of that length, as a translated template might have it.
    Intercept<__imp_GetDlgItemTextW> reading([](HWND, int, LPWSTR text, int capacity) -> UINT {
        const size_t room = static_cast<size_t>(capacity) - 1;
        const std::wstring label(length < room ? length : room, L'k');
        wcscpy(text, label.c_str());
        return static_cast<UINT>(label.size());
    });
    for (const size_t each : {0, 99, 100, 101, 300}) {
        length = each;
        AboutPage page;
        CHECK(windowText(page.control(versionLabel)) == std::wstring(each < 100 ? each : 100, L'k') + L"1.60.2 (#160)");
    }
}

TEST_CASE("the logging text is in the chosen language")
{
    AboutPhone phone;
    CHECK(AboutPage().text(loggingText) == L"Logging");
    phone.writeLanguageFile(L"DE", {L"Deutsch", L"240=Protokoll"});
    userSettings.lang = 1;
    CHECK(AboutPage().text(loggingText) == L"Protokoll");
}

TEST_CASE("a tap on the address sends a mail, one beside it does not")
{
    struct Tap {
        int x, y;
        bool mails;
    };
    constexpr Tap taps[] = {
        {43, 89, true},   {43, 107, true},  {239, 98, true},   {42, 98, false},   {41, 98, false}, {0, 98, false},
        {100, 88, false}, {100, 87, false}, {100, 108, false}, {100, 109, false}, {-5, 98, false}, {100, -3, false},
    };
    for (const char *base : {"wm6", "vga"}) {
        AboutPhone phone(base);
        const int scale = std::string(base) == "vga" ? 2 : 1;
        AboutPage page;
        size_t sent = 0;
        for (const Tap &tap : taps) {
            // At twice the resolution the pixel beside the edge lies half as far away.
            const int x = tap.x == 43 ? 42 * scale + 1 : tap.x * scale;
            const int y = tap.y == 89 ? 88 * scale + 1 : tap.y == 107 ? 108 * scale - 1 : tap.y * scale;
            page.tap(x, y);
            sent += tap.mails;
            CAPTURE(x);
            CAPTURE(y);
            CHECK(phone.mailsSent() == sent);
        }
    }
}

TEST_CASE("the mail has the version label's text of that moment, and so has the log")
{
    AboutPhone phone;
    AboutPage page;
    SetDlgItemTextW(page.handle(), versionLabel, L"Something else 2");
    page.command(mailIcon);
    REQUIRE(phone.mailsSent() == 1);
    CHECK(phone.journal("shell")[0] == "shell \\Windows\\tmail.exe -to \"support@tessaryn.example\" -body \"ID:   Anna "
                                       "Keller\\r\\nPPC:  Example Phone "
                                       "600, v5.2\\r\\nVersion: Something else 2\"");
    chooseLogging(page, 1432);
    REQUIRE(phone.log().size() == 7);
    CHECK(phone.log()[4] == "Version: Something else 2");
}

TEST_CASE("the address is drawn in its place, in the link font, on the page's ground")
{
    for (const char *base : {"wm6", "vga"}) {
        AboutPhone phone(base);
        const int scale = std::string(base) == "vga" ? 2 : 1;
        static RECT place;
        static HGDIOBJ font;
        static int mode;
        static COLORREF ground;
        static std::wstring text;
        text.clear();
        AboutPage page;
        Intercept<__imp_DrawTextW> drawing([](HDC dc, LPCWSTR drawn, int length, LPRECT area, UINT format) -> int {
            if (wcschr(drawn, L'@')) {
                text = drawn;
                place = *area;
                font = GetCurrentObject(dc, OBJ_FONT);
                mode = GetBkMode(dc);
                ground = GetBkColor(dc);
            }
            return Intercept<__imp_DrawTextW>::real(dc, drawn, length, area, format);
        });
        SendMessageW(page.handle(), WM_PAINT, 0, 0);
        CAPTURE(base);
        CHECK(text == L"support@tessaryn.example");
        CHECK(place.left == 43 * scale);
        CHECK(place.top == 90 * scale);
        CHECK(font == linkFont);
        CHECK(mode == OPAQUE);
        CHECK(ground == RGB(220, 220, 230));
    }
}

TEST_CASE("icons and their texts open the option file and the Logging dialog")
{
    AboutPhone phone;
    AboutPage page;
    CHECK(dialogOpenedBy(page, optionFileIcon) == L"Kelvane_User.cfg");
    CHECK(dialogOpenedBy(page, optionFileText) == L"Kelvane_User.cfg");
    CHECK(dialogOpenedBy(page, loggingIcon) == L"Logging Options");
    CHECK(dialogOpenedBy(page, loggingText) == L"Logging Options");
}

TEST_CASE("the second tap of two opens and sends nothing")
{
    AboutPhone phone;
    AboutPage page;
    for (int id : {mailIcon, optionFileIcon, optionFileText, loggingIcon, loggingText})
        CHECK_FALSE(runModal([&] { page.command(id, STN_DBLCLK); }));
    CHECK(phone.mailsSent() == 0);
}

TEST_CASE("keys reach and tap the icons")
{
    AboutPhone phone;
    AboutPage page;
    for (int id : {mailIcon, optionFileIcon, loggingIcon})
        CHECK((GetWindowLongPtrW(page.control(id), GWL_STYLE) & WS_TABSTOP) != 0);
    SendMessageW(page.control(mailIcon), WM_KEYDOWN, VK_RETURN, 0);
    CHECK(phone.mailsSent() == 1);
    std::wstring title;
    runModal([&] { SendMessageW(page.control(loggingIcon), WM_KEYDOWN, VK_SPACE, 0); },
             [&](HWND dialog) { title = windowText(dialog); });
    CHECK(title == L"Logging Options");
}

TEST_CASE("with any logging switched on, closing the Logging dialog describes the device in the log")
{
    AboutPhone phone;
    AboutPage page;
    chooseLogging(page, 1435);
    CHECK(storedNumber(L"loggingOption") == 9);
    std::vector<std::string> log = phone.log();
    REQUIRE(log.size() == 7);
    CHECK(log[0] == "Device : PocketPC");
    CHECK(log[4] == "Version: Kelvane Settings 1.60.2 (#160)");
    CHECK(log[6] == "Log-level: Signal");

    chooseLogging(page, 1434);
    CHECK(storedNumber(L"loggingOption") == 5);
    log = phone.log();
    REQUIRE(log.size() == 14);
    CHECK(log[13] == "Log-level: Detail");

    // Also when the dialog was cancelled.
    CHECK(dialogOpenedBy(page, loggingIcon) == L"Logging Options");
    CHECK(phone.log().size() == 21);

    chooseLogging(page, 0);
    CHECK(storedNumber(L"loggingOption") == 0);
    CHECK(phone.log().size() == 21);
}

TEST_CASE("with only high bits of the logging option set nothing is logged but the warning")
{
    AboutPhone phone;
    AboutPage page;
    for (const DWORD option : {0x100u, 0x80000000u, 0xFFFFFF00u}) {
        userSettings.loggingOption = option;
        CHECK(dialogOpenedBy(page, loggingIcon) == L"Logging Options");
        CHECK(userSettings.loggingOption == option);
    }
    CHECK(phone.log().empty());
    makeKey(L"SOFTWARE\\Apps\\Cyberbank", HKEY_LOCAL_MACHINE);
    CHECK(dialogOpenedBy(page, loggingIcon) == L"Logging Options");
    CHECK(phone.log() == std::vector<std::string>{"** Warning: Cyberbank POZ device - Not supported!"});
}

TEST_CASE("the focus goes back to the page after the Logging dialog, however it ends")
{
    AboutPhone phone;
    AboutPage page;
    for (const int command : {IDOK, IDCANCEL}) {
        SetFocus(page.control(loggingIcon));
        HWND inside = nullptr;
        CHECK(runModal([&] { page.command(loggingIcon); },
                       [&](HWND dialog) {
                           inside = GetFocus();
                           SendMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(command), 0);
                       }));
        const HWND focus = GetFocus();
        CHECK(inside != nullptr);
        CHECK((focus == page.handle() || IsChild(page.handle(), focus)));
    }
}

TEST_CASE("help, apply and reset are those of every page")
{
    AboutPhone phone;
    AboutPage page;
    SendMessageW(page.handle(), WM_HELP, 0, 0);
    CHECK(phone.journal("process") == std::vector<std::string>{"process peghelp.exe Kelvane.htm#options-user"});
    INT_PTR ended = runInOptionsDialog([&] { page.apply(); });
    CHECK(ended == 0);
    ended = runInOptionsDialog([&] { page.reset(); });
    CHECK(ended == 0);
}

TEST_CASE("pages that come and go leave no icon behind")
{
    AboutPhone phone;
    {
        AboutPage first;
    }
    const int gdi = SimLiveGdi();
    const int blocks = SimLiveAllocations();
    for (int time = 0; time < 10; ++time)
        AboutPage page;
    const int gdiNow = SimLiveGdi();
    const int blocksNow = SimLiveAllocations();
    CHECK(gdiNow == gdi);
    CHECK(blocksNow == blocks);
}
