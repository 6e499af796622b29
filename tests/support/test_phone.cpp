#include "test_phone.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "control.h"
#include "doctest.h"

namespace fs = std::filesystem;

namespace {

// Where the build has put the phones: beside the running test.
fs::path phonesFolder()
{
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);   // the host's: no phone is open yet
    return fs::path(program).parent_path() / "phones";
}

// The process and a count make the name unique among tests that run side by side.
std::wstring uniqueName(const char *base)
{
    static int count;
    return widen(base) + L"-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
}

void setName(const fs::path &folder, const std::wstring &name)
{
    WritePrivateProfileStringW(L"phone", L"name", name.c_str(), (folder / "phone.ini").c_str());
}

fs::path hostPathOf(const wchar_t *path)
{
    wchar_t buffer[2 * MAX_PATH];   // a name may be as long as a whole path of the phone
    REQUIRE(SimHostPath(path, buffer, 2 * MAX_PATH));
    return buffer;
}

std::string readHostFile(const fs::path &path)
{
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

}   // namespace

TestPhone::TestPhone(const char *base)
{
    name = uniqueName(base);
    const fs::path folderPath = fs::temp_directory_path() / name;
    fs::remove_all(folderPath);   // process numbers come back: a test that crashed may have left its phone
    SimDeletePhoneRegistry(name.c_str());
    fs::copy(phonesFolder() / base, folderPath, fs::copy_options::recursive);
    // What the phone has gathered in the build tree since it was delivered.
    fs::remove(folderPath / "journal.log");
    fs::remove(folderPath / "root" / "Program Files" / "Kelvane" / "Kelvane.log");
    setName(folderPath, name);
    hostFolder = folderPath.wstring();
    REQUIRE(SimUsePhone(hostFolder.c_str()));
}

TestPhone::~TestPhone()
{
    SimClearFaults();
    SimSetSetting(L"storage", L"readonly", L"");   // or the phone's own files could not go
    SimSetClock(nullptr);
    SimDeletePhoneRegistry(name.c_str());
    std::error_code ignored;
    fs::remove_all(hostFolder, ignored);
}

void TestPhone::writeFile(const wchar_t *path, const std::string &bytes) const
{
    const fs::path file = hostPathOf(path);
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string TestPhone::readFile(const wchar_t *path) const
{
    REQUIRE_MESSAGE(fileExists(path), "missing on the phone: " << narrow(path));
    return readHostFile(hostPathOf(path));
}

bool TestPhone::fileExists(const wchar_t *path) const
{
    return fs::exists(hostPathOf(path));
}

void TestPhone::removeFile(const wchar_t *path) const
{
    fs::remove(hostPathOf(path));
}

void TestPhone::makeFolder(const wchar_t *path) const
{
    fs::create_directories(hostPathOf(path));
}

void TestPhone::removeFolder(const wchar_t *path) const
{
    fs::remove_all(hostPathOf(path));
}

std::vector<std::string> TestPhone::journal(const std::string &kind) const
{
    std::vector<std::string> found;
    for (std::string line : linesOf(readHostFile(fs::path(hostFolder) / "journal.log"))) {
        if (!kind.empty() && line.rfind(kind + "\t", 0) != 0)
            continue;
        std::replace(line.begin(), line.end(), '\t', ' ');
        found.push_back(line);
    }
    return found;
}

void TestPhone::set(const wchar_t *section, const wchar_t *key, const wchar_t *value) const
{
    SimSetSetting(section, key, value);
}

std::string testData(const char *fileName)
{
    std::string path = std::string(TEST_DATA "/") + fileName;
    if (path.front() == '/')
        path.insert(0, "Z:");   // where Wine has the files of its host
    REQUIRE_MESSAGE(fs::exists(path), "missing: " << path);
    return readHostFile(path);
}
