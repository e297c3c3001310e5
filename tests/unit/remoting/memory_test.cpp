// SPDX-License-Identifier: GPL-2.0-or-later
// Calls that run out of memory at each of their allocations in turn.
#include <contract/tfs/event.h>
#include <contract/tfs/tasks.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/starving_allocator.h>
#include <tests/unit/remoting/test_client.h>

#include <gtest/gtest.h>
#include <new>

namespace tfs::test {

class MemoryTest : public ::testing::Test {
protected:
    MemoryTest() {
        service::rpc::RpcServer::Options options;
        options.socketPath = folder.File("socket");
        service.tasks = {FullTaskInfo()};
        server = std::make_unique<service::rpc::RpcServer>(options, service, service, feed, nullptr);
        EXPECT_EQ(server->Start(), ulk::sOk);
        client = std::make_unique<Client>(options.socketPath);
        EXPECT_EQ(client->result, ulk::sOk);
    }
    /// A proxy may throw where it can't even copy its arguments.
    template <class Call>
    static result_t Starve(Call call, int allocations) {
        const Starvation starvation(allocations);
        try {
            return call();
        } catch (const std::bad_alloc&) {
            return ulk::eOutOfMemory;
        }
    }
    /// Runs the call with ever more memory until it succeeds; `afterFailure` is called after each that didn't.
    template <class Call, class Check>
    void StarveUntilGood(Call call, Check afterFailure) {
        for (int allocations = 0; allocations < 1000; ++allocations) {
            const result_t result = Starve(call, allocations);
            if (ULK_SUCCEEDED(result)) {
                EXPECT_GT(allocations, 0) << "it needs no memory";
                return;
            }
            EXPECT_EQ(result, ulk::eOutOfMemory) << allocations;
            afterFailure();
            ASSERT_TRUE(client->IsAlive()) << allocations;
        }
        FAIL() << "never enough memory";
    }

    TempFolder folder;
    FakeService service;
    FakeFeed feed{64};
    std::unique_ptr<service::rpc::RpcServer> server;
    std::unique_ptr<Client> client;
};

TEST_F(MemoryTest, ASubscriptionThatFailsLeavesNothingBehind) {
    const auto subscriber = client->Get<IEventSubscriber>();
    const auto receiver = ulk::Ptr<Receiver>::Adopt(new Receiver());
    const EventFilter filter{{1, 2, 3}, {}, {u"a type of tasks"}};
    StarveUntilGood([&] { return subscriber->Subscribe(receiver.Get(), filter); },
                    [&] {
                        EXPECT_TRUE(WaitFor([&] {
                            receiver->AddRef();
                            return receiver->Release() == 1;
                        })) << "somebody holds the receiver";
                        EXPECT_EQ(subscriber->Unsubscribe(receiver.Get()), ulk::eNotFound);
                    });
    EXPECT_TRUE(WaitFor([&] { return server->Figures().subscriptions == 1; }));
    EXPECT_EQ(subscriber->Unsubscribe(receiver.Get()), ulk::sOk);
}

TEST_F(MemoryTest, LookupsAndCallsFailAlone) {
    ulk::Ptr<ITfsTaskManager> manager;
    StarveUntilGood([&] { return ulk::GetInterface(client->locator.Get(), manager.Ref()); }, [] {});
    core::TaskInfo task;
    const ulk::types::string16_t name = u"a name beyond the inline buffer";
    StarveUntilGood([&] { return manager->GetTaskInfo(name, task); }, [] {});
    EXPECT_EQ(task.displayName, FullTaskInfo().displayName);
}

TEST_F(MemoryTest, AConnectionThatFailsLeavesNothingBehind) {
    const auto factory = ConnectionFactory();
    const auto settings = utils::MakeAnyptr<ulk::remoting::ConnectionSettings>(Settings(folder.File("socket")));
    ulk::Ptr<ulk::remoting::IRemoteConnection> connection;
    const std::size_t threads = RunningThreads();
    const std::size_t descriptors = OpenDescriptors();
    StarveUntilGood(
        [&] { return factory->CreateRemoteRpc(settings, connection.Ref()); },
        [&] { EXPECT_TRUE(WaitFor([&] { return RunningThreads() == threads && OpenDescriptors() == descriptors; })); });
    connection.Reset();
    EXPECT_TRUE(WaitFor([&] { return server->Figures().connections == 1; }));
}

} // namespace tfs::test
