#include "acl/ColorSchemes.h"

#include "TestDialog.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using acl::test::DialogTemplate;

enum : WORD { kHeader = 1018, kBody = 1020, kTitle = 1025, kPlain = 1040, kEdit = 1050, kCombo = 1051, kButton = 1052 };
constexpr COLORREF kWhite = RGB(255, 255, 255);
constexpr COLORREF kBlack = RGB(0, 0, 0);

// A dialog that owns a scheme set and paints the header band, the way the
// program's dialogs do.
class SchemeDialog : public acl::test::TestDialog, public acl::ColorSchemes<SchemeDialog> {
public:
    explicit SchemeDialog(std::function<void(SchemeDialog&)> setUp) : setUp_(std::move(setUp))
    {
        DialogTemplate t(200, 120);
        t.Add(acl::test::kStatic, L"Header", kHeader, SS_LEFT, 40, 4, 150, 10)
            .Add(acl::test::kStatic, L"Description", kTitle, SS_LEFT, 40, 15, 150, 8)
            .Add(acl::test::kStatic, L"", acl::kHeaderSeparatorId, SS_ETCHEDHORZ, 1, 28, 120, 1)
            .Add(acl::test::kStatic, L"Body", kBody, SS_LEFT, 7, 34, 80, 10)
            .Add(acl::test::kStatic, L"Plain", kPlain, SS_LEFT, 7, 48, 80, 10)
            .Add(acl::test::kEdit, L"edit", kEdit, WS_BORDER, 7, 62, 80, 12)
            .Add(acl::test::kComboBox, L"", kCombo, CBS_DROPDOWN | WS_VSCROLL, 100, 62, 80, 60)
            .Add(acl::test::kButton, L"Button", kButton, BS_PUSHBUTTON, 7, 80, 50, 14);
        Create(t, 20, 20);
    }
    using TestDialog::window;

    // The brush the dialog answers with, and the colours it left in the DC.
    struct Answer {
        HBRUSH brush;
        COLORREF text, background;
    };
    Answer Send(UINT message, HWND control) const
    {
        HDC dc = CreateCompatibleDC(nullptr);
        const auto brush = reinterpret_cast<HBRUSH>(
            SendMessageW(window(), message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(control)));
        Answer answer{brush, GetTextColor(dc), GetBkColor(dc)};
        DeleteDC(dc);
        return answer;
    }
    HBRUSH BrushOf(const wchar_t* name) const { return Find(name)->brush; }

private:
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR* result) override
    {
        if (message == WM_INITDIALOG)
            setUp_(*this);
        if (message == WM_ERASEBKGND) {
            acl::PaintHeaderBand(window(), reinterpret_cast<HDC>(wParam));
            SetWindowLongPtrW(window(), DWLP_MSGRESULT, 0);
            return true;
        }
        LRESULT brush = 0;
        if (!OnCtlColor(message, wParam, lParam, &brush))
            return false;
        *result = static_cast<INT_PTR>(brush);
        return true;
    }

    std::function<void(SchemeDialog&)> setUp_;
};

// The folder properties dialog's schemes, with "default" also listing the
// body label and "title" the header, so that the name order decides.
void FolderDialogSchemes(SchemeDialog& d)
{
    const int body[] = {kBody}, header[] = {kHeader}, title[] = {kTitle, kHeader};
    EXPECT_EQ(d.AddScheme(L"default", body, 1, kBlack, acl::kBodyColor, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"header", header, 1, RGB(0, 0, 128), kWhite, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"title", title, 2, kBlack, kWhite, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"body", body, 1, RGB(50, 50, 50), acl::kBodyColor, nullptr), 0u);
    d.messages = 11;
    d.useDefault = 1;
}

TEST(ColorSchemes, AControlTakesTheFirstSchemeByNameThatListsIt)
{
    SchemeDialog d(FolderDialogSchemes);
    ASSERT_TRUE(d.window());
    const struct {
        int id;
        UINT message;
        const wchar_t* scheme;
        COLORREF text;
    } cases[] = {
        {kBody, WM_CTLCOLORSTATIC, L"body", RGB(50, 50, 50)},
        {kHeader, WM_CTLCOLORSTATIC, L"header", RGB(0, 0, 128)},
        {kTitle, WM_CTLCOLORSTATIC, L"title", kBlack},
        {kPlain, WM_CTLCOLORSTATIC, L"default", kBlack},  // in no scheme
        {kButton, WM_CTLCOLORBTN, L"default", kBlack},
    };
    for (const auto& c : cases) {
        const auto answer = d.Send(c.message, d.item(c.id));
        EXPECT_EQ(answer.brush, d.BrushOf(c.scheme)) << "control " << c.id;
        EXPECT_EQ(answer.text, c.text) << "control " << c.id;
        EXPECT_EQ(answer.background, d.Find(c.scheme)->backgroundColor) << "control " << c.id;
    }
    // The dialog itself is in no scheme: its background is "default".
    EXPECT_EQ(d.Send(WM_CTLCOLORDLG, d.window()).brush, d.BrushOf(L"default"));
}

