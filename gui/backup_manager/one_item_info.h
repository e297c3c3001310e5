// SPDX-License-Identifier: GPL-2.0-or-later
// An object in Storage as the page shows it, and how such rows cross threads.
#pragma once

#include <contract/tfs/backup.h>

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>
#include <cstdint>
#include <memory>

namespace tfs::gui {

/// One row.
struct OneItemInfo {
    std::uint64_t objectId = 0;
    std::uint8_t dangerLevel = 0; ///< types::DangerLevel, cut to a byte
    QString detectName;
    QString errorInfo; ///< why the last restore failed; empty at first
    ulk::types::string16_t objectName;
    QStringList additionalInfo; ///< lines of detail
    bool toRemove = false;      ///< the check mark
};

/// Rows on their way from the worker to the model.
using QBackupInfo = std::shared_ptr<QList<OneItemInfo>>;
/// Ids on their way between both, and codes of failed restores by id.
using BackupIdList = QVector<quint64>;
using RestoreErrors = QMap<quint64, qint32>;

/// `storageDays` is how long an object is kept; 0: without limit. A failure in between is traced and costs the lines
/// that come behind it, not the row.
OneItemInfo ToOneItemInfo(const BackupItemInfo& item, std::uint32_t storageDays);

} // namespace tfs::gui

Q_DECLARE_METATYPE(tfs::gui::QBackupInfo)
