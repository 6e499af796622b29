#include "database_file.h"

#include "phone.h"

#include <cwctype>

namespace sim {
namespace {

std::wstring trimmed(const std::wstring &text)
{
    size_t first = 0, last = text.size();
    while (first < last && iswspace(text[first]))
        ++first;
    while (last > first && iswspace(text[last - 1]))
        --last;
    return text.substr(first, last - first);
}

// A whole number of the given range, decimal or hexadecimal.
template <typename Number> bool parseNumber(const std::wstring &text, long long least, long long most, Number &number)
{
    wchar_t *end = nullptr;
    const long long parsed = _wcstoi64(text.c_str(), &end, 0);
    number = static_cast<Number>(parsed);
    return !text.empty() && *end == 0 && parsed >= least && parsed <= most;
}

bool parsePropertyId(const std::wstring &text, CEPROPID &id)
{
    return parseNumber(text, 1, 0xFFFFFFFF, id);
}

// "2008-03-07 14:05:09"
bool parseTime(const std::wstring &text, FILETIME &time)
{
    SYSTEMTIME parts = {};
    WORD *const fields[] = {&parts.wYear, &parts.wMonth, &parts.wDay, &parts.wHour, &parts.wMinute, &parts.wSecond};
    int length = 0;
    const int count = swscanf(text.c_str(), L"%hu-%hu-%hu %hu:%hu:%hu%n", fields[0], fields[1], fields[2], fields[3],
                              fields[4], fields[5], &length);
    return count == ARRAYSIZE(fields) && length == static_cast<int>(text.size()) &&
           SystemTimeToFileTime(&parts, &time);
}

// Bytes as pairs of hexadecimal digits with blanks between them.
bool parseBytes(const std::wstring &text, std::vector<BYTE> &bytes)
{
    for (size_t at = 0; at < text.size(); at += 3) {
        if (at + 2 > text.size() || !iswxdigit(text[at]) || !iswxdigit(text[at + 1]) ||
            (at + 2 < text.size() && text[at + 2] != L' '))
            return false;
        bytes.push_back(static_cast<BYTE>(wcstoul(text.substr(at, 2).c_str(), nullptr, 16)));
    }
    return true;
}

// Quotation marks around a text keep its blanks.
std::wstring unquoted(const std::wstring &text)
{
    const bool quoted = text.size() >= 2 && text.front() == L'"' && text.back() == L'"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

bool parseValue(const std::wstring &text, StoredProperty &property)
{
    CEVALUNION &value = property.value;
    wchar_t *end = nullptr;
    switch (TypeFromPropID(property.id)) {
    case CEVT_LPWSTR:
        property.text = unquoted(text);
        return true;
    case CEVT_BLOB:
        return parseBytes(text, property.bytes);
    case CEVT_FILETIME:
        return parseTime(text, value.filetime);
    case CEVT_R8:
        value.dblVal = wcstod(text.c_str(), &end);
        return !text.empty() && *end == 0;
    case CEVT_BOOL:
        value.boolVal = text == L"1";
        return text == L"0" || text == L"1";
    case CEVT_I2:
        return parseNumber(text, -0x8000, 0x7FFF, value.iVal);
    case CEVT_UI2:
        return parseNumber(text, 0, 0xFFFF, value.uiVal);
    case CEVT_I4:
        return parseNumber(text, -0x80000000LL, 0x7FFFFFFF, value.lVal);
    case CEVT_UI4:
        return parseNumber(text, 0, 0xFFFFFFFF, value.ulVal);
    default:
        return false;
    }
}

class Parser {
public:
    explicit Parser(StoredVolume &result) : volume(result) {}

    bool takeLine(const std::wstring &line)
    {
        if (line.empty() || line[0] == L';' || line[0] == L'#')
            return true;
        if (line.front() == L'[')
            return beginDatabase(line);
        if (line == L"volume new")
            return volume.databases.empty() && (volume.isNewKind = true);
        if (volume.databases.empty())
            return false;
        if (line == L"record")
            return beginRecord();
        return line.compare(0, 5, L"sort ") == 0 ? addSortOrder(trimmed(line.substr(5))) : addProperty(line);
    }

private:
    bool beginDatabase(const std::wstring &line)
    {
        if (line.size() < 3 || line.back() != L']')
            return false;
        volume.databases.push_back({line.substr(1, line.size() - 2), nextOid++, {}, {}});
        return true;
    }

    bool beginRecord()
    {
        volume.databases.back().records.push_back({nextOid++, {}});
        return true;
    }

    bool addSortOrder(const std::wstring &text)
    {
        const size_t blank = text.find(L' ');
        const std::wstring rest = blank == std::wstring::npos ? L"" : trimmed(text.substr(blank));
        SortOrder order = {0, rest == L"descending"};
        if (!parsePropertyId(text.substr(0, blank), order.property) || (!order.descending && !rest.empty()))
            return false;
        volume.databases.back().sortOrders.push_back(order);
        return true;
    }

    bool addProperty(const std::wstring &line)
    {
        std::vector<StoredRecord> &records = volume.databases.back().records;
        const size_t equals = line.find(L'=');
        if (records.empty() || equals == std::wstring::npos)
            return false;
        StoredProperty property{};
        if (!parsePropertyId(trimmed(line.substr(0, equals)), property.id) ||
            !parseValue(trimmed(line.substr(equals + 1)), property))
            return false;
        records.back().properties.push_back(property);
        return true;
    }

    StoredVolume &volume;
    CEOID nextOid = 1;
};

}   // namespace

int parseVolumeText(const std::wstring &text, StoredVolume &volume)
{
    Parser parser(volume);
    int number = 1;
    for (size_t start = 0; start < text.size(); ++number) {
        size_t end = text.find(L'\n', start);
        if (end == std::wstring::npos)
            end = text.size();
        if (!parser.takeLine(trimmed(text.substr(start, end - start))))
            return number;
        start = end + 1;
    }
    return 0;
}

}   // namespace sim
