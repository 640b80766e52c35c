#include "watcher/AlertText.h"

#include <cwchar>

#include "config/Locations.h"

namespace krn {
namespace {

std::wstring Stamp(const SYSTEMTIME& t)
{
    wchar_t stamp[32];
    swprintf(stamp, 32, L"%04u-%02u-%02u %02u:%02u:%02u", t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond);
    return stamp;
}

std::wstring Size(std::uint64_t bytes)
{
    wchar_t text[kFormatSizeChars];
    return FormatSize(bytes, text);
}

std::wstring ExpandEnvironment(const std::wstring& text)
{
    if (text.find(L'%') == std::wstring::npos)
        return text;
    const DWORD needed = ExpandEnvironmentStringsW(text.c_str(), nullptr, 0);
    if (needed == 0)
        return text;
    std::wstring expanded(needed, L'\0');
    const DWORD written = ExpandEnvironmentStringsW(text.c_str(), expanded.data(), needed);
    if (written == 0 || written > needed)
        return text;
    expanded.resize(written - 1);
    return expanded;
}

std::wstring_view Trim(std::wstring_view text)
{
    const auto first = text.find_first_not_of(L" \t");
    if (first == std::wstring_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(L" \t") - first + 1);
}

} // namespace

std::wstring AlertMessage(const std::wstring& customText, const std::wstring& folder, LimitSide side,
                          std::uint64_t size, std::uint64_t limit)
{
    if (!customText.empty())
        return customText;
    const bool above = side == LimitSide::Maximum;
    return L"The folder " + folder + L" has a size of " + Size(size) + (above ? L", above" : L", below") +
           (above ? L" its maximum limit of " : L" its minimum limit of ") + Size(limit) + L".";
}

std::wstring FormatLogLine(const SYSTEMTIME& t, const std::wstring& folder, LimitSide side, std::uint64_t size,
                           std::uint64_t limit)
{
    const wchar_t* what = side == LimitSide::Maximum ? L"Maximum exceeded" : L"Minimum undercut";
    return Stamp(t) + L"\t" + folder + L"\t" + what + L"\tSize " + Size(size) + L"\tLimit " + Size(limit);
}

std::wstring GrowthSentence(std::int64_t dayGrowth)
{
    return FormatSignedSize(dayGrowth) + L" in 24 hours.";
}

std::wstring FormatForecastLine(const SYSTEMTIME& t, const std::wstring& folder, std::uint64_t limit,
                                std::uint32_t minutes)
{
    return Stamp(t) + L"\t" + folder + L"\t" + ReachesMaximumSentence(limit, minutes);
}

std::wstring ExpandRunText(std::wstring_view text, const std::wstring& folder)
{
    static constexpr std::wstring_view kToken = L"%currentdir%";
    std::wstring result;
    size_t start = 0;
    for (;;) {
        size_t found = std::wstring_view::npos;
        for (size_t i = start; i + kToken.size() <= text.size(); ++i)
            if (_wcsnicmp(text.data() + i, kToken.data(), kToken.size()) == 0) {
                found = i;
                break;
            }
        result += ExpandEnvironment(std::wstring(text.substr(start, found - start)));
        if (found == std::wstring_view::npos)
            return result;
        result += folder;
        start = found + kToken.size();
    }
}

RunCommand PrepareRun(std::wstring_view path, std::wstring_view params, const std::wstring& folder)
{
    std::wstring_view file = Trim(path);
    std::wstring_view rest;
    if (!file.empty() && file.front() == L'"') {
        file.remove_prefix(1);
        const size_t close = file.find(L'"');
        if (close != std::wstring_view::npos) {
            rest = Trim(file.substr(close + 1));
            file = file.substr(0, close);
        }
    }
    RunCommand command{ExpandRunText(file, folder), ExpandRunText(params, folder)};
    if (!rest.empty())
        command.parameters = ExpandRunText(rest, folder) + (command.parameters.empty() ? L"" : L" ") +
                             command.parameters;
    return command;
}

} // namespace krn
