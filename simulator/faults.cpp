// Ordered faults: the failures a test or faults.txt asks for.
#include "faults.h"

#include "phone.h"

#include <algorithm>
#include <atomic>
#include <sstream>

namespace sim {
namespace {

struct Order {
    FaultKind kind;
    int nth;             // matching calls until it is due; 0: due at every one
    std::wstring call;   // "operation:detail", empty for any
    Fault outcome;
};

struct KindName {
    const wchar_t *name;
    FaultKind kind;
};

constexpr KindName kindNames[] = {
    {L"registry", FaultKind::registry},
    {L"file", FaultKind::file},
    {L"memory", FaultKind::allocation},
    {L"database", FaultKind::database},
    {L"sound", FaultKind::sound},
    {L"com", FaultKind::object},
};

SRWLOCK ordersLock = SRWLOCK_INIT;
std::vector<Order> orders;
std::atomic<bool> anyOrders{false};   // spares every call the lock as long as nothing is ordered

bool matches(const std::wstring &pattern, const std::wstring &call)
{
    if (pattern.empty())
        return true;
    if (pattern.back() == L'*')
        return _wcsnicmp(pattern.c_str(), call.c_str(), pattern.size() - 1) == 0;
    return sameText(pattern.c_str(), call.c_str());
}

std::wstring trimmed(const std::wstring &text)
{
    const size_t first = text.find_first_not_of(L" \t");
    return first == std::wstring::npos ? L"" : text.substr(first, text.find_last_not_of(L" \t") - first + 1);
}

// "operation:detail", or any start of it with an asterisk.
bool isCall(const std::wstring &text)
{
    return text.empty() || text.find(L':') != std::wstring::npos || text.back() == L'*';
}

bool isNumber(const std::wstring &text)
{
    return !text.empty() && text.find_first_not_of(L"0123456789") == std::wstring::npos;
}

// "kind [nth] [operation:detail] fail|raise"; the detail may contain blanks.
bool parseOrder(const std::wstring &line, Order &order)
{
    const size_t kindEnd = line.find_first_of(L" \t"), outcomeStart = line.find_last_of(L" \t");
    if (kindEnd == std::wstring::npos || !faultKindNamed(line.substr(0, kindEnd), order.kind))
        return false;
    const std::wstring outcome = line.substr(outcomeStart + 1);
    const bool raises = sameText(outcome.c_str(), L"raise");
    if (!raises && !sameText(outcome.c_str(), L"fail"))
        return false;
    order.outcome = raises ? Fault::raise : Fault::fail;
    order.call = trimmed(line.substr(kindEnd, outcomeStart - kindEnd));
    const std::wstring first = order.call.substr(0, order.call.find_first_of(L" \t"));
    order.nth = 0;
    if (isNumber(first)) {
        order.nth = static_cast<int>(wcstoul(first.c_str(), nullptr, 10));
        order.call = trimmed(order.call.substr(first.size()));
    }
    return isCall(order.call);
}

}   // namespace

bool faultKindNamed(const std::wstring &name, FaultKind &kind)
{
    for (const KindName &each : kindNames)
        if (sameText(name.c_str(), each.name)) {
            kind = each.kind;
            return true;
        }
    return false;
}

bool loadFaults(const Phone &phone, std::wstring &problem)
{
    clearFaults();
    std::wstring text;
    if (!readTextFile(phone.folder + L"\\faults.txt", text))
        return true;
    std::wistringstream lines(text);
    for (std::wstring line; std::getline(lines, line);) {
        while (!line.empty() && iswspace(line.back()))
            line.pop_back();
        if (line.empty() || line[0] == L'#')
            continue;
        Order order;
        if (!parseOrder(line, order)) {
            problem = L"faults.txt: not understood: " + line;
            return false;
        }
        orderFault(order.kind, order.nth, order.call, order.outcome);
    }
    return true;
}

void orderFault(FaultKind kind, int nth, const std::wstring &call, Fault outcome)
{
    Guard guard(ordersLock);
    orders.push_back({kind, nth, call, outcome});
    anyOrders = true;
}

void clearFaults()
{
    Guard guard(ordersLock);
    orders.clear();
    anyOrders = false;
}

Fault faultDue(FaultKind kind, const wchar_t *operation, const wchar_t *detail)
{
    // Memory is asked for before any phone is: by static objects, and by programs that never need one.
    if (kind != FaultKind::allocation)
        phone();   // its faults.txt may hold orders
    if (!anyOrders)
        return Fault::none;
    const std::wstring call = std::wstring(operation) + L":" + detail;
    Guard guard(ordersLock);
    Fault due = Fault::none;
    for (auto order = orders.begin(); order != orders.end();) {
        const bool concerned = order->kind == kind && matches(order->call, call);
        if (!concerned) {
            ++order;
        } else if (order->nth == 0) {
            due = order++->outcome;
        } else if (--order->nth == 0) {
            due = order->outcome;
            order = orders.erase(order);
        } else {
            ++order;
        }
    }
    return due;
}

bool failsByOrder(FaultKind kind, const wchar_t *operation, const wchar_t *detail)
{
    const Fault due = faultDue(kind, operation, detail);
    if (due == Fault::raise)
        throw OrderedFault();
    return due == Fault::fail;
}

}   // namespace sim
