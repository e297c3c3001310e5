// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/task_publisher.h>

#include <utility>

namespace tfs::service::tasks {

void TaskPublisher::NameUser(Event& event) {
    if (event.initiatorUser && event.initiatorUser->userName.empty())
        event.initiatorUser->userName = m_names.Resolve(event.initiatorUser->uid);
}

void TaskPublisher::Post(Event event) {
    m_jobs.Post([this, event = std::move(event)]() mutable {
        NameUser(event);
        m_publisher.Publish(std::move(event));
    });
}

void TaskPublisher::Publish(Event event) {
    m_jobs.Flush();
    NameUser(event);
    m_publisher.Publish(std::move(event));
}

void TaskPublisher::PublishTransient(Event event) {
    m_jobs.Flush();
    m_publisher.PublishTransient(std::move(event));
}

} // namespace tfs::service::tasks
