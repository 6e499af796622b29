// Pocket Outlook: the object a program creates for its class, and what it hands out.
#pragma once

#include <objbase.h>

#include "../ce/outlook_interfaces.h"

namespace sim {

// Answers CoCreateInstance for CLSID_OutlookApplication.
HRESULT createOutlook(IUnknown *outer, REFIID interfaceId, void **object);

// How many of the objects it has handed out the program still holds references to.
int liveOutlookFolders();

}   // namespace sim
