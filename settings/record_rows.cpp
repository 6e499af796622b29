#include "record_rows.h"

namespace {

// The longest heap text in characters; values are read here before their copy is made.
constexpr size_t heapTextCapacity = 1040 / sizeof(wchar_t);

void loadHeapText(const RegistryKey &key, const SettingRow &row, wchar_t *&held)
{
    wchar_t stored[heapTextCapacity] = L"";
    readText(key, row.name, stored, row.limit);
    wchar_t *copy = duplicateText(stored);
    freeText(held);
    held = copy;
}

}   // namespace

void loadOptionalText(const RegistryKey &key, const SettingRow &row, wchar_t *&held)
{
    freeText(held);
    wchar_t stored[heapTextCapacity] = L"";
    if (readText(key, row.name, stored, row.limit) && stored[0])
        held = duplicateText(stored);
}

void loadSettingRow(const RegistryKey &key, void *record, const SettingRow &row)
{
    switch (row.kind) {
    case SettingKind::number:
        readNumber(key, row.name, fieldOf<DWORD>(record, row));
        break;
    case SettingKind::text:
        readTextInto(key, row.name, row.limit, &fieldOf<wchar_t>(record, row), row.capacity);
        break;
    case SettingKind::heapText:
        loadHeapText(key, row, fieldOf<wchar_t *>(record, row));
        break;
    case SettingKind::heapTextOnce:
        if (!fieldOf<wchar_t *>(record, row))
            loadHeapText(key, row, fieldOf<wchar_t *>(record, row));
        break;
    case SettingKind::optionalText:
        loadOptionalText(key, row, fieldOf<wchar_t *>(record, row));
        break;
    case SettingKind::accountList:
        break;
    }
}

void saveSettingRow(const RegistryKey &key, void *record, const SettingRow &row)
{
    switch (row.kind) {
    case SettingKind::number:
        writeNumber(key, row.name, fieldOf<DWORD>(record, row));
        break;
    case SettingKind::text:
        writeText(key, row.name, &fieldOf<wchar_t>(record, row));
        break;
    case SettingKind::heapText:
    case SettingKind::heapTextOnce:
        if (const wchar_t *held = fieldOf<wchar_t *>(record, row))
            writeText(key, row.name, held);
        break;
    case SettingKind::optionalText: {
        const wchar_t *held = fieldOf<wchar_t *>(record, row);
        writeText(key, row.name, held ? held : L"");
        break;
    }
    case SettingKind::accountList:
        break;
    }
}
