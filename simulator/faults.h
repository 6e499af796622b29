// Ordering faults. Call sites ask through faultDue() of core.h, or failsByOrder() below.
#pragma once

#include "core.h"

namespace sim {

// Forgets all orders and takes up those of the phone's faults.txt. False when a line of it is malformed.
bool loadFaults(const Phone &phone, std::wstring &problem);

// Orders one fault. nth 1.. is the nth matching call from now on, once; 0 is every matching call. call is
// "operation:detail", "*" at its end standing for any rest; empty matches every call of the kind.
void orderFault(FaultKind kind, int nth, const std::wstring &call, Fault outcome);
bool faultKindNamed(const std::wstring &name, FaultKind &kind);
void clearFaults();

// Asks for the fault due now: throws OrderedFault for Fault::raise, returns whether the call has to fail.
bool failsByOrder(FaultKind kind, const wchar_t *operation, const wchar_t *detail);

}   // namespace sim
