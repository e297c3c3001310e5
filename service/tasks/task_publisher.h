// SPDX-License-Identifier: GPL-2.0-or-later
// Publishes the events of tasks in the order in which they were posted.
#pragma once

#include <service/store/event_feed.h>
#include <service/tasks/job_queue.h>
#include <service/tasks/user_names.h>

namespace tfs::service::tasks {

/// A part of the task registry. Any thread.
class TaskPublisher {
public:
    explicit TaskPublisher(store::IEventPublisher& publisher) : m_publisher(publisher) {}

    /// Never waits. The name of the event's user is filled in.
    void Post(Event event);
    /// Behind all that was posted; returns when it is done.
    void Publish(Event event);
    void PublishTransient(Event event);
    void Flush() { m_jobs.Flush(); }

    UserNames& Names() noexcept { return m_names; }
    /// For what has to ask the system for a name; between the events.
    JobQueue& Jobs() noexcept { return m_jobs; }

private:
    void NameUser(Event& event);

    store::IEventPublisher& m_publisher;
    UserNames m_names;
    JobQueue m_jobs; ///< last, so that its thread ends first
};

} // namespace tfs::service::tasks
