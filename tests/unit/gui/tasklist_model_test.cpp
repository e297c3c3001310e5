// SPDX-License-Identifier: GPL-2.0-or-later
#include "gui_fixture.h"

#include <gui/task_manager/tasklist_model.h>

#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>
#include <deque>
#include <map>
#include <random>

namespace tfs::gui {
namespace {

using test::MakeStatistic;
using test::MakeTask;
using types::AdditionalName;
using types::EventName;
using types::TaskState;

class TaskListModelTest : public test::GuiTest {
protected:
    TaskListModelTest() {
        m_app.tasks->SetTask(MakeTask(2, task_name::FullScan, task_type::ODS));
        m_app.tasks->SetTask(MakeTask(6, task_name::Update, task_type::Update));
    }

    static Event TaskEvent(EventName::Type type, std::uint64_t id, const char16_t* taskType = task_type::ODS) {
        Event event;
        event.type = type;
        event.Add(AdditionalName::TaskId, id);
        event.Add(AdditionalName::TaskType, test::String(taskType));
        return event;
    }
    static Event StateEvent(std::uint64_t id, TaskState::Type state, const char16_t* taskType = task_type::ODS) {
        Event event = TaskEvent(EventName::TaskStateChanged, id, taskType);
        event.Add(AdditionalName::TaskState, static_cast<std::int32_t>(state));
        return event;
    }
    static Event ProgressEvent(std::uint64_t id, std::int32_t progress) {
        Event event = TaskEvent(EventName::ODSProgressChanged, id);
        event.Add(AdditionalName::ODSProgress, progress);
        return event;
    }
    static core::TaskInfo CustomScan(std::uint64_t id, TaskState::Type state) {
        core::TaskInfo task = MakeTask(id, u"", task_type::ODS, state);
        task.taskName = ulk::text::ToUtf16Lossy("Temporary_" + std::to_string(id));
        task.isTemporary = true;
        task.settings.Set(ScanSettings{{"/home"}});
        return task;
    }
    static QVariant At(const TaskListModel& model, int row, int role) { return model.data(model.index(row), role); }
};

TEST_F(TaskListModelTest, isEmptyUntilItsModeIsSet) {
    TaskListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    EXPECT_EQ(model.rowCount(), 0);
    QSignalSpy modeChanged(&model, &TaskListModel::scanTasksModeChanged);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    model.setScanTasksMode(false);
    EXPECT_EQ(modeChanged.count(), 0) << "it was false";
    EXPECT_EQ(reset.count(), 1);
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(At(model, 0, TaskListModel::TaskIdRole).toULongLong(), model.defaultUpdateTaskId());
    EXPECT_EQ(At(model, 0, TaskListModel::TaskReportTypeRole).toInt(), 6);
    EXPECT_TRUE(At(model, 0, TaskListModel::ProgressInfoRole).toStringList().isEmpty());
    model.setScanTasksMode(true);
    EXPECT_EQ(modeChanged.count(), 1);
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(At(model, 0, TaskListModel::TaskNameRole).toString().toStdString(), "Scan my computer");
    EXPECT_EQ(At(model, 0, TaskListModel::SummaryRole).toString().toStdString(), "Never run");
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

TEST_F(TaskListModelTest, statesWithinOneTickShowOnSuccessiveTicks) {
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
    EXPECT_EQ(changed.count(), 4);
    EXPECT_TRUE(changed.first().at(2).value<QVector<int>>().isEmpty());
    EXPECT_TRUE(At(model, 0, TaskListModel::ShowFullInfoRole).toBool());
    EXPECT_EQ(At(model, 0, TaskListModel::ResultInfoRole).toString().toStdString(), "Threat detected");
    EXPECT_TRUE(At(model, 0, TaskListModel::ResultIsErrorRole).toBool());
    EXPECT_EQ(At(model, 0, TaskListModel::ProgressInfoRole).toStringList(),
              (QStringList{QStringLiteral("objects scanned: 12"), QStringLiteral("threats detected: 3")}));
}

TEST_F(TaskListModelTest, progressThatComesFasterThanTicksDoesNotPileUp) {
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

TEST_F(TaskListModelTest, aThreatShowsWhileTheTaskRunsAlthoughThePercentageStands) {
    TaskListModel model;
    const core::TaskInfo task = MakeTask(2, task_name::FullScan, task_type::ODS, TaskState::Started);
    m_app.tasks->SetTask(task);
    OxsStatistic running = MakeStatistic(task, 7, 0);
    running.finishTime = 0;
    m_app.tasks->SetStatistic(running);
    model.setScanTasksMode(true);
    EXPECT_EQ(At(model, 0, TaskListModel::ResultInfoRole).toString().toStdString(), "Nothing detected");
    PushAndWait(ProgressEvent(2, 1));
    model.updateTaskListInfo();
    running.scan.scannedObjects = 9;
    running.scan.threatsFound = 1;
    m_app.tasks->SetStatistic(running);
    PushAndWait(ProgressEvent(2, 1));
    model.updateTaskListInfo();
    EXPECT_EQ(At(model, 0, TaskListModel::ResultInfoRole).toString().toStdString(), "Threat detected");
    EXPECT_TRUE(At(model, 0, TaskListModel::ResultIsErrorRole).toBool());
    EXPECT_EQ(At(model, 0, TaskListModel::ProgressInfoRole).toStringList(),
              (QStringList{QStringLiteral("objects scanned: 9"), QStringLiteral("threats detected: 1")}));
}

TEST_F(TaskListModelTest, eventsThatAreNotItsOwnChangeNothing) {
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

TEST_F(TaskListModelTest, aFinishedCustomScanStaysUntilItIsDeleted) {
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
    EXPECT_EQ(At(model, 1, TaskListModel::TaskNameRole).toString().toStdString(), "Custom scan of /home");
    EXPECT_FALSE(At(model, 1, TaskListModel::ShowStartButtonRole).toBool());
    EXPECT_FALSE(At(model, 1, TaskListModel::CannotBeDeletedRole).toBool());

    m_app.tasks->RemoveTask(100);
    m_app.tasks->SetStatistic(MakeStatistic(scan, 7, 0));
    PushAndWait(TaskEvent(EventName::TaskDeleted, 100));
    model.updateTaskListInfo();
    EXPECT_EQ(removed.count(), 0);
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(At(model, 1, TaskListModel::CurrentStateRole).toInt(), int{TaskState::Stopped});
    EXPECT_EQ(At(model, 1, TaskListModel::ResultInfoRole).toString().toStdString(), "Nothing detected");

    m_app.tasks->failure = ulk::eNotReady;
    model.deleteTask(100);
    EXPECT_EQ(model.rowCount(), 2) << "the service didn't agree";
    m_app.tasks->failure = ulk::sOk;
    model.deleteTask(100);
    model.deleteTask(100);
    EXPECT_EQ(removed.count(), 1);
    EXPECT_EQ(m_app.tasks->Commands(), (std::vector<std::string>{"delete statistics Temporary_100"}));
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

/// The same rules in their plainest form, with every queue a list that is searched from its beginning.
class SlowReference {
public:
    struct Row {
        std::uint64_t id;
        int state;
        int progress;
        bool knowsProgress;
        bool isProgressOnly;
    };

    void Add(std::uint64_t id) { m_added.push_back(id); }
    void Delete(std::uint64_t id) { m_deleted.push_back(id); }
    bool Has(std::uint64_t id) const { return Find(id) != -1; }
    void Change(const Row& row) {
        Row* last = nullptr;
        for (Row& change : m_changes) {
            if (change.id == row.id)
                last = &change;
        }
        if (row.isProgressOnly && last != nullptr && last->isProgressOnly)
            *last = row;
        else
            m_changes.push_back(row);
    }
    void Tick(const std::map<std::uint64_t, TaskState::Type>& service) {
        for (const std::uint64_t id : m_added) {
            if (!Has(id) && service.count(id) != 0)
                rows.push_back({id, service.at(id), 0, false, false});
        }
        m_added.clear();
        std::vector<std::uint64_t> shown;
        for (std::size_t i = 0; i < m_changes.size();) {
            const Row change = m_changes[i];
            if (std::find(shown.begin(), shown.end(), change.id) != shown.end()) {
                ++i;
                continue;
            }
            shown.push_back(change.id);
            m_changes.erase(m_changes.begin() + static_cast<std::ptrdiff_t>(i));
            if (const int at = Find(change.id); at != -1)
                Replace(rows[static_cast<std::size_t>(at)], change);
        }
        for (const std::uint64_t id : m_deleted) {
            if (const int at = Find(id); at != -1)
                rows.erase(rows.begin() + at);
        }
        m_deleted.clear();
    }

    std::vector<Row> rows;

private:
    static bool IsUnderWay(int state) { return state <= TaskState::Resuming; }
    static void Replace(Row& row, Row change) {
        if (!change.knowsProgress && change.state != TaskState::Starting && IsUnderWay(row.state) &&
            IsUnderWay(change.state))
            change.progress = row.progress;
        row = change;
    }
    int Find(std::uint64_t id) const {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].id == id)
                return static_cast<int>(i);
        }
        return -1;
    }

    std::vector<std::uint64_t> m_added;
    std::vector<std::uint64_t> m_deleted;
    std::vector<Row> m_changes;
};

TEST_F(TaskListModelTest, agreesWithASlowReferenceOnRandomSequences) {
    for (unsigned seed = 1; seed <= 6; ++seed) {
        std::mt19937 random(seed);
        const auto pick = [&random](int most) { return std::uniform_int_distribution<int>(0, most)(random); };
        std::map<std::uint64_t, TaskState::Type> service{{2, TaskState::Stopped}};
        m_app.tasks->SetTask(MakeTask(2, task_name::FullScan, task_type::ODS));
        TaskListModel model;
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
        model.setScanTasksMode(true);
        SlowReference reference;
        reference.rows.push_back({2, TaskState::Stopped, 0, false, false});
        for (int step = 0; step < 150; ++step) {
            const std::uint64_t id = pick(3) == 0 ? 2 : static_cast<std::uint64_t>(30 + pick(4));
            const std::u16string name = u"Group_" + std::u16string(1, static_cast<char16_t>(u'A' + id % 26));
            const bool exists = service.count(id) != 0;
            switch (pick(5)) {
            case 0:
                if (!exists) {
                    service[id] = TaskState::Stopped;
                    m_app.tasks->SetTask(MakeTask(id, name.c_str(), task_type::ODS));
                }
                PushAndWait(TaskEvent(EventName::TaskCreated, id));
                reference.Add(id);
                break;
            case 1:
                if (id == 2)
                    break;
                service.erase(id);
                m_app.tasks->RemoveTask(id);
                PushAndWait(TaskEvent(EventName::TaskDeleted, id));
                reference.Delete(id);
                break;
            case 2: {
                const auto state = static_cast<TaskState::Type>(pick(6));
                PushAndWait(StateEvent(id, state));
                const bool isComplete = state == TaskState::Stopping || state == TaskState::Stopped;
                if (exists)
                    reference.Change({id, state, isComplete ? 100 : 0, isComplete, false});
                break;
            }
            case 3: {
                const int progress = pick(100);
                PushAndWait(ProgressEvent(id, progress));
                if (exists && reference.Has(id))
                    reference.Change({id, service[id], progress, true, true});
                break;
            }
            default:
                model.updateTaskListInfo();
                reference.Tick(service);
            }
            ASSERT_EQ(model.rowCount(), static_cast<int>(reference.rows.size())) << "seed " << seed << " step " << step;
            for (int row = 0; row < model.rowCount(); ++row) {
                const auto& expected = reference.rows[static_cast<std::size_t>(row)];
                ASSERT_EQ(At(model, row, TaskListModel::TaskIdRole).toULongLong(), expected.id) << seed << " " << step;
                ASSERT_EQ(At(model, row, TaskListModel::CurrentStateRole).toInt(), expected.state)
                    << seed << " " << step;
                ASSERT_EQ(At(model, row, TaskListModel::ProgressValueRole).toInt(), expected.progress)
                    << seed << " " << step;
            }
        }
        for (const auto& [id, state] : service)
            m_app.tasks->RemoveTask(id);
        m_app.tracer->Clear();
    }
}

} // namespace
} // namespace tfs::gui
