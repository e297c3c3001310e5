// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace tfs::gui {

// Makes the pages, the kit, the fonts and the images known to Qt under "qrc:/", and tells the scripts among them
// whether the user wants motion. To be called before the first use of any of them, on the GUI thread; calling it again
// does nothing.
void InitQmlResources();

} // namespace tfs::gui
