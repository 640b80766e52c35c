// The look every dialog of the program shares: centring, the bold fonts made
// from the dialog font, the white header band over the blue-grey body, and
// the colour schemes that go with them. Written once; each dialog calls it.
#pragma once

#include "acl/ColorSchemes.h"
#include "acl/Handles.h"

#include <windows.h>

#include <initializer_list>
#include <optional>

namespace krn {

// The title the main window sets on itself (a second copy looks for exactly
// this), and the caption of every message the program shows.
inline constexpr wchar_t kMainWindowTitle[] = L"Kestrune™ Properties x64";

// The controls every header band has.
inline constexpr int kHeaderPictureId = 1026;
inline constexpr int kHeaderTitleId = 1018;
inline constexpr int kHeaderTextId = 1025;

// Centres `dialog` over its owner (or, for a child, its parent); without one
// that is visible and not minimised, on the work area of its monitor. The
// result is kept inside that work area.
void CentreDialog(HWND dialog);

// The dialog font in bold, and in bold two units larger in magnitude.
struct DialogFonts {
    acl::unique_hfont bold;
    acl::unique_hfont largeBold;
};
DialogFonts MakeDialogFonts(HWND dialog);

// The two brushes of the header band, for dialogs that keep them.
struct BandBrushes {
    BandBrushes();
    acl::unique_hbrush header;
    acl::unique_hbrush body;
};

// The schemes of a dialog with a header band: "default" (black on the body
// colour) for everything not listed, "header" (the title 1018 on white in
// `headerFont`) and "title" (`titleIds` on white). The set then answers
// WM_CTLCOLORDLG, WM_CTLCOLORSTATIC and WM_CTLCOLORBTN.
void AddHeaderSchemes(acl::ColorSchemeSet& schemes, HWND dialog, acl::unique_hfont headerFont,
                      std::initializer_list<int> titleIds);
// A scheme of `text` (black unless given) on `background` in `font` for the
// controls `ids`. The controls are given the font too: a static control draws
// its text with its own font, whatever the colour message selected into the DC.
void AddFontScheme(acl::ColorSchemeSet& schemes, HWND dialog, const wchar_t* name, std::initializer_list<int> ids,
                   COLORREF background, acl::unique_hfont font, COLORREF text = RGB(0, 0, 0));
// The same for a dialog that is body colour throughout: "default" only.
void AddBodyScheme(acl::ColorSchemeSet& schemes, HWND dialog);

// The answer to a WM_CTLCOLOR... message when the set takes it.
std::optional<LRESULT> AnswerColorMessage(acl::ColorSchemeSet& schemes, UINT message, WPARAM wParam, LPARAM lParam);

} // namespace krn
