// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import tl.customFonts 1.0

import "../CommonProperties.js" as CommonProperties

// A text, which may be a link. Shown whole in a tooltip where it is cut.
Text {
    id: root

    property bool link: false
    property string textValue: ""
    property string linkValue: " "
    property var whenClicked: function () { Qt.openUrlExternally(linkValue); }

    text: textValue
    // Names of files come through here: markup only where a caller asks for it.
    textFormat: Text.PlainText
    color: link ? CommonProperties.colorLink : CommonProperties.colorCommonGray
    lineHeight: CommonProperties.lineHeight
    renderType: Text.NativeRendering
    font.family: RobotoFonts.robotoRegular
    font.pixelSize: CommonProperties.pixelSizeMedium
    font.underline: link && area.item !== null && (area.item.containsMouse || area.item.showsFocus)

    // Where the focus is can't be taken out of the order.
    activeFocusOnTab: link || activeFocus
    Keys.forwardTo: area.item ? [area.item] : []
    Accessible.role: link ? Accessible.Link : Accessible.StaticText
    Accessible.name: textFormat === Text.PlainText ? text : text.replace(/<[^>]*>/g, "")
    Accessible.focusable: link

    onLinkActivated: whenClicked()

    // Most labels are neither links nor cut, and need nothing of this.
    Loader {
        id: area
        anchors.fill: parent
        active: root.link || root.truncated

        sourceComponent: TLPressArea {
            control: root
            acceptedButtons: root.link ? Qt.LeftButton : Qt.NoButton
            cursorShape: root.link ? Qt.PointingHandCursor : Qt.ArrowCursor
            toolTip: root.truncated ? root.text : ""
            onActivated: {
                if (root.link)
                    root.linkActivated(root.linkValue);
            }
        }
    }

    // Only a link offers a press to assistive programs.
    Loader {
        active: root.link
        sourceComponent: QtObject {
            function press() {
                root.linkActivated(root.linkValue);
            }
            Component.onCompleted: root.Accessible.pressAction.connect(press)
            Component.onDestruction: root.Accessible.pressAction.disconnect(press)
        }
    }
}
