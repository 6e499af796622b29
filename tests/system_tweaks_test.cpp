#include "system_tweaks.h"

#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "test_phone.h"
#include "user_settings.h"

namespace {

constexpr wchar_t mediaKey[] = L"Software\\Microsoft\\MediaPlayer\\Preferences";
constexpr wchar_t audioKey[] = L"Software\\Microsoft\\Windows Media Player\\Audio";
constexpr wchar_t batteryKey[] = L"ControlPanel\\Notifications\\{A877D663-239C-47a7-9304-0D347F580408}";
constexpr wchar_t reminderKey[] = L"ControlPanel\\Notifications\\{15F11F90-8A5F-454c-89FC-BA9B7AAB0CAD}";
constexpr wchar_t volumeKey[] = L"ControlPanel\\Volume";

constexpr LONG keyIsMissing = 2;       // ERROR_FILE_NOT_FOUND
constexpr LONG failedByOrder = 1016;   // ERROR_REGISTRY_IO_FAILED

// What a full run leaves, number by number, on the phone of TweakablePhone.
struct Tweak {
    HKEY root;
    const wchar_t *key;
    const wchar_t *name;
    DWORD before;
    DWORD after;
};

const Tweak tweaks[] = {
    {HKEY_CURRENT_USER, mediaKey, L"PlayInBackground", 77, 1},
    {HKEY_CURRENT_USER, mediaKey, L"Repeat", 77, 0},
    {HKEY_CURRENT_USER, mediaKey, L"Mute", 77, 0},
    {HKEY_CURRENT_USER, mediaKey, L"Volume", 77, 65535},
    {HKEY_LOCAL_MACHINE, audioKey, L"Background Quality", 77, 2},
    {HKEY_LOCAL_MACHINE, audioKey, L"Repeat", 77, 0},
    {HKEY_LOCAL_MACHINE, audioKey, L"Volume", 77, 0xFFFFFFFF},
    {HKEY_CURRENT_USER, batteryKey, L"Options", 77, 0},
    {HKEY_CURRENT_USER, reminderKey, L"Options", 0x4000000B, 0x0000000B},
    {HKEY_CURRENT_USER, volumeKey, L"Mute", 4, 7},
};

struct TweakedKey {
    HKEY root;
    const wchar_t *path;
};

// In the order they are dealt with.
const TweakedKey keys[] = {
    {HKEY_CURRENT_USER, mediaKey},    {HKEY_LOCAL_MACHINE, audioKey}, {HKEY_CURRENT_USER, batteryKey},
    {HKEY_CURRENT_USER, reminderKey}, {HKEY_CURRENT_USER, volumeKey},
};

constexpr int keyCount = sizeof keys / sizeof *keys;

void clearRecord()
{
    freeUserSettings();
    userSettings = UserSettings{};
}

// A phone on which every tweak has something to do: the values of the table, a lost name of the low-battery notification,
// reminders watched.
struct TweakablePhone : TestPhone {
    TweakablePhone()
    {
        clearRecord();
        for (const Tweak &tweak : tweaks)
            storeNumber(tweak.name, tweak.before, tweak.key, tweak.root);
        storeText(L"Default", L"", batteryKey);
        userSettings.reminders = 1;
    }
    ~TweakablePhone() { clearRecord(); }

    int keysLeftOpen() const { return SimLiveKeys() - keysBefore; }

private:
    int keysBefore = SimLiveKeys();
};

void checkTweak(const Tweak &tweak, bool applied)
{
    CAPTURE(narrow(tweak.key));
    CAPTURE(narrow(tweak.name));
    CHECK(storedNumber(tweak.name, tweak.key, tweak.root) == (applied ? tweak.after : tweak.before));
}

std::vector<BYTE> bytesOf(const std::wstring &characters)
{
    const BYTE *first = reinterpret_cast<const BYTE *>(characters.data());
    return std::vector<BYTE>(first, first + characters.size() * sizeof(wchar_t));
}

// The 24 bytes: eleven letters and the terminator.
const std::vector<BYTE> lowBattery = bytesOf(std::wstring(L"Low Battery\0", 12));

void order(const std::wstring &call, bool raise)
{
    SimOrderFault(L"registry", 0, call.c_str(), raise);
}

LONG applyOnce()
{
    const LONG status = applySystemTweaks();
    SimClearFaults();
    return status;
}

template <typename Action> bool throws(Action action)
{
    try {
        action();
    } catch (...) {
        return true;
    }
    return false;
}

bool applyingThrows()
{
    const bool thrown = throws(applySystemTweaks);
    SimClearFaults();
    return thrown;
}

}   // namespace

