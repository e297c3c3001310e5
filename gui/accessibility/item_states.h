// SPDX-License-Identifier: GPL-2.0-or-later
// What assistive programs are told of an item beyond what Qt tells them by itself: that it is disabled, whether it is
// expanded, and how far a bar has come.
#pragma once

class QQmlEngine;

namespace tfs::gui {

/// Takes effect for items that are first asked about from then on; so call it before the engine loads its first file.
/// On the GUI thread, once for the process.
void InstallItemStates(QQmlEngine& engine);

} // namespace tfs::gui
