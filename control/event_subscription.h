// SPDX-License-Identifier: GPL-2.0-or-later
// A command's subscription, as long as it follows what happens.
#pragma once

#include <control/command_context.h>
#include <control/event_queue.h>

#include <string>

namespace tfs::control {

/// On the main thread. The events come by way of the queue.
class EventSubscription {
public:
    /// Throws a Failure that begins with `failure`.
    EventSubscription(const CommandContext& context, const EventFilter& filter, const std::string& failure);
    ~EventSubscription();
    EventSubscription(const EventSubscription&) = delete;
    EventSubscription& operator=(const EventSubscription&) = delete;

    EventQueue& Queue() noexcept { return *m_queue; }

private:
    ulk::Ptr<IEventSubscriber> m_subscriber;
    ulk::Ptr<EventQueue> m_queue;
};

} // namespace tfs::control
