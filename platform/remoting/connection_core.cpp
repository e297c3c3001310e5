// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <platform/remoting/connection_core.h>
#include <platform/remoting/subscription.h>

#include <new>

namespace ulk::remoting {

ConnectionCore::ConnectionCore(ConnectionLimits limits, Ptr<ITracer> tracer)
    : m_limits(std::move(limits)), m_tracer(std::move(tracer)) {}

Session& ConnectionCore::LoopSession() {
    if (m_session == nullptr)
        throw ResultCodeException(__FILE__, __LINE__, eNotReady);
    return *m_session;
}

std::shared_ptr<void> ConnectionCore::TakePlace() {
    if (m_callsInFlight.fetch_add(1, std::memory_order_relaxed) >= m_limits.callsInFlight) {
        m_callsInFlight.fetch_sub(1, std::memory_order_relaxed);
        return nullptr;
    }
    return std::shared_ptr<void>(
        this, [core = shared_from_this()](void*) { core->m_callsInFlight.fetch_sub(1, std::memory_order_relaxed); });
}

result_t ConnectionCore::Resolve(iid_t iid) noexcept {
    {
        LockGuard lock(m_mutex);
        if (m_resolved.count(iid) != 0)
            return IsAlive() ? sOk : eNotReady;
    }
    Nothing nothing;
    const result_t result = Call(
        nothing,
        [iid](Session& session) {
            auto request = session.Locator().getInterfaceRequest();
            request.setId(iid);
            return request;
        },
        [iid, core = shared_from_this()](auto& answer, Nothing&) {
            core->LoopSession().Keep(iid, answer.getObject());
        });
    if (!ULK_SUCCEEDED(result))
        return result;
    try {
        LockGuard lock(m_mutex);
        m_resolved.insert(iid);
    } catch (const std::bad_alloc&) { // the next look-up asks the service again
    }
    return result;
}

bool ConnectionCore::AddSubscription(tfs::IRemoteEventsReceiver* receiver,
                                     const std::shared_ptr<Subscription>& subscription) {
    LockGuard lock(m_mutex);
    return m_subscriptions.emplace(receiver, subscription).second;
}

std::shared_ptr<Subscription> ConnectionCore::TakeSubscription(tfs::IRemoteEventsReceiver* receiver) {
    LockGuard lock(m_mutex);
    auto node = m_subscriptions.extract(receiver);
    return node.empty() ? nullptr : std::move(node.mapped());
}

void ConnectionCore::DropSubscriptions() noexcept {
    std::map<tfs::IRemoteEventsReceiver*, std::shared_ptr<Subscription>> dropped;
    {
        LockGuard lock(m_mutex);
        dropped.swap(m_subscriptions);
    }
    for (const auto& [receiver, subscription] : dropped)
        subscription->Close();
}

} // namespace ulk::remoting
