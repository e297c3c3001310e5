// SPDX-License-Identifier: GPL-2.0-or-later
// Runs the operations on Storage that a page may not wait for.
#pragma once

#include <foundation/object.h>
#include <gui/backup_manager/one_item_info.h>

#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QVariant>

namespace tfs::gui {

/// Owned by a model and living on the model's storage thread, spoken to by queued signals. Slots catch everything:
/// what fails is traced. The mutex makes remote calls one after another; no signal is emitted under it.
/// Ids come as BackupIdList in a QVariant, rows go as QBackupInfo.
class BackupActionsWorker : public QObject {
    Q_OBJECT

public:
    /// `remoteSl` is the service's locator, kept as long as the worker.
    explicit BackupActionsWorker(ulk::IServiceLocator* remoteSl, QObject* parent = nullptr);

    /// All objects. Not emitted where they can't be had.
    Q_SIGNAL void BackupDataLoaded(QVariant info);
    /// The objects asked for that there are.
    Q_SIGNAL void BackupDataAdded(QVariant info);
    /// The service tells by events what it has removed.
    Q_SIGNAL void BackupRemoveFinished();
    /// RestoreErrors in a QVariant, which is empty where nothing failed.
    Q_SIGNAL void BackupRestoreFinished(QVariant errorsInfo);

public Q_SLOTS:
    void FillBackupInfo();
    /// Ids without an object are left out.
    void AddToBackup(QVariant backupIds);
    /// In slices of 100 ids, each a call of its own; ends with the first slice that fails.
    void RemoveFromBackup(QVariant backupIds);
    /// One after another; a failure doesn't end it.
    void RestoreFromBackup(QVariant backupIds);

private:
    const ulk::Ptr<ulk::IServiceLocator> m_remoteSl;
    QMutex m_mutex;
};

} // namespace tfs::gui
