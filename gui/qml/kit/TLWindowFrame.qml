// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonProperties.js" as CommonProperties

// Frames a window against any desktop, above everything it shows.
Rectangle {
    anchors.fill: parent
    z: 1
    color: CommonProperties.colorTransparent
    border.width: CommonProperties.hairline
    border.color: CommonProperties.colorMainBorder
}
