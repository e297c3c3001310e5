// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import tl.customFonts 1.0

import "../CommonProperties.js" as CommonProperties

// Shows a whole text where only a part of it fits. Nothing is made until it is wanted and there is a text.
Loader {
    id: root

    property string text: ""
    property bool wanted: false

    anchors.fill: parent
    active: wanted && text.length > 0

    sourceComponent: Item {
        T.ToolTip {
            x: (parent.width - width) / 2
            y: parent.height + CommonProperties.unit / 2
            margins: CommonProperties.unit / 2
            padding: CommonProperties.unit
            implicitWidth: Math.min(label.implicitWidth + leftPadding + rightPadding,
                                    CommonProperties.TLToolTipMaximumWidth)
            implicitHeight: label.implicitHeight + topPadding + bottomPadding
            delay: CommonProperties.TLToolTipDelay
            visible: true

            contentItem: Text {
                id: label
                objectName: "toolTip"
                text: root.text
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                color: CommonProperties.TLToolTipText
                renderType: Text.NativeRendering
                font.family: RobotoFonts.robotoRegular
                font.pixelSize: CommonProperties.pixelSizeSmall
            }
            background: Rectangle {
                color: CommonProperties.TLToolTipBackground
                radius: CommonProperties.cornerRadius
            }
        }
    }
}
