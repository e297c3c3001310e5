// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Templates 2.15 as T
import Qt.labs.platform 1.1

// The same window with as many items as the front end shows, of its kinds and looks, and its repaint timer; but nothing
// that stands behind them.
T.ApplicationWindow {
    id: window

    // As the front end goes through its items: each child by its own visit and by its parent's.
    function visit(item, call) {
        call(item);
        for (let i = 0; i < item.children.length; ++i) {
            const child = item.children[i];
            visit(child, call);
            call(child);
        }
    }

    visible: true
    flags: Qt.Window | Qt.FramelessWindowHint
    width: 735
    height: 540
    color: "#FFFFFF"

    FontLoader {
        id: typeface
        source: fontFile
    }

    Item {
        id: all
        anchors.fill: parent

        Repeater { model: itemList.QQuickItem; Item {} }
        Repeater {
            model: itemList.QQuickRectangle
            Rectangle {
                x: modelData.area.x
                y: modelData.area.y
                width: modelData.area.width
                height: modelData.area.height
                radius: modelData.radius
                border.width: modelData.border
                border.color: "#7B8186"
                color: modelData.colour
            }
        }
        Repeater {
            model: itemList.QQuickImage
            Image {
                x: modelData.area.x
                y: modelData.area.y
                source: pictureFile
                sourceSize: Qt.size(modelData.area.width, modelData.area.height)
            }
        }
        Repeater {
            model: itemList.QQuickText
            Text {
                x: modelData.area.x
                y: modelData.area.y
                width: modelData.area.width
                elide: Text.ElideRight
                text: "Protected, and so on and on"
                textFormat: Text.PlainText
                renderType: Text.NativeRendering
                font.family: typeface.name
                font.pixelSize: 14
            }
        }
    }

    Timer {
        interval: window.active ? 1000 : 100
        running: window.visible
        repeat: true
        triggeredOnStart: true
        onTriggered: window.visit(all, item => item.update())
    }
}
