// SPDX-License-Identifier: GPL-2.0-or-later
// What Storage knows of an object.
#pragma once

#include <contract/tfs/backup.h>
#include <service/storage/blob_code.h>
#include <service/storage/file_traits.h>

#include <cstdint>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace tfs::service::storage {

/// Tells a file from all others on the machine, and from itself before a change.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    Moment modified;
    Moment changed; ///< behind the removal of its name
    static FileIdentity Of(const struct stat& status) noexcept;
    bool IsSameFile(const FileIdentity& other) const noexcept { return device == other.device && inode == other.inode; }
    /// The file as it was, though its names may be others.
    bool HasSameContent(const FileIdentity& other) const noexcept {
        return IsSameFile(other) && size == other.size && modified == other.modified;
    }
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// Kept with the bytes, so that the database can be made again from them.
struct BlobHeader {
    BackupId id = 0;
    std::string path; ///< absolute, bytes of the file system
    std::string detectName;
    std::uint32_t dangerLevel = 0;
    std::int64_t addedTime = 0; ///< seconds since 1970
    FileIdentity identity;
    FileTraits traits;
    friend bool operator==(const BlobHeader&, const BlobHeader&) = default;
};

/// How far an object has come; kept in the database.
enum class ObjectState : std::uint8_t {
    Entering = 0, ///< the copy is whole, the original's name may still be there
    Kept = 1,
    Leaving = 2, ///< removed, but for its bytes
};

struct ObjectRecord {
    BackupId id = 0;
    ObjectState state = ObjectState::Entering;
    std::string path;
    std::vector<std::string> otherNames; ///< further names of the same file that were removed
    std::string detectName;
    std::uint32_t dangerLevel = 0;
    std::int64_t addedTime = 0;     ///< seconds since 1970
    std::int64_t announcedTime = 0; ///< when its removal was announced; 0: not yet
    std::uint32_t ownerUid = 0;
    FileIdentity identity;
    Digest digest{}; ///< of its bytes

    static ObjectRecord Of(const BlobHeader& header, const Digest& digest);
    BackupItemInfo Info() const;
};

} // namespace tfs::service::storage
