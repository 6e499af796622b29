// What the phone says about itself: version, maker, screen, fonts, clock, language.
#include "system.h"

#include "faults.h"
#include "phone.h"
#include "templates.h"

#include <atomic>
#include <cstdio>

namespace sim {
namespace {

constexpr UINT platformType = 257, oemInfo = 258;   // SPI_GETPLATFORMTYPE, SPI_GETOEMINFO
constexpr DWORD windowsCe = 3;                      // VER_PLATFORM_WIN32_CE

struct Metric {
    int index;
    int value;   // pixels at 96 dots per inch, or a plain number
    bool scaled;
};

// The metrics a phone knows, screen sizes aside; any other is 0.
constexpr Metric metrics[] = {
    {SM_CXVSCROLL, 13, true},
    {SM_CYHSCROLL, 13, true},
    {SM_CYVSCROLL, 13, true},
    {SM_CXHSCROLL, 13, true},
    {SM_CYCAPTION, 26, true},
    {SM_CYMENU, 26, true},
    {SM_CXBORDER, 1, true},
    {SM_CYBORDER, 1, true},
    {SM_CXDLGFRAME, 1, true},
    {SM_CYDLGFRAME, 1, true},
    {SM_CXEDGE, 1, true},
    {SM_CYEDGE, 1, true},
    {SM_CXICON, 32, true},
    {SM_CYICON, 32, true},
    {SM_CXSMICON, 16, true},
    {SM_CYSMICON, 16, true},
    {SM_CXCURSOR, 32, true},
    {SM_CYCURSOR, 32, true},
    {SM_CXICONSPACING, 75, true},
    {SM_CYICONSPACING, 75, true},
    {SM_CXDOUBLECLK, 8, true},
    {SM_CYDOUBLECLK, 8, true},
    {SM_MOUSEPRESENT, 1, false},
    {SM_CMONITORS, 1, false},
    {SM_SAMEDISPLAYFORMAT, 1, false},
};

SRWLOCK clockLock = SRWLOCK_INIT;
bool clockStopped = false;
SYSTEMTIME stoppedAt{};

std::atomic<int> waitDivisor{1};

// [clock] now=2008-03-07 14:05:09 stops the clock of every program on the phone, so that pictures can be compared.
bool clockOfSettings(SYSTEMTIME &time)
{
    const std::wstring text = setting(L"clock", L"now");
    SYSTEMTIME read{};
    if (swscanf(text.c_str(), L"%hu-%hu-%hu %hu:%hu:%hu", &read.wYear, &read.wMonth, &read.wDay, &read.wHour,
                &read.wMinute, &read.wSecond) != 6)
        return false;
    FILETIME whole;
    return SystemTimeToFileTime(&read, &whole) && FileTimeToSystemTime(&whole, &time);   // fills in the weekday
}

bool stoppedClock(SYSTEMTIME &time)
{
    Guard guard(clockLock);
    if (!clockStopped)
        return clockOfSettings(time);
    time = stoppedAt;
    return true;
}

// Answers a text to SystemParametersInfo: size counts characters, the terminator included.
BOOL answerText(const std::wstring &text, void *buffer, UINT size)
{
    if (!buffer || size < text.size() + 1) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    wcscpy(static_cast<wchar_t *>(buffer), text.c_str());
    return TRUE;
}

// "The user's language" is the phone's, not the desktop's.
LCID localeOnPhone(LCID locale)
{
    const bool usersOwn = locale == LOCALE_USER_DEFAULT || locale == LOCALE_SYSTEM_DEFAULT || locale == LOCALE_NEUTRAL;
    return usersOwn ? settingNumber(L"locale", L"id", 0x0409) : locale;
}

}   // namespace

void setClock(const SYSTEMTIME *localTime)
{
    Guard guard(clockLock);
    clockStopped = localTime != nullptr;
    if (localTime)
        stoppedAt = *localTime;
}

void shortenWaits(int divisor)
{
    waitDivisor = divisor > 1 ? divisor : 1;
}

DWORD realLength(DWORD milliseconds)
{
    return milliseconds == INFINITE ? INFINITE : milliseconds / waitDivisor;
}

void waitForPhone(DWORD milliseconds)
{
    Sleep(realLength(milliseconds));
}

}   // namespace sim

using namespace sim;

