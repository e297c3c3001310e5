// SPDX-License-Identifier: GPL-2.0-or-later
// Receivers of events that no proxy of ours would pass.
#include <contract/tfs/event.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/library_client.h>
#include <tests/unit/remoting/test_client.h>

#include <gtest/gtest.h>

namespace tfs::test {

namespace schema = wire::schema;

class RudeReceiverTest : public ::testing::Test {
protected:
    RudeReceiverTest() {
        service::rpc::RpcServer::Options options;
        options.socketPath = path;
        server = std::make_unique<service::rpc::RpcServer>(options, service, service, feed, nullptr);
        EXPECT_EQ(server->Start(), ulk::sOk);
    }
    void TearDown() override {
        // Nothing of it is left, and an honest subscriber gets its events.
        ASSERT_TRUE(WaitFor([this] { return server->Figures().subscriptions == 0; }));
        Client client(path);
        ASSERT_EQ(client.result, ulk::sOk);
        const auto receiver = ulk::Ptr<Receiver>::Adopt(new Receiver());
        ASSERT_EQ(client.Get<IEventSubscriber>()->Subscribe(receiver.Get(), {}), ulk::sOk);
        feed.Publish(FullEvent());
        EXPECT_TRUE(WaitFor([&] { return receiver->Count() == 1; }));
    }
    schema::EventSubscription::Client Subscribe(LibraryClient& client, schema::EventReceiver::Client receiver) {
        auto request = client.Get(IEventSubscriber::Iid).castAs<schema::EventSubscriber>().subscribeRequest();
        request.setReceiver(kj::mv(receiver));
        auto answer = request.send().wait(client.Scope());
        EXPECT_EQ(answer.getResult(), ulk::sOk);
        return answer.getSubscription();
    }

    bool EndsWhilePublishing(LibraryClient& client) {
        return WaitFor([&] {
            feed.Publish(FullEvent());
            return client.HasEnded();
        });
    }

    TempFolder folder;
    const std::string path = folder.File("socket");
    FakeService service;
    FakeFeed feed{64};
    std::unique_ptr<service::rpc::RpcServer> server;
};

/// A receiver that the client promises and may name later.
class PromisedReceiver {
public:
    schema::EventReceiver::Client Client() {
        auto named = kj::newPromiseAndFulfiller<void>();
        m_named = kj::mv(named.fulfiller);
        return named.promise.then([this] { return schema::EventReceiver::Client(KJ_ASSERT_NONNULL(m_receiver)); });
    }
    void Name(schema::EventReceiver::Client receiver) {
        m_receiver = kj::mv(receiver);
        m_named->fulfill();
    }

private:
    kj::Own<kj::PromiseFulfiller<void>> m_named;
    kj::Maybe<schema::EventReceiver::Client> m_receiver;
};

class ThrowingReceiver final : public schema::EventReceiver::Server {
    kj::Promise<void> onEvents(OnEventsContext) override { KJ_FAIL_REQUIRE("rude"); }
};

TEST_F(RudeReceiverTest, OneThatThrowsLosesItsConnection) {
    LibraryClient client(path);
    auto subscription = Subscribe(client, kj::heap<ThrowingReceiver>());
    EXPECT_TRUE(EndsWhilePublishing(client));
}

TEST_F(RudeReceiverTest, AnObjectOfTheServiceLosesTheConnectionToo) {
    LibraryClient client(path);
    auto subscription = Subscribe(client, client.Locator().castAs<schema::EventReceiver>());
    EXPECT_TRUE(EndsWhilePublishing(client));
}

TEST_F(RudeReceiverTest, OneThatIsPromisedForEverCostsNothingButItself) {
    LibraryClient client(path);
    PromisedReceiver promised;
    auto subscription = Subscribe(client, promised.Client());
    for (int i = 0; i < 10'000; ++i)
        feed.Publish(FullEvent());
    client.RoundTrip();
    EXPECT_LT(server->Figures().peakQueuedBytes, 1024u * 1024u);
}

// The subscription is its own receiver: nothing but the connection's end could free it, and it must not outlive that.
TEST_F(RudeReceiverTest, SubscriptionThatHoldsItselfGoesWithItsConnection) {
    for (int round = 0; round < 60; ++round) {
        LibraryClient client(path);
        PromisedReceiver promised;
        auto subscription = Subscribe(client, promised.Client());
        if (round % 2 == 0)
            feed.Publish(FullEvent());
        promised.Name(subscription.castAs<schema::EventReceiver>());
        // Else the end comes while the service learns who the receiver is.
        if (round % 3 == 0)
            client.RoundTrip();
    }
}

TEST_F(RudeReceiverTest, SubscriptionsThatHoldEachOtherGoWithTheirConnection) {
    LibraryClient client(path);
    PromisedReceiver promised;
    auto first = Subscribe(client, promised.Client());
    auto second = Subscribe(client, first.castAs<schema::EventReceiver>());
    promised.Name(second.castAs<schema::EventReceiver>());
    client.RoundTrip();
}

} // namespace tfs::test
