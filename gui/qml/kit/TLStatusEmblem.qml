// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// The emblem of one level. It is loaded when it is first to be seen.
Image {
    property string name: ""

    anchors.centerIn: parent
    anchors.verticalCenterOffset: CommonProperties.statusImageOffset
    opacity: 0
    scale: CommonProperties.statusImageHiddenScale
    source: opacity > 0 ? CommonFunctions.imageSource(name) : ""
    sourceSize: Qt.size(CommonProperties.statusImageSize, CommonProperties.statusImageSize)
}
