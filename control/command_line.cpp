// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/command_line.h>
#include <control/escape.h>
#include <control/failure.h>
#include <tfs_common/translator.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <map>
#include <span>
#include <utility>

namespace tfs::control {

namespace {

constexpr char Program[] = "tesl-control";

/// What the options were given; the parser writes into the fields, so that it must not outlive them.
struct Given {
    std::map<std::string, std::string> values; ///< by option
    std::vector<std::string> eventTypes;
};

/// What the options mean is told by the help among the texts.
void DeclareOption(CLI::App& app, const char* names, ValueKind kind, Given& given) {
    if (kind == ValueKind::None)
        app.add_flag(names);
    else if (kind == ValueKind::EventTypes)
        app.add_option(names, given.eventTypes)->allow_extra_args(false)->delimiter(',');
    else
        app.add_option(names, given.values[names]);
}

void Declare(CLI::App& app, Given& given) {
    app.set_help_flag();
    app.allow_extras();
    app.option_defaults()->disable_flag_override(); // a switch takes no value
    for (const Command& command : Commands())
        DeclareOption(app, command.kind == CommandKind::Help ? "-h,--help" : command.option, command.value, given);
    for (const Option& option : Options())
        DeclareOption(app, option.name, option.value, given);
}

bool IsGiven(const CLI::App& app, const char* option) { return app.get_option(option)->count() > 0; }

[[noreturn]] void FailUsage(const std::string& text) {
    throw Failure(ExitCode::Usage, text + " Try \"" + Program + " --help\".");
}

[[noreturn]] void FailOfTwo(const Command& one, const Command& other) {
    FailUsage(std::string("Both ") + one.option + " and " + other.option + " were given.");
}

[[noreturn]] void FailUnknown(const std::string& option) {
    FailUsage("Unknown option " + EscapeForTerminal(option) + ".");
}

bool IsOption(const std::string& argument) noexcept { return argument.size() > 1 && argument.front() == '-'; }

const Command& TheOneCommand(const CLI::App& app) {
    const Command* chosen = nullptr;
    for (const Command& command : Commands()) {
        if (!IsGiven(app, command.option))
            continue;
        if (chosen != nullptr)
            FailOfTwo(*chosen, command);
        chosen = &command;
    }
    if (chosen == nullptr)
        FailUsage("No command was given.");
    return *chosen;
}

bool AsksForHelp(std::span<const std::string> options) noexcept {
    return std::any_of(options.begin(), options.end(),
                       [](const std::string& argument) { return argument == "--help" || argument == "-h"; });
}

/// What a line with --help asks about. Read apart from the parser, which would miss the command's own arguments.
CommandKind SubjectOfHelp(const CLI::App& app, std::span<const std::string> options) {
    const Command* chosen = nullptr;
    for (const std::string& argument : options) {
        const std::string option = argument.substr(0, argument.find('='));
        const Command* const command = FindCommand(option);
        if (IsOption(argument) && app.get_option_no_throw(option) == nullptr)
            FailUnknown(argument);
        if (command == nullptr || command == chosen || command->kind == CommandKind::Help)
            continue;
        if (chosen != nullptr)
            FailOfTwo(*chosen, *command);
        chosen = command;
    }
    return chosen != nullptr ? chosen->kind : CommandKind::Help;
}

void RefuseOptionsOfOthers(const CLI::App& app, const Command& command) {
    for (const Option& option : Options()) {
        if (IsGiven(app, option.name) && !command.Takes(option.name))
            FailUsage(localization::Format(localization::GetLocalizedString(localization::entry::UnknownOption2),
                                           option.name, command.option));
    }
}

settings::ChangeItem ChangeIn(const std::string& argument) {
    const std::size_t mark = argument.find('=');
    if (mark == std::string::npos || mark == 0)
        FailUsage("\"" + EscapeForTerminal(argument) + "\" is not of the form KEY=VALUE.");
    return {argument.substr(0, mark), argument.substr(mark + 1)};
}

bool ChangesSettings(const Command& command) noexcept {
    return command.operands == ValueKind::AppChange || command.operands == ValueKind::TaskChange ||
           command.operands == ValueKind::ScheduleChange;
}

void TakeOperands(const Command& command, std::vector<std::string> operands, CommandLine& line) {
    switch (command.operands) {
    case ValueKind::Path:
        if (operands.empty())
            FailUsage(std::string(command.option) + " needs a path.");
        line.paths = std::move(operands);
        break;
    case ValueKind::Task:
        line.tasks = std::move(operands);
        break;
    case ValueKind::AppKey:
    case ValueKind::TaskKey:
        line.keys = std::move(operands);
        break;
    case ValueKind::AppChange:
    case ValueKind::TaskChange:
    case ValueKind::ScheduleChange:
        for (const std::string& operand : operands)
            line.changes.push_back(ChangeIn(operand));
        break;
    default:
        if (!operands.empty())
            FailUsage("\"" + EscapeForTerminal(operands.front()) + "\" is not expected here.");
    }
}

/// What stands beside the commands for settings.
void CheckSettings(const CLI::App& app, const Command& command, const CommandLine& line) {
    const bool hasFile = IsGiven(app, "--file");
    if (hasFile && line.file.empty())
        FailUsage("An empty file name was given.");
    if (!ChangesSettings(command))
        return;
    const int ways = (line.changes.empty() ? 0 : 1) + (hasFile ? 1 : 0) + (line.setToDefault ? 1 : 0);
    if (ways != 1)
        FailUsage(std::string(command.option) + " needs one of KEY=VALUE" +
                  (command.Takes("--set-to-default") ? ", --file and --set-to-default." : " and --file."));
}

EventSelection EventsIn(const Given& given) {
    const auto value = [&given](const char* option) { return given.values.at(option); };
    EventArguments events;
    events.types = given.eventTypes;
    events.taskType = value("--task-type");
    events.taskId = value("--task-id");
    events.from = value("--from");
    events.to = value("--to");
    events.limit = value("--limit");
    events.order = value("--order");
    return ReadEventSelection(events);
}

/// Operands are taken as what no option claims, and not through an option of a list: the parser would take a file name
/// in brackets apart.
std::vector<std::string> OperandsAmong(const std::vector<std::string>& unclaimed) {
    for (const std::string& argument : unclaimed) {
        if (IsOption(argument))
            FailUnknown(argument);
    }
    return unclaimed;
}

} // namespace

CommandLine ParseCommandLine(const std::vector<std::string>& arguments) {
    const auto mark = std::find(arguments.begin(), arguments.end(), "--");
    Given given;
    CLI::App app;
    Declare(app, given);
    CommandLine line;
    if (const std::span options(arguments.begin(), mark); AsksForHelp(options)) {
        line.helpAbout = SubjectOfHelp(app, options);
        line.json = AsksForJson(arguments);
        return line;
    }
    std::vector<std::string> operands;
    try {
        app.parse(std::vector<std::string>(std::make_reverse_iterator(mark), arguments.rend())); // last first
        operands = OperandsAmong(app.remaining());
    } catch (const CLI::ParseError& error) {
        FailUsage(EscapeForTerminal(error.what()) + ".");
    }
    if (mark != arguments.end())
        operands.insert(operands.end(), mark + 1, arguments.end());

    const Command& command = TheOneCommand(app);
    line.command = command.kind;
    RefuseOptionsOfOthers(app, command);
    line.json = IsGiven(app, "--json");
    if (command.value == ValueKind::Task) {
        line.task = given.values.at(command.option);
        if (line.task.empty())
            FailUsage("An empty task was given.");
    }
    line.file = given.values.at("--file");
    line.setToDefault = IsGiven(app, "--set-to-default");
    line.acceptTsn = IsGiven(app, "--accept-tsn");
    line.wait = IsGiven(app, "--wait");
    line.progress = IsGiven(app, "--progress");
    if (line.wait && line.progress)
        FailUsage(localization::GetLocalizedString(localization::entry::WaitAndProgressOptionAtSameTime));
    TakeOperands(command, std::move(operands), line);
    CheckSettings(app, command, line);
    line.events = EventsIn(given);
    return line;
}

bool AsksForJson(const std::vector<std::string>& arguments) noexcept {
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    return std::any_of(arguments.begin(), end, [](const std::string& argument) {
        return argument == "--json" || argument.starts_with("--json="); // the parser lets "--json=true" pass
    });
}

} // namespace tfs::control
