// SPDX-License-Identifier: GPL-2.0-or-later
// A small file beside the event database that says which ids may have been given out, so that a damaged database
// doesn't make ids start again.
#pragma once

#include <contract/tfs/event.h>

#include <string>

namespace tfs::service::store {

/// Ids are reserved in steps of this size.
inline constexpr Event::IdType IdReserveStep = 262144;

/// Far beyond any id in use; a number above it is damage.
inline constexpr Event::IdType PlausibleId = Event::IdType{1} << 52;

/// The greatest id that may have been given out under the database's path; 0 where it isn't known.
Event::IdType ReadReservedIds(const std::string& databasePath) noexcept;

/// Notes that ids up to `id` may be given out.
result_t WriteReservedIds(const std::string& databasePath, Event::IdType id) noexcept;

/// Where nothing else is known: beyond what a service can have given out until then, at 256 events a second since
/// 1970.
constexpr Event::IdType TimeBasedId(std::int64_t unixTime) noexcept { return unixTime > 0 ? unixTime * 256 : 0; }

} // namespace tfs::service::store
