// Reading settings from the exchange file.
#pragma once

// Asks, reads the file into the registry, and loads the general and the add-on record anew. Returns 1 when the file was
// read, whatever was in it; 0 when the install directory is not known, there is no file, the user says no, or there is no
// memory. quiet suppresses all messages and the question. The caller sets settingsImported.
int importSettings(int quiet);
