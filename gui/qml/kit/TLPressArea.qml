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
    readonly property bool controlHasFocus: control.focus

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
    onContainsMouseChanged: cues.active = true
    onShowsFocusChanged: cues.active = true
    onControlHasFocusChanged: {
        if (!controlHasFocus)
            focusedByMouse = false;
    }

    Keys.onPressed: {
        if (event.key !== Qt.Key_Space && event.key !== Qt.Key_Return && event.key !== Qt.Key_Enter)
            return;
        event.accepted = true;
        focusedByMouse = false;
        if (!event.isAutoRepeat)
            activate(event);
    }

    // Made when hand or keyboard first come here: a page of controls that nobody has reached yet needs none of it.
    Loader {
        id: cues
        anchors.fill: parent
        active: false

        sourceComponent: Item {
            TLFocusRing {
                offset: area.ringOffset
                visible: area.showsFocus
            }

            TLToolTip {
                text: area.toolTip
                wanted: area.containsMouse && !area.pressed
            }
        }
    }
}
