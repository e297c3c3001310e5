// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import tl.customFonts 1.0

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// A message in the corner of the screen: a title, a sentence, and a link to where more is told.
Window {
    id: popup

    property string popupTitle: ""
    property string popupMessage: ""
    property string popupLinkText: ""
    property bool linkEnabled: true
    property int expectedX: Screen.desktopAvailableWidth

    signal popupLinkAction(var initiator)

    function showPopup(x) {
        expectedX = x;
        show();
        raise();
        requestActivate();
        entrance.restart();
    }

    // Wayland shows a popup only in answer to a press, and no longer than its window; a window of its own lands where the
    // compositor puts it.
    flags: (CommonFunctions.knowsItsPlace() ? Qt.Popup : Qt.Window) | Qt.FramelessWindowHint
    // It outlives a main window that is closed into the tray.
    transientParent: null
    color: CommonProperties.colorWindowBackground
    width: CommonProperties.TLPopupWidth + (language === "de" ? CommonProperties.TLPopupWidthExtraDe : 0)
    height: CommonProperties.TLPopupHeight + (language === "ja" ? CommonProperties.TLPopupHeightExtraJa : 0)
    minimumWidth: width
    maximumWidth: width
    minimumHeight: height
    maximumHeight: height
    x: Screen.desktopAvailableWidth
    y: Screen.desktopAvailableHeight

    onXChanged: repaintTimer.repaint()
    onYChanged: repaintTimer.repaint()

    NumberAnimation {
        id: entrance
        target: popup
        property: "x"
        from: popup.Screen.desktopAvailableWidth
        to: popup.expectedX
        duration: CommonProperties.TLPopupAnimationSpeed
        easing.type: Easing.OutBounce
        alwaysRunToEnd: true
    }

    TLRepaintTimer {
        id: repaintTimer

        readonly property var mainWindow: CommonFunctions.getAppWindow()

        running: popup.visible
        active: mainWindow !== null && mainWindow.active
        items: [content]
    }

    Rectangle {
        id: content
        anchors.fill: parent
        color: CommonProperties.colorWindowBackground
        border.width: CommonProperties.hairline
        border.color: CommonProperties.colorMainBorder
        focus: true

        Accessible.role: Accessible.AlertMessage
        Accessible.name: popup.popupTitle

        Keys.onEscapePressed: popup.close()

        Item {
            id: iconColumn
            width: CommonProperties.TLPopupIconColumnWidth
            height: CommonProperties.TLPopupIconColumnHeight

            Image {
                x: CommonProperties.TLPopupIconMargin
                y: CommonProperties.TLPopupIconMargin
                source: CommonFunctions.imageSource("tes-icon-popup")
                sourceSize: Qt.size(CommonProperties.TLPopupIconWidth, CommonProperties.TLPopupIconHeight)
            }
        }

        TLPicButton {
            id: closeButton
            objectName: "close"
            name: CommonProperties.nameClose
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.margins: CommonProperties.unit
            source: "icon-close-black-normal"
            sourceHover: "icon-close-black-hover"
            sourcePressed: "icon-close-black-pressed"
            imageSize: Qt.size(CommonProperties.TLWindowHeaderButtonIconSize,
                               CommonProperties.TLWindowHeaderButtonIconSize)
            backColorHover: CommonProperties.colorLightHeaderHover
            backColorPressed: CommonProperties.colorLightHeaderPressed
            ringOffset: -CommonProperties.focusRingWidth
            onClicked: popup.close()
        }

        TLLabel {
            id: titleLabel
            anchors.left: iconColumn.right
            anchors.right: closeButton.left
            anchors.rightMargin: CommonProperties.unit
            y: CommonProperties.TLPopupIconMargin
            textValue: popup.popupTitle
            elide: Text.ElideRight
            maximumLineCount: 2
            wrapMode: Text.Wrap
            font.family: RobotoFonts.robotoMedium
            font.weight: Font.Medium
            font.pixelSize: CommonProperties.pixelSizeLarge
        }

        TLLabel {
            objectName: "message"
            anchors.left: iconColumn.right
            anchors.right: parent.right
            anchors.rightMargin: CommonProperties.contentMargin
            anchors.top: titleLabel.bottom
            anchors.topMargin: CommonProperties.unit / 2
            anchors.bottom: linkLabel.top
            anchors.bottomMargin: CommonProperties.unit / 2
            textValue: CommonFunctions.colouredText(popup.popupMessage)
            textFormat: Text.StyledText
            elide: Text.ElideRight
            wrapMode: Text.Wrap
            color: CommonProperties.colorLightGray
        }

        TLLabel {
            id: linkLabel
            objectName: "link"
            anchors.left: iconColumn.right
            anchors.bottom: parent.bottom
            anchors.bottomMargin: CommonProperties.TLPopupIconMargin
            width: Math.min(implicitWidth, parent.width - x - CommonProperties.contentMargin)
            textValue: popup.popupLinkText
            elide: Text.ElideRight
            link: popup.linkEnabled
            color: link ? linkColor : CommonProperties.colorDisabledText
            whenClicked: function () { popup.popupLinkAction(popup); }
        }
    }
}
