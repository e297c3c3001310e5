// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/command_line.h>
#include <control/escape.h>
#include <control/failure.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

namespace tfs::control {

namespace {

constexpr char Program[] = "tesl-control";

/// The options and what they were given; the parser writes into the fields, so that it must not outlive them.
struct Options {
    bool help = false;
    bool version = false;
    bool json = false;
    bool taskList = false;
    bool scanFile = false;
    bool appInfo = false;
    bool getAppSettings = false;
    bool setAppSettings = false;
    bool acceptTsn = false;
    bool eventQuery = false;
    bool waitEvents = false;
    EventArguments events;
    std::string file;
    std::string startTask;
    std::string stopTask;
    std::string taskState;
};

class HelpFormatter : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App*, std::string name) const override {
        return "Usage: " + name + " COMMAND [--json]\n       " + name +
               " --scan-file PATH... [--json] [-- PATH...]\n       " + name +
               " --get-app-settings [KEY...] [--json]\n       " + name +
               " --set-app-settings {KEY=VALUE... | --file PATH} [--accept-tsn] [--json]\n       " + name +
               " {--event-query | --wait-events} [FILTER...] [--json]\n";
    }
};

constexpr const char* FiltersOfBoth[] = {"--event-type", "--task-type"};
constexpr const char* FiltersOfQueries[] = {"--task-id", "--from", "--to", "--limit", "--order"};

void DeclareEvents(CLI::App& app, EventArguments& events) {
    app.add_option("--event-type", events.types, "Of both: events of these types only, such as ThreatDetected")
        ->type_name("NAME[,NAME...]")
        ->allow_extra_args(false)
        ->delimiter(',');
    app.add_option("--task-type", events.taskType, "Of both: events of tasks of this type only, such as ODS")
        ->type_name("NAME");
    app.add_option("--task-id", events.taskId, "With --event-query: events of this task only")->type_name("ID");
    app.add_option("--from", events.from,
                   "With --event-query: from this time on, in UTC, as 2026-11-21 or 2026-11-21T01:55:06Z")
        ->type_name("TIME");
    app.add_option("--to", events.to, "With --event-query: before this time")->type_name("TIME");
    app.add_option("--limit", events.limit, "With --event-query: so many events at most, 100 where it isn't given")
        ->type_name("NUMBER");
    app.add_option("--order", events.order, "With --event-query: asc for the oldest first, else desc")
        ->type_name("asc|desc");
}

void Declare(CLI::App& app, Options& options) {
    app.formatter(std::make_shared<HelpFormatter>());
    app.set_help_flag();
    app.allow_extras();
    app.option_defaults()->disable_flag_override(); // a switch takes no value
    app.add_flag("--get-task-list", options.taskList, "List the tasks and their states");
    app.add_option("--start-task", options.startTask, "Start a task")->type_name("ID|NAME");
    app.add_option("--stop-task", options.stopTask, "Stop a task")->type_name("ID|NAME");
    app.add_option("--get-task-state", options.taskState, "Tell the state of a task and what it has found")
        ->type_name("ID|NAME");
    app.add_flag("--scan-file", options.scanFile,
                 "Scan the files and folders PATH..., wait for the end and tell the result; names that begin with "
                 "\"-\" go behind \"--\"");
    app.add_flag("--app-info", options.appInfo, "Tell about the service, its signatures and its engine");
    app.add_flag("--get-app-settings", options.getAppSettings,
                 "Tell the settings KEY... of the application, or all of them");
    app.add_flag("--set-app-settings", options.setAppSettings,
                 "Change settings of the application: all that are given, or none");
    app.add_option("--file", options.file, "With --set-app-settings: a file with the settings")->type_name("PATH");
    app.add_flag("--accept-tsn", options.acceptTsn,
                 "With --set-app-settings: accept the statement of Tolvander Security Network");
    app.add_flag("--event-query", options.eventQuery, "Tell stored events, the newest first");
    app.add_flag("--wait-events", options.waitEvents,
                 "Tell events as they come, until Ctrl-C; in JSON each is one document on a line of its own");
    DeclareEvents(app, options.events);
    app.add_flag("--json", options.json, "Write one JSON document and nothing else on standard output");
    app.add_flag("--version", options.version, "Tell the version of the product");
    app.add_flag("-h,--help", options.help, "Show this help");
    app.footer("Exactly one command is given; --json may stand beside each. In JSON a file name that is not UTF-8\n"
               "has U+FFFD for each wrong byte, and \"pathHex\" beside it holds its exact bytes.\n\n" +
               std::string(ExitCodeHelp()));
}

[[noreturn]] void FailUsage(const std::string& text) {
    throw Failure(ExitCode::Usage, text + " Try \"" + Program + " --help\".");
}

CommandKind TheOneCommand(const CLI::App& app) {
    static constexpr std::pair<const char*, CommandKind> Commands[] = {
        {"--help", CommandKind::Help},
        {"--version", CommandKind::Version},
        {"--get-task-list", CommandKind::GetTaskList},
        {"--start-task", CommandKind::StartTask},
        {"--stop-task", CommandKind::StopTask},
        {"--get-task-state", CommandKind::GetTaskState},
        {"--scan-file", CommandKind::ScanFile},
        {"--app-info", CommandKind::AppInfo},
        {"--get-app-settings", CommandKind::GetAppSettings},
        {"--set-app-settings", CommandKind::SetAppSettings},
        {"--event-query", CommandKind::EventQuery},
        {"--wait-events", CommandKind::WaitEvents},
    };
    const std::pair<const char*, CommandKind>* chosen = nullptr;
    for (const auto& command : Commands) {
        if (app.get_option(command.first)->count() == 0)
            continue;
        if (chosen != nullptr)
            FailUsage(std::string("Both ") + chosen->first + " and " + command.first + " were given.");
        chosen = &command;
    }
    if (chosen == nullptr)
        FailUsage("No command was given.");
    return chosen->second;
}

