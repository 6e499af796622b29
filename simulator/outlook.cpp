// Pocket Outlook with nothing in its folders but the categories of phone.ini.
#include "outlook.h"

#include "faults.h"
#include "phone.h"

#include <atomic>
#include <cstring>

namespace sim {
namespace {

const IID scriptInterface = {0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};   // what OutlookObject is elsewhere
const IID unknownInterface = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

constexpr HRESULT noRoom = HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);

std::atomic<int> liveFolders{0};

bool fails(const wchar_t *operation, const std::wstring &detail = L"")
{
    return failsByOrder(FaultKind::object, operation, detail.c_str());
}

// Writes the journal's line about a call, with its result as the last field.
HRESULT answer(std::vector<std::wstring> fields, HRESULT result)
{
    fields.push_back(hexadecimal(static_cast<DWORD>(result)));
    journal(L"outlook", fields);
    return result;
}

// Items with properties came with Windows Mobile 5.
bool hasProperties()
{
    return phone().osMajor >= 5;
}

std::wstring joined(const std::vector<std::wstring> &names)
{
    std::wstring text;
    for (const std::wstring &name : names)
        text += (text.empty() ? L"" : L", ") + name;
    return text;
}

std::wstring categoryList(bool withLateOnes)
{
    const std::wstring asTheyStand = setting(L"categories", L"list");
    const std::wstring text =
        asTheyStand.empty() ? joined(settingList(L"categories", L"names")) : asTheyStand;
    return withLateOnes ? text + setting(L"categories", L"late") : text;
}

// ---- A block of properties --------------------------------------------------------------------------------------------

struct WantedProperty {
    CEPROPID id;
    bool known;
    std::wstring text;
};

ULONG sizeOf(const std::vector<WantedProperty> &wanted)
{
    size_t size = 0;
    for (const WantedProperty &each : wanted)
        size += sizeof(CEPROPVAL) + (each.known ? (each.text.size() + 1) * sizeof(wchar_t) : 0);
    return static_cast<ULONG>(size);
}

// The values first, then their texts.
void fill(CEPROPVAL *values, const std::vector<WantedProperty> &wanted)
{
    wchar_t *text = reinterpret_cast<wchar_t *>(values + wanted.size());
    for (const WantedProperty &each : wanted) {
        *values = {};
        values->propid = each.id;
        if (each.known) {
            const size_t count = each.text.size() + 1;
            memcpy(text, each.text.c_str(), count * sizeof(wchar_t));
            values->val.lpwstr = text;
            text += count;
        } else
            values->wFlags = CEDB_PROPNOTFOUND;
        ++values;
    }
}

// A buffer of that size, the caller's or a new one as the flags allow. Null when neither will do.
CEPROPVAL *room(CEPROPVAL *old, ULONG oldSize, ULONG size, ULONG flags, HANDLE heap)
{
    if (old && oldSize >= size)
        return old;
    if (!(flags & CEDB_ALLOWREALLOC))
        return nullptr;
    if (!heap)
        heap = GetProcessHeap();
    return static_cast<CEPROPVAL *>(old ? HeapReAlloc(heap, 0, old, size) : HeapAlloc(heap, 0, size));
}

// ---- Objects ----------------------------------------------------------------------------------------------------------

// What no test asks for is not there.
template <typename Interface> struct Scriptable : Interface {
    HRESULT WINAPI GetTypeInfoCount(UINT *) override { return E_NOTIMPL; }
    HRESULT WINAPI GetTypeInfo(UINT, LCID, void **) override { return E_NOTIMPL; }
    HRESULT WINAPI GetIDsOfNames(const IID &, LPWSTR *, UINT, LCID, LONG *) override { return E_NOTIMPL; }
    HRESULT WINAPI Invoke(LONG, const IID &, LCID, WORD, void *, void *, void *, UINT *) override { return E_NOTIMPL; }
};

class Folder;

// The folder's other face.
class FolderItem : public IItem {
public:
    explicit FolderItem(Folder &owner) : folder(owner) {}
    virtual ~FolderItem() = default;

