// SPDX-License-Identifier: GPL-2.0-or-later
// Who is an administrator.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>

namespace tfs::service::rpc {

/// True for root, for a member of the group, and in a development run for the process's own user. Asks the system's
/// user database, which may block. A user or a group that isn't there is a plain false.
bool LookUpAdministrator(uid_t uid, const std::string& group, bool developmentRun);

/// Answers of late, so that a client that reconnects all the time costs no look-ups. The loop's thread.
class AdministratorCache {
public:
    explicit AdministratorCache(std::chrono::seconds lifetime) : m_lifetime(lifetime) {}
    std::optional<bool> Find(uid_t uid) const;
    void Remember(uid_t uid, bool isAdministrator);

private:
    struct Entry {
        bool isAdministrator;
        std::chrono::steady_clock::time_point until;
    };
    const std::chrono::seconds m_lifetime;
    std::map<uid_t, Entry> m_entries;
};

} // namespace tfs::service::rpc
