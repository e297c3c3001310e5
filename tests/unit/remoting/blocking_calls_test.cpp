// SPDX-License-Identifier: GPL-2.0-or-later
// Calls that may block: their order, their limits, and what becomes of them when somebody goes.
#include <contract/tfs/event_query.h>
#include <contract/tfs/settings.h>
#include <contract/tfs/tasks.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/gate.h>
#include <tests/unit/remoting/test_client.h>

#include <gtest/gtest.h>
#include <thread>

namespace tfs::test {

using namespace std::chrono_literals;

class BlockingCallsTest : public ::testing::Test {
protected:
    void SetUp() override {
        service.duringBlocking = [this] { gate.Pass(); };
        options.socketPath = folder.File("socket");
        options.blockingCallsWaiting = 2;
        options.blockingThreads = 2;
        server = std::make_unique<service::rpc::RpcServer>(options, service, service, feed, nullptr);
        ASSERT_EQ(server->Start(), ulk::sOk);
    }
    void TearDown() override {
        gate.Open();
        server.reset();
    }
    /// A call on a thread of its own.
    struct Caller {
        explicit Caller(const ulk::Ptr<IEventStorer>& storer)
            : thread([this, storer] {
                  std::uint64_t count = 0;
                  code = storer->GetEventCount(count);
                  done = true;
              }) {}
        ~Caller() { thread.join(); }
        std::atomic<result_t> code{ulk::eUnexpected};
        std::atomic<bool> done{false};
        std::thread thread;
    };

    Gate gate;
    TempFolder folder;
    FakeService service;
    FakeFeed feed{64};
    service::rpc::RpcServer::Options options;
    std::unique_ptr<service::rpc::RpcServer> server;
};

TEST_F(BlockingCallsTest, HoldUpNeitherTheLoopNorTheHeartbeat) {
    auto settings = Settings(options.socketPath);
    settings.heartbeatMs = 20;
    Client client(settings);
    const auto manager = client.Get<ITfsTaskManager>();
    Caller blocked(client.Get<IEventStorer>());
    ASSERT_TRUE(gate.WaitFor(1));
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(manager->StartTask(u"2"), ulk::sOk);
    EXPECT_FALSE(blocked.done);
    EXPECT_TRUE(client.IsAlive());
    gate.Open();
    ASSERT_TRUE(WaitFor([&] { return blocked.done.load(); }));
    EXPECT_EQ(blocked.code, ulk::sOk);
}

TEST_F(BlockingCallsTest, RunOneAtATimeForAConnectionAndTogetherForTwo) {
    Client one(options.socketPath);
    Client two(options.socketPath);
    const auto first = one.Get<IEventStorer>();
    {
        Caller a(first);
        ASSERT_TRUE(gate.WaitFor(1));
        Caller b(first);
        Caller c(two.Get<IEventStorer>());
        ASSERT_TRUE(gate.WaitFor(2));
        gate.Open();
    }
    EXPECT_EQ(service.BlockingCalls(), 3);
    EXPECT_EQ(gate.Most(), 2);
}

TEST_F(BlockingCallsTest, BeyondTheQueueAreRefusedAndTheRestIsAnswered) {
    Client client(options.socketPath);
    const auto storer = client.Get<IEventStorer>();
    Caller running(storer);
    ASSERT_TRUE(gate.WaitFor(1));
    std::vector<std::unique_ptr<Caller>> callers;
    for (int i = 0; i < 5; ++i)
        callers.push_back(std::make_unique<Caller>(storer));
    const auto done = [&] {
        return std::count_if(callers.begin(), callers.end(), [](auto& c) { return c->done.load(); });
    };
    ASSERT_TRUE(WaitFor([&] { return done() == 3; }));
    for (const auto& caller : callers)
        if (caller->done) {
            EXPECT_EQ(caller->code, ulk::eInsufficientResources);
        }
    gate.Open();
    ASSERT_TRUE(WaitFor([&] { return done() == 5; }));
    EXPECT_EQ(service.BlockingCalls(), 3);
}

TEST_F(BlockingCallsTest, OfAClientThatWentAreNotBegunAndTouchNothing) {
    Client honest(options.socketPath);
    {
        Client client(options.socketPath);
        const auto storer = client.Get<IEventStorer>();
        Caller running(storer);
        ASSERT_TRUE(gate.WaitFor(1));
        Caller waiting(storer);
        ASSERT_TRUE(WaitFor([&] { return client.IsAlive(); }));
        client.connection->Shutdown();
        ASSERT_TRUE(WaitFor([&] { return running.done && waiting.done; }));
        EXPECT_EQ(running.code, ulk::eNotReady);
        EXPECT_EQ(waiting.code, ulk::eNotReady);
    }
    ASSERT_TRUE(WaitFor([&] { return server->Figures().connections == 1; }));
    gate.Open();
    std::uint64_t count = 0;
    EXPECT_EQ(honest.Get<IEventStorer>()->GetEventCount(count), ulk::sOk);
    EXPECT_EQ(service.BlockingCalls(), 2); // the one that had begun, and this one
}

TEST_F(BlockingCallsTest, ThatWaitedTooLongAreWithdrawn) {
    auto settings = Settings(options.socketPath);
    settings.callTimeoutMs = 100;
    Client hasty(settings);
    Client patient(options.socketPath);
    const auto storer = hasty.Get<IEventStorer>();
    Caller running(patient.Get<IEventStorer>());
    ASSERT_TRUE(gate.WaitFor(1));
    std::uint64_t count = 7;
    EXPECT_EQ(storer->GetEventCount(count), ulk::eTimeout); // had begun
    EXPECT_EQ(storer->GetEventCount(count), ulk::eTimeout); // waited behind it
    EXPECT_EQ(count, 7u);
    // The connection's calls come in order, so that the withdrawal has been seen when this one is answered.
    EXPECT_EQ(hasty.Get<ITfsTaskManager>()->StartTask(u"2"), ulk::sOk);
    gate.Open();
    ASSERT_TRUE(WaitFor([&] { return running.done.load(); }));
    EXPECT_EQ(storer->GetEventCount(count), ulk::sOk);
    EXPECT_EQ(service.BlockingCalls(), 3);
}

TEST_F(BlockingCallsTest, StopOfTheServerWaitsForWhatRunsAndDropsTheRest) {
    Client client(options.socketPath);
    const auto storer = client.Get<IEventStorer>();
    Caller running(storer);
    ASSERT_TRUE(gate.WaitFor(1));
    Caller waiting(storer);
    std::atomic<bool> stopped{false};
    std::thread stopper([&] {
        server->Stop();
        stopped = true;
    });
    ASSERT_TRUE(WaitFor([&] { return running.done && waiting.done; }));
    EXPECT_EQ(running.code, ulk::eNotReady);
    EXPECT_FALSE(stopped);
    gate.Open();
    stopper.join();
    EXPECT_EQ(service.BlockingCalls(), 1);
}

} // namespace tfs::test
