// SPDX-License-Identifier: GPL-2.0-or-later
// Dates as text and text as dates. All functions may be called from any thread; names of days and months are those
// of the process's locale.
#pragma once

#include <foundation/datetime.h>

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace tfs {

inline constexpr const char* DefaultDateFormat = ulk::datetime::kDefaultFormat;

/// Text of a broken-down time. An empty format gives an empty text, and so does one whose result exceeds 4095 bytes;
/// a format of 2048 bytes or more throws std::out_of_range "Format specification is too long".
std::string DateToString(const std::tm& time, const char* format = DefaultDateFormat);

/// Local time of a moment in seconds since 1970-01-01 UTC. Throws ulk::datetime::TimeSystemError where the moment
/// can't be broken down.
std::string SecondsToString(std::int64_t seconds, const char* format = DefaultDateFormat);

/// Local time of a moment in 100 ns ticks since 1601-01-01 UTC. Throws ulk::datetime::TimeSystemError for a moment
/// before 1970.
std::string TicksToString(std::int64_t ticks, const char* format = DefaultDateFormat);

/// Broken-down time of a text, read by strptime's rules; whether summer time is in force is left open. Nothing where
/// the text doesn't match the format, goes on behind it or names a day that doesn't exist. A format that is too long
/// throws as above.
std::optional<std::tm> StringToDate(const std::string& text, const char* format = DefaultDateFormat);

} // namespace tfs
