#include "profile_editor.h"

#include <algorithm>
#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "extra_settings.h"
#include "page_window.h"
#include "profile_record.h"
#include "resource.h"
#include "test_phone.h"
#include "user_settings.h"

namespace {

constexpr DWORD german = 1;
constexpr int profile = 5;   // one that the phone does not begin with
constexpr wchar_t profileKey[] = L"Software\\Tessaryn\\Kelvane\\5";

// A phone on which the program has just been started.
struct StartedPhone : TestPhone {
    explicit StartedPhone(const char *base = "wm6") : TestPhone(base)
    {
        restartProgram();
        getAppPath();
    }
    ~StartedPhone()
    {
        freeExtraSettings();
        extraSettings = ExtraSettings{};
    }
};

INT_PTR CALLBACK quietProc(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

int rowOf(int setting)
{
    for (int row = 0; row < profileSettingCount; ++row)
        if (profileSettings[row].setting == setting)
            return row;
    FAIL("no row for setting " << setting);
    return -1;
}

const std::vector<std::wstring> soundFiles = {L"alarm1.wav", L"ring1.wav", L"tune.mid"};

// The page's template without the page's behaviour, its sound lists filled as the sound catalogue fills them.
struct EditorPage : PageWindow {
    EditorPage() : PageWindow(IDD_LIST_PAGE, quietProc)
    {
        for (int list : {IDC_ALARM_SOUND, IDC_RING_TONE}) {
            for (const wchar_t *name : {L"<system>", L"<silent>", L"<vibrate>"})
                SendDlgItemMessageW(handle(), list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(name));
            for (const std::wstring &file : soundFiles)
                SendDlgItemMessageW(handle(), list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(file.c_str()));
        }
    }

    void fill(int setting) const { fillProfileEditor(handle(), profile, rowOf(setting)); }
    void save(int setting) const { saveControl(handle(), profile, rowOf(setting)); }

    void type(int id, const std::wstring &text) const { SetDlgItemTextW(handle(), id, text.c_str()); }

    std::string entries(int list) const
    {
        std::string all;
        for (int i = 0; i < entryCount(list); ++i)
            all += narrow(entry(list, i)) + "|";
        return all;
    }

    std::string shown(int id) const { return narrow(text(id)); }
};

void storeSetting(const std::wstring &name, DWORD value)
{
    storeNumber(name.c_str(), value, profileKey);
}

void storeSetting(const std::wstring &name, const std::wstring &text)
{
    storeText(name.c_str(), text, profileKey);
}

DWORD settingNumber(const std::wstring &name)
{
    return storedNumber(name.c_str(), profileKey);
}

std::string settingText(const std::wstring &name)
{
    return narrow(storedText(name.c_str(), profileKey));
}

bool isStored(const std::wstring &name)
{
    return storedValue(name.c_str(), profileKey).present;
}

}   // namespace

// ---- Which controls are shown -----------------------------------------------------------------------------------------

namespace {

constexpr int editorControls[] = {1289, 1290, 1291, 1292, 1293, 1294, 1297, 1326, 1327,
                                  1328, 1295, 1310, 1325, 1355, 1072, 1261, 1074};

std::vector<int> visibleControls(const PageWindow &page)
{
    std::vector<int> visible;
    for (int id : editorControls)
        if (GetWindowLongW(page.control(id), GWL_STYLE) & WS_VISIBLE)
            visible.push_back(id);
    std::sort(visible.begin(), visible.end());
    return visible;
}

// By the settings' numbers; a heading has no controls.
std::vector<int> expectedControls(int setting)
{
    switch (setting) {
    case -1:
        return {};
    case 8:
        return {1290, 1297};
    case 4:
    case 5:
    case 6:
    case 7:
    case 36:
    case 39:
        return {1290, 1293, 1326, 1327, 1328};
    case 30:
    case 31:
    case 32:
    case 33:
    case 37:
    case 40:
        return {1072, 1074, 1261};
    case 11:
    case 22:
    case 23:
    case 27:
    case 35:
        return {1295};
    case 15:
        return {1291, 1325};
    case 18:
        return {1355};
    }
    return {1289};
}

std::string listed(const std::vector<int> &controls)
{
    std::string text;
    for (int id : controls)
        text += std::to_string(id) + " ";
    return text;
}

}   // namespace

TEST_CASE("every row shows just the controls of its kind, and its description")
{
    StartedPhone phone;
    EditorPage page;
    for (int i = 0; i < profileSettingCount; ++i) {
        const ProfileSettingDescriptor &row = profileSettings[i];
        INFO("row " << i << ", setting " << row.setting);
        fillProfileEditor(page.handle(), profile, i);
        CHECK(listed(visibleControls(page)) == listed(expectedControls(row.setting)));
        const int text = row.setting < 0 ? row.label : row.description;
        CHECK(page.shown(1287) == narrow(getLanguageText(text, nullptr)));
    }
    CHECK(phone.log().empty());
}

TEST_CASE("a heading shows its label for a description")
{
    StartedPhone phone;
    EditorPage page;
    fillProfileEditor(page.handle(), profile, 1);
    CHECK(page.shown(1287) == "Volume for all standard alarms");
    fillProfileEditor(page.handle(), profile, 0);
    CHECK(page.shown(1287) == "Volumes");
    fillProfileEditor(page.handle(), profile, 36);
    CHECK(page.shown(1287) == "General Settings");
    userSettings.lang = german;
    fillProfileEditor(page.handle(), profile, 36);
    CHECK(page.shown(1287) != "General Settings");
}

TEST_CASE("a row that does not exist hides the editor and nothing else")
{
    StartedPhone phone;
    EditorPage page;
    for (int row : {-1, 49, 4711}) {
        fillProfileEditor(page.handle(), profile, 7);
        fillProfileEditor(page.handle(), profile, row);
        CHECK(visibleControls(page).empty());
    }
}

TEST_CASE("hiding the editor leaves list and description alone and gives the sound lists their height")
{
    struct Screen {
        const char *phone;
        DWORD landscape;
        int height;
    };
    for (const Screen &screen : {Screen{"wm6", 0, 180}, Screen{"landscape", 1, 120}, Screen{"vga", 0, 360}}) {
        StartedPhone phone(screen.phone);
        isLandscape = screen.landscape;
        EditorPage page;
        fillProfileEditor(page.handle(), profile, 6);
        hideProfileEditor(page.handle());
        CHECK(visibleControls(page).empty());
        for (int id : {1266, 1287})
            CHECK((GetWindowLongW(page.control(id), GWL_STYLE) & WS_VISIBLE));
        for (int id : {1293, 1297}) {
            RECT closed, dropped;
            GetWindowRect(page.control(id), &closed);
            SendMessageW(page.control(id), CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(&dropped));
            INFO("list " << id << " of " << std::string(screen.phone));
            CHECK(closed.bottom - closed.top + dropped.bottom - dropped.top == screen.height);
        }
    }
}

// ---- Numbers ----------------------------------------------------------------------------------------------------------

namespace {

struct NumberChoice {
    int setting;
    const char *entries;
    std::vector<DWORD> stored;
};

const char steps[] = "Leave Unchanged|0 %|10 %|20 %|40 %|60 %|80 %|100 %|";
const char fineSteps[] = "Leave Unchanged|0 %|10 %|20 %|30 %|40 %|50 %|60 %|70 %|80 %|90 %|100 %|";
const char timeOuts[] =
    " 0 sec (always on)|10 sec|30 sec| 1 min| 2 min| 3 min| 5 min|10 min|15 min|20 min|30 min|60 min|";

const NumberChoice numberChoices[] = {
    {0, steps, {99, 0, 10, 20, 40, 60, 80, 100}},
    {3, "Leave Unchanged|0 %|10 %|20 %|40 %|60 %|80 %|100 %|Escalating Volume|", {99, 0, 10, 20, 40, 60, 80, 100, 98}},
    {21, fineSteps, {99, 0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100}},
    {19, timeOuts, {0, 10, 30, 60, 120, 180, 300, 600, 900, 1200, 1800, 3600}},
    {9,
     "<system>|Ring|Increasing Ring|Ring once|Vibrate|Vibrate and Ring|Vibrate, then Ring|None|"
     "Increasing Ring And Vibrate|Fast Vibrate And Flash|Fast Vibrate, Flash And Ring|"
     "Vibrate and ring without pause|Fast Vibrate, Flash And Increasing Ring|Vibrate 3 times then ring|",
     {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}},
    {13, "None|1 rings|2 rings|3 rings|4 rings|5 rings|6 rings|", {0, 1, 2, 3, 4, 5, 6}},
    {10, "Leave Unchanged|Off|On|Cycle radio (off/on)|", {0, 1, 2, 3}},
    {12, "Leave Unchanged|Off|On|Discoverable|Activate on call|", {0, 1, 2, 3, 4}},
    {24, "Leave Unchanged|Off|On|", {0, 1, 2}},
    {29, "Leave Unchanged|Off|On|", {0, 1, 2}},
    {41, "Leave Unchanged|Auto|GSM/GPRS|UMTS (3G)|", {0, 1, 2, 3}},
    {34, "Leave Unchanged|Portrait|Landscape|Landscape Right|", {0, 1, 2, 3}},
    {28, "Leave Unchanged|Deactivate| 5 min|10 min|15 min|35 min|65 min|95 min|", {0, 99, 5, 10, 15, 35, 65, 95}},
};

}   // namespace

TEST_CASE("a choice among numbers offers its entries and stores the chosen one, which is chosen again")
{
    StartedPhone phone;
    EditorPage page;
    for (const NumberChoice &choice : numberChoices) {
        const std::wstring name = std::to_wstring(choice.setting);
        for (int entry = static_cast<int>(choice.stored.size()) - 1; entry >= 0; --entry) {
            INFO("setting " << choice.setting << ", entry " << entry);
            page.fill(choice.setting);
            page.select(1289, entry);
            page.save(choice.setting);
            CHECK(settingNumber(name) == choice.stored[entry]);
            page.fill(choice.setting);
            CHECK(page.selection(1289) == entry);
        }
        CHECK(page.entries(1289) == choice.entries);
    }
    CHECK(phone.log().empty());
}

TEST_CASE("the ring types carry 99 and then 0 to 12")
{
    StartedPhone phone;
    EditorPage page;
    page.fill(9);
    CHECK(page.entryCount(1289) == 14);
    for (int i = 0; i < 14; ++i)
        CHECK(SendMessageW(page.control(1289), CB_GETITEMDATA, i, 0) == (i ? i - 1 : 99));
}

TEST_CASE("a number that is not offered selects nothing, and leaving the row keeps it")
{
    StartedPhone phone;
    EditorPage page;
    for (DWORD stored : {30, 98, 101}) {
        storeSetting(L"0", stored);
        page.fill(0);
        CHECK(page.selection(1289) == -1);
        page.save(0);
        CHECK(settingNumber(L"0") == stored);
    }
    page.fill(0);
    page.select(1289, 7);
    page.save(0);
    CHECK(settingNumber(L"0") == 100);
}

TEST_CASE("a time-out of 90 seconds is chosen as a minute, one of 45 as 30 seconds, one of none as always on")
{
    StartedPhone phone;
    EditorPage page;
    struct Row {
        DWORD stored;
        int entry;
        DWORD saved;
    };
    for (const Row &row : {Row{90, 3, 60}, Row{45, 2, 30}, Row{0, 0, 0}, Row{7200, 2, 30}}) {
        storeSetting(L"16", row.stored);
        page.fill(16);
        CHECK(page.selection(1289) == row.entry);
        page.save(16);
        CHECK(settingNumber(L"16") == row.saved);
    }
}

TEST_CASE("with the Widcomm stack the last entry of Bluetooth is the fourth and stored as 4")
{
    StartedPhone phone("landscape");
    EditorPage page;
    storeSetting(L"12", 3);
    page.fill(12);
    CHECK(page.entries(1289) == "Leave Unchanged|Off|On|Activate on call|");
    CHECK(page.selection(1289) == 3);
    page.save(12);
    CHECK(settingNumber(L"12") == 4);
}

// ---- Switches ---------------------------------------------------------------------------------------------------------

TEST_CASE("a switch's box shows what is stored and stores what it shows")
{
    StartedPhone phone;
    EditorPage page;
    for (int setting : {11, 22, 23, 27, 35}) {
        const std::wstring name = std::to_wstring(setting);
        page.fill(setting);
        CHECK_FALSE(page.isChecked(1295));
        page.click(1295);
        page.save(setting);
        CHECK(settingNumber(name) == 1);
        page.fill(setting);
        CHECK(page.isChecked(1295));
        page.save(setting);
        CHECK(settingNumber(name) == 1);
        page.click(1295);
        page.save(setting);
        CHECK(settingNumber(name) == 0);
    }
}

// ---- Sounds -----------------------------------------------------------------------------------------------------------

TEST_CASE("each alarm sound offers its own special names in front of the files, in whatever order the rows are edited")
{
    StartedPhone phone;
    EditorPage page;
    const std::string files = "alarm1.wav|ring1.wav|tune.mid|";
    for (int setting : {5, 4, 36, 39, 4, 4, 7, 6, 8, 8, 4}) {
        INFO("setting " << setting);
        page.fill(setting);
        if (setting == 8)
            CHECK(page.entries(1297) == "<system>|" + files);
        else
            CHECK(page.entries(1293) ==
                  (setting == 4 ? "<system>|<silent>|<vibrate>|" : "<silent>|<vibrate>|") + files);
    }
}

TEST_CASE("special names that are missing come back in front of the files and in their order")
{
    StartedPhone phone;
    EditorPage page;
    for (const char *missing : {"<system>", "<silent>", "<vibrate>", "all"}) {
        for (int i = 2; i >= 0; --i)
            if (missing == std::string("all") || narrow(page.entry(1293, i)) == missing)
                SendMessageW(page.control(1293), CB_DELETESTRING, i, 0);
        page.fill(4);
        INFO("without " << std::string(missing));
        CHECK(page.entries(1293) == "<system>|<silent>|<vibrate>|alarm1.wav|ring1.wav|tune.mid|");
    }
}

TEST_CASE("a stored sound is chosen, one that is not in the list is shown all the same, and both are kept")
{
    StartedPhone phone;
    EditorPage page;
    for (const wchar_t *sound : {L"ring1.wav", L"<vibrate>", L"<silent>", L"gone.wav", L"Ring1.WAV", L"<system>"}) {
        for (int setting : {4, 5, 8}) {
            const std::wstring name = std::to_wstring(setting);
            INFO("setting " << setting << ", sound " << narrow(sound));
            storeSetting(name, sound);
            page.fill(setting);
            CHECK(page.shown(setting == 8 ? 1297 : 1293) == narrow(sound));
            page.save(setting);
            CHECK(settingText(name) == narrow(sound));
        }
    }
    storeSetting(L"4", L"ring1.wav");
    page.fill(4);
    CHECK(page.selection(1293) == 4);
}

TEST_CASE("without a stored sound the first one is chosen, and stored when the row is left")
{
    StartedPhone phone;
    EditorPage page;
    struct Row {
        int setting, list;
        const char *first;
    };
    for (const Row &row : {Row{4, 1293, "<system>"}, Row{5, 1293, "<silent>"}, Row{8, 1297, "<system>"}}) {
        const std::wstring name = std::to_wstring(row.setting);
        for (bool emptyText : {false, true}) {
            removeKey(profileKey);
            storeSetting(L"7", L"tune.mid");
            if (emptyText)
                storeSetting(name, L"");
            page.fill(7);
            page.fill(row.setting);
            CHECK(page.selection(row.list) == 0);
            CHECK(page.shown(row.list) == row.first);
            page.save(row.setting);
            CHECK(settingText(name) == row.first);
        }
    }
}

TEST_CASE("a sound can be typed up to the longest path there is")
{
    StartedPhone phone;
    EditorPage page;
    for (int setting : {4, 8}) {
        const HWND combo = page.control(setting == 8 ? 1297 : 1293);
        page.fill(setting);
        SetWindowTextW(combo, L"");
        const HWND field = GetWindow(combo, GW_CHILD);
        CHECK(SendMessageW(field, EM_GETLIMITTEXT, 0, 0) == 259);
        for (int i = 0; i < 260; ++i)
            SendMessageW(field, WM_CHAR, L'x', 0);
        page.save(setting);
        CHECK(settingText(std::to_wstring(setting)) == std::string(259, 'x'));
    }
}

TEST_CASE("a sound that is chosen, or typed, is stored by its name")
{
    StartedPhone phone;
    EditorPage page;
    page.fill(6);
    page.select(1293, 3);
    page.save(6);
    CHECK(settingText(L"6") == "ring1.wav");
    page.fill(6);
    page.type(1293, L"my own.mp3");
    page.save(6);
    CHECK(settingText(L"6") == "my own.mp3");
    page.fill(8);
    page.select(1297, 3);
    page.save(8);
    CHECK(settingText(L"8") == "tune.mid");
    page.fill(6);
    page.type(1293, L"");
    page.save(6);
    CHECK(settingText(L"6").empty());
}

TEST_CASE("a value that is no sound leaves the list blank and is kept until a sound is chosen")
{
    StartedPhone phone;
    EditorPage page;
    storeSetting(L"5", L"ring1.wav");
    storeSetting(L"4", 12);
    page.fill(5);
    page.fill(4);
    CHECK(page.shown(1293).empty());
    CHECK(page.selection(1293) == -1);
    page.save(4);
    CHECK(settingNumber(L"4") == 12);
    page.select(1293, 1);
    page.save(4);
    CHECK(settingText(L"4") == "<silent>");
}

TEST_CASE("an empty sound list does not keep the sound of another row")
{
    StartedPhone phone;
    EditorPage page;
    storeSetting(L"8", L"ring1.wav");
    page.fill(8);
    SendMessageW(page.control(1297), CB_RESETCONTENT, 0, 0);
    removeValue(L"8", profileKey);
    page.fill(8);
    CHECK(page.shown(1297) == "<system>");
}

TEST_CASE("the boxes of an alarm show and store its flags")
{
    StartedPhone phone;
    EditorPage page;
    constexpr int boxes[] = {1327, 1326, 1328};
    const wchar_t *const suffixes[] = {L"_1", L"_11", L"_111"};
    for (int setting : {4, 39}) {
        const std::wstring name = std::to_wstring(setting);
        storeSetting(name, L"ring1.wav");
        for (int changed = 0; changed < 3; ++changed) {
            page.fill(setting);
            page.click(boxes[changed]);
            page.save(setting);
            for (int i = 0; i < 3; ++i) {
                INFO("setting " << setting << ", box " << boxes[i]);
                CHECK(settingNumber(name + suffixes[i]) == (i <= changed ? 1u : 0u));
            }
            page.fill(setting);
            for (int i = 0; i < 3; ++i)
                CHECK(page.isChecked(boxes[i]) == (i <= changed));
        }
        page.click(1326);
        page.save(setting);
        CHECK(settingNumber(name + L"_11") == 0);
    }
    page.fill(5);
    for (int box : boxes)
        CHECK_FALSE(page.isChecked(box));   // not those of the row before
}

TEST_CASE("the ring tone's flags are not shown, but written as they were")
{
    StartedPhone phone;
    EditorPage page;
    storeSetting(L"4_1", 1);
    storeSetting(L"8", L"ring1.wav");
    storeSetting(L"8_11", 1);
    page.fill(4);
    page.fill(8);
    page.save(8);
    CHECK(settingNumber(L"8_1") == 0);
    CHECK(settingNumber(L"8_11") == 1);
    CHECK(settingNumber(L"8_111") == 0);
}

// ---- Repeats ----------------------------------------------------------------------------------------------------------

TEST_CASE("a repeat offers and stores interval and count")
{
    StartedPhone phone;
    EditorPage page;
    userSettings.soundRepeatOff = 4;
    page.fill(30);
    CHECK(page.entries(1072) == "Default|No alarm|20 sec|30 sec| 1 min| 2 min| 3 min| 4 min| 5 min|10 min|15 min|"
                                "30 min|Escalate 5 min|Escalate 10 min|");
    CHECK(page.entries(1074) == "1 x|2 x|3 x|4 x|5 x|7 x|10 x|15 x|20 x|30 x|Endless|");
    CHECK(page.selection(1072) == 0);
    CHECK(page.selection(1074) == 4);
    page.select(1072, 13);
    page.select(1074, 10);
    page.save(30);
    CHECK(settingNumber(L"30") == 13);
    CHECK(settingNumber(L"30_1") == 10);
    page.fill(31);
    page.fill(30);
    CHECK(page.selection(1072) == 13);
    CHECK(page.selection(1074) == 10);
    page.select(1072, 1);
    page.save(30);
    CHECK(settingNumber(L"30") == 1);
    CHECK(settingNumber(L"30_1") == 0xFFFFFFFF);
    page.fill(30);
    CHECK(page.entryCount(1072) == 14);
    CHECK(page.entryCount(1074) == 11);
    CHECK(page.selection(1074) == 4);
    page.save(30);
    CHECK(settingNumber(L"30_1") == 0xFFFFFFFF);
    CHECK_FALSE(isStored(L"31"));
}

TEST_CASE("an interval that is none of the list's selects nothing and is kept")
{
    StartedPhone phone;
    EditorPage page;
    storeSetting(L"37", 14);
    storeSetting(L"37_1", 3);
    page.fill(37);
    CHECK(page.selection(1072) == -1);
    CHECK(page.selection(1074) == 3);
    page.save(37);
    CHECK(settingNumber(L"37") == 14);
    CHECK(settingNumber(L"37_1") == 3);
}

// ---- SIM code and program ---------------------------------------------------------------------------------------------

TEST_CASE("a SIM code is typed, hidden behind stars and kept when it is not touched")
{
    StartedPhone phone;
    EditorPage page;
    page.fill(18);
    CHECK(page.shown(1355).empty());
    CHECK(SendMessageW(page.control(1355), EM_GETLIMITTEXT, 0, 0) == 20);
    page.type(1355, L"1234");
    page.save(18);
    CHECK(settingText(L"18") == "ggkf");
    page.fill(18);
    CHECK(page.shown(1355) == "****");
    page.save(18);
    CHECK(settingText(L"18") == "ggkf");
    page.type(1355, L"");
    page.save(18);
    CHECK(settingText(L"18").empty());
    page.fill(18);
    CHECK(page.shown(1355).empty());
}

TEST_CASE("the field of a SIM code does not show what it holds")
{
    StartedPhone phone;
    EditorPage page;
    CHECK(SendMessageW(page.control(1355), EM_GETPASSWORDCHAR, 0, 0) != 0);
}

TEST_CASE("a program is typed or set by the picker, up to the longest path there is")
{
    StartedPhone phone;
    EditorPage page;
    page.fill(15);
    CHECK(page.shown(1291).empty());
    CHECK(SendMessageW(page.control(1291), EM_GETLIMITTEXT, 0, 0) == 259);
    for (size_t length : {1, 99, 100, 101, 259}) {
        const std::wstring path = L"\\" + std::wstring(length - 1, L'p');
        page.type(1291, path);
        page.save(15);
        CHECK(settingText(L"15") == narrow(path));
        page.fill(10);
        page.fill(15);
        CHECK(page.shown(1291) == narrow(path));
    }
    page.type(1291, L"");
    page.save(15);
    CHECK(settingText(L"15").empty());
}

TEST_CASE("a row of plain text has the program's field without the button")
{
    StartedPhone phone;
    EditorPage page;
    ProfileSettingDescriptor &row = profileSettings[rowOf(15)];
    row.kind = profileText;
    storeSetting(L"15", L"words");
    page.fill(15);
    CHECK(listed(visibleControls(page)) == "1291 ");
    CHECK(page.shown(1291) == "words");
    page.type(1291, L"other words");
    page.save(15);
    CHECK(settingText(L"15") == "other words");
    row.kind = profileProgram;
}

// ---- Choices among texts ----------------------------------------------------------------------------------------------

TEST_CASE("forwarding offers the targets and stores the chosen text")
{
    StartedPhone phone;
    EditorPage page;
    extraSettings.forwardCall = duplicateText(L"Home\x00A7"
                                              L"0123");
    extraSettings.forwardCall2 = duplicateText(L"nobody");
    for (int setting : {25, 26}) {
        const std::wstring name = std::to_wstring(setting);
        page.fill(setting);
        CHECK(page.entries(1289) == narrow(L"Leave Unchanged|Off|Home\x00A7"
                                           L"0123|Home\x00A7"
                                           L"0123 conditional|"));
        CHECK(page.selection(1289) == 0);
        page.save(setting);
        CHECK(settingText(name) == "Leave Unchanged");
        for (int entry = 0; entry < 4; ++entry) {
            page.select(1289, entry);
            page.save(setting);
            CHECK(settingText(name) == narrow(page.entry(1289, entry)));
            page.fill(10);
            page.fill(setting);
            CHECK(page.selection(1289) == entry);
        }
    }
}

TEST_CASE("a target, group or snapshot that is gone selects nothing and stays until another is chosen")
{
    StartedPhone phone;
    EditorPage page;
    for (int setting : {25, 26, 38, 42, 43}) {
        const std::wstring name = std::to_wstring(setting);
        INFO("setting " << setting);
        storeSetting(name, L"Gone");
        page.fill(setting);
        CHECK(page.selection(1289) == -1);
        page.save(setting);
        CHECK(settingText(name) == "Gone");
        page.select(1289, 0);
        page.save(setting);
        CHECK(settingText(name) == (setting < 42 ? "Leave Unchanged" : "None"));
    }
}

TEST_CASE("the custom alarms offer the groups")
{
    StartedPhone phone;
    EditorPage page;
    storeText(L"emailGroups", L"\x00A7"
                              L"Family^0*;^a.wav\x00A7"
                              L"Work^1x;^b.wav\x00A7");
    for (int setting : {42, 43}) {
        page.fill(setting);
        CHECK(page.entries(1289) == "None|Family|Work|");
        CHECK(page.selection(1289) == 0);
        page.select(1289, 2);
        page.save(setting);
        CHECK(settingText(std::to_wstring(setting)) == "Work");
        page.fill(setting);
        CHECK(page.selection(1289) == 2);
    }
}

TEST_CASE("names that differ in nothing but letter case are told apart")
{
    StartedPhone phone;
    EditorPage page;
    storeText(L"emailGroups", L"\x00A7"
                              L"FAMILY^0*;^a.wav\x00A7"
                              L"Family^0*;^a.wav\x00A7"
                              L"Work^1x;^b.wav\x00A7");
    struct Row {
        const wchar_t *stored;
        int selection;
    };
    for (const Row &row : {Row{L"FAMILY", 1}, Row{L"Family", 2}, Row{L"family", -1}, Row{L"work", -1}, Row{L"Work", 3},
                           Row{L"none", -1}, Row{L"None", 0}}) {
        for (int setting : {42, 43}) {
            INFO("setting " << setting << ", stored " << narrow(row.stored));
            storeSetting(std::to_wstring(setting), row.stored);
            page.fill(setting);
            CHECK(page.selection(1289) == row.selection);
            page.save(setting);
            CHECK(settingText(std::to_wstring(setting)) == narrow(row.stored));
        }
    }
    phone.writeFile(L"\\Program Files\\Kelvane\\Abroad.net", "snapshot");
    extraSettings.forwardCall = duplicateText(L"Mum\x00A7+4912");
    for (int setting : {25, 26, 38}) {
        const std::wstring name = std::to_wstring(setting);
        const std::wstring stored = setting == 38 ? L"abroad" : L"mum\x00A7+4912";
        INFO("setting " << setting);
        storeSetting(name, stored);
        page.fill(setting);
        CHECK(page.selection(1289) == -1);
        page.save(setting);
        CHECK(settingText(name) == narrow(stored));
    }
}

TEST_CASE("an entry longer than any stored text is not looked at")
{
    StartedPhone phone;
    EditorPage page;
    for (size_t length : {518, 519}) {
        const std::wstring number = L"\x00A7" + std::wstring(length - 1, L'1');
        freeExtraSettings();
        extraSettings.forwardCall = duplicateText(number.c_str());
        storeSetting(L"25", number);
        page.fill(25);
        INFO(length << " characters");
        CHECK(page.selection(1289) == 2);
    }
}

TEST_CASE("the network snapshots are the files of the install directory")
{
    StartedPhone phone;
    EditorPage page;
    page.fill(38);
    CHECK(page.entry(1289, 0) == L"Leave Unchanged");
    const int before = page.entryCount(1289);
    phone.writeFile(L"\\Program Files\\Kelvane\\Abroad.net", "snapshot");
    page.fill(38);
    CHECK(page.entryCount(1289) == before + 1);
    const int entry =
        static_cast<int>(SendMessageW(page.control(1289), CB_FINDSTRINGEXACT, 0, reinterpret_cast<LPARAM>(L"Abroad")));
    CHECK(entry > 0);
    page.select(1289, entry);
    page.save(38);
    CHECK(settingText(L"38") == "Abroad");
    page.fill(10);
    page.fill(38);
    CHECK(page.selection(1289) == entry);
}

// ---- Rows and profiles ------------------------------------------------------------------------------------------------

TEST_CASE("leaving every row untouched changes nothing of a profile, whatever it holds")
{
    StartedPhone phone;
    EditorPage page;
    userSettings.soundRepeatOff = 4;
    for (const NumberChoice &choice : numberChoices)
        storeSetting(std::to_wstring(choice.setting), choice.stored.back());
    for (int setting : {4, 5, 6, 7, 8, 36, 39}) {
        storeSetting(std::to_wstring(setting), L"Some Sound.WAV");
        storeSetting(std::to_wstring(setting) + L"_1", 1);
        storeSetting(std::to_wstring(setting) + L"_11", 0);
        storeSetting(std::to_wstring(setting) + L"_111", 1);
    }
    for (int setting : {30, 31, 32, 33, 37, 40}) {
        storeSetting(std::to_wstring(setting), 9);
        storeSetting(std::to_wstring(setting) + L"_1", 8);
    }
    for (int setting : {15, 18, 25, 26, 38, 42, 43})
        storeSetting(std::to_wstring(setting), std::wstring(150, L't'));
    for (int setting : {11, 22, 23, 27, 35, 1, 2, 14, 16, 17, 20})
        storeSetting(std::to_wstring(setting), setting >= 16 && setting <= 20 ? 60 : setting == 1 ? 99 : 0);
    for (int setting : {11, 22, 23, 27, 35})
        storeSetting(std::to_wstring(setting), 1);
    const std::string before = dumpKey(profileKey);
    for (int row = 0; row < profileSettingCount; ++row) {
        fillProfileEditor(page.handle(), profile, row);
        saveControl(page.handle(), profile, row);
    }
    CHECK(dumpKey(profileKey) == before);
    CHECK(phone.log().empty());
}

TEST_CASE("headings and rows that do not exist are not saved")
{
    StartedPhone phone;
    EditorPage page;
    page.fill(0);
    for (int row : {0, 5, 20, 28, 36, -1, 49})
        saveControl(page.handle(), profile, row);
    CHECK_FALSE(keyExists(profileKey));
    CHECK(phone.log().empty());
}

TEST_CASE("a profile outside 0 to 6 is not saved but logged")
{
    StartedPhone phone;
    EditorPage page;
    const std::string before = dumpKey(kelvaneKey);
    page.fill(0);
    saveControl(page.handle(), 7, 1);
    saveControl(page.handle(), -1, 1);
    CHECK(dumpKey(kelvaneKey) == before);
    CHECK(phone.log() ==
          std::vector<std::string>{"** saveControl: Invalid profile 7", "** saveControl: Invalid profile -1"});
}

TEST_CASE("an edit goes to the profile it is saved for")
{
    StartedPhone phone;
    EditorPage page;
    storeSetting(L"0", 40);
    page.fill(0);
    page.select(1289, 1);
    saveControl(page.handle(), 6, 1);
    CHECK(settingNumber(L"0") == 40);
    CHECK(storedNumber(L"0", L"Software\\Tessaryn\\Kelvane\\6") == 0);
}

TEST_CASE("the lists are in the language chosen")
{
    StartedPhone phone;
    EditorPage page;
    userSettings.lang = german;
    storeSetting(L"16", 120);
    page.fill(16);
    CHECK(page.entry(1289, page.selection(1289)) == L" 2 Min.");
    page.select(1289, 1);
    page.save(16);
    CHECK(settingNumber(L"16") == 10);
    page.fill(42);
    CHECK(page.entry(1289, 0) == L"Keine");
    page.fill(25);
    page.select(1289, 1);
    page.save(25);
    CHECK(settingText(L"25") == "Aus");
    CHECK(page.shown(1287) == narrow(getLanguageText(259, nullptr)));
}

// ---- Failures ---------------------------------------------------------------------------------------------------------

TEST_CASE("an exception while the editor is filled is logged, and what it then shows is not saved")
{
    StartedPhone phone;
    EditorPage page;
    storeText(L"emailGroups", L"\x00A7"
                              L"Work^1x;^b.wav\x00A7");
    storeSetting(L"42", L"Work");
    page.fill(0);
    page.select(1289, 1);
    SimOrderFault(L"memory", 1, L"alloc:", FALSE);   // of the groups
    page.fill(42);
    page.select(1289, 0);
    page.save(42);
    SimClearFaults();
    CHECK(settingText(L"42") == "Work");
    CHECK(phone.log() == std::vector<std::string>{"** Exception fillProfileEditor **"});
    page.fill(42);
    CHECK(page.shown(1289) == "Work");
    page.select(1289, 0);
    page.save(42);
    CHECK(settingText(L"42") == "None");
}

TEST_CASE("an exception at a value's reading leaves the editor blank and the value as it is")
{
    StartedPhone phone;
    EditorPage page;
    for (int setting : {0, 4, 15, 25, 30}) {
        const std::wstring name = std::to_wstring(setting);
        INFO("setting " << setting);
        storeSetting(name, 4711);
        SimOrderFault(L"registry", 0, (L"read:" + name).c_str(), TRUE);
        page.fill(setting);
        SimClearFaults();
        page.save(setting);
        CHECK(settingNumber(name) == 4711);
    }
    CHECK(phone.log() == std::vector<std::string>(5, "** Exception loadProfileEdit **"));
}

TEST_CASE("filling and saving every row keeps no memory, key or file")
{
    StartedPhone phone;
    EditorPage page;
    storeText(L"emailGroups", L"\x00A7"
                              L"A^0*;^\x00A7");
    const int memory = SimLiveAllocations(), keys = SimLiveKeys(), files = SimLiveFiles();
    for (int row = 0; row < profileSettingCount; ++row) {
        fillProfileEditor(page.handle(), profile, row);
        saveControl(page.handle(), profile, row);
    }
    CHECK(SimLiveAllocations() == memory);
    CHECK(SimLiveKeys() == keys);
    CHECK(SimLiveFiles() == files);
}
