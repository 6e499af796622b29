// Which profile the Profiles page shows, for the dialogs that work on it.
#pragma once

// 0..6; the one given at start until the page has been opened.
extern int currentProfile;
