// SPDX-License-Identifier: GPL-2.0-or-later
// What the remote interfaces may ask of Storage.
#pragma once

#include <contract/tfs/backup.h>
#include <service/rpc/service_api.h>

namespace tfs::service::rpc {

/// Implemented by the service's application object. Called on workers of the RPC server: may take the disk's time.
/// Throws nothing; every failure is a code. What a user may see and change is tested here.
class IBackupApi {
public:
    virtual ~IBackupApi() = default;

    /// As ITfstBackupManager's.
    virtual result_t QueryBackup(const Caller& caller, const QueryFilter& filter, BackupItems& items) noexcept = 0;
    virtual result_t RemoveFromBackup(const Caller& caller, const QueryFilter& filter) noexcept = 0;
    virtual result_t RestoreFromBackup(const Caller& caller, BackupId id) noexcept = 0;
    virtual result_t GetBackupSettings(tfs::settings::BackupSettings& settings) noexcept = 0;
};

} // namespace tfs::service::rpc
