// Reading the phone's property databases, record by record.
#pragma once

#include "databases.h"

// An open database, closed at the end of its scope at the latest.
class PropertyDatabase {
public:
    PropertyDatabase() = default;
    PropertyDatabase(const PropertyDatabase &) = delete;
    PropertyDatabase &operator=(const PropertyDatabase &) = delete;
    ~PropertyDatabase();   // a fault while closing goes nowhere

    // Opens a database of the object store so that each read goes on to the next record. One already open is closed first.
    bool open(const wchar_t *name);
    void close();

    // Goes to the first record; false when there is none or it cannot be reached.
    bool seekToBeginning();

    HANDLE handle() const { return database; }

private:
    HANDLE database = INVALID_HANDLE_VALUE;
};

// All properties of one record, in the memory the phone has put them into.
class DatabaseRecord {
public:
    DatabaseRecord() = default;
    DatabaseRecord(const DatabaseRecord &) = delete;
    DatabaseRecord &operator=(const DatabaseRecord &) = delete;
    ~DatabaseRecord();

    // Takes the next record in place of the present one. False, and the record is empty, when none can be read.
    bool readNext(HANDLE database);

    const CEPROPVAL *begin() const { return reinterpret_cast<const CEPROPVAL *>(block); }
    const CEPROPVAL *end() const { return begin() + count; }

private:
    void release();

    BYTE *block = nullptr;
    WORD count = 0;
};
