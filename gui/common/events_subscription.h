// SPDX-License-Identifier: GPL-2.0-or-later
// One subscription at the service, with the thread that carries its events to a receiver.
#pragma once

#include <contract/tfs/event.h>
#include <foundation/objclient.h>
#include <foundation/sync.h>
#include <gui/common/gui_event_receiver.h>
#include <gui/common/member_thread.h>
#include <gui/common/queue_event.h>

#include <atomic>

namespace tfs::gui {

/// Made through the framework and owned by one EventsProcessor. Subscribe and Unsubscribe belong to the owner's
/// thread; OnEvent comes from the transport's thread and only copies.
class EventSubscription : public ulk::LocatorObject, public IRemoteEventsReceiver {
public:
    using Interfaces = ulk::InterfaceList<IRemoteEventsReceiver>;
    using ulk::LocatorObject::LocatorObject;

    result_t FinalConstruct();
    void FinalRelease() noexcept;

    /// Subscribes and starts the thread. Does nothing while a thread exists; a failure leaves nothing behind, neither
    /// here nor at the service.
    result_t Subscribe(ulk::IServiceLocator* remoteSl, IGuiEventReceiver* receiver, const EventFilter& filter);
    /// The service stops calling before the thread stops. The batch under way is finished, what is still queued is
    /// dropped. Must not be called from a handler.
    result_t Unsubscribe();

    result_t OnEvent(const Event& event) override;
    result_t GetReceiverName(ulk::types::string16_t& name) const override;

private:
    result_t Begin(ulk::IServiceLocator* remoteSl, IGuiEventReceiver* receiver, const EventFilter& filter);
    void DropQueue();
    void RunThread();

    ulk::Mutex m_queueMutex;
    ulk::types::vector_t<Event> m_queue ULK_GUARDED_BY(m_queueMutex);
    std::atomic<bool> m_running{false};
    ulk::Ptr<IEventSubscriber> m_eventSubscriber;
    ulk::Ptr<IGuiEventReceiver> m_receiver;
    QueueEvent m_queueEvent;
    MemberThread m_thread;
};

} // namespace tfs::gui
