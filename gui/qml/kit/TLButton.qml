// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import tl.customFonts 1.0

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// The push button: an icon and a text in a centred row. Images are given by name.
Rectangle {
    id: root

    property string text: "TLButton"
    property alias textMargin: label.topPadding
    property bool invertColors: false

    property string image: ""
    property string imageHover: image
    property string imagePressed: image
    property string imageDisabled: image

    property string bgColor: CommonProperties.TLButtonBackgroundNormal
    property string bgColorHover: CommonProperties.TLButtonBackgroundHover
    property string bgColorPressed: CommonProperties.TLButtonBackgroundPressed
    property string bgColorDisabled: CommonProperties.TLButtonBackgroundDisabled

    property string borderColor: CommonProperties.TLButtonBorderNormal
    property string borderColorHover: CommonProperties.TLButtonBorderHover
    property string borderColorPressed: CommonProperties.TLButtonBorderPressed
    property string borderColorDisabled: CommonProperties.TLButtonBorderDisabled

    property string textColor: CommonProperties.TLButtonTextNormal
    property string textColorHover: CommonProperties.TLButtonTextHover
    property string textColorPressed: CommonProperties.TLButtonTextPressed
    property string textColorDisabled: CommonProperties.TLButtonTextDisabled

    // The width at which nothing of the text is cut.
    readonly property real wantedWidth: label.implicitWidth + textReserve
    // A picture brings half of its side's margin with it.
    readonly property real textReserve: icon.visible
        ? CommonProperties.TLButtonTextSideMargin + icon.width + content.spacing
        : 2 * CommonProperties.TLButtonTextSideMargin

    signal clicked(var event, var self)

    // Has the keyboard from now on; with or without the ring that shows it.
    function takeFocus(shown) {
        area.focusedByMouse = !shown;
        forceActiveFocus(Qt.PopupFocusReason);
    }

    width: CommonProperties.TLButtonWidth
    height: CommonProperties.TLButtonHeight
    radius: CommonProperties.cornerRadius
    border.width: CommonProperties.hairline

    activeFocusOnTab: true
    Keys.forwardTo: [area]
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.focusable: enabled
    Accessible.focused: activeFocus
    Accessible.onPressAction: area.activate(null)

    Row {
        id: content
        objectName: "content"
        anchors.centerIn: parent
        spacing: root.text.length > 0 && icon.visible ? CommonProperties.TLButtonSpacing : 0

        Image {
            id: icon
            property string name: ""
            objectName: "icon"
            source: CommonFunctions.imageSource(name)
            visible: name.length > 0
            sourceSize: Qt.size(CommonProperties.iconSize, CommonProperties.iconSize)
            anchors.verticalCenter: parent.verticalCenter
        }

        Text {
            id: label
            objectName: "label"
            text: root.text
            textFormat: Text.PlainText
            visible: text.length > 0
            width: Math.min(implicitWidth, root.width - root.textReserve)
            // A text with too little room is set smaller before it is cut.
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: CommonProperties.pixelSizeSmall
            elide: Text.ElideRight
            topPadding: CommonProperties.TLButtonTextMargin
            renderType: Text.NativeRendering
            font.family: RobotoFonts.robotoMedium
            font.weight: Font.Medium
            font.pixelSize: CommonProperties.pixelSizeMedium
            anchors.verticalCenter: parent.verticalCenter
        }
    }

    TLPressArea {
        id: area
        toolTip: label.truncated ? root.text : ""
        onActivated: root.clicked(event, root)
    }

    states: [
        State {
            name: "active"
            when: root.enabled && !area.containsMouse
            PropertyChanges {
                target: root
                color: invertColors ? textColor : bgColor
                border.color: invertColors ? textColor : borderColor
            }
            PropertyChanges { target: label; color: root.invertColors ? root.bgColor : root.textColor }
            PropertyChanges { target: icon; name: root.image }
        },
        State {
            name: "disabled"
            when: !root.enabled
            PropertyChanges {
                target: root
                color: invertColors ? textColorDisabled : bgColorDisabled
                border.color: invertColors ? textColorDisabled : borderColorDisabled
            }
            PropertyChanges { target: label; color: root.invertColors ? root.bgColorDisabled : root.textColorDisabled }
            PropertyChanges { target: icon; name: root.imageDisabled }
        },
        State {
            name: "hovered"
            when: root.enabled && area.containsMouse && !area.pressed
            PropertyChanges {
                target: root
                color: invertColors ? textColorHover : bgColorHover
                border.color: invertColors ? textColorHover : borderColorHover
            }
            PropertyChanges { target: label; color: root.invertColors ? root.bgColorHover : root.textColorHover }
            PropertyChanges { target: icon; name: root.imageHover }
        },
        State {
            name: "pressed"
            when: root.enabled && area.pressed
            PropertyChanges {
                target: root
                color: invertColors ? textColorPressed : bgColorPressed
                border.color: invertColors ? textColorPressed : borderColorPressed
            }
            PropertyChanges { target: label; color: root.invertColors ? root.bgColorPressed : root.textColorPressed }
            PropertyChanges { target: icon; name: root.imagePressed }
        }
    ]

    transitions: Transition {
        // Not from the empty first state: a new button has its colours at once.
        from: "active,disabled,hovered,pressed"
        to: "active,disabled,hovered,pressed"
        ColorAnimation {
            properties: "color,border.color"
            duration: CommonProperties.TLButtonAnimationSpeed
        }
    }
}
