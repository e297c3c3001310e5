// SPDX-License-Identifier: GPL-2.0-or-later
// How many connections there may be, in all and of each user.
#pragma once

#include <cstdint>
#include <map>
#include <sys/types.h>

namespace tfs::service::rpc {

/// On the loop's thread; outlives its places.
class ConnectionQuota {
public:
    struct Limits {
        std::uint32_t all;
        std::uint32_t ofUser;
        std::uint32_t ofRootAlone = 0; ///< of all: kept back, so that users can't keep an administrator out
    };

    /// One connection's right to be; given back when it goes.
    class Place {
    public:
        Place() = default;
        Place(Place&& other) noexcept;
        Place& operator=(Place&& other) noexcept;
        ~Place();
        explicit operator bool() const noexcept { return m_quota != nullptr; }

    private:
        friend class ConnectionQuota;
        Place(ConnectionQuota& quota, uid_t uid) : m_quota(&quota), m_uid(uid) {}

        ConnectionQuota* m_quota = nullptr;
        uid_t m_uid = 0;
    };

    explicit ConnectionQuota(const Limits& limits) : m_limits(limits) {}
    ConnectionQuota(const ConnectionQuota&) = delete;
    ConnectionQuota& operator=(const ConnectionQuota&) = delete;

    /// Empty where there is none left for this user.
    Place Take(uid_t uid);

private:
    void GiveBack(uid_t uid) noexcept;

    const Limits m_limits;
    std::uint32_t m_all = 0;
    std::map<uid_t, std::uint32_t> m_ofUser;
};

} // namespace tfs::service::rpc
