// SPDX-License-Identifier: GPL-2.0-or-later
// Settings and schedules of tasks, and what follows from a schedule.
#include <service/tasks/fixed_tasks.h>
#include <service/tasks/task_registry.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/task_schedule.h>

#include <utility>

namespace tfs::service::tasks {
namespace {

using tfs::settings::SettingsChangeList;
using ulk::types::any_struct_t;

any_struct_t HolderOf(const TaskSchedule& schedule) {
    any_struct_t holder;
    holder.Set(tools::SettingsOfSchedule(schedule));
    return holder;
}

/// An empty list is a request only where it says so, or where going back to the defaults is the request.
bool IsRequest(const SettingsChangeList& changes, bool toDefault, ValidationMessages& messages) {
    if (!changes.items.empty() || changes.allowEmpty || toDefault)
        return true;
    messages.push_back({"CannotParseSettings", {}});
    return false;
}

} // namespace

template <class Change>
result_t TaskRegistry::ChangeTask(const rpc::Caller& caller, std::u16string_view idOrName, Change change) {
    const ulk::LockGuard lock(m_mutex);
    Task* const task = m_tasks.Find(idOrName);
    if (task == nullptr)
        return ulk::eNotFound;
    if (!MayChangeTask(caller, task->info, m_rules))
        return ulk::eAccessDenied;
    return m_shutDown ? ulk::eInvalidState : change(*task);
}

result_t TaskRegistry::SetSettings(const rpc::Caller& caller, std::u16string_view idOrName,
                                   const SettingsChangeList& changes, bool toDefault, ValidationMessages& messages) {
    messages.clear();
    const result_t result = ChangeTask(caller, idOrName, [&](Task& task) ULK_REQUIRES(m_mutex) {
        return ChangeSettingsOf(task, caller, changes, toDefault, messages);
    });
    return result == ulk::sOk ? SaveNow() : result;
}

result_t TaskRegistry::ChangeSettingsOf(Task& task, const rpc::Caller& caller, const SettingsChangeList& changes,
                                        bool toDefault, ValidationMessages& messages) {
    if (task.info.settings.empty())
        return ulk::eNotSupported;
    if (task.info.state != TaskState::Stopped)
        return ulk::eInvalidState;
    if (!IsRequest(changes, toDefault, messages))
        return sInvalidSettings;
    const any_struct_t byDefault = DefaultSettingsOf(task.info);
    any_struct_t updated;
    const result_t result =
        ChangeSettings(toDefault ? byDefault : task.info.settings, task.info.taskType, changes, messages, updated);
    if (result != ulk::sOk)
        return result;
    if (std::string problem; !task.factory->Accepts(updated, problem)) {
        messages.push_back({"SettingsError1", {ulk::text::ToUtf16Lossy(problem)}});
        return sInvalidSettings;
    }
    auto text = tools::ListSettings(nullptr, updated);
    task.hasOwnSettings = task.info.isTemporary || text != tools::ListSettings(nullptr, byDefault);
    const std::string changed = DescribeChanges(task.settingsText, text);
    const bool isNew = text != task.settingsText;
    task.info.settings = std::move(updated);
    task.settingsText = std::move(text);
    if (isNew)
        m_publisher.Post(MakeSettingsChanged(IdentityOf(task), InitiatorOf(caller), changed));
    return ulk::sOk;
}

result_t TaskRegistry::SetSchedule(const rpc::Caller& caller, std::u16string_view idOrName,
                                   const SettingsChangeList& changes, bool toDefault, ValidationMessages& messages) {
    messages.clear();
    const result_t result = ChangeTask(caller, idOrName, [&](Task& task) ULK_REQUIRES(m_mutex) {
        return ChangeScheduleOf(task, caller, changes, toDefault, messages);
    });
    if (result != ulk::sOk)
        return result;
    if (m_scheduleChanged)
        m_scheduleChanged();
    return SaveNow();
}

result_t TaskRegistry::ChangeScheduleOf(Task& task, const rpc::Caller& caller, const SettingsChangeList& changes,
                                        bool toDefault, ValidationMessages& messages) {
    if (task.info.isTemporary || !TraitsOf(task.info.taskType).hasSchedule)
        return ulk::eNotSupported;
    if (!IsRequest(changes, toDefault, messages))
        return sInvalidSettings;
    const any_struct_t current = HolderOf(toDefault ? DefaultSchedule(task.info.taskType) : task.schedule);
    any_struct_t updated;
    const result_t result = ChangeSettings(current, task.info.taskType, changes, messages, updated);
    if (result != ulk::sOk)
        return result;
    TaskSchedule schedule;
    if (!ULK_SUCCEEDED(tools::ScheduleOfSettings(*updated.Get<ScheduleSettings>(), schedule, messages)))
        return sInvalidSettings;
    schedule.text = ulk::text::ToUtf16Lossy(tools::PrintSchedule(schedule));
    if (schedule == task.schedule)
        return ulk::sOk;
    task.schedule = std::move(schedule);
    task.scheduleServed = Now(); // times before now were another schedule's
    m_publisher.Post(MakeScheduleChanged(IdentityOf(task), InitiatorOf(caller),
                                         DescribeChanges({}, tools::ListSettings(nullptr, HolderOf(task.schedule)))));
    return ulk::sOk;
}

std::vector<ScheduledTask> TaskRegistry::Schedules() const {
    const ulk::LockGuard lock(m_mutex);
    std::vector<ScheduledTask> list;
    for (const auto& [id, task] : m_tasks)
        if (task.schedule.mode != types::ScheduleMode::Manual)
            list.push_back({id, task.schedule, task.scheduleServed});
    return list;
}

void TaskRegistry::StartScheduled(std::uint64_t taskId) {
    const ulk::LockGuard lock(m_mutex);
    Task* task = m_tasks.Find(taskId);
    if (task == nullptr)
        return;
    const result_t result = CanStartNow(*task) ? StartRun(*task, Initiator::OfScheduler()) : ulk::eInvalidState;
    if (!ULK_SUCCEEDED(result)) {
        ULK_TRACE(m_tracer.Get(), ulk::level::Notable)
            << "Scheduled start of task " << task->info.taskName << " passed over: " << ulk::ResultText(result);
    }
}

void TaskRegistry::NoteServed(const ScheduledTask& served, std::int64_t upTo) {
    const ulk::LockGuard lock(m_mutex);
    Task* task = m_tasks.Find(served.taskId);
    if (task == nullptr || task->schedule != served.schedule || task->scheduleServed != served.served)
        return;
    task->scheduleServed = upTo;
    PostSave();
}

} // namespace tfs::service::tasks
