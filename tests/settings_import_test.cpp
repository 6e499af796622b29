#include "settings_import.h"

#include "exchange_phone.h"
#include "settings_export.h"

namespace {

constexpr char mainHeader[] = "Software\\Tessaryn\\Kelvane\r\n\r\n";

int importText(const ExchangePhone &phone, const std::string &text)
{
    phone.writeFile(exchangeFile, text);
    phone.forgetMessages();
    return importSettings(1);
}

// What is stored after importing these lines as the main key's.
std::string imported(const ExchangePhone &phone, const std::string &lines)
{
    CHECK(importText(phone, mainHeader + lines) == 1);
    return dumpKey(kelvaneKey);
}

std::string typeOf(const wchar_t *name)
{
    const StoredValue value = storedValue(name);
    return value.present ? std::to_string(value.type) + ":" + std::to_string(value.bytes.size()) : "absent";
}

}   // namespace

TEST_CASE("what was exported is stored again, key by key")
{
    ExchangePhone phone;
    storeText(L"skinName", L"blue_big");
    storeNumber(L"lowBatteryLevel", 20);
    storeNumber(L"negative", 0xFFFFFFFF);
    storeText(L"empty", L"");
    storeText(L"umlauts", L"\x00E4\x00F6\x00FC\x00A7\x20AC");
    storeText(L"commas", L"1,2,3=4, 5");
    storeText(L"", L"default");
    for (int profile = 0; profile < 7; ++profile) {
        const std::wstring key = subkey(std::to_wstring(profile));
        storeNumber(L"0", profile * 10, key.c_str());
        storeText(L"4", L"ring.wav", key.c_str());
        storeNumber(L"4_1", 1, key.c_str());
    }
    const std::string before = dumpKey(kelvaneKey);
    exportSettings();
    removeKey(kelvaneKey);
    CHECK(importSettings(1) == 1);
    CHECK(dumpKey(kelvaneKey) == before);
}

TEST_CASE("a text is stored with its terminator, a number as four bytes of the type that stands there")
{
    ExchangePhone phone;
    imported(phone, "text=1,abc\r\nnumber=4,-2\r\nbinary=3,77\r\nlist=7,5\r\nodd=-16,1\r\nempty=1,\r\n\r\n");
    CHECK(storedText(L"text") == L"abc");
    CHECK(typeOf(L"text") == "1:8");
    CHECK(storedNumber(L"number") == 0xFFFFFFFE);
    CHECK(typeOf(L"binary") == "3:4");
    CHECK(storedValue(L"binary").bytes[0] == 77);
    CHECK(typeOf(L"list") == "7:4");
    CHECK(typeOf(L"odd") == "4294967280:4");
    CHECK(typeOf(L"empty") == "1:2");
}

TEST_CASE("an exported binary value comes back as a number of the binary type")
{
    ExchangePhone phone;
    storeBytes(L"a", REG_BINARY, L"12\0rest", 16);
    storeNumber(L"b", 1);
    exportSettings();
    CHECK(importSettings(1) == 1);
    CHECK(typeOf(L"a") == "3:4");
    CHECK(storedValue(L"a").bytes[0] == 12);
}

TEST_CASE("values that the file does not name stay")
{
    ExchangePhone phone;
    storeNumber(L"kept", 5);
    storeNumber(L"replaced", 1);
    imported(phone, "replaced=1,text\r\n\r\n");
    CHECK(storedNumber(L"kept") == 5);
    CHECK(storedText(L"replaced") == L"text");
}

TEST_CASE("lines that are no values are passed over")
{
    ExchangePhone phone;
    imported(phone, "no equals sign\r\nno comma=4\r\n\r\n");
    CHECK(phone.keyIsEmpty());
    imported(phone, "a,b\r\nc,d=4\r\ne=4,1\r\n\r\n");   // a comma in front of the equals sign is none
    CHECK(typeOf(L"e") == "4:4");
    CHECK(typeOf(L"c,d") == "absent");
}

