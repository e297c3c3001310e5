// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <service/app_info/app_info_events.h>
#include <service/app_info/app_info_keeper.h>

#include <algorithm>
#include <exception>
#include <unistd.h>
#include <utility>

namespace tfs::service::app_info {

AppInfoKeeper::AppInfoKeeper(Options options, tasks::IWallClock& clock, AskScanner askScanner,
                             store::IEventPublisher& publisher, ulk::Ptr<ulk::ITracer> tracer)
    : m_options(std::move(options)), m_clock(clock), m_askScanner(std::move(askScanner)), m_publisher(publisher),
      m_tracer(std::move(tracer)), m_updates(m_options.update) {}

void AppInfoKeeper::Start() {
    LookAtScannerProgram();
    {
        SystemInfo system = ReadSystemInfo();
        const ulk::LockGuard lock(m_mutex);
        m_system = std::move(system);
    }
    m_thread = std::thread([this] { Run(); });
}

void AppInfoKeeper::Stop() noexcept {
    if (!m_thread.joinable())
        return;
    m_stopping.store(true);
    m_clock.Wake();
    m_thread.join();
}

void AppInfoKeeper::Run() {
    while (!m_stopping.load()) {
        std::int64_t next = m_clock.Now() + m_options.interval;
        try {
            next = Look();
        } catch (const std::exception& e) { // memory is short; the next look comes
            ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "Looking at the application failed: " << e.what();
        }
        if (!m_stopping.load())
            m_clock.WaitUntil(next);
    }
}

/// Gives when to look again.
std::int64_t AppInfoKeeper::Look() {
    const ScannerFacts scanner = m_askScanner();
    LookAtScannerProgram();
    AppInfo databases;
    databases.avBasesLoaded = scanner.basesLoaded;
    databases.avBasesDate = scanner.basesDate;
    const std::int64_t nowTicks = ulk::datetime::TicksFromSeconds(m_clock.Now());
    LookAtDatabases(databases, nowTicks);
    LookForUpdate(scanner.process);
    const std::int64_t next = m_clock.Now() + m_options.interval;
    const auto aged = NextDatabasesClass(databases, nowTicks); // whole seconds, as the date is
    return aged ? std::min(next, ulk::datetime::SecondsFromTicks(*aged)) : next;
}

void AppInfoKeeper::LookAtScannerProgram() {
    const bool canRun = ::access(m_options.scannerProgram.c_str(), X_OK) == 0;
    const ulk::LockGuard lock(m_mutex);
    m_canRunProtection = canRun;
}

void AppInfoKeeper::LookAtDatabases(const AppInfo& databases, std::int64_t nowTicks) {
    if (const auto state = m_age.Look(databases, nowTicks))
        if (auto event = MakeDatabasesAged(*state, databases.avBasesDate))
            m_publisher.Publish(std::move(*event));
}

void AppInfoKeeper::LookForUpdate(pid_t scanner) {
    ApplicationUpdate update = m_updates.Look(scanner, [this] { return m_stopping.load(); });
    if (m_stopping.load())
        return;
    {
        const ulk::LockGuard lock(m_mutex);
        if (update == m_update)
            return;
        m_update = update;
    }
    ULK_TRACE(m_tracer.Get(), ulk::level::Notable)
        << "Application update state: " << static_cast<std::uint32_t>(update.state) << ' ' << update.version
        << update.module;
    if (auto event = MakeUpdateChanged(update))
        m_publisher.Publish(std::move(*event));
}

void AppInfoKeeper::Fill(AppInfo& appInfo) const {
    const ulk::LockGuard lock(m_mutex);
    appInfo.applicationUpdateState = m_update.state;
    appInfo.applicationUpdateVersion = ulk::text::ToUtf16Lossy(m_update.version);
    appInfo.canRunProtection = m_canRunProtection;
    appInfo.systemName = ulk::text::ToUtf16Lossy(m_system.name);
    appInfo.systemVersion = ulk::text::ToUtf16Lossy(m_system.version);
}

} // namespace tfs::service::app_info
