#include "profile_copy.h"

#include "control.h"
#include "control_windows.h"
#include "doctest.h"
#include "environment.h"
#include "host.h"
#include "modal_dialog.h"
#include "page_window.h"
#include "shell_values.h"
#include "test_phone.h"
#include "user_settings.h"

namespace {

// A phone on which the program has just been started, with all profiles in use.
struct StartedPhone : TestPhone {
    StartedPhone()
    {
        restartProgram();
        getAppPath();
        setDefaultProfileNames();
        userSettings.activeProfiles = 127;
    }
};

std::wstring profileKey(int profile)
{
    return std::wstring(kelvaneKey) + L"\\" + std::to_wstring(profile);
}

bool open(int profile, const std::function<void(HWND dialog)> &script)
{
    return runModal([&] { showProfileCopy(nullptr, profile); }, script);
}

struct Entry {
    std::wstring name;
    int profile;
};

std::vector<Entry> entriesOf(HWND dialog, int combo)
{
    std::vector<Entry> entries;
    const int count = static_cast<int>(SendDlgItemMessageW(dialog, combo, CB_GETCOUNT, 0, 0));
    for (int i = 0; i < count; ++i) {
        wchar_t name[512] = L"";
        SendDlgItemMessageW(dialog, combo, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(name));
        entries.push_back({name, static_cast<int>(SendDlgItemMessageW(dialog, combo, CB_GETITEMDATA, i, 0))});
    }
    return entries;
}

std::vector<int> profilesOf(HWND dialog, int combo)
{
    std::vector<int> profiles;
    for (const Entry &entry : entriesOf(dialog, combo))
        profiles.push_back(entry.profile);
    return profiles;
}

int selection(HWND dialog, int combo)
{
    return static_cast<int>(SendDlgItemMessageW(dialog, combo, CB_GETCURSEL, 0, 0));
}

void selectProfile(HWND dialog, int combo, int profile)
{
    const std::vector<int> profiles = profilesOf(dialog, combo);
    for (size_t i = 0; i < profiles.size(); ++i)
        if (profiles[i] == profile)
            SendDlgItemMessageW(dialog, combo, CB_SETCURSEL, i, 0);
}

// Taps "Overwrite"; what the message says, with its caption in front, or nothing when there is none.
std::wstring overwrite(HWND dialog)
{
    std::wstring said;
    runModal([&] { clickControl(dialog, 1406); },
             [&](HWND box) {
                 said = windowText(box) + L": " + controlText(box, 0xFFFF);
                 CHECK(GetDlgItem(box, IDOK));
                 CHECK_FALSE(GetDlgItem(box, IDCANCEL));
                 clickControl(box, IDOK);
             });
    return said;
}

constexpr wchar_t success[] = L"Kelvane: Profile copied successfully";

// Copies one profile over another in the dialog.
std::wstring copied(int from, int to)
{
    std::wstring said;
    open(from, [&](HWND dialog) {
        selectProfile(dialog, 1257, from);
        selectProfile(dialog, 1409, to);
        said = overwrite(dialog);
        CHECK(IsWindowVisible(dialog));   // for further copies
    });
    return said;
}

// What a profile has stored, whichever it is.
std::string contentsOf(int profile)
{
    const std::string dump = dumpKey(profileKey(profile).c_str());
    return dump.substr(dump.find('\n'));
}

// Puts a value larger than the phone takes into a profile's key, through the desktop's registry.
void storeThroughHost(int profile, const wchar_t *valueName, const std::vector<BYTE> &bytes, DWORD type = REG_BINARY)
{
    wchar_t phoneName[256];
    REQUIRE(SimPhoneName(phoneName, 256));
    const std::wstring path =
        std::wstring(L"Software\\Phone Simulator\\") + phoneName + L"\\HKCU\\" + profileKey(profile);
    HKEY key;
    REQUIRE(HOST("advapi32.dll", RegCreateKeyExW)(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                                                  nullptr, &key, nullptr) == ERROR_SUCCESS);
    REQUIRE(HOST("advapi32.dll", RegSetValueExW)(key, valueName, 0, type, bytes.data(),
                                                 static_cast<DWORD>(bytes.size())) == ERROR_SUCCESS);
    HOST("advapi32.dll", RegCloseKey)(key);
}

LONG copyValues(int from, int to)
{
    RegistryKey source, target;
    REQUIRE(source.open(HKEY_CURRENT_USER, profileKey(from).c_str()) == ERROR_SUCCESS);
    REQUIRE(target.open(HKEY_CURRENT_USER, profileKey(to).c_str()) == ERROR_SUCCESS);
    return copyProfileValues(source, target);
}

}   // namespace

// ---- The lists --------------------------------------------------------------------------------------------------------

