// SPDX-License-Identifier: GPL-2.0-or-later
// Tells whether making or writing a temporary file failed, which the engine often keeps to itself.
#pragma once

namespace tfs::scanner {

/// Forgets what failed so far. The process has one thread.
void ForgetFileTrouble() noexcept;
/// errno of the first operation on temporary files that failed since then, 0 where all went well.
int FileTrouble() noexcept;

} // namespace tfs::scanner
