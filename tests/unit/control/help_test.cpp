// SPDX-License-Identifier: GPL-2.0-or-later
// What the help tells against what the program takes and returns, both ways.
#include <control/command_line.h>
#include <control/exit_codes.h>
#include <control/failure.h>
#include <tfs_common/translator.h>

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace tfs::control {
namespace {

using Arguments = std::vector<std::string>;
using Names = std::set<std::string>;

Names OptionsIn(const std::string& text) {
    static const std::regex option("--[a-z][a-z-]*");
    return {std::sregex_token_iterator(text.begin(), text.end(), option), std::sregex_token_iterator()};
}

/// Names of the options that a text explains, each at the beginning of a line.
Names ExplainedIn(const std::string& text) {
    static const std::regex line("\n  (--[a-z-]+)");
    return {std::sregex_token_iterator(text.begin(), text.end(), line, 1), std::sregex_token_iterator()};
}

Names DeclaredSet() {
    Names names;
    for (const Option& option : Options())
        names.insert(option.name);
    for (const Command& command : Commands())
        names.insert(command.option);
    return names;
}

bool IsTaken(const Arguments& arguments) {
    try {
        ParseCommandLine(arguments);
        return true;
    } catch (const Failure&) {
        return false;
    }
}

bool HasOwnHelp(const Command& command) {
    return command.kind != CommandKind::Help && command.kind != CommandKind::Version;
}

/// Lines that use a command in each of the forms that it has.
std::vector<Arguments> FormsOf(const Command& command) {
    Arguments line = {command.option};
    if (command.value == ValueKind::Task)
        line.emplace_back("1");
    switch (command.operands) {
    case ValueKind::Path:
        line.emplace_back("path");
        return {line};
    case ValueKind::AppChange:
    case ValueKind::TaskChange:
    case ValueKind::ScheduleChange: {
        Arguments withChange = line;
        withChange.emplace_back("Key=value");
        return {withChange, line};
    }
    default:
        return {line};
    }
}

/// A value that an option takes; none for a switch.
Arguments ValueOf(const std::string& option) {
    static const std::map<std::string, Arguments> values = {
        {"--file", {"path"}},       {"--event-type", {"ThreatDetected"}},
        {"--task-type", {"ODS"}},   {"--task-id", {"1"}},
        {"--from", {"2026-11-21"}}, {"--to", {"2026-11-21"}},
        {"--limit", {"1"}},         {"--order", {"asc"}},
    };
    const auto found = values.find(option);
    return found == values.end() ? Arguments() : found->second;
}

bool IsTakenBeside(const Command& command, const std::string& option) {
    for (Arguments line : FormsOf(command)) {
        line.push_back(option);
        for (const std::string& value : ValueOf(option))
            line.push_back(value);
        if (IsTaken(line))
            return true;
    }
    return false;
}

/// Kindred commands are explained by one text.
bool IsTakenByOneOf(std::uint32_t helpEntry, const std::string& option) {
    const auto commands = Commands();
    return std::any_of(commands.begin(), commands.end(), [&](const Command& command) {
        return command.helpEntry == helpEntry && IsTakenBeside(command, option);
    });
}

TEST(Help, TheTableAndTheParserAgree) {
    for (const Command& command : Commands()) {
        for (const Option& option : Options()) {
            if (HasOwnHelp(command)) {
                EXPECT_EQ(command.Takes(option.name), IsTakenBeside(command, option.name))
                    << command.option << ' ' << option.name;
            }
        }
    }
}

TEST(Help, TheOverviewListsAllCommandsAndNoOther) {
    Names expected = {"--json"};
    for (const Command& command : Commands())
        expected.insert(command.option);
    const std::string overview = HelpText(CommandKind::Help);
    EXPECT_EQ(OptionsIn(overview), expected);
    expected.erase("--json");
    EXPECT_EQ(ExplainedIn(overview), expected);
    EXPECT_TRUE(overview.ends_with('\n'));
}

TEST(Help, EachCommandExplainsTheOptionsThatItTakesAndNoOther) {
    for (const Command& command : Commands()) {
        if (!HasOwnHelp(command))
            continue;
        const std::string text = HelpText(command.kind);
        const std::string usage = text.substr(0, text.find("\n\n"));
        EXPECT_TRUE(text.starts_with("Usage: tesl-control --")) << text;
        EXPECT_NE(usage.find(std::string(" tesl-control ") + command.option + " "), std::string::npos) << text;
        for (const std::string& option : OptionsIn(text))
            EXPECT_TRUE(DeclaredSet().contains(option)) << option << " in: " << text;
        for (const std::string& option : DeclaredSet()) {
            if (FindCommand(option) == nullptr) {
                EXPECT_EQ(ExplainedIn(text).contains(option), IsTakenByOneOf(command.helpEntry, option))
                    << option << " in: " << text;
            }
        }
        // The usage above names each option that is explained below.
        const Names inUsage = OptionsIn(usage);
        for (const std::string& option : ExplainedIn(text))
            EXPECT_TRUE(inUsage.contains(option)) << option << " in: " << text;
    }
}

TEST(Help, ExamplesAreTaken) {
    static const std::regex example("Example:\n  tesl-control ([^\n]+)\n");
    for (const Command& command : Commands()) {
        const std::string text = HelpText(command.kind);
        std::smatch match;
        if (!std::regex_search(text, match, example)) {
            EXPECT_FALSE(HasOwnHelp(command)) << text;
            continue;
        }
        std::istringstream words(match[1]);
        const Arguments line{std::istream_iterator<std::string>(words), {}};
        ASSERT_TRUE(IsTaken(line)) << match[1];
        EXPECT_EQ(CommandOf(ParseCommandLine(line).command).helpEntry, command.helpEntry);
    }
    EXPECT_NE(HelpText(CommandKind::EventQuery).find(" " + std::to_string(EventSelection::DefaultLimit) + "\n"),
              std::string::npos);
}

TEST(Help, IsAskedForOnEitherSideOfACommand) {
    for (const Arguments& line : {Arguments{"--start-task", "--help"}, Arguments{"--help", "--start-task"},
                                  Arguments{"--start-task", "2", "-h"}, Arguments{"--start-task=2", "--help", "--json"},
                                  Arguments{"-h", "--start-task", "--help"}}) {
        const CommandLine help = ParseCommandLine(line);
        EXPECT_EQ(help.command, CommandKind::Help);
        EXPECT_EQ(help.helpAbout, CommandKind::StartTask);
        EXPECT_EQ(help.json, line.back() == "--json");
    }
    for (const Command& command : Commands())
        EXPECT_EQ(ParseCommandLine({command.option, "--help"}).helpAbout, command.kind);
    EXPECT_EQ(ParseCommandLine({"--help"}).helpAbout, CommandKind::Help);
    EXPECT_EQ(ParseCommandLine({"--scan-file", "--", "--help"}).command, CommandKind::ScanFile);
    for (const Arguments& line : {Arguments{"--start-task", "--stop-task", "--help"}, Arguments{"--help", "--bogus"},
                                  Arguments{"--help", "-x"}})
        EXPECT_FALSE(IsTaken(line)) << line.back();
}

/// The codes of a table, in their order.
std::vector<std::string> NumbersIn(const std::string& text) {
    static const std::regex number("\n +([0-9]+)  ");
    return {std::sregex_token_iterator(text.begin(), text.end(), number, 1), std::sregex_token_iterator()};
}

/// The last line; each help but the overview ends with its example.
std::string ExampleIn(const std::string& text) {
    const std::string line = text.substr(text.rfind('\n') + 1);
    return line.starts_with("  tesl-control ") ? line : std::string();
}

TEST(Help, IsInRussianTheSameInOtherWords) {
    localization::Translator russian(TESL_TEST_LOC_FOLDER);
    ASSERT_TRUE(ULK_SUCCEEDED(russian.LoadFile(nullptr, TESL_TEST_LOC_FOLDER "/ru.loc", 3, true)));
    for (const Command& command : Commands()) {
        const std::string english = localization::GetLocalizedString(command.helpEntry);
        const std::string text = russian.GetString(command.helpEntry);
        EXPECT_NE(text, english) << command.option;
        EXPECT_EQ(OptionsIn(text), OptionsIn(english)) << command.option;
        EXPECT_EQ(ExplainedIn(text), ExplainedIn(english)) << command.option;
        EXPECT_EQ(NumbersIn(text), NumbersIn(english)) << command.option;
        EXPECT_EQ(ExampleIn(text), ExampleIn(english)) << command.option;
    }
}

using Meanings = std::map<int, std::string>;

Meanings MeaningsIn(const std::string& text, const std::regex& line) {
    Meanings meanings;
    for (auto match = std::sregex_iterator(text.begin(), text.end(), line); match != std::sregex_iterator(); ++match)
        EXPECT_TRUE(meanings.emplace(std::stoi((*match)[1]), (*match)[2]).second) << (*match)[0];
    return meanings;
}

TEST(Help, ExitCodesAreThoseOfTheProgramAndOfTheReadme) {
    const Meanings told = MeaningsIn(HelpText(CommandKind::Help), std::regex("\n +([0-9]+)  ([^\n]+)"));
    for (int number = 0; number < 256; ++number) {
        const auto code = static_cast<ExitCode>(number);
        const bool isKnown = code == ExitCode::Internal || ExitCodeName(code) != ExitCodeName(ExitCode::Internal);
        EXPECT_EQ(told.contains(number), isKnown) << number;
    }
    std::ostringstream readme;
    readme << std::ifstream(TESL_TEST_README).rdbuf();
    const std::string plain = std::regex_replace(readme.str(), std::regex("`"), "");
    EXPECT_EQ(MeaningsIn(plain, std::regex("\n\\| ([0-9]+) \\| ([^\n]+) \\|(?=\n)")), told);
}

} // namespace
} // namespace tfs::control
