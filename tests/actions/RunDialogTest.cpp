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

#include <filesystem>
#include <string>
#include <vector>

namespace krn::test {
namespace {

constexpr wchar_t kCaption[] = L"Run ...";
constexpr UINT kCloseAllHelp = 0x12;  // HH_CLOSE_ALL

std::wstring ProgramPath()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

HICON ShownIcon(HWND dialog)
{
    return reinterpret_cast<HICON>(SendDlgItemMessageW(dialog, IDC_RUN_ICON, STM_GETICON, 0, 0));
}

bool IconAlive(HICON icon)
{
    ICONINFO info{};
    if (!GetIconInfo(icon, &info))
        return false;
    DeleteObject(info.hbmColor);
    DeleteObject(info.hbmMask);
    return true;
}

// Replaces a box's text the way typing does: character by character.
void Type(HWND dialog, int id, const std::wstring& text)
{
    const HWND box = GetDlgItem(dialog, id);
    SendMessageW(box, EM_SETSEL, 0, -1);
    SendMessageW(box, WM_CHAR, VK_BACK, 0);
    for (wchar_t c : text)
        SendMessageW(box, WM_CHAR, c, 0);
}

class RunDialogTest : public ScratchTest {
protected:
    RunDialogTest() { Reset(); }
    // The slot holds a copy of `original` again.
    void Reset()
    {
        slot.FreeParams();
        kind.CloneParams(&slot.params, &original);
    }
    // Runs EditParams while `driver` answers the dialogs; the driver's report
    // is part of the result.
    HRESULT Edit(DialogDriver& driver, bool isNew)
    {
        const HRESULT hr = kind.EditParams(nullptr, isNew, slot);
        EXPECT_EQ(driver.Report(), "");
        return hr;
    }
    RunParams& Block() { return *static_cast<RunParams*>(slot.params); }

