// SPDX-License-Identifier: GPL-2.0-or-later
// Bytes, database and memory of Storage, changed together in an order that a crash can't turn into a loss.
#pragma once

#include <service/storage/blob_folder.h>
#include <service/storage/object_index.h>
#include <service/storage/object_table.h>

#include <atomic>
#include <string>
#include <vector>

namespace tfs::service::storage {

/// Owned by the area. Any thread after Open; what touches the disk throws Failure or store::SqliteError.
class Vault {
public:
    /// `folder` ends in '/'.
    explicit Vault(const std::string& folder) : m_blobs(folder), m_index(folder + "objects.db") {}

    struct Opened {
        std::string setAside;               ///< name under which a damaged database was kept; else empty
        std::vector<ObjectRecord> finished; ///< whose entering was interrupted behind the removal of the original
        std::size_t foundAgain = 0;         ///< objects that the database didn't know
    };
    /// Brings to an end what a crash has left half done: an object whose original is still there leaves, one whose
    /// original is gone is kept, one that was leaving is gone. `now` in seconds since 1970.
    Opened Open(std::int64_t now) ULK_EXCLUDES(m_indexMutex);

    BackupId NextId() noexcept { return ++m_lastId; }
    const BlobFolder& Blobs() const noexcept { return m_blobs; }
    ObjectTable& Table() noexcept { return m_table; }
    const ObjectTable& Table() const noexcept { return m_table; }

    /// The object's bytes are committed; its original's name may be removed from now on.
    void Enter(const ObjectRecord& record) ULK_EXCLUDES(m_indexMutex);
    /// Its original's name is gone: it is shown. Objects that were taken from the same path before leave; returned.
    /// Where the database can't be written it is shown all the same, and `problem` says so.
    std::vector<ObjectRecord> Settle(ObjectRecord record, std::string& problem) ULK_EXCLUDES(m_indexMutex);
    /// It doesn't come in: its original is where it was.
    void Withdraw(BackupId id) noexcept ULK_EXCLUDES(m_indexMutex);
    void AddName(ObjectRecord record, const std::string& name) ULK_EXCLUDES(m_indexMutex);
    /// Claimed ones go for ever.
    void Leave(const std::vector<ObjectRecord>& records) ULK_EXCLUDES(m_indexMutex);
    void SetAnnounced(const std::vector<ObjectRecord>& records, std::int64_t time) ULK_EXCLUDES(m_indexMutex);

private:
    void FinishLeaving(std::span<const BackupId> ids) ULK_REQUIRES(m_indexMutex);
    bool Recover(ObjectRecord& record, Opened& opened) ULK_REQUIRES(m_indexMutex);
    void FindLost(std::vector<ObjectRecord>& records, Opened& opened) ULK_REQUIRES(m_indexMutex);

    BlobFolder m_blobs;
    ObjectTable m_table;
    std::atomic<BackupId> m_lastId{0};
    ulk::Mutex m_indexMutex; ///< held over the disk's time, by those who change something alone
    ObjectIndex m_index ULK_GUARDED_BY(m_indexMutex);
};

} // namespace tfs::service::storage
