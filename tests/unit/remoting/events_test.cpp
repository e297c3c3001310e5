// SPDX-License-Identifier: GPL-2.0-or-later
// Events from the feed to a receiver: order, filters, slow and rude subscribers, ends at every moment.
#include <contract/tfs/tasks.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/test_client.h>

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tfs::test {

using namespace std::chrono_literals;

Event Numbered(int number, std::size_t padding = 0) {
    Event event;
    event.type = types::EventName::ObjectProcessed;
    event.Add(types::AdditionalName::ObjectSize, number);
    event.Add(types::AdditionalName::FileName, std::string(padding, 'x'));
    return event;
}

int NumberOf(const Event& event) { return *event.additional.at(0).value.As<std::int32_t>(); }

class EventsTest : public ::testing::Test {
protected:
    void Start(std::size_t ringSize, std::uint32_t subscriptions = 16) {
        feed = std::make_unique<FakeFeed>(ringSize);
        service::rpc::RpcServer::Options options;
        options.socketPath = folder.File("socket");
        options.subscriptions = subscriptions;
        server = std::make_unique<service::rpc::RpcServer>(options, service, service, *feed, nullptr);
        ASSERT_EQ(server->Start(), ulk::sOk);
        client = std::make_unique<Client>(options.socketPath);
        ASSERT_EQ(client->result, ulk::sOk);
        subscriber = client->Get<IEventSubscriber>();
        ASSERT_TRUE(subscriber);
    }
    static ulk::Ptr<Receiver> MakeReceiver() { return ulk::Ptr<Receiver>::Adopt(new Receiver()); }
    /// Each of `first` to `last` once and in order.
    static void ExpectRun(const Receiver& receiver, int first, int last) {
        const auto events = receiver.Events();
        ASSERT_EQ(events.size(), static_cast<std::size_t>(last - first + 1));
        for (std::size_t i = 0; i < events.size(); ++i)
            ASSERT_EQ(NumberOf(events[i]), first + static_cast<int>(i));
    }

    TempFolder folder;
    FakeService service;
    std::unique_ptr<FakeFeed> feed;
    std::unique_ptr<service::rpc::RpcServer> server;
    std::unique_ptr<Client> client;
    ulk::Ptr<IEventSubscriber> subscriber;
};

TEST_F(EventsTest, AnEventThatCanNotBeSentCostsOnlyItself) {
    Start(1000);
    const auto receiver = MakeReceiver();
    ASSERT_EQ(subscriber->Subscribe(receiver.Get(), {}), ulk::sOk);
    ulk::types::variant_t deep(1);
    for (int i = 0; i < 40; ++i)
        deep = ulk::types::variant_t(ulk::types::variant_t::Vector{deep});
    Event tooDeep = Numbered(2);
    tooDeep.Add(types::AdditionalName::Settings, deep);
    feed->Publish(Numbered(1));
    feed->Publish(tooDeep);
    feed->Publish(Numbered(3));
    ASSERT_TRUE(WaitFor([&] { return receiver->Count() == 2; }));
    EXPECT_EQ(NumberOf(receiver->Events().front()), 1);
    EXPECT_EQ(NumberOf(receiver->Events().back()), 3);
    EXPECT_TRUE(client->IsAlive());
}

TEST_F(EventsTest, WhoMayNotReadReportsIsToldOfOthersOnlyWhatAWindowNeeds) {
    service.reportsAllowed = false;
    Start(1); // the second half comes from the store
    const auto receiver = MakeReceiver();
    ASSERT_EQ(subscriber->Subscribe(receiver.Get(), {}), ulk::sOk);
    Event event;
    event.type = types::EventName::ThreatDetected;
    event.initiator = types::EventInitiator::User;
    event.initiatorUser = EventUser{::geteuid() + 1, u"another"};
    event.Add(types::AdditionalName::FileName, std::string("/home/another/letter"));
    event.Add(types::AdditionalName::TaskId, std::uint64_t{7});
    event.Add(types::AdditionalName::DetectName, std::string("Threat"));
    Event own = event;
    own.initiatorUser->uid = ::geteuid();
    for (int i = 0; i < 50; ++i) {
        feed->Publish(event);
        feed->Publish(own);
    }
    ASSERT_TRUE(WaitFor([&] { return receiver->Count() == 100; }));
    for (const Event& told : receiver->Events()) {
        if (told.initiatorUser) {
            EXPECT_EQ(told.initiatorUser, own.initiatorUser);
            EXPECT_EQ(told.additional, own.additional);
            continue;
        }
        ASSERT_EQ(told.additional.size(), 1u);
        EXPECT_EQ(told.additional[0].name, types::AdditionalName::TaskId);
        EXPECT_EQ(told.type, types::EventName::ThreatDetected);
    }
    service.reportsAllowed = true;
    feed->Publish(event);
    ASSERT_TRUE(WaitFor([&] { return receiver->Count() == 101; }));
    EXPECT_EQ(receiver->Events().back().additional, event.additional);
}

TEST_F(EventsTest, ArriveWholeAndInOrderFromTheSubscriptionOn) {
    Start(100'000);
    feed->Publish(Numbered(-1)); // before the subscription
    const auto receiver = MakeReceiver();
    ASSERT_EQ(subscriber->Subscribe(receiver.Get(), {}), ulk::sOk);
    Event full = FullEvent();
    full.id = feed->Publish(full);
    ASSERT_TRUE(WaitFor([&] { return receiver->Count() == 1; }));
    EXPECT_EQ(receiver->Events().front(), full);
    feed->PublishTransient(full);
    ASSERT_TRUE(WaitFor([&] { return receiver->Count() == 2; }));
    EXPECT_EQ(receiver->Events().back().id, 0);

    const auto second = MakeReceiver();
    ASSERT_EQ(subscriber->Subscribe(second.Get(), {}), ulk::sOk);
    for (int i = 0; i < 20'000; ++i)
        feed->Publish(Numbered(i));
    ASSERT_TRUE(WaitFor([&] { return second->Count() == 20'000; }));
    ExpectRun(*second, 0, 19'999);
    EXPECT_EQ(feed->storeReads.load(), 0);
    EXPECT_EQ(subscriber->Unsubscribe(receiver.Get()), ulk::sOk);
    EXPECT_EQ(subscriber->Unsubscribe(second.Get()), ulk::sOk);
    EXPECT_TRUE(WaitFor([&] { return server->Figures().subscriptions == 0; }));
}

TEST_F(EventsTest, FilterIsAppliedByTheService) {
    Start(1024);
    const auto receiver = MakeReceiver();
    EventFilter filter;
    filter.eventTypes = {types::EventName::ThreatDetected, types::EventName::TaskStateChanged};
    filter.excludedEventTypes = {types::EventName::TaskStateChanged};
    ASSERT_EQ(subscriber->Subscribe(receiver.Get(), filter), ulk::sOk);
    for (int i = 0; i < 300; ++i) {
        Event event = Numbered(i);
        const types::EventName::Type kinds[] = {types::EventName::ThreatDetected, types::EventName::TaskStateChanged,
                                                types::EventName::ObjectProcessed};
        event.type = kinds[i % 3];
        feed->Publish(event);
    }
    ASSERT_TRUE(WaitFor([&] { return receiver->Count() >= 100; }));
    for (const Event& event : receiver->Events())
        EXPECT_EQ(event.type, types::EventName::ThreatDetected);
    EXPECT_EQ(NumberOf(receiver->Events().back()), 297);
}

TEST_F(EventsTest, SubscriberThatFellBehindCatchesUpFromTheStore) {
    Start(64);
    const auto receiver = MakeReceiver();
    std::atomic<bool> hold{true};
    receiver->onEvent = [&](const Event&) { WaitFor([&] { return !hold.load(); }); };
    feed->failingStoreReads = 1;
    auto settings = Settings(folder.File("socket"));
    settings.heartbeatMs = 60'000; // this receiver blocks its own loop
    Client slow(settings);
    const auto slowSubscriber = slow.Get<IEventSubscriber>();
    ASSERT_EQ(slowSubscriber->Subscribe(receiver.Get(), {}), ulk::sOk);
    for (int i = 0; i < 30'000; ++i)
        feed->Publish(Numbered(i, 200));
    hold = false;
    ASSERT_TRUE(WaitFor([&] { return receiver->Count() >= 30'000; }));
    ExpectRun(*receiver, 0, 29'999);
    EXPECT_GT(feed->storeReads.load(), 1);
    for (int i = 30'000; i < 30'010; ++i)
        feed->Publish(Numbered(i));
    ASSERT_TRUE(WaitFor([&] { return receiver->Count() >= 30'010; }));
    ExpectRun(*receiver, 0, 30'009);
}

TEST_F(EventsTest, SubscribersThatFellBehindTogetherShareWhatIsReadForThem) {
    constexpr int Count = 20'000;
    constexpr std::size_t Subscribers = 8;
    Start(64);
    std::atomic<bool> hold{true};
    auto settings = Settings(folder.File("socket"));
    settings.heartbeatMs = 60'000; // these receivers block their own loop
    Client slow(settings);
    const auto slowSubscriber = slow.Get<IEventSubscriber>();
    std::vector<ulk::Ptr<Receiver>> receivers;
    for (std::size_t i = 0; i < Subscribers; ++i) {
        receivers.push_back(MakeReceiver());
        receivers.back()->onEvent = [&, i](const Event& event) {
            WaitFor([&] { return !hold.load(); });
            if (i == 0 && NumberOf(event) == Count / 2) // goes while the others go on
                slowSubscriber->Unsubscribe(receivers[0].Get());
        };
        ASSERT_EQ(slowSubscriber->Subscribe(receivers.back().Get(), {}), ulk::sOk);
    }
    for (int i = 0; i < Count; ++i)
        feed->Publish(Numbered(i, 200));
    hold = false;
    for (std::size_t i = 1; i < Subscribers; ++i) {
        ASSERT_TRUE(WaitFor([&] { return receivers[i]->Count() >= Count; })) << i;
        ExpectRun(*receivers[i], 0, Count - 1);
    }
    ExpectRun(*receivers[0], 0, Count / 2);
    EXPECT_GT(feed->storeReads.load(), 1);
    EXPECT_LT(feed->storeReads.load(), Count / 256 * 3); // by itself each would need about Count / 256
}

TEST_F(EventsTest, SubscriberThatNeverReadsCostsItsWindowAndBlocksNobody) {
    Start(1024);
    const auto stuck = MakeReceiver();
    std::atomic<bool> hold{true};
    stuck->onEvent = [&](const Event&) { WaitFor([&] { return !hold.load(); }, 60s); };
    auto settings = Settings(folder.File("socket"));
    settings.heartbeatMs = 60'000;
    Client other(settings);
    ASSERT_EQ(other.Get<IEventSubscriber>()->Subscribe(stuck.Get(), {}), ulk::sOk);
    const auto receiver = MakeReceiver();
    ASSERT_EQ(subscriber->Subscribe(receiver.Get(), {}), ulk::sOk);
    for (int i = 0; i < 100'000; ++i) {
        feed->Publish(Numbered(i, 100));
        if (i % 500 == 0) {
            ASSERT_TRUE(WaitFor([&] { return receiver->Count() + 500 > static_cast<std::size_t>(i); }));
        }
    }
    ASSERT_TRUE(WaitFor([&] { return receiver->Count() == 100'000; }));
    ExpectRun(*receiver, 0, 99'999);
    EXPECT_LT(server->Figures().peakQueuedBytes, 1024u * 1024u);
    EXPECT_EQ(client->Get<ITfsTaskManager>()->StartTask(u"2"), ulk::sOk);
    hold = false;
}

TEST_F(EventsTest, NoEventAfterUnsubscribe) {
    Start(100'000);
    std::atomic<bool> stop{false};
    std::thread publisher([&] {
        for (int i = 0; !stop.load(); ++i)
            feed->Publish(Numbered(i));
    });
    for (int round = 0; round < 100; ++round) {
        const auto receiver = MakeReceiver();
        std::atomic<bool> ended{false};
        std::atomic<int> late{0};
        receiver->onEvent = [&](const Event&) {
            if (ended.load())
                ++late;
        };
        ASSERT_EQ(subscriber->Subscribe(receiver.Get(), {}), ulk::sOk);
        ASSERT_TRUE(WaitFor([&] { return receiver->Count() > static_cast<std::size_t>(round % 7); }));
        ASSERT_EQ(subscriber->Unsubscribe(receiver.Get()), ulk::sOk);
        ended = true;
        const std::size_t count = receiver->Count();
        std::this_thread::yield();
        ASSERT_EQ(receiver->Count(), count);
        ASSERT_EQ(late.load(), 0);
        // The one reference left is the test's own.
        EXPECT_EQ(receiver->AddRef(), 2u);
        receiver->Release();
    }
    stop = true;
    publisher.join();
    EXPECT_TRUE(WaitFor([&] { return server->Figures().subscriptions == 0; }));
}

TEST_F(EventsTest, UnsubscribeWaitsForTheDeliveryThatRuns) {
    Start(64);
    const auto receiver = MakeReceiver();
    std::atomic<bool> inside{false};
    std::atomic<bool> hold{true};
    receiver->onEvent = [&](const Event&) {
        inside = true;
        WaitFor([&] { return !hold.load(); });
        inside = false;
    };
    ASSERT_EQ(subscriber->Subscribe(receiver.Get(), {}), ulk::sOk);
    feed->Publish(Numbered(1));
    ASSERT_TRUE(WaitFor([&] { return inside.load(); }));
    std::atomic<bool> returned{false};
    std::thread caller([&] {
        EXPECT_EQ(subscriber->Unsubscribe(receiver.Get()), ulk::sOk);
        EXPECT_FALSE(inside.load());
        returned = true;
    });
    EXPECT_FALSE(WaitFor([&] { return returned.load(); }, 50ms));
    hold = false;
    caller.join();
}

TEST_F(EventsTest, UnsubscribeFromInsideADelivery) {
    Start(64);
    const auto receiver = MakeReceiver();
    std::atomic<result_t> result{ulk::eUnexpected};
    std::atomic<result_t> call{ulk::sOk};
    const auto manager = client->Get<ITfsTaskManager>();
    receiver->onEvent = [&](const Event&) {
        call = manager->StartTask(u"2"); // the loop can't wait for itself
        result = subscriber->Unsubscribe(receiver.Get());
    };
    ASSERT_EQ(subscriber->Subscribe(receiver.Get(), {}), ulk::sOk);
    feed->Publish(Numbered(1));
    ASSERT_TRUE(WaitFor([&] { return result.load() == ulk::sOk; }));
    EXPECT_EQ(call.load(), ulk::eInvalidState);
    EXPECT_TRUE(WaitFor([&] { return server->Figures().subscriptions == 0; }));
}

TEST_F(EventsTest, ReceiverThatThrowsDoesntEndTheLoop) {
    Start(64);
    const auto receiver = MakeReceiver();
    std::atomic<int> thrown{0};
    receiver->onEvent = [&](const Event&) {
        if (thrown++ % 2 == 0)
            throw std::runtime_error("receiver");
        throw 1;
    };
    const auto good = MakeReceiver();
    ASSERT_EQ(subscriber->Subscribe(receiver.Get(), {}), ulk::sOk);
    ASSERT_EQ(subscriber->Subscribe(good.Get(), {}), ulk::sOk);
    for (int i = 0; i < 10; ++i)
        feed->Publish(Numbered(i));
    ASSERT_TRUE(WaitFor([&] { return good->Count() == 10 && thrown.load() == 10; }));
    EXPECT_TRUE(client->IsAlive());
}

TEST_F(EventsTest, LostConnectionDropsTheReceivers) {
    Start(64);
    const auto receiver = MakeReceiver();
    ASSERT_EQ(subscriber->Subscribe(receiver.Get(), {}), ulk::sOk);
    server->Stop();
    ASSERT_TRUE(WaitFor([&] { return !client->IsAlive(); }));
    EXPECT_EQ(subscriber->Unsubscribe(receiver.Get()), ulk::eNotReady);
    EXPECT_EQ(receiver->AddRef(), 2u);
    receiver->Release();
    EXPECT_EQ(subscriber->Subscribe(receiver.Get(), {}), ulk::eNotReady);
}

TEST_F(EventsTest, WrongSubscriptionsAreRefused) {
    Start(64, 2);
    const auto first = MakeReceiver();
    const auto second = MakeReceiver();
    const auto third = MakeReceiver();
    EXPECT_EQ(subscriber->Subscribe(nullptr, {}), ulk::eInvalidArgument);
    EXPECT_EQ(subscriber->Unsubscribe(first.Get()), ulk::eNotFound);
    EXPECT_EQ(subscriber->Subscribe(first.Get(), {}), ulk::sOk);
    EXPECT_EQ(subscriber->Subscribe(first.Get(), {}), ulk::eAlreadyDone);
    EXPECT_EQ(subscriber->Subscribe(second.Get(), {}), ulk::sOk);
    EXPECT_EQ(subscriber->Subscribe(third.Get(), {}), ulk::eInsufficientResources);
    EventFilter large;
    large.eventTypes.assign(5000, 1);
    EXPECT_EQ(subscriber->Unsubscribe(second.Get()), ulk::sOk);
    EXPECT_EQ(subscriber->Subscribe(third.Get(), large), ulk::eInvalidArgument);
    EXPECT_EQ(subscriber->Subscribe(third.Get(), {}), ulk::sOk);
}

} // namespace tfs::test
