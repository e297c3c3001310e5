// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/task_table.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace tfs::service::tasks {
namespace {

template <class Map>
auto FindIn(Map& tasks, std::u16string_view idOrName) noexcept -> decltype(&tasks.begin()->second) {
    const std::uint64_t number = NumberIn(idOrName);
    if (const auto found = tasks.find(number); number != 0 && found != tasks.end())
        return &found->second;
    for (auto& [id, task] : tasks)
        if (std::u16string_view(task.info.taskName) == idOrName)
            return &task;
    return nullptr;
}

} // namespace

TaskIdentity IdentityOf(const Task& task) {
    return {task.info.taskId, task.info.taskName, task.info.taskType, task.runId};
}

KeptTask KeptFormOf(const Task& task) {
    KeptTask kept;
    kept.taskId = task.info.taskId;
    kept.taskName = task.info.taskName;
    kept.taskType = task.info.taskType;
    if (task.info.isTemporary && task.info.owner)
        kept.owner = KeptOwner{task.info.owner->uid, task.ownerIsAdministrator};
    if (task.hasOwnSettings)
        kept.settings = task.settingsText;
    if (!task.info.isTemporary)
        kept.schedule = task.schedule;
    kept.scheduleServed = task.scheduleServed;
    kept.run = task.unended;
    kept.stoppedByUser = task.stoppedByUser;
    return kept;
}

std::uint64_t NumberIn(std::u16string_view text) noexcept {
    constexpr std::uint64_t Greatest = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t number = 0;
    for (const char16_t unit : text) {
        if (unit < u'0' || unit > u'9')
            return 0;
        const auto digit = static_cast<std::uint64_t>(unit - u'0');
        if (number > (Greatest - digit) / 10)
            return 0;
        number = number * 10 + digit;
    }
    return number;
}

Task* TaskTable::Find(std::u16string_view idOrName) noexcept { return FindIn(m_tasks, idOrName); }

const Task* TaskTable::Find(std::u16string_view idOrName) const noexcept { return FindIn(m_tasks, idOrName); }

Task* TaskTable::Find(std::uint64_t taskId) noexcept {
    const auto found = m_tasks.find(taskId);
    return found == m_tasks.end() ? nullptr : &found->second;
}

Task& TaskTable::Add(Task task) {
    const std::uint64_t taskId = task.info.taskId;
    return m_tasks.insert_or_assign(taskId, std::move(task)).first->second;
}

bool TaskTable::HasRoomFor(std::uint32_t uid, const Limits& limits, std::uint64_t& toRemove) const noexcept {
    toRemove = 0;
    std::size_t own = 0;
    std::size_t all = 0;
    for (const auto& [id, task] : m_tasks) {
        if (!task.info.isTemporary)
            continue;
        ++all;
        if (task.info.owner->uid != uid)
            continue;
        ++own;
        if (toRemove == 0 && task.info.state == types::TaskState::Stopped &&
            Task::Clock::now() - task.made >= limits.unusedLifetime)
            toRemove = id;
    }
    if (own < limits.ofUser && all < std::max(limits.ofAll, limits.ofUser)) {
        toRemove = 0;
        return true;
    }
    return toRemove != 0 && own <= limits.ofUser;
}

} // namespace tfs::service::tasks
