#include "sound_catalogue.h"

#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "page_window.h"
#include "test_phone.h"
#include "user_settings.h"

namespace {

using Names = std::vector<std::string>;

constexpr wchar_t ringKey[] = L"ControlPanel\\SoundCategories\\Ring";
constexpr wchar_t servicesKey[] = L"Software\\Microsoft\\Windows CE Services";

constexpr DWORD basicLogging = 1, detailedLogging = 4, signalLogging = 8;

constexpr DWORD german = 1;

constexpr int ringTones = 1, otherSounds = 0;

// A phone without sounds, on which the program has just been started.
struct QuietPhone : TestPhone {
    explicit QuietPhone(const char *base = "wm6") : TestPhone(base)
    {
        for (const wchar_t *folder : {L"\\Windows", L"\\My Documents", L"\\Storage Card", L"\\SD Card"})
            removeFolder(folder);
        makeFolder(L"\\Windows");
        set(L"sounds", L"directories", L"");
        set(L"storage", L"cards", L"");
        removeValue(L"Directory", ringKey);
        removeValue(L"FileSyncPath", servicesKey, HKEY_LOCAL_MACHINE);
        start();
    }
    ~QuietPhone()
    {
        SimClearFaults();
        restartProgram();
        excludesMidiSounds = 0;
        isOsVersion5 = 0;
    }

    // Starts the program again, on whatever the phone is by now.
    static void start()
    {
        restartProgram();
        excludesMidiSounds = 0;
        getAppPath();
        getDeviceType();
    }

    void sound(const std::wstring &path) const { writeFile(path.c_str(), "sound"); }
    void sounds(std::initializer_list<const wchar_t *> paths) const
    {
        for (const wchar_t *path : paths)
            sound(path);
    }
};

// A phone before Windows CE 5, and one since.
struct OldPhone : QuietPhone {
    OldPhone() : QuietPhone("ppc2003") {}
};

struct NewPhone : QuietPhone {
    explicit NewPhone(const wchar_t *directories = L"\\Windows") { set(L"sounds", L"directories", directories); }
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
    Names entries() const
    {
        Names names;
        const LRESULT count = SendMessageW(window, CB_GETCOUNT, 0, 0);
        for (LRESULT i = 0; i < count; ++i) {
            wchar_t text[300] = L"";
            SendMessageW(window, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(text));
            names.push_back(narrow(text));
        }
        return names;
    }

private:
    HWND window;
};

Names listed(int form = ringTones)
{
    Combo combo;
    loadSoundCombo(combo.handle(), form);
    return combo.entries();
}

// What a list holds beyond the three special names, which come first.
Names soundsListed(int form = ringTones)
{
    Names names = listed(form);
    REQUIRE(names.size() >= 3);
    CHECK(Names(names.begin(), names.begin() + 3) == Names{"<system>", "<silent>", "<vibrate>"});
    names.erase(names.begin(), names.begin() + 3);
    return names;
}

// Of a phone with just this folder.
Names soundsIn(const wchar_t *folder)
{
    addSoundsFromFolder(folder);
    return soundsListed();
}

std::string pathFound(const std::wstring &name)
{
    wchar_t buffer[260];
    REQUIRE(name.size() < 260);
    memcpy(buffer, name.c_str(), (name.size() + 1) * sizeof(wchar_t));
    getSoundFilePath(buffer);
    return narrow(buffer);
}

// Nothing that a list or a search has opened may stay open.
struct NothingLeft {
    const int keys = SimLiveKeys(), searches = SimLiveSearches(), allocations = SimLiveAllocations();
    void check(int catalogues = 0) const
    {
        CHECK(SimLiveKeys() == keys);
        CHECK(SimLiveSearches() == searches);
        CHECK(SimLiveAllocations() == allocations + catalogues);
    }
};

}   // namespace

// ---- What is a sound ---------------------------------------------------------------------------------------------------

TEST_CASE("names that contain .wav, .mp3, .wma or .mid are sounds, wherever in the name")
{
    QuietPhone phone;
    phone.sounds({L"\\S\\a.wav", L"\\S\\b.mp3", L"\\S\\c.wma", L"\\S\\d.mid", L"\\S\\e.midi", L"\\S\\f.wav.bak",
                  L"\\S\\.wma", L"\\S\\h.wave"});
    phone.sounds({L"\\S\\a.txt", L"\\S\\bwav", L"\\S\\c.wa", L"\\S\\d.mp4", L"\\S\\e.ogg", L"\\S\\mid.", L"\\S\\g"});
    CHECK(listed() == Names{"<system>", "<silent>", "<vibrate>"});
    CHECK(soundsIn(L"\\S") == Names{".wma", "a.wav", "b.mp3", "c.wma", "d.mid", "e.midi", "f.wav.bak", "h.wave"});
}

