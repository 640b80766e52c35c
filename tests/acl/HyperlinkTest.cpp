#include "acl/Hyperlink.h"

#include "TestDialog.h"
#include "resource.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using krn::test::Pixels;

constexpr WORD kLinkId = 1043, kOtherId = 1044;
constexpr wchar_t kAtomName[] = L"{D41FEDDC-0584-4030-B19E-2E4AFFC434CD}";
constexpr COLORREF kBackground = RGB(0x8A, 0xA6, 0xD6), kText = RGB(0, 0, 200), kHover = RGB(255, 0, 0);

// A dialog with two static texts that records the commands it receives.
class LinkDialog : public acl::test::TestDialog {
public:
    LinkDialog()
    {
        acl::test::DialogTemplate t(160, 50);
        t.Add(acl::test::kStatic, L"link link", kLinkId, SS_LEFT, 10, 10, 140, 12)
            .Add(acl::test::kStatic, L"other", kOtherId, SS_LEFT, 10, 30, 140, 12);
        Create(t, 420, 20);
    }
    std::vector<std::pair<WPARAM, LPARAM>> commands;

private:
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR*) override
    {
        if (message == WM_COMMAND)
            commands.emplace_back(wParam, lParam);
        return message == WM_COMMAND;
    }
};

// Sits under the link as its previous procedure and records what reaches it.
struct Recorder {
    static inline std::vector<UINT> seen;
    static inline WNDPROC original = nullptr;
    static LRESULT CALLBACK Proc(HWND w, UINT m, WPARAM wp, LPARAM lp)
    {
        seen.push_back(m);
        return CallWindowProcW(original, w, m, wp, lp);
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

    // How many pixels have the colour, and the longest run of it in a row.
    static std::pair<int, int> CountAndRun(const Pixels& p, COLORREF color)
    {
        int count = 0, best = 0;
        for (int y = 0; y < p.height(); ++y) {
            for (int x = 0, run = 0; x < p.width(); ++x) {
                run = p.at(x, y) == color ? run + 1 : 0;
                count += run > 0;
                best = std::max(best, run);
            }
        }
        return {count, best};
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
    HWND link = dialog.item(kLinkId);
    acl::Hyperlink_Settings settings;
};

TEST_F(HyperlinkTest, HoverChangesColourAndUnderlinesUntilTheMouseLeaves)
{
    for (const bool underline : {true, false}) {
        if (!underline)
            settings.flags &= ~acl::Hyperlink_Settings::kUnderline;
        acl::Hyperlink h;
        ASSERT_EQ(h.Init(acl::Hyperlink::kCommand, link, dialog.window(), kLinkId, &settings), 0u);
        const int width = TextWidth();
        InvalidateRect(link, nullptr, FALSE);  // Init itself does not repaint
        const Pixels normal = krn::test::CaptureScreen(link);
        const auto [text, textRun] = CountAndRun(normal, kText);
        EXPECT_GT(text, 20);
        EXPECT_LT(textRun, width - 2);
        EXPECT_EQ(CountAndRun(normal, kHover).first, 0);
        EXPECT_EQ(normal.at(normal.width() - 1, normal.height() - 1), kBackground);
        EXPECT_EQ(normal.at(0, 0), kBackground) << "text starts at x = 1";

        SendMessageW(link, WM_MOUSEMOVE, 0, MAKELPARAM(3, 3));
        EXPECT_TRUE(h.hovering());
        const auto [hover, hoverRun] = CountAndRun(krn::test::CaptureScreen(link), kHover);
        if (underline)
            EXPECT_GE(hoverRun, width - 2) << "the underline spans the text";
        else
            EXPECT_EQ(hover, text) << "only the colour changes";

        SendMessageW(link, WM_MOUSELEAVE, 0, 0);
        EXPECT_FALSE(h.hovering());
        EXPECT_EQ(CountAndRun(krn::test::CaptureScreen(link), kText).first, text);
    }
}

TEST_F(HyperlinkTest, AButtonUpAloneSendsTheCommandToTheParent)
{
    acl::Hyperlink h;
    EXPECT_EQ(h.Init(8, link, dialog.window(), 5u, &settings), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(ProcOf(link), &acl::SubclassControlBase::SharedWindowProc) << "the control stays subclassed";
    EXPECT_EQ(h.Init(acl::Hyperlink::kOpenWithParent, link, dialog.window(), L"https://example.invalid/", &settings),
              0u);
    EXPECT_EQ(h.target().value_or(L""), L"https://example.invalid/");

    ASSERT_EQ(h.Init(acl::Hyperlink::kCommand, link, dialog.window(), kLinkId, &settings), 0u);
    EXPECT_FALSE(h.target());
    EXPECT_EQ(acl::SubclassControlBase::UserCount(), 1) << "Init detaches before it attaches again";
    EXPECT_NE(GetWindowLongPtrW(link, GWL_STYLE) & SS_NOTIFY, 0);
    EXPECT_EQ(SendMessageW(link, WM_LBUTTONUP, 0, MAKELPARAM(2, 2)), 0);
    const std::vector<std::pair<WPARAM, LPARAM>> expected{{kLinkId, reinterpret_cast<LPARAM>(link)}};
    EXPECT_EQ(dialog.commands, expected);
}

TEST_F(HyperlinkTest, MessagesItHandlesDoNotReachThePreviousProcedure)
{
    Recorder::original = ProcOf(link);
    SetWindowLongPtrW(link, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Recorder::Proc));
    {
        acl::Hyperlink h;
        h.Init(acl::Hyperlink::kCommand, link, dialog.window(), kLinkId, &settings);
        Recorder::seen.clear();
        // No cursor in the settings: 0, and nothing else is asked.
        EXPECT_EQ(SendMessageW(link, WM_SETCURSOR, reinterpret_cast<WPARAM>(link), HTCLIENT), 0);
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
        EXPECT_EQ(SendMessageW(link, WM_ERASEBKGND, 0, 0), 1);
        EXPECT_TRUE(Recorder::seen.empty());

        // The text goes to the control, which is then repainted; the result is 0.
        EXPECT_EQ(SendMessageW(link, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"new text")), 0);
        EXPECT_TRUE(Recorder::Saw(WM_SETTEXT));
        EXPECT_EQ(krn::test::WindowText(link), L"new text");
        EXPECT_TRUE(HasUpdate(link));
    }
    EXPECT_EQ(ProcOf(link), &Recorder::Proc) << "Detach puts the previous procedure back";
    SetWindowLongPtrW(link, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(Recorder::original));
    settings.cursor = nullptr;
}

TEST_F(HyperlinkTest, TheAtomLivesWhileAnyControlIsSubclassed)
{
    const HWND other = dialog.item(kOtherId);
    const WNDPROC original = ProcOf(link);
    EXPECT_EQ(GlobalFindAtomW(kAtomName), 0);
    {
        acl::Hyperlink first, second;
        first.Init(acl::Hyperlink::kCommand, link, dialog.window(), 1u, &settings);
        second.Init(acl::Hyperlink::kCommand, other, dialog.window(), 2u, &settings);
        const ATOM atom = acl::SubclassControlBase::Atom();
        EXPECT_EQ(GlobalFindAtomW(kAtomName), atom);
        EXPECT_EQ(GetPropW(link, MAKEINTATOM(atom)), static_cast<void*>(&first));
        first.Detach();
        EXPECT_EQ(acl::SubclassControlBase::Atom(), atom);
        EXPECT_EQ(GetPropW(link, MAKEINTATOM(atom)), nullptr);
        second.Detach();
        EXPECT_EQ(GlobalFindAtomW(kAtomName), 0);

        // Made again by the next Attach; attaching elsewhere restores the first window.
        EXPECT_EQ(first.Attach(link, 0), 0u);
        EXPECT_NE(GlobalFindAtomW(kAtomName), 0);
        const LONG_PTR style = GetWindowLongPtrW(other, GWL_STYLE);
        EXPECT_EQ(first.Attach(other, WS_BORDER), 0u);
        EXPECT_EQ(ProcOf(link), original);
        EXPECT_EQ(ProcOf(other), &acl::SubclassControlBase::SharedWindowProc);
        EXPECT_EQ(GetWindowLongPtrW(other, GWL_STYLE), style | WS_BORDER);
        EXPECT_EQ(acl::SubclassControlBase::UserCount(), 1);
    }
    EXPECT_EQ(GlobalFindAtomW(kAtomName), 0) << "destruction detaches";
    EXPECT_EQ(ProcOf(other), ProcOf(link));
}

} // namespace
