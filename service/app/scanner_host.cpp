// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/bases_seeder.h>
#include <service/app/scanner_host.h>

#include <chrono>
#include <optional>
#include <utility>

namespace tfs::service::app {
namespace {

using types::AdditionalName;
using types::EventName;

constexpr std::chrono::milliseconds CancelPoll{100};

Event MakeApplied(const scan::ScannerState& state) {
    Event event;
    event.type = EventName::AVBasesApplied;
    event.Add(AdditionalName::AVBasesDate, ulk::types::FileTime{FileTimeTicks(state.basesDate)});
    event.Add(AdditionalName::AVRecordsCount, state.signatures);
    return event;
}

Event MakeNotLoaded(const std::string& why) {
    Event event;
    event.type = EventName::AVBasesIntegrityCheckFailed;
    event.severity = types::EventSeverity::Critical;
    event.Add(AdditionalName::Information, why);
    return event;
}

} // namespace

ScannerHost::ScannerHost(scan::ScannerConfig config, std::string seedBasesFolder, store::IEventPublisher& publisher,
                         ulk::Ptr<ulk::ITracer> tracer)
    : m_seedBasesFolder(std::move(seedBasesFolder)), m_basesFolder(config.basesFolder), m_publisher(publisher),
      m_tracer(tracer), m_scanner(std::move(config), std::move(tracer)) {}

ScannerHost::~ScannerHost() { Stop(); }

void ScannerHost::Start() {
    m_scanner.SetStateChanged([this] { Refresh(); });
    m_loader = std::thread([this] { Load(); });
}

void ScannerHost::Stop() noexcept {
    {
        const ulk::LockGuard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_scanner.Stop();
    if (!m_loader.joinable())
        return;
    m_loader.join();
    // The loader may have begun to start it just then.
    m_scanner.Stop();
    m_scanner.SetStateChanged(nullptr);
}

void ScannerHost::Load() {
    std::size_t copied = 0;
    if (const result_t seeded = SeedBases(m_seedBasesFolder, m_basesFolder, copied); !ULK_SUCCEEDED(seeded)) {
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure)
            << "Signatures can't be seeded in " << m_basesFolder << ": " << ulk::ResultText(seeded);
    }
    {
        const ulk::LockGuard lock(m_mutex);
        if (m_stopping)
            return;
    }
    const result_t result = m_scanner.Start();
    Refresh();
    std::optional<std::string> failure;
    {
        const ulk::LockGuard lock(m_mutex);
        m_startFinished = true;
        if (!m_state.loaded && m_state.error.empty())
            m_state.error = std::string(ulk::ResultText(result));
        if (!m_state.loaded && !m_stopping)
            failure = m_state.error;
    }
    m_changed.notify_all();
    if (!failure)
        return;
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "Signatures aren't loaded: " << *failure;
    m_publisher.Publish(MakeNotLoaded(*failure));
}

void ScannerHost::Refresh() {
    scan::ScannerState state = m_scanner.State();
    std::optional<Event> applied;
    {
        const ulk::LockGuard lock(m_mutex);
        m_state = std::move(state);
        const bool isNew = m_state.signatures != m_announcedSignatures || m_state.basesDate != m_announcedDate;
        if (m_state.loaded && isNew) {
            m_announcedSignatures = m_state.signatures;
            m_announcedDate = m_state.basesDate;
            applied = MakeApplied(m_state);
        }
    }
    m_changed.notify_all();
    if (applied)
        m_publisher.Publish(std::move(*applied));
}

scan::ScannerState ScannerHost::State() const {
    const ulk::LockGuard lock(m_mutex);
    return m_state;
}

result_t ScannerHost::WaitUntilReady(const std::function<bool()>& cancelled, std::string& why) {
    ulk::LockGuard lock(m_mutex);
    for (;;) {
        if (m_state.loaded)
            return ulk::sOk;
        if (m_stopping)
            return ulk::eCancelled;
        if (m_startFinished && !m_state.error.empty()) {
            why = m_state.error;
            return ulk::eNotReady;
        }
        lock.unlock();
        const bool given = cancelled();
        lock.lock();
        if (given)
            return ulk::eCancelled;
        m_changed.wait_for(lock, CancelPoll);
    }
}

std::unique_ptr<scan::IScanRun> ScannerHost::MakeRun(scan::ScanOptions options, scan::IScanObserver& observer) {
    return scan::MakeScanRun(m_scanner, std::move(options), observer);
}

} // namespace tfs::service::app
