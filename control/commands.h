// SPDX-License-Identifier: GPL-2.0-or-later
// The commands: the option of each, what it takes, and the text that explains it. The parser, the help, the completion
// of the shells and the manual page are all made from this table.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tfs::control {

enum class CommandKind {
    Help,
    Version,
    GetTaskList,
    StartTask,
    StopTask,
    SuspendTask,
    ResumeTask,
    GetTaskState,
    GetStatistics,
    DeleteStatistics,
    CreateTask,
    DeleteTask,
    GetSettings,
    SetSettings,
    GetSchedule,
    SetSchedule,
    ScanFile,
    Update,
    Rollback,
    AppInfo,
    GetAppSettings,
    SetAppSettings,
    EventQuery,
    WaitEvents,
};

/// What a word of the command line names.
enum class ValueKind {
    None,
    Task, ///< id or name
    Path,
    AppKey,
    TaskKey,
    AppChange, ///< KEY=VALUE
    TaskChange,
    ScheduleChange,
    EventTypes, ///< names with commas between them
    TaskType,
    Time,
    Number,
    Order,
};

struct Option {
    const char* name;
    ValueKind value = ValueKind::None; ///< None: a switch
};

struct Command {
    CommandKind kind;
    const char* option;
    std::uint32_t helpEntry;              ///< number of its help among the texts; kindred commands share one
    ValueKind value = ValueKind::None;    ///< of the command's own option
    ValueKind operands = ValueKind::None; ///< of the words that no option claims
    std::span<const Option> options{};    ///< that may stand beside it; --json may beside every command

    bool Takes(std::string_view option) const noexcept;
};

/// One row for each command.
std::span<const Command> Commands() noexcept;
const Command& CommandOf(CommandKind kind) noexcept;
/// The command of an option; null where it is no command's. Options are compared as a whole.
const Command* FindCommand(std::string_view option) noexcept;
/// Every option that isn't a command's, each once, --json among them.
std::span<const Option> Options() noexcept;

/// What there is to know about a command; about Help it is the overview of all commands and exit codes. In the
/// language of the texts, with a line feed at its end.
std::string HelpText(CommandKind about);

} // namespace tfs::control
