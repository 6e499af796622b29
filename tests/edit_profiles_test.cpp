#include "edit_profiles.h"

#include "control_windows.h"
#include "doctest.h"
#include "environment.h"
#include "modal_dialog.h"
#include "page_window.h"
#include "shell_values.h"
#include "test_phone.h"
#include "text.h"
#include "user_settings.h"

namespace {

// A phone on which the program has just been started.
struct StartedPhone : TestPhone {
    explicit StartedPhone(const char *base = "wm6") : TestPhone(base)
    {
        restartProgram();
        getAppPath();
        copyText(userSettings.profileNames[0], L"Home");
    }
};

bool edit(const std::function<void(HWND dialog)> &script)
{
    return runModal([] { showEditProfiles(nullptr); }, script);
}

bool isChecked(HWND dialog, int id)
{
    return SendDlgItemMessageW(dialog, id, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void check(HWND dialog, int id, bool checked)
{
    if (isChecked(dialog, id) != checked)
        clickControl(dialog, id);
}

constexpr const wchar_t *fixedNames[] = {L"Home", L"Work", L"Meeting", L"Night", L"Loud", L"Car", L"Flight"};

}   // namespace

// ---- Opening ----------------------------------------------------------------------------------------------------------

TEST_CASE("Edit Profiles fills the screen of every phone, with an ok button and the input panel lowered")
{
    struct Screen {
        const char *phone;
        RECT area;
    };
    for (const Screen &screen : {Screen{"wm6", {0, 26, 240, 294}}, Screen{"landscape", {0, 26, 320, 214}},
                                 Screen{"square", {0, 26, 240, 214}}, Screen{"vga", {0, 52, 480, 588}}}) {
        StartedPhone phone(screen.phone);
        SimSetPanel(TRUE);
        const bool shown = edit([&](HWND dialog) {
            RECT area;
            GetWindowRect(dialog, &area);
            INFO(std::string(screen.phone));
            CHECK(EqualRect(&area, &screen.area));
            CHECK(windowText(dialog) == L"Edit Profiles");
            CHECK(SimOkOwner() == dialog);
        });
        CHECK(shown);
        const std::vector<std::string> panel = phone.journal("panel");
        CHECK(panel == std::vector<std::string>{"panel on", "panel off"});
    }
}

TEST_CASE("a profile is checked when its bit is set, and the first one always")
{
    StartedPhone phone;
    for (DWORD mask : {0u, 1u, 2u, 9u, 64u, 126u, 127u, 0xFFFFFF80u}) {
        userSettings.activeProfiles = mask;
        edit([&](HWND dialog) {
            INFO("mask " << mask);
            CHECK(isChecked(dialog, 1343));
            for (int profile = 1; profile < 7; ++profile)
                CHECK(isChecked(dialog, 1343 + profile) == (((mask >> profile) & 1) != 0));
        });
        CHECK(userSettings.activeProfiles == mask);
    }
}

TEST_CASE("the first profile cannot be taken out of use, every other one can")
{
    StartedPhone phone;
    edit([](HWND dialog) {
        CHECK_FALSE(IsWindowEnabled(GetDlgItem(dialog, 1343)));
        for (int id = 1344; id <= 1349; ++id)
            CHECK(IsWindowEnabled(GetDlgItem(dialog, id)));
    });
}

TEST_CASE("the fields hold the present names and the check boxes the fixed ones")
{
    StartedPhone phone;
    constexpr const wchar_t *names[] = {L"At home", L"", L"Café & Bar", L"4", L"ｎｉｇｈｔ", L"a b", L"Flug"};
    for (int i = 0; i < 7; ++i)
        copyText(userSettings.profileNames[i], names[i]);
    for (DWORD language : {0, 1}) {
        userSettings.lang = language;
        edit([&](HWND dialog) {
            for (int i = 0; i < 7; ++i) {
                CHECK(controlText(dialog, 1350 + i) == names[i]);
                CHECK(controlText(dialog, 1343 + i) == fixedNames[i]);
            }
        });
    }
}

TEST_CASE("a name as long as a translation can be is shown whole")
{
    StartedPhone phone;
    const std::wstring longest(260, L'n');
    copyText(userSettings.profileNames[6], longest.c_str());
    edit([&](HWND dialog) { CHECK(controlText(dialog, 1356) == longest); });
    CHECK(userSettings.profileNames[6] == longest);
}

TEST_CASE("as many characters can be typed into a name as are taken over")
{
    StartedPhone phone;
    edit([](HWND dialog) {
        for (int id = 1350; id <= 1356; ++id) {
            INFO("field " << id);
            CHECK(SendDlgItemMessageW(dialog, id, EM_GETLIMITTEXT, 0, 0) == 49);
            setControlText(dialog, id, L"");
            for (int i = 0; i < 50; ++i)
                SendDlgItemMessageW(dialog, id, WM_CHAR, L'x', 0);
            CHECK(controlText(dialog, id) == std::wstring(49, L'x'));
        }
        clickControl(dialog, 1);
    });
    CHECK(userSettings.profileNames[6] == std::wstring(49, L'x'));
}

TEST_CASE("the labels of Edit Profiles are translated")
{
    struct Label {
        int control;
        const wchar_t *english;
        const wchar_t *german;
    };
    constexpr Label labels[] = {
        {1, L"OK", L"OK"},
        {2, L"Cancel", L"Abbrechen"},
        {1368, L"Profile visible", L"Profil sichtbar"},
        {1369, L"Rename Profile", L"Umbenennen"},
        {1376, L"Profile menu as text (not graphic)", L"Profilmenü als Text (nicht als Grafik)"},
    };
    StartedPhone phone;
    edit([&](HWND dialog) {
        for (const Label &label : labels)
            CHECK(controlText(dialog, label.control) == label.english);
    });
    userSettings.lang = 1;
    edit([&](HWND dialog) {
        for (const Label &label : labels)
            CHECK(controlText(dialog, label.control) == label.german);
    });
}

TEST_CASE("any number but 0 shows the menu as text")
{
    StartedPhone phone;
    for (DWORD stored : {0, 1, 2}) {
        userSettings.profAsText = stored;
        edit([&](HWND dialog) { CHECK(isChecked(dialog, 1376) == (stored != 0)); });
        CHECK(userSettings.profAsText == stored);
    }
}

TEST_CASE("Edit Profiles and its texts lie on the pages' ground, its edit fields do not")
{
    StartedPhone phone;
    backgroundBrush = CreateSolidBrush(RGB(220, 220, 230));
    edit([](HWND dialog) {
        const HDC dc = GetDC(dialog);
        for (UINT message : {WM_CTLCOLORDLG, WM_CTLCOLORSTATIC, WM_CTLCOLORBTN}) {
            SetBkMode(dc, OPAQUE);
            const LRESULT answer = SendMessageW(dialog, message, reinterpret_cast<WPARAM>(dc),
                                                reinterpret_cast<LPARAM>(GetDlgItem(dialog, 1368)));
            INFO("message " << message);
            CHECK(answer == reinterpret_cast<LRESULT>(backgroundBrush));
            CHECK(GetBkMode(dc) == TRANSPARENT);
        }
        CHECK(SendMessageW(dialog, WM_CTLCOLOREDIT, reinterpret_cast<WPARAM>(dc),
                           reinterpret_cast<LPARAM>(GetDlgItem(dialog, 1350))) !=
              reinterpret_cast<LRESULT>(backgroundBrush));
        ReleaseDC(dialog, dc);
    });
    DeleteObject(backgroundBrush);
    backgroundBrush = nullptr;
}

// ---- OK -----------------------------------------------------------------------------------------------------------------

TEST_CASE("OK takes each checked profile into use, and the first one always")
{
    StartedPhone phone;
    for (int checked = 0; checked < 7; ++checked) {
        userSettings.activeProfiles = 0x7E;
        edit([&](HWND dialog) {
            for (int profile = 1; profile < 7; ++profile)
                check(dialog, 1343 + profile, profile == checked);
            clickControl(dialog, 1);
        });
        CHECK(userSettings.activeProfiles == (1u | (1u << checked)));
    }
}

TEST_CASE("unchecking every profile leaves the first in use")
{
    StartedPhone phone;
    userSettings.activeProfiles = 127;
    edit([](HWND dialog) {
        for (int id = 1344; id <= 1349; ++id)
            check(dialog, id, false);
        clickControl(dialog, 1);
    });
    CHECK(userSettings.activeProfiles == 1);
}

TEST_CASE("OK clears bits that belong to no profile")
{
    StartedPhone phone;
    userSettings.activeProfiles = 0xFFFFFFFF;
    edit([](HWND dialog) { clickControl(dialog, 1); });
    CHECK(userSettings.activeProfiles == 127);
}

TEST_CASE("OK takes the first 49 characters of each name")
{
    StartedPhone phone;
    for (size_t length : {0, 1, 48, 49, 50, 60, 300}) {
        std::wstring typed[7];
        edit([&](HWND dialog) {
            for (int i = 0; i < 7; ++i) {
                for (size_t k = 0; k < length; ++k)
                    typed[i] += static_cast<wchar_t>(L'a' + (i + k) % 26);
                setControlText(dialog, 1350 + i, typed[i]);
            }
            clickControl(dialog, 1);
        });
        for (int i = 0; i < 7; ++i) {
            INFO(length << " characters, profile " << i);
            CHECK(userSettings.profileNames[i] == typed[i].substr(0, 49));
        }
    }
}

TEST_CASE("OK stores whether the menu is text")
{
    StartedPhone phone;
    for (bool asText : {true, false, true}) {
        edit([&](HWND dialog) {
            check(dialog, 1376, asText);
            clickControl(dialog, 1);
        });
        CHECK(userSettings.profAsText == (asText ? 1u : 0u));
    }
}

TEST_CASE("the ok button of the title bar and the enter key do what OK does")
{
    StartedPhone phone;
    edit([](HWND dialog) {
        setControlText(dialog, 1351, L"by the title bar");
        CHECK(SimTapOk());
        CHECK(waitFor([&] { return !IsWindow(dialog) || !IsWindowVisible(dialog); }));
    });
    CHECK(userSettings.profileNames[1] == std::wstring(L"by the title bar"));
    edit([](HWND dialog) {
        setControlText(dialog, 1351, L"by the key");
        CHECK(HIWORD(SendMessageW(dialog, DM_GETDEFID, 0, 0)) == DC_HASDEFID);
        CHECK(LOWORD(SendMessageW(dialog, DM_GETDEFID, 0, 0)) == IDOK);
    });
    CHECK(userSettings.profileNames[1] == std::wstring(L"by the title bar"));
}

TEST_CASE("Edit Profiles writes nothing itself")
{
    StartedPhone phone;
    const std::string before = dumpKey(kelvaneKey);
    edit([](HWND dialog) {
        setControlText(dialog, 1350, L"Other");
        check(dialog, 1349, true);
        clickControl(dialog, 1);
    });
    CHECK(userSettings.profileNames[0] == std::wstring(L"Other"));
    CHECK(dumpKey(kelvaneKey) == before);
}

// ---- Cancel ---------------------------------------------------------------------------------------------------------------

TEST_CASE("Cancel changes nothing")
{
    StartedPhone phone;
    userSettings.activeProfiles = 6;
    edit([](HWND dialog) {
        for (int id = 1344; id <= 1349; ++id)
            clickControl(dialog, id);
        for (int id = 1350; id <= 1356; ++id)
            setControlText(dialog, id, L"Other");
        clickControl(dialog, 1376);
        clickControl(dialog, 2);
        CHECK_FALSE(IsWindowVisible(dialog));
    });
    CHECK(userSettings.activeProfiles == 6);
    CHECK(userSettings.profAsText == 0);
    for (int i = 0; i < 7; ++i)
        CHECK(userSettings.profileNames[i] == std::wstring(fixedNames[i]));
}
