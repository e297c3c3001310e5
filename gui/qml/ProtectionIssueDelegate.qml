// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import tl.qt.application.protectionStateInfo 1.0
import tl.customFonts 1.0

import "CommonProperties.js" as CommonProperties
import "kit"

// A row of the protection page: what is wrong, and the control that cures it.
Item {
    id: root

    property var issueModel: null

    implicitHeight: content.y + content.height + CommonProperties.unit / 2
    height: implicitHeight

    Accessible.role: Accessible.ListItem
    Accessible.name: issueTitle
    Accessible.description: issueDescription

    Column {
        id: content
        x: CommonProperties.contentMargin
        y: CommonProperties.contentMargin
        width: root.width - 2 * CommonProperties.contentMargin
        spacing: CommonProperties.unit

        TLLabel {
            objectName: "issueTitle"
            width: parent.width
            textValue: issueTitle
            elide: Text.ElideRight
            lineHeight: CommonProperties.lineHeightSingle
            color: CommonProperties.colorCommonGray
            font.family: RobotoFonts.robotoMedium
            font.weight: Font.Medium
            font.pixelSize: CommonProperties.pixelSizeLarge
        }

        TLLabel {
            objectName: "issueDescription"
            width: CommonProperties.issueDescriptionWidth
            textValue: issueDescription
            wrapMode: Text.Wrap
            color: CommonProperties.colorLightGray
            font.pixelSize: CommonProperties.pixelSizeSmall
        }

        TLButtonAsLink {
            objectName: "licenseLink"
            visible: actionsType === ProtectionStateModel.ActionLicenseLink
            enabled: available && stack.hasPage("License")
            text: root.issueModel.fixLicenseLinkName
            onClicked: stack.push("License")
        }

        TLButtonAsLink {
            objectName: "storageLink"
            visible: actionsType === ProtectionStateModel.ActionStorageLink
            enabled: available && stack.hasPage("Storage")
            text: root.issueModel.manageBackupLinkName
            onClicked: stack.push("Storage")
        }

        TLButton {
            id: updateButton
            objectName: "updateButton"

            readonly property bool starts: actionsType === ProtectionStateModel.ActionStartUpdate

            width: CommonProperties.TaskActionsButtonWidth
            visible: starts || actionsType === ProtectionStateModel.ActionStopUpdate
            enabled: available
            invertColors: starts
            text: starts ? root.issueModel.runTaskButtonName : root.issueModel.stopTaskButtonName
            Accessible.description: issueTitle
            onClicked: {
                if (starts)
                    root.issueModel.startTask(taskName);
                else
                    root.issueModel.stopTask(taskName);
            }
        }

        Row {
            spacing: CommonProperties.gridMargin
            visible: startButton.scans || actionsType === ProtectionStateModel.ActionEnableComponent

            TLButton {
                id: startButton
                objectName: "startButton"

                readonly property bool scans: actionsType === ProtectionStateModel.ActionStartScan

                width: CommonProperties.TaskActionsButtonWidth
                enabled: available
                invertColors: true
                text: scans ? root.issueModel.runTaskButtonName : root.issueModel.enableComponentButtonName
                Accessible.description: issueTitle
                onClicked: {
                    root.issueModel.startTask(taskName);
                    showInProgress.visible = true;
                    // No longer bound to what the model says: the row waits until it goes away.
                    enabled = false;
                }
            }

            TLLabel {
                id: showInProgress
                objectName: "showInProgress"
                anchors.verticalCenter: parent.verticalCenter
                visible: false
                textValue: root.issueModel.startInProgress
                lineHeight: CommonProperties.lineHeightSingle
                color: CommonProperties.colorLightGray
                font.pixelSize: CommonProperties.pixelSizeSmall
            }
        }

        Item {
            width: parent.width
            height: CommonProperties.unit
        }
    }
}
