// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app_info/package_state.h>
#include <service/app_info/program_output.h>

#include <chrono>
#include <sstream>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tfs::service::app_info {
namespace {

constexpr std::chrono::seconds Deadline{60};
constexpr char NoVersion[] = "(none)";

/// The rest of the line behind the label, or nothing where the line has another one.
std::string_view Behind(std::string_view line, std::string_view label) {
    const std::size_t at = line.find_first_not_of(' ');
    if (at == std::string_view::npos || line.substr(at, label.size()) != label)
        return {};
    line.remove_prefix(at + label.size());
    const std::size_t value = line.find_first_not_of(' ');
    return value == std::string_view::npos ? std::string_view() : line.substr(value);
}

} // namespace

std::optional<PackageState> ParsePolicy(const std::string& text) {
    PackageState state;
    std::string candidate;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (const std::string_view version = Behind(line, "Installed:"); !version.empty() && state.installed.empty())
            state.installed = version;
        else if (const std::string_view other = Behind(line, "Candidate:"); !other.empty() && candidate.empty())
            candidate = other;
    }
    if (state.installed.empty() || state.installed == NoVersion)
        return std::nullopt;
    // The candidate is another one only where the package manager would install it.
    if (candidate != NoVersion && candidate != state.installed)
        state.available = std::move(candidate);
    return state;
}

std::string PackageManager::Fingerprint() const {
    std::ostringstream text;
    for (const char* const path : {"/var/lib/dpkg/status", "/var/lib/apt/lists"}) {
        struct stat status {};
        if (::stat(Path(path).c_str(), &status) == 0)
            text << status.st_ino << ' ' << status.st_size << ' ' << status.st_mtim.tv_sec << '.'
                 << status.st_mtim.tv_nsec;
        text << '\n';
    }
    return text.str();
}

std::optional<PackageState> PackageManager::Ask(const std::function<bool()>& cancelled) const {
    const std::string cache = Path("/usr/bin/apt-cache");
    const std::string query = Path("/usr/bin/dpkg-query");
    if (::access(cache.c_str(), X_OK) != 0 || ::access(query.c_str(), X_OK) != 0)
        return std::nullopt;
    const auto status =
        ProgramOutput({query, "--show", "--showformat=${db:Status-Status}", m_options.package}, Deadline, cancelled);
    if (!status || *status == "not-installed" || *status == "config-files")
        return std::nullopt;
    const auto policy = ProgramOutput({cache, "policy", m_options.package}, Deadline, cancelled);
    auto state = policy ? ParsePolicy(*policy) : std::nullopt;
    if (state)
        state->isBroken = *status == "half-installed" || *status == "unpacked" || *status == "half-configured";
    return state;
}

const std::optional<PackageState>& PackageManager::Look(const std::function<bool()>& cancelled) {
    std::string seen = Fingerprint();
    const bool holdsStill = m_seen.empty() || seen == m_seen;
    if (holdsStill && seen != m_asked) {
        m_state = Ask(cancelled);
        if (!cancelled())
            m_asked = seen;
    }
    m_seen = std::move(seen);
    return m_state;
}

} // namespace tfs::service::app_info
