#include "acl/Hyperlink.h"

#include "TestDialog.h"
#include "resource.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using krn::test::Pixels;

constexpr WORD kLinkId = 1043;
constexpr WORD kOtherId = 1044;
constexpr wchar_t kAtomName[] = L"{D41FEDDC-0584-4030-B19E-2E4AFFC434CD}";
constexpr COLORREF kBackground = RGB(0x8A, 0xA6, 0xD6);
constexpr COLORREF kText = RGB(0, 0, 200);
constexpr COLORREF kHover = RGB(255, 0, 0);

// A dialog with two static texts that records the commands it receives.
class LinkDialog {
public:
    LinkDialog()
    {
        acl::test::DialogTemplate t(160, 50);
        t.Add(acl::test::kStatic, L"link link", kLinkId, SS_LEFT, 10, 10, 140, 12)
            .Add(acl::test::kStatic, L"other", kOtherId, SS_LEFT, 10, 30, 140, 12);
        window_ = acl::test::CreateTestDialog(t, &Proc, this, 420, 20);
    }
    ~LinkDialog() { DestroyWindow(window_); }
    HWND window() const { return window_; }
    HWND item(int id) const { return GetDlgItem(window_, id); }

    struct Command {
        WPARAM wParam;
        LPARAM lParam;
        bool operator==(const Command&) const = default;
    };
    std::vector<Command> commands;

private:
    static INT_PTR CALLBACK Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
    {
        if (message == WM_INITDIALOG)
            SetWindowLongPtrW(window, DWLP_USER, lParam);
        auto* self = reinterpret_cast<LinkDialog*>(GetWindowLongPtrW(window, DWLP_USER));
        if (message == WM_COMMAND && self) {
            self->commands.push_back({wParam, lParam});
            return TRUE;
        }
        return message == WM_INITDIALOG;
    }

    HWND window_ = nullptr;
};

// Sits under the link as its "previous" procedure and records what reaches it.
struct Recorder {
    static inline std::vector<UINT> seen;
    static inline WNDPROC original = nullptr;
    static LRESULT CALLBACK Proc(HWND w, UINT m, WPARAM wp, LPARAM lp)
    {
        seen.push_back(m);
        return CallWindowProcW(original, w, m, wp, lp);
    }
    static void Install(HWND control)
    {
        seen.clear();
        original = reinterpret_cast<WNDPROC>(
            SetWindowLongPtrW(control, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Proc)));
    }
    static bool Saw(UINT m) { return std::find(seen.begin(), seen.end(), m) != seen.end(); }
};

WNDPROC ProcOf(HWND window)
{
    return reinterpret_cast<WNDPROC>(GetWindowLongPtrW(window, GWLP_WNDPROC));
}

bool HasUpdate(HWND window)
{
    return GetUpdateRect(window, nullptr, FALSE) != FALSE;
}

class HyperlinkTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dialog.window());
        link = dialog.item(kLinkId);
        LOGFONTW lf{};
        lf.lfHeight = -13;
        lf.lfWeight = FW_BOLD;
        lf.lfQuality = NONANTIALIASED_QUALITY;  // exact colours in the pixels
        wcscpy(lf.lfFaceName, L"Tahoma");
        settings.font = CreateFontIndirectW(&lf);
        settings.flags = acl::Hyperlink_Settings::kUnderline | acl::Hyperlink_Settings::kOwnsFont;
        settings.background = kBackground;
        settings.textColor = kText;
        settings.hoverColor = kHover;
    }
    void TearDown() override { EXPECT_EQ(acl::SubclassControlBase::UserCount(), 0) << "a link stayed attached"; }

    // The longest run of one colour in any row.
    static int LongestRun(const Pixels& p, COLORREF color)
    {
        int best = 0;
        for (int y = 0; y < p.height(); ++y) {
            int run = 0;
            for (int x = 0; x < p.width(); ++x) {
                run = p.at(x, y) == color ? run + 1 : 0;
                best = std::max(best, run);
            }
        }
        return best;
    }
    static int Count(const Pixels& p, COLORREF color)
    {
        int n = 0;
        for (int y = 0; y < p.height(); ++y)
            for (int x = 0; x < p.width(); ++x)
                n += p.at(x, y) == color;
        return n;
    }
    int TextWidth()
    {
        HDC dc = GetDC(link);
        HGDIOBJ old = SelectObject(dc, settings.font);
        SIZE size{};
        GetTextExtentPoint32W(dc, L"link link", 9, &size);
        SelectObject(dc, old);
        ReleaseDC(link, dc);
        return size.cx;
    }

    LinkDialog dialog;
    HWND link = nullptr;
    acl::Hyperlink_Settings settings;
};