TEST_CASE("a type or number that is none counts as 0")
{
    ExchangePhone phone;
    imported(phone, "a=x,5\r\nb=,6\r\nc=4,y\r\nd=4,\r\ne= 4, 9z\r\nf=4,+3\r\ng=4,4294967295\r\n\r\n");
    CHECK(typeOf(L"a") == "0:4");
    CHECK(storedValue(L"a").bytes[0] == 5);
    CHECK(typeOf(L"b") == "0:4");
    CHECK(storedNumber(L"c") == 0);
    CHECK(typeOf(L"c") == "4:4");
    CHECK(typeOf(L"d") == "4:4");
    CHECK(storedNumber(L"e") == 9);
    CHECK(storedNumber(L"f") == 3);
    CHECK(storedNumber(L"g") == 0xFFFFFFFF);
}

TEST_CASE("the install path and the count of starts are not taken over, but from the last line of a section")
{
    ExchangePhone phone;
    imported(phone, "installdir=1,x\r\nInstallDir=1,x\r\nbootcount=4,9\r\nBOOTCOUNT=3,9\r\na=4,1\r\n\r\n");
    CHECK(typeOf(L"installdir") == "absent");
    CHECK(typeOf(L"bootcount") == "absent");
    imported(phone, "a=4,1\r\nbootcount=4,9\r\n\r\n");
    CHECK(storedNumber(L"bootcount") == 9);
    imported(phone, "a=4,1\r\ninstalldir=1,x\r\n\r\n");
    CHECK(storedText(L"installdir") == L"x");
}

TEST_CASE("each of the two is left out in its own type only")
{
    ExchangePhone phone;
    imported(phone, "installdir=4,5\r\nbootcount=1,text\r\na=4,1\r\n\r\n");
    CHECK(storedNumber(L"installdir") == 5);
    CHECK(storedText(L"bootcount") == L"text");
}

TEST_CASE("a file with plain line feeds is imported")
{
    ExchangePhone phone;
    CHECK(importText(phone, "Software\\Tessaryn\\Kelvane\n\na=4,1\nb=1,text\n\nSoftware\\Tessaryn\\Kelvane\\3\n\nc=4,2\n\n") == 1);
    CHECK(storedNumber(L"a") == 1);
    CHECK(storedText(L"b") == L"text");
    CHECK(storedNumber(L"c", subkey(L"3").c_str()) == 2);
}

TEST_CASE("a section without a blank line behind it is not imported")
{
    ExchangePhone phone;
    CHECK(importText(phone, std::string(mainHeader) + "a=4,1\r\n\r\nSoftware\\Tessaryn\\Kelvane\\3\r\n\r\nc=4,2\r\n") == 1);
    CHECK(storedNumber(L"a") == 1);
    CHECK(keyExists(subkey(L"3").c_str()));
    CHECK(!storedValue(L"c", subkey(L"3").c_str()).present);
}

TEST_CASE("a file without a blank line imports nothing and succeeds")
{
    ExchangePhone phone;
    for (const char *text : {"", "\n", "\r\n", "a=4,1", "Software\\Tessaryn\\Kelvane\r\na=4,1\r\n", "x\n\r\n"}) {
        CHECK(importText(phone, text) == 1);
        CHECK(phone.keyIsEmpty());
    }
}

TEST_CASE("an empty header ends the import")
{
    ExchangePhone phone;
    CHECK(importText(phone, "\r\n\r\na=4,1\r\n\r\n") == 1);
    CHECK(importText(phone, std::string("\n\n") + mainHeader + "a=4,1\r\n\r\n") == 1);
    CHECK(phone.keyIsEmpty());
}

TEST_CASE("behind a key without values, the next key's header is lost and its values are taken for a header")
{
    ExchangePhone phone;
    makeKey(subkey(L"0").c_str());
    storeNumber(L"1", 5, subkey(L"1").c_str());
    storeNumber(L"a", 6);
    storeNumber(L"2", 7, subkey(L"2").c_str());
    exportSettings();
    removeKey(kelvaneKey);
    CHECK(importSettings(1) == 1);
    CHECK(storedNumber(L"a") == 6);
    CHECK(keyExists(subkey(L"0").c_str()));
    CHECK(!keyExists(subkey(L"1").c_str()));
    CHECK(keyExists(L"1=4,5"));
    removeKey(L"1=4,5");
}

TEST_CASE("a text with a line break splits its line, and one with a blank line its section")
{
    ExchangePhone phone;
    storeText(L"a", L"first\r\nrest=4,5");
    storeText(L"b", L"one\r\n\r\ntwo");
    storeNumber(L"c", 1);
    exportSettings();
    removeKey(kelvaneKey);
    CHECK(importSettings(1) == 1);
    CHECK(storedText(L"a") == L"first");
    CHECK(storedNumber(L"rest") == 5);
    CHECK(storedText(L"b") == L"one");
    CHECK(!storedValue(L"c").present);   // behind it stands what is taken for a header, without a body
}

