// A parser for registry.reg. It takes what the desktop's registry editor writes: strings, dword:, hex: and hex(n): with
// continuation lines, the default value @, comments and deletions.
#include "registry_file.h"

#include <algorithm>
#include <cwctype>

namespace sim {
namespace {

constexpr wchar_t heading[] = L"Windows Registry Editor Version 5.00";

struct Line {
    std::wstring text;
    int number;   // of its first physical line, from 1
};

std::wstring trimmed(const std::wstring &text)
{
    const size_t first = text.find_first_not_of(L" \t\r");
    return first == std::wstring::npos ? L"" : text.substr(first, text.find_last_not_of(L" \t\r") - first + 1);
}

// Logical lines: comments and blank lines gone, a backslash at the end joins the next line.
std::vector<Line> logicalLines(const std::wstring &text)
{
    std::vector<Line> lines;
    bool continued = false;
    int lineNumber = 0;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find(L'\n', start), text.size());
        std::wstring line = trimmed(text.substr(start, end - start));
        start = end + 1;
        ++lineNumber;
        if (line.empty() || line[0] == L';')
            continue;
        if (continued)
            lines.back().text += line;
        else
            lines.push_back({line, lineNumber});
        // Only lists of bytes go on in the next line; a string may well end in a backslash and its quotation mark.
        continued = line.back() == L'\\';
        if (continued)
            lines.back().text.pop_back();
    }
    return lines;
}

// Reads a quoted string that starts at position; afterwards position is behind its closing mark.
bool parseQuoted(const std::wstring &text, size_t &position, std::wstring &value)
{
    if (position >= text.size() || text[position] != L'"')
        return false;
    for (++position; position < text.size(); ++position) {
        wchar_t each = text[position];
        if (each == L'"') {
            ++position;
            return true;
        }
        if (each == L'\\') {
            if (++position >= text.size())
                return false;
            each = text[position];
        }
        value += each;
    }
    return false;
}

bool parseNumber(const std::wstring &digits, DWORD &value)
{
    value = wcstoul(digits.c_str(), nullptr, 16);
    return !digits.empty() && digits.size() <= 8 && std::all_of(digits.begin(), digits.end(), iswxdigit);
}

bool parseBytes(const std::wstring &list, std::vector<BYTE> &data)
{
    if (trimmed(list).empty())
        return true;
    for (size_t start = 0; start <= list.size();) {
        const size_t end = std::min(list.find(L',', start), list.size());
        DWORD value = 0;
        if (!parseNumber(trimmed(list.substr(start, end - start)), value) || value > 0xFF)
            return false;
        data.push_back(static_cast<BYTE>(value));
        start = end + 1;
    }
    return true;
}

void assignBytes(std::vector<BYTE> &data, const void *bytes, size_t size)
{
    const BYTE *const first = static_cast<const BYTE *>(bytes);
    data.assign(first, first + size);
}

bool startsWith(const std::wstring &text, const wchar_t *start)
{
    return text.compare(0, wcslen(start), start) == 0;
}

bool parseString(const std::wstring &text, RegistryValue &value)
{
    size_t position = 0;
    std::wstring string;
    if (!parseQuoted(text, position, string) || position != text.size())
        return false;
    value.type = REG_SZ;
    assignBytes(value.data, string.c_str(), (string.size() + 1) * sizeof(wchar_t));
    return true;
}

// "hex:..." is REG_BINARY, "hex(n):..." any type n, given in hexadecimal.
bool parseHex(const std::wstring &text, RegistryValue &value)
{
    const size_t colon = text.find(L':');
    if (colon == std::wstring::npos)
        return false;
    value.type = REG_BINARY;
    if (text[3] == L'(' && (text[colon - 1] != L')' || !parseNumber(text.substr(4, colon - 5), value.type)))
        return false;
    return (text[3] == L'(' || colon == 3) && parseBytes(text.substr(colon + 1), value.data);
}

bool parseData(const std::wstring &text, RegistryValue &value)
{
    if (text == L"-") {
        value.remove = true;
        return true;
    }
    if (startsWith(text, L"dword:")) {
        DWORD data = 0;
        if (!parseNumber(text.substr(6), data))
            return false;
        value.type = REG_DWORD;
        assignBytes(value.data, &data, sizeof(data));
        return true;
    }
    return startsWith(text, L"hex") ? parseHex(text, value) : parseString(text, value);
}

bool parseValue(const std::wstring &line, RegistryValue &value)
{
    size_t position = 0;
    if (line[0] == L'@')
        position = 1;
    else if (!parseQuoted(line, position, value.name))
        return false;
    const size_t equals = line.find_first_not_of(L" \t", position);
    return equals != std::wstring::npos && line[equals] == L'=' && parseData(trimmed(line.substr(equals + 1)), value);
}

bool parseKey(const std::wstring &line, RegistryKey &key)
{
    if (line.back() != L']')
        return false;
    key.remove = line.size() > 1 && line[1] == L'-';
    const size_t start = key.remove ? 2 : 1;
    key.path = line.substr(start, line.size() - start - 1);
    return !key.path.empty();
}

}   // namespace

int parseRegistryText(const std::wstring &text, std::vector<RegistryKey> &keys)
{
    const std::vector<Line> lines = logicalLines(text);
    if (lines.empty() || lines[0].text != heading)
        return 1;
    for (size_t i = 1; i < lines.size(); ++i) {
        const std::wstring &line = lines[i].text;
        bool understood;
        if (line[0] == L'[') {
            RegistryKey key{};
            understood = parseKey(line, key);
            keys.push_back(std::move(key));
        } else {
            RegistryValue value{};
            understood = !keys.empty() && !keys.back().remove && parseValue(line, value);
            if (understood)
                keys.back().values.push_back(std::move(value));
        }
        if (!understood)
            return lines[i].number;
    }
    return 0;
}

}   // namespace sim
