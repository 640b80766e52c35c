#include "acl/ColorSchemes.h"
#include "acl/Handles.h"

#include "TestDialog.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace acl::test;

constexpr COLORREF kWhite = RGB(255, 255, 255), kBlack = RGB(0, 0, 0), kGrey = RGB(50, 50, 50);

// A dialog with a scheme set that paints the header band, as the program's dialogs do.
class SchemeDialog : public acl::ColorSchemes<SchemeDialog>, public TestDialog {
public:
    explicit SchemeDialog(std::function<void(SchemeDialog&)> setUp)
        : TestDialog([this, setUp](UINT message, WPARAM wParam, LPARAM lParam, INT_PTR* result) {
              if (message == WM_INITDIALOG)
                  setUp(*this);
              if (message == WM_ERASEBKGND) {
                  acl::PaintHeaderBand(window(), reinterpret_cast<HDC>(wParam));
                  SetWindowLongPtrW(window(), DWLP_MSGRESULT, 0);
                  return true;
              }
              LRESULT brush = 0;
              const bool answered = OnCtlColor(message, wParam, lParam, &brush);
              *result = static_cast<INT_PTR>(brush);
              return answered;
          })
    {
        Create(20, 20);
    }

    // The set's brush (-1: not answered) and the colours it left in a fresh DC.
    struct Answer {
        LRESULT brush = -1;
        COLORREF text, background;
    };
    Answer Ask(UINT message, HWND control)
    {
        const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
        Answer a;
        const bool answered = OnCtlColor(message, WPARAM(dc.get()), LPARAM(control), &a.brush);
        EXPECT_EQ(answered, a.brush != -1);
        a.text = GetTextColor(dc.get());
        a.background = GetBkColor(dc.get());
        return a;
    }
};

// The folder properties dialog's schemes, with "default" also listing the
// body label and "title" the header, so that the name order decides, and a
// combo box (4711: no such control) that leaves the background colour alone.
void FolderDialogSchemes(SchemeDialog& d)
{
    const int body[] = {kBody}, header[] = {kHeader}, title[] = {kTitle, kHeader}, combo[] = {kCombo, 4711};
    EXPECT_EQ(d.AddScheme(L"default", body, 1, kBlack, acl::kBodyColor, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"header", header, 1, RGB(0, 0, 128), kWhite, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"title", title, 2, kBlack, kWhite, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"body", body, 1, kGrey, acl::kBodyColor, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"combo", combo, 2, RGB(200, 0, 0), acl::kNoColor, nullptr), 0u);
}

TEST(ColorSchemes, AControlTakesTheFirstSchemeByNameUnlessMaskedOrSuspended)
{
    SchemeDialog d(FolderDialogSchemes);
    ASSERT_TRUE(d.window());
    COMBOBOXINFO info{sizeof(info)};
    ASSERT_TRUE(GetComboBoxInfo(d.item(kCombo), &info));
    const std::vector<HWND> expected{d.item(kCombo), info.hwndItem, info.hwndList, nullptr};
    EXPECT_EQ(d.Find(L"combo")->windows, expected);

    const HWND dialog = d.window(), edit = info.hwndItem, list = info.hwndList;
    const struct {
        HWND window;
        UINT message;
        uint32_t messages, suspended, useDefault;
        const wchar_t* scheme;  // null: answered with no brush; L"": not answered
        COLORREF text;
    } cases[] = {
        {d.item(kBody), WM_CTLCOLORSTATIC, 11, 0, 1, L"body", kGrey},
        {d.item(kHeader), WM_CTLCOLORSTATIC, 11, 0, 1, L"header", RGB(0, 0, 128)},
        {d.item(kTitle), WM_CTLCOLORSTATIC, 11, 0, 1, L"title", kBlack},
        {d.item(kPlain), WM_CTLCOLORSTATIC, 11, 0, 1, L"default", kBlack},
        {d.item(kButton), WM_CTLCOLORBTN, 11, 0, 1, L"default", kBlack},
        {dialog, WM_CTLCOLORDLG, 11, 0, 1, L"default", kBlack},
        {d.item(kEdit), WM_CTLCOLOREDIT, 11, 0, 1, L"", kBlack},
        {edit, WM_CTLCOLOREDIT, 11, 0, 1, L"", kBlack},
        {edit, WM_CTLCOLOREDIT, 0xFF, 0, 1, L"combo", RGB(200, 0, 0)},
        {list, WM_CTLCOLORLISTBOX, 0xFF, 0, 1, L"combo", RGB(200, 0, 0)},
        {d.item(kBody), WM_CTLCOLORSTATIC, 11, 1, 1, nullptr, kBlack},
        {d.item(kPlain), WM_CTLCOLORSTATIC, 11, 0, 0, nullptr, kBlack},
        {d.item(kBody), WM_CTLCOLORSTATIC, 11, 0, 0, L"body", kGrey},
    };
    for (const auto& c : cases) {
        d.messages = c.messages;
        d.suspended = c.suspended;
        d.useDefault = c.useDefault;
        const auto a = d.Ask(c.message, c.window);
        const acl::ColorScheme* scheme = c.scheme && *c.scheme ? d.Find(c.scheme) : nullptr;
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        EXPECT_EQ(a.brush, scheme ? LRESULT(scheme->brush) : c.scheme ? -1 : 0);
        EXPECT_EQ(a.text, c.text);
        EXPECT_EQ(a.background, scheme && scheme->backgroundColor != acl::kNoColor ? scheme->backgroundColor : kWhite);
    }
}

TEST(ColorSchemes, HeaderBandIsWhiteDownToTheSeparatorAndBodyBelow)
{
    SchemeDialog d(FolderDialogSchemes);
    ASSERT_TRUE(d.window());
    RECT line{};
    GetWindowRect(d.item(kSeparator), &line);
    MapWindowPoints(nullptr, d.window(), reinterpret_cast<POINT*>(&line), 2);
    const krn::test::Pixels p = krn::test::CaptureClient(d.window());
    ASSERT_FALSE(p.empty());
    const int x = p.width() - 2;  // right of every control
    for (const auto& [y, color] : {std::pair{0L, kWhite}, {line.bottom - 1, kWhite}, {line.bottom, acl::kBodyColor},
                                  {LONG(p.height()) - 1, acl::kBodyColor}})
        EXPECT_EQ(p.at(x, y), color) << "y " << y;
}

} // namespace
