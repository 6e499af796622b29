// What the simulated phone alone can show of the sound catalogue: cursor and libraries, names as long as a phone's can be,
// the sounds of the delivered phones, and that a full card does not take long.

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "intercept.h"
#include "page_window.h"
#include "sound_catalogue.h"
#include "test_phone.h"
#include "user_settings.h"

extern "C" decltype(&phoneFindFirstFile) __imp_FindFirstFileW;   // the names the phone's forms go by here
extern "C" decltype(&phoneFindNextFile) __imp_FindNextFileW;
IMPORTED(FreeLibrary);
IMPORTED(LoadLibraryW);
IMPORTED(SendMessageW);
IMPORTED(SetCursor);

namespace {

using Names = std::vector<std::string>;

// A phone on which the program has just been started.
struct StartedPhone : TestPhone {
    explicit StartedPhone(const char *base = "wm6") : TestPhone(base)
    {
        restartProgram();
        getDeviceType();
    }
    ~StartedPhone()
    {
        SimClearFaults();
        restartProgram();
        isOsVersion5 = 0;
    }
};

class Combo {
public:
    Combo() : window(CreateWindowExW(0, L"ComboBox", L"", CBS_DROPDOWN, 0, 0, 100, 100, nullptr, nullptr, nullptr, nullptr))
    {
        REQUIRE(window);
    }
    ~Combo() { DestroyWindow(window); }
    Combo(const Combo &) = delete;
    Combo &operator=(const Combo &) = delete;

    HWND handle() const { return window; }
    int count() const { return static_cast<int>(SendMessageW(window, CB_GETCOUNT, 0, 0)); }
    Names entries() const
    {
        Names names;
        for (int i = 0; i < count(); ++i) {
            wchar_t text[300] = L"";
            SendMessageW(window, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(text));
            names.push_back(narrow(text));
        }
        return names;
    }

private:
    HWND window;
};

Names soundsListed()
{
    Combo combo;
    loadSoundCombo(combo.handle(), 1);
    Names names = combo.entries();
    REQUIRE(names.size() >= 3);
    names.erase(names.begin(), names.begin() + 3);
    return names;
}

}   // namespace

// ---- The delivered phones ------------------------------------------------------------------------------------------------

TEST_CASE("the phones that are delivered have sounds to list, and a file for each")
{
    struct Row {
        const char *phone;
        Names sounds;
    };
    const Names rings{"polka.mid", "ring1.wav", "ring2.wav", "waltz.midi"}, own{"morning.mp3", "v\xC3\xB6gel.wav"},
        system{"alarm1.wav", "chime.wav", "default.wav", "notify.wma"};
    const auto joined = [](std::initializer_list<Names> parts) {
        Names all;
        for (const Names &part : parts)
            all.insert(all.end(), part.begin(), part.end());
        return all;
    };
    const Names usual = joined({system, rings, own, {"card tone.wav"}});
    const Row rows[] = {
        {"wm6", usual},
        {"wm5", usual},
        {"landscape", usual},
        {"square", joined({system, rings, own})},
        {"vga", joined({system, own, {"ring1.wav", "polka.mid", "ring2.wav", "waltz.midi", "card tone.wav"}})},
        {"ppc2003", joined({rings, system, {"second card.wav"}})},
    };
    for (const Row &row : rows) {
        INFO(row.phone);
        StartedPhone phone(row.phone);
        Names names = soundsListed();
        if (std::string(row.phone) == "vga")   // morning.mp3, ring1.wav, vögel.wav come from one folder
            std::swap(names[5], names[6]);
        CHECK(names == row.sounds);
        for (const std::string &name : names) {
            wchar_t path[260] = L"";
            wcsncpy(path, widen(name).c_str(), 259);
            getSoundFilePath(path);
            CHECK_MESSAGE(phone.fileExists(path), name);
        }
    }
}

// ---- Cursor and libraries --------------------------------------------------------------------------------------------------

