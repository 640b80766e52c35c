// The "Run ..." dialog through RunAction::EditParams: the real modal dialog,
// driven from its own message loop, with the real open-file dialog and the
// real help viewer; and the action's list cell.
#include "acl/ListView.h"
#include "actions/RunAction.h"
#include "resource.h"
#include "settings/HelpLauncher.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <dlgs.h>

#include <gtest/gtest.h>

#include <string>

namespace krn::test {
namespace {

constexpr wchar_t kCaption[] = L"Run ...";
const std::wstring kProgram = [] {
    wchar_t path[MAX_PATH] = {};
    return std::wstring(path, GetModuleFileNameW(nullptr, path, MAX_PATH));
}();

std::wstring Text(HWND dialog, int id) { return WindowText(GetDlgItem(dialog, id)); }
HICON ShownIcon(HWND run) { return reinterpret_cast<HICON>(SendDlgItemMessageW(run, IDC_RUN_ICON, STM_GETICON, 0, 0)); }

class RunDialogTest : public ScratchTest {
protected:
    RunDialogTest() { kind.CloneParams(&slot.params, &original); }
    // Runs EditParams while `driver` answers the dialogs; the driver's report
    // is part of the result.
    HRESULT Edit(bool isNew = false)
    {
        const HRESULT hr = kind.EditParams(nullptr, isNew, slot);
        EXPECT_EQ(driver.Report(), "");
        return hr;
    }
    RunParams& Block() { return *static_cast<RunParams*>(slot.params); }

    RunAction kind{GetModuleHandleW(nullptr)};
    const RunParams original{kProgram, L"-q"};
    ActionSlot slot{nullptr, &kind};
    TempFolder files;
    DialogDriver driver;
};

// A block as the dialog and the list cell show it: the path, and the icon of
// a file that exists as written (in the cell, the small icon before the path).
// OK then stores what was typed exactly; typing leaves the icon alone.
TEST_F(RunDialogTest, BlockShowsInTheDialogAndTheCellAndOkStoresWhatWasTyped)
{
    const std::wstring text = files / L"notes.txt";
    WriteFileBytes(text, "no icon here");
    const struct {
        OptionalText path, params;
        bool icon;
        std::wstring typedPath, typedParams;
    } cases[] = {
        {kProgram, L"/x \"a b\"", true, L"\"C:\\Program Files\\Tool\\tool.exe\"", L"\"%currentdir%\""},
        {L"\"" + kProgram + L"\"", L"", false, L"%currentdir%\\clean.cmd", L"%TEMP% /q"},
        {L"%currentdir%\\tool.exe", std::nullopt, false, L"%SystemRoot%\\notepad.exe", L""},
        {text, L"%TEMP%", false, L"", L""},
        {std::nullopt, std::nullopt, false, L"a.exe", L"-b"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.path.value_or(L"(none)")));
        Block() = RunParams{c.path, c.params};
        acl::ListView_Cell cell(nullptr);
        EXPECT_EQ(kind.FillParamsCell(&cell, slot.params), S_OK);
        ASSERT_EQ(cell.ItemCount(), size_t{c.icon} + size_t{c.path.has_value()});
        if (c.icon) {
            ASSERT_EQ(cell.ItemAt(0)->kind, acl::ListView_Item::kIcon);
            EXPECT_EQ(static_cast<acl::ListView_Icon*>(cell.ItemAt(0))->Info().bmWidth, GetSystemMetrics(SM_CXSMICON));
        }
        if (c.path) {
            ASSERT_EQ(cell.ItemAt(cell.ItemCount() - 1)->kind, acl::ListView_Item::kText);
            EXPECT_EQ(static_cast<acl::ListView_Text*>(cell.ItemAt(cell.ItemCount() - 1))->Text(), *c.path);
        }
        driver.Expect(kCaption, [&](HWND dialog) {
            EXPECT_EQ(Text(dialog, IDC_RUN_PATH), c.path.value_or(L""));
            EXPECT_EQ(Text(dialog, IDC_RUN_PARAMS), c.params.value_or(L""));
            const HICON icon = ShownIcon(dialog);
            EXPECT_EQ(icon != nullptr, c.icon);
            SetDlgItemTextW(dialog, IDC_RUN_PATH, c.typedPath.c_str());
            SetDlgItemTextW(dialog, IDC_RUN_PARAMS, c.typedParams.c_str());
            EXPECT_EQ(ShownIcon(dialog), icon) << "typing keeps the icon";
            DialogDriver::Click(dialog, IDOK);
        });
        EXPECT_EQ(Edit(), S_OK);
        EXPECT_EQ(Block().path, OptionalText(c.typedPath));
        EXPECT_EQ(Block().params, OptionalText(c.typedParams));
    }
    acl::ListView_Cell cell(nullptr);
    EXPECT_EQ(kind.FillParamsCell(&cell, nullptr), S_OK);
    EXPECT_EQ(cell.ItemCount(), 0u);
    EXPECT_EQ(kind.FillParamsCell(nullptr, &original), E_ABORT);
}

// A new action never overwrites a block; every way out but OK keeps an old
// block as it was and drops a new one, and the icon shown goes with the dialog.
TEST_F(RunDialogTest, CancelKeepsAnOldBlockAndDropsANewOne)
{
    EXPECT_EQ(kind.EditParams(nullptr, true, slot), E_INVALIDARG);
    EXPECT_EQ(kind.CompareParams(slot.params, &original), 0);
    const struct {
        const char* how;
        void (*leave)(HWND);
    } ways[] = {
        {"Cancel", [](HWND dialog) { DialogDriver::Click(dialog, IDCANCEL); }},
        {"Esc", [](HWND dialog) { PostMessageW(GetDlgItem(dialog, IDC_RUN_PATH), WM_KEYDOWN, VK_ESCAPE, 0); }},
        {"close box", [](HWND dialog) { PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0); }},
    };
    for (const auto& way : ways) {
        for (const bool isNew : {false, true}) {
            SCOPED_TRACE(std::string(way.how) + (isNew ? ", new" : ", old"));
            slot.FreeParams();
            if (!isNew)
                kind.CloneParams(&slot.params, &original);
            HICON icon = nullptr;
            driver.Expect(kCaption, [&](HWND dialog) {
                icon = ShownIcon(dialog);
                SetDlgItemTextW(dialog, IDC_RUN_PATH, L"other.exe");
                SetDlgItemTextW(dialog, IDC_RUN_PARAMS, L"-other");
                way.leave(dialog);
            });
            EXPECT_EQ(Edit(isNew), isNew ? E_FAIL : S_FALSE);
            if (isNew)
                EXPECT_EQ(slot.params, nullptr);
            else
                EXPECT_EQ(kind.CompareParams(slot.params, &original), 0);
            ICONINFO info{};
            EXPECT_FALSE(GetIconInfo(icon, &info)) << "the dialog destroys its icon";
        }
    }
}

