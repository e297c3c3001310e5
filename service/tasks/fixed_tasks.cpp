// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/fixed_tasks.h>

namespace tfs::service::tasks {
namespace {

constexpr FixedTask Fixed[] = {
    {FixedTaskId::FileMonitoring, task_name::FileMonitoring, task_type::OAS},
    {FixedTaskId::FullScan, task_name::FullScan, task_type::ODS},
    {FixedTaskId::BootScan, task_name::BootScan, task_type::BootScan},
    {FixedTaskId::MemoryScan, task_name::MemoryScan, task_type::MemoryScan},
    {FixedTaskId::Update, task_name::Update, task_type::Update},
    {FixedTaskId::Rollback, task_name::Rollback, task_type::Rollback},
};

constexpr std::int64_t DefaultUpdateTime = 3 * 60 * 60; // second of the day

} // namespace

std::span<const FixedTask> FixedTasks() noexcept { return Fixed; }

TaskTraits TraitsOf(std::u16string_view taskType) noexcept {
    if (taskType == task_type::ODS || taskType == task_type::BootScan || taskType == task_type::MemoryScan)
        return {.canPause = true, .hasSchedule = true};
    if (taskType == task_type::Update)
        return {.hasSchedule = true, .changesSignatures = true};
    if (taskType == task_type::Rollback)
        return {.changesSignatures = true};
    if (taskType == task_type::OAS)
        return {.isLasting = true};
    return {};
}

ulk::types::any_struct_t DefaultSettings(std::u16string_view taskType) {
    ulk::types::any_struct_t settings;
    if (TraitsOf(taskType).canPause)
        settings.Set(ScanSettings());
    else if (taskType == task_type::Update)
        settings.Set(UpdateSettings());
    else if (taskType == task_type::OAS)
        settings.Set(FileMonitoringSettings());
    return settings;
}

/// Signatures grow old by themselves; a scan costs the machine's time, and when it may is for its owner to say.
TaskSchedule DefaultSchedule(std::u16string_view taskType) {
    TaskSchedule schedule;
    if (taskType == task_type::Update) {
        schedule.mode = types::ScheduleMode::Daily;
        schedule.firstValue = DefaultUpdateTime;
        schedule.flag = 1;
    }
    return schedule;
}

} // namespace tfs::service::tasks
