// SPDX-License-Identifier: GPL-2.0-or-later
// The list of tasks against its slow reference, over sequences of events, commands and outages drawn at random.
#include "tasklist_fixture.h"
#include "tasklist_reference.h"

#include <QtTest/QAbstractItemModelTester>
#include <array>
#include <cstdlib>
#include <ostream>
#include <random>
#include <unistd.h>

namespace tfs::gui::test {

void PrintTo(const ReferenceRow& row, std::ostream* out) {
    *out << "{id " << row.id << " '" << row.name.toStdString() << "' state " << row.state << " at " << row.progress
         << "% report " << row.reportType << " kept " << row.cannotBeDeleted << " start " << row.canBeStarted
         << " stop " << row.canBeStopped << " full " << row.showFullInfo << " button " << row.showStartButton
         << " result '" << row.result.toStdString() << "' error " << row.resultIsError << " lines '"
         << row.lines.join(QLatin1Char('|')).toStdString() << "'}";
}

namespace {

/// What a view knows of a list: only what the signals have told it.
class SignalView {
public:
    explicit SignalView(const TaskListModel& model) : m_model(model) {
        QObject::connect(&model, &QAbstractItemModel::modelReset, [this] {
            rows.clear();
            Read(0, m_model.rowCount() - 1, true);
        });
        QObject::connect(&model, &QAbstractItemModel::rowsInserted,
                         [this](const QModelIndex&, int first, int last) { Read(first, last, true); });
        QObject::connect(&model, &QAbstractItemModel::rowsRemoved, [this](const QModelIndex&, int first, int last) {
            rows.erase(rows.begin() + first, rows.begin() + last + 1);
        });
        QObject::connect(&model, &QAbstractItemModel::dataChanged,
                         [this](const QModelIndex& from, const QModelIndex& to) { Read(from.row(), to.row(), false); });
    }

    std::vector<ReferenceRow> rows;

private:
    void Read(int first, int last, bool isNew) {
        for (int row = first; row <= last; ++row) {
            if (isNew)
                rows.insert(rows.begin() + row, RowAt(row));
            else
                rows.at(static_cast<std::size_t>(row)) = RowAt(row);
        }
    }
    ReferenceRow RowAt(int row) const {
        const auto at = [&](int role) { return m_model.data(m_model.index(row), role); };
        ReferenceRow shown;
        shown.id = at(TaskListModel::TaskIdRole).toULongLong();
        shown.state = at(TaskListModel::CurrentStateRole).toInt();
        shown.progress = at(TaskListModel::ProgressValueRole).toInt();
        shown.reportType = at(TaskListModel::TaskReportTypeRole).toInt();
        shown.cannotBeDeleted = at(TaskListModel::CannotBeDeletedRole).toBool();
        shown.canBeStarted = at(TaskListModel::CanBeStartedRole).toBool();
        shown.canBeStopped = at(TaskListModel::CanBeStoppedRole).toBool();
        shown.showFullInfo = at(TaskListModel::ShowFullInfoRole).toBool();
        shown.showStartButton = at(TaskListModel::ShowStartButtonRole).toBool();
        shown.resultIsError = at(TaskListModel::ResultIsErrorRole).toBool();
        shown.name = at(TaskListModel::TaskNameRole).toString();
        shown.result = at(TaskListModel::ResultInfoRole).toString();
        shown.lines = at(TaskListModel::ProgressInfoRole).toStringList();
        return shown;
    }

    const TaskListModel& m_model;
};

/// Numbers of the tasks that come and go; the type follows from the number, as it does in a service.
constexpr std::array<std::uint64_t, 12> ids{2, 4, 5, 6, 8, 30, 31, 32, 100, 101, 102, 103};

const char16_t* TypeOf(std::uint64_t id) {
    switch (id) {
    case 4:
        return task_type::ODFIM;
    case 5:
        return task_type::MemoryScan;
    case 6:
        return task_type::Update;
    case 8:
        return task_type::Retranslate;
    case 32:
        return task_type::OAS; // on neither page
    default:
        return task_type::ODS;
    }
}

class TaskListRandomTest : public TaskListTest, public testing::WithParamInterface<unsigned> {
protected:
    int Pick(int most) { return std::uniform_int_distribution<int>(0, most)(m_random); }
    /// Mostly one task for a while, so that its events pile up.
    std::uint64_t PickId() {
        if (Pick(30) == 0)
            m_busy = Pick(int{ids.size()} - 1);
        return ids.at(static_cast<std::size_t>(Pick(2) == 0 ? Pick(int{ids.size()} - 1) : m_busy));
    }
    TaskState::Type PickState() { return static_cast<TaskState::Type>(Pick(TaskState::Stopped)); }

