// SPDX-License-Identifier: GPL-2.0-or-later
// The events that are measured, and filters that take some of them.
#pragma once

#include <contract/tfs/event.h>

#include <cstddef>
#include <cstdint>

namespace tfs::bench {

inline constexpr unsigned EventCount = 100'000;

/// An event of 5 to 20 fields, of one of ten types in turn. Its time is its number.
Event EventOfNumber(std::int64_t at);

/// Number 0 takes everything, number n events of n of the ten types.
EventFilter FilterOf(std::size_t number);
/// How many of any EventCount events in a row pass it.
unsigned PassingFilter(std::size_t number);

} // namespace tfs::bench
