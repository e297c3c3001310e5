// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Templates 2.15 as T
import Qt.labs.platform 1.1

// The same window with one word in the front end's typeface: what any window with words pays for.
T.ApplicationWindow {
    visible: true
    flags: Qt.Window | Qt.FramelessWindowHint
    width: 735
    height: 540
    color: "#FFFFFF"

    FontLoader {
        id: typeface
        source: fontFile
    }

    Text {
        text: "Protected"
        textFormat: Text.PlainText
        renderType: Text.NativeRendering
        font.family: typeface.name
        font.pixelSize: 14
    }
}
