// SPDX-License-Identifier: GPL-2.0-or-later
// Folders that the service keeps its things in.
#pragma once

#include <foundation/result.h>

#include <string>
#include <sys/types.h>

namespace tfs::service::app {

/// Makes the folder and what is missing above it, whatever the umask: the folder with `mode`, those above with 0755.
/// What is there stays as it is; something else than a folder at the path is eInvalidType.
result_t MakeFolder(const std::string& path, mode_t mode) noexcept;

/// Makes a folder in which every user may make things of his own and nobody may touch another's, as MakeFolder does,
/// and sets it right where it is this user's already. eAccessDenied for another user's, eInvalidType for a link.
result_t MakeSharedFolder(const std::string& path) noexcept;

/// Folder of a path, with '/' at its end.
std::string FolderOf(const std::string& path);

} // namespace tfs::service::app
