// SPDX-License-Identifier: GPL-2.0-or-later
// The database of Storage: a row for each object.
#pragma once

#include <service/storage/object_record.h>
#include <service/store/sqlite.h>

#include <span>
#include <string>
#include <vector>

namespace tfs::service::storage {

/// One thread at a time. Whatever changes something is on the disk when it returns, whole or not at all. All but Close
/// throw store::SqliteError.
class ObjectIndex {
public:
    explicit ObjectIndex(std::string path) : m_path(std::move(path)) {}

    /// Opens or makes the file and checks it. A damaged one is set aside and a new one begun: the name under which it
    /// is kept then, else empty.
    std::string Open();
    void Close() noexcept;
    bool IsOpen() const noexcept { return m_connection.IsOpen(); }

    std::vector<ObjectRecord> Load();
    /// The greatest number that an object has ever had.
    BackupId GreatestId();
    void Insert(const ObjectRecord& record);
    /// Its copy is whole and its name gone; those that it replaces begin to leave.
    void Settle(const ObjectRecord& record, std::span<const BackupId> replaced);
    /// One more name of the same file was removed.
    void AddName(const ObjectRecord& record, const std::string& name);
    void MarkLeaving(std::span<const BackupId> ids);
    void SetAnnounced(std::span<const BackupId> ids, std::int64_t time);
    void Erase(std::span<const BackupId> ids);

private:
    void OpenFile();
    void SetNumber(const char* sql, std::int64_t value, std::span<const BackupId> ids);
    void WriteChanged(const ObjectRecord& record);

    const std::string m_path;
    store::Connection m_connection;
};

} // namespace tfs::service::storage
