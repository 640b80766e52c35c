#include "ui/main/FolderList.h"

#include "actions/Action.h"
#include "config/ConfigDocument.h"
#include "config/Locations.h"
#include "resource.h"
#include "settings/RegistrySettings.h"
#include "settings/RegistryValues.h"

#include <algorithm>
#include <cwchar>
#include <unordered_map>

namespace krn {
namespace {

constexpr uint32_t kRowHeight = 18;
constexpr uint8_t kPaddingX = 3;
constexpr COLORREF kSelectedBackground = RGB(0x8A, 0xA6, 0xD6);

struct ColumnSpec {
    const wchar_t* title;
    const registry::Value& width;
};
constexpr ColumnSpec kColumns[kFolderColumnCount] = {
    {L"Folder", registry::kColWidthFolder}, {L"Min", registry::kColWidthMin},
    {L"Max", registry::kColWidthMax},       {L"Size", registry::kColWidthSize},
    {L"Actions", registry::kColWidthAction}, {L"Path", registry::kColWidthPath},
};

wchar_t FoldAscii(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

// The text of item `index` of a cell, empty when the row has no such text.
const std::wstring& ItemText(const acl::ListView_Row& row, size_t column, size_t index)
{
    static const std::wstring none;
    const acl::ListView_Cell* cell = row.CellAt(column);
    const acl::ListView_Item* item = cell ? cell->ItemAt(index) : nullptr;
    if (!item || item->kind != acl::ListView_Item::kText)
        return none;
    return static_cast<const acl::ListView_Text*>(item)->Text();
}

const FolderEntry& EntryOf(const acl::ListView_Row& row)
{
    return *reinterpret_cast<const FolderEntry*>(static_cast<uintptr_t>(row.tag));
}

// A limit in bytes for sorting: a limit not in force counts as 0.
double SortBytes(const FolderEntry& entry, const SizeLimit& limit, uint32_t flag)
{
    return (entry.flags & flag) ? UnitFactor(limit.units) * limit.value : 0.0;
}

int CompareNumbers(double a, double b)
{
    if (b > a)
        return -1;
    return a > b ? 1 : 0;
}

int CompareCounts(size_t a, size_t b)
{
    if (a < b)
        return -1;
    return a > b ? 1 : 0;
}

size_t ItemCount(const acl::ListView_Row& row, size_t column)
{
    const acl::ListView_Cell* cell = row.CellAt(column);
    return cell ? cell->ItemCount() : 0;
}

} // namespace

void ImageCache::Load(HINSTANCE module, std::span<const UINT> ids)
{
    for (const UINT id : ids) {
        acl::unique_hbitmap bitmap(LoadBitmapW(module, MAKEINTRESOURCEW(id)));
        if (bitmap)
            bitmaps_[id] = std::move(bitmap);
    }
}

HBITMAP ImageCache::Get(UINT id) const
{
    const auto found = bitmaps_.find(id);
    return found == bitmaps_.end() ? nullptr : found->second.get();
}

int CompareIgnoringAsciiCase(const std::wstring& a, const std::wstring& b)
{
    const size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
        const wchar_t x = FoldAscii(a[i]);
        const wchar_t y = FoldAscii(b[i]);
        if (x != y)
            return x < y ? -1 : 1;
    }
    if (a.size() == b.size())
        return 0;
    return a.size() < b.size() ? -1 : 1;
}

std::wstring FormatLimit(double value, std::uint16_t units)
{
    return FormatLimitNumber(value) + L" " + (units < kSizeUnitCount ? LimitUnitNames[units] : L"");
}

void FolderList::Attach(HWND dialog, UINT controlId)
{
    view_.Attach(dialog, controlId);
    view_.rowHeight = kRowHeight;
    view_.Remeasure();
    view_.comparer = this;
    LoadListSettings();
    const auto font = reinterpret_cast<HFONT>(SendMessageW(dialog, WM_GETFONT, 0, 0));
    acl::ListView_Settings& settings = view_.GetSettings();
    settings.SetStyle(0, acl::ListView_Settings::kMaskFont, 0, 0, 0, 0, 0, 0, font, false);
    settings.SetStyle(1, acl::ListView_Settings::kMaskBackground | acl::ListView_Settings::kMaskFont, 0, 0,
                      kSelectedBackground, 0, 0, 0, font, false);
    settings.paddingX = kPaddingX;
}

void FolderList::LoadListSettings()
{
    acl::RegistrySettings settings;
    settings.Open(HKEY_CURRENT_USER, registry::kSettingsKey, KEY_READ);
    for (const ColumnSpec& column : kColumns) {
        DWORD width = column.width.number;
        DWORD size = sizeof width;
        if (settings.QueryValue(column.width.name, 0, &width, &size) != ERROR_SUCCESS || size != sizeof width)
            width = column.width.number;
        view_.AddColumn(column.title, static_cast<int>(width));
    }
    // The sort state is taken from the Path column's width, not from the sort
    // values written on close: the first header click after a start therefore
    // sorts ascending, which is what users of earlier versions are used to.
    DWORD path = 0;
    DWORD size = sizeof path;
    const bool read = settings.QueryValue(registry::kColWidthPath.name, 0, &path, &size) == ERROR_SUCCESS &&
                      size == sizeof path;
    view_.sortColumn = read ? static_cast<int32_t>(path) : 0;
    view_.sortDirection = read ? static_cast<int16_t>(path & 0xFFFF) : int16_t{1};
}

void FolderList::SaveListSettings() const
{
    acl::RegistrySettings settings;
    if (settings.Open(HKEY_CURRENT_USER, registry::kSettingsKey, KEY_WRITE) != ERROR_SUCCESS)
        return;
    const HWND list = view_.GetListWindow();
    for (int column = 0; column < kFolderColumnCount; ++column) {
        const auto width = static_cast<DWORD>(SendMessageW(list, LVM_GETCOLUMNWIDTH, column, 0));
        settings.SetValue(kColumns[column].width.name, REG_DWORD, &width, sizeof width);
    }
    const auto sortColumn = static_cast<DWORD>(view_.sortColumn);
    const auto sortDirection = static_cast<DWORD>(static_cast<int32_t>(view_.sortDirection));
    settings.SetValue(registry::kColSorting.name, REG_DWORD, &sortColumn, sizeof sortColumn);
    settings.SetValue(registry::kColSortingMode.name, REG_DWORD, &sortDirection, sizeof sortDirection);
}

void FolderList::AppendRow(std::unique_ptr<FolderEntry> entry)
{
    const FolderEntry& added = *entry;
    entries_.push_back(std::move(entry));
    const int64_t row = view_.AddRow(0, 0, reinterpret_cast<uintptr_t>(&added));
    if (row < 0) {
        entries_.pop_back();  // the control refused the row
        return;
    }
    FillRow(static_cast<int>(row), added);
}

DWORD FolderList::SetRow(int index)
{
    FolderEntry* entry = EntryAt(index);
    acl::ListView_Row* row = entry ? view_.RowAt(static_cast<size_t>(index)) : nullptr;
    if (!row)
        return ERROR_INVALID_INDEX;
    for (size_t cell = 0; cell < row->CellCount(); ++cell)
        view_.ClearCell(index, static_cast<int>(cell));
    FillRow(index, *entry);
    return ERROR_SUCCESS;
}

void FolderList::FillRow(int index, const FolderEntry& entry)
{
    // The whole path, however long: a hand-edited file may hold paths of 260
    // characters and more, and they are shown, not cut.
    std::wstring buffer = entry.path.value_or(L"");
    wchar_t* component = LastPathComponent(buffer.data());
    AddText(index, kColumnFolder, component);
    // A negative (or NaN) maximum is shown while a negative minimum is not:
    // the two tests have always differed and files rely on neither.
    if (entry.min.value > 0.0)
        AddText(index, kColumnMin, FormatLimit(entry.min.value, entry.min.units).c_str());
    if (entry.max.value != 0.0)
        AddText(index, kColumnMax, FormatLimit(entry.max.value, entry.max.units).c_str());
    for (const ActionSlot& slot : entry.actions)
        AddBitmap(index, kColumnActions, slot.kind ? slot.kind->bitmap.get() : nullptr);
    if (component == buffer.data()) {
        AddBitmap(index, kColumnPath, images_.Get(IDB_DRIVE_ROOT));
        AddText(index, kColumnPath, kDriveRootText);
    } else {
        component[-1] = L'\0';  // the parent path stays in the buffer
        AddBitmap(index, kColumnPath, images_.Get(buffer[0] == L'\\' ? IDB_NETWORK_FOLDER : IDB_LOCAL_FOLDER));
        AddText(index, kColumnPath, buffer.c_str());
    }
}

void FolderList::AddText(int row, int column, const wchar_t* text)
{
    view_.AddItem(row, column, std::make_unique<acl::ListView_Text>(text));
}

void FolderList::AddBitmap(int row, int column, HBITMAP bitmap)
{
    view_.AddItem(row, column, std::make_unique<acl::ListView_Bitmap>(bitmap));
}

void FolderList::SetSizeText(int index, const wchar_t* text)
{
    view_.ClearCell(index, kColumnSize);
    AddText(index, kColumnSize, text);
}

bool FolderList::DeleteRow(int index)
{
    if (!EntryAt(index))
        return false;
    std::unique_ptr<acl::ListView_Row> removed;
    if (view_.DeleteRow(static_cast<uint64_t>(index), removed) != ERROR_SUCCESS)
        return false;
    entries_.erase(entries_.begin() + index);
    return true;
}

void FolderList::DeleteAllRows()
{
    std::vector<std::unique_ptr<acl::ListView_Row>> removed;
    view_.DeleteAllRows(removed);
    entries_.clear();
}

DWORD FolderList::LoadConfiguration(const wchar_t* path, const ActionKindRegistry& kinds)
{
    FolderEntries loaded;
    const DWORD status = krn::LoadConfiguration(path, kinds, loaded);
    acl::ListView::Batch batch(view_);
    for (auto& entry : loaded)
        AppendRow(std::move(entry));
    return status;
}

FolderEntry* FolderList::EntryAt(int index) const
{
    if (index < 0 || static_cast<size_t>(index) >= entries_.size())
        return nullptr;
    return entries_[static_cast<size_t>(index)].get();
}

void FolderList::Sort(int column)
{
    view_.Sort(static_cast<uint64_t>(column), -2);
    FollowRowOrder();
}

// The rows were reordered by the sort; the entries follow, so that the file
// is written in the order the user sees.
void FolderList::FollowRowOrder()
{
    std::unordered_map<const FolderEntry*, size_t> position;
    for (size_t i = 0; i < entries_.size(); ++i)
        position[entries_[i].get()] = i;
    FolderEntries ordered;
    ordered.reserve(entries_.size());
    for (size_t i = 0; i < entries_.size(); ++i)
        ordered.push_back(std::move(entries_[position.at(&EntryOf(*view_.RowAt(i)))]));
    entries_ = std::move(ordered);
}

int32_t FolderList::Compare(const acl::ListView_Row& a, const acl::ListView_Row& b, uint64_t column)
{
    const FolderEntry& left = EntryOf(a);
    const FolderEntry& right = EntryOf(b);
    switch (column) {
    case kColumnFolder:
        return CompareIgnoringAsciiCase(ItemText(a, kColumnFolder, 0), ItemText(b, kColumnFolder, 0));
    case kColumnMin:
        return CompareNumbers(SortBytes(left, left.min, FolderEntry::HasMin),
                              SortBytes(right, right.min, FolderEntry::HasMin));
    case kColumnMax:
        return CompareNumbers(SortBytes(left, left.max, FolderEntry::HasMax),
                              SortBytes(right, right.max, FolderEntry::HasMax));
    case kColumnActions:
        return CompareCounts(ItemCount(a, kColumnActions), ItemCount(b, kColumnActions));
    case kColumnPath:
        return CompareIgnoringAsciiCase(ItemText(a, kColumnPath, 1), ItemText(b, kColumnPath, 1));
    default:
        // The size column does not sort: sizes change every few seconds.
        return 0;
    }
}

} // namespace krn