TEST_CASE("a folder called like a sound counts as one, and is not looked into")
{
    QuietPhone phone;
    phone.sounds({L"\\S\\Best.wav\\inside.wav", L"\\S\\Deeper\\below.wav"});
    listed();
    CHECK(soundsIn(L"\\S") == Names{"best.wav"});
}

TEST_CASE("a name is listed in lower case and once, where it was found first")
{
    QuietPhone phone;
    phone.sounds({L"\\A\\Ring.WAV", L"\\A\\zebra.Mp3", L"\\B\\ring.wav", L"\\B\\ALSO.Wma"});
    listed();
    addSoundsFromFolder(L"\\A");
    addSoundsFromFolder(L"\\B");
    CHECK(soundsListed() == Names{"ring.wav", "zebra.mp3", "also.wma"});
}

TEST_CASE("only a whole name is a repetition, not a part of one")
{
    QuietPhone phone;
    phone.sounds({L"\\A\\my ring.wav", L"\\A\\ring.wav.bak", L"\\B\\ring.wav"});
    listed();
    addSoundsFromFolder(L"\\A");
    addSoundsFromFolder(L"\\B");
    CHECK(soundsListed() == Names{"my ring.wav", "ring.wav.bak", "ring.wav"});
}

TEST_CASE("a name that contains the separator comes out in its parts, and is added once")
{
    QuietPhone phone;
    phone.sounds({L"\\A\\one\xA7two.wav", L"\\B\\One\xA7Two.wav", L"\\C\\two.wav"});
    listed();
    for (const wchar_t *folder : {L"\\A", L"\\B", L"\\C"})
        addSoundsFromFolder(folder);
    CHECK(soundsListed() == Names{"one", "two.wav"});
}

TEST_CASE("sounds that are added before the first list are what it shows")
{
    QuietPhone phone;
    phone.sound(L"\\A\\a.wav");
    phone.sound(L"\\Windows\\w.wav");
    addSoundsFromFolder(L"\\A");
    CHECK(listed() == Names{"a.wav"});
}

TEST_CASE("no folder, an empty one, one that is missing and one that is a file add nothing")
{
    QuietPhone phone;
    userSettings.loggingOption = signalLogging;
    phone.sound(L"\\a.wav");
    phone.makeFolder(L"\\Empty");
    listed();
    addSoundsFromFolder(nullptr);
    addSoundsFromFolder(L"");
    CHECK(phone.log().empty());
    for (const wchar_t *folder : {L"\\Empty", L"\\Missing", L"\\a.wav"})
        addSoundsFromFolder(folder);
    CHECK(soundsListed().empty());
    CHECK(phone.log() == Names{"addSoundsFromFolder: \\Empty", "addSoundsFromFolder: \\Missing",
                               "addSoundsFromFolder: \\a.wav"});
}

TEST_CASE("a folder longer than any path adds nothing, and no other folder in its place")
{
    QuietPhone phone;
    phone.sound(L"\\Windows\\a.wav");
    listed();
    for (const size_t length : {300, 540, 541, 542, 543, 544, 3000})
        addSoundsFromFolder((L"\\Windows\\" + std::wstring(length, L'x')).c_str());
    CHECK(soundsListed().empty());
}

TEST_CASE("the folder is logged with signal logging alone")
{
    for (const DWORD option : {basicLogging, detailedLogging, basicLogging | detailedLogging, signalLogging}) {
        QuietPhone phone;
        userSettings.loggingOption = option;
        addSoundsFromFolder(L"\\Kl\xE4nge");
        const Names lines = phone.log();
        CHECK(lines == (option == signalLogging ? Names{"addSoundsFromFolder: \\Kl\xE4nge"} : Names{}));
    }
}

TEST_CASE("letters beyond ASCII become small as the phone makes them so, one for one")
{
    struct Row {
        std::wstring name;
        std::string listed;
    };
    wchar_t dotted[] = L"\x130stanbul.wav";
    _wcslwr(dotted);
    CHECK(wcslen(dotted) == 12);
    for (const Row &row : {Row{L"V\xD6GEL.wav", "v\xC3\xB6gel.wav"}, Row{L"\xC9T\xC9.MP3", "\xC3\xA9t\xC3\xA9.mp3"},
                           Row{L"ISPARTA.WAV", "isparta.wav"}, Row{L"\x391\x3A9.Mid", "\xCE\xB1\xCF\x89.mid"},
                           Row{L"\x416.WMA", "\xD0\xB6.wma"}, Row{L"\x130stanbul.wav", narrow(dotted)}}) {
        QuietPhone phone;
        phone.sound(L"\\S\\" + row.name);
        listed();
        CHECK(soundsIn(L"\\S") == Names{row.listed});
    }
}

