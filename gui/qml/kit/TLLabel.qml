// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import tl.customFonts 1.0

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// A text, which may be a link. Shown whole in a tooltip where it is cut.
Text {
    id: root

    property bool link: false
    property string textValue: ""
    property string linkValue: " "
    property var whenClicked: function () { Qt.openUrlExternally(linkValue); }

    readonly property color linkColor: !enabled ? CommonProperties.colorDisabledText
                                                : area.item && area.item.pressed
                                                  ? CommonProperties.colorLinkPressed
                                                  : area.item && area.item.hovered ? CommonProperties.colorLinkHover
                                                                                   : CommonProperties.colorLink

    readonly property string plainText: textFormat === Text.PlainText ? text : CommonFunctions.withoutMarkup(text)

    text: textValue
    // Names of files come through here: markup only where a caller asks for it.
    textFormat: Text.PlainText
    color: link ? linkColor : CommonProperties.colorCommonGray
    lineHeight: CommonProperties.lineHeight
    renderType: Text.NativeRendering
    font.family: RobotoFonts.robotoRegular
    font.pixelSize: CommonProperties.pixelSizeMedium
    font.underline: link && area.item !== null && (area.item.hovered || area.item.showsFocus)

    // Where the focus is can't be taken out of the order.
    activeFocusOnTab: link || activeFocus
    Keys.forwardTo: area.item ? [area.item] : []
    Accessible.role: link ? Accessible.Link : Accessible.StaticText
    Accessible.name: plainText
    Accessible.focusable: link && enabled
    Accessible.focused: activeFocus

    onLinkActivated: whenClicked()

    // Most labels are neither links nor cut, and need nothing of this.
    Loader {
        id: area
        anchors.fill: parent
        // A line alone is too low a mark for a hand that isn't steady.
        anchors.topMargin: Math.min(0, (root.height - CommonProperties.minimumHitArea) / 2)
        anchors.bottomMargin: anchors.topMargin
        active: root.link || root.truncated

        sourceComponent: TLPressArea {
            control: root
            acceptedButtons: root.link ? Qt.LeftButton : Qt.NoButton
            cursorShape: root.link ? Qt.PointingHandCursor : Qt.ArrowCursor
            toolTip: root.truncated ? root.plainText : ""
            onActivated: {
                if (root.link)
                    root.linkActivated(root.linkValue);
            }

            // Only a link offers a press to assistive programs.
            Loader {
                active: root.link
                sourceComponent: QtObject {
                    function press() {
                        if (root.enabled)
                            root.linkActivated(root.linkValue);
                    }
                    Component.onCompleted: root.Accessible.pressAction.connect(press)
                    Component.onDestruction: root.Accessible.pressAction.disconnect(press)
                }
            }
        }
    }
}
