// SPDX-License-Identifier: GPL-2.0-or-later
// The service's event bus: gives stored events their ids, keeps the newest ones in a ring for the subscribers, and has
// a thread that writes the stored ones to the database.
#pragma once

#include <foundation/object.h>
#include <foundation/sync.h>
#include <foundation/trace.h>
#include <service/store/event_database.h>
#include <service/store/event_feed.h>
#include <service/store/event_queries.h>
#include <service/store/wakeup_slot.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <string>
#include <thread>

namespace tfs::service::store {

/// Owned by the service's application object and outlives all publishers and readers.
class EventBus final : public IEventPublisher, public IEventFeed {
public:
    struct Options {
        std::string databasePath;
        std::uint64_t maxEvents = 500000; ///< in the database
        std::size_t ringSize = 4096;      ///< rounded up to a power of two
        std::size_t maxPending = 65536;   ///< stored events not yet on disk, before publishers are held back
        std::size_t maxUnwritten = 8192;  ///< kept while the database can't be written; beyond it the oldest are lost
        std::chrono::milliseconds retry{1000}; ///< between attempts while it can't be written
    };

    EventBus(Options options, ulk::Ptr<ulk::ITracer> tracer);
    ~EventBus() override;

    /// Opens the database and starts the writer; blocking. A database that can't be had doesn't fail the start:
    /// events then live in the feed only. Called once.
    void Start();
    /// Writes what is pending, as far as the database allows, and ends the writer. Later events reach the feed only.
    void Stop() noexcept;

    /// Returns once a detection, or an action on a detected object, is on the medium; all others are written later.
    /// Holds the caller back while too much is pending.
    void Publish(Event event) noexcept override;
    void PublishAll(std::vector<Event> events) noexcept override;
    void PublishTransient(Event event) noexcept override;

    FeedPosition End() const noexcept override;
    bool Read(std::uint64_t sequence, std::size_t limit, std::vector<FeedItem>& items) const override;
    result_t ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit,
                        std::vector<Event>& events) override;
    void SetWakeup(std::function<void()> wakeup) override { m_wakeup.Set(std::move(wakeup)); }

    /// What is stored, on disk or not yet. Any thread; all but Count are blocking and answer eUnspecified where the
    /// database can't be read.
    std::uint64_t Count() const noexcept;
    /// eNotFound where there is none.
    result_t GetOldest(Event& event);
    result_t Get(Event::IdType id, Event& event);
    /// The page behind `from`: at most query.limit events, whose payloads have about `byteLimit` bytes together, and
    /// fewer where they take long to find. eInvalidArgument where the query isn't one.
    result_t Query(const EventQuery& query, EventCursor from, std::size_t byteLimit, EventPage& page);

    /// Of the database. What is beyond goes by and by. Any thread.
    void SetMaxEvents(std::uint64_t maxEvents) noexcept;

    /// Stored events that didn't reach the database since the start.
    std::uint64_t LostEvents() const noexcept { return m_lost.load(std::memory_order_relaxed); }

private:
    using Clock = std::chrono::steady_clock;

    Event::IdType HandIn(Event event) noexcept;
    void WaitUntilWritten(Event::IdType id) noexcept;
    void PutIntoRing(std::shared_ptr<const Event> event) ULK_REQUIRES(m_mutex);
    void WaitForRoom(ulk::LockGuard& lock) ULK_REQUIRES(m_mutex);
    void RunWriter() noexcept;
    PendingEvents TakePending(Event::IdType afterId, Event::IdType upToId, std::size_t limit) const;
    template <class Body>
    result_t ReadDatabase(Body body);
    bool HasWork() const ULK_REQUIRES(m_mutex);
    void ShedOldest() ULK_REQUIRES(m_mutex);
    bool WriteBatch(const std::vector<std::shared_ptr<const Event>>& batch) noexcept;
    void OpenDatabase();
    void ReserveIds(Event::IdType id) noexcept;
    void TraceFailure(const char* what, const char* why) noexcept;

    const Options m_options;
    const ulk::Ptr<ulk::ITracer> m_tracer;
    EventDatabase m_database;
    WakeupSlot m_wakeup;
    std::atomic<std::uint64_t> m_lost{0};
    std::thread m_writer;

    // Of the writer's thread alone.
    Event::IdType m_reservedId = 0;
    bool m_failureTraced = false;

    mutable ulk::Mutex m_mutex;
    std::condition_variable_any m_toWriter;
    std::condition_variable_any m_fromWriter;
    std::vector<FeedItem> m_ring ULK_GUARDED_BY(m_mutex);
    std::uint64_t m_nextSequence ULK_GUARDED_BY(m_mutex) = 0;
    Event::IdType m_lastId ULK_GUARDED_BY(m_mutex) = 0;
    Event::IdType m_writtenId ULK_GUARDED_BY(m_mutex) = 0;
    std::uint64_t m_writtenCount ULK_GUARDED_BY(m_mutex) = 0; ///< events in the database
    bool m_toTrim ULK_GUARDED_BY(m_mutex) = false;
    std::deque<std::shared_ptr<const Event>> m_pending ULK_GUARDED_BY(m_mutex);
    bool m_running ULK_GUARDED_BY(m_mutex) = false;
    bool m_stopping ULK_GUARDED_BY(m_mutex) = false;
    bool m_failing ULK_GUARDED_BY(m_mutex) = false;
    bool m_damageSeen ULK_GUARDED_BY(m_mutex) = false;
    Clock::time_point m_retryAt ULK_GUARDED_BY(m_mutex);
};

/// True for events that must be on the medium before their publisher goes on.
bool MustBeDurable(types::EventName::Type type) noexcept;

} // namespace tfs::service::store
