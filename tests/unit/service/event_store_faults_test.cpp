// SPDX-License-Identifier: GPL-2.0-or-later
// The event store against kills, damage, full and read-only disks.
#include <service/store/event_bus.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/service/waiting.h>
#include <tests/unit/tfs_common/recording_tracer.h>

#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tfs::service::store {
namespace {

using tests::Content;
using tests::Eventually;
using tests::TempFolder;
using types::AdditionalName;
using types::EventName;

constexpr Event::IdType AnyId = std::numeric_limits<Event::IdType>::max();
constexpr EventName::Type Durable = EventName::ThreatDetected;
constexpr EventName::Type Plain = EventName::TaskStateChanged;

/// Tells its own number, and is of a task and a time that follow from it.
Event MakeEvent(std::uint64_t number, EventName::Type type) {
    Event event;
    event.type = type;
    event.time = 1000 + static_cast<std::int64_t>(number);
    event.Add(AdditionalName::Size, number);
    event.Add(AdditionalName::TaskId, number % 10);
    event.Add(AdditionalName::TaskType, ulk::types::string16_t(u"ODS"));
    return event;
}

std::uint64_t NumberOf(const Event& event) {
    ulk::types::variant_t value;
    return ULK_SUCCEEDED(event.GetAdditionalData(AdditionalName::Size, value)) ? *value.As<std::uint64_t>() : 0;
}

EventBus::Options In(const std::string& folder) {
    EventBus::Options options;
    options.databasePath = folder + "/events.db";
    options.retry = std::chrono::milliseconds(10);
    return options;
}

std::vector<Event> AllOf(EventBus& bus) {
    std::vector<Event> events;
    EXPECT_EQ(bus.ReadStored(0, AnyId, 10'000'000, events), ulk::sOk);
    return events;
}

/// Everything that answers, over all pages.
std::size_t CountOf(EventBus& bus, std::vector<QueryClause> filters) {
    EventQuery query;
    query.filters = std::move(filters);
    EventPage page;
    std::size_t count = 0;
    do {
        EXPECT_EQ(bus.Query(query, page.cursor, 1 << 20, page), ulk::sOk);
        count += page.events.size();
    } while (page.more);
    return count;
}

/// Indexes and summary say the same as the rows.
void ExpectSound(EventBus& bus, const std::vector<Event>& events) {
    std::size_t ofTask = 0;
    std::size_t ofType = 0;
    for (const Event& event : events) {
        ofTask += NumberOf(event) % 10 == 3 ? 1 : 0;
        ofType += event.type == Durable ? 1 : 0;
    }
    EXPECT_EQ(CountOf(bus, {}), events.size());
    EXPECT_EQ(CountOf(bus, {{u"TaskId", u"==", std::uint64_t{3}, u"OR"}}), ofTask);
    EXPECT_EQ(CountOf(bus, {{u"EventType", u"==", std::uint32_t{Durable}, u"OR"}}), ofType);
    EXPECT_EQ(CountOf(bus, {{u"TaskType", u"==", ulk::types::string16_t(u"ODS"), u"OR"}}), events.size());
    if (!events.empty()) {
        EXPECT_EQ(CountOf(bus, {{u"Date", u"<=", events[events.size() / 2].time, u"AND"}}), events.size() / 2 + 1);
    }
    EXPECT_EQ(bus.Count(), events.size());
}

/// A process that does what it is told until it is killed, and says through a pipe how far it is.
class Doomed {
public:
    explicit Doomed(const std::function<void(const std::function<void(std::uint64_t)>&)>& body) {
        int ends[2];
        if (::pipe(ends) != 0)
            throw std::runtime_error("pipe");
        m_pid = ::fork();
        if (m_pid == 0) {
            ::close(ends[0]);
            body([&](std::uint64_t number) {
                if (::write(ends[1], &number, sizeof number) != sizeof number)
                    ::_exit(1);
            });
            ::_exit(0);
        }
        ::close(ends[1]);
        m_read = ends[0];
    }
    ~Doomed() { Kill(); }
    /// False where it has ended.
    bool WaitFor(std::uint64_t number) {
        while (m_last < number)
            if (::read(m_read, &m_last, sizeof m_last) != sizeof m_last)
                return false;
        return true;
    }
    /// The last that it said.
    std::uint64_t Kill() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
            m_pid = -1;
            for (std::uint64_t more = 0; ::read(m_read, &more, sizeof more) == sizeof more;)
                m_last = more;
            ::close(m_read);
        }
        return m_last;
    }

private:
    pid_t m_pid = -1;
    int m_read = -1;
    std::uint64_t m_last = 0;
};

