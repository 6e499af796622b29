// Property databases, read from the phone's stores folder whenever one is opened or a volume is mounted. Nothing is written
// there.
#include "databases.h"

#include "database_file.h"
#include "faults.h"
#include "files.h"
#include "phone.h"

#include <algorithm>
#include <cstring>
#include <map>

extern "C" {
HLOCAL WINAPI simLocalAlloc(UINT flags, SIZE_T size);
HLOCAL WINAPI simLocalReAlloc(HLOCAL old, SIZE_T size, UINT flags);
}

namespace sim {
namespace {

constexpr DWORD orderedFailure = ERROR_DATABASE_FAILURE;
constexpr wchar_t objectStore[] = L"object store";   // its file, and its name in the journal

struct MountedVolume {
    CEGUID guid;
    std::wstring path;
    StoredVolume content;
};

struct OpenDatabase {
    std::wstring name;
    CEGUID volume;
    std::vector<StoredRecord> records;   // in the order asked for
    bool movesOn;                        // each read goes on to the next record
    size_t position;
    int reads;
};

SRWLOCK lock = SRWLOCK_INIT;
std::map<ULONG_PTR, OpenDatabase> databases;
std::vector<MountedVolume> volumes;
ULONG_PTR nextHandle = 0x5DB00004;   // numbers of our own, so that they fit the phone's 32 bits
DWORD nextVolume = 1;

bool refuse(DWORD error)
{
    SetLastError(error);
    return false;
}

bool fails(const wchar_t *operation, const std::wstring &detail)
{
    return failsByOrder(FaultKind::database, operation, detail.c_str()) && !refuse(orderedFailure);
}

bool equal(const CEGUID &a, const CEGUID &b)
{
    return memcmp(&a, &b, sizeof a) == 0;
}

// A line of the journal; what went wrong is its last field.
bool report(std::vector<std::wstring> fields, const wchar_t *failure = nullptr)
{
    if (failure)
        fields.push_back(failure);
    journal(L"database", fields);
    return !failure;
}

// ---- Files ------------------------------------------------------------------------------------------------------------

std::wstring lastPart(const std::wstring &path)
{
    return path.substr(path.find_last_of(L"\\/") + 1);
}

std::wstring storeFile(const Phone &phone, const std::wstring &name)
{
    return phone.folder + L"\\stores\\" + name + L".txt";
}

// False, with the reason, when there is no such file or it is malformed.
bool readStore(const std::wstring &path, StoredVolume &volume, std::wstring &problem)
{
    std::wstring text;
    if (!readTextFile(path, text))
        return refuse(ERROR_FILE_NOT_FOUND);
    const int line = parseVolumeText(text, volume);
    if (line == 0)
        return true;
    problem = path + L": line " + number(line) + L" is no line of a database";
    return refuse(ERROR_FILE_CORRUPT);
}

bool readStore(const std::wstring &name, StoredVolume &volume)
{
    std::wstring problem;
    const bool read = readStore(storeFile(phone(), name), volume, problem);
    if (!problem.empty())
        complain(L"phone simulator: " + problem);
    return read;
}

// ---- Volumes ----------------------------------------------------------------------------------------------------------

std::vector<MountedVolume>::iterator findVolume(const CEGUID &guid)
{
    return std::find_if(volumes.begin(), volumes.end(), [&](const auto &each) { return equal(each.guid, guid); });
}

bool contentForMounting(const std::wstring &path, DWORD disposition, bool asNewKind, StoredVolume &content)
{
    const bool exists = readStore(lastPart(path), content);
    if (!exists && GetLastError() == ERROR_FILE_CORRUPT)
        return false;
    if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING)
        return refuse(ERROR_INVALID_PARAMETER);
    if (exists && disposition == CREATE_NEW)
        return refuse(ERROR_ALREADY_EXISTS);
    if (!exists && (disposition == OPEN_EXISTING || disposition == TRUNCATE_EXISTING))
        return refuse(ERROR_FILE_NOT_FOUND);
    if (exists && content.isNewKind != asNewKind)
        return refuse(ERROR_BAD_FORMAT);
    if (disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING)
        content = {};
    return true;
}

bool mount(CEGUID *guid, LPCWSTR path, DWORD disposition, bool asNewKind)
{
    if (!guid || !path || !*path)
        return refuse(ERROR_INVALID_PARAMETER);
    *guid = CE_ANY_VOLUME;
    if (fails(L"mount", path))
        return report({L"mount", path}, L"failed");
    Guard guard(lock);
    for (const MountedVolume &each : volumes)
        if (sameText(each.path.c_str(), path)) {
            *guid = each.guid;
            SetLastError(ERROR_ALREADY_EXISTS);
            return report({L"mount", path, L"mounted already"});
        }
    StoredVolume content;
    if (!contentForMounting(path, disposition, asNewKind, content))
        return report({L"mount", path}, GetLastError() == ERROR_FILE_NOT_FOUND ? L"not found" : L"failed");
    *guid = {nextVolume++, 0x4B56, 0x4442, 0x564F};
    volumes.push_back({*guid, path, content});
    SetLastError(ERROR_SUCCESS);
    return report({L"mount", path});
}

bool unmount(const CEGUID *guid)
{
    Guard guard(lock);
    const auto volume = guid ? findVolume(*guid) : volumes.end();
    if (volume == volumes.end())
        return refuse(ERROR_INVALID_PARAMETER);
    const std::wstring path = volume->path;
    if (fails(L"unmount", path))
        return report({L"unmount", path}, L"failed");
    for (const auto &each : databases)
        if (equal(each.second.volume, *guid)) {
            refuse(ERROR_SHARING_VIOLATION);
            return report({L"unmount", path}, L"in use");
        }
    volumes.erase(volume);
    return report({L"unmount", path});
}

// ---- Opening ----------------------------------------------------------------------------------------------------------

const StoredDatabase *findDatabase(const StoredVolume &volume, LPCWSTR name, CEOID oid)
{
    for (const StoredDatabase &each : volume.databases)
        if (name && *name ? sameText(each.name.c_str(), name) : each.oid == oid)
            return &each;
    return nullptr;
}

// The volumes that a request for one is about.
std::vector<MountedVolume> volumesMeant(const CEGUID &guid)
{
    if (equal(guid, CE_ANY_VOLUME))
        return volumes;
    if (!equal(guid, CE_SYSTEM_VOLUME)) {
        const auto volume = findVolume(guid);
        return volume == volumes.end() ? std::vector<MountedVolume>() : std::vector<MountedVolume>{*volume};
    }
    MountedVolume store = {CE_SYSTEM_VOLUME, objectStore, {}};
    readStore(objectStore, store.content);
    return {store};
}

const StoredProperty *findProperty(const StoredRecord &record, CEPROPID id)
{
    for (const StoredProperty &each : record.properties)
        if (each.id == id)
            return &each;
    return nullptr;
}

bool isLess(const StoredProperty &a, const StoredProperty &b)
{
    switch (TypeFromPropID(a.id)) {
    case CEVT_LPWSTR:
        return _wcsicmp(a.text.c_str(), b.text.c_str()) < 0;
    case CEVT_BLOB:
        return a.bytes < b.bytes;
    case CEVT_FILETIME:
        return CompareFileTime(&a.value.filetime, &b.value.filetime) < 0;
    case CEVT_R8:
        return a.value.dblVal < b.value.dblVal;
    case CEVT_BOOL:
        return a.value.boolVal < b.value.boolVal;
    case CEVT_I2:
        return a.value.iVal < b.value.iVal;
    case CEVT_UI2:
        return a.value.uiVal < b.value.uiVal;
    case CEVT_UI4:
        return a.value.ulVal < b.value.ulVal;
    default:
        return a.value.lVal < b.value.lVal;
    }
}

// Records without the property come last.
void sortRecords(std::vector<StoredRecord> &records, const SortOrder &order)
{
    std::stable_sort(records.begin(), records.end(), [&order](const StoredRecord &a, const StoredRecord &b) {
        const StoredProperty *left = findProperty(a, order.property), *right = findProperty(b, order.property);
        if (!left || !right)
            return left && !right;
        return order.descending ? isLess(*right, *left) : isLess(*left, *right);
    });
}

// The records in the order of a property; false when the database has no such order.
bool recordsInOrder(const StoredDatabase &database, CEPROPID property, std::vector<StoredRecord> &records)
{
    records = database.records;
    if (property == 0)
        return true;
    for (const SortOrder &order : database.sortOrders)
        if (order.property == property) {
            sortRecords(records, order);
            return true;
        }
    return refuse(ERROR_INVALID_PARAMETER);
}

bool closeDatabase(HANDLE handle)
{
    std::wstring name;
    {
        Guard guard(lock);
        const auto found = databases.find(reinterpret_cast<ULONG_PTR>(handle));
        if (found == databases.end())
            return false;
        name = found->second.name;
        report({L"close", name, number(found->second.reads)});
        databases.erase(found);
    }
    fails(L"close", name);   // it is closed all the same, so that nothing stays open by order
    return true;
}

HANDLE openDatabase(const CEGUID *guid, CEOID *oid, LPCWSTR name, CEPROPID sortProperty, DWORD flags)
{
    const std::wstring shown = name && *name ? name : oid ? L"number " + number(*oid) : L"";
    if (!guid || !oid || (!(name && *name) && !*oid)) {
        refuse(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    if (fails(L"open", shown)) {
        report({L"open", shown}, L"failed");
        return INVALID_HANDLE_VALUE;
    }
    Guard guard(lock);
    for (const MountedVolume &volume : volumesMeant(*guid))
        if (const StoredDatabase *database = findDatabase(volume.content, name, *oid)) {
            std::vector<StoredRecord> records;
            if (!recordsInOrder(*database, sortProperty, records)) {
                report({L"open", shown}, L"no such order");
                return INVALID_HANDLE_VALUE;
            }
            *oid = database->oid;
            addHandleCloser(closeDatabase);
            const ULONG_PTR handle = nextHandle;
            nextHandle += 4;
            databases.insert({handle,
                              {database->name, volume.guid, records, (flags & CEDB_AUTOINCREMENT) != 0, 0, 0}});
            report({L"open", shown, volume.path});
            return reinterpret_cast<HANDLE>(handle);
        }
    report({L"open", shown}, L"not found");
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
}

// ---- Seeking and reading ----------------------------------------------------------------------------------------------

OpenDatabase *databaseOf(HANDLE handle)
{
    const auto found = databases.find(reinterpret_cast<ULONG_PTR>(handle));
    if (found != databases.end())
        return &found->second;
    refuse(ERROR_INVALID_HANDLE);
    return nullptr;
}

// Where a seek leads, from 0; negative for places that there cannot be. Numbers are signed in all but identifiers.
long long placeSought(const OpenDatabase &database, DWORD seekType, DWORD value)
{
    const long long distance = static_cast<LONG>(value), count = database.records.size();
    switch (seekType) {
    case CEDB_SEEK_CEOID:
        for (size_t i = 0; i < database.records.size(); ++i)
            if (database.records[i].oid == value)
                return i;
        return -1;
    case CEDB_SEEK_BEGINNING:
        return distance;
    case CEDB_SEEK_CURRENT:
        return static_cast<long long>(database.position) + distance;
    default:   // CEDB_SEEK_END
        return count + distance - 1;
    }
}

const wchar_t *seekName(DWORD seekType)
{
    switch (seekType) {
    case CEDB_SEEK_CEOID:
        return L"record";
    case CEDB_SEEK_BEGINNING:
        return L"beginning";
    case CEDB_SEEK_CURRENT:
        return L"current";
    case CEDB_SEEK_END:
        return L"end";
    default:
        return nullptr;
    }
}

CEOID seek(OpenDatabase &database, DWORD seekType, DWORD value, DWORD *index)
{
    if (fails(L"seek", database.name))
        return 0;
    if (!seekName(seekType)) {
        refuse(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const std::wstring distance = number(seekType == CEDB_SEEK_CEOID ? static_cast<long long>(value)
                                                                     : static_cast<LONG>(value));
    report({L"seek", database.name, seekName(seekType), distance});
    const long long place = placeSought(database, seekType, value);
    const bool exists = place >= 0 && place < static_cast<long long>(database.records.size());
    database.position = exists ? static_cast<size_t>(place) : database.records.size();
    if (!exists) {
        refuse(ERROR_SEEK);
        return 0;
    }
    if (index)
        *index = static_cast<DWORD>(place);
    return database.records[database.position].oid;
}

// What a read hands out: properties of the record, null with their identifiers where it lacks one that was asked for.
struct Selected {
    CEPROPID id;
    const StoredProperty *property;
};

std::vector<Selected> select(const StoredRecord &record, const CEPROPID *wanted, WORD count)
{
    std::vector<Selected> selected;
    if (wanted)
        for (WORD i = 0; i < count; ++i)
            selected.push_back({wanted[i], findProperty(record, wanted[i])});
    else
        for (const StoredProperty &each : record.properties)
            selected.push_back({each.id, &each});
    return selected;
}

// What follows the array of values in the buffer.
size_t dataSize(const Selected &selected)
{
    if (!selected.property)
        return 0;
    const bool isText = TypeFromPropID(selected.id) == CEVT_LPWSTR;
    const size_t size =
        isText ? (selected.property->text.size() + 1) * sizeof(wchar_t) : selected.property->bytes.size();
    return (size + 3) / 4 * 4;   // what comes next begins on a whole word
}

DWORD blockSize(const std::vector<Selected> &selected)
{
    size_t size = selected.size() * sizeof(CEPROPVAL);
    for (const Selected &each : selected)
        size += dataSize(each);
    return static_cast<DWORD>(size);
}

void fill(BYTE *block, const std::vector<Selected> &selected)
{
    auto *value = reinterpret_cast<CEPROPVAL *>(block);
    BYTE *data = block + selected.size() * sizeof(CEPROPVAL);
    for (const Selected &each : selected) {
        *value = {};
        value->propid = each.id;
        if (!each.property) {
            value->wFlags = CEDB_PROPNOTFOUND;
        } else if (TypeFromPropID(each.id) == CEVT_LPWSTR) {
            value->val.lpwstr = reinterpret_cast<wchar_t *>(data);
            memcpy(data, each.property->text.c_str(), (each.property->text.size() + 1) * sizeof(wchar_t));
        } else if (TypeFromPropID(each.id) == CEVT_BLOB) {
            value->val.blob = {static_cast<DWORD>(each.property->bytes.size()), data};
            memcpy(data, each.property->bytes.data(), each.property->bytes.size());
        } else
            value->val = each.property->value;
        data += dataSize(each);
        ++value;
    }
}

// Makes the caller's buffer at least that large if the flags allow. Without a heap it is the program's own local memory,
// whose blocks are counted.
bool makeRoom(BYTE **buffer, DWORD *size, DWORD needed, DWORD flags, HANDLE heap)
{
    if (*buffer && *size >= needed)
        return true;
    if (!(flags & CEDB_ALLOWREALLOC))
        return refuse(ERROR_INSUFFICIENT_BUFFER);
    void *block;
    if (heap)
        block = *buffer ? HeapReAlloc(heap, 0, *buffer, needed) : HeapAlloc(heap, 0, needed);
    else
        block = *buffer ? simLocalReAlloc(*buffer, needed, LMEM_MOVEABLE) : simLocalAlloc(LMEM_FIXED, needed);
    if (!block)
        return refuse(ERROR_NOT_ENOUGH_MEMORY);
    *buffer = static_cast<BYTE *>(block);
    return true;
}

CEOID read(OpenDatabase &database, DWORD flags, WORD *count, const CEPROPID *wanted, BYTE **buffer, DWORD *size,
           HANDLE heap)
{
    if (!count || !buffer || !size) {
        refuse(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (fails(L"read", database.name)) {
        // The phone may have made the buffer by then; who does not release it after a failure is to be found out.
        makeRoom(buffer, size, sizeof(CEPROPVAL), flags, heap);
        refuse(orderedFailure);
        return 0;
    }
    if (database.position >= database.records.size()) {
        refuse(ERROR_NO_MORE_ITEMS);
        return 0;
    }
    const StoredRecord &record = database.records[database.position];
    const std::vector<Selected> selected = select(record, wanted, *count);
    const DWORD needed = std::max<DWORD>(blockSize(selected), 1);
    const bool hasRoom = makeRoom(buffer, size, needed, flags, heap);
    *size = needed;
    if (!hasRoom)
        return 0;
    fill(*buffer, selected);
    *count = static_cast<WORD>(selected.size());
    ++database.reads;
    database.position += database.movesOn;
    return record.oid;
}

}   // namespace

bool checkStores(const Phone &phone, std::wstring &problem)
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW(storeFile(phone, L"*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return true;
    bool readable = true;
    do {
        StoredVolume volume;
        readable = readStore(phone.folder + L"\\stores\\" + found.cFileName, volume, problem);
    } while (readable && FindNextFileW(search, &found));
    FindClose(search);
    return readable;
}

int liveDatabases()
{
    Guard guard(lock);
    return static_cast<int>(databases.size());
}

int liveVolumes()
{
    Guard guard(lock);
    return static_cast<int>(volumes.size());
}

}   // namespace sim

using namespace sim;

extern "C" {

BOOL WINAPI simCeMountDBVol(CEGUID *volume, LPWSTR path, DWORD flags)
{
    return mount(volume, path, flags & ~EDB_MOUNT_FLAG, (flags & EDB_MOUNT_FLAG) != 0);
}

BOOL WINAPI simCeMountDBVolEx(CEGUID *volume, LPWSTR path, CEVOLUMEOPTIONS *, DWORD flags)
{
    return mount(volume, path, flags & ~EDB_MOUNT_FLAG, true);
}

BOOL WINAPI simCeUnmountDBVol(CEGUID *volume)
{
    return unmount(volume);
}

HANDLE WINAPI simCeOpenDatabase(CEOID *oid, LPWSTR name, CEPROPID sortProperty, DWORD flags, HWND)
{
    return openDatabase(&CE_SYSTEM_VOLUME, oid, name, sortProperty, flags);
}

HANDLE WINAPI simCeOpenDatabaseEx(CEGUID *volume, CEOID *oid, LPWSTR name, CEPROPID sortProperty, DWORD flags,
                                  CENOTIFYREQUEST *)
{
    return openDatabase(volume, oid, name, sortProperty, flags);
}

// Several properties of an order count as their first.
HANDLE WINAPI simCeOpenDatabaseEx2(CEGUID *volume, CEOID *oid, LPWSTR name, SORTORDERSPECEX *sort, DWORD flags,
                                   CENOTIFYREQUEST *)
{
    return openDatabase(volume, oid, name, sort && sort->wNumProps > 0 ? sort->rgPropID[0] : 0, flags);
}

CEOID WINAPI simCeSeekDatabase(HANDLE handle, DWORD seekType, DWORD value, DWORD *index)
{
    Guard guard(lock);
    OpenDatabase *const database = databaseOf(handle);
    return database ? seek(*database, seekType, value, index) : 0;
}

CEOID WINAPI simCeReadRecordPropsEx(HANDLE handle, DWORD flags, WORD *count, CEPROPID *properties, BYTE **buffer,
                                    DWORD *size, HANDLE heap)
{
    Guard guard(lock);
    OpenDatabase *const database = databaseOf(handle);
    return database ? read(*database, flags, count, properties, buffer, size, heap) : 0;
}

CEOID WINAPI simCeReadRecordProps(HANDLE handle, DWORD flags, WORD *count, CEPROPID *properties, BYTE **buffer,
                                  DWORD *size)
{
    return simCeReadRecordPropsEx(handle, flags, count, properties, buffer, size, nullptr);
}

}   // extern "C"
