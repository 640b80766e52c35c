#include "support/Gui.h"

#include "acl/Handles.h"
#include "support/Scratch.h"

#include <commctrl.h>
#include <shlobj.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace krn::test {

bool PumpUntil(const std::function<bool()>& done, DWORD timeoutMs)
{
    const DWORD start = GetTickCount();
    for (;;) {
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
        if (done())
            return true;
        const DWORD elapsed = GetTickCount() - start;
        if (elapsed >= timeoutMs)
            return done();
        MsgWaitForMultipleObjects(0, nullptr, FALSE, std::min<DWORD>(10, timeoutMs - elapsed), QS_ALLINPUT);
    }
}

std::wstring WindowText(HWND window)
{
    const int length = GetWindowTextLengthW(window);
    std::wstring text(static_cast<size_t>(length) + 1, L'\0');
    text.resize(static_cast<size_t>(GetWindowTextW(window, text.data(), length + 1)));
    return text;
}

std::wstring ClassName(HWND window)
{
    wchar_t name[256] = {};
    GetClassNameW(window, name, 256);
    return name;
}

namespace {

// The system's icons are shared handles, made on first use: Wine makes a
// second handle when threads ask for one at the same moment (message boxes
// opened together on threads of their own), and a box's handle then differs
// from the one a test loads. Loaded once before any test runs, every thread
// finds the same one.
const LPCWSTR kIcons[] = {IDI_EXCLAMATION, IDI_QUESTION, IDI_ERROR, IDI_INFORMATION};
const bool systemIconsLoaded = [] {
    for (LPCWSTR icon : kIcons)
        LoadIconW(nullptr, icon);
    return true;
}();

} // namespace

MessageBoxInfo ReadMessageBox(HWND box)
{
    MessageBoxInfo info;
    info.caption = WindowText(box);
    if (HWND text = GetDlgItem(box, 0xFFFF))
        info.text = WindowText(text);
    for (int id : {IDOK, IDCANCEL, IDABORT, IDRETRY, IDIGNORE, IDYES, IDNO, IDTRYAGAIN, IDCONTINUE})
        if (GetDlgItem(box, id))
            info.buttons.push_back(id);
    // The icon's control id differs between Windows and Wine: compare handles.
    for (HWND child = GetWindow(box, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        if (ClassName(child) != L"Static" || (GetWindowLongW(child, GWL_STYLE) & SS_TYPEMASK) != SS_ICON)
            continue;
        const HICON shown = reinterpret_cast<HICON>(SendMessageW(child, STM_GETICON, 0, 0));
        for (LPCWSTR icon : kIcons)
            if (shown && shown == LoadIconW(nullptr, icon))
                info.icon = icon;
    }
    return info;
}

namespace {
thread_local DialogDriver* activeDriver = nullptr;
constexpr wchar_t kMenuClass[] = L"#32768";  // the window of a popup menu

// What a step's caption is compared with: a popup menu has none, its class
// stands in for it.
std::wstring Title(HWND window)
{
    return ClassName(window) == kMenuClass ? kMenuClass : WindowText(window);
}
}

DialogDriver::DialogDriver(DWORD timeoutMs) : timeoutMs_(timeoutMs), lastProgress_(GetTickCount())
{
    activeDriver = this;
    timer_ = SetTimer(nullptr, 0, 15, &DialogDriver::OnTimer);
}

DialogDriver::~DialogDriver()
{
    if (timer_)
        KillTimer(nullptr, timer_);
    if (activeDriver == this)
        activeDriver = nullptr;
}

DialogDriver& DialogDriver::Expect(std::wstring caption, Action action)
{
    steps_.push_back({std::move(caption), std::move(action)});
    lastProgress_ = GetTickCount();
    return *this;
}

DialogDriver& DialogDriver::AnswerMessageBox(std::wstring caption, int button, MessageBoxInfo* seen)
{
    return Expect(std::move(caption), [button, seen](HWND box) {
        if (seen)
            *seen = ReadMessageBox(box);
        Click(box, button);
    });
}

DialogDriver& DialogDriver::ChooseFromMenu(int position, MenuInfo* seen)
{
    return Expect(kMenuClass, [position, seen](HWND menuWindow) {
        const auto menu = reinterpret_cast<HMENU>(SendMessageW(menuWindow, MN_GETHMENU, 0, 0));
        for (UINT i = 0; seen && i < static_cast<UINT>(GetMenuItemCount(menu)); ++i) {
            wchar_t text[64] = {};
            GetMenuStringW(menu, i, text, 64, MF_BYPOSITION);
            seen->texts.push_back(text);
            seen->states.push_back(GetMenuState(menu, i, MF_BYPOSITION) & (MF_GRAYED | MF_DISABLED));
        }
        RECT r{};
        GetWindowRect(menuWindow, &r);
        if (seen)
            seen->topLeft = {r.left, r.top};
        for (int i = 0; i <= position; ++i)
            PostMessageW(menuWindow, WM_KEYDOWN, VK_DOWN, 0);
        PostMessageW(menuWindow, WM_KEYDOWN, position == kDismissMenu ? VK_ESCAPE : VK_RETURN, 0);
    });
}

void DialogDriver::Click(HWND dialog, int id)
{
    if (HWND control = GetDlgItem(dialog, id))
        PostMessageW(control, BM_CLICK, 0, 0);
    else
        PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), 0);
}

