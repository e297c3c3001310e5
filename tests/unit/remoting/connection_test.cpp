// SPDX-License-Identifier: GPL-2.0-or-later
// Connections that never come about, and connections that are lost before, during and after a call.
#include <contract/tfs/app_info.h>
#include <contract/tfs/tasks.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/raw_peer.h>
#include <tests/unit/remoting/test_client.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tfs::test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST(ConnectionRefusedTest, MissingRefusingAndForbiddenSockets) {
    TempFolder folder;
    ulk::Ptr<ulk::remoting::IRemoteConnection> connection;
    EXPECT_EQ(Connect(Settings(folder.File("none")), connection), ulk::eNotReady);
    EXPECT_FALSE(connection);

    {
        const Stranger gone(folder.File("stale"), [](int) {});
    }
    EXPECT_EQ(Connect(Settings(folder.File("stale")), connection), ulk::eNotReady);

    std::ofstream(folder.File("file")) << "text";
    EXPECT_EQ(Connect(Settings(folder.File("file")), connection), ulk::eNotReady);

    EXPECT_EQ(Connect(Settings(""), connection), ulk::eInvalidArgument);
    EXPECT_EQ(ConnectionFactory()->CreateRemoteRpc(utils::Anyptr(), connection.Ref()), ulk::eInvalidType);
    EXPECT_EQ(ConnectionFactory()->CreateRemoteRpc(utils::Anyptr(), nullptr), ulk::eInvalidArgument);
}

TEST(ConnectionRefusedTest, SilentStrangerCostsTheConnectTime) {
    TempFolder folder;
    const Stranger stranger(folder.File("socket"), [](int) {});
    auto settings = Settings(folder.File("socket"));
    settings.connectTimeoutMs = 300;
    ulk::Ptr<ulk::remoting::IRemoteConnection> connection;
    const std::size_t threads = RunningThreads();
    const auto start = Clock::now();
    EXPECT_EQ(Connect(settings, connection), ulk::eTimeout);
    EXPECT_GE(Clock::now() - start, 290ms);
    EXPECT_LT(Clock::now() - start, 2s);
    EXPECT_EQ(RunningThreads(), threads);
}

TEST(ConnectionRefusedTest, StrangerThatHangsUp) {
    TempFolder folder;
    const Stranger stranger(folder.File("socket"), [](int peer) { ::shutdown(peer, SHUT_RDWR); });
    ulk::Ptr<ulk::remoting::IRemoteConnection> connection;
    EXPECT_EQ(Connect(Settings(folder.File("socket")), connection), ulk::eNotReady);
}

TEST(ConnectionRefusedTest, StrangersThatAnswerGarbage) {
    const std::string answers[] = {
        "HTTP/1.1 400 Bad Request\r\nConnection: close\r\n\r\n" + std::string(4000, 'x'),
        std::string(4096, '\xff'),
        std::string("\xff\xff\x00\x00", 4) + std::string(4000, '\x01'),                          // too many segments
        std::string("\0\0\0\0\xff\xff\xff\x7f", 8) + std::string(64, '\0'),                      // 16 GB in one segment
        std::string("\0\0\0\0\x01\0\0\0", 8) + std::string(8, '\xfe') + std::string(64, '\xee'), // broken pointer
    };
    for (const std::string& answer : answers) {
        TempFolder folder;
        const Stranger stranger(folder.File("socket"), [&](int peer) {
            EXPECT_EQ(::send(peer, answer.data(), answer.size(), MSG_NOSIGNAL), static_cast<ssize_t>(answer.size()));
        });
        ulk::Ptr<ulk::remoting::IRemoteConnection> connection;
        EXPECT_EQ(Connect(Settings(folder.File("socket")), connection), ulk::eInvalidVersion) << answer.substr(0, 8);
    }
}

class ConnectionTest : public ::testing::Test {
protected:
    void SetUp() override { Start(); }
    void Start() {
        service::rpc::RpcServer::Options options;
        options.socketPath = folder.File("socket");
        server = std::make_unique<service::rpc::RpcServer>(options, service, service, feed, nullptr);
        ASSERT_EQ(server->Start(), ulk::sOk);
    }