TEST_F(HyperlinkTest, HoverChangesColourAndUnderlinesUntilTheMouseLeaves)
{
    acl::Hyperlink h;
    ASSERT_EQ(h.Init(acl::Hyperlink::kCommand, link, dialog.window(), kLinkId, &settings), 0u);
    const int width = TextWidth();

    InvalidateRect(link, nullptr, FALSE);  // Init itself does not repaint
    const Pixels normal = krn::test::CaptureScreen(link);
    EXPECT_GT(Count(normal, kText), 20);
    EXPECT_EQ(Count(normal, kHover), 0);
    EXPECT_EQ(normal.at(normal.width() - 1, normal.height() - 1), kBackground);
    EXPECT_EQ(normal.at(0, 0), kBackground) << "text starts at x = 1";
    EXPECT_LT(LongestRun(normal, kText), width - 2);

    SendMessageW(link, WM_MOUSEMOVE, 0, MAKELPARAM(3, 3));
    EXPECT_TRUE(h.hovering());
    const Pixels hovered = krn::test::CaptureScreen(link);
    EXPECT_EQ(Count(hovered, kText), 0);
    EXPECT_GE(LongestRun(hovered, kHover), width - 2) << "the underline spans the text";

    SendMessageW(link, WM_MOUSELEAVE, 0, 0);
    EXPECT_FALSE(h.hovering());
    const Pixels left = krn::test::CaptureScreen(link);
    EXPECT_EQ(Count(left, kHover), 0);
    EXPECT_EQ(Count(left, kText), Count(normal, kText));
}

TEST_F(HyperlinkTest, WithoutTheUnderlineFlagOnlyTheColourChanges)
{
    settings.flags = acl::Hyperlink_Settings::kOwnsFont;
    acl::Hyperlink h;
    h.Init(acl::Hyperlink::kCommand, link, dialog.window(), kLinkId, &settings);
    InvalidateRect(link, nullptr, FALSE);
    const Pixels normal = krn::test::CaptureScreen(link);
    SendMessageW(link, WM_MOUSEMOVE, 0, MAKELPARAM(3, 3));
    const Pixels hovered = krn::test::CaptureScreen(link);
    EXPECT_EQ(Count(hovered, kHover), Count(normal, kText));
    EXPECT_LT(LongestRun(hovered, kHover), TextWidth() - 2);
}

TEST_F(HyperlinkTest, AButtonUpAloneSendsTheCommandToTheParent)
{
    acl::Hyperlink h;
    ASSERT_EQ(h.Init(acl::Hyperlink::kCommand, link, dialog.window(), kLinkId, &settings), 0u);
    EXPECT_EQ(h.commandId(), kLinkId);
    EXPECT_FALSE(h.target());
    EXPECT_NE(GetWindowLongPtrW(link, GWL_STYLE) & SS_NOTIFY, 0) << "Init adds SS_NOTIFY";

    EXPECT_EQ(SendMessageW(link, WM_LBUTTONUP, 0, MAKELPARAM(2, 2)), 0);
    const std::vector<LinkDialog::Command> expected{{kLinkId, reinterpret_cast<LPARAM>(link)}};
    EXPECT_EQ(dialog.commands, expected);
}

TEST_F(HyperlinkTest, InitChecksTheModeAndKeepsTheTarget)
{
    acl::Hyperlink h;
    EXPECT_EQ(h.Init(8, link, dialog.window(), 5u, &settings), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_TRUE(h.attached()) << "the control stays subclassed";
    EXPECT_EQ(ProcOf(link), &acl::SubclassControlBase::SharedWindowProc);

    EXPECT_EQ(h.Init(acl::Hyperlink::kOpenWithParent, link, dialog.window(), L"https://example.invalid/", &settings),
              0u);
    ASSERT_TRUE(h.target());
    EXPECT_EQ(*h.target(), L"https://example.invalid/");
    EXPECT_EQ(h.commandId(), 0u);
    EXPECT_EQ(acl::SubclassControlBase::UserCount(), 1) << "Init detaches before it attaches again";
}

TEST_F(HyperlinkTest, MessagesItHandlesDoNotReachThePreviousProcedure)
{
    Recorder::Install(link);
    {
        acl::Hyperlink h;
        h.Init(acl::Hyperlink::kCommand, link, dialog.window(), kLinkId, &settings);
        EXPECT_EQ(h.previousProc(), &Recorder::Proc);

        // No cursor in the settings: 0, and nothing else is asked.
        EXPECT_EQ(SendMessageW(link, WM_SETCURSOR, reinterpret_cast<WPARAM>(link), HTCLIENT), 0);
        EXPECT_FALSE(Recorder::Saw(WM_SETCURSOR));
        settings.cursor = LoadCursorW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDC_LINK_HAND));
        ASSERT_TRUE(settings.cursor) << "cursor resource " << IDC_LINK_HAND;
        EXPECT_EQ(SendMessageW(link, WM_SETCURSOR, reinterpret_cast<WPARAM>(link), HTCLIENT), 1);
        EXPECT_EQ(GetCursor(), settings.cursor);

        // A second move inside the link neither tracks nor repaints again.
        ValidateRect(link, nullptr);
        SendMessageW(link, WM_MOUSEMOVE, 0, MAKELPARAM(3, 3));
        EXPECT_TRUE(HasUpdate(link));
        ValidateRect(link, nullptr);
        SendMessageW(link, WM_MOUSEMOVE, 0, MAKELPARAM(4, 3));
        EXPECT_FALSE(HasUpdate(link));
        EXPECT_FALSE(Recorder::Saw(WM_MOUSEMOVE));

        // The text goes to the control, which is then repainted; the result is 0.
        ValidateRect(link, nullptr);
        EXPECT_EQ(SendMessageW(link, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"new text")), 0);
        EXPECT_TRUE(Recorder::Saw(WM_SETTEXT));
        EXPECT_EQ(krn::test::WindowText(link), L"new text");
        EXPECT_TRUE(HasUpdate(link));
        EXPECT_TRUE(Recorder::Saw(WM_GETTEXT)) << "other messages pass through";
        EXPECT_EQ(SendMessageW(link, WM_ERASEBKGND, 0, 0), 1);
        EXPECT_FALSE(Recorder::Saw(WM_ERASEBKGND));
    }
    EXPECT_EQ(ProcOf(link), &Recorder::Proc) << "Detach puts the previous procedure back";
    SetWindowLongPtrW(link, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(Recorder::original));
    settings.cursor = nullptr;
}

