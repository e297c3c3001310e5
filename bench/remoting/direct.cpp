// SPDX-License-Identifier: GPL-2.0-or-later
// The same thread arrangement with nothing but Cap'n Proto: the caller waits on the loop's executor, without deadlines,
// limits or authorisation.
#include <wire/event_records.h>
#include <wire/text.h>

#include <algorithm>
#include <bench/remoting/bench_feed.h>
#include <bench/remoting/bench_service.h>
#include <bench/remoting/measured.h>
#include <bench/remoting/tally.h>
#include <capnp/rpc-twoparty.h>
#include <condition_variable>
#include <future>
#include <kj/async-io.h>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <unistd.h>

namespace tfs::bench {
namespace {

namespace schema = wire::schema;

class BareReceiver final : public schema::EventReceiver::Server {
public:
    explicit BareReceiver(std::function<void(const Event&)> handle) : m_handle(std::move(handle)) {}
    kj::Promise<void> onEvents(OnEventsContext context) override {
        Event event;
        for (const auto& item : context.getParams().getEvents()) {
            wire::Read(item, event);
            m_handle(event);
        }
        return kj::READY_NOW;
    }

private:
    std::function<void(const Event&)> m_handle;
};

class DirectPath final : public ICallPath {
public:
    explicit DirectPath(const std::string& socketPath) {
        std::promise<void> ready;
        m_thread = std::thread([this, &ready, socketPath] {
            auto io = kj::setupAsyncIo();
            auto address = io.provider->getNetwork().parseAddress("unix:" + socketPath).wait(io.waitScope);
            auto stream = address->connect().wait(io.waitScope);
            capnp::TwoPartyClient client(*stream);
            auto stop = kj::newPromiseAndCrossThreadFulfiller<void>();
            m_tasks.emplace(client.bootstrap().castAs<schema::TaskManager>());
            m_events.emplace(client.bootstrap().castAs<schema::EventSubscriber>());
            m_executor = kj::getCurrentThreadExecutor().addRef();
            m_stop = kj::mv(stop.fulfiller);
            ready.set_value();
            stop.promise.wait(io.waitScope);
            m_tasks.reset();
            m_events.reset();
        });
        ready.get_future().wait();
    }
    ~DirectPath() noexcept override {
        m_stop->fulfill();
        m_thread.join();
    }
    void Call() override {
        m_executor->executeSync([this] {
            auto request = m_tasks->startTaskRequest();
            request.setTask(wire::AsData(std::u16string_view(u"2")));
            return request.send().then([](auto&& answer) {
                if (answer.getResult() != ulk::sOk)
                    throw std::runtime_error("call");
            });
        });
    }
    void ReceiveEvents(std::size_t subscribers, const std::function<void()>& publish) override {
        Tally tally(subscribers);
        for (std::size_t i = 0; i < subscribers; ++i)
            m_executor->executeSync([&, i] {
                auto request = m_events->subscribeRequest();
                request.setReceiver(kj::heap<BareReceiver>([&tally, i](const Event& event) { tally.Take(i, event); }));
                wire::Write(FilterOf(i), request.initFilter());
                return request.send().ignoreResult();
            });
        publish();
        tally.Wait();
    }

private:
    std::optional<schema::TaskManager::Client> m_tasks;
    std::optional<schema::EventSubscriber::Client> m_events;
    kj::Own<const kj::Executor> m_executor;
    kj::Own<kj::CrossThreadPromiseFulfiller<void>> m_stop;
    std::thread m_thread;
};

/// What the publisher's thread has made, for the loop to take.
class BareFeed {
public:
    void Publish(unsigned count) {
        for (; count > 0; --count) {
            const std::lock_guard lock(m_mutex);
            m_events.push_back(std::make_shared<const Event>(EventOfId(++m_lastId)));
            for (const auto& waiting : m_waiting)
                waiting->fulfill();
            m_waiting.clear();
        }
    }
    void Clear() {
        const std::lock_guard lock(m_mutex);
        m_events.clear();
    }
    std::size_t Size() const {
        const std::lock_guard lock(m_mutex);
        return m_events.size();
    }
    void Read(std::size_t from, std::size_t limit, std::vector<std::shared_ptr<const Event>>& events) const {
        const std::lock_guard lock(m_mutex);
        for (std::size_t i = from; i < std::min(m_events.size(), from + limit); ++i)
            events.push_back(m_events[i]);
    }
    /// Resolves when there are more than `size`.
    kj::Promise<void> WhenMoreThan(std::size_t size) {
        const std::lock_guard lock(m_mutex);
        if (m_events.size() > size)
            return kj::READY_NOW;
        auto pair = kj::newPromiseAndCrossThreadFulfiller<void>();
        m_waiting.push_back(kj::mv(pair.fulfiller));
        return kj::mv(pair.promise);
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::shared_ptr<const Event>> m_events;
    Event::IdType m_lastId = 0;
    std::vector<kj::Own<kj::CrossThreadPromiseFulfiller<void>>> m_waiting;
};

class BareSubscriber {
public:
    BareSubscriber(BareFeed& feed, EventFilter filter, schema::EventReceiver::Client receiver)
        : m_feed(feed), m_filter(std::move(filter)), m_receiver(kj::mv(receiver)),
          m_run(kj::evalLater([this] { return Push(); }).eagerlyEvaluate([](kj::Exception&&) {})) {}

private:
    kj::Promise<void> Push() {
        m_events.clear();
        m_feed.Read(m_next, ReadLimit, m_events);
        std::vector<const Event*> batch;
        std::size_t bytes = 0;
        std::size_t read = 0;
        while (read < m_events.size() && bytes < BatchBytes) {
            const Event& event = *m_events[read++];
            if (!m_filter.Passes(event))
                continue;
            batch.push_back(&event);
            bytes += wire::EstimateSize(event);
        }
        m_next += read;
        if (batch.empty())
            return m_feed.WhenMoreThan(m_next).then([this] { return Push(); });
        auto request = m_receiver.onEventsRequest();
        auto list = request.initEvents(static_cast<capnp::uint>(batch.size()));
        for (std::size_t i = 0; i < batch.size(); ++i)
            wire::Write(*batch[i], list[static_cast<capnp::uint>(i)]);
        return request.send().then([this] { return Push(); });
    }

