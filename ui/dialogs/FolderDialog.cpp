#include "ui/dialogs/FolderDialog.h"

#include "base/Handles.h"
#include "config/ActionKindRegistry.h"
#include "config/ConfigDocument.h"
#include "config/Locations.h"
#include "resource.h"

#include <shlobj.h>
#include <shlwapi.h>

#include <string>

namespace krn {
namespace {

constexpr uint32_t kRowHeight = 19;
constexpr uint32_t kItemSpacing = 3;
constexpr int kActionsColumnWidth = 130;
constexpr int kParametersColumnWidth = 270;
constexpr WPARAM kDefaultUnit = SizeUnit_KB;
// Text buffers, terminating null included: paths and limit fields, and the
// path read for the header, which may be longer than any valid path.
constexpr int kFieldChars = MAX_PATH;
constexpr int kHeaderPathChars = 2 * MAX_PATH;

constexpr UINT kBrowseFlags =
    BIF_RETURNONLYFSDIRS | BIF_EDITBOX | BIF_VALIDATE | BIF_NEWDIALOGSTYLE | BIF_NONEWFOLDERBUTTON;
static_assert(kBrowseFlags == 0x271);

constexpr wchar_t kNotAFolder[] = L"Selected path is not a valid folder.\nPlease select a valid folder and try again.";
// One message for a zero in either limit, the minimum's included.
constexpr wchar_t kZeroLimit[] =
    L"Maximum limit should be higher than 0 bytes.\nPlease correct this error and try again.";
constexpr wchar_t kNoLimit[] = L"Invalid limits.\nPlease correct this error and try again";
constexpr wchar_t kMaxNotAboveMin[] =
    L"Maximum limit should be higher than minimum limit.\nPlease correct this error and try again.";
constexpr wchar_t kNoAction[] = L"You must select at least one action.\nPlease correct this error and try again.";

// The controls of one limit and where it goes in an entry.
struct LimitControls {
    int check;
    int value;
    int unit;
    int text;
    int textLabel;
    FolderEntry::Flags flag;
    SizeLimit FolderEntry::*limit;
};
constexpr LimitControls kMinimum{IDC_MIN_CHECK, IDC_MIN_VALUE, IDC_MIN_UNIT, IDC_MIN_TEXT, IDC_MIN_TEXT_LABEL,
                                 FolderEntry::HasMin, &FolderEntry::min};
constexpr LimitControls kMaximum{IDC_MAX_CHECK, IDC_MAX_VALUE, IDC_MAX_UNIT, IDC_MAX_TEXT, IDC_MAX_TEXT_LABEL,
                                 FolderEntry::HasMax, &FolderEntry::max};
constexpr const LimitControls* kLimits[] = {&kMinimum, &kMaximum};

// The shell's item lists come from its allocator and go back to it.
struct ShellItemList {
    using pointer = PIDLIST_ABSOLUTE;
    static constexpr pointer invalid() noexcept { return nullptr; }
    static void close(pointer list) noexcept { CoTaskMemFree(list); }
};
struct DroppedFiles {
    using pointer = HDROP;
    static constexpr pointer invalid() noexcept { return nullptr; }
    static void close(pointer drop) noexcept { DragFinish(drop); }
};

// At most `capacity` - 1 characters of a control's text.
std::wstring ControlText(HWND dialog, int id, int capacity)
{
    std::wstring text(static_cast<size_t>(capacity), L'\0');
    text.resize(GetDlgItemTextW(dialog, id, text.data(), capacity));
    return text;
}

bool IsChecked(HWND dialog, int id)
{
    return IsDlgButtonChecked(dialog, id) == BST_CHECKED;
}

// A limit's controls are usable exactly while its box is checked.
void ApplyEnableRule(HWND dialog, const LimitControls& limit)
{
    const bool checked = IsChecked(dialog, limit.check);
    for (int id : {limit.value, limit.unit, limit.text, limit.textLabel})
        EnableWindow(GetDlgItem(dialog, id), checked);
}

void ShowLimit(HWND dialog, const LimitControls& controls, const SizeLimit& limit)
{
    CheckDlgButton(dialog, controls.check, BST_CHECKED);
    SetDlgItemTextW(dialog, controls.value, FormatLimitNumber(limit.value).c_str());
    SetDlgItemTextW(dialog, controls.text, limit.msg ? limit.msg->c_str() : L"");
    SendDlgItemMessageW(dialog, controls.unit, CB_SETCURSEL, limit.units, 0);
    ApplyEnableRule(dialog, controls);
}

// The limit of a checked box; false when its number is 0 (or no number).
bool ReadLimit(HWND dialog, const LimitControls& controls, FolderEntry& edited)
{
    const double value = ParseLimitValue(ControlText(dialog, controls.value, kFieldChars).c_str());
    if (value == 0.0)
        return false;
    SizeLimit& limit = edited.*controls.limit;
    limit.value = value;
    limit.msg = ControlText(dialog, controls.text, kFieldChars);
    limit.units = static_cast<std::uint16_t>(SendDlgItemMessageW(dialog, controls.unit, CB_GETCURSEL, 0, 0));
    edited.flags |= controls.flag;
    return true;
}

} // namespace

FolderDialog::FolderDialog(const ActionKindRegistry& kinds) : kinds_(kinds) {}

INT_PTR FolderDialog::Run(HWND owner, FolderEntry* entry)
{
    if (!entry)
        return -1;
    entry_ = entry;
    const INT_PTR result = RunModal(kTemplateId, owner);
    entry_ = nullptr;
    return result;
}

std::optional<LRESULT> FolderDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        return OnInitDialog();
    case WM_ERASEBKGND:
        return OnEraseBackground(reinterpret_cast<HDC>(wParam));
    case WM_MEASUREITEM:
        // Wine asks before WM_INITDIALOG too; the unattached list answers 0
        // and Remeasure asks again.
        if (wParam == IDC_ACTION_LIST)
            return actionList_.OnMeasureItem(IDC_ACTION_LIST, *reinterpret_cast<MEASUREITEMSTRUCT*>(lParam));
        break;
    case WM_DRAWITEM:
        if (wParam == IDC_ACTION_LIST)
            return actionList_.OnDrawItem(IDC_ACTION_LIST, *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
        break;
    case WM_DROPFILES:
        OnDropFiles(reinterpret_cast<HDROP>(wParam));
        return 0;
    case WM_COMMAND:
        OnCommand(LOWORD(wParam), HIWORD(wParam));
        return 0;
    case WM_NOTIFY: {
        const auto& header = *reinterpret_cast<const NMHDR*>(lParam);
        if (header.idFrom != IDC_ACTION_LIST)
            break;
        OnNotify(header);
        return 0;
    }
    }
    return AnswerColorMessage(*this, message, wParam, lParam);
}

