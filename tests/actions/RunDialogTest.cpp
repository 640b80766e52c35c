// The "Run ..." dialog through RunAction::EditParams: the real modal dialog,
// driven from its own message loop, with the real open-file dialog and the
// real help viewer; and the action's list cell.
#include "acl/ListView.h"
#include "actions/RunAction.h"
#include "actions/StandardKinds.h"
#include "config/ActionKindRegistry.h"
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

HICON ShownIcon(HWND run) { return reinterpret_cast<HICON>(SendDlgItemMessageW(run, IDC_RUN_ICON, STM_GETICON, 0, 0)); }

class RunDialogTest : public ScratchTest {
protected:
    RunDialogTest() { kind.CloneParams(&slot.params, &original); }
    // Runs EditParams while `driver` answers the dialogs and reports nothing amiss.
    HRESULT Edit(bool isNew = false)
    {
        const HRESULT hr = kind.EditParams(nullptr, isNew, slot);
        EXPECT_EQ(driver.Report(), "");
        return hr;
    }
    RunParams& Block() { return *static_cast<RunParams*>(slot.params); }
    // The items of the block's list cell: an icon as "<icon WIDTH>", a text as itself.
    std::wstring Cell()
    {
        acl::ListView_Cell cell(nullptr);
        EXPECT_EQ(kind.FillParamsCell(&cell, slot.params), S_OK);
        std::wstring items;
        for (size_t i = 0; i < cell.ItemCount(); ++i)
            items += cell.ItemAt(i)->kind == acl::ListView_Item::kIcon
                         ? L"<icon " + std::to_wstring(static_cast<acl::ListView_Icon*>(cell.ItemAt(i))->Info().bmWidth) + L">"
                         : static_cast<acl::ListView_Text*>(cell.ItemAt(i))->Text();
        return items;
    }

    const std::wstring program = [] {
        wchar_t path[MAX_PATH] = {};
        return std::wstring(path, GetModuleFileNameW(nullptr, path, MAX_PATH));
    }();
    RunAction kind{GetModuleHandleW(nullptr)};
    const RunParams original{program, L"-q"};
    ActionSlot slot{nullptr, &kind};
    TempFolder files;
    DialogDriver driver;
};

// A block as the dialog and the list cell show it: the path, and the icon of
// a file that exists as written (in the cell, the small one before the path).
// OK then stores what was typed exactly; typing leaves the icon alone. A file
// chosen by browsing replaces the path, without quotes, and brings its icon;
// a cancelled choice changes nothing.
TEST_F(RunDialogTest, BlockShowsInTheDialogAndTheCellAndOkStoresWhatWasTypedOrChosen)
{
    const std::wstring text = files / L"notes.txt", icon = L"<icon " + std::to_wstring(GetSystemMetrics(SM_CXSMICON)) + L">";
    const std::wstring chosen = files / L"My Run Tool.exe";
    WriteFileBytes(text, "no icon here");
    ASSERT_TRUE(CopyFileW(program.c_str(), chosen.c_str(), FALSE));
    // The block, the icon before its path in the cell, what is typed, and the
    // answer to the file dialog when the path is browsed for instead.
    const std::tuple<OptionalText, OptionalText, std::wstring, std::wstring, std::wstring, int> cases[] = {
        {program, L"/x \"a b\"", icon, L"\"C:\\Program Files\\Tool\\tool.exe\"", L"\"%currentdir%\"", 0},
        {L"\"" + program + L"\"", L"", L"", L"%currentdir%\\clean.cmd", L"%TEMP% /q", 0},
        {L"%currentdir%\\tool.exe", std::nullopt, L"", L"%SystemRoot%\\notepad.exe", L"", 0},
        {text, L"%TEMP%", L"", L"", L"", 0},
        {std::nullopt, std::nullopt, L"", L"a.exe", L"-b", 0},
        {L"\"quoted.exe\"", L"", L"", chosen, L"", IDOK},
        {L"\"quoted.exe\"", L"", L"", L"\"quoted.exe\"", L"", IDCANCEL},
    };
    for (const auto& [path, params, cellIcon, typedPath, typedParams, browse] : cases) {
        SCOPED_TRACE(testing::PrintToString(path.value_or(L"(none)")));
        Block() = RunParams{path, params};
        EXPECT_EQ(Cell(), cellIcon + path.value_or(L""));
        driver.Expect(kCaption, [&](HWND dialog) {
            EXPECT_EQ(WindowText(GetDlgItem(dialog, IDC_RUN_PATH)), path.value_or(L""));
            EXPECT_EQ(WindowText(GetDlgItem(dialog, IDC_RUN_PARAMS)), params.value_or(L""));
            const HICON shown = ShownIcon(dialog);
            EXPECT_EQ(shown != nullptr, !cellIcon.empty());
            if (browse)
                return DialogDriver::Click(dialog, IDC_BROWSE);
            SetDlgItemTextW(dialog, IDC_RUN_PATH, typedPath.c_str());
            SetDlgItemTextW(dialog, IDC_RUN_PARAMS, typedParams.c_str());
            EXPECT_EQ(ShownIcon(dialog), shown) << "typing keeps the icon";
            DialogDriver::Click(dialog, IDOK);
        });
        if (browse)
            driver.Expect(L"Open", [&](HWND open) {
                // The file name box: a combo box in the explorer-style dialog.
                HWND name = GetDlgItem(open, cmb13);
                SetWindowTextW(name ? name : GetDlgItem(open, edt1), chosen.c_str());
                DialogDriver::Click(open, browse);
            }).Expect(kCaption, [&](HWND dialog) {
                EXPECT_EQ(ShownIcon(dialog) != nullptr, browse == IDOK);
                DialogDriver::Click(dialog, IDOK);
            });
        EXPECT_EQ(Edit(), S_OK);
        EXPECT_EQ(Block().path, OptionalText(typedPath));
        EXPECT_EQ(Block().params, OptionalText(typedParams));
    }
    slot.FreeParams();
    EXPECT_EQ(Cell(), L"") << "no block";
}

