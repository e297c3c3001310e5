// SPDX-License-Identifier: GPL-2.0-or-later
// Values of the service's records in the forms that both outputs share.
#pragma once

#include <contract/tfs/tasks.h>
#include <contract/tfs/variant.h>

#include <cstdint>
#include <string>

namespace tfs::control {

/// UTF-8; what doesn't decode becomes '?'.
std::string Utf8(const ulk::types::string16_t& text);

/// "Started" for state 1; the number for one without a name.
std::string TaskStateName(types::TaskState::Type state);

/// UTC as "2026-11-21T01:55:06Z". Zero and less, "never" and "unknown" alike, give an empty text.
std::string UtcFromEpoch(std::int64_t seconds);
/// The same from 100 ns ticks since 1601-01-01 UTC.
std::string UtcFromTicks(std::int64_t ticks);

/// The bytes of a narrow text, UTF-8 of a wide one, the text form of another scalar; empty for what has none.
std::string BytesOf(const ulk::types::variant_t& value);

} // namespace tfs::control
