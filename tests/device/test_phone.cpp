// TestPhone on the emulated phone: what tests/support/test_phone.cpp is for the simulated one, by the stand-in's functions.

#include "test_phone.h"

#include "control.h"
#include "doctest.h"
#include "environment.h"
#include "page_window.h"
#include "scaling.h"
#include "shell_values.h"
#include "sound_catalogue.h"
#include "text.h"
#include "user_settings.h"

extern "C" {
int TestFile(const wchar_t *path, void *buffer, int size);   // its size; -1 when there is none; read when it fits
void TestWriteFile(const wchar_t *path, const void *bytes, size_t size);   // without bytes: removes it
int TestHostFile(const char *path, void *buffer, int size);                // the same of the machine this runs on
void TestFolder(const wchar_t *path, BOOL exists);
BOOL TestFreshPhone(const wchar_t *base);
int TestJournal(char *buffer, int size);   // lines; the size of all
}

// The same as in tests/support/page_window.cpp, which is about windows otherwise.
void restartProgram()
{
    freeUserSettings();
    userSettings = UserSettings{};
    freeText(appPath);
    isLandscape = 0;
    startProfile = 0;
    optionsDialog = currentPage = nullptr;
    listEdited = skinChanged = settingsImported = mailSettingsChanged = false;
    forgetResolution();
    forgetSounds();
}

// The stand-in keeps its one phone by the name it has in phones/.
TestPhone::TestPhone(const char *base) : hostFolder(widen(base)), name(hostFolder)
{
    REQUIRE(TestFreshPhone(hostFolder.c_str()));
}

TestPhone::~TestPhone()
{
    SimClearFaults();
    SimSetClock(nullptr);
}

void TestPhone::writeFile(const wchar_t *path, const std::string &bytes) const
{
    TestWriteFile(path, bytes.data(), bytes.size());
}

std::string TestPhone::readFile(const wchar_t *path) const
{
    const int size = TestFile(path, nullptr, 0);
    REQUIRE(size >= 0);
    std::string bytes(size, '\0');
    TestFile(path, &bytes[0], size);
    return bytes;
}

bool TestPhone::fileExists(const wchar_t *path) const
{
    return TestFile(path, nullptr, 0) >= 0;
}

void TestPhone::removeFile(const wchar_t *path) const
{
    TestWriteFile(path, nullptr, 0);
}

void TestPhone::makeFolder(const wchar_t *path) const
{
    TestFolder(path, TRUE);
}

void TestPhone::removeFolder(const wchar_t *path) const
{
    TestFolder(path, FALSE);
}

std::vector<std::string> TestPhone::journal(const std::string &kind) const
{
    std::string text(TestJournal(nullptr, 0), '\0');
    TestJournal(&text[0], static_cast<int>(text.size()));
    std::vector<std::string> found;
    for (const std::string &line : linesOf(text))
        if (kind.empty() || line.rfind(kind + " ", 0) == 0)
            found.push_back(line);
    return found;
}

void TestPhone::set(const wchar_t *section, const wchar_t *key, const wchar_t *value) const
{
    SimSetSetting(section, key, value);
}

std::string testData(const char *fileName)
{
    const std::string path = std::string(TEST_DATA "/") + fileName;
    const int size = TestHostFile(path.c_str(), nullptr, 0);
    REQUIRE_MESSAGE(size >= 0, "missing: " << path);
    std::string bytes(size, '\0');
    TestHostFile(path.c_str(), &bytes[0], size);
    return bytes;
}
