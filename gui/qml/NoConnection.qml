// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import tl.qt.application.appInfo 1.0

// What stands in for the main page while the service can't be reached.
MainPageLayout {
    appInfo: info
    controlsEnabled: false
    statusState: "Critical"
    statusText: serviceConnection.isCertifiedBuild ? serviceConnection.certifiedBuildText
                                                   : serviceConnection.appIsUnavailableText

    AppInfoModel { id: info }
}
