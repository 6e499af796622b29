#include "settings_export.h"

#include "exchange_phone.h"
#include "host.h"

namespace {

std::string exported(const ExchangePhone &phone)
{
    CHECK(exportSettings() == 1);
    return phone.readFile(exchangeFile);
}

// What a file with just these lines of the main key looks like.
std::string mainSection(const std::string &lines)
{
    return "Software\\Tessaryn\\Kelvane\r\n\r\n" + lines + "\r\n";
}

// Longer data than a phone's registry takes gets there through the desktop's.
void storeLongText(const TestPhone &, const wchar_t *name, size_t bytes)
{
    wchar_t phone[MAX_PATH];
    SimPhoneName(phone, MAX_PATH);
    const std::wstring path = std::wstring(L"Software\\Phone Simulator\\") + phone + L"\\HKCU\\" + kelvaneKey;
    std::wstring text(bytes / sizeof(wchar_t), L'x');
    text.back() = 0;
    HKEY key;
    REQUIRE(HOST("advapi32.dll", RegOpenKeyExW)(HKEY_CURRENT_USER, path.c_str(), 0, KEY_ALL_ACCESS, &key) == 0);
    CHECK(HOST("advapi32.dll", RegSetValueExW)(key, name, 0, REG_SZ, reinterpret_cast<const BYTE *>(text.c_str()),
                                               static_cast<DWORD>(bytes)) == 0);
    HOST("advapi32.dll", RegCloseKey)(key);
}

}   // namespace

TEST_CASE("the export has the main key, then each subkey, with every value's name, type and content")
{
    ExchangePhone phone;
    storeText(L"skinName", L"blue_big");
    storeNumber(L"lowBatteryLevel", 20);
    storeText(L"signalSound", L"\\Windows\\Alarm1.wav");
    storeNumber(L"0", 40, subkey(L"1").c_str());
    storeText(L"4", L"ring1.wav", subkey(L"1").c_str());
    storeNumber(L"4_1", 1, subkey(L"1").c_str());
    storeNumber(L"0", 99, subkey(L"2").c_str());
    storeNumber(L"deep", 1, subkey(L"2\\deeper").c_str());
    CHECK(exported(phone) == "Software\\Tessaryn\\Kelvane\r\n"
                             "\r\n"
                             "lowBatteryLevel=4,20\r\n"
                             "signalSound=1,\\Windows\\Alarm1.wav\r\n"
                             "skinName=1,blue_big\r\n"
                             "\r\n"
                             "Software\\Tessaryn\\Kelvane\\1\r\n"
                             "\r\n"
                             "0=4,40\r\n"
                             "4=1,ring1.wav\r\n"
                             "4_1=4,1\r\n"
                             "\r\n"
                             "Software\\Tessaryn\\Kelvane\\2\r\n"
                             "\r\n"
                             "0=4,99\r\n"
                             "\r\n");
    CHECK(phone.showedOnly(exportFinished, MB_OK));
}

TEST_CASE("numbers are written as signed decimals")
{
    ExchangePhone phone;
    storeNumber(L"a", 0);
    storeNumber(L"b", 0x7FFFFFFF);
    storeNumber(L"c", 0x80000000);
    storeNumber(L"d", 0xFFFFFFFF);
    CHECK(exported(phone) == mainSection("a=4,0\r\nb=4,2147483647\r\nc=4,-2147483648\r\nd=4,-1\r\n"));
}

TEST_CASE("a number that is not four bytes long is written as what four bytes of it hold, or 0")
{
    ExchangePhone phone;
    const BYTE bytes[] = {7, 0, 0, 0, 9, 0, 0, 0};
    storeBytes(L"long", REG_DWORD, bytes, 8);
    storeBytes(L"short", REG_DWORD, bytes, 2);
    CHECK(exported(phone) == mainSection("long=4,0\r\nshort=4,7\r\n"));
}

