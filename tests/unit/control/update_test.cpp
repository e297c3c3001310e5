// SPDX-License-Identifier: GPL-2.0-or-later
// Commands that start a task and wait for its end, through the whole program.
#include <tests/unit/control/program_fixture.h>

#include <algorithm>

namespace tfs::control {
namespace {

using nlohmann::json;
using types::AdditionalName;
using types::EventName;
using ulk::Ptr;

Event TaskEvent(EventName::Type type, std::uint64_t taskId) {
    Event event;
    event.type = type;
    event.Add(AdditionalName::TaskId, taskId);
    return event;
}

Event StateEvent(types::TaskState::Type state, std::uint64_t taskId) {
    Event event = TaskEvent(EventName::TaskStateChanged, taskId);
    event.Add(AdditionalName::TaskState, static_cast<std::int32_t>(state));
    return event;
}

Event Because(EventName::Type type, std::uint64_t taskId, const std::string& reason) {
    Event event = TaskEvent(type, taskId);
    event.Add(AdditionalName::Reason, reason);
    return event;
}

class WaitingCommands : public test::ProgramTest {
protected:
    void SetUp() override {
        Add(2, task_name::FullScan, task_type::ODS);
        Add(6, task_name::Update, task_type::Update);
        Add(7, task_name::Rollback, task_type::Rollback);
    }