TEST(ColorSchemes, MessagesOutsideTheMaskAndSuspensionLeaveTheSystemColours)
{
    SchemeDialog d(FolderDialogSchemes);
    ASSERT_TRUE(d.window());
    LRESULT result = 12345;
    EXPECT_FALSE(d.OnCtlColor(WM_CTLCOLOREDIT, 0, reinterpret_cast<LPARAM>(d.item(kEdit)), &result));
    EXPECT_EQ(result, 12345) << "an unanswered message leaves the result alone";
    EXPECT_NE(d.Send(WM_CTLCOLOREDIT, d.item(kEdit)).brush, d.BrushOf(L"default"));

    d.suspended = 1;
    EXPECT_TRUE(d.OnCtlColor(WM_CTLCOLORSTATIC, 0, reinterpret_cast<LPARAM>(d.item(kBody)), &result));
    EXPECT_EQ(result, 0);
    EXPECT_NE(d.Send(WM_CTLCOLORSTATIC, d.item(kBody)).brush, d.BrushOf(L"body"));
    d.suspended = 0;
    EXPECT_EQ(d.Send(WM_CTLCOLORSTATIC, d.item(kBody)).brush, d.BrushOf(L"body"));

    d.useDefault = 0;
    EXPECT_TRUE(d.OnCtlColor(WM_CTLCOLORSTATIC, 0, reinterpret_cast<LPARAM>(d.item(kPlain)), &result));
    EXPECT_EQ(result, 0) << "a control in no scheme is left to the system";
}

TEST(ColorSchemes, AComboBoxColoursItsEditAndListWindows)
{
    SchemeDialog d([](SchemeDialog& dialog) {
        const int combo[] = {kCombo, 4711};  // 4711: no such control
        dialog.AddScheme(L"default", nullptr, 0, kBlack, acl::kBodyColor, nullptr);
        dialog.AddScheme(L"combo", combo, 2, RGB(200, 0, 0), acl::kNoColor, nullptr);
    });
    ASSERT_TRUE(d.window());
    COMBOBOXINFO info{};
    info.cbSize = sizeof(info);
    ASSERT_TRUE(GetComboBoxInfo(d.item(kCombo), &info));
    const std::vector<HWND> expected{d.item(kCombo), info.hwndItem, info.hwndList, nullptr};
    EXPECT_EQ(d.Find(L"combo")->windows, expected);

    // The constructor's mask answers the edit and list box messages.
    EXPECT_EQ(d.Send(WM_CTLCOLOREDIT, info.hwndItem).brush, d.BrushOf(L"combo"));
    const auto list = d.Send(WM_CTLCOLORLISTBOX, info.hwndList);
    EXPECT_EQ(list.text, RGB(200, 0, 0));
    EXPECT_EQ(list.background, kWhite) << "no background colour leaves the DC's";
    d.messages = 11;
    EXPECT_NE(d.Send(WM_CTLCOLOREDIT, info.hwndItem).brush, d.BrushOf(L"combo"));
}

TEST(ColorSchemes, HeaderBandIsWhiteDownToTheSeparatorAndBodyBelow)
{
    SchemeDialog d(FolderDialogSchemes);
    ASSERT_TRUE(d.window());
    RECT line{};
    GetWindowRect(d.item(acl::kHeaderSeparatorId), &line);
    MapWindowPoints(nullptr, d.window(), reinterpret_cast<POINT*>(&line), 2);

    const krn::test::Pixels p = krn::test::CaptureClient(d.window());
    ASSERT_FALSE(p.empty());
    const int x = p.width() - 2;  // right of every control
    EXPECT_EQ(p.at(x, 0), kWhite);
    EXPECT_EQ(p.at(x, line.bottom - 1), kWhite);
    EXPECT_EQ(p.at(x, line.bottom), acl::kBodyColor);
    EXPECT_EQ(p.at(x, p.height() - 1), acl::kBodyColor);
}

} // namespace
