#include "backup_dialog.h"

#include "exchange_phone.h"
#include "modal_dialog.h"
#include "resource.h"
#include "shell_values.h"

namespace {

constexpr wchar_t backupFolder[] = L"\\Storage Card\\Backup";
constexpr wchar_t exportInFolder[] = L"\\Storage Card\\Backup\\kv_Export.txt";
constexpr char settings[] = "Software\\Tessaryn\\Kelvane\r\n\r\na=4,1\r\n\r\n";

struct DialogPhone : ExchangePhone {
    DialogPhone()
    {
        makeFolder(backupFolder);
        settingsImported = false;
    }
    ~DialogPhone() { settingsImported = false; }
};

// Opens the dialog, enters the backupFolder, taps the button; answers whether the dialog has gone.
bool tap(BackupMode mode, const std::wstring &path)
{
    bool ended = false;
    CHECK(runModal([=] { showBackup(nullptr, mode); },
                   [&](HWND dialog) {
                       setControlText(dialog, IDC_BACKUP_PATH, path);
                       clickControl(dialog, IDOK);
                       ended = !IsWindowVisible(dialog);
                   }));
    return ended;
}

}   // namespace

TEST_CASE("the button says what the dialog is for, and the folder is the last one")
{
    DialogPhone phone;
    storeText(L"backupPath", L"\\Storage Card\\Last");
    const auto shows = [](BackupMode mode, const wchar_t *button) {
        CHECK(runModal([=] { showBackup(nullptr, mode); },
                       [=](HWND dialog) {
                           CHECK(backupMode == mode);
                           CHECK(controlText(dialog, IDOK) == button);
                           CHECK(controlText(dialog, IDC_BACKUP_PATH) == L"\\Storage Card\\Last");
                           CHECK(windowText(dialog) == L"Backup / Restore");
                       }));
    };
    shows(backupToFolder, L"Backup");
    shows(restoreFromFolder, L"Restore");
}

TEST_CASE("a stored folder is read up to 520 bytes")
{
    for (size_t length : {258, 259, 260}) {
        DialogPhone phone;
        const std::wstring path = L"\\" + std::wstring(length - 1, L'f');
        storeText(L"backupPath", path);
        CHECK(runModal([] { showBackup(nullptr, backupToFolder); },
                       [&](HWND dialog) {
                           CHECK(controlText(dialog, IDC_BACKUP_PATH) == (length <= 259 ? path : L""));
                       }));
    }
}

TEST_CASE("without a folder the user is told and the dialog stays")
{
    DialogPhone phone;
    phone.writeFile(exchangeFile, "older");
    CHECK(!tap(backupToFolder, L""));
    CHECK(phone.showedOnly("No folder defined!", MB_OK | MB_ICONEXCLAMATION));
    CHECK(phone.readFile(exchangeFile) == "older");
    CHECK(!storedValue(L"backupPath").present);
}

TEST_CASE("a backup begins with a fresh export")
{
    DialogPhone phone;
    phone.writeFile(exchangeFile, "older");
    phone.writeFile(L"\\Program Files\\Kelvane\\Office.net", "snapshot");
    phone.writeFile(exportInFolder, "an older backup");
    storeNumber(L"a", 1);
    CHECK(tap(backupToFolder, backupFolder));
    CHECK(storedText(L"backupPath") == backupFolder);
    // The path is stored first, so it is part of the backup.
    CHECK(phone.readFile(exportInFolder) ==
          "Software\\Tessaryn\\Kelvane\r\n\r\na=4,1\r\nbackupPath=1,\\Storage Card\\Backup\r\n\r\n");
    CHECK(phone.readFile(L"\\Storage Card\\Backup\\Office.net") == "snapshot");
    CHECK(phone.showedOnly(exportFinished, MB_OK));
    CHECK(!settingsImported);
}

