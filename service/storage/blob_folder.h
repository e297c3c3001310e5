// SPDX-License-Identifier: GPL-2.0-or-later
// The folder of Storage: one file for each object, which nobody but the service's user may read.
#pragma once

#include <contract/scanner_channel.h>
#include <contract/tfs/backup.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tfs::service::storage {

/// Any thread, after Open. All but the noexcept ones throw Failure.
class BlobFolder {
public:
    /// `path` ends in '/'.
    explicit BlobFolder(std::string path) : m_path(std::move(path)) {}

    /// Makes the folder where it is missing, and refuses a link and another user's; what was being written when the
    /// service ended is removed.
    void Open();
    const std::string& Path() const noexcept { return m_path; }

    /// Whether so many bytes fit on the disk, without what is set aside there for the system's own needs. True where
    /// nobody can tell.
    bool HasRoom(std::uint64_t bytes) const noexcept;
    /// A new file, readable too, that counts from Commit on.
    scanner::Descriptor Begin(BackupId id) const;
    /// The file and its name are on the disk when it returns.
    void Commit(BackupId id, int blob) const;
    /// eFileNotFound where there is none.
    scanner::Descriptor Read(BackupId id) const;
    /// Whether committed or not.
    void Remove(BackupId id) const noexcept;
    bool Has(BackupId id) const noexcept;
    /// Of all that are committed, ascending.
    std::vector<BackupId> List() const;

private:
    template <class Visit>
    void EachEntry(Visit visit) const;
    void Sync() const;

    const std::string m_path;
    scanner::Descriptor m_folder;
};

} // namespace tfs::service::storage