TEST_CASE("opened for profile 2, both lists hold the profiles in use, but the second not profile 2")
{
    StartedPhone phone;
    open(2, [](HWND dialog) {
        CHECK(windowText(dialog) == L"Profile Copy Settings");
        CHECK(profilesOf(dialog, 1257) == std::vector<int>{0, 1, 2, 3, 4, 5, 6});
        CHECK(profilesOf(dialog, 1409) == std::vector<int>{0, 1, 3, 4, 5, 6});
        CHECK(selection(dialog, 1257) == 2);
        CHECK(selection(dialog, 1409) == 0);
        constexpr const wchar_t *names[] = {L"Home", L"Work", L"Meeting", L"Night", L"Loud", L"Car", L"Flight"};
        const std::vector<Entry> source = entriesOf(dialog, 1257);
        for (size_t i = 0; i < source.size(); ++i)
            CHECK(source[i].name == names[i]);
        CHECK(entriesOf(dialog, 1409)[2].name == L"Night");
    });
}

TEST_CASE("only profiles whose bit is set are listed, the first no less than the others")
{
    struct Row {
        DWORD mask;
        int profile;
        std::vector<int> sources, targets;
        int selectedSource, selectedTarget;
    };
    const Row rows[] = {
        {9, 3, {0, 3}, {0}, 1, 0},     {9, 0, {0, 3}, {3}, 0, 0},
        {8, 0, {3}, {3}, 0, 0},        {6, 0, {1, 2}, {1, 2}, 0, 0},
        {1, 0, {0}, {}, 0, -1},        {0, 0, {}, {}, -1, -1},
        {64, 6, {6}, {}, 0, -1},       {0x80, 1, {}, {}, -1, -1},
        {12, 5, {2, 3}, {2, 3}, 0, 0}, {127, -1, {0, 1, 2, 3, 4, 5, 6}, {0, 1, 2, 3, 4, 5, 6}, 0, 0},
    };
    StartedPhone phone;
    for (const Row &row : rows) {
        userSettings.activeProfiles = row.mask;
        open(row.profile, [&](HWND dialog) {
            INFO("mask " << row.mask << ", profile " << row.profile);
            CHECK(profilesOf(dialog, 1257) == row.sources);
            CHECK(profilesOf(dialog, 1409) == row.targets);
            CHECK(selection(dialog, 1257) == row.selectedSource);
            CHECK(selection(dialog, 1409) == row.selectedTarget);
        });
    }
}

TEST_CASE("profiles of the same name are told apart")
{
    StartedPhone phone;
    for (int i = 0; i < 7; ++i)
        wcscpy(userSettings.profileNames[i], L"Same");
    storeText(L"1", L"one", profileKey(1).c_str());
    storeText(L"4", L"four", profileKey(4).c_str());
    CHECK(copied(4, 1) == success);
    CHECK(storedText(L"4", profileKey(1).c_str()) == L"four");
    CHECK(storedText(L"1", profileKey(1).c_str()) == L"one");
}

// ---- Copying ------------------------------------------------------------------------------------------------------------

TEST_CASE("every value is copied with its type and bytes, and what only the target has stays")
{
    StartedPhone phone;
    removeKey(profileKey(1).c_str());
    removeKey(profileKey(3).c_str());
    const BYTE odd[] = {1, 2, 3}, text[] = {'a', 0, 'b', 0};   // not terminated
    storeNumber(L"0", 40, profileKey(1).c_str());
    storeText(L"8", L"ring.wav", profileKey(1).c_str());
    storeBytes(L"binary", REG_BINARY, odd, sizeof odd, profileKey(1).c_str());
    storeBytes(L"open text", REG_SZ, text, sizeof text, profileKey(1).c_str());
    storeBytes(L"empty", REG_NONE, nullptr, 0, profileKey(1).c_str());
    storeText(L"", L"nameless", profileKey(1).c_str());
    storeText(std::wstring(255, L'n').c_str(), L"long name", profileKey(1).c_str());
    storeText(L"8", L"old.wav", profileKey(3).c_str());
    storeNumber(L"15", 7, profileKey(3).c_str());
    const std::string source = contentsOf(1);
    CHECK(copied(1, 3) == success);
    CHECK(storedNumber(L"15", profileKey(3).c_str()) == 7);
    removeValue(L"15", profileKey(3).c_str());
    CHECK(contentsOf(3) == source);
    CHECK(contentsOf(1) == source);
}

TEST_CASE("a profile without values copies nothing and says so like any other")
{
    StartedPhone phone;
    removeKey(profileKey(1).c_str());
    makeKey(profileKey(1).c_str());
    storeNumber(L"0", 40, profileKey(3).c_str());
    const std::string before = dumpKey(profileKey(3).c_str());
    CHECK(copied(1, 3) == success);
    CHECK(dumpKey(profileKey(3).c_str()) == before);
}

