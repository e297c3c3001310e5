// SPDX-License-Identifier: GPL-2.0-or-later
// A database as large as it gets, with events as the service makes them.
#pragma once

#include <service/store/event_database.h>

#include <string>

namespace tfs::bench {

inline constexpr Event::IdType EventCount = 500'000;
inline constexpr std::int64_t FirstTime = 1'700'000'000;
inline constexpr std::int64_t SecondsBetween = 5;

/// Types that are rare in it.
inline constexpr types::EventName::Type RareTypes[] = {
    types::EventName::ThreatDetected, types::EventName::LicenseExpired, types::EventName::AVBasesRollbackCompleted};

/// The event of that id: ten fields, every 2,000th of them of a rare type.
Event EventOfId(Event::IdType id);

/// Writes them in batches of 1,000; returns events per second.
double FillStore(service::store::EventDatabase& database);
/// The same rows by plain SQL into a database with the same tables.
double FillPlainly(const std::string& path);

} // namespace tfs::bench
