#include "ui/main/MonitorControl.h"

#include "base/Com.h"
#include "base/Handles.h"
#include "config/Locations.h"
#include "app/DialogLook.h"

#include "Kestrune.h"

namespace krn {
namespace {

constexpr wchar_t kDisableQuestion[] =
    L"Are you sure you want to disable Kestrune™?\nDisabled program will not alert you if a folder size exceeds "
    L"specified limits.";

struct Appearance {
    const wchar_t* text;
    COLORREF textColor;
    COLORREF hoverColor;
    uint32_t flags;
    bool handCursor;
};
constexpr Appearance kRunning{L"Active", RGB(0x00, 0x64, 0x00), RGB(0x00, 0x96, 0x00),
                              acl::Hyperlink_Settings::kUnderline, true};
constexpr Appearance kStopped{L"Inactive", RGB(0x64, 0x00, 0x00), RGB(0x96, 0x00, 0x00),
                              acl::Hyperlink_Settings::kUnderline, true};
constexpr Appearance kSwitching{L"Please wait ...", RGB(0x64, 0x64, 0x64), RGB(0x64, 0x64, 0x64), 0, false};

// The presence test: the watcher holds its mutex exactly while it runs. The
// mutex is only opened, never waited on.
base::unique_kernel_handle OpenWatcherMutex(DWORD access)
{
    return base::unique_kernel_handle(OpenMutexW(access, FALSE, kWatcherMutexName));
}

template <typename Interface>
base::com_ptr<Interface> CreateServerObject(const CLSID& clsid)
{
    base::com_ptr<Interface> object;
    CoCreateInstance(clsid, nullptr, CLSCTX_LOCAL_SERVER, __uuidof(Interface), object.put_void());
    return object;
}

// The folder's current size as the engine reports it; 0 when it cannot be had.
uint64_t TotalSize(const FolderEntry& entry)
{
    UINT64 size = 0;
    if (const auto engine = CreateServerObject<ISizeEngine>(CLSID_SizeEngine)) {
        const base::unique_bstr path(entry.path ? entry.path->c_str() : nullptr);
        engine->GetTotalSize(path.get(), &size);
    }
    return size;
}

} // namespace

void MonitorControl::Start(HWND window, HWND link, HCURSOR handCursor)
{
    window_ = window;
    link_ = link;
    handCursor_ = handCursor;
    SetTimer(window_, kRefreshTimer, kRefreshMs, nullptr);
    Refresh();
}

void MonitorControl::OnTimer(UINT_PTR id)
{
    if (id == kRefreshTimer)
        Refresh();
    else if (id == kSwitchTimer)
        EndSwitchWait();
}

void MonitorControl::Refresh()
{
    RefreshSizes();
    RefreshWatcherState();
}

// One engine object per folder, created and released on every refresh, so
// that an engine started, stopped or re-registered meanwhile is always the
// one asked. The list is repainted once, not once per row.
void MonitorControl::RefreshSizes()
{
    for (int row = 0; row < folders_.RowCount(); ++row) {
        const FolderEntry* entry = folders_.EntryAt(row);
        if (!entry)
            continue;
        wchar_t text[kFormatSizeChars];
        folders_.SetSizeText(row, FormatSize(TotalSize(*entry), text));
    }
    InvalidateRect(folders_.view().GetListWindow(), nullptr, TRUE);
}

void MonitorControl::RefreshWatcherState()
{
    const bool running = static_cast<bool>(OpenWatcherMutex(MUTEX_MODIFY_STATE));
    const WatcherState seen = running ? kActive : kInactive;
    if (watcherState_ == seen)
        return;
    Show(running ? Look::Running : Look::Stopped);
    watcherState_ = seen;
    KillTimer(window_, kSwitchTimer);
    toggleBusy_ = false;
}

void MonitorControl::OnToggleWatcher()
{
    auto mutex = OpenWatcherMutex(MUTEX_MODIFY_STATE);
    // Creating the object starts a watcher that is not running.
    const auto watcher = CreateServerObject<IWatcherControl>(CLSID_WatcherControl);
    if (!watcher)
        return;
    if (mutex) {
        if (MessageBoxW(window_, kDisableQuestion, kMainWindowTitle, MB_YESNO | MB_ICONQUESTION) != IDYES)
            return;
        watcher->Disable();
        mutex.reset();
    }
    toggleBusy_ = true;
    Show(Look::Switching);
    SetTimer(window_, kSwitchTimer, kSwitchWaitMs, nullptr);
}

// The text, the colours and the cursor stay as they are: the link keeps
// "Please wait ..." until the watcher's state really changes.
void MonitorControl::EndSwitchWait()
{
    KillTimer(window_, kSwitchTimer);
    toggleBusy_ = false;
}

void MonitorControl::NotifyWatcherReload()
{
    const auto mutex = OpenWatcherMutex(MUTEX_ALL_ACCESS);
    if (!mutex)
        return;
    if (const auto watcher = CreateServerObject<IWatcherControl>(CLSID_WatcherControl))
        watcher->ReloadConfiguration();
}

void MonitorControl::Show(Look look)
{
    const Appearance& appearance = look == Look::Running ? kRunning : look == Look::Stopped ? kStopped : kSwitching;
    linkSettings_.flags = appearance.flags;
    linkSettings_.textColor = appearance.textColor;
    linkSettings_.hoverColor = appearance.hoverColor;
    linkSettings_.cursor.reset(appearance.handCursor ? handCursor_ : nullptr, false);
    // WM_SETTEXT repaints the link with the new settings.
    SetWindowTextW(link_, appearance.text);
}

} // namespace krn
