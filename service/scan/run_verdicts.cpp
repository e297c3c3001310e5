// SPDX-License-Identifier: GPL-2.0-or-later
// The scanner's side of a run: what becomes of the files that were handed over.
#include <service/scan/run_core.h>

namespace tfs::service::scan {
namespace {

NotProcessedReason ReasonOf(const FileVerdict& verdict) noexcept {
    switch (verdict.code) {
    case VerdictCode::ReadError:
        return NotProcessedReason::ReadError;
    case VerdictCode::Changed:
        return NotProcessedReason::Changed;
    case VerdictCode::Encrypted:
        return NotProcessedReason::Encrypted;
    case VerdictCode::Limit:
        return NotProcessedReason::Limit;
    case VerdictCode::TimeLimit:
        return NotProcessedReason::TimeLimit;
    case VerdictCode::NotUnpacked:
        return NotProcessedReason::NotUnpacked;
    case VerdictCode::OutOfSpace:
        return NotProcessedReason::OutOfSpace;
    case VerdictCode::Cancelled:
        return NotProcessedReason::Cancelled;
    case VerdictCode::Clean:
    case VerdictCode::Infected:
    case VerdictCode::EngineFailed:
        break;
    }
    return NotProcessedReason::EngineFailed;
}

} // namespace

void RunCore::OnBytes(std::uint64_t token, std::uint64_t bytes) {
    ulk::LockGuard lock(m_lock);
    const auto file = m_inWork.find(token);
    if (file == m_inWork.end() || bytes <= file->second.bytes)
        return;
    m_tally.InWork(static_cast<std::int64_t>(bytes - file->second.bytes));
    file->second.bytes = bytes;
}

void RunCore::OnVerdict(std::uint64_t token, FileVerdict verdict) {
    FileInWork file;
    {
        ulk::LockGuard lock(m_lock);
        const auto found = m_inWork.find(token);
        if (found == m_inWork.end() || m_stop)
            return;
        file = std::move(found->second);
    }
    m_tally.InWork(-static_cast<std::int64_t>(file.bytes));
    const bool whole = verdict.code == VerdictCode::Clean && m_options.scanArchives;
    if (const auto scanner = m_scanner.lock(); scanner && whole && file.cacheable)
        scanner->Cache().Add(file.status, verdict.basesVersion, file.takenAt);
    const ScanProgress counts = SettleAll(file, verdict);
    // Only now is the file out of work: Run() ends when the last one is, and must not miss what it was told.
    const std::size_t most = MostInWork();
    ulk::LockGuard lock(m_lock);
    m_inWork.erase(token);
    if (!verdict.lost)
        m_trail.Settle(token, counts);
    else if (m_error.empty()) // a run that goes on begins with it; this one has not done its work
        m_error = verdict.detail.empty() ? NoScanner : verdict.detail;
    // The walker works in bunches, because a wake-up for each file would cost as much as the file.
    if (m_inWork.size() <= most * 3 / 8)
        m_room.notify_one();
    if (m_inWork.empty() && m_walked)
        m_event.notify_all();
}

ScanProgress RunCore::SettleAll(const FileInWork& file, const FileVerdict& verdict) {
    const ScanProgress counts = Settle(file.path, file.status, verdict, true);
    if (!file.manyNames)
        return counts;
    std::vector<LinkLedger::Name> names;
    {
        ulk::LockGuard lock(m_lock);
        names = m_links.Settle(file.status, verdict);
    }
    for (const LinkLedger::Name& name : names) {
        const ScanProgress ofName = Settle(name.path, file.status, verdict, false);
        ulk::LockGuard lock(m_lock);
        if (!verdict.lost)
            m_trail.Settle(name.token, ofName);
    }
    return counts;
}

ScanProgress RunCore::Settle(const std::string& path, const struct stat& status, const FileVerdict& verdict,
                             bool read) {
    const auto size = static_cast<std::uint64_t>(status.st_size);
    switch (verdict.code) {
    case VerdictCode::Clean:
        return m_tally.Scanned(size, read, false);
    case VerdictCode::Infected: {
        const ScanProgress counts = m_tally.Scanned(size, read, true);
        Tell(ThreatFound{path, verdict.inner, verdict.threat, size, status.st_uid, verdict.file});
        return counts;
    }
    default: {
        const ScanProgress counts = m_tally.NotProcessed(size, verdict.code == VerdictCode::Encrypted);
        Tell(NotProcessed{path, ReasonOf(verdict), verdict.detail});
        return counts;
    }
    }
}

void RunCore::Tell(Notable notable) {
    ulk::LockGuard lock(m_lock);
    if (std::holds_alternative<ThreatFound>(notable))
        ++m_threatsToTell;
    m_notables.push_back(std::move(notable));
    m_event.notify_all();
}

} // namespace tfs::service::scan
