// SPDX-License-Identifier: GPL-2.0-or-later
#include "gui_fixture.h"

#include <contract/remoting.h>
#include <foundation/objclient.h>
#include <gui/common/app_settings.h>
#include <gui/common/policy.h>
#include <gui/common/product_connection.h>
#include <remote/remote_client_initializer.h>

#include <QtTest/QSignalSpy>
#include <condition_variable>
#include <thread>

namespace tfs::gui {
namespace {

using test::FakeBase;
using test::FakeLocator;
using test::WaitUntil;

/// What the service's side does next; shared by factory and connections.
struct Peer {
    std::atomic<bool> alive{true};
    std::atomic<int> connections{0};
    std::atomic<int> shutdowns{0};
    std::mutex mutex;
    std::condition_variable condition;
    bool stalled = false;
    int waiting = 0;

    void Stall(bool value) {
        {
            const std::lock_guard lock(mutex);
            stalled = value;
        }
        condition.notify_all();
    }
    void WaitWhileStalled() {
        std::unique_lock lock(mutex);
        ++waiting;
        condition.wait(lock, [this] { return !stalled; });
        --waiting;
    }
    bool IsWaiting() {
        const std::lock_guard lock(mutex);
        return waiting != 0;
    }
};

class FakeConnection : public FakeBase<ulk::remoting::IRemoteConnection> {
public:
    explicit FakeConnection(Peer& peer) : m_peer(peer) {}
    result_t GetServiceLocator(ulk::IServiceLocator** locator) noexcept override {
        *locator = nullptr;
        if (!m_peer.alive)
            return ulk::eNotReady;
        *locator = ulk::Ptr<FakeLocator>(m_locator).Detach();
        return ulk::sOk;
    }
    void Shutdown() noexcept override { ++m_peer.shutdowns; }

private:
    Peer& m_peer;
    ulk::Ptr<FakeLocator> m_locator = ulk::Ptr<FakeLocator>::Adopt(new FakeLocator);
};

class FakeConnectionFactory : public FakeBase<ulk::remoting::IConnectionFactory> {
public:
    explicit FakeConnectionFactory(Peer& peer) : m_peer(peer) {}
    result_t CreateRemoteRpc(utils::Anyptr settings, ulk::remoting::IRemoteConnection** connection) noexcept override {
        *connection = nullptr;
        m_peer.WaitWhileStalled();
        const auto* const connectionSettings = settings.As<ulk::remoting::ConnectionSettings>();
        if (!m_peer.alive || connectionSettings == nullptr || connectionSettings->address != "/the/socket")
            return ulk::eNotReady;
        ++m_peer.connections;
        *connection = new FakeConnection(m_peer);
        return ulk::sOk;
    }

private:
    Peer& m_peer;
};

class ProductConnectionTest : public test::GuiTest {
protected:
    ProductConnectionTest() {
        const auto factory = ulk::Ptr<FakeConnectionFactory>::Adopt(new FakeConnectionFactory(m_peer));
        m_app.local->Put<ulk::remoting::IConnectionFactory>(factory.Get());
        auto config = std::make_shared<tfs::loader::ConfigData>();
        config->socketPath = "/the/socket";
        m_connection = std::make_unique<ProductConnection>(nullptr);
        m_connection->Start(m_app.local.Get(), config);
        m_connection->Lost().connect([this] { ++m_lost; });
        m_connection->Established().connect([this] { ++m_established; });
    }
    ~ProductConnectionTest() override { m_peer.Stall(false); }

    std::size_t Traced(int level, const char* text) const { return m_app.tracer->Count(level, text); }

