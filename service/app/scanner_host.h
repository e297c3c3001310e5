// SPDX-License-Identifier: GPL-2.0-or-later
// The service's one scanner: seeds its signatures, starts it beside the rest of the start up, tells what became of it.
#pragma once

#include <foundation/sync.h>
#include <service/scan/scanner_service.h>
#include <service/store/event_feed.h>
#include <service/tasks/scan_engine.h>

#include <condition_variable>
#include <string>
#include <thread>

namespace tfs::service::app {

/// Owned by the application object; outlives the task registry. All operations may be called from any thread, Start
/// and Stop by the owner.
class ScannerHost final : public tasks::IScanEngine {
public:
    ScannerHost(scan::ScannerConfig config, std::string seedBasesFolder, store::IEventPublisher& publisher,
                ulk::Ptr<ulk::ITracer> tracer);
    ~ScannerHost() override;

    /// Returns at once; the signatures load on a thread of their own.
    void Start();
    void Stop() noexcept;
    /// From memory.
    scan::ScannerState State() const;

    result_t WaitUntilReady(const std::function<bool()>& cancelled, std::string& why) override;
    std::unique_ptr<scan::IScanRun> MakeRun(scan::ScanOptions options, scan::IScanObserver& observer) override;

private:
    void Load();
    void Refresh();

    const std::string m_seedBasesFolder;
    const std::string m_basesFolder;
    store::IEventPublisher& m_publisher;
    const ulk::Ptr<ulk::ITracer> m_tracer;
    scan::ScannerService m_scanner;
    std::thread m_loader;

    mutable ulk::Mutex m_mutex;
    std::condition_variable_any m_changed;
    scan::ScannerState m_state ULK_GUARDED_BY(m_mutex);
    bool m_startFinished ULK_GUARDED_BY(m_mutex) = false;
    bool m_stopping ULK_GUARDED_BY(m_mutex) = false;
    std::uint64_t m_announcedSignatures ULK_GUARDED_BY(m_mutex) = 0;
    std::int64_t m_announcedDate ULK_GUARDED_BY(m_mutex) = 0;
};

/// Ticks of 100 ns since 1601 of a time in seconds since 1970; 0 stays 0, which is "unknown" in both.
constexpr std::int64_t FileTimeTicks(std::int64_t unixTime) noexcept {
    return unixTime == 0 ? 0 : unixTime * 10000000 + 116444736000000000;
}

} // namespace tfs::service::app
