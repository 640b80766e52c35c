// The owner-drawn, owner-data report list: a Win32 list view that only knows
// how many rows there are, with the content kept here as a tree of rows, cells
// and items (texts, bitmaps, icons) that draws itself row by row.
//
// Ownership: the list owns the rows in its sequence, a row its cells, a cell
// its items. Settings, fonts, bitmaps and icons are owned only where a flag
// says so; the types below carry that flag with the handle.
#pragma once

#include "acl/Handles.h"

#include <windows.h>
#include <commctrl.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace acl {

// The values in effect in a drawing context while one row is drawn.
struct ListView_DrawState {
    COLORREF textColor = 0;
    int backgroundMode = 0;
    COLORREF backgroundColor = 0;
    HBRUSH backgroundBrush = nullptr;
    HBRUSH frameBrush = nullptr;
    HFONT font = nullptr;
};

// One style slot of a settings object.
struct ListView_Style {
    // Bits of `set`: what applying the style changes.
    static constexpr uint32_t kSetText = 1;
    static constexpr uint32_t kSetBackground = 2;
    static constexpr uint32_t kSetFrame = 4;
    static constexpr uint32_t kSetFont = 8;
    // Bits of Owned(): what the style releases.
    static constexpr uint32_t kOwnsBackground = 1;
    static constexpr uint32_t kOwnsFrame = 2;
    static constexpr uint32_t kOwnsFont = 4;

    uint32_t set = 0;
    COLORREF textColor = 0;
    int backgroundMode = 0;
    COLORREF backgroundColor = 0;
    unique_hbrush backgroundBrush;  // always made by the style itself
    unique_hbrush frameBrush;       // likewise; the frame colour is not kept
    flagged_handle<handle_traits::GdiObject<HFONT>> font;

    uint32_t Owned() const noexcept;
    ListView_DrawState State() const noexcept;
};

// What the last Apply displaced from the drawing context.
struct ListView_SavedStyle {
    uint32_t set = 0;
    ListView_DrawState values;
};

// Appearance shared by a list, its rows and cells.
class ListView_Settings {
public:
    static constexpr COLORREF kNone = 0xFFFFFFFF;
    // SetStyle mask groups.
    static constexpr uint32_t kMaskText = 1;
    static constexpr uint32_t kMaskBackground = 2;
    static constexpr uint32_t kMaskFrame = 4;
    static constexpr uint32_t kMaskFont = 8;

    ListView_Settings() = default;
    ListView_Settings(const ListView_Settings&) = delete;
    ListView_Settings& operator=(const ListView_Settings&) = delete;
    // The styles release the GDI objects they own.
    virtual ~ListView_Settings() = default;

    void SetStyle(uint8_t index, uint32_t mask, COLORREF textColor, int backgroundMode, COLORREF backgroundColor,
                  uint32_t /*unused*/, COLORREF frameColor, uint32_t /*unused*/, HFONT font, bool ownsFont);
    void SetSystemColors();

    void Apply(HDC hdc, int index, ListView_DrawState& state);
    void Restore(ListView_DrawState& state);

    uint8_t paddingX = 1;
    uint8_t paddingY = 1;
    // Carried with the settings; nothing reads them.
    uint32_t spare1 = 1;
    uint32_t spare2 = 3;
    HDC dc = nullptr;
    ListView_SavedStyle saved;
    ListView_Style styles[2];
};

// Deletes settings only when the node's ownership flag says so.
struct ListView_SettingsDeleter {
    bool owns = false;
    void operator()(ListView_Settings* settings) const noexcept;
};
using ListView_SettingsRef = std::unique_ptr<ListView_Settings, ListView_SettingsDeleter>;

class ListView_Cell;
class ListView_Row;

class ListView_Base {
public:
    ListView_Base() = default;
    ListView_Base(const ListView_Base&) = delete;
    ListView_Base& operator=(const ListView_Base&) = delete;
    virtual ~ListView_Base() = default;

    // Borrowed settings: the node never destroys them. Null takes the parent's.
    void SetSettings(ListView_Settings* settings, bool useOwn);
    // Settings of the node's own, destroyed with it or when replaced.
    void SetSettings(std::unique_ptr<ListView_Settings> settings);

    ListView_Settings* GetSettings() const noexcept { return settings_.get(); }
    bool UsesOwnSettings() const noexcept { return useOwnSettings_; }
    bool OwnsSettings() const noexcept { return settings_.get_deleter().owns; }
    ListView_Base* GetParent() const noexcept { return parent_; }

