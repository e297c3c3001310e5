// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/remoting/fake_storage.h>

#include <utility>

namespace tfs::test {

FakeStorage::Seen FakeStorage::Last() const {
    const std::lock_guard lock(m_mutex);
    return m_last;
}

result_t FakeStorage::Note(Seen seen) {
    const std::lock_guard lock(m_mutex);
    m_last = std::move(seen);
    return code;
}

result_t FakeStorage::QueryBackup(const service::rpc::Caller& caller, const QueryFilter& filter,
                                  BackupItems& out) noexcept {
    if (++m_queries == failingQuery)
        return ulk::eLocked;
    const result_t result = Note({"query", caller, filter});
    if (ULK_SUCCEEDED(result))
        out = items;
    return result;
}

result_t FakeStorage::RemoveFromBackup(const service::rpc::Caller& caller, const QueryFilter& filter) noexcept {
    if (duringChange)
        duringChange();
    return Note({"remove", caller, filter});
}

result_t FakeStorage::RestoreFromBackup(const service::rpc::Caller& caller, BackupId id) noexcept {
    if (duringChange)
        duringChange();
    return Note({"restore", caller, {}, id});
}

result_t FakeStorage::GetBackupSettings(settings::BackupSettings& out) noexcept {
    out = settings;
    return code;
}

} // namespace tfs::test
