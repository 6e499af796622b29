// Takes pictures of the program while it walks through its pages and dialogs the way a person would.
//
//   shots.exe SCRIPT PROGRAM
//
// Starts PROGRAM, follows SCRIPT once its property sheet stands, and closes it. A line of SCRIPT is a step and its
// arguments, separated by blanks; a file name goes to the end of the line:
//
//   page N         shows the sheet's page N, counted from 0
//   command N      does what a tap on the control N of the page or dialog on top does, and waits for the dialog it opens
//   line N         goes to line N of the page's list, counted from 0, with the arrow keys, which click every line they reach
//   press N        does the same where no dialog opens, and waits until that shows
//   choose C N     chooses entry N of the page's drop-down list C
//   ok             does what a tap on the ok button does to the sheet, and waits until that is gone
//   close          closes the dialog on top
//   tap X Y        taps the screen there, and waits until that shows
//   shot FILE      writes the screen to FILE, a bitmap, once it has come to rest
//
// Ends with 0 when every step was done; otherwise the step that was not stands on standard error.
#include <windows.h>
#include <commctrl.h>
#include <prsht.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr DWORD limit = 20000;      // ms, for anything that is waited for
constexpr DWORD glance = 10;        // ms between two looks at a condition
constexpr DWORD restingTime = 40;   // ms the screen has to stay the same
constexpr int pageList = 1266;      // the main list of the pages that have one

DWORD program;   // the process whose pictures are taken
HWND sheet;      // its property sheet

template <class Condition> bool waitFor(Condition condition)
{
    for (const DWORD start = GetTickCount(); GetTickCount() - start < limit; Sleep(glance))
        if (condition())
            return true;
    return false;
}

// ---- The program's windows ----------------------------------------------------------------------------------------

bool isDialogOfProgram(HWND window)
{
    DWORD process = 0;
    wchar_t name[16] = L"";
    GetWindowThreadProcessId(window, &process);
    GetClassNameW(window, name, ARRAYSIZE(name));
    return process == program && wcscmp(name, L"#32770") == 0 && IsWindowVisible(window);
}

BOOL CALLBACK takeTopDialog(HWND window, LPARAM found)
{
    if (!isDialogOfProgram(window) || !IsWindowEnabled(window))
        return TRUE;
    *reinterpret_cast<HWND *>(found) = window;
    return FALSE;
}

// The dialog that takes a person's taps now, null while there is none.
HWND topDialog()
{
    HWND found = nullptr;
    EnumWindows(takeTopDialog, reinterpret_cast<LPARAM>(&found));
    return found;
}

LRESULT ask(HWND window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0)
{
    DWORD_PTR answer = 0;
    return SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, limit, &answer) ? answer : 0;
}

HWND currentPage()
{
    return reinterpret_cast<HWND>(ask(sheet, PSM_GETCURRENTPAGEHWND));
}

bool findSheet()
{
    const HWND dialog = topDialog();
    if (!dialog || !ask(dialog, PSM_GETTABCONTROL))
        return false;
    sheet = dialog;
    return currentPage() != nullptr;
}

BOOL CALLBACK paintNow(HWND window, LPARAM)
{
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == program && IsWindowVisible(window))
        RedrawWindow(window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    return TRUE;
}

// ---- The screen ---------------------------------------------------------------------------------------------------

// A picture of the whole desktop, its lines from top to bottom, 32 bits a point.
struct Picture {
    BITMAPINFOHEADER header;
    std::vector<DWORD> points;
};