    TempFolder folder;
    FakeService service;
    FakeFeed feed{64};
    std::unique_ptr<service::rpc::RpcServer> server;
};

TEST_F(ConnectionTest, LostBeforeACall) {
    Client client(folder.File("socket"));
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);
    server->Stop();
    ASSERT_TRUE(WaitFor([&] { return !client.IsAlive(); }, 2s));
    EXPECT_EQ(manager->StartTask(u"2"), ulk::eNotReady);
    EXPECT_FALSE(client.Get<ITfsTaskManager>()); // looked up before
    EXPECT_EQ(client.result, ulk::eNotReady);
    EXPECT_FALSE(client.Get<IAppInfoProvider>()); // never looked up
    EXPECT_EQ(client.result, ulk::eNotReady);
}

// A write that fails because the peer is gone cancels the read that would have seen the end.
TEST_F(ConnectionTest, EndIsSeenAtOnceWithoutAHeartbeat) {
    auto settings = Settings(folder.File("socket"));
    settings.heartbeatMs = 60'000;
    for (int round = 0; round < 100; ++round) {
        Client client(settings);
        const auto manager = client.Get<ITfsTaskManager>();
        ASSERT_EQ(client.result, ulk::sOk);
        EXPECT_EQ(manager->StartTask(u"2"), ulk::sOk); // its end is on the way while the service stops
        server->Stop();
        ASSERT_TRUE(WaitFor([&] { return !client.IsAlive(); }, 500ms)) << round;
        ASSERT_EQ(server->Start(), ulk::sOk);
    }
}

TEST_F(ConnectionTest, LostDuringACall) {
    ServerProcess process(folder.File("other"));
    Client client(folder.File("other"));
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);
    process.Signal(SIGSTOP);
    std::atomic<result_t> result{ulk::sOk};
    std::thread caller([&] { result = manager->StartTask(u"2"); });
    const auto start = Clock::now();
    process.Kill();
    caller.join();
    EXPECT_EQ(result.load(), ulk::eNotReady);
    EXPECT_LT(Clock::now() - start, 1s);
    EXPECT_TRUE(WaitFor([&] { return !client.IsAlive(); }, 1s));
}

TEST_F(ConnectionTest, ProxiesOutliveTheConnection) {
    auto client = std::make_unique<Client>(folder.File("socket"));
    const auto manager = client->Get<ITfsTaskManager>();
    const auto locator = client->locator;
    ASSERT_TRUE(manager);
    client.reset();
    EXPECT_EQ(manager->StartTask(u"2"), ulk::eNotReady);
    ulk::Ptr<IAppInfoProvider> info;
    EXPECT_EQ(ulk::GetInterface(locator.Get(), info.Ref()), ulk::eNotReady);
}

TEST_F(ConnectionTest, ShutdownFailsWhatIsUnderWay) {
    ServerProcess process(folder.File("other"));
    Client client(folder.File("other"));
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);
    process.Signal(SIGSTOP);
    std::atomic<int> returned{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < 8; ++i)
        callers.emplace_back([&] {
            EXPECT_EQ(manager->StartTask(u"2"), ulk::eNotReady);
            ++returned;
        });
    const auto start = Clock::now();
    client.connection->Shutdown();
    client.connection->Shutdown();
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_LT(Clock::now() - start, 2s);
    EXPECT_FALSE(client.IsAlive());
    process.Signal(SIGCONT);
}

TEST_F(ConnectionTest, TransportShutdownEndsEveryConnection) {
    Client first(folder.File("socket"));
    Client second(folder.File("socket"));
    ASSERT_TRUE(first.IsAlive() && second.IsAlive());
    Transport()->Shutdown();
    EXPECT_FALSE(first.IsAlive());
    EXPECT_FALSE(second.IsAlive());
}

