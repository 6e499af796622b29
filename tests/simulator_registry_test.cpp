// The phone's registry: where it lies in the desktop's, how it is seeded, and the phone's limits on names and data.

#include "host.h"
#include "phone_folder.h"

namespace {

constexpr char advapi[] = "advapi32.dll";
constexpr wchar_t allPhones[] = L"Software\\Phone Simulator\\";
constexpr char heading[] = "Windows Registry Editor Version 5.00\r\n";

using Bytes = std::vector<BYTE>;

Bytes bytesOf(const std::wstring &text)
{
    const BYTE *first = reinterpret_cast<const BYTE *>(text.data());
    return {first, first + text.size() * sizeof(wchar_t)};
}

// A text with the terminator that is stored with it.
Bytes terminated(const std::wstring &text)
{
    return bytesOf(text + L'\0');
}

// ---- The desktop's registry, seen past the simulator -------------------------------------------------------------------

bool hostKeyExists(const std::wstring &path)
{
    HKEY key;
    if (HOST(advapi, RegOpenKeyExW)(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    HOST(advapi, RegCloseKey)(key);
    return true;
}

StoredValue hostValue(const std::wstring &path, const wchar_t *name)
{
    StoredValue value;
    HKEY key;
    if (HOST(advapi, RegOpenKeyExW)(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return value;
    value.bytes.resize(8192);
    DWORD size = static_cast<DWORD>(value.bytes.size());
    value.present = HOST(advapi, RegQueryValueExW)(key, name, nullptr, &value.type, value.bytes.data(), &size) == 0;
    value.bytes.resize(size);
    HOST(advapi, RegCloseKey)(key);
    return value;
}

void setHostValue(const std::wstring &path, const wchar_t *name, DWORD value)
{
    HKEY key;
    REQUIRE(HOST(advapi, RegCreateKeyExW)(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                                          nullptr) == ERROR_SUCCESS);
    HOST(advapi, RegSetValueExW)(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE *>(&value), sizeof value);
    HOST(advapi, RegCloseKey)(key);
}

std::wstring currentName()
{
    wchar_t name[MAX_PATH];
    REQUIRE(SimPhoneName(name, MAX_PATH));
    return name;
}

struct Key {
    explicit Key(const wchar_t *path, HKEY root = HKEY_CURRENT_USER)
    {
        REQUIRE(RegCreateKeyExW(root, path, 0, nullptr, 0, 0, nullptr, &handle, nullptr) == ERROR_SUCCESS);
    }
    ~Key() { RegCloseKey(handle); }
    Key(const Key &) = delete;
    Key &operator=(const Key &) = delete;
    operator HKEY() const { return handle; }
    HKEY handle;
};

LONG setText(HKEY key, const wchar_t *name, const Bytes &data)
{
    return RegSetValueExW(key, name, 0, REG_SZ, data.data(), static_cast<DWORD>(data.size()));
}

}   // namespace

// ---- Where it lies -----------------------------------------------------------------------------------------------------

TEST_CASE("the phone's roots are keys below Software\\Phone Simulator and its name in the desktop's registry")
{
    TestPhone phone;
    const std::wstring branch = allPhones + currentName();
    const struct {
        HKEY root;
        const wchar_t *name;
    } roots[] = {{HKEY_CURRENT_USER, L"HKCU"},
                 {HKEY_LOCAL_MACHINE, L"HKLM"},
                 {HKEY_CLASSES_ROOT, L"HKCR"},
                 {HKEY_USERS, L"HKU"}};
    DWORD number = 4711;
    for (const auto &each : roots) {
        INFO(narrow(each.name));
        CHECK(hostKeyExists(branch + L"\\" + each.name));
        storeNumber(L"Answer", ++number, L"Made\\Here", each.root);
        const StoredValue found = hostValue(branch + L"\\" + each.name + L"\\Made\\Here", L"Answer");
        REQUIRE(found.present);
        CHECK(found.type == REG_DWORD);
        CHECK(found.bytes == Bytes{static_cast<BYTE>(number), static_cast<BYTE>(number >> 8), 0, 0});
    }
}

TEST_CASE("a value on a root itself lies on that root's key")
{
    TestPhone phone;
    const BYTE data[] = {1, 2, 3};
    REQUIRE(RegSetValueExW(HKEY_LOCAL_MACHINE, L"OnRoot", 0, REG_BINARY, data, 3) == ERROR_SUCCESS);
    CHECK(hostValue(allPhones + currentName() + L"\\HKLM", L"OnRoot").bytes == Bytes{1, 2, 3});
    REQUIRE(RegDeleteValueW(HKEY_LOCAL_MACHINE, L"OnRoot") == ERROR_SUCCESS);
    CHECK_FALSE(hostValue(allPhones + currentName() + L"\\HKLM", L"OnRoot").present);
}

TEST_CASE("what another program writes below the phone's branch is what the phone reads")
{
    TestPhone phone;
    setHostValue(allPhones + currentName() + L"\\HKLM\\Software\\Outside", L"Level", 12);
    CHECK(storedNumber(L"Level", L"Software\\Outside", HKEY_LOCAL_MACHINE) == 12);
    CHECK_FALSE(storedValue(L"Level", L"Software\\Outside", HKEY_CURRENT_USER).present);
}

TEST_CASE("the phone never touches the desktop's own keys")
{
    TestPhone phone;
    const std::wstring key = L"Software\\OnlyOnThePhone-" + std::to_wstring(GetCurrentProcessId());
    makeKey(key.c_str());
    CHECK(keyExists(key.c_str()));
    CHECK_FALSE(hostKeyExists(key));
    CHECK(hostKeyExists(L"Software\\Phone Simulator"));
    CHECK_FALSE(keyExists(L"Software\\Phone Simulator"));
}

TEST_CASE("two phones have two registries")
{
    TestPhone first;
    storeNumber(L"Mine", 1, L"Software\\Two");
    TestPhone second;
    CHECK_FALSE(keyExists(L"Software\\Two"));
    REQUIRE(SimUsePhone(first.folder().c_str()));
    CHECK(storedNumber(L"Mine", L"Software\\Two") == 1);
}

TEST_CASE("predefined handles are understood as 32 bits and sign-extended")
{
    TestPhone phone;
    storeNumber(L"Handle", 5, L"Software\\Handles", HKEY_LOCAL_MACHINE);
    for (ULONG_PTR number : {static_cast<ULONG_PTR>(0x80000002), static_cast<ULONG_PTR>(0xFFFFFFFF80000002)})
        CHECK(storedNumber(L"Handle", L"Software\\Handles", reinterpret_cast<HKEY>(number)) == 5);
}

// ---- Name and seeding --------------------------------------------------------------------------------------------------

TEST_CASE("a phone is called what phone.ini says, else what its folder is called")
{
    const PhoneFolder unnamed("from-folder"), empty("empty-name", "[phone]\r\nname=\r\n");
    REQUIRE(unnamed.use());
    CHECK(narrow(currentName()) == narrow(unnamed.name()));
    CHECK(hostKeyExists(allPhones + unnamed.name() + L"\\HKCU"));
    REQUIRE(empty.use());
    CHECK(narrow(currentName()) == narrow(empty.name()));

    const std::string given = "given-" + std::to_string(GetCurrentProcessId());
    const PhoneFolder named("other", "[Phone]\nNAME = " + given + " \n");
    REQUIRE(named.use());
    CHECK(narrow(currentName()) == given);
    CHECK(hostKeyExists(allPhones + widen(given) + L"\\HKLM"));
    CHECK_FALSE(hostKeyExists(allPhones + named.name()));
    CHECK(SimDeletePhoneRegistry(widen(given).c_str()));
}

TEST_CASE("a phone is seeded at its first start only")
{
    const PhoneFolder folder;
    folder.write("registry.reg", std::string(heading) + "[HKEY_CURRENT_USER\\Software\\Seed]\r\n\"n\"=dword:1\r\n");
    REQUIRE_FALSE(hostKeyExists(allPhones + folder.name()));
    REQUIRE(folder.use());
    CHECK(storedNumber(L"n", L"Software\\Seed") == 1);

    storeNumber(L"n", 2, L"Software\\Seed");
    folder.write("registry.reg", std::string(heading) + "[HKEY_CURRENT_USER\\Software\\Seed]\r\n\"n\"=dword:3\r\n");
    REQUIRE(folder.use());
    CHECK(storedNumber(L"n", L"Software\\Seed") == 2);

    SUBCASE("with its key gone it is seeded again")
    {
        CHECK(SimDeletePhoneRegistry(folder.name().c_str()));
        CHECK_FALSE(SimDeletePhoneRegistry(folder.name().c_str()));
        REQUIRE(folder.use());
        CHECK(storedNumber(L"n", L"Software\\Seed") == 3);
    }
    SUBCASE("on demand it is thrown away and seeded again")
    {
        makeKey(L"Software\\Later");
        REQUIRE(SimSeedRegistry());
        CHECK(storedNumber(L"n", L"Software\\Seed") == 3);
        CHECK_FALSE(keyExists(L"Software\\Later"));
    }
}

TEST_CASE("an existing key keeps a phone from being seeded, whoever made it")
{
    const PhoneFolder folder;
    folder.write("registry.reg", std::string(heading) + "[HKEY_CURRENT_USER\\Software\\Seed]\r\n");
    setHostValue(allPhones + folder.name() + L"\\HKCU\\Software\\Before", L"n", 1);
    REQUIRE(folder.use());
    CHECK_FALSE(keyExists(L"Software\\Seed"));
    CHECK(storedNumber(L"n", L"Software\\Before") == 1);
}

TEST_CASE("a phone without registry.reg starts with empty roots")
{
    const PhoneFolder folder;
    REQUIRE(folder.use());
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        DWORD keys = 9, values = 9;
        REQUIRE(RegQueryInfoKeyW(root, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr, nullptr,
                                 nullptr, nullptr) == ERROR_SUCCESS);
        CHECK(keys == 0);
        CHECK(values == 0);
    }
}

// ---- registry.reg ------------------------------------------------------------------------------------------------------

namespace {

// Plays a phone with this registry.reg; expects it to be understood.
void seed(const PhoneFolder &folder, const std::string &text)
{
    folder.write("registry.reg", text);
    REQUIRE(folder.complaint() == "");
}

constexpr wchar_t seeded[] = L"Software\\S";

struct AcceptedLine {
    const char *line;
    const wchar_t *name;
    DWORD type;
    Bytes data;
};

const AcceptedLine acceptedLines[] = {
    {R"("a"="text")", L"a", REG_SZ, terminated(L"text")},
    {R"("a"="")", L"a", REG_SZ, terminated(L"")},
    {R"("a"="back\\slash and \"quote\"")", L"a", REG_SZ, terminated(L"back\\slash and \"quote\"")},
    {R"("a"="ends in backslash\\")", L"a", REG_SZ, terminated(L"ends in backslash\\")},
    {R"("a"="; no comment")", L"a", REG_SZ, terminated(L"; no comment")},
    {R"("a"="  blanks  ")", L"a", REG_SZ, terminated(L"  blanks  ")},
    {R"("a"="gr\u00fcn")", L"a", REG_SZ, terminated(L"gru00fcn")},
    {"\"a\"=\"gr\xC3\xBCn\"", L"a", REG_SZ, terminated(L"gr\u00FCn")},
    {R"("with \"quotes\" and \\"="x")", L"with \"quotes\" and \\", REG_SZ, terminated(L"x")},
    {R"("a=b"="c=d")", L"a=b", REG_SZ, terminated(L"c=d")},
    {R"("[a]"="[b]")", L"[a]", REG_SZ, terminated(L"[b]")},
    {R"(@="default")", L"", REG_SZ, terminated(L"default")},
    {R"(@=dword:00000007)", L"", REG_DWORD, {7, 0, 0, 0}},
    {R"(   "a"  =  "blanks around")", L"a", REG_SZ, terminated(L"blanks around")},
    {"\t\"a\"\t=\t\"tabs around\"\t", L"a", REG_SZ, terminated(L"tabs around")},
    {R"("a"=dword:00000000)", L"a", REG_DWORD, {0, 0, 0, 0}},
    {R"("a"=dword:ffffffff)", L"a", REG_DWORD, {255, 255, 255, 255}},
    {R"("a"=dword:DEADBEEF)", L"a", REG_DWORD, {0xEF, 0xBE, 0xAD, 0xDE}},
    {R"("a"=dword:1f)", L"a", REG_DWORD, {0x1F, 0, 0, 0}},
    {R"("a"=hex:)", L"a", REG_BINARY, {}},
    {R"("a"=hex:0a)", L"a", REG_BINARY, {10}},
    {R"("a"=hex:01,02,ff)", L"a", REG_BINARY, {1, 2, 255}},
    {R"("a"=hex:1,2,f)", L"a", REG_BINARY, {1, 2, 15}},
    {R"("a"=hex: 01, 02)", L"a", REG_BINARY, {1, 2}},
    {R"("a"=hex(0):01)", L"a", REG_NONE, {1}},
    {R"("a"=hex(1):41,00,00,00)", L"a", REG_SZ, {0x41, 0, 0, 0}},
    {R"("a"=hex(2):25,00,00,00)", L"a", REG_EXPAND_SZ, {0x25, 0, 0, 0}},
    {R"("a"=hex(3):07)", L"a", REG_BINARY, {7}},
    {R"("a"=hex(4):01,00,00,00)", L"a", REG_DWORD, {1, 0, 0, 0}},
    {R"("a"=hex(7):41,00,00,00,00,00)", L"a", REG_MULTI_SZ, {0x41, 0, 0, 0, 0, 0}},
    {R"("a"=hex(b):01,02,03,04,05,06,07,08)", L"a", REG_QWORD, {1, 2, 3, 4, 5, 6, 7, 8}},
    {"\"a\"=hex:01,\\\r\n  02,03", L"a", REG_BINARY, {1, 2, 3}},
    {"\"a\"=hex:\\\r\n  01,\\\r\n\t02,\\\r\n03", L"a", REG_BINARY, {1, 2, 3}},
    {"\"a\"=hex(1):41,00,\\\r\n  00,00", L"a", REG_SZ, {0x41, 0, 0, 0}},
    {"\"a\"=\"first\"\r\n\"a\"=\"last one counts\"", L"a", REG_SZ, terminated(L"last one counts")},
    {"; a comment\r\n\r\n   ; another\r\n\"a\"=\"x\"", L"a", REG_SZ, terminated(L"x")},
};

}   // namespace

