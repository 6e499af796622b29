// What support is told about the device: in a mail, and in the diagnostic log.
#pragma once

#include "phone.h"

constexpr wchar_t supportAddress[] = L"support@tessaryn.example";

// Starts the phone's mail program with a mail to support that says whose device it is and what runs on it. version is the
// program's name and version.
void sendSupportMail(const wchar_t *version);

// Writes the description of the device and of the alarm settings into the log, line by line.
void writeSupportInfo(const wchar_t *version);
