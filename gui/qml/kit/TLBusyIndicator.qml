// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonProperties.js" as CommonProperties

// A circle that fills and empties while something is waited for.
Canvas {
    id: root

    property int loadtimer: 1500
    property color borderColor: CommonProperties.colorControlGreen
    property int borderWidth: 2
    property bool running: true
    property real angle: 180

    implicitWidth: CommonProperties.TLBusyIndicatorSize
    implicitHeight: CommonProperties.TLBusyIndicatorSize
    visible: running

    Accessible.role: Accessible.Indicator
    Accessible.name: CommonProperties.nameBusy

    onAngleChanged: requestPaint()
    onPaint: {
        const context = getContext("2d");
        const start = (rotationOfStart - 90) * Math.PI / 180;
        context.reset();
        context.lineWidth = borderWidth;
        context.strokeStyle = borderColor;
        context.lineCap = "round";
        context.beginPath();
        context.arc(width / 2, height / 2, (Math.min(width, height) - borderWidth) / 2, start,
                    start + (angle - 180) * Math.PI / 180, false);
        context.stroke();
    }

    property real rotationOfStart: 0

    SequentialAnimation {
        running: root.running
        loops: Animation.Infinite
        PropertyAction { target: root; property: "rotationOfStart"; value: 0 }
        NumberAnimation { target: root; property: "angle"; from: 180; to: 360; duration: root.loadtimer / 2 }
        PropertyAction { target: root; property: "rotationOfStart"; value: 180 }
        NumberAnimation { target: root; property: "angle"; from: 180; to: 360; duration: root.loadtimer / 2 }
    }
}
