// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// A button that is a picture. The picture keeps its size in the middle of the hit area.
Item {
    id: root

    property string source: ""
    property string sourceHover: source
    property string sourcePressed: source
    property string name: ""
    property size imageSize: Qt.size(CommonProperties.iconSize, CommonProperties.iconSize)
    property string backColorHover: CommonProperties.colorTransparent
    property string backColorPressed: backColorHover
    property alias ringOffset: area.ringOffset

    signal clicked

    width: CommonProperties.minimumHitArea
    height: CommonProperties.minimumHitArea

    opacity: enabled ? 1 : CommonProperties.disabledPictureOpacity
    activeFocusOnTab: true
    Keys.forwardTo: [area]
    Accessible.role: Accessible.Button
    Accessible.name: name
    Accessible.focusable: enabled
    Accessible.focused: activeFocus
    Accessible.onPressAction: area.activate(null)

    Rectangle {
        anchors.fill: parent
        color: area.pressed ? root.backColorPressed : area.hovered ? root.backColorHover
                                                                   : CommonProperties.colorTransparent
    }

    Image {
        anchors.centerIn: parent
        sourceSize: root.imageSize
        source: CommonFunctions.imageSource(area.pressed ? root.sourcePressed : area.hovered ? root.sourceHover
                                                                                             : root.source)
    }

    TLPressArea {
        id: area
        onActivated: root.clicked()
    }
}
