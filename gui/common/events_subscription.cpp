// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <gui/common/events_subscription.h>
#include <gui/common/exception_text.h>

#include <new>

namespace tfs::gui {

result_t EventSubscription::FinalConstruct() {
    return ULK_CHECK_TRACE(GetTracer(), m_queueEvent.Create(true), "Cannot create queue event");
}

void EventSubscription::FinalRelease() noexcept {
    try {
        Unsubscribe();
    }
    GUI_CATCH_ALL
}

result_t EventSubscription::Subscribe(ulk::IServiceLocator* remoteSl, IGuiEventReceiver* receiver,
                                      const EventFilter& filter) {
    if (m_thread.Exists())
        return ulk::sOk;
    try {
        const result_t result = Begin(remoteSl, receiver, filter);
        if (!ULK_SUCCEEDED(result))
            Unsubscribe();
        return result;
    } catch (...) {
        Unsubscribe();
        throw;
    }
}

result_t EventSubscription::Begin(ulk::IServiceLocator* remoteSl, IGuiEventReceiver* receiver,
                                  const EventFilter& filter) {
    m_receiver = ulk::Ptr<IGuiEventReceiver>(receiver);
    result_t result = ULK_CHECK_TRACE(GetTracer(), m_queueEvent.Create(true), "Cannot create queue event");
    if (!ULK_SUCCEEDED(result))
        return result;
    // Where the service couldn't be told to stop, something may have come since.
    DropQueue();
    result = ULK_CHECK_TRACE(GetTracer(), ulk::GetInterface(remoteSl, m_eventSubscriber.Ref()),
                             "Cannot get IEventSubscriber");
    if (!ULK_SUCCEEDED(result))
        return result;
    result = ULK_CHECK_TRACE(GetTracer(), m_eventSubscriber->Subscribe(this, filter), "Cannot subscribe");
    if (!ULK_SUCCEEDED(result)) {
        // A call whose answer came too late may have been carried out; mostly there is nothing to undo, so that a
        // refusal is no news.
        (void)m_eventSubscriber->Unsubscribe(this);
        m_eventSubscriber.Reset();
        return result;
    }
    // Set here and not in the thread, so that an Unsubscribe that overtakes the new thread isn't undone by it.
    m_running = true;
    return ULK_CHECK_TRACE(GetTracer(), m_thread.Create(&EventSubscription::RunThread, this),
                           "Cannot create event processing thread");
}

result_t EventSubscription::Unsubscribe() {
    if (m_eventSubscriber) {
        (void)ULK_CHECK_TRACE(GetTracer(), m_eventSubscriber->Unsubscribe(this), "Cannot unsubscribe");
        m_eventSubscriber.Reset();
    }
    m_running = false;
    if (m_thread.Exists()) {
        ULK_TRACE(GetTracer(), ulk::level::Detail) << __PRETTY_FUNCTION__ << ": joining the thread";
        m_queueEvent.Set();
        m_thread.Join();
    }
    m_queueEvent.Destroy();
    DropQueue();
    m_receiver.Reset();
    return ulk::sOk;
}

void EventSubscription::DropQueue() {
    const ulk::LockGuard lock(m_queueMutex);
    m_queue.clear();
}

result_t EventSubscription::OnEvent(const Event& event) {
    try {
        const ulk::LockGuard lock(m_queueMutex);
        m_queue.push_back(event);
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    }
    m_queueEvent.Set();
    return ulk::sOk;
}

result_t EventSubscription::GetReceiverName(ulk::types::string16_t& name) const {
    return m_receiver ? m_receiver->GetReceiverName(name) : ulk::eNotInitialized;
}

void EventSubscription::RunThread() {
    const char* const signature = __PRETTY_FUNCTION__;
    ULK_TRACE(GetTracer(), ulk::level::Detail) << signature << ": start";
    ulk::types::vector_t<Event> batch;
    while (m_running) {
        ULK_TRACE(GetTracer(), ulk::level::Detail) << signature << ": step";
        m_queueEvent.Wait();
        ULK_TRACE(GetTracer(), ulk::level::Detail) << signature << ": triggered";
        if (!m_running)
            break;
        {
            const ulk::LockGuard lock(m_queueMutex);
            batch.swap(m_queue);
        }
        ULK_TRACE(GetTracer(), ulk::level::Detail) << signature << ": got " << batch.size() << " events";
        for (const Event& event : batch) {
            try {
                m_receiver->OnEvent(event);
            }
            GUI_CATCH_ALL
        }
        ULK_TRACE(GetTracer(), ulk::level::Detail) << signature << ": done";
        batch.clear();
    }
    ULK_TRACE(GetTracer(), ulk::level::Detail) << signature << ": finished";
}

} // namespace tfs::gui
