// A phone of a test's own: a fresh copy of one of phones/, under a name nobody else has, played by the simulator while
// the object lives and gone without a trace afterwards. All paths are paths of the phone ("\\Program Files\\Kelvane").
#pragma once

#include <string>
#include <vector>

#include "phone.h"

class TestPhone {
public:
    explicit TestPhone(const char *base = "wm6");
    ~TestPhone();
    TestPhone(const TestPhone &) = delete;
    TestPhone &operator=(const TestPhone &) = delete;

    const std::wstring &folder() const { return hostFolder; }

    // Files. writeFile also makes the folders on the way; readFile of a missing file fails the test.
    void writeFile(const wchar_t *path, const std::string &bytes) const;
    std::string readFile(const wchar_t *path) const;
    bool fileExists(const wchar_t *path) const;
    void removeFile(const wchar_t *path) const;
    void makeFolder(const wchar_t *path) const;
    void removeFolder(const wchar_t *path) const;   // with everything in it

    // A language file in the install directory, from lines of wide text: byte order mark and CR LF are added.
    void writeLanguageFile(const wchar_t *code, const std::vector<std::wstring> &lines) const;

    // Replaces a volume of the phone's databases by a text of lines, "object store" or the volume's file name.
    void writeStore(const wchar_t *volume, const std::string &lines) const;

    // The journal's lines of one kind, their fields joined by a blank; all kinds when kind is empty.
    std::vector<std::string> journal(const std::string &kind = "") const;

    // Lines of Kelvane.log in the install directory without their time prefixes; empty when there is no log.
    std::vector<std::string> log() const;

    // Plays another phone's environment into this one: a text of phone.ini, for this process.
    void set(const wchar_t *section, const wchar_t *key, const wchar_t *value) const;

private:
    std::wstring hostFolder;
    std::wstring name;
};

constexpr wchar_t installFolder[] = L"\\Program Files\\Kelvane";

// ---- The phone's registry, as a test sees it --------------------------------------------------------------------------

constexpr wchar_t kelvaneKey[] = L"Software\\Tessaryn\\Kelvane";

// One stored value as it lies there.
struct StoredValue {
    bool present = false;
    DWORD type = 0;
    std::vector<BYTE> bytes;
};

StoredValue storedValue(const wchar_t *name, const wchar_t *key = kelvaneKey, HKEY root = HKEY_CURRENT_USER);
DWORD storedNumber(const wchar_t *name, const wchar_t *key = kelvaneKey, HKEY root = HKEY_CURRENT_USER);
std::wstring storedText(const wchar_t *name, const wchar_t *key = kelvaneKey, HKEY root = HKEY_CURRENT_USER);
void storeNumber(const wchar_t *name, DWORD value, const wchar_t *key = kelvaneKey, HKEY root = HKEY_CURRENT_USER);
void storeText(const wchar_t *name, const std::wstring &text, const wchar_t *key = kelvaneKey,
               HKEY root = HKEY_CURRENT_USER);
void storeBytes(const wchar_t *name, DWORD type, const void *bytes, size_t size, const wchar_t *key = kelvaneKey,
                HKEY root = HKEY_CURRENT_USER);
void removeValue(const wchar_t *name, const wchar_t *key = kelvaneKey, HKEY root = HKEY_CURRENT_USER);
void makeKey(const wchar_t *key, HKEY root = HKEY_CURRENT_USER);
void removeKey(const wchar_t *key, HKEY root = HKEY_CURRENT_USER);   // with everything below
bool keyExists(const wchar_t *key, HKEY root = HKEY_CURRENT_USER);

// The whole key with its subkeys as text, sorted: one line "name=type:data" per value; for golden files.
std::string dumpKey(const wchar_t *key, HKEY root = HKEY_CURRENT_USER);

// ---- Files of the host ------------------------------------------------------------------------------------------------

// The bytes of a file below tests/. A missing one fails the test.
std::string testData(const char *name);

// A file of tests/golden, its line ends as a bare line feed.
std::string goldenFile(const char *name);

// ---- Waiting ----------------------------------------------------------------------------------------------------------

// Handles messages until condition holds; fails the test after limit milliseconds.
template <typename Condition> bool waitFor(Condition condition, DWORD limit = 20000)
{
    const DWORD start = GetTickCount();
    while (!condition()) {
        if (GetTickCount() - start > limit)
            return false;
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
        Sleep(1);
    }
    return true;
}

// ---- Texts ------------------------------------------------------------------------------------------------------------

std::string narrow(const std::wstring &text);   // UTF-8
std::wstring widen(const std::string &utf8);
std::vector<std::string> linesOf(const std::string &text);   // whichever way they end
