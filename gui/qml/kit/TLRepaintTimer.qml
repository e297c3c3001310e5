// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// Repaints what a frameless window shows: on some desktops it goes stale, above all while another window is active.
Timer {
    // Whether the window that counts is the active one.
    property bool active: false
    property var items: []

    function repaint() {
        items.forEach(CommonFunctions.updateRecursive);
    }

    repeat: true
    triggeredOnStart: true
    interval: active ? CommonProperties.repaintIntervalActive : CommonProperties.repaintIntervalInactive
    onTriggered: repaint()
}
