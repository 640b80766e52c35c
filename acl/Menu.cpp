#include "acl/Menu.h"

#include <algorithm>
#include <cstddef>
#include <new>

using acl::SelectGuard;
using acl::unique_hbitmap;
using acl::unique_hbrush;
using acl::unique_hdc;
using acl::unique_hfont;
using acl::unique_hmenu;
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

COLORREF LightenedHighlight(COLORREF highlight)
{
    auto lighten = [](BYTE c) { return static_cast<BYTE>(179 + 3 * (c / 10)); };
    return RGB(lighten(GetRValue(highlight)), lighten(GetGValue(highlight)), lighten(GetBValue(highlight)));
}

} // namespace acl

namespace {

// Centring means nothing while measuring, and Wine halves the height with it.
constexpr UINT kMeasureFlags = DT_CALCRECT | DT_EXPANDTABS | DT_SINGLELINE;
constexpr UINT kDrawFlags = DT_EXPANDTABS | DT_SINGLELINE | DT_VCENTER;

// A theme colour: an RGB value, a system colour, or the highlight colour
// itself (H) or lightened (L).
constexpr uint32_t kSys = 0x01000000;
constexpr uint32_t kL = 0x02000000;
constexpr uint32_t kH = 0x03000000;

COLORREF Resolve(uint32_t value)
{
    switch (value & 0xFF000000) {
    case kSys: return GetSysColor(static_cast<int>(value & 0xFF));
    case kL: return acl::LightenedHighlight(GetSysColor(COLOR_HIGHLIGHT));
    case kH: return GetSysColor(COLOR_HIGHLIGHT);
    default: return RGB((value >> 16) & 0xFF, (value >> 8) & 0xFF, value & 0xFF);
    }
}

// The columns are SetColors' arguments; rows 9 to 14 are empty themes.
constexpr uint32_t kThemes[18][10] = {
    {kSys | COLOR_MENU, kSys | COLOR_HIGHLIGHT, 0xEFEDDE, 0xEFEDDE, kSys | COLOR_MENUTEXT, kSys | COLOR_HIGHLIGHTTEXT,
     kSys | COLOR_GRAYTEXT, kSys | COLOR_HIGHLIGHT, 0x000000, 0x000000},
    {0xFFFFFF, kL, 0xEFEDDE, 0xEFEDDE, 0x000000, 0x000000, 0xC8C8C8, kH, 0x8B897A, 0x000000},
    {0xFFFFFF, 0xC1D2EE, 0xEFEDDE, 0xEFEDDE, 0x000000, 0x000000, 0xC8C8C8, 0x316AC5, 0x8B897A, 0x000000},
    {0xBC9565, 0x3B4D68, 0xC69F6F, 0xC69F6F, 0x000000, 0xFFFFFF, 0x646464, 0x3B4D68, 0x826746, 0x000000},
    {0x009565, 0x3BB168, 0x3BB168, 0x3BB168, 0x000000, 0xFFFFFF, 0x646464, 0x3BB168, 0x826746, 0x000000},
    {0xECF5FF, 0xF1FAFF, 0xCED7E1, 0xCED7E1, 0x000000, 0x305074, 0x646464, 0xF1FAFF, 0x7599C6, 0x7599C6},
    {0xB1B1B1, 0x6F6F6F, 0x979797, 0x979797, 0x000000, 0xFFFFFF, 0x60708E, 0x404040, 0x575757, 0x000000},
    {0xFF8282, 0x503232, 0xB46464, 0xB46464, 0x000000, 0xFFFFFF, 0x646464, 0xB46464, 0x646464, 0x000000},
    {0xFFFFFF, 0xFFEEC2, 0xA7C4ED, 0xA7C4ED, 0x000000, 0x000000, 0x646464, 0x000080, 0x6A8CCB, 0x000000},
    {}, {}, {}, {}, {}, {},
    {0xF4F4F1, kL, 0xF4F4F1, 0xA6C4F5, 0x000000, 0x000000, 0xACA899, 0x316AC5, 0xACA899, 0x000000},
    {0xF6F6F6, 0xFFEEC2, 0xE3EFFF, 0x87ADE4, 0x000000, 0x000000, 0xACA899, 0x000080, 0x6A8CCB, 0x000000},
    {0xF4F4F1, kL, 0xF4F4F1, kH, 0x000000, 0x000000, 0xACA899, kH, kH, 0x000000},
};

// The menu bar's own colour where the system has one; version 6.0 does not
// qualify under this test, as it never has.
COLORREF BarBackground()
{
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    GetVersionExW(&version);
#pragma GCC diagnostic pop
    const bool hasMenuBar = version.dwMajorVersion >= 5 && version.dwMinorVersion >= 1;
    return GetSysColor(hasMenuBar ? COLOR_MENUBAR : COLOR_BTNFACE);
}

void SetVertexColor(TRIVERTEX& vertex, COLORREF color)
{
    vertex.Red = static_cast<COLOR16>(GetRValue(color) << 8);
    vertex.Green = static_cast<COLOR16>(GetGValue(color) << 8);
    vertex.Blue = static_cast<COLOR16>(GetBValue(color) << 8);
    vertex.Alpha = 0;
}

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

// The colour of a bitmap's top-left pixel, the transparent colour of images.
bool TopLeftPixel(HBITMAP bitmap, COLORREF* color)
{
    const unique_hdc dc(CreateCompatibleDC(nullptr));
    if (!dc)
        return false;
    SelectGuard select(dc.get(), bitmap);
    *color = GetPixel(dc.get(), 0, 0);
    return *color != CLR_INVALID;
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

std::wstring MenuText(HMENU menu, UINT position)
{
    const int length = GetMenuStringW(menu, position, nullptr, 0, MF_BYPOSITION);
    if (length <= 0)
        return {};
    std::wstring text(static_cast<size_t>(length) + 1, L'\0');
    text.resize(static_cast<size_t>(GetMenuStringW(menu, position, text.data(), length + 1, MF_BYPOSITION)));
    return text;
}

} // namespace

ACL_Menu::ACL_Menu()
{
    SetTheme(15);
}

// The members release the menu, the records, the images and an owned check bitmap.
ACL_Menu::~ACL_Menu() = default;

void ACL_Menu::RecomputeCells()
{
    cellWidth_ = imageWidth_ + 2 * marginX_;
    cellHeight_ = imageHeight_ + 2 * marginY_;
}

void ACL_Menu::SetColors(COLORREF background, COLORREF selectionBackground, COLORREF gradientStart,
                         COLORREF gradientEnd, COLORREF textColor, COLORREF selectedTextColor,
                         COLORREF disabledTextColor, COLORREF frameColor, COLORREF separatorColor, COLORREF checkColor)
{
    colors_.background = background;
    colors_.selectionBackground = selectionBackground;
    colors_.gradientStart = gradientStart;
    colors_.gradientEnd = gradientEnd;
    colors_.textColor = textColor;
    colors_.selectedTextColor = selectedTextColor;
    colors_.disabledTextColor = disabledTextColor;
    colors_.frameColor = frameColor;
    colors_.separatorColor = separatorColor;
    colors_.checkColor = checkColor;
    colors_.barBackground = BarBackground();
    colors_.shadowColor = GetSysColor(COLOR_BTNSHADOW);
    SetVertexColor(gradient_[0], gradientStart);
    SetVertexColor(gradient_[1], gradientEnd);
}

void ACL_Menu::SetTheme(unsigned theme)
{
    if (theme > 17 || (theme >= 9 && theme <= 14))
        return;
    const uint32_t* c = kThemes[theme];
    SetColors(Resolve(c[0]), Resolve(c[1]), Resolve(c[2]), Resolve(c[3]), Resolve(c[4]), Resolve(c[5]),
              Resolve(c[6]), Resolve(c[7]), Resolve(c[8]), Resolve(c[9]));
}

void ACL_Menu::SetImageMetrics(uint32_t imageWidth, uint32_t imageHeight, uint32_t marginX, uint32_t marginY)
{
    if (imageWidth != kKeep)
        imageWidth_ = imageWidth;
    if (imageHeight != kKeep)
        imageHeight_ = imageHeight;
    if (marginX != kKeep)
        marginX_ = marginX;
    if (marginY != kKeep)
        marginY_ = marginY;
    RecomputeCells();
}

DWORD ACL_Menu::SetCheckBitmap(HBITMAP bitmap, uint32_t shared)
{
    // The flag decides for the bitmap held from now on, a kept one included.
    checkBitmap_.reset(bitmap != kKeepCheckBitmap ? bitmap : checkBitmap_.get(), shared == 0);
    if (bitmap != kKeepCheckBitmap && bitmap && !TopLeftPixel(bitmap, &checkTransparentColor_))
        return GetLastError();
    return ERROR_SUCCESS;
}

DWORD ACL_Menu::Attach(HINSTANCE instance, UINT menuId, UINT imagesMenuId, UINT imagesBitmapId, HWND owner)
{
    if (menu_)
        return ERROR_ALREADY_EXISTS;
    instance_ = instance;
    owner_ = owner;
    convertTopLevel_ = 1;
    menu_.reset(LoadMenuW(instance, MAKEINTRESOURCEW(menuId)));
    if (!menu_)
        return GetLastError();
    LoadImages(imagesMenuId, imagesBitmapId);
    return ConvertAttached();
}

DWORD ACL_Menu::AttachMenu(HINSTANCE instance, HMENU menu, UINT imagesMenuId, UINT imagesBitmapId, HWND owner,
                           uint32_t convertTopLevel)
{
    if (menu_)
        return ERROR_ALREADY_EXISTS;
    if (!menu)
        return ERROR_INVALID_HANDLE;
    instance_ = instance;
    owner_ = owner;
    convertTopLevel_ = convertTopLevel;
    menu_.reset(menu);
    if (imagesMenuId != 0)
        LoadImages(imagesMenuId, imagesBitmapId);
    return ConvertAttached();
}

DWORD ACL_Menu::ConvertAttached()
{
    const HMENU menu = menu_.get();
    try {
        if (convertTopLevel_) {
            Convert(menu);
        } else {
            const int count = GetMenuItemCount(menu);
            for (int position = 0; position < count; ++position)
                if (HMENU dropDown = GetSubMenu(menu, position))
                    Convert(dropDown);
        }
    } catch (const std::bad_alloc&) {
        return ERROR_OUTOFMEMORY;
    }
    return ERROR_SUCCESS;
}

DWORD ACL_Menu::LoadImages(UINT imagesMenuId, UINT imagesBitmapId)
{
    const unique_hmenu imageMenu(LoadMenuW(instance_, MAKEINTRESOURCEW(imagesMenuId)));
    if (!imageMenu)
        return GetLastError();
    const int count = GetMenuItemCount(imageMenu.get());
    const unique_hbitmap strip(LoadBitmapW(instance_, MAKEINTRESOURCEW(imagesBitmapId)));
    if (!strip)
        return GetLastError();
    BITMAP info{};
    if (!GetObjectW(strip.get(), sizeof(info), &info))
        return GetLastError();
    // The image menu has to name at least one command.
    if (count <= 0)
        return ERROR_INVALID_DATA;
    const int sliceWidth = info.bmWidth / count;
    if (imageWidth_ == kFromStrip || imageHeight_ == kFromStrip) {
        if (imageWidth_ == kFromStrip)
            imageWidth_ = static_cast<uint32_t>(sliceWidth);
        if (imageHeight_ == kFromStrip)
            imageHeight_ = static_cast<uint32_t>(info.bmHeight);
        RecomputeCells();
    }

    const WindowDc ownerDc(owner_);
    const unique_hdc source(CreateCompatibleDC(ownerDc.get()));
    const unique_hdc target(CreateCompatibleDC(ownerDc.get()));
    if (!ownerDc || !source || !target)
        return GetLastError();
    SelectGuard selectStrip(source.get(), strip.get());
    try {
        for (int i = 0; i < count; ++i) {
            unique_hbitmap bitmap(CreateCompatibleBitmap(ownerDc.get(), static_cast<int>(imageWidth_),
                                                         static_cast<int>(imageHeight_)));
            if (!bitmap)
                return GetLastError();
            auto image = std::make_unique<ACL_MenuImage>();
            {
                SelectGuard selectSlice(target.get(), bitmap.get());
                BitBlt(target.get(), 0, 0, sliceWidth, info.bmHeight, source.get(), i * sliceWidth, 0, SRCCOPY);
                image->transparentColor = GetPixel(target.get(), 0, 0);
            }
            image->commandId = GetMenuItemID(imageMenu.get(), i);
            image->bitmap = std::move(bitmap);
            images_.push_back(std::move(image));
        }
    } catch (const std::bad_alloc&) {
        return ERROR_OUTOFMEMORY;
    }
    return ERROR_SUCCESS;
}

ACL_MenuImage* ACL_Menu::FindImage(uint32_t commandId) const
{
    for (const auto& image : images_)
        if (image->commandId == commandId)
            return image.get();
    return nullptr;
}

ACL_MenuItem* ACL_Menu::FindRecord(const void* data) const
{
    for (const auto& item : items_)
        if (item.get() == data)
            return item.get();
    return nullptr;
}

ACL_MenuItem* ACL_Menu::RecordOf(HMENU menu, UINT item, UINT byFlags) const
{
    MENUITEMINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_DATA;
    if (!GetMenuItemInfoW(menu, item, (byFlags & MF_BYPOSITION) != 0, &info))
        return nullptr;
    return FindRecord(reinterpret_cast<const void*>(info.dwItemData));
}

ACL_MenuItem* ACL_Menu::AddRecord(HMENU menu, UINT position)
{
    auto record = std::make_unique<ACL_MenuItem>();
    record->image = FindImage(GetMenuItemID(menu, static_cast<int>(position)));
    record->state = GetMenuState(menu, position, MF_BYPOSITION);
    record->topLevel = menu == menu_.get() ? 1 : 0;
    record->text = MenuText(menu, position);
    record->length = static_cast<uint32_t>(record->text.size());
    items_.push_back(std::move(record));
    return items_.back().get();
}

void ACL_Menu::MakeOwnerDrawn(HMENU menu, UINT position, ACL_MenuItem* record) const
{
    MENUITEMINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_TYPE;
    GetMenuItemInfoW(menu, position, TRUE, &info);
    info.fType |= MFT_OWNERDRAW;
    info.fMask = MIIM_TYPE | MIIM_DATA;
    info.dwTypeData = nullptr;
    info.cch = 0;
    info.dwItemData = reinterpret_cast<ULONG_PTR>(record);
    SetMenuItemInfoW(menu, position, TRUE, &info);
}

void ACL_Menu::Convert(HMENU menu)
{
    const int count = GetMenuItemCount(menu);
    for (int position = 0; position < count; ++position) {
        // Kept before the item points at it, so that a failed push leaves nothing dangling.
        MakeOwnerDrawn(menu, static_cast<UINT>(position), AddRecord(menu, static_cast<UINT>(position)));
        if (HMENU dropDown = GetSubMenu(menu, position))
            Convert(dropDown);
    }
}

void ACL_Menu::Refresh(HMENU menu)
{
    // Items left unconverted when memory runs out are drawn by the system.
    try {
        RefreshMenu(menu ? menu : menu_.get());
    } catch (const std::bad_alloc&) {
    }
}

void ACL_Menu::RefreshMenu(HMENU menu)
{
    const int count = GetMenuItemCount(menu);
    for (int i = 0; i < count; ++i) {
        const UINT position = static_cast<UINT>(i);
        if (HMENU dropDown = GetSubMenu(menu, i)) {
            RefreshMenu(dropDown);
            continue;
        }
        if (menu == menu_.get() && !convertTopLevel_)
            continue;
        MENUITEMINFOW info{};
        info.cbSize = sizeof(info);
        info.fMask = MIIM_FTYPE | MIIM_DATA;
        GetMenuItemInfoW(menu, position, TRUE, &info);
        ACL_MenuItem* record = FindRecord(reinterpret_cast<const void*>(info.dwItemData));
        if (record && record->image && (info.fType & MFT_OWNERDRAW))
            continue;
        if (!record)
            record = AddRecord(menu, position);
        record->image = FindImage(GetMenuItemID(menu, i));
        MakeOwnerDrawn(menu, position, record);
    }
}

bool ACL_Menu::LocateCommand(HMENU menu, uint32_t commandId, HMENU* owner, UINT* position) const
{
    const int count = GetMenuItemCount(menu);
    for (int i = 0; i < count; ++i) {
        if (HMENU dropDown = GetSubMenu(menu, i)) {
            if (LocateCommand(dropDown, commandId, owner, position))
                return true;
        } else if (GetMenuItemID(menu, i) == commandId) {
            *owner = menu;
            *position = static_cast<UINT>(i);
            return true;
        }
    }
    return false;
}

DWORD ACL_Menu::SetItemImage(uint32_t commandId, UINT bitmapId)
{
    unique_hbitmap bitmap(LoadBitmapW(instance_, MAKEINTRESOURCEW(bitmapId)));
    COLORREF transparent = 0;
    if (!bitmap || !TopLeftPixel(bitmap.get(), &transparent))
        return GetLastError();
    try {
        AssignImage(commandId, std::move(bitmap), transparent);
    } catch (const std::bad_alloc&) {
        return ERROR_OUTOFMEMORY;
    }
    return ERROR_SUCCESS;
}

void ACL_Menu::AssignImage(uint32_t commandId, unique_hbitmap bitmap, COLORREF transparent)
{
    ACL_MenuImage* image = FindImage(commandId);
    if (!image) {
        images_.push_back(std::make_unique<ACL_MenuImage>());
        image = images_.back().get();
        image->commandId = commandId;
    }
    image->bitmap = std::move(bitmap);
    image->transparentColor = transparent;

    HMENU owner = nullptr;
    UINT position = 0;
    if (menu_ && LocateCommand(menu_.get(), commandId, &owner, &position)) {
        ACL_MenuItem* record = RecordOf(owner, position, MF_BYPOSITION);
        if (!record) {
            record = AddRecord(owner, position);
            MakeOwnerDrawn(owner, position, record);
        }
        record->image = image;
    }
}

DWORD ACL_Menu::CopyItemImage(uint32_t toCommandId, uint32_t fromCommandId)
{
    ACL_MenuItem* to = RecordOf(menu_.get(), toCommandId, MF_BYCOMMAND);
    const ACL_MenuItem* from = RecordOf(menu_.get(), fromCommandId, MF_BYCOMMAND);
    if (!to || !from)
        return ERROR_NOT_FOUND;
    to->image = from->image;
    return ERROR_SUCCESS;
}

int ACL_Menu::AppendItem(UINT flags, UINT_PTR commandId, const wchar_t* text, HMENU menu)
{
    return InsertItem(0, flags, commandId, text, true, menu);
}

int ACL_Menu::InsertItem(UINT position, UINT flags, UINT_PTR commandId, const wchar_t* text, bool append,
                         HMENU menu)
{
    try {
        return AddItem(position, flags, commandId, text, append, menu ? menu : menu_.get());
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

int ACL_Menu::AddItem(UINT position, UINT flags, UINT_PTR commandId, const wchar_t* text, bool append, HMENU target)
{
    auto record = std::make_unique<ACL_MenuItem>();
    record->text = text ? text : L"";
    record->length = static_cast<uint32_t>(record->text.size());
    record->image = FindImage(static_cast<uint32_t>(commandId));
    record->state = flags | MF_OWNERDRAW;
    // Only a by-position add to the bar itself makes a bar item.
    record->topLevel = (target == menu_.get() && (flags & MF_BYPOSITION)) ? 1 : 0;
    const auto data = reinterpret_cast<const wchar_t*>(record.get());
    items_.push_back(std::move(record));
    const BOOL added = append ? AppendMenuW(target, flags | MF_OWNERDRAW, commandId, data)
                              : InsertMenuW(target, position, flags | MF_OWNERDRAW, commandId, data);
    if (!added) {
        items_.pop_back();
        return 0;
    }
    return 1;
}

int ACL_Menu::DeleteItem(UINT item, UINT flags, HMENU menu)
{
    const HMENU target = menu ? menu : menu_.get();
    if (flags == MF_BYPOSITION) {
        if (HMENU dropDown = GetSubMenu(target, static_cast<int>(item))) {
            const int count = GetMenuItemCount(dropDown);
            for (int position = 0; position < count; ++position)
                DeleteItem(static_cast<UINT>(position), MF_BYPOSITION, dropDown);
        }
    }
    MENUITEMINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_DATA;
    if (!GetMenuItemInfoW(target, item, (flags & MF_BYPOSITION) != 0, &info))
        return 0;
    if (!DeleteMenu(target, item, flags))
        return 0;
    if (!info.dwItemData)
        return 1;
    const auto freed = std::erase_if(
        items_, [&](const auto& record) { return reinterpret_cast<ULONG_PTR>(record.get()) == info.dwItemData; });
    return freed ? 1 : 0;
}

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
