// SPDX-License-Identifier: GPL-2.0-or-later
// Paths as the user gives them, made fit for the service, which has another current folder.
#pragma once

#include <string>
#include <vector>

namespace tfs::control {

/// The absolute path of each argument, links resolved, in their order and each once. A Failure tells of an empty
/// argument or one with a NUL in it (Usage) and of one that names nothing (NotFound). A path into a folder that this
/// user may not read is passed on as it stands: the service decides.
std::vector<std::string> AbsolutePaths(const std::vector<std::string>& arguments);

} // namespace tfs::control
