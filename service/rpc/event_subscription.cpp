// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/event_hub.h>
#include <service/rpc/event_subscription.h>
#include <service/rpc/objects.h>
#include <service/rpc/report_rights.h>
#include <service/rpc/trace_caller.h>
#include <wire/event_records.h>
#include <wire/text.h>

#include <algorithm>
#include <utility>

namespace tfs::service::rpc {
namespace {

constexpr std::size_t ReadLimit = 128;        // items of the ring in one turn of the loop
constexpr std::size_t PageLimit = 256;        // stored events read at a time
constexpr std::size_t BatchBytes = 32 * 1024; // a batch is closed when it has got this large
constexpr unsigned FailedReadsLimit = 5;
constexpr std::size_t FilterEntriesLimit = 1024;

} // namespace

EventSubscription::EventSubscription(const std::shared_ptr<ConnectionContext>& context, EventFilter filter,
                                     wire::schema::EventReceiver::Client receiver)
    : m_context(context), m_filter(std::move(filter)), m_receiver(kj::mv(receiver)) {
    const store::FeedPosition end = m_context->hub.Feed().End();
    m_sequence = end.nextSequence;
    m_lastId = end.lastStoredId;
}

void EventSubscription::Begin() {
    m_context->subscriptions.insert(this);
    m_context->hub.Add(*this);
    m_run = kj::evalLater([this] { return Step(); }).eagerlyEvaluate([this](kj::Exception&& e) {
        // A client that went on without its events would show stale pages for ever: let it connect anew.
        ULK_TRACE(m_context->hub.Tracer(), ulk::level::Notable)
            << "rpc: a subscription ended: " << e.getDescription().cStr();
        m_context->connection->End("a subscription of it broke");
    });
}

EventSubscription::~EventSubscription() { End(); }

void EventSubscription::End() {
    if (m_hasEnded)
        return;
    m_hasEnded = true;
    m_catchUp.reset();
    m_context->hub.Remove(*this);
    m_context->subscriptions.erase(this);
    m_run = nullptr;
    m_waiting = nullptr;
    // Not here: a client can see to it that this very object ends in the middle of something that the receiver does.
    m_context->hub.LetGoLater(kj::mv(m_receiver));
}

void EventSubscription::Wake() {
    m_context->hub.AssertThread();
    m_published = true;
    KJ_IF_MAYBE (waiting, m_waiting) {
        auto fulfiller = kj::mv(*waiting);
        m_waiting = nullptr;
        fulfiller->fulfill();
    }
}

kj::Promise<void> EventSubscription::WaitForEvents() {
    if (m_published)
        return kj::READY_NOW;
    auto pair = kj::newPromiseAndFulfiller<void>();
    m_waiting = kj::mv(pair.fulfiller);
    return kj::mv(pair.promise);
}

std::size_t EventSubscription::Take(const Event& event) {
    if (event.id > 0) {
        if (event.id <= m_lastId)
            return 0; // seen in the store already
        m_lastId = event.id;
    }
    if (!m_filter.Passes(event))
        return 0;
    const Event* told = &event;
    // Asked anew for each event: the setting may change while one subscribes.
    if (!m_context->api.AreReportsAllowed(m_context->caller) && !IsOwn(event, m_context->caller))
        told = &m_shortened.emplace_back(WithoutReport(event));
    m_batch.push_back(told);
    return wire::EstimateSize(*told);
}

kj::Promise<void> EventSubscription::Step() {
    m_context->hub.AssertThread();
    if (m_context->connection->IsCongested())
        return m_context->connection->OnWritten().then([this] { return Step(); });
    m_published = false;
    m_items.clear();
    if (!m_context->hub.Feed().Read(m_sequence, ReadLimit, m_items))
        return CatchUp().then([this] { return Step(); });
    if (m_items.empty())
        return WaitForEvents().then([this] { return Step(); });
    std::size_t bytes = 0;
    for (const store::FeedItem& item : m_items) {
        if (bytes >= BatchBytes)
            break;
        m_sequence = item.sequence + 1;
        bytes += Take(*item.event);
    }
    return SendBatch(bytes).then([this] { return Step(); });
}

kj::Promise<void> EventSubscription::SendBatch(std::size_t bytes) {
    if (m_batch.empty())
        return kj::evalLater([] {}); // others get their turn
    while (!m_batch.empty()) {
        auto request = m_receiver.onEventsRequest(capnp::MessageSize{bytes / sizeof(capnp::word) * 2 + 64, 0});
        auto list = request.initEvents(static_cast<capnp::uint>(m_batch.size()));
        if (!WriteBatch(list))
            continue;
        m_batch.clear();
        m_shortened.clear();
        m_items.clear();
        return request.send();
    }
    m_shortened.clear();
    m_items.clear();
    return kj::evalLater([] {});
}

bool EventSubscription::WriteBatch(capnp::List<wire::schema::Event>::Builder list) {
    for (std::size_t i = 0; i < m_batch.size(); ++i) {
        try {
            wire::Write(*m_batch[i], list[static_cast<capnp::uint>(i)]);
        } catch (const std::exception& e) {
            ULK_TRACE(m_context->hub.Tracer(), ulk::level::Failure)
                << "rpc: event " << m_batch[i]->id << " can't be sent and is left out: " << e.what();
            m_batch.erase(m_batch.begin() + static_cast<std::ptrdiff_t>(i));
            return false;
        }
    }
    return true;
}

kj::Promise<void> EventSubscription::CatchUp() {
    const store::FeedPosition end = m_context->hub.Feed().End();
    m_catchUp.emplace(m_context->hub);
    return CatchUpTo(end.lastStoredId).then([this, end] {
        m_catchUp.reset();
        m_sequence = end.nextSequence;
    });
}

kj::Promise<void> EventSubscription::CatchUpTo(Event::IdType lastId) {
    if (m_lastId >= lastId)
        return kj::READY_NOW;
    return m_context->hub.ReadStored(m_lastId, lastId, PageLimit)
        .then([this, lastId](SharedPage page) -> kj::Promise<void> {
            if (!ULK_SUCCEEDED(page->result) && ++m_failedReads < FailedReadsLimit)
                return m_context->hub.Timer().afterDelay(1 * kj::SECONDS).then([this, lastId] {
                    return CatchUpTo(lastId);
                });
            if (!ULK_SUCCEEDED(page->result) || page->events.empty()) {
                if (!ULK_SUCCEEDED(page->result)) {
                    ULK_TRACE(m_context->hub.Tracer(), ulk::level::Failure)
                        << "rpc: events are lost to a subscriber, the store can't be read: "
                        << ulk::ResultText(page->result);
                }
                m_failedReads = 0;
                m_lastId = lastId;
                return kj::READY_NOW;
            }
            m_failedReads = 0;
            const auto first = std::ranges::upper_bound(page->events, m_lastId, {}, &Event::id);
            const auto from = static_cast<std::size_t>(first - page->events.begin());
            return SendPage(std::move(page), from).then([this, lastId] { return CatchUpTo(lastId); });
        });
}

kj::Promise<void> EventSubscription::SendPage(SharedPage page, std::size_t from) {
    if (m_context->connection->IsCongested())
        return m_context->connection->OnWritten().then([this, page, from] { return SendPage(page, from); });
    std::size_t bytes = 0;
    while (from < page->events.size() && bytes < BatchBytes) {
        bytes += Take(page->events[from++]);
    }
    auto sent = SendBatch(bytes);
    if (from == page->events.size())
        return sent;
    return sent.then([this, page, from] { return SendPage(page, from); });
}

SubscriptionObject::SubscriptionObject(const std::shared_ptr<ConnectionContext>& context, EventFilter filter,
                                       wire::schema::EventReceiver::Client receiver)
    : ServiceObject(Methods(), context->caller),
      m_subscription(std::make_unique<EventSubscription>(context, std::move(filter), kj::mv(receiver))) {
    m_subscription->Begin();
}

std::span<const Method> SubscriptionObject::Methods() noexcept {
    static constexpr Method Table[] = {
        Method::Of<Schema, &SubscriptionObject::Cancel>(0, "cancel", Privilege::Anyone),
    };
    return Table;
}

result_t SubscriptionObject::Cancel(Schema::CancelParams::Reader, Schema::CancelResults::Builder) {
    m_subscription.reset();
    return ulk::sOk;
}

std::span<const Method> EventSubscriberObject::Methods() noexcept {
    static constexpr Method Table[] = {
        Method::Of<Schema, &EventSubscriberObject::Subscribe>(0, "subscribe", Privilege::Anyone),
    };
    return Table;
}

result_t EventSubscriberObject::Subscribe(Schema::SubscribeParams::Reader params,
                                          Schema::SubscribeResults::Builder results) {
    if (m_context->connection == nullptr)
        return ulk::eNotReady;
    if (m_context->subscriptions.size() >= m_context->subscriptionsLimit)
        return ulk::eInsufficientResources;
    const auto given = params.getFilter();
    if (!params.hasReceiver() || given.getEventTypes().size() > FilterEntriesLimit ||
        given.getExcludedEventTypes().size() > FilterEntriesLimit || given.getTaskTypes().size() > FilterEntriesLimit)
        return ulk::eInvalidArgument;
    EventFilter filter;
    wire::Read(given, filter);
    TraceCaller(*m_context, "subscribes as", wire::ReadText(params.getName()));
    results.setSubscription(
        capnp::Capability::Client(kj::heap<SubscriptionObject>(m_context, std::move(filter), params.getReceiver()))
            .castAs<wire::schema::EventSubscription>());
    return ulk::sOk;
}

} // namespace tfs::service::rpc
