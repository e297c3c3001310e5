// SPDX-License-Identifier: GPL-2.0-or-later
// What events do to the list of tasks.
#include "tasklist_fixture.h"

#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>
#include <set>
#include <thread>

namespace tfs::gui {
namespace {

using test::MakeStatistic;
using test::MakeTask;

class TaskListEventsTest : public test::TaskListTest {
protected:
    TaskListEventsTest() {
        m_app.tasks->SetTask(MakeTask(2, task_name::FullScan, task_type::ODS));
        m_app.tasks->SetTask(MakeTask(6, task_name::Update, task_type::Update));
    }
};

TEST_F(TaskListEventsTest, statesWithinOneTickShowOnSuccessiveTicks) {
    TaskListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setScanTasksMode(true);
    const core::TaskInfo task = MakeTask(2, task_name::FullScan, task_type::ODS, TaskState::Stopped);
    m_app.tasks->SetStatistic(MakeStatistic(task, 12, 3));
    for (const auto state : {TaskState::Starting, TaskState::Started, TaskState::Stopping, TaskState::Stopped})
        PushAndWait(StateEvent(2, state));
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    std::vector<int> states;
    std::vector<int> progress;
    for (int tick = 0; tick < 5; ++tick) {
        model.updateTaskListInfo();
        states.push_back(At(model, 0, TaskListModel::CurrentStateRole).toInt());
        progress.push_back(At(model, 0, TaskListModel::ProgressValueRole).toInt());
    }
    EXPECT_EQ(states, (std::vector<int>{0, 1, 5, 6, 6})) << "the event's state, not the older one of the service";
    EXPECT_EQ(progress, (std::vector<int>{0, 0, 100, 100, 100}));
    ASSERT_EQ(changed.count(), 4);
    EXPECT_TRUE(changed.first().at(2).value<QVector<int>>().isEmpty());
    EXPECT_TRUE(At(model, 0, TaskListModel::ShowFullInfoRole).toBool());
    EXPECT_EQ(TextAt(model, 0, TaskListModel::ResultInfoRole), "Threat detected");
    EXPECT_TRUE(At(model, 0, TaskListModel::ResultIsErrorRole).toBool());
    EXPECT_EQ(At(model, 0, TaskListModel::ProgressInfoRole).toStringList(),
              (QStringList{QStringLiteral("objects scanned: 12"), QStringLiteral("threats detected: 3")}));
}

TEST_F(TaskListEventsTest, progressThatComesFasterThanTicksDoesNotPileUp) {
    TaskListModel model;
    model.setScanTasksMode(true);
    m_app.tasks->SetTask(MakeTask(2, task_name::FullScan, task_type::ODS, TaskState::Started));
    for (std::int32_t percent = 1; percent <= 40; ++percent)
        PushAndWait(ProgressEvent(2, percent));
    PushAndWait(StateEvent(2, TaskState::Suspended));
    model.updateTaskListInfo();
    EXPECT_EQ(At(model, 0, TaskListModel::ProgressValueRole).toInt(), 40);
    model.updateTaskListInfo();
    EXPECT_EQ(At(model, 0, TaskListModel::CurrentStateRole).toInt(), int{TaskState::Suspended});
    EXPECT_EQ(At(model, 0, TaskListModel::ProgressValueRole).toInt(), 40) << "the bar stays while paused";
}

TEST_F(TaskListEventsTest, aThreatShowsWhileTheTaskRunsAlthoughThePercentageStands) {
    TaskListModel model;
    const core::TaskInfo task = MakeTask(2, task_name::FullScan, task_type::ODS, TaskState::Started);
    m_app.tasks->SetTask(task);
    OxsStatistic running = MakeStatistic(task, 7, 0);
    running.finishTime = 0;
    m_app.tasks->SetStatistic(running);
    model.setScanTasksMode(true);
    EXPECT_EQ(TextAt(model, 0, TaskListModel::ResultInfoRole), "Nothing detected");
    PushAndWait(ProgressEvent(2, 1));
    model.updateTaskListInfo();
    running.scan.scannedObjects = 9;
    running.scan.threatsFound = 1;
    m_app.tasks->SetStatistic(running);
    PushAndWait(ProgressEvent(2, 1));
    model.updateTaskListInfo();
    EXPECT_EQ(TextAt(model, 0, TaskListModel::ResultInfoRole), "Threat detected");
    EXPECT_TRUE(At(model, 0, TaskListModel::ResultIsErrorRole).toBool());
    EXPECT_EQ(At(model, 0, TaskListModel::ProgressInfoRole).toStringList(),
              (QStringList{QStringLiteral("objects scanned: 9"), QStringLiteral("threats detected: 1")}));
}

TEST_F(TaskListEventsTest, eventsThatAreNotItsOwnChangeNothing) {
    TaskListModel model;
    model.setScanTasksMode(false);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    PushAndWait(StateEvent(2, TaskState::Started));
    PushAndWait(ProgressEvent(2, 50));
    PushAndWait(TaskEvent(EventName::TaskCreated, 2));
    PushAndWait(StateEvent(99, TaskState::Started, task_type::Update));
    Event bare;
    for (const auto type : {EventName::TaskStateChanged, EventName::TaskCreated, EventName::TaskDeleted,
                            EventName::UpdateProgressChanged, EventName::ThreatDetected}) {
        bare.type = type;
        PushAndWait(bare);
    }
    model.updateTaskListInfo();
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(inserted.count(), 0);
    EXPECT_EQ(m_app.tracer->Count(300, "there is no field TaskType"), 2u);
    EXPECT_EQ(m_app.tracer->Count(300, "map::at"), 1u) << "an event that it never asked for";
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot get info for task 99"), 1u);
}

TEST_F(TaskListEventsTest, aFinishedCustomScanStaysUntilItIsDeleted) {
    TaskListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setScanTasksMode(true);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    const core::TaskInfo scan = CustomScan(100, TaskState::Started);
    m_app.tasks->SetTask(scan);
    PushAndWait(TaskEvent(EventName::TaskCreated, 100));
    PushAndWait(TaskEvent(EventName::TaskCreated, 100)); // told of twice
    model.updateTaskListInfo();
    EXPECT_EQ(inserted.count(), 1);
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(TextAt(model, 1, TaskListModel::TaskNameRole), "Custom scan of /home");
    EXPECT_FALSE(At(model, 1, TaskListModel::ShowStartButtonRole).toBool());
    EXPECT_FALSE(At(model, 1, TaskListModel::CannotBeDeletedRole).toBool());

    m_app.tasks->RemoveTask(100);
    m_app.tasks->SetStatistic(MakeStatistic(scan, 7, 0));
    PushAndWait(TaskEvent(EventName::TaskDeleted, 100));
    model.updateTaskListInfo();
    EXPECT_EQ(removed.count(), 0);
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(At(model, 1, TaskListModel::CurrentStateRole).toInt(), int{TaskState::Stopped});
    EXPECT_EQ(TextAt(model, 1, TaskListModel::ResultInfoRole), "Nothing detected");

    m_app.tasks->failure = ulk::eNotReady;
    model.deleteTask(100);
    EXPECT_EQ(model.rowCount(), 2) << "the service didn't agree";
    m_app.tasks->failure = ulk::sOk;
    model.deleteTask(100);
    model.deleteTask(100);
    EXPECT_EQ(removed.count(), 1);
    EXPECT_EQ(m_app.tasks->Commands(), (std::vector<std::string>{"delete statistics Temporary_100"}));
}

TEST_F(TaskListEventsTest, aRowWhoseTaskHasGoneStaysGoneWhateverWasQueuedBefore) {
    TaskListModel model;
    const core::TaskInfo scan = CustomScan(100, TaskState::Started);
    m_app.tasks->SetTask(scan);
    model.setScanTasksMode(true);
    PushAndWait(StateEvent(100, TaskState::Started));
    PushAndWait(ProgressEvent(100, 70));
    m_app.tasks->RemoveTask(100);
    m_app.tasks->SetStatistic(MakeStatistic(scan, 7, 0));
    PushAndWait(TaskEvent(EventName::TaskDeleted, 100));
    std::vector<int> states;
    for (int tick = 0; tick < 4; ++tick) {
        model.updateTaskListInfo();
        states.push_back(At(model, 1, TaskListModel::CurrentStateRole).toInt());
    }
    EXPECT_EQ(states, (std::vector<int>{6, 1, 6, 6})) << "the last word is that it has stopped";
    model.deleteTask(100);
    EXPECT_EQ(m_app.tasks->Commands(), (std::vector<std::string>{"delete statistics Temporary_100"}));
    EXPECT_EQ(model.rowCount(), 1);
}

TEST_F(TaskListEventsTest, aCustomScanThatWentWithoutHavingRunCanBeRemoved) {
    TaskListModel model;
    m_app.tasks->SetTask(CustomScan(100, TaskState::Stopped));
    model.setScanTasksMode(true);
    m_app.tasks->RemoveTask(100);
    PushAndWait(TaskEvent(EventName::TaskDeleted, 100));
    model.updateTaskListInfo();
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(TextAt(model, 1, TaskListModel::TaskNameRole), "Custom scan of /home");
    EXPECT_FALSE(At(model, 1, TaskListModel::CanBeStartedRole).toBool());
    model.deleteTask(100);
    EXPECT_EQ(model.rowCount(), 1);
    EXPECT_TRUE(m_app.tasks->Commands().empty()) << "the service has nothing of it";
}

TEST_F(TaskListEventsTest, aTaskAnnouncedForTheOtherPageIsNotAdded) {
    TaskListModel model;
    model.setScanTasksMode(false);
    m_app.tasks->SetTask(MakeTask(8, task_name::Retranslate, task_type::Retranslate));
    PushAndWait(TaskEvent(EventName::TaskCreated, 8, task_type::Retranslate));
    model.setScanTasksMode(true);
    model.updateTaskListInfo();
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(At(model, 0, TaskListModel::TaskIdRole).toULongLong(), 2u);
}

TEST_F(TaskListEventsTest, updatesHaveProgressButNoStatistics) {
    TaskListModel model;
    m_app.tasks->SetTask(MakeTask(6, task_name::Update, task_type::Update, TaskState::Started));
    model.setScanTasksMode(false);
    PushAndWait(UpdateProgressEvent(6, 130));
    PushAndWait(UpdateProgressEvent(7, 10));
    model.updateTaskListInfo();
    EXPECT_EQ(At(model, 0, TaskListModel::ProgressValueRole).toInt(), 100) << "kept within its bounds";
    EXPECT_TRUE(At(model, 0, TaskListModel::ProgressInfoRole).toStringList().isEmpty());
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot find task 7"), 1u);
    Event bare = TaskEvent(EventName::UpdateProgressChanged, 6, task_type::Update);
    PushAndWait(bare);
    EXPECT_EQ(m_app.tracer->Count(300, "there is no field"), 1u);
}

TEST_F(TaskListEventsTest, aStateToldBeforeTheRowIsThereIsDroppedAndTheRowShowsTheServicesState) {
    TaskListModel model;
    model.setScanTasksMode(true);
    m_app.tasks->SetTask(MakeTask(30, u"Group", task_type::ODS, TaskState::Suspended));
    PushAndWait(StateEvent(30, TaskState::Starting));
    model.updateTaskListInfo();
    EXPECT_EQ(model.rowCount(), 1);
    EXPECT_EQ(m_app.tracer->Count(300, "ChangeExistingTaskInfo cannot find task 30"), 1u);
    PushAndWait(TaskEvent(EventName::TaskCreated, 30));
    model.updateTaskListInfo();
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(At(model, 1, TaskListModel::CurrentStateRole).toInt(), int{TaskState::Suspended});
}

TEST_F(TaskListEventsTest, keepsUpWithEventsThatComeWhileItTicks) {
    TaskListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setScanTasksMode(true);
    std::set<std::uint64_t> expected{2};
    std::thread service([&] {
        for (std::uint64_t id = 100; id < 200; ++id) {
            const std::u16string name = u"Group_" + std::u16string(1, static_cast<char16_t>(id));
            m_app.tasks->SetTask(MakeTask(id, name.c_str(), task_type::ODS));
            m_app.subscriber->Push(TaskEvent(EventName::TaskCreated, id));
            for (const auto state : {TaskState::Starting, TaskState::Started, TaskState::Stopping, TaskState::Stopped})
                m_app.subscriber->Push(StateEvent(id, state));
            m_app.subscriber->Push(ProgressEvent(id, 50));
            if (id % 10 == 0) {
                expected.insert(id);
                continue;
            }
            m_app.tasks->RemoveTask(id);
            m_app.subscriber->Push(TaskEvent(EventName::TaskDeleted, id));
        }
        Event last;
        last.type = EventName::ThreatDetected;
        m_app.subscriber->Push(last);
    });
    EXPECT_TRUE(test::WaitUntil([&] {
        model.updateTaskListInfo();
        return m_app.tracer->Count(300, "map::at") == 1;
    }));
    service.join();
    for (int tick = 0; tick < 6; ++tick) // as many as a task has changes
        model.updateTaskListInfo();
    std::set<std::uint64_t> shown;
    for (int row = 0; row < model.rowCount(); ++row)
        shown.insert(At(model, row, TaskListModel::TaskIdRole).toULongLong());
    EXPECT_EQ(shown, expected);
    EXPECT_EQ(model.rowCount(), static_cast<int>(expected.size())) << "each task once";
}

} // namespace
} // namespace tfs::gui
