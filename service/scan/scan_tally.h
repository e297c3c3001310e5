// SPDX-License-Identifier: GPL-2.0-or-later
// The counters of a run and how far it is. Any thread.
#pragma once

#include <foundation/sync.h>
#include <service/scan/scan_run.h>
#include <service/scan/time_estimate.h>

#include <cstdint>

namespace tfs::service::scan {

/// Adds the counts of `more`; what isn't counted stays as it is.
void AddCounts(ScanProgress& sum, const ScanProgress& more) noexcept;

/// Work is measured in bytes, with a constant for each file on top, because a small file costs more than its bytes.
constexpr std::uint64_t FileWeight = 48 * 1024;

class ScanTally {
public:
    /// What there is to do in all, as far as it is known by now; `before` of it was done by the run that goes on.
    void SetTotal(std::uint64_t weight, std::uint64_t before) ULK_EXCLUDES(m_lock);
    // Each of these counts one object and returns what it has added.
    /// A file of `size` bytes has its verdict; `read` says whether its bytes count (once for each inode).
    ScanProgress Scanned(std::uint64_t size, bool read, bool threat) ULK_EXCLUDES(m_lock);
    ScanProgress NotProcessed(std::uint64_t size, bool encrypted) ULK_EXCLUDES(m_lock);
    /// A folder or name that couldn't be opened; no part of the total.
    ScanProgress Unreadable() ULK_EXCLUDES(m_lock);
    ScanProgress Skipped() ULK_EXCLUDES(m_lock);
    /// Bytes of files in work: grows and shrinks with them.
    void InWork(std::int64_t change) ULK_EXCLUDES(m_lock);
    /// The run is held; it goes on with the next file or byte.
    void Held() ULK_EXCLUDES(m_lock);
    /// `completed` makes it 100 percent.
    ScanProgress Take(bool completed, TimeEstimate::Clock::time_point now = TimeEstimate::Clock::now())
        ULK_EXCLUDES(m_lock);

private:
    ScanProgress Add(const ScanProgress& counts, std::uint64_t weight) ULK_EXCLUDES(m_lock);

    ulk::Mutex m_lock;
    ScanProgress m_counters ULK_GUARDED_BY(m_lock);
    TimeEstimate m_time ULK_GUARDED_BY(m_lock);
    std::uint64_t m_total ULK_GUARDED_BY(m_lock) = 0; ///< 0: not known
    std::uint64_t m_before ULK_GUARDED_BY(m_lock) = 0;
    std::uint64_t m_done ULK_GUARDED_BY(m_lock) = 0;
    std::int64_t m_inWork ULK_GUARDED_BY(m_lock) = 0;
};

} // namespace tfs::service::scan