TEST_F(ConnectionTest, SlowServiceLapsesTheDeadlineAndTheLateAnswerIsLost) {
    auto settings = Settings(folder.File("socket"));
    settings.callTimeoutMs = 100;
    Client client(settings);
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);
    std::atomic<bool> slow{true};
    service.during = [&] { WaitFor([&] { return !slow.load(); }, 4s); };
    const auto start = Clock::now();
    EXPECT_EQ(manager->StartTask(u"slow"), ulk::eTimeout);
    EXPECT_LT(Clock::now() - start, 290ms);
    slow = false;
    ASSERT_TRUE(WaitFor([&] { return manager->StartTask(u"quick") == ulk::sOk; }, 5s));
    EXPECT_EQ(service.Last().text, u"quick");
    EXPECT_TRUE(client.IsAlive());
}

TEST_F(ConnectionTest, CallsInFlightAreCapped) {
    auto settings = Settings(folder.File("socket"));
    settings.callsInFlightLimit = 2;
    Client client(settings);
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);
    std::atomic<bool> hold{true};
    service.during = [&] { WaitFor([&] { return !hold.load(); }, 4s); };
    std::atomic<int> refused{0};
    std::atomic<int> taken{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < 3; ++i)
        callers.emplace_back([&] {
            const result_t result = manager->StartTask(u"1");
            (result == ulk::eInsufficientResources ? refused : taken).fetch_add(1);
            EXPECT_TRUE(result == ulk::sOk || result == ulk::eInsufficientResources);
        });
    // None of the calls that were taken can end before `hold` falls, so the one too many is refused whatever the order.
    EXPECT_TRUE(WaitFor([&] { return refused.load() == 1; }, 2s));
    hold = false;
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(refused.load(), 1);
    EXPECT_EQ(taken.load(), 2);
    EXPECT_EQ(manager->StartTask(u"4"), ulk::sOk);
}

TEST_F(ConnectionTest, StoppedServiceIsDeadAfterTwoHeartbeats) {
    ServerProcess process(folder.File("other"));
    auto settings = Settings(folder.File("other"));
    settings.heartbeatMs = 100;
    Client client(settings);
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);
    process.Signal(SIGSTOP);
    const auto start = Clock::now();
    // The call under way fails when the connection is given up, before its own deadline.
    EXPECT_EQ(manager->StartTask(u"2"), ulk::eNotReady);
    EXPECT_LT(Clock::now() - start, 2s);
    EXPECT_FALSE(client.IsAlive());

    // A stopped service still lets its socket be connected; the greeting lapses.
    settings.connectTimeoutMs = 200;
    ulk::Ptr<ulk::remoting::IRemoteConnection> connection;
    EXPECT_EQ(Connect(settings, connection), ulk::eTimeout);
    process.Signal(SIGCONT);
    EXPECT_TRUE(WaitFor([&] { return Connect(settings, connection) == ulk::sOk; }, 5s));
}

TEST_F(ConnectionTest, SocketOfALongPath) {
    const std::string deep = folder.File(std::string(100, 'a')) + "/" + std::string(100, 'b');
    std::filesystem::create_directories(deep);
    service::rpc::RpcServer::Options options;
    options.socketPath = deep + "/socket";
    service::rpc::RpcServer other(options, service, service, feed, nullptr);
    ASSERT_EQ(other.Start(), ulk::sOk);
    Client client(options.socketPath);
    EXPECT_EQ(client.result, ulk::sOk);
    EXPECT_EQ(client.Get<ITfsTaskManager>()->StartTask(u"2"), ulk::sOk);
    other.Stop();
    EXPECT_FALSE(std::filesystem::exists(options.socketPath));
}

TEST_F(ConnectionTest, FullQueueOfWaitingConnections) {
    ServerProcess process(folder.File("other"));
    process.Signal(SIGSTOP);
    // The kernel lets 128 and one wait; nobody takes them.
    std::vector<std::unique_ptr<RawClient>> waiting;
    for (int i = 0; i < 129; ++i)
        waiting.push_back(std::make_unique<RawClient>(folder.File("other")));
    auto settings = Settings(folder.File("other"));
    settings.connectTimeoutMs = 200;
    ulk::Ptr<ulk::remoting::IRemoteConnection> connection;
    const auto start = Clock::now();
    EXPECT_EQ(Connect(settings, connection), ulk::eTimeout);
    EXPECT_LT(Clock::now() - start, 2s);
    process.Signal(SIGCONT);
}

} // namespace tfs::test
