// The maker's web pages that the program opens: the Help menu's web-site and
// support commands and the About box's links.
#pragma once

namespace krn {

inline constexpr wchar_t kMakerHomePage[] = L"https://www.norlath.com/kestrune/";
inline constexpr wchar_t kMakerSupportPage[] = L"https://www.norlath.com/kestrune/support/";
inline constexpr wchar_t kMakerContactPage[] = L"https://www.norlath.com/contact/";

} // namespace krn
