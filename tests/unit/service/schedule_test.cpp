// SPDX-License-Identifier: GPL-2.0-or-later
// When schedules start their tasks, and how they are written.
#include <service/tasks/schedule.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/task_schedule.h>

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <string>

namespace tfs::service::tasks {
namespace {

using types::ScheduleMode;

constexpr std::int64_t Hour = 3600;
constexpr std::int64_t Day = 24 * Hour;

/// Sets the machine's zone for one test.
class Zone {
public:
    explicit Zone(const char* zone) {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }
    ~Zone() {
        ::unsetenv("TZ");
        ::tzset();
    }
    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;
};

constexpr char Berlin[] = "CET-1CEST,M3.5.0,M10.5.0/3";

/// Of "2026-03-29 02:30:00" in the zone of now.
std::int64_t At(const char* text) {
    std::tm time{};
    EXPECT_NE(::strptime(text, "%Y-%m-%d %H:%M:%S", &time), nullptr) << text;
    time.tm_isdst = -1;
    return std::mktime(&time);
}

std::string Local(std::optional<std::int64_t> moment) {
    if (!moment)
        return "never";
    const auto time = static_cast<std::time_t>(*moment);
    std::tm local{};
    ::localtime_r(&time, &local);
    char text[64];
    std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S %Z", &local);
    return text;
}

TaskSchedule Schedule(ScheduleMode::Type mode, std::int64_t first = 0, std::int64_t second = 0) {
    TaskSchedule schedule;
    schedule.mode = mode;
    schedule.firstValue = first;
    schedule.secondValue = second;
    return schedule;
}

struct NextRow {
    const char* why;
    TaskSchedule schedule;
    const char* after;
    const char* next;
};

TEST(Schedule, TheNextStartIsTheFirstOneBehindTheMoment) {
    const Zone zone(Berlin);
    const auto daily = [](std::int64_t second) { return Schedule(ScheduleMode::Daily, second); };
    const auto monthly = [](std::int64_t day) { return Schedule(ScheduleMode::Monthly, 3 * Hour, day); };
    const NextRow rows[] = {
        {"by hand", Schedule(ScheduleMode::Manual), "2026-05-05 10:00:00", "never"},
        {"at start", Schedule(ScheduleMode::AtStart), "2026-05-05 10:00:00", "never"},
        {"today", daily(10 * Hour), "2026-05-05 09:59:59", "2026-05-05 10:00:00 CEST"},
        {"not the moment itself", daily(10 * Hour), "2026-05-05 10:00:00", "2026-05-06 10:00:00 CEST"},
        {"over the end of the year", daily(0), "2026-12-31 23:59:59", "2027-01-01 00:00:00 CET"},
        {"a time that is skipped", daily(2 * Hour + 1800), "2026-03-29 01:00:00", "2026-03-29 03:30:00 CEST"},
        {"the day after it", daily(2 * Hour + 1800), "2026-03-29 04:00:00", "2026-03-30 02:30:00 CEST"},
        {"a time that comes twice", daily(2 * Hour + 1800), "2026-10-25 01:00:00", "2026-10-25 02:30:00 CEST"},
        {"later that day", Schedule(ScheduleMode::Weekly, Hour, 2), "2026-05-05 00:00:00", "2026-05-05 01:00:00 CEST"},
        {"in a week", Schedule(ScheduleMode::Weekly, Hour, 2), "2026-05-05 01:00:00", "2026-05-12 01:00:00 CEST"},
        {"an earlier day", Schedule(ScheduleMode::Weekly, Hour, 0), "2026-05-05 01:00:00", "2026-05-10 01:00:00 CEST"},
        {"a week with other clocks", Schedule(ScheduleMode::Weekly, Hour, 6), "2026-03-28 02:00:00",
         "2026-04-04 01:00:00 CEST"},
        {"the last day", monthly(31), "2026-02-01 00:00:00", "2026-02-28 03:00:00 CET"},
        {"of a leap year", monthly(30), "2028-02-01 00:00:00", "2028-02-29 03:00:00 CET"},
        {"the 31st again", monthly(31), "2026-02-28 03:00:00", "2026-03-31 03:00:00 CEST"},
        {"next year", monthly(1), "2026-12-01 03:00:00", "2027-01-01 03:00:00 CET"},
        {"this hour", Schedule(ScheduleMode::Hourly, 900), "2026-05-05 10:14:59", "2026-05-05 10:15:00 CEST"},
        {"next hour", Schedule(ScheduleMode::Hourly, 900), "2026-05-05 10:15:00", "2026-05-05 11:15:00 CEST"},
        {"no hour is left out", Schedule(ScheduleMode::Hourly, 900), "2026-03-29 01:30:00", "2026-03-29 03:15:00 CEST"},
        {"no schedule", Schedule(ScheduleMode::Daily, Day), "2026-05-05 10:00:00", "never"},
    };
    for (const NextRow& row : rows)
        EXPECT_EQ(Local(NextStart(row.schedule, At(row.after))), row.next) << row.why;
}

TEST(Schedule, EachDayOfAYearHasOneStartWhateverTheClocksDo) {
    for (const char* text : {Berlin, "UTC0", "LHST-10:30LHDT-11,M10.1.0,M4.1.0", "<-03>3"}) {
        const Zone zone(text);
        for (const std::int64_t second : {std::int64_t{0}, 2 * Hour + 1800, Day - 1}) {
            std::int64_t moment = At("2026-01-01 00:00:00") - 1;
            int starts = 0;
            while (Local(moment = *NextStart(Schedule(ScheduleMode::Daily, second), moment)).starts_with("2026"))
                ++starts;
            EXPECT_EQ(starts, 365) << text << " " << second;
        }
        std::int64_t moment = At("2026-01-01 00:00:00") - 1;
        for (int i = 0; i < 366 * 24; ++i) {
            const std::int64_t next = *NextStart(Schedule(ScheduleMode::Hourly, 600), moment);
            ASSERT_GT(next, moment);
            ASSERT_LE(next - moment, 90 * 60) << Local(next);
            ASSERT_EQ(Local(next).substr(14, 5), "10:00");
            moment = next;
        }
    }
}

TEST(Schedule, WhatIsDueIsStartedOnceAndWhatWasMissedWhereAskedFor) {
    const Zone zone(Berlin);
    TaskSchedule daily = Schedule(ScheduleMode::Daily, 3 * Hour);
    const std::int64_t three = At("2026-05-05 03:00:00");
    const auto due = [&](std::int64_t served, std::int64_t now) { return WhatIsDue(daily, served, now); };
    EXPECT_FALSE(due(three - Day, three - 1).start);
    EXPECT_EQ(due(three - Day, three - 1).next, three);
    EXPECT_TRUE(due(three - Day, three).start);
    EXPECT_EQ(due(three - Day, three).served, three);
    EXPECT_EQ(due(three - Day, three).next, three + Day);
    EXPECT_FALSE(due(three, three).start) << "once";
    EXPECT_TRUE(due(three - Day, three + MissedAfter).start) << "a little late";
    EXPECT_FALSE(due(three - Day, three + Hour).start) << "missed";
    EXPECT_EQ(due(three - Day, three + Hour).served, three + Hour) << "and passed over for good";
    EXPECT_TRUE(due(three - 30 * Day, three + 10).start) << "missed many, but this one is due";
    daily.flag = 1;
    EXPECT_TRUE(due(three - 30 * Day, three + Hour).start);
    EXPECT_EQ(due(three - 30 * Day, three + Hour).served, three + Hour) << "made up once";
    // The clock is put back.
    EXPECT_FALSE(due(three, three - Hour).start);
    EXPECT_EQ(due(three, three - Hour).next, three + Day) << "what was made isn't made again";
    EXPECT_EQ(due(three + 1000 * Day, three - Hour).next, three) << "a wrong date doesn't put it off for years";
    EXPECT_EQ(due(three + 1000 * Day, three - Hour).served, three - Hour);
}

TEST(Schedule, TextsOfTimesAreReadAsTheyAreWritten) {
    for (const std::int64_t seconds : {std::int64_t{0}, std::int64_t{59}, 3 * Hour, Day - 60, Day - 1})
        EXPECT_EQ(tools::ParseTimeOfDay(tools::PrintTimeOfDay(seconds)), seconds);
    EXPECT_EQ(tools::PrintTimeOfDay(3 * Hour), "03:00");
    for (const char* bad : {"", "3:00", "24:00", "23:60", "23:59:60", "0300", "03:0a", "03-00", "03:00:", "-3:00",
                            "03:00:00:00", " 03:00", "03:00 "})
        EXPECT_EQ(tools::ParseTimeOfDay(bad), std::nullopt) << bad;
}

TEST(Schedule, SettingsAndRecordTellTheSame) {
    const struct {
        TaskSchedule schedule;
        const char* text;
    } rows[] = {
        {Schedule(ScheduleMode::Manual), "Manual"},
        {Schedule(ScheduleMode::AtStart), "AtStart"},
        {Schedule(ScheduleMode::Hourly, 930), "Hourly, *:15:30"},
        {Schedule(ScheduleMode::Daily, 3 * Hour), "Daily, 03:00"},
        {Schedule(ScheduleMode::Weekly, 3 * Hour, 1), "Weekly, Monday, 03:00"},
        {Schedule(ScheduleMode::Monthly, Day - 1, 31), "Monthly, 31, 23:59:59"},
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(tools::IsSchedule(row.schedule));
        EXPECT_EQ(tools::PrintSchedule(row.schedule), row.text);
        TaskSchedule again;
        std::vector<settings::ValidationMessage> messages;
        ASSERT_EQ(tools::ScheduleOfSettings(tools::SettingsOfSchedule(row.schedule), again, messages), ulk::sOk);
        EXPECT_EQ(again, row.schedule) << row.text;
    }
    for (const TaskSchedule& bad :
         {Schedule(ScheduleMode::Daily, -1), Schedule(ScheduleMode::Hourly, Hour), Schedule(ScheduleMode::Weekly, 0, 7),
          Schedule(ScheduleMode::Monthly, 0, 0), Schedule(ScheduleMode::Monthly, 0, 32),
          Schedule(static_cast<ScheduleMode::Type>(6))})
        EXPECT_FALSE(tools::IsSchedule(bad));
    ScheduleSettings settings;
    settings.startTime = "25:00";
    TaskSchedule untouched = Schedule(ScheduleMode::Daily, 7);
    std::vector<settings::ValidationMessage> messages;
    EXPECT_EQ(tools::ScheduleOfSettings(settings, untouched, messages), ulk::eInvalidArgument);
    EXPECT_EQ(untouched, Schedule(ScheduleMode::Daily, 7));
    EXPECT_EQ(messages.size(), 2u);
}

} // namespace
} // namespace tfs::service::tasks
