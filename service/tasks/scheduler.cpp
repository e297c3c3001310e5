// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/schedule.h>
#include <service/tasks/scheduler.h>

#include <algorithm>
#include <ctime>
#include <exception>
#include <utility>

namespace tfs::service::tasks {

void Scheduler::Start() {
    m_thread = std::thread([this] { Run(); });
}

void Scheduler::Stop() noexcept {
    if (!m_thread.joinable())
        return;
    m_stopping.store(true);
    m_clock.Wake();
    m_thread.join();
}

void Scheduler::Run() {
    constexpr std::int64_t RetryAfter = 10; // seconds
    bool atStart = true;
    while (!m_stopping.load()) {
        std::optional<std::int64_t> next;
        try {
            if (std::exchange(atStart, false))
                StartAtStart();
            next = ServeDue();
        } catch (const std::exception&) { // memory is short; what is due stays due
            next = m_clock.Now() + RetryAfter;
        }
        if (!m_stopping.load())
            m_clock.WaitUntil(next);
    }
}

void Scheduler::StartAtStart() {
    for (const ScheduledTask& task : m_tasks.Schedules())
        if (task.schedule.mode == types::ScheduleMode::AtStart)
            m_tasks.StartScheduled(task.taskId);
}

std::optional<std::int64_t> Scheduler::ServeDue() {
    ::tzset(); // the machine may have been moved to another zone
    std::optional<std::int64_t> next;
    const std::int64_t now = m_clock.Now();
    for (const ScheduledTask& task : m_tasks.Schedules()) {
        const DueStart due = WhatIsDue(task.schedule, task.served, now);
        if (due.served != task.served)
            m_tasks.NoteServed(task, due.served);
        if (due.start)
            m_tasks.StartScheduled(task.taskId);
        if (due.next)
            next = std::min(next.value_or(*due.next), *due.next);
    }
    return next;
}

} // namespace tfs::service::tasks
