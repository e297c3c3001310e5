// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonProperties.js" as CommonProperties

// A thin line between rows.
Item {
    property int lineMargin: 0

    implicitHeight: CommonProperties.TLLineBreakHeight

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.leftMargin: parent.lineMargin
        anchors.rightMargin: parent.lineMargin
        height: CommonProperties.hairline
        color: CommonProperties.colorHairline
    }
}