BOOL FolderDialog::OnInitDialog()
{
    CentreDialog(window());
    // The combo index is the SizeUnit value.
    for (int combo : {IDC_MIN_UNIT, IDC_MAX_UNIT}) {
        for (const wchar_t* name : LimitUnitNames)
            SendDlgItemMessageW(window(), combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(name));
        SendDlgItemMessageW(window(), combo, CB_SETCURSEL, kDefaultUnit, 0);
    }
    SetUpLook();
    SetUpActionList();
    // A new folder, even one whose path the caller knows already, starts
    // with both limits off and no actions.
    if (entry_->path)
        ShowEntry(*entry_);
    return TRUE;
}

void FolderDialog::SetUpLook()
{
    DialogFonts fonts = MakeDialogFonts(window());
    AddHeaderSchemes(*this, window(), std::move(fonts.largeBold), {kHeaderTextId, kHeaderPictureId});
    // The section labels in bold on the body colour.
    AddFontScheme(*this, window(), L"body", {IDC_FOLDER_GROUP, IDC_LIMITS_GROUP, IDC_ACTIONS_GROUP}, acl::kBodyColor,
                  std::move(fonts.bold));
    brushes_.emplace();
}

void FolderDialog::SetUpActionList()
{
    actionList_.Attach(window(), IDC_ACTION_LIST);
    actionList_.rowHeight = kRowHeight;
    actionList_.Remeasure();
    actionList_.AddColumn(L"Actions", kActionsColumnWidth);
    actionList_.AddColumn(L"Parameters", kParametersColumnWidth);
    // Rows in the dialog's own font; a selected row on the body colour.
    const auto font = reinterpret_cast<HFONT>(SendMessageW(window(), WM_GETFONT, 0, 0));
    constexpr COLORREF none = acl::ListView_Settings::kNone;
    acl::ListView_Settings& settings = actionList_.GetSettings();
    settings.SetStyle(0, acl::ListView_Settings::kMaskFont, none, 0, none, 0, none, 0, font, false);
    settings.SetStyle(1, acl::ListView_Settings::kMaskBackground | acl::ListView_Settings::kMaskFont, none, 0,
                      acl::kBodyColor, 0, none, 0, font, false);
}

void FolderDialog::ShowEntry(const FolderEntry& entry)
{
    // The edit's change notification puts the folder's name into the header.
    SetDlgItemTextW(window(), IDC_FOLDER_PATH, entry.path->c_str());
    for (const LimitControls* limit : kLimits) {
        if (entry.flags & limit->flag)
            ShowLimit(window(), *limit, entry.*limit->limit);
    }
    // The rows show copies, so that Cancel leaves the entry's own blocks alone.
    for (const ActionSlot& slot : entry.actions) {
        if (!slot.kind)
            continue;
        void* copy = nullptr;
        if (slot.kind->CloneParams(&copy, slot.params) != S_OK)
            continue;
        AppendRow(std::make_unique<ActionSlot>(copy, slot.kind));
    }
}

