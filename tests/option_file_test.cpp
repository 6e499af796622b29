#include "option_file.h"

#include <string>
#include <vector>

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "test_phone.h"
#include "text.h"

namespace {

constexpr wchar_t path[] = L"\\Program Files\\Kelvane\\Kelvane_User.cfg";
constexpr char failed[] = "** Exception getUserConfigSettings **";

// What the engine reads as well, and so written out here once more.
struct Row {
    const char *key;
    OptionKind kind;
    DWORD OptionFlags::*flag;
    bool reset;
};

const Row rows[] = {
    {"vibratesetting", OptionKind::vibration, &OptionFlags::vibrateSetting, false},
    {"missedcallfilter", OptionKind::off, &OptionFlags::missedCallFilterOff, true},
    {"memoryaspercent", OptionKind::on, &OptionFlags::memoryAsPercent, true},
    {"dataasmb", OptionKind::on, &OptionFlags::dataAsMb, true},
    {"profilechangenotify", OptionKind::number, &OptionFlags::profileChangeNotify, false},
    {"i730led", OptionKind::on, &OptionFlags::i730Led, true},
    {"hidezeroitemcount", OptionKind::on, &OptionFlags::hideZeroItemCount, true},
    {"trinitywlanfix", OptionKind::on, &OptionFlags::trinityWlanFix, false},
    {"wlanviadriver", OptionKind::on, &OptionFlags::wlanViaDriver, false},
    {"alwaysentersim", OptionKind::on, &OptionFlags::alwaysEnterSim, true},
    {"vibrateonconnectfix", OptionKind::on, &OptionFlags::vibrateOnConnectFix, false},
    {"disablesinglebacklight", OptionKind::on, &OptionFlags::disableSingleBacklight, false},
    {"speakerphonefix", OptionKind::on, &OptionFlags::speakerphoneFix, false},
    {"systemnotifypowerdown", OptionKind::on, &OptionFlags::systemNotifyPowerDown, true},
    {"alarmoneveryevent", OptionKind::on, &OptionFlags::alarmOnEveryEvent, true},
    {"email2ismms", OptionKind::on, &OptionFlags::email2IsMms, true},
    {"othersmsclient", OptionKind::on, &OptionFlags::otherSmsClient, true},
    {"signalalarmdelay", OptionKind::delay, &OptionFlags::signalAlarmDelay, false},
    {"clearalarmonaction", OptionKind::on, &OptionFlags::email2IsMms, true},
    {"clearmissedcallsmsonvoice", OptionKind::on, &OptionFlags::clearMissedCallSmsOnVoice, true},
    {"hideunreaditems", OptionKind::number, &OptionFlags::hideUnreadItems, true},
    {"usedatabaseforcustomsms", OptionKind::on, &OptionFlags::useDatabaseForCustomSms, true},
    {"hideprofilealarmrepeats", OptionKind::on, &OptionFlags::hideProfileAlarmRepeats, true},
    {"usefastgraphics", OptionKind::on, &OptionFlags::useFastGraphics, true},
};

constexpr size_t rowCount = sizeof rows / sizeof *rows;

// All flags, by the order of their first key; "clearalarmonaction" has none of its own.
std::vector<DWORD OptionFlags::*> allFlags()
{
    std::vector<DWORD OptionFlags::*> flags;
    for (const Row &row : rows)
        if (std::string(row.key) != "clearalarmonaction")
            flags.push_back(row.flag);
    return flags;
}

void setAllFlags(DWORD value)
{
    for (DWORD OptionFlags::*flag : allFlags())
        optionFlags.*flag = value;
}

// A phone whose install directory is known and where no flag is set.
struct OptionPhone : TestPhone {
    OptionPhone()
    {
        freeText(appPath);
        getAppPath();
        removeFile(path);
        optionFlags = OptionFlags{};
    }
    ~OptionPhone()
    {
        freeText(appPath);
        optionFlags = OptionFlags{};
    }

    void read(const std::string &content) const
    {
        writeFile(path, content);
        getUserConfigSettings();
        SimClearFaults();
    }

    // The flag that one line alone, below a comment, makes of what was there.
    DWORD readLine(DWORD OptionFlags::*flag, const std::string &line, DWORD before = 0) const
    {
        optionFlags = OptionFlags{};
        optionFlags.*flag = before;
        read("; options\r\n" + line + "\r\n");
        return optionFlags.*flag;
    }
};

void checkAllFlags(DWORD expected)
{
    for (size_t index = 0; index < allFlags().size(); ++index) {
        CAPTURE(index);
        CHECK(optionFlags.*allFlags()[index] == expected);
    }
}

}   // namespace

