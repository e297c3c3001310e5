// SPDX-License-Identifier: GPL-2.0-or-later
#include "tasklist_fixture.h"

#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>
#include <ctime>

namespace tfs::gui {
namespace {

using test::MakeStatistic;
using test::MakeTask;

class TaskListModelTest : public test::TaskListTest {
protected:
    TaskListModelTest() {
        m_app.tasks->SetTask(MakeTask(2, task_name::FullScan, task_type::ODS));
        m_app.tasks->SetTask(MakeTask(6, task_name::Update, task_type::Update));
    }
};

TEST_F(TaskListModelTest, isEmptyUntilItsModeIsSet) {
    TaskListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    EXPECT_EQ(model.rowCount(), 0);
    QSignalSpy modeChanged(&model, &TaskListModel::scanTasksModeChanged);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    model.setScanTasksMode(false);
    EXPECT_EQ(modeChanged.count(), 1) << "told also where it stays the same";
    EXPECT_EQ(reset.count(), 1);
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(At(model, 0, TaskListModel::TaskIdRole).toULongLong(), model.defaultUpdateTaskId());
    EXPECT_EQ(At(model, 0, TaskListModel::TaskReportTypeRole).toInt(), 6);
    EXPECT_TRUE(At(model, 0, TaskListModel::ProgressInfoRole).toStringList().isEmpty());
    model.setScanTasksMode(true);
    EXPECT_EQ(modeChanged.count(), 2);
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(TextAt(model, 0, TaskListModel::TaskNameRole), "Scan my computer");
    EXPECT_EQ(TextAt(model, 0, TaskListModel::SummaryRole), "Never run");
    EXPECT_EQ(At(model, 0, TaskListModel::TaskReportTypeRole).toInt(), 5);
    EXPECT_EQ(At(model, 0, TaskListModel::ProgressInfoRole).toStringList().first().toStdString(),
              "Information about the previous start is unavailable.");
    EXPECT_EQ(model.roleNames().value(272), QByteArray("resultIsError"));
}

TEST_F(TaskListModelTest, loadingWithoutAConnectionEndsTheReset) {
    TaskListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setScanTasksMode(true);
    QSignalSpy about(&model, &QAbstractItemModel::modelAboutToBeReset);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    m_app.connected = false;
    model.setScanTasksMode(true);
    EXPECT_EQ(about.count(), 1);
    EXPECT_EQ(reset.count(), 1);
    EXPECT_EQ(model.rowCount(), 1) << "the last known rows stay";
    m_app.connected = true;
}

TEST_F(TaskListModelTest, leavingThePageRemovesWhatHasNoTaskLeft) {
    const core::TaskInfo gone = CustomScan(100, TaskState::Stopped);
    m_app.tasks->SetStatistic(MakeStatistic(gone, 1, 0));
    m_app.tasks->SetTask(CustomScan(101, TaskState::Started));
    {
        TaskListModel model;
        model.setScanTasksMode(true);
        EXPECT_EQ(model.rowCount(), 3);
    }
    EXPECT_EQ(m_app.tasks->Commands(), (std::vector<std::string>{"delete statistics Temporary_100"}));
    EXPECT_FALSE(m_app.subscriber->IsSubscribed());
    EXPECT_EQ(m_app.tracer->Count("Delete task Temporary_100 (100) due to no remote task is left"), 1u);
    m_app.connected = false;
    { const TaskListModel model; }
    EXPECT_EQ(m_app.tasks->Commands().size(), 1u);
    EXPECT_EQ(m_app.tracer->Count(300, "~TaskListModel(): No connection to product"), 1u);
}

TEST_F(TaskListModelTest, commandsTravelAsDecimalTextAndFailQuietly) {
    TaskListModel model;
    model.startTask(2);
    model.stopTask(18446744073709551615u);
    model.pauseTask(2);
    model.resumeTask(2);
    model.rollbackUpdate();
    EXPECT_EQ(m_app.tasks->Commands(),
              (std::vector<std::string>{"start 2", "stop 18446744073709551615", "pause 2", "resume 2", "start 7"}));
    m_app.connected = false;
    model.startTask(2);
    EXPECT_EQ(m_app.tracer->Count(300, "cannot start task: No connection to product"), 1u);
    m_app.connected = true;
    m_app.tasks->failure = ulk::eInvalidState;
    model.stopTask(2);
    EXPECT_EQ(m_app.tracer->Count(300, "cannot stop task: "), 1u);
}

TEST_F(TaskListModelTest, reportsFollowTheSettings) {
    TaskListModel model;
    EXPECT_TRUE(model.reportsAllowed());
    QSignalSpy changed(&model, &TaskListModel::reportsAllowedChanged);
    m_app.settings->privilegedOnly = true;
    Event event;
    event.type = EventName::ApplicationSettingsChanged;
    PushAndWait(event);
    PushAndWait(event);
    QCoreApplication::processEvents();
    const bool isRoot = ::geteuid() == 0;
    EXPECT_EQ(model.reportsAllowed(), isRoot);
    EXPECT_EQ(changed.count(), isRoot ? 0 : 1);
}

TEST_F(TaskListModelTest, eachPageFallsBackToItsOwnLastList) {
    TaskListModel model;
    model.setScanTasksMode(false);
    model.setScanTasksMode(true);
    m_app.connected = false;
    model.setScanTasksMode(false);
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(At(model, 0, TaskListModel::TaskIdRole).toULongLong(), 6u);
    m_app.connected = true;
    m_app.tasks->failure = ulk::eTimeout;
    model.setScanTasksMode(true);
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(At(model, 0, TaskListModel::TaskIdRole).toULongLong(), 2u);
    m_app.tasks->failure = ulk::sOk;
}

TEST_F(TaskListModelTest, rollbackIsReadWithTheListAndToldAfterIt) {
    TaskListModel model;
    std::vector<int> rowsWhenTold;
    QObject::connect(&model, &TaskListModel::isRollbackAvailableChanged,
                     [&] { rowsWhenTold.push_back(model.rowCount()); });
    m_app.appInfo->appInfo.isRollbackAvailable = true;
    model.setScanTasksMode(false);
    EXPECT_TRUE(model.isRollbackAvailable());
    m_app.appInfo->failure = ulk::eTimeout;
    model.setScanTasksMode(false);
    EXPECT_TRUE(model.isRollbackAvailable()) << "as last known";
    EXPECT_EQ(model.rowCount(), 1) << "the rows don't wait for it";
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot get application info"), 1u);
    EXPECT_EQ(rowsWhenTold, std::vector<int>{1});
}

TEST_F(TaskListModelTest, theSummaryTellsOfTheLastRun) {
    core::TaskInfo task = MakeTask(2, task_name::FullScan, task_type::ODS, TaskState::Started);
    const auto summary = [&](types::TaskState::Type state, std::int64_t start, std::int64_t stop) {
        task.state = state;
        task.startTime = start;
        task.stopTime = stop;
        m_app.tasks->SetTask(task);
        TaskListModel model;
        model.setScanTasksMode(true);
        return TextAt(model, 0, TaskListModel::SummaryRole);
    };
    const std::int64_t now = std::time(nullptr);
    EXPECT_EQ(summary(TaskState::Started, now - 130, 0), "Running, started 2 minutes ago");
    EXPECT_EQ(summary(TaskState::Stopped, now - 7300, now - 130), "Last scan: 2 minutes ago");
    EXPECT_EQ(summary(TaskState::Stopped, now - 7300, 0), "Last scan: 2 hours ago") << "the end isn't known yet";
    EXPECT_EQ(summary(TaskState::Stopped, 0, 0), "Never run");
}

} // namespace
} // namespace tfs::gui