std::optional<LRESULT> FolderDialog::OnEraseBackground(HDC dc)
{
    if (!brushes_ || !acl::PaintHeaderBand(window(), dc, brushes_->header.get(), brushes_->body.get()))
        return std::nullopt;
    return 0;
}

void FolderDialog::OnDropFiles(HDROP dropped)
{
    const base::unique_handle<DroppedFiles> drop(dropped);
    wchar_t name[MAX_PATH] = {};
    // Only the first name counts, and only a folder can be monitored;
    // anything else is let go without a word.
    if (DragQueryFileW(drop.get(), 0, name, MAX_PATH) && PathIsDirectoryW(name))
        SetDlgItemTextW(window(), IDC_FOLDER_PATH, name);
}

void FolderDialog::OnCommand(UINT id, UINT code)
{
    switch (id) {
    case IDOK:
        OnOK();
        return;
    case IDCANCEL:  // also Esc and the close box
        EndDialog(window(), 0);
        return;
    case IDC_FOLDER_PATH:
        if (code == EN_CHANGE)
            ShowHeaderText();
        return;
    }
    if (code != BN_CLICKED)
        return;
    switch (id) {
    case IDC_BROWSE:
        Browse();
        break;
    case IDC_MIN_CHECK:
        ApplyEnableRule(window(), kMinimum);
        break;
    case IDC_MAX_CHECK:
        ApplyEnableRule(window(), kMaximum);
        break;
    case IDC_ADD:
        AddAction();
        break;
    case IDC_EDIT:
        EditAction();
        break;
    case IDC_REMOVE:
        RemoveAction();
        break;
    }
}

void FolderDialog::OnNotify(const NMHDR& header)
{
    switch (header.code) {
    case LVN_ITEMCHANGED:
        UpdateEditButton();
        break;
    case NM_DBLCLK:
        EditAction();
        break;
    }
}

