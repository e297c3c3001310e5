// SPDX-License-Identifier: GPL-2.0-or-later
// Subscribers that fall behind, with the service's own bus and store behind the server.
#include <contract/tfs/event.h>
#include <service/rpc/rpc_server.h>
#include <service/store/event_bus.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/test_client.h>

#include <gtest/gtest.h>
#include <latch>
#include <thread>

namespace tfs::test {

using namespace std::chrono_literals;
using types::AdditionalName;
using types::EventName;

constexpr EventName::Type Types[] = {EventName::ObjectProcessed, EventName::ObjectNotProcessed, EventName::UpdateError,
                                     EventName::TaskCreated};

Event NumberedEvent(std::size_t number) {
    Event event;
    event.type = Types[number % std::size(Types)];
    event.Add(AdditionalName::TaskType, ulk::types::string16_t(number % 3 == 0 ? u"ODS" : u"OAS"));
    event.Add(AdditionalName::Information, std::string(number % 200, 'x'));
    return event;
}

EventFilter FilterOf(std::size_t number) {
    EventFilter filter;
    if (number % 3 == 1)
        filter.eventTypes = {static_cast<std::uint32_t>(Types[number % 4]), static_cast<std::uint32_t>(Types[3])};
    if (number % 3 == 2)
        filter.excludedEventTypes = {static_cast<std::uint32_t>(Types[number % 4])};
    if (number >= 5)
        filter.taskTypes = {u"ODS"};
    return filter;
}

TEST(StoreCatchUpTest, TenSubscribersGetEachEventOnceAndInOrderHoweverSlowTheyAre) {
    constexpr std::size_t Subscribers = 10;
    constexpr std::size_t Publishers = 4;
    constexpr std::size_t EventsOfEach = 5000;
    const TempFolder folder;
    service::store::EventBus::Options busOptions;
    busOptions.databasePath = folder.File("events.db");
    busOptions.ringSize = 64; // much less than what is published while they are held up
    service::store::EventBus bus(busOptions, ulk::Ptr<ulk::ITracer>());
    bus.Start();
    FakeService service;
    service::rpc::RpcServer::Options options;
    options.socketPath = folder.File("socket");
    service::rpc::RpcServer server(options, service, service, bus, nullptr);
    ASSERT_EQ(server.Start(), ulk::sOk);

    // Two connections: all of the first are held up from the first event on, those of the second now and then.
    auto settings = Settings(options.socketPath);
    settings.heartbeatMs = 600'000; // a handler that holds the loop up holds the heartbeat up too
    Client slow(settings);
    Client quick(settings);
    std::latch allPublished(1);
    std::vector<ulk::Ptr<Receiver>> receivers;
    for (std::size_t i = 0; i < Subscribers; ++i) {
        auto& receiver = receivers.emplace_back(ulk::Ptr<Receiver>::Adopt(new Receiver));
        Client& client = i % 2 == 0 ? slow : quick;
        if (i == 0)
            receiver->onEvent = [&](const Event&) { allPublished.wait(); };
        if (i == 1)
            receiver->onEvent = [&](const Event& event) {
                if (event.id > 0 && event.id % 1000 == 0) // until the ring has gone on without it
                    WaitFor([&] { return bus.End().lastStoredId >= event.id + 100 || allPublished.try_wait(); }, 5s);
            };
        ASSERT_EQ(client.Get<IEventSubscriber>()->Subscribe(receiver.Get(), FilterOf(i)), ulk::sOk);
    }

    std::vector<std::thread> publishers;
    for (std::size_t p = 0; p < Publishers; ++p)
        publishers.emplace_back([&, p] {
            for (std::size_t n = 0; n < EventsOfEach; ++n) {
                bus.Publish(NumberedEvent(p + n * Publishers));
                if (n % 7 == 0)
                    bus.PublishTransient(NumberedEvent(n));
            }
        });
    for (std::thread& publisher : publishers)
        publisher.join();
    allPublished.count_down();

    std::vector<Event> stored;
    ASSERT_EQ(bus.ReadStored(0, bus.End().lastStoredId, Publishers * EventsOfEach, stored), ulk::sOk);
    ASSERT_EQ(stored.size(), Publishers * EventsOfEach);
    for (std::size_t i = 0; i < Subscribers; ++i) {
        SCOPED_TRACE(i);
        std::vector<Event> expected;
        const EventFilter filter = FilterOf(i);
        std::copy_if(stored.begin(), stored.end(), std::back_inserter(expected),
                     [&filter](const Event& event) { return filter.Passes(event); });
        const auto received = [&] {
            std::vector<Event> events = receivers[i]->Events();
            std::erase_if(events, [](const Event& event) { return event.id == 0; });
            return events;
        };
        ASSERT_TRUE(WaitFor([&] { return received().size() >= expected.size(); })) << received().size();
        EXPECT_TRUE(received() == expected);
    }
    server.Stop();
    bus.Stop();
}

} // namespace tfs::test
