// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_utils/date_to_string_and_viceversa.h>

#include <stdexcept>
#include <string.h>
#include <time.h>

namespace tfs {
namespace {

constexpr std::size_t kFormatBound = 2048;

void CheckFormat(const char* format) {
    if (::strnlen(format, kFormatBound) == kFormatBound)
        throw std::out_of_range("Format specification is too long");
}

/// strptime takes the 31st of any month and a second 60; a time that is real stays as it is when it is normalised.
bool IsReal(const std::tm& time) {
    const std::tm real = ulk::datetime::ToUtc(ulk::datetime::FromUtc(time));
    return real.tm_year == time.tm_year && real.tm_mon == time.tm_mon && real.tm_mday == time.tm_mday &&
           real.tm_hour == time.tm_hour && real.tm_min == time.tm_min && real.tm_sec == time.tm_sec;
}

} // namespace

std::string DateToString(const std::tm& time, const char* format) {
    CheckFormat(format);
    return ulk::datetime::Format(time, format);
}

std::string SecondsToString(std::int64_t seconds, const char* format) {
    return DateToString(ulk::datetime::ToLocal(seconds), format);
}

std::string TicksToString(std::int64_t ticks, const char* format) {
    return SecondsToString(ulk::datetime::SecondsFromTicks(ticks), format);
}

std::optional<std::tm> StringToDate(const std::string& text, const char* format) {
    CheckFormat(format);
    std::tm time{};
    time.tm_mday = 1; // a format without a day means the first
    const char* end = ::strptime(text.c_str(), format, &time);
    if (end != text.c_str() + text.size() || !IsReal(time))
        return std::nullopt;
    time.tm_isdst = -1;
    return time;
}

} // namespace tfs
