#include "support.h"

#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "page_window.h"
#include "test_phone.h"
#include "text.h"
#include "user_settings.h"

namespace {

constexpr wchar_t ownerKey[] = L"ControlPanel\\Owner";
constexpr wchar_t voiceMailKey[] = L"Software\\Microsoft\\VMail";
constexpr wchar_t version[] = L"Kelvane Settings 1.60.2 (#160)";

// A phone with nothing in its log and basic logging, on which the program has been started.
struct SupportPhone : TestPhone {
    explicit SupportPhone(const char *base = "wm6") : TestPhone(base)
    {
        restartProgram();
        getAppPath();
        removeFile(L"\\Program Files\\Kelvane\\Kelvane.log");
        userSettings.loggingOption = 1;
    }
    ~SupportPhone()
    {
        SimClearFaults();
        restartProgram();
    }

    std::vector<std::string> supportInfo() const
    {
        removeFile(L"\\Program Files\\Kelvane\\Kelvane.log");
        writeSupportInfo(version);
        return log();
    }

    // The only line of the block that begins so; empty when there is none.
    std::string line(const std::string &beginning) const
    {
        std::string found;
        for (const std::string &each : supportInfo())
            if (each.compare(0, beginning.size(), beginning) == 0) {
                CHECK(found.empty());
                found = each;
            }
        return found;
    }

    // What the program has started, in the journal's words.
    std::string mail() const
    {
        sendSupportMail(version);
        const std::vector<std::string> lines = journal("shell");
        return lines.empty() ? "" : lines.back();
    }
};

std::string mailOf(const std::string &owner, const std::string &system, const std::string &program = "tmail")
{
    return "shell \\Windows\\" + program + ".exe -to \"support@tessaryn.example\" -body \"ID:   " + owner +
           "\\r\\nPPC:  " + system + "\\r\\nVersion: Kelvane Settings 1.60.2 (#160)\"";
}

// The first exception of a thread makes its own bookkeeping, which takes memory.
void makeFirstException()
{
    try {
        throw 0;
    } catch (int) {
    }
}

std::wstring many(size_t count)
{
    return std::wstring(count, L'w');
}

}   // namespace

// ---- Mail --------------------------------------------------------------------------------------------------------------

TEST_CASE("a mail to support says whose device it is, which, and what runs on it")
{
    SupportPhone phone;
    CHECK(phone.mail() == mailOf("Anna Keller", "Example Phone 600, v5.2"));
    CHECK(phone.journal("shell").size() == 1);
}

TEST_CASE("the mail program is pmail where there is one, else tmail, whether that is there or not")
{
    SupportPhone phone;
    phone.writeFile(L"\\Windows\\pmail.exe", "");
    CHECK(phone.mail() == mailOf("Anna Keller", "Example Phone 600, v5.2", "pmail"));
    phone.removeFile(L"\\Windows\\pmail.exe");
    CHECK(phone.mail() == mailOf("Anna Keller", "Example Phone 600, v5.2"));
    phone.set(L"programs", L"present", L"");
    CHECK(phone.mail() == mailOf("Anna Keller", "Example Phone 600, v5.2") + " not found");
}

TEST_CASE("an owner that is missing, of another type or too long is left out of the mail")
{
    SupportPhone phone;
    removeValue(L"Owner", ownerKey);
    CHECK(phone.mail() == mailOf("", "Example Phone 600, v5.2"));
    storeNumber(L"Owner", 7, ownerKey);
    CHECK(phone.mail() == mailOf("", "Example Phone 600, v5.2"));
    storeText(L"Owner", many(260), ownerKey);
    CHECK(phone.mail() == mailOf("", "Example Phone 600, v5.2"));
    storeText(L"Owner", many(259), ownerKey);
    CHECK(phone.mail() == mailOf(std::string(259, 'w'), "Example Phone 600, v5.2"));
    removeKey(ownerKey);
    CHECK(phone.mail() == mailOf("", "Example Phone 600, v5.2"));
}

