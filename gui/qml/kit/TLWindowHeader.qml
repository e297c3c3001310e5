// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import tl.customFonts 1.0

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// The title bar of a frameless window: name, drag, help, minimise and close.
Rectangle {
    id: root

    property Window windowToMove: null
    property var minimizeAction: null
    property var exitAction: null
    property bool showHelpButton: true
    property bool showHideButton: true
    property bool needDarkBackground: true

    readonly property string tone: needDarkBackground ? "" : "black-"
    readonly property color hoverColor: needDarkBackground ? CommonProperties.colorMainHeaderHover
                                                           : CommonProperties.colorLightHeaderHover
    readonly property color pressedColor: needDarkBackground ? CommonProperties.colorMainHeaderPressed
                                                             : CommonProperties.colorLightHeaderPressed

    signal headerDoubleClick

    implicitHeight: CommonProperties.TLWindowHeaderHeight
    color: needDarkBackground ? CommonProperties.colorMainHeader : CommonProperties.colorWindowBackground

    MouseArea {
        id: dragArea

        property point started: Qt.point(0, 0)
        property bool dragging: false
        property bool movedBySystem: false

        anchors.fill: parent
        onPressed: {
            started = Qt.point(mouse.x, mouse.y);
            dragging = false;
        }
        onPositionChanged: {
            if (!root.windowToMove || root.windowToMove.visibility === Window.Maximized)
                return;
            if (!dragging) {
                const way = Math.max(Math.abs(mouse.x - started.x), Math.abs(mouse.y - started.y));
                if (way < Qt.styleHints.startDragDistance)
                    return;
                dragging = true;
                movedBySystem = !CommonFunctions.knowsItsPlace();
                if (movedBySystem)
                    root.windowToMove.startSystemMove();
            }
            if (movedBySystem)
                return;
            const cursor = mousePosition.cursorPos();
            root.windowToMove.x = cursor.x - started.x;
            root.windowToMove.y = cursor.y - started.y;
        }
        onDoubleClicked: root.headerDoubleClick()
    }

    Image {
        id: mark
        x: CommonProperties.contentMargin - CommonProperties.unit / 2
        anchors.verticalCenter: parent.verticalCenter
        source: root.needDarkBackground ? "qrc:/images/mark-light.svg" : "qrc:/images/mark-dark.svg"
        sourceSize: Qt.size(CommonProperties.TLWindowHeaderIconSize, CommonProperties.TLWindowHeaderIconSize)
    }

    TLLabel {
        anchors.left: mark.right
        anchors.leftMargin: CommonProperties.unit
        anchors.right: buttons.left
        anchors.rightMargin: CommonProperties.unit
        anchors.verticalCenter: parent.verticalCenter
        textValue: root.windowToMove ? root.windowToMove.title : ""
        elide: Text.ElideRight
        lineHeight: CommonProperties.lineHeightSingle
        color: root.needDarkBackground ? CommonProperties.colorMainFooterText : CommonProperties.colorCommonGray
        font.pixelSize: CommonProperties.pixelSizeSmall
    }

    Row {
        id: buttons
        anchors.right: parent.right
        height: parent.height

        TLPicButton {
            objectName: "help"
            name: CommonProperties.nameHelp
            visible: root.showHelpButton
            width: CommonProperties.TLPicButtonHeaderWidth
            height: parent.height
            source: "icon-help-" + root.tone + "normal"
            sourceHover: "icon-help-" + root.tone + "hover"
            sourcePressed: "icon-help-" + root.tone + "pressed"
            imageSize: Qt.size(CommonProperties.TLWindowHeaderButtonIconSize, CommonProperties.TLWindowHeaderButtonIconSize)
            backColorHover: root.hoverColor
            backColorPressed: root.pressedColor
            ringOffset: -2 * CommonProperties.focusRingWidth
            onClicked: Qt.openUrlExternally(onlineHelpLink)
        }
        TLPicButton {
            objectName: "hide"
            name: CommonProperties.nameMinimize
            visible: root.showHideButton
            width: CommonProperties.TLPicButtonHeaderWidth
            height: parent.height
            source: "icon-hide-" + root.tone + "normal"
            sourceHover: "icon-hide-" + root.tone + "hover"
            sourcePressed: "icon-hide-" + root.tone + "pressed"
            imageSize: Qt.size(CommonProperties.TLWindowHeaderButtonIconSize, CommonProperties.TLWindowHeaderButtonIconSize)
            backColorHover: root.hoverColor
            backColorPressed: root.pressedColor
            ringOffset: -2 * CommonProperties.focusRingWidth
            onClicked: {
                if (root.minimizeAction)
                    root.minimizeAction();
            }
        }
        TLPicButton {
            objectName: "close"
            name: CommonProperties.nameClose
            width: CommonProperties.TLPicButtonHeaderWidth
            height: parent.height
            source: "icon-close-" + root.tone + "normal"
            sourceHover: "icon-close-" + root.tone + "hover"
            sourcePressed: "icon-close-" + root.tone + "pressed"
            imageSize: Qt.size(CommonProperties.TLWindowHeaderButtonIconSize, CommonProperties.TLWindowHeaderButtonIconSize)
            backColorHover: root.hoverColor
            backColorPressed: root.pressedColor
            ringOffset: -2 * CommonProperties.focusRingWidth
            onClicked: {
                if (root.exitAction)
                    root.exitAction();
            }
        }
    }
}
