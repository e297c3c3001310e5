// SPDX-License-Identifier: GPL-2.0-or-later
// Small files that must survive a crash at any point: read whole, replaced whole, set aside when damaged.
#pragma once

#include <foundation/result.h>

#include <cstddef>
#include <optional>
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

/// What becomes of the file that is replaced.
enum class OldFile {
    Drop,
    SetAside, ///< it gets the name that SetFileAside gives, over an earlier one; whatever it is, a folder too
};

/// A new content for a file, written beside it. Nothing has changed before Commit, and nothing stays without it. Used
/// on one thread, and by one at a time for a path.
class FileReplacement {
public:
    /// Throws std::bad_alloc, as nothing else here does.
    FileReplacement(std::string path, OldFile oldFile);
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// Writes the content to the disk, with mode 0600. Called once. The code of the system call that failed.
    result_t Write(std::string_view content) noexcept;
    /// Puts it in the file's place, at once and whole. Called once, after Write. On failure the old file is where it
    /// was, and an earlier one that was set aside too.
    result_t Commit() noexcept;
    /// Waits until a loss of power can't undo that either. On failure the new file stands all the same.
    result_t Sync() noexcept;

private:
    bool SwapWithOld() const noexcept;
    result_t SetOldAside() noexcept;

    const std::string m_path;
    const std::string m_aside; ///< empty where the old file is dropped
    const std::string m_fresh;
    std::optional<Descriptor> m_folder;
    bool m_isFreshThere = false;
};

/// Replaces the file so that a crash leaves either the old or the new content. The file is made with mode 0600.
/// Only one thread writes a given path. Returns the code of the system call that failed; the old file stays then, but
/// for the last one, which makes sure of the folder: the new file stands and a loss of power may undo it.
result_t WriteFileAtomically(const std::string& path, std::string_view content) noexcept;

/// Reads a regular file of at most `limit` bytes. eFileNotFound where it is missing, eInvalidType where it isn't a
/// regular file, eInvalidSize beyond the limit. On failure `content` is empty.
result_t ReadWholeFile(const std::string& path, std::size_t limit, std::string& content) noexcept;

/// What an open descriptor holds from its position on. eInvalidSize beyond the limit. On failure `content` is empty.
result_t ReadAll(int fd, std::size_t limit, std::string& content) noexcept;

/// Renames the file to its name with ".damaged" behind it, over an earlier one, so that repeated damage takes no more
/// room. Returns the new name, empty where it couldn't be renamed.
std::string SetFileAside(const std::string& path) noexcept;

} // namespace tfs::service::settings
