// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/tools/xembed_tray.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <xcb/xcb.h>

namespace tfs::tools {
namespace {

struct Disconnect {
    void operator()(xcb_connection_t* connection) const noexcept { xcb_disconnect(connection); }
};
struct Free {
    void operator()(void* reply) const noexcept { std::free(reply); }
};

} // namespace

bool HasXEmbedTray() noexcept {
    int screen = 0;
    const std::unique_ptr<xcb_connection_t, Disconnect> connection(xcb_connect(nullptr, &screen));
    if (xcb_connection_has_error(connection.get()))
        return false;
    char name[32];
    std::snprintf(name, sizeof(name), "_NET_SYSTEM_TRAY_S%d", screen);
    const auto atomCookie = xcb_intern_atom(connection.get(), 1, static_cast<std::uint16_t>(std::strlen(name)), name);
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> atom(
        xcb_intern_atom_reply(connection.get(), atomCookie, nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE)
        return false;
    const auto ownerCookie = xcb_get_selection_owner(connection.get(), atom->atom);
    const std::unique_ptr<xcb_get_selection_owner_reply_t, Free> owner(
        xcb_get_selection_owner_reply(connection.get(), ownerCookie, nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

} // namespace tfs::tools
