// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace tfs::tools {

/// True where some window owns the selection _NET_SYSTEM_TRAY_S<screen> of the display named by DISPLAY. Opens a
/// connection of its own to a local display and closes it again; false where there is none.
bool HasXEmbedTray() noexcept;

} // namespace tfs::tools
