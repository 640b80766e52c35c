// The menu's colours: the built-in themes, explicit colours, and the cell
// sizes that follow from the image metrics.
#include "acl/Menu.h"

namespace acl {

COLORREF LightenedHighlight(COLORREF highlight)
{
    auto lighten = [](BYTE c) { return static_cast<BYTE>(179 + 3 * (c / 10)); };
    return RGB(lighten(GetRValue(highlight)), lighten(GetGValue(highlight)), lighten(GetBValue(highlight)));
}

} // namespace acl

namespace {

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

} // namespace

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