// ---- All of them -------------------------------------------------------------------------------------------------------

TEST_CASE("all tweaks are applied where their keys are")
{
    TweakablePhone phone;
    CHECK(applySystemTweaks() == 0);
    for (const Tweak &tweak : tweaks)
        checkTweak(tweak, true);
    const StoredValue name = storedValue(L"Default", batteryKey);
    CHECK(name.type == REG_SZ);
    CHECK(name.bytes == lowBattery);
    CHECK(phone.keysLeftOpen() == 0);
}

TEST_CASE("numbers are stored as four bytes, whatever was there before")
{
    TweakablePhone phone;
    for (const Tweak &tweak : tweaks)
        storeText(tweak.name, L"text", tweak.key, tweak.root);
    CHECK(applySystemTweaks() == 0);
    for (const Tweak &tweak : tweaks) {
        if (tweak.key == reminderKey)
            CHECK(storedText(tweak.name, tweak.key) == L"text");   // there is no number to clear the bit of
        else if (tweak.key == volumeKey)
            CHECK(storedNumber(tweak.name, tweak.key) == 3);
        else
            checkTweak(tweak, true);
    }
}

TEST_CASE("values are made where the key has none, but for the reminders'")
{
    TweakablePhone phone;
    for (const Tweak &tweak : tweaks)
        removeValue(tweak.name, tweak.key, tweak.root);
    removeValue(L"Default", batteryKey);
    CHECK(applySystemTweaks() == 0);
    for (const Tweak &tweak : tweaks) {
        if (tweak.key == reminderKey)
            CHECK(!storedValue(tweak.name, tweak.key).present);
        else if (tweak.key == volumeKey)
            CHECK(storedNumber(tweak.name, tweak.key) == 3);
        else
            checkTweak(tweak, true);
    }
    CHECK(storedValue(L"Default", batteryKey).bytes == lowBattery);
}

TEST_CASE("nothing else in the keys is touched")
{
    TweakablePhone phone;
    for (const TweakedKey &key : keys)
        storeText(L"Other", L"kept", key.path, key.root);
    storeNumber(L"Volume", 5, volumeKey);
    CHECK(applySystemTweaks() == 0);
    for (const TweakedKey &key : keys)
        CHECK(storedText(L"Other", key.path, key.root) == L"kept");
    CHECK(storedNumber(L"Volume", volumeKey) == 5);
    CHECK(storedNumber(L"Screen", volumeKey) == 1);
    CHECK(storedText(L"Wave", reminderKey) == L"Alarm1.wav");
    CHECK(storedText(L"Default", reminderKey) == L"Reminders");
}

TEST_CASE("a key that is missing is not made, and the others are dealt with")
{
    for (const TweakedKey &missing : keys) {
        CAPTURE(narrow(missing.path));
        TweakablePhone phone;
        removeKey(missing.path, missing.root);
        CHECK(applySystemTweaks() == (missing.path == volumeKey ? keyIsMissing : 0));
        CHECK(!keyExists(missing.path, missing.root));
        for (const Tweak &tweak : tweaks)
            if (tweak.key != missing.path)
                checkTweak(tweak, true);
        CHECK(phone.keysLeftOpen() == 0);
    }
}

TEST_CASE("a key that does not open keeps its values, and the others are dealt with")
{
    for (const TweakedKey &failing : keys) {
        CAPTURE(narrow(failing.path));
        TweakablePhone phone;
        order(std::wstring(L"open:") + failing.path, false);
        CHECK(applyOnce() == (failing.path == volumeKey ? failedByOrder : 0));
        for (const Tweak &tweak : tweaks)
            checkTweak(tweak, tweak.key != failing.path);
    }
}

TEST_CASE("a phone without any of the keys is left without them")
{
    TweakablePhone phone;
    for (const TweakedKey &key : keys)
        removeKey(key.path, key.root);
    CHECK(applySystemTweaks() == keyIsMissing);
    for (const TweakedKey &key : keys)
        CHECK(!keyExists(key.path, key.root));
}