TEST_CASE("a header names any key of the user's, new or old")
{
    ExchangePhone phone;
    CHECK(importText(phone, "Software\\Somewhere\\Else\r\n\r\na=4,3\r\n\r\n") == 1);
    CHECK(storedNumber(L"a", L"Software\\Somewhere\\Else") == 3);
}

TEST_CASE("behind a header, two or four bytes are its blank line")
{
    ExchangePhone phone;
    CHECK(importText(phone, "Software\\Tessaryn\\Kelvane\n\n\r\na=4,1\n\n") == 1);
    CHECK(storedNumber(L"a") == 1);
    // The last blank line is the file's end, with a stray carriage return behind it.
    CHECK(importText(phone, "Software\\Tessaryn\\Kelvane\n\nb=4,2\n\n\r") == 1);
    CHECK(storedNumber(L"b") == 2);
}

TEST_CASE("a value that the registry refuses costs no other")
{
    ExchangePhone phone;
    const std::string longest(2047, 'x');   // 4096 bytes with its terminator
    imported(phone, "a=1," + longest + "\r\nb=1," + longest + "y\r\n" + std::string(255, 'n') + "=4,1\r\n" +
                        std::string(256, 'm') + "=4,1\r\nc=4,2\r\n\r\n");
    CHECK(storedText(L"a") == widen(longest));
    CHECK(!storedValue(L"b").present);
    CHECK(storedNumber(std::wstring(255, L'n').c_str()) == 1);
    CHECK(storedNumber(L"c") == 2);
}

TEST_CASE("a header too long for a key loses its own section only")
{
    ExchangePhone phone;
    for (size_t length : {256, 5000, 100000})
        CHECK(importText(phone, std::string(length, 'k') + "\r\n\r\nx=4,1\r\n\r\n" + mainHeader + "a=4," +
                                    std::to_string(length) + "\r\n\r\n") == 1);
    CHECK(storedNumber(L"a") == 100000);
}

TEST_CASE("the file ends at its first zero byte")
{
    ExchangePhone phone;
    const std::string tail = std::string(1, '\0') + "Software\\Tessaryn\\Kelvane\r\n\r\nb=4,1\r\n\r\n";
    CHECK(importText(phone, std::string(mainHeader) + "a=4,1\r\n\r\n" + tail) == 1);
    CHECK(storedNumber(L"a") == 1);
    CHECK(!storedValue(L"b").present);
}

TEST_CASE("a file of many megabytes and sections is read through")
{
    ExchangePhone phone;
    std::string text;
    for (int section = 0; section < 500; ++section)
        text += "Software\\Tessaryn\\Kelvane\n\n" + std::string(2000, 'x') + "\na=4," + std::to_string(section) + "\n\n";
    CHECK(importText(phone, text) == 1);
    CHECK(storedNumber(L"a") == 499);
    CHECK(importText(phone, mainHeader + std::string(10 * 1024 * 1024, 'x') + "=4,1\r\nb=4,2\r\n\r\n") == 1);
    CHECK(storedNumber(L"b") == 2);
}

TEST_CASE("both records are loaded anew")
{
    ExchangePhone phone;
    imported(phone, "lowBatteryLevel=4,35\r\nsmsCost=4,19\r\nz=4,0\r\n\r\n");
    CHECK(userSettings.lowBatteryLevel == 35);
    CHECK(extraSettings.smsCost == 19);
}

TEST_CASE("the user is asked first, and told at the end")
{
    ExchangePhone phone;
    phone.writeFile(exchangeFile, std::string(mainHeader) + "a=4,1\r\n\r\n");
    CHECK(importSettings(0) == 1);
    REQUIRE(phone.shown().size() == 2);
    CHECK(phone.shown()[0].text == importQuestion);
    CHECK(phone.shown()[0].style == (MB_YESNO | MB_ICONEXCLAMATION));
    CHECK(phone.shown()[1].text == importFinished);
    CHECK(phone.shown()[1].style == MB_OK);
    CHECK(phone.shown()[1].caption == "Kelvane");
    CHECK(storedNumber(L"a") == 1);
}