    static void Add(std::uint64_t id, const char16_t* name, const char16_t* type) {
        core::TaskInfo task;
        task.taskId = id;
        task.taskName = name;
        task.taskType = type;
        task.state = types::TaskState::Started;
        locator->tasks->tasks.push_back(task);
        OxsStatistic statistic;
        statistic.taskId = id;
        locator->tasks->statistics.push_back(statistic);
    }
    static void AfterStart(std::vector<Event> events) {
        locator->tasks->onStart = [events = std::move(events)] {
            for (const Event& event : events)
                locator->subscriber->Publish(event);
        };
    }
    json Update() { return json::parse(m_out.str()).at("update"); }
};

TEST_F(WaitingCommands, AnUpdateTellsItsResult) {
    Event source = TaskEvent(EventName::UpdateSourceSelected, 6);
    source.Add(AdditionalName::UpdateSource, "https://mirror.example/\x1b[2J");
    const Event stopped = StateEvent(types::TaskState::Stopped, 6);
    const struct {
        std::vector<Event> events;
        int code;
        const char* result;
        const char* text;
    } cases[] = {
        {{source, stopped}, 0, "updated", "The databases were updated.\n"},
        {{TaskEvent(EventName::NothingToUpdate, 6), stopped}, 0, "nothing-to-update", "There is nothing to update.\n"},
        {{Because(EventName::UpdateError, 6, "no\nspace"), stopped}, 6, "failed", "It failed: no\\nspace\n"},
        {{Because(EventName::OnDemandTaskInterrupted, 6, "killed"), stopped}, 6, "failed", "It failed: killed\n"},
        {{StateEvent(types::TaskState::Stopping, 6), stopped}, 3, "stopped", "It was stopped.\n"},
        {{Because(EventName::UpdateError, 7, "another task's"), stopped},
         0,
         "updated",
         "The databases were updated.\n"},
    };
    for (const auto& [events, code, result, text] : cases) {
        AfterStart(events);
        EXPECT_EQ(Run({"--update", "--json"}), code) << result;
        EXPECT_EQ(Update().at("result"), result);
        EXPECT_EQ(Update().at("taskId"), 6);
        EXPECT_EQ(Run({"--update"}), code);
        EXPECT_TRUE(m_out.str().ends_with(text)) << m_out.str();
        EXPECT_EQ(m_out.str().find('\x1b'), std::string::npos);
    }
    EXPECT_EQ(locator->tasks->commands.front(), u"start 6");
}

TEST_F(WaitingCommands, ARollbackTellsItsResult) {
    const Event stopped = StateEvent(types::TaskState::Stopped, 7);
    AfterStart({stopped});
    EXPECT_EQ(Run({"--rollback", "--json"}), 0);
    EXPECT_EQ(Update().at("result"), "rolled-back");
    AfterStart({Because(EventName::AVBasesRollbackError, 7, "damaged"), stopped});
    EXPECT_EQ(Run({"--rollback", "--json"}), 6);
    EXPECT_EQ(Update().at("reason"), "damaged");
    locator->tasks->startResult = ulk::eInvalidState;
    EXPECT_EQ(Run({"--rollback"}), 65);
    EXPECT_EQ(m_err.str(), "tesl-control: Cannot start task \"Rollback\": Only a stopped task can be started.\n");
    locator->tasks->tasks[2].state = types::TaskState::Stopped;
    EXPECT_EQ(Run({"--rollback"}), 65);
    EXPECT_EQ(m_err.str(), "tesl-control: There are no databases to go back to.\n");
}

TEST_F(WaitingCommands, AStartedTaskIsWaitedForInTheWayOfItsKind) {
    AfterStart({StateEvent(types::TaskState::Stopped, 6)});
    EXPECT_EQ(Run({"--start-task", "Update", "--wait", "--json"}), 0);
    EXPECT_EQ(Update().at("result"), "updated");
    Event threat = TaskEvent(EventName::ThreatDetected, 2);
    threat.Add(AdditionalName::FileName, "/a");
    AfterStart({threat, StateEvent(types::TaskState::Stopped, 2)});
    EXPECT_EQ(Run({"--start-task", "2", "--progress", "--json"}), 1);
    EXPECT_EQ(json::parse(m_out.str()).at("summary").at("threatsFound"), 1);
    EXPECT_EQ(Run({"--start-task", "9", "--wait"}), 66);
    locator->tasks->startResult = ulk::eInvalidState;
    EXPECT_EQ(Run({"--start-task", "2", "--wait"}), 65);
    EXPECT_EQ(locator->tasks->commands.back(), u"start 2") << "nothing was deleted";
}

TEST_F(WaitingCommands, ProgressIsAskedForOnlyWhereItIsShown) {
    // The task is over after the first question that comes in the quiet.
    locator->tasks->progress = {30, 5};
    locator->tasks->progressResult = ulk::sOk;
    locator->tasks->onStart = [] { locator->tasks->tasks[0].state = types::TaskState::Stopped; };
    EXPECT_EQ(Run({"--start-task", "2", "--progress"}), 0);
    EXPECT_TRUE(m_out.str().starts_with("Task 'Scan_My_Computer': 30% done (0:05)\n")) << m_out.str();
    locator->tasks->progressQuestions = 0;
    EXPECT_EQ(Run({"--start-task", "2", "--wait"}), 0);
    EXPECT_EQ(locator->tasks->progressQuestions, 0);
}

TEST_F(WaitingCommands, ARequestToStopReachesTheTask) {
    stopRequests = [] { return 1u; };
    locator->tasks->onStop = [] {
        locator->subscriber->Publish(StateEvent(types::TaskState::Stopping, 6));
        locator->subscriber->Publish(StateEvent(types::TaskState::Stopped, 6));
    };
    EXPECT_EQ(Run({"--update"}), 3);
    EXPECT_EQ(locator->tasks->commands.back(), u"stop 6");
    EXPECT_EQ(m_out.str(), "Stopping...\nIt was stopped.\n");
    locator->tasks->onStop = [] {};
    stopRequests = [] { return 2u; };
    EXPECT_EQ(Run({"--update", "--json"}), 75) << "a second request ends the waiting";
}

TEST_F(WaitingCommands, AServiceThatGoesAwayIsTold) {
    isAlive = [] { return false; };
    EXPECT_EQ(Run({"--update", "--json"}), 69);
    EXPECT_EQ(json::parse(m_out.str()).at("error").at("code"), "unavailable");
}

} // namespace
} // namespace tfs::control