// The chosen file replaces the path box's text, without quotes, and brings
// its icon; a cancelled choice changes nothing.
TEST_F(RunDialogTest, BrowsingPutsTheChosenPathAndItsIcon)
{
    const std::wstring chosen = files / L"My Run Tool.exe";
    ASSERT_TRUE(CopyFileW(kProgram.c_str(), chosen.c_str(), FALSE));
    for (const bool choose : {true, false}) {
        Block() = RunParams{L"\"quoted.exe\"", L""};
        driver.Expect(kCaption, [](HWND dialog) { DialogDriver::Click(dialog, IDC_BROWSE); })
            .Expect(L"Open", [&](HWND open) {
                // The file name box: a combo box in the explorer-style dialog.
                HWND name = GetDlgItem(open, cmb13);
                SetWindowTextW(name ? name : GetDlgItem(open, edt1), chosen.c_str());
                DialogDriver::Click(open, choose ? IDOK : IDCANCEL);
            })
            .Expect(kCaption, [&](HWND dialog) {
                EXPECT_EQ(ShownIcon(dialog) != nullptr, choose);
                DialogDriver::Click(dialog, IDOK);
            });
        EXPECT_EQ(Edit(), S_OK);
        EXPECT_EQ(Block().path, choose ? chosen : L"\"quoted.exe\"");
    }
}

// The link opens the run page of the help file beside the program, owned by
// the dialog. The dialog is on the body colour, labels included; the edit
// boxes keep the system's colours.
TEST_F(RunDialogTest, HelpLinkOpensTheRunPageOnTheBodyColour)
{
    const std::wstring help = kProgram.substr(0, kProgram.rfind(L'\\')) + L"\\BrimwellPro.chm";
    ASSERT_NE(GetFileAttributesW(help.c_str()), INVALID_FILE_ATTRIBUTES);
    Pixels pixels;
    RECT label{7, 7, 265, 15}, params{7, 46, 265, 60};  // in dialog units
    driver.Expect(kCaption, [&](HWND dialog) {
        pixels = CaptureScreen(dialog);
        MapDialogRect(dialog, &label);
        MapDialogRect(dialog, &params);
        SendDlgItemMessageW(dialog, IDC_RUN_HELP_LINK, WM_LBUTTONUP, 0, MAKELPARAM(2, 2));
        const HWND viewer = FindWindowW(L"HH Parent", nullptr);
        EXPECT_TRUE(viewer);
        EXPECT_EQ(GetWindow(viewer, GW_OWNER), dialog);
        HelpLauncher::HtmlHelpW(nullptr, nullptr, 0x12 /* HH_CLOSE_ALL */, 0);
        DialogDriver::Click(dialog, IDCANCEL);
    });
    EXPECT_EQ(Edit(), S_FALSE);
    PumpUntil([] { return !FindWindowW(L"HH Parent", nullptr); }, 3000);
    ASSERT_FALSE(pixels.empty());
    const COLORREF body = RGB(0x8A, 0xA6, 0xD6);
    EXPECT_EQ(pixels.at(pixels.width() - 2, pixels.height() - 2), body);
    EXPECT_EQ(pixels.at(label.right - 2, (label.top + label.bottom) / 2), body) << "the label's background";
    EXPECT_EQ(pixels.at(params.right - 6, (params.top + params.bottom) / 2), GetSysColor(COLOR_WINDOW));
}

} // namespace
} // namespace krn::test
