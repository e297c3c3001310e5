// SPDX-License-Identifier: GPL-2.0-or-later
// Waiting for the end of a run that a command has started.
#pragma once

#include <control/command_context.h>
#include <control/event_queue.h>
#include <control/task_watch.h>

#include <chrono>
#include <string>

namespace tfs::control {

/// One run, on the main thread. A first request to stop stops the task, a second one ends the waiting.
class TaskWait {
public:
    /// All arguments outlive the object. `name` is the task's, for progress and messages.
    TaskWait(const CommandContext& context, ITfsTaskManager& tasks, EventQueue& events, TaskWatch& watch,
             ulk::types::string16_t name)
        : m_context(context), m_tasks(tasks), m_events(events), m_watch(watch), m_name(std::move(name)) {}

    /// `showProgress`: the reporter is told how far the run has come. Throws Failure: the service went away, or could
    /// not begin the run, or didn't stop it in time.
    void UntilEnd(bool showProgress);

private:
    using Clock = std::chrono::steady_clock;

    void HeedStopRequest();
    /// The service is asked where events are long in coming, so that a lost one can't make us wait for ever.
    bool IsOver();
    void TellProgress();
    ulk::types::string16_t TaskId() const;

    const CommandContext& m_context;
    ITfsTaskManager& m_tasks;
    EventQueue& m_events;
    TaskWatch& m_watch;
    const ulk::types::string16_t m_name;
    bool m_stopAsked = false;
    Clock::time_point m_stopDeadline;
    Clock::time_point m_progressAsked;
};

} // namespace tfs::control
