#include "ui/main/MonitorControl.h"

#include <windowsx.h>

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
    AddTooltip();
    SetTimer(window_, kRefreshTimer, kRefreshMs, nullptr);
    Refresh();
}

void MonitorControl::AddTooltip()
{
    const HWND list = folders_.view().GetListWindow();
    tooltip_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_NOPREFIX | TTS_ALWAYSTIP,
                               CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, window_, nullptr, nullptr,
                               nullptr);
    if (!tooltip_ || !list)
        return;  // the list works as before, without tips
    TTTOOLINFOW tool{sizeof tool};
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = window_;
    tool.uId = reinterpret_cast<UINT_PTR>(list);
    tool.lpszText = LPSTR_TEXTCALLBACKW;
    SendMessageW(tooltip_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
    SendMessageW(tooltip_, TTM_SETMAXTIPWIDTH, 0, 640);  // wide enough for both sentences on one line
    SetWindowSubclass(list, &MonitorControl::ListMouse, reinterpret_cast<UINT_PTR>(this), 0);
}

LRESULT CALLBACK MonitorControl::ListMouse(HWND list, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR self,
                                           DWORD_PTR) noexcept
{
    auto& control = *reinterpret_cast<MonitorControl*>(self);
    if (message == WM_MOUSEMOVE && control.tooltip_) {
        const int row = control.SizeCellAt({GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        if (row != control.tipRow_) {
            control.tipRow_ = row;
            SendMessageW(control.tooltip_, TTM_POP, 0, 0);  // the next show asks for this cell's text
        }
    } else if (message == WM_NCDESTROY) {
        RemoveWindowSubclass(list, &MonitorControl::ListMouse, self);
    }
    return DefSubclassProc(list, message, wParam, lParam);
}

int MonitorControl::SizeCellAt(POINT point) const
{
    LVHITTESTINFO hit{};
    hit.pt = point;
    const HWND list = folders_.view().GetListWindow();
    if (SendMessageW(list, LVM_SUBITEMHITTEST, 0, reinterpret_cast<LPARAM>(&hit)) < 0 ||
        hit.iSubItem != kColumnSize)
        return -1;
    return hit.iItem;
}

void MonitorControl::OnTooltipText(NMTTDISPINFOW& info)
{
    POINT cursor{};
    GetCursorPos(&cursor);
    ScreenToClient(folders_.view().GetListWindow(), &cursor);
    tipRow_ = SizeCellAt(cursor);
    tipText_ = tipRow_ >= 0 ? TooltipText(tipRow_) : std::wstring();
    info.lpszText = tipText_.data();
    info.szText[0] = L'\0';
    info.hinst = nullptr;
}

// Asked when the mouse rests on a cell, not on every refresh: the refresh's
// calls stay what they are.
std::wstring MonitorControl::TooltipText(int row) const
{
    const FolderEntry* entry = folders_.EntryAt(row);
    if (!entry || !entry->path)
        return {};
    const auto engine = CreateServerObject<ISizeEngine3>(CLSID_SizeEngine);
    if (!engine)
        return {};
    const base::unique_bstr path(entry->path->c_str());
    INT64 day = 0, week = 0;
    LONG known = 0, minutes = -1;
    if (FAILED(engine->GetGrowth(path.get(), &day, &week, &known)) || known == 0)
        return {};
    std::wstring text;
    if (known & 1)
        text = FormatSignedSize(day) + L" in 24 hours";
    if (known & 2)
        text += (text.empty() ? L"" : L", ") + FormatSignedSize(week) + L" in 7 days";
    text += L".";
    const std::uint64_t maximum = LimitBytes(entry->max.value, entry->max.units);
    if ((entry->flags & FolderEntry::HasMax) && SUCCEEDED(engine->GetMinutesUntil(path.get(), maximum, &minutes)) &&
        minutes >= 0)
        text += L" " + ReachesMaximumSentence(maximum, static_cast<std::uint32_t>(minutes));
    return text;
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
