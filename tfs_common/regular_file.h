// SPDX-License-Identifier: GPL-2.0-or-later
// Reading small files that anybody may have put there.
#pragma once

#include <foundation/result.h>

#include <cstddef>
#include <string>

namespace tfs {

/// Reads a whole regular file of at most `limit` bytes; never waits for anything but the disk. Returns eInvalidType
/// where it isn't a regular file, eInvalidSize beyond the limit, eInvalidArgument for a path with a NUL, else the code
/// of the system call that failed. On failure `content` is as it was. Any thread.
result_t ReadRegularFile(const std::string& path, std::size_t limit, std::string& content);

} // namespace tfs