    core::TaskInfo MakeTaskOf(std::uint64_t id) {
        core::TaskInfo task = MakeTask(id, u"", TypeOf(id), PickState());
        task.taskName = ulk::text::ToUtf16Lossy("Task_" + std::to_string(id));
        task.isCentralKit = id == 31 ? 1 : 0;
        task.isTemporary = id >= FirstTemporaryTaskId;
        if (task.isTemporary) {
            task.settings.Set(ScanSettings{{"/home"}});
            task.owner = TaskOwner{static_cast<std::uint32_t>(::getuid() + id % 2), u"somebody"};
        }
        return task;
    }
    void SetTask(const core::TaskInfo& task) {
        m_service.tasks[task.taskId] = task;
        m_app.tasks->SetTask(task);
    }
    void SetStatistic(std::uint64_t id) {
        const OxsStatistic statistic =
            MakeStatistic(MakeTaskOf(id), static_cast<std::uint64_t>(Pick(9)), static_cast<std::uint64_t>(Pick(1)));
        m_service.statistics[id] = statistic;
        m_app.tasks->SetStatistic(statistic);
    }
    void RemoveTask(std::uint64_t id) {
        m_service.tasks.erase(id);
        m_app.tasks->RemoveTask(id);
    }
    void Toggle(std::atomic<bool>& flag, bool& known) { flag = known = !known; }
    void ToggleOutage() {
        m_service.isReachable = !m_service.isReachable;
        m_service.isConnected = m_service.isReachable || Pick(1) == 0;
        m_app.connected = m_service.isConnected;
        m_app.tasks->failure = m_service.isReachable ? ulk::sOk : ulk::eNotReady;
    }
    /// One thing that may happen, to the model and to the reference.
    void Step(TaskListModel& model, TaskListReference& reference);

    std::mt19937 m_random{GetParam()};
    ReferenceService m_service;
    int m_busy = 0;
};

void TaskListRandomTest::Step(TaskListModel& model, TaskListReference& reference) {
    const std::uint64_t id = PickId();
    const char16_t* const type = TypeOf(id);
    switch (Pick(19)) {
    case 0:
    case 1:
        if (m_service.tasks.count(id) == 0)
            SetTask(MakeTaskOf(id));
        PushAndWait(TaskEvent(EventName::TaskCreated, id, type));
        reference.Created(id, type);
        break;
    case 2:
    case 3:
        RemoveTask(id);
        PushAndWait(TaskEvent(EventName::TaskDeleted, id, type));
        reference.Deleted(id, type);
        break;
    case 4:
    case 5:
    case 6: {
        const TaskState::Type state = PickState();
        if (const auto task = m_service.tasks.find(id); task != m_service.tasks.end() && Pick(1) == 0) {
            core::TaskInfo changed = task->second;
            changed.state = state; // else the service has gone on already
            SetTask(changed);
        }
        PushAndWait(StateEvent(id, state, type));
        reference.StateChanged(id, type, state);
        break;
    }
    case 7:
    case 8: {
        const bool isUpdate = Pick(2) == 0;
        const int percent = Pick(100);
        PushAndWait(isUpdate ? UpdateProgressEvent(id, percent) : ProgressEvent(id, percent));
        reference.Progressed(id, !isUpdate, percent);
        break;
    }
    case 9:
    case 10:
        SetStatistic(id);
        break;
    case 11:
        ToggleOutage();
        break;
    case 12: {
        const bool scans = Pick(3) != 0;
        model.setScanTasksMode(scans);
        reference.SetMode(scans);
        break;
    }
    case 13:
        model.deleteTask(id);
        reference.UserDeletes(id);
        break;
    case 14:
        if (Pick(1) == 0)
            Toggle(m_app.policy->local, m_service.allowLocal);
        else
            Toggle(m_app.policy->group, m_service.allowGroup);
        break;
    case 15: {
        // Whatever comes of these, it comes by events.
        model.startTask(id);
        model.stopTask(id);
        Event bare;
        bare.type = Pick(1) == 0 ? EventName::TaskStateChanged : EventName::ODSProgressChanged;
        PushAndWait(bare);
        break;
    }
    default:
        model.updateTaskListInfo();
        reference.Tick();
    }
}

TEST_P(TaskListRandomTest, showsWhatTheSlowReferenceShows) {
    const std::string seed = "seed " + std::to_string(GetParam());
    SCOPED_TRACE(seed);
    for (const std::uint64_t id : {2, 6, 30, 100})
        SetTask(MakeTaskOf(id));
    SetStatistic(2);
    SetStatistic(101); // of a scan that is gone
    TaskListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    const SignalView view(model);
    TaskListReference reference(m_service);
    model.setScanTasksMode(true);
    reference.SetMode(true);
    for (int step = 0; step < 400; ++step) {
        ASSERT_NO_FATAL_FAILURE(Step(model, reference)) << seed << " step " << step;
        ASSERT_EQ(view.rows, reference.Rows()) << seed << " step " << step;
        m_app.tracer->Clear();
    }
}

/// TESL_TEST_SEED in the environment adds one of the caller's choice.
std::vector<unsigned> Seeds() {
    std::vector<unsigned> seeds{1, 2, 3, 4, 5, 6, 7, 8};
    if (const char* const more = std::getenv("TESL_TEST_SEED"))
        seeds.push_back(static_cast<unsigned>(std::strtoul(more, nullptr, 10)));
    return seeds;
}

INSTANTIATE_TEST_SUITE_P(Seeds, TaskListRandomTest, testing::ValuesIn(Seeds()));

} // namespace
} // namespace tfs::gui::test