Picture takePicture()
{
    Picture picture{};
    picture.header = {sizeof(BITMAPINFOHEADER),
                      GetSystemMetrics(SM_CXSCREEN),
                      -GetSystemMetrics(SM_CYSCREEN),
                      1,
                      32,
                      BI_RGB,
                      0,
                      0,
                      0,
                      0,
                      0};
    const int width = picture.header.biWidth, height = -picture.header.biHeight;
    picture.points.resize(static_cast<size_t>(width) * height);
    const HDC screen = GetDC(nullptr), memory = CreateCompatibleDC(screen);
    DWORD *bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(screen, reinterpret_cast<BITMAPINFO *>(&picture.header), DIB_RGB_COLORS,
                                            reinterpret_cast<void **>(&bits), nullptr, 0);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width, height, screen, 0, 0, SRCCOPY);
    GdiFlush();
    // The fourth byte of a point says nothing about a screen, but readers of bitmaps take it for transparency.
    std::transform(bits, bits + picture.points.size(), picture.points.begin(),
                   [](DWORD point) { return point & 0xFFFFFF; });
    SelectObject(memory, before);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    return picture;
}

bool comesToRest(Picture &picture)
{
    EnumWindows(paintNow, 0);
    picture = takePicture();
    return waitFor([&] {
        Sleep(restingTime);
        std::vector<DWORD> before = std::move(picture.points);
        picture = takePicture();
        return picture.points == before;
    });
}

bool writePicture(const Picture &picture, const wchar_t *path)
{
    FILE *file = _wfopen(path, L"wb");
    if (!file)
        return false;
    const DWORD size = static_cast<DWORD>(picture.points.size() * sizeof(DWORD));
    const DWORD start = sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER);
    const BITMAPFILEHEADER header = {0x4D42, start + size, 0, 0, start};
    const bool written = fwrite(&header, sizeof(header), 1, file) == 1 &&
                         fwrite(&picture.header, sizeof(picture.header), 1, file) == 1 &&
                         fwrite(picture.points.data(), size, 1, file) == 1;
    return fclose(file) == 0 && written;
}

// ---- Steps --------------------------------------------------------------------------------------------------------

bool showPage(const wchar_t *argument)
{
    const HWND before = currentPage();
    const LRESULT index = wcstol(argument, nullptr, 10);
    if (ask(sheet, PSM_HWNDTOINDEX, reinterpret_cast<WPARAM>(before)) == index)
        return true;
    return ask(sheet, PSM_SETCURSEL, index) && currentPage() != before;
}

// Posted, because the dialog that opens is modal: a sent message would only return when it closes.
bool pressControl(const wchar_t *argument)
{
    const HWND before = topDialog(), owner = before == sheet ? currentPage() : before;
    const int control = wcstol(argument, nullptr, 10);
    PostMessageW(owner, WM_COMMAND, MAKEWPARAM(control, BN_CLICKED),
                 reinterpret_cast<LPARAM>(GetDlgItem(owner, control)));
    return waitFor([&] {
        const HWND now = topDialog();
        return now && now != before;
    });
}

int selectedLine(HWND list)
{
    return static_cast<int>(ask(list, LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED));
}

// Every press moves by a line; one that does not has come to an end of the list.
bool goToLine(const wchar_t *argument)
{
    const HWND list = GetDlgItem(currentPage(), pageList);
    const int target = static_cast<int>(wcstol(argument, nullptr, 10));
    for (int line = selectedLine(list), before = -1; line != target && line != before;) {
        before = line;
        ask(list, WM_KEYDOWN, line < target ? VK_DOWN : VK_UP);
        line = selectedLine(list);
    }
    return list && selectedLine(list) == target;
}

bool pressInPlace(const wchar_t *argument)
{
    const HWND dialog = topDialog(), owner = dialog == sheet ? currentPage() : dialog;
    const int control = wcstol(argument, nullptr, 10);
    Picture before;
    if (!comesToRest(before))
        return false;
    PostMessageW(owner, WM_COMMAND, MAKEWPARAM(control, BN_CLICKED),
                 reinterpret_cast<LPARAM>(GetDlgItem(owner, control)));
    return waitFor([&] { return takePicture().points != before.points; });
}

bool chooseEntry(const wchar_t *argument)
{
    int control, entry;
    if (swscanf(argument, L"%d %d", &control, &entry) != 2)
        return false;
    const HWND list = GetDlgItem(currentPage(), control);
    if (ask(list, CB_SETCURSEL, entry) != entry)
        return false;
    for (const int change : {CBN_SELCHANGE, CBN_SELENDOK})
        ask(currentPage(), WM_COMMAND, MAKEWPARAM(control, change), reinterpret_cast<LPARAM>(list));
    return true;
}

