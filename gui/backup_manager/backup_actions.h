// SPDX-License-Identifier: GPL-2.0-or-later
// The one facade through which the window reads and changes Storage.
#pragma once

#include <contract/tfs/backup.h>
#include <foundation/object.h>

#include <cstdint>
#include <vector>

namespace tfs::gui {

/// Every operation takes the remote locator, blocks at most for the deadline of the calls that it makes, and returns a
/// code; a failure has been traced. What the framework throws is traced and eUnspecified. Any thread.
class BackupActions {
public:
    BackupActions() = delete;

    /// Replaces `backupItems` by the objects that pass the filter; on failure they stay as they were.
    static result_t Query(ulk::IServiceLocator* remoteSl, const tfs::QueryFilter& filter,
                          tfs::BackupItems& backupItems);
    /// All objects.
    static result_t Query(ulk::IServiceLocator* remoteSl, tfs::BackupItems& backupItems);
    /// The object of that id, or the container that holds it. eNotFound where there isn't exactly one.
    static result_t Query(ulk::IServiceLocator* remoteSl, tfs::BackupId id, tfs::BackupItemInfo& backupItem);

    /// Deletes the objects of these ids in one call. No ids, no call.
    static result_t Remove(ulk::IServiceLocator* remoteSl, const std::vector<long unsigned int>& ids);
    static result_t RemoveAll(ulk::IServiceLocator* remoteSl);
    /// Puts the object back where it was; the codes are those of ITfstBackupManager::Restore.
    static result_t Restore(ulk::IServiceLocator* remoteSl, tfs::BackupId id);

    static result_t GetSettings(ulk::IServiceLocator* remoteSl, tfs::settings::BackupSettings& backupSettings);
    /// How much of the size limit is used, in whole percent, truncated; 0 without a limit and on every failure. Asks
    /// for all objects: not for the GUI thread, where BackupFillWatch serves. After an exception the code is 1.
    static result_t GetBackupFillPercentage(ulk::IServiceLocator* remoteSl, uint32_t& percentage);
};

} // namespace tfs::gui
