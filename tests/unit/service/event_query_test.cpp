// SPDX-License-Identifier: GPL-2.0-or-later
// Queries against the event store, on disk and not yet there.
#include <service/store/candidate_ids.h>
#include <service/store/event_bus.h>
#include <service/store/event_schema.h>
#include <service/store/event_search.h>
#include <service/store/query_plan.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/service/waiting.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>

namespace tfs::service::store {
namespace {

using testing::ElementsAre;
using tests::Eventually;
using tests::TempFolder;
using types::AdditionalName;
using types::EventName;
using ulk::types::string16_t;

constexpr std::size_t ManyBytes = 1 << 20;

QueryClause Id(const char16_t* comparison, std::int64_t id, const char16_t* logic = u"AND") {
    return {u"EventId", comparison, id, logic};
}
QueryClause Date(const char16_t* comparison, std::int64_t time, const char16_t* logic = u"AND") {
    return {u"Date", comparison, time, logic};
}
QueryClause Task(std::uint64_t id, const char16_t* comparison = u"==", const char16_t* logic = u"OR") {
    return {u"TaskId", comparison, id, logic};
}
QueryClause TaskType(const char16_t* type, const char16_t* comparison = u"==", const char16_t* logic = u"OR") {
    return {u"TaskType", comparison, string16_t(type), logic};
}
QueryClause Type(std::uint32_t type, const char16_t* comparison = u"==", const char16_t* logic = u"OR") {
    return {u"EventType", comparison, type, logic};
}

EventQuery Ask(std::vector<QueryClause> filters, const char16_t* order = u"EventID DESC") {
    EventQuery query;
    query.filters = std::move(filters);
    query.orderBy = order;
    return query;
}

Event MakeEvent(EventName::Type type, std::int64_t time, std::optional<std::uint64_t> task = {},
                const char16_t* taskType = nullptr) {
    Event event;
    event.type = type;
    event.time = time;
    if (task)
        event.Add(AdditionalName::TaskId, *task);
    if (taskType != nullptr)
        event.Add(AdditionalName::TaskType, string16_t(taskType));
    return event;
}

/// A bus in a folder of its own, and its events as they were published, with their ids.
class EventQueryTest : public testing::Test {
protected:
    void Start(std::function<void(EventBus::Options&)> change = {}) {
        EventBus::Options options;
        options.databasePath = folder.File("events.db");
        options.retry = std::chrono::milliseconds(10);
        if (change)
            change(options);
        bus = std::make_unique<EventBus>(options, ulk::Ptr<ulk::ITracer>());
        bus->Start();
    }
    void Publish(Event event) {
        bus->Publish(event);
        event.id = bus->End().lastStoredId;
        published.push_back(std::move(event));
    }
    /// Returns when everything is on disk.
    void Settle() {
        bus->Stop();
        Start();
    }
    std::vector<Event> Ids(EventQuery query, std::uint32_t pageSize = 0xFFFFFFFFu, std::size_t byteLimit = ManyBytes) {
        std::vector<Event> all;
        EventPage page;
        std::uint32_t rest = query.limit;
        do {
            const EventCursor from = page.cursor;
            query.limit = std::min(rest, pageSize);
            EXPECT_EQ(bus->Query(query, from, byteLimit, page), ulk::sOk);
            EXPECT_TRUE(!page.more || page.cursor != from);
            rest -= static_cast<std::uint32_t>(page.events.size());
            all.insert(all.end(), page.events.begin(), page.events.end());
        } while (page.more && rest > 0);
        return all;
    }
    std::vector<Event::IdType> Found(const EventQuery& query, std::uint32_t pageSize = 0xFFFFFFFFu) {
        std::vector<Event::IdType> ids;
        for (const Event& event : Ids(query, pageSize))
            ids.push_back(event.id);
        return ids;
    }

