// Pixels of a 96 dots-per-inch screen on the real one.
#pragma once

#include "phone.h"

// Pixels for n units at 96 dots per inch, rounded to nearest (half up) for positive n.
int scaleX(int n);
int scaleY(int n);

// Dots per inch of the screen, read once per process; -1 when the screen has no device context to ask.
int horizontalResolution();
int verticalResolution();

// 1 when the screen is taller than wide (portrait), -1 when wider than tall (landscape), 0 when square.
int screenOrientation();

// Makes the next call read the resolution again; for tests that play several phones in one process.
void forgetResolution();
