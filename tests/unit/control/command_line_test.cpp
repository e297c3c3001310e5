// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/command_line.h>
#include <control/failure.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tfs::control {
namespace {

using testing::ElementsAre;
using Arguments = std::vector<std::string>;

TEST(CommandLine, TakesEachCommandWithItsArgument) {
    EXPECT_EQ(ParseCommandLine({"--get-task-list"}).command, CommandKind::GetTaskList);
    EXPECT_EQ(ParseCommandLine({"--app-info", "--json"}).command, CommandKind::AppInfo);
    EXPECT_TRUE(ParseCommandLine({"--json", "--app-info"}).json);
    EXPECT_EQ(ParseCommandLine({"--start-task", "2"}).task, "2");
    EXPECT_EQ(ParseCommandLine({"--stop-task=Scan_My_Computer"}).task, "Scan_My_Computer");
    EXPECT_EQ(ParseCommandLine({"--suspend-task", "2"}).command, CommandKind::SuspendTask);
    EXPECT_EQ(ParseCommandLine({"--resume-task=5"}).task, "5");
    EXPECT_EQ(ParseCommandLine({"--get-task-state", "7"}).command, CommandKind::GetTaskState);
    EXPECT_EQ(ParseCommandLine({"-h"}).command, CommandKind::Help);
}

TEST(CommandLine, TakesPathsAsTheyAre) {
    EXPECT_THAT(ParseCommandLine({"--scan-file", "a", "b c", "--json", "d"}).paths, ElementsAre("a", "b c", "d"));
    EXPECT_THAT(ParseCommandLine({"--scan-file", "--", "-a", "--json"}).paths, ElementsAre("-a", "--json"));
    EXPECT_FALSE(ParseCommandLine({"--scan-file", "--", "--json"}).json);
    EXPECT_THAT(ParseCommandLine({"--scan-file", "[a,b]", "x=y", "#c", "\"q\"", "-"}).paths,
                ElementsAre("[a,b]", "x=y", "#c", "\"q\"", "-"));
    EXPECT_THAT(ParseCommandLine({"--scan-file", "bad\xff\nname"}).paths, ElementsAre("bad\xff\nname"));
    EXPECT_THAT(ParseCommandLine({"--scan-file", ""}).paths, ElementsAre(""));
}

TEST(CommandLine, TakesSettings) {
    EXPECT_TRUE(ParseCommandLine({"--get-app-settings"}).keys.empty());
    EXPECT_THAT(ParseCommandLine({"--get-app-settings", "A", "B"}).keys, ElementsAre("A", "B"));
    const CommandLine set = ParseCommandLine({"--set-app-settings", "A=b", "C.d=e=f", "--accept-tsn"});
    EXPECT_THAT(set.changes, ElementsAre(settings::ChangeItem{"A", "b"}, settings::ChangeItem{"C.d", "e=f"}));
    EXPECT_TRUE(set.acceptTsn);
    EXPECT_TRUE(set.paths.empty());
    EXPECT_EQ(ParseCommandLine({"--set-app-settings", "--file", "x y.ini"}).file, "x y.ini");
}

TEST(CommandLine, TakesTaskCommands) {
    EXPECT_TRUE(ParseCommandLine({"--start-task", "2", "--wait"}).wait);
    EXPECT_TRUE(ParseCommandLine({"--start-task", "2", "--progress"}).progress);
    EXPECT_THAT(ParseCommandLine({"--get-statistics", "2", "Update"}).tasks, ElementsAre("2", "Update"));
    const CommandLine created = ParseCommandLine({"--create-task", "a", "--file", "s.ini", "b"});
    EXPECT_THAT(created.paths, ElementsAre("a", "b"));
    EXPECT_EQ(created.file, "s.ini");
    const CommandLine get = ParseCommandLine({"--get-settings", "2", "ScanArchived", "--file", "s.ini"});
    EXPECT_EQ(get.task, "2");
    EXPECT_THAT(get.keys, ElementsAre("ScanArchived"));
    const CommandLine set = ParseCommandLine({"--set-schedule", "Update", "RuleType=Daily", "StartTime=03:00"});
    EXPECT_EQ(set.task, "Update");
    EXPECT_THAT(set.changes,
                ElementsAre(settings::ChangeItem{"RuleType", "Daily"}, settings::ChangeItem{"StartTime", "03:00"}));
    EXPECT_TRUE(ParseCommandLine({"--set-settings", "2", "--set-to-default"}).setToDefault);
}

class WrongLine : public testing::TestWithParam<Arguments> {};

TEST_P(WrongLine, IsAUsageFailureInOneSafeLine) {
    try {
        ParseCommandLine(GetParam());
        FAIL() << "was taken";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Code(), ExitCode::Usage);
        const std::string text = failure.what();
        EXPECT_FALSE(text.empty());
        EXPECT_EQ(text.find_first_of("\n\x1b"), std::string::npos) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(
    CommandLine, WrongLine,
    testing::Values(Arguments{}, Arguments{"--json"}, Arguments{"--unknown"}, Arguments{"--scan-file"},
                    Arguments{"--start-task"}, Arguments{"--start-task", ""},
                    Arguments{"--get-task-list", "--app-info"}, Arguments{"--start-task", "1", "--stop-task", "1"},
                    Arguments{"--start-task", "1", "--start-task", "2"}, Arguments{"--start-task", "1", "2"},
                    Arguments{"file"}, Arguments{"--app-info", "file"}, Arguments{"--scan-file", "a", "--bogus"},
                    Arguments{"--scan-file", "a", "-x"}, Arguments{"--\x1b[2J\n"}, Arguments{"--app-info=yes please"},
                    Arguments{"--set-app-settings"}, Arguments{"--set-app-settings", "A"},
                    Arguments{"--set-app-settings", "=b"}, Arguments{"--set-app-settings", "A=b", "--file", "c"},
                    Arguments{"--set-app-settings", "--file", ""}, Arguments{"--set-app-settings", "--accept-tsn"},
                    Arguments{"--app-info", "--accept-tsn"}, Arguments{"--get-app-settings", "--file", "c"},
                    Arguments{"--scan-file=0", "a"}, Arguments{"--start-task", "2", "--wait", "--progress"},
                    Arguments{"--stop-task", "2", "--wait"}, Arguments{"--update", "6"}, Arguments{"--create-task"},
                    Arguments{"--get-schedule", "2", "RuleType"}, Arguments{"--set-settings", "2"},
                    Arguments{"--set-settings", "2", "A=b", "--set-to-default"},
                    Arguments{"--set-schedule", "2", "--file", "a", "--set-to-default"},
                    Arguments{"--set-app-settings", "--set-to-default"}, Arguments{"--set-settings", "", "A=b"},
                    Arguments{"--get-settings", "2", "--file", ""}, Arguments{"--app-info", "--json=2"}));

TEST(CommandLine, JsonIsSeenOnAWrongLineButNotAmongFileNames) {
    EXPECT_TRUE(AsksForJson({"--bogus", "--json"}));
    EXPECT_TRUE(AsksForJson({"--bogus", "--json=true"}));
    EXPECT_FALSE(AsksForJson({"--scan-file", "--", "--json"}));
}

} // namespace
} // namespace tfs::control
