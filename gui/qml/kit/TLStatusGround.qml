// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// The ground of one level. It is loaded when it is first to be seen.
Image {
    property string name: ""

    anchors.fill: parent
    opacity: 0
    scale: CommonProperties.statusImageHiddenScale
    source: opacity > 0 ? CommonFunctions.imageSource(name) : ""
    sourceSize: Qt.size(CommonProperties.mainWindowWidth, CommonProperties.statusAreaHeight)
    fillMode: Image.PreserveAspectCrop
}