TEST_CASE("registry.reg takes every kind of value the registry editor writes")
{
    for (const AcceptedLine &each : acceptedLines) {
        INFO(each.line);
        const PhoneFolder folder;
        seed(folder, std::string(heading) + "\r\n[HKEY_CURRENT_USER\\Software\\S]\r\n" + each.line + "\r\n");
        const StoredValue found = hostValue(allPhones + folder.name() + L"\\HKCU\\" + seeded, each.name);
        CHECK(found.present);
        CHECK(found.type == each.type);
        CHECK(found.bytes == each.data);
    }
}

TEST_CASE("registry.reg names all roots, empty keys and keys in keys, in any case")
{
    const PhoneFolder folder;
    seed(folder, std::string(heading) +
                     "[HKEY_CURRENT_USER\\A]\r\n[hkey_local_machine\\B\\C\\D]\r\n"
                     "[HKEY_CLASSES_ROOT\\.kv]\r\n[HKEY_USERS\\E]\r\n[HKEY_LOCAL_MACHINE]\r\n\"r\"=\"root\"\r\n");
    const std::wstring branch = allPhones + folder.name();
    for (const wchar_t *key : {L"\\HKCU\\A", L"\\HKLM\\B\\C\\D", L"\\HKCR\\.kv", L"\\HKU\\E"})
        CHECK(hostKeyExists(branch + key));
    CHECK(hostValue(branch + L"\\HKLM", L"r").bytes == terminated(L"root"));
}