// ---- The table ---------------------------------------------------------------------------------------------------------

TEST_CASE("the table has every key the engine knows, in its order")
{
    REQUIRE(rowCount == 24);
    REQUIRE(optionCount == 24);
    for (size_t index = 0; index < rowCount; ++index) {
        CAPTURE(rows[index].key);
        CHECK(std::string(optionRows[index].key) == rows[index].key);
        CHECK((optionRows[index].kind == rows[index].kind));
        CHECK((optionRows[index].flag == rows[index].flag));
        CHECK(optionRows[index].reset == rows[index].reset);
    }
}

// ---- Single keys -------------------------------------------------------------------------------------------------------

TEST_CASE("a switch is on when its value is 1 and with no other value")
{
    OptionPhone phone;
    for (const Row &row : rows) {
        if (row.kind != OptionKind::on)
            continue;
        const std::string key = row.key;
        CAPTURE(key);
        CHECK(phone.readLine(row.flag, key + "=1") == 1);
        CHECK(phone.readLine(row.flag, key + "= 1") == 1);
        CHECK(phone.readLine(row.flag, key + " = 01 ; yes") == 1);
        CHECK(phone.readLine(row.flag, key + "=0") == 0);
        CHECK(phone.readLine(row.flag, key + "=2") == 0);
        CHECK(phone.readLine(row.flag, key + "=-1") == 0);
        CHECK(phone.readLine(row.flag, key + "=11") == 0);
        CHECK(phone.readLine(row.flag, key + "=") == 0);
        CHECK(phone.readLine(row.flag, key + "=on") == 0);
        // A switch that is never reset stays on until the program ends.
        CHECK(phone.readLine(row.flag, key + "=0", 1) == (row.reset ? 0u : 1u));
    }
}

TEST_CASE("the missed call filter is off when its value is 0")
{
    OptionPhone phone;
    DWORD OptionFlags::*const flag = &OptionFlags::missedCallFilterOff;
    CHECK(phone.readLine(flag, "missedcallfilter=0") == 1);
    CHECK(phone.readLine(flag, "MissedCallFilter=0") == 1);
    CHECK(phone.readLine(flag, "MISSEDCALLFILTER=0") == 1);
    CHECK(phone.readLine(flag, "missedcallfilter=1") == 0);
    CHECK(phone.readLine(flag, "missedcallfilter=2") == 0);
    CHECK(phone.readLine(flag, "missedcallfilter=-1") == 0);
    CHECK(phone.readLine(flag, "missedcallfilter=no") == 1);   // no number is 0
    CHECK(phone.readLine(flag, "missedcallfilter=") == 1);
    CHECK(phone.readLine(flag, "missedcallfilter=1", 1) == 0);
}

TEST_CASE("the vibration is one of four words, and any other text leaves it")
{
    OptionPhone phone;
    DWORD OptionFlags::*const flag = &OptionFlags::vibrateSetting;
    CHECK(phone.readLine(flag, "vibratesetting=1short") == 1);
    CHECK(phone.readLine(flag, "vibratesetting=3short") == 3);
    CHECK(phone.readLine(flag, "vibratesetting=1long") == 4);
    CHECK(phone.readLine(flag, "vibratesetting=2long") == 5);
    CHECK(phone.readLine(flag, "VibrateSetting=2LONG") == 5);
    CHECK(phone.readLine(flag, "vibratesetting= 1long ") == 4);
    CHECK(phone.readLine(flag, "vibratesetting=2long 3short") == 3);   // in the order of the words
    for (const char *other : {"2short", "3long", "short", "1", "4", "", "1 short"})
        for (const DWORD before : {0u, 3u, 5u}) {
            CAPTURE(other);
            CHECK(phone.readLine(flag, std::string("vibratesetting=") + other, before) == before);
        }
}

TEST_CASE("numbers are taken as they are")
{
    OptionPhone phone;
    for (const Row &row : rows) {
        if (row.kind != OptionKind::number)
            continue;
        const std::string key = row.key;
        CAPTURE(key);
        CHECK(phone.readLine(row.flag, key + "=0", 5) == 0);
        CHECK(phone.readLine(row.flag, key + "=1") == 1);
        CHECK(phone.readLine(row.flag, key + "=42 of them") == 42);
        CHECK(phone.readLine(row.flag, key + "=2147483647") == 0x7FFFFFFF);
        CHECK(phone.readLine(row.flag, key + "=-1") == 0xFFFFFFFF);
        CHECK(phone.readLine(row.flag, key + "=none", 5) == 0);
    }
}

