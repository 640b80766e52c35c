// Measuring and drawing the list: row heights for WM_MEASUREITEM, and each row
// composed off screen for WM_DRAWITEM and copied with one BitBlt.
#include "acl/ListView.h"

#include <algorithm>
#include <vector>

namespace acl {

namespace {

bool HasFrame(const ListView_Settings* settings) noexcept
{
    return settings && (settings->styles[0].frameBrush || settings->styles[1].frameBrush);
}

// A memory DC for measuring and reading pixels outside any paint.
unique_hdc DesktopMemoryDc()
{
    WindowDc desktop(GetDesktopWindow());
    return unique_hdc(CreateCompatibleDC(desktop.get()));
}

// The colour of a bitmap's top-left pixel, drawn as transparent. Read as a
// top-down DIB through a memory DC kept for the thread: selecting the bitmap
// into a fresh DC and asking GetPixel cost a tenth of a millisecond per item,
// which made filling a long list slow.
// The reading DC is made once per thread and kept for the thread's life: it
// is not one of the objects that measuring or painting makes, so it is kept
// apart from the owners the leak hook follows.
class PixelReaderDc {
public:
    PixelReaderDc()
    {
        WindowDc desktop(GetDesktopWindow());
        dc_ = CreateCompatibleDC(desktop.get());
    }
    PixelReaderDc(const PixelReaderDc&) = delete;
    PixelReaderDc& operator=(const PixelReaderDc&) = delete;
    ~PixelReaderDc()
    {
        if (dc_)
            DeleteDC(dc_);
    }
    HDC get() const noexcept { return dc_; }

private:
    HDC dc_ = nullptr;
};

COLORREF TopLeftPixel(HBITMAP bitmap, const BITMAP& info)
{
    thread_local const PixelReaderDc reader;
    if (info.bmWidth <= 0 || info.bmHeight <= 0)
        return CLR_INVALID;
    BITMAPINFO format{};
    format.bmiHeader.biSize = sizeof format.bmiHeader;
    format.bmiHeader.biWidth = info.bmWidth;
    format.bmiHeader.biHeight = -info.bmHeight;  // top-down: line 0 is the top
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = 32;
    format.bmiHeader.biCompression = BI_RGB;
    // The whole picture: which line a partial read starts from differs between
    // systems for a top-down format, the first pixel of the whole does not.
    std::vector<RGBQUAD> pixels(static_cast<size_t>(info.bmWidth) * static_cast<size_t>(info.bmHeight));
    if (!GetDIBits(reader.get(), bitmap, 0, static_cast<UINT>(info.bmHeight), pixels.data(), &format, DIB_RGB_COLORS))
        return CLR_INVALID;
    return RGB(pixels[0].rgbRed, pixels[0].rgbGreen, pixels[0].rgbBlue);
}

} // namespace

int ListView_CentredTop(const RECT& rect, uint32_t height)
{
    const float top = static_cast<float>(rect.bottom - rect.top) * 0.5f + static_cast<float>(rect.top) -
                      static_cast<float>(height) * 0.5f;
    return static_cast<int>(top);
}

// ---- applying a style to a drawing context

void ListView_Settings::Apply(HDC hdc, int index, ListView_DrawState& state)
{
    dc = hdc;
    saved.set = 0;
    const ListView_Style& style = styles[index ? 1 : 0];
    if (style.set & ListView_Style::kSetText) {
        saved.values.textColor = GetTextColor(hdc);
        SetTextColor(hdc, style.textColor);
        state.textColor = style.textColor;
        saved.set |= ListView_Style::kSetText;
    }
    if (style.set & ListView_Style::kSetBackground) {
        saved.values.backgroundColor = GetBkColor(hdc);
        SetBkColor(hdc, style.backgroundColor);
        saved.values.backgroundMode = GetBkMode(hdc);
        SetBkMode(hdc, style.backgroundMode);
        state.backgroundColor = style.backgroundColor;
        state.backgroundBrush = style.backgroundBrush.get();
        state.backgroundMode = style.backgroundMode;
        saved.set |= ListView_Style::kSetBackground;
    }
    if (style.set & ListView_Style::kSetFrame) {
        state.frameBrush = style.frameBrush.get();
        saved.set |= ListView_Style::kSetFrame;
    }
    if (style.set & ListView_Style::kSetFont) {
        saved.values.font = static_cast<HFONT>(SelectObject(hdc, style.font.get()));
        state.font = style.font.get();
        saved.set |= ListView_Style::kSetFont;
    }
}

void ListView_Settings::Restore(ListView_DrawState& state)
{
    // The saved brushes are never written by Apply: restoring hands the state
    // whatever the saved record holds, as designed.
    if (saved.set & ListView_Style::kSetText) {
        SetTextColor(dc, saved.values.textColor);
        state.textColor = saved.values.textColor;
    }
    if (saved.set & ListView_Style::kSetBackground) {
        SetBkColor(dc, saved.values.backgroundColor);
        SetBkMode(dc, saved.values.backgroundMode);
        state.backgroundColor = saved.values.backgroundColor;
        state.backgroundMode = saved.values.backgroundMode;
        state.backgroundBrush = saved.values.backgroundBrush;
    }
    if (saved.set & ListView_Style::kSetFrame)
        state.frameBrush = saved.values.frameBrush;
    if (saved.set & ListView_Style::kSetFont) {
        SelectObject(dc, saved.values.font);
        state.font = saved.values.font;
    }
    dc = nullptr;
    saved.set = 0;
}

// ---- items

ListView_Text::ListView_Text(const wchar_t* text) : ListView_Item(kText), text_(text ? text : L"") {}

void ListView_Text::GetSize(uint32_t& width, uint32_t& height)
{
    width = height = 0;
    const unique_hdc dc = DesktopMemoryDc();
    // Four characters tell the height; a shorter text measures what it has,
    // an empty one a space, so that it still has a line's height.
    const int count = static_cast<int>(std::min<size_t>(text_.size(), 4));
    const wchar_t* sample = count ? text_.c_str() : L" ";
    const ListView_Settings* settings = GetSettings();
    for (int index = 0; index < 2; ++index) {
        const HFONT font = settings ? settings->styles[index].font.get() : nullptr;
        const HGDIOBJ old = font ? SelectObject(dc.get(), font) : nullptr;
        SIZE size{};
        GetTextExtentPoint32W(dc.get(), sample, count ? count : 1, &size);
        if (old)
            SelectObject(dc.get(), old);
        width = std::max(width, static_cast<uint32_t>(count ? size.cx : 0));
        height = std::max(height, static_cast<uint32_t>(size.cy));
    }
}

int ListView_Text::Draw(HDC hdc, int, RECT& rect)
{
    // Without DT_SINGLELINE the measure wraps at the rectangle's width, as the
    // list always measured.
    RECT extent = rect;
    const int length = static_cast<int>(text_.size());
    DrawTextW(hdc, text_.c_str(), length, &extent, DT_CALCRECT);
    rect.top = ListView_CentredTop(rect, static_cast<uint32_t>(extent.bottom - extent.top));
    DrawTextW(hdc, text_.c_str(), length, &rect, format);
    return extent.right - extent.left;
}

ListView_Bitmap::ListView_Bitmap(HBITMAP bitmap) : ListView_Item(kBitmap), bitmap_(bitmap, false)
{
    ReadBitmap();
}

ListView_Bitmap::ListView_Bitmap(unique_hbitmap bitmap) : ListView_Item(kBitmap), bitmap_(std::move(bitmap))
{
    ReadBitmap();
}

void ListView_Bitmap::ReadBitmap()
{
    if (!bitmap_ || !GetObjectW(bitmap_.get(), sizeof bitmapInfo_, &bitmapInfo_))
        return;
    transparentColor_ = TopLeftPixel(bitmap_.get(), bitmapInfo_);
}

void ListView_Bitmap::GetSize(uint32_t& width, uint32_t& height)
{
    width = static_cast<uint32_t>(bitmapInfo_.bmWidth);
    height = static_cast<uint32_t>(bitmapInfo_.bmHeight);
}

int ListView_Bitmap::Draw(HDC hdc, int, RECT& rect)
{
    const int width = bitmapInfo_.bmWidth;
    const int height = bitmapInfo_.bmHeight;
    if (!bitmap_ || width <= 0 || height <= 0)
        return width;
    const unique_hdc source(CreateCompatibleDC(hdc));
    const SelectGuard select(source.get(), bitmap_.get());
    TransparentBlt(hdc, rect.left, ListView_CentredTop(rect, static_cast<uint32_t>(height)), width, height,
                   source.get(), 0, 0, width, height, transparentColor_);
    return width;
}

ListView_Icon::ListView_Icon(unique_hicon icon) : ListView_Item(kIcon), icon_(std::move(icon))
{
    ReadIcon();
}

ListView_Icon::ListView_Icon(HICON icon) : ListView_Item(kIcon), icon_(icon, false)
{
    ReadIcon();
}

void ListView_Icon::ReadIcon()
{
    ICONINFO info{};
    if (!icon_ || !GetIconInfo(icon_.get(), &info))
        return;
    // GetIconInfo hands over two bitmaps: they go as soon as their size is read.
    const unique_hbitmap color(info.hbmColor);
    const unique_hbitmap mask(info.hbmMask);
    // Only the colour bitmap gives the drawn size: a monochrome icon has none
    // and draws with no width of its own, as it always has.
    if (color)
        GetObjectW(color.get(), sizeof bitmapInfo_, &bitmapInfo_);
}

void ListView_Icon::GetSize(uint32_t& width, uint32_t& height)
{
    // Rows are laid out for small icons, whatever the icon's own size.
    width = 16;
    height = 16;
}

int ListView_Icon::Draw(HDC hdc, int, RECT& rect)
{
    const int width = bitmapInfo_.bmWidth;
    const int height = bitmapInfo_.bmHeight;
    if (icon_)
        DrawIconEx(hdc, rect.left, ListView_CentredTop(rect, static_cast<uint32_t>(height)), icon_.get(), width,
                   height, 0, nullptr, DI_NORMAL);
    return width;
}

// ---- cells and rows

void ListView_Cell::GetSize(uint32_t& width, uint32_t& height) const
{
    width = height = 0;
    for (const auto& item : items_) {
        uint32_t w = 0;
        uint32_t h = 0;
        item->GetSize(w, h);
        width += spacing + w;
        height = std::max(height, h);
    }
    if (HasFrame(GetSettings())) {
        width += 2;
        height += 2;
    }
}

void ListView_Cell::Draw(HDC hdc, RECT& rect, int styleIndex, ListView_DrawState& state, bool lastRow,
                         bool lastColumn)
{
    ListView_Settings* settings = GetSettings();
    const bool own = UsesOwnSettings() && settings;
    if (own)
        settings->Apply(hdc, styleIndex, state);
    // The fill covers this cell's right and bottom frame edges, so neighbours
    // share one-pixel lines; only the last column and row keep theirs.
    if (state.frameBrush) {
        FrameRect(hdc, &rect, state.frameBrush);
        rect.left += 1;
        rect.top += 1;
        if (lastRow)
            rect.bottom -= 1;
        if (lastColumn)
            rect.right -= 1;
    }
    if (state.backgroundBrush)
        FillRect(hdc, &rect, state.backgroundBrush);
    if (settings) {
        rect.left += settings->paddingX;
        rect.right -= settings->paddingX;
        rect.top += settings->paddingY;
        rect.bottom -= settings->paddingY;
    }
    {
        const unique_hrgn clip(CreateRectRgnIndirect(&rect));
        SelectClipRgn(hdc, clip.get());
    }
    int x = rect.left;
    for (const auto& item : items_) {
        RECT itemRect{x, rect.top, rect.right, rect.bottom};
        x += static_cast<int>(spacing) + item->Draw(hdc, styleIndex, itemRect);
        if (x >= rect.right)
            break;
    }
    SelectClipRgn(hdc, nullptr);
    if (own)
        settings->Restore(state);
}

void ListView_Row::Draw(HWND list, HWND header, const DRAWITEMSTRUCT& item, size_t itemCount, size_t columnCount)
{
    const bool lastRow = itemCount < item.itemID + 2;
    const int width = item.rcItem.right - item.rcItem.left;
    const int height = item.rcItem.bottom - item.rcItem.top;
    if (width <= 0 || height <= 0)
        return;
    const unique_hdc dc(CreateCompatibleDC(item.hDC));
    const unique_hbitmap bitmap(CreateCompatibleBitmap(item.hDC, width, height));
    const SelectGuard select(dc.get(), bitmap.get());
    const int index = (item.itemState & ODS_SELECTED) ? 1 : 0;

    ListView_Settings* settings = GetSettings();
    ListView_DrawState state;
    if (settings) {
        state = settings->styles[index].State();
        settings->Apply(dc.get(), index, state);
    }
    SCROLLINFO scroll{sizeof scroll, SIF_POS};
    GetScrollInfo(list, SB_HORZ, &scroll);
    for (size_t c = 0; c < columnCount; ++c) {
        RECT headerItem{};
        SendMessageW(header, HDM_GETITEMRECT, c, reinterpret_cast<LPARAM>(&headerItem));
        RECT cellRect{headerItem.left - scroll.nPos, 0, headerItem.right - scroll.nPos, height};
        GetCell(c, false)->Draw(dc.get(), cellRect, index, state, lastRow, c + 1 == columnCount);
    }
    BitBlt(item.hDC, item.rcItem.left, item.rcItem.top, width, height, dc.get(), item.rcItem.left, 0, SRCCOPY);
    if (settings)
        settings->Restore(state);
}

// ---- the list's owner-draw answers

uint32_t ListView::MeasuredRowHeight() const
{
    // The cell padding is left out of the height, as it always was.
    uint32_t height = 0;
    for (const auto& row : rows_) {
        for (size_t c = 0; c < row->CellCount(); ++c) {
            const ListView_Cell* cell = row->CellAt(c);
            if (!cell)
                continue;
            // A cell is as high as its tallest item, plus its frame.
            uint32_t width = 0;
            uint32_t h = 0;
            cell->GetSize(width, h);
            height = std::max(height, h);
        }
    }
    return height;
}

BOOL ListView::OnMeasureItem(UINT, MEASUREITEMSTRUCT& item) const
{
    item.itemWidth = 0;
    item.itemHeight = rowHeight ? rowHeight : MeasuredRowHeight();
    return TRUE;
}

BOOL ListView::OnDrawItem(UINT, const DRAWITEMSTRUCT& item)
{
    const HWND header = reinterpret_cast<HWND>(SendMessageW(list_, LVM_GETHEADER, 0, 0));
    const size_t itemCount = static_cast<size_t>(std::max<LRESULT>(SendMessageW(list_, LVM_GETITEMCOUNT, 0, 0), 0));
    const size_t columnCount = static_cast<size_t>(std::max<LRESULT>(SendMessageW(header, HDM_GETITEMCOUNT, 0, 0), 0));
    if (item.itemID < rows_.size())
        rows_[item.itemID]->Draw(list_, header, item, itemCount, columnCount);
    return TRUE;
}

} // namespace acl
