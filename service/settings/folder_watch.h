// SPDX-License-Identifier: GPL-2.0-or-later
// Tells that something has changed in a folder that need not exist yet.
#pragma once

#include <foundation/result.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tfs::service::settings {

/// Used on one thread.
class FolderWatch {
public:
    /// An absolute path.
    explicit FolderWatch(const std::string& folder);
    ~FolderWatch();
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    /// Watches the folder as it stands now, or where it will appear, and each folder above it. What has happened before
    /// isn't told any more. The code of the system call that failed; Handle is then negative.
    result_t Arm() noexcept;
    /// Readable when TakeChanges has something to take.
    int Handle() const noexcept { return m_handle; }
    /// True where something of what has happened since Arm or the last call concerns the folder or a file `*.ini` in
    /// it; call Arm then. Doesn't wait.
    bool TakeChanges() noexcept;

private:
    void Close() noexcept;
    int Add(std::size_t depth, std::uint32_t mask) noexcept;

    std::vector<std::string> m_chain; ///< "/", "/a", "/a/b"
    std::vector<std::string> m_names; ///< last component of each
    int m_handle = -1;
    int m_deepest = -1;    ///< the watch of the deepest folder that exists
    std::string m_awaited; ///< what is to appear in it; empty where it is the folder itself
};

} // namespace tfs::service::settings