TEST_CASE("anything but yes leaves everything as it is")
{
    ExchangePhone phone;
    phone.writeFile(exchangeFile, std::string(mainHeader) + "a=4,1\r\n\r\n");
    for (int answer : {IDNO, IDCANCEL, 0}) {
        phone.forgetMessages();
        phone.answer() = answer;
        CHECK(importSettings(0) == 0);
        CHECK(phone.showedOnly(importQuestion, MB_YESNO | MB_ICONEXCLAMATION));
    }
    CHECK(phone.keyIsEmpty());
}

TEST_CASE("a missing file is said, but not when all is to be quiet")
{
    ExchangePhone phone;
    userSettings.loggingOption = 1;
    CHECK(importSettings(0) == 0);
    CHECK(phone.showedOnly(importFileMissing, MB_ICONHAND));
    phone.forgetMessages();
    CHECK(importSettings(1) == 0);
    CHECK(phone.shown().empty());
    CHECK(phone.log() == std::vector<std::string>{"Import registry", "Import registry"});
}

TEST_CASE("without an install directory nothing is imported, said or logged")
{
    ExchangePhone phone;
    userSettings.loggingOption = 1;
    freeText(appPath);
    CHECK(importSettings(0) == 0);
    CHECK(phone.shown().empty());
    CHECK(phone.log().empty());
}

TEST_CASE("without memory for the file nothing is imported")
{
    ExchangePhone phone;
    phone.writeFile(exchangeFile, std::string(mainHeader) + "a=4,1\r\n\r\n");
    for (int allocation : {1, 2, 3}) {   // the file, the header, the name
        SimOrderFault(L"memory", allocation, L"alloc:", FALSE);
        CHECK(importSettings(1) == 0);
        SimClearFaults();
        CHECK(phone.keyIsEmpty());
    }
    CHECK(importSettings(1) == 1);
    CHECK(storedNumber(L"a") == 1);
}

TEST_CASE("an import leaves no key, file or memory behind, also when it is interrupted")
{
    ExchangePhone phone;
    phone.writeFile(exchangeFile, std::string(mainHeader) + "a=4,1\r\nb=1,text\r\n\r\n");
    importSettings(1);
    const int keys = SimLiveKeys(), files = SimLiveFiles(), blocks = SimLiveAllocations();
    importSettings(1);
    for (const wchar_t *operation : {L"create:*", L"write:a", L"write:b", L"close:*"}) {
        SimOrderFault(L"registry", 1, operation, TRUE);
        importSettings(1);
        SimClearFaults();
    }
    CHECK(SimLiveKeys() == keys);
    CHECK(SimLiveFiles() == files);
    CHECK(SimLiveAllocations() == blocks);
}

TEST_CASE("a file that cannot be opened or read to its end is not imported, and the records stay as they are")
{
    ExchangePhone phone;
    phone.writeFile(exchangeFile, std::string(mainHeader) + "lowBatteryLevel=4,35\r\nz=4,0\r\n\r\n");
    storeNumber(L"lowBatteryLevel", 20);
    userSettings.lowBatteryLevel = 25;
    for (const wchar_t *operation : {L"read:*", L"size:*"}) {
        SimOrderFault(L"file", 0, operation, FALSE);
        phone.forgetMessages();
        CHECK(importSettings(0) == 0);
        CHECK(phone.showedOnly(importQuestion, MB_YESNO | MB_ICONEXCLAMATION));
        SimClearFaults();
    }
    for (const wchar_t *operation : {L"open:\\Program Files\\Kelvane\\kv_Export.txt", L"read:*"}) {
        SimOrderFault(L"file", 1, operation, TRUE);
        importSettings(1);
        SimClearFaults();
    }
    CHECK(storedNumber(L"lowBatteryLevel") == 20);
    CHECK(userSettings.lowBatteryLevel == 25);
}

TEST_CASE("a quiet import says nothing")
{
    ExchangePhone phone;
    CHECK(importText(phone, std::string(mainHeader) + "a=4,1\r\n\r\n") == 1);
    CHECK(phone.shown().empty());
}

TEST_CASE("line ends of both kinds mix, and a blank line of the desktop's counts before a plain one that comes first")
{
    ExchangePhone phone;
    importText(phone, "Software\\Tessaryn\\Kelvane\n\na=4,1\r\n\r\nb=4,2\n\n");
    CHECK(!storedValue(L"a").present);   // all up to the desktop's blank line was one header
}