namespace {

std::vector<HCURSOR> cursors;
int librariesLoaded, librariesFreed;

struct Watched {
    Watched()
    {
        cursors.clear();
        librariesLoaded = librariesFreed = 0;
    }
    Intercept<__imp_SetCursor> cursor{[](HCURSOR next) -> HCURSOR {
        cursors.push_back(next);
        return Intercept<__imp_SetCursor>::real(next);
    }};
    Intercept<__imp_LoadLibraryW> load{[](const wchar_t *name) -> HMODULE {
        const HMODULE library = Intercept<__imp_LoadLibraryW>::real(name);
        librariesLoaded += library && std::wstring(name) == L"aygshell.dll";
        return library;
    }};
    Intercept<__imp_FreeLibrary> free{[](HMODULE library) -> BOOL {
        ++librariesFreed;
        return Intercept<__imp_FreeLibrary>::real(library);
    }};
};

}   // namespace

TEST_CASE("the wait cursor is shown while sounds are collected, and the former one afterwards, whatever happens")
{
    const HCURSOR hand = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_CROSS));
    const HCURSOR wait = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_WAIT));
    struct Row {
        const char *phone;
        const wchar_t *kind, *call;
        int nth;
    };
    for (const Row &row : {Row{"wm6", nullptr, nullptr, 0}, Row{"ppc2003", nullptr, nullptr, 0},
                           Row{"wm6", L"memory", L"alloc:", 1}, Row{"wm6", L"memory", L"alloc:", 2},
                           Row{"ppc2003", L"registry", L"read:FileSyncPath", 1}}) {
        StartedPhone phone(row.phone);
        Combo combo;
        SetCursor(hand);
        Watched watched;
        if (row.kind)
            SimOrderFault(row.kind, row.nth, row.call, TRUE);
        loadSoundCombo(combo.handle(), 1);
        SimClearFaults();
        CHECK(cursors == std::vector<HCURSOR>{wait, hand});
        CHECK(librariesFreed == librariesLoaded);
    }
    SetCursor(nullptr);
}

TEST_CASE("a list filled later shows no wait cursor and loads no library")
{
    StartedPhone phone;
    soundsListed();
    Watched watched;
    soundsListed();
    CHECK(cursors.empty());
    CHECK(librariesLoaded == 0);
}

TEST_CASE("the shell's library is released after each use, and asked for only when \\windows lacks the file")
{
    StartedPhone phone;
    phone.writeFile(L"\\Windows\\here.wav", "sound");
    const auto find = [](const wchar_t *name) {
        wchar_t path[260];
        wcscpy(path, name);
        getSoundFilePath(path);
    };
    Watched watched;
    find(L"here.wav");
    CHECK(librariesLoaded == 0);
    find(L"card tone.wav");
    find(L"missing.wav");
    phone.set(L"exports", L"missing", L"SndGetSoundDirectoriesList");
    find(L"missing.wav");
    CHECK(librariesLoaded == 3);
    CHECK(librariesFreed == 3);
    soundsListed();
    CHECK(librariesLoaded == 4);
    CHECK(librariesFreed == 4);
}

TEST_CASE("a phone before Windows CE 5 does without the library")
{
    StartedPhone phone("ppc2003");
    Watched watched;
    soundsListed();
    wchar_t path[260] = L"missing.wav";
    getSoundFilePath(path);
    CHECK(librariesLoaded == 0);
}

// ---- Names that this desktop's files cannot have ---------------------------------------------------------------------------

