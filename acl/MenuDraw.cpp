// Measuring and painting the menu's items: bar items, separators, and items
// with an image column, a check mark and their text.
#include "acl/Menu.h"

#include <algorithm>
#include <cstddef>

using acl::SelectGuard;
using acl::unique_hbrush;
using acl::unique_hdc;
using acl::unique_hfont;
using acl::unique_hpen;
using acl::WindowDc;

namespace acl {

unique_hfont CreateMenuFont()
{
    // The size every system since XP accepts.
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = offsetof(NONCLIENTMETRICSW, iPaddedBorderWidth);
    if (!SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, metrics.cbSize, &metrics, 0))
        return {};
    return unique_hfont(CreateFontIndirectW(&metrics.lfMenuFont));
}

COLORREF GreyOf(COLORREF color)
{
    const unsigned l = (77u * GetRValue(color) + 150u * GetGValue(color) + 29u * GetBValue(color)) / 256u;
    return RGB(l, l, l);
}

} // namespace acl

namespace {

// Centring means nothing while measuring, and Wine halves the height with it.
constexpr UINT kMeasureFlags = DT_CALCRECT | DT_EXPANDTABS | DT_SINGLELINE;
constexpr UINT kDrawFlags = DT_EXPANDTABS | DT_SINGLELINE | DT_VCENTER;

void Fill(HDC dc, const RECT& r, COLORREF color)
{
    const unique_hbrush brush(CreateSolidBrush(color));
    FillRect(dc, &r, brush.get());
}

void Frame(HDC dc, const RECT& r, COLORREF color)
{
    const unique_hbrush brush(CreateSolidBrush(color));
    FrameRect(dc, &r, brush.get());
}

// Grey images and shadows are drawn pixel by pixel; transparent pixels stay.
enum class PixelStyle { Grey, Silhouette };
void DrawPixels(HDC dc, HBITMAP bitmap, COLORREF transparent, int x, int y, int width, int height, PixelStyle style,
                COLORREF silhouette)
{
    const unique_hdc source(CreateCompatibleDC(dc));
    SelectGuard select(source.get(), bitmap);
    for (int row = 0; row < height; ++row) {
        for (int col = 0; col < width; ++col) {
            const COLORREF pixel = GetPixel(source.get(), col, row);
            if (pixel == transparent || pixel == CLR_INVALID)
                continue;
            SetPixel(dc, x + col, y + row, style == PixelStyle::Grey ? acl::GreyOf(pixel) : silhouette);
        }
    }
}

void DrawTransparent(HDC dc, HBITMAP bitmap, COLORREF transparent, int x, int y, int width, int height)
{
    const unique_hdc source(CreateCompatibleDC(dc));
    SelectGuard select(source.get(), bitmap);
    TransparentBlt(dc, x, y, width, height, source.get(), 0, 0, width, height, transparent);
}

} // namespace

DWORD ACL_Menu::MeasureItem(MEASUREITEMSTRUCT& mis)
{
    const auto* record = reinterpret_cast<const ACL_MenuItem*>(mis.itemData);
    if (!record)
        return ERROR_SUCCESS;
    if ((record->state & MF_SEPARATOR) && !record->topLevel) {
        mis.itemWidth = cellWidth_ + 2 * textGapX_ + 1;
        mis.itemHeight = 5;
        return ERROR_SUCCESS;
    }
    const unique_hfont font = acl::CreateMenuFont();
    if (!font)
        return GetLastError();
    const WindowDc ownerDc(owner_);
    const unique_hdc dc(CreateCompatibleDC(ownerDc.get()));
    SelectGuard selectFont(dc.get(), font.get());
    RECT text{0, 0, 0, 0};
    DrawTextW(dc.get(), record->text.c_str(), static_cast<int>(record->length), &text, kMeasureFlags);
    const auto width = static_cast<UINT>(text.right - text.left);
    const auto height = static_cast<UINT>(text.bottom - text.top);
    if (record->topLevel) {
        mis.itemWidth = width + 4;
        mis.itemHeight = height + 4;
    } else {
        mis.itemWidth = cellWidth_ + 2 * textGapX_ + width;
        mis.itemHeight = std::max<UINT>(2 * textOffsetY_ + height, cellHeight_);
    }
    return ERROR_SUCCESS;
}

void ACL_Menu::FillGradient(HDC dc, const RECT& cell)
{
    gradient_[0].x = cell.left;
    gradient_[0].y = cell.top;
    gradient_[1].x = cell.right;
    gradient_[1].y = cell.bottom;
    GradientFill(dc, gradient_, 2, &gradientRect_, 1, GRADIENT_FILL_RECT_H);
}

// A highlighted image moves one pixel up and left, over its shadow.
void ACL_Menu::DrawRaised(HDC dc, HBITMAP bitmap, COLORREF transparent, int x, int y, bool selected) const
{
    const int w = static_cast<int>(imageWidth_);
    const int h = static_cast<int>(imageHeight_);
    const int shift = selected ? 1 : 0;
    if (selected)
        DrawPixels(dc, bitmap, transparent, x + 1, y + 1, w, h, PixelStyle::Silhouette, colors_.shadowColor);
    DrawTransparent(dc, bitmap, transparent, x - shift, y - shift, w, h);
}