    HRESULT WINAPI QueryInterface(REFIID interfaceId, void **object) override;
    ULONG WINAPI AddRef() override;
    ULONG WINAPI Release() override;
    HRESULT WINAPI GetProps(const CEPROPID *, ULONG, WORD, CEPROPVAL **, ULONG *, HANDLE) override;
    HRESULT WINAPI SetProps(ULONG, WORD, CEPROPVAL *) override { return E_NOTIMPL; }
    HRESULT WINAPI Save() override { return E_NOTIMPL; }
    HRESULT WINAPI Delete() override { return E_NOTIMPL; }
    HRESULT WINAPI Display(HWND) override { return E_NOTIMPL; }
    HRESULT WINAPI Edit(HWND) override { return E_NOTIMPL; }
    HRESULT WINAPI Copy(IItem **) override { return E_NOTIMPL; }
    HRESULT WINAPI get_Oid(LONG *) override { return E_NOTIMPL; }
    HRESULT WINAPI OpenProperty(CEPROPID, DWORD, void **) override { return E_NOTIMPL; }
    HRESULT WINAPI get_DefaultItemType(int *) override { return E_NOTIMPL; }
    HRESULT WINAPI get_Application(void **) override { return E_NOTIMPL; }
    HRESULT WINAPI get_Parent(IFolder **) override { return E_NOTIMPL; }
    HRESULT WINAPI AddCategory(LPCWSTR) override { return E_NOTIMPL; }
    HRESULT WINAPI RemoveCategory(LPCWSTR) override { return E_NOTIMPL; }

private:
    Folder &folder;
    bool sizeTold = false;   // what comes late has come then
};

class Folder : public Scriptable<IFolder> {
public:
    explicit Folder(IPOutlookApp &owner) : application(owner), item(*this)
    {
        application.AddRef();
        ++liveFolders;
    }
    virtual ~Folder()
    {
        --liveFolders;
        application.Release();
    }

    HRESULT WINAPI QueryInterface(REFIID interfaceId, void **object) override
    {
        *object = nullptr;
        if (interfaceId == unknownInterface || interfaceId == scriptInterface || interfaceId == IID_IFolder)
            *object = static_cast<IFolder *>(this);
        else if (interfaceId == IID_IItem && hasProperties() && !fails(L"interface", L"IItem"))
            *object = static_cast<IItem *>(&item);
        if (!*object)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG WINAPI AddRef() override { return ++references; }
    ULONG WINAPI Release() override
    {
        const ULONG left = --references;
        if (left == 0)
            delete this;
        return left;
    }
    HRESULT WINAPI get_Items(void **) override { return E_NOTIMPL; }
    HRESULT WINAPI get_DefaultItemType(int *) override { return E_NOTIMPL; }
    HRESULT WINAPI get_Application(void **) override { return E_NOTIMPL; }
    HRESULT WINAPI AddItemToInfraredFolder(int, void *) override { return E_NOTIMPL; }
    HRESULT WINAPI SendToInfrared() override { return E_NOTIMPL; }
    HRESULT WINAPI ReceiveFromInfrared(void **) override { return E_NOTIMPL; }

private:
    std::atomic<ULONG> references{1};
    IPOutlookApp &application;
    FolderItem item;
};

HRESULT FolderItem::QueryInterface(REFIID interfaceId, void **object)
{
    return folder.QueryInterface(interfaceId, object);
}
ULONG FolderItem::AddRef()
{
    return folder.AddRef();
}
ULONG FolderItem::Release()
{
    return folder.Release();
}

HRESULT FolderItem::GetProps(const CEPROPID *properties, ULONG flags, WORD count, CEPROPVAL **values, ULONG *size,
                             HANDLE heap)
{
    if (!properties || count == 0 || !values || !size)
        return answer({L"property", L"(none)"}, E_INVALIDARG);
    const std::wstring first = hexadecimal(properties[0]);
    if (fails(L"property", first))
        return answer({L"property", first}, E_FAIL);
    std::vector<WantedProperty> wanted;
    for (WORD i = 0; i < count; ++i) {
        const bool known = properties[i] == PIMPR_FOLDER_CATEGORIES;
        wanted.push_back({properties[i], known, known ? categoryList(sizeTold) : L""});
    }
    const ULONG needed = sizeOf(wanted);
    CEPROPVAL *const buffer = room(*values, *size, needed, flags, heap);
    *size = needed;
    sizeTold = true;
    if (!buffer)
        return answer({L"property", first}, noRoom);
    fill(buffer, wanted);
    *values = buffer;
    return answer({L"property", first}, S_OK);
}

class Application : public Scriptable<IPOutlookApp2> {
public:
    virtual ~Application() = default;

