// SPDX-License-Identifier: GPL-2.0-or-later
// What the remote interfaces reach of Storage: whose call it is becomes what he may do.
#pragma once

#include <service/rpc/backup_api.h>
#include <service/settings/settings_store.h>
#include <service/storage/storage_area.h>
#include <service/tasks/user_names.h>

namespace tfs::service::app {

/// Owned by the application object. Any thread. Who may read reports sees what Storage holds, because they tell of it
/// too; others see what was theirs. An administrator may act on every object, others on what was theirs.
class BackupFacade final : public rpc::IBackupApi {
public:
    BackupFacade(const settings::SettingsStore& settings, storage::StorageArea& storage)
        : m_settings(settings), m_storage(storage) {}

    result_t QueryBackup(const rpc::Caller& caller, const QueryFilter& filter, BackupItems& items) noexcept override;
    result_t RemoveFromBackup(const rpc::Caller& caller, const QueryFilter& filter) noexcept override;
    result_t RestoreFromBackup(const rpc::Caller& caller, BackupId id) noexcept override;
    result_t GetBackupSettings(tfs::settings::BackupSettings& settings) noexcept override;

private:
    storage::Actor ActorOf(const rpc::Caller& caller, bool withName);

    const settings::SettingsStore& m_settings;
    storage::StorageArea& m_storage;
    tasks::UserNames m_names;
};

} // namespace tfs::service::app
