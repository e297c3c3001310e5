// SPDX-License-Identifier: GPL-2.0-or-later
// Storage: where objects that were found dangerous are kept until they are restored, removed or too old.
#pragma once

#include <foundation/object.h>
#include <foundation/sync.h>
#include <foundation/trace.h>
#include <service/storage/object_keeper.h>
#include <service/storage/vault.h>
#include <service/store/event_feed.h>
#include <service/tasks/wall_clock.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <optional>
#include <string>
#include <thread>

namespace tfs::service::storage {

/// Who asks for something.
struct Actor {
    EventUser user;
    bool isAdministrator = false; ///< may act on every object, with the service's rights
    bool seesAll = false;         ///< others see their own objects alone
};

/// Owned by the application object; publisher, clock and tracer outlive it. Any thread but for Start and Stop, which
/// are the owner's. What is asked before Storage is opened waits for it.
class StorageArea final : public IObjectKeeper {
public:
    /// `folder` ends in '/'; the folder above it is there.
    StorageArea(const std::string& folder, tfs::settings::BackupSettings settings, store::IEventPublisher& publisher,
                tasks::IWallClock& clock, ulk::Ptr<ulk::ITracer> tracer);
    ~StorageArea() override { Stop(); }
    StorageArea(const StorageArea&) = delete;
    StorageArea& operator=(const StorageArea&) = delete;

    /// Returns at once: a thread of its own opens the folder and then sees to objects that are too old. Once.
    void Start();
    /// What is going on is given up; what isn't whole is undone. Safe to call twice.
    void Stop() noexcept;

    result_t Take(const FoundObject& object, BackupId& id, std::string& why) noexcept override;

    /// As ITfstBackupManager's, for `actor`. From memory once Storage is open; eNotReady where it can't be opened, and
    /// where that takes too long.
    result_t Query(const Actor& actor, const QueryFilter& filter, BackupItems& items);
    /// These take the disk's time.
    result_t Remove(const Actor& actor, const QueryFilter& filter);
    result_t Restore(const Actor& actor, BackupId id);

    tfs::settings::BackupSettings Settings() const;
    /// Counts at once.
    void SetSettings(tfs::settings::BackupSettings settings);

private:
    enum class Phase { Opening, Open, Failed };

    void Run() noexcept;
    bool TryOpen() noexcept;
    void TellOpened(const Vault::Opened& opened);
    /// Empty where Storage is open, else why it isn't; waits at most so long, and no longer than `cancelled` is false.
    std::string WaitUntilOpen(std::optional<std::chrono::milliseconds> patience,
                              const std::function<bool()>& cancelled = {}) ULK_EXCLUDES(m_mutex);
    std::optional<std::int64_t> ServeExpired();
    void Announce(const std::vector<ObjectRecord>& records, std::int64_t now, std::uint32_t days);
    void RemoveExpired(std::int64_t now, std::uint32_t days);
    FoundObject WithStop(const FoundObject& object) const;
    void TellTaken(const FoundObject& object, const struct Taken& taken);
    void TellNotTaken(const FoundObject& object, const std::string& why, bool isOverLimit);
    void TellRemoved(const std::vector<ObjectRecord>& records, const std::optional<EventUser>& user);
    void RestoreClaimed(const Actor& actor, const ObjectRecord& record);
    void TraceProblem(const std::string& problem) const;

    store::IEventPublisher& m_publisher;
    tasks::IWallClock& m_clock;
    const ulk::Ptr<ulk::ITracer> m_tracer;
    Vault m_vault;
    std::thread m_thread;
    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_limitTold{false};

    mutable ulk::Mutex m_mutex;
    std::condition_variable_any m_opened;
    Phase m_phase ULK_GUARDED_BY(m_mutex) = Phase::Opening;
    std::string m_openProblem ULK_GUARDED_BY(m_mutex);
    tfs::settings::BackupSettings m_settings ULK_GUARDED_BY(m_mutex);
};

} // namespace tfs::service::storage