TEST_F(HyperlinkTest, TheAtomLivesWhileAnyControlIsSubclassed)
{
    const HWND other = dialog.item(kOtherId);
    EXPECT_EQ(acl::SubclassControlBase::Atom(), 0);
    EXPECT_EQ(GlobalFindAtomW(kAtomName), 0);
    {
        acl::Hyperlink first;
        acl::Hyperlink second;
        first.Init(acl::Hyperlink::kCommand, link, dialog.window(), 1u, &settings);
        second.Init(acl::Hyperlink::kCommand, other, dialog.window(), 2u, &settings);
        const ATOM atom = acl::SubclassControlBase::Atom();
        EXPECT_NE(atom, 0);
        EXPECT_EQ(GlobalFindAtomW(kAtomName), atom);
        EXPECT_EQ(acl::SubclassControlBase::UserCount(), 2);
        EXPECT_EQ(GetPropW(link, MAKEINTATOM(atom)), static_cast<void*>(&first));

        first.Detach();
        EXPECT_EQ(acl::SubclassControlBase::Atom(), atom);
        EXPECT_EQ(GetPropW(link, MAKEINTATOM(atom)), nullptr);
        EXPECT_EQ(first.window(), link) << "the window is kept after Detach";
        second.Detach();
        EXPECT_EQ(acl::SubclassControlBase::Atom(), 0);
        EXPECT_EQ(GlobalFindAtomW(kAtomName), 0);

        EXPECT_EQ(first.Attach(link, 0), 0u);
        EXPECT_NE(acl::SubclassControlBase::Atom(), 0) << "made again by the next Attach";
    }
    EXPECT_EQ(GlobalFindAtomW(kAtomName), 0) << "destruction detaches";
}

TEST_F(HyperlinkTest, AttachingAgainRestoresTheFirstWindow)
{
    const HWND other = dialog.item(kOtherId);
    const WNDPROC original = ProcOf(link);
    const LONG_PTR style = GetWindowLongPtrW(other, GWL_STYLE);
    acl::Hyperlink h;
    ASSERT_EQ(h.Attach(link, 0), 0u);
    EXPECT_EQ(ProcOf(link), &acl::SubclassControlBase::SharedWindowProc);
    ASSERT_EQ(h.Attach(other, WS_BORDER), 0u);
    EXPECT_EQ(ProcOf(link), original);
    EXPECT_EQ(GetPropW(link, MAKEINTATOM(acl::SubclassControlBase::Atom())), nullptr);
    EXPECT_EQ(ProcOf(other), &acl::SubclassControlBase::SharedWindowProc);
    EXPECT_EQ(GetWindowLongPtrW(other, GWL_STYLE), style | WS_BORDER);
    EXPECT_EQ(acl::SubclassControlBase::UserCount(), 1);
    EXPECT_EQ(h.window(), other);
}

TEST(HyperlinkSettings, DefaultsAndOwnedFont)
{
    LOGFONTW lf{};
    lf.lfHeight = -11;
    const HFONT owned = CreateFontIndirectW(&lf);
    const HFONT borrowed = CreateFontIndirectW(&lf);
    {
        acl::Hyperlink_Settings s;
        EXPECT_EQ(s.background, GetSysColor(COLOR_BTNFACE));
        EXPECT_EQ(s.textColor, RGB(0, 0, 200));
        EXPECT_EQ(s.hoverColor, RGB(0, 0, 255));
        s.font = owned;
        s.flags = acl::Hyperlink_Settings::kOwnsFont;
        acl::Hyperlink_Settings other;
        other.font = borrowed;
    }
    EXPECT_EQ(GetObjectType(owned), 0u);
    EXPECT_EQ(GetObjectType(borrowed), static_cast<DWORD>(OBJ_FONT));
    DeleteObject(borrowed);
}

TEST(SharedWindowProc, AWindowWithoutAnObjectGetsZero)
{
    const HWND window = CreateWindowExW(0, L"Static", L"x", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    ASSERT_TRUE(window);
    EXPECT_EQ(acl::SubclassControlBase::SharedWindowProc(window, WM_GETTEXTLENGTH, 0, 0), 0);
    DestroyWindow(window);
}

} // namespace
