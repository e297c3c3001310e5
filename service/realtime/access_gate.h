// SPDX-License-Identifier: GPL-2.0-or-later
// Where openers wait for their verdict. What may never happen here is that they wait for ever, so that whatever could
// wait itself is kept off the thread that takes their events:
//   reader     takes events, lets through what is none of our business or known as clean; waits for nothing else
//   submitter  hands files to the scanner; may wait for the scanner's lock
//   timekeeper lets through whoever has waited too long, and answers in the reader's place should it be held up
// Verdicts come on the scanner's thread. Answers are given by whichever thread knows first.
#pragma once

#include <foundation/sync.h>
#include <service/realtime/call_count.h>
#include <service/realtime/fanotify_group.h>
#include <service/realtime/file_screen.h>
#include <service/realtime/findings_desk.h>
#include <service/realtime/wake_event.h>
#include <service/scan/dispatcher.h>
#include <service/scan/file_systems.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace tfs::service::realtime {

class AccessGate final : public scan::IScanClient {
public:
    using Clock = std::chrono::steady_clock;
    struct Options {
        std::chrono::milliseconds deadline{10000};
        bool deny = true;               ///< false: threats are told and let through
        std::size_t mostWaiting = 4096; ///< openers and files; more are let through: each takes a descriptor
        std::uint64_t basesVersion = 0;
        /// Called without a lock when a file has waited its time and the scanner gave no sign of life all the while.
        std::function<void()> onSilence;
        /// Called without a lock when events were lost, and those whom they were about let through by the kernel.
        std::function<void()> onOverflow;
    };

    AccessGate(std::shared_ptr<scan::ScannerService::Impl> scanner, std::shared_ptr<FanotifyGroup> group,
               std::shared_ptr<FileScreen> screen, std::shared_ptr<FindingsDesk> desk, Options options);
    ~AccessGate() override;

    /// False where the scanner is not available. `self` is the gate's own handle.
    bool Start(const std::shared_ptr<AccessGate>& self);
    /// Lets everybody through, those to come too, and ends the threads. The group's marks are dropped before.
    void Stop() noexcept;

    /// Verdicts of other signatures than these don't count as clean from now on.
    void Use(std::uint64_t basesVersion) noexcept { m_basesVersion = basesVersion; }
    /// Everybody who waits is let through.
    void LetAllThrough() noexcept ULK_EXCLUDES(m_lock);
    /// Has the scanner look at a harmless file. It has given a sign when AnsweredProbe says so.
    void Probe();
    bool AnsweredProbe() const noexcept { return m_probeAnswered; }
    bool IsProbeUnderWay() const noexcept { return m_probeUnderWay; }

    void OnVerdict(std::uint64_t token, scan::FileVerdict verdict) override ULK_EXCLUDES(m_lock);
    void OnBytes(std::uint64_t token, std::uint64_t bytes) override;

private:
    using FileState = std::tuple<dev_t, ino_t, off_t, std::int64_t, std::int64_t>;
    /// One file and all who wait for it.
    struct Waiting {
        SeenFile file;
        bool cacheable = false;
        std::vector<scanner::Descriptor> openers;
        Clock::time_point since;
        bool lapsed = false; ///< let through; its verdict still counts
    };
    struct Deadline {
        Clock::time_point at;
        std::uint64_t token = 0;
    };

    void Read() noexcept;
    void Submit() noexcept ULK_EXCLUDES(m_lock);
    void KeepTime() noexcept ULK_EXCLUDES(m_lock);
    std::size_t Rescue() noexcept;
    void WatchReader(Clock::time_point now) ULK_EXCLUDES(m_lock);
    void TakeEvents(std::vector<AccessEvent>& events);
    /// Where it throws, the event is the caller's to answer.
    void Decide(AccessEvent& event) ULK_EXCLUDES(m_lock);
    /// False where too many wait already; the event is kept by the caller then.
    bool Queue(AccessEvent& event, SeenFile file, bool cacheable) ULK_EXCLUDES(m_lock);
    void Lapse(std::uint64_t token) ULK_EXCLUDES(m_lock);
    bool Take(std::uint64_t token, Waiting& waiting) ULK_EXCLUDES(m_lock);
    void Answer(std::vector<scanner::Descriptor> openers, bool allow) noexcept;
    void IgnoreWhileClean(int file, const SeenFile& seen) noexcept;
    void TakeVerdict(Waiting waiting, const scan::FileVerdict& verdict);
    static FileState StateOf(const struct stat& status) noexcept;

    const std::shared_ptr<scan::ScannerService::Impl> m_scanner;
    const std::shared_ptr<FanotifyGroup> m_group;
    const std::shared_ptr<FileScreen> m_screen;
    const std::shared_ptr<FindingsDesk> m_desk;
    const Options m_options;
    scan::FileSystems m_fileSystems; ///< the reader's
    std::shared_ptr<scan::ClientState> m_client;
    CallCount m_calls; ///< of the scanner's
    WakeEvent m_wakeReader;
    std::atomic<bool> m_stopping{false};
    std::atomic<std::uint64_t> m_basesVersion;
    std::atomic<Clock::time_point> m_lastSign;  ///< of the scanner
    std::atomic<Clock::time_point> m_busySince; ///< the reader; the epoch while it waits for events
    Clock::time_point m_seenBusy;               ///< the timekeeper's: m_busySince as it was last time
    Clock::time_point m_seenBusyAt;             ///< when it was first seen so
    std::atomic<bool> m_probeAnswered{false};
    std::atomic<bool> m_probeUnderWay{false};

    ulk::Mutex m_lock;
    std::condition_variable_any m_toSubmit;
    std::condition_variable_any m_toWatch;
    std::unordered_map<std::uint64_t, Waiting> m_waiting ULK_GUARDED_BY(m_lock);
    std::map<FileState, std::uint64_t> m_byState ULK_GUARDED_BY(m_lock);
    std::size_t m_openers ULK_GUARDED_BY(m_lock) = 0;
    std::uint64_t m_nextToken ULK_GUARDED_BY(m_lock) = 1;
    std::deque<std::pair<std::uint64_t, scan::FileJob>> m_jobs ULK_GUARDED_BY(m_lock);
    std::deque<Deadline> m_deadlines ULK_GUARDED_BY(m_lock); ///< the next one in front

    std::thread m_reader;
    std::thread m_submitter;
    std::thread m_timekeeper;
};

} // namespace tfs::service::realtime
