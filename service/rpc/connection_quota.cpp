// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/connection_quota.h>

#include <utility>

namespace tfs::service::rpc {

ConnectionQuota::Place::Place(Place&& other) noexcept
    : m_quota(std::exchange(other.m_quota, nullptr)), m_uid(other.m_uid) {}

ConnectionQuota::Place& ConnectionQuota::Place::operator=(Place&& other) noexcept {
    std::swap(m_quota, other.m_quota);
    std::swap(m_uid, other.m_uid);
    return *this;
}

ConnectionQuota::Place::~Place() {
    if (m_quota != nullptr)
        m_quota->GiveBack(m_uid);
}

ConnectionQuota::Place ConnectionQuota::Take(uid_t uid) {
    if (m_all + (uid == 0 ? 0 : m_limits.ofRootAlone) >= m_limits.all)
        return {};
    std::uint32_t& ofUser = m_ofUser[uid];
    if (ofUser >= m_limits.ofUser)
        return {};
    ++ofUser;
    ++m_all;
    return {*this, uid};
}

void ConnectionQuota::GiveBack(uid_t uid) noexcept {
    --m_all;
    const auto known = m_ofUser.find(uid);
    if (--known->second == 0)
        m_ofUser.erase(known);
}

} // namespace tfs::service::rpc
