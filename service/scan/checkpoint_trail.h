// SPDX-License-Identifier: GPL-2.0-or-later
// How far a run has come without a gap: files are handed out in the order of the walk and settled in any order.
// Guarded by its owner; its memory is bounded by the files in work.
#pragma once

#include <service/scan/path_order.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <string>

namespace tfs::service::scan {

class CheckpointTrail {
public:
    /// The walk has handed out a file. `token` isn't 0.
    void Begin(std::uint64_t token, const std::string& path) { m_steps.push_back({token, path}); }
    /// The walk came by something that needs no more work. A path that the walk is behind already changes nothing.
    void Pass(const std::string& path) {
        std::string& last = m_steps.empty() ? m_reached : m_steps.back().path;
        if (ComparePaths(path, last) <= 0)
            return;
        if (m_steps.empty() || m_steps.back().token == 0)
            last = path;
        else
            m_steps.push_back({0, path});
    }
    void Settle(std::uint64_t token) {
        const auto step =
            std::find_if(m_steps.begin(), m_steps.end(), [token](const Step& each) { return each.token == token; });
        if (step != m_steps.end())
            step->token = 0;
        while (!m_steps.empty() && m_steps.front().token == 0) {
            m_reached = std::move(m_steps.front().path);
            m_steps.pop_front();
        }
    }
    /// Everything up to here is settled; empty at the beginning.
    const std::string& Reached() const noexcept { return m_reached; }

private:
    struct Step {
        std::uint64_t token; ///< 0 once it is settled
        std::string path;
    };
    std::deque<Step> m_steps;
    std::string m_reached;
};

} // namespace tfs::service::scan
