#include "acl/ColorSchemes.h"

#include "acl/Handles.h"

#include <algorithm>

namespace acl {

bool ColorScheme::Lists(HWND window) const
{
    return std::find(windows.begin(), windows.end(), window) != windows.end();
}

namespace {

// A combo box is coloured through its edit and list windows too, which send
// their own colour messages.
void AddControlWindows(HWND dialog, int id, std::vector<HWND>* windows)
{
    const HWND control = GetDlgItem(dialog, id);
    windows->push_back(control);
    COMBOBOXINFO info{};
    info.cbSize = sizeof(info);
    if (control && GetComboBoxInfo(control, &info)) {
        windows->push_back(info.hwndItem);
        windows->push_back(info.hwndList);
    }
}

uint32_t MessageBit(UINT message)
{
    switch (message) {
    case WM_CTLCOLORDLG: return kColorDialog;
    case WM_CTLCOLORSTATIC: return kColorStatic;
    case WM_CTLCOLOREDIT: return kColorEdit;
    case WM_CTLCOLORBTN: return kColorButton;
    case WM_CTLCOLORLISTBOX: return kColorListBox;
    case WM_CTLCOLORSCROLLBAR: return kColorScrollBar;
    default: return 0;
    }
}

} // namespace

void ColorSchemeSet::AddScheme(HWND dialog, const std::wstring& name, const int* controlIds, uint32_t count,
                               COLORREF textColor, COLORREF backgroundColor, unique_hfont font)
{
    auto scheme = std::make_unique<ColorScheme>();
    if (controlIds) {
        scheme->windows.reserve(count);
        for (uint32_t i = 0; i < count; ++i)
            AddControlWindows(dialog, controlIds[i], &scheme->windows);
    }
    scheme->textColor = textColor;
    scheme->backgroundColor = backgroundColor;
    scheme->brush.reset(CreateSolidBrush(backgroundColor), true);
    scheme->font = flagged_hfont(std::move(font));
    schemes_[name] = std::move(scheme);
}

bool ColorSchemeSet::OnCtlColor(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result)
{
    const uint32_t bit = MessageBit(message);
    if (bit == 0 || (messages & bit) == 0)
        return false;
    HBRUSH brush = nullptr;
    if (suspended == 0)
        brush = Lookup(reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam));
    *result = reinterpret_cast<LRESULT>(brush);
    return true;
}

const ColorScheme* ColorSchemeSet::Match(HWND window) const
{
    for (const auto& [name, scheme] : schemes_)
        if (scheme->Lists(window))
            return scheme.get();
    if (useDefault == 0)
        return nullptr;
    return Find(L"default");
}

HBRUSH ColorSchemeSet::Lookup(HDC dc, HWND window) const
{
    const ColorScheme* scheme = Match(window);
    if (!scheme)
        return nullptr;
    if (scheme->font)
        SelectObject(dc, scheme->font.get());
    if (scheme->textColor != kNoColor)
        SetTextColor(dc, scheme->textColor);
    if (scheme->backgroundColor != kNoColor)
        SetBkColor(dc, scheme->backgroundColor);
    SelectObject(dc, scheme->brush.get());
    return scheme->brush.get();
}

const ColorScheme* ColorSchemeSet::Find(const std::wstring& name) const
{
    const auto found = schemes_.find(name);
    return found == schemes_.end() ? nullptr : found->second.get();
}

bool GetHeaderBand(HWND dialog, HeaderBand* band)
{
    const HWND separator = GetDlgItem(dialog, kHeaderSeparatorId);
    RECT client{};
    RECT line{};
    if (!separator || !GetClientRect(dialog, &client) || !GetWindowRect(separator, &line))
        return false;
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&line), 2);
    band->header = {0, 0, client.right, line.bottom};
    band->body = client;
    band->body.top = line.bottom;
    return true;
}

bool PaintHeaderBand(HWND dialog, HDC dc, HBRUSH header, HBRUSH body)
{
    HeaderBand band{};
    if (!GetHeaderBand(dialog, &band))
        return false;
    FillRect(dc, &band.header, header);
    FillRect(dc, &band.body, body);
    return true;
}

bool PaintHeaderBand(HWND dialog, HDC dc)
{
    const unique_hbrush header(CreateSolidBrush(kHeaderColor));
    const unique_hbrush body(CreateSolidBrush(kBodyColor));
    return PaintHeaderBand(dialog, dc, header.get(), body.get());
}

void PaintBody(HWND dialog, HDC dc)
{
    RECT client{};
    GetClientRect(dialog, &client);
    const unique_hbrush body(CreateSolidBrush(kBodyColor));
    FillRect(dc, &client, body.get());
}

} // namespace acl