bool confirmSheet(const wchar_t *)
{
    PostMessageW(sheet, PSM_PRESSBUTTON, PSBTN_OK, 0);
    return waitFor([] { return !IsWindow(sheet); });
}

bool closeDialog(const wchar_t *)
{
    const HWND dialog = topDialog();
    // As its caption's close button does: there may be more behind a dialog's Cancel button than closing it.
    PostMessageW(dialog, WM_CLOSE, 0, 0);
    return waitFor([&] { return !IsWindow(dialog); });
}

bool tapScreen(const wchar_t *argument)
{
    POINT point;
    if (swscanf(argument, L"%ld %ld", &point.x, &point.y) != 2)
        return false;
    Picture before;
    const HWND window = WindowFromPoint(point);
    if (!window || !comesToRest(before))
        return false;
    ScreenToClient(window, &point);
    PostMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(point.x, point.y));
    PostMessageW(window, WM_LBUTTONUP, 0, MAKELPARAM(point.x, point.y));
    return waitFor([&] { return takePicture().points != before.points; });
}

bool shoot(const wchar_t *argument)
{
    Picture picture;
    return comesToRest(picture) && writePicture(picture, argument);
}

constexpr struct {
    const wchar_t *name;
    bool (*run)(const wchar_t *argument);
} steps[] = {
    {L"page", showPage},     {L"command", pressControl}, {L"press", pressInPlace},
    {L"line", goToLine},     {L"choose", chooseEntry},   {L"ok", confirmSheet},
    {L"close", closeDialog}, {L"tap", tapScreen},        {L"shot", shoot},
};

bool runStep(const std::wstring &line)
{
    const size_t blank = line.find(L' ');
    const std::wstring name = line.substr(0, blank);
    const std::wstring argument = blank == std::wstring::npos ? L"" : line.substr(blank + 1);
    for (const auto &step : steps)
        if (name == step.name && step.run(argument.c_str()))
            return true;
    fprintf(stderr, "shots: failed: %ls\n", line.c_str());
    return false;
}

bool runScript(const wchar_t *path)
{
    FILE *script = _wfopen(path, L"r, ccs=UTF-8");
    if (!script) {
        fprintf(stderr, "shots: cannot read %ls\n", path);
        return false;
    }
    bool done = true;
    wchar_t line[1024];
    while (done && fgetws(line, ARRAYSIZE(line), script)) {
        line[wcscspn(line, L"\r\n")] = 0;
        done = runStep(line);
    }
    fclose(script);
    return done;
}

// ---- The program --------------------------------------------------------------------------------------------------

bool start(std::wstring commandLine, PROCESS_INFORMATION &process)
{
    STARTUPINFOW how{};
    how.cb = sizeof(how);
    if (CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &how, &process))
        return true;
    fprintf(stderr, "shots: cannot start %ls\n", commandLine.c_str());
    return false;
}

bool end(const PROCESS_INFORMATION &process)
{
    PostMessageW(sheet, PSM_PRESSBUTTON, PSBTN_CANCEL, 0);
    const bool ended = WaitForSingleObject(process.hProcess, limit) == WAIT_OBJECT_0;
    if (!ended)
        TerminateProcess(process.hProcess, 1);
    return ended;
}

}   // namespace

int wmain(int argumentCount, wchar_t **arguments)
{
    if (argumentCount != 3) {
        fprintf(stderr, "usage: shots SCRIPT PROGRAM\n");
        return 2;
    }
    PROCESS_INFORMATION process;
    if (!start(arguments[2], process))
        return 1;
    program = process.dwProcessId;
    const bool opened = waitFor(findSheet);
    if (!opened)
        fprintf(stderr, "shots: the program shows no property sheet\n");
    const bool done = opened && runScript(arguments[1]);
    const bool ended = end(process);
    return done && ended ? 0 : 1;
}
