// Named colour schemes for a dialog's controls, answered through the
// WM_CTLCOLOR... messages, and the white header band over the blue-grey body
// that the main, folder and program properties dialogs paint.
#pragma once

#include "acl/Handles.h"

#include <windows.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace acl {

// The common look.
inline constexpr COLORREF kHeaderColor = RGB(0xFF, 0xFF, 0xFF);
inline constexpr COLORREF kBodyColor = RGB(0x8A, 0xA6, 0xD6);
inline constexpr COLORREF kAboutColor = RGB(0x9E, 0xBA, 0xEA);
inline constexpr COLORREF kNoColor = 0xFFFFFFFF;
// The etched line that ends the header band.
inline constexpr int kHeaderSeparatorId = 1024;

// The messages a scheme set answers, as bits of `messages`.
enum ColorMessageBits : uint32_t {
    kColorDialog = 0x01,
    kColorStatic = 0x02,
    kColorEdit = 0x04,
    kColorButton = 0x08,
    kColorListBox = 0x10,
    kColorScrollBar = 0x20,
};

// One scheme: the windows it colours and how. The brush and the font are
// released with the scheme when it owns them; every registered scheme owns
// both, so a font handed to AddScheme is the scheme's from then on.
struct ColorScheme {
    bool Lists(HWND window) const;

    std::vector<HWND> windows;
    COLORREF textColor = kNoColor;
    COLORREF backgroundColor = kNoColor;
    flagged_hbrush brush;  // what the control's background is painted with
    flagged_hfont font;    // none leaves the control's font alone
};

// The scheme set without the dialog: everything but finding the controls.
class ColorSchemeSet {
public:
    // Registers `name` for the controls of `dialog` with the given ids (none
    // when controlIds is null), replacing a scheme of that name. Takes over
    // `font`.
    void AddScheme(HWND dialog, const std::wstring& name, const int* controlIds, uint32_t count, COLORREF textColor,
                   COLORREF backgroundColor, unique_hfont font);
    // True when `message` is a colour message this set answers; `result` is
    // then the brush (null while suspended or when no scheme applies).
    bool OnCtlColor(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result);
    HBRUSH Lookup(HDC dc, HWND window) const;

    const ColorScheme* Find(const std::wstring& name) const;

    uint32_t messages = 0xFF;
    uint32_t suspended = 0;
    uint32_t useDefault = 0;

private:
    const ColorScheme* Match(HWND window) const;

    std::map<std::wstring, std::unique_ptr<ColorScheme>> schemes_;
};

// The part a dialog class inherits: `Dialog` gives its window through
// `HWND window() const`.
template <typename Dialog>
class ColorSchemes : public ColorSchemeSet {
public:
    void AddScheme(const std::wstring& name, const int* controlIds, uint32_t count, COLORREF textColor,
                   COLORREF backgroundColor, unique_hfont font = {})
    {
        const HWND dialog = static_cast<const Dialog*>(this)->window();
        ColorSchemeSet::AddScheme(dialog, name, controlIds, count, textColor, backgroundColor, std::move(font));
    }
};

// The header band and the body below it, in the dialog's client coordinates:
// the band reaches down to the bottom of the separator line 1024.
struct HeaderBand {
    RECT header;
    RECT body;
};
bool GetHeaderBand(HWND dialog, HeaderBand* band);
// Paints the band with `header` and the rest with `body`; the answer to
// WM_ERASEBKGND is 0 afterwards. False when the dialog has no separator.
bool PaintHeaderBand(HWND dialog, HDC dc, HBRUSH header, HBRUSH body);
// The same with brushes made for this one paint.
bool PaintHeaderBand(HWND dialog, HDC dc);
// Fills the whole client area with the body colour (dialogs without a header).
void PaintBody(HWND dialog, HDC dc);

} // namespace acl
