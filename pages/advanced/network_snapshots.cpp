#include "network_snapshots.h"

#include "environment.h"
#include "folder_search.h"
#include "log.h"
#include "resource.h"
#include "text.h"

namespace {

constexpr wchar_t snapshotExtension[] = L".net";

// Whatever has the extension in its name is a snapshot, called by what stands in front of it.
void addSnapshots(HWND list, UINT addMessage)
{
    const wchar_t *folder = getAppPath();
    if (!folder)
        return;
    wchar_t pattern[MAX_PATH + 2];
    formatText(pattern, L"%s\\*", folder);
    for (FolderSearch search(pattern); search.atEntry(); search.next()) {
        const wchar_t *fileName = search.entry().cFileName;
        const wchar_t *end = wcsstr(fileName, snapshotExtension);
        if (!end)
            continue;
        wchar_t name[MAX_PATH];
        copyInto(name, end - fileName + 1, fileName);
        SendMessageW(list, addMessage, 0, reinterpret_cast<LPARAM>(name));
    }
}

}   // namespace

void listSnapshots(HWND window, int intoListBox)
{
    const HWND list = intoListBox ? GetDlgItem(window, IDC_SNAPSHOT_LIST) : window;
    if (intoListBox)
        SendMessageW(list, LB_RESETCONTENT, 0, 0);
    try {
        addSnapshots(list, intoListBox ? LB_ADDSTRING : CB_ADDSTRING);
    } catch (...) {
        writeLog("** Exception listSnapshots **");
    }
}
