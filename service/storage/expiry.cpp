// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/expiry.h>

#include <algorithm>

namespace tfs::service::storage {

DueExpiry WhatExpires(const ObjectRecord& record, std::uint32_t days, std::int64_t now) noexcept {
    constexpr std::int64_t Day = 24 * 60 * 60;
    DueExpiry due;
    const bool wasAnnounced = record.announcedTime != 0;
    if (days == 0) {
        due.takeBack = wasAnnounced;
        return due;
    }
    const std::int64_t end = record.addedTime + days * Day;
    const std::int64_t announceAt = end - Day;
    if (now < announceAt) {
        due.takeBack = wasAnnounced;
        due.next = announceAt;
        return due;
    }
    const std::int64_t removeAt = std::max(end, (wasAnnounced ? record.announcedTime : now) + Day);
    due.announce = !wasAnnounced;
    due.remove = wasAnnounced && now >= removeAt;
    due.daysLeft = static_cast<std::uint32_t>((removeAt - now + Day - 1) / Day);
    if (!due.remove)
        due.next = removeAt;
    return due;
}

} // namespace tfs::service::storage