    uint64_t tag = 0;

protected:
    void SetParent(ListView_Base* parent) noexcept { parent_ = parent; }

private:
    void ReplaceSettings(ListView_SettingsRef settings, bool useOwn);

    ListView_Base* parent_ = nullptr;
    ListView_SettingsRef settings_;
    bool useOwnSettings_ = false;

    friend class ListView_Cell;
    friend class ListView_Row;
};

class ListView_Item : public ListView_Base {
public:
    static constexpr uint32_t kText = 4;
    static constexpr uint32_t kBitmap = 5;
    static constexpr uint32_t kIcon = 6;

    virtual void GetSize(uint32_t& width, uint32_t& height) = 0;
    // Draws into `rect` (which it may change) and returns the width used.
    virtual int Draw(HDC hdc, int styleIndex, RECT& rect) = 0;

    const uint32_t kind;

protected:
    explicit ListView_Item(uint32_t itemKind) noexcept : kind(itemKind) {}
};

class ListView_Text : public ListView_Item {
public:
    explicit ListView_Text(const wchar_t* text);

    void GetSize(uint32_t& width, uint32_t& height) override;
    int Draw(HDC hdc, int styleIndex, RECT& rect) override;

    const std::wstring& Text() const noexcept { return text_; }

    UINT format = DT_END_ELLIPSIS;

private:
    std::wstring text_;
};

class ListView_Bitmap : public ListView_Item {
public:
    // Borrows the bitmap: the caller keeps it alive and deletes it.
    explicit ListView_Bitmap(HBITMAP bitmap);
    // Owns the bitmap.
    explicit ListView_Bitmap(unique_hbitmap bitmap);

    void GetSize(uint32_t& width, uint32_t& height) override;
    int Draw(HDC hdc, int styleIndex, RECT& rect) override;

    HBITMAP Bitmap() const noexcept { return bitmap_.get(); }
    bool OwnsBitmap() const noexcept { return bitmap_.owns(); }
    const BITMAP& Info() const noexcept { return bitmapInfo_; }
    COLORREF TransparentColor() const noexcept { return transparentColor_; }

private:
    void ReadBitmap();

    flagged_handle<handle_traits::GdiObject<HBITMAP>> bitmap_;
    BITMAP bitmapInfo_{};
    COLORREF transparentColor_ = 0;
};

class ListView_Icon : public ListView_Item {
public:
    // Owns the icon (the usual case).
    explicit ListView_Icon(unique_hicon icon);
    // Borrows it: the caller destroys it.
    explicit ListView_Icon(HICON icon);

    void GetSize(uint32_t& width, uint32_t& height) override;
    int Draw(HDC hdc, int styleIndex, RECT& rect) override;

    HICON Icon() const noexcept { return icon_.get(); }
    bool OwnsIcon() const noexcept { return icon_.owns(); }
    const BITMAP& Info() const noexcept { return bitmapInfo_; }

private:
    void ReadIcon();

    flagged_handle<handle_traits::Icon> icon_;
    BITMAP bitmapInfo_{};
};

class ListView_Cell : public ListView_Base {
public:
    explicit ListView_Cell(ListView_Base* parent) noexcept { SetParent(parent); }

    void AddItem(std::unique_ptr<ListView_Item> item);
    DWORD RemoveItem(size_t index);
    DWORD RemoveItems(size_t first, size_t count);
    DWORD RemoveItemsByTag(uint64_t tag);
    void Clear() noexcept { items_.clear(); }

    size_t ItemCount() const noexcept { return items_.size(); }
    ListView_Item* ItemAt(size_t index) const noexcept
    {
        return index < items_.size() ? items_[index].get() : nullptr;
    }

    void GetSize(uint32_t& width, uint32_t& height) const;
    void Draw(HDC hdc, RECT& rect, int styleIndex, ListView_DrawState& state, bool lastRow, bool lastColumn);

    uint32_t spacing = 1;

private:
    std::vector<std::unique_ptr<ListView_Item>> items_;
};

class ListView_Row : public ListView_Base {
public:
    // The cell of a column; missing cells up to it are created unless noCreate.
    ListView_Cell* GetCell(size_t index, bool noCreate);
    void InsertCell(size_t index);
    DWORD DeleteCell(size_t index);

    size_t CellCount() const noexcept { return cells_.size(); }
    const ListView_Cell* CellAt(size_t index) const noexcept
    {
        return index < cells_.size() ? cells_[index].get() : nullptr;
    }

