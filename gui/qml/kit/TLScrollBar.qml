// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T

import "../CommonProperties.js" as CommonProperties

// The scroll bar of a list; there only when there is something to scroll.
T.ScrollBar {
    id: root

    implicitWidth: CommonProperties.TLScrollBarWidth
    implicitHeight: CommonProperties.TLScrollBarWidth
    padding: (CommonProperties.TLScrollBarWidth - CommonProperties.TLScrollBarHandleWidth) / 2
    minimumSize: CommonProperties.TLScrollBarHandleMinimum
    visible: size < 1.0
    hoverEnabled: true

    contentItem: Rectangle {
        implicitWidth: CommonProperties.TLScrollBarHandleWidth
        implicitHeight: CommonProperties.TLScrollBarHandleWidth
        radius: CommonProperties.TLScrollBarHandleWidth / 2
        color: root.pressed ? CommonProperties.TLScrollBarHandlePressed
                            : root.hovered ? CommonProperties.TLScrollBarHandleHover
                                           : CommonProperties.TLScrollBarHandle
    }
}
