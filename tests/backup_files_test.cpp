#include "backup_files.h"

#include "control.h"
#include "doctest.h"
#include "test_phone.h"

namespace {

constexpr wchar_t from[] = L"\\Program Files\\Kelvane";
constexpr wchar_t to[] = L"\\Storage Card\\Backup";

std::wstring in(const wchar_t *folder, const wchar_t *name)
{
    return std::wstring(folder) + L"\\" + name;
}

struct BackupPhone : TestPhone {
    BackupPhone() { makeFolder(to); }

    void put(const wchar_t *folder, const wchar_t *name, const char *content) const
    {
        writeFile(in(folder, name).c_str(), content);
    }
    // "-" for a file that is not there.
    std::string at(const wchar_t *folder, const wchar_t *name) const
    {
        const std::wstring path = in(folder, name);
        return fileExists(path.c_str()) ? readFile(path.c_str()) : "-";
    }
};

constexpr const wchar_t *namedFiles[] = {L"kv_Export.txt", L"kv_Location.dat", L"Kelvane_User.cfg"};

}   // namespace

TEST_CASE("a backup is the three files and the snapshots, and replaces older ones")
{
    BackupPhone phone;
    for (const wchar_t *name : namedFiles) {
        phone.put(from, name, "new");
        phone.put(to, name, "older and longer");
    }
    phone.put(from, L"Office.net", "snapshot");
    phone.put(from, L"notes.txt", "not part of it");
    phone.put(to, L"theirs.txt", "stays");
    copyBackupFiles(from, to);
    for (const wchar_t *name : namedFiles)
        CHECK(phone.at(to, name) == "new");
    CHECK(phone.at(to, L"Office.net") == "snapshot");
    CHECK(phone.at(to, L"notes.txt") == "-");
    CHECK(phone.at(to, L"theirs.txt") == "stays");
    CHECK(phone.at(from, L"Office.net") == "snapshot");
}

TEST_CASE("a file is a snapshot when .net is anywhere in its name, in any case")
{
    BackupPhone phone;
    for (const wchar_t *name : {L"office.network", L"HOME.NET", L"x.net.bak", L"network.txt"})
        phone.put(from, name, "content");
    copyBackupFiles(from, to);
    CHECK(phone.at(to, L"office.network") == "content");
    CHECK(phone.at(to, L"HOME.NET") == "content");
    CHECK(phone.at(to, L"x.net.bak") == "content");
    CHECK(phone.at(to, L"network.txt") == "-");
}

TEST_CASE("what is missing is left out, and what was there of it stays")
{
    BackupPhone phone;
    phone.put(from, L"Kelvane_User.cfg", "new");
    phone.put(to, L"kv_Location.dat", "kept");
    copyBackupFiles(from, to);
    CHECK(phone.at(to, L"Kelvane_User.cfg") == "new");
    CHECK(phone.at(to, L"kv_Location.dat") == "kept");
    CHECK(phone.at(to, L"kv_Export.txt") == "-");
}

TEST_CASE("nothing that was there is lost on a full disk, in a read-only folder, or when copying fails")
{
    const auto keeps = [](void (*hinder)(const BackupPhone &)) {
        BackupPhone phone;
        for (const wchar_t *name : namedFiles) {
            phone.put(from, name, "new");
            phone.put(to, name, "older");
        }
        phone.put(from, L"a.net", "new");
        phone.put(to, L"a.net", "older");
        hinder(phone);
        copyBackupFiles(from, to);
        SimClearFaults();
        for (const wchar_t *name : namedFiles)
            CHECK(phone.at(to, name) == "older");
        CHECK(phone.at(to, L"a.net") == "older");
        CHECK(phone.at(to, L"kv_copy.tmp") == "-");
    };
    keeps([](const BackupPhone &phone) { phone.set(L"storage", L"full", L"1"); });
    keeps([](const BackupPhone &phone) { phone.set(L"storage", L"readonly", to); });
    keeps([](const BackupPhone &) { SimOrderFault(L"file", 0, L"copy:*", FALSE); });
    keeps([](const BackupPhone &) {
        for (const wchar_t *name : {L"kv_Export.txt", L"kv_Location.dat", L"Kelvane_User.cfg", L"a.net"})
            SimOrderFault(L"file", 0, (L"delete:\\Storage Card\\Backup\\" + std::wstring(name)).c_str(), FALSE);
    });
}

