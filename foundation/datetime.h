// SPDX-License-Identifier: GPL-2.0-or-later
// Moments and their broken-down forms. Two clocks are in use: seconds since 1970-01-01 UTC, and 100 ns ticks since
// 1601-01-01 UTC. All functions may be called from any thread.
#pragma once

#include <foundation/exceptions.h>

#include <cstdint>
#include <ctime>
#include <string>

namespace ulk::datetime {

inline constexpr std::int64_t kTicksPerSecond = 10'000'000;
inline constexpr std::int64_t kTicksPerDay = 864'000'000'000;
/// 1970-01-01 UTC in ticks since 1601.
inline constexpr std::int64_t kUnixEpochTicks = 116'444'736'000'000'000;

inline constexpr char kDefaultFormat[] = "%Y-%m-%d %H:%M:%S";

/// A moment that can't be converted. The message ends in the value in question.
class TimeSystemError : public ExceptionBase<TimeSystemError, SystemException> {
public:
    static constexpr const char* ShortName = "TimeSystemError";
    using ExceptionBase::ExceptionBase;
};

/// Ticks since 1601 of a moment in seconds since 1970. Throws TimeSystemError "Invalid utc timestamp for posix platform
/// " for a moment before 1601, and for one that 64 bits don't hold.
std::int64_t TicksFromSeconds(std::int64_t seconds);
/// Seconds since 1970 of a moment in ticks since 1601, parts of a second dropped. Throws TimeSystemError "Invalid utc
/// timestamp for posix platform " for a moment before 1601.
std::int64_t SecondsFromTicks(std::int64_t ticks);
/// The system clock in ticks since 1601.
std::int64_t NowTicks() noexcept;

/// Broken-down forms of seconds since 1970. Throw TimeSystemError "Cannot represent time in broken down format "
/// where the year doesn't fit.
std::tm ToUtc(std::int64_t seconds);
std::tm ToLocal(std::int64_t seconds);

/// Seconds since 1970 of a broken-down local time; tm_isdst decides as mktime has it. Throws TimeSystemError "Cannot
/// convert time to calendar representation ".
std::int64_t FromLocal(const std::tm& time);
/// The same for a broken-down UTC time; throws TimeSystemError "Cannot translate time to UTC: ".
std::int64_t FromUtc(const std::tm& time);

/// strftime into at most 4095 bytes; empty where the format is empty or the result is longer.
std::string Format(const std::tm& time, const char* format = kDefaultFormat);

} // namespace ulk::datetime
