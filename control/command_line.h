// SPDX-License-Identifier: GPL-2.0-or-later
// The command line: one command, its arguments, and the form of the answer.
#pragma once

#include <contract/tfs/settings.h>
#include <control/event_selection.h>

#include <string>
#include <vector>

namespace tfs::control {

enum class CommandKind {
    Help,
    Version,
    GetTaskList,
    StartTask,
    StopTask,
    GetTaskState,
    ScanFile,
    AppInfo,
    GetAppSettings,
    SetAppSettings,
    EventQuery,
    WaitEvents,
};

struct CommandLine {
    CommandKind command = CommandKind::Help;
    std::string task;               ///< id or name, for the commands of one task
    std::vector<std::string> paths; ///< as given, for ScanFile
    std::vector<std::string> keys;  ///< for GetAppSettings; none for all
    /// For SetAppSettings: either changes or a file.
    std::vector<settings::ChangeItem> changes;
    std::string file;
    bool acceptTsn = false;
    EventSelection events; ///< for EventQuery and WaitEvents
    bool json = false;
};

/// Reads the arguments behind the program's name. Throws a Failure with ExitCode::Usage on an unknown option, a
/// missing, empty or superfluous argument, none or more than one command.
CommandLine ParseCommandLine(const std::vector<std::string>& arguments);

/// True where --json stands among the options, also on a line that is otherwise wrong: its error is JSON too.
bool AsksForJson(const std::vector<std::string>& arguments) noexcept;

std::string HelpText();

} // namespace tfs::control
