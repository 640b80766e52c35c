#include "acl/ColorSchemes.h"

#include "TestDialog.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

using acl::test::DialogTemplate;
using krn::test::Pixels;

enum : WORD {
    kHeader = 1018, kBody = 1020, kTitle = 1025, kIcon = 1026, kPlain = 1040,
    kEditId = 1050, kComboId = 1051, kButtonId = 1052,
};

constexpr COLORREF kWhite = RGB(255, 255, 255);
constexpr COLORREF kBlack = RGB(0, 0, 0);

// A dialog that owns a scheme set, the way the program's dialogs do.
class SchemeDialog : public acl::ColorSchemes<SchemeDialog> {
public:
    explicit SchemeDialog(std::function<void(SchemeDialog&)> setUp) : setUp_(std::move(setUp))
    {
        DialogTemplate t(200, 120);
        t.Add(acl::test::kStatic, L"Header", kHeader, SS_LEFT, 40, 4, 150, 10)
            .Add(acl::test::kStatic, L"Description", kTitle, SS_LEFT, 40, 15, 150, 8)
            .Add(acl::test::kStatic, L"", acl::kHeaderSeparatorId, SS_ETCHEDHORZ, 1, 28, 120, 1)
            .Add(acl::test::kStatic, L"Body", kBody, SS_LEFT, 7, 34, 80, 10)
            .Add(acl::test::kStatic, L"Plain", kPlain, SS_LEFT, 7, 48, 80, 10)
            .Add(acl::test::kEdit, L"edit", kEditId, WS_BORDER, 7, 62, 80, 12)
            .Add(acl::test::kComboBox, L"", kComboId, CBS_DROPDOWN | WS_VSCROLL, 100, 62, 80, 60)
            .Add(acl::test::kButton, L"Button", kButtonId, BS_PUSHBUTTON, 7, 80, 50, 14);
        hwnd_ = acl::test::CreateTestDialog(t, &Proc, this, 20, 20);
    }
    ~SchemeDialog()
    {
        if (hwnd_)
            DestroyWindow(hwnd_);
    }
    HWND window() const { return hwnd_; }
    HWND item(int id) const { return GetDlgItem(hwnd_, id); }

    // What the dialog answers to a colour message, and the DC it was given.
    struct Answer {
        HBRUSH brush;
        COLORREF text;
        COLORREF background;
        HGDIOBJ font;
    };
    Answer Send(UINT message, HWND control) const
    {
        HDC dc = CreateCompatibleDC(nullptr);
        SetTextColor(dc, RGB(1, 2, 3));
        SetBkColor(dc, RGB(4, 5, 6));
        const auto brush = reinterpret_cast<HBRUSH>(
            SendMessageW(hwnd_, message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(control)));
        Answer answer{brush, GetTextColor(dc), GetBkColor(dc), GetCurrentObject(dc, OBJ_FONT)};
        DeleteDC(dc);
        return answer;
    }
    HBRUSH BrushOf(const wchar_t* name) const
    {
        const acl::ColorScheme* scheme = Find(name);
        return scheme ? scheme->brush : nullptr;
    }

private:
    static INT_PTR CALLBACK Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
    {
        auto* self = reinterpret_cast<SchemeDialog*>(GetWindowLongPtrW(window, DWLP_USER));
        if (message == WM_INITDIALOG) {
            self = reinterpret_cast<SchemeDialog*>(lParam);
            SetWindowLongPtrW(window, DWLP_USER, lParam);
            self->hwnd_ = window;
            self->setUp_(*self);
            return TRUE;
        }
        if (!self)
            return FALSE;
        if (message == WM_ERASEBKGND) {
            acl::PaintHeaderBand(window, reinterpret_cast<HDC>(wParam));
            SetWindowLongPtrW(window, DWLP_MSGRESULT, 0);
            return TRUE;
        }
        LRESULT result = 0;
        if (self->OnCtlColor(message, wParam, lParam, &result))
            return static_cast<INT_PTR>(result);
        return FALSE;
    }

    std::function<void(SchemeDialog&)> setUp_;
    HWND hwnd_ = nullptr;
};

// The folder properties dialog's schemes, with "default" also listing the
// body label so that the name order decides.
void FolderDialogSchemes(SchemeDialog& d)
{
    const int body[] = {kBody};
    const int header[] = {kHeader};
    const int title[] = {kTitle, kIcon, kHeader};
    EXPECT_EQ(d.AddScheme(L"default", body, 1, kBlack, acl::kBodyColor, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"header", header, 1, RGB(0, 0, 128), kWhite, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"title", title, 3, kBlack, kWhite, nullptr), 0u);
    EXPECT_EQ(d.AddScheme(L"body", body, 1, RGB(50, 50, 50), acl::kBodyColor,
                          static_cast<HFONT>(GetStockObject(SYSTEM_FONT))),
              0u);
    d.messages = 11;
    d.useDefault = 1;
}