TEST_CASE("registry.reg deletes keys and values written further up")
{
    const PhoneFolder folder;
    seed(folder, std::string(heading) +
                     "[HKEY_CURRENT_USER\\Gone\\Below]\r\n[HKEY_CURRENT_USER\\Kept]\r\n\"a\"=\"1\"\r\n\"b\"=\"2\"\r\n"
                     "@=\"3\"\r\n\"a\"=-\r\n@=-\r\n\"never there\"=-\r\n[-HKEY_CURRENT_USER\\Gone]\r\n"
                     "[-HKEY_CURRENT_USER\\NeverThere]\r\n");
    CHECK_FALSE(keyExists(L"Gone"));
    CHECK_FALSE(storedValue(L"a", L"Kept").present);
    CHECK_FALSE(storedValue(L"", L"Kept").present);
    CHECK(storedText(L"b", L"Kept") == L"2");
}

TEST_CASE("registry.reg may be UTF-8 or UTF-16 with their marks, with either line end and none at the end")
{
    const std::string text =
        "Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\Software\\S]\n\"a\"=\"\xC3\xA4\"";
    std::wstring wide = L"\xFEFF" + widen(text);
    const std::string forms[] = {text, "\xEF\xBB\xBF" + text,
                                 std::string(reinterpret_cast<const char *>(wide.data()), wide.size() * 2)};
    for (const std::string &form : forms) {
        const PhoneFolder folder;
        seed(folder, form);
        CHECK(storedText(L"a", seeded) == L"\u00E4");
    }
}

