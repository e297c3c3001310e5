// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/failure.h>
#include <service/storage/vault.h>

#include <exception>

namespace tfs::service::storage {
namespace {

std::vector<BackupId> IdsOf(const std::vector<ObjectRecord>& records) {
    std::vector<BackupId> ids;
    for (const ObjectRecord& record : records)
        ids.push_back(record.id);
    return ids;
}

} // namespace

void Vault::Enter(const ObjectRecord& record) {
    const ulk::LockGuard lock(m_indexMutex);
    m_index.Insert(record);
}

std::vector<ObjectRecord> Vault::Settle(ObjectRecord record, std::string& problem) {
    std::size_t claimedByOthers = 0;
    std::vector<ObjectRecord> replaced =
        m_table.Claim([&](const ObjectRecord& other) { return other.path == record.path; }, claimedByOthers);
    record.state = ObjectState::Kept;
    const std::vector<BackupId> ids = IdsOf(replaced);
    const ulk::LockGuard lock(m_indexMutex);
    try {
        m_index.Settle(record, ids);
    } catch (
        const std::exception& e) { // the original is gone: its copy stays, and is looked at again at the next start
        problem = Failure::Of(e).what();
        m_table.Release(ids);
        replaced.clear();
    }
    m_table.Put(std::move(record));
    if (!replaced.empty()) {
        m_table.Erase(ids);
        FinishLeaving(ids);
    }
    return replaced;
}

void Vault::Withdraw(BackupId id) noexcept {
    m_blobs.Remove(id);
    try {
        const ulk::LockGuard lock(m_indexMutex);
        if (m_index.IsOpen())
            m_index.Erase({&id, 1});
    } catch (const std::exception&) { // the next start does it
    }
}

void Vault::AddName(ObjectRecord record, const std::string& name) {
    record.otherNames.push_back(name);
    {
        const ulk::LockGuard lock(m_indexMutex);
        m_index.AddName(record, name);
    }
    m_table.Put(std::move(record));
}

void Vault::FinishLeaving(std::span<const BackupId> ids) {
    for (const BackupId id : ids)
        m_blobs.Remove(id);
    try {
        m_index.Erase(ids);
    } catch (const store::SqliteError&) { // they are marked; the next start does it
    }
}

void Vault::Leave(const std::vector<ObjectRecord>& records) {
    const std::vector<BackupId> ids = IdsOf(records);
    const ulk::LockGuard lock(m_indexMutex);
    m_index.MarkLeaving(ids);
    m_table.Erase(ids);
    FinishLeaving(ids);
}

void Vault::SetAnnounced(const std::vector<ObjectRecord>& records, std::int64_t time) {
    const std::vector<BackupId> ids = IdsOf(records);
    const ulk::LockGuard lock(m_indexMutex);
    m_index.SetAnnounced(ids, time);
    m_table.SetAnnounced(ids, time);
}

} // namespace tfs::service::storage
