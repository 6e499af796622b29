// The phone's user notifications.
#pragma once

#include "phone.h"

// Fills handles with those of at most count notifications; needed becomes the number of all there are.
PHONE_API BOOL WINAPI CeGetUserNotificationHandles(HANDLE *handles, DWORD count, DWORD *needed);
