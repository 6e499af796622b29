#include "sound_catalogue.h"

#include <initializer_list>

#include "aygshell.h"
#include "environment.h"
#include "folder_search.h"
#include "language.h"
#include "list_text.h"
#include "log.h"
#include "optional_function.h"
#include "registry.h"
#include "user_settings.h"
#include "wait_cursor.h"

namespace {

constexpr size_t pathCapacity = 260;

// ---- The catalogue ---------------------------------------------------------------------------------------------------

// One text "§entry§entry§", empty until it is collected. The memory is there from the first entry on.
wchar_t *catalogue;
size_t catalogueLength;

constexpr wchar_t separatorText[] = {listSeparator, 0};

// From this length on nothing is added any more. The entry that reaches it may go beyond it, so there is room for the
// longest one: a translated special name, which is longer than any file's.
constexpr size_t fullLength = 19500;
constexpr size_t longestEntry = translationCapacity - 1;
constexpr size_t catalogueCapacity = fullLength - 1 + longestEntry + countOf(separatorText);
static_assert(longestEntry >= pathCapacity - 1);

// <system>, <silent>, <vibrate>
constexpr int specialNames[] = {93, 94, 61};

// Anywhere in the name: "a.wav.bak" counts as well, and "a.midi" by its beginning.
constexpr wchar_t midiMark[] = L".mid";
constexpr const wchar_t *soundMarks[] = {L".wav", L".mp3", L".wma", midiMark};

void append(const wchar_t *text)
{
    const size_t length = wcslen(text);
    memcpy(catalogue + catalogueLength, text, (length + 1) * sizeof(wchar_t));
    catalogueLength += length;
}

void startCatalogue()
{
    if (!catalogue)
        catalogue = new wchar_t[catalogueCapacity];
    catalogueLength = 0;
    append(separatorText);
}

void addSpecialNames()
{
    for (const int name : specialNames) {
        append(getLanguageText(name, nullptr));
        append(separatorText);
    }
}

// Each name once, where it was found first.
void addEntry(const wchar_t *name)
{
    if (catalogueLength == 0)
        startCatalogue();
    if (catalogueLength >= fullLength)
        return;
    wchar_t entry[longestEntry + 2 * countOf(separatorText)];
    formatText(entry, L"%s%s%s", separatorText, name, separatorText);
    if (!wcsstr(catalogue, entry))
        append(entry + 1);   // its first separator ends the entry before it
}

bool isSound(const wchar_t *lowerCaseName)
{
    for (const wchar_t *mark : soundMarks)
        if (wcsstr(lowerCaseName, mark))
            return true;
    return false;
}

// ---- Log -------------------------------------------------------------------------------------------------------------

void logFolderCount(DWORD loggingBit, const char *format, int count)
{
    if (userSettings.loggingOption & loggingBit)
        writeLogFormatted(format, count);
}

// ---- Folders ---------------------------------------------------------------------------------------------------------

// Room for all that is ever put together here: two paths, and what goes between them and behind.
constexpr size_t joinedCapacity = 2 * pathCapacity + 32;

void scanFolder(const wchar_t *folder)
{
    wchar_t pattern[joinedCapacity];
    if (wcslen(folder) + countOf(L"\\*") > countOf(pattern))
        return;   // longer than any path; cut, it would name another folder
    formatText(pattern, L"%s\\*", folder);
    for (FolderSearch search(pattern); search.atEntry(); search.next()) {
        wchar_t name[pathCapacity];
        copyText(name, search.entry().cFileName);
        _wcslwr(name);
        if (isSound(name))
            addEntry(name);
    }
}

// The value the phone's own sound settings keep; empty when there is none.
void readRingDirectory(wchar_t (&folder)[pathCapacity])
{
    folder[0] = 0;
    RegistryKey key;
    if (key.open(HKEY_CURRENT_USER, L"ControlPanel\\SoundCategories\\Ring") == ERROR_SUCCESS)
        readText(key, L"Directory", folder);
}

// Where ActiveSync puts files.
void readSyncFolder(wchar_t (&folder)[pathCapacity])
{
    folder[0] = 0;
    RegistryKey key;
    if (key.open(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows CE Services") == ERROR_SUCCESS)
        readText(key, L"FileSyncPath", folder);
    if (!folder[0])
        copyText(folder, L"\\My Documents");
}

bool endsWithBackslash(const wchar_t *text)
{
    const size_t length = wcslen(text);
    return length > 0 && text[length - 1] == L'\\';
}

// Memory that is built in is marked like a card; its name tells it apart.
bool isStorageCard(const WIN32_FIND_DATAW &entry)
{
    constexpr DWORD cardMark = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_TEMPORARY;
    if ((entry.dwFileAttributes & cardMark) != cardMark)
        return false;
    wchar_t name[pathCapacity];
    copyText(name, entry.cFileName);
    _wcslwr(name);
    for (const wchar_t *part : {L"file", L"safe", L"built", L"_rom"})
        if (wcsstr(name, part))
            return false;
    return wcscmp(name, L"storage") != 0;
}

// The name of the first storage card in the root folder.
bool findStorageCard(wchar_t (&card)[pathCapacity])
{
    for (FolderSearch search(L"\\*"); search.atEntry(); search.next())
        if (isStorageCard(search.entry())) {
            copyText(card, search.entry().cFileName);
            return true;
        }
    return false;
}

// The folders in which Windows CE 5 and later look for ring tones; none when the phone does not tell.
class SystemSoundFolders {
public:
    SystemSoundFolders() = default;
    SystemSoundFolders(const SystemSoundFolders &) = delete;
    SystemSoundFolders &operator=(const SystemSoundFolders &) = delete;
    ~SystemSoundFolders()
    {
        if (folders)
            LocalFree(folders);
        if (library)
            FreeLibrary(library);
    }

    // Apart from the constructor, so that what there is already is released when the call fails with an exception.
    void ask();

    int count() const { return folders ? folderCount : 0; }
    const wchar_t *path(int index) const { return folders[index].szPathName; }

private:
    HMODULE library = nullptr;
    SNDDIRECTORYINFO *folders = nullptr;
    int folderCount = 0;
};

void SystemSoundFolders::ask()
{
    library = LoadLibraryW(L"aygshell.dll");
    if (!library)
        return;
    const auto list =
        optionalFunction<decltype(&SndGetSoundDirectoriesList)>(L"aygshell.dll", L"SndGetSoundDirectoriesList");
    if (!list)
        return;
    list(SND_EVENT_RINGTONELINE1, SND_LOCATION_ALL, &folders, &folderCount);
    for (int i = 0; i < count(); ++i)
        folders[i].szPathName[pathCapacity - 1] = 0;
}

// ---- Collecting ------------------------------------------------------------------------------------------------------

void addSystemSoundFolders()
{
    SystemSoundFolders folders;
    folders.ask();
    if (folders.count() <= 0)
        return;
    logFolderCount(logDetailed, "load sound combo: %d folders", folders.count());
    addSoundsFromFolder(L"\\Windows");
    for (int i = 0; i < folders.count(); ++i)
        if (_wcsicmp(folders.path(i), L"\\windows") != 0)
            addSoundsFromFolder(folders.path(i));
}

// A value without a backslash at its end loses its last letter instead: kept, since "\Windows\Rings" and its like are
// found by the folders that follow, and the lists users know would change otherwise.
void addRingFolder()
{
    wchar_t folder[pathCapacity];
    readRingDirectory(folder);
    if (folder[0] && !endsWithBackslash(folder))
        folder[wcslen(folder) - 1] = 0;
    addSoundsFromFolder(folder);
}

// The second folder ends in "\*", and the search appends its own: kept, a phone finds nothing in it.
void addCardFolders()
{
    wchar_t card[pathCapacity];
    if (!findStorageCard(card))
        return;
    addSoundsFromFolder(card);
    wchar_t documents[joinedCapacity];
    formatText(documents, L"\\%s\\My Documents\\*", card);
    addSoundsFromFolder(documents);
}

void addSyncFolder()
{
    wchar_t folder[pathCapacity];
    readSyncFolder(folder);
    addSoundsFromFolder(folder);
}

// Before Windows CE 5 the system has no list of its folders.
void addUsualSoundFolders()
{
    addRingFolder();
    addSoundsFromFolder(L"\\Windows\\rings");
    addSoundsFromFolder(L"\\Windows");
    addCardFolders();
    addSyncFolder();
}

void collectSounds()
{
    WaitCursor wait;
    startCatalogue();
    addSpecialNames();
    if (isOsVersion5)
        addSystemSoundFolders();
    else
        addUsualSoundFolders();
}

// ---- Combo boxes -----------------------------------------------------------------------------------------------------

// Room for all entries at once, instead of again and again for a list of a thousand.
void reserveEntries(HWND combo)
{
    WPARAM count = 0;
    for (const wchar_t *place = catalogue; (place = wcschr(place, listSeparator)) != nullptr; ++place)
        ++count;
    SendMessageW(combo, CB_INITSTORAGE, count, static_cast<LPARAM>(catalogueLength * sizeof(wchar_t)));
}

void addToCombo(HWND combo, const wchar_t *start, size_t length, bool withMidi)
{
    wchar_t entry[longestEntry + 1];
    if (length == 0 || length > longestEntry)
        return;
    memcpy(entry, start, length * sizeof(wchar_t));
    entry[length] = 0;
    if (withMidi || !wcsstr(entry, midiMark))
        SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entry));
}

void fillCombo(HWND combo, bool withMidi)
{
    SendMessageW(combo, CB_RESETCONTENT, 0, 0);
    reserveEntries(combo);
    const wchar_t *start = catalogue;
    while (const wchar_t *end = wcschr(start, listSeparator)) {
        addToCombo(combo, start, static_cast<size_t>(end - start), withMidi);
        start = end + 1;
    }
}

// ---- Finding a file --------------------------------------------------------------------------------------------------

bool fileExists(const wchar_t *path)
{
    const DWORD attributes = GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

// Fills path and tells whether that file exists. One whose path does not fit does not: no system could open it.
bool tryPath(wchar_t (&path)[pathCapacity], const wchar_t *format, ...)
{
    wchar_t joined[joinedCapacity];
    va_list parts;
    va_start(parts, format);
    formatInto(joined, countOf(joined), format, parts);
    va_end(parts);
    copyText(path, joined);
    return wcslen(joined) < pathCapacity && fileExists(path);
}

bool findInRingFolder(wchar_t (&path)[pathCapacity], const wchar_t *name)
{
    wchar_t folder[pathCapacity];
    readRingDirectory(folder);
    if (!folder[0] || _wcsicmp(folder, L"\\Windows\\") == 0)
        copyText(folder, L"\\Windows\\rings\\");
    return tryPath(path, L"%s%s%s", folder, endsWithBackslash(folder) ? L"" : L"\\", name);
}

bool findInSyncFolder(wchar_t (&path)[pathCapacity], const wchar_t *name)
{
    wchar_t folder[pathCapacity];
    readSyncFolder(folder);
    return tryPath(path, L"%s\\%s", folder, name) || tryPath(path, L"%s\\My Ringtones\\%s", folder, name);
}

void findOnCard(wchar_t (&path)[pathCapacity], const wchar_t *name)
{
    wchar_t card[pathCapacity];
    if (!findStorageCard(card))
        return;
    if (!tryPath(path, L"\\%s\\%s", card, name) && !tryPath(path, L"\\%s\\My Documents\\%s", card, name))
        writeLogFormatted("getSoundFilePath failed: %s", LoggedName(name).text);
}

// Leaves the path tried last when there is no such file.
void findInUsualFolders(wchar_t (&path)[pathCapacity], const wchar_t *name)
{
    if (!tryPath(path, L"\\Windows\\%s", name) && !findInRingFolder(path, name) && !findInSyncFolder(path, name))
        findOnCard(path, name);
}

bool findInSystemFolders(wchar_t (&path)[pathCapacity], const wchar_t *name)
{
    if (tryPath(path, L"\\windows\\%s", name))
        return true;
    SystemSoundFolders folders;
    folders.ask();
    if (folders.count() <= 0)
        return false;
    logFolderCount(logSignal, "getSoundFilePath: %d folders", folders.count());
    for (int i = 0; i < folders.count(); ++i)
        if (tryPath(path, L"%s\\%s", folders.path(i), name))
            return true;
    return false;
}

}   // namespace

void addSoundsFromFolder(const wchar_t *folder)
{
    if (!folder || !folder[0])
        return;
    try {
        if (userSettings.loggingOption & logSignal)
            writeLogFormatted("addSoundsFromFolder: %s", LoggedName(folder).text);
        scanFolder(folder);
    } catch (...) {
        writeLog("** Exception addSoundsFromFolder **");
    }
}

void loadSoundCombo(HWND combo, int ringToneForm)
{
    try {
        if (catalogueLength == 0)
            collectSounds();
        fillCombo(combo, ringToneForm != 0 || !excludesMidiSounds);
    } catch (...) {
        writeLog("** Exception loadSoundCombo **");
    }
}

void getSoundFilePath(wchar_t (&name)[260])
{
    if (name[0] == L'\\' && fileExists(name))
        return;
    wchar_t wanted[pathCapacity];
    copyText(wanted, name);
    name[0] = 0;
    if (!isOsVersion5)
        findInUsualFolders(name, wanted);
    else if (!findInSystemFolders(name, wanted))
        name[0] = 0;
}

void forgetSounds()
{
    delete[] catalogue;
    catalogue = nullptr;
    catalogueLength = 0;
}
