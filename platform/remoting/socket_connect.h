// SPDX-License-Identifier: GPL-2.0-or-later
// Opening the socket to the service.
#pragma once

#include <foundation/result.h>

#include <chrono>
#include <string>

namespace ulk::remoting {

/// Connects to a Unix socket; blocks at most until the deadline, where the service's queue of waiting connections is
/// full. On success `socket` is the caller's. A missing or refusing socket is eNotReady, one that this user may not
/// reach eAccessDenied, a full queue eTimeout, a path that can't be one eInvalidArgument.
result_t ConnectSocket(const std::string& path, std::chrono::steady_clock::time_point deadline, int& socket) noexcept;

} // namespace ulk::remoting
