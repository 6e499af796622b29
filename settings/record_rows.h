// Rows that describe a record of settings: one registry value and its field each. Tables of them drive loading, saving and
// the tests of both.
#pragma once

#include "registry.h"

// How one registry value and its field belong together.
enum class SettingKind {
    number,         // DWORD field
    text,           // fixed array of wchar_t
    heapText,       // wchar_t *, owned by the record; the empty text when there is no value
    heapTextOnce,   // the same, but read only while none is held
    optionalText,   // the same, but null when there is no value or an empty one; null is saved as an empty text
    accountList,    // UserSettings::emailCustomAccounts: a heap text that comes and goes with emailAccounts
};

struct SettingRow {
    const wchar_t *name;
    SettingKind kind;
    size_t offset;     // of the field in its record
    DWORD limit;       // bytes read at most, the terminator of a text included
    size_t capacity;   // characters the field holds; of fixed texts only
    bool saved;
    void (*afterLoad)(const RegistryKey &key);   // what reading this value entails; may be null
};

template <typename Field> Field &fieldOf(void *record, const SettingRow &row)
{
    return *reinterpret_cast<Field *>(static_cast<BYTE *>(record) + row.offset);
}

// Reads one value into its field of the record. A value that cannot be read leaves a number or fixed text alone. Rows of
// kind accountList are not known here.
void loadSettingRow(const RegistryKey &key, void *record, const SettingRow &row);

// Writes one value; a failure is ignored.
void saveSettingRow(const RegistryKey &key, void *record, const SettingRow &row);

// Reads a heap text of the kind that is null when there is none; what was held is released first.
void loadOptionalText(const RegistryKey &key, const SettingRow &row, wchar_t *&held);
