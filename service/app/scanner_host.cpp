// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <service/app/scanner_host.h>

#include <chrono>
#include <exception>
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

std::int64_t FileTimeTicks(std::int64_t unixTime) noexcept {
    try {
        return unixTime == 0 ? 0 : ulk::datetime::TicksFromSeconds(unixTime);
    } catch (const std::exception&) {
        return 0;
    }
}

ScannerHost::ScannerHost(scan::ScannerConfig config, update::UpdateArea& bases, store::IEventPublisher& publisher,
                         ulk::Ptr<ulk::ITracer> tracer)
    : m_config(std::move(config)), m_bases(bases), m_publisher(publisher), m_tracer(std::move(tracer)) {}

ScannerHost::~ScannerHost() { Stop(); }

void ScannerHost::Start() {
    m_loader = std::thread([this] { Load(); });
}

std::shared_ptr<scan::ScannerService> ScannerHost::Scanner() const {
    const ulk::LockGuard lock(m_mutex);
    return m_scanner;
}

void ScannerHost::Stop() noexcept {
    {
        const ulk::LockGuard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (const auto scanner = Scanner())
        scanner->Stop();
    if (!m_loader.joinable())
        return;
    m_loader.join();
    // The loader may have begun to start it just then.
    const auto scanner = Scanner();
    if (!scanner)
        return;
    scanner->Stop();
    scanner->SetStateChanged(nullptr);
}

/// Null where the host stops.
std::shared_ptr<scan::ScannerService> ScannerHost::OpenScanner() {
    scan::ScannerConfig config = m_config;
    std::string problem;
    (void)m_bases.Open(config.basesFolder, problem);
    if (!problem.empty()) {
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "Signatures on disk: " << problem;
    }
    auto scanner = std::make_shared<scan::ScannerService>(std::move(config), m_tracer);
    const ulk::LockGuard lock(m_mutex);
    if (m_stopping)
        return nullptr;
    m_scanner = scanner;
    return scanner;
}

void ScannerHost::Load() {
    const auto scanner = OpenScanner();
    if (!scanner)
        return;
    scanner->SetStateChanged([this] { Refresh(); });
    const result_t result = scanner->Start();
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

result_t ScannerHost::Replace(const std::string& folder, const std::function<bool()>& cancelled, std::string& why) {
    {
        ulk::LockGuard lock(m_mutex);
        while (!m_startFinished)
            if (!WaitForChange(lock, cancelled))
                return ulk::eCancelled;
        if (m_stopping)
            return ulk::eCancelled;
    }
    return Scanner()->Replace(folder, cancelled, why);
}

void ScannerHost::Refresh() {
    scan::ScannerState state = Scanner()->State();
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
    if (m_stateChanged)
        m_stateChanged();
}

scan::ScannerState ScannerHost::State() const {
    const ulk::LockGuard lock(m_mutex);
    return m_state;
}

bool ScannerHost::WaitForChange(ulk::LockGuard& lock, const std::function<bool()>& cancelled) {
    if (m_stopping)
        return false;
    lock.unlock();
    const bool given = cancelled();
    lock.lock();
    if (!given)
        m_changed.wait_for(lock, CancelPoll);
    return !given;
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
        if (!WaitForChange(lock, cancelled))
            return ulk::eCancelled;
    }
}

std::unique_ptr<scan::IScanRun> ScannerHost::MakeRun(tasks::ScanKind kind, scan::ScanOptions options,
                                                     scan::IScanObserver& observer) {
    const auto scanner = Scanner();
    switch (kind) {
    case tasks::ScanKind::Memory:
        return scan::MakeMemoryScanRun(*scanner, std::move(options), observer);
    case tasks::ScanKind::BootRecords:
        return scan::MakeBootScanRun(*scanner, std::move(options), observer);
    case tasks::ScanKind::Files:
        break;
    }
    return scan::MakeScanRun(*scanner, std::move(options), observer);
}

} // namespace tfs::service::app