    Peer m_peer;
    int m_lost = 0;
    int m_established = 0;
    std::unique_ptr<ProductConnection> m_connection;
};

TEST_F(ProductConnectionTest, eachPollFollowsTheTable) {
    QSignalSpy changed(m_connection.get(), &ProductConnection::isConnectedToProductChanged);
    EXPECT_FALSE(m_connection->isConnectedToProduct()) << "no poll at start";
    EXPECT_EQ(m_peer.connections, 0);

    m_peer.alive = false;
    m_connection->onTimer();
    EXPECT_EQ(Traced(800, "Still no connection to product service."), 1u);
    EXPECT_EQ(m_lost + m_established + changed.count(), 0);

    m_peer.alive = true;
    m_connection->onTimer();
    EXPECT_EQ(Traced(700, "Established connection with product"), 1u);
    EXPECT_TRUE(m_connection->isConnectedToProduct());
    EXPECT_EQ(m_established, 1);
    EXPECT_EQ(changed.count(), 1);

    m_connection->onTimer();
    m_connection->onTimer();
    EXPECT_EQ(Traced(800, "Connection with product successfully checked"), 2u);
    EXPECT_EQ(m_peer.connections, 1) << "the client is kept while it lives";

    m_peer.alive = false;
    m_connection->onTimer();
    EXPECT_EQ(Traced(300, "Connection to service lost!"), 1u);
    EXPECT_EQ(Traced(300, "Connection lost or can`t be established."), 1u);
    EXPECT_FALSE(m_connection->isConnectedToProduct());
    EXPECT_EQ(m_lost, 1);
    EXPECT_EQ(changed.count(), 2);
    EXPECT_EQ(m_peer.shutdowns, 1);
    EXPECT_EQ(m_connection->GetRemoteServiceLocator(), nullptr);

    m_peer.alive = true;
    m_connection->onTimer();
    EXPECT_EQ(m_peer.connections, 2);
    EXPECT_EQ(m_established, 2);
}

TEST_F(ProductConnectionTest, aLocatorInUseOutlivesTheConnection) {
    const auto held = m_connection->AcquireRemoteServiceLocator();
    ASSERT_TRUE(held);
    m_peer.alive = false;
    EXPECT_FALSE(m_connection->CheckConnection());
    ulk::Ptr<IPolicyManager> manager;
    EXPECT_EQ(ulk::GetInterface(held.Get(), manager.Ref()), ulk::eNoInterface) << "still an object";
}

TEST_F(ProductConnectionTest, aServiceThatNeverAnswersDoesNotHoldUpTheCaller) {
    m_peer.Stall(true);
    const auto start = std::chrono::steady_clock::now();
    for (int poll = 0; poll < 50; ++poll)
        m_connection->onTimer();
    // One short wait for the attempt, not one for every poll.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_FALSE(m_connection->isConnectedToProduct());
    EXPECT_EQ(m_peer.connections, 0);
    m_peer.Stall(false);
    EXPECT_TRUE(WaitUntil([this] {
        m_connection->onTimer();
        return m_connection->isConnectedToProduct();
    }));
    EXPECT_EQ(m_peer.connections, 1) << "the attempt under way was taken, not doubled";
}

TEST_F(ProductConnectionTest, aConnectionReplacedBetweenTwoPollsIsALossFirst) {
    m_connection->onTimer();
    ASSERT_EQ(m_established, 1);
    QSignalSpy changed(m_connection.get(), &ProductConnection::isConnectedToProductChanged);
    m_peer.alive = false;
    EXPECT_FALSE(m_connection->AcquireRemoteServiceLocator());
    m_peer.alive = true;
    std::thread([this] { EXPECT_TRUE(m_connection->AcquireRemoteServiceLocator()); }).join();
    EXPECT_EQ(m_peer.connections, 2) << "back before the poll";
    EXPECT_EQ(changed.count(), 0);

    m_connection->onTimer();
    EXPECT_EQ(Traced(300, "Connection to service lost!"), 1u);
    EXPECT_EQ(m_lost, 1);
    EXPECT_FALSE(m_connection->isConnectedToProduct());
    EXPECT_EQ(changed.count(), 1);

    m_connection->onTimer();
    EXPECT_EQ(m_established, 2);
    EXPECT_TRUE(m_connection->isConnectedToProduct());
    m_connection->onTimer();
    EXPECT_EQ(m_lost, 1);
    EXPECT_EQ(changed.count(), 2);
    EXPECT_EQ(m_peer.connections, 2) << "the new connection is kept";
}

TEST_F(ProductConnectionTest, aWorkerWaitsForTheAttemptUnderWayAndThePollDoesNot) {
    m_connection->onTimer();
    m_peer.alive = false;
    m_connection->onTimer();
    ASSERT_EQ(m_lost, 1);
    m_peer.alive = true;
    m_peer.Stall(true);
    std::atomic<bool> done{false};
    std::thread worker([&] {
        EXPECT_TRUE(m_connection->AcquireRemoteServiceLocator());
        done = true;
    });
    EXPECT_TRUE(WaitUntil([this] { return m_peer.IsWaiting(); }));
    const auto start = std::chrono::steady_clock::now();
    m_connection->onTimer();
    EXPECT_FALSE(m_connection->AcquireRemoteServiceLocator()) << "this is the GUI thread";
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_FALSE(done);
    m_peer.Stall(false);
    worker.join();
    EXPECT_EQ(m_peer.connections, 2) << "everybody used one attempt";
}

TEST_F(ProductConnectionTest, aWorkerDoesNotWaitForAServiceThatCouldNotBeReachedBefore) {
    m_peer.alive = false;
    // The second attempt begins when the first one's failure has been taken note of.
    ASSERT_TRUE(WaitUntil([this] {
        m_connection->onTimer();
        return Traced(300, "Cannot create remote rpc") >= 2;
    }));
    m_peer.Stall(true);
    const auto start = std::chrono::steady_clock::now();
    std::thread([this] {
        for (int event = 0; event < 20; ++event)
            EXPECT_FALSE(m_connection->AcquireRemoteServiceLocator());
    }).join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(ProductConnectionTest, aFailureHoldsForWhoAsksRightAfterItButNotForThePoll) {
    m_peer.alive = false;
    constexpr std::size_t Questions = 50;
    for (std::size_t question = 0; question < Questions; ++question)
        EXPECT_EQ(m_connection->GetRemoteServiceLocator(), nullptr);
    // One unless the machine holds this thread up.
    EXPECT_LT(Traced(300, "Cannot create remote rpc"), Questions / 2);
    m_peer.alive = true;
    m_connection->onTimer();
    EXPECT_TRUE(m_connection->isConnectedToProduct());
}

TEST_F(ProductConnectionTest, workersMayAskWhileTheTimerPolls) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> workers;
    for (int i = 0; i < 4; ++i) {
        workers.emplace_back([&] {
            while (!stop) {
                if (const auto remote = m_connection->AcquireRemoteServiceLocator()) {
                    ulk::Ptr<IPolicyManager> manager;
                    (void)ulk::GetInterface(remote.Get(), manager.Ref());
                }
            }
        });
    }
    for (int poll = 0; poll < 200; ++poll) {
        m_peer.alive = poll % 3 != 0;
        m_connection->onTimer();
    }
    stop = true;
    for (std::thread& worker : workers)
        worker.join();
    m_connection.reset();
    EXPECT_EQ(m_peer.connections, m_peer.shutdowns) << "every connection was shut down";
}

TEST_F(ProductConnectionTest, goingAwayTellsOfALossAndShutsDown) {
    m_connection->onTimer();
    m_connection.reset();
    EXPECT_EQ(m_lost, 1);
    EXPECT_EQ(m_peer.shutdowns, 1);
}

TEST_F(ProductConnectionTest, withoutATransportEveryPollFails) {
    m_app.local->Remove(ulk::remoting::IConnectionFactory::Iid);
    m_connection->onTimer();
    EXPECT_FALSE(m_connection->isConnectedToProduct());
    EXPECT_EQ(Traced(300, "Cannot create connection factory"), 1u);
    EXPECT_EQ(Traced(300, "Cannot connect to service"), 1u);
}

TEST_F(ProductConnectionTest, aClientWithoutAConnectionSaysSo) {
    tfs::remote::UlkRemoteClientInitializer client(m_app.local.Get());
    EXPECT_EQ(client.GetRemoteServiceLocator(), nullptr);
    m_peer.alive = false;
    tfs::loader::ConfigData config;
    EXPECT_EQ(client.Initialize(config), ulk::eNotReady);
    EXPECT_EQ(client.GetRemoteServiceLocator(), nullptr) << "nothing is kept of a failure";
    const auto lines = m_app.tracer->Lines(300);
    ASSERT_EQ(lines.size(), 3u);
    for (const std::size_t i : {0u, 2u}) {
        EXPECT_NE(lines[i].find("remote_client_initializer.cpp:"), std::string::npos) << lines[i];
        EXPECT_NE(lines[i].find(" failed: result = "), std::string::npos) << lines[i];
        EXPECT_TRUE(lines[i].ends_with("Cannot get remote service locator")) << lines[i];
    }
    EXPECT_TRUE(lines[1].ends_with("Cannot create remote rpc")) << lines[1];
}

class PolicyTest : public test::GuiTest {};

TEST_F(PolicyTest, onlyAnExactZeroIsAPolicy) {
    for (const auto& [result, expected] : {std::pair{ulk::sOk, true}, std::pair{ulk::sFalse, false},
                                           std::pair{ulk::eAccessDenied, false}, std::pair{result_t{2}, false}}) {
        m_app.policyManager->result = result;
        EXPECT_EQ(policy::IsUnderPolicy(), expected) << result;
        EXPECT_EQ(policy::IsTSNUnderPolicy(), expected) << result;
    }
    m_app.connected = false;
    EXPECT_FALSE(policy::IsUnderPolicy());
}

TEST_F(PolicyTest, flagsAreUntouchedWithoutTheInterface) {
    m_app.remote->Remove(IPolicyProvider::Iid);
    bool local = true;
    bool group = true;
    EXPECT_EQ(policy::IsUserManageTasksAllowed(local, group), ulk::eUnspecified);
    EXPECT_TRUE(local && group);
    m_app.connected = false;
    EXPECT_THROW(policy::IsUserManageTasksAllowed(local, group), ulk::RuntimeError);
}

TEST_F(PolicyTest, settingsThatCanNotBeReadThrow) {
    m_app.settings->privilegedOnly = true;
    EXPECT_EQ(app_settings::IsReportsAllowedForCurrentUser(), ::geteuid() == 0);
    m_app.settings->empty = true;
    EXPECT_THROW(app_settings::IsReportsAllowedForCurrentUser(), ulk::CheckResultFailedException);
    m_app.remote->Remove(IAppSettingsHandler::Iid);
    EXPECT_THROW(app_settings::IsReportsAllowedForCurrentUser(), ulk::CheckResultFailedException);
    m_app.connected = false;
    EXPECT_THROW(app_settings::IsReportsAllowedForCurrentUser(), ulk::RuntimeError);
}

} // namespace
} // namespace tfs::gui
