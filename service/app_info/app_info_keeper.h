// SPDX-License-Identifier: GPL-2.0-or-later
// Keeps what the service says about itself and its machine, and tells when it changes.
#pragma once

#include <contract/tfs/app_info.h>
#include <foundation/object.h>
#include <foundation/sync.h>
#include <foundation/trace.h>
#include <service/app_info/databases_age.h>
#include <service/app_info/system_info.h>
#include <service/app_info/update_watch.h>
#include <service/store/event_feed.h>
#include <service/tasks/wall_clock.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>

namespace tfs::service::app_info {

/// What the scanner says of itself.
struct ScannerFacts {
    bool basesLoaded = false;
    std::int64_t basesDate = 0; ///< as in AppInfo; whole seconds
    pid_t process = -1;         ///< 0 or less: there is none
};

/// Owned by the application object; what it is given outlives it. A thread of its own looks at files and asks the
/// package manager, at intervals, whenever it is woken, and at the moment at which the databases come out of date.
class AppInfoKeeper {
public:
    struct Options {
        std::string scannerProgram;
        UpdateWatch::Options update;
        std::int64_t interval = 15; ///< seconds between two looks
    };
    /// From memory; any thread.
    using AskScanner = std::function<ScannerFacts()>;

    AppInfoKeeper(Options options, tasks::IWallClock& clock, AskScanner askScanner, store::IEventPublisher& publisher,
                  ulk::Ptr<ulk::ITracer> tracer);
    ~AppInfoKeeper() { Stop(); }
    AppInfoKeeper(const AppInfoKeeper&) = delete;
    AppInfoKeeper& operator=(const AppInfoKeeper&) = delete;

    /// By the owner, once. What takes no time is known when it returns.
    void Start();
    /// By the owner; safe to call twice.
    void Stop() noexcept;
    /// The scanner's state has changed. Any thread, never waits.
    void Wake() noexcept { m_clock.Wake(); }

    /// Fills the fields on update, system and whether protection can run; the others stay. From memory; any thread.
    void Fill(AppInfo& appInfo) const;

private:
    void Run();
    std::int64_t Look();
    void LookAtScannerProgram();
    void LookAtDatabases(const AppInfo& databases, std::int64_t nowTicks);
    void LookForUpdate(pid_t scanner);

    const Options m_options;
    tasks::IWallClock& m_clock;
    const AskScanner m_askScanner;
    store::IEventPublisher& m_publisher;
    const ulk::Ptr<ulk::ITracer> m_tracer;
    std::atomic<bool> m_stopping{false};
    std::thread m_thread;

    // Of the thread.
    DatabasesAge m_age;
    UpdateWatch m_updates;

    mutable ulk::Mutex m_mutex;
    SystemInfo m_system ULK_GUARDED_BY(m_mutex);
    bool m_canRunProtection ULK_GUARDED_BY(m_mutex) = false;
    ApplicationUpdate m_update ULK_GUARDED_BY(m_mutex);
};

} // namespace tfs::service::app_info
