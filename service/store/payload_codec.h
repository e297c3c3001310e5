// SPDX-License-Identifier: GPL-2.0-or-later
// What an event holds beyond the columns of its row, as bytes: versioned, compact, and safe to read from a damaged or
// hostile database.
#pragma once

#include <contract/tfs/event.h>

#include <string>
#include <string_view>

namespace tfs::service::store {

/// Initiator, acting user and additional data of the event. Id, type, severity and time stand in columns.
/// eInvalidArgument where a vector value is nested deeper than MaxValueDepth.
result_t EncodePayload(const Event& event, std::string& bytes);

/// Fills the same fields of `event`. False for anything that EncodePayload doesn't write (unknown version or tag,
/// lengths beyond the bytes, trailing bytes); `event` is then unchanged. Memory is bounded by the size of `bytes`.
bool DecodePayload(std::string_view bytes, Event& event);

inline constexpr int MaxValueDepth = 8;

} // namespace tfs::service::store
