// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/schedule.h>
#include <tfs_common/task_schedule.h>

#include <algorithm>
#include <ctime>

namespace tfs::service::tasks {
namespace {

using types::ScheduleMode;

constexpr std::int64_t Hour = 60 * 60;
constexpr std::int64_t Day = 24 * Hour;

std::tm LocalTime(std::int64_t moment) {
    const auto time = static_cast<std::time_t>(moment);
    std::tm local{};
    ::localtime_r(&time, &local);
    return local;
}

/// The moment of a local date and second of the day; the date's numbers may run over.
std::int64_t MomentOf(int year, int month, int day, std::int64_t second) {
    std::tm wanted{};
    wanted.tm_year = year;
    wanted.tm_mon = month;
    wanted.tm_mday = day;
    wanted.tm_hour = static_cast<int>(second / Hour);
    wanted.tm_min = static_cast<int>(second / 60 % 60);
    wanted.tm_sec = static_cast<int>(second % 60);
    std::optional<std::int64_t> first;
    for (const int isDaylightSaving : {0, 1}) {
        std::tm tried = wanted;
        tried.tm_isdst = isDaylightSaving;
        const std::int64_t moment = std::mktime(&tried);
        const std::tm local = LocalTime(moment);
        // In a time that comes twice both are right; in one that is skipped none is.
        if (local.tm_hour == wanted.tm_hour && local.tm_min == wanted.tm_min && local.tm_sec == wanted.tm_sec)
            first = std::min(first.value_or(moment), moment);
    }
    if (first)
        return *first;
    wanted.tm_isdst = 0; // as if the clocks hadn't been put forward yet
    return std::mktime(&wanted);
}

int DaysOfMonth(int year, int month) {
    std::tm last{};
    last.tm_year = year;
    last.tm_mon = month + 1;
    last.tm_mday = 0;
    last.tm_hour = 12; // no clock is changed by half a day
    last.tm_isdst = -1;
    std::mktime(&last);
    return last.tm_mday;
}

std::int64_t NextHourly(std::int64_t second, std::int64_t after) {
    const auto secondOfHour = [](std::int64_t moment) {
        const std::tm local = LocalTime(moment);
        return std::int64_t{local.tm_min} * 60 + local.tm_sec;
    };
    std::int64_t next = after + second - secondOfHour(after);
    if (next <= after)
        next += Hour;
    // Where the clocks are changed by half an hour in between.
    const std::int64_t off = second - secondOfHour(next);
    for (const std::int64_t moved : {next + off, next + off + Hour})
        if (moved > after && secondOfHour(moved) == second)
            return moved;
    return next;
}

/// `dayOf(n)` is the n-th date that may be meant, counted from the one before `after`.
template <class DayOf>
std::int64_t FirstAfter(std::int64_t after, DayOf dayOf) {
    for (int n = 0;; ++n)
        if (const std::int64_t moment = dayOf(n); moment > after)
            return moment;
}

} // namespace

std::optional<std::int64_t> NextStart(const TaskSchedule& schedule, std::int64_t after) {
    if (!tools::IsSchedule(schedule))
        return std::nullopt;
    const std::int64_t second = schedule.firstValue;
    const std::tm local = LocalTime(after);
    switch (schedule.mode) {
    case ScheduleMode::Hourly:
        return NextHourly(second, after);
    case ScheduleMode::Daily:
        return FirstAfter(after,
                          [&](int n) { return MomentOf(local.tm_year, local.tm_mon, local.tm_mday - 1 + n, second); });
    case ScheduleMode::Weekly: {
        const int toDay = static_cast<int>(schedule.secondValue) - local.tm_wday;
        return FirstAfter(after, [&](int n) {
            return MomentOf(local.tm_year, local.tm_mon, local.tm_mday + toDay - 7 + 7 * n, second);
        });
    }
    case ScheduleMode::Monthly:
        return FirstAfter(after, [&](int n) {
            const int month = local.tm_mon - 1 + n;
            const int day = std::min(static_cast<int>(schedule.secondValue), DaysOfMonth(local.tm_year, month));
            return MomentOf(local.tm_year, month, day, second);
        });
    default:
        return std::nullopt;
    }
}

DueStart WhatIsDue(const TaskSchedule& schedule, std::int64_t served, std::int64_t now) {
    DueStart due;
    due.served = served > now + Day ? now : served;
    due.next = NextStart(schedule, due.served);
    if (!due.next || *due.next > now)
        return due;
    // Of several starts that were missed the last one may be only just due.
    due.start = schedule.flag != 0 || NextStart(schedule, std::max(due.served, now - MissedAfter - 1)) <= now;
    due.served = now;
    due.next = NextStart(schedule, now);
    return due;
}

} // namespace tfs::service::tasks