TEST(ColorSchemes, AControlTakesTheFirstSchemeByNameThatListsIt)
{
    SchemeDialog d(FolderDialogSchemes);
    ASSERT_TRUE(d.window());
    struct Case {
        int id;
        const wchar_t* scheme;
        COLORREF text;
    } cases[] = {
        {kBody, L"body", RGB(50, 50, 50)},      // also in "default"
        {kHeader, L"header", RGB(0, 0, 128)},   // also in "title"
        {kTitle, L"title", kBlack},
        {kPlain, L"default", kBlack},           // in no scheme
        {kButtonId, L"default", kBlack},
    };
    for (const Case& c : cases) {
        const UINT message = c.id == kButtonId ? WM_CTLCOLORBTN : WM_CTLCOLORSTATIC;
        const auto answer = d.Send(message, d.item(c.id));
        const acl::ColorScheme* expected = d.Find(c.scheme);
        ASSERT_TRUE(expected);
        EXPECT_EQ(answer.brush, expected->brush) << "control " << c.id;
        EXPECT_EQ(answer.text, c.text) << "control " << c.id;
        EXPECT_EQ(answer.background, expected->backgroundColor) << "control " << c.id;
    }
    EXPECT_EQ(d.Send(WM_CTLCOLORSTATIC, d.item(kBody)).font, GetStockObject(SYSTEM_FONT));
    // The dialog itself is in no scheme: its background is "default".
    EXPECT_EQ(d.Send(WM_CTLCOLORDLG, d.window()).brush, d.BrushOf(L"default"));
}

TEST(ColorSchemes, MessagesOutsideTheMaskAndSuspensionLeaveTheSystemColours)
{
    SchemeDialog d(FolderDialogSchemes);
    ASSERT_TRUE(d.window());
    const HWND edit = d.item(kEditId);
    LRESULT result = 12345;
    EXPECT_FALSE(d.OnCtlColor(WM_CTLCOLOREDIT, 0, reinterpret_cast<LPARAM>(edit), &result));
    EXPECT_EQ(result, 12345) << "an unanswered message leaves the result alone";
    EXPECT_NE(d.Send(WM_CTLCOLOREDIT, edit).brush, d.BrushOf(L"default"));

    d.suspended = 1;
    EXPECT_TRUE(d.OnCtlColor(WM_CTLCOLORSTATIC, 0, reinterpret_cast<LPARAM>(d.item(kBody)), &result));
    EXPECT_EQ(result, 0);
    EXPECT_NE(d.Send(WM_CTLCOLORSTATIC, d.item(kBody)).brush, d.BrushOf(L"body"));
    d.suspended = 0;
    EXPECT_EQ(d.Send(WM_CTLCOLORSTATIC, d.item(kBody)).brush, d.BrushOf(L"body"));

    d.useDefault = 0;
    EXPECT_TRUE(d.OnCtlColor(WM_CTLCOLORSTATIC, 0, reinterpret_cast<LPARAM>(d.item(kPlain)), &result));
    EXPECT_EQ(result, 0) << "a control in no scheme is left to the system";
    EXPECT_FALSE(d.OnCtlColor(WM_PAINT, 0, 0, &result));
}

TEST(ColorSchemes, AComboBoxColoursItsEditAndListWindows)
{
    SchemeDialog d([](SchemeDialog& dialog) {
        const int combo[] = {kComboId, 4711};  // 4711: no such control
        EXPECT_EQ(dialog.AddScheme(L"default", nullptr, 0, kBlack, acl::kBodyColor, nullptr), 0u);
        EXPECT_EQ(dialog.AddScheme(L"combo", combo, 2, RGB(200, 0, 0), kWhite, nullptr), 0u);
    });
    ASSERT_TRUE(d.window());
    COMBOBOXINFO info{};
    info.cbSize = sizeof(info);
    ASSERT_TRUE(GetComboBoxInfo(d.item(kComboId), &info));
    const acl::ColorScheme* combo = d.Find(L"combo");
    ASSERT_TRUE(combo);
    const std::vector<HWND> expected{d.item(kComboId), info.hwndItem, info.hwndList, nullptr};
    EXPECT_EQ(combo->windows, expected);

    // The constructor's mask answers the edit and list box messages.
    EXPECT_EQ(d.Send(WM_CTLCOLOREDIT, info.hwndItem).brush, combo->brush);
    EXPECT_EQ(d.Send(WM_CTLCOLORLISTBOX, info.hwndList).text, RGB(200, 0, 0));
    d.messages = 11;
    EXPECT_NE(d.Send(WM_CTLCOLOREDIT, info.hwndItem).brush, combo->brush);
}

