// SPDX-License-Identifier: GPL-2.0-or-later
// What follows from verdicts when the opener has had his answer: counters, events, and the way of a threat into
// Storage.
#pragma once

#include <foundation/sync.h>
#include <service/realtime/file_screen.h>
#include <service/scan/scan_client.h>
#include <service/scan/scan_run.h>
#include <service/storage/object_keeper.h>
#include <service/tasks/job_queue.h>
#include <service/tasks/task_run.h>
#include <service/tasks/user_names.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <deque>
#include <functional>
#include <string>
#include <utility>

namespace tfs::service::realtime {

/// Made for one run of the task, whose registry and Storage outlive it. Any thread; no operation but Finish,
/// TellCounters and WaitForRoom waits: one thread of the desk's own does what takes time. Each threat that waits for it
/// holds a descriptor, so that there is an end to how many may.
class FindingsDesk {
public:
    struct Options {
        tasks::TaskIdentity task;
        tasks::Initiator initiator;
        bool takesThreats = false; ///< into Storage, where there is one
        /// Called without a lock for a threat that comes when too many wait already: it is told, and a file that
        /// changed at that time, in seconds since the Unix epoch, is to be looked at once more.
        std::function<void(std::time_t changed)> onMissed;
    };
    /// `keeper` may be null.
    FindingsDesk(Options options, tasks::IRunHost& host, storage::IObjectKeeper* keeper);

    /// A file has its verdict, of whatever kind.
    void Settled(const SeenFile& file, const scan::FileVerdict& verdict) ULK_EXCLUDES(m_lock);
    void Threat(scan::ThreatFound threat, const struct stat& status) ULK_EXCLUDES(m_lock);
    /// For who looks for threats and may wait: until few wait to be treated, or the end has come.
    void WaitForRoom() ULK_EXCLUDES(m_lock);
    /// Somebody got a file that nobody has looked at. Told by an event; where there are many of them, by one for many.
    void LetThrough(std::string path, const std::string& reason) ULK_EXCLUDES(m_lock);
    /// Told by an event always.
    void Tell(const std::string& path, const std::string& reason);
    /// To the registry, where they have changed.
    void TellCounters() ULK_EXCLUDES(m_lock);
    /// Gives up what is being copied and takes nothing from then on. Nobody waits for room any more.
    void GiveUp() ULK_EXCLUDES(m_lock);
    /// GiveUp, and tells all that is left to be told.
    void Finish() ULK_EXCLUDES(m_lock);

private:
    using Clock = std::chrono::steady_clock;
    struct Recent {
        dev_t device;
        ino_t inode;
        std::int64_t changed;
        Clock::time_point at;
    };

    void Post(std::function<void()> job);
    void Treat(const scan::ThreatFound& threat) ULK_EXCLUDES(m_lock);
    types::EventSeverity::Type TellThreat(const scan::ThreatFound& threat);
    void TakeOrLeave(const scan::ThreatFound& threat, types::EventSeverity::Type dangerLevel) ULK_EXCLUDES(m_lock);
    bool IsRepeated(const struct stat& status) ULK_REQUIRES(m_lock);
    void Count(std::uint64_t ScanStatistic::*counter) ULK_EXCLUDES(m_lock);

    const Options m_options;
    tasks::IRunHost& m_host;
    storage::IObjectKeeper* const m_keeper;
    tasks::UserNames m_names;
    std::atomic<bool> m_finished{false};

    ulk::Mutex m_lock;
    ScanStatistic m_counters ULK_GUARDED_BY(m_lock);
    std::uint64_t m_bytes ULK_GUARDED_BY(m_lock) = 0;
    std::pair<ScanStatistic, std::uint64_t> m_told ULK_GUARDED_BY(m_lock);
    std::deque<Recent> m_recent ULK_GUARDED_BY(m_lock);
    std::size_t m_held ULK_GUARDED_BY(m_lock) = 0; ///< threats that wait with their descriptor
    std::condition_variable_any m_room;
    Clock::time_point m_letThroughTold ULK_GUARDED_BY(m_lock);
    std::uint32_t m_letThroughRoom ULK_GUARDED_BY(m_lock);
    std::uint64_t m_letThroughUntold ULK_GUARDED_BY(m_lock) = 0;

    tasks::JobQueue m_jobs; ///< last, so that its thread ends first
};

} // namespace tfs::service::realtime
