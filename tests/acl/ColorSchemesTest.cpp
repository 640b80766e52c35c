#include "acl/ColorSchemes.h"
#include "acl/Handles.h"

#include "TestDialog.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using namespace acl::test;

constexpr COLORREF kWhite = RGB(255, 255, 255), kBlack = RGB(0, 0, 0), kGrey = RGB(50, 50, 50);
constexpr COLORREF kNavy = RGB(0, 0, 128);

// A dialog that registers its schemes and paints the header band, as the
// program's dialogs do: the folder properties dialog's schemes and messages,
// with "default" also listing the body label and "title" the header, so that
// the name order decides.
class SchemeDialog : public acl::ColorSchemes<SchemeDialog>, public TestDialog {
public:
    SchemeDialog() { Create(20, 20); }

private:
    bool OnMessage(UINT message, WPARAM wParam, LPARAM, INT_PTR*) override
    {
        if (message == WM_INITDIALOG) {
            const int body[] = {TD_BODY}, header[] = {TD_HEADER}, title[] = {TD_TITLE, TD_HEADER};
            AddScheme(L"default", body, 1, kBlack, acl::kBodyColor);
            AddScheme(L"header", header, 1, kNavy, kWhite);
            AddScheme(L"title", title, 2, kBlack, kWhite);
            AddScheme(L"body", body, 1, kGrey, acl::kBodyColor);
            messages = acl::kColorDialog | acl::kColorStatic | acl::kColorButton;
            useDefault = 1;
        }
        if (message != WM_ERASEBKGND)
            return false;
        acl::PaintHeaderBand(window(), reinterpret_cast<HDC>(wParam));
        SetWindowLongPtrW(window(), DWLP_MSGRESULT, 0);
        return true;
    }
};

TEST(ColorSchemes, AControlTakesTheFirstSchemeByNameUnlessMaskedAndTheHeaderBandIsWhite)
{
    SchemeDialog d;
    ASSERT_TRUE(d.window());
    // The control, its message, the scheme that answers (null: none) and the text colour.
    const std::tuple<HWND, UINT, const wchar_t*, COLORREF> cases[] = {
        {d.item(TD_BODY), WM_CTLCOLORSTATIC, L"body", kGrey},
        {d.item(TD_HEADER), WM_CTLCOLORSTATIC, L"header", kNavy},
        {d.item(TD_TITLE), WM_CTLCOLORSTATIC, L"title", kBlack},
        {d.item(TD_PLAIN), WM_CTLCOLORSTATIC, L"default", kBlack},
        {d.item(TD_BUTTON), WM_CTLCOLORBTN, L"default", kBlack},
        {d.window(), WM_CTLCOLORDLG, L"default", kBlack},
        {d.item(TD_EDIT), WM_CTLCOLOREDIT, nullptr, kBlack},
    };
    for (const auto& [control, message, name, text] : cases) {
        SCOPED_TRACE(testing::Message() << "control " << GetDlgCtrlID(control));
        const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
        LRESULT brush = -1;
        const bool answered = d.OnCtlColor(message, WPARAM(dc.get()), LPARAM(control), &brush);
        const acl::ColorScheme* scheme = name ? d.Find(name) : nullptr;
        EXPECT_EQ(answered, scheme != nullptr);
        EXPECT_EQ(brush, scheme ? LRESULT(scheme->brush.get()) : -1);
        EXPECT_EQ(GetTextColor(dc.get()), text);
        EXPECT_EQ(GetBkColor(dc.get()), scheme ? scheme->backgroundColor : kWhite);
    }

    // White down to the bottom of the separator, the body colour below.
    RECT line{};
    GetWindowRect(d.item(TD_SEPARATOR), &line);
    MapWindowPoints(nullptr, d.window(), reinterpret_cast<POINT*>(&line), 2);
    const krn::test::Pixels p = krn::test::CaptureClient(d.window());
    ASSERT_FALSE(p.empty());
    const int x = p.width() - 2;  // right of every control
    for (const auto& [y, color] : {std::pair{0L, kWhite}, {line.bottom - 1, kWhite}, {line.bottom, acl::kBodyColor},
                                  {LONG(p.height()) - 1, acl::kBodyColor}})
        EXPECT_EQ(p.at(x, y), color) << "y " << y;
}

} // namespace
