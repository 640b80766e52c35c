// The owner-drawn menu: a menu bar and its drop-downs painted with an image
// column, per-command images cut from one bitmap strip, and themed colours.
#pragma once

#include <windows.h>

#include "acl/Handles.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// One command's image. The bitmap is the menu's.
struct ACL_MenuImage {
    uint32_t commandId = 0;
    COLORREF transparentColor = 0;
    acl::unique_hbitmap bitmap;
};

// The item data of every converted item.
struct ACL_MenuItem {
    std::wstring text;  // as in the menu: "&" prefixes, a tab before shortcut text
    uint32_t length = 0;
    ACL_MenuImage* image = nullptr;
    uint32_t state = 0;
    uint32_t topLevel = 0;
};

// The colours a theme sets, in the order SetColors takes them, and the two
// read from the system.
struct ACL_MenuColors {
    COLORREF background = 0;
    COLORREF selectionBackground = 0;
    COLORREF gradientStart = 0;
    COLORREF gradientEnd = 0;
    COLORREF textColor = 0;
    COLORREF selectedTextColor = 0;
    COLORREF disabledTextColor = 0;
    COLORREF frameColor = 0;
    COLORREF separatorColor = 0;
    COLORREF checkColor = 0;
    COLORREF barBackground = 0;
    COLORREF shadowColor = 0;
    bool operator==(const ACL_MenuColors&) const = default;
};

class ACL_Menu {
public:
    static constexpr uint32_t kKeep = static_cast<uint32_t>(-2);      // SetImageMetrics: keep the value
    static constexpr uint32_t kFromStrip = 0xFFFFFFFF;                 // image size taken from the strip
    static inline const HBITMAP kKeepCheckBitmap = reinterpret_cast<HBITMAP>(static_cast<intptr_t>(-1));

    ACL_Menu();
    ACL_Menu(const ACL_Menu&) = delete;
    ACL_Menu& operator=(const ACL_Menu&) = delete;
    virtual ~ACL_Menu();
    // 0, or the Win32 error when the menu font cannot be made.
    virtual DWORD MeasureItem(MEASUREITEMSTRUCT& mis);
    virtual DWORD DrawItem(const DRAWITEMSTRUCT& dis);

    // Loads menu `menuId`, its images, and makes the bar and every drop-down
    // owner-drawn. 183 when a menu is attached already.
    DWORD Attach(HINSTANCE instance, UINT menuId, UINT imagesMenuId, UINT imagesBitmapId, HWND owner);
    // The same for a menu that exists; the menu becomes this object's.
    DWORD AttachMenu(HINSTANCE instance, HMENU menu, UINT imagesMenuId, UINT imagesBitmapId, HWND owner,
                     uint32_t convertTopLevel);
    DWORD LoadImages(UINT imagesMenuId, UINT imagesBitmapId);
    void Refresh(HMENU menu = nullptr);

    void SetColors(COLORREF background, COLORREF selectionBackground, COLORREF gradientStart, COLORREF gradientEnd,
                   COLORREF textColor, COLORREF selectedTextColor, COLORREF disabledTextColor, COLORREF frameColor,
                   COLORREF separatorColor, COLORREF checkColor);
    void SetTheme(unsigned theme);
    void SetImageMetrics(uint32_t imageWidth, uint32_t imageHeight, uint32_t marginX, uint32_t marginY);
    DWORD SetCheckBitmap(HBITMAP bitmap, uint32_t shared);
    DWORD SetItemImage(uint32_t commandId, UINT bitmapId);
    DWORD CopyItemImage(uint32_t toCommandId, uint32_t fromCommandId);

    int AppendItem(UINT flags, UINT_PTR commandId, const wchar_t* text, HMENU menu = nullptr);
    int InsertItem(UINT position, UINT flags, UINT_PTR commandId, const wchar_t* text, bool append,
                   HMENU menu = nullptr);
    // Deleting a drop-down by position empties it position by position first,
    // so every second item goes, as the shipped menu always has.
    int DeleteItem(UINT item, UINT flags, HMENU menu = nullptr);