    TempFolder folder;
    std::unique_ptr<EventBus> bus;
    std::vector<Event> published;
};

TEST_F(EventQueryTest, EachFilterAndOrder) {
    Start();
    Publish(MakeEvent(EventName::TaskCreated, 100, 1, u"ODS"));
    Publish(MakeEvent(EventName::ThreatDetected, 200, 2, u"OAS"));
    Publish(MakeEvent(EventName::ApplicationStarted, 300));
    Publish(MakeEvent(EventName::ThreatDetected, 400, 1, u"ODS"));
    Publish(MakeEvent(EventName::TaskCreated, 500, std::numeric_limits<std::uint64_t>::max(), u"\u00dcber"));
    for (const bool onDisk : {false, true}) {
        SCOPED_TRACE(onDisk);
        if (onDisk)
            Settle();
        EXPECT_THAT(Found(Ask({})), ElementsAre(5, 4, 3, 2, 1));
        EXPECT_THAT(Found(Ask({}, u"EventID ASC")), ElementsAre(1, 2, 3, 4, 5));
        EXPECT_THAT(Found(Ask({Id(u"<", 4)})), ElementsAre(3, 2, 1));
        EXPECT_THAT(Found(Ask({Id(u">=", 2), Id(u"<=", 4), Id(u"!=", 3)})), ElementsAre(4, 2));
        EXPECT_THAT(Found(Ask({Id(u"==", 2, u"OR"), Id(u"==", 5, u"OR")})), ElementsAre(5, 2));
        EXPECT_THAT(Found(Ask({Date(u">=", 200), Date(u"<", 400)})), ElementsAre(3, 2));
        EXPECT_THAT(Found(Ask({Date(u"==", 300)})), ElementsAre(3));
        EXPECT_THAT(Found(Ask({Task(1)})), ElementsAre(4, 1));
        EXPECT_THAT(Found(Ask({Task(std::numeric_limits<std::uint64_t>::max())})), ElementsAre(5));
        EXPECT_THAT(Found(Ask({TaskType(u"OAS"), TaskType(u"\u00dcber")})), ElementsAre(5, 2));
        EXPECT_THAT(Found(Ask({Type(EventName::ThreatDetected), Task(1), TaskType(u"ODS")})), ElementsAre(4, 2, 1));
        EXPECT_THAT(Found(Ask({Type(EventName::ThreatDetected, u"==", u"AND"), Task(1)})), ElementsAre(4));
        EXPECT_THAT(Found(Ask({Type(EventName::ThreatDetected, u"!=", u"AND")})), ElementsAre(5, 3, 1));
        EXPECT_THAT(Found(Ask({TaskType(u"ODS", u"!=", u"AND")})), ElementsAre(5, 3, 2)); // 3 has none
        EXPECT_THAT(Found(Ask({Task(1), Id(u"<=", 3), Date(u">", 100)})), ElementsAre());
        EXPECT_THAT(Found(Ask({Type(EventName::TaskDeleted)})), ElementsAre());
        EXPECT_THAT(Found(Ask({Id(u"<", std::numeric_limits<std::int64_t>::min())})), ElementsAre());
        EXPECT_EQ(Ids(Ask({Id(u"==", 2)})).at(0), published[1]);
    }
}

TEST_F(EventQueryTest, LimitAndOffsetCountMatches) {
    Start();
    for (int i = 0; i < 20; ++i)
        Publish(MakeEvent(i % 2 == 0 ? EventName::TaskCreated : EventName::TaskDeleted, i));
    for (const bool onDisk : {false, true}) {
        if (onDisk)
            Settle();
        for (const std::uint32_t pageSize : {1u, 3u, 100u}) {
            SCOPED_TRACE(pageSize);
            EventQuery query = Ask({Type(EventName::TaskCreated)});
            query.offset = 3;
            query.limit = 4;
            EXPECT_THAT(Found(query, pageSize), ElementsAre(13, 11, 9, 7));
            query.orderBy = u"EventID ASC";
            EXPECT_THAT(Found(query, pageSize), ElementsAre(7, 9, 11, 13));
            query.offset = 10;
            EXPECT_THAT(Found(query, pageSize), ElementsAre());
            query.offset = 9;
            query.limit = 0xFFFFFFFFu;
            EXPECT_THAT(Found(query, pageSize), ElementsAre(19));
            query.limit = 0;
            EXPECT_THAT(Found(query, pageSize), ElementsAre());
        }
    }
}

TEST_F(EventQueryTest, APageEndsWhereItHasGotLarge) {
    Start();
    for (int i = 0; i < 10; ++i) {
        Event event = MakeEvent(EventName::TaskCreated, i);
        event.Add(AdditionalName::Information, std::string(1000, 'x'));
        Publish(std::move(event));
    }
    for (const bool onDisk : {false, true}) {
        if (onDisk)
            Settle();
        EventPage page;
        ASSERT_EQ(bus->Query(Ask({}), {}, 2500, page), ulk::sOk);
        EXPECT_EQ(page.events.size(), 3u);
        EXPECT_TRUE(page.more);
        ASSERT_EQ(bus->Query(Ask({}), {}, 1, page), ulk::sOk);
        EXPECT_EQ(page.events.size(), 1u);
        EXPECT_EQ(Ids(Ask({}), 0xFFFFFFFFu, 1).size(), 10u);
    }
}

TEST_F(EventQueryTest, WhatIsPublishedBetweenPagesStaysOut) {
    Start();
    for (int i = 0; i < 4; ++i)
        Publish(MakeEvent(EventName::TaskCreated, i));
    EventQuery query = Ask({}, u"EventID ASC");
    query.limit = 3;
    EventPage page;
    ASSERT_EQ(bus->Query(query, {}, ManyBytes, page), ulk::sOk);
    ASSERT_TRUE(page.more);
    Publish(MakeEvent(EventName::TaskCreated, 5));
    ASSERT_EQ(bus->Query(query, page.cursor, ManyBytes, page), ulk::sOk);
    ASSERT_EQ(page.events.size(), 1u);
    EXPECT_EQ(page.events[0].id, 4);
    EXPECT_FALSE(page.more);
}

TEST_F(EventQueryTest, WhatIsNoQueryIsRefused) {
    Start();
    Publish(MakeEvent(EventName::TaskCreated, 1, 1, u"ODS"));
    const std::int64_t signedNumber = 1;
    const std::uint64_t unsignedNumber = 1;
    const QueryClause bad[] = {
        {u"", u"==", signedNumber, u"AND"},
        {u"EventID", u"==", signedNumber, u"AND"}, // as the order has it
        {u"payload", u"==", signedNumber, u"AND"},
        {u"EventId; DROP TABLE ev", u"==", signedNumber, u"AND"},
        {u"EventId", u"=", signedNumber, u"AND"},
        {u"EventId", u"LIKE", signedNumber, u"AND"},
        {u"EventId", u"==", signedNumber, u""},
        {u"EventId", u"==", signedNumber, u"XOR"},
        {u"EventId", u"==", signedNumber, u"or"},
        {u"EventId", u"==", unsignedNumber, u"AND"},
        {u"EventId", u"==", ulk::types::variant_t(), u"AND"},
        {u"EventId", u"==", string16_t(u"1"), u"AND"},
        {u"Date", u">", std::int32_t{1}, u"AND"},
        {u"TaskId", u"==", signedNumber, u"OR"},
        {u"TaskId", u"<", unsignedNumber, u"OR"},
        {u"TaskType", u"==", "ODS", u"OR"},
        {u"TaskType", u">=", string16_t(u"ODS"), u"OR"},
        {u"EventType", u"==", unsignedNumber, u"OR"},
        {u"EventType", u"<", std::uint32_t{1}, u"OR"},
        {u"EventType", u"==", ulk::types::variant_t::Vector{}, u"OR"},
    };
    EventPage page;
    page.events.resize(3);
    for (const QueryClause& clause : bad)
        EXPECT_EQ(bus->Query(Ask({Id(u">", 0), clause}), {}, ManyBytes, page), ulk::eInvalidArgument);
    for (const char16_t* order : {u"", u"EventID", u"EventId DESC", u"EventID desc", u"EventID ASC; --"})
        EXPECT_EQ(bus->Query(Ask({}, order), {}, ManyBytes, page), ulk::eInvalidArgument);
    EXPECT_EQ(bus->Query(Ask(std::vector(ClausesLimit + 1, Type(1))), {}, ManyBytes, page), ulk::eInvalidArgument);
    EXPECT_EQ(page.events.size(), 3u);
    EXPECT_EQ(Found(Ask({TaskType(u"' OR 1=1 --")})).size(), 0u);
    EXPECT_EQ(Found(Ask({})).size(), 1u);
}

TEST_F(EventQueryTest, ManyClausesAreAnswered) {
    Start();
    for (int i = 0; i < 3000; ++i)
        Publish(MakeEvent(EventName::TaskCreated, i, static_cast<std::uint64_t>(i)));
    Settle();
    for (const std::uint64_t count : {200u, 2000u}) {
        std::vector<QueryClause> clauses;
        for (std::uint64_t i = 0; i < count; ++i)
            clauses.push_back(Task(i % (count / 2)));
        EXPECT_EQ(Found(Ask(clauses)).size(), count / 2);
    }
}

TEST_F(EventQueryTest, CursorsOfAStrangerDoNoHarm) {
    Start();
    for (int i = 0; i < 5; ++i)
        Publish(MakeEvent(EventName::TaskCreated, i));
    Settle();
    constexpr Event::IdType Extremes[] = {std::numeric_limits<Event::IdType>::min(), -1, 0, 1, 3,
                                          std::numeric_limits<Event::IdType>::max()};
    for (const char16_t* order : {u"EventID DESC", u"EventID ASC"})
        for (const Event::IdType lastId : Extremes)
            for (const Event::IdType upToId : Extremes) {
                EventPage page;
                ASSERT_EQ(bus->Query(Ask({}, order), {lastId, upToId, 0xFFFFFFFFu}, ManyBytes, page), ulk::sOk);
                ASSERT_EQ(bus->Query(Ask({Date(u">", 0)}, order), {lastId, upToId, 0}, ManyBytes, page), ulk::sOk);
                ASSERT_LE(page.events.size(), 5u);
            }
}

TEST_F(EventQueryTest, CountOldestAndOne) {
    Start();
    Event event;
    EXPECT_EQ(bus->Count(), 0u);
    EXPECT_EQ(bus->GetOldest(event), ulk::eNotFound);
    EXPECT_EQ(bus->Get(1, event), ulk::eNotFound);
    for (int i = 0; i < 3; ++i)
        Publish(MakeEvent(EventName::TaskCreated, i));
    for (const bool onDisk : {false, true}) {
        if (onDisk)
            Settle();
        EXPECT_EQ(bus->Count(), 3u);
        EXPECT_EQ(bus->GetOldest(event), ulk::sOk);
        EXPECT_EQ(event, published[0]);
        EXPECT_EQ(bus->Get(2, event), ulk::sOk);
        EXPECT_EQ(event, published[1]);
        for (const Event::IdType id :
             {Event::IdType{4}, Event::IdType{0}, Event::IdType{-1}, std::numeric_limits<Event::IdType>::max(),
              std::numeric_limits<Event::IdType>::min()})
            EXPECT_EQ(bus->Get(id, event), ulk::eNotFound) << id;
    }
}

TEST_F(EventQueryTest, WithoutADatabaseWhatIsPendingAnswers) {
    ASSERT_EQ(::mkdir(folder.File("events.db").c_str(), 0700), 0);
    Start();
    Publish(MakeEvent(EventName::TaskCreated, 1));
    Publish(MakeEvent(EventName::TaskDeleted, 2));
    const auto found = Ids(Ask({Type(EventName::TaskDeleted)}));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0], published[1]);
    EXPECT_EQ(bus->Count(), 2u);
}

