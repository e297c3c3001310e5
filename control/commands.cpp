// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/commands.h>
#include <tfs_common/translator.h>

#include <algorithm>
#include <iterator>

namespace tfs::control {
namespace {

namespace entry = localization::entry;

constexpr Option Wait{"--wait"};
constexpr Option Progress{"--progress"};
constexpr Option File{"--file", ValueKind::Path};
constexpr Option SetToDefault{"--set-to-default"};
constexpr Option AcceptTsn{"--accept-tsn"};
constexpr Option EventType{"--event-type", ValueKind::EventTypes};
constexpr Option TaskType{"--task-type", ValueKind::TaskType};
constexpr Option TaskId{"--task-id", ValueKind::Number};
constexpr Option From{"--from", ValueKind::Time};
constexpr Option To{"--to", ValueKind::Time};
constexpr Option Limit{"--limit", ValueKind::Number};
constexpr Option Order{"--order", ValueKind::Order};
constexpr Option Json{"--json"};

constexpr Option AllOptions[] = {Wait,   Progress, File, SetToDefault, AcceptTsn, EventType, TaskType,
                                 TaskId, From,     To,   Limit,        Order,     Json};

constexpr Option OfStart[] = {Wait, Progress};
constexpr Option OfFile[] = {File};
constexpr Option OfTaskChanges[] = {File, SetToDefault};
constexpr Option OfAppChanges[] = {File, AcceptTsn};
constexpr Option OfEventQuery[] = {EventType, TaskType, TaskId, From, To, Limit, Order};
constexpr Option OfWaitEvents[] = {EventType, TaskType};

constexpr auto None = ValueKind::None;
constexpr auto Task = ValueKind::Task;

constexpr Command AllCommands[] = {
    {CommandKind::Help, "--help", entry::CommandHelp},
    {CommandKind::Version, "--version", entry::EmptyHelp}, // there is no more to say than the overview does
    {CommandKind::GetTaskList, "--get-task-list", entry::GetTaskListHelp},
    {CommandKind::GetTaskState, "--get-task-state", entry::GetTaskStateHelp, Task},
    {CommandKind::GetStatistics, "--get-statistics", entry::GetTaskStateHelp, None, Task},
    {CommandKind::DeleteStatistics, "--delete-statistics", entry::GetTaskStateHelp, Task},
    {CommandKind::StartTask, "--start-task", entry::StartTaskHelp, Task, None, OfStart},
    {CommandKind::Update, "--update", entry::StartTaskHelp},
    {CommandKind::Rollback, "--rollback", entry::StartTaskHelp},
    {CommandKind::StopTask, "--stop-task", entry::StopTaskHelp, Task},
    {CommandKind::SuspendTask, "--suspend-task", entry::SuspendTaskHelp, Task},
    {CommandKind::ResumeTask, "--resume-task", entry::ResumeTaskHelp, Task},
    {CommandKind::ScanFile, "--scan-file", entry::ScanFileHelp, None, ValueKind::Path},
    {CommandKind::CreateTask, "--create-task", entry::CreateTaskHelp, None, ValueKind::Path, OfFile},
    {CommandKind::DeleteTask, "--delete-task", entry::DeleteTaskHelp, Task},
    {CommandKind::GetSettings, "--get-settings", entry::GetSettingsHelp, Task, ValueKind::TaskKey, OfFile},
    {CommandKind::SetSettings, "--set-settings", entry::SetSettingsHelp, Task, ValueKind::TaskChange, OfTaskChanges},
    {CommandKind::GetSchedule, "--get-schedule", entry::GetScheduleHelp, Task, None, OfFile},
    {CommandKind::SetSchedule, "--set-schedule", entry::SetScheduleHelp, Task, ValueKind::ScheduleChange,
     OfTaskChanges},
    {CommandKind::EventQuery, "--event-query", entry::EventQueryHelp, None, None, OfEventQuery},
    {CommandKind::WaitEvents, "--wait-events", entry::WaitEventsHelp, None, None, OfWaitEvents},
    {CommandKind::AppInfo, "--app-info", entry::AppInfoHelp},
    {CommandKind::GetAppSettings, "--get-app-settings", entry::GetAppSettingsHelp, None, ValueKind::AppKey},
    {CommandKind::SetAppSettings, "--set-app-settings", entry::SetAppSettingsHelp, None, ValueKind::AppChange,
     OfAppChanges},
};

} // namespace

bool Command::Takes(std::string_view name) const noexcept {
    return name == Json.name ||
           std::any_of(options.begin(), options.end(), [name](const Option& each) { return each.name == name; });
}

std::span<const Command> Commands() noexcept { return AllCommands; }

const Command& CommandOf(CommandKind kind) noexcept {
    return *std::find_if(std::begin(AllCommands), std::end(AllCommands),
                         [kind](const Command& command) { return command.kind == kind; });
}

const Command* FindCommand(std::string_view option) noexcept {
    const auto found = std::find_if(std::begin(AllCommands), std::end(AllCommands),
                                    [option](const Command& command) { return command.option == option; });
    return found == std::end(AllCommands) ? nullptr : found;
}

std::span<const Option> Options() noexcept { return AllOptions; }

std::string HelpText(CommandKind about) { return localization::GetLocalizedString(CommandOf(about).helpEntry) + '\n'; }

} // namespace tfs::control
