// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/task_schedule.h>

#include <array>
#include <cstdio>

namespace tfs::tools {
namespace {

using types::ScheduleMode;

constexpr std::int64_t Hour = 60 * 60;
constexpr std::int64_t Day = 24 * Hour;

bool IsDigit(char c) noexcept { return c >= '0' && c <= '9'; }

/// Two digits at `text`, below `limit`; -1 for anything else.
std::int64_t TwoDigits(std::string_view text, std::int64_t limit) noexcept {
    if (text.size() < 2 || !IsDigit(text[0]) || !IsDigit(text[1]))
        return -1;
    const std::int64_t number = (text[0] - '0') * 10 + (text[1] - '0');
    return number < limit ? number : -1;
}

} // namespace

std::optional<std::int64_t> ParseTimeOfDay(std::string_view text) noexcept {
    constexpr std::array<std::int64_t, 3> Limits{24, 60, 60};
    constexpr std::size_t WithoutSeconds = 5;
    constexpr std::size_t WithSeconds = 8;
    if (text.size() != WithoutSeconds && text.size() != WithSeconds)
        return std::nullopt;
    std::int64_t seconds = 0;
    for (std::size_t part = 0; part < Limits.size(); ++part) {
        std::int64_t number = 0;
        if (part * 3 < text.size()) {
            number = TwoDigits(text.substr(part * 3), Limits[part]);
            if (number < 0 || (part > 0 && text[part * 3 - 1] != ':'))
                return std::nullopt;
        }
        seconds = seconds * 60 + number;
    }
    return seconds;
}

std::string PrintTimeOfDay(std::int64_t seconds) {
    std::array<char, 16> text{};
    const auto part = [seconds](std::int64_t unit, std::int64_t limit) {
        return static_cast<int>(seconds / unit % limit);
    };
    if (seconds % 60 == 0)
        std::snprintf(text.data(), text.size(), "%02d:%02d", part(Hour, 24), part(60, 60));
    else
        std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", part(Hour, 24), part(60, 60), part(1, 60));
    return text.data();
}

bool IsSchedule(const TaskSchedule& schedule) noexcept {
    const auto within = [](std::int64_t value, std::int64_t least, std::int64_t greatest) {
        return value >= least && value <= greatest;
    };
    if (schedule.flag > 1)
        return false;
    switch (schedule.mode) {
    case ScheduleMode::Manual:
    case ScheduleMode::AtStart:
        return true;
    case ScheduleMode::Hourly:
        return within(schedule.firstValue, 0, Hour - 1);
    case ScheduleMode::Daily:
        return within(schedule.firstValue, 0, Day - 1);
    case ScheduleMode::Weekly:
        return within(schedule.firstValue, 0, Day - 1) && within(schedule.secondValue, 0, 6);
    case ScheduleMode::Monthly:
        return within(schedule.firstValue, 0, Day - 1) && within(schedule.secondValue, 1, 31);
    default:
        return false;
    }
}

ScheduleSettings SettingsOfSchedule(const TaskSchedule& schedule) {
    ScheduleSettings settings;
    if (!IsSchedule(schedule))
        return settings;
    settings.mode = static_cast<ScheduleMode::Type>(schedule.mode);
    settings.runMissed = schedule.flag != 0;
    if (settings.mode != ScheduleMode::Manual && settings.mode != ScheduleMode::AtStart)
        settings.startTime = PrintTimeOfDay(schedule.firstValue);
    if (settings.mode == ScheduleMode::Weekly)
        settings.dayOfWeek = static_cast<types::DayOfWeek::Type>(schedule.secondValue);
    if (settings.mode == ScheduleMode::Monthly)
        settings.dayOfMonth = static_cast<std::uint32_t>(schedule.secondValue);
    return settings;
}

result_t ScheduleOfSettings(const ScheduleSettings& settings, TaskSchedule& schedule,
                            std::vector<settings::ValidationMessage>& messages) {
    const std::optional<std::int64_t> time = ParseTimeOfDay(settings.startTime);
    if (!time) {
        messages.push_back({"InvalidValue1Settings2", {ulk::text::ToUtf16Lossy(settings.startTime), u"StartTime"}});
        messages.push_back({"SeeStartTimeValueExample1", {u"03:30"}});
        return ulk::eInvalidArgument;
    }
    TaskSchedule made;
    made.mode = static_cast<std::uint32_t>(settings.mode);
    made.flag = settings.runMissed ? 1 : 0;
    made.firstValue = settings.mode == ScheduleMode::Hourly ? *time % Hour : *time;
    if (settings.mode == ScheduleMode::Weekly)
        made.secondValue = settings.dayOfWeek;
    if (settings.mode == ScheduleMode::Monthly)
        made.secondValue = settings.dayOfMonth;
    if (settings.mode == ScheduleMode::Manual || settings.mode == ScheduleMode::AtStart)
        made.firstValue = 0;
    schedule = made;
    return ulk::sOk;
}

std::string PrintSchedule(const TaskSchedule& schedule) {
    if (!IsSchedule(schedule))
        return std::string(ScheduleMode::Table().Name(ScheduleMode::Manual));
    std::string text(ScheduleMode::Table().Name(schedule.mode));
    switch (schedule.mode) {
    case ScheduleMode::Hourly:
        return text + ", " + PrintTimeOfDay(schedule.firstValue).replace(0, 2, "*");
    case ScheduleMode::Daily:
        return text + ", " + PrintTimeOfDay(schedule.firstValue);
    case ScheduleMode::Weekly:
        return text.append(", ").append(types::DayOfWeek::Table().Name(schedule.secondValue)) + ", " +
               PrintTimeOfDay(schedule.firstValue);
    case ScheduleMode::Monthly:
        return text + ", " + std::to_string(schedule.secondValue) + ", " + PrintTimeOfDay(schedule.firstValue);
    default:
        return text;
    }
}

} // namespace tfs::tools
