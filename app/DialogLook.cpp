#include "app/DialogLook.h"

#include <algorithm>

namespace krn {
namespace {

constexpr COLORREF kBlack = RGB(0, 0, 0);

// The window to centre on: a child's parent, otherwise the owner, when it is
// there to be seen.
HWND CentringReference(HWND dialog)
{
    const bool child = (GetWindowLongPtrW(dialog, GWL_STYLE) & WS_CHILD) != 0;
    const HWND reference = child ? GetParent(dialog) : GetWindow(dialog, GW_OWNER);
    if (!reference || !IsWindowVisible(reference) || IsIconic(reference))
        return nullptr;
    return reference;
}

RECT WorkArea(HWND window)
{
    MONITORINFO info{};
    info.cbSize = sizeof info;
    GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &info);
    return info.rcWork;
}

LONG CentredStart(LONG areaStart, LONG areaEnd, LONG size, LONG limitStart, LONG limitEnd)
{
    const LONG start = (areaStart + areaEnd) / 2 - size / 2;
    return std::max(limitStart, std::min(start, limitEnd - size));
}

} // namespace

void CentreDialog(HWND dialog)
{
    RECT own{};
    GetWindowRect(dialog, &own);
    const HWND reference = CentringReference(dialog);
    const RECT work = WorkArea(reference ? reference : dialog);
    RECT area = work;
    if (reference)
        GetWindowRect(reference, &area);
    const LONG width = own.right - own.left;
    const LONG height = own.bottom - own.top;
    POINT topLeft{CentredStart(area.left, area.right, width, work.left, work.right),
                  CentredStart(area.top, area.bottom, height, work.top, work.bottom)};
    if (GetWindowLongPtrW(dialog, GWL_STYLE) & WS_CHILD)
        ScreenToClient(GetParent(dialog), &topLeft);
    SetWindowPos(dialog, nullptr, topLeft.x, topLeft.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

DialogFonts MakeDialogFonts(HWND dialog)
{
    DialogFonts fonts;
    const auto font = reinterpret_cast<HFONT>(SendMessageW(dialog, WM_GETFONT, 0, 0));
    LOGFONTW lf{};
    if (!GetObjectW(font ? static_cast<HGDIOBJ>(font) : GetStockObject(DEFAULT_GUI_FONT), sizeof lf, &lf))
        return fonts;
    lf.lfWeight = FW_BOLD;
    fonts.bold.reset(CreateFontIndirectW(&lf));
    // Two units further from zero, whichever sign the height has.
    lf.lfHeight = lf.lfHeight < 0 ? lf.lfHeight - 2 : lf.lfHeight + 2;
    fonts.largeBold.reset(CreateFontIndirectW(&lf));
    return fonts;
}

BandBrushes::BandBrushes() : header(CreateSolidBrush(acl::kHeaderColor)), body(CreateSolidBrush(acl::kBodyColor)) {}

void AddHeaderSchemes(acl::ColorSchemeSet& schemes, HWND dialog, acl::unique_hfont headerFont,
                      std::initializer_list<int> titleIds)
{
    AddBodyScheme(schemes, dialog);
    AddFontScheme(schemes, dialog, L"header", {kHeaderTitleId}, acl::kHeaderColor, std::move(headerFont));
    schemes.AddScheme(dialog, L"title", titleIds.begin(), static_cast<uint32_t>(titleIds.size()), kBlack,
                      acl::kHeaderColor, {});
}

void AddFontScheme(acl::ColorSchemeSet& schemes, HWND dialog, const wchar_t* name, std::initializer_list<int> ids,
                   COLORREF background, acl::unique_hfont font, COLORREF text)
{
    const HFONT shared = font.get();
    schemes.AddScheme(dialog, name, ids.begin(), static_cast<uint32_t>(ids.size()), text, background,
                      std::move(font));
    if (!shared)
        return;
    for (const int id : ids)
        SendDlgItemMessageW(dialog, id, WM_SETFONT, reinterpret_cast<WPARAM>(shared), FALSE);
}

void AddBodyScheme(acl::ColorSchemeSet& schemes, HWND dialog)
{
    schemes.AddScheme(dialog, L"default", nullptr, 0, kBlack, acl::kBodyColor, {});
    schemes.messages = acl::kColorDialog | acl::kColorStatic | acl::kColorButton;
    schemes.useDefault = 1;
}

std::optional<LRESULT> AnswerColorMessage(acl::ColorSchemeSet& schemes, UINT message, WPARAM wParam, LPARAM lParam)
{
    LRESULT brush = 0;
    if (schemes.OnCtlColor(message, wParam, lParam, &brush))
        return brush;
    return std::nullopt;
}

} // namespace krn
