// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/event_subscription.h>

namespace tfs::control {

EventSubscription::EventSubscription(const CommandContext& context, const EventFilter& filter,
                                     const std::string& failure)
    : m_subscriber(Service<IEventSubscriber>(context)), m_queue(ulk::Ptr<EventQueue>::Adopt(new EventQueue)) {
    ThrowIfFailed(m_subscriber->Subscribe(m_queue.Get(), filter), failure);
}

EventSubscription::~EventSubscription() { m_subscriber->Unsubscribe(m_queue.Get()); }

} // namespace tfs::control
