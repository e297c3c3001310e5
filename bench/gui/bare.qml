// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Templates 2.15 as T
import Qt.labs.platform 1.1

// What the front end is measured against: its imports and its size, and nothing to see.
T.ApplicationWindow {
    visible: true
    flags: Qt.Window | Qt.FramelessWindowHint
    width: 735
    height: 540
    color: "#FFFFFF"
}