TEST(EventStoreKills, SixtyLoseNothingThatWasTakenAsDurableAndDamageNothing) {
    const TempFolder folder;
    const auto options = [&folder] {
        auto made = In(folder.Path());
        made.maxEvents = 3000; // so that old ones go all the time
        return made;
    };
    std::mt19937 random(1);
    std::uint64_t number = 0;
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(round);
        const std::uint64_t first = number + 1;
        Doomed child([&](const auto& say) {
            EventBus bus(options(), ulk::Ptr<ulk::ITracer>());
            bus.Start();
            for (std::uint64_t n = first;; ++n) {
                const bool durable = n % 50 == 0;
                bus.Publish(MakeEvent(n, durable ? Durable : Plain));
                if (durable)
                    say(n);
            }
        });
        ASSERT_TRUE(child.WaitFor(number + 50 + random() % 600));
        const std::uint64_t promised = child.Kill();

        EventBus bus(options(), ulk::Ptr<ulk::ITracer>());
        bus.Start();
        const auto events = AllOf(bus);
        ASSERT_FALSE(events.empty());
        ASSERT_GE(NumberOf(events.back()), promised);
        ASSERT_GE(events.size(), std::min<std::size_t>(NumberOf(events.back()), 3000));
        for (std::size_t i = 0; i < events.size(); ++i) {
            ASSERT_EQ(events[i].id, static_cast<Event::IdType>(NumberOf(events[i])));
            ASSERT_EQ(events[i].id, events[0].id + static_cast<Event::IdType>(i));
        }
        ExpectSound(bus, events);
        number = NumberOf(events.back());
    }
    EXPECT_FALSE(std::filesystem::exists(folder.File("events.db.damaged")));
}

/// Kills a process that has just written events, so that they are in the log and not in the file.
void WriteIntoLog(const std::string& folder, std::uint64_t count) {
    Doomed child([&](const auto& say) {
        EventBus bus(In(folder), ulk::Ptr<ulk::ITracer>());
        bus.Start();
        for (std::uint64_t n = 1; n <= count; ++n)
            bus.Publish(MakeEvent(n, n == count || n % 20 == 0 ? Durable : Plain));
        say(count);
        ::pause();
    });
    ASSERT_TRUE(child.WaitFor(count));
}

TEST(EventStoreDamage, ATruncatedOrFlippedLogCostsItsTailAlone) {
    std::mt19937 random(2);
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        const TempFolder folder;
        WriteIntoLog(folder.Path(), 300);
        const std::string log = folder.File("events.db-wal");
        std::string content = Content(log);
        ASSERT_GT(content.size(), 10'000u);
        const std::size_t at = random() % content.size();
        if (round % 2 == 0)
            content.resize(at);
        else
            content[at] = static_cast<char>(content[at] ^ 0x40);
        std::ofstream(log, std::ios::binary | std::ios::trunc) << content;

        EventBus bus(In(folder.Path()), ulk::Ptr<ulk::ITracer>());
        bus.Start();
        const auto events = AllOf(bus);
        for (std::size_t i = 0; i < events.size(); ++i)
            ASSERT_EQ(NumberOf(events[i]), i + 1);
        ExpectSound(bus, events);
        EXPECT_FALSE(std::filesystem::exists(folder.File("events.db.damaged")));
        bus.Publish(MakeEvent(1000, Durable));
        EXPECT_EQ(NumberOf(AllOf(bus).back()), 1000u);
    }
}

TEST(EventStoreDamage, WhateverBitFlipsTheStoreGoesOn) {
    std::mt19937 random(3);
    const TempFolder sound;
    {
        EventBus bus(In(sound.Path()), ulk::Ptr<ulk::ITracer>());
        bus.Start();
        for (std::uint64_t n = 1; n <= 1000; ++n)
            bus.Publish(MakeEvent(n, Plain));
    }
    const std::string content = Content(sound.File("events.db"));
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE(round);
        const TempFolder folder;
        std::string damaged = content;
        for (int flip = 0; flip <= round % 4; ++flip)
            damaged[random() % damaged.size()] ^= static_cast<char>(1 << random() % 8);
        folder.Write("events.db", damaged);
        EventBus bus(In(folder.Path()), ulk::Ptr<ulk::ITracer>());
        bus.Start();
        const Event::IdType before = bus.End().lastStoredId;
        bus.Publish(MakeEvent(5000, Durable));
        // What reading runs into makes the store begin anew; from then on everything is answered.
        EXPECT_TRUE(Eventually([&] {
            EventPage page;
            std::vector<Event> events;
            return bus.Query({}, {}, 1 << 20, page) == ulk::sOk && bus.ReadStored(0, AnyId, 10'000, events) == ulk::sOk;
        }));
        bus.Publish(MakeEvent(5001, Durable));
        const auto events = AllOf(bus);
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(NumberOf(events.back()), 5001u);
        EXPECT_GT(events.back().id, before);
    }
}

