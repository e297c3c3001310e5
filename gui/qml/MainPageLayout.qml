// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T

import "CommonProperties.js" as CommonProperties
import "kit"

// What the main page and the no-connection page have in common: the verdict, two tabs, four buttons, the footer.
T.Page {
    id: root

    property var appInfo: null
    property bool controlsEnabled: true
    property alias statusState: statusArea.state
    property alias statusText: statusArea.text

    Accessible.name: Qt.application.name

    background: Rectangle { color: CommonProperties.colorWindowBackground }

    TLStatusArea {
        id: statusArea
        objectName: "statusArea"
        width: parent.width
        height: CommonProperties.statusAreaHeight
        clickable: root.controlsEnabled && stack.hasPage("ProtectionState")
        onClicked: stack.push("ProtectionState")
    }

    // Rows, so that Tab goes through it as one reads it.
    Column {
        id: grid
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: footerBar.top
        anchors.margins: CommonProperties.gridMargin
        spacing: CommonProperties.gridMargin

        readonly property real tabSpacing: width - 2 * CommonProperties.TLInfoTabWidth
        readonly property real buttonSpacing: CommonProperties.TLInfoTabWidth - 2 * CommonProperties.mainButtonWidth

        Row {
            spacing: grid.tabSpacing

            TLInfoTab {
                objectName: "tabScan"
                enabled: root.controlsEnabled && root.appInfo.scanInfoAvailable && stack.hasPage("ScanTasks")
                title: root.appInfo.buttonScan
                infoText: root.appInfo.infoScanResultIsError
                          ? root.appInfo.infoLastScanTime
                          : root.appInfo.infoLastScanTime + "\n" + root.appInfo.infoLastScanResult
                errorText: root.appInfo.infoScanResultIsError ? root.appInfo.infoLastScanResult : ""
                imageSource: "tab-scan"
                onClicked: stack.push("ScanTasks")
            }
            TLInfoTab {
                objectName: "tabUpdate"
                enabled: root.controlsEnabled && root.appInfo.updateInfoAvailable && stack.hasPage("UpdateTasks")
                title: root.appInfo.buttonUpdate
                infoText: root.appInfo.infoDatabasesIsError
                          ? root.appInfo.infoLastUpdateTime
                          : root.appInfo.infoLastUpdateTime + "\n" + root.appInfo.infoDatabasesState
                errorText: root.appInfo.infoDatabasesIsError ? root.appInfo.infoDatabasesState : ""
                imageSource: "tab-update"
                onClicked: stack.push("UpdateTasks")
            }
        }

        Row {
            spacing: grid.tabSpacing

            Row {
                spacing: grid.buttonSpacing

                MainPageButton {
                    objectName: "buttonReports"
                    enabled: root.controlsEnabled && root.appInfo.reportsAllowed && stack.hasPage("Reports")
                    text: root.appInfo.buttonReports
                    imageName: "button-reports"
                    onClicked: stack.push("Reports")
                }
                MainPageButton {
                    objectName: "buttonStorage"
                    enabled: root.controlsEnabled && stack.hasPage("Storage")
                    text: root.appInfo.buttonStorage
                    imageName: "button-storage"
                    onClicked: stack.push("Storage")
                }
            }
            Row {
                spacing: grid.buttonSpacing

                MainPageButton {
                    objectName: "buttonSettings"
                    enabled: root.controlsEnabled && stack.hasPage("Settings")
                    text: root.appInfo.buttonSettings
                    imageName: "button-settings"
                    onClicked: stack.push("Settings")
                }
                MainPageButton {
                    objectName: "buttonSupport"
                    enabled: root.controlsEnabled && stack.hasPage("Support")
                    text: root.appInfo.buttonSupport
                    imageName: "button-support"
                    onClicked: stack.push("Support")
                }
            }
        }
    }

    Rectangle {
        id: footerBar
        objectName: "footer"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: CommonProperties.mainFooterHeight
        color: CommonProperties.colorMainFooter

        readonly property bool clickable: root.controlsEnabled && stack.hasPage("License")

        activeFocusOnTab: clickable || activeFocus
        Keys.forwardTo: [footerArea]
        Accessible.role: clickable ? Accessible.Button : Accessible.StaticText
        Accessible.name: footerLabel.text
        Accessible.ignored: footerLabel.text.length === 0
        Accessible.focusable: clickable
        Accessible.onPressAction: footerArea.activate(null)

        TLLabel {
            id: footerLabel
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.margins: CommonProperties.gridMargin
            anchors.verticalCenter: parent.verticalCenter
            textValue: root.appInfo.licenseStatus
            elide: Text.ElideRight
            lineHeight: CommonProperties.lineHeightSingle
            color: CommonProperties.colorMainFooterText
            font.pixelSize: CommonProperties.pixelSizeSmall
            Accessible.ignored: true
        }

        TLPressArea {
            id: footerArea
            enabled: footerBar.clickable
            ringOffset: -2 * CommonProperties.focusRingWidth
            cursorShape: footerBar.clickable ? Qt.PointingHandCursor : Qt.ArrowCursor
            toolTip: footerLabel.truncated ? footerLabel.text : ""
            onActivated: stack.push("License")
        }
    }
}
