// COM. The program imports the desktop's own ole32.dll; the entry points it uses are redirected here so that a phone
// without a media player behaves so, so that there is a Pocket Outlook, and so that the journal tells of it.
#include "com.h"

#include "faults.h"
#include "outlook.h"
#include "phone.h"
#include "player.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <objbase.h>

namespace sim {
namespace {

SRWLOCK objectsLock = SRWLOCK_INIT;
std::vector<IUnknown *> objects;       // each with one reference of ours, released with the last CoUninitialize
std::atomic<int> initializations{0};   // of all threads

// The references an object has besides ours.
ULONG foreignReferences(IUnknown *object)
{
    object->AddRef();
    return object->Release() - 1;
}

std::wstring classText(REFCLSID classId)
{
    wchar_t text[64] = L"";
    StringFromGUID2(classId, text, ARRAYSIZE(text));
    return text;
}

// The media player is the simulator's own, if the phone has one, and so is Pocket Outlook; any other class is the desktop's.
HRESULT createInstance(REFCLSID classId, LPUNKNOWN outer, DWORD context, REFIID interfaceId, LPVOID *object)
{
    *object = nullptr;
    if (failsByOrder(FaultKind::object, L"create", classText(classId).c_str()))
        return E_FAIL;
    if (classId == CLSID_OutlookApplication)
        return createOutlook(outer, interfaceId, object);
    if (classId != mediaPlayerClass)
        return CoCreateInstance(classId, outer, context, interfaceId, object);
    return settingNumber(L"media", L"player", 1) ? createPlayer(outer, interfaceId, object) : REGDB_E_CLASSNOTREG;
}

HRESULT WINAPI watchedCreateInstance(REFCLSID classId, LPUNKNOWN outer, DWORD context, REFIID interfaceId,
                                     LPVOID *object)
{
    const HRESULT result = createInstance(classId, outer, context, interfaceId, object);
    journal(L"com", {L"create", classText(classId), hexadecimal(static_cast<DWORD>(result))});
    if (SUCCEEDED(result)) {
        auto *const created = static_cast<IUnknown *>(*object);
        created->AddRef();
        Guard guard(objectsLock);
        objects.push_back(created);
    }
    return result;
}

HRESULT WINAPI watchedInitialize(LPVOID reserved, DWORD concurrency)
{
    journal(L"com", {L"initialize"});
    const HRESULT result = CoInitializeEx(reserved, concurrency);
    if (SUCCEEDED(result))
        ++initializations;
    return result;
}

void WINAPI watchedUninitialize()
{
    const int held = liveObjects();
    journal(L"com", {L"uninitialize", number(held)});
    std::vector<IUnknown *> released;
    if (--initializations <= 0) {
        initializations = 0;
        Guard guard(objectsLock);
        released.swap(objects);
    }
    for (IUnknown *each : released)
        each->Release();
    CoUninitialize();
}

struct Redirection {
    const char *name;
    void *function;
};

const Redirection redirections[] = {
    {"CoCreateInstance", reinterpret_cast<void *>(watchedCreateInstance)},
    {"CoInitializeEx", reinterpret_cast<void *>(watchedInitialize)},
    {"CoUninitialize", reinterpret_cast<void *>(watchedUninitialize)},
};

void redirect(ULONG_PTR &slot, const char *name)
{
    for (const Redirection &each : redirections)
        if (strcmp(each.name, name) == 0) {
            DWORD protection;
            VirtualProtect(&slot, sizeof(slot), PAGE_READWRITE, &protection);
            slot = reinterpret_cast<ULONG_PTR>(each.function);
            VirtualProtect(&slot, sizeof(slot), protection, &protection);
        }
}

// Walks what the main module imports from ole32.dll. When a DLL is initialised, the loader has filled in all addresses.
bool redirectMainModule()
{
    BYTE *const base = reinterpret_cast<BYTE *>(GetModuleHandleW(nullptr));
    const auto *dos = reinterpret_cast<IMAGE_DOS_HEADER *>(base);
    const auto *headers = reinterpret_cast<IMAGE_NT_HEADERS *>(base + dos->e_lfanew);
    const DWORD imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    if (!imports)
        return false;
    for (auto *each = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR *>(base + imports); each->Name; ++each) {
        if (_stricmp(reinterpret_cast<char *>(base + each->Name), "ole32.dll") != 0 || !each->OriginalFirstThunk)
            continue;
        const auto *names = reinterpret_cast<IMAGE_THUNK_DATA *>(base + each->OriginalFirstThunk);
        auto *slots = reinterpret_cast<IMAGE_THUNK_DATA *>(base + each->FirstThunk);
        for (; names->u1.AddressOfData; ++names, ++slots)
            if (!IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal))
                redirect(slots->u1.Function,
                         reinterpret_cast<IMAGE_IMPORT_BY_NAME *>(base + names->u1.AddressOfData)->Name);
    }
    return true;
}

[[maybe_unused]] const bool redirected = redirectMainModule();

}   // namespace

int liveObjects()
{
    Guard guard(objectsLock);
    const auto held =
        std::count_if(objects.begin(), objects.end(), [](IUnknown *each) { return foreignReferences(each) > 0; });
    return static_cast<int>(held) + liveOutlookFolders();
}

}   // namespace sim
