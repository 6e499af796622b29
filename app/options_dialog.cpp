#include "options_dialog.h"

#include "about_page.h"
#include "addon_page.h"
#include "advanced_page.h"
#include "alarms_page.h"
#include "dialog.h"
#include "display_page.h"
#include "engine.h"
#include "environment.h"
#include "extra_settings.h"
#include "help.h"
#include "language.h"
#include "log.h"
#include "option_file.h"
#include "profiles_page.h"
#include "registry.h"
#include "resource.h"
#include "scaling.h"
#include "shell_values.h"
#include "system_font.h"
#include "user_settings.h"

namespace {

// ---- The sheet ----------------------------------------------------------------------------------------------------

struct SheetPage {
    int titleText;
    int portraitTemplate;
    int landscapeTemplate;
    DLGPROC procedure;
};

// In tab order. The Advanced and the Profiles page share their template and differ by their procedures.
constexpr SheetPage sheetPages[] = {
    {6, IDD_DISPLAY_PAGE, IDD_DISPLAY_PAGE_LANDSCAPE, DisplayPageProc},
    {7, IDD_ALARMS_PAGE, IDD_ALARMS_PAGE, AlarmsPageProc},
    {91, IDD_LIST_PAGE, IDD_LIST_PAGE, AdvancedPageProc},
    {92, IDD_LIST_PAGE, IDD_LIST_PAGE, ProfilesPageProc},
    {15, IDD_ADDON_PAGE, IDD_ADDON_PAGE, AddonPageProc},
    {5, IDD_ABOUT_PAGE, IDD_ABOUT_PAGE_LANDSCAPE, AboutPageProc},
};

constexpr size_t pageCount = countOf(sheetPages);
constexpr size_t pageTitleCapacity = 21;   // 20 characters and the terminator

// The sheet keeps pointers to these while it is open.
wchar_t pageTitles[pageCount][pageTitleCapacity];

PROPSHEETPAGEW pageRecord(size_t index, bool portrait)
{
    const SheetPage &row = sheetPages[index];
    copyText(pageTitles[index], getLanguageText(row.titleText, nullptr));
    PROPSHEETPAGEW page = {};
    page.dwSize = propSheetRecordSize;
    page.dwFlags = PSP_USETITLE;
    page.hInstance = appInstance;
    page.pszTemplate = MAKEINTRESOURCEW(portrait ? row.portraitTemplate : row.landscapeTemplate);
    page.pszTitle = pageTitles[index];
    page.pfnDlgProc = row.procedure;
    return page;
}

void arrangeSheet(HWND sheet)
{
    const HWND tabs = reinterpret_cast<HWND>(SendMessageW(sheet, PSM_GETTABCONTROL, 0, 0));
    SetWindowLongPtrW(tabs, GWL_STYLE, GetWindowLongPtrW(tabs, GWL_STYLE) | TCS_BOTTOM);
    makeFullScreen(sheet);
    showEmptyMenuBar(sheet);
}

// Nothing thrown in a step may leave the dialog procedure, and the steps after it are still due.
void contained(void (*step)())
{
    try {
        step();
    } catch (...) {
    }
}

// ---- Beginning ----------------------------------------------------------------------------------------------------

void initializeCommonControls()
{
    InitCommonControls();
    INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_DATE_CLASSES};
    InitCommonControlsEx(&classes);
}

void createMediaPlayer()
{
    void *player = nullptr;
    // Detailed logging is asked for before the settings are loaded: only a record that is there already can say yes.
    const HRESULT result =
        CoCreateInstance(CLSID_WindowsMediaPlayer, nullptr, CLSCTX_INPROC_SERVER, IID_IWMPPlayer, &player);
    mediaPlayer = SUCCEEDED(result) ? static_cast<IWMPPlayer *>(player) : nullptr;
    if (!mediaPlayer && (userSettings.loggingOption & logDetailed))
        writeLog("** Media Player not supported");
}

// Every source of settings in its order.
void loadSettings()
{
    getAppPath();
    contained(getDeviceType);
    getUserSettings();
    getExtraSettings();
    getUserConfigSettings();
}

// The line says the number after the reset, always 0; support knows it that way.
void checkStartProfile()
{
    if (startProfile >= 0 && startProfile < profileCount)
        return;
    startProfile = 0;
    writeLogFormatted("** kvSettings: Invalid Profile: %d", startProfile);
}