void ACL_Menu::DrawCheck(HDC dc, const RECT& r, const RECT& cell, bool selected) const
{
    if (checkBitmap_) {
        DrawRaised(dc, checkBitmap_.get(), checkTransparentColor_, r.left + static_cast<int>(marginX_),
                   r.top + static_cast<int>(marginY_), selected);
        return;
    }
    Frame(dc, cell, colors_.frameColor);
    const int cx = r.left + static_cast<int>(cellWidth_) / 2;
    const int cy = r.top + 2 * (r.bottom - r.top) / 3;
    const unique_hpen thick(CreatePen(PS_SOLID, 2, colors_.checkColor));
    const unique_hpen thin(CreatePen(PS_SOLID, 1, colors_.checkColor));
    SelectGuard selectPen(dc, thick.get());
    MoveToEx(dc, cx - 3, cy - 4, nullptr);
    LineTo(dc, cx, cy);
    SelectObject(dc, thin.get());
    LineTo(dc, cx + 7, cy - 9);
}

void ACL_Menu::DrawSeparator(HDC dc, const RECT& r)
{
    Fill(dc, r, colors_.background);
    FillGradient(dc, RECT{r.left, r.top, r.left + static_cast<LONG>(cellWidth_), r.top + 5});
    const int y = r.bottom - (r.bottom - r.top) / 2;
    const unique_hpen pen(CreatePen(PS_SOLID, 1, colors_.separatorColor));
    SelectGuard selectPen(dc, pen.get());
    MoveToEx(dc, r.left + static_cast<int>(cellWidth_ + textGapX_), y, nullptr);
    LineTo(dc, r.right, y);
}

void ACL_Menu::DrawBarItem(HDC dc, const DRAWITEMSTRUCT& dis, const ACL_MenuItem& rec) const
{
    const RECT& r = dis.rcItem;
    const bool disabled = (dis.itemState & ODS_GRAYED) != 0;
    Fill(dc, r, colors_.barBackground);
    const RECT inner{r.left + 1, r.top + 2, r.right - 4, r.bottom};
    COLORREF text = disabled ? colors_.disabledTextColor : colors_.textColor;
    if (dis.itemState & ODS_HOTLIGHT) {
        Fill(dc, inner, colors_.selectionBackground);
        Frame(dc, inner, colors_.frameColor);
        text = colors_.selectedTextColor;
    } else if ((dis.itemState & ODS_SELECTED) && !disabled) {
        // The open drop-down's item casts a shadow on its right.
        Fill(dc, RECT{r.right - 3, r.top + 4, r.right, r.bottom}, colors_.shadowColor);
        Fill(dc, inner, colors_.selectionBackground);
        Frame(dc, inner, colors_.frameColor);
        text = colors_.textColor;
    }
    SetTextColor(dc, text);
    SetBkMode(dc, TRANSPARENT);
    RECT textRect{r.left + 6, r.top + 3, r.right, r.bottom};
    DrawTextW(dc, rec.text.c_str(), static_cast<int>(rec.length), &textRect, kDrawFlags);
}

DWORD ACL_Menu::DrawItem(const DRAWITEMSTRUCT& dis)
{
    const auto* rec = reinterpret_cast<const ACL_MenuItem*>(dis.itemData);
    if (!rec)
        return ERROR_SUCCESS;
    const HDC dc = dis.hDC;
    if (rec->topLevel) {
        DrawBarItem(dc, dis, *rec);
        return ERROR_SUCCESS;
    }
    const RECT& r = dis.rcItem;
    if (rec->state & MF_SEPARATOR) {
        DrawSeparator(dc, r);
        return ERROR_SUCCESS;
    }
    const bool selected = (dis.itemState & ODS_SELECTED) != 0;
    const bool disabled = (dis.itemState & ODS_GRAYED) != 0;
    const RECT cell{r.left, r.top, r.left + static_cast<LONG>(cellWidth_), r.bottom};
    if (!selected || disabled) {
        Fill(dc, r, colors_.background);
        FillGradient(dc, cell);
        SetTextColor(dc, disabled ? colors_.disabledTextColor : colors_.textColor);
    } else {
        Fill(dc, r, colors_.selectionBackground);
        Frame(dc, r, colors_.frameColor);
        SetTextColor(dc, colors_.selectedTextColor);
    }

    const int x = r.left + static_cast<int>(marginX_);
    const int y = r.top + static_cast<int>(marginY_);
    if (dis.itemState & ODS_CHECKED) {
        DrawCheck(dc, r, cell, selected);
    } else if (rec->image && disabled) {
        DrawPixels(dc, rec->image->bitmap.get(), rec->image->transparentColor, x, y, static_cast<int>(imageWidth_),
                   static_cast<int>(imageHeight_), PixelStyle::Grey, 0);
    } else if (rec->image) {
        DrawRaised(dc, rec->image->bitmap.get(), rec->image->transparentColor, x, y, selected);
    }

    const unique_hfont font = acl::CreateMenuFont();
    SelectGuard selectFont(dc, font ? static_cast<HGDIOBJ>(font.get()) : GetStockObject(DEFAULT_GUI_FONT));
    SetBkMode(dc, TRANSPARENT);
    RECT textRect{r.left + static_cast<LONG>(cellWidth_ + textGapX_), r.top + static_cast<LONG>(textOffsetY_),
                  r.right, r.bottom};
    DrawTextW(dc, rec->text.c_str(), static_cast<int>(rec->length), &textRect, kDrawFlags);
    return ERROR_SUCCESS;
}