TEST_CASE("a restore brings the files back, then the settings")
{
    DialogPhone phone;
    phone.writeFile(exportInFolder, settings);
    phone.writeFile(L"\\Storage Card\\Backup\\kv_Location.dat", "places");
    phone.writeFile(L"\\Storage Card\\Backup\\Office.net", "snapshot");
    CHECK(tap(restoreFromFolder, backupFolder));
    CHECK(phone.readFile(exchangeFile) == settings);
    CHECK(phone.readFile(L"\\Program Files\\Kelvane\\kv_Location.dat") == "places");
    CHECK(phone.readFile(L"\\Program Files\\Kelvane\\Office.net") == "snapshot");
    CHECK(storedNumber(L"a") == 1);
    CHECK(storedText(L"backupPath") == backupFolder);
    CHECK(settingsImported);
    REQUIRE(phone.shown().size() == 2);
    CHECK(phone.shown()[0].text == importQuestion);
    CHECK(phone.shown()[1].text == importFinished);
}

TEST_CASE("a folder without an export has nothing to restore")
{
    DialogPhone phone;
    phone.writeFile(L"\\Storage Card\\Backup\\kv_Location.dat", "places");
    phone.writeFile(L"\\Program Files\\Kelvane\\kv_Location.dat", "mine");
    CHECK(tap(restoreFromFolder, backupFolder));
    CHECK(phone.showedOnly("No backup found to restore!", MB_OK | MB_ICONEXCLAMATION));
    CHECK(phone.readFile(L"\\Program Files\\Kelvane\\kv_Location.dat") == "mine");
    CHECK(!settingsImported);
}

TEST_CASE("files that were restored stay when the user then says no")
{
    DialogPhone phone;
    phone.writeFile(exportInFolder, settings);
    phone.answer() = IDNO;
    CHECK(tap(restoreFromFolder, backupFolder));
    CHECK(phone.readFile(exchangeFile) == settings);
    CHECK(!storedValue(L"a").present);
    CHECK(!settingsImported);
}

TEST_CASE("backing up into a folder that takes nothing still makes the export here")
{
    DialogPhone phone;
    storeNumber(L"a", 1);
    phone.writeFile(exportInFolder, "an older backup");
    phone.set(L"storage", L"readonly", backupFolder);
    CHECK(tap(backupToFolder, backupFolder));
    CHECK(phone.readFile(exportInFolder) == "an older backup");
    CHECK(phone.readFile(exchangeFile).find("a=4,1") != std::string::npos);
}

TEST_CASE("without an install directory a backup and a restore do nothing")
{
    DialogPhone phone;
    phone.writeFile(exportInFolder, settings);
    freeText(appPath);
    CHECK(tap(backupToFolder, backupFolder));
    CHECK(tap(restoreFromFolder, backupFolder));
    CHECK(phone.shown().empty());
    CHECK(phone.readFile(exportInFolder) == settings);
    CHECK(!settingsImported);
}

TEST_CASE("Cancel ends the dialog and stores nothing")
{
    DialogPhone phone;
    CHECK(runModal([] { showBackup(nullptr, backupToFolder); },
                   [](HWND dialog) {
                       setControlText(dialog, IDC_BACKUP_PATH, backupFolder);
                       SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
                       CHECK(!IsWindowVisible(dialog));
                   }));
    CHECK(phone.keyIsEmpty());
}

TEST_CASE("a folder can be picked")
{
    DialogPhone phone;
    phone.makeFolder(L"\\Storage Card\\Backup\\Inner");
    CHECK(runModal([] { showBackup(nullptr, backupToFolder); },
                   [](HWND dialog) {
                       CHECK(runModal([=] { clickControl(dialog, IDC_BACKUP_BROWSE); },
                                      [](HWND picker) {
                                          setControlText(picker, IDC_FOLDER_PATH, L"\\Storage Card\\Backup\\Inner");
                                          SendMessageW(picker, WM_COMMAND, IDOK, 0);
                                      }));
                       CHECK(controlText(dialog, IDC_BACKUP_PATH) == L"\\Storage Card\\Backup\\Inner");
                       CHECK(runModal([=] { clickControl(dialog, IDC_BACKUP_BROWSE); }));   // cancelled
                       CHECK(controlText(dialog, IDC_BACKUP_PATH) == L"\\Storage Card\\Backup\\Inner");
                   }));
}

TEST_CASE("an exception is logged, and the dialog stays")
{
    DialogPhone phone;
    SimOrderFault(L"registry", 0, L"write:backupPath", TRUE);
    CHECK(!tap(backupToFolder, backupFolder));
    CHECK(phone.log() == std::vector<std::string>{"** Exception BackupProc **"});
}
