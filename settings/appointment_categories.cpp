#include "appointment_categories.h"

#include "com_pointer.h"
#include "environment.h"
#include "log.h"
#include "pocketoutlook.h"
#include "property_database.h"
#include "text.h"

namespace {

constexpr wchar_t separator[] = L", ";
constexpr size_t separatorLength = countOf(separator) - 1;

constexpr char exceptionLine[] = "Exception: getCategories";

// ---- Pocket Outlook ---------------------------------------------------------------------------------------------------

// Pocket Outlook while somebody is logged on to it.
class OutlookSession {
public:
    OutlookSession() = default;
    OutlookSession(const OutlookSession &) = delete;
    OutlookSession &operator=(const OutlookSession &) = delete;
    ~OutlookSession()
    {
        try {
            if (isLoggedOn)
                application->Logoff();
        } catch (...) {   // a fault while leaving goes nowhere
        }
    }

    bool begin()
    {
        const HRESULT created = CoCreateInstance(CLSID_OutlookApplication, nullptr, CLSCTX_INPROC_SERVER,
                                                 IID_IPOutlookApp2, application.untypedReceiver());
        isLoggedOn = SUCCEEDED(created) && application && SUCCEEDED(application->Logon(0));
        return isLoggedOn;
    }

    IPOutlookApp2 *operator->() const { return application.operator->(); }

private:
    ComPointer<IPOutlookApp2> application;
    bool isLoggedOn = false;
};

// A folder has properties like any item.
bool openCalendar(const OutlookSession &session, ComPointer<IItem> &calendar)
{
    ComPointer<IFolder> folder;
    return SUCCEEDED(session->GetDefaultFolder(olFolderCalendar, folder.receiver())) && folder &&
           SUCCEEDED(folder->QueryInterface(IID_IItem, calendar.untypedReceiver())) && calendar;
}

// Memory for one property and its text.
class PropertyBuffer {
public:
    explicit PropertyBuffer(ULONG size) : values(reinterpret_cast<CEPROPVAL *>(new BYTE[size])) {}
    PropertyBuffer(const PropertyBuffer &) = delete;
    PropertyBuffer &operator=(const PropertyBuffer &) = delete;
    ~PropertyBuffer() { delete[] reinterpret_cast<BYTE *>(values); }

    CEPROPVAL *const values;
};

wchar_t *copyOfText(const CEPROPVAL &value)
{
    const bool hasText = value.propid == PIMPR_FOLDER_CATEGORIES && !(value.wFlags & CEDB_PROPNOTFOUND);
    return hasText && value.val.lpwstr ? duplicateText(value.val.lpwstr) : nullptr;
}

wchar_t *readCategoryList(const ComPointer<IItem> &folder)
{
    constexpr ULONG spareBytes = 16;   // the list may grow a little between the two calls
    const CEPROPID property = PIMPR_FOLDER_CATEGORIES;
    CEPROPVAL *values = nullptr;
    ULONG size = 0;
    folder->GetProps(&property, 0, 1, &values, &size, nullptr);   // fails, for want of room, and tells the size
    if (size == 0)
        return nullptr;
    size += spareBytes;
    const PropertyBuffer buffer(size);
    values = buffer.values;
    const HRESULT read = folder->GetProps(&property, 0, 1, &values, &size, nullptr);
    return SUCCEEDED(read) && values ? copyOfText(*values) : nullptr;
}

wchar_t *categoriesOfOutlook()
{
    OutlookSession session;
    ComPointer<IItem> calendar;
    return session.begin() && openCalendar(session, calendar) ? readCategoryList(calendar) : nullptr;
}

// ---- The receiver of the names ----------------------------------------------------------------------------------------

struct Receiver {
    void (*add)(void *context, const wchar_t *name);
    void *context;

    void take(const wchar_t *name) const
    {
        if (name[0])   // nobody could choose a trigger without a name
            add(context, name);
    }
};

// Only a comma with a blank separates: a name may have a comma of its own. The names are cut out of the text in place.
void takeEach(wchar_t *names, const Receiver &receiver)
{
    while (wchar_t *end = wcsstr(names, separator)) {
        *end = 0;
        receiver.take(names);
        names = end + separatorLength;
    }
    receiver.take(names);
}

// ---- The categories database ------------------------------------------------------------------------------------------

bool isPositive(const CEPROPVAL &value)
{
    switch (TypeFromPropID(value.propid)) {
    case CEVT_I2:
        return value.val.iVal > 0;
    case CEVT_UI2:
        return value.val.uiVal > 0;
    case CEVT_I4:
        return value.val.lVal > 0;
    case CEVT_UI4:
        return value.val.ulVal > 0;
    default:
        return false;
    }
}

bool isText(const CEPROPVAL &value)
{
    return TypeFromPropID(value.propid) == CEVT_LPWSTR;
}

// A record has the category's name and a number that is positive while the category is there. The two are told by their
// types: nothing says that every maker gives them the same identifiers. Null when one is missing or the number is not positive.
const wchar_t *categoryName(const DatabaseRecord &record)
{
    const CEPROPVAL *name = nullptr, *number = nullptr;
    for (const CEPROPVAL &each : record) {
        const CEPROPVAL *&first = isText(each) ? name : number;
        if (!first)
            first = &each;
    }
    return name && name->val.lpwstr && number && isPositive(*number) ? name->val.lpwstr : nullptr;
}

// An exception of the database ends the list as an error does. One of the receiver's is not ours to hold.
bool openAtBeginning(PropertyDatabase &database)
{
    try {
        return database.open(L"\\Categories Database") && database.seekToBeginning();
    } catch (...) {
        writeLog(exceptionLine);
        return false;
    }
}

bool readNext(DatabaseRecord &record, const PropertyDatabase &database)
{
    try {
        return record.readNext(database.handle());
    } catch (...) {
        writeLog(exceptionLine);
        return false;
    }
}

void listFromDatabase(const Receiver &receiver)
{
    PropertyDatabase database;
    if (!openAtBeginning(database))
        return;
    DatabaseRecord record;
    while (readNext(record, database))
        if (const wchar_t *name = categoryName(record))
            receiver.take(name);
}

void listFromOutlook(const Receiver &receiver)
{
    const HeapText names(getCategories());
    if (names.text)
        takeEach(names.text, receiver);
}

}   // namespace

wchar_t *getCategories()
{
    try {
        return categoriesOfOutlook();
    } catch (...) {
        writeLog(exceptionLine);
        return nullptr;
    }
}

void listAppointmentCategories(void (*add)(void *context, const wchar_t *name), void *context)
{
    const Receiver receiver = {add, context};
    if (isOsVersion5)
        listFromOutlook(receiver);
    else
        listFromDatabase(receiver);
}