extern "C" {

void WINAPI simSleep(DWORD milliseconds)
{
    if (waitDivisor > 1)
        journal(L"sleep", {number(milliseconds)});
    waitForPhone(milliseconds);
}

BOOL WINAPI simGetVersionExW(LPOSVERSIONINFOW info)
{
    if (!info || info->dwOSVersionInfoSize != sizeof(OSVERSIONINFOW)) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    const Phone &here = phone();
    info->dwMajorVersion = here.osMajor;
    info->dwMinorVersion = here.osMinor;
    info->dwBuildNumber = here.osBuild;
    info->dwPlatformId = windowsCe;
    info->szCSDVersion[0] = 0;
    return TRUE;
}

BOOL WINAPI simSystemParametersInfoW(UINT action, UINT number, PVOID data, UINT notify)
{
    switch (action) {
    case platformType:
        return answerText(setting(L"phone", L"platform", L"PocketPC"), data, number);
    case oemInfo:
        return answerText(setting(L"phone", L"oem"), data, number);
    case SPI_GETWORKAREA:
        *static_cast<RECT *>(data) = workArea();
        return TRUE;
    case SPI_GETFONTSMOOTHING:
    case SPI_GETWHEELSCROLLLINES:
        return SystemParametersInfoW(action, number, data, notify);
    default:   // above all nothing that would change the desktop
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
}

int WINAPI simGetSystemMetrics(int index)
{
    switch (index) {
    case SM_CXSCREEN:
    case SM_CXVIRTUALSCREEN:
        return phone().width;
    case SM_CYSCREEN:
    case SM_CYVIRTUALSCREEN:
        return phone().height;
    }
    for (const Metric &each : metrics)
        if (each.index == index)
            return each.scaled ? px(each.value) : each.value;
    return 0;
}

int WINAPI simGetDeviceCaps(HDC context, int index)
{
    if (GetDeviceCaps(context, TECHNOLOGY) != DT_RASDISPLAY)
        return GetDeviceCaps(context, index);
    switch (index) {
    case LOGPIXELSX:
    case LOGPIXELSY:
        return phone().dpi;
    case HORZRES:
        return phone().width;
    case VERTRES:
        return phone().height;
    default:
        return GetDeviceCaps(context, index);
    }
}

// A phone has one stock font.
HGDIOBJ WINAPI simGetStockObject(int index)
{
    return index == SYSTEM_FONT ? systemFont() : GetStockObject(index);
}

// A fault of the memory kind ordered for "dc" makes the phone run out of device contexts.
HDC WINAPI simGetDC(HWND window)
{
    return failsByOrder(FaultKind::allocation, L"dc", L"") ? nullptr : GetDC(window);
}

void WINAPI simGetLocalTime(LPSYSTEMTIME time)
{
    if (!stoppedClock(*time))
        GetLocalTime(time);
}

void WINAPI simGetSystemTime(LPSYSTEMTIME time)
{
    SYSTEMTIME local;
    if (!stoppedClock(local) || !TzSpecificLocalTimeToSystemTime(nullptr, &local, time))
        GetSystemTime(time);
}

LCID WINAPI simGetUserDefaultLCID()
{
    return localeOnPhone(LOCALE_USER_DEFAULT);
}

LANGID WINAPI simGetUserDefaultLangID()
{
    return LANGIDFROMLCID(localeOnPhone(LOCALE_USER_DEFAULT));
}

int WINAPI simGetLocaleInfoW(LCID locale, LCTYPE type, LPWSTR data, int size)
{
    // LOCALE_NOUSEROVERRIDE: what the desktop's user changed for himself is not the phone's.
    return GetLocaleInfoW(localeOnPhone(locale), type | LOCALE_NOUSEROVERRIDE, data, size);
}

int WINAPI simGetDateFormatW(LCID locale, DWORD flags, const SYSTEMTIME *date, LPCWSTR format, LPWSTR data, int size)
{
    SYSTEMTIME now;
    if (!date)
        simGetLocalTime(&now);
    return GetDateFormatW(localeOnPhone(locale), flags, date ? date : &now, format, data, size);
}

int WINAPI simGetTimeFormatW(LCID locale, DWORD flags, const SYSTEMTIME *time, LPCWSTR format, LPWSTR data, int size)
{
    SYSTEMTIME now;
    if (!time)
        simGetLocalTime(&now);
    return GetTimeFormatW(localeOnPhone(locale), flags, time ? time : &now, format, data, size);
}

int WINAPI simGetNumberFormatW(LCID locale, DWORD flags, LPCWSTR value, const NUMBERFMTW *format, LPWSTR data, int size)
{
    return GetNumberFormatW(localeOnPhone(locale), flags, value, format, data, size);
}

}   // extern "C"
