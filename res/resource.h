// Resource identifiers of the program. Each area's resource script adds its
// own identifiers here, grouped by area.
#pragma once

// Application
#define IDI_APP                 128
#define IDD_MAIN                130

// Action kinds: the bitmaps shown in the folder list and the action lists
#define IDB_ACTION_MESSAGE      208
#define IDB_ACTION_LOG          211
#define IDB_ACTION_RUN          212

// Main menu, its per-command images and the hyperlink cursor
#define IDC_LINK_HAND           207
#define IDR_MAIN_MENU           204
#define IDB_MENU_IMAGES         217
#define IDR_MENU_IMAGES         218
#define ID_FILE_EXPORT          32773
#define ID_FILE_IMPORT          32774
#define ID_FILE_PROPERTIES      32775
#define ID_FILE_EXIT            32776
#define ID_HELP_HELP            32780
#define ID_HELP_WEBSITE         32781
#define ID_HELP_SUPPORT         32782
#define ID_HELP_ABOUT           32785
