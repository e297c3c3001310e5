// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/app_info.h>
#include <control/event_query.h>
#include <control/get_app_settings.h>
#include <control/get_task_list.h>
#include <control/get_task_state.h>
#include <control/run_command.h>
#include <control/scan_file.h>
#include <control/set_app_settings.h>
#include <control/start_task.h>
#include <control/stop_task.h>
#include <control/wait_events.h>

namespace tfs::control {

ExitCode RunServiceCommand(const CommandLine& line, const CommandContext& context) {
    switch (line.command) {
    case CommandKind::GetTaskList:
        return GetTaskList(context);
    case CommandKind::StartTask:
        return StartTask(context, line.task);
    case CommandKind::StopTask:
        return StopTask(context, line.task);
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