TEST_CASE("tweaks applied again change nothing")
{
    TweakablePhone phone;
    CHECK(applySystemTweaks() == 0);
    const std::string once = dumpKey(L"ControlPanel") + dumpKey(mediaKey) + dumpKey(audioKey, HKEY_LOCAL_MACHINE);
    CHECK(applySystemTweaks() == 0);
    CHECK(dumpKey(L"ControlPanel") + dumpKey(mediaKey) + dumpKey(audioKey, HKEY_LOCAL_MACHINE) == once);
}

// ---- The low-battery notification --------------------------------------------------------------------------------------

TEST_CASE("a name of the low-battery notification is kept")
{
    TweakablePhone phone;
    for (const wchar_t *name : {L"X", L"Low Battery", L"Battery is getting low on this phone"}) {
        storeText(L"Default", name, batteryKey);
        CHECK(applySystemTweaks() == 0);
        CHECK(storedText(L"Default", batteryKey) == name);
    }
    storeText(L"Default", std::wstring(99, L'n'), batteryKey);   // 200 bytes, the most that is read
    CHECK(applySystemTweaks() == 0);
    CHECK(storedValue(L"Default", batteryKey).bytes.size() == 200);
    storeBytes(L"Default", REG_SZ, L"unterminated", 24, batteryKey);
    CHECK(applySystemTweaks() == 0);
    CHECK(storedValue(L"Default", batteryKey).bytes == bytesOf(L"unterminated"));
}

TEST_CASE("a lost name of the low-battery notification is restored, whichever way it was lost")
{
    TweakablePhone phone;
    storeBytes(L"Default", REG_SZ, L"", 0, batteryKey);
    CHECK(applySystemTweaks() == 0);
    CHECK(storedValue(L"Default", batteryKey).bytes == lowBattery);

    storeNumber(L"Default", 5, batteryKey);
    CHECK(applySystemTweaks() == 0);
    CHECK(storedValue(L"Default", batteryKey).type == REG_SZ);
    CHECK(storedValue(L"Default", batteryKey).bytes == lowBattery);

    storeText(L"Default", std::wstring(100, L'n'), batteryKey);   // cannot be read into 200 bytes
    CHECK(applySystemTweaks() == 0);
    CHECK(storedValue(L"Default", batteryKey).bytes == lowBattery);

    storeText(L"Default", L"", batteryKey);
    order(L"read:Default", false);
    CHECK(applyOnce() == 0);
    CHECK(storedValue(L"Default", batteryKey).bytes == lowBattery);
}

TEST_CASE("the restored name always takes 24 bytes: a shorter translation is filled up, a longer one cut unterminated")
{
    const struct {
        std::wstring translation;
        std::wstring stored;   // 12 characters
    } cases[] = {
        {L"A", std::wstring(L"A\0\0\0\0\0\0\0\0\0\0\0", 12)},
        {L"Akku", std::wstring(L"Akku\0\0\0\0\0\0\0\0", 12)},
        {L"Akku niedri", std::wstring(L"Akku niedri\0", 12)},
        {L"Akku niedrig", L"Akku niedrig"},
        {L"Akku niedrig!", L"Akku niedrig"},
        {L"Akkuladung ist zu niedrig", L"Akkuladung i"},
        {std::wstring(99, L'n'), std::wstring(12, L'n')},
        {std::wstring(100, L'n'), std::wstring(12, L'n')},
        {std::wstring(254, L'n'), std::wstring(12, L'n')},
    };
    for (const auto &each : cases) {
        CAPTURE(narrow(each.translation));
        TweakablePhone phone;
        getAppPath();
        phone.writeLanguageFile(L"DE", {L"Deutsch", L"255=" + each.translation});
        userSettings.lang = 1;
        CHECK(applySystemTweaks() == 0);
        const StoredValue name = storedValue(L"Default", batteryKey);
        CHECK(name.type == REG_SZ);
        CHECK(name.bytes == bytesOf(each.stored));
        CHECK(name.bytes.size() == 24);
    }
}

TEST_CASE("nothing of a name that could not be read is left behind a short translation")
{
    TweakablePhone phone;
    getAppPath();
    phone.writeLanguageFile(L"DE", {L"Deutsch", L"255=A"});
    userSettings.lang = 1;
    storeBytes(L"Default", REG_SZ, L"\0secret words", 26, batteryKey);
    CHECK(applySystemTweaks() == 0);
    CHECK(storedValue(L"Default", batteryKey).bytes == bytesOf(std::wstring(L"A\0\0\0\0\0\0\0\0\0\0\0", 12)));
}

