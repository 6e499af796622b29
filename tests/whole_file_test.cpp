#include "whole_file.h"

#include <string>

#include "control.h"
#include "doctest.h"
#include "test_phone.h"

namespace {

constexpr wchar_t path[] = L"\\Program Files\\Kelvane\\some.txt";
constexpr wchar_t draft[] = L"\\Program Files\\Kelvane\\some.txt.tmp";

struct FilePhone : TestPhone {
    FilePhone() { removeFile(path); }

    int filesLeftOpen() const { return SimLiveFiles() - filesBefore; }

private:
    int filesBefore = SimLiveFiles();
};

std::string contentOf(const WholeFile &file)
{
    return std::string(static_cast<const char *>(file.content()), file.size());
}

bool replaceWith(const std::string &content)
{
    const bool replaced = replaceFile(path, content.data(), static_cast<DWORD>(content.size()));
    SimClearFaults();
    return replaced;
}

}   // namespace

// ---- Reading -----------------------------------------------------------------------------------------------------------

TEST_CASE("a file is read whole, with zeros for a character of either width behind it")
{
    FilePhone phone;
    for (const size_t size : {0, 1, 2, 3, 4, 5, 1000, 65536, 100001}) {
        CAPTURE(size);
        std::string content;
        for (size_t index = 0; index < size; ++index)
            content += static_cast<char>(index * 7 + 1);
        phone.writeFile(path, content);
        WholeFile file;
        CHECK(file.read(path));
        CHECK(file.size() == size);
        CHECK(file.isComplete());
        CHECK((contentOf(file) == content));
        const char *behind = static_cast<const char *>(file.content()) + size;
        CHECK(behind[0] == 0);
        CHECK(behind[1] == 0);
    }
    CHECK(phone.filesLeftOpen() == 0);
}

TEST_CASE("a file that is missing, has no size or finds no memory is not read")
{
    FilePhone phone;
    WholeFile missing, sizeless, memoryless;
    CHECK(!missing.read(path));
    CHECK(missing.content() == nullptr);

    phone.writeFile(path, "content");
    SimOrderFault(L"file", 1, L"size:*", FALSE);
    CHECK(!sizeless.read(path));
    SimOrderFault(L"memory", 1, L"alloc:", FALSE);
    CHECK(!memoryless.read(path));
    CHECK(phone.filesLeftOpen() == 0);
}

TEST_CASE("bytes that cannot be read are zero and known to be missing")
{
    FilePhone phone;
    phone.writeFile(path, "content");
    SimOrderFault(L"file", 1, L"read:*", FALSE);
    WholeFile file;
    CHECK(file.read(path));
    CHECK(!file.isComplete());
    CHECK((contentOf(file) == std::string(7, '\0')));
    CHECK(phone.filesLeftOpen() == 0);
}

TEST_CASE("an exception while reading leaves no file open")
{
    FilePhone phone;
    phone.writeFile(path, "content");
    for (const wchar_t *call : {L"open:*", L"size:*", L"read:*", L"close:*"}) {
        CAPTURE(narrow(call));
        SimOrderFault(L"file", 1, call, TRUE);
        bool thrown = false;
        try {
            WholeFile file;
            file.read(path);
        } catch (...) {
            thrown = true;
        }
        SimClearFaults();
        CHECK(thrown ==
              (std::wstring(call) != L"close:*"));   // nobody minds that a file read to its end fails to close
        CHECK(phone.filesLeftOpen() == 0);
    }
}

// ---- Writing -----------------------------------------------------------------------------------------------------------

TEST_CASE("a file is created, or replaced by a longer, shorter or empty one, and nothing is left beside it")
{
    FilePhone phone;
    for (const std::string &content : {std::string("first"), std::string("a much longer second"), std::string("3"),
                                       std::string(), std::string(70000, 'x'), std::string("\0a\0", 3)}) {
        CHECK(replaceWith(content));
        CHECK((phone.readFile(path) == content));
        CHECK(!phone.fileExists(draft));
    }
    CHECK(phone.filesLeftOpen() == 0);
}

TEST_CASE("a draft that an interrupted replacement has left does not disturb the next one")
{
    FilePhone phone;
    phone.writeFile(draft, "left over from another day");
    CHECK(replaceWith("new"));
    CHECK(phone.readFile(path) == "new");
    CHECK(!phone.fileExists(draft));
}

TEST_CASE("on a full store the file stays as it was")
{
    FilePhone phone;
    phone.writeFile(path, "precious");
    phone.set(L"storage", L"full", L"1");
    CHECK(!replaceWith("new"));
    CHECK(phone.readFile(path) == "precious");
    CHECK(!phone.fileExists(draft));
    CHECK(phone.filesLeftOpen() == 0);
}

TEST_CASE("in a protected folder the file stays as it was")
{
    FilePhone phone;
    phone.writeFile(path, "precious");
    phone.set(L"storage", L"readonly", L"\\Program Files\\Kelvane");
    CHECK(!replaceWith("new"));
    CHECK(phone.readFile(path) == "precious");
    CHECK(!phone.fileExists(draft));
}

TEST_CASE("a protected file in a folder that is not stays as it was, without a draft beside it")
{
    FilePhone phone;
    phone.writeFile(path, "precious");
    phone.set(L"storage", L"readonly", path);
    CHECK(!replaceWith("new"));
    CHECK(phone.readFile(path) == "precious");
    CHECK(!phone.fileExists(draft));
}

TEST_CASE("a file that breaks while it is written is replaced by its draft")
{
    FilePhone phone;
    phone.writeFile(path, "precious");
    SimOrderFault(L"file", 0, (std::wstring(L"write:") + path).c_str(), FALSE);
    CHECK(replaceWith("new"));
    CHECK(phone.readFile(path) == "new");
    CHECK(!phone.fileExists(draft));
}

TEST_CASE("when not even the draft can take its place, the draft stays")
{
    FilePhone phone;
    phone.writeFile(path, "precious");
    SimOrderFault(L"file", 0, (std::wstring(L"write:") + path).c_str(), FALSE);
    SimOrderFault(L"file", 0, L"move:*", FALSE);
    CHECK(!replaceWith("new"));
    CHECK(phone.readFile(draft) == "new");
    CHECK(phone.filesLeftOpen() == 0);
}

TEST_CASE("an exception while replacing leaves the old content, the new one or the draft, and no file open")
{
    for (const wchar_t *call : {L"open:*", L"write:*", L"close:*", L"delete:*"})
        for (int time = 1; time <= 2; ++time) {
            CAPTURE(narrow(call));
            CAPTURE(time);
            FilePhone phone;
            phone.writeFile(path, "precious");
            SimOrderFault(L"file", time, call, TRUE);
            try {
                replaceWith("new");
            } catch (...) {
            }
            SimClearFaults();
            const std::string content = phone.readFile(path);
            const bool kept = content == "precious" || content == "new";
            CHECK((kept || (phone.fileExists(draft) && phone.readFile(draft) == "new")));
            CHECK(phone.filesLeftOpen() == 0);
        }
}