void CALLBACK DialogDriver::OnTimer(HWND, UINT, UINT_PTR, DWORD)
{
    if (activeDriver)
        activeDriver->Tick();
}

// An open popup menu holds the thread's input: it is on top wherever it is in
// the z-order.
HWND DialogDriver::TopWindow() const
{
    const DWORD thread = GetCurrentThreadId();
    HWND dialog = nullptr;
    for (HWND w = GetTopWindow(nullptr); w; w = GetWindow(w, GW_HWNDNEXT)) {
        if (GetWindowThreadProcessId(w, nullptr) != thread || !IsWindowVisible(w))
            continue;
        const std::wstring name = ClassName(w);
        if (name == kMenuClass)
            return w;
        if (!dialog && name == L"#32770" && IsWindowEnabled(w))
            dialog = w;
    }
    return dialog;
}

void DialogDriver::Tick()
{
    HWND top = TopWindow();
    if (lastActedOn_ && top == lastActedOn_ && IsWindow(top))
        return;  // still closing after the last step
    if (top && next_ < steps_.size() && Title(top) == steps_[next_].caption) {
        lastActedOn_ = top;
        lastProgress_ = GetTickCount();
        Step step = steps_[next_++];
        step.action(top);
        return;
    }
    if (GetTickCount() - lastProgress_ < timeoutMs_)
        return;
    // Timed out: say what was expected and what was there, and get out.
    std::wstring failure = next_ < steps_.size() ? L"expected a dialog \"" + steps_[next_].caption + L"\""
                                                 : std::wstring(L"no more dialogs expected");
    failure += top ? L", found \"" + Title(top) + L"\"" : std::wstring(L", found none");
    if (top) {
        failure += L" (ended)";
        if (ClassName(top) == kMenuClass) {
            EndMenu();
        } else {
            EndDialog(top, IDCANCEL);
            PostMessageW(top, WM_COMMAND, IDCANCEL, 0);
        }
        failures_.push_back(failure);
        lastProgress_ = GetTickCount() - timeoutMs_ + 500;  // retry the next one soon
    } else if (failures_.empty() || failures_.back() != failure) {
        failures_.push_back(failure);
    }
}

std::string Utf8(const std::wstring& text)
{
    std::string bytes(text.size() * 3, '\0');  // UTF-8 takes at most 3 bytes for a UTF-16 unit
    bytes.resize(WideCharToMultiByte(CP_UTF8, 0, text.data(), int(text.size()), bytes.data(), int(bytes.size()),
                                     nullptr, nullptr));
    return bytes;
}

