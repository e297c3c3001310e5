// SPDX-License-Identifier: GPL-2.0-or-later
// Exceptions into result codes, at the one boundary where each side does it.
#pragma once

#include <foundation/result.h>

namespace kj {
class Exception;
}

namespace tfs::wire {

/// What the service throws in place of an answer beyond ReplySizeLimit: a message that has grown can't be made small
/// again, so that there is no room for a code in it.
kj::Exception AnswerTooLarge();

/// DISCONNECTED is eNotReady, AnswerTooLarge eInvalidSize also where it comes from the peer, any other OVERLOADED
/// eInsufficientResources, UNIMPLEMENTED eNotImplemented, the rest eUnexpected.
result_t ResultFromException(const kj::Exception& exception) noexcept;

/// Code of the exception in flight. To be called inside a catch block.
result_t ResultFromCurrentException() noexcept;

} // namespace tfs::wire
