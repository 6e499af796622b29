// A phone folder written by the test itself, for what copies of the repository's phones cannot show: other names,
// malformed files, a first start. Unlike a TestPhone it is not played until the test asks for that.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "control.h"
#include "doctest.h"
#include "test_phone.h"

class PhoneFolder {
public:
    // folderName is made unique by what is appended to it.
    explicit PhoneFolder(const std::string &folderName = "phone", const std::string &phoneIni = "")
    {
        static int count;
        folder = std::filesystem::temp_directory_path() /
                 (folderName + "-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++count));
        remove();   // what a test that was killed has left, since processes are numbered anew all the time
        std::filesystem::create_directories(folder / "root");
        write("phone.ini", phoneIni);
    }
    ~PhoneFolder()
    {
        SimClearFaults();
        remove();
    }
    PhoneFolder(const PhoneFolder &) = delete;
    PhoneFolder &operator=(const PhoneFolder &) = delete;

    std::wstring path() const { return folder.wstring(); }
    std::wstring name() const { return folder.filename().wstring(); }

    void write(const char *file, const std::string &bytes) const
    {
        std::ofstream(folder / file, std::ios::binary | std::ios::trunc) << bytes;
    }
    std::string read(const char *file) const
    {
        std::ifstream stream(folder / file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    bool use() const { return SimUsePhone(path().c_str()); }

    // What the simulator complains of when it is to play this phone; empty when it plays it.
    std::string complaint() const
    {
        const std::string output = (folder / "complaint.txt").string();
        const HANDLE former = GetStdHandle(STD_ERROR_HANDLE);
        const HANDLE file =
            CreateFileA(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr);
        SetStdHandle(STD_ERROR_HANDLE, file);
        const bool played = use();
        SetStdHandle(STD_ERROR_HANDLE, former);
        CloseHandle(file);
        const std::string text = read("complaint.txt");
        CHECK(played == text.empty());
        return text;
    }

private:
    void remove() const
    {
        SimDeletePhoneRegistry(name().c_str());
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    std::filesystem::path folder;
};