TEST_F(EventQueryTest, ALimitLoweredAtRunTimeTakesTheOldestAway) {
    Start();
    for (int i = 0; i < 20000; ++i)
        Publish(MakeEvent(EventName::TaskCreated, i));
    bus->SetMaxEvents(100);
    EXPECT_TRUE(Eventually([&] { return bus->Count() == 100; }));
    Event event;
    ASSERT_EQ(bus->GetOldest(event), ulk::sOk);
    EXPECT_EQ(event.id, 19901);
    EXPECT_EQ(Ids(Ask({Date(u"<", 19902)})).size(), 2u);
    bus->SetMaxEvents(200);
    for (int i = 0; i < 300; ++i)
        Publish(MakeEvent(EventName::TaskCreated, i));
    EXPECT_TRUE(Eventually([&] { return bus->Count() == 200; }));
}

/// Every query against the plain reading of its clauses.
TEST_F(EventQueryTest, RandomQueriesFindWhatALoopFinds) {
    Start();
    std::mt19937 random(7);
    const auto number = [&random](std::uint32_t below) { return static_cast<std::uint32_t>(random() % below); };
    const char16_t* const taskTypes[] = {u"ODS", u"OAS", u"Update", u"Backup"};
    std::int64_t clock = 1'000'000;
    for (int i = 0; i < 6000; ++i) {
        clock += number(50) == 0 ? -static_cast<std::int64_t>(number(3000)) : number(3); // set back now and then
        const bool ofTask = number(4) != 0;
        Publish(MakeEvent(static_cast<EventName::Type>(number(6)), clock,
                          ofTask ? std::optional<std::uint64_t>(number(5)) : std::nullopt,
                          ofTask ? taskTypes[number(4)] : nullptr));
    }
    Settle();
    for (int i = 0; i < 50; ++i)
        Publish(MakeEvent(static_cast<EventName::Type>(number(6)), ++clock, number(5)));
    const auto last = static_cast<std::uint32_t>(published.size());
    const char16_t* const ordered[] = {u"<", u"<=", u">", u">=", u"==", u"!="};
    const char16_t* const plain[] = {u"==", u"==", u"==", u"!="};
    const auto randomClause = [&](const char16_t* logic) {
        switch (number(5)) {
        case 0:
            return Id(ordered[number(6)], number(last), logic);
        case 1:
            return Date(ordered[number(6)], 1'000'000 + number(8000) - 500, logic);
        case 2:
            return Task(number(6), plain[number(4)], logic);
        case 3:
            return TaskType(taskTypes[number(4)], plain[number(4)], logic);
        default:
            return Type(number(7), plain[number(4)], logic);
        }
    };
    for (int round = 0; round < 400; ++round) {
        EventQuery query = Ask({}, number(2) == 0 ? u"EventID DESC" : u"EventID ASC");
        for (std::uint32_t i = number(3); i > 0; --i)
            query.filters.push_back(randomClause(u"AND"));
        for (std::uint32_t i = number(4); i > 0; --i)
            query.filters.push_back(randomClause(u"OR"));
        if (number(2) == 0)
            query.offset = number(100);
        if (number(2) == 0)
            query.limit = number(200);

        const auto meets = [](const Event& event, const QueryClause& clause) {
            const auto compare = [&clause](const auto& left, const auto& right) {
                const std::u16string_view op(clause.operation);
                return op == u"=="   ? left == right
                       : op == u"!=" ? left != right
                       : op == u"<"  ? left < right
                       : op == u"<=" ? left <= right
                       : op == u">"  ? left > right
                                     : left >= right;
            };
            const std::u16string_view field(clause.field);
            if (field == u"EventId")
                return compare(event.id, *clause.value.As<std::int64_t>());
            if (field == u"Date")
                return compare(event.time, *clause.value.As<std::int64_t>());
            if (field == u"EventType")
                return compare(static_cast<std::uint32_t>(event.type), *clause.value.As<std::uint32_t>());
            ulk::types::variant_t value;
            const auto name = field == u"TaskId" ? AdditionalName::TaskId : AdditionalName::TaskType;
            if (!ULK_SUCCEEDED(event.GetAdditionalData(name, value)))
                return clause.operation == u"!=";
            return (value == clause.value) == (clause.operation == u"==");
        };
        std::vector<Event::IdType> expected;
        for (const Event& event : published) {
            bool all = true;
            bool anyGiven = false;
            bool any = false;
            for (const QueryClause& clause : query.filters) {
                if (clause.logic == u"AND") {
                    all = all && meets(event, clause);
                } else {
                    anyGiven = true;
                    any = any || meets(event, clause);
                }
            }
            if (all && (any || !anyGiven))
                expected.push_back(event.id);
        }
        if (query.orderBy == u"EventID DESC")
            std::reverse(expected.begin(), expected.end());
        expected.erase(expected.begin(),
                       expected.begin() + std::min<std::ptrdiff_t>(query.offset, std::ssize(expected)));
        expected.resize(std::min<std::size_t>(expected.size(), query.limit));
        ASSERT_EQ(Found(query, 1 + number(500)), expected) << round;
    }
}

