// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// The chevron that opens and closes what stands below it.
Item {
    id: root

    property bool expanded: false
    property string name: ""

    signal clicked
    signal toggled

    width: CommonProperties.TLExpanderWidth
    height: CommonProperties.TLExpanderHeight

    opacity: enabled ? 1 : CommonProperties.disabledPictureOpacity
    activeFocusOnTab: true
    Keys.forwardTo: [area]
    Accessible.role: Accessible.Button
    Accessible.name: name
    Accessible.focusable: enabled
    Accessible.focused: activeFocus
    Accessible.checkable: true
    Accessible.checked: expanded
    Accessible.onPressAction: area.activate(null)
    Accessible.onToggleAction: area.activate(null)

    onExpandedChanged: toggled()

    Image {
        id: icon
        objectName: "icon"
        property string name: ""
        anchors.centerIn: parent
        source: CommonFunctions.imageSource(name)
        sourceSize: Qt.size(CommonProperties.TLExpanderWidth, CommonProperties.TLExpanderHeight)
        rotation: root.expanded ? 180 : 0
        Behavior on rotation {
            NumberAnimation { duration: CommonProperties.TLButtonAnimationSpeed }
        }
    }

    TLPressArea {
        id: area
        // Wide enough to be hit, where the control is lower than that.
        anchors.topMargin: (root.height - CommonProperties.minimumHitArea) / 2
        anchors.bottomMargin: anchors.topMargin
        onActivated: root.clicked()
    }

    states: [
        State {
            name: "active"
            when: !area.containsMouse
            PropertyChanges { target: icon; name: "path" }
        },
        State {
            name: "hovered"
            when: area.containsMouse && !area.pressed
            PropertyChanges { target: icon; name: "path-hover" }
        },
        State {
            name: "pressed"
            when: area.pressed
            PropertyChanges { target: icon; name: "path-pressed" }
        }
    ]
}