// ---- How much there is room for ----------------------------------------------------------------------------------------

namespace {

// "§<system>§<silent>§<vibrate>§"
constexpr size_t emptyLength = 29;

// A sound's name of that many characters, the number in front.
std::wstring longName(size_t number, size_t length)
{
    std::wstring name = std::to_wstring(1000 + number) + L".wav";
    name.append(length - name.size(), L'x');
    return name;
}

// Adds names until the catalogue is that many characters long.
size_t fillUpTo(const QuietPhone &phone, size_t length)
{
    size_t count = 0, now = emptyLength;
    for (; length - now > 260; now += 201)
        phone.sound(L"\\Fill\\" + longName(count++, 200));
    const size_t rest = length - now;
    const size_t first = rest / 2;
    phone.sound(L"\\Fill\\" + longName(count++, first - 1));
    phone.sound(L"\\Fill\\" + longName(count++, rest - first - 1));
    listed();
    addSoundsFromFolder(L"\\Fill");
    return count;
}

}   // namespace

TEST_CASE("the catalogue takes names while it is shorter than 19500 characters")
{
    for (const size_t length : {19498, 19499, 19500, 19501}) {
        INFO("length " << static_cast<int>(length));
        QuietPhone phone;
        phone.sounds({L"\\Last\\1.wav", L"\\Last\\2.wav"});
        const size_t count = fillUpTo(phone, length);
        CHECK(soundsListed().size() == count);
        addSoundsFromFolder(L"\\Last");
        const Names names = soundsListed();
        CHECK(names.size() == count + (length < 19500 ? 1 : 0));
        CHECK((names.back() == "1.wav") == (length < 19500));
    }
}

TEST_CASE("the name that reaches the limit is kept whole, however long")
{
    const NothingLeft before;
    {
        QuietPhone phone;
        const std::wstring longest = longName(8000, 255);
        phone.sound(L"\\Last\\" + longest);
        const size_t count = fillUpTo(phone, 19499);
        addSoundsFromFolder(L"\\Last");
        phone.sound(L"\\After\\1.wav");
        addSoundsFromFolder(L"\\After");
        const Names names = soundsListed();
        CHECK(names.size() == count + 1);
        CHECK(names.back() == narrow(longest));
    }
    before.check();
}

TEST_CASE("special names as long as a translation can be are listed whole")
{
    QuietPhone phone;
    const std::wstring longest(255, L'v');
    phone.writeLanguageFile(L"DE", {L"; test", L"93=" + longest, L"94=s", L"61=" + longest});
    userSettings.lang = german;
    CHECK(listed() == Names{narrow(longest), "s", narrow(longest)});
}

// ---- Combo boxes -------------------------------------------------------------------------------------------------------

TEST_CASE("a list is emptied first and keeps the order in which sounds were found")
{
    NewPhone phone(L"\\Z, \\A");
    phone.sounds({L"\\Z\\z1.wav", L"\\A\\a1.wav", L"\\Windows\\w.wav"});
    Combo combo;
    SendMessageW(combo.handle(), CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"former"));
    const Names expected{"<system>", "<silent>", "<vibrate>", "w.wav", "z1.wav", "a1.wav"};
    for (int i = 0; i < 3; ++i) {
        loadSoundCombo(combo.handle(), i == 1 ? ringTones : otherSounds);
        CHECK(combo.entries() == expected);
    }
}

TEST_CASE("the phone is searched once, however many lists are filled")
{
    NewPhone phone;
    phone.sound(L"\\Windows\\first.wav");
    CHECK(soundsListed() == Names{"first.wav"});
    phone.sound(L"\\Windows\\second.wav");
    phone.removeFile(L"\\Windows\\first.wav");
    SimOrderFault(L"file", 0, L"find:*", FALSE);
    CHECK(soundsListed(otherSounds) == Names{"first.wav"});
    SimClearFaults();
    forgetSounds();
    CHECK(soundsListed() == Names{"second.wav"});
}

