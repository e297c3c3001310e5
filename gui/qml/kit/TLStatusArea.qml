// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import tl.customFonts 1.0

import "../CommonProperties.js" as CommonProperties

// The verdict on the machine: a ground, an emblem and a sentence. The state says which: OK, Warning or Critical.
Item {
    id: root

    // The first line is the verdict, the second counts what stands behind it.
    property string text: ""
    property bool clickable: false

    readonly property var lines: text.split("\n")

    signal clicked

    // Scripts whose lines are higher by nature get no more: the tabs begin below.
    function lineOf(font) {
        return Math.round(font.pixelSize * CommonProperties.statusLineHeight);
    }

    implicitHeight: CommonProperties.statusAreaHeight
    clip: true

    activeFocusOnTab: clickable || activeFocus
    Keys.forwardTo: [area]
    Accessible.role: clickable ? Accessible.Button : Accessible.StaticText
    Accessible.name: text
    Accessible.focusable: clickable
    Accessible.focused: activeFocus
    Accessible.onPressAction: area.activate(null)

    TLStatusGround { id: groundOk; objectName: "groundOk"; name: "infotab" }
    TLStatusGround { id: groundWarning; objectName: "groundWarning"; name: "infotab-warning" }
    TLStatusGround { id: groundCritical; objectName: "groundCritical"; name: "infotab-critical" }

    TLStatusEmblem { id: emblemOk; objectName: "emblemOk"; name: "status-ok" }
    TLStatusEmblem { id: emblemWarning; objectName: "emblemWarning"; name: "status-warning" }
    TLStatusEmblem { id: emblemCritical; objectName: "emblemCritical"; name: "status-critical" }

    Column {
        y: CommonProperties.statusTextTop
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: CommonProperties.contentMargin

        TLLabel {
            id: verdict

            // A sentence too long for the large size takes up to two lines of the small one. Before there is a width
            // nothing is too long: a typeface isn't opened in a size that is given up at once.
            readonly property bool large: width <= 0 || metrics.advanceWidth <= width

            width: parent.width
            lineHeightMode: Text.FixedHeight
            lineHeight: root.lineOf(font)
            horizontalAlignment: Text.AlignHCenter
            textValue: root.lines[0]
            elide: Text.ElideRight
            wrapMode: Text.Wrap
            maximumLineCount: large ? 1 : 2
            font.pixelSize: large ? CommonProperties.pixelSizeEmptyStatusLarge
                                  : CommonProperties.pixelSizeEmptyStatusSmall
            Accessible.ignored: true

            TextMetrics {
                id: metrics
                text: verdict.text
                font.family: verdict.font.family
                font.pixelSize: CommonProperties.pixelSizeEmptyStatusLarge
            }
        }
        // Even an empty text has its typeface opened, in each size.
        Loader {
            id: count

            readonly property string text: root.lines.slice(1).join(" ")

            width: parent.width
            active: text.length > 0
            visible: active

            sourceComponent: TLLabel {
                lineHeightMode: Text.FixedHeight
                lineHeight: root.lineOf(font)
                horizontalAlignment: Text.AlignHCenter
                textValue: count.text
                elide: Text.ElideRight
                color: CommonProperties.colorLightGray
                font.pixelSize: CommonProperties.pixelSizeEmptyStatusSmall
                Accessible.ignored: true
            }
        }
    }

    TLPressArea {
        id: area
        enabled: root.clickable
        ringOffset: -2 * CommonProperties.focusRingWidth
        cursorShape: root.clickable ? Qt.PointingHandCursor : Qt.ArrowCursor
        toolTip: verdict.truncated || (count.item && count.item.truncated) ? root.text : ""
        onActivated: root.clicked()
    }

    states: [
        State {
            name: "OK"
            PropertyChanges { target: groundOk; opacity: 1; scale: 1 }
            PropertyChanges { target: emblemOk; opacity: 1; scale: 1 }
        },
        State {
            name: "Warning"
            PropertyChanges { target: groundWarning; opacity: 1; scale: 1 }
            PropertyChanges { target: emblemWarning; opacity: 1; scale: 1 }
        },
        State {
            name: "Critical"
            PropertyChanges { target: groundCritical; opacity: 1; scale: 1 }
            PropertyChanges { target: emblemCritical; opacity: 1; scale: 1 }
        }
    ]

    transitions: Transition {
        from: "OK,Warning,Critical"
        to: "OK,Warning,Critical"
        NumberAnimation {
            properties: "opacity,scale"
            duration: CommonProperties.statusFadeSpeed
            easing.type: Easing.InOutQuad
        }
    }
}
