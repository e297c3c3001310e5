// SPDX-License-Identifier: GPL-2.0-or-later
// The objects that Storage holds, in memory: nobody who looks waits for the disk.
#pragma once

#include <foundation/sync.h>
#include <service/storage/object_record.h>

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <vector>

namespace tfs::service::storage {

/// Any thread. An object that somebody acts on is claimed by him until he gives it back or erases it.
class ObjectTable {
public:
    using Filter = std::function<bool(const ObjectRecord&)>;

    void Fill(std::vector<ObjectRecord> records) ULK_EXCLUDES(m_mutex);

    /// Sets room for an object aside, under the limit in bytes (0: none); of one with the same path that it will
    /// replace the room counts too. False where there isn't any.
    bool Reserve(const std::string& path, std::uint64_t size, std::uint64_t limit) ULK_EXCLUDES(m_mutex);
    void GiveBack(std::uint64_t reserved) ULK_EXCLUDES(m_mutex);

    /// Puts the object in, or a changed record in its place, unclaimed.
    void Put(ObjectRecord record) ULK_EXCLUDES(m_mutex);
    void Erase(std::span<const BackupId> ids) ULK_EXCLUDES(m_mutex);
    void SetAnnounced(std::span<const BackupId> ids, std::int64_t time) ULK_EXCLUDES(m_mutex);

    /// Those that pass, ascending by id.
    std::vector<ObjectRecord> Select(const Filter& filter) const ULK_EXCLUDES(m_mutex);
    /// The same, of those that nobody has claimed: they are claimed then. `skipped` counts the others.
    std::vector<ObjectRecord> Claim(const Filter& filter, std::size_t& skipped) ULK_EXCLUDES(m_mutex);
    /// The first that passes and isn't claimed, claimed.
    std::optional<ObjectRecord> ClaimOne(const Filter& filter) ULK_EXCLUDES(m_mutex);
    void Release(std::span<const BackupId> ids) ULK_EXCLUDES(m_mutex);

private:
    mutable ulk::Mutex m_mutex;
    std::map<BackupId, ObjectRecord> m_objects ULK_GUARDED_BY(m_mutex);
    std::set<BackupId> m_claimed ULK_GUARDED_BY(m_mutex);
    std::uint64_t m_used ULK_GUARDED_BY(m_mutex) = 0;     ///< bytes of the originals
    std::uint64_t m_reserved ULK_GUARDED_BY(m_mutex) = 0; ///< of those on their way in
};

} // namespace tfs::service::storage