TEST_CASE("MIDI sounds are left out of all lists but the ring tones' on a phone that cannot play them")
{
    NewPhone phone;
    phone.sounds({L"\\Windows\\a.wav", L"\\Windows\\tune.mid", L"\\Windows\\tune.MIDI", L"\\Windows\\x.mid.wav"});
    const Names all{"a.wav", "tune.mid", "tune.midi", "x.mid.wav"};
    CHECK(soundsListed(otherSounds) == all);
    CHECK(soundsListed(ringTones) == all);
    excludesMidiSounds = 1;
    CHECK(soundsListed(otherSounds) == Names{"a.wav"});
    CHECK(soundsListed(ringTones) == all);
}

TEST_CASE("the special names are the user's language's")
{
    NewPhone phone;
    phone.writeLanguageFile(L"DE", {L"; test", L"61=<vibrieren>", L"94=<lautlos>"});
    userSettings.lang = german;
    CHECK(listed() == Names{"<system>", "<lautlos>", "<vibrieren>"});
}

// ---- Where sounds are collected: new systems -----------------------------------------------------------------------------

TEST_CASE("a new phone's \\Windows is searched first, then its sound folders in their order")
{
    NewPhone phone(L"\\Storage Card, \\windows, \\Windows\\Rings, \\WINDOWS, \\Mine");
    phone.sounds({L"\\Mine\\m.wav", L"\\Windows\\Rings\\r.wav", L"\\Windows\\w.wav", L"\\Storage Card\\c.wav",
                  L"\\My Documents\\no.wav"});
    userSettings.loggingOption = detailedLogging | signalLogging;
    CHECK(soundsListed() == Names{"w.wav", "c.wav", "r.wav", "m.wav"});
    CHECK(phone.log() == Names{"load sound combo: 5 folders", "addSoundsFromFolder: \\Windows",
                               "addSoundsFromFolder: \\Storage Card", "addSoundsFromFolder: \\Windows\\Rings",
                               "addSoundsFromFolder: \\Mine"});
}

TEST_CASE("the number of folders is logged with detailed logging alone")
{
    for (const DWORD option : {basicLogging, signalLogging, detailedLogging}) {
        NewPhone phone;
        userSettings.loggingOption = option;
        listed();
        const Names lines = phone.log();
        CHECK((!lines.empty() && lines[0] == "load sound combo: 1 folders") == (option == detailedLogging));
    }
}

TEST_CASE("a new phone that does not tell its sound folders has the special names alone")
{
    NewPhone phone;
    phone.sounds({L"\\Windows\\w.wav", L"\\My Documents\\d.wav"});
    SUBCASE("no library")
    {
        phone.set(L"exports", L"missing_modules", L"aygshell.dll");
    }
    SUBCASE("no function")
    {
        phone.set(L"exports", L"missing", L"SndGetSoundDirectoriesList");
    }
    SUBCASE("no array")
    {
        phone.set(L"sounds", L"array", L"0");
    }
    SUBCASE("no folder")
    {
        phone.set(L"sounds", L"directories", L"");
    }
    SUBCASE("count 0")
    {
        phone.set(L"sounds", L"count", L"0");
    }
    SUBCASE("count below 0")
    {
        phone.set(L"sounds", L"count", L"-1");
    }
    SUBCASE("failure")
    {
        phone.set(L"sounds", L"result", L"0x80004005");
    }
    const NothingLeft before;
    userSettings.loggingOption = detailedLogging;
    CHECK(soundsListed().empty());
    before.check(1);
    CHECK(pathFound(L"d.wav").empty());
    before.check(1);
    CHECK(phone.log().empty());
}

TEST_CASE("without memory for the system's list a new phone has the special names alone")
{
    NewPhone phone;
    phone.sound(L"\\Windows\\w.wav");
    Combo combo;
    const NothingLeft before;
    SimOrderFault(L"memory", 2, L"alloc:", FALSE);   // the first is the catalogue's
    loadSoundCombo(combo.handle(), ringTones);
    SimClearFaults();
    before.check(1);
    CHECK(combo.entries() == Names{"<system>", "<silent>", "<vibrate>"});
    CHECK(phone.log().empty());
}

TEST_CASE("empty folders of the system's list are passed over")
{
    NewPhone phone(L"\\A");
    phone.set(L"sounds", L"count", L"3");
    phone.sounds({L"\\A\\a.wav", L"\\root.wav"});
    CHECK(soundsListed() == Names{"a.wav"});
}

TEST_CASE("a folder of the system's list that has no end is taken for what fits")
{
    NewPhone phone((L"\\" + std::wstring(300, L'x') + L", \\B").c_str());
    phone.sound(L"\\B\\b.wav");
    userSettings.loggingOption = signalLogging;
    CHECK(soundsListed() == Names{"b.wav"});
    const Names lines = phone.log();
    REQUIRE(lines.size() == 3);
    CHECK(lines[1] == "addSoundsFromFolder: \\" + std::string(258, 'x'));
}