namespace {

std::vector<std::wstring> invented;
size_t nextInvented;

// A folder of invented names: host files are shorter than a phone's.
struct InventedFolder {
    explicit InventedFolder(std::vector<std::wstring> names)
    {
        invented = std::move(names);
        nextInvented = 0;
    }
    static BOOL handOut(PhoneFoundFile *found)
    {
        if (nextInvented == invented.size())
            return FALSE;
        *found = {};
        wcscpy(found->cFileName, invented[nextInvented++].c_str());
        return TRUE;
    }
    Intercept<__imp_FindFirstFileW> first{[](const wchar_t *, PhoneFoundFile *found) -> HANDLE {
        handOut(found);
        return reinterpret_cast<HANDLE>(4);
    }};
    Intercept<__imp_FindNextFileW> next{[](HANDLE, PhoneFoundFile *found) -> BOOL { return handOut(found); }};
};

std::wstring inventedName(size_t number, size_t length)
{
    std::wstring name = std::to_wstring(10000 + number) + L".wav";
    name.append(length - name.size(), L'x');
    return name;
}

}   // namespace

TEST_CASE("names of 259 characters are listed whole, also the one that reaches the limit")
{
    StartedPhone phone;
    phone.set(L"sounds", L"directories", L"");
    soundsListed();
    // 29 characters of special names, 74 times 259 and a separator, and the rest up to 19499
    std::vector<std::wstring> names;
    for (size_t i = 0; i < 74; ++i)
        names.push_back(inventedName(i, 259));
    names.push_back(inventedName(74, 19499 - 29 - 74 * 260 - 1));
    names.push_back(inventedName(75, 259));
    names.push_back(inventedName(76, 259));
    InventedFolder folder(names);
    addSoundsFromFolder(L"\\Any");
    const Names found = soundsListed();
    REQUIRE(found.size() == 76);
    for (size_t i = 0; i < found.size(); ++i)
        CHECK(found[i] == narrow(names[i]));
}

// ---- How long it takes -----------------------------------------------------------------------------------------------------

namespace {

double millisecondsOf(const std::function<void()> &work)
{
    LARGE_INTEGER frequency, start, end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&start);
    work();
    QueryPerformanceCounter(&end);
    return 1000.0 * static_cast<double>(end.QuadPart - start.QuadPart) / static_cast<double>(frequency.QuadPart);
}

std::vector<std::wstring> inventedNames(size_t count)
{
    std::vector<std::wstring> names;
    for (size_t i = 0; i < count; ++i)
        names.push_back(inventedName(i, 18));
    return names;
}

int messages;

}   // namespace

TEST_CASE("a list of a thousand sounds is announced, so that its box takes room for them once")
{
    StartedPhone phone;
    phone.set(L"sounds", L"directories", L"");
    soundsListed();
    InventedFolder folder(inventedNames(5000));
    addSoundsFromFolder(L"\\Any");
    Combo combo;
    messages = 0;
    Intercept<__imp_SendMessageW> sending([](HWND window, UINT message, WPARAM count, LPARAM bytes) -> LRESULT {
        if (message == CB_INITSTORAGE) {
            CHECK(count == 1029);
            CHECK(bytes == 2 * (29 + 1025 * 19));
        }
        ++messages;
        return Intercept<__imp_SendMessageW>::real(window, message, count, bytes);
    });
    loadSoundCombo(combo.handle(), 0);
    CHECK(messages == 2 + 3 + 1025);
    CHECK(combo.count() == 3 + 1025);   // 29 + 1025 * 19 is the first length of 19500 or more
}

TEST_CASE("five thousand sounds take no longer than a person notices")
{
    StartedPhone phone;
    phone.set(L"sounds", L"directories", L"");
    for (const size_t count : {20, 1000, 5000}) {
        forgetSounds();
        Combo combo;
        loadSoundCombo(combo.handle(), 0);
        double scanning = 0;
        {
            InventedFolder folder(inventedNames(count));
            scanning = millisecondsOf([] { addSoundsFromFolder(L"\\Any"); });
        }
        const double filling = millisecondsOf([&] { loadSoundCombo(combo.handle(), 0); });
        std::printf("%d files: collected in %.2f ms, list of %d filled in %.2f ms\n", static_cast<int>(count), scanning,
                    combo.count(), filling);
        CHECK(scanning + filling < 2000);
    }
}
