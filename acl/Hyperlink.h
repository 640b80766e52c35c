// Subclassing of controls a dialog template created, and the static text that
// acts as a hyperlink on top of it.
#pragma once

#include "acl/Handles.h"

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

namespace acl {

// Takes over an existing control's window procedure. The object is found from
// the window through a property named by a process-wide global atom, which
// lives while at least one control is subclassed.
class SubclassControlBase {
public:
    SubclassControlBase() = default;
    SubclassControlBase(const SubclassControlBase&) = delete;
    SubclassControlBase& operator=(const SubclassControlBase&) = delete;

    // 0, or the Win32 error of the atom or of replacing the procedure.
    virtual DWORD Attach(HWND control, LONG_PTR addStyle);
    virtual DWORD Detach();
    virtual ~SubclassControlBase();
    virtual LRESULT WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) = 0;

    bool attached() const { return previousProc_ != nullptr; }
    HWND window() const { return window_; }
    WNDPROC previousProc() const { return previousProc_; }

    // The process-wide state: the atom (0 while no control is subclassed) and
    // the number of subclassed controls.
    static ATOM Atom();
    static LONG UserCount();
    // The procedure every subclassed control gets. noexcept: an exception
    // must not unwind through the system's dispatch; it ends in terminate,
    // which the crash reporter turns into its crash report.
    static LRESULT CALLBACK SharedWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

protected:
    // Detach's work, without the virtual dispatch; true when it undid a subclassing.
    bool Unsubclass();
    LRESULT CallPrevious(HWND window, UINT message, WPARAM wParam, LPARAM lParam) const;

private:
    HWND window_ = nullptr;
    WNDPROC previousProc_ = nullptr;
};

// How the links of one dialog look. Shared by those links, not owned by them.
// The font and the cursor are the record's to release only when it was given
// them to keep (a dialog that keeps its own cursor lends it).
class Hyperlink_Settings {
public:
    static constexpr uint32_t kUnderline = 0x01;  // underline the text while hovered

    Hyperlink_Settings();
    Hyperlink_Settings(const Hyperlink_Settings&) = delete;
    Hyperlink_Settings& operator=(const Hyperlink_Settings&) = delete;
    virtual ~Hyperlink_Settings() = default;

    uint32_t flags = 0;
    COLORREF background;
    COLORREF textColor = RGB(0x00, 0x00, 0xC8);
    COLORREF hoverColor = RGB(0x00, 0x00, 0xFF);
    flagged_hcursor cursor;  // none leaves the cursor alone
    flagged_hfont font;      // none uses the control's own font
};

// A static text that changes colour under the mouse and, on a click, opens its
// target with the shell or sends a command to its dialog.
class Hyperlink : public SubclassControlBase {
public:
    static constexpr uint32_t kOpen = 0x01;           // shell, no owner window
    static constexpr uint32_t kOpenWithParent = 0x02; // shell, the dialog as owner
    static constexpr uint32_t kCommand = 0x04;        // WM_COMMAND to the dialog

    Hyperlink();
    ~Hyperlink() override;

    DWORD Detach() override;
    LRESULT WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override;

    // A link that opens `target` (modes 1, 2) or sends `commandId` (mode 4).
    // 0, or 87 when the mode has none of 1, 2, 4.
    DWORD Init(uint32_t mode, HWND control, HWND parent, const wchar_t* target, Hyperlink_Settings* settings);
    DWORD Init(uint32_t mode, HWND control, HWND parent, uint32_t commandId, Hyperlink_Settings* settings);

    uint32_t mode() const { return mode_; }
    uint32_t commandId() const { return commandId_; }
    const std::optional<std::wstring>& target() const { return target_; }
    bool hovering() const { return hovering_; }

private:
    DWORD InitCommon(uint32_t mode, HWND control, HWND parent, const wchar_t* targetOrId,
                     Hyperlink_Settings* settings);
    void CancelTracking();
    void OnMouseMove();
    void OnMouseLeave();
    void OnClick();
    void Paint();

    uint32_t mode_ = 0;
    HWND parent_ = nullptr;
    uint32_t commandId_ = 0;
    std::optional<std::wstring> target_;
    Hyperlink_Settings* settings_ = nullptr;
    TRACKMOUSEEVENT track_{};
    bool hovering_ = false;
};

} // namespace acl