// A new action never overwrites a block; every way out but OK keeps an old
// block as it was and drops a new one, and the icon shown goes with the
// dialog. On the way out through Cancel, the help link opens the run page of
// the help file beside the program, owned by the dialog; the dialog is on the
// body colour, labels included, and the edit boxes keep the system's colours.
TEST_F(RunDialogTest, CancelKeepsAnOldBlockAndDropsANewOneAndHelpOpensTheRunPageOnTheBodyColour)
{
    EXPECT_EQ(kind.EditParams(nullptr, true, slot), E_INVALIDARG);
    Pixels pixels;
    RECT label{7, 7, 265, 15}, params{7, 46, 265, 60};  // in dialog units
    const std::pair<const char*, std::function<void(HWND)>> ways[] = {
        {"Cancel", [](HWND dialog) { DialogDriver::Click(dialog, IDCANCEL); }},
        {"Esc", [](HWND dialog) { PostMessageW(GetDlgItem(dialog, IDC_RUN_PATH), WM_KEYDOWN, VK_ESCAPE, 0); }},
        {"close box", [](HWND dialog) { PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0); }},
        {"help, then Cancel", [&](HWND dialog) {
             if (pixels.empty()) {  // once: the rectangles are mapped in place
                 pixels = CaptureScreen(dialog);
                 MapDialogRect(dialog, &label);
                 MapDialogRect(dialog, &params);
             }
             SendDlgItemMessageW(dialog, IDC_RUN_HELP_LINK, WM_LBUTTONUP, 0, MAKELPARAM(2, 2));
             const HWND viewer = FindWindowW(L"HH Parent", nullptr);
             EXPECT_EQ(viewer ? GetWindow(viewer, GW_OWNER) : nullptr, dialog) << "no help viewer, or not owned";
             HelpLauncher::HtmlHelpW(nullptr, nullptr, 0x12 /* HH_CLOSE_ALL */, 0);
             DialogDriver::Click(dialog, IDCANCEL);
         }},
    };
    for (const auto& [how, leave] : ways) {
        for (const bool isNew : {false, true}) {
            SCOPED_TRACE(std::string(how) + (isNew ? ", new" : ", old"));
            slot.FreeParams();
            if (!isNew)
                kind.CloneParams(&slot.params, &original);
            HICON icon = nullptr;
            driver.Expect(kCaption, [&](HWND dialog) {
                icon = ShownIcon(dialog);
                SetDlgItemTextW(dialog, IDC_RUN_PATH, L"other.exe");
                SetDlgItemTextW(dialog, IDC_RUN_PARAMS, L"-other");
                leave(dialog);
            });
            EXPECT_EQ(Edit(isNew), isNew ? E_FAIL : S_FALSE);
            EXPECT_EQ(isNew ? slot.params != nullptr : kind.CompareParams(slot.params, &original) != 0, false)
                << "a new block kept, or an old one changed";
            ICONINFO info{};
            EXPECT_FALSE(GetIconInfo(icon, &info)) << "the dialog destroys its icon";
        }
    }
    PumpUntil([] { return !FindWindowW(L"HH Parent", nullptr); }, 3000);
    ASSERT_FALSE(pixels.empty());
    const COLORREF body = RGB(0x8A, 0xA6, 0xD6);
    EXPECT_EQ(pixels.at(pixels.width() - 2, pixels.height() - 2), body);
    EXPECT_EQ(pixels.at(label.right - 2, (label.top + label.bottom) / 2), body) << "the label's background";
    EXPECT_EQ(pixels.at(params.right - 6, (params.top + params.bottom) / 2), GetSysColor(COLOR_WINDOW));
}

// The kinds' names, tags and flags show in the folder dialog and the folder
// list; what only this shows: the registry's end deletes the kinds' bitmaps.
TEST(ActionKinds, DeleteTheirBitmapsWithTheRegistry)
{
    std::vector<HBITMAP> bitmaps;
    {
        ActionKindRegistry kinds;
        AddStandardKinds(kinds, GetModuleHandleW(nullptr));
        for (size_t i = 0; i < kinds.Count(); ++i)
            bitmaps.push_back(kinds.KindAt(i)->bitmap.get());
        for (HBITMAP bitmap : bitmaps)
            EXPECT_EQ(GetObjectType(bitmap), static_cast<DWORD>(OBJ_BITMAP));
    }
    ASSERT_EQ(bitmaps.size(), 3u);
    for (HBITMAP bitmap : bitmaps)
        EXPECT_EQ(GetObjectType(bitmap), 0u) << "a kind deletes its bitmap";
}

} // namespace
} // namespace krn::test
