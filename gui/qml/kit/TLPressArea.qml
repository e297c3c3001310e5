// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonProperties.js" as CommonProperties

// What everything that can be pressed shares: mouse, keyboard, the focus ring and the tooltip. It fills its control,
// which keeps the focus and forwards its keys here.
MouseArea {
    id: area

    property Item control: parent
    property string toolTip: ""
    property int ringOffset: CommonProperties.focusRingOffset
    readonly property bool showsFocus: control.activeFocus && !focusedByMouse
    readonly property bool hovered: control.enabled && containsMouse
    // The ring is for those who come by keyboard; a click takes the focus without it.
    property bool focusedByMouse: false

    signal activated(var event)

    function activate(event) {
        if (control.enabled && enabled)
            activated(event);
    }

    objectName: "pressArea"
    anchors.fill: parent
    hoverEnabled: true

    onPressed: {
        focusedByMouse = true;
        control.forceActiveFocus(Qt.MouseFocusReason);
    }
    onClicked: activate(mouse)

    Keys.onPressed: {
        if (event.key !== Qt.Key_Space && event.key !== Qt.Key_Return && event.key !== Qt.Key_Enter)
            return;
        event.accepted = true;
        focusedByMouse = false;
        if (!event.isAutoRepeat)
            activate(event);
    }

    Connections {
        target: area.control
        function onFocusChanged() {
            if (!area.control.focus)
                area.focusedByMouse = false;
        }
    }

    TLFocusRing {
        offset: area.ringOffset
        visible: area.showsFocus
    }

    TLToolTip {
        text: area.toolTip
        wanted: area.containsMouse && !area.pressed
    }
}