namespace {

struct RejectedText {
    const char *text;
    int line;   // the number complained of
};

// Each follows a heading in line 1 and a key in line 2, unless it has a heading of its own.
const RejectedText rejectedLines[] = {
    {"\"a\"", 3},
    {"\"a\"=", 3},
    {"\"a\"=text", 3},
    {"\"a\"=\"open", 3},
    {"\"a\"=\"open\\\"", 3},
    {"\"a\"=\"x\" y", 3},
    {"\"a\"=\"x\"\"y\"", 3},
    {"\"a\" \"b\"", 3},
    {"a=\"x\"", 3},
    {"\"a=\"x\"", 3},
    {"@", 3},
    {"@\"x\"", 3},
    {"=\"x\"", 3},
    {"\"a\"=dword:", 3},
    {"\"a\"=dword:123456789", 3},
    {"\"a\"=dword:xyz", 3},
    {"\"a\"=dword:12g4", 3},
    {"\"a\"=dword:0x12", 3},
    {"\"a\"=dword:-1", 3},
    {"\"a\"=dword:+1", 3},
    {"\"a\"=dword 1", 3},
    {"\"a\"=word:1", 3},
    {"\"a\"=hex", 3},
    {"\"a\"=hex:1g", 3},
    {"\"a\"=hex:100", 3},
    {"\"a\"=hex:01,,02", 3},
    {"\"a\"=hex:01,", 3},
    {"\"a\"=hex:,01", 3},
    {"\"a\"=hex:01 02", 3},
    {"\"a\"=hex:-1", 3},
    {"\"a\"=hex():01", 3},
    {"\"a\"=hex(z):01", 3},
    {"\"a\"=hex(1:01", 3},
    {"\"a\"=hex1):01", 3},
    {"\"a\"=hexes:01", 3},
    {"\"a\"=hex:01,\\", 3},
    {"\"a\"=hex:01,\\\r\n02,zz", 3},
    {"\"a\"=hex:01,\\\r\n[HKEY_CURRENT_USER\\B]", 3},
    {"\"a\"=--", 3},
    {"text", 3},
    {"[HKEY_CURRENT_USER\\B", 3},
    {"[]", 3},
    {"[-]", 3},
    {"[-HKEY_CURRENT_USER\\B]\r\n\"a\"=\"x\"", 4},
    {"\"a\"=\"fine\"\r\n; comment\r\n\r\n\"b\"=bad", 6},
    {"\"a\"=hex:01,\\\r\n02\r\n\"b\"=bad", 5},
};

const RejectedText rejectedFiles[] = {
    {"", 1},
    {"\r\n\r\n", 1},
    {"REGEDIT4\r\n[HKEY_CURRENT_USER\\A]\r\n", 1},
    {"Windows Registry Editor Version 5.0\r\n", 1},
    {"Windows Registry Editor Version 5.00 \\\r\n[A]\r\n", 1},
    {"[HKEY_CURRENT_USER\\A]\r\n", 1},
    {"Windows Registry Editor Version 5.00\r\n\"a\"=\"no key yet\"\r\n", 2},
};

void checkRejected(const std::string &text, int line)
{
    INFO(text);
    const PhoneFolder folder;
    folder.write("registry.reg", text);
    CHECK(folder.complaint() ==
          "phone simulator: registry.reg: line " + std::to_string(line) + " is not understood\r\n");
    CHECK_FALSE(hostKeyExists(allPhones + folder.name()));
}

}   // namespace

