// SPDX-License-Identifier: GPL-2.0-or-later
// Folders and files that a module keeps to the user it runs as.
#pragma once

#include <foundation/result.h>

#include <string>

namespace platform {

/// Makes the folder with mode 0700 where it is missing, and missing parents with 0755, then tests the folder itself: a
/// symbolic link, another user's folder or one that everybody may write to is eAccessDenied; other failures are the
/// code of errno.
result_t EnsurePrivateFolder(const std::string& folder);

/// sOk for a regular file of this user's and for a missing one. A symbolic link, another user's file or one with a
/// second name is eAccessDenied, anything that isn't a file eInvalidType.
result_t CheckOwnFile(const std::string& path);

/// Joins with exactly one "/".
std::string JoinPath(const std::string& folder, const std::string& name);

} // namespace platform