    RunAction kind;
    const RunParams original{ProgramPath(), L"-q"};
    ActionSlot slot{nullptr, &kind};
    TempFolder files;
};

// What the dialog shows when it opens; only a file that exists as written
// has an icon.
TEST_F(RunDialogTest, ShowsTheBlockAndTheIconOfItsFile)
{
    const std::wstring text = files / L"notes.txt";
    WriteFileBytes(text, "no icon here");
    const struct {
        OptionalText path, params;
        bool icon;
    } cases[] = {
        {ProgramPath(), L"/x \"a b\"", true},
        {L"\"" + ProgramPath() + L"\"", L"", false},
        {L"%currentdir%\\tool.exe", std::nullopt, false},
        {text, L"%TEMP%", false},
        {std::nullopt, std::nullopt, false},
    };
    for (const auto& c : cases) {
        const std::string trace = testing::PrintToString(c.path.value_or(L"(none)"));
        Block() = RunParams{c.path, c.params};
        std::wstring path, params;
        HICON icon = nullptr;
        DialogDriver driver;
        driver.Expect(kCaption, [&](HWND dialog) {
            path = WindowText(GetDlgItem(dialog, IDC_RUN_PATH));
            params = WindowText(GetDlgItem(dialog, IDC_RUN_PARAMS));
            icon = ShownIcon(dialog);
            DialogDriver::Click(dialog, IDCANCEL);
        });
        EXPECT_EQ(Edit(driver, false), S_FALSE) << trace;
        EXPECT_EQ(path, c.path.value_or(L"")) << trace;
        EXPECT_EQ(params, c.params.value_or(L"")) << trace;
        EXPECT_EQ(icon != nullptr, c.icon) << trace;
    }
}

// OK stores what the boxes hold, exactly; typing leaves the icon alone.
TEST_F(RunDialogTest, OkStoresTheTypedTextsAsTheyStand)
{
    const struct {
        std::wstring path, params;
    } cases[] = {
        {L"\"C:\\Program Files\\Tool\\tool.exe\"", L"\"%currentdir%\""},
        {L"%currentdir%\\clean.cmd", L"%TEMP% /q"},
        {L"%SystemRoot%\\notepad.exe", L""},
        {L"", L""},
    };
    for (const auto& c : cases) {
        HICON before = nullptr, after = nullptr;
        DialogDriver driver;
        driver.Expect(kCaption, [&](HWND dialog) {
            before = ShownIcon(dialog);
            Type(dialog, IDC_RUN_PATH, c.path);
            Type(dialog, IDC_RUN_PARAMS, c.params);
            after = ShownIcon(dialog);
            DialogDriver::Click(dialog, IDOK);
        });
        Reset();
        EXPECT_EQ(Edit(driver, false), S_OK);
        EXPECT_EQ(Block().path, OptionalText(c.path));
        EXPECT_EQ(Block().params, OptionalText(c.params));
        EXPECT_TRUE(before);
        EXPECT_EQ(after, before) << "typing keeps the icon";
    }
}

// Every way out but OK keeps an old block as it was and drops a new one.
TEST_F(RunDialogTest, CancelKeepsAnOldBlockAndDropsANewOne)
{
    using Leave = void (*)(HWND);
    const struct {
        const char* how;
        Leave leave;
    } ways[] = {
        {"Cancel", [](HWND dialog) { DialogDriver::Click(dialog, IDCANCEL); }},
        {"Esc", [](HWND dialog) { PostMessageW(GetDlgItem(dialog, IDC_RUN_PATH), WM_KEYDOWN, VK_ESCAPE, 0); }},
        {"close box", [](HWND dialog) { PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0); }},
    };
    for (const auto& way : ways) {
        for (const bool isNew : {false, true}) {
            const std::string trace = std::string(way.how) + (isNew ? ", new" : ", old");
            if (isNew)
                slot.FreeParams();
            else
                Reset();
            HICON icon = nullptr;
            bool shown = false;
            DialogDriver driver;
            driver.Expect(kCaption, [&](HWND dialog) {
                icon = ShownIcon(dialog);
                shown = IconAlive(icon);
                Type(dialog, IDC_RUN_PATH, L"other.exe");
                Type(dialog, IDC_RUN_PARAMS, L"-other");
                way.leave(dialog);
            });
            EXPECT_EQ(Edit(driver, isNew), isNew ? E_FAIL : S_FALSE) << trace;
            if (isNew)
                EXPECT_EQ(slot.params, nullptr) << trace;
            else
                EXPECT_EQ(kind.CompareParams(slot.params, &original), 0) << trace;
            EXPECT_EQ(shown, !isNew) << trace << ": only an old block's file has an icon";
            EXPECT_FALSE(IconAlive(icon)) << trace << ": the dialog destroys its icon";
        }
    }
    Reset();
    EXPECT_EQ(kind.EditParams(nullptr, true, slot), E_INVALIDARG) << "a new action never overwrites a block";
}

// The chosen file replaces the path box's text, without quotes, and brings
// its icon; a cancelled choice changes nothing.
TEST_F(RunDialogTest, BrowsingPutsTheChosenPathAndItsIcon)
{
    const std::wstring chosen = files / L"My Run Tool.exe";
    ASSERT_TRUE(CopyFileW(ProgramPath().c_str(), chosen.c_str(), FALSE));
    for (const bool choose : {true, false}) {
        Block() = RunParams{L"\"quoted.exe\"", L""};
        std::wstring path;
        HICON icon = nullptr;
        DialogDriver driver;
        driver.Expect(kCaption, [](HWND dialog) { DialogDriver::Click(dialog, IDC_BROWSE); })
            .Expect(L"Open", [&](HWND open) {
                // The file name box: a combo box in the explorer-style dialog.
                HWND name = GetDlgItem(open, cmb13);
                SetWindowTextW(name ? name : GetDlgItem(open, edt1), chosen.c_str());
                DialogDriver::Click(open, choose ? IDOK : IDCANCEL);
            })
            .Expect(kCaption, [&](HWND dialog) {
                path = WindowText(GetDlgItem(dialog, IDC_RUN_PATH));
                icon = ShownIcon(dialog);
                DialogDriver::Click(dialog, IDOK);
            });
        EXPECT_EQ(Edit(driver, false), S_OK);
        EXPECT_EQ(path, choose ? chosen : L"\"quoted.exe\"");
        EXPECT_EQ(icon != nullptr, choose);
    }
}

// A click on the link opens the run page of the help file beside the
// program, owned by the dialog.
TEST_F(RunDialogTest, HelpLinkOpensTheRunPage)
{
    ASSERT_TRUE(std::filesystem::exists(ProgramPath().substr(0, ProgramPath().rfind(L'\\')) + L"\\BrimwellPro.chm"));
    HWND viewer = nullptr, owner = nullptr, dialogWindow = nullptr;
    DialogDriver driver;
    driver.Expect(kCaption, [&](HWND dialog) {
        dialogWindow = dialog;
        SendDlgItemMessageW(dialog, IDC_RUN_HELP_LINK, WM_LBUTTONUP, 0, MAKELPARAM(2, 2));
        viewer = FindWindowW(L"HH Parent", nullptr);
        owner = GetWindow(viewer, GW_OWNER);
        HelpLauncher::HtmlHelpW(nullptr, nullptr, kCloseAllHelp, 0);
        DialogDriver::Click(dialog, IDCANCEL);
    });
    EXPECT_EQ(Edit(driver, false), S_FALSE);
    EXPECT_TRUE(viewer);
    EXPECT_EQ(owner, dialogWindow);
    PumpUntil([] { return !FindWindowW(L"HH Parent", nullptr); }, 3000);
}

// The body colour throughout, labels included; the edit boxes keep the
// system's colours.
TEST_F(RunDialogTest, BackgroundIsTheBodyColour)
{
    Pixels pixels;
    RECT label{7, 7, 265, 15}, params{};  // the first label, in dialog units
    DialogDriver driver;
    driver.Expect(kCaption, [&](HWND dialog) {
        pixels = CaptureScreen(dialog);
        MapDialogRect(dialog, &label);
        GetWindowRect(GetDlgItem(dialog, IDC_RUN_PARAMS), &params);
        MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&params), 2);
        DialogDriver::Click(dialog, IDCANCEL);
    });
    EXPECT_EQ(Edit(driver, false), S_FALSE);
    ASSERT_FALSE(pixels.empty());
    const COLORREF body = RGB(0x8A, 0xA6, 0xD6);
    EXPECT_EQ(pixels.at(1, 1), body);
    EXPECT_EQ(pixels.at(pixels.width() - 2, pixels.height() - 2), body);
    EXPECT_EQ(pixels.at(label.right - 2, (label.top + label.bottom) / 2), body) << "the label's background";
    EXPECT_EQ(pixels.at(params.right - 6, (params.top + params.bottom) / 2), GetSysColor(COLOR_WINDOW));
}