// ---- Where sounds are collected: old systems -----------------------------------------------------------------------------

TEST_CASE("an old phone is searched in its ring folder, \\Windows\\rings, \\Windows, card and ActiveSync folder")
{
    OldPhone phone;
    storeText(L"Directory", L"\\Mine\\", ringKey);
    storeText(L"FileSyncPath", L"\\Synchronised", servicesKey, HKEY_LOCAL_MACHINE);
    phone.set(L"storage", L"cards", L"SD Card");
    phone.set(L"sounds", L"directories", L"\\Not asked for");
    phone.sounds({L"\\Mine\\a.wav", L"\\Windows\\rings\\b.wav", L"\\Windows\\c.wav", L"\\SD Card\\d.wav",
                  L"\\SD Card\\My Documents\\no1.wav", L"\\Synchronised\\e.wav", L"\\My Documents\\no2.wav",
                  L"\\Not asked for\\no3.wav"});
    userSettings.loggingOption = detailedLogging | signalLogging;
    CHECK(soundsListed() == Names{"a.wav", "b.wav", "c.wav", "d.wav", "e.wav"});
    CHECK(phone.log() == Names{"addSoundsFromFolder: \\Mine\\", "addSoundsFromFolder: \\Windows\\rings",
                               "addSoundsFromFolder: \\Windows", "addSoundsFromFolder: SD Card",
                               "addSoundsFromFolder: \\SD Card\\My Documents\\*", "addSoundsFromFolder: \\Synchronised"});
}

TEST_CASE("an old phone without ring folder, card and ActiveSync folder has \\My Documents")
{
    OldPhone phone;
    phone.sounds({L"\\My Documents\\d.wav", L"\\Windows\\w.wav", L"\\SD Card\\no.wav", L"\\no.wav"});
    SUBCASE("nothing stored") {}
    SUBCASE("stored empty")
    {
        storeText(L"Directory", L"", ringKey);
        storeText(L"FileSyncPath", L"", servicesKey, HKEY_LOCAL_MACHINE);
    }
    SUBCASE("no keys")
    {
        removeKey(ringKey);
        removeKey(servicesKey, HKEY_LOCAL_MACHINE);
    }
    SUBCASE("keys that do not open")
    {
        storeText(L"Directory", L"\\Mine\\", ringKey);
        SimOrderFault(L"registry", 0, L"open:ControlPanel*", FALSE);
        SimOrderFault(L"registry", 0, L"open:Software\\Microsoft*", FALSE);
    }
    CHECK(soundsListed() == Names{"w.wav", "d.wav"});
}

TEST_CASE("a ring folder without a backslash at its end loses its last letter")
{
    struct Row {
        const wchar_t *stored;
        std::string searched;
    };
    for (const Row &row : {Row{L"\\Windows\\Rings", "\\Windows\\Ring"}, Row{L"\\Windows\\Rings\\", "\\Windows\\Rings\\"},
                           Row{L"\\Windows", "\\Window"}, Row{L"xy", "x"}, Row{L"\\", "\\"}}) {
        OldPhone phone;
        storeText(L"Directory", row.stored, ringKey);
        phone.sounds({L"\\Windows\\Ring\\cut.wav", L"\\Windows\\Rings\\whole.wav"});
        userSettings.loggingOption = signalLogging;
        const Names names = soundsListed();
        REQUIRE(!phone.log().empty());
        CHECK(phone.log()[0] == "addSoundsFromFolder: " + row.searched);
        CHECK(names == (row.searched == "\\Windows\\Ring" ? Names{"cut.wav", "whole.wav"} : Names{"whole.wav"}));
    }
}

TEST_CASE("a ring folder of one letter is none")
{
    OldPhone phone;
    storeText(L"Directory", L"x", ringKey);
    phone.sound(L"\\x\\no.wav");
    userSettings.loggingOption = signalLogging;
    CHECK(soundsListed().empty());
    CHECK(phone.log()[0] == "addSoundsFromFolder: \\Windows\\rings");
}

TEST_CASE("a stored folder counts up to 520 bytes")
{
    for (const size_t length : {258, 259, 260}) {
        OldPhone phone;
        INFO("length " << static_cast<int>(length));
        storeText(L"Directory", std::wstring(length - 1, L'y') + L"\\", ringKey);
        storeText(L"FileSyncPath", std::wstring(length, L'z'), servicesKey, HKEY_LOCAL_MACHINE);
        userSettings.loggingOption = signalLogging;
        listed();
        const Names lines = phone.log();
        CHECK(lines.front() == (length < 260 ? "addSoundsFromFolder: " + std::string(length - 1, 'y') + "\\"
                                             : "addSoundsFromFolder: \\Windows\\rings"));
        CHECK(lines.back() == "addSoundsFromFolder: " + (length < 260 ? std::string(length, 'z') : "\\My Documents"));
    }
}

