// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import tl.customFonts 1.0

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// The head of a page: the way back, and what the page is called.
Item {
    id: root

    property string title: ""

    signal cleanup

    function goBack() {
        cleanup();
        stack.pop();
    }

    implicitHeight: CommonProperties.TLPageHeaderHeight

    Item {
        id: backButton
        objectName: "back"
        // The picture in it begins where the content of the page does.
        x: CommonProperties.contentMargin - (width - CommonProperties.iconSize) / 2
        anchors.verticalCenter: parent.verticalCenter
        width: height
        height: CommonProperties.TLPageHeaderButtonHeight

        activeFocusOnTab: true
        Keys.forwardTo: [area]
        Accessible.role: Accessible.Button
        Accessible.name: CommonProperties.nameBack
        Accessible.focusable: true
        Accessible.focused: activeFocus
        Accessible.onPressAction: area.activate(null)

        Image {
            id: icon
            property string name: ""
            anchors.centerIn: parent
            source: CommonFunctions.imageSource(name)
            sourceSize: Qt.size(CommonProperties.iconSize, CommonProperties.iconSize)
        }

        TLPressArea {
            id: area
            onActivated: root.goBack()
        }
    }

    TLLabel {
        anchors.left: backButton.right
        anchors.leftMargin: CommonProperties.unit
        anchors.right: parent.right
        anchors.rightMargin: CommonProperties.contentMargin
        anchors.verticalCenter: parent.verticalCenter
        textValue: root.title
        elide: Text.ElideRight
        lineHeight: CommonProperties.lineHeightSingle
        font.family: RobotoFonts.robotoMedium
        font.weight: Font.Medium
        font.pixelSize: CommonProperties.pixelSizeEmptyStatusSmall
        Accessible.role: Accessible.Heading
    }

    Rectangle {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: CommonProperties.hairline
        color: CommonProperties.colorHairline
    }

    states: [
        State {
            name: "active"
            when: !area.containsMouse
            PropertyChanges { target: icon; name: "back-dark-normal" }
        },
        State {
            name: "hovered"
            when: area.containsMouse && !area.pressed
            PropertyChanges { target: icon; name: "back-dark-hover" }
        },
        State {
            name: "pressed"
            when: area.pressed
            PropertyChanges { target: icon; name: "back-dark-pressed" }
        }
    ]
}