TEST(ColorSchemes, ANoneBackgroundKeepsTheDcColourButGivesTheBrush)
{
    SchemeDialog d([](SchemeDialog& dialog) {
        const int plain[] = {kPlain};
        dialog.AddScheme(L"clear", plain, 1, acl::kNoColor, acl::kNoColor, nullptr);
    });
    const auto answer = d.Send(WM_CTLCOLORSTATIC, d.item(kPlain));
    EXPECT_EQ(answer.brush, d.BrushOf(L"clear"));
    EXPECT_NE(answer.brush, nullptr);
    EXPECT_EQ(answer.text, RGB(1, 2, 3));
    EXPECT_EQ(answer.background, RGB(4, 5, 6));
}

TEST(ColorSchemes, ReplacingAndDestroyingReleaseBrushesAndFonts)
{
    LOGFONTW lf{};
    lf.lfHeight = -12;
    const HFONT first = CreateFontIndirectW(&lf);
    const HFONT second = CreateFontIndirectW(&lf);
    HBRUSH firstBrush = nullptr;
    HBRUSH secondBrush = nullptr;
    {
        SchemeDialog d([&](SchemeDialog& dialog) {
            dialog.AddScheme(L"x", nullptr, 0, kBlack, kWhite, first);
            firstBrush = dialog.BrushOf(L"x");
            dialog.AddScheme(L"x", nullptr, 0, kBlack, kWhite, second);
            secondBrush = dialog.BrushOf(L"x");
        });
        EXPECT_EQ(GetObjectType(first), 0u) << "the replaced scheme keeps its font";
        EXPECT_EQ(GetObjectType(firstBrush), 0u);
        EXPECT_EQ(GetObjectType(second), static_cast<DWORD>(OBJ_FONT));
        EXPECT_EQ(d.Find(L"x")->flags, 0xFFu);
    }
    EXPECT_EQ(GetObjectType(second), 0u);
    EXPECT_EQ(GetObjectType(secondBrush), 0u);
}

int CountOf(const Pixels& p, COLORREF color)
{
    int n = 0;
    for (int y = 0; y < p.height(); ++y)
        for (int x = 0; x < p.width(); ++x)
            n += p.at(x, y) == color;
    return n;
}

TEST(ColorSchemes, HeaderBandIsWhiteDownToTheSeparatorAndBodyBelow)
{
    SchemeDialog d(FolderDialogSchemes);
    ASSERT_TRUE(d.window());
    acl::HeaderBand band{};
    ASSERT_TRUE(acl::GetHeaderBand(d.window(), &band));
    RECT line{};
    GetWindowRect(d.item(acl::kHeaderSeparatorId), &line);
    MapWindowPoints(nullptr, d.window(), reinterpret_cast<POINT*>(&line), 2);
    EXPECT_EQ(band.header.bottom, line.bottom);
    EXPECT_EQ(band.body.top, line.bottom);

    const Pixels p = krn::test::CaptureClient(d.window());
    ASSERT_FALSE(p.empty());
    const int x = p.width() - 2;  // right of every control
    EXPECT_EQ(p.at(x, 0), kWhite);
    EXPECT_EQ(p.at(x, band.header.bottom - 1), kWhite);
    EXPECT_EQ(p.at(x, band.header.bottom), acl::kBodyColor);
    EXPECT_EQ(p.at(x, p.height() - 1), acl::kBodyColor);
}

TEST(ColorSchemes, StaticsPaintWithTheirSchemeOnScreen)
{
    SchemeDialog d(FolderDialogSchemes);
    ASSERT_TRUE(d.window());
    krn::test::PumpFor(50);
    // Mostly background: the text covers a small part of each label.
    const Pixels header = krn::test::CaptureScreen(d.item(kTitle));
    const Pixels plain = krn::test::CaptureScreen(d.item(kPlain));
    EXPECT_GT(CountOf(header, kWhite), header.width() * header.height() / 2);
    EXPECT_GT(CountOf(plain, acl::kBodyColor), plain.width() * plain.height() / 2);

    d.suspended = 1;
    InvalidateRect(d.item(kPlain), nullptr, TRUE);
    const Pixels system = krn::test::CaptureScreen(d.item(kPlain));
    EXPECT_EQ(CountOf(system, acl::kBodyColor), 0);
}

TEST(HeaderBand, WithoutSeparatorNothingIsPainted)
{
    const HWND window = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 50, 50, nullptr, nullptr, nullptr, nullptr);
    ASSERT_TRUE(window);
    const Pixels p = krn::test::Render(50, 50, RGB(9, 9, 9), [&](HDC dc) {
        EXPECT_FALSE(acl::PaintHeaderBand(window, dc));
    });
    EXPECT_EQ(p.at(10, 10), RGB(9, 9, 9));
    const Pixels body = krn::test::Render(50, 50, RGB(9, 9, 9), [&](HDC dc) { acl::PaintBody(window, dc); });
    EXPECT_EQ(body.at(49, 49), acl::kBodyColor);
    DestroyWindow(window);
}

} // namespace