TEST_CASE("built-in memory is no storage card; the first real one is searched, and only that")
{
    const wchar_t *const notCards[] = {L"A File Store", L"A SafeStore", L"Built-in Storage", L"Flash_ROM Disk", L"Storage"};
    OldPhone phone;
    std::wstring cards = L"Z Last Card";
    for (const wchar_t *name : notCards) {
        phone.sound(std::wstring(L"\\") + name + L"\\no.wav");
        cards += std::wstring(L", ") + name;
    }
    phone.set(L"storage", L"cards", cards.c_str());
    phone.sound(L"\\Z Last Card\\z.wav");
    CHECK(soundsListed() == Names{"z.wav"});

    phone.set(L"storage", L"cards", (cards + L", Storage Card, X.wav").c_str());   // no more than their names has to be equal
    phone.sounds({L"\\Storage Card\\s.wav", L"\\X.wav\\x.wav"});
    phone.start();
    CHECK(soundsListed() == Names{"s.wav"});
}

TEST_CASE("a folder that is not marked as a card is none, whatever its name")
{
    OldPhone phone;
    phone.sounds({L"\\Storage Card\\no.wav", L"\\Card\\no.wav"});
    CHECK(soundsListed().empty());
}

// ---- What goes wrong while collecting ------------------------------------------------------------------------------------

TEST_CASE("without memory for the catalogue that is logged, the list stays as it is, and the next one is filled")
{
    NewPhone phone;
    phone.sound(L"\\Windows\\w.wav");
    Combo combo;
    SendMessageW(combo.handle(), CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"former"));
    const NothingLeft before;
    SimOrderFault(L"memory", 1, L"alloc:", FALSE);
    loadSoundCombo(combo.handle(), ringTones);
    before.check();
    CHECK(combo.entries() == Names{"former"});
    CHECK(phone.log() == Names{"** Exception loadSoundCombo **"});

    SimOrderFault(L"memory", 1, L"alloc:", FALSE);
    addSoundsFromFolder(L"\\Windows");
    before.check();
    CHECK(phone.log().back() == "** Exception addSoundsFromFolder **");
    CHECK(soundsListed() == Names{"w.wav"});
    before.check(1);
}

TEST_CASE("a folder that vanishes while it is read keeps what was found in it and costs no other")
{
    for (const BOOL raise : {FALSE, TRUE}) {
        NewPhone phone(L"\\A, \\B");
        phone.sounds({L"\\A\\a1.wav", L"\\A\\a2.wav", L"\\B\\b.wav"});
        const NothingLeft before;
        SimOrderFault(L"file", 1, L"next:\\A\\*", raise);
        CHECK(soundsListed() == Names{"a1.wav", "b.wav"});
        before.check(1);
        CHECK(phone.log() == (raise ? Names{"** Exception addSoundsFromFolder **"} : Names{}));
    }
}

TEST_CASE("a folder that cannot be read costs no other")
{
    for (const BOOL raise : {FALSE, TRUE}) {
        NewPhone phone(L"\\A, \\B");
        phone.sounds({L"\\A\\a.wav", L"\\B\\b.wav"});
        const NothingLeft before;
        SimOrderFault(L"file", 1, L"find:\\A\\*", raise);
        CHECK(soundsListed() == Names{"b.wav"});
        before.check(1);
        CHECK(phone.log() == (raise ? Names{"** Exception addSoundsFromFolder **"} : Names{}));
    }
}

TEST_CASE("an exception while sounds are collected is logged and leaves what was found for the next list")
{
    struct Row {
        const wchar_t *kind;
        int nth;
        const wchar_t *call;
    };
    for (const Row &row : {Row{L"registry", 1, L"open:Software\\Microsoft\\Windows CE Services"},
                           Row{L"registry", 1, L"read:FileSyncPath"},
                           Row{L"file", 3, L"find:*"}}) {   // for the card, after \Windows\rings and \Windows
        OldPhone phone;
        INFO(narrow(row.call));
        phone.sound(L"\\Windows\\w.wav");
        const NothingLeft before;
        SimOrderFault(row.kind, row.nth, row.call, TRUE);
        CHECK(listed().empty());
        before.check(1);
        CHECK(phone.log() == Names{"** Exception loadSoundCombo **"});
        CHECK(soundsListed() == Names{"w.wav"});
    }
}