// ---- Reminders ---------------------------------------------------------------------------------------------------------

TEST_CASE("reminders' silent bit is cleared only from options above it")
{
    const struct {
        DWORD before, after;
    } cases[] = {
        {0, 0},
        {1, 1},
        {0x3FFFFFFF, 0x3FFFFFFF},
        {0x40000000, 0x40000000},
        {0x40000001, 0x00000001},
        {0x4000000B, 0x0000000B},
        {0x7FFFFFFF, 0x3FFFFFFF},
        {0x80000000, 0x80000000},
        {0x80000001, 0x80000001},
        {0xC0000000, 0x80000000},
        {0xFFFFFFFF, 0xBFFFFFFF},
    };
    TweakablePhone phone;
    for (const auto &each : cases)
        for (const DWORD watched : {1u, 2u, 0xFFFFFFFFu}) {
            CAPTURE(each.before);
            userSettings.reminders = watched;
            storeNumber(L"Options", each.before, reminderKey);
            CHECK(applySystemTweaks() == 0);
            CHECK(storedNumber(L"Options", reminderKey) == each.after);
        }
}

TEST_CASE("while reminders are not watched their notification is not even opened")
{
    TweakablePhone phone;
    userSettings.reminders = 0;
    order(std::wstring(L"open:") + reminderKey, true);
    CHECK(!applyingThrows());
    CHECK(storedNumber(L"Options", reminderKey) == 0x4000000B);
}

TEST_CASE("options that need no change are not written")
{
    TweakablePhone phone;
    removeKey(batteryKey);   // its value has the same name
    for (const DWORD options : {0u, 0x3FFFFFFFu, 0x40000000u}) {
        storeNumber(L"Options", options, reminderKey);
        order(L"write:Options", true);
        CHECK(!applyingThrows());
    }
    storeNumber(L"Options", 0x40000001, reminderKey);
    order(L"write:Options", true);
    CHECK(applyingThrows());
}

TEST_CASE("the reminders value just loaded decides")
{
    TweakablePhone phone;
    storeNumber(L"reminders", 0);
    CHECK(getUserSettings() == 0);
    CHECK(storedNumber(L"Options", reminderKey) == 0x4000000B);
    storeNumber(L"reminders", 1);
    CHECK(getUserSettings() == 0);
    CHECK(storedNumber(L"Options", reminderKey) == 0x0000000B);
}

// ---- Mute --------------------------------------------------------------------------------------------------------------

TEST_CASE("both low bits of Mute are set, the others stay")
{
    TweakablePhone phone;
    const DWORD after[8] = {3, 3, 3, 3, 7, 7, 7, 7};
    for (DWORD mute = 0; mute < 8; ++mute) {
        CAPTURE(mute);
        storeNumber(L"Mute", mute, volumeKey);
        CHECK(applySystemTweaks() == 0);
        CHECK(storedNumber(L"Mute", volumeKey) == after[mute]);
    }
    storeNumber(L"Mute", 0xFFFFFFFC, volumeKey);
    CHECK(applySystemTweaks() == 0);
    CHECK(storedNumber(L"Mute", volumeKey) == 0xFFFFFFFF);
}

TEST_CASE("Mute is not written when both bits are set")
{
    TweakablePhone phone;
    removeKey(mediaKey);   // its value has the same name
    for (DWORD mute = 0; mute < 8; ++mute) {
        CAPTURE(mute);
        storeNumber(L"Mute", mute, volumeKey);
        order(L"write:Mute", true);
        CHECK(applyingThrows() == (mute != 3 && mute != 7));
    }
}

// ---- Failures ----------------------------------------------------------------------------------------------------------

TEST_CASE("a value that fails to be written costs no other")
{
    for (const wchar_t *failing :
         {L"PlayInBackground", L"Repeat", L"Mute", L"Volume", L"Background Quality", L"Options"}) {
        CAPTURE(narrow(failing));
        TweakablePhone phone;
        order(std::wstring(L"write:") + failing, false);
        CHECK(applyOnce() == 0);
        for (const Tweak &tweak : tweaks)
            checkTweak(tweak, std::wstring(failing) != tweak.name);
        CHECK(storedValue(L"Default", batteryKey).bytes == lowBattery);
    }
    TweakablePhone phone;
    order(L"write:Default", false);
    CHECK(applyOnce() == 0);
    CHECK(storedText(L"Default", batteryKey).empty());
    for (const Tweak &tweak : tweaks)
        checkTweak(tweak, true);
}