TEST_CASE("registry.reg is refused with the number of the first line that is not understood, and nothing is seeded")
{
    for (const RejectedText &each : rejectedLines)
        checkRejected(std::string(heading) + "[HKEY_CURRENT_USER\\Software\\S]\r\n" + each.text + "\r\n", each.line);
    for (const RejectedText &each : rejectedFiles)
        checkRejected(each.text, each.line);
}

TEST_CASE("registry.reg is refused when a key or value cannot be on a phone, and nothing of it is left")
{
    const std::string key = std::string(heading) + "[HKEY_CURRENT_USER\\First]\r\n[HKEY_CURRENT_USER\\S]\r\n";
    std::string tooLong = "\"a\"=hex:00";
    for (int i = 1; i < 4097; ++i)
        tooLong += ",00";
    const struct {
        std::string text, complaint;
    } cases[] = {
        {key + "[HKEY_CURRENT_CONFIG\\S]\r\n", "HKEY_CURRENT_CONFIG\\S"},
        {key + "[Software\\S]\r\n", "Software\\S"},
        {key + "\"" + std::string(256, 'n') + "\"=\"x\"\r\n", "HKEY_CURRENT_USER\\S: value " + std::string(256, 'n')},
        {key + tooLong, "HKEY_CURRENT_USER\\S: value a"},
    };
    for (const auto &each : cases) {
        const PhoneFolder folder;
        folder.write("registry.reg", each.text);
        CHECK(folder.complaint() == "phone simulator: registry.reg: cannot enter the key " + each.complaint + "\r\n");
        CHECK_FALSE(hostKeyExists(allPhones + folder.name()));
    }
    const PhoneFolder longest;
    seed(longest, key + tooLong.substr(0, tooLong.size() - 3) + "\r\n\"" + std::string(255, 'n') + "\"=\"x\"\r\n");
    CHECK(storedValue(L"a", L"S").bytes.size() == 4096);
    CHECK(storedText(std::wstring(255, L'n').c_str(), L"S") == L"x");
}

