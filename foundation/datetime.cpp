// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>

#include <array>
#include <chrono>
#include <limits>
#include <optional>

namespace ulk::datetime {
namespace {

constexpr std::size_t kFormatBufferSize = 4096;

constexpr char kInvalidTimestamp[] = "Invalid utc timestamp for posix platform ";
constexpr char kNotBrokenDown[] = "Cannot represent time in broken down format ";
constexpr char kNotCalendar[] = "Cannot convert time to calendar representation ";
constexpr char kNotUtc[] = "Cannot translate time to UTC: ";

[[noreturn]] void Fail(int line, const char* text, const std::string& value) {
    TimeSystemError error(__FILE__, line, eInvalidArgument);
    error.SetMessage(text::ToUtf16Lossy(text + value));
    throw error;
}

/// The fields as they came: a time that doesn't convert may not survive strftime either.
std::string Fields(const std::tm& time) {
    return std::to_string(std::int64_t{time.tm_year} + 1900) + '-' + std::to_string(std::int64_t{time.tm_mon} + 1) +
           '-' + std::to_string(time.tm_mday) + ' ' + std::to_string(time.tm_hour) + ':' + std::to_string(time.tm_min) +
           ':' + std::to_string(time.tm_sec);
}

/// -1 is both a moment and a failure; mktime and timegm fill in the week day on success only.
std::optional<std::int64_t> Convert(std::tm time, std::time_t (*convert)(std::tm*)) noexcept {
    constexpr int kUntouched = -1;
    time.tm_wday = kUntouched;
    const std::time_t seconds = convert(&time);
    if (seconds == static_cast<std::time_t>(-1) && time.tm_wday == kUntouched)
        return std::nullopt;
    return seconds;
}

} // namespace

std::int64_t TicksFromSeconds(std::int64_t seconds) {
    constexpr std::int64_t kGreatest = (std::numeric_limits<std::int64_t>::max() - kUnixEpochTicks) / kTicksPerSecond;
    constexpr std::int64_t kLeast = -kUnixEpochTicks / kTicksPerSecond;
    if (seconds > kGreatest || seconds < kLeast)
        Fail(__LINE__, kInvalidTimestamp, std::to_string(seconds));
    return seconds * kTicksPerSecond + kUnixEpochTicks;
}

std::int64_t SecondsFromTicks(std::int64_t ticks) {
    if (ticks < 0)
        Fail(__LINE__, kInvalidTimestamp, std::to_string(ticks));
    return (ticks - kUnixEpochTicks) / kTicksPerSecond;
}

std::int64_t NowTicks() noexcept {
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, kTicksPerSecond>>;
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<Ticks>(sinceEpoch).count() + kUnixEpochTicks;
}

std::tm ToUtc(std::int64_t seconds) {
    std::tm time{};
    const std::time_t moment = seconds;
    if (::gmtime_r(&moment, &time) == nullptr)
        Fail(__LINE__, kNotBrokenDown, std::to_string(seconds));
    return time;
}

std::tm ToLocal(std::int64_t seconds) {
    ::tzset(); // localtime_r need not look at TZ by itself
    std::tm time{};
    const std::time_t moment = seconds;
    if (::localtime_r(&moment, &time) == nullptr)
        Fail(__LINE__, kNotBrokenDown, std::to_string(seconds));
    return time;
}

std::int64_t FromLocal(const std::tm& time) {
    const auto seconds = Convert(time, &std::mktime);
    if (!seconds)
        Fail(__LINE__, kNotCalendar, Fields(time));
    return *seconds;
}

std::int64_t FromUtc(const std::tm& time) {
    const auto seconds = Convert(time, &::timegm);
    if (!seconds)
        Fail(__LINE__, kNotUtc, Fields(time));
    return *seconds;
}

std::string Format(const std::tm& time, const char* format) {
    std::array<char, kFormatBufferSize> buffer;
    return std::string(buffer.data(), std::strftime(buffer.data(), buffer.size(), format, &time));
}

} // namespace ulk::datetime
