// Where the configuration and log files live, and how a byte count is shown.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace krn {

inline constexpr std::size_t kConfigPathChars = 520;
inline constexpr std::size_t kLogPathChars = MAX_PATH;
inline constexpr std::size_t kFormatSizeChars = 32;

inline constexpr const wchar_t* SizeUnitSuffixes[] = {L" B", L" KB", L" MB", L" GB", L" TB"};

// `path` (kConfigPathChars) holds the application-data folder; completes it to
// the path of config.xml, creating the two folders on the way. 0, or 14 when
// the path does not fit.
DWORD BuildConfigPath(wchar_t* path);

// The full path of config.xml in the user's application-data folder (the
// folders on the way created): 0, ERROR_PATH_NOT_FOUND when the folder is
// unknown, or 14 when the path does not fit.
DWORD GetConfigPath(std::wstring& path);

// Stores the default log file path in `path` (kLogPathChars). 0, or 1168 when
// the documents folder is unknown.
DWORD GetDefaultLogPath(wchar_t* path);

// The last component of the path in `buffer`, which may lose a trailing
// backslash on the way: C:\Data\Logs and C:\Data\Logs\ give Logs, C:\ gives
// the whole (shortened) buffer C:, and a path without a backslash is whole.
wchar_t* LastPathComponent(wchar_t* buffer);

// A limit value as the user sees it: two decimals with a '.', whatever the
// user's locale, so that a value shown can be read back by the same parser.
std::wstring FormatLimitNumber(double value);

// "1 023 B", "1.50 KB", "16 777 216.00 TB": two decimals from a kilobyte up,
// blanks between thousands. `text` holds kFormatSizeChars; returns it.
wchar_t* FormatSize(std::uint64_t bytes, wchar_t* text);

// "+1.20 GB" or "-300 B": a growth in FormatSize's form.
std::wstring FormatSignedSize(std::int64_t bytes);

// "Reaches its maximum (10.00 GB) in about 2 days.", to the nearest day
// ("within a day" under half a day): how the main window and the watcher tell
// a forecast, so that both say it alike.
std::wstring ReachesMaximumSentence(std::uint64_t maximum, std::uint32_t minutes);

} // namespace krn
