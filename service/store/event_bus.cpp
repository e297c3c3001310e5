// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/event_bus.h>
#include <service/store/id_reserve.h>

#include <algorithm>
#include <bit>
#include <ctime>
#include <exception>
#include <limits>
#include <utility>

namespace tfs::service::store {
namespace {

constexpr std::size_t BatchSize = 1000;
/// A publisher is held back at most so long; after that the event waits in memory with the others.
constexpr std::chrono::seconds LongestHold{2};
/// What the search for one page of a query may take, so that nobody holds the helper threads for long.
constexpr std::chrono::milliseconds PageTime{200};
constexpr Event::IdType AnyId = std::numeric_limits<Event::IdType>::max();

} // namespace

bool MustBeDurable(types::EventName::Type type) noexcept {
    using types::EventName;
    switch (type) {
    case EventName::ThreatDetected:
    case EventName::OtherObjectDetected:
    case EventName::PackedObjectDetected:
    case EventName::EncryptionDetected:
    case EventName::ObjectDeleted:
    case EventName::ObjectDisinfected:
    case EventName::ObjectNotDisinfected:
    case EventName::ObjectRemovedFromBackup:
    case EventName::ObjectRestoredFromBackup:
    case EventName::ObjectSavedToBackup:
        return true;
    default:
        return false;
    }
}

EventBus::EventBus(Options options, ulk::Ptr<ulk::ITracer> tracer)
    : m_options(std::move(options)), m_tracer(std::move(tracer)),
      m_database(m_options.databasePath, m_options.maxEvents),
      m_ring(std::bit_ceil(std::max<std::size_t>(m_options.ringSize, 2))) {}

EventBus::~EventBus() { Stop(); }

void EventBus::Start() {
    OpenDatabase();
    ReserveIds(End().lastStoredId);
    const ulk::LockGuard lock(m_mutex);
    m_running = true;
    m_writer = std::thread([this] { RunWriter(); });
}

void EventBus::Stop() noexcept {
    {
        const ulk::LockGuard lock(m_mutex);
        if (!m_running)
            return;
        m_stopping = true;
    }
    m_toWriter.notify_all();
    m_writer.join();
    const ulk::LockGuard lock(m_mutex);
    m_running = false;
    m_fromWriter.notify_all();
}

void EventBus::PutIntoRing(std::shared_ptr<const Event> event) {
    const std::uint64_t sequence = m_nextSequence++;
    m_ring[sequence & (m_ring.size() - 1)] = {sequence, std::move(event)};
}

void EventBus::WaitForRoom(ulk::LockGuard& lock) {
    const auto deadline = Clock::now() + LongestHold;
    while (m_running && !m_failing && m_pending.size() >= m_options.maxPending)
        if (m_fromWriter.wait_until(lock, deadline) == std::cv_status::timeout)
            return;
}

/// Its id where it has to be waited for, else 0.
Event::IdType EventBus::HandIn(Event event) noexcept {
    try {
        const bool durable = MustBeDurable(event.type);
        const auto shared = std::make_shared<Event>(std::move(event));
        Event::IdType id = 0;
        {
            ulk::LockGuard lock(m_mutex);
            WaitForRoom(lock);
            if (m_running && !m_stopping)
                m_pending.push_back(shared);
            id = shared->id = ++m_lastId;
            PutIntoRing(shared);
        }
        m_toWriter.notify_one();
        m_wakeup.Call();
        return durable ? id : 0;
    } catch (const std::exception& e) {
        m_lost.fetch_add(1, std::memory_order_relaxed);
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "An event couldn't be published: " << e.what();
        return 0;
    }
}

void EventBus::WaitUntilWritten(Event::IdType id) noexcept {
    ulk::LockGuard lock(m_mutex);
    while (m_running && !m_failing && m_writtenId < id)
        m_fromWriter.wait(lock);
}

void EventBus::Publish(Event event) noexcept {
    if (const Event::IdType id = HandIn(std::move(event)); id != 0)
        WaitUntilWritten(id);
}

void EventBus::PublishAll(std::vector<Event> events) noexcept {
    Event::IdType last = 0;
    for (Event& event : events)
        last = std::max(last, HandIn(std::move(event)));
    if (last != 0)
        WaitUntilWritten(last);
}

void EventBus::PublishTransient(Event event) noexcept {
    try {
        event.id = 0;
        auto shared = std::make_shared<const Event>(std::move(event));
        {
            const ulk::LockGuard lock(m_mutex);
            PutIntoRing(std::move(shared));
        }
        m_wakeup.Call();
    } catch (const std::exception& e) {
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "An event couldn't be published: " << e.what();
    }
}

FeedPosition EventBus::End() const noexcept {
    const ulk::LockGuard lock(m_mutex);
    return {m_nextSequence, m_lastId};
}

bool EventBus::Read(std::uint64_t sequence, std::size_t limit, std::vector<FeedItem>& items) const {
    items.clear();
    const ulk::LockGuard lock(m_mutex);
    if (sequence >= m_nextSequence)
        return true;
    if (m_nextSequence - sequence > m_ring.size())
        return false;
    const std::uint64_t count = std::min<std::uint64_t>(limit, m_nextSequence - sequence);
    items.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i)
        items.push_back(m_ring[(sequence + i) & (m_ring.size() - 1)]);
    return true;
}

