// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/remoting/proxies.h>
#include <platform/remoting/subscription.h>
#include <wire/event_records.h>
#include <wire/text.h>

#include <string>

namespace ulk::remoting {
namespace {

void PostDrop(const std::shared_ptr<ConnectionCore>& core, const std::shared_ptr<Subscription>& subscription) {
    core->Queue().PostFunction([core, subscription] { core->LoopSession().DropSubscription(subscription.get()); });
}

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
        if (!core->AddSubscription(receiver, subscription))
            return eAlreadyDone;

        Nothing nothing;
        const result_t result = Call(
            nothing,
            [subscription, filter, name = std::u16string(name)](auto& client) {
                auto request = client.subscribeRequest();
                request.setReceiver(kj::heap<ReceiverServer>(subscription));
                tfs::wire::Write(filter, request.initFilter());
                request.setName(tfs::wire::AsData(name));
                return request;
            },
            [core, subscription](auto& answer, Nothing&) {
                core->LoopSession().KeepSubscription(subscription.get(), answer.getSubscription());
            });
        if (!ULK_SUCCEEDED(result)) {
            core->TakeSubscription(receiver);
            subscription->Close();
            PostDrop(core, subscription); // the answer may have come just after the deadline
        }
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
        return core->Call(
            nothing,
            [subscription](Session& session) { return session.TakeSubscription(subscription.get()).cancelRequest(); },
            [](auto&, Nothing&) {});
    } catch (...) {
        return tfs::wire::ResultFromCurrentException();
    }
}

} // namespace ulk::remoting