TEST_CASE("the maker's text is taken as it is written, also a very long one, and names beyond plain letters")
{
    SupportPhone phone;
    storeText(L"Owner", L"J\x00F6rg \x4E2D", ownerKey);
    phone.set(L"phone", L"oem", L"GR\x00D6SSE 7");
    CHECK(phone.mail() == mailOf("J\xC3\xB6rg \xE4\xB8\xAD", "GR\xC3\x96SSE 7, v5.2"));
    phone.set(L"phone", L"oem", many(1000).c_str());
    storeText(L"Owner", many(259), ownerKey);
    CHECK(phone.mail() == mailOf(std::string(259, 'w'), std::string(1000, 'w') + ", v5.2"));
}

TEST_CASE("a mail that finds no memory is logged and not sent, and leaves nothing behind")
{
    SupportPhone phone;
    makeFirstException();
    const int blocks = SimLiveAllocations();
    SimOrderFault(L"memory", 1, L"alloc:", FALSE);
    sendSupportMail(version);
    SimClearFaults();
    const int blocksNow = SimLiveAllocations();
    CHECK(phone.journal("shell").empty());
    CHECK(phone.log() == std::vector<std::string>{"** Exception sendSupportMail **"});
    CHECK(blocksNow == blocks);
}

// ---- Log ---------------------------------------------------------------------------------------------------------------

TEST_CASE("the block describes the device and the alarm settings, line by line")
{
    SupportPhone phone;
    userSettings.sysPhoneName = duplicateText(L"Example Mobile");
    userSettings.Email = 1;
    userSettings.SMS = 2;
    userSettings.voiceMail = 3;
    userSettings.missedCalls = 4;
    userSettings.batteryAlarm = 5;
    userSettings.signalAlarm = 6;
    userSettings.lowSignalLevel = 15;
    userSettings.voicemail2 = duplicateText(L"+15550177");
    makeKey(L"SOFTWARE\\Apps\\Cyberbank", HKEY_LOCAL_MACHINE);
    const std::vector<std::string> expected = {
        "Device : PocketPC",
        "Owner  : Anna Keller",
        "Layout : 240 x 320",
        "PPC    : Example Phone 600, v5.2 (AKU: 1235.1.0.0)",
        "Version: Kelvane Settings 1.60.2 (#160)",
        "Operator: Example Mobile",
        "Active Alarms (2): E:1 S:2 V:3 M:4 B:5 S:6(15)",
        "Voicemail#: +15550100, , +15550177",
        "Log-level: Basic",
        "** Warning: Cyberbank POZ device - Not supported!",
    };
    CHECK(phone.supportInfo() == expected);
}

TEST_CASE("lines without anything to say are left out")
{
    SupportPhone phone("vga");
    phone.set(L"phone", L"oem", L"");
    removeKey(ownerKey);
    removeKey(L"System\\Versions", HKEY_LOCAL_MACHINE);
    phone.set(L"notifications", L"pending", L"0");
    const std::vector<std::string> expected = {
        "Device : PocketPC",
        "Owner  : ",
        "Layout : 480 x 640",
        "PPC    : , v5.2 (AKU: )",
        "Version: Kelvane Settings 1.60.2 (#160)",
        "Active Alarms (0): E:0 S:0 V:0 M:0 B:0 S:0(0)",
        "Log-level: Basic",
    };
    CHECK(phone.supportInfo() == expected);
    userSettings.sysPhoneName = duplicateText(L"");
    CHECK(phone.supportInfo() == expected);
}

TEST_CASE("the voice-mail numbers are the user's own, else those of the network")
{
    SupportPhone phone;
    userSettings.voiceMail = 1;
    removeKey(voiceMailKey);
    CHECK(phone.line("Voicemail#") == "Voicemail#: , , ");
    storeText(L"PhoneNumber2", L"202", voiceMailKey);
    CHECK(phone.line("Voicemail#") == "Voicemail#: , 202, ");
    storeText(L"PhoneNumber1", L"201", voiceMailKey);
    CHECK(phone.line("Voicemail#") == "Voicemail#: 201, 202, ");
    storeText(L"UserProvidedNumber2", L"102", voiceMailKey);
    CHECK(phone.line("Voicemail#") == "Voicemail#: 201, 202, ");
    storeText(L"UserProvidedNumber1", L"101", voiceMailKey);
    CHECK(phone.line("Voicemail#") == "Voicemail#: 101, 102, ");
    removeValue(L"UserProvidedNumber2", voiceMailKey);
    CHECK(phone.line("Voicemail#") == "Voicemail#: 101, , ");
    storeText(L"UserProvidedNumber1", L"", voiceMailKey);   // there, if empty
    userSettings.voicemail2 = duplicateText(L"303");
    CHECK(phone.line("Voicemail#") == "Voicemail#: , , 303");
    storeText(L"UserProvidedNumber1", many(49), voiceMailKey);
    CHECK(phone.line("Voicemail#") == "Voicemail#: " + std::string(49, 'w') + ", , 303");
    storeText(L"UserProvidedNumber1", many(50), voiceMailKey);   // more than the 100 bytes that are read
    CHECK(phone.line("Voicemail#") == "Voicemail#: 201, 202, 303");
    userSettings.voiceMail = 0;
    CHECK(phone.line("Voicemail#").empty());
}

