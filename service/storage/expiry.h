// SPDX-License-Identifier: GPL-2.0-or-later
// When an object has been in Storage for long enough.
#pragma once

#include <service/storage/object_record.h>

#include <cstdint>
#include <optional>

namespace tfs::service::storage {

/// What is to be done with an object now, and when to look at it again.
struct DueExpiry {
    bool announce = false; ///< that it goes soon
    bool remove = false;
    bool takeBack = false;            ///< it was announced, and stays longer after all
    std::uint32_t daysLeft = 0;       ///< with announce
    std::optional<std::int64_t> next; ///< seconds since 1970; empty where it stays without limit
};

/// `days` is how long objects are kept, 0 without limit; `now` is in seconds since 1970. None goes that wasn't
/// announced a day before: a clock that was set forward by mistake, or a limit, can be set right before anything is
/// lost.
DueExpiry WhatExpires(const ObjectRecord& record, std::uint32_t days, std::int64_t now) noexcept;

} // namespace tfs::service::storage
