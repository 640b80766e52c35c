// The main window's tie to the watcher and the size engine: the status line
// ("Kestrune is Active" / "Inactive"), which also switches the watcher off
// and on, the request to reload after Apply, and the "Size" column, refreshed
// every three seconds. The watcher is running exactly when its presence mutex
// exists; the servers are called synchronously and their results ignored.
#pragma once

#include "acl/Hyperlink.h"
#include "ui/main/FolderList.h"
#include "idl/PresenceMutex.h"

#include <windows.h>

#include <commctrl.h>

#include <cstdint>
#include <string>

namespace krn {

class MonitorControl {
public:
    static constexpr UINT_PTR kRefreshTimer = 1;
    static constexpr UINT kRefreshMs = 3000;
    static constexpr UINT_PTR kSwitchTimer = 2;
    static constexpr UINT kSwitchWaitMs = 60000;

    // What the status link last showed.
    enum WatcherState : uint8_t {
        kInactive = 0,
        kActive = 1,
        kUnknown = 2,
    };

    // The link's settings are the main window's; the hand cursor is lent.
    MonitorControl(FolderList& folders, acl::Hyperlink_Settings& linkSettings) noexcept
        : folders_(folders), linkSettings_(linkSettings)
    {
    }
    MonitorControl(const MonitorControl&) = delete;
    MonitorControl& operator=(const MonitorControl&) = delete;

    // Starts the refresh timer on `window` and refreshes once at once. The
    // link is the status control, `handCursor` the cursor it shows while it
    // can be clicked.
    void Start(HWND window, HWND link, HCURSOR handCursor);
    // WM_TIMER: the refresh, or the end of the wait after a switch.
    void OnTimer(UINT_PTR id);
    // The sizes of every folder, then the watcher's state.
    void Refresh();
    // A click on the status link: switches the watcher off (after asking) or on.
    void OnToggleWatcher();
    // The switch has taken a minute: clicks are accepted again, the text stays.
    void EndSwitchWait();
    // After config.xml was saved: a running watcher reads it again. A watcher
    // that is not running is not started.
    void NotifyWatcherReload();

    // The Size cells' tooltip: the folder's growth over a day and a week and,
    // when it has a maximum and the engine can tell, when it reaches it. From
    // the size engine's history when the mouse rests on the cell; without an
    // engine, or with nothing known, no tooltip.
    void OnTooltipText(NMTTDISPINFOW& info);
    // The text for row `row`; empty for none.
    std::wstring TooltipText(int row) const;

    WatcherState watcherState() const noexcept { return watcherState_; }
    // True from a switch until the watcher's state is seen to change or a
    // minute has passed; clicks are ignored meanwhile.
    bool toggleBusy() const noexcept { return toggleBusy_; }

private:
    enum class Look { Running, Stopped, Switching };

    void RefreshSizes();
    void RefreshWatcherState();
    void Show(Look look);
    void AddTooltip();
    // The list's mouse: a tip for another cell is asked for again.
    static LRESULT CALLBACK ListMouse(HWND list, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR self,
                                      DWORD_PTR) noexcept;
    // The row whose Size cell is under `point` (list coordinates); -1: none.
    int SizeCellAt(POINT point) const;

    FolderList& folders_;
    acl::Hyperlink_Settings& linkSettings_;
    HWND window_ = nullptr;
    HWND link_ = nullptr;
    HCURSOR handCursor_ = nullptr;
    HWND tooltip_ = nullptr;  // a child of the main window: destroyed with it
    int tipRow_ = -1;         // the row the tooltip last spoke of
    std::wstring tipText_;
    WatcherState watcherState_ = kUnknown;
    bool toggleBusy_ = false;
};

} // namespace krn