    void Draw(HWND list, HWND header, const DRAWITEMSTRUCT& item, size_t itemCount, size_t columnCount);

private:
    std::unique_ptr<ListView_Cell> NewCell();

    std::vector<std::unique_ptr<ListView_Cell>> cells_;
};

class ListView_Comparer {
public:
    // Negative: a before b; positive: a after b.
    virtual int32_t Compare(const ListView_Row& a, const ListView_Row& b, uint64_t column) = 0;
    virtual ~ListView_Comparer() = default;
};

// The top at which an item of `height` sits centred in `rect`; computed in
// single precision and truncated toward zero, as every item has always done.
int ListView_CentredTop(const RECT& rect, uint32_t height);

class ListView {
public:
    ListView();
    ListView(const ListView&) = delete;
    ListView& operator=(const ListView&) = delete;
    virtual ~ListView();

    bool Attach(HWND parent, UINT controlId);
    void Remeasure();

    int AddColumn(const wchar_t* title, int width);
    DWORD InsertColumn(uint64_t index, const wchar_t* title, int width, ListView_Settings* settings = nullptr);
    DWORD InsertColumn(uint64_t index, const wchar_t* title, int width, std::unique_ptr<ListView_Settings> settings);
    DWORD DeleteColumn(uint64_t index);

    int64_t AddRow(uint64_t /*unused*/, uint64_t /*unused*/, uint64_t tag);

    // While a batch is open, the rows AddRow appends reach the control as one
    // item-count update when the batch closes, instead of one update per row
    // (each update recomputes the control's scroll range, which dominated
    // filling a long list). Until then the control's count lags the list's.
    class Batch {
    public:
        explicit Batch(ListView& list) noexcept : list_(list) { ++list_.batchDepth_; }
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;
        ~Batch();

    private:
        ListView& list_;
    };
    // The row leaves the list but is not destroyed: it is handed to the caller.
    DWORD DeleteRow(uint64_t index, std::unique_ptr<ListView_Row>& removed);
    DWORD DeleteAllRows(std::vector<std::unique_ptr<ListView_Row>>& removed);
    int64_t GetSelectedRow() const;

    ListView_Cell* GetCell(int row, int column, bool noCreate);
    DWORD AddItem(int row, int column, std::unique_ptr<ListView_Item> item);
    DWORD RemoveItem(int row, int column, int index);
    DWORD RemoveItems(int row, int column, int first, int count);
    DWORD RemoveItemsByTag(int row, int column, uint64_t tag);
    DWORD ClearCell(int row, int column);

    void Sort(uint64_t column, int /*unused*/ = -2);
    void GetSortState(int32_t& column, int16_t& direction) const;

    BOOL OnMeasureItem(UINT controlId, MEASUREITEMSTRUCT& item) const;
    BOOL OnDrawItem(UINT controlId, const DRAWITEMSTRUCT& item);
    LRESULT OnColumnClick(const NMLISTVIEW& click);

    ListView_Settings& GetSettings() noexcept { return settings_; }
    HWND GetListWindow() const noexcept { return list_; }
    HWND GetParentWindow() const noexcept { return parent_; }
    UINT GetControlId() const noexcept { return controlId_; }
    uint64_t ColumnCount() const noexcept { return columnCount_; }
    uint64_t RowCount() const noexcept { return rowCount_; }
    ListView_Row* RowAt(size_t index) const noexcept { return index < rows_.size() ? rows_[index].get() : nullptr; }
    ListView_Settings* ColumnSettings(size_t index) const noexcept
    {
        return index < columns_.size() ? columns_[index].get() : nullptr;
    }

    ListView_Comparer* comparer = nullptr;
    uint32_t rowHeight = 0;
    int32_t sortColumn = -1;
    int16_t sortDirection = 0;

private:
    LRESULT InsertControlColumn(WPARAM position, const wchar_t* title, int width) const;
    DWORD InsertColumnRecord(uint64_t index, const wchar_t* title, int width, ListView_SettingsRef settings);
    uint32_t MeasuredRowHeight() const;

    // Declared in this order so that rows go first, then column settings,
    // then the settings every row borrows.
    ListView_Settings settings_;
    std::vector<ListView_SettingsRef> columns_;
    std::vector<std::unique_ptr<ListView_Row>> rows_;
    UINT controlId_ = 0;
    HWND list_ = nullptr;
    HWND parent_ = nullptr;
    uint64_t columnCount_ = 0;
    uint64_t rowCount_ = 0;
    int batchDepth_ = 0;
};

} // namespace acl
