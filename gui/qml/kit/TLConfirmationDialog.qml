// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Templates 2.15 as T
import tl.customFonts 1.0

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// Asks before something is done that may not be meant. It is shown by show(), in the middle of the main window; one of
// the two answers is told by its signal, and closing it any other way is no answer. Its size is its user's: a text too
// long for it is cut and shown whole in a tooltip.
T.ApplicationWindow {
    id: dialog

    property string titleLabelText: ""
    property string descriptionLabelText: ""
    property string moreInfoLinkText: ""
    property string moreInfoLinkLink: ""
    property string noButtonText: ""
    property string yesButtonText: ""
    // The preferable answer stands at the right edge, filled.
    property bool yesButtonPreferable: true

    signal yesClicked
    signal noClicked

    function answer(yes) {
        if (yes)
            yesClicked();
        else
            noClicked();
        close();
    }

    flags: Qt.Window | Qt.FramelessWindowHint
    modality: Qt.ApplicationModal
    title: Qt.application.name
    color: CommonProperties.colorWindowBackground
    width: CommonProperties.TLConfirmationDialogWidth
    height: CommonProperties.TLConfirmationDialogHeight
    minimumWidth: width
    maximumWidth: width
    minimumHeight: height
    maximumHeight: height

    onActiveChanged: {
        if (active)
            repaintTimer.restart();
    }
    onVisibleChanged: {
        if (!visible)
            return;
        const main = CommonFunctions.getAppWindow();
        if (main) {
            // The main window may stand half off its screen; a dialog opens whole on it.
            const screen = main.Screen;
            x = CommonFunctions.clamp(main.x + (main.width - width) / 2, screen.virtualX,
                                      screen.virtualX + screen.width - width);
            y = CommonFunctions.clamp(main.y + (main.height - height) / 2, screen.virtualY,
                                      screen.virtualY + screen.height - height);
        }
        // Whoever asked by mouse isn't shown the keyboard's place before using it.
        rightButton.takeFocus(main === null || CommonFunctions.showsFocus(main.activeFocusItem));
    }

    TLRepaintTimer {
        id: repaintTimer
        running: true
        active: dialog.active
        items: dialog.visible ? [dialog.header, dialog.contentItem, dialog.footer] : []
    }

    Shortcut {
        sequence: StandardKey.Cancel
        onActivated: dialog.close()
    }

    header: TLWindowHeader {
        objectName: "windowHeader"
        windowToMove: dialog
        showHelpButton: false
        showHideButton: false
        exitAction: () => dialog.close()
    }

    Column {
        id: texts
        anchors.fill: parent
        anchors.margins: CommonProperties.contentMargin
        anchors.topMargin: CommonProperties.gridMargin
        anchors.bottomMargin: 0
        spacing: CommonProperties.unit

        Accessible.role: Accessible.Dialog
        Accessible.name: dialog.titleLabelText
        Accessible.description: dialog.descriptionLabelText

        TLLabel {
            id: titleLabel
            objectName: "title"
            width: parent.width
            textValue: dialog.titleLabelText
            visible: text.length > 0
            wrapMode: Text.Wrap
            maximumLineCount: 2
            elide: Text.ElideRight
            lineHeight: CommonProperties.lineHeightSingle
            font.family: RobotoFonts.robotoMedium
            font.weight: Font.Medium
            font.pixelSize: CommonProperties.pixelSizeLarge
            Accessible.role: Accessible.Heading
        }
        TLLabel {
            objectName: "description"
            width: parent.width
            maximumLineCount: Math.max(1, Math.floor((texts.height - y) / (metrics.lineSpacing * lineHeight)))
            textValue: dialog.descriptionLabelText
            wrapMode: Text.Wrap
            elide: Text.ElideRight

            FontMetrics {
                id: metrics
                font.family: titleLabel.font.family
                font.pixelSize: CommonProperties.pixelSizeMedium
            }
        }
    }

    // The place decides, not the answer, so that the keyboard goes from left to right either way.
    footer: Item {
        implicitHeight: CommonProperties.TLButtonHeight + CommonProperties.gridMargin + CommonProperties.unit

        TLLabel {
            objectName: "moreInfo"
            anchors.left: parent.left
            anchors.leftMargin: CommonProperties.contentMargin
            anchors.verticalCenter: leftButton.verticalCenter
            width: Math.min(implicitWidth, leftButton.x - x - CommonProperties.unit)
            visible: text.length > 0
            textValue: dialog.moreInfoLinkText
            elide: Text.ElideRight
            lineHeight: CommonProperties.lineHeightSingle
            link: true
            linkValue: dialog.moreInfoLinkLink
        }
        TLButton {
            id: leftButton
            objectName: "leftButton"
            anchors.right: rightButton.left
            anchors.rightMargin: CommonProperties.unit
            anchors.top: parent.top
            anchors.topMargin: CommonProperties.unit
            width: Math.max(CommonProperties.YesNoButtonWidth, wantedWidth)
            text: dialog.yesButtonPreferable ? dialog.noButtonText : dialog.yesButtonText
            onClicked: dialog.answer(!dialog.yesButtonPreferable)
        }
        TLButton {
            id: rightButton
            objectName: "rightButton"
            anchors.right: parent.right
            anchors.rightMargin: CommonProperties.contentMargin
            anchors.top: parent.top
            anchors.topMargin: CommonProperties.unit
            width: Math.max(CommonProperties.YesNoButtonWidth, wantedWidth)
            invertColors: true
            text: dialog.yesButtonPreferable ? dialog.yesButtonText : dialog.noButtonText
            onClicked: dialog.answer(dialog.yesButtonPreferable)
        }
    }

    // What is between header and footer is where all of them stand.
    TLWindowFrame {
        parent: dialog.header.parent
        anchors.topMargin: -dialog.header.height
        anchors.bottomMargin: -dialog.footer.height
    }
}
