#include "shell_values.h"

int startProfile;
HINSTANCE appInstance;
HWND mainWindow;

HWND optionsDialog;
HWND currentPage;
bool listEdited;

HBRUSH backgroundBrush;
HFONT headerFont;
HFONT linkFont;
IWMPPlayer *mediaPlayer;

DWORD skinTextColor;
DWORD skinAlarmColor;
DWORD skinScrollColor;

bool skinChanged;
bool settingsImported;
bool mailSettingsChanged;