TEST_CASE("subkeys of a profile are not copied")
{
    StartedPhone phone;
    storeNumber(L"0", 40, (profileKey(1) + L"\\below").c_str());
    makeKey(profileKey(3).c_str());
    CHECK(copied(1, 3) == success);
    CHECK_FALSE(keyExists((profileKey(3) + L"\\below").c_str()));
}

TEST_CASE("copying a profile onto itself is silently ignored")
{
    StartedPhone phone;
    storeNumber(L"0", 40, profileKey(1).c_str());
    open(2, [](HWND dialog) {
        selectProfile(dialog, 1257, 1);
        selectProfile(dialog, 1409, 1);
        CHECK(overwrite(dialog).empty());
    });
}

TEST_CASE("without a profile to overwrite nothing happens")
{
    StartedPhone phone;
    userSettings.activeProfiles = 1;
    open(0, [](HWND dialog) { CHECK(overwrite(dialog).empty()); });
    userSettings.activeProfiles = 0;
    open(0, [](HWND dialog) { CHECK(overwrite(dialog).empty()); });
}

TEST_CASE("a profile that was never saved is neither copied nor overwritten, nor made")
{
    StartedPhone phone;
    removeKey(profileKey(1).c_str());
    removeKey(profileKey(3).c_str());
    storeNumber(L"0", 40, profileKey(1).c_str());
    CHECK(copied(1, 3).empty());
    CHECK_FALSE(keyExists(profileKey(3).c_str()));
    CHECK(copied(3, 1).empty());
    CHECK_FALSE(keyExists(profileKey(3).c_str()));
    CHECK(storedNumber(L"0", profileKey(1).c_str()) == 40);
}

TEST_CASE("several copies can be made before the dialog is left")
{
    StartedPhone phone;
    storeNumber(L"0", 41, profileKey(1).c_str());
    storeNumber(L"0", 42, profileKey(2).c_str());
    for (int profile : {3, 4})
        makeKey(profileKey(profile).c_str());
    open(1, [](HWND dialog) {
        selectProfile(dialog, 1409, 3);
        CHECK(overwrite(dialog) == success);
        selectProfile(dialog, 1257, 2);
        selectProfile(dialog, 1409, 4);
        CHECK(overwrite(dialog) == success);
    });
    CHECK(storedNumber(L"0", profileKey(3).c_str()) == 41);
    CHECK(storedNumber(L"0", profileKey(4).c_str()) == 42);
}

TEST_CASE("Finished, the cancel key and the ok button of the title bar leave the dialog")
{
    StartedPhone phone;
    int ended = 0;
    open(1, [&](HWND dialog) {
        clickControl(dialog, 2);
        ended += !IsWindowVisible(dialog);
    });
    open(1, [&](HWND dialog) {
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        ended += !IsWindowVisible(dialog);
    });
    open(1, [&](HWND dialog) {
        CHECK(SimOkOwner() == dialog);
        CHECK(SimTapOk());
        ended += waitFor([&] { return !IsWindow(dialog) || !IsWindowVisible(dialog); });
    });
    CHECK(ended == 3);
}

// ---- Limits ---------------------------------------------------------------------------------------------------------------

TEST_CASE("copying ends with the status of the enumeration behind the last value")
{
    StartedPhone phone;
    storeNumber(L"0", 40, profileKey(1).c_str());
    makeKey(profileKey(3).c_str());
    CHECK(copyValues(1, 3) == ERROR_NO_MORE_ITEMS);
}

TEST_CASE("a value of the largest size the phone stores is copied")
{
    StartedPhone phone;
    std::vector<BYTE> bytes(4096);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<BYTE>(i * 7);
    storeBytes(L"large", REG_BINARY, bytes.data(), bytes.size(), profileKey(1).c_str());
    makeKey(profileKey(3).c_str());
    CHECK(copyValues(1, 3) == ERROR_NO_MORE_ITEMS);
    CHECK(storedValue(L"large", profileKey(3).c_str()).bytes == bytes);
}

TEST_CASE("a value the phone cannot write is left out, the values after it are copied")
{
    StartedPhone phone;
    removeKey(profileKey(1).c_str());
    storeNumber(L"a", 1, profileKey(1).c_str());
    storeThroughHost(1, L"b", std::vector<BYTE>(8192, 5));
    storeNumber(L"c", 3, profileKey(1).c_str());
    removeKey(profileKey(3).c_str());
    makeKey(profileKey(3).c_str());
    CHECK(copyValues(1, 3) == ERROR_NO_MORE_ITEMS);
    CHECK(storedNumber(L"a", profileKey(3).c_str()) == 1);
    CHECK_FALSE(storedValue(L"b", profileKey(3).c_str()).present);
    CHECK(storedNumber(L"c", profileKey(3).c_str()) == 3);
}

