// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/remoting.h>
#include <contract/tfs/event.h>
#include <contract/tfs/tasks.h>
#include <foundation/module.h>
#include <foundation/objclient.h>

#include <bench/remoting/bench_service.h>
#include <bench/remoting/measured.h>
#include <bench/remoting/tally.h>
#include <stdexcept>
#include <unistd.h>

namespace tfs::bench {
namespace {

class BenchReceiver final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, IRemoteEventsReceiver> {
public:
    explicit BenchReceiver(std::function<void(const Event&)> handle) : m_handle(std::move(handle)) {}
    result_t OnEvent(const Event& event) override {
        m_handle(event);
        return ulk::sOk;
    }
    result_t GetReceiverName(ulk::types::string16_t& name) const override {
        name = u"Bench";
        return ulk::sOk;
    }

private:
    std::function<void(const Event&)> m_handle;
};

void Require(result_t result) {
    if (!ULK_SUCCEEDED(result))
        throw std::runtime_error(std::string(ulk::ResultText(result)));
}

class ProxyPath final : public ICallPath {
public:
    explicit ProxyPath(const std::string& socketPath, std::uint32_t heartbeatMs = 0) {
        static ulk::Module module;
        static const result_t loaded = module.Load(TESL_REMOTING_MODULE);
        Require(loaded);
        void* object = nullptr;
        Require(module.CreateObject(ulk::remoting::ConnectionFactoryClass, nullptr,
                                    ulk::remoting::IConnectionFactory::Iid, &object));
        const auto factory =
            ulk::Ptr<ulk::remoting::IConnectionFactory>::Adopt(static_cast<ulk::remoting::IConnectionFactory*>(object));
        ulk::remoting::ConnectionSettings settings;
        settings.address = socketPath;
        settings.heartbeatMs = heartbeatMs;
        Require(factory->CreateRemoteRpc(utils::MakeAnyptr<ulk::remoting::ConnectionSettings>(settings),
                                         m_connection.Ref()));
        ulk::Ptr<ulk::IServiceLocator> locator;
        Require(m_connection->GetServiceLocator(locator.Ref()));
        ulk::GetInterface(locator.Get(), m_tasks.Ref(), ulk::throwOnFailure);
        ulk::GetInterface(locator.Get(), m_events.Ref(), ulk::throwOnFailure);
    }
    ~ProxyPath() override { m_connection->Shutdown(); }

    void Call() override { Require(m_tasks->StartTask(u"2")); }
    void ReceiveEvents(std::size_t subscribers, const std::function<void()>& publish) override {
        Tally tally(subscribers);
        std::vector<ulk::Ptr<BenchReceiver>> receivers;
        for (std::size_t i = 0; i < subscribers; ++i) {
            receivers.push_back(ulk::Ptr<BenchReceiver>::Adopt(
                new BenchReceiver([&tally, i](const Event& event) { tally.Take(i, event); })));
            Require(m_events->Subscribe(receivers.back().Get(), FilterOf(i)));
        }
        publish();
        tally.Wait();
        for (const auto& receiver : receivers)
            Require(m_events->Unsubscribe(receiver.Get()));
    }
    void Subscribe(const ulk::Ptr<BenchReceiver>& receiver) { Require(m_events->Subscribe(receiver.Get(), {})); }

private:
    ulk::Ptr<ulk::remoting::IRemoteConnection> m_connection;
    ulk::Ptr<ITfsTaskManager> m_tasks;
    ulk::Ptr<IEventSubscriber> m_events;
};

} // namespace

std::unique_ptr<ICallPath> ThroughProxies(const std::string& socketPath) {
    return std::make_unique<ProxyPath>(socketPath);
}

int RunStuckSubscriber(const char* socketPath) {
    ProxyPath path(socketPath, 3'600'000);
    path.Subscribe(ulk::Ptr<BenchReceiver>::Adopt(new BenchReceiver([](const Event&) {
        while (true)
            ::pause();
    })));
    SayReady();
    while (true)
        ::pause();
}

} // namespace tfs::bench