TEST_CASE("an exception in the system's answer leaves nothing open")
{
    NewPhone phone;
    Combo combo;
    const NothingLeft before;
    SimOrderFault(L"memory", 2, L"alloc:", TRUE);   // the first is the catalogue's
    loadSoundCombo(combo.handle(), ringTones);
    before.check(1);
    CHECK(combo.entries().empty());
    CHECK(phone.log() == Names{"** Exception loadSoundCombo **"});
    CHECK(soundsListed().empty());
}

// ---- From a name to its file: any system ---------------------------------------------------------------------------------

TEST_CASE("the full path of an existing file is kept without any search")
{
    for (const char *base : {"wm6", "ppc2003"}) {
        QuietPhone phone(base);
        phone.sound(L"\\Anywhere\\a.wav");
        SimOrderFault(L"registry", 0, L"", TRUE);
        SimOrderFault(L"file", 0, L"find:*", TRUE);
        SimOrderFault(L"file", 0, L"attributes:\\Windows*", TRUE);
        CHECK(pathFound(L"\\Anywhere\\a.wav") == "\\Anywhere\\a.wav");
    }
}

TEST_CASE("a folder is not the file that is looked for")
{
    NewPhone phone(L"\\A, \\B");
    phone.makeFolder(L"\\Windows\\a.wav");
    phone.makeFolder(L"\\A\\a.wav");
    phone.sound(L"\\B\\a.wav");
    CHECK(pathFound(L"a.wav") == "\\B\\a.wav");
    CHECK(pathFound(L"").empty());
    CHECK(pathFound(L"\\A").empty());
}

// ---- From a name to its file: new systems ----------------------------------------------------------------------------------

TEST_CASE("a new phone finds a file in \\windows before it asks for its folders, then in their order")
{
    NewPhone phone(L"\\B, \\A");
    userSettings.loggingOption = signalLogging;
    phone.sounds({L"\\A\\x.wav", L"\\B\\x.wav", L"\\Windows\\x.wav"});
    const NothingLeft before;
    CHECK(pathFound(L"x.wav") == "\\windows\\x.wav");
    CHECK(phone.log().empty());
    phone.removeFile(L"\\Windows\\x.wav");
    CHECK(pathFound(L"x.wav") == "\\B\\x.wav");
    CHECK(phone.log() == Names{"getSoundFilePath: 2 folders"});
    phone.removeFile(L"\\B\\x.wav");
    CHECK(pathFound(L"x.wav") == "\\A\\x.wav");
    phone.removeFile(L"\\A\\x.wav");
    CHECK(pathFound(L"x.wav").empty());
    before.check();
}

TEST_CASE("the number of folders searched is logged with signal logging alone")
{
    for (const DWORD option : {basicLogging, detailedLogging, signalLogging}) {
        NewPhone phone;
        userSettings.loggingOption = option;
        pathFound(L"missing.wav");
        CHECK(phone.log() == (option == signalLogging ? Names{"getSoundFilePath: 1 folders"} : Names{}));
    }
}

TEST_CASE("a new phone looks nowhere else")
{
    NewPhone phone;
    storeText(L"Directory", L"\\Mine\\", ringKey);
    phone.set(L"storage", L"cards", L"Storage Card");
    phone.sounds({L"\\Mine\\x.wav", L"\\My Documents\\x.wav", L"\\Storage Card\\x.wav", L"\\x.wav"});
    CHECK(pathFound(L"x.wav").empty());
    CHECK(pathFound(L"\\Missing\\x.wav").empty());
}

TEST_CASE("a path that would not fit is no file's")
{
    NewPhone phone(L"\\A");
    const std::wstring longest = longName(1, 259);
    CHECK(pathFound(longest).empty());
    userSettings.loggingOption = basicLogging;
    OldPhone old;
    CHECK(pathFound(longest) == narrow((L"\\My Documents\\My Ringtones\\" + longest).substr(0, 259)));
}

TEST_CASE("an exception in the system's answer goes to who looks for the file, and leaves nothing open")
{
    NewPhone phone;
    wchar_t name[260] = L"x.wav";
    const NothingLeft before;
    SimOrderFault(L"memory", 1, L"alloc:", TRUE);
    bool thrown = false;
    try {
        getSoundFilePath(name);
    } catch (...) {
        thrown = true;
    }
    CHECK(thrown);
    before.check();
}

// ---- From a name to its file: old systems ----------------------------------------------------------------------------------

