// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/remoting/proxies.h>
#include <platform/remoting/subscription.h>
#include <wire/event_records.h>
#include <wire/text.h>

#include <new>
#include <string>
#include <utility>

namespace ulk::remoting {
namespace {

void PostDrop(const std::shared_ptr<ConnectionCore>& core, const std::shared_ptr<Subscription>& subscription) {
    core->Queue().PostFunction([core, subscription] { core->LoopSession().DropSubscription(subscription.get()); });
}

/// A receiver's place among the connection's subscriptions; taken back unless it is kept, however the scope is left.
class Enrolment {
public:
    Enrolment(std::shared_ptr<ConnectionCore> core, tfs::IRemoteEventsReceiver* receiver,
              std::shared_ptr<Subscription> subscription)
        : m_core(std::move(core)), m_receiver(receiver), m_subscription(std::move(subscription)),
          m_holds(m_core->AddSubscription(m_receiver, m_subscription)) {}
    ~Enrolment() {
        if (!m_holds)
            return;
        m_core->TakeSubscription(m_receiver);
        m_subscription->Close();
        try {
            PostDrop(m_core, m_subscription); // the answer may have come just after the deadline
        } catch (const std::bad_alloc&) {     // the service sends to a closed subscription until the connection goes
        }
    }
    Enrolment(const Enrolment&) = delete;
    Enrolment& operator=(const Enrolment&) = delete;

    explicit operator bool() const noexcept { return m_holds; }
    void Keep() noexcept { m_holds = false; }

private:
    const std::shared_ptr<ConnectionCore> m_core;
    tfs::IRemoteEventsReceiver* const m_receiver;
    const std::shared_ptr<Subscription> m_subscription;
    bool m_holds;
};

} // namespace

result_t EventSubscriberProxy::Subscribe(tfs::IRemoteEventsReceiver* receiver, const tfs::EventFilter& filter) {
    if (receiver == nullptr)
        return eInvalidArgument;
    try {
        types::string16_t name;
        if (const result_t named = receiver->GetReceiverName(name); !ULK_SUCCEEDED(named))
            return named;
        const auto core = Core();
        const auto subscription = std::make_shared<Subscription>(receiver, Ptr<ITracer>(core->Tracer()));
        Enrolment enrolment(core, receiver, subscription);
        if (!enrolment)
            return eAlreadyDone;

        Nothing nothing;
        const result_t result = Call(
            nothing,
            [subscription, filter = filter, name = std::u16string(name)](auto& client) {
                auto request = client.subscribeRequest();
                request.setReceiver(kj::heap<ReceiverServer>(subscription));
                tfs::wire::Write(filter, request.initFilter());
                request.setName(tfs::wire::AsData(name));
                return request;
            },
            [core, subscription](auto& answer, Nothing&) {
                core->LoopSession().KeepSubscription(subscription.get(), answer.getSubscription());
            });
        if (ULK_SUCCEEDED(result))
            enrolment.Keep();
        return result;
    } catch (...) {
        return tfs::wire::ResultFromCurrentException();
    }
}

result_t EventSubscriberProxy::Unsubscribe(tfs::IRemoteEventsReceiver* receiver) {
    try {
        const auto core = Core();
        const auto subscription = core->TakeSubscription(receiver);
        if (!subscription)
            return core->IsAlive() ? eNotFound : eNotReady;
        subscription->Close();
        if (core->Queue().IsCurrent()) {
            // Inside a delivery there is no waiting for an answer; dropping the handle ends the subscription too.
            PostDrop(core, subscription);
            return sOk;
        }
        Nothing nothing;
        const result_t result = core->Call(
            nothing,
            [subscription](Session& session) { return session.TakeSubscription(subscription.get()).cancelRequest(); },
            [](auto&, Nothing&) {});
        if (!ULK_SUCCEEDED(result))
            PostDrop(core, subscription); // the call may not have been made at all
        return result;
    } catch (...) {
        return tfs::wire::ResultFromCurrentException();
    }
}

} // namespace ulk::remoting
