// journal.log: what the program asked of the phone, one line a request.
#include "phone.h"

namespace sim {
namespace {

// A field as it stands in the journal: control characters would break the line, so they become escapes.
void appendField(std::wstring &line, const std::wstring &field)
{
    for (const wchar_t each : field) {
        if (each == L'\t')
            line += L"\\t";
        else if (each == L'\r')
            line += L"\\r";
        else if (each == L'\n')
            line += L"\\n";
        else if (each < L' ') {
            wchar_t escape[8];
            line.append(escape, _snwprintf(escape, ARRAYSIZE(escape), L"\\x%02X", each));
        } else
            line += each;
    }
}

void appendToFile(const std::wstring &path, const std::string &bytes)
{
    const DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(path.c_str(), FILE_APPEND_DATA, sharing, nullptr, OPEN_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return;
    DWORD written = 0;
    SetFilePointer(file, 0, nullptr, FILE_END);
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
}

}   // namespace

void journal(const wchar_t *kind, const std::vector<std::wstring> &fields)
{
    // The program may look at the error of the call that is being journalled.
    const DWORD error = GetLastError();
    std::wstring line = kind;
    for (const std::wstring &field : fields) {
        line += L'\t';
        appendField(line, field);
    }
    line += L"\r\n";
    const Phone &here = phone();
    {
        SharedGuard guard(L"Local\\kv-journal-" + here.name);
        appendToFile(here.folder + L"\\journal.log", utf8(line));
    }
    SetLastError(error);
}

std::wstring number(long long value)
{
    return std::to_wstring(value);
}

std::wstring hexadecimal(unsigned long long value)
{
    wchar_t text[24];
    return std::wstring(text, _snwprintf(text, ARRAYSIZE(text), L"0x%I64X", value));
}

std::wstring windowName(HWND window)
{
    if (!window)
        return L"(none)";
    wchar_t name[260];
    return GetClassNameW(window, name, ARRAYSIZE(name)) > 0 ? name : L"(gone)";
}

}   // namespace sim