TEST_CASE("the log level named is the highest")
{
    SupportPhone phone;
    struct {
        DWORD option;
        const char *line;
    } const levels[] = {
        {1, "Log-level: Basic"},
        {5, "Log-level: Detail"},
        {9, "Log-level: Signal"},
        {13, "Log-level: Signal"},
        {4, "Log-level: Detail"},
        {8, "Log-level: Signal"},
        {2, "Log-level: Basic"},
        {16, "Log-level: Basic"},
        {0x80000010, "Log-level: Basic"},
        {0x104, "Log-level: Detail"},
        {0x100, ""},
        {0x80000000, ""},   // not logged at all
    };
    for (const auto &level : levels) {
        userSettings.loggingOption = level.option;
        CHECK(phone.line("Log-level") == level.line);
    }
}

TEST_CASE("names beyond plain letters, and the longest ones, are logged whole")
{
    SupportPhone phone;
    storeText(L"Owner", L"J\x00F6rg", ownerKey);
    CHECK(phone.line("Owner") == "Owner  : J\xF6rg");
    storeText(L"Owner", many(259), ownerKey);
    CHECK(phone.line("Owner") == "Owner  : " + std::string(259, 'w'));
    storeText(L"Aku", many(49), L"System\\Versions", HKEY_LOCAL_MACHINE);
    CHECK(phone.line("PPC") == "PPC    : Example Phone 600, v5.2 (AKU: " + std::string(49, 'w') + ")");
    storeText(L"Aku", many(50), L"System\\Versions", HKEY_LOCAL_MACHINE);   // more than the 100 bytes that are read
    CHECK(phone.line("PPC") == "PPC    : Example Phone 600, v5.2 (AKU: )");
    storeText(L"Aku", L"1235.1.0.0", L"System\\Versions", HKEY_LOCAL_MACHINE);
    phone.set(L"phone", L"oem", many(1000).c_str());
    CHECK(phone.line("PPC") == "PPC    : " + std::string(1000, 'w') + ", v5.2 (AKU: 1235.1.0.0)");
    userSettings.sysPhoneName = duplicateText(many(3000).c_str());
    CHECK(phone.line("Operator") == "Operator: " + std::string(3000, 'w'));
}

TEST_CASE("fields are shown as signed numbers")
{
    SupportPhone phone;
    userSettings.Email = 0xFFFFFFFF;
    userSettings.lowSignalLevel = 0x80000000;
    CHECK(phone.line("Active") == "Active Alarms (2): E:-1 S:0 V:0 M:0 B:0 S:0(-2147483648)");
}

TEST_CASE("a block that finds no memory is logged as that, and registry failures leave their fields empty")
{
    SupportPhone phone;
    makeFirstException();
    const int blocks = SimLiveAllocations();
    SimOrderFault(L"memory", 1, L"alloc:", FALSE);
    writeSupportInfo(version);
    SimClearFaults();
    const int blocksNow = SimLiveAllocations();
    CHECK(blocksNow == blocks);
    CHECK(phone.log() == std::vector<std::string>{"** Exception writeSupportInfo **"});

    SimOrderFault(L"registry", 0, L"read:*", FALSE);
    const std::vector<std::string> lines = phone.supportInfo();
    SimClearFaults();
    REQUIRE(lines.size() == 7);
    CHECK(lines[1] == "Owner  : ");
    CHECK(lines[3] == "PPC    : Example Phone 600, v5.2 (AKU: )");
    CHECK(SimLiveKeys() == 0);
}