PendingEvents EventBus::TakePending(Event::IdType afterId, Event::IdType upToId, std::size_t limit) const {
    PendingEvents pending;
    const ulk::LockGuard lock(m_mutex);
    pending.lastId = m_lastId;
    const auto idOf = [](const std::shared_ptr<const Event>& event) { return event->id; };
    const auto from = std::ranges::upper_bound(m_pending, afterId, {}, idOf);
    const auto to = std::ranges::upper_bound(from, m_pending.end(), upToId, {}, idOf);
    const auto count = std::min<std::size_t>(limit, static_cast<std::size_t>(std::max<std::ptrdiff_t>(to - from, 0)));
    pending.events.assign(from, from + static_cast<std::ptrdiff_t>(count));
    return pending;
}

template <class Body>
result_t EventBus::ReadDatabase(Body body) {
    try {
        return body();
    } catch (const SqliteError& e) {
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "Event store can't be read: " << e.what();
        if (e.IsDamage()) {
            const ulk::LockGuard lock(m_mutex);
            m_damageSeen = true;
            m_toWriter.notify_one();
        }
        return ulk::eUnspecified;
    }
}

result_t EventBus::ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit,
                              std::vector<Event>& events) {
    events.clear();
    const PendingEvents pending = TakePending(afterId, upToId, limit);
    return ReadDatabase([&] {
        EventQueries(m_database.Readers(), pending).Read(afterId, upToId, limit, events);
        return ulk::sOk;
    });
}

std::uint64_t EventBus::Count() const noexcept {
    const ulk::LockGuard lock(m_mutex);
    return m_writtenCount + m_pending.size();
}

result_t EventBus::GetOldest(Event& event) {
    std::vector<Event> oldest;
    const result_t result = ReadStored(0, AnyId, 1, oldest);
    if (!ULK_SUCCEEDED(result))
        return result;
    if (oldest.empty())
        return ulk::eNotFound;
    event = std::move(oldest.front());
    return ulk::sOk;
}

result_t EventBus::Get(Event::IdType id, Event& event) {
    if (id <= 0)
        return ulk::eNotFound;
    std::vector<Event> found;
    const result_t result = ReadStored(id - 1, id, 1, found);
    if (!ULK_SUCCEEDED(result))
        return result;
    if (found.empty())
        return ulk::eNotFound;
    event = std::move(found.front());
    return ulk::sOk;
}

result_t EventBus::Query(const EventQuery& query, EventCursor from, std::size_t byteLimit, EventPage& page) {
    const PendingEvents pending = TakePending(0, AnyId, std::numeric_limits<std::size_t>::max());
    return ReadDatabase(
        [&] { return EventQueries(m_database.Readers(), pending).Query(query, from, byteLimit, PageTime, page); });
}

void EventBus::SetMaxEvents(std::uint64_t maxEvents) noexcept {
    m_database.SetMaxEvents(maxEvents);
    {
        const ulk::LockGuard lock(m_mutex);
        m_toTrim = true;
    }
    m_toWriter.notify_one();
}

bool EventBus::HasWork() const {
    if (m_damageSeen || m_stopping)
        return true;
    if (!m_failing)
        return !m_pending.empty() || m_toTrim;
    return m_pending.size() > m_options.maxUnwritten || Clock::now() >= m_retryAt;
}

void EventBus::ShedOldest() {
    while (m_pending.size() > m_options.maxUnwritten) {
        m_pending.pop_front();
        m_lost.fetch_add(1, std::memory_order_relaxed);
    }
}

