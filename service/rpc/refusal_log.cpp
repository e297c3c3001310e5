// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/refusal_log.h>

#include <utility>

namespace tfs::service::rpc {
namespace {

/// One person may have thousands of user numbers; beyond so many they share a line.
constexpr std::size_t UsersLimit = 64;

} // namespace

bool RefusalLog::Note(uid_t uid, pid_t pid) {
    const bool isFirst = m_users.empty();
    if (const auto known = m_users.find(uid); known != m_users.end()) {
        ++known->second.untold;
        return false;
    }
    if (m_users.size() >= UsersLimit) {
        ++m_ofOthers;
        return false;
    }
    m_users.try_emplace(uid);
    ULK_TRACE(m_tracer, ulk::level::Notable)
        << "rpc: too many connections, one of user " << uid << " (process " << pid << ") is refused";
    return isFirst;
}

bool RefusalLog::EndRound() {
    for (auto at = m_users.begin(); at != m_users.end();) {
        Entry& entry = at->second;
        if (!std::exchange(entry.isFresh, false)) {
            if (entry.untold == 0) {
                at = m_users.erase(at);
                continue;
            }
            ULK_TRACE(m_tracer, ulk::level::Notable)
                << "rpc: too many connections, " << entry.untold << " more of user " << at->first << " were refused";
            entry.untold = 0;
        }
        ++at;
    }
    if (const std::uint64_t count = std::exchange(m_ofOthers, 0); count != 0) {
        ULK_TRACE(m_tracer, ulk::level::Notable)
            << "rpc: too many connections, " << count << " of other users were refused";
    }
    return !m_users.empty();
}

} // namespace tfs::service::rpc