TEST_CASE("a signal alarm's delay outside 0 to 1000 is 20")
{
    OptionPhone phone;
    DWORD OptionFlags::*const flag = &OptionFlags::signalAlarmDelay;
    CHECK(phone.readLine(flag, "signalalarmdelay=-1") == 20);
    CHECK(phone.readLine(flag, "signalalarmdelay=0", 7) == 0);
    CHECK(phone.readLine(flag, "signalalarmdelay=1") == 1);
    CHECK(phone.readLine(flag, "signalalarmdelay=999") == 999);
    CHECK(phone.readLine(flag, "signalalarmdelay=1000") == 1000);
    CHECK(phone.readLine(flag, "signalalarmdelay=1001") == 20);
    CHECK(phone.readLine(flag, "signalalarmdelay=5000") == 20);
    CHECK(phone.readLine(flag, "signalalarmdelay=soon", 7) == 0);
    CHECK(phone.readLine(flag, "; nothing", 7) == 7);
}

TEST_CASE("clearing alarms on action and mail two being MMS are one switch")
{
    OptionPhone phone;
    const auto both = [&](const char *mail, const char *clear) {
        phone.read(std::string(";\r\nclearalarmonaction=") + clear + "\r\nemail2ismms=" + mail + "\r\n");
        return optionFlags.email2IsMms;
    };
    CHECK(both("0", "0") == 0);
    CHECK(both("1", "0") == 1);
    CHECK(both("0", "1") == 1);
    CHECK(both("1", "1") == 1);
}

TEST_CASE("every key sets its own flag and no other")
{
    OptionPhone phone;
    for (const Row &row : rows) {
        CAPTURE(row.key);
        const char *value = row.kind == OptionKind::vibration ? "1short" : row.kind == OptionKind::off ? "0" : "1";
        CHECK(phone.readLine(row.flag, std::string(row.key) + "=" + value) == 1);
        for (DWORD OptionFlags::*flag : allFlags())
            CHECK(optionFlags.*flag == (flag == row.flag ? 1u : 0u));
    }
}

TEST_CASE("a file with every key, in any order and case, sets every flag")
{
    OptionPhone phone;
    std::string content = "; Kelvane\r\n";
    for (size_t index = rowCount; index-- > 0;) {
        std::string key = rows[index].key;
        key[0] = static_cast<char>(key[0] - 'a' + 'A');
        content += key + "=" +
                   (rows[index].kind == OptionKind::vibration ? "1Short"
                    : rows[index].kind == OptionKind::off     ? "0"
                                                              : "1") +
                   "\r\n";
    }
    phone.read(content);
    checkAllFlags(1);
}

// ---- Before reading ----------------------------------------------------------------------------------------------------

namespace {

// After a reset of flags that were all 9: seventeen are 0, the others stay.
void checkReset()
{
    for (const Row &row : rows) {
        CAPTURE(row.key);
        CHECK(optionFlags.*row.flag == (row.reset ? 0u : 9u));
    }
}

}   // namespace

TEST_CASE("flags are reset, but for those that last, also when there is no file or nothing in it")
{
    OptionPhone phone;
    setAllFlags(9);
    getUserConfigSettings();
    checkReset();

    setAllFlags(9);
    phone.read("");
    checkReset();
    CHECK(phone.log().empty());
}

TEST_CASE("nothing happens before the install directory is known")
{
    OptionPhone phone;
    phone.writeFile(path, ";\r\nusefastgraphics=1\r\n");
    freeText(appPath);
    setAllFlags(9);
    getUserConfigSettings();
    checkAllFlags(9);
}

TEST_CASE("the file is looked for in the install directory")
{
    OptionPhone phone;
    storeText(L"InstallDir", L"\\Storage Card\\Kelvane");
    freeText(appPath);
    getAppPath();
    phone.writeFile(path, ";\r\ni730led=1\r\n");
    phone.writeFile(L"\\Storage Card\\Kelvane\\Kelvane_User.cfg", ";\r\ndataasmb=1\r\n");
    getUserConfigSettings();
    CHECK(optionFlags.i730Led == 0);
    CHECK(optionFlags.dataAsMb == 1);
}

