// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/backup_facade.h>
#include <service/app/guarded.h>
#include <service/app/reports_allowed.h>

namespace tfs::service::app {

/// The name is for events alone; asking for it may take long.
storage::Actor BackupFacade::ActorOf(const rpc::Caller& caller, bool withName) {
    storage::Actor actor;
    actor.user = {caller.uid, withName ? m_names.Resolve(caller.uid) : m_names.Known(caller.uid)};
    actor.isAdministrator = caller.isAdministrator;
    actor.seesAll = ReportsAllowed(m_settings, caller);
    return actor;
}

result_t BackupFacade::QueryBackup(const rpc::Caller& caller, const QueryFilter& filter, BackupItems& items) noexcept {
    return Guarded([&] { return m_storage.Query(ActorOf(caller, false), filter, items); });
}

result_t BackupFacade::RemoveFromBackup(const rpc::Caller& caller, const QueryFilter& filter) noexcept {
    return Guarded([&] { return m_storage.Remove(ActorOf(caller, true), filter); });
}

result_t BackupFacade::RestoreFromBackup(const rpc::Caller& caller, BackupId id) noexcept {
    return Guarded([&] { return m_storage.Restore(ActorOf(caller, true), id); });
}

result_t BackupFacade::GetBackupSettings(tfs::settings::BackupSettings& settings) noexcept {
    return Guarded([&] {
        settings = m_storage.Settings();
        return ulk::sOk;
    });
}

} // namespace tfs::service::app
