// SPDX-License-Identifier: GPL-2.0-or-later
// The command line: one command, its arguments, and the form of the answer.
#pragma once

#include <contract/tfs/settings.h>
#include <control/commands.h>
#include <control/event_selection.h>

#include <string>
#include <vector>

namespace tfs::control {

struct CommandLine {
    CommandKind command = CommandKind::Help;
    CommandKind helpAbout = CommandKind::Help; ///< for Help: the command that it is asked about
    std::string task;                          ///< id or name, for the commands of one task
    std::vector<std::string> tasks;            ///< ids or names, for GetStatistics; none for all
    std::vector<std::string> paths;            ///< as given, for ScanFile and CreateTask
    std::vector<std::string> keys;             ///< for GetAppSettings and GetSettings; none for all
    /// For the commands that change settings: one of changes, a file and the defaults.
    std::vector<settings::ChangeItem> changes;
    std::string file; ///< also to write to, for those that show settings of a task; empty for none
    bool setToDefault = false;
    bool acceptTsn = false;
    bool wait = false;     ///< for StartTask: until the task has ended
    bool progress = false; ///< the same, with progress
    EventSelection events; ///< for EventQuery and WaitEvents
    bool json = false;
};

/// Reads the arguments behind the program's name. Throws a Failure with ExitCode::Usage on an unknown option, a
/// missing, empty or superfluous argument, none or more than one command. --help asks about the command beside it, on
/// either side, whose own arguments are then neither needed nor looked at.
CommandLine ParseCommandLine(const std::vector<std::string>& arguments);

/// True where --json stands among the options, also on a line that is otherwise wrong: its error is JSON too.
bool AsksForJson(const std::vector<std::string>& arguments) noexcept;

} // namespace tfs::control