TEST_CASE("an install directory of the greatest length leaves room for the file's name")
{
    OptionPhone phone;
    freeText(appPath);
    appPath = duplicateText((L"\\Kelvane" + std::wstring(251, L'x')).c_str());
    wchar_t found[optionPathCapacity];
    CHECK(optionFilePath(found));
    CHECK(std::wstring(found) == std::wstring(appPath) + L"\\Kelvane_User.cfg");
    freeText(appPath);
    CHECK(!optionFilePath(found));
}

// ---- Where a key is found ----------------------------------------------------------------------------------------------

TEST_CASE("a key counts on any line but the first")
{
    OptionPhone phone;
    phone.read("usefastgraphics=1\r\n");
    CHECK(optionFlags.useFastGraphics == 0);
    phone.read("usefastgraphics=1\r\nusefastgraphics=1\r\n");
    CHECK(optionFlags.useFastGraphics == 1);
    phone.read("\r\nusefastgraphics=1\r\n");
    CHECK(optionFlags.useFastGraphics == 1);
    phone.read(";\r\n\r\n\r\nusefastgraphics=1\r\n");
    CHECK(optionFlags.useFastGraphics == 1);
}

TEST_CASE("a key counts at the beginning of its line only, after a carriage return and a line feed")
{
    OptionPhone phone;
    for (const char *content : {";\r\n usefastgraphics=1\r\n", ";\r\n;usefastgraphics=1\r\n", ";\nusefastgraphics=1\n",
                                ";\rusefastgraphics=1\r", ";\n\rusefastgraphics=1\n", ";\r\nxusefastgraphics=1\r\n"}) {
        CAPTURE(content);
        phone.read(content);
        CHECK(optionFlags.useFastGraphics == 0);
    }
}

TEST_CASE("a last line without its line feed does not count")
{
    OptionPhone phone;
    phone.read(";\r\nusefastgraphics=1");
    CHECK(optionFlags.useFastGraphics == 0);
    phone.read(";\r\nusefastgraphics=1\r");
    CHECK(optionFlags.useFastGraphics == 0);
    phone.read(";\r\nusefastgraphics=1\n");
    CHECK(optionFlags.useFastGraphics == 1);
    phone.read(std::string(";\r\nusefastgraphics=1\r\n\0", 23));   // as the editor leaves it
    CHECK(optionFlags.useFastGraphics == 1);
}

TEST_CASE("the first of several lines with a key counts, also when a longer name begins with it")
{
    OptionPhone phone;
    phone.read(";\r\nsignalalarmdelay=5\r\nsignalalarmdelay=6\r\n");
    CHECK(optionFlags.signalAlarmDelay == 5);
    phone.read(";\r\nsignalalarmdelayed=7\r\nsignalalarmdelay=8\r\n");
    CHECK(optionFlags.signalAlarmDelay == 7);
}

TEST_CASE("the equals sign is looked for beyond the key's line, and the value ends with its own")
{
    OptionPhone phone;
    phone.read(";\r\nusefastgraphics\r\nanything=1\r\n");
    CHECK(optionFlags.useFastGraphics == 1);
    phone.read(";\r\nusefastgraphics=\r\n1\r\n");
    CHECK(optionFlags.useFastGraphics == 0);
    phone.read(";\r\nmissedcallfilter=\r\n1\r\n");
    CHECK(optionFlags.missedCallFilterOff == 1);
    phone.read(";\r\nusefastgraphics==1\r\n");
    CHECK(optionFlags.useFastGraphics == 0);
    phone.read(";\r\nusefastgraphics\r\n");
    CHECK(optionFlags.useFastGraphics == 0);
    phone.read(";\r\nvibratesetting=\r\n1short\r\n");
    CHECK(optionFlags.vibrateSetting == 0);
}

TEST_CASE("letters beyond the plain ones are left as they are")
{
    OptionPhone phone;
    phone.read("; \xC4\xD6\xDC\r\nUSEFASTGRAPHICS=1\r\n");
    CHECK(optionFlags.useFastGraphics == 1);
}

// ---- Files nobody expects ----------------------------------------------------------------------------------------------

TEST_CASE("a zero byte ends the text")
{
    OptionPhone phone;
    phone.read(std::string(";\r\ni730led=1\r\n\0\r\nusefastgraphics=1\r\n", 36));
    CHECK(optionFlags.i730Led == 1);
    CHECK(optionFlags.useFastGraphics == 0);
    phone.read(std::string(1000, '\0'));
    CHECK(optionFlags.i730Led == 0);
}

