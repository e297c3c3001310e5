// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/scan_tally.h>

#include <algorithm>

namespace tfs::service::scan {

void ScanTally::SetTotal(std::uint64_t weight, bool complete) {
    ulk::LockGuard lock(m_lock);
    m_total = weight;
    m_totalKnown = complete;
}

void ScanTally::Scanned(std::uint64_t size, bool read, bool threat) {
    ulk::LockGuard lock(m_lock);
    ++m_counters.scannedObjects;
    m_counters.scannedBytes += read ? size : 0;
    m_counters.threats += threat ? 1 : 0;
    m_done += FileWeight + size;
}

void ScanTally::NotProcessed(std::uint64_t size, bool encrypted) {
    ulk::LockGuard lock(m_lock);
    ++m_counters.notProcessed;
    m_counters.encrypted += encrypted ? 1 : 0;
    m_done += FileWeight + size;
}

void ScanTally::Unreadable() {
    ulk::LockGuard lock(m_lock);
    ++m_counters.notProcessed;
}

void ScanTally::Skipped() {
    ulk::LockGuard lock(m_lock);
    ++m_counters.skipped;
}

void ScanTally::InWork(std::int64_t change) {
    ulk::LockGuard lock(m_lock);
    m_inWork += change;
}

ScanProgress ScanTally::Take(bool completed) {
    ulk::LockGuard lock(m_lock);
    std::uint32_t percent = 0;
    // Before all is counted any share would be too large, and could not be taken back.
    if (m_totalKnown && m_total != 0) {
        const double done = static_cast<double>(m_done) + static_cast<double>(std::max<std::int64_t>(m_inWork, 0));
        percent = static_cast<std::uint32_t>(std::min(99.0, 100.0 * done / static_cast<double>(m_total)));
    }
    m_counters.percent = completed ? 100 : std::max(m_counters.percent, percent);
    return m_counters;
}

} // namespace tfs::service::scan
