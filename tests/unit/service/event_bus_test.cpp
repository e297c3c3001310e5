// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/event_bus.h>
#include <service/store/id_reserve.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/service/waiting.h>

#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tfs::service::store {
namespace {

using tests::Content;
using tests::Eventually;
using tests::TempFolder;
using types::AdditionalName;
using types::EventName;

Event MakeEvent(std::uint64_t number, EventName::Type type = EventName::TaskStateChanged) {
    Event event;
    event.type = type;
    event.time = 1000 + static_cast<std::int64_t>(number);
    event.Add(AdditionalName::TaskId, number);
    event.Add(AdditionalName::TaskType, ulk::types::string16_t(u"ODS"));
    return event;
}

std::uint64_t NumberOf(const Event& event) {
    ulk::types::variant_t value;
    return ULK_SUCCEEDED(event.GetAdditionalData(AdditionalName::TaskId, value)) ? *value.As<std::uint64_t>() : 0;
}

EventBus::Options In(const TempFolder& folder) {
    EventBus::Options options;
    options.databasePath = folder.File("events.db");
    options.retry = std::chrono::milliseconds(10);
    return options;
}

struct StartedBus {
    explicit StartedBus(EventBus::Options options) : bus(std::move(options), {}) { bus.Start(); }
    EventBus bus;
    std::vector<Event> All() {
        std::vector<Event> events;
        EXPECT_EQ(bus.ReadStored(0, std::numeric_limits<Event::IdType>::max(), 1000000, events), ulk::sOk);
        return events;
    }
};

TEST(EventBus, IdsAreDenseInOrderOfDeliveryWhoeverPublishes) {
    const TempFolder folder;
    StartedBus started(In(folder));
    constexpr int Publishers = 4;
    constexpr int Each = 500;
    std::vector<std::thread> threads;
    for (int i = 0; i < Publishers; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < Each; ++n) {
                started.bus.Publish(MakeEvent(1));
                started.bus.PublishTransient(MakeEvent(2));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    const FeedPosition end = started.bus.End();
    EXPECT_EQ(end.nextSequence, 2u * Publishers * Each);
    EXPECT_EQ(end.lastStoredId, Publishers * Each);
    std::vector<FeedItem> items;
    ASSERT_TRUE(started.bus.Read(0, 100000, items));
    ASSERT_EQ(items.size(), end.nextSequence);
    Event::IdType last = 0;
    for (std::size_t i = 0; i < items.size(); ++i) {
        ASSERT_EQ(items[i].sequence, i);
        if (items[i].event->id != 0) {
            ASSERT_EQ(items[i].event->id, ++last);
        }
    }
    EXPECT_EQ(started.All().size(), static_cast<std::size_t>(last));
}

TEST(EventBus, AReaderThatFellOutOfTheRingIsToldAndFindsAllInTheStore) {
    const TempFolder folder;
    auto options = In(folder);
    options.ringSize = 8;
    StartedBus started(options);
    for (std::uint64_t n = 1; n <= 20; ++n)
        started.bus.Publish(MakeEvent(n));
    std::vector<FeedItem> items;
    EXPECT_FALSE(started.bus.Read(11, 100, items));
    ASSERT_TRUE(started.bus.Read(12, 100, items));
    EXPECT_EQ(items.size(), 8u);
    ASSERT_TRUE(started.bus.Read(12, 3, items));
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(NumberOf(*items[0].event), 13u);
    ASSERT_TRUE(started.bus.Read(20, 100, items)); // the end
    EXPECT_TRUE(items.empty());
    std::vector<Event> stored;
    ASSERT_EQ(started.bus.ReadStored(0, started.bus.End().lastStoredId, 12, stored), ulk::sOk);
    ASSERT_EQ(stored.size(), 12u);
    EXPECT_EQ(NumberOf(stored.back()), 12u);
}

TEST(EventBus, ReadStoredJoinsWhatIsOnDiskAndWhatIsNotYet) {
    const TempFolder folder;
    StartedBus started(In(folder));
    std::atomic<bool> done{false};
    std::thread publisher([&] {
        for (std::uint64_t n = 1; n <= 20000; ++n)
            started.bus.Publish(MakeEvent(n));
        done = true;
    });
    Event::IdType seen = 0;
    std::vector<Event> events;
    bool last = false;
    while (!last) {
        last = done;
        ASSERT_EQ(started.bus.ReadStored(seen, started.bus.End().lastStoredId, 700, events), ulk::sOk);
        for (const Event& event : events) {
            ASSERT_EQ(event.id, seen + 1); // nothing missing, nothing twice
            ASSERT_EQ(NumberOf(event), static_cast<std::uint64_t>(event.id));
            seen = event.id;
        }
        if (!events.empty())
            last = false;
    }
    publisher.join();
    EXPECT_EQ(seen, 20000);
}

TEST(EventBus, EventsAndIdsOutliveARestart) {
    const TempFolder folder;
    Event event = MakeEvent(5, EventName::ThreatDetected);
    event.severity = types::EventSeverity::Critical;
    event.initiatorUser = EventUser{1000, u"user"};
    {
        StartedBus started(In(folder));
        started.bus.Publish(event);
        started.bus.Publish(MakeEvent(6));
    }
    StartedBus again(In(folder));
    event.id = 1;
    const auto events = again.All();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0], event);
    again.bus.Publish(MakeEvent(7));
    EXPECT_EQ(again.bus.End().lastStoredId, 3);
}

