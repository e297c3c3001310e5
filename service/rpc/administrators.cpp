// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/administrators.h>

#include <algorithm>
#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace tfs::service::rpc {
namespace {

constexpr std::size_t RecordSizeLimit = 1024 * 1024;
constexpr std::size_t CachedUsersLimit = 1024;

/// Calls a getXbyY_r function with a buffer that grows until the record fits. False where there is none.
template <class Record, class Get>
bool GetRecord(Record& record, std::vector<char>& buffer, Get get) {
    for (buffer.resize(4096); buffer.size() <= RecordSizeLimit; buffer.resize(buffer.size() * 2)) {
        Record* found = nullptr;
        const int error = get(&record, buffer.data(), buffer.size(), &found);
        if (error != ERANGE)
            return error == 0 && found != nullptr;
    }
    return false;
}

bool IsMember(uid_t uid, const std::string& groupName) {
    std::vector<char> groupBuffer;
    group groupRecord{};
    if (!GetRecord(groupRecord, groupBuffer, [&](group* record, char* data, std::size_t size, group** found) {
            return ::getgrnam_r(groupName.c_str(), record, data, size, found);
        }))
        return false;
    std::vector<char> userBuffer;
    passwd userRecord{};
    if (!GetRecord(userRecord, userBuffer, [&](passwd* record, char* data, std::size_t size, passwd** found) {
            return ::getpwuid_r(uid, record, data, size, found);
        }))
        return false;
    std::vector<gid_t> groups(64);
    int count = static_cast<int>(groups.size());
    if (::getgrouplist(userRecord.pw_name, userRecord.pw_gid, groups.data(), &count) < 0) {
        if (count <= 0 || count > 65536)
            return false;
        groups.resize(static_cast<std::size_t>(count));
        if (::getgrouplist(userRecord.pw_name, userRecord.pw_gid, groups.data(), &count) < 0)
            return false;
    }
    groups.resize(static_cast<std::size_t>(count));
    return std::find(groups.begin(), groups.end(), groupRecord.gr_gid) != groups.end();
}

} // namespace

bool LookUpAdministrator(uid_t uid, const std::string& group, bool developmentRun) {
    if (uid == 0 || (developmentRun && uid == ::geteuid()))
        return true;
    return !group.empty() && IsMember(uid, group);
}

std::optional<bool> AdministratorCache::Find(uid_t uid) const {
    const auto found = m_entries.find(uid);
    if (found == m_entries.end() || found->second.until < std::chrono::steady_clock::now())
        return std::nullopt;
    return found->second.isAdministrator;
}

void AdministratorCache::Remember(uid_t uid, bool isAdministrator) {
    if (m_entries.size() >= CachedUsersLimit)
        m_entries.clear();
    m_entries[uid] = {isAdministrator, std::chrono::steady_clock::now() + m_lifetime};
}

} // namespace tfs::service::rpc
