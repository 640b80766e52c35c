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

    // Whether the set answers, its brush, and the colours it left in a fresh DC.
    struct Answer {
        bool answered;
        LRESULT brush;
        COLORREF text, background;
    };
    Answer Ask(UINT message, HWND control)
    {
        const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
        Answer a{false, -1};
        a.answered = OnCtlColor(message, WPARAM(dc.get()), LPARAM(control), &a.brush);
        a.text = GetTextColor(dc.get());
        a.background = GetBkColor(dc.get());
        return a;
    }
    LRESULT BrushOf(const wchar_t* name) const { return reinterpret_cast<LRESULT>(Find(name)->brush); }
};

// The folder properties dialog's schemes, with "default" also listing the
// body label and "title" the header, so that the name order decides.
void FolderDialogSchemes(SchemeDialog& d)
{
    const int body[] = {kBody}, header[] = {kHeader}, title[] = {kTitle, kHeader};
    EXPECT_EQ(d.AddScheme(L"default", body, 1, kBlack, acl::kBodyColor, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"header", header, 1, RGB(0, 0, 128), kWhite, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"title", title, 2, kBlack, kWhite, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"body", body, 1, kGrey, acl::kBodyColor, nullptr), 0u);
    d.messages = 11;
    d.useDefault = 1;
}

TEST(ColorSchemes, AControlTakesTheFirstSchemeByNameUnlessMaskedOrSuspended)
{
    SchemeDialog d(FolderDialogSchemes);
    ASSERT_TRUE(d.window());
    const struct {
        int id;  // 0: the dialog itself
        UINT message;
        uint32_t suspended, useDefault;
        const wchar_t* scheme;  // null: answered with no brush; L"": not answered
        COLORREF text;
    } cases[] = {
        {kBody, WM_CTLCOLORSTATIC, 0, 1, L"body", kGrey},
        {kHeader, WM_CTLCOLORSTATIC, 0, 1, L"header", RGB(0, 0, 128)},
        {kTitle, WM_CTLCOLORSTATIC, 0, 1, L"title", kBlack},
        {kPlain, WM_CTLCOLORSTATIC, 0, 1, L"default", kBlack},
        {kButton, WM_CTLCOLORBTN, 0, 1, L"default", kBlack},
        {0, WM_CTLCOLORDLG, 0, 1, L"default", kBlack},
        {kEdit, WM_CTLCOLOREDIT, 0, 1, L"", kBlack},  // not in messages = 11
        {kBody, WM_CTLCOLORSTATIC, 1, 1, nullptr, kBlack},
        {kPlain, WM_CTLCOLORSTATIC, 0, 0, nullptr, kBlack},
        {kBody, WM_CTLCOLORSTATIC, 0, 0, L"body", kGrey},
    };
    for (const auto& c : cases) {
        d.suspended = c.suspended;
        d.useDefault = c.useDefault;
        const auto a = d.Ask(c.message, c.id ? d.item(c.id) : d.window());
        const bool answered = !c.scheme || *c.scheme, coloured = c.scheme && *c.scheme;
        SCOPED_TRACE(testing::Message() << "control " << c.id << ", suspended " << c.suspended << ", useDefault "
                                        << c.useDefault);
        EXPECT_EQ(a.answered, answered);
        EXPECT_EQ(a.brush, !answered ? -1 : coloured ? d.BrushOf(c.scheme) : 0);
        EXPECT_EQ(a.text, c.text);
        EXPECT_EQ(a.background, coloured ? d.Find(c.scheme)->backgroundColor : kWhite);
    }
}

TEST(ColorSchemes, AComboBoxColoursItsEditAndListWindows)
{
    SchemeDialog d([](SchemeDialog& dialog) {
        const int combo[] = {kCombo, 4711};  // 4711: no such control
        dialog.AddScheme(L"default", nullptr, 0, kBlack, acl::kBodyColor, nullptr);
        dialog.AddScheme(L"combo", combo, 2, RGB(200, 0, 0), acl::kNoColor, nullptr);
    });
    ASSERT_TRUE(d.window());
    COMBOBOXINFO info{sizeof(info)};
    ASSERT_TRUE(GetComboBoxInfo(d.item(kCombo), &info));
    const std::vector<HWND> expected{d.item(kCombo), info.hwndItem, info.hwndList, nullptr};
    EXPECT_EQ(d.Find(L"combo")->windows, expected);

    EXPECT_EQ(d.Ask(WM_CTLCOLOREDIT, info.hwndItem).brush, d.BrushOf(L"combo"));
    const auto list = d.Ask(WM_CTLCOLORLISTBOX, info.hwndList);
    EXPECT_EQ(list.brush, d.BrushOf(L"combo"));
    EXPECT_EQ(list.text, RGB(200, 0, 0));
    EXPECT_EQ(list.background, kWhite) << "no background colour leaves the DC's";
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