// The list cell: the small icon of a file that has one, then the path; a
// quoted path or one with a variable names no file and gives the text alone.
TEST(RunAction, FillParamsCellShowsTheIconOfAnExistingFileThenThePath)
{
    TempFolder files;
    const std::wstring text = files / L"notes.txt";
    WriteFileBytes(text, "no icon here");
    using Kinds = std::vector<uint32_t>;
    const Kinds iconAndText{acl::ListView_Item::kIcon, acl::ListView_Item::kText};
    const Kinds textOnly{acl::ListView_Item::kText};
    const struct {
        OptionalText path;
        Kinds kinds;
    } cases[] = {
        {ProgramPath(), iconAndText},
        {text, textOnly},
        {L"\"" + ProgramPath() + L"\"", textOnly},
        {L"%currentdir%\\tool.exe", textOnly},
        {std::nullopt, {}},
    };
    RunAction kind;
    for (const auto& c : cases) {
        const std::string trace = testing::PrintToString(c.path.value_or(L"(none)"));
        const RunParams block{c.path, L"-q"};
        acl::ListView_Cell cell(nullptr);
        EXPECT_EQ(kind.FillParamsCell(&cell, &block), S_OK) << trace;
        Kinds kinds;
        for (size_t i = 0; i < cell.ItemCount(); ++i)
            kinds.push_back(cell.ItemAt(i)->kind);
        EXPECT_EQ(kinds, c.kinds) << trace;
        if (kinds == iconAndText) {
            const auto* icon = static_cast<acl::ListView_Icon*>(cell.ItemAt(0));
            EXPECT_TRUE(icon->OwnsIcon());
            EXPECT_EQ(icon->Info().bmWidth, GetSystemMetrics(SM_CXSMICON)) << "the small icon";
        }
        if (!kinds.empty()) {
            EXPECT_EQ(static_cast<acl::ListView_Text*>(cell.ItemAt(kinds.size() - 1))->Text(), *c.path) << trace;
        }
    }
    acl::ListView_Cell cell(nullptr);
    EXPECT_EQ(kind.FillParamsCell(&cell, nullptr), S_OK);
    EXPECT_EQ(cell.ItemCount(), 0u);
    const RunParams block{ProgramPath(), std::nullopt};
    EXPECT_EQ(kind.FillParamsCell(nullptr, &block), E_ABORT);
}

} // namespace
} // namespace krn::test