    HMENU menu() const { return menu_.get(); }
    const ACL_MenuColors& colors() const { return colors_; }
    const std::vector<std::unique_ptr<ACL_MenuItem>>& items() const { return items_; }
    const std::vector<std::unique_ptr<ACL_MenuImage>>& images() const { return images_; }
    HBITMAP checkBitmap() const { return checkBitmap_.get(); }
    COLORREF checkTransparentColor() const { return checkTransparentColor_; }
    uint32_t cellWidth() const { return cellWidth_; }
    uint32_t cellHeight() const { return cellHeight_; }
    uint32_t imageWidth() const { return imageWidth_; }
    uint32_t imageHeight() const { return imageHeight_; }
    uint32_t marginX() const { return marginX_; }
    uint32_t marginY() const { return marginY_; }
    uint32_t textGapX() const { return textGapX_; }
    uint32_t textOffsetY() const { return textOffsetY_; }

private:
    void RecomputeCells();
    ACL_MenuImage* FindImage(uint32_t commandId) const;
    ACL_MenuItem* FindRecord(const void* data) const;
    ACL_MenuItem* RecordOf(HMENU menu, UINT item, UINT byFlags) const;
    // A record read from the item at `position`, kept in items_.
    ACL_MenuItem* AddRecord(HMENU menu, UINT position);
    void MakeOwnerDrawn(HMENU menu, UINT position, ACL_MenuItem* record) const;
    void Convert(HMENU menu);
    DWORD ConvertAttached();
    void RefreshMenu(HMENU menu);
    void AssignImage(uint32_t commandId, acl::unique_hbitmap bitmap, COLORREF transparent);
    int AddItem(UINT position, UINT flags, UINT_PTR commandId, const wchar_t* text, bool append, HMENU target);
    bool LocateCommand(HMENU menu, uint32_t commandId, HMENU* owner, UINT* position) const;

    void FillGradient(HDC dc, const RECT& cell);
    void DrawBarItem(HDC dc, const DRAWITEMSTRUCT& dis, const ACL_MenuItem& rec) const;
    void DrawSeparator(HDC dc, const RECT& r);
    void DrawCheck(HDC dc, const RECT& r, const RECT& cell, bool selected) const;
    void DrawRaised(HDC dc, HBITMAP bitmap, COLORREF transparent, int x, int y, bool selected) const;

    HINSTANCE instance_ = nullptr;
    HWND owner_ = nullptr;
    acl::unique_hmenu menu_;
    std::vector<std::unique_ptr<ACL_MenuItem>> items_;
    std::vector<std::unique_ptr<ACL_MenuImage>> images_;
    COLORREF checkTransparentColor_ = 0;
    // The menu's unless SetCheckBitmap was told it is shared.
    acl::flagged_handle<acl::handle_traits::GdiObject<HBITMAP>> checkBitmap_;
    uint32_t cellWidth_ = 22;
    uint32_t cellHeight_ = 20;
    uint32_t imageWidth_ = 16;
    uint32_t imageHeight_ = 16;
    uint32_t marginX_ = 3;
    uint32_t marginY_ = 2;
    uint32_t textGapX_ = 10;
    uint32_t textOffsetY_ = 2;
    ACL_MenuColors colors_;
    TRIVERTEX gradient_[2]{};
    GRADIENT_RECT gradientRect_{0, 1};
    uint32_t convertTopLevel_ = 0;
};

namespace acl {

// The menu font, made for each measured and drawn item.
unique_hfont CreateMenuFont();
// Greyscale of one colour: (77 R + 150 G + 29 B) / 256 in every channel.
COLORREF GreyOf(COLORREF color);
// The lightened highlight colour of the themes: 179 + 3 (c / 10) per channel.
COLORREF LightenedHighlight(COLORREF highlight);

} // namespace acl