TEST_CASE("an old phone looks in one place after the other")
{
    OldPhone phone;
    storeText(L"Directory", L"\\Mine", ringKey);
    storeText(L"FileSyncPath", L"\\Sync", servicesKey, HKEY_LOCAL_MACHINE);
    phone.set(L"storage", L"cards", L"SD Card");
    phone.makeFolder(L"\\SD Card");
    const wchar_t *const places[] = {L"\\Windows\\x.wav", L"\\Mine\\x.wav",    L"\\Sync\\x.wav", L"\\Sync\\My Ringtones\\x.wav",
                                     L"\\SD Card\\x.wav", L"\\SD Card\\My Documents\\x.wav"};
    for (const wchar_t *place : places)
        phone.sound(place);
    userSettings.loggingOption = basicLogging | detailedLogging | signalLogging;
    const NothingLeft before;
    for (const wchar_t *place : places) {
        CHECK(pathFound(L"x.wav") == narrow(place));
        CHECK(phone.log().empty());
        phone.removeFile(place);
    }
    CHECK(pathFound(L"x.wav") == "\\SD Card\\My Documents\\x.wav");
    CHECK(phone.log() == Names{"getSoundFilePath failed: x.wav"});
    before.check();
}

TEST_CASE("an old phone without a card leaves the path in the ActiveSync folder and logs nothing")
{
    OldPhone phone;
    userSettings.loggingOption = basicLogging | detailedLogging | signalLogging;
    CHECK(pathFound(L"x.wav") == "\\My Documents\\My Ringtones\\x.wav");
    CHECK(phone.log().empty());
    storeText(L"FileSyncPath", L"", servicesKey, HKEY_LOCAL_MACHINE);
    CHECK(pathFound(L"x.wav") == "\\My Documents\\My Ringtones\\x.wav");
    storeText(L"FileSyncPath", L"\\Sync", servicesKey, HKEY_LOCAL_MACHINE);
    CHECK(pathFound(L"x.wav") == "\\Sync\\My Ringtones\\x.wav");
    CHECK(pathFound(L"\\Missing\\x.wav") == "\\Sync\\My Ringtones\\\\Missing\\x.wav");
}

TEST_CASE("the ring folder gets the backslash it lacks; without one, or as \\Windows\\, it is \\Windows\\rings\\")
{
    struct Row {
        const wchar_t *stored;
        const wchar_t *found;
    };
    OldPhone phone;
    phone.sounds({L"\\Windows\\rings\\x.wav", L"\\Mine\\x.wav"});
    CHECK(pathFound(L"x.wav") == "\\Windows\\rings\\x.wav");
    for (const Row &row : {Row{L"", L"\\Windows\\rings\\x.wav"}, Row{L"\\Windows\\", L"\\Windows\\rings\\x.wav"},
                           Row{L"\\WINDOWS\\", L"\\Windows\\rings\\x.wav"}, Row{L"\\Mine", L"\\Mine\\x.wav"},
                           Row{L"\\Mine\\", L"\\Mine\\x.wav"}, Row{L"\\Windows\\Rings", L"\\Windows\\Rings\\x.wav"},
                           Row{L"\\Windows", L"\\My Documents\\My Ringtones\\x.wav"}}) {
        INFO("stored " << narrow(row.stored));
        storeText(L"Directory", row.stored, ringKey);
        CHECK(pathFound(L"x.wav") == narrow(row.found));
    }
}

TEST_CASE("the card whose file is looked for is the first real one, and the failed name is logged whole")
{
    OldPhone phone;
    phone.set(L"storage", L"cards", L"Built-in, Storage, Card 1, Card 2");
    phone.sounds({L"\\Built-in\\x.wav", L"\\Storage\\x.wav", L"\\Card 1\\y.wav", L"\\Card 2\\x.wav"});
    userSettings.loggingOption = basicLogging;
    CHECK(pathFound(L"y.wav") == "\\Card 1\\y.wav");
    CHECK(pathFound(L"x.wav") == "\\Card 1\\My Documents\\x.wav");
    CHECK(pathFound(L"V\xF6gel.wav") == narrow(L"\\Card 1\\My Documents\\V\xF6gel.wav"));
    CHECK(phone.log() == Names{"getSoundFilePath failed: x.wav", "getSoundFilePath failed: V\xF6gel.wav"});
}

TEST_CASE("without logging a failed search leaves no line")
{
    OldPhone phone;
    phone.set(L"storage", L"cards", L"Card");
    phone.makeFolder(L"\\Card");
    userSettings.loggingOption = 0;
    pathFound(L"x.wav");
    CHECK(phone.log().empty());
}
