// SPDX-License-Identifier: GPL-2.0-or-later
// One run of the file monitoring task: sets everything up, watches over it until it is stopped, takes it down.
#pragma once

#include <foundation/sync.h>
#include <service/realtime/access_gate.h>
#include <service/realtime/missed_files.h>
#include <service/realtime/watched_areas.h>
#include <service/realtime/written_files.h>
#include <service/tasks/scan_engine.h>
#include <service/tasks/task_run.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tfs::service::realtime {

/// What every run of this service has in common.
struct RealtimeSetup {
    std::vector<std::string> exclusions;  ///< absolute paths, with everything below them
    std::vector<std::string> ownPrograms; ///< what they open isn't looked at
    storage::IObjectKeeper* keeper = nullptr;
};

/// Starting lasts until the signatures are loaded, and comes again while the scanner is away: what can't be decided
/// isn't held up, and the task's state says that nothing is protected.
class RealtimeRun final : public tasks::ITaskRun {
public:
    RealtimeRun(tasks::RunOrder order, RealtimeSetup setup, tasks::IScanEngine& engine, tasks::IRunHost& host);

    void Execute() noexcept override;
    void Stop() noexcept override;
    void Pause() noexcept override {}
    void Resume() noexcept override {}

private:
    using Clock = std::chrono::steady_clock;
    enum class Scanner {
        Answers,
        Doubtful, ///< gave no sign for a while; a probe is under way
        Away,     ///< nobody waits for it
    };

    void Run(tasks::RunOutcome& outcome);
    bool WaitForScanner(std::string& why);
    bool SetUp(tasks::RunOutcome& outcome);
    bool OpenGroups(tasks::RunOutcome& outcome);
    void CloseGroups() noexcept;
    void MakeParts(std::vector<std::string> areas, std::vector<std::string> watchedFolders);
    void TakeDown() noexcept;
    void Watch();
    void LookAtScanner();
    void LoseScanner();
    void RegainScanner();
    void LookAtSignatures();
    void LookForMissed();

    /// What other threads tell the run; a call of the scanner's may come late and find the run gone.
    struct Signals {
        WakeEvent wake;
        std::atomic<bool> silent{false};
        ulk::Mutex lock;
        std::optional<std::time_t> missedSince ULK_GUARDED_BY(lock);

        void Silent() noexcept;
        void Missed(std::time_t since) ULK_EXCLUDES(lock);
    };

    const tasks::RunOrder m_order;
    const RealtimeSetup m_setup;
    const FileMonitoringSettings m_settings;
    tasks::IScanEngine& m_engine;
    tasks::IRunHost& m_host;
    const std::shared_ptr<Signals> m_signals = std::make_shared<Signals>();
    std::atomic<bool> m_stopped{false};

    // The run's own thread's.
    std::shared_ptr<scan::ScannerService> m_scanner;
    std::shared_ptr<FanotifyGroup> m_deciding;
    std::shared_ptr<FanotifyGroup> m_telling;
    std::shared_ptr<FileScreen> m_screen;
    std::shared_ptr<FindingsDesk> m_desk;
    std::shared_ptr<AccessGate> m_gate;
    std::shared_ptr<WrittenFiles> m_written;
    std::unique_ptr<WatchedAreas> m_areas;
    std::unique_ptr<MissedFiles> m_missed;
    std::uint64_t m_basesVersion = 0;
    Scanner m_scannerIs = Scanner::Answers;
    Clock::time_point m_doubtfulSince;
};

} // namespace tfs::service::realtime