TEST_CASE("random bytes, line breaks among them, do no harm")
{
    OptionPhone phone;
    unsigned state = 12345;
    for (int round = 0; round < 20; ++round) {
        std::string content;
        for (int index = 0; index < 2000; ++index) {
            state = state * 1103515245u + 12345u;
            const unsigned choice = state >> 16;
            if (choice % 7 == 0)
                content += "\r\n";
            else if (choice % 11 == 0)
                content += rows[choice % rowCount].key;
            else if (choice % 5 == 0)
                content += '=';
            else
                content += static_cast<char>(choice % 255 + 1);
        }
        phone.read(content);
        CHECK(optionFlags.signalAlarmDelay <= 1000);
        CHECK(optionFlags.useFastGraphics <= 1);
    }
    CHECK(phone.log().empty());
}

TEST_CASE("a file that is just line breaks, just a key or just equals signs sets nothing")
{
    OptionPhone phone;
    std::string breaks;
    for (int index = 0; index < 3000; ++index)
        breaks += "\r\n";
    for (const std::string &content :
         {breaks, std::string("\r\nusefastgraphics"), std::string("\r\nusefastgraphics="), std::string(3000, '='),
          std::string("\r\n"), std::string("\r"), std::string("\n"), std::string("=")}) {
        phone.read(content);
        checkAllFlags(0);
    }
}

TEST_CASE("a key at the end of ten megabytes is found")
{
    OptionPhone phone;
    std::string content(10 * 1024 * 1024, 'x');
    for (size_t index = 78; index + 2 < content.size(); index += 80) {
        content[index] = '\r';
        content[index + 1] = '\n';
    }
    phone.read(content + "\r\nusefastgraphics=1\r\n");
    CHECK(optionFlags.useFastGraphics == 1);
}

TEST_CASE("a very long value is read to its end")
{
    OptionPhone phone;
    phone.read(";\r\nsignalalarmdelay=" + std::string(100000, '0') + "77\r\n");
    CHECK(optionFlags.signalAlarmDelay == 77);
    phone.read(";\r\nsignalalarmdelay=" + std::string(100000, ' ') + "78\r\n");
    CHECK(optionFlags.signalAlarmDelay == 78);
}

// ---- Failures ----------------------------------------------------------------------------------------------------------

TEST_CASE("a file that cannot be opened, measured, read or held leaves the flags as they are after the reset")
{
    OptionPhone phone;
    std::string content = ";\r\n";
    for (const Row &row : rows)
        content += std::string(row.key) + "=1\r\n";
    phone.writeFile(path, content);
    struct {
        const wchar_t *kind, *call;
    } const faults[] = {{L"file", L"open:*"}, {L"file", L"size:*"}, {L"file", L"read:*"}, {L"memory", L"alloc:"}};
    for (const auto &fault : faults) {
        setAllFlags(9);
        const int blocks = SimLiveAllocations();
        const int files = SimLiveFiles();
        SimOrderFault(fault.kind, 0, fault.call, FALSE);
        getUserConfigSettings();
        SimClearFaults();
        const int blocksNow = SimLiveAllocations();
        const int filesNow = SimLiveFiles();
        CAPTURE(narrow(fault.call));
        checkReset();
        CHECK(blocksNow == blocks);
        CHECK(filesNow == files);
    }
    CHECK(phone.log().empty());
}

TEST_CASE("an exception is logged and leaves neither memory nor a file behind")
{
    OptionPhone phone;
    phone.writeFile(path, ";\r\nusefastgraphics=1\r\n");
    const wchar_t *const calls[] = {L"open:\\Program Files\\Kelvane\\Kelvane_User.cfg", L"size:*", L"read:*"};
    for (const wchar_t *call : calls) {
        phone.removeFile(L"\\Program Files\\Kelvane\\Kelvane.log");
        setAllFlags(9);
        const int blocks = SimLiveAllocations();
        const int files = SimLiveFiles();
        SimOrderFault(L"file", 1, call, TRUE);
        getUserConfigSettings();
        SimClearFaults();
        const int blocksNow = SimLiveAllocations();
        const int filesNow = SimLiveFiles();
        CAPTURE(narrow(call));
        checkReset();
        CHECK(phone.log() == std::vector<std::string>{failed});
        CHECK(blocksNow == blocks);
        CHECK(filesNow == files);
    }
}
