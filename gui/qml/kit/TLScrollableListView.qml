// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Templates 2.15 as T

import "../CommonProperties.js" as CommonProperties

// A list that scrolls and whose rows come, go and make room without a jump.
ListView {
    id: root

    // Who has the keyboard once the list is there.
    property Item rootItem: null

    function holds(item) {
        while (item && item !== contentItem)
            item = item.parent;
        return item === contentItem;
    }

    function scrollTo(y) {
        contentY = Math.max(originY, Math.min(y, originY + contentHeight - height));
    }

    // Moves by as little as brings the whole item into sight, from under a header that stays where it is too.
    function bringIntoSight(item) {
        const covered = headerItem && headerPositioning !== ListView.InlineHeader ? headerItem.height : 0;
        const top = item.mapToItem(contentItem, 0, 0).y - CommonProperties.listSightMargin;
        const bottom = top + item.height + 2 * CommonProperties.listSightMargin;
        scrollTo(Math.max(bottom - height, Math.min(contentY, top - covered)));
    }

    function targetOf(key) {
        switch (key) {
        case Qt.Key_PageUp:
            return contentY - height;
        case Qt.Key_PageDown:
            return contentY + height;
        case Qt.Key_Home:
            return originY;
        case Qt.Key_End:
            return originY + contentHeight;
        default:
            return NaN;
        }
    }

    clip: true
    boundsBehavior: Flickable.StopAtBounds
    // A current row would take the keyboard from the controls in it whenever rows come or go.
    currentIndex: -1
    // While it has the keyboard for itself, Tab leads to its first row and not to the beginning of the window.
    activeFocusOnTab: Window.activeFocusItem === root
    Accessible.role: Accessible.List

    T.ScrollBar.vertical: TLScrollBar {}

    Keys.onPressed: {
        const target = targetOf(event.key);
        event.accepted = !isNaN(target);
        if (event.accepted)
            scrollTo(target);
    }
    // Who goes through the rows by keyboard sees where they are. A release bubbles up from the row that got the focus.
    Keys.onReleased: {
        event.accepted = false;
        const item = Window.activeFocusItem;
        if (isNaN(targetOf(event.key)) && item && holds(item))
            bringIntoSight(item);
    }

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
