// SPDX-License-Identifier: GPL-2.0-or-later
#include "gui_fixture.h"

#include <gui/task_manager/tasklist_actions.h>

#include <unistd.h>

namespace tfs::gui {
namespace {

using test::MakeStatistic;
using test::MakeTask;
using types::TaskState;

class TaskListActionsTest : public test::GuiTest {
protected:
    TaskListActionsTest() {
        m_app.tasks->SetTask(MakeTask(6, task_name::Update, task_type::Update));
        m_app.tasks->SetTask(MakeTask(1, task_name::FileMonitoring, task_type::OAS, TaskState::Started));
        const core::TaskInfo scan = MakeTask(2, task_name::FullScan, task_type::ODS);
        m_app.tasks->SetTask(scan);
        m_app.tasks->SetStatistic(MakeStatistic(scan, 10, 1));
    }
    ulk::IServiceLocator* Remote() { return m_app.remote.Get(); }
    TaskInfo Fetch(const std::string& idOrName) {
        TaskInfo task;
        EXPECT_EQ(m_actions.GetTaskInfo(Remote(), idOrName, task), ulk::sOk) << idOrName;
        return task;
    }

    OnDemandTaskListActions m_actions;
};

TEST_F(TaskListActionsTest, liveTasksHideTheirStatisticsAndOrphansBecomeRows) {
    core::TaskInfo gone = MakeTask(101, u"Gone", task_type::ODS);
    gone.isTemporary = true;
    OxsStatistic orphan = MakeStatistic(gone, 5, 2);
    orphan.finishTime = 5'000'000;
    m_app.tasks->SetStatistic(orphan);
    ulk::types::vector_t<TaskInfo> tasks;
    ASSERT_EQ(m_actions.GetTaskList(
                  Remote(), [](const TaskInfo&) { return true; }, tasks),
              ulk::sOk);
    ASSERT_EQ(tasks.size(), 4u);
    EXPECT_EQ(tasks[0].core.taskId, 1u) << "ascending by identifier";
    const TaskInfo& live = tasks[1];
    EXPECT_EQ(live.core.taskId, 2u);
    EXPECT_TRUE(live.hasRemoteTask);
    EXPECT_FALSE(live.hasRemoteStatistics);
    EXPECT_FALSE(live.statistics.has_value());
    EXPECT_EQ(live.core.cannotBeDeleted, true);
    EXPECT_TRUE(live.scheduleText == u"daily");
    const TaskInfo& row = tasks[3];
    EXPECT_EQ(row.core.taskId, 101u);
    EXPECT_FALSE(row.hasRemoteTask);
    EXPECT_TRUE(row.hasRemoteStatistics);
    EXPECT_EQ(row.core.state, TaskState::Stopped);
    EXPECT_EQ(row.core.cannotBeDeleted, false);
    EXPECT_EQ(row.core.stopTime, 5'000'000);
    EXPECT_EQ(row.core.startTime, 5'000'000 - 3 * 24 * 3600);
    EXPECT_EQ(row.statistics, orphan);
}

TEST_F(TaskListActionsTest, permissionsFollowTheKindOfTask) {
    core::TaskInfo group = MakeTask(50, u"Group", task_type::ODS);
    group.isCentralKit = 1;
    m_app.tasks->SetTask(group);
    m_app.policy->local = true;
    m_app.policy->group = false;
    EXPECT_TRUE(Fetch("2").canBeStarted);
    EXPECT_TRUE(Fetch("2").canBeStopped);
    EXPECT_FALSE(Fetch("50").canBeStarted);
    EXPECT_TRUE(Fetch("1").canBeStarted) << "asked of the policy by name";
    EXPECT_FALSE(Fetch("1").canBeStopped);
    m_app.policy->local = false;
    m_app.policy->group = true;
    EXPECT_FALSE(Fetch("6").canBeStarted);
    EXPECT_TRUE(Fetch("50").canBeStopped);
    // A read that fails forbids, whatever the flags were filled with.
    m_app.policy->failure = ulk::eTimeout;
    EXPECT_FALSE(Fetch("50").canBeStopped);
    EXPECT_FALSE(Fetch("1").canBeStarted);
    EXPECT_GE(m_app.tracer->Count(300, "Cannot get policy (CanBeStarted) settings for File_Monitoring"), 1u);
}

TEST_F(TaskListActionsTest, anotherUsersCustomScanCanBeWatchedOnly) {
    core::TaskInfo scan = MakeTask(100, u"Temporary", task_type::ODS, TaskState::Started);
    scan.isTemporary = true;
    scan.owner = TaskOwner{::getuid() + 1, u"other"};
    m_app.tasks->SetTask(scan);
    EXPECT_FALSE(Fetch("100").canBeStopped);
    EXPECT_TRUE(Fetch("100").canBeStarted);
    scan.owner->uid = ::getuid();
    m_app.tasks->SetTask(scan);
    EXPECT_TRUE(Fetch("100").canBeStopped);
}

TEST_F(TaskListActionsTest, aTaskIsFoundByIdAndByName) {
    EXPECT_EQ(Fetch("2").core.taskId, 2u);
    EXPECT_EQ(Fetch("Scan_My_Computer").core.taskId, 2u);
    m_app.tasks->SetTask(MakeTask(77, u"6", task_type::ODS));
    EXPECT_EQ(Fetch("6").core.taskId, 6u) << "the first of two";
    EXPECT_EQ(m_app.tracer->Count("found 2 tasks, try to return the first one"), 1u);
    TaskInfo task;
    for (const char* text : {"99", "", "2x", "-2", "18446744073709551616"})
        EXPECT_EQ(m_actions.GetTaskInfo(Remote(), text, task), ulk::eNotFound) << text;
    EXPECT_EQ(m_app.tracer->Count(300, "vector_t::at()"), 5u);
}

TEST_F(TaskListActionsTest, anOutageGivesTheListsOfTheLastSuccess) {
    ulk::types::vector_t<TaskInfo> scans;
    ulk::types::vector_t<TaskInfo> updates;
    ulk::types::vector_t<std::uint64_t> monitoring;
    EXPECT_EQ(m_actions.GetScanTaskList(Remote(), scans), ulk::sOk);
    EXPECT_EQ(m_actions.GetMonitoringTaskList(Remote(), monitoring), ulk::sOk);
    EXPECT_EQ(monitoring, (ulk::types::vector_t<std::uint64_t>{1}));
    m_app.tasks->failure = ulk::eNotReady;
    scans.clear();
    monitoring.clear();
    EXPECT_EQ(m_actions.GetScanTaskList(Remote(), scans), 1);
    ASSERT_EQ(scans.size(), 1u);
    EXPECT_EQ(scans[0].core.taskId, 2u);
    EXPECT_EQ(m_actions.GetUpdateTaskList(Remote(), updates), 1) << "never read: nothing to fall back to";
    EXPECT_TRUE(updates.empty());
    EXPECT_EQ(m_actions.GetMonitoringTaskList(Remote(), monitoring), 1);
    EXPECT_EQ(monitoring.size(), 1u);
    m_app.remote->Remove(ITfsTaskManager::Iid);
    EXPECT_EQ(m_actions.GetScanTaskList(Remote(), scans), 1);
}

TEST_F(TaskListActionsTest, withoutAPolicyProviderThereIsNoList) {
    m_app.remote->Remove(IPolicyProvider::Iid);
    ulk::types::vector_t<TaskInfo> scans;
    EXPECT_EQ(m_actions.GetScanTaskList(Remote(), scans), 1);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot get interface IPolicyProvider"), 1u);
    EXPECT_EQ(m_app.tracer->Count("Read from product: "), 1u);
    EXPECT_EQ(m_app.tracer->Count(300, "GetScanTaskList cannot get task list, use previous value"), 1u);
    EXPECT_GE(m_app.tracer->Count(300, "result = "), 2u);
    TaskInfo task;
    EXPECT_EQ(m_actions.GetTaskInfo(Remote(), "2", task), ulk::eNoInterface);
    EXPECT_EQ(m_app.tracer->Count(300, "() cannot get task settings"), 1u);
}

TEST_F(TaskListActionsTest, aTaskWithoutScheduleIsListedAllTheSame) {
    m_app.tasks->SetTask(MakeTask(40, u"Unscheduled", task_type::BootScan));
    const TaskInfo task = Fetch("40");
    EXPECT_EQ(task.scheduleMode, 0u);
    EXPECT_TRUE(task.scheduleText.empty());
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot get schedule for Unscheduled"), 1u);
}

TEST_F(TaskListActionsTest, deletingTakesTheTaskThenItsStatistics) {
    TaskInfo task = Fetch("2");
    task.hasRemoteStatistics = true;
    EXPECT_EQ(m_actions.DeleteTask(Remote(), task), ulk::eUnspecified) << "no copy of the statistics";
    EXPECT_EQ(m_app.tasks->Commands(), (std::vector<std::string>{"delete Scan_My_Computer"}));
    EXPECT_EQ(m_app.tracer->Count(300, "No local statistics copy, cannot remove remote!"), 1u);
    task.statistics = MakeStatistic(task.core, 0, 0);
    EXPECT_EQ(m_actions.DeleteTask(Remote(), task), ulk::sOk);
    EXPECT_EQ(m_app.tasks->Commands().back(), "delete statistics Scan_My_Computer");
    m_app.tasks->failure = ulk::eAccessDenied;
    EXPECT_EQ(m_actions.DeleteTask(Remote(), task), ulk::eAccessDenied);
    EXPECT_EQ(m_app.tasks->Commands().size(), 3u);
}

} // namespace
} // namespace tfs::gui
