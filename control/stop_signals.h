// SPDX-License-Identifier: GPL-2.0-or-later
// Ctrl-C and SIGTERM as a count that a waiting command reads.
#pragma once

namespace tfs::control {

/// From now on SIGINT and SIGTERM are counted and end nothing. Called once, on the main thread.
void CountStopSignals();
/// How often a signal has come. Any thread.
unsigned StopSignals() noexcept;

} // namespace tfs::control
