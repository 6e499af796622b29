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
    order.outcome = outcome == L"raise" ? Fault::raise : Fault::fail;
    if (outcome != L"raise" && outcome != L"fail")
        return false;
    std::wstring call = outcomeStart > kindEnd ? line.substr(kindEnd + 1, outcomeStart - kindEnd - 1) : L"";
    const size_t numberEnd = std::min(call.find_first_of(L" \t"), call.size());
    order.nth = 0;
    if (isNumber(call.substr(0, numberEnd))) {
        order.nth = static_cast<int>(wcstoul(call.c_str(), nullptr, 10));
        call.erase(0, std::min(numberEnd + 1, call.size()));
    }
    order.call = call;
    return true;
}

}   // namespace

bool faultKindNamed(const std::wstring &name, FaultKind &kind)
{
    for (const KindName &each : kindNames)
        if (name == each.name) {
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
