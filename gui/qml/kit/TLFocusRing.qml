// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonProperties.js" as CommonProperties

// The mark of the keyboard's place: a ring outside its parent, or inside it with a negative offset.
Rectangle {
    property int offset: CommonProperties.focusRingOffset

    objectName: "focusRing"
    anchors.fill: parent
    anchors.margins: -(offset + border.width)
    radius: CommonProperties.cornerRadius + Math.max(0, offset)
    color: CommonProperties.colorTransparent
    border.width: CommonProperties.focusRingWidth
    border.color: CommonProperties.colorFocus
}
