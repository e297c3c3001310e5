// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace tfs::gui {

/// Whether the user wants nothing to slide, fade or bounce. TESL_REDUCED_MOTION in the environment ("1" or "0")
/// decides; without it, one of these that asks for less motion is enough: KDE's animation speed, the GTK settings file,
/// and the desktop's settings portal, if one runs already. What can't be read or doesn't answer in time asks for
/// nothing. Reads files and waits for the portal, 100 ms at most. On the GUI thread.
bool ReducedMotionWanted();

/// Offers the answer, read once for each engine, to scripts as `Motion.reduced` of the module "tl.motion". Asks the
/// portal already, and so before there is an engine that waits for it.
void RegisterMotion();

} // namespace tfs::gui
