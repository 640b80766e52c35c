// Resource identifiers of the program. Each area's resource script adds its
// own identifiers here, grouped by area.
#pragma once

#ifndef IDC_STATIC
#define IDC_STATIC              (-1)
#endif

// Application
#define IDI_APP                 128
#define IDD_MAIN                130

// The header band shared by the main window and the folder properties dialog
#define IDC_HEADER_TITLE        1018
#define IDC_HEADER_LINE         1024
#define IDC_HEADER_TEXT         1025
#define IDC_HEADER_PICTURE      1026

// Commands on a list, shared by the main window and the folder properties dialog
#define IDC_ADD                 1003
#define IDC_EDIT                1042

// Main window: folder list, its commands, the watcher's status line and the
// pictures of the folder list
#define IDC_APPLY               3
#define IDC_FOLDER_LIST         1001
#define IDC_DELETE              1005
#define IDC_STATUS_LINE         1029
#define IDC_STATUS_LINK         1043
#define IDC_STATUS_LABEL        1044
#define IDB_MAIN_HEADER         205
#define IDB_FOLDER              206
#define IDB_LOCAL_FOLDER        210
#define IDB_DRIVE_ROOT          214
#define IDB_NETWORK_FOLDER      215
#define IDB_REMOVABLE_DRIVE     216

// Folder properties dialog
#define IDD_FOLDER              201
#define IDB_FOLDER_HEADER       202
#define IDC_FOLDER_PATH         1006
#define IDC_BROWSE              1007
#define IDC_MIN_VALUE           1009
#define IDC_MAX_VALUE           1010
#define IDC_MIN_UNIT            1011
#define IDC_MAX_UNIT            1013
#define IDC_REMOVE              1014
#define IDC_MIN_TEXT            1015
#define IDC_MIN_CHECK           1016
#define IDC_MAX_CHECK           1017
#define IDC_FOLDER_GROUP        1020
#define IDC_LIMITS_GROUP        1021
#define IDC_ACTIONS_GROUP       1022
#define IDC_MAX_TEXT            1023
#define IDC_MIN_TEXT_LABEL      1027
#define IDC_MAX_TEXT_LABEL      1028
#define IDC_ACTION_LIST         1030

// Run action dialog ("..." is IDC_BROWSE, as in the folder properties dialog)
#define IDD_RUN                 207
#define IDC_RUN_PATH            1031
#define IDC_RUN_PARAMS          1032
#define IDC_RUN_ICON            1033
#define IDC_RUN_HELP_LINK       1045

// Program properties dialog (the header band as above)
#define IDD_PROPERTIES          203
#define IDC_LOG_PATH            1000
#define IDC_CHOOSE_LOG          1002
#define IDC_START_WITH_WINDOWS  1004
#define IDC_DISABLE_ALERTS      1008
#define IDC_VIEW_LOG            1012

// About dialog: the program's icon, its version and the maker's pages
#define IDD_ABOUT               209
#define IDC_HOME_LINK           1000
#define IDC_HOME_LABEL          1001
#define IDC_ABOUT_VERSION       1004
#define IDC_SUPPORT_LABEL       1005
#define IDC_SUPPORT_LINK        1006
#define IDC_ABOUT_ICON          1007
#define IDC_CONTACT_LABEL       1021
#define IDC_CONTACT_LINK        1022

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
