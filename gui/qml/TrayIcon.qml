// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import Qt.labs.platform 1.1

import "CommonProperties.js" as CommonProperties

// The icon in the tray. The platform doesn't tell a click from a double click: two activations in a row open the
// window.
SystemTrayIcon {
    id: tray

    property bool wasClicked: false

    function openFromTray() {
        window.flags = window.flags & ~Qt.WindowMinimizeButtonHint;
        window.openWindow();
    }

    function handleActivation() {
        if (wasClicked) {
            openFromTray();
            return;
        }
        wasClicked = true;
        clickTimer.restart();
    }

    property Timer clickTimer: Timer {
        interval: CommonProperties.trayDoubleClickInterval
        onTriggered: tray.wasClicked = false
    }

    icon.source: "qrc:/images/icon-t.svg"
    tooltip: window.title

    onActivated: handleActivation()

    menu: Menu {
        MenuItem {
            text: window.title
            onTriggered: tray.openFromTray()
        }
        MenuItem {
            text: iconButtonExit
            onTriggered: Qt.quit()
        }
    }

    // Shown last: a tray icon that is made visible before it has its picture stays empty on some hosts.
    Component.onCompleted: {
        if (available)
            trayAvailability.showQuietly(tray);
        visible = Qt.binding(() => available);
    }
}
