// SPDX-License-Identifier: GPL-2.0-or-later
// Small files that must survive a crash at any point: read whole, replaced whole, set aside when damaged.
#pragma once

#include <foundation/result.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace tfs::service::settings {

/// Owns a file descriptor, or none where it is negative.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) noexcept : m_fd(fd) {}
    ~Descriptor();
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const noexcept { return m_fd; }

private:
    int m_fd;
};

/// Replaces the file so that a crash leaves either the old or the new content. The file is made with mode 0600.
/// Only one thread writes a given path. Returns the code of the system call that failed; the old file stays then.
result_t WriteFileAtomically(const std::string& path, std::string_view content) noexcept;

/// Reads a regular file of at most `limit` bytes. eFileNotFound where it is missing, eInvalidType where it isn't a
/// regular file, eInvalidSize beyond the limit. On failure `content` is empty.
result_t ReadWholeFile(const std::string& path, std::size_t limit, std::string& content) noexcept;

/// What an open descriptor holds from its position on. eInvalidSize beyond the limit. On failure `content` is empty.
result_t ReadAll(int fd, std::size_t limit, std::string& content) noexcept;

/// Renames the file to its name with ".damaged" behind it, over an earlier one, so that repeated damage takes no more
/// room. Returns the new name, empty where it couldn't be renamed.
std::string SetFileAside(const std::string& path) noexcept;

/// Gives the file that name beside its own, over an earlier one. False where it couldn't.
bool KeepFileAside(const std::string& path) noexcept;

} // namespace tfs::service::settings