TEST(EventBus, TheWakeupSeesItsEventAndIsGoneWhenTakenAway) {
    const TempFolder folder;
    StartedBus started(In(folder));
    std::atomic<std::uint64_t> calls{0};
    std::atomic<bool> blind{false};
    started.bus.SetWakeup([&] {
        ++calls;
        std::vector<FeedItem> items; // no lock is held: the feed may be read from here
        blind = blind || !started.bus.Read(0, 100000, items) || items.empty();
    });
    started.bus.Publish(MakeEvent(1));
    started.bus.PublishTransient(MakeEvent(2));
    EXPECT_EQ(calls, 2u);
    std::atomic<bool> stop{false};
    std::thread publisher([&] {
        while (!stop)
            started.bus.PublishTransient(MakeEvent(3));
    });
    ASSERT_TRUE(Eventually([&] { return calls > 100; }));
    started.bus.SetWakeup(nullptr);
    const std::uint64_t after = calls;
    const std::uint64_t sequence = started.bus.End().nextSequence;
    ASSERT_TRUE(Eventually([&] { return started.bus.End().nextSequence > sequence + 100; }));
    EXPECT_EQ(calls, after);
    stop = true;
    publisher.join();
    EXPECT_FALSE(blind);
}

TEST(EventBus, TheOldestGoBeyondTheLimit) {
    const TempFolder folder;
    auto options = In(folder);
    options.maxEvents = 3000;
    {
        StartedBus started(options);
        for (std::uint64_t n = 1; n <= 10000; ++n)
            started.bus.Publish(MakeEvent(n));
    }
    StartedBus again(options);
    const auto events = again.All();
    ASSERT_EQ(events.size(), 3000u);
    EXPECT_EQ(events.front().id, 7001);
    EXPECT_EQ(events.back().id, 10000);
}

class DamagedDatabase : public testing::TestWithParam<const char*> {};

void Damage(const std::string& path, std::string_view how) {
    std::string content = Content(path);
    if (how == "garbage")
        content = "this is no database, whatever its name says";
    else if (how == "header")
        content.replace(0, 16, 16, 'x');
    else if (how == "truncated")
        content.resize(content.size() / 2);
    else
        for (std::size_t page = 4096; page < content.size(); page += 4096)
            content.replace(page, 512, 512, '\xAA');
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

TEST_P(DamagedDatabase, IsSetAsideAndIdsGoOnGrowing) {
    const TempFolder folder;
    {
        StartedBus started(In(folder));
        for (std::uint64_t n = 1; n <= 2000; ++n)
            started.bus.Publish(MakeEvent(n));
    }
    Damage(folder.File("events.db"), GetParam());
    StartedBus again(In(folder));
    again.bus.Publish(MakeEvent(7));
    const auto events = again.All();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].type, EventName::IntegrityCheckFailed);
    EXPECT_GT(events[0].id, 2000);
    EXPECT_EQ(NumberOf(events[1]), 7u);
    EXPECT_TRUE(std::filesystem::exists(folder.File("events.db.damaged")));
}

