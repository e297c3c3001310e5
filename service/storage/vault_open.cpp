// SPDX-License-Identifier: GPL-2.0-or-later
// What Storage does with what it finds at the start.
#include <service/storage/blob_file.h>
#include <service/storage/failure.h>
#include <service/storage/safe_path.h>
#include <service/storage/vault.h>

#include <algorithm>
#include <optional>

namespace tfs::service::storage {
namespace {

/// Whether the file that was copied still has its name. Where nobody can tell it counts as gone: a copy too many is no
/// loss.
bool IsOriginalThere(const std::string& path, const FileIdentity& identity) {
    try {
        const auto found = FolderPlace::Open(path).Look();
        return found && found->HasSameContent(identity);
    } catch (const Failure&) {
        return false;
    }
}

/// What the bytes tell of themselves; empty where they are damaged.
std::optional<ObjectRecord> RecordOf(const BlobFolder& blobs, BackupId id) {
    try {
        const scanner::Descriptor blob = blobs.Read(id);
        BlobReader reader(blob.Get());
        const Digest digest = reader.ReadParts([](std::uint64_t, std::span<const std::byte>) {});
        ObjectRecord record = ObjectRecord::Of(reader.Header(), digest);
        return record.id == id ? std::optional(std::move(record)) : std::nullopt;
    } catch (const Failure&) {
        return std::nullopt;
    }
}

} // namespace

/// False where the object isn't in Storage.
bool Vault::Recover(ObjectRecord& record, Opened& opened) {
    const BackupId ids[] = {record.id};
    switch (record.state) {
    case ObjectState::Kept:
        return true; // without its bytes too: whoever asks for it is told
    case ObjectState::Entering:
        if (m_blobs.Has(record.id) && !IsOriginalThere(record.path, record.identity)) {
            m_index.Settle(record, {});
            record.state = ObjectState::Kept;
            opened.finished.push_back(record);
            return true;
        }
        [[fallthrough]];
    case ObjectState::Leaving:
        FinishLeaving(ids);
        return false;
    }
    return false;
}

/// Bytes without a row: the database was lost, or the end came between the two. Damaged ones are left where they are.
void Vault::FindLost(std::vector<ObjectRecord>& records, Opened& opened) {
    std::vector<BackupId> known;
    for (const ObjectRecord& record : records)
        known.push_back(record.id);
    for (const BackupId id : m_blobs.List()) {
        m_lastId = std::max(m_lastId.load(), id);
        if (std::binary_search(known.begin(), known.end(), id))
            continue;
        std::optional<ObjectRecord> record = RecordOf(m_blobs, id);
        if (!record)
            continue;
        if (IsOriginalThere(record->path, record->identity)) {
            m_blobs.Remove(id);
            continue;
        }
        record->state = ObjectState::Kept;
        m_index.Insert(*record);
        records.push_back(std::move(*record));
        ++opened.foundAgain;
    }
}

Vault::Opened Vault::Open(std::int64_t now) {
    const ulk::LockGuard lock(m_indexMutex);
    Opened opened;
    m_blobs.Open();
    opened.setAside = m_index.Open();
    try {
        std::vector<ObjectRecord> records;
        for (ObjectRecord& record : m_index.Load())
            if (Recover(record, opened))
                records.push_back(std::move(record));
        m_lastId = m_index.GreatestId();
        if (!opened.setAside.empty()) // numbers that were given before are told by events; none is given twice
            m_lastId = std::max<BackupId>(m_lastId, static_cast<BackupId>(std::max<std::int64_t>(now, 0)));
        FindLost(records, opened);
        m_table.Fill(std::move(records));
        return opened;
    } catch (const std::exception&) {
        m_index.Close();
        throw;
    }
}

} // namespace tfs::service::storage
