#include "acl/Hyperlink.h"

#include "TestDialog.h"
#include "resource.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using namespace acl::test;
using krn::test::Pixels;
using Link = acl::Hyperlink;

constexpr wchar_t kAtomName[] = L"{D41FEDDC-0584-4030-B19E-2E4AFFC434CD}";
constexpr COLORREF kBackground = RGB(0x8A, 0xA6, 0xD6), kText = RGB(0, 0, 200), kHover = RGB(255, 0, 0);

// How many pixels of the link have the colour, and the longest run of it in a row.
std::pair<int, int> CountAndRun(HWND link, COLORREF color)
{
    const Pixels p = krn::test::CaptureScreen(link);
    int count = 0, best = 0;
    for (int y = 0; y < p.height(); ++y)
        for (int x = 0, run = 0; x < p.width(); ++x) {
            run = p.at(x, y) == color ? run + 1 : 0;
            count += run > 0;
            best = std::max(best, run);
        }
    return {count, best};
}

class HyperlinkTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dialog.Create(420, 20);
        ASSERT_TRUE(link = dialog.item(TD_LINK));
        LOGFONTW lf{-13, 0, 0, 0, FW_BOLD, 0, 0, 0, 0, 0, 0, NONANTIALIASED_QUALITY, 0, L"Tahoma"};  // exact colours
        settings.font.reset(CreateFontIndirectW(&lf), true);
        settings.flags = acl::Hyperlink_Settings::kUnderline;
        settings.background = kBackground;
        settings.textColor = kText;
        settings.hoverColor = kHover;
    }
    void TearDown() override { EXPECT_EQ(acl::SubclassControlBase::UserCount(), 0) << "a link stayed attached"; }

    TestDialog dialog;
    HWND link = nullptr;
    acl::Hyperlink_Settings settings;
};

// "link link" is about 55 pixels wide; no run of a glyph's pixels reaches 20.
TEST_F(HyperlinkTest, HoverChangesColourAndUnderlinesUntilTheMouseLeaves)
{
    for (const bool underline : {true, false}) {
        SCOPED_TRACE(underline ? "underline" : "no underline");
        settings.flags ^= underline ? 0 : acl::Hyperlink_Settings::kUnderline;
        Link h;
        ASSERT_EQ(h.Init(Link::kCommand, link, dialog.window(), TD_LINK, &settings), 0u);
        InvalidateRect(link, nullptr, FALSE);  // Init itself does not repaint
        const auto [text, textRun] = CountAndRun(link, kText);
        EXPECT_GT(text, 20) << "pixels in the text colour";
        EXPECT_LT(textRun, 20) << "no underline before the mouse comes";
        EXPECT_EQ(CountAndRun(link, kHover).first, 0) << "pixels in the hover colour";
        EXPECT_EQ(krn::test::CaptureScreen(link).at(0, 0), kBackground) << "the fill, and the text from x = 1 on";

        SendMessageW(link, WM_MOUSEMOVE, 0, MAKELPARAM(3, 3));
        const auto [hover, hoverRun] = CountAndRun(link, kHover);
        EXPECT_EQ(hoverRun > 40, underline) << "the underline spans the text, longest run " << hoverRun;
        EXPECT_TRUE(underline || hover == text) << "without the underline only the colour changes";

        SendMessageW(link, WM_MOUSELEAVE, 0, 0);
        EXPECT_EQ(CountAndRun(link, kText).first, text);
    }
}

// The hand (when given) over the link, a repaint when the mouse comes, a
// command for a button-up alone; a new text reaches the control. (What the
// link draws itself the hover test sees in pixels.)
TEST_F(HyperlinkTest, AClickSendsTheCommandAndTheMouseShowsTheHand)
{
    Link h;
    EXPECT_EQ(h.Init(Link::kOpen, link, dialog.window(), L"https://example.invalid/", &settings), 0u);
    ASSERT_EQ(h.Init(Link::kCommand, link, dialog.window(), TD_LINK, &settings), 0u);
    EXPECT_EQ(acl::SubclassControlBase::UserCount(), 1) << "Init detaches before it attaches again";
    EXPECT_NE(GetWindowLongPtrW(link, GWL_STYLE) & SS_NOTIFY, 0);

    EXPECT_EQ(SendMessageW(link, WM_SETCURSOR, WPARAM(link), HTCLIENT), 0) << "without a cursor: the system's";
    settings.cursor.reset(LoadCursorW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDC_LINK_HAND)), false);
    EXPECT_EQ(SendMessageW(link, WM_SETCURSOR, WPARAM(link), HTCLIENT), 1);
    EXPECT_EQ(GetCursor(), settings.cursor.get());
    for (const bool repaints : {true, false}) {  // only the first move inside repaints
        ValidateRect(link, nullptr);
        SendMessageW(link, WM_MOUSEMOVE, 0, MAKELPARAM(3, 3));
        EXPECT_EQ(GetUpdateRect(link, nullptr, FALSE) != FALSE, repaints);
    }
    EXPECT_EQ(SendMessageW(link, WM_LBUTTONUP, 0, MAKELPARAM(2, 2)), 0);
    EXPECT_EQ(dialog.commands, (std::vector<std::pair<WPARAM, LPARAM>>{{TD_LINK, LPARAM(link)}}));

    // The text goes to the control, which is then repainted; the result is 0.
    EXPECT_EQ(SendMessageW(link, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"new text")), 0);
    EXPECT_EQ(krn::test::WindowText(link), L"new text");
    EXPECT_TRUE(GetUpdateRect(link, nullptr, FALSE));
}

// Detach gives the control its procedure back; the atom naming the links'
// property lives while any control is subclassed (the main window's status
// link outlives the About box's links) and goes with the last.
TEST_F(HyperlinkTest, DetachRestoresTheControlAndTheAtomLivesWhileAnyControlIsSubclassed)
{
    const LONG_PTR original = GetWindowLongPtrW(link, GWLP_WNDPROC);
    {
        Link first, second;
        first.Init(Link::kCommand, link, dialog.window(), 1u, &settings);
        second.Init(Link::kCommand, dialog.item(TD_OTHER_LINK), dialog.window(), 2u, &settings);
        const ATOM atom = acl::SubclassControlBase::Atom();
        EXPECT_NE(atom, 0) << "made by Attach";
        first.Detach();
        EXPECT_EQ(GetWindowLongPtrW(link, GWLP_WNDPROC), original);
        EXPECT_EQ(GlobalFindAtomW(kAtomName), atom) << "while another control is subclassed";
    }
    EXPECT_EQ(acl::SubclassControlBase::Atom(), 0) << "after the last link went";
}

} // namespace
