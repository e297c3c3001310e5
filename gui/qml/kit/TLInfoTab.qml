// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import tl.customFonts 1.0

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// A card of the main page: what can be opened, what it says today, and what is wrong with it. The picture is given by
// the part of its name before the state.
Rectangle {
    id: root

    property string title: "TLInfoTab"
    property string infoText: "TLInfoText"
    property string errorText: ""
    property string imageSource: ""

    signal clicked
    signal loaded

    // The card has room for its title and four lines: other scripts, whose lines are higher by nature, get the same.
    function lineOf(font) {
        return Math.round(font.pixelSize * CommonProperties.TLInfoTabLineHeight);
    }

    width: CommonProperties.TLInfoTabWidth
    height: CommonProperties.TLInfoTabHeight
    radius: CommonProperties.cornerRadius
    border.width: CommonProperties.hairline

    activeFocusOnTab: true
    Keys.forwardTo: [area]
    Accessible.role: Accessible.Button
    Accessible.name: title
    Accessible.description: [infoText, errorText].filter(part => part.length > 0).join(" ")
    Accessible.focusable: enabled
    Accessible.focused: activeFocus
    Accessible.onPressAction: area.activate(null)

    Component.onCompleted: loaded()

    Rectangle {
        id: iconBack
        x: CommonProperties.contentMargin
        anchors.verticalCenter: parent.verticalCenter
        width: CommonProperties.TLInfoTabIconBackSize
        height: width
        radius: width / 2

        Image {
            id: icon
            property string tone: "normal"
            anchors.centerIn: parent
            source: root.imageSource ? CommonFunctions.imageSource(root.imageSource + "-" + tone) : ""
            sourceSize: Qt.size(CommonProperties.TLInfoTabIconSize, CommonProperties.TLInfoTabIconSize)
        }
    }

    Column {
        id: texts
        anchors.left: iconBack.right
        anchors.leftMargin: CommonProperties.gridMargin
        anchors.right: parent.right
        anchors.rightMargin: CommonProperties.gridMargin
        anchors.verticalCenter: parent.verticalCenter
        spacing: CommonProperties.unit / 2

        TLLabel {
            id: titleLabel
            objectName: "title"
            lineHeightMode: Text.FixedHeight
            lineHeight: root.lineOf(font)
            width: parent.width
            textValue: root.title
            elide: Text.ElideRight
            font.family: RobotoFonts.robotoMedium
            font.weight: Font.Medium
            font.pixelSize: CommonProperties.pixelSizeEmptyStatusSmall
            Accessible.ignored: true
        }
        TLLabel {
            id: infoLabel
            objectName: "info"
            lineHeightMode: Text.FixedHeight
            lineHeight: root.lineOf(font)
            width: parent.width
            textValue: root.infoText
            visible: text.length > 0
            wrapMode: Text.Wrap
            maximumLineCount: CommonProperties.TLInfoTabLines - (error.item ? error.item.lineCount : 0)
            elide: Text.ElideRight
            color: CommonProperties.colorLightGray
            font.pixelSize: CommonProperties.pixelSizeSmall
            Accessible.ignored: true
        }
        // Even an empty text has its typeface opened, in each size.
        Loader {
            id: error
            width: parent.width
            active: root.errorText.length > 0
            visible: active

            sourceComponent: TLLabel {
                objectName: "error"
                lineHeightMode: Text.FixedHeight
                lineHeight: root.lineOf(font)
                textValue: root.errorText
                wrapMode: Text.Wrap
                maximumLineCount: 2
                elide: Text.ElideRight
                color: CommonProperties.colorAppInfoTaskError
                font.family: RobotoFonts.robotoMedium
                font.weight: Font.Medium
                font.pixelSize: CommonProperties.pixelSizeSmall
                Accessible.ignored: true
            }
        }
    }

    TLPressArea {
        id: area
        toolTip: [titleLabel, infoLabel, error.item].filter(label => label && label.truncated)
                                                    .map(label => label.text).join("\n")
        onActivated: root.clicked()
    }

    states: [
        State {
            name: "active"
            when: root.enabled && !area.containsMouse
            PropertyChanges {
                target: root
                color: CommonProperties.colorWindowBackground
                border.color: CommonProperties.colorHairline
            }
            PropertyChanges { target: iconBack; color: CommonProperties.TLInfoTabIconBack }
            PropertyChanges { target: titleLabel; color: CommonProperties.colorCommonGray }
        },
        State {
            name: "disabled"
            when: !root.enabled
            PropertyChanges {
                target: root
                color: CommonProperties.TLInfoTabBackgroundDisabled
                border.color: CommonProperties.colorHairline
            }
            PropertyChanges { target: iconBack; color: CommonProperties.TLInfoTabIconBackDisabled }
            PropertyChanges { target: titleLabel; color: CommonProperties.colorDisabledText }
            PropertyChanges { target: infoLabel; color: CommonProperties.colorDisabledText }
            PropertyChanges { target: icon; tone: "disabled" }
        },
        State {
            name: "hovered"
            when: root.enabled && area.containsMouse && !area.pressed
            PropertyChanges {
                target: root
                color: CommonProperties.TLInfoTabBackgroundHover
                border.color: CommonProperties.TLButtonBorderHover
            }
            PropertyChanges { target: iconBack; color: CommonProperties.TLInfoTabIconBack }
            PropertyChanges { target: titleLabel; color: CommonProperties.TLButtonTextHover }
            PropertyChanges { target: icon; tone: "hover" }
        },
        State {
            name: "pressed"
            when: root.enabled && area.pressed
            PropertyChanges {
                target: root
                color: CommonProperties.TLInfoTabBackgroundPressed
                border.color: CommonProperties.TLButtonBorderPressed
            }
            PropertyChanges { target: iconBack; color: CommonProperties.TLInfoTabIconBackPressed }
            PropertyChanges { target: titleLabel; color: CommonProperties.TLButtonTextPressed }
            PropertyChanges { target: icon; tone: "pressed" }
        }
    ]

    transitions: Transition {
        from: "active,disabled,hovered,pressed"
        to: "active,disabled,hovered,pressed"
        ColorAnimation {
            properties: "color,border.color"
            duration: CommonProperties.TLButtonAnimationSpeed
        }
    }
}
