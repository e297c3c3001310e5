// SPDX-License-Identifier: GPL-2.0-or-later
// Owners of what the X library hands out.
#pragma once

#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace tfs::tools {

struct XcbDisconnect {
    void operator()(xcb_connection_t* connection) const noexcept { xcb_disconnect(connection); }
};
struct XcbFree {
    void operator()(void* reply) const noexcept { std::free(reply); }
};

/// Never null: a connection that failed tells so by xcb_connection_has_error.
using XcbConnection = std::unique_ptr<xcb_connection_t, XcbDisconnect>;
/// Null where the server refused or the connection broke.
template <class T>
using XcbReply = std::unique_ptr<T, XcbFree>;

} // namespace tfs::tools
