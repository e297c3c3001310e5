// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T

import "../CommonProperties.js" as CommonProperties

// A list that scrolls and whose rows come, go and make room without a jump.
ListView {
    id: root

    // Who has the keyboard once the list is there.
    property Item rootItem: null

    clip: true
    boundsBehavior: Flickable.StopAtBounds
    Accessible.role: Accessible.List

    T.ScrollBar.vertical: TLScrollBar {}

    Component.onCompleted: {
        if (rootItem)
            rootItem.forceActiveFocus();
    }

    add: Transition {
        NumberAnimation { property: "opacity"; from: 0; to: 1; duration: CommonProperties.listFadeInSpeed }
    }
    remove: Transition {
        NumberAnimation { property: "opacity"; to: 0; duration: CommonProperties.listFadeOutSpeed }
    }
    displaced: Transition {
        SequentialAnimation {
            PauseAnimation { duration: CommonProperties.listFadeOutSpeed }
            ParallelAnimation {
                NumberAnimation { property: "y"; duration: CommonProperties.listMoveSpeed }
                NumberAnimation { property: "opacity"; to: 1; duration: CommonProperties.listMoveSpeed }
            }
        }
    }
}