// -trunc(trunc(dpi * 10.5) / 72), in whole numbers.
int headerFontHeight(int dotsPerInch)
{
    return -(dotsPerInch * 21 / 2 / 72);
}

// -trunc(trunc(dpi * 17 / 72) / 2)
int linkFontHeight(int dotsPerInch)
{
    return -(dotsPerInch * 17 / 72 / 2);
}

void createDrawingObjects()
{
    headerFont = createSystemFont(headerFontHeight(verticalResolution()), FW_BOLD, false);
    linkFont = createSystemFont(linkFontHeight(verticalResolution()), FW_SEMIBOLD, true);
    backgroundBrush = CreateSolidBrush(RGB(220, 220, 230));
}

void readSkinColors()
{
    RegistryKey key;
    if (key.open(HKEY_CURRENT_USER, programKey) != ERROR_SUCCESS)
        return;
    readNumber(key, L"skinTextColor", skinTextColor);
    readNumber(key, L"skinAlarmColor", skinAlarmColor);
    readNumber(key, L"skinScrollColor", skinScrollColor);
}

void beginOptions(HWND dialog)
{
    initializeCommonControls();
    CoInitializeEx(nullptr, 0);
    createMediaPlayer();
    optionsDialog = dialog;
    listEdited = false;
    loadSettings();
    checkStartProfile();
    createDrawingObjects();
    contained(readSkinColors);
    // A page ends the dialog before the sheet returns, so it is never shown itself; nor when there can be no sheet.
    if (runOptionsSheet(dialog) < 0)
        EndDialog(dialog, IDCANCEL);
}

// ---- End ----------------------------------------------------------------------------------------------------------

// Every source of settings is written, whichever way the sheet ended.
void saveSettings()
{
    saveUserSettings();
    saveExtraSettings();
}

void deleteDrawingObjects()
{
    DeleteObject(linkFont);
    DeleteObject(headerFont);
    DeleteObject(backgroundBrush);
    linkFont = headerFont = nullptr;
    backgroundBrush = nullptr;
}

void releaseMediaPlayer()
{
    if (mediaPlayer)
        mediaPlayer->Release();
    mediaPlayer = nullptr;
}

void endOptions()
{
    saveSettings();
    deleteDrawingObjects();
    freeUserSettings();
    freeExtraSettings();
    releaseMediaPlayer();
    CoUninitialize();
    contained(notifyEngine);
    // The main window is still being created, and so unknown, while its dialog runs: this goes nowhere, and the process
    // ends by WinMain returning.
    SendMessageW(mainWindow, WM_CLOSE, 0, 0);
}

bool endByCommand(HWND dialog, WPARAM wParam)
{
    const int id = LOWORD(wParam);
    if (id != IDOK && id != IDCANCEL)
        return false;
    EndDialog(dialog, id);
    return true;
}

}   // namespace

INT_PTR CALLBACK OptionsDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        beginOptions(dialog);
        return TRUE;
    case WM_COMMAND:
        return endByCommand(dialog, wParam);
    case WM_DESTROY:
        endOptions();
        break;
    }
    return DefWindowProcW(dialog, message, wParam, lParam);
}

INT_PTR runOptionsSheet(HWND parent)
{
    const bool portrait = screenOrientation() == 1;
    PROPSHEETPAGEW pages[pageCount];
    for (size_t index = 0; index < pageCount; ++index)
        pages[index] = pageRecord(index, portrait);

    PROPSHEETHEADERW header = {};
    header.dwSize = propSheetRecordSize;
    header.dwFlags = PSH_PROPSHEETPAGE | PSH_USECALLBACK | PSH_MAXIMIZE;
    header.hwndParent = parent;
    header.hInstance = appInstance;
    header.nPages = pageCount;
    header.nStartPage = 0;
    header.ppsp = pages;
    header.pfnCallback = OptionsSheetCallback;
    return PropertySheetW(&header);
}

int CALLBACK OptionsSheetCallback(HWND sheet, UINT message, LPARAM)
{
    switch (message) {
    case PSCB_INITIALIZED:
        arrangeSheet(sheet);
        return 0;
    case PSCB_GETVERSION:
        return COMCTL32_VERSION;
    case WM_HELP:
        openHelp(L"options-user");
        return 0;
    }
    return 0;
}
