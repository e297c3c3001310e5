// SPDX-License-Identifier: GPL-2.0-or-later
// The service's one scanner: opens its signatures, starts it beside the rest of the start up, tells what became of it.
#pragma once

#include <foundation/sync.h>
#include <service/scan/scanner_service.h>
#include <service/store/event_feed.h>
#include <service/tasks/scan_engine.h>
#include <service/update/bases_user.h>
#include <service/update/update_area.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace tfs::service::app {

/// Owned by the application object; outlives the task registry. All operations may be called from any thread, Start
/// and Stop by the owner.
class ScannerHost final : public tasks::IScanEngine, public update::IBasesUser {
public:
    /// Which signatures are used is the business of `bases`, which outlives the host and is opened by it.
    ScannerHost(scan::ScannerConfig config, update::UpdateArea& bases, store::IEventPublisher& publisher,
                ulk::Ptr<ulk::ITracer> tracer);
    ~ScannerHost() override;

    /// Returns at once; the signatures load on a thread of their own.
    void Start();
    void Stop() noexcept;
    /// From memory.
    scan::ScannerState State() const;
    /// Called without a lock, on threads of the host, whenever State has changed. Set before Start.
    void SetStateChanged(std::function<void()> changed) { m_stateChanged = std::move(changed); }

    result_t WaitUntilReady(const std::function<bool()>& cancelled, std::string& why) override;
    std::shared_ptr<scan::ScannerService> Scanner() const override;
    std::unique_ptr<scan::IScanRun> MakeRun(tasks::ScanKind kind, scan::ScanOptions options,
                                            scan::IScanObserver& observer) override;
    /// Waits for the signatures of the start first, whether they could be loaded or not.
    result_t Replace(const std::string& folder, const std::function<bool()>& cancelled, std::string& why) override;

private:
    void Load();
    void Refresh();
    /// Looks at `cancelled`, without the lock, and waits for the next look; false where it is true or the end has come.
    /// The analysis can't follow a lock that is handed over.
    bool WaitForChange(ulk::LockGuard& lock, const std::function<bool()>& cancelled)
        ULK_REQUIRES(m_mutex) ULK_NO_ANALYSIS;
    std::shared_ptr<scan::ScannerService> OpenScanner();

    const scan::ScannerConfig m_config;
    update::UpdateArea& m_bases;
    store::IEventPublisher& m_publisher;
    const ulk::Ptr<ulk::ITracer> m_tracer;
    std::function<void()> m_stateChanged;
    std::thread m_loader;

    mutable ulk::Mutex m_mutex;
    std::condition_variable_any m_changed;
    std::shared_ptr<scan::ScannerService> m_scanner ULK_GUARDED_BY(m_mutex); ///< null until signatures are opened
    scan::ScannerState m_state ULK_GUARDED_BY(m_mutex);
    bool m_startFinished ULK_GUARDED_BY(m_mutex) = false;
    bool m_stopping ULK_GUARDED_BY(m_mutex) = false;
    std::uint64_t m_announcedSignatures ULK_GUARDED_BY(m_mutex) = 0;
    std::int64_t m_announcedDate ULK_GUARDED_BY(m_mutex) = 0;
};

/// Ticks of 100 ns since 1601 of a time in seconds since 1970; 0 stays 0, which is "unknown" in both, and so is a time
/// that ticks can't tell.
std::int64_t FileTimeTicks(std::int64_t unixTime) noexcept;

} // namespace tfs::service::app