    HRESULT WINAPI QueryInterface(REFIID interfaceId, void **object) override
    {
        const bool isOurs = interfaceId == unknownInterface || interfaceId == scriptInterface ||
                            interfaceId == IID_IPOutlookApp || (interfaceId == IID_IPOutlookApp2 && hasProperties());
        *object = isOurs ? this : nullptr;
        if (!isOurs)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG WINAPI AddRef() override { return ++references; }
    ULONG WINAPI Release() override
    {
        const ULONG left = --references;
        if (left == 0)
            delete this;
        return left;
    }

    HRESULT WINAPI Logon(LONG) override
    {
        const bool failed = fails(L"logon");
        isLoggedOn = isLoggedOn || !failed;
        return answer({L"logon"}, failed ? E_FAIL : S_OK);
    }
    HRESULT WINAPI Logoff() override
    {
        const bool failed = fails(L"logoff") || !isLoggedOn;
        isLoggedOn = false;
        return answer({L"logoff"}, failed ? E_FAIL : S_OK);
    }
    HRESULT WINAPI GetDefaultFolder(int number, IFolder **folder) override
    {
        const std::wstring name = sim::number(number);
        if (!folder)
            return answer({L"folder", name}, E_POINTER);
        *folder = nullptr;
        if (fails(L"folder", name) || !isLoggedOn)
            return answer({L"folder", name}, E_FAIL);
        if (number != olFolderCalendar && number != olFolderContacts && number != olFolderTasks)
            return answer({L"folder", name}, E_INVALIDARG);
        *folder = new Folder(*this);
        return answer({L"folder", name}, S_OK);
    }

    HRESULT WINAPI get_Version(LPWSTR *) override { return E_NOTIMPL; }
    HRESULT WINAPI CreateItem(int, void **) override { return E_NOTIMPL; }
    HRESULT WINAPI GetItemFromOid(LONG, void **) override { return E_NOTIMPL; }
    HRESULT WINAPI get_HomeCity(void **) override { return E_NOTIMPL; }
    HRESULT WINAPI put_HomeCity(void *) override { return E_NOTIMPL; }
    HRESULT WINAPI get_VisitingCity(void **) override { return E_NOTIMPL; }
    HRESULT WINAPI put_VisitingCity(void *) override { return E_NOTIMPL; }
    HRESULT WINAPI get_CurrentCityIndex(int *) override { return E_NOTIMPL; }
    HRESULT WINAPI put_CurrentCityIndex(int) override { return E_NOTIMPL; }
    HRESULT WINAPI ReceiveFromInfrared(void **) override { return E_NOTIMPL; }
    HRESULT WINAPI get_OutlookCompatible(short *) override { return E_NOTIMPL; }
    HRESULT WINAPI GetTimeZoneFromIndex(int, void **) override { return E_NOTIMPL; }
    HRESULT WINAPI GetTimeZoneInformationFromIndex(int, TIME_ZONE_INFORMATION *) override { return E_NOTIMPL; }
    HRESULT WINAPI get_Application(IPOutlookApp **) override { return E_NOTIMPL; }
    HRESULT WINAPI SysFreeString(LPWSTR) override { return E_NOTIMPL; }
    HRESULT WINAPI VariantTimeToSystemTime(double, SYSTEMTIME *) override { return E_NOTIMPL; }
    HRESULT WINAPI SystemTimeToVariantTime(SYSTEMTIME *, double *) override { return E_NOTIMPL; }
    HRESULT WINAPI GetIDsFromNames(ULONG, const LPCWSTR *, ULONG, CEPROPID *) override { return E_NOTIMPL; }
    HRESULT WINAPI GetItemFromOidEx(ULONG, ULONG, void **) override { return E_NOTIMPL; }

private:
    std::atomic<ULONG> references{1};
    bool isLoggedOn = false;
};

bool comIsInitialized()
{
    APTTYPE type;
    APTTYPEQUALIFIER qualifier;
    return CoGetApartmentType(&type, &qualifier) != CO_E_NOTINITIALIZED;
}

}   // namespace

HRESULT createOutlook(IUnknown *outer, REFIID interfaceId, void **object)
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (!comIsInitialized())
        return CO_E_NOTINITIALIZED;
    if (!settingNumber(L"outlook", L"present", 1))
        return REGDB_E_CLASSNOTREG;
    if (outer)
        return CLASS_E_NOAGGREGATION;
    auto *const application = new Application;
    const HRESULT result = application->QueryInterface(interfaceId, object);
    application->Release();
    return result;
}

int liveOutlookFolders()
{
    return liveFolders;
}

}   // namespace sim