TEST_CASE("other data is written as text up to its first zero character")
{
    ExchangePhone phone;
    storeBytes(L"a", REG_BINARY, L"bin\0ary", 14);
    storeBytes(L"b", REG_MULTI_SZ, L"first\0second\0", 28);
    storeBytes(L"c", REG_EXPAND_SZ, L"%x%", 8);
    storeBytes(L"d", REG_NONE, L"none", 10);
    storeBytes(L"e", 0xFFFFFFF0, L"odd", 8);
    CHECK(exported(phone) == mainSection("a=3,bin\r\nb=7,first\r\nc=2,%x%\r\nd=0,none\r\ne=-16,odd\r\n"));
}

TEST_CASE("data without a terminator ends where it ends, whatever the value before it was")
{
    ExchangePhone phone;
    storeText(L"a", L"a long text before it");
    storeBytes(L"b", REG_SZ, L"text", 8);
    storeText(L"c", L"another long text");
    storeBytes(L"d", REG_BINARY, "AB\0C\0", 3);   // one character and a half
    storeText(L"e", L"");
    storeBytes(L"f", REG_SZ, "", 0);
    // The character of the binary value is in no phone's 8-bit code page.
    CHECK(exported(phone) ==
          mainSection("a=1,a long text before it\r\nb=1,text\r\nc=1,another long text\r\nd=3,?\r\ne=1,\r\nf=1,\r\n"));
}

TEST_CASE("the install path is left out, whatever the case of its name")
{
    for (const wchar_t *name : {L"installdir", L"InstallDir", L"INSTALLDIR"}) {
        ExchangePhone phone;
        storeText(name, L"\\Program Files\\Kelvane");
        storeText(name, L"\\elsewhere", subkey(L"0").c_str());
        storeNumber(L"bootcount", 3);
        storeNumber(L"installdir2", 1);
        CHECK(exported(phone) == "Software\\Tessaryn\\Kelvane\r\n\r\nbootcount=4,3\r\ninstalldir2=4,1\r\n"
                                 "\r\nSoftware\\Tessaryn\\Kelvane\\0\r\n\r\n\r\n");
    }
}

TEST_CASE("a key without values is its header and three line ends in a row")
{
    ExchangePhone phone;
    makeKey(subkey(L"0").c_str());
    storeNumber(L"1", 5, subkey(L"1").c_str());
    CHECK(exported(phone) == "Software\\Tessaryn\\Kelvane\r\n\r\n\r\nSoftware\\Tessaryn\\Kelvane\\0\r\n\r\n\r\n"
                             "Software\\Tessaryn\\Kelvane\\1\r\n\r\n1=4,5\r\n\r\n");
}

TEST_CASE("characters are those of the phone's 8-bit code page, others become its replacement")
{
    ExchangePhone phone;
    storeText(L"a", L"\x00E4\x00F6\x00FC\x00A7\x20AC");
    storeText(L"b", L"\x4E2D\x0416");
    CHECK(exported(phone) == mainSection("a=1,\xE4\xF6\xFC\xA7\x80\r\nb=1,??\r\n"));
}

TEST_CASE("a value of 4200 bytes is exported, and a longer one ends its key")
{
    for (size_t bytes : {4198, 4200, 4202}) {
        ExchangePhone phone;
        storeNumber(L"a", 1);
        storeLongText(phone, L"b", bytes);
        storeNumber(L"c", 2);
        storeNumber(L"d", 3, subkey(L"1").c_str());
        const bool fits = bytes <= 4200;
        const std::string rest = fits ? "b=1," + std::string(bytes / 2 - 1, 'x') + "\r\nc=4,2\r\n" : "";
        CHECK(exported(phone) == "Software\\Tessaryn\\Kelvane\r\n\r\na=4,1\r\n" + rest +
                                     "\r\nSoftware\\Tessaryn\\Kelvane\\1\r\n\r\nd=4,3\r\n\r\n");
    }
}

TEST_CASE("the longest names a registry takes are exported whole")
{
    ExchangePhone phone;
    const std::wstring name(255, L'n'), key(255, L'k');
    storeNumber(name.c_str(), 1);
    storeNumber(L"a", 1, subkey(key).c_str());
    CHECK(exported(phone) == "Software\\Tessaryn\\Kelvane\r\n\r\n" + narrow(name) +
                                 "=4,1\r\n\r\nSoftware\\Tessaryn\\Kelvane\\" + narrow(key) + "\r\n\r\na=4,1\r\n\r\n");
}

