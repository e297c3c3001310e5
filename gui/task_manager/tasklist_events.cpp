// SPDX-License-Identifier: GPL-2.0-or-later
// The part of TaskListModel that runs on its subscription's thread.
#include <foundation/check.h>
#include <gui/common/app_settings.h>
#include <gui/common/application.h>
#include <gui/task_manager/task_converter.h>
#include <gui/task_manager/task_event_fields.h>
#include <gui/task_manager/tasklist_model.h>

namespace tfs::gui {
namespace {

using tfs::types::AdditionalName;
using tfs::types::EventName;
using tfs::types::TaskState;

constexpr std::uint8_t ProgressComplete = 100;

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

} // namespace

const EventHandlers<TaskListModel>& TaskListModel::Handlers() {
    static const EventHandlers<TaskListModel> handlers{
        {EventName::TaskStateChanged, &TaskListModel::OnTaskStateChanged},
        {EventName::TaskCreated, &TaskListModel::OnTaskCreated},
        {EventName::TaskDeleted, &TaskListModel::OnTaskDeleted},
        {EventName::ApplicationSettingsChanged, &TaskListModel::OnAppSettingsChanged},
        {EventName::UpdateProgressChanged, &TaskListModel::OnTaskProgressChanged},
        {EventName::ODSProgressChanged, &TaskListModel::OnTaskProgressChanged},
    };
    return handlers;
}

void TaskListModel::Subscribe() {
    const auto remote = application::AcquireRemoteServiceLocator();
    m_subscription.Open(remote.Get(), u"TaskListModel", Handlers().Filter({}),
                        [this](const Event& event) { return OnEvent(event); });
}

result_t TaskListModel::OnEvent(const Event& event) { return Handlers().Call(*this, event); }

bool TaskListModel::IsTaskByType(const Event& event) const {
    ulk::types::string16_t type;
    if (!ULK_SUCCEEDED(event.GetAdditionalData(AdditionalName::TaskType, type))) {
        ULK_TRACE(Tracer(), ulk::level::Failure) << "there is no field TaskType";
        return false;
    }
    return TypesOfMode().count(type) != 0;
}

result_t TaskListModel::OnTaskCreated(const Event& event) {
    if (!IsTaskByType(event))
        return ulk::sOk;
    const auto id = TaskIdOf(event);
    if (!ULK_CHECK_BOOL_TRACE(Tracer(), id.has_value(), "there is no field TaskId"))
        return ulk::eUnspecified;
    m_taskListToAdd.Push(*id);
    return ulk::sOk;
}

result_t TaskListModel::OnTaskDeleted(const Event& event) {
    if (!IsTaskByType(event))
        return ulk::sOk;
    const auto id = TaskIdOf(event);
    if (!ULK_CHECK_BOOL_TRACE(Tracer(), id.has_value(), "there is no field TaskId"))
        return ulk::eUnspecified;
    m_taskListToDelete.Push(*id);
    return ulk::sOk;
}

result_t TaskListModel::OnTaskStateChanged(const Event& event) {
    const auto id = TaskIdOf(event);
    if (!ULK_CHECK_BOOL_TRACE(Tracer(), id.has_value(), "there is no field TaskId"))
        return ulk::eUnspecified;
    const auto state = TaskStateOf(event);
    if (!ULK_CHECK_BOOL_TRACE(Tracer(), state.has_value(), "there is no field TaskState"))
        return ulk::eUnspecified;
    const ulk::LockGuard lock(m_rowMutex);
    if (!IsTaskByType(event)) {
        ULK_TRACE(Tracer(), ulk::level::Detail) << "scanTasksMode = " << m_scanTasksMode.load();
        return ulk::sOk;
    }
    OneTaskInfo row;
    // The event is newer than what the service answers by the time it is asked.
    if (!FetchRow(*id, row, &*state))
        return ulk::sOk;
    if (*state == TaskState::Stopped)
        row.showFullInfo = true;
    if (*state == TaskState::Stopped || *state == TaskState::Stopping) {
        row.progressValue = ProgressComplete;
        row.isProgressKnown = true;
    }
    m_tasksToChange.Push(std::move(row));
    return ulk::sOk;
}

result_t TaskListModel::OnTaskProgressChanged(const Event& event) {
    const bool isScan = event.type == EventName::ODSProgressChanged;
    if (isScan != m_scanTasksMode) {
        ULK_TRACE(Tracer(), ulk::level::Detail) << "scanTasksMode = " << m_scanTasksMode.load();
        return ulk::sOk;
    }
    const auto id = TaskIdOf(event);
    if (!ULK_CHECK_BOOL_TRACE(Tracer(), id.has_value(), "there is no field TaskId"))
        return ulk::eUnspecified;
    const ulk::LockGuard lock(m_rowMutex);
    if (FindRow(*id) == -1) {
        ULK_TRACE(Tracer(), ulk::level::Failure) << "Cannot find task " << *id;
        return ulk::sOk;
    }
    const auto progress = ProgressOf(event, isScan ? AdditionalName::ODSProgress : AdditionalName::UpdateProgress);
    if (!ULK_CHECK_BOOL_TRACE(Tracer(), progress.has_value(), "there is no field"))
        return ulk::eUnspecified;
    ULK_TRACE(Tracer(), ulk::level::Detail) << "Task " << *id << " progress = " << static_cast<int>(*progress);
    OneTaskInfo row;
    if (!FetchRow(*id, row, nullptr))
        return ulk::sOk;
    row.progressValue = *progress;
    row.isProgressKnown = true;
    m_tasksToChange.PushProgress(std::move(row));
    return ulk::sOk;
}

bool TaskListModel::FetchRow(std::uint64_t id, OneTaskInfo& row, const TaskState::Type* state) {
    const auto remote = application::AcquireRemoteServiceLocator();
    TaskInfo task;
    OnDemandTaskListActions actions;
    if (!ULK_SUCCEEDED(actions.GetTaskInfo(remote.Get(), TaskIdText(id), task))) {
        ULK_TRACE(Tracer(), ulk::level::Failure) << "Cannot get info for task " << id;
        return false;
    }
    if (state != nullptr)
        task.core.state = *state;
    row = TaskConverter::ToOneTaskInfo(remote.Get(), task, m_scanTasksMode);
    return true;
}

result_t TaskListModel::OnAppSettingsChanged(const Event&) {
    const bool allowed = app_settings::IsReportsAllowedForCurrentUser();
    // Properties belong to the GUI thread.
    QMetaObject::invokeMethod(
        this, [this, allowed] { SetReportsAllowed(allowed); }, Qt::QueuedConnection);
    return ulk::sOk;
}

} // namespace tfs::gui
