// Measures a program from outside.
//
//   bench_watch.exe CLASS PROGRAM
//
// Starts PROGRAM, waits until its window of class CLASS can be seen (of a property sheet: its first page) and has been
// painted, and closes it again. Prints a line "name value" for each of
//
//   visible    ms from the start of the process; after this line it waits for one on its standard input, so that the
//              caller can look at the process too
//   visit      ms to show a page for the first time, median over the pages     (property sheets only)
//   visitN     ms to show page N (from 1; page 0 is there already) for the first time
//   revisit    ms to show a page again, median over the pages                  (property sheets only)
//
// Ends with 0 when the program showed its window and ended when asked to.
#include <windows.h>
#include <commctrl.h>
#include <prsht.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr DWORD limit = 30000;   // ms, for anything that is waited for
constexpr wchar_t dialogClass[] = L"#32770";

class Stopwatch {
public:
    Stopwatch() { QueryPerformanceCounter(&start_); }

    double milliseconds() const
    {
        LARGE_INTEGER now, frequency;
        QueryPerformanceCounter(&now);
        QueryPerformanceFrequency(&frequency);
        return 1000.0 * static_cast<double>(now.QuadPart - start_.QuadPart) / static_cast<double>(frequency.QuadPart);
    }

private:
    LARGE_INTEGER start_;
};

// ---- Finding the window -------------------------------------------------------------------------------------------

struct Search {
    DWORD process;
    const wchar_t *className;
    HWND found;
};

bool hasClass(HWND window, const wchar_t *className)
{
    wchar_t name[64] = L"";
    GetClassNameW(window, name, ARRAYSIZE(name));
    return wcscmp(name, className) == 0;
}

HWND tabControl(HWND window)
{
    return FindWindowExW(window, nullptr, L"SysTabControl32", nullptr);
}

// A property sheet shows nothing of interest before its first page.
bool showsItsContent(HWND window)
{
    if (!hasClass(window, dialogClass))
        return true;
    const HWND page = FindWindowExW(window, nullptr, dialogClass, nullptr);
    return tabControl(window) && page && IsWindowVisible(page);
}

BOOL CALLBACK matchWindow(HWND window, LPARAM parameter)
{
    Search &search = *reinterpret_cast<Search *>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process != search.process || !IsWindowVisible(window) || !hasClass(window, search.className) ||
        !showsItsContent(window))
        return TRUE;
    search.found = window;
    return FALSE;
}

HWND waitForWindow(DWORD process, const wchar_t *className)
{
    Search search{process, className, nullptr};
    for (const Stopwatch waiting; !search.found && waiting.milliseconds() < limit; Sleep(search.found ? 0 : 1))
        EnumWindows(matchWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

void paintNow(HWND window)
{
    RedrawWindow(window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
}

// ---- Measuring ----------------------------------------------------------------------------------------------------

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double timeOfPage(HWND sheet, int page)
{
    const Stopwatch watch;
    SendMessageW(sheet, PSM_SETCURSEL, page, 0);
    paintNow(sheet);
    return watch.milliseconds();
}

// The first page is there already, so its first visit is left out; both rounds end on it.
void measurePages(HWND sheet)
{
    const int count = static_cast<int>(SendMessageW(tabControl(sheet), TCM_GETITEMCOUNT, 0, 0));
    std::vector<double> visits, revisits;
    for (int page = 1; page < count; ++page)
        visits.push_back(timeOfPage(sheet, page));
    for (int page = 0; page < count; ++page)
        revisits.push_back(timeOfPage(sheet, page));
    if (visits.empty())
        return;
    for (size_t index = 0; index < visits.size(); ++index)
        printf("visit%u %.3f\n", static_cast<unsigned>(index + 1), visits[index]);
    printf("visit %.3f\nrevisit %.3f\n", median(visits), median(revisits));
}

bool measure(const PROCESS_INFORMATION &process, const wchar_t *className, const Stopwatch &sinceStart)
{
    const HWND window = waitForWindow(process.dwProcessId, className);
    if (!window)
        return false;
    paintNow(window);
    printf("visible %.3f\n", sinceStart.milliseconds());
    fflush(stdout);
    getchar();
    const bool isSheet = tabControl(window) != nullptr;
    if (isSheet)
        measurePages(window);
    PostMessageW(window, isSheet ? PSM_PRESSBUTTON : WM_CLOSE, isSheet ? PSBTN_CANCEL : 0, 0);
    return WaitForSingleObject(process.hProcess, limit) == WAIT_OBJECT_0;
}

}   // namespace

int wmain(int argumentCount, wchar_t **arguments)
{
    if (argumentCount != 3) {
        fprintf(stderr, "usage: bench_watch CLASS PROGRAM\n");
        return 2;
    }
    STARTUPINFOW how{};
    how.cb = sizeof(how);
    std::wstring commandLine = arguments[2];
    PROCESS_INFORMATION process;
    const Stopwatch sinceStart;
    if (!CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &how, &process)) {
        fprintf(stderr, "bench_watch: cannot start %ls\n", arguments[2]);
        return 1;
    }
    const bool measured = measure(process, arguments[1], sinceStart);
    if (!measured) {
        fprintf(stderr, "bench_watch: %ls did not show its window, or did not end\n", arguments[2]);
        TerminateProcess(process.hProcess, 1);
    }
    return measured ? 0 : 1;
}
