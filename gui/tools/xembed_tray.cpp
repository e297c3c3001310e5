// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/tools/xcb_handles.h>
#include <gui/tools/xembed_tray.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <xcb/xcb.h>

namespace tfs::tools {
bool HasXEmbedTray() noexcept {
    int screen = 0;
    const XcbConnection connection(xcb_connect(nullptr, &screen));
    if (xcb_connection_has_error(connection.get()))
        return false;
    char name[32];
    std::snprintf(name, sizeof(name), "_NET_SYSTEM_TRAY_S%d", screen);
    const auto atomCookie = xcb_intern_atom(connection.get(), 1, static_cast<std::uint16_t>(std::strlen(name)), name);
    const XcbReply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(connection.get(), atomCookie, nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE)
        return false;
    const auto ownerCookie = xcb_get_selection_owner(connection.get(), atom->atom);
    const XcbReply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(connection.get(), ownerCookie, nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

} // namespace tfs::tools
