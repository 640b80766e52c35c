// The list's content tree, its bookkeeping against the control, and sorting.
// Drawing is in ListViewDraw.cpp.
#include "acl/ListView.h"

#include <algorithm>

namespace acl {

namespace {

// Row and column arguments given as int: negative or past the end is "not there".
bool InRange(int index, size_t count) noexcept
{
    return index >= 0 && static_cast<size_t>(index) < count;
}

} // namespace

// ---- styles and settings

uint32_t ListView_Style::Owned() const noexcept
{
    return (backgroundBrush ? kOwnsBackground : 0u) | (frameBrush ? kOwnsFrame : 0u) | (font.owns() ? kOwnsFont : 0u);
}

ListView_DrawState ListView_Style::State() const noexcept
{
    return {textColor, backgroundMode, backgroundColor, backgroundBrush.get(), frameBrush.get(), font.get()};
}

void ListView_Settings::SetStyle(uint8_t index, uint32_t mask, COLORREF textColor, int backgroundMode,
                                 COLORREF backgroundColor, uint32_t, COLORREF frameColor, uint32_t, HFONT font,
                                 bool ownsFont)
{
    if (index > 1)
        return;
    ListView_Style& style = styles[index];
    if (mask & kMaskText) {
        // The background mode travels with the text colour.
        style.textColor = textColor;
        style.backgroundMode = backgroundMode;
        style.set = textColor != kNone ? style.set | ListView_Style::kSetText : style.set & ~ListView_Style::kSetText;
    }
    if (mask & kMaskBackground) {
        style.backgroundColor = backgroundColor;
        style.backgroundBrush.reset(backgroundColor != kNone ? CreateSolidBrush(backgroundColor) : nullptr);
        style.set = style.backgroundBrush ? style.set | ListView_Style::kSetBackground
                                          : style.set & ~ListView_Style::kSetBackground;
    }
    if (mask & kMaskFrame) {
        style.frameBrush.reset(frameColor != kNone ? CreateSolidBrush(frameColor) : nullptr);
        style.set = style.frameBrush ? style.set | ListView_Style::kSetFrame : style.set & ~ListView_Style::kSetFrame;
    }
    if (mask & kMaskFont) {
        // Only ever sets the font bits: once a style has owned a font it owns
        // whatever font it is given later, and a null font stays "set".
        const bool owns = style.font.owns() || (font && ownsFont);
        style.font.reset(font, owns);
        if (font)
            style.set |= ListView_Style::kSetFont;
    }
}

void ListView_Settings::SetSystemColors()
{
    const int mode = OPAQUE;
    SetStyle(0, kMaskText | kMaskBackground | kMaskFrame, GetSysColor(COLOR_WINDOWTEXT), mode,
             GetSysColor(COLOR_WINDOW), 0, GetSysColor(COLOR_WINDOWFRAME), 0, nullptr, false);
    SetStyle(1, kMaskText | kMaskBackground | kMaskFrame, GetSysColor(COLOR_HIGHLIGHTTEXT), mode,
             GetSysColor(COLOR_HIGHLIGHT), 0, GetSysColor(COLOR_WINDOWFRAME), 0, nullptr, false);
}

void ListView_SettingsDeleter::operator()(ListView_Settings* settings) const noexcept
{
    if (owns)
        delete settings;
}

// ---- nodes

void ListView_Base::SetSettings(ListView_Settings* settings, bool useOwn)
{
    ReplaceSettings(ListView_SettingsRef(settings, {false}), useOwn);
}

void ListView_Base::SetSettings(std::unique_ptr<ListView_Settings> settings)
{
    ReplaceSettings(ListView_SettingsRef(settings.release(), {true}), true);
}

void ListView_Base::ReplaceSettings(ListView_SettingsRef settings, bool useOwn)
{
    settings_.reset();
    if (!settings) {
        useOwn = false;
        settings = ListView_SettingsRef(parent_ ? parent_->GetSettings() : nullptr, {false});
    }
    settings_ = std::move(settings);
    useOwnSettings_ = useOwn;
}

void ListView_Cell::AddItem(std::unique_ptr<ListView_Item> item)
{
    if (!item)
        return;
    if (!item->GetSettings())
        item->SetSettings(GetSettings(), false);
    item->SetParent(this);
    items_.push_back(std::move(item));
}

DWORD ListView_Cell::RemoveItem(size_t index)
{
    if (index + 1 > items_.size())
        return ERROR_NOT_FOUND;
    items_.erase(items_.begin() + static_cast<ptrdiff_t>(index));
    return ERROR_SUCCESS;
}

DWORD ListView_Cell::RemoveItems(size_t first, size_t count)
{
    if (first + 1 > items_.size())
        return ERROR_NOT_FOUND;
    const size_t last = first + std::min(count, items_.size() - first);
    items_.erase(items_.begin() + static_cast<ptrdiff_t>(first), items_.begin() + static_cast<ptrdiff_t>(last));
    return ERROR_SUCCESS;
}

DWORD ListView_Cell::RemoveItemsByTag(uint64_t value)
{
    std::erase_if(items_, [value](const std::unique_ptr<ListView_Item>& item) { return !item || item->tag == value; });
    return ERROR_SUCCESS;
}

std::unique_ptr<ListView_Cell> ListView_Row::NewCell()
{
    auto cell = std::make_unique<ListView_Cell>(this);
    cell->SetSettings(GetSettings(), false);
    return cell;
}

ListView_Cell* ListView_Row::GetCell(size_t index, bool noCreate)
{
    if (index < cells_.size())
        return cells_[index].get();
    if (noCreate)
        return nullptr;
    while (cells_.size() <= index)
        cells_.push_back(NewCell());
    return cells_[index].get();
}

void ListView_Row::InsertCell(size_t index)
{
    GetCell(index, false);
    cells_.insert(cells_.begin() + static_cast<ptrdiff_t>(index), NewCell());
}

DWORD ListView_Row::DeleteCell(size_t index)
{
    if (index >= cells_.size() || !cells_[index])
        return ERROR_NOT_FOUND;
    cells_.erase(cells_.begin() + static_cast<ptrdiff_t>(index));
    return ERROR_SUCCESS;
}

// ---- the list

ListView::ListView()
{
    settings_.SetSystemColors();
}

ListView::~ListView() = default;

bool ListView::Attach(HWND parent, UINT controlId)
{
    parent_ = parent;
    controlId_ = controlId;
    list_ = GetDlgItem(parent, static_cast<int>(controlId));
    const LPARAM old = SendMessageW(list_, LVM_SETEXTENDEDLISTVIEWSTYLE, 0, 0);
    SendMessageW(list_, LVM_SETEXTENDEDLISTVIEWSTYLE, 0, old | LVS_EX_INFOTIP | LVS_EX_UNDERLINECOLD);
    return true;
}

void ListView::Remeasure()
{
    // The control asks for the row height only when created or resized: a
    // one-pixel nudge and back makes it ask again.
    WINDOWPLACEMENT placement{sizeof placement};
    GetWindowPlacement(list_, &placement);
    placement.rcNormalPosition.bottom -= 1;
    SetWindowPlacement(list_, &placement);
    placement.rcNormalPosition.bottom += 1;
    SetWindowPlacement(list_, &placement);
}

LRESULT ListView::InsertControlColumn(WPARAM position, const wchar_t* title, int width) const
{
    if (!list_)
        return -1;
    LVCOLUMNW column{};
    column.mask = LVCF_WIDTH | LVCF_TEXT;
    column.cx = width;
    column.pszText = const_cast<wchar_t*>(title);
    return SendMessageW(list_, LVM_INSERTCOLUMNW, position, reinterpret_cast<LPARAM>(&column));
}

int ListView::AddColumn(const wchar_t* title, int width)
{
    const HWND header = reinterpret_cast<HWND>(SendMessageW(list_, LVM_GETHEADER, 0, 0));
    const LRESULT position = SendMessageW(header, HDM_GETITEMCOUNT, 0, 0);
    const LRESULT index = InsertControlColumn(static_cast<WPARAM>(position), title, width);
    if (index == -1)
        return -1;
    columnCount_ = static_cast<uint64_t>(index) + 1;
    columns_.emplace_back(nullptr, ListView_SettingsDeleter{false});
    return static_cast<int>(index);
}

DWORD ListView::InsertColumn(uint64_t index, const wchar_t* title, int width, ListView_Settings* settings)
{
    return InsertColumnRecord(index, title, width, ListView_SettingsRef(settings, {false}));
}

DWORD ListView::InsertColumn(uint64_t index, const wchar_t* title, int width,
                             std::unique_ptr<ListView_Settings> settings)
{
    return InsertColumnRecord(index, title, width, ListView_SettingsRef(settings.release(), {true}));
}

DWORD ListView::InsertColumnRecord(uint64_t index, const wchar_t* title, int width, ListView_SettingsRef settings)
{
    if (index >= columnCount_)
        return ERROR_NOT_FOUND;
    if (InsertControlColumn(static_cast<WPARAM>(index), title, width) == -1)
        return ERROR_INVALID_INDEX;
    const size_t at = std::min<size_t>(static_cast<size_t>(index), columns_.size());
    columns_.insert(columns_.begin() + static_cast<ptrdiff_t>(at), std::move(settings));
    for (auto& row : rows_)
        row->InsertCell(static_cast<size_t>(index));
    ++columnCount_;
    return ERROR_SUCCESS;
}

DWORD ListView::DeleteColumn(uint64_t index)
{
    if (index >= columnCount_)
        return ERROR_NOT_FOUND;
    if (!SendMessageW(list_, LVM_DELETECOLUMN, static_cast<WPARAM>(index), 0))
        return ERROR_INVALID_INDEX;
    if (index < columns_.size())
        columns_.erase(columns_.begin() + static_cast<ptrdiff_t>(index));
    for (auto& row : rows_)
        if (row->CellCount() > index)
            row->DeleteCell(static_cast<size_t>(index));
    --columnCount_;
    return ERROR_SUCCESS;
}

int64_t ListView::AddRow(uint64_t, uint64_t, uint64_t tag)
{
    auto row = std::make_unique<ListView_Row>();
    if (batchDepth_ == 0 && !SendMessageW(list_, LVM_SETITEMCOUNT, static_cast<WPARAM>(rowCount_ + 1), 0))
        return -1;
    ++rowCount_;
    row->tag = tag;
    rows_.push_back(std::move(row));
    rows_.back()->SetSettings(&settings_, false);
    return static_cast<int64_t>(rowCount_) - 1;
}

ListView::Batch::~Batch()
{
    if (--list_.batchDepth_ == 0)
        SendMessageW(list_.list_, LVM_SETITEMCOUNT, static_cast<WPARAM>(list_.rowCount_), 0);
}

DWORD ListView::DeleteRow(uint64_t index, std::unique_ptr<ListView_Row>& removed)
{
    if (index >= rowCount_)
        return ERROR_NOT_FOUND;
    if (!SendMessageW(list_, LVM_DELETEITEM, static_cast<WPARAM>(index), 0))
        return ERROR_INVALID_INDEX;
    if (index < rows_.size()) {
        removed = std::move(rows_[index]);
        rows_.erase(rows_.begin() + static_cast<ptrdiff_t>(index));
    }
    --rowCount_;
    return ERROR_SUCCESS;
}

DWORD ListView::DeleteAllRows(std::vector<std::unique_ptr<ListView_Row>>& removed)
{
    SendMessageW(list_, LVM_SETITEMCOUNT, 0, 0);
    rowCount_ = 0;
    for (auto& row : rows_)
        removed.push_back(std::move(row));
    rows_.clear();
    return ERROR_SUCCESS;
}

int64_t ListView::GetSelectedRow() const
{
    for (uint64_t i = 0; i < rowCount_; ++i)
        if (SendMessageW(list_, LVM_GETITEMSTATE, static_cast<WPARAM>(i), LVIS_SELECTED) & LVIS_SELECTED)
            return static_cast<int64_t>(i);
    return -1;
}

ListView_Cell* ListView::GetCell(int row, int column, bool noCreate)
{
    if (!InRange(row, rows_.size()) || column < 0)
        return nullptr;
    return rows_[static_cast<size_t>(row)]->GetCell(static_cast<size_t>(column), noCreate);
}

DWORD ListView::AddItem(int row, int column, std::unique_ptr<ListView_Item> item)
{
    ListView_Cell* cell = GetCell(row, column, false);
    if (!cell || !item)
        return ERROR_NOT_FOUND;
    // The cell's settings replace whatever the item had.
    item->SetSettings(cell->GetSettings(), false);
    cell->AddItem(std::move(item));
    return ERROR_SUCCESS;
}

DWORD ListView::RemoveItem(int row, int column, int index)
{
    ListView_Cell* cell = GetCell(row, column, true);
    if (!cell || index < 0)
        return ERROR_NOT_FOUND;
    return cell->RemoveItem(static_cast<size_t>(index));
}

DWORD ListView::RemoveItems(int row, int column, int first, int count)
{
    ListView_Cell* cell = GetCell(row, column, true);
    if (!cell || first < 0)
        return ERROR_NOT_FOUND;
    return cell->RemoveItems(static_cast<size_t>(first), static_cast<size_t>(std::max(count, 0)));
}

DWORD ListView::RemoveItemsByTag(int row, int column, uint64_t tag)
{
    if (ListView_Cell* cell = GetCell(row, column, true))
        cell->RemoveItemsByTag(tag);
    return ERROR_SUCCESS;
}

DWORD ListView::ClearCell(int row, int column)
{
    ListView_Cell* cell = GetCell(row, column, true);
    if (!cell)
        return ERROR_NOT_FOUND;
    cell->Clear();
    return ERROR_SUCCESS;
}

void ListView::Sort(uint64_t column, int)
{
    if (column >= columnCount_ || !comparer)
        return;
    sortDirection = static_cast<int32_t>(column) == sortColumn ? static_cast<int16_t>(-sortDirection) : int16_t{1};
    const size_t n = rows_.size();
    // Bubble sort: neighbours swap only when strictly out of order, so equal
    // rows keep their order.
    for (size_t bound = n > 1 ? n - 1 : 0; bound >= 1; --bound) {
        for (size_t i = 0; i < bound; ++i) {
            const int64_t r = comparer->Compare(*rows_[i], *rows_[i + 1], column);
            if (r * sortDirection > 0)
                std::swap(rows_[i], rows_[i + 1]);
        }
    }
    sortColumn = static_cast<int32_t>(column);
}

void ListView::GetSortState(int32_t& column, int16_t& direction) const
{
    column = sortColumn;
    direction = sortDirection;
}

LRESULT ListView::OnColumnClick(const NMLISTVIEW& click)
{
    Sort(static_cast<uint64_t>(click.iSubItem), -2);
    return 0;
}

} // namespace acl