void FolderDialog::OnOK()
{
    FolderEntry edited;
    if (const wchar_t* problem = ReadControls(edited)) {
        MessageBoxW(window(), problem, kMainWindowTitle, MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    // The rows give their blocks to the copy, which releases them when it
    // goes, whether or not the entry takes them over.
    for (uint64_t row = 0; row < actionList_.RowCount(); ++row)
        edited.actions.push_back(std::move(*SlotOfRow(static_cast<int64_t>(row))));
    // Equals leaves the flags to us: a limit switched off is a change too.
    if (entry_->flags == edited.flags && entry_->Equals(edited)) {
        EndDialog(window(), 0);
        return;
    }
    entry_->Assign(edited);  // resets the entry first
    EndDialog(window(), 1);
}

const wchar_t* FolderDialog::ReadControls(FolderEntry& edited) const
{
    edited.path = ControlText(window(), IDC_FOLDER_PATH, kFieldChars);
    if (!PathIsDirectoryW(edited.path->c_str()))
        return kNotAFolder;
    for (const LimitControls* limit : kLimits) {
        if (IsChecked(window(), limit->check) && !ReadLimit(window(), *limit, edited))
            return kZeroLimit;
    }
    // A limit that is off counts 0 here; values of opposite sign that cancel
    // out are refused the same way.
    if (edited.min.value + edited.max.value == 0.0)
        return kNoLimit;
    // Byte counts are kept only when both limits are set: only then are they
    // compared.
    if ((edited.flags & FolderEntry::HasMin) && (edited.flags & FolderEntry::HasMax)) {
        edited.ComputeBytes();
        if (edited.max.bytes <= edited.min.bytes)
            return kMaxNotAboveMin;
    }
    if (actionList_.RowCount() == 0)
        return kNoAction;
    return nullptr;
}

void FolderDialog::Browse()
{
    wchar_t displayName[MAX_PATH] = {};
    BROWSEINFOW browse{};
    browse.hwndOwner = window();
    browse.pszDisplayName = displayName;
    browse.lpszTitle = L"Select folder.";
    browse.ulFlags = kBrowseFlags;
    const base::unique_handle<ShellItemList> chosen(SHBrowseForFolderW(&browse));
    wchar_t path[MAX_PATH] = {};
    if (chosen && SHGetPathFromIDListW(chosen.get(), path))
        SetDlgItemTextW(window(), IDC_FOLDER_PATH, path);
}

void FolderDialog::ShowHeaderText()
{
    // The folder's own name: "C:\Data\Logs\" gives "Logs", "C:\" gives "C:".
    std::wstring path = ControlText(window(), IDC_FOLDER_PATH, kHeaderPathChars);
    SetDlgItemTextW(window(), kHeaderTitleId, LastPathComponent(path.data()));
}

void FolderDialog::AddAction()
{
    const UINT chosen = ChooseKind();
    Action* kind = chosen ? kinds_.KindAt(chosen - 1) : nullptr;
    if (!kind)
        return;
    auto slot = std::make_unique<ActionSlot>(nullptr, kind);
    // Cancelled: the slot goes, and with it any block the kind left in it.
    if (kind->EditParams(window(), true, *slot) != S_OK)
        return;
    AppendRow(std::move(slot));
}

UINT FolderDialog::ChooseKind() const
{
    const acl::unique_hmenu menu(CreatePopupMenu());
    if (!menu)
        return 0;
    UINT id = 1;
    for (const auto& kind : kinds_) {
        // A folder holds at most one action of a unique kind.
        const UINT state = kind->unique && HoldsKind(kind.get()) ? MF_GRAYED | MF_DISABLED : MF_ENABLED;
        AppendMenuW(menu.get(), MF_STRING | state, id++, kind->displayName.c_str());
    }
    RECT button{};
    GetWindowRect(GetDlgItem(window(), IDC_ADD), &button);
    return static_cast<UINT>(
        TrackPopupMenu(menu.get(), TPM_RETURNCMD, button.left, button.bottom, 0, window(), nullptr));
}

void FolderDialog::EditAction()
{
    const int64_t row = actionList_.GetSelectedRow();
    if (row < 0)
        return;
    ActionSlot& slot = *SlotOfRow(row);
    // A cancelled edit leaves the block as it was; the row is shown afresh
    // either way.
    if (slot.kind->editable)
        slot.kind->EditParams(window(), false, slot);
    const int index = static_cast<int>(row);
    const acl::ListView_Row* shown = actionList_.RowAt(static_cast<size_t>(row));
    for (size_t cell = 0; cell < shown->CellCount(); ++cell)
        actionList_.ClearCell(index, static_cast<int>(cell));
    FillRow(index);
    InvalidateRect(actionList_.GetListWindow(), nullptr, TRUE);
}

void FolderDialog::RemoveAction()
{
    const int64_t row = actionList_.GetSelectedRow();
    if (row < 0)
        return;
    const ActionSlot* slot = SlotOfRow(row);
    std::unique_ptr<acl::ListView_Row> removed;
    if (actionList_.DeleteRow(static_cast<uint64_t>(row), removed) != ERROR_SUCCESS)
        return;
    ReleaseSlot(slot);
    InvalidateRect(actionList_.GetListWindow(), nullptr, TRUE);
}

void FolderDialog::UpdateEditButton()
{
    const int64_t row = actionList_.GetSelectedRow();
    const ActionSlot* slot = row < 0 ? nullptr : SlotOfRow(row);
    EnableWindow(GetDlgItem(window(), IDC_EDIT), slot && slot->kind->editable);
}

void FolderDialog::AppendRow(std::unique_ptr<ActionSlot> slot)
{
    const int64_t row = actionList_.AddRow(0, 0, reinterpret_cast<uint64_t>(slot.get()));
    if (row < 0)
        return;  // the control refused the row: the slot goes
    slots_.push_back(std::move(slot));
    FillRow(static_cast<int>(row));
}

// Cell 0: the kind's picture (borrowed from the kind) and name; cell 1: what
// the kind shows of its block.
void FolderDialog::FillRow(int row)
{
    const ActionSlot& slot = *SlotOfRow(row);
    Action& kind = *slot.kind;
    actionList_.GetCell(row, 0, false)->spacing = kItemSpacing;
    actionList_.AddItem(row, 0, std::make_unique<acl::ListView_Bitmap>(kind.bitmap.get()));
    actionList_.AddItem(row, 0, std::make_unique<acl::ListView_Text>(kind.displayName.c_str()));
    acl::ListView_Cell* parameters = actionList_.GetCell(row, 1, false);
    parameters->spacing = kItemSpacing;
    kind.FillParamsCell(parameters, slot.params);
}

ActionSlot* FolderDialog::SlotOfRow(int64_t row) const
{
    const acl::ListView_Row* shown = actionList_.RowAt(static_cast<size_t>(row));
    return shown ? reinterpret_cast<ActionSlot*>(shown->tag) : nullptr;
}

bool FolderDialog::HoldsKind(const Action* kind) const
{
    for (uint64_t row = 0; row < actionList_.RowCount(); ++row) {
        if (SlotOfRow(static_cast<int64_t>(row))->kind == kind)
            return true;
    }
    return false;
}

void FolderDialog::ReleaseSlot(const ActionSlot* slot)
{
    std::erase_if(slots_, [slot](const std::unique_ptr<ActionSlot>& owned) { return owned.get() == slot; });
}

} // namespace krn