TEST_CASE("options that cannot be read are left alone, a Mute that cannot be read counts as 0")
{
    TweakablePhone phone;
    order(L"read:Options", false);
    order(L"read:Mute", false);
    CHECK(applyOnce() == 0);
    CHECK(storedNumber(L"Options", reminderKey) == 0x4000000B);
    CHECK(storedNumber(L"Mute", volumeKey) == 3);
}

TEST_CASE("only closing the volume key decides on the status")
{
    for (const TweakedKey &failing : keys) {
        CAPTURE(narrow(failing.path));
        TweakablePhone phone;
        order(std::wstring(L"flush:") + failing.path, false);
        CHECK(applyOnce() == 0);
        order(std::wstring(L"close:") + failing.path, false);
        CHECK(applyOnce() == (failing.path == volumeKey ? failedByOrder : 0));
        for (const Tweak &tweak : tweaks)
            checkTweak(tweak, true);
        CHECK(phone.keysLeftOpen() == 0);
    }
}

TEST_CASE("every key is flushed after its values are written, and the keys are dealt with in their order")
{
    for (int stop = 0; stop < keyCount; ++stop) {
        CAPTURE(narrow(keys[stop].path));
        TweakablePhone phone;
        order(std::wstring(L"flush:") + keys[stop].path, true);
        CHECK(applyingThrows());
        for (int index = 0; index < keyCount; ++index)
            for (const Tweak &tweak : tweaks)
                if (tweak.key == keys[index].path)
                    checkTweak(tweak, index <= stop);
        CHECK(phone.keysLeftOpen() == 0);
    }
}

TEST_CASE("an exception at any step of loading is logged as one of loading and leaves no key open")
{
    const std::vector<std::wstring> calls = {
        std::wstring(L"open:") + mediaKey,
        L"write:PlayInBackground",
        L"write:Repeat",
        L"write:Mute",
        L"write:Volume",
        std::wstring(L"flush:") + mediaKey,
        std::wstring(L"open:") + audioKey,
        L"write:Background Quality",
        std::wstring(L"flush:") + audioKey,
        std::wstring(L"open:") + batteryKey,
        L"write:Options",
        L"read:Default",
        L"write:Default",
        std::wstring(L"flush:") + batteryKey,
        std::wstring(L"open:") + reminderKey,
        L"read:Options",
        std::wstring(L"flush:") + reminderKey,
        std::wstring(L"open:") + volumeKey,
        L"read:Mute",
        std::wstring(L"flush:") + volumeKey,
        std::wstring(L"close:") + volumeKey,
    };
    for (const std::wstring &call : calls) {
        CAPTURE(narrow(call));
        TweakablePhone phone;
        order(call, true);
        CHECK(getUserSettings() != 0);
        SimClearFaults();
        CHECK(phone.log() == std::vector<std::string>{"** Exception getUserSettings **"});
        CHECK(phone.keysLeftOpen() == 0);
    }
}

TEST_CASE("no memory is needed or left")
{
    TweakablePhone phone;
    const int before = SimLiveAllocations();
    SimOrderFault(L"memory", 0, L"alloc:", FALSE);
    const LONG status = applyOnce();
    const int after = SimLiveAllocations();
    CHECK(status == 0);
    CHECK(after == before);
    for (const Tweak &tweak : tweaks)
        checkTweak(tweak, true);
}

// The last one here: a program that lets an exception out of a destructor ends, and its tests with it.
TEST_CASE("an exception at closing any key is logged as one of loading")
{
    for (const TweakedKey &failing : keys) {
        CAPTURE(narrow(failing.path));
        TweakablePhone phone;
        order(std::wstring(L"close:") + failing.path, true);
        CHECK(getUserSettings() != 0);
        SimClearFaults();
        CHECK(phone.log() == std::vector<std::string>{"** Exception getUserSettings **"});
        CHECK(phone.keysLeftOpen() == 0);
    }
}
