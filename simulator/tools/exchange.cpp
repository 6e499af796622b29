// The program's own export and import without its windows, on the phone that PHONE names.
//
//   exchange.exe import   reads kv_Export.txt
//   exchange.exe export   writes kv_Export.txt
//   exchange.exe check    imports, writes what an export gives at once to imported.txt, and what it gives after a start and an
//                         end of the program without any change to saved.txt, both beside kv_Export.txt; afterwards that file
//                         and the program's key are gone
//
// Message boxes are answered with their first button and printed on standard output, which ends in a line "stored N": how many
// values an import has stored in the program's key and below. Ends with 0 when all went well, 1 when the export or import
// answered so, 2 for a wrong command, 4 when a file could not be written whole.
#include <cstdio>
#include <cwchar>
#include <unordered_map>

#include "control.h"
#include "environment.h"
#include "exchange_file.h"
#include "extra_settings.h"
#include "intercept.h"
#include "phone.h"
#include "registry.h"
#include "settings_export.h"
#include "settings_import.h"
#include "shell_values.h"
#include "text.h"
#include "user_settings.h"

IMPORTED(MessageBoxW);
IMPORTED(WriteFile);
IMPORTED(RegCreateKeyExW);
IMPORTED(RegOpenKeyExW);
IMPORTED(RegSetValueExW);

namespace {

constexpr int exitCodeFailed = 1, exitCodeUsage = 2, exitCodeNotWritten = 4;

constexpr wchar_t installFolder[] = L"\\Program Files\\Kelvane";

int stored;
bool incomplete;      // something was not written whole
bool onlyTheImport;   // what the loading of the records stores is left out

// ---- Looking over the program's shoulder ----------------------------------------------------------------------------------

int WINAPI answerMessage(HWND, LPCWSTR text, LPCWSTR, UINT style)
{
    printf("%ls\n", text);
    return (style & MB_TYPEMASK) == MB_YESNO ? IDYES : IDOK;
}

// An export does not tell of writes that fail.
BOOL WINAPI watchWriting(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED overlapped)
{
    const BOOL done = Intercept<__imp_WriteFile>::real(file, bytes, size, written, overlapped);
    if (!done || *written != size)
        incomplete = true;
    return done;
}

bool isOfProgram(const wchar_t *path)
{
    constexpr size_t length = countOf(programKey) - 1;
    return _wcsnicmp(path, programKey, length) == 0 && (!path[length] || path[length] == '\\');
}

HKEY sectionKey;   // of the section being read, if it is one of the program's
bool loading;      // the sections are over

LONG WINAPI watchSection(HKEY root, LPCWSTR path, DWORD reserved, LPWSTR type, DWORD options, REGSAM access,
                         LPSECURITY_ATTRIBUTES security, PHKEY key, LPDWORD disposition)
{
    const LONG status =
        Intercept<__imp_RegCreateKeyExW>::real(root, path, reserved, type, options, access, security, key, disposition);
    sectionKey = status == ERROR_SUCCESS && root == HKEY_CURRENT_USER && isOfProgram(path) ? *key : nullptr;
    return status;
}

LONG WINAPI countValue(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE *data, DWORD size)
{
    if (loading && onlyTheImport)
        return ERROR_SUCCESS;
    const LONG status = Intercept<__imp_RegSetValueExW>::real(key, name, reserved, type, data, size);
    if (status == ERROR_SUCCESS && key == sectionKey)
        ++stored;
    return status;
}

// An import only creates keys: the first that is opened belongs to the loading of the records behind it, which stores values
// of its own.
LONG WINAPI endCounting(HKEY root, LPCWSTR path, DWORD options, REGSAM access, PHKEY key)
{
    sectionKey = nullptr;
    loading = true;
    return Intercept<__imp_RegOpenKeyExW>::real(root, path, options, access, key);
}

// ---- What the program does ------------------------------------------------------------------------------------------------

void takeInstallFolder()
{
    freeText(appPath);
    appPath = duplicateText(installFolder);
}

// A line of its section that the import takes over by its rules says where the program lies on another phone.
void forgetForeignInstallFolder()
{
    RegistryKey key;
    if (key.open(HKEY_CURRENT_USER, programKey) == ERROR_SUCCESS)
        RegDeleteValueW(key.handle(), installPathValue);
}

bool importNow()
{
    const Intercept<__imp_RegCreateKeyExW> creating(watchSection);
    const Intercept<__imp_RegSetValueExW> setting(countValue);
    const Intercept<__imp_RegOpenKeyExW> opening(endCounting);
    const bool done = importSettings(0) != 0;
    forgetForeignInstallFolder();
    return done;
}

bool exportNow()
{
    const Intercept<__imp_WriteFile> writing(watchWriting);
    return exportSettings() != 0;
}

// As at the program's start, when nothing has been loaded yet.
void forgetRecords()
{
    freeUserSettings();
    freeExtraSettings();
    userSettings = UserSettings();
    extraSettings = ExtraSettings();
}

void startAndEndProgram()
{
    forgetRecords();
    getDeviceType();
    getUserSettings();
    getExtraSettings();
    saveUserSettings();
    saveExtraSettings();
}

bool exportTo(const wchar_t *name)
{
    wchar_t exchangeFile[exchangePathCapacity], target[MAX_PATH];
    formatText(target, L"%s\\%s", appPath, name);
    DeleteFileW(target);
    return exportNow() && exchangeFilePath(exchangeFile) && MoveFileW(exchangeFile, target);
}

bool check()
{
    onlyTheImport = true;
    if (!importNow() || !exportTo(L"imported.txt"))
        return false;
    startAndEndProgram();
    const bool saved = exportTo(L"saved.txt");
    RegDeleteKeyW(HKEY_CURRENT_USER, programKey);
    return saved;
}

struct Command {
    const char *name;
    bool (*run)();
};

constexpr Command commands[] = {{"import", importNow}, {"export", exportNow}, {"check", check}};

int run(const Command &command)
{
    takeInstallFolder();
    const Intercept<__imp_MessageBoxW> messages(answerMessage);
    const bool done = command.run();
    printf("stored %d\n", stored);
    if (incomplete)
        return exitCodeNotWritten;
    return done ? 0 : exitCodeFailed;
}

}   // namespace

int main(int count, char **arguments)
{
    for (const Command &command : commands)
        if (count == 2 && strcmp(arguments[1], command.name) == 0)
            return run(command);
    fprintf(stderr, "usage: exchange import|export|check\n");
    return exitCodeUsage;
}
