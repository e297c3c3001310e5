// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/failure.h>
#include <tests/unit/control/program_fixture.h>

#include <algorithm>

namespace tfs::control {
namespace {

using nlohmann::json;
using ulk::Ptr;

ExitCode FailToConnect(const CommandLine&, IReporter&) {
    throw Failure(ExitCode::Unavailable, "The service cannot be reached.");
}

class Program : public test::ProgramTest {
protected:
    void SetUp() override {
        core::TaskInfo update{};
        update.taskId = 6;
        update.taskName = u"Update";
        core::TaskInfo scan{};
        scan.taskId = 2;
        scan.taskName = u"Scan_My_Computer";
        scan.taskType = u"ODS";
        scan.displayName = u"evil\x1b[2J\u202e";
        locator->tasks->tasks = {update, scan};
    }
};

TEST_F(Program, ListsTasksById) {
    ASSERT_EQ(Run({"--get-task-list", "--json"}), 0);
    const json tasks = Json().at("tasks");
    ASSERT_EQ(tasks.size(), 2u);
    EXPECT_EQ(tasks[0].at("id"), 2);
    EXPECT_EQ(tasks[0].at("state"), "Stopped");
    EXPECT_EQ(tasks[1].at("name"), "Update");

    ASSERT_EQ(Run({"--get-task-list"}), 0);
    EXPECT_EQ(m_out.str().find('\x1b'), std::string::npos);
    EXPECT_NE(m_out.str().find("evil\\x1b[2J\\u{202e}"), std::string::npos) << m_out.str();
}

TEST_F(Program, FindsATaskByIdAndByName) {
    ASSERT_EQ(Run({"--get-task-state", "2", "--json"}), 0);
    const json byId = Json();
    ASSERT_EQ(Run({"--get-task-state", "Scan_My_Computer", "--json"}), 0);
    EXPECT_EQ(Json(), byId);
    EXPECT_TRUE(byId.at("lastRun").is_null());
}

TEST_F(Program, StartsAndStops) {
    ASSERT_EQ(Run({"--start-task", "2"}), 0);
    ASSERT_EQ(Run({"--stop-task", "Scan_My_Computer", "--json"}), 0);
    EXPECT_EQ(Json().at("command"), "stop");
    EXPECT_EQ(locator->tasks->commands, (std::vector<test::string16_t>{u"start 2", u"stop Scan_My_Computer"}));
}

TEST_F(Program, SuspendsAndResumes) {
    ASSERT_EQ(Run({"--suspend-task", "2", "--json"}), 0);
    EXPECT_EQ(Json().at("command"), "suspend");
    EXPECT_EQ(Json().at("task").at("id"), 2);
    ASSERT_EQ(Run({"--resume-task", "Scan_My_Computer", "--json"}), 0);
    EXPECT_EQ(Json().at("command"), "resume");
    EXPECT_EQ(locator->tasks->commands, (std::vector<test::string16_t>{u"pause 2", u"resume Scan_My_Computer"}));
}

TEST_F(Program, TellsEveryFailureByCodeAndText) {
    locator->tasks->startResult = ulk::eInvalidState;
    locator->tasks->pauseResult = ulk::eInvalidState;
    const struct {
        std::vector<std::string> arguments;
        int code;
        const char* name;
    } cases[] = {
        {{"--start-task", "2"}, 65, "invalid-state"},
        {{"--get-task-state", "99"}, 66, "not-found"},
        {{"--suspend-task", "2"}, 65, "invalid-state"},
        {{"--resume-task", "\xff\n"}, 66, "not-found"},
        {{"--stop-task", "\xff\n"}, 66, "not-found"},
        {{"--scan-file", "/nonexistent"}, 66, "not-found"},
        {{"--scan-file", ""}, 64, "usage"},
        {{"--nonsense"}, 64, "usage"},
    };
    for (auto [arguments, code, name] : cases) {
        EXPECT_EQ(Run(arguments), code);
        EXPECT_EQ(m_out.str(), "");
        const std::string told = m_err.str();
        EXPECT_EQ(told.find("tesl-control: "), 0u);
        EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;

        arguments.insert(arguments.begin(), "--json");
        EXPECT_EQ(Run(arguments), code);
        EXPECT_EQ(m_err.str(), "");
        EXPECT_EQ(Json().at("error").at("code"), name);
        EXPECT_EQ(Json().at("error").at("exitCode"), code);
    }
}

TEST_F(Program, TellsWhyATaskWasRefused) {
    locator->tasks->startResult = ulk::eInvalidState;
    EXPECT_EQ(Run({"--start-task", "2"}), 65);
    EXPECT_EQ(m_err.str(), "tesl-control: Cannot start task \"2\": Invalid state\n") << "it is stopped";
    locator->tasks->tasks[1].state = types::TaskState::Started;
    EXPECT_EQ(Run({"--start-task", "2"}), 65);
    EXPECT_EQ(m_err.str(), "tesl-control: Cannot start task \"2\": Only a stopped task can be started.\n");
    for (const auto& [result, text] : {std::pair{ulk::eInvalidState, "Only a running task can be suspended."},
                                       std::pair{ulk::eNotSupported, "Tasks of this type cannot be suspended."}}) {
        locator->tasks->pauseResult = result;
        EXPECT_EQ(Run({"--suspend-task", "6"}), 65);
        EXPECT_EQ(m_err.str(), std::string("tesl-control: Cannot suspend task \"6\": ") + text + '\n');
    }
}

TEST_F(Program, SaysThatTheServiceCannotBeReached) {
    EXPECT_EQ(Run({"--app-info", "--json"}, FailToConnect), 69);
    EXPECT_EQ(Json().at("error").at("code"), "unavailable");
}

TEST_F(Program, HelpAndVersionNeedNoService) {
    EXPECT_EQ(Run({"--help"}, FailToConnect), 0);
    for (const char* text : {"--scan-file", "--get-task-state", "  69  ", "  77  "})
        EXPECT_NE(m_out.str().find(text), std::string::npos) << text;
    EXPECT_EQ(Run({"--version", "--json"}, FailToConnect), 0);
    EXPECT_FALSE(Json().at("version").get<std::string>().empty());
}

TEST_F(Program, TellsWhenItsOutputIsLost) {
    m_out.setstate(std::ios::badbit);
    EXPECT_EQ(RunProgram({"--version"}, m_out, m_err, FailToConnect), 74);
}

} // namespace
} // namespace tfs::control
