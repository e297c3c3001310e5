// SPDX-License-Identifier: GPL-2.0-or-later
// Exceptions into result codes, at the one boundary where each side does it.
#pragma once

#include <foundation/result.h>

namespace kj {
class Exception;
}

namespace tfs::wire {

/// DISCONNECTED is eNotReady, OVERLOADED eInsufficientResources, UNIMPLEMENTED eNotImplemented, the rest eUnexpected.
result_t ResultFromException(const kj::Exception& exception) noexcept;

/// Code of the exception in flight. To be called inside a catch block.
result_t ResultFromCurrentException() noexcept;

} // namespace tfs::wire
