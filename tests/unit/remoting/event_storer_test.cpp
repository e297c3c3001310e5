// SPDX-License-Identifier: GPL-2.0-or-later
// The event store through its proxy.
#include <contract/tfs/event_query.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/test_client.h>

#include <gtest/gtest.h>

namespace tfs::test {

class EventStorerTest : public ::testing::Test {
protected:
    void SetUp() override {
        service::rpc::RpcServer::Options options;
        options.socketPath = folder.File("socket");
        m_server = std::make_unique<service::rpc::RpcServer>(options, service, service, feed, nullptr);
        ASSERT_EQ(m_server->Start(), ulk::sOk);
        m_client = std::make_unique<Client>(options.socketPath);
        storer = m_client->Get<IEventStorer>();
        ASSERT_TRUE(storer);
    }
    void Store(Event::IdType count) {
        for (Event::IdType id = 1; id <= count; ++id) {
            service.stored.push_back(FullEvent());
            service.stored.back().id = id;
        }
    }
    std::vector<Event::IdType> Ids(const EventQuery& query) {
        std::vector<Event> events(1);
        EXPECT_EQ(storer->QueryEvents(query, events), ulk::sOk);
        std::vector<Event::IdType> ids;
        for (const Event& event : events)
            ids.push_back(event.id);
        return ids;
    }

    TempFolder folder;
    FakeService service;
    FakeFeed feed{64};
    ulk::Ptr<IEventStorer> storer;

private:
    std::unique_ptr<service::rpc::RpcServer> m_server;
    std::unique_ptr<Client> m_client;
};

TEST_F(EventStorerTest, ReadsBringAllFieldsAndCodesLeaveTheRecordAlone) {
    Store(2);
    std::uint64_t count = 0;
    EXPECT_EQ(storer->GetEventCount(count), ulk::sOk);
    EXPECT_EQ(count, 2u);
    Event event;
    EXPECT_EQ(storer->GetOldestEvent(event), ulk::sOk);
    EXPECT_EQ(event, service.stored[0]);
    EXPECT_EQ(storer->GetEvent(2, event), ulk::sOk);
    EXPECT_EQ(event, service.stored[1]);
    EXPECT_EQ(storer->GetEvent(3, event), ulk::eNotFound);
    EXPECT_EQ(event, service.stored[1]);
    service.code = ulk::eAccessDenied;
    count = 7;
    EXPECT_EQ(storer->GetEventCount(count), ulk::eAccessDenied);
    EXPECT_EQ(count, 7u);
    EXPECT_EQ(storer->GetOldestEvent(event), ulk::eAccessDenied);
    EXPECT_EQ(event, service.stored[1]);
}

TEST_F(EventStorerTest, AQueryArrivesAsItIs) {
    EventQuery query;
    query.filters = {{u"EventId", u"<", std::int64_t{1} << 40, u"AND"},
                     {u"TaskType", u"==", ulk::types::string16_t(u"OAS"), u"OR"}};
    query.limit = 20;
    query.offset = 3;
    query.orderBy = u"EventID ASC";
    std::vector<Event> events;
    ASSERT_EQ(storer->QueryEvents(query, events), ulk::sOk);
    EXPECT_EQ(service.Last().query, query);
    EXPECT_EQ(service.Last().caller.uid, ::geteuid());
}

TEST_F(EventStorerTest, PagesAreJoinedUpToLimitAndEnd) {
    Store(10);
    EventQuery query;
    EXPECT_EQ(Ids(query), (std::vector<Event::IdType>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    EXPECT_EQ(service.BlockingCalls(), 4);
    query.offset = 4;
    EXPECT_EQ(Ids(query), (std::vector<Event::IdType>{5, 6, 7, 8, 9, 10}));
    query.limit = 5;
    EXPECT_EQ(Ids(query), (std::vector<Event::IdType>{5, 6, 7, 8, 9}));
    query.offset = 11;
    EXPECT_TRUE(Ids(query).empty());
    query.limit = 0;
    EXPECT_TRUE(Ids(query).empty());
}

TEST_F(EventStorerTest, AFailureOnALaterPageLeavesTheListAlone) {
    Store(10);
    service.failingPage = 3;
    std::vector<Event> events(1, FullEvent());
    EXPECT_EQ(storer->QueryEvents({}, events), ulk::eLocked);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0], FullEvent());
    EXPECT_EQ(service.BlockingCalls(), 3);
}

TEST_F(EventStorerTest, WhatIsTooLargeForAMessageIsSplitOrTold) {
    service.eventsOfAPage = 1000;
    Store(40);
    for (Event& event : service.stored)
        event.Add(types::AdditionalName::Information, std::string(1'000'000, 'x')); // 40 MB together
    service.stored[7].Add(types::AdditionalName::Path, std::string(20'000'000, 'x'));
    std::vector<Event> events;
    ASSERT_EQ(storer->QueryEvents({}, events), ulk::sOk);
    ASSERT_EQ(events.size(), 40u);
    for (std::size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(events[i].id, service.stored[i].id);
        EXPECT_EQ(events[i].additional.size(), i == 7 ? 0 : service.stored[i].additional.size());
    }
    Event event;
    EXPECT_EQ(storer->GetEvent(8, event), ulk::sOk);
    EXPECT_TRUE(event.additional.empty());
}

} // namespace tfs::test
