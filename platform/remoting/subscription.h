// SPDX-License-Identifier: GPL-2.0-or-later
// A receiver of events on this side, and the capability through which the service reaches it.
#pragma once

#include <contract/tfs/event.h>
#include <foundation/sync.h>
#include <foundation/trace.h>
#include <wire/tesl.capnp.h>

#include <condition_variable>
#include <memory>
#include <thread>

namespace ulk::remoting {

/// Shared by the loop, which delivers, and by whoever ends the subscription. Holds a reference to the receiver until
/// it is closed.
class Subscription {
public:
    Subscription(tfs::IRemoteEventsReceiver* receiver, Ptr<ITracer> tracer);

    /// The loop's thread. Hands the event over unless the subscription is closed; an exception is traced.
    void Deliver(const tfs::Event& event) noexcept;
    /// Any thread. When it returns no delivery is running or will run, but for the one that calls it from inside
    /// itself.
    void Close() noexcept;

private:
    const Ptr<ITracer> m_tracer;
    Mutex m_mutex;
    std::condition_variable_any m_idle;
    Ptr<tfs::IRemoteEventsReceiver> m_receiver ULK_GUARDED_BY(m_mutex);
    std::thread::id m_delivering ULK_GUARDED_BY(m_mutex);
};

/// The capability that the service calls. On the loop's thread.
class ReceiverServer final : public tfs::wire::schema::EventReceiver::Server {
public:
    explicit ReceiverServer(std::shared_ptr<Subscription> subscription) : m_subscription(std::move(subscription)) {}

private:
    kj::Promise<void> onEvents(OnEventsContext context) override;

    std::shared_ptr<Subscription> m_subscription;
};

} // namespace ulk::remoting