    static constexpr std::size_t ReadLimit = 128;
    static constexpr std::size_t BatchBytes = 32 * 1024;

    BareFeed& m_feed;
    const EventFilter m_filter;
    schema::EventReceiver::Client m_receiver;
    std::size_t m_next = 0;
    std::vector<std::shared_ptr<const Event>> m_events;
    kj::Promise<void> m_run;
};

/// Both interfaces in one object, since there is no locator.
class BareServer final : public virtual schema::TaskManager::Server, public virtual schema::EventSubscriber::Server {
public:
    explicit BareServer(BareFeed& feed) : m_feed(feed) {}

    kj::Promise<void> startTask(StartTaskContext context) override {
        context.getResults().setResult(ulk::sOk);
        return kj::READY_NOW;
    }
    kj::Promise<void> subscribe(SubscribeContext context) override {
        // All subscriptions are made before anything is published: what there is belongs to the measurement before.
        if (m_feed.Size() > 0) {
            m_subscribers.clear();
            m_feed.Clear();
        }
        EventFilter filter;
        wire::Read(context.getParams().getFilter(), filter);
        m_subscribers.push_back(kj::heap<BareSubscriber>(m_feed, std::move(filter), context.getParams().getReceiver()));
        return kj::READY_NOW;
    }
    DispatchCallResult dispatchCall(std::uint64_t interfaceId, std::uint16_t methodId,
                                    capnp::CallContext<capnp::AnyPointer, capnp::AnyPointer> context) override {
        if (interfaceId == capnp::typeId<schema::TaskManager>())
            return schema::TaskManager::Server::dispatchCallInternal(methodId, context);
        return schema::EventSubscriber::Server::dispatchCallInternal(methodId, context);
    }

private:
    BareFeed& m_feed;
    std::vector<kj::Own<BareSubscriber>> m_subscribers;
};

} // namespace

std::unique_ptr<ICallPath> Directly(const std::string& socketPath) { return std::make_unique<DirectPath>(socketPath); }

int RunBareService(const char* socketPath) {
    auto io = kj::setupAsyncIo();
    BareFeed feed;
    auto address = io.provider->getNetwork().parseAddress(kj::str("unix:", socketPath)).wait(io.waitScope);
    auto listener = address->listen();
    capnp::TwoPartyServer server(kj::heap<BareServer>(feed));
    std::thread publisher([&feed] {
        char command = 0;
        while (::read(STDIN_FILENO, &command, 1) == 1)
            feed.Publish(EventCount);
        ::_exit(0);
    });
    SayReady();
    server.listen(*listener).wait(io.waitScope);
    publisher.join();
    return 0;
}

} // namespace tfs::bench