void EventBus::RunWriter() noexcept {
    std::vector<std::shared_ptr<const Event>> batch;
    bool lastRound = false;
    while (!lastRound) {
        bool reopen = false;
        {
            ulk::LockGuard lock(m_mutex);
            while (!HasWork()) {
                if (m_failing)
                    m_toWriter.wait_until(lock, m_retryAt);
                else
                    m_toWriter.wait(lock);
            }
            reopen = std::exchange(m_damageSeen, false);
            if (m_failing && !m_stopping && !reopen && Clock::now() < m_retryAt) {
                ShedOldest();
                continue;
            }
            batch.assign(m_pending.begin(),
                         m_pending.begin() + static_cast<std::ptrdiff_t>(std::min(m_pending.size(), BatchSize)));
        }
        if (reopen) {
            m_database.Close();
            OpenDatabase();
        }
        const bool written = WriteBatch(batch);
        {
            const ulk::LockGuard lock(m_mutex);
            m_failing = !written;
            m_writtenCount = m_database.Count();
            m_toTrim = m_database.HasTooMany();
            if (written && !batch.empty()) {
                m_writtenId = batch.back()->id;
                while (!m_pending.empty() && m_pending.front()->id <= m_writtenId)
                    m_pending.pop_front();
            }
            if (m_failing) {
                m_retryAt = Clock::now() + m_options.retry;
                ShedOldest();
            }
            lastRound = m_stopping && (m_failing || m_pending.empty());
            if (lastRound)
                m_lost.fetch_add(m_pending.size(), std::memory_order_relaxed);
        }
        batch.clear();
        m_fromWriter.notify_all();
    }
    m_database.Close();
}

bool EventBus::WriteBatch(const std::vector<std::shared_ptr<const Event>>& batch) noexcept {
    try {
        if (!m_database.IsOpen())
            OpenDatabase();
        if (!m_database.IsOpen())
            return false;
        if (batch.empty()) {
            m_database.Trim();
            return true;
        }
        ReserveIds(batch.back()->id);
        const bool durable =
            std::any_of(batch.begin(), batch.end(), [](const auto& event) { return MustBeDurable(event->type); });
        m_database.Append(batch, durable);
        if (std::exchange(m_failureTraced, false)) {
            ULK_TRACE(m_tracer.Get(), ulk::level::Failure)
                << "Event store is written again; events lost: " << LostEvents();
        }
        return true;
    } catch (const SqliteError& e) {
        if (e.IsDamage()) {
            TraceFailure("Event store is damaged", e.what());
            m_database.Close(); // opened again, and checked, by the next attempt
        } else {
            TraceFailure("Event store can't be written", e.what());
        }
    } catch (const std::exception& e) {
        TraceFailure("Event store can't be written", e.what());
    }
    return false;
}

void EventBus::OpenDatabase() {
    try {
        const EventDatabase::Opened opened = m_database.Open();
        {
            const ulk::LockGuard lock(m_mutex);
            m_lastId = std::max(m_lastId, opened.greatestId);
            m_writtenCount = m_database.Count();
            m_toTrim = m_database.HasTooMany();
        }
        if (opened.setAside.empty())
            return;
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure)
            << "Event store was damaged; a new one is begun, the old one is kept as " << opened.setAside;
        Event event;
        event.type = types::EventName::IntegrityCheckFailed;
        event.severity = types::EventSeverity::High;
        event.Add(types::AdditionalName::Path, m_options.databasePath);
        event.Add(types::AdditionalName::Information, "Damaged event database set aside as " + opened.setAside);
        const auto shared = std::make_shared<Event>(std::move(event));
        {
            // Not through Publish, which could wait for this very thread.
            const ulk::LockGuard lock(m_mutex);
            shared->id = ++m_lastId;
            m_pending.push_back(shared);
            PutIntoRing(shared);
        }
        m_wakeup.Call();
    } catch (const std::exception& e) {
        m_database.Close();
        TraceFailure("Event store can't be opened", e.what());
        const ulk::LockGuard lock(m_mutex);
        m_failing = true;
        m_retryAt = Clock::now() + m_options.retry;
        if (m_lastId == 0)
            m_lastId = std::max(ReadReservedIds(m_options.databasePath), TimeBasedId(std::time(nullptr)));
    }
}

void EventBus::ReserveIds(Event::IdType id) noexcept {
    if (id + IdReserveStep / 2 <= m_reservedId)
        return;
    const result_t result = WriteReservedIds(m_options.databasePath, id + IdReserveStep);
    if (ULK_SUCCEEDED(result))
        m_reservedId = id + IdReserveStep;
    else
        ULK_TRACE(m_tracer.Get(), ulk::level::Notable) << "Ids can't be reserved: " << ulk::ResultText(result);
}

void EventBus::TraceFailure(const char* what, const char* why) noexcept {
    if (m_failureTraced)
        return; // once for each outage; LostEvents counts on
    m_failureTraced = true;
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << what << ": " << why;
}

} // namespace tfs::service::store