TEST_CASE("the default value has an empty name")
{
    ExchangePhone phone;
    storeText(L"", L"text");
    CHECK(exported(phone) == mainSection("=1,text\r\n"));
}

TEST_CASE("thousands of values pass through the blocks that the file is written in")
{
    ExchangePhone phone;
    std::string lines;
    for (int number = 10000; number < 10700; ++number) {
        const std::string name = "value" + std::to_string(number);
        storeNumber(widen(name).c_str(), number);
        lines += name + "=4," + std::to_string(number) + "\r\n";
    }
    CHECK(exported(phone) == mainSection(lines));
}

TEST_CASE("without the program's key the file is empty")
{
    ExchangePhone phone;
    removeKey(kelvaneKey);
    CHECK(exported(phone).empty());
    CHECK(phone.showedOnly(exportFinished, MB_OK));
}

TEST_CASE("a subkey that does not open is left out")
{
    ExchangePhone phone;
    storeNumber(L"a", 1);
    for (const wchar_t *name : {L"1", L"2", L"3"})
        storeNumber(L"b", 2, subkey(name).c_str());
    SimOrderFault(L"registry", 0, L"open:2", FALSE);
    CHECK(exported(phone) == "Software\\Tessaryn\\Kelvane\r\n\r\na=4,1\r\n"
                             "\r\nSoftware\\Tessaryn\\Kelvane\\1\r\n\r\nb=4,2\r\n"
                             "\r\nSoftware\\Tessaryn\\Kelvane\\3\r\n\r\nb=4,2\r\n\r\n");
}

TEST_CASE("an older file is replaced")
{
    ExchangePhone phone;
    phone.writeFile(exchangeFile, std::string(5000, 'x'));
    storeNumber(L"a", 1);
    CHECK(exported(phone) == mainSection("a=4,1\r\n"));
}

TEST_CASE("without an install directory nothing is exported and nothing said")
{
    ExchangePhone phone;
    freeText(appPath);
    CHECK(exportSettings() == 0);
    CHECK(phone.shown().empty());
}

TEST_CASE("a file that cannot be created is not reported")
{
    ExchangePhone phone;
    phone.writeFile(exchangeFile, "older");
    phone.set(L"storage", L"readonly", L"\\Program Files\\Kelvane");
    CHECK(exportSettings() == 0);
    CHECK(phone.shown().empty());
    CHECK(phone.readFile(exchangeFile) == "older");
}

TEST_CASE("failing writes make the file shorter and are not reported")
{
    ExchangePhone phone;
    storeNumber(L"a", 1);
    phone.set(L"storage", L"full", L"1");
    CHECK(exported(phone).empty());
    CHECK(phone.showedOnly(exportFinished, MB_OK));
}

TEST_CASE("without memory the older file stays")
{
    ExchangePhone phone;
    phone.writeFile(exchangeFile, "older");
    SimOrderFault(L"memory", 1, L"alloc:", FALSE);
    CHECK(exportSettings() == 0);
    CHECK(phone.shown().empty());
    CHECK(phone.readFile(exchangeFile) == "older");
}

TEST_CASE("an export leaves no key, file or memory behind, also when it is interrupted")
{
    ExchangePhone phone;
    storeNumber(L"a", 1);
    storeNumber(L"b", 2, subkey(L"1").c_str());
    const int keys = SimLiveKeys(), files = SimLiveFiles(), blocks = SimLiveAllocations();
    exportSettings();
    for (const wchar_t *operation : {L"enumerate:*", L"read:*", L"open:1", L"close:*"}) {
        SimOrderFault(L"registry", 1, operation, TRUE);
        CHECK(exportSettings() == 1);
        SimClearFaults();
    }
    phone.forgetMessages();
    CHECK(SimLiveKeys() == keys);
    CHECK(SimLiveFiles() == files);
    CHECK(SimLiveAllocations() == blocks);
}