/// What the database does for a statement.
std::string Explained(const std::string& path, const std::string& sql) {
    Connection connection(path, Connection::Mode::ReadOnly);
    Statement explain = connection.Prepare("EXPLAIN QUERY PLAN " + sql);
    std::string plan;
    while (explain.Step())
        plan.append(explain.Blob(3)).append("\n");
    return plan;
}

TEST_F(EventQueryTest, NoFilterReadsEverything) {
    Start();
    for (int i = 0; i < 3000; ++i)
        Publish(MakeEvent(static_cast<EventName::Type>(i % 7), i, static_cast<std::uint64_t>(i % 5), u"ODS"));
    Settle();
    const std::string path = folder.File("events.db");
    const std::pair<QueryField, const char*> cases[] = {
        {QueryField::TaskId, "USING COVERING INDEX ev_task (task=? AND id>? AND id<?)"},
        {QueryField::TaskType, "USING COVERING INDEX ev_ttype (ttype=? AND id>? AND id<?)"},
        {QueryField::EventType, "USING COVERING INDEX ev_etype (etype=? AND id>? AND id<?)"},
        {QueryField::EventId, "USING INTEGER PRIMARY KEY (rowid=?)"},
    };
    for (const bool descending : {false, true}) {
        for (const auto& [key, expected] : cases) {
            const std::string plan = Explained(path, CandidateIds::SqlOf(key, descending));
            EXPECT_NE(plan.find(expected), std::string::npos) << plan;
            EXPECT_EQ(plan.find("SCAN"), std::string::npos) << plan;
            EXPECT_EQ(plan.find("TEMP B-TREE"), std::string::npos) << plan;
        }
        const std::string all = Explained(path, CandidateIds::SqlOfAll(descending));
        EXPECT_NE(all.find("SEARCH ev USING INTEGER PRIMARY KEY (rowid>? AND rowid<?)"), std::string::npos) << all;
        EXPECT_EQ(all.find("TEMP B-TREE"), std::string::npos) << all;
        const std::string blocks = Explained(path, EventSearch::SqlOfBlocks(descending));
        EXPECT_NE(blocks.find("SEARCH block USING INTEGER PRIMARY KEY"), std::string::npos) << blocks;
    }
}

/// Rows that a search looks at, as told by its candidates.
TEST_F(EventQueryTest, ARangeOfDatesLooksAtItsBlocksAlone) {
    Start();
    for (int i = 0; i < 20 * BlockSize; ++i)
        Publish(MakeEvent(EventName::TaskCreated, i));
    Settle();
    EventReaders readers(folder.File("events.db"));
    readers.Open();
    const auto reader = readers.Take();
    for (const char16_t* order : {u"EventID DESC", u"EventID ASC"}) {
        QueryPlan plan;
        ASSERT_EQ(MakePlan(Ask({Date(u">=", 10000), Date(u"<", 10010)}, order), plan), ulk::sOk);
        const EventReader::Snapshot snapshot(*reader);
        EventSearch search(*reader, plan, {1, 20 * BlockSize}, EventSearch::Clock::now() + std::chrono::hours(1));
        int found = 0;
        while (search.Next())
            ++found;
        EXPECT_EQ(found, 10);
        EXPECT_LE(search.Looked(), 2u * BlockSize);
    }
}

} // namespace
} // namespace tfs::service::store
