// Identifiers of resources and controls, grouped by dialog. Plain macros: the resource compiler reads this too.
#pragma once

// ---- Icons (the lowest number is the program's icon) ----
#define IDI_PROGRAM 102
#define IDI_HELP 103
#define IDI_SCHEDULE 104
#define IDI_EVENT 130   // of the Profile Time dialog
#define IDI_UP 131
#define IDI_DOWN 132
#define IDI_EDIT_PROFILES 105
#define IDI_EXPORT 106
#define IDI_PLAY 107
#define IDI_FOLDER 140   // of the Find File dialog
#define IDI_FILE 141
#define IDI_OPTIONS 142   // of the About page
#define IDI_LOGGING 143
#define IDI_MAIL 144

// ---- Dialogs ----
#define IDD_OPTIONS 500
#define IDD_DISPLAY_PAGE 109
#define IDD_DISPLAY_PAGE_LANDSCAPE 195
#define IDD_ALARMS_PAGE 113
#define IDD_LIST_PAGE 154   // of the Advanced and the Profiles page
#define IDD_ADDON_PAGE 122
#define IDD_ABOUT_PAGE 120
#define IDD_ABOUT_PAGE_LANDSCAPE 194
#define IDD_PROFILE_TIME 173
#define IDD_PROFILE_TIME_LANDSCAPE 196
#define IDD_PROFILE_COPY 157
#define IDD_FIND_FILE 163
#define IDD_EDIT_PROFILES 172
#define IDD_OPTION_FILE 130
#define IDD_LOGGING 200

// ---- Any dialog ----
#define IDC_STATIC -1   // a control that is never addressed

// ---- Any page ----
#define IDC_HELP_ICON 1140

// ---- Alarms page ----
#define IDC_REPEAT_GROUP 1077
#define IDC_TONE_COUNT 1075
#define IDC_EVERY_TEXT 1078
#define IDC_INTERVAL 1072
#define IDC_REPEAT_TEXT 1261
#define IDC_REPETITIONS 1074
#define IDC_BATTERY_TEXT 1179
#define IDC_BATTERY 1181
#define IDC_VIBRATE_IF_MUTED 1177
#define IDC_VIBRATE_WITH_SOUND 1180
#define IDC_NO_BACKLIGHT 1294

// ---- Header of the Profiles page ----
#define IDC_PROFILE_SELECTOR 1253
#define IDC_SCHEDULE 1268
#define IDC_EDIT_PROFILES 1280
#define IDC_EXPORT 1351

// ---- List pages: the list, and the controls that edit its current row (1072, 1074 and 1261 as above) ----
#define IDC_MAIN_LIST 1266
#define IDC_SPARE_TABS 1077   // only ever hidden, as the other spare ones
#define IDC_DESCRIPTION 1287
#define IDC_CHOICE 1289
#define IDC_PLAY 1290
#define IDC_PROGRAM 1291
#define IDC_TRACKBAR 1292
#define IDC_ALARM_SOUND 1293
#define IDC_SPARE_COMBO 1294    // only ever hidden
#define IDC_SWITCH 1295
#define IDC_RING_TONE 1297
#define IDC_SPARE_COMBO2 1310   // only ever hidden
#define IDC_BROWSE 1325
#define IDC_LED 1326
#define IDC_POPUP 1327
#define IDC_VIBRATE 1328
#define IDC_SIM_CODE 1355

// ---- Find File dialog ----
#define IDC_FILE_LIST 1319
#define IDC_FOLDER_PATH 1320
#define IDC_ROOT_FOLDER 1321
#define IDC_FOLDER_ABOVE 1322

// ---- Edit Profiles dialog: seven check boxes and edit fields with successive numbers ----
#define IDC_PROFILE_VISIBLE 1343
#define IDC_PROFILE_NAME 1350
#define IDC_VISIBLE_TEXT 1368
#define IDC_RENAME_TEXT 1369
#define IDC_MENU_AS_TEXT 1376

// ---- Profile Copy Settings dialog ----
#define IDC_COPY_SOURCE 1257
#define IDC_OVERWRITE 1406
#define IDC_COPY_TARGET 1409

// ---- Network Snapshots dialog ----
#define IDC_SNAPSHOT_LIST 1277

// ---- Profile Time dialog ----
#define IDC_SWITCH_PROFILE 1253
#define IDC_TO_TIME_MODE 1268
#define IDC_SWITCH_TIME 1270
#define IDC_SWITCH_LIST 1276
#define IDC_ADD_SWITCH 1278
#define IDC_DELETE_SWITCH 1279
#define IDC_MONDAY 1300   // to 1306, Sunday
#define IDC_EVENT 1338
#define IDC_TO_EVENT_MODE 1339
#define IDC_EVENT_HINT 1341
#define IDC_SWITCH_UP 1365
#define IDC_SWITCH_DOWN 1366
#define IDC_SWITCH_TO_TEXT 1600
#define IDC_ON_TEXT 1601
#define IDC_AT_TEXT 1602

// ---- Option file editor ----
#define IDC_OPTION_TEXT 1097

// ---- About page ----
#define IDC_PROGRAM_ICON 1155
#define IDC_VERSION 1156
#define IDC_MAIL_ICON 1157
#define IDC_OPTION_FILE_ICON 1098
#define IDC_OPTION_FILE_TEXT 1158
#define IDC_LOGGING_ICON 1193
#define IDC_LOGGING_TEXT 1159

// ---- Logging dialog ----
#define IDC_LOG_BASIC 1432
#define IDC_LOG_DETAILED 1434
#define IDC_LOG_SIGNAL 1435
// ---- Export / Import dialog ----
#define IDD_EXPORT_IMPORT 186
#define IDC_EXPORT_TEXT 1367
// Import is the default button and Export the cancel button, so their identifiers are IDOK and IDCANCEL.
#define IDC_RESTORE 3
#define IDC_BACKUP 4
#define IDC_COPY_PROFILE 1406

// ---- Backup / Restore dialog ----
#define IDD_BACKUP 119
#define IDC_BACKUP_PATH 1069
#define IDC_BACKUP_BROWSE 1070
