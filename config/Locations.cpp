#include "config/Locations.h"

#include <shlobj.h>

#include <charconv>
#include <cwchar>

namespace krn {
namespace {

// Appends `tail` when it fits in `capacity` characters, terminator included.
bool Append(wchar_t* text, std::size_t capacity, const wchar_t* tail)
{
    const std::size_t length = wcsnlen(text, capacity);
    const std::size_t extra = wcslen(tail);
    if (length + extra >= capacity)
        return false;
    wmemcpy(text + length, tail, extra + 1);
    return true;
}

bool AppendFolder(wchar_t* path, const wchar_t* name)
{
    if (!Append(path, kConfigPathChars, L"\\") || !Append(path, kConfigPathChars, name))
        return false;
    CreateDirectoryW(path, nullptr);  // an existing folder is fine
    return true;
}

// Inserts a blank before every group of three integer digits, counting from
// `point` (the start of the last group) to the left.
void InsertThousandsBlanks(wchar_t* text, std::size_t length, std::ptrdiff_t point)
{
    for (; point > 0; point -= 3) {
        wmemmove(text + point + 1, text + point, length - point + 1);
        text[point] = L' ';
        ++length;
    }
}

} // namespace

DWORD BuildConfigPath(wchar_t* path)
{
    if (!AppendFolder(path, L"Norlath") || !AppendFolder(path, L"Kestrune"))
        return ERROR_OUTOFMEMORY;
    if (!Append(path, kConfigPathChars, L"\\") || !Append(path, kConfigPathChars, L"config.xml"))
        return ERROR_OUTOFMEMORY;
    return ERROR_SUCCESS;
}

DWORD GetDefaultLogPath(wchar_t* path)
{
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_PERSONAL, nullptr, 0, path)))
        return ERROR_NOT_FOUND;
    Append(path, kLogPathChars, L"\\NorlathKestrune.log");
    return ERROR_SUCCESS;
}

wchar_t* FormatSize(std::uint64_t bytes, wchar_t* text)
{
    double value = static_cast<double>(bytes);
    std::size_t unit = 0;
    int precision = 0;
    if (value >= 1024.0) {
        precision = 2;
        // Terabytes are the last unit: they are never promoted further.
        do {
            value *= 0.0009765625;
            ++unit;
        } while (unit < 4 && value >= 1024.0);
    }
    char digits[kFormatSizeChars];
    const auto result = std::to_chars(digits, digits + sizeof(digits) - 1, value, std::chars_format::fixed, precision);
    const std::size_t length = static_cast<std::size_t>(result.ptr - digits);
    for (std::size_t i = 0; i < length; ++i)
        text[i] = static_cast<wchar_t>(digits[i]);
    text[length] = L'\0';
    InsertThousandsBlanks(text, length, static_cast<std::ptrdiff_t>(length) - (precision ? 6 : 3));
    Append(text, kFormatSizeChars, SizeUnitSuffixes[unit]);
    return text;
}

wchar_t* LastPathComponent(wchar_t* buffer)
{
    wchar_t* last = std::wcsrchr(buffer, L'\\');
    if (!last)
        return buffer;
    if (last[1] == L'\0') {
        *last = L'\0';
        last = std::wcsrchr(buffer, L'\\');
        if (!last)
            return buffer;
    }
    return last + 1;
}

std::wstring FormatLimitNumber(double value)
{
    // Room for the largest double in fixed notation (309 digits and more): a
    // hand-edited 1e308 is shown whole instead of overflowing.
    char digits[400];
    const auto written = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 2);
    return std::wstring(digits, written.ptr);
}

DWORD GetConfigPath(std::wstring& path)
{
    wchar_t buffer[kConfigPathChars] = {};
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, buffer)))
        return ERROR_PATH_NOT_FOUND;
    const DWORD status = BuildConfigPath(buffer);
    if (status == ERROR_SUCCESS)
        path = buffer;
    return status;
}

std::wstring FormatSignedSize(std::int64_t bytes)
{
    wchar_t text[kFormatSizeChars];
    const std::uint64_t magnitude = bytes < 0 ? 0 - static_cast<std::uint64_t>(bytes) : static_cast<std::uint64_t>(bytes);
    return (bytes < 0 ? L"-" : L"+") + std::wstring(FormatSize(magnitude, text));
}

std::wstring ReachesMaximumSentence(std::uint64_t maximum, std::uint32_t minutes)
{
    wchar_t limit[kFormatSizeChars];
    const std::uint32_t days = (minutes + 12 * 60) / (24 * 60);
    const std::wstring when = days == 0   ? L"within a day"
                              : days == 1 ? L"in about 1 day"
                                          : L"in about " + std::to_wstring(days) + L" days";
    return L"Reaches its maximum (" + std::wstring(FormatSize(maximum, limit)) + L") " + when + L".";
}

} // namespace krn
