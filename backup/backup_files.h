// The files that make up a backup: the exchange file, the location groups, the advanced options and all network snapshots.
#pragma once

// Copies them from one folder to another under their names, overwriting. Files that are missing or cannot be copied are left
// out; nothing else is touched.
void copyBackupFiles(const wchar_t *fromFolder, const wchar_t *toFolder);
