// The phone's appointment categories, by which a schedule can switch profiles.
#pragma once

#include "phone.h"

// The categories of the calendar folder as one text, names separated by ", ", from Pocket Outlook (Windows CE 5 and later).
// Null when any step fails. The caller frees it with freeText. COM must be initialised on this thread.
wchar_t *getCategories();

// Calls add(context, name) for every appointment category, in the phone's order: on Windows CE 5 and later from
// getCategories, before from the categories database. Names are of any length, never empty, and valid during the call
// only. A source that is missing or fails, be it by an exception, adds nothing, or what came before the failure.
// getDeviceType must have run. An exception of add's is passed on, with nothing left open.
void listAppointmentCategories(void (*add)(void *context, const wchar_t *name), void *context);
