// The texts of the three actions: the message, the log line and the program
// line of "Run application". Pure text work, checked without the clock.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "watcher/LimitRules.h"

namespace krn {

// The limit's custom text when it has one, otherwise a sentence naming the
// folder, its size and the limit.
std::wstring AlertMessage(const std::wstring& customText, const std::wstring& folder, LimitSide side,
                          std::uint64_t size, std::uint64_t limit);

// "2026-11-24 14:05:09\tC:\Data\tMaximum exceeded\tSize 2.00 KB\tLimit 1.00 KB",
// no line end. Tab-separated: a folder path cannot hold a tab.
std::wstring FormatLogLine(const SYSTEMTIME& localTime, const std::wstring& folder, LimitSide side,
                           std::uint64_t size, std::uint64_t limit);

// "+1.20 GB in 24 hours.": the sentence a maximum's message and log line end
// with when the engine knows the folder's growth over the last day.
std::wstring GrowthSentence(std::int64_t dayGrowth);

// "2026-11-24 14:05:09\tC:\Data\tReaches its maximum (10.00 GB) in about 2 days.":
// the daily log line of a folder forecast to reach its maximum soon.
std::wstring FormatForecastLine(const SYSTEMTIME& localTime, const std::wstring& folder, std::uint64_t limit,
                                std::uint32_t minutes);

// What "Run application" hands to the shell.
struct RunCommand {
    std::wstring file;
    std::wstring parameters;
};

// "%currentdir%" (in any case) becomes `folder`; environment variables in the
// rest are expanded, but never inside the folder's own path, which may hold
// percent signs. A path in quotes is taken up to the closing quote; anything
// after it goes before the parameters. Blanks around the path are dropped.
RunCommand PrepareRun(std::wstring_view path, std::wstring_view params, const std::wstring& folder);
std::wstring ExpandRunText(std::wstring_view text, const std::wstring& folder);

} // namespace krn
