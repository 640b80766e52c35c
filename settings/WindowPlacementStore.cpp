#include "settings/WindowPlacementStore.h"

#include "base/Handles.h"
#include "settings/RegistryValues.h"

#include <algorithm>
#include <cstring>

namespace krn {
namespace {

std::optional<std::wstring> CopyPath(const wchar_t* path)
{
    if (!path)
        return std::nullopt;
    return path;
}

RECT VirtualScreen()
{
    const LONG left = GetSystemMetrics(SM_XVIRTUALSCREEN);
    const LONG top = GetSystemMetrics(SM_YVIRTUALSCREEN);
    return {left, top, left + GetSystemMetrics(SM_CXVIRTUALSCREEN), top + GetSystemMetrics(SM_CYVIRTUALSCREEN)};
}

// The top and bottom steps write the other edge than the left and right ones
// do; placements have always come back this way.
void ClampFull(RECT& rc, const RECT& screen)
{
    const LONG width = rc.right - rc.left;
    const LONG height = rc.bottom - rc.top;
    if (rc.left < screen.left) {
        rc.left = screen.left;
        rc.right = screen.left + width;
    }
    if (rc.left > screen.right) {
        rc.right = screen.right;
        rc.left = screen.right - width;
    }
    if (rc.top < screen.top)
        rc.top = screen.top + height;
    if (rc.top > screen.bottom)
        rc.bottom = screen.bottom - height;
}

LONG ClampCoordinate(LONG value, LONG low, LONG high)
{
    value = std::max(value, low);
    return value > high ? high / 2 : value;
}

} // namespace

ShortPlacement WindowPlacementStore::Stored::brief() const
{
    ShortPlacement fields;
    std::memcpy(&fields, &full, sizeof fields);
    return fields;
}

WindowPlacementStore::WindowPlacementStore(const wchar_t* subkey, HKEY root) : subkey_(CopyPath(subkey))
{
    root_ = subkey_ ? root : nullptr;
}

int WindowPlacementStore::SetKey(const wchar_t* subkey, HKEY root)
{
    subkey_ = CopyPath(subkey);
    root_ = root;
    return subkey_ ? 1 : 0;
}

DWORD WindowPlacementStore::SavePlacement(HWND window) const
{
    if (!root_)
        return ERROR_INVALID_DATA;
    WINDOWPLACEMENT placement{};
    placement.length = sizeof placement;
    GetWindowPlacement(window, &placement);
    base::unique_hkey key;
    const LSTATUS status =
        RegCreateKeyExW(root_, subkey_ ? subkey_->c_str() : nullptr, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.put(), nullptr);
    if (status != ERROR_SUCCESS)
        return static_cast<DWORD>(status);
    return static_cast<DWORD>(RegSetValueExW(key.get(), registry::kWindowPlacement.name, 0, REG_BINARY,
                                             reinterpret_cast<const BYTE*>(&placement), sizeof placement));
}

DWORD WindowPlacementStore::Read(const wchar_t* valueName, bool clamp, Stored* stored) const
{
    if (!subkey_ || !root_)
        return ERROR_INVALID_DATA;
    std::memset(&stored->full, 0, sizeof stored->full);
    stored->full.length = sizeof stored->full;
    stored->size = sizeof stored->full;
    {
        base::unique_hkey key;
        LSTATUS status = RegOpenKeyExW(root_, subkey_->c_str(), 0, KEY_ALL_ACCESS, key.put());
        if (status != ERROR_SUCCESS)
            return static_cast<DWORD>(status);
        status = RegQueryValueExW(key.get(), valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(&stored->full),
                                  &stored->size);
        if (status != ERROR_SUCCESS)
            return static_cast<DWORD>(status);
    }
    if (!clamp)
        return ERROR_SUCCESS;
    const RECT screen = VirtualScreen();
    if (stored->isFull()) {
        ClampFull(stored->full.rcNormalPosition, screen);
    } else {
        ShortPlacement fields = stored->brief();
        fields.x = ClampCoordinate(fields.x, screen.left, screen.right);
        fields.y = ClampCoordinate(fields.y, screen.top, screen.bottom);
        std::memcpy(&stored->full, &fields, sizeof fields);
    }
    return ERROR_SUCCESS;
}

DWORD WindowPlacementStore::RestorePlacement(HWND window, const wchar_t* valueName, bool clamp) const
{
    Stored stored;
    const DWORD status = Read(valueName, clamp, &stored);
    if (status != ERROR_SUCCESS)
        return status;
    if (stored.isFull()) {
        SetWindowPlacement(window, &stored.full);
    } else {
        const ShortPlacement fields = stored.brief();
        SetWindowPos(window, nullptr, fields.x, fields.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
        ShowWindow(window, fields.showCmd);
    }
    return ERROR_SUCCESS;
}

DWORD WindowPlacementStore::ReadPlacement(WINDOWPLACEMENT* placement, const wchar_t* valueName, bool clamp) const
{
    Stored stored;
    const DWORD status = Read(valueName, clamp, &stored);
    if (status != ERROR_SUCCESS)
        return status;
    std::memcpy(placement, &stored.full, stored.isFull() ? sizeof stored.full : sizeof(ShortPlacement));
    return ERROR_SUCCESS;
}

} // namespace krn
