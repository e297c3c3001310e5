// SPDX-License-Identifier: GPL-2.0-or-later
// Numbers that both sides of the connection must agree on.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tfs::wire {

/// Told in `hello`. Both sides refuse any other.
inline constexpr std::uint32_t ProtocolVersion = 1;

/// The largest message that the service takes from a client, in bytes. A client refuses to send more than this by
/// itself, because the service answers with the end of the connection.
inline constexpr std::size_t RequestSizeLimit = 1024 * 1024;

/// The largest message that a client takes from the service, in bytes. The service throws AnswerTooLarge instead of
/// sending more, which the caller sees as eInvalidSize.
inline constexpr std::size_t ReplySizeLimit = 16 * 1024 * 1024;

/// What a message's envelope may add to its payload.
inline constexpr std::size_t EnvelopeSize = 4096;

/// Calls of one connection that may wait for their answers.
inline constexpr std::uint32_t CallsInFlightLimit = 64;

} // namespace tfs::wire