std::string TaskOf(CommandKind command, const Options& options) {
    switch (command) {
    case CommandKind::StartTask:
        return options.startTask;
    case CommandKind::StopTask:
        return options.stopTask;
    case CommandKind::GetTaskState:
        return options.taskState;
    default:
        return {};
    }
}

bool IsTaskCommand(CommandKind command) noexcept {
    return command == CommandKind::StartTask || command == CommandKind::StopTask ||
           command == CommandKind::GetTaskState;
}

bool TakesOperands(CommandKind command) noexcept {
    return command == CommandKind::ScanFile || command == CommandKind::GetAppSettings ||
           command == CommandKind::SetAppSettings;
}

settings::ChangeItem ChangeIn(const std::string& argument) {
    const std::size_t mark = argument.find('=');
    if (mark == std::string::npos || mark == 0)
        FailUsage("\"" + EscapeForTerminal(argument) + "\" is not of the form KEY=VALUE.");
    return {argument.substr(0, mark), argument.substr(mark + 1)};
}

/// What stands beside the commands for settings.
void TakeSettings(const CLI::App& app, const Options& options, const std::vector<std::string>& operands,
                  CommandLine& line) {
    const bool hasFile = app.get_option("--file")->count() > 0;
    if (line.command != CommandKind::SetAppSettings && (hasFile || options.acceptTsn))
        FailUsage("--file and --accept-tsn stand beside --set-app-settings only.");
    if (line.command == CommandKind::GetAppSettings)
        line.keys = operands;
    if (line.command != CommandKind::SetAppSettings)
        return;
    for (const std::string& operand : operands)
        line.changes.push_back(ChangeIn(operand));
    if (line.changes.empty() == !hasFile)
        FailUsage("--set-app-settings needs either KEY=VALUE or --file.");
    if (hasFile && options.file.empty())
        FailUsage("An empty file name was given.");
    line.file = options.file;
    line.acceptTsn = options.acceptTsn;
}

/// What stands beside the commands for events.
void TakeEvents(const CLI::App& app, const Options& options, CommandLine& line) {
    const auto isGiven = [&app](const char* name) { return app.get_option(name)->count() > 0; };
    const bool isQuery = line.command == CommandKind::EventQuery;
    if (!isQuery && std::any_of(std::begin(FiltersOfQueries), std::end(FiltersOfQueries), isGiven))
        FailUsage("--task-id, --from, --to, --limit and --order stand beside --event-query only.");
    if (!isQuery && line.command != CommandKind::WaitEvents) {
        if (std::any_of(std::begin(FiltersOfBoth), std::end(FiltersOfBoth), isGiven))
            FailUsage("--event-type and --task-type stand beside --event-query and --wait-events only.");
        return;
    }
    line.events = ReadEventSelection(options.events);
}

/// Operands are taken as what no option claims, and not through an option of a list: the parser would take a file name
/// in brackets apart.
std::vector<std::string> OperandsAmong(const std::vector<std::string>& unclaimed) {
    for (const std::string& argument : unclaimed) {
        if (argument.size() > 1 && argument.front() == '-')
            FailUsage("Unknown option " + EscapeForTerminal(argument) + ".");
    }
    return unclaimed;
}

} // namespace

CommandLine ParseCommandLine(const std::vector<std::string>& arguments) {
    const auto mark = std::find(arguments.begin(), arguments.end(), "--");
    Options options;
    CLI::App app{"Commands for the protection service.", Program};
    Declare(app, options);
    CommandLine line;
    std::vector<std::string> operands;
    try {
        app.parse(std::vector<std::string>(std::make_reverse_iterator(mark), arguments.rend())); // last first
        operands = OperandsAmong(app.remaining());
    } catch (const CLI::ParseError& error) {
        FailUsage(EscapeForTerminal(error.what()) + ".");
    }
    if (mark != arguments.end())
        operands.insert(operands.end(), mark + 1, arguments.end());

    line.command = TheOneCommand(app);
    line.json = options.json;
    line.task = TaskOf(line.command, options);
    TakeSettings(app, options, operands, line);
    TakeEvents(app, options, line);
    if (line.command == CommandKind::ScanFile && operands.empty())
        FailUsage("--scan-file needs a path.");
    if (!operands.empty() && !TakesOperands(line.command))
        FailUsage("\"" + EscapeForTerminal(operands.front()) + "\" is not expected here.");
    if (line.command == CommandKind::ScanFile)
        line.paths = std::move(operands);
    if (IsTaskCommand(line.command) && line.task.empty())
        FailUsage("An empty task was given.");
    return line;
}

bool AsksForJson(const std::vector<std::string>& arguments) noexcept {
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    return std::any_of(arguments.begin(), end, [](const std::string& argument) {
        return argument == "--json" || argument.starts_with("--json="); // the parser lets "--json=true" pass
    });
}

std::string HelpText() {
    Options options;
    CLI::App app{"Commands for the protection service.", Program};
    Declare(app, options);
    return app.help();
}

} // namespace tfs::control