TEST_CASE("a value of more than 8192 bytes ends the copy, and success is reported all the same")
{
    StartedPhone phone;
    removeKey(profileKey(1).c_str());
    storeNumber(L"a", 1, profileKey(1).c_str());
    storeThroughHost(1, L"b", std::vector<BYTE>(8193, 5));
    storeNumber(L"c", 3, profileKey(1).c_str());
    removeKey(profileKey(3).c_str());
    makeKey(profileKey(3).c_str());
    CHECK(copyValues(1, 3) == ERROR_MORE_DATA);
    CHECK(storedNumber(L"a", profileKey(3).c_str()) == 1);
    CHECK_FALSE(storedValue(L"b", profileKey(3).c_str()).present);
    CHECK_FALSE(storedValue(L"c", profileKey(3).c_str()).present);
    CHECK(copied(1, 3) == success);
}

TEST_CASE("a name of more than 259 characters ends the copy")
{
    StartedPhone phone;
    removeKey(profileKey(1).c_str());
    storeNumber(L"a", 1, profileKey(1).c_str());
    storeThroughHost(1, std::wstring(260, L'b').c_str(), {1, 2});
    storeNumber(L"c", 3, profileKey(1).c_str());
    makeKey(profileKey(3).c_str());
    CHECK(copyValues(1, 3) == ERROR_MORE_DATA);
    CHECK(storedNumber(L"a", profileKey(3).c_str()) == 1);
    CHECK_FALSE(storedValue(L"c", profileKey(3).c_str()).present);
}

// ---- Failures ---------------------------------------------------------------------------------------------------------------

TEST_CASE("a value that cannot be written is left out")
{
    StartedPhone phone;
    removeKey(profileKey(1).c_str());
    removeKey(profileKey(3).c_str());
    makeKey(profileKey(3).c_str());
    storeNumber(L"a", 1, profileKey(1).c_str());
    storeNumber(L"b", 2, profileKey(1).c_str());
    SimOrderFault(L"registry", 0, L"write:a", FALSE);
    CHECK(copied(1, 3) == success);
    CHECK_FALSE(storedValue(L"a", profileKey(3).c_str()).present);
    CHECK(storedNumber(L"b", profileKey(3).c_str()) == 2);
}

TEST_CASE("an exception while copying is logged, nothing is said, and no key or memory stays behind")
{
    StartedPhone phone;
    storeNumber(L"a", 1, profileKey(1).c_str());
    makeKey(profileKey(3).c_str());
    const std::wstring detail = L"open:" + profileKey(3);
    for (const wchar_t *fault : {L"write:*", L"enumerate:*", L"open:*", detail.c_str()}) {
        open(1, [&](HWND dialog) {
            selectProfile(dialog, 1409, 3);
            const int keys = SimLiveKeys(), blocks = SimLiveAllocations();
            SimOrderFault(L"registry", 1, fault, TRUE);
            const size_t lines = phone.log().size();
            CHECK(overwrite(dialog).empty());
            SimClearFaults();
            INFO(narrow(fault));
            CHECK(SimLiveKeys() == keys);
            CHECK(SimLiveAllocations() == blocks);
            REQUIRE(phone.log().size() == lines + 1);
            CHECK(phone.log().back() == "** Exception copyProfileValues **");
            CHECK(IsWindowVisible(dialog));
        });
    }
}

TEST_CASE("without memory for a value nothing is copied, and the log says so")
{
    StartedPhone phone;
    storeNumber(L"a", 1, profileKey(1).c_str());
    removeKey(profileKey(3).c_str());
    makeKey(profileKey(3).c_str());
    open(1, [&](HWND dialog) {
        selectProfile(dialog, 1409, 3);
        SimOrderFault(L"memory", 1, L"alloc:", FALSE);
        CHECK(overwrite(dialog).empty());
        SimClearFaults();
    });
    CHECK(phone.log() == std::vector<std::string>{"** Exception copyProfileValues **"});
    CHECK_FALSE(storedValue(L"a", profileKey(3).c_str()).present);
}

TEST_CASE("a copy leaves no key open and no memory behind")
{
    StartedPhone phone;
    storeNumber(L"a", 1, profileKey(1).c_str());
    makeKey(profileKey(3).c_str());
    copied(1, 3);
    const int keys = SimLiveKeys(), blocks = SimLiveAllocations();
    copied(1, 3);
    CHECK(SimLiveKeys() == keys);
    CHECK(SimLiveAllocations() == blocks);
}
