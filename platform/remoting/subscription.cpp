// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/remoting/subscription.h>
#include <wire/event_records.h>

namespace ulk::remoting {

Subscription::Subscription(tfs::IRemoteEventsReceiver* receiver, Ptr<ITracer> tracer)
    : m_tracer(std::move(tracer)), m_receiver(receiver) {}

void Subscription::Deliver(const tfs::Event& event) noexcept {
    Ptr<tfs::IRemoteEventsReceiver> receiver;
    {
        LockGuard lock(m_mutex);
        if (!m_receiver)
            return;
        receiver = m_receiver;
        m_delivering = std::this_thread::get_id();
    }
    try {
        if (const result_t result = receiver->OnEvent(event); !ULK_SUCCEEDED(result)) {
            ULK_TRACE(m_tracer.Get(), level::Notable) << "remoting: a receiver answered " << ResultText(result);
        }
    } catch (const std::exception& e) {
        ULK_TRACE(m_tracer.Get(), level::Failure) << "remoting: a receiver failed: " << e.what();
    } catch (...) {
        ULK_TRACE(m_tracer.Get(), level::Failure) << "remoting: a receiver failed";
    }
    receiver.Reset();
    {
        LockGuard lock(m_mutex);
        m_delivering = std::thread::id();
    }
    m_idle.notify_all();
}

void Subscription::Close() noexcept {
    Ptr<tfs::IRemoteEventsReceiver> dropped;
    LockGuard lock(m_mutex);
    std::swap(dropped, m_receiver);
    while (m_delivering != std::thread::id() && m_delivering != std::this_thread::get_id())
        m_idle.wait(lock);
    lock.unlock();
}

kj::Promise<void> ReceiverServer::onEvents(OnEventsContext context) {
    tfs::Event event;
    for (const auto& item : context.getParams().getEvents()) {
        tfs::wire::Read(item, event);
        m_subscription->Deliver(event);
    }
    return kj::READY_NOW;
}

} // namespace ulk::remoting
