// SPDX-License-Identifier: GPL-2.0-or-later
// The same thread arrangement with nothing but Cap'n Proto: the caller waits on the loop's executor, without deadlines,
// limits or authorisation.
#include <wire/event_records.h>
#include <wire/text.h>

#include <bench/remoting/measured.h>
#include <bench/remoting/tally.h>
#include <capnp/rpc-twoparty.h>
#include <future>
#include <kj/async-io.h>
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
                request.setReceiver(kj::heap<BareReceiver>([&tally](const Event&) { tally.Count(); }));
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

} // namespace

std::unique_ptr<ICallPath> Directly(const std::string& socketPath) { return std::make_unique<DirectPath>(socketPath); }

} // namespace tfs::bench
