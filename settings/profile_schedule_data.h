// timeData, the text in which the engine finds when to switch profiles, and what follows from it.
//
// Each entry is a profile's number, a comma, when, a comma, the time, and "§". For a timed switch, when is the digits of the
// days (1 is Monday) and the time as formatTimeOfDay writes it: "2,12345,07:30§". For an event, when is its name and the
// time is empty: "4,<Busy>,§".
#pragma once

#include "list_text.h"
#include "phone.h"

constexpr int weekdayCount = 7;

// The value is read into 2598 bytes, the terminator included; what is longer is cut.
constexpr size_t scheduleCapacity = 2598 / sizeof(WORD);

// ---- Reading ----

// The text is empty when there is no such value. False, and the text empty, when there may be one that could not be read.
// Throws OutOfMemory.
bool readSchedule(wchar_t (&text)[scheduleCapacity]);

// The fields of an entry, as they are written there; texts lie in the text that was parsed.
struct ScheduleEntry {
    int profile;           // whatever number the entry begins with, 0 without one
    const wchar_t *when;   // up to the second comma
    const wchar_t *time;   // all behind it
};

// Takes the next entry off rest, in place. False at the end, or where there is no "§" any more.
bool nextScheduleEntry(wchar_t *&rest, ScheduleEntry &entry);

// ---- Days ----

// The digits of the chosen days, Monday first; empty when there is none.
void formatDayDigits(wchar_t (&to)[weekdayCount + 1], const bool (&chosen)[weekdayCount]);

// Room for the names of all days in any language; more days than a week has are cut.
constexpr size_t dayNamesCapacity = 512;

// The short names of the digits' days in the current language, joined by commas; other characters are passed over.
void formatDayNames(wchar_t (&to)[dayNamesCapacity], const wchar_t *digits);

// ---- Writing ----

// Entries are taken up while the text is shorter than this; the last one may reach beyond it.
constexpr size_t scheduleLimit = 1220;

// timeData under construction. Large: for the heap.
struct ScheduleText {
    // The limit is passed by one entry at most: profile, two texts, two commas, "§" and the terminator.
    wchar_t text[scheduleLimit + 2 * scheduleCapacity + 4] = {};
    size_t length = 0;

    // Of when and time, scheduleCapacity - 1 characters are taken. False when the text has reached its limit already.
    bool add(int profile, const wchar_t *when, const wchar_t *time);
};

// Stores timeData at once; returns the registry status.
LONG writeSchedule(const wchar_t *text);

// ---- What follows for the general record ----

// No profile for ActiveSync and external power, and no switching by appointments.
void resetScheduleSettings();

// Whether an event's name stands for appointments: a category, or a state of an appointment. Leaving a place counts as well.
bool isAppointmentEvent(const wchar_t *name);

// Sets activeSyncProfile and ACPowerProfile from the entries of a text that was built here; without an entry they stay.
void takeProfilesFrom(const wchar_t *text);
