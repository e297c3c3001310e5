// SPDX-License-Identifier: GPL-2.0-or-later
// The life of Storage: opening, age, stopping.
#include <service/storage/expiry.h>
#include <service/storage/failure.h>
#include <service/storage/storage_area.h>
#include <service/storage/storage_events.h>

#include <algorithm>

namespace tfs::service::storage {
namespace {

constexpr std::int64_t RetryAfter = 60; ///< seconds, where the folder can't be used
constexpr std::chrono::milliseconds CancelPoll{100};

} // namespace

StorageArea::StorageArea(const std::string& folder, tfs::settings::BackupSettings settings,
                         store::IEventPublisher& publisher, tasks::IWallClock& clock, ulk::Ptr<ulk::ITracer> tracer)
    : m_publisher(publisher), m_clock(clock), m_tracer(std::move(tracer)), m_vault(folder), m_settings(settings) {}

void StorageArea::Start() {
    m_thread = std::thread([this] { Run(); });
}

void StorageArea::Stop() noexcept {
    m_stopping = true;
    m_clock.Wake();
    {
        const ulk::LockGuard lock(m_mutex);
        m_opened.notify_all();
    }
    if (m_thread.joinable())
        m_thread.join();
}

void StorageArea::Run() noexcept {
    while (!m_stopping) {
        std::optional<std::int64_t> next = m_clock.Now() + RetryAfter;
        try {
            if (TryOpen())
                next = ServeExpired();
        } catch (const std::exception& e) { // memory or disk is short; what is due stays due
            TraceProblem(e.what());
        }
        if (!m_stopping)
            m_clock.WaitUntil(next);
    }
}

bool StorageArea::TryOpen() noexcept {
    {
        const ulk::LockGuard lock(m_mutex);
        if (m_phase == Phase::Open)
            return true;
    }
    try {
        const Vault::Opened opened = m_vault.Open(m_clock.Now());
        {
            const ulk::LockGuard lock(m_mutex);
            m_phase = Phase::Open;
            m_opened.notify_all();
        }
        TellOpened(opened);
        return true;
    } catch (const std::exception& e) {
        const ulk::LockGuard lock(m_mutex);
        m_phase = Phase::Failed;
        m_openProblem = std::string("Storage can't be used: ") + e.what();
        m_opened.notify_all();
        TraceProblem(m_openProblem);
        return false;
    }
}

void StorageArea::TellOpened(const Vault::Opened& opened) {
    if (!opened.setAside.empty())
        TraceProblem("Storage's database was damaged; a new one is made of the objects themselves, " +
                     std::to_string(opened.foundAgain) + " found; the old one is kept as " + opened.setAside);
    for (const ObjectRecord& record : opened.finished)
        m_publisher.Publish(MakeSavedLate(record));
}

std::string StorageArea::WaitUntilOpen(std::optional<std::chrono::milliseconds> patience,
                                       const std::function<bool()>& cancelled) {
    const auto deadline =
        std::chrono::steady_clock::now() + patience.value_or(std::chrono::milliseconds(std::chrono::hours(1)));
    ulk::LockGuard lock(m_mutex);
    while (m_phase == Phase::Opening && !m_stopping && std::chrono::steady_clock::now() < deadline) {
        m_opened.wait_for(lock, CancelPoll);
        if (!cancelled)
            continue;
        lock.unlock();
        const bool given = cancelled();
        lock.lock();
        if (given)
            break;
    }
    if (m_stopping)
        return "the service is stopping";
    if (m_phase == Phase::Open)
        return {};
    return m_phase == Phase::Failed ? m_openProblem : "Storage is still being opened";
}

tfs::settings::BackupSettings StorageArea::Settings() const {
    const ulk::LockGuard lock(m_mutex);
    return m_settings;
}

void StorageArea::SetSettings(tfs::settings::BackupSettings settings) {
    {
        const ulk::LockGuard lock(m_mutex);
        if (m_settings == settings)
            return;
        m_settings = settings;
    }
    m_limitTold = false;
    m_clock.Wake();
}

/// When to look again.
std::optional<std::int64_t> StorageArea::ServeExpired() {
    const std::uint32_t days = Settings().storageDays;
    const std::int64_t now = m_clock.Now();
    const auto select = [&](bool DueExpiry::*what) {
        return m_vault.Table().Select([&](const ObjectRecord& record) { return WhatExpires(record, days, now).*what; });
    };
    if (const auto longer = select(&DueExpiry::takeBack); !longer.empty())
        m_vault.SetAnnounced(longer, 0);
    Announce(select(&DueExpiry::announce), now, days);
    RemoveExpired(now, days);
    std::optional<std::int64_t> next;
    m_vault.Table().Select([&](const ObjectRecord& record) {
        if (const auto each = WhatExpires(record, days, now).next)
            next = std::min(next.value_or(*each), *each);
        return false;
    });
    return next;
}

void StorageArea::Announce(const std::vector<ObjectRecord>& records, std::int64_t now, std::uint32_t days) {
    if (records.empty())
        return;
    m_vault.SetAnnounced(records, now);
    for (const ObjectRecord& record : records)
        m_publisher.Publish(MakeRemovedSoon(record, WhatExpires(record, days, now).daysLeft));
}

void StorageArea::RemoveExpired(std::int64_t now, std::uint32_t days) {
    std::size_t inUse = 0; // by somebody who restores or removes them now
    const std::vector<ObjectRecord> old =
        m_vault.Table().Claim([&](const ObjectRecord& record) { return WhatExpires(record, days, now).remove; }, inUse);
    if (old.empty())
        return;
    m_vault.Leave(old);
    TellRemoved(old, {});
}

void StorageArea::TellRemoved(const std::vector<ObjectRecord>& records, const std::optional<EventUser>& user) {
    m_limitTold = false;
    std::vector<Event> events;
    for (const ObjectRecord& record : records)
        events.push_back(MakeRemoved(record, user));
    m_publisher.PublishAll(std::move(events));
}

void StorageArea::TraceProblem(const std::string& problem) const {
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << problem;
}

} // namespace tfs::service::storage