// ---- The phone's functions ---------------------------------------------------------------------------------------------

TEST_CASE("names have at most 255 characters")
{
    TestPhone phone;
    const Key key(L"Software\\Limits");
    const BYTE data[] = {1};
    const auto store = [&](size_t length) {
        return RegSetValueExW(key, std::wstring(length, L'v').c_str(), 0, REG_BINARY, data, 1);
    };
    CHECK(store(254) == ERROR_SUCCESS);
    CHECK(store(255) == ERROR_SUCCESS);
    CHECK(store(256) == ERROR_INVALID_PARAMETER);

    const auto create = [&](const std::wstring &path) {
        HKEY made;
        const LONG status = RegCreateKeyExW(key, path.c_str(), 0, nullptr, 0, 0, nullptr, &made, nullptr);
        if (status == ERROR_SUCCESS)
            RegCloseKey(made);
        return status;
    };
    const std::wstring longest(255, L'k');
    CHECK(create(longest) == ERROR_SUCCESS);
    CHECK(create(longest + L"k") == ERROR_INVALID_PARAMETER);
    CHECK(create(longest + L"\\" + longest) == ERROR_SUCCESS);
    CHECK(create(L"short\\" + longest + L"k\\short") == ERROR_INVALID_PARAMETER);
    CHECK(create(L"") == ERROR_SUCCESS);
}

