// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/scan_tally.h>

#include <algorithm>

namespace tfs::service::scan {

void AddCounts(ScanProgress& sum, const ScanProgress& more) noexcept {
    sum.scannedObjects += more.scannedObjects;
    sum.scannedBytes += more.scannedBytes;
    sum.threats += more.threats;
    sum.notProcessed += more.notProcessed;
    sum.encrypted += more.encrypted;
    sum.skipped += more.skipped;
}

void ScanTally::SetTotal(std::uint64_t weight, std::uint64_t before) {
    ulk::LockGuard lock(m_lock);
    m_total = weight;
    m_before = before;
}

ScanProgress ScanTally::Add(const ScanProgress& counts, std::uint64_t weight) {
    ulk::LockGuard lock(m_lock);
    AddCounts(m_counters, counts);
    m_done += weight;
    return counts;
}

ScanProgress ScanTally::Scanned(std::uint64_t size, bool read, bool threat) {
    ScanProgress counts;
    counts.scannedObjects = 1;
    counts.scannedBytes = read ? size : 0;
    counts.threats = threat ? 1 : 0;
    return Add(counts, FileWeight + size);
}

ScanProgress ScanTally::NotProcessed(std::uint64_t size, bool encrypted) {
    ScanProgress counts;
    counts.notProcessed = 1;
    counts.encrypted = encrypted ? 1 : 0;
    return Add(counts, FileWeight + size);
}

ScanProgress ScanTally::Unreadable() {
    ScanProgress counts;
    counts.notProcessed = 1;
    return Add(counts, 0);
}

ScanProgress ScanTally::Skipped() {
    ScanProgress counts;
    counts.skipped = 1;
    return Add(counts, 0);
}

void ScanTally::InWork(std::int64_t change) {
    ulk::LockGuard lock(m_lock);
    m_inWork += change;
}

void ScanTally::Held() {
    ulk::LockGuard lock(m_lock);
    m_time.SkipTime();
}

ScanProgress ScanTally::Take(bool completed, TimeEstimate::Clock::time_point now) {
    ulk::LockGuard lock(m_lock);
    const std::uint64_t done = m_done + static_cast<std::uint64_t>(std::max<std::int64_t>(m_inWork, 0));
    const std::uint64_t all = m_before + done;
    m_time.Note(now, done);
    m_counters.secondsLeft.reset();
    // While nothing is known of the total any share would be too large, and could not be taken back.
    if (m_total != 0) {
        const double share = static_cast<double>(all) / static_cast<double>(m_total);
        m_counters.percent = std::max(m_counters.percent, static_cast<std::uint32_t>(std::min(99.0, 100.0 * share)));
        if (all < m_total) // where there is more than was known, nobody can tell
            m_counters.secondsLeft = m_time.Left(m_total - all);
    }
    if (completed) {
        m_counters.percent = 100;
        m_counters.secondsLeft = 0;
    }
    return m_counters;
}

} // namespace tfs::service::scan
