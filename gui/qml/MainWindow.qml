// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import tl.qt.application.appInfo 1.0

import "CommonFunctions.js" as CommonFunctions
import "kit"

// The main page: how well the machine is protected, and the ways to everything else.
MainPageLayout {
    id: page

    // The reports page at the component asked for, from a popup.
    function openReports(componentId) {
        CommonFunctions.getAppWindow().openWindow();
        stack.pushWithParams("Reports", { "startupComponentId": componentId });
    }

    function isShown(name) {
        return stack.getCurrentItemName() === name && CommonFunctions.getAppWindow().active;
    }

    readonly property int scanComponentId: 5
    readonly property bool reportsReachable: info.reportsAllowed && stack.hasPage("Reports")

    appInfo: info
    statusText: info.issuesInfo
    statusState: {
        switch (info.dangerLevel) {
        case AppInfoModel.OK:
            return "OK";
        case AppInfoModel.Warning:
            return "Warning";
        default:
            return "Critical";
        }
    }

    AppInfoModel {
        id: info

        onCustomScanStarted: {
            CommonFunctions.getAppWindow().openWindow();
            stack.push("ScanTasks");
        }
        onCustomScanStopped: (taskId, message) => {
            if (!page.isShown("ScanTasks"))
                popupFabric.showPopup(popupHeaderText, message, popupOpenLinkText,
                                      () => page.openReports(page.scanComponentId), page.reportsReachable);
        }
        onTaskStartFailed: (compId, descr) => {
            if (!page.isShown("Reports"))
                popupFabric.showPopup(popupTaskFailureHead, descr, popupTaskFailureLink,
                                      () => page.openReports(compId), page.reportsReachable);
        }
    }

    TLPopupFabric {
        id: popupFabric
        objectName: "popupFabric"
    }
}