TEST_CASE("data has at most 4096 bytes")
{
    TestPhone phone;
    const Key key(L"Software\\Limits");
    const Bytes data(4097, 7);
    CHECK(RegSetValueExW(key, L"v", 0, REG_BINARY, data.data(), 4095) == ERROR_SUCCESS);
    CHECK(RegSetValueExW(key, L"v", 0, REG_BINARY, data.data(), 4096) == ERROR_SUCCESS);
    CHECK(RegSetValueExW(key, L"v", 0, REG_BINARY, data.data(), 4097) == ERROR_INVALID_PARAMETER);
    CHECK(storedValue(L"v", L"Software\\Limits").bytes == Bytes(4096, 7));
    CHECK(RegSetValueExW(key, L"v", 0, REG_BINARY, nullptr, 0) == ERROR_SUCCESS);
    CHECK(RegSetValueExW(key, L"v", 0, REG_BINARY, nullptr, 1) == ERROR_INVALID_PARAMETER);
    CHECK(storedValue(L"v", L"Software\\Limits").bytes.empty());
}

TEST_CASE("a text is stored and returned with exactly the bytes given")
{
    TestPhone phone;
    const Key key(L"Software\\Texts");
    const wchar_t *const here = L"\\HKCU\\Software\\Texts";
    const Bytes cases[] = {
        bytesOf(L"abc"), terminated(L"abc"), bytesOf(std::wstring(L"abc\0x\0\0", 7)), {'a', 0, 'b'}, {}};
    for (const Bytes &data : cases) {
        // A terminator lies behind the bytes that are given.
        Bytes memory = data;
        memory.resize(data.size() + 2);
        REQUIRE(RegSetValueExW(key, L"t", 0, REG_SZ, memory.data(), static_cast<DWORD>(data.size())) == ERROR_SUCCESS);
        CHECK(hostValue(allPhones + currentName() + here, L"t").bytes == data);
        CHECK(storedValue(L"t", L"Software\\Texts").bytes == data);
    }
}

TEST_CASE("a buffer that is too small is left alone and its size is answered")
{
    TestPhone phone;
    const Key key(L"Software\\Sizes");
    REQUIRE(setText(key, L"t", terminated(L"four")) == ERROR_SUCCESS);
    for (DWORD room : {0ul, 2ul, 9ul}) {
        BYTE buffer[16];
        memset(buffer, 0xCC, sizeof buffer);
        DWORD size = room, type = 0;
        CHECK(RegQueryValueExW(key, L"t", nullptr, &type, buffer, &size) == ERROR_MORE_DATA);
        CHECK(size == 10);
        CHECK(type == REG_SZ);
        CHECK(Bytes(buffer, buffer + sizeof buffer) == Bytes(sizeof buffer, 0xCC));
    }
    for (DWORD room : {10ul, 16ul}) {
        BYTE buffer[16];
        memset(buffer, 0xCC, sizeof buffer);
        DWORD size = room;
        CHECK(RegQueryValueExW(key, L"t", nullptr, nullptr, buffer, &size) == ERROR_SUCCESS);
        CHECK(size == 10);
        CHECK(Bytes(buffer, buffer + 10) == terminated(L"four"));
        CHECK(buffer[10] == 0xCC);
    }
}