TEST_CASE("a folder that is not there, or is the same, does no harm")
{
    BackupPhone phone;
    phone.put(from, L"kv_Export.txt", "settings");
    phone.put(from, L"a.net", "snapshot");
    copyBackupFiles(from, L"\\Nowhere");
    copyBackupFiles(L"\\Nowhere", from);
    copyBackupFiles(from, from);
    CHECK(phone.at(from, L"kv_Export.txt") == "settings");
    CHECK(phone.at(from, L"a.net") == "snapshot");
    CHECK(phone.at(from, L"kv_copy.tmp") == "-");
}

TEST_CASE("a read-only file is backed up again and again, and stands in no other's way")
{
    BackupPhone phone;
    phone.put(from, L"a.net", "first");
    phone.put(from, L"b.net", "first");
    SetFileAttributesW(in(from, L"a.net").c_str(), FILE_ATTRIBUTE_READONLY);
    copyBackupFiles(from, to);
    SetFileAttributesW(in(from, L"a.net").c_str(), FILE_ATTRIBUTE_NORMAL);
    phone.put(from, L"a.net", "second");
    phone.put(from, L"b.net", "second");
    SetFileAttributesW(in(from, L"a.net").c_str(), FILE_ATTRIBUTE_READONLY);
    copyBackupFiles(from, to);
    CHECK(phone.at(to, L"a.net") == "second");
    CHECK(phone.at(to, L"b.net") == "second");
    SetFileAttributesW(in(from, L"a.net").c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_CASE("a draft that an interrupted backup has left is replaced, even a read-only one")
{
    BackupPhone phone;
    phone.put(from, L"a.net", "new");
    phone.put(to, L"kv_copy.tmp", "left");
    SetFileAttributesW(in(to, L"kv_copy.tmp").c_str(), FILE_ATTRIBUTE_READONLY);
    copyBackupFiles(from, to);
    CHECK(phone.at(to, L"a.net") == "new");
    CHECK(phone.at(to, L"kv_copy.tmp") == "-");
}

TEST_CASE("a draft that cannot be renamed is copied into its place")
{
    BackupPhone phone;
    phone.put(from, L"a.net", "new");
    phone.put(to, L"a.net", "older");
    SimOrderFault(L"file", 0, L"move:*", FALSE);
    copyBackupFiles(from, to);
    CHECK(phone.at(to, L"a.net") == "new");
    CHECK(phone.at(to, L"kv_copy.tmp") == "-");
}

TEST_CASE("a folder may be the root, and may end with a backslash")
{
    BackupPhone phone;
    phone.put(from, L"kv_Export.txt", "settings");
    copyBackupFiles(L"\\Program Files\\Kelvane\\", L"\\");
    CHECK(phone.readFile(L"\\kv_Export.txt") == "settings");
    CHECK(hasBackup(L"\\"));
    CHECK(hasBackup(from));
    CHECK(hasBackup(L"\\Program Files\\Kelvane\\"));
    CHECK(!hasBackup(to));
    // Never as a network path, which two backslashes at the beginning would be.
    SimOrderFault(L"file", 0, L"copy:\\\\*", TRUE);
    copyBackupFiles(L"\\", to);
    CHECK(phone.at(to, L"kv_Export.txt") == "settings");
}

TEST_CASE("the same folder is left alone, however it is written")
{
    BackupPhone phone;
    phone.put(from, L"a.net", "snapshot");
    SimOrderFault(L"file", 0, L"copy:*", TRUE);
    copyBackupFiles(from, L"\\PROGRAM FILES\\kelvane\\");
    CHECK(phone.at(from, L"a.net") == "snapshot");
}

TEST_CASE("paths too long for the system copy nothing")
{
    BackupPhone phone;
    phone.put(from, L"a.net", "snapshot");
    const std::wstring longFolder = L"\\" + std::wstring(259, L'f');
    copyBackupFiles(from, longFolder.c_str());
    copyBackupFiles(longFolder.c_str(), to);
    CHECK(phone.at(to, L"a.net") == "-");
}

TEST_CASE("copying leaves no search or file open")
{
    BackupPhone phone;
    phone.put(from, L"a.net", "snapshot");
    const int files = SimLiveFiles();
    copyBackupFiles(from, to);
    CHECK(SimLiveFiles() == files);
}
