// Driving real windows from tests: a message pump that waits for a condition,
// a driver that answers modal dialogs and message boxes raised by the code
// under test, and pixel capture of a window.
#pragma once

#include <windows.h>
#include <shellapi.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace krn::test {

// Dispatches this thread's messages until `done` returns true or the time is
// up; returns the last value of `done`.
bool PumpUntil(const std::function<bool()>& done, DWORD timeoutMs = 5000);

std::wstring WindowText(HWND window);
std::string Utf8(const std::wstring& text);
std::wstring Wide(const std::string& utf8);
std::wstring ClassName(HWND window);

// What a message box shows.
struct MessageBoxInfo {
    std::wstring caption;
    std::wstring text;
    std::vector<int> buttons;  // ids of the buttons present: IDOK, IDCANCEL, IDYES, IDNO, ...
    LPCWSTR icon = nullptr;    // IDI_EXCLAMATION, IDI_QUESTION, IDI_ERROR, IDI_INFORMATION or null
};
MessageBoxInfo ReadMessageBox(HWND box);

// What a popup menu offers, read from its window (class "#32768").
struct MenuInfo {
    std::vector<std::wstring> texts;
    std::vector<UINT> states;  // the MF_GRAYED | MF_DISABLED bits of each item
    POINT topLeft{};           // of the menu's window, on the screen
};

// Answers the modal dialogs and message boxes that appear on this thread, in
// order. A thread timer fires inside the dialog's own modal loop; each tick
// looks at the topmost visible, enabled dialog of the thread and, when its
// caption is the one the next step expects, runs the step on it. A step acts
// by posting (never sending) so that nested modal loops do not re-enter the
// timer. When nothing expected shows up in time, the failure is recorded and
// whatever dialog is on top is ended, so the test fails instead of hanging.
// While a popup menu is open (TrackPopupMenu runs a loop of its own, where
// the timer fires too), the menu is what is on top.
class DialogDriver {
public:
    using Action = std::function<void(HWND dialog)>;
    static constexpr int kDismissMenu = -1;

    explicit DialogDriver(DWORD timeoutMs = 10000);
    ~DialogDriver();
    DialogDriver(const DialogDriver&) = delete;
    DialogDriver& operator=(const DialogDriver&) = delete;

    // Adds a step for the next dialog whose caption is exactly `caption`.
    DialogDriver& Expect(std::wstring caption, Action action);
    // Adds a step that reads a message box and presses `button` on it.
    DialogDriver& AnswerMessageBox(std::wstring caption, int button, MessageBoxInfo* seen = nullptr);
    // Adds a step for the next popup menu (its caption in a report: "#32768"):
    // reads it, then moves onto the item at `position` with the keyboard
    // (greyed items are moved onto too) and chooses it, or dismisses the menu
    // for kDismissMenu.
    DialogDriver& ChooseFromMenu(int position, MenuInfo* seen = nullptr);

    // "" when every step ran and nothing failed; otherwise a description.
    std::string Report() const;

    // Posts BM_CLICK to a dialog's control.
    static void Click(HWND dialog, int id);

private:
    static void CALLBACK OnTimer(HWND, UINT, UINT_PTR id, DWORD);
    void Tick();
    HWND TopWindow() const;

    struct Step {
        std::wstring caption;
        Action action;
    };
    std::vector<Step> steps_;
    size_t next_ = 0;
    std::vector<std::wstring> failures_;
    HWND lastActedOn_ = nullptr;
    UINT_PTR timer_ = 0;
    DWORD timeoutMs_;
    DWORD lastProgress_;
};

// What the stand-in opener of a test built with FAKE_OPENER recorded: the
// addresses the program opened with the shell, one per line, sorted (each
// opening starts a launcher of its own, so their order is not kept).
std::wstring OpenedAddressLog();
std::vector<std::string> OpenedAddresses();

// Selects exactly `row` of a list view (none when -1), as a click does.
void SelectRow(HWND list, int row);

// What the shell hands over on a drop of these files: a DROPFILES block with
// the wide names, each null-terminated, and one more null. The receiver of
// WM_DROPFILES releases it with DragFinish.
HDROP MakeDrop(const std::vector<std::wstring>& names);

// A window's pixels, as COLORREF values (0x00BBGGRR).
class Pixels {
public:
    Pixels() = default;
    Pixels(int width, int height) : width_(width), height_(height), data_(size_t(width) * height) {}
    int width() const { return width_; }
    int height() const { return height_; }
    COLORREF at(int x, int y) const;
    uint32_t* bits() { return data_.data(); }
    bool empty() const { return data_.empty(); }

private:
    int width_ = 0;
    int height_ = 0;
    std::vector<uint32_t> data_;  // 0x00RRGGBB as stored by a 32-bpp DIB
};

// The client area through PrintWindow(PW_CLIENTONLY).
Pixels CaptureClient(HWND window);
// The client area as it is on screen (GetDC + BitBlt).
Pixels CaptureScreen(HWND window);
// Runs `paint` on a 32-bpp DIB of the given size, pre-filled with `fill`.
Pixels Render(int width, int height, COLORREF fill, const std::function<void(HDC)>& paint);

} // namespace krn::test
