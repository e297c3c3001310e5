// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/time_estimate.h>

#include <algorithm>

namespace tfs::service::scan {

void TimeEstimate::Note(Clock::time_point now, std::uint64_t done) {
    if (!m_skip)
        m_time += now - m_last;
    m_skip = false;
    m_last = now;
    m_samples.push_back({m_time, done});
    while (m_time - m_samples.front().at > Window)
        m_samples.pop_front();
}

std::optional<std::uint32_t> TimeEstimate::Left(std::uint64_t left) const noexcept {
    constexpr double Most = 10.0 * 365 * 24 * 3600;
    if (m_samples.empty())
        return std::nullopt;
    const Sample& first = m_samples.front();
    const Sample& last = m_samples.back();
    if (last.at - first.at < LeastWindow || last.done <= first.done)
        return std::nullopt;
    const double rate =
        static_cast<double>(last.done - first.done) / std::chrono::duration<double>(last.at - first.at).count();
    const double seconds = static_cast<double>(left) / rate;
    if (seconds > Most)
        return std::nullopt;
    return static_cast<std::uint32_t>(seconds + 0.999);
}

} // namespace tfs::service::scan
