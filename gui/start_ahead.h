// SPDX-License-Identifier: GPL-2.0-or-later
// What the start needs soon and can be made ready beside it, each on a thread of its own.
#pragma once

#include <foundation/module.h>

#include <array>
#include <future>

namespace tfs::gui {

using ModulesAhead = std::array<ulk::Module, 2>;

/// For the time in which main waits for the display: maps the modules that the start comes to next, whose dependencies
/// take long to bind, and reads the system's font configuration. Whoever needs a module loads it all the same, and
/// reports there what can't be loaded. For main, after its last change to the environment; the result keeps the modules
/// mapped, and its destructor waits for the thread.
std::future<ModulesAhead> LoadAhead();

/// Makes Qt's lists of the image formats, which takes loading their plugins, and of the system's fonts: the first
/// picture and the first text would wait for them otherwise. Qt guards both by a mutex. A typeface of our own is added
/// to a list that is there, and else has it made twice. Needs the QGuiApplication, which must outlive the result: its
/// destructor waits for the thread.
std::future<void> ListAhead();

} // namespace tfs::gui
