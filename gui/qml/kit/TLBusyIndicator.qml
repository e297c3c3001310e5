// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonProperties.js" as CommonProperties

// Two arcs that turn while something is waited for, `loadtimer` milliseconds a turn. After half a turn they stand in
// each other's place, so that half turns follow each other without a jump.
Item {
    id: root

    property int loadtimer: CommonProperties.TLBusyIndicatorTurn
    property color borderColor: CommonProperties.colorControlGreen
    property int borderWidth: CommonProperties.TLBusyIndicatorBorderWidth
    property bool running: true
    readonly property alias angle: circle.rotation

    implicitWidth: CommonProperties.TLBusyIndicatorSize
    implicitHeight: width
    visible: running

    Accessible.role: Accessible.Indicator
    Accessible.name: CommonProperties.nameBusy

    // Drawn once; what turns is the picture.
    Canvas {
        id: circle

        readonly property int side: Math.min(root.width, root.height)

        anchors.centerIn: parent
        width: side
        height: side
        smooth: true

        onPaint: {
            const context = getContext("2d");
            // Off the edge, where a turned picture would be cut.
            const radius = (side - root.borderWidth) / 2 - CommonProperties.hairline;
            const turn = 2 * Math.PI;
            const length = CommonProperties.TLBusyIndicatorArc * turn;
            context.reset();
            context.lineWidth = root.borderWidth;
            context.strokeStyle = CommonProperties.TLBusyIndicatorTrack;
            context.beginPath();
            context.arc(side / 2, side / 2, radius, 0, turn, false);
            context.stroke();
            context.strokeStyle = root.borderColor;
            context.lineCap = "round";
            for (const start of [0, turn / 2]) {
                context.beginPath();
                context.arc(side / 2, side / 2, radius, start, start + length, false);
                context.stroke();
            }
        }

        Connections {
            target: root
            function onBorderColorChanged() { circle.requestPaint(); }
            function onBorderWidthChanged() { circle.requestPaint(); }
        }

        SequentialAnimation on rotation {
            running: root.running
            loops: Animation.Infinite
            TLHalfTurn { duration: root.loadtimer / 2 }
            TLHalfTurn { duration: root.loadtimer / 2 }
        }
    }
}
