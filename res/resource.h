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