INSTANTIATE_TEST_SUITE_P(Ways, DamagedDatabase, testing::Values("garbage", "header", "truncated", "pages"),
                         [](const auto& way) { return std::string(way.param); });

TEST(EventBus, WithoutItsReserveADamagedDatabaseTakesIdsFromTheClock) {
    const TempFolder folder;
    folder.Write("events.db", "garbage garbage garbage");
    folder.Write("events.db.ids", "99999999999999999999999\n");
    StartedBus started(In(folder));
    EXPECT_GT(started.bus.End().lastStoredId, TimeBasedId(1700000000));
}

TEST(EventBus, DamageFoundWhileRunningIsMendedWithoutARestart) {
    const TempFolder folder;
    StartedBus started(In(folder));
    const std::string path = folder.File("events.db");
    // Until the log has been folded back into the file: before that there is nothing in it to damage.
    std::uint64_t next = 1;
    while (std::filesystem::file_size(path) < 100 * 4096) {
        ASSERT_LT(next, 1000000u);
        started.bus.Publish(MakeEvent(next++));
    }
    started.bus.Publish(MakeEvent(next++, EventName::ThreatDetected)); // the writer is idle when it returns
    Damage(path, "pages");
    EXPECT_TRUE(Eventually([&] {
        std::vector<Event> events;
        started.bus.Publish(MakeEvent(next++));
        started.bus.ReadStored(0, 1000000, 1000000, events); // runs into it, if writing doesn't
        return std::filesystem::exists(path + ".damaged");
    }));
    const Event::IdType last = started.bus.End().lastStoredId;
    started.bus.Publish(MakeEvent(1, EventName::ThreatDetected));
    const auto events = started.All();
    ASSERT_FALSE(events.empty());
    EXPECT_GT(events.back().id, last);
}

TEST(EventBus, AFullDiskLosesNoFeedAndIsOvercome) {
    const TempFolder folder;
    auto options = In(folder);
    options.maxUnwritten = 50;
    StartedBus started(options);
    started.bus.Publish(MakeEvent(1, EventName::ThreatDetected));
    // The limit on file sizes makes every further write of the log fail, for this process alone.
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit full{0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &full), 0);
    for (std::uint64_t n = 2; n <= 200; ++n)
        started.bus.Publish(MakeEvent(n, EventName::ThreatDetected)); // returns though nothing is durable
    EXPECT_TRUE(Eventually([&] { return started.bus.LostEvents() >= 149; }));
    std::vector<FeedItem> items;
    ASSERT_TRUE(started.bus.Read(0, 1000, items));
    EXPECT_EQ(items.size(), 200u);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    const std::uint64_t lost = started.bus.LostEvents();
    EXPECT_TRUE(Eventually([&] {
        EventDatabase reader(folder.File("events.db"), 1000);
        return reader.Open().greatestId == 200;
    }));
    EXPECT_EQ(started.All().size(), 200 - lost);
}

TEST(EventBus, WithoutADatabaseTheFeedLives) {
    const TempFolder folder;
    ASSERT_EQ(::mkdir(folder.File("events.db").c_str(), 0700), 0);
    StartedBus started(In(folder));
    started.bus.Publish(MakeEvent(1, EventName::ThreatDetected));
    std::vector<FeedItem> items;
    ASSERT_TRUE(started.bus.Read(0, 10, items));
    ASSERT_EQ(items.size(), 1u);
    EXPECT_GT(items[0].event->id, 0);
    EXPECT_EQ(started.All().size(), 1u); // not on disk, but told
    ASSERT_EQ(::rmdir(folder.File("events.db").c_str()), 0);
    EXPECT_TRUE(Eventually([&] {
        EventDatabase reader(folder.File("events.db"), 1000);
        reader.Open();
        return reader.Count() == 1;
    }));
}

} // namespace
} // namespace tfs::service::store
