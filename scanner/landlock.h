// SPDX-License-Identifier: GPL-2.0-or-later
// Access to files limited to one folder, by the kernel's Landlock; needs no rights.
#pragma once

#include <string>

namespace tfs::scanner {

/// Whether the kernel has Landlock and lets this process use it.
bool CanLimitFiles() noexcept;
/// From now on this process reaches no file outside `folder` by name. False where the kernel can't.
bool LimitFilesTo(const std::string& folder) noexcept;

} // namespace tfs::scanner
