// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/app_info.h>
#include <control/create_task.h>
#include <control/delete_task.h>
#include <control/event_query.h>
#include <control/get_app_settings.h>
#include <control/get_statistics.h>
#include <control/get_task_list.h>
#include <control/get_task_state.h>
#include <control/resume_task.h>
#include <control/run_command.h>
#include <control/run_task.h>
#include <control/scan_file.h>
#include <control/set_app_settings.h>
#include <control/start_task.h>
#include <control/stop_task.h>
#include <control/suspend_task.h>
#include <control/task_settings.h>
#include <control/wait_events.h>

namespace tfs::control {
namespace {

std::string IdOf(FixedTaskId task) { return std::to_string(static_cast<std::uint64_t>(task)); }

} // namespace

ExitCode RunServiceCommand(const CommandLine& line, const CommandContext& context) {
    switch (line.command) {
    case CommandKind::GetTaskList:
        return GetTaskList(context);
    case CommandKind::GetStatistics:
        return GetStatistics(context, line.tasks);
    case CommandKind::DeleteStatistics:
        return DeleteStatistics(context, line.task);
    case CommandKind::StartTask:
        if (line.wait || line.progress)
            return RunTask(context, line.task, line.progress);
        return StartTask(context, line.task);
    case CommandKind::Update:
        return RunTask(context, IdOf(FixedTaskId::Update), true);
    case CommandKind::Rollback:
        return RunTask(context, IdOf(FixedTaskId::Rollback), true);
    case CommandKind::CreateTask:
        return CreateTask(context, line.paths, line.file);
    case CommandKind::DeleteTask:
        return DeleteTask(context, line.task);
    case CommandKind::GetSettings:
        return GetSettings(context, line.task, line.keys, line.file);
    case CommandKind::SetSettings:
        return SetSettings(context, line.task, {line.changes, line.file, line.setToDefault});
    case CommandKind::GetSchedule:
        return GetSchedule(context, line.task, line.file);
    case CommandKind::SetSchedule:
        return SetSchedule(context, line.task, {line.changes, line.file, line.setToDefault});
    case CommandKind::StopTask:
        return StopTask(context, line.task);
    case CommandKind::SuspendTask:
        return SuspendTask(context, line.task);
    case CommandKind::ResumeTask:
        return ResumeTask(context, line.task);
    case CommandKind::GetTaskState:
        return GetTaskState(context, line.task);
    case CommandKind::ScanFile:
        return ScanFile(context, line.paths);
    case CommandKind::AppInfo:
        return TellAppInfo(context);
    case CommandKind::GetAppSettings:
        return GetAppSettings(context, line.keys);
    case CommandKind::SetAppSettings:
        return SetAppSettings(context, line.changes, line.file, line.acceptTsn);
    case CommandKind::EventQuery:
        return QueryEvents(context, line.events);
    case CommandKind::WaitEvents:
        return WaitEvents(context, line.events);
    case CommandKind::Help:
    case CommandKind::Version:
        break;
    }
    throw Failure(ExitCode::Internal, "This command needs no service.");
}

} // namespace tfs::control
