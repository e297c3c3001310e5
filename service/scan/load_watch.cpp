// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/load_watch.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>

namespace tfs::service::scan {
namespace {

/// What stays idle of a processor that others use now and then.
constexpr double Slack = 0.3;

/// Ticks that a process had on processors; 0 for one that is gone.
std::uint64_t TicksOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text);
    const std::size_t name = text.rfind(')');
    if (name == std::string::npos)
        return 0;
    std::istringstream fields(text.substr(name + 1));
    std::string skipped;
    for (int i = 0; i < 11; ++i)
        fields >> skipped;
    std::uint64_t user = 0;
    std::uint64_t system = 0;
    fields >> user >> system;
    return user + system;
}

} // namespace

void LoadGauge::Take(double processors, double others) noexcept {
    const double free = std::max(0.0, processors - others);
    const auto wanted =
        std::clamp(static_cast<std::uint32_t>(std::min(free + Slack, static_cast<double>(m_most))), 1u, m_most);
    if (wanted < m_allowed)
        --m_allowed;
    else if (wanted > m_allowed)
        ++m_allowed;
}

void LoadWatch::Look(Clock::time_point now, const std::vector<pid_t>& own) {
    m_lookedAt = now;
    std::string name;
    std::array<std::uint64_t, 8> times{}; // user, nice, system, idle, waiting for the disk, interrupts twice, stolen
    std::ifstream table("/proc/stat");
    table >> name;
    for (std::uint64_t& time : times)
        table >> time;
    if (!table)
        return;
    std::uint64_t total = 0;
    for (const std::uint64_t time : times)
        total += time;
    const std::uint64_t busy = total - times[3] - times[4];
    std::map<pid_t, std::uint64_t> ticks{{::getpid(), TicksOf(::getpid())}};
    for (const pid_t process : own)
        ticks.emplace(process, TicksOf(process));
    std::uint64_t ours = 0;
    for (const auto& [process, time] : ticks) {
        const auto before = m_own.find(process);
        const std::uint64_t known = before == m_own.end() ? 0 : before->second;
        ours += time > known && (before != m_own.end() || process != ::getpid()) ? time - known : 0;
    }
    if (m_total != 0 && total > m_total) {
        const auto processors = static_cast<double>(std::max(1u, std::thread::hardware_concurrency()));
        const std::uint64_t all = busy > m_busy ? busy - m_busy : 0;
        const double others = static_cast<double>(all > ours ? all - ours : 0);
        m_gauge.Take(processors, processors * others / static_cast<double>(total - m_total));
    }
    m_busy = busy;
    m_total = total;
    m_own = std::move(ticks);
}

} // namespace tfs::service::scan