TEST_CASE("a value's type and size are answered without a buffer")
{
    TestPhone phone;
    const Key key(L"Software\\Sizes");
    REQUIRE(setText(key, L"t", terminated(L"four")) == ERROR_SUCCESS);
    DWORD type = 0, size = 99;
    CHECK(RegQueryValueExW(key, L"t", nullptr, &type, nullptr, &size) == ERROR_SUCCESS);
    CHECK(type == REG_SZ);
    CHECK(size == 10);
    CHECK(RegQueryValueExW(key, L"t", nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS);
    BYTE byte;
    CHECK(RegQueryValueExW(key, L"t", nullptr, nullptr, &byte, nullptr) == ERROR_INVALID_PARAMETER);
    size = 4;
    CHECK(RegQueryValueExW(key, L"none", nullptr, &type, &byte, &size) == ERROR_FILE_NOT_FOUND);
    CHECK(size == 4);
}

TEST_CASE("a key can be written to whatever access it was opened for")
{
    TestPhone phone;
    makeKey(L"Software\\Access");
    HKEY key;
    REQUIRE(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Access", 0, KEY_READ, &key) == ERROR_SUCCESS);
    CHECK(setText(key, L"t", terminated(L"x")) == ERROR_SUCCESS);
    RegCloseKey(key);
    CHECK(storedText(L"t", L"Software\\Access") == L"x");
}

TEST_CASE("opening does not create, creating tells whether it did")
{
    TestPhone phone;
    HKEY key;
    CHECK(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\None", 0, 0, &key) == ERROR_FILE_NOT_FOUND);
    DWORD disposition = 0;
    for (const DWORD expected : {DWORD(REG_CREATED_NEW_KEY), DWORD(REG_OPENED_EXISTING_KEY)}) {
        CHECK(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\None", 0, nullptr, 0, 0, nullptr, &key, &disposition) ==
              0);
        CHECK(disposition == expected);
        RegCloseKey(key);
    }
    CHECK(RegCreateKeyExW(HKEY_CURRENT_USER, nullptr, 0, nullptr, 0, 0, nullptr, &key, nullptr) ==
          ERROR_INVALID_PARAMETER);
    CHECK(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, 0, nullptr) == ERROR_INVALID_PARAMETER);
}

TEST_CASE("a key is deleted with everything below it, but no root can be")
{
    TestPhone phone;
    storeNumber(L"n", 1, L"Software\\Tree\\A\\B");
    storeNumber(L"n", 1, L"Software\\Trees");
    CHECK(RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\Tree") == ERROR_SUCCESS);
    CHECK_FALSE(keyExists(L"Software\\Tree"));
    CHECK(keyExists(L"Software\\Trees"));
    CHECK(RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\Tree") == ERROR_FILE_NOT_FOUND);
    CHECK(RegDeleteKeyW(HKEY_CURRENT_USER, L"") == ERROR_INVALID_PARAMETER);
    CHECK(RegDeleteKeyW(HKEY_CURRENT_USER, nullptr) == ERROR_INVALID_PARAMETER);
    CHECK(keyExists(L"Software"));
}

TEST_CASE("keys and values are counted and listed")
{
    TestPhone phone;
    makeKey(L"Software\\List\\One");
    makeKey(L"Software\\List\\Two");
    storeNumber(L"v", 3, L"Software\\List");
    const Key key(L"Software\\List");
    DWORD keys = 0, values = 0;
    CHECK(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
                           nullptr) == ERROR_SUCCESS);
    CHECK(keys == 2);
    CHECK(values == 1);
    CHECK(dumpKey(L"Software\\List") == "[Software\\List]\nv=dword:3\n[Software\\List\\One]\n[Software\\List\\Two]\n");
    wchar_t name[8];
    DWORD size = 8;
    CHECK(RegEnumKeyExW(key, 2, name, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_NO_MORE_ITEMS);
    CHECK(RegFlushKey(key) == ERROR_SUCCESS);
    CHECK(RegFlushKey(HKEY_LOCAL_MACHINE) == ERROR_SUCCESS);
}
