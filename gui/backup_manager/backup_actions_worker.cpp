// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <gui/backup_manager/backup_actions.h>
#include <gui/backup_manager/backup_actions_worker.h>
#include <gui/common/application.h>
#include <gui/common/exception_text.h>

#include <QtCore/QMutexLocker>
#include <algorithm>
#include <vector>

namespace tfs::gui {
namespace {

constexpr int RemovedAtOnce = 100;

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

} // namespace

BackupActionsWorker::BackupActionsWorker(ulk::IServiceLocator* remoteSl, QObject* parent)
    : QObject(parent), m_remoteSl(remoteSl) {}

void BackupActionsWorker::FillBackupInfo() {
    ULK_TRACE(Tracer(), ulk::level::Notable) << __PRETTY_FUNCTION__;
    try {
        BackupItems items;
        tfs::settings::BackupSettings settings;
        {
            const QMutexLocker lock(&m_mutex);
            ULK_CHECK_THROW(BackupActions::Query(m_remoteSl.Get(), items), "Failed to get backup items");
            ULK_CHECK_THROW(BackupActions::GetSettings(m_remoteSl.Get(), settings), "Cannot get backup settings");
        }
        const auto rows = std::make_shared<QList<OneItemInfo>>();
        rows->reserve(static_cast<int>(items.size()));
        for (const BackupItemInfo& item : items)
            rows->append(ToOneItemInfo(item, settings.storageDays));
        Q_EMIT BackupDataLoaded(QVariant::fromValue<QBackupInfo>(rows));
    }
    GUI_CATCH_ALL
}

void BackupActionsWorker::AddToBackup(QVariant backupIds) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    try {
        const auto rows = std::make_shared<QList<OneItemInfo>>();
        {
            const QMutexLocker lock(&m_mutex);
            tfs::settings::BackupSettings settings;
            ULK_CHECK_THROW(BackupActions::GetSettings(m_remoteSl.Get(), settings), "Cannot get backup settings");
            for (const quint64 id : backupIds.value<BackupIdList>()) {
                BackupItemInfo item;
                const result_t result = ULK_CHECK_TRACE(Tracer(), BackupActions::Query(m_remoteSl.Get(), id, item),
                                                        "cannot get full info from ITfsBackupManager");
                if (ULK_SUCCEEDED(result))
                    rows->append(ToOneItemInfo(item, settings.storageDays));
            }
        }
        Q_EMIT BackupDataAdded(QVariant::fromValue<QBackupInfo>(rows));
    }
    GUI_CATCH_ALL
}

void BackupActionsWorker::RemoveFromBackup(QVariant backupIds) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    try {
        const auto ids = backupIds.value<BackupIdList>();
        for (auto from = ids.begin(); from != ids.end();) {
            const auto to = from + std::min<std::ptrdiff_t>(RemovedAtOnce, ids.end() - from);
            const QMutexLocker lock(&m_mutex);
            ULK_CHECK_THROW(BackupActions::Remove(m_remoteSl.Get(), std::vector<BackupId>(from, to)),
                            "Cannot remove items from backup");
            from = to;
        }
    }
    GUI_CATCH_ALL
    Q_EMIT BackupRemoveFinished();
}

void BackupActionsWorker::RestoreFromBackup(QVariant backupIds) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    RestoreErrors errors;
    try {
        const QMutexLocker lock(&m_mutex);
        for (const quint64 id : backupIds.value<BackupIdList>()) {
            if (const result_t result = BackupActions::Restore(m_remoteSl.Get(), id); !ULK_SUCCEEDED(result))
                errors.insert(id, result);
        }
    }
    GUI_CATCH_ALL
    Q_EMIT BackupRestoreFinished(errors.isEmpty() ? QVariant() : QVariant::fromValue(errors));
}

} // namespace tfs::gui
