// SPDX-License-Identifier: GPL-2.0-or-later
// How far a run has come without a gap, and what it has counted up to there: files are handed out in the order of the
// walk and settled in any order. Guarded by its owner; its memory is bounded by the files in work.
#pragma once

#include <service/scan/path_order.h>
#include <service/scan/scan_tally.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <string>

namespace tfs::service::scan {

class CheckpointTrail {
public:
    /// The walk has handed out a file. `token` isn't 0.
    void Begin(std::uint64_t token, const std::string& path) { m_steps.push_back({token, path, {}}); }
    /// The walk came by something that needs no more work. A path that the walk is behind already brings it no further.
    void Pass(const std::string& path, const ScanProgress& counts = {}) {
        std::string& last = m_steps.empty() ? m_reached : m_steps.back().path;
        const bool isNew = ComparePaths(path, last) > 0;
        if (isNew && !m_steps.empty() && m_steps.back().token != 0) {
            m_steps.push_back({0, path, counts});
            return;
        }
        if (isNew)
            last = path;
        AddCounts(m_steps.empty() ? m_counts : m_steps.back().counts, counts);
    }
    void Settle(std::uint64_t token, const ScanProgress& counts = {}) {
        const auto step =
            std::find_if(m_steps.begin(), m_steps.end(), [token](const Step& each) { return each.token == token; });
        if (step != m_steps.end()) {
            step->token = 0;
            AddCounts(step->counts, counts);
        }
        while (!m_steps.empty() && m_steps.front().token == 0) {
            m_reached = std::move(m_steps.front().path);
            AddCounts(m_counts, m_steps.front().counts);
            m_steps.pop_front();
        }
    }
    /// Everything up to here is settled; empty at the beginning.
    const std::string& Reached() const noexcept { return m_reached; }
    /// What was counted up to there, and nothing of what was settled ahead of it.
    const ScanProgress& Counts() const noexcept { return m_counts; }

private:
    struct Step {
        std::uint64_t token; ///< 0 once it is settled
        std::string path;
        ScanProgress counts;
    };
    std::deque<Step> m_steps;
    std::string m_reached;
    ScanProgress m_counts;
};

} // namespace tfs::service::scan
