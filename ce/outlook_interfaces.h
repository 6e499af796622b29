// Pocket Outlook's objects, in the order of their functions: each line has its place in the table by its position, so
// nothing may be left out or moved. Both the program's headers and the simulator use these; both know IUnknown before.
// What nobody calls so far takes and gives plain pointers where the phone has interfaces or texts of its own.
#ifndef CE_OUTLOOK_INTERFACES_H
#define CE_OUTLOOK_INTERFACES_H

#include "property_layouts.h"

constexpr CLSID CLSID_OutlookApplication = {
    0x05058F23, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
constexpr IID IID_IPOutlookApp = {0x05058F22, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
constexpr IID IID_IPOutlookApp2 = {0xAF7D0DC7, 0x3D35, 0x424B, {0xAA, 0x60, 0x27, 0xA3, 0x8B, 0x8B, 0x62, 0x9E}};
constexpr IID IID_IFolder = {0x05058F20, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
constexpr IID IID_IItem = {0xFB8998D0, 0x38F0, 0x4D12, {0xAC, 0x56, 0x4E, 0xC8, 0xFC, 0xE9, 0xF3, 0xD5}};

constexpr int olFolderCalendar = 9;
constexpr int olFolderContacts = 10;
constexpr int olFolderTasks = 13;

// A folder's categories: one text, names separated by ", ".
constexpr CEPROPID PIMPR_FOLDER_CATEGORIES = 0x101A001F;

// What every object a script can use begins with; the program does not.
struct OutlookObject : IUnknown {
    virtual HRESULT WINAPI GetTypeInfoCount(UINT *count) = 0;
    virtual HRESULT WINAPI GetTypeInfo(UINT index, LCID language, void **information) = 0;
    virtual HRESULT WINAPI GetIDsOfNames(const IID &reserved, LPWSTR *names, UINT count, LCID language,
                                         LONG *numbers) = 0;
    virtual HRESULT WINAPI Invoke(LONG member, const IID &reserved, LCID language, WORD flags, void *parameters,
                                  void *result, void *exception, UINT *argument) = 0;
};

struct IFolder : OutlookObject {
    virtual HRESULT WINAPI get_Items(void **items) = 0;
    virtual HRESULT WINAPI get_DefaultItemType(int *type) = 0;
    virtual HRESULT WINAPI get_Application(void **application) = 0;
    virtual HRESULT WINAPI AddItemToInfraredFolder(int type, void *item) = 0;
    virtual HRESULT WINAPI SendToInfrared() = 0;
    virtual HRESULT WINAPI ReceiveFromInfrared(void **items) = 0;
};

struct IPOutlookApp : OutlookObject {
    virtual HRESULT WINAPI Logon(LONG window) = 0;
    virtual HRESULT WINAPI Logoff() = 0;
    virtual HRESULT WINAPI get_Version(LPWSTR *version) = 0;
    virtual HRESULT WINAPI GetDefaultFolder(int number, IFolder **folder) = 0;
    virtual HRESULT WINAPI CreateItem(int type, void **item) = 0;
    virtual HRESULT WINAPI GetItemFromOid(LONG oid, void **item) = 0;
    virtual HRESULT WINAPI get_HomeCity(void **city) = 0;
    virtual HRESULT WINAPI put_HomeCity(void *city) = 0;
    virtual HRESULT WINAPI get_VisitingCity(void **city) = 0;
    virtual HRESULT WINAPI put_VisitingCity(void *city) = 0;
    virtual HRESULT WINAPI get_CurrentCityIndex(int *index) = 0;
    virtual HRESULT WINAPI put_CurrentCityIndex(int index) = 0;
    virtual HRESULT WINAPI ReceiveFromInfrared(void **items) = 0;
    virtual HRESULT WINAPI get_OutlookCompatible(short *compatible) = 0;
    virtual HRESULT WINAPI GetTimeZoneFromIndex(int index, void **zone) = 0;
    virtual HRESULT WINAPI GetTimeZoneInformationFromIndex(int index, TIME_ZONE_INFORMATION *zone) = 0;
    virtual HRESULT WINAPI get_Application(IPOutlookApp **application) = 0;
    virtual HRESULT WINAPI SysFreeString(LPWSTR text) = 0;
    virtual HRESULT WINAPI VariantTimeToSystemTime(double date, SYSTEMTIME *time) = 0;
    virtual HRESULT WINAPI SystemTimeToVariantTime(SYSTEMTIME *time, double *date) = 0;
};

// From Windows Mobile 5 on.
struct IPOutlookApp2 : IPOutlookApp {
    virtual HRESULT WINAPI GetIDsFromNames(ULONG count, const LPCWSTR *names, ULONG flags, CEPROPID *properties) = 0;
    virtual HRESULT WINAPI GetItemFromOidEx(ULONG oid, ULONG flags, void **item) = 0;
};

// From Windows Mobile 5 on; a folder answers for this as well.
struct IItem : IUnknown {
    // Without CEDB_ALLOWREALLOC, *values is the caller's buffer of *size bytes; when that is too small, the call fails and
    // *size is what it takes.
    virtual HRESULT WINAPI GetProps(const CEPROPID *properties, ULONG flags, WORD count, CEPROPVAL **values, ULONG *size,
                                    HANDLE heap) = 0;
    virtual HRESULT WINAPI SetProps(ULONG flags, WORD count, CEPROPVAL *values) = 0;
    virtual HRESULT WINAPI Save() = 0;
    virtual HRESULT WINAPI Delete() = 0;
    virtual HRESULT WINAPI Display(HWND window) = 0;
    virtual HRESULT WINAPI Edit(HWND window) = 0;
    virtual HRESULT WINAPI Copy(IItem **copy) = 0;
    virtual HRESULT WINAPI get_Oid(LONG *oid) = 0;
    virtual HRESULT WINAPI OpenProperty(CEPROPID property, DWORD mode, void **stream) = 0;
    virtual HRESULT WINAPI get_DefaultItemType(int *type) = 0;
    virtual HRESULT WINAPI get_Application(void **application) = 0;
    virtual HRESULT WINAPI get_Parent(IFolder **folder) = 0;
    virtual HRESULT WINAPI AddCategory(LPCWSTR name) = 0;
    virtual HRESULT WINAPI RemoveCategory(LPCWSTR name) = 0;
};

#endif
