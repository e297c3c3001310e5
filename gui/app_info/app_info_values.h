// SPDX-License-Identifier: GPL-2.0-or-later
// What the main page shows of the device, as one refresh finds it.
#pragma once

#include <QtCore/QString>

namespace tfs::gui {

struct AppInfoValues {
    QString licenseStatus;
    QString infoLastScanTime;
    QString infoLastScanResult;
    QString infoLastUpdateTime;
    QString infoDatabasesState;
    bool infoDatabasesIsError = false;
    bool infoScanResultIsError = false;
    bool scanInfoAvailable = true;
    bool updateInfoAvailable = true;

    /// What is shown before the first refresh.
    static AppInfoValues Initial();
};

} // namespace tfs::gui
