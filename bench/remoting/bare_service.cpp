// SPDX-License-Identifier: GPL-2.0-or-later
// What streaming calls carry when there is nothing to do but make them: the events were put into batches for each
// filter before, and no lock, filter or store stands between them and the call.
#include <wire/event_records.h>

#include <bench/remoting/bench_events.h>
#include <bench/remoting/bench_service.h>
#include <bench/remoting/measured.h>
#include <capnp/message.h>
#include <capnp/rpc-twoparty.h>
#include <kj/async-io.h>
#include <map>
#include <memory>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tfs::bench {
namespace {

namespace schema = wire::schema;
using Batch = capnp::List<schema::Event>;

constexpr std::size_t BatchBytes = 32 * 1024;
/// Sent again and again up to EventCount; too many for the processor's caches.
constexpr unsigned PreparedEvents = 10'000;
static_assert(EventCount % PreparedEvents == 0);

class PreparedBatches {
public:
    explicit PreparedBatches(const EventFilter& filter) {
        std::vector<Event> events;
        std::size_t bytes = 0;
        for (unsigned number = 1; number <= PreparedEvents; ++number) {
            Event event = EventOfNumber(number);
            if (!filter.Passes(event))
                continue;
            bytes += wire::EstimateSize(event);
            events.push_back(std::move(event));
            if (bytes >= BatchBytes)
                Close(events, bytes);
        }
        if (!events.empty())
            Close(events, bytes);
    }
    std::size_t Size() const { return m_messages.size(); }
    Batch::Reader operator[](std::size_t index) { return m_messages[index]->getRoot<Batch>().asReader(); }
    capnp::MessageSize RequestSize(std::size_t index) const { return {m_messages[index]->sizeInWords() + 16, 0}; }

private:
    void Close(std::vector<Event>& events, std::size_t& bytes) {
        auto& message = m_messages.emplace_back(std::make_unique<capnp::MallocMessageBuilder>());
        wire::WriteList(events, message->initRoot<Batch>(static_cast<capnp::uint>(events.size())));
        events.clear();
        bytes = 0;
    }

    std::vector<std::unique_ptr<capnp::MallocMessageBuilder>> m_messages;
};

class BareSubscriber {
public:
    BareSubscriber(PreparedBatches& batches, schema::EventReceiver::Client receiver)
        : m_batches(batches), m_receiver(kj::mv(receiver)) {}
    void Begin() {
        m_run = kj::evalLater([this] { return Push(); }).eagerlyEvaluate([](kj::Exception&&) {});
    }

private:
    kj::Promise<void> Push() {
        if (m_sent == m_batches.Size() * (EventCount / PreparedEvents))
            return kj::READY_NOW;
        const std::size_t index = m_sent++ % m_batches.Size();
        auto request = m_receiver.onEventsRequest(m_batches.RequestSize(index));
        request.setEvents(m_batches[index]);
        return request.send().then([this] { return Push(); });
    }

    PreparedBatches& m_batches;
    schema::EventReceiver::Client m_receiver;
    std::size_t m_sent = 0;
    kj::Promise<void> m_run = nullptr;
};

/// Both interfaces in one object, since there is no locator.
class BareServer final : public virtual schema::TaskManager::Server, public virtual schema::EventSubscriber::Server {
public:
    kj::Promise<void> startTask(StartTaskContext context) override {
        context.getResults().setResult(ulk::sOk);
        return kj::READY_NOW;
    }
    kj::Promise<void> subscribe(SubscribeContext context) override {
        // All subscriptions are made before anything is sent: what there is belongs to the measurement before.
        if (m_hasBegun)
            m_subscribers.clear();
        m_hasBegun = false;
        EventFilter filter;
        wire::Read(context.getParams().getFilter(), filter);
        auto& batches = m_batches[filter.eventTypes.size()];
        if (!batches)
            batches = std::make_unique<PreparedBatches>(filter);
        m_subscribers.push_back(kj::heap<BareSubscriber>(*batches, context.getParams().getReceiver()));
        return kj::READY_NOW;
    }
    DispatchCallResult dispatchCall(std::uint64_t interfaceId, std::uint16_t methodId,
                                    capnp::CallContext<capnp::AnyPointer, capnp::AnyPointer> context) override {
        if (interfaceId == capnp::typeId<schema::TaskManager>())
            return schema::TaskManager::Server::dispatchCallInternal(methodId, context);
        return schema::EventSubscriber::Server::dispatchCallInternal(methodId, context);
    }
    void Begin() {
        m_hasBegun = true;
        for (auto& subscriber : m_subscribers)
            subscriber->Begin();
    }

private:
    std::map<std::size_t, std::unique_ptr<PreparedBatches>> m_batches;
    std::vector<kj::Own<BareSubscriber>> m_subscribers;
    bool m_hasBegun = false;
};

} // namespace

int RunBareService(const char* socketPath) {
    auto io = kj::setupAsyncIo();
    auto served = kj::heap<BareServer>();
    BareServer& bare = *served;
    auto address = io.provider->getNetwork().parseAddress(kj::str("unix:", socketPath)).wait(io.waitScope);
    auto listener = address->listen();
    capnp::TwoPartyServer server(kj::mv(served));
    const kj::Executor& executor = kj::getCurrentThreadExecutor();
    std::thread commands([&] {
        char command = 0;
        while (::read(STDIN_FILENO, &command, 1) == 1) {
            if (static_cast<Command>(command) == Command::Prepare)
                SayReady(); // the first subscription with a filter did it
            else
                executor.executeSync([&bare] { bare.Begin(); });
        }
        ::_exit(0);
    });
    SayReady();
    server.listen(*listener).wait(io.waitScope);
    commands.join();
    return 0;
}

} // namespace tfs::bench