TEST(EventStoreDamage, AFileOfAnotherVersionIsSetAside) {
    const TempFolder folder;
    {
        Connection connection(folder.File("events.db"), Connection::Mode::ReadWriteCreate);
        connection.Execute("CREATE TABLE ev(id INTEGER PRIMARY KEY); INSERT INTO ev VALUES(70); PRAGMA user_version=1");
    }
    EventBus bus(In(folder.Path()), ulk::Ptr<ulk::ITracer>());
    bus.Start();
    const auto events = AllOf(bus);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].type, EventName::IntegrityCheckFailed);
    EXPECT_GT(events[0].id, 70);
    EXPECT_TRUE(std::filesystem::exists(folder.File("events.db.damaged")));
}

/// Runs the body in a process of its own and expects it to return true.
void ExpectInChild(const std::function<bool()>& body) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        ::_exit(body() ? 0 : 1);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

constexpr uid_t Nobody = 65534;

TEST(EventStoreDisk, AReadOnlyFolderKeepsTheFeedAndIsOvercome) {
    const TempFolder folder;
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(folder.Path().c_str(), Nobody, Nobody), 0);
    }
    ExpectInChild([&] {
        if (::geteuid() == 0 && ::setresuid(Nobody, Nobody, Nobody) != 0)
            return false;
        {
            EventBus bus(In(folder.Path()), ulk::Ptr<ulk::ITracer>());
            bus.Start();
            for (std::uint64_t n = 1; n <= 100; ++n)
                bus.Publish(MakeEvent(n, Plain));
        }
        ::chmod(folder.File("events.db").c_str(), 0400);
        ::chmod(folder.Path().c_str(), 0500);
        EventBus bus(In(folder.Path()), ulk::Ptr<ulk::ITracer>());
        bus.Start();
        bus.Publish(MakeEvent(101, Durable)); // returns, though nothing is durable
        std::vector<FeedItem> items;
        if (!bus.Read(0, 10, items) || items.size() != 1 || items[0].event->id <= 100)
            return false;
        ::chmod(folder.Path().c_str(), 0700);
        ::chmod(folder.File("events.db").c_str(), 0600);
        return Eventually([&] {
                   std::vector<Event> events;
                   return bus.ReadStored(0, AnyId, 1000, events) == ulk::sOk && events.size() == 101 &&
                          NumberOf(events.back()) == 101;
               }) &&
               bus.LostEvents() == 0 && !std::filesystem::exists(folder.File("events.db.damaged"));
    });
}

/// A disk that can be filled up and freed, for this process alone: a small one of its own where it may mount one, else
/// the limit on the size of files.
class Disk {
public:
    explicit Disk(const std::string& folder) : m_filler(folder + "/filler") {
        m_small = ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                  ::mount("none", folder.c_str(), "tmpfs", 0, "size=2m") == 0;
        ::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
    }
    void Fill() {
        if (!m_small) {
            const rlimit full{0, m_before.rlim_max};
            ::setrlimit(RLIMIT_FSIZE, &full);
            return;
        }
        std::ofstream filler(m_filler, std::ios::binary);
        const std::string block(512, 'x');
        while (filler.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
        }
    }
    void Free() {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        ::unlink(m_filler.c_str());
    }

private:
    const std::string m_filler;
    bool m_small = false;
    rlimit m_before{};
};

TEST(EventStoreDisk, AFullOneKeepsTheFeedAndItsEndIsToldWithWhatWasLost) {
    const TempFolder folder;
    ExpectInChild([&] {
        constexpr std::uint64_t Count = 5000;
        Disk disk(folder.Path());
        const auto tracer = ulk::Ptr<test::RecordingTracer>::Adopt(new test::RecordingTracer);
        auto options = In(folder.Path());
        options.maxUnwritten = 50;
        EventBus bus(options, ulk::Ptr<ulk::ITracer>(tracer.Get()));
        bus.Start();
        bus.Publish(MakeEvent(1, Durable));
        disk.Fill();
        for (std::uint64_t n = 2; n <= Count; ++n)
            bus.Publish(MakeEvent(n, n % 100 == 0 ? Durable : Plain)); // returns, though nothing is durable
        const bool wasLost = Eventually([&] { return bus.LostEvents() > 0; });
        std::vector<FeedItem> items;
        const bool fed = bus.Read(Count - 1000, 1000, items) && items.size() == 1000 && items.back().event->id == Count;
        disk.Free();
        const bool recovered = Eventually(
            [&] { return tracer->Has("is written again; events lost: " + std::to_string(bus.LostEvents())); });
        bus.Publish(MakeEvent(Count + 1, Durable));
        const auto events = AllOf(bus);
        return wasLost && fed && recovered && events.size() == Count + 1 - bus.LostEvents() &&
               NumberOf(events.back()) == Count + 1 && bus.Count() == events.size();
    });
}

} // namespace
} // namespace tfs::service::store
