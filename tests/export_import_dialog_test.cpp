#include "export_import_dialog.h"

#include "exchange_phone.h"
#include "modal_dialog.h"
#include "resource.h"
#include "shell_values.h"

namespace {

constexpr char settings[] = "Software\\Tessaryn\\Kelvane\r\n\r\na=4,1\r\n\r\n";

struct DialogPhone : ExchangePhone {
    DialogPhone() { settingsImported = false; }
    ~DialogPhone() { settingsImported = false; }
};

// Runs script in the dialog, opened for a profile.
void inDialog(const std::function<void(HWND)> &script, int profile = 2)
{
    CHECK(runModal([=] { showExportImport(nullptr, profile); }, script));
}

// Taps a button that opens a dialog; what stands in it is cancelled. Answers that dialog's title.
std::wstring titleBehind(HWND dialog, int button)
{
    std::wstring title;
    CHECK(runModal([=] { clickControl(dialog, button); }, [&](HWND inner) { title = windowText(inner); }));
    return title;
}

}   // namespace

TEST_CASE("the dialog says what it does")
{
    DialogPhone phone;
    inDialog([](HWND dialog) {
        CHECK(windowText(dialog) == L"Export / Import");
        CHECK(controlText(dialog, 1367) ==
              L"Export all Kelvane settings to a file, this is stored in kv_Export.txt in Kelvane directory.");
        CHECK(controlText(dialog, 1) == L"Import");
        CHECK(controlText(dialog, 2) == L"Export");
        CHECK(controlText(dialog, 1406) == L"Copy current profile");
        CHECK(controlText(dialog, 4) == L"Backup");
        CHECK(controlText(dialog, 3) == L"Restore");
    });
}

TEST_CASE("Import carries the OK button's identifier: it imports and ends the dialog")
{
    DialogPhone phone;
    phone.writeFile(exchangeFile, settings);
    inDialog([](HWND dialog) {
        clickControl(dialog, IDOK);
        CHECK(!IsWindowVisible(dialog));
    });
    CHECK(storedNumber(L"a") == 1);
    CHECK(settingsImported);
}

TEST_CASE("an import that fails or is refused ends the dialog as well")
{
    DialogPhone phone;
    inDialog([](HWND dialog) {
        clickControl(dialog, IDOK);
        CHECK(!IsWindowVisible(dialog));
    });
    CHECK(phone.showedOnly(importFileMissing, MB_ICONHAND));
    phone.writeFile(exchangeFile, settings);
    phone.answer() = IDNO;
    inDialog([](HWND dialog) {
        clickControl(dialog, IDOK);
        CHECK(!IsWindowVisible(dialog));
    });
    CHECK(!settingsImported);
    CHECK(phone.keyIsEmpty());
}

TEST_CASE("Export carries the Cancel button's identifier: it exports and ends the dialog")
{
    DialogPhone phone;
    storeNumber(L"a", 1);
    inDialog([](HWND dialog) {
        clickControl(dialog, IDCANCEL);
        CHECK(!IsWindowVisible(dialog));
    });
    CHECK(phone.readFile(exchangeFile) == settings);
    CHECK(phone.showedOnly(exportFinished, MB_OK));
    CHECK(!settingsImported);
}

TEST_CASE("the caption's close button ends the dialog without doing anything")
{
    DialogPhone phone;
    inDialog([](HWND dialog) {
        SendMessageW(dialog, WM_CLOSE, 0, 0);
        CHECK(!IsWindowVisible(dialog));
    });
    CHECK(phone.shown().empty());
    CHECK(!phone.fileExists(exchangeFile));
}

TEST_CASE("copying a profile offers the current one as the source, and then the dialog ends")
{
    DialogPhone phone;
    userSettings.activeProfiles = 0x7F;
    inDialog([](HWND dialog) {
        CHECK(runModal([=] { clickControl(dialog, IDC_COPY_PROFILE); },
                       [](HWND inner) {
                           const HWND source = GetDlgItem(inner, 1257);
                           const LRESULT selected = SendMessageW(source, CB_GETCURSEL, 0, 0);
                           CHECK(SendMessageW(source, CB_GETITEMDATA, selected, 0) == 2);
                       }));
        CHECK(!IsWindowVisible(dialog));
    });
}

TEST_CASE("Backup and Restore open their dialog, and then this one ends")
{
    DialogPhone phone;
    inDialog([](HWND dialog) {
        CHECK(titleBehind(dialog, IDC_BACKUP) == L"Backup / Restore");
        CHECK(!IsWindowVisible(dialog));
    });
    inDialog([](HWND dialog) {
        CHECK(titleBehind(dialog, IDC_RESTORE) == L"Backup / Restore");
        CHECK(!IsWindowVisible(dialog));
    });
    CHECK(phone.shown().empty());
}
