#include "property_database.h"

// ---- A database -------------------------------------------------------------------------------------------------------

PropertyDatabase::~PropertyDatabase()
{
    try {
        close();
    } catch (...) {
    }
}

bool PropertyDatabase::open(const wchar_t *name)
{
    close();
    CEOID identifier = 0;
    // The phone's declaration asks for a text it may write to, but it only reads it.
    database = CeOpenDatabase(&identifier, const_cast<wchar_t *>(name), 0, CEDB_AUTOINCREMENT, nullptr);
    return database != INVALID_HANDLE_VALUE;
}

void PropertyDatabase::close()
{
    const HANDLE closing = database;
    database = INVALID_HANDLE_VALUE;
    if (closing != INVALID_HANDLE_VALUE)
        CloseHandle(closing);
}

bool PropertyDatabase::seekToBeginning()
{
    DWORD index = 0;
    return CeSeekDatabase(database, CEDB_SEEK_BEGINNING, 0, &index) != 0;
}

// ---- A record ---------------------------------------------------------------------------------------------------------

DatabaseRecord::~DatabaseRecord()
{
    release();
}

// A read that fails may have made a block all the same: it stays until the next read or the end.
bool DatabaseRecord::readNext(HANDLE database)
{
    release();
    WORD found = 0;
    DWORD size = 0;
    if (!CeReadRecordPropsEx(database, CEDB_ALLOWREALLOC, &found, nullptr, &block, &size, nullptr))
        return false;
    count = block ? found : 0;
    return true;
}

void DatabaseRecord::release()
{
    if (block)
        LocalFree(block);
    block = nullptr;
    count = 0;
}
