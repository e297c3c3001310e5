// SPDX-License-Identifier: GPL-2.0-or-later
// The same thread arrangement with nothing but Cap'n Proto: the caller waits on the loop's executor, without deadlines,
// limits or authorisation.
#include <wire/event_records.h>
#include <wire/text.h>

#include <atomic>
#include <bench/remoting/bench_feed.h>
#include <bench/remoting/bench_service.h>
#include <bench/remoting/measured.h>
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
    void ReceiveEvents(const std::function<void()>&) override {
        std::promise<void> done;
        Event::IdType last = 0;
        m_executor->executeSync([&] {
            auto request = m_events->subscribeRequest();
            request.setReceiver(kj::heap<BareReceiver>([&](const Event& event) {
                if (event.id != ++last)
                    throw std::runtime_error("order");
                if (last == EventCount)
                    done.set_value();
            }));
            return request.send().ignoreResult();
        });
        done.get_future().wait();
    }

private:
    std::optional<schema::TaskManager::Client> m_tasks;
    std::optional<schema::EventSubscriber::Client> m_events;
    kj::Own<const kj::Executor> m_executor;
    kj::Own<kj::CrossThreadPromiseFulfiller<void>> m_stop;
    std::thread m_thread;
};

/// Both interfaces in one object, since there is no locator.
class BareServer final : public virtual schema::TaskManager::Server, public virtual schema::EventSubscriber::Server {
public:
    explicit BareServer(unsigned eventsPerCall) : m_eventsPerCall(eventsPerCall) {}

    kj::Promise<void> startTask(StartTaskContext context) override {
        context.getResults().setResult(ulk::sOk);
        return kj::READY_NOW;
    }
    kj::Promise<void> subscribe(SubscribeContext context) override {
        m_receiver = context.getParams().getReceiver();
        m_next = 1;
        m_run = Push().eagerlyEvaluate([](kj::Exception&&) {});
        return kj::READY_NOW;
    }
    DispatchCallResult dispatchCall(std::uint64_t interfaceId, std::uint16_t methodId,
                                    capnp::CallContext<capnp::AnyPointer, capnp::AnyPointer> context) override {
        if (interfaceId == capnp::typeId<schema::TaskManager>())
            return schema::TaskManager::Server::dispatchCallInternal(methodId, context);
        return schema::EventSubscriber::Server::dispatchCallInternal(methodId, context);
    }

private:
    kj::Promise<void> Push() {
        if (m_next > EventCount)
            return kj::READY_NOW;
        auto request = KJ_ASSERT_NONNULL(m_receiver).onEventsRequest();
        auto list = request.initEvents(m_eventsPerCall);
        for (capnp::uint i = 0; i < m_eventsPerCall; ++i)
            wire::Write(EventOfId(static_cast<Event::IdType>(m_next++)), list[i]);
        return request.send().then([this] { return Push(); });
    }

    const unsigned m_eventsPerCall;
    unsigned m_next = 1;
    kj::Maybe<schema::EventReceiver::Client> m_receiver;
    kj::Promise<void> m_run = nullptr;
};

} // namespace

std::unique_ptr<ICallPath> Directly(const std::string& socketPath) { return std::make_unique<DirectPath>(socketPath); }

int RunBareService(const char* socketPath, unsigned eventsPerCall) {
    auto io = kj::setupAsyncIo();
    auto address = io.provider->getNetwork().parseAddress(kj::str("unix:", socketPath)).wait(io.waitScope);
    auto listener = address->listen();
    capnp::TwoPartyServer server(kj::heap<BareServer>(eventsPerCall));
    SayReady();
    server.listen(*listener).wait(io.waitScope);
    return 0;
}

} // namespace tfs::bench
