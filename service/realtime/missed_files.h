// SPDX-License-Identifier: GPL-2.0-or-later
// Looks for what the protection has missed: a scan of the areas for files that changed since a moment.
#pragma once

#include <service/realtime/findings_desk.h>
#include <service/tasks/scan_engine.h>

#include <atomic>
#include <ctime>
#include <memory>
#include <optional>
#include <thread>

namespace tfs::service::realtime {

/// Used on one thread; the engine outlives it. One scan at a time, and another behind it where one is asked for
/// meanwhile.
class MissedFiles final : public scan::IScanObserver {
public:
    /// `options` but for what has to do with the moment.
    MissedFiles(tasks::IScanEngine& engine, scan::ScanOptions options, std::shared_ptr<FindingsDesk> desk);
    ~MissedFiles() override { Stop(); }
    MissedFiles(const MissedFiles&) = delete;
    MissedFiles& operator=(const MissedFiles&) = delete;

    /// Files that changed at or after `since`, in seconds since the Unix epoch.
    void Ask(std::time_t since);
    /// Begins what was asked for, where nothing is under way.
    void Go();
    void Stop() noexcept;

private:
    void OnThreat(const scan::ThreatFound& threat) override;
    void OnNotProcessed(const scan::NotProcessed&) override {}
    void OnProgress(const scan::ScanProgress&) override {}

    tasks::IScanEngine& m_engine;
    const scan::ScanOptions m_options;
    const std::shared_ptr<FindingsDesk> m_desk;
    std::optional<std::time_t> m_asked;
    std::unique_ptr<scan::IScanRun> m_run;
    std::atomic<bool> m_ended{true};
    std::thread m_thread;
};

} // namespace tfs::service::realtime
