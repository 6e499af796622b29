// The files that make up a backup: the exchange file, the location groups, the advanced options and all network snapshots.
#pragma once

// Whether a folder, with or without a backslash at its end, has an exchange file: the part of a backup that has to be there.
bool hasBackup(const wchar_t *folder);

// Copies them from one folder to another under their names, overwriting. Files that are missing or cannot be copied are left
// out; nothing else is touched. Does nothing when both are the same folder.
void copyBackupFiles(const wchar_t *fromFolder, const wchar_t *toFolder);
