#include "backup_files.h"

#include "environment.h"
#include "exchange_file.h"
#include "folder_search.h"
#include "text.h"

namespace {

constexpr const wchar_t *namedFiles[] = {exchangeFileName, L"kv_Location.dat", L"Kelvane_User.cfg"};

// What marks a snapshot, anywhere in its name.
constexpr wchar_t snapshotMark[] = L".net";

// A folder's and a file's name together can be longer than a path may be; such a file cannot be there.
using FilePath = wchar_t[2 * MAX_PATH];

// A copy in the making goes by this name and takes the place of the older file once it is whole: on a full disk the older
// one stays as it was.
constexpr wchar_t unfinishedName[] = L"kv_copy.tmp";

// Pickers answer the root, and people may write any folder, with a backslash at the end.
void buildPath(FilePath &path, const wchar_t *folder, const wchar_t *name)
{
    const size_t length = wcslen(folder);
    const bool ended = length && folder[length - 1] == L'\\';
    formatText(path, ended ? L"%s%s" : L"%s\\%s", folder, name);
}

bool isSameFolder(const wchar_t *one, const wchar_t *other)
{
    FilePath ofOne, ofOther;
    buildPath(ofOne, one, L"");
    buildPath(ofOther, other, L"");
    return _wcsicmp(ofOne, ofOther) == 0;
}

// The read-only attribute is copied with a file. On the draft it would be in the way of every later copy.
void makeWritable(const wchar_t *path)
{
    if (pathExists(path))
        SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL);
}

void copyFile(const wchar_t *name, const wchar_t *fromFolder, const wchar_t *toFolder)
{
    FilePath from, unfinished, to;
    buildPath(from, fromFolder, name);
    buildPath(unfinished, toFolder, unfinishedName);
    buildPath(to, toFolder, name);
    makeWritable(unfinished);   // one that an interrupted backup has left
    const bool whole = CopyFileW(from, unfinished, FALSE);
    makeWritable(unfinished);
    if (whole && (DeleteFileW(to) || !pathExists(to)) && MoveFileW(unfinished, to))
        return;
    if (whole && !pathExists(to) && !CopyFileW(unfinished, to, FALSE))
        return;   // the only copy there is now
    DeleteFileW(unfinished);
}

bool isSnapshot(const WIN32_FIND_DATAW &entry)
{
    wchar_t name[MAX_PATH];
    copyText(name, entry.cFileName);
    _wcslwr(name);
    return wcsstr(name, snapshotMark) != nullptr;
}

void copySnapshots(const wchar_t *fromFolder, const wchar_t *toFolder)
{
    FilePath pattern;
    buildPath(pattern, fromFolder, L"*");
    for (FolderSearch search(pattern); search.atEntry(); search.next())
        if (isSnapshot(search.entry()))
            copyFile(search.entry().cFileName, fromFolder, toFolder);
}

}   // namespace

bool hasBackup(const wchar_t *folder)
{
    FilePath path;
    buildPath(path, folder, exchangeFileName);
    return pathExists(path);
}

void copyBackupFiles(const wchar_t *fromFolder, const wchar_t *toFolder)
{
    if (isSameFolder(fromFolder, toFolder))
        return;
    for (const wchar_t *name : namedFiles)
        copyFile(name, fromFolder, toFolder);
    copySnapshots(fromFolder, toFolder);
}
