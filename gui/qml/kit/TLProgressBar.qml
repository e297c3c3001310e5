// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T

import "../CommonProperties.js" as CommonProperties

// How far something has come, in percent.
T.ProgressBar {
    id: root

    property string name: ""

    from: 0
    to: 100
    implicitWidth: CommonProperties.TLProgressBarWidth
    implicitHeight: CommonProperties.TLProgressBarHeight
    padding: CommonProperties.hairline

    Accessible.role: Accessible.ProgressBar
    Accessible.name: name
    // This role has no number of its own to be read.
    Accessible.description: Math.round(value) + "%"

    background: Rectangle {
        color: CommonProperties.TLProgressBarBackground
        border.width: CommonProperties.hairline
        border.color: CommonProperties.colorMainBorder
        radius: CommonProperties.cornerRadius
    }

    contentItem: Item {
        Rectangle {
            objectName: "filled"
            width: parent.width * root.position
            height: parent.height
            color: CommonProperties.colorControlGreen
            radius: CommonProperties.cornerRadius - CommonProperties.hairline

            Behavior on width {
                NumberAnimation {
                    duration: CommonProperties.TLProgressBarAnimationSpeed
                    easing.type: Easing.OutCubic
                }
            }
        }
    }
}
