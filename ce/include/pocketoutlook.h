// Pocket Outlook, the phone's calendar, contacts and tasks, as far as this program asks it.
#pragma once

#include "mediaplayer.h"   // declares COM itself as well

#include "../outlook_interfaces.h"