std::wstring Wide(const std::string& utf8)
{
    std::wstring text(utf8.size(), L'\0');
    text.resize(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), int(utf8.size()), text.data(), int(text.size())));
    return text;
}

std::string DialogDriver::Report() const
{
    std::string report;
    for (const auto& f : failures_)
        report += Utf8(f) + "\n";
    if (next_ < steps_.size())
        report += "steps not reached: " + std::to_string(steps_.size() - next_) + ", next \"" +
                  Utf8(steps_[next_].caption) + "\"\n";
    return report;
}

std::wstring OpenedAddressLog()
{
    const char* log = std::getenv("KRN_OPENED_LOG");
    return WindowsPath(log ? log : "");
}

std::vector<std::string> OpenedAddresses()
{
    std::vector<std::string> lines;
    std::ifstream log(std::filesystem::path(OpenedAddressLog()), std::ios::binary);
    for (std::string line; std::getline(log, line);)
        lines.push_back(line.substr(0, line.find_last_not_of('\r') + 1));
    std::sort(lines.begin(), lines.end());
    return lines;
}

void SelectRow(HWND list, int row)
{
    constexpr UINT selected = LVIS_SELECTED | LVIS_FOCUSED;
    LVITEMW state{};
    state.stateMask = selected;
    SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(&state));
    if (row < 0)
        return;
    state.state = selected;
    SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&state));
}

HDROP MakeDrop(const std::vector<std::wstring>& names)
{
    std::wstring list;
    for (const auto& name : names)
        list += name + L'\0';
    HGLOBAL drop = GlobalAlloc(GHND, sizeof(DROPFILES) + (list.size() + 1) * sizeof(wchar_t));
    auto* files = static_cast<DROPFILES*>(GlobalLock(drop));
    *files = {sizeof(DROPFILES), {}, FALSE, TRUE};
    memcpy(files + 1, list.data(), list.size() * sizeof(wchar_t));
    GlobalUnlock(drop);
    return static_cast<HDROP>(drop);
}

COLORREF Pixels::at(int x, int y) const
{
    if (x < 0 || y < 0 || x >= width_ || y >= height_)
        return CLR_INVALID;
    const uint32_t p = data_[size_t(y) * width_ + x];
    return RGB((p >> 16) & 0xFF, (p >> 8) & 0xFF, p & 0xFF);
}

namespace {

// Runs `paint` on a 32-bpp top-down DIB section of the given size and returns
// what it holds afterwards.
Pixels Paint(int width, int height, const std::function<void(HDC)>& paint)
{
    Pixels pixels(std::max(width, 0), std::max(height, 0));
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB};
    void* bits = nullptr;
    const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
    const acl::unique_hbitmap bitmap(CreateDIBSection(dc.get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    if (pixels.empty() || !bits)
        return {};
    {
        const acl::SelectGuard select(dc.get(), bitmap.get());
        paint(dc.get());
    }
    GdiFlush();
    memcpy(pixels.bits(), bits, size_t(width) * height * 4);
    return pixels;
}

} // namespace

Pixels CaptureClient(HWND window)
{
    RECT rc{};
    GetClientRect(window, &rc);
    return Paint(rc.right, rc.bottom, [&](HDC dc) { PrintWindow(window, dc, PW_CLIENTONLY); });
}

Pixels CaptureScreen(HWND window)
{
    UpdateWindow(window);
    RECT rc{};
    GetClientRect(window, &rc);
    return Paint(rc.right, rc.bottom, [&](HDC dc) {
        const acl::WindowDc screen(window);
        BitBlt(dc, 0, 0, rc.right, rc.bottom, screen.get(), 0, 0, SRCCOPY);
    });
}

Pixels Render(int width, int height, COLORREF fill, const std::function<void(HDC)>& paint)
{
    return Paint(width, height, [&](HDC dc) {
        const acl::unique_hbrush brush(CreateSolidBrush(fill));
        const RECT all{0, 0, width, height};
        FillRect(dc, &all, brush.get());
        paint(dc);
    });
}

} // namespace krn::test
