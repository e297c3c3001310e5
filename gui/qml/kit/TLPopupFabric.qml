// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15

import "../CommonProperties.js" as CommonProperties

// Makes the popups and stacks them upward from the lower right corner of the screen.
Item {
    id: root

    readonly property int desirableX: Screen.desktopAvailableWidth - CommonProperties.TLPopupScreenXOffset
    readonly property int desirableBottom: Screen.desktopAvailableHeight - CommonProperties.TLPopupScreenYOffset
    readonly property alias count: popups.count

    function showPopup(popupHeader, popupMessage, linkText, popupClick, linkEnabled) {
        popups.append({
            "header": popupHeader,
            "message": popupMessage,
            "link": linkText,
            "isLinkEnabled": linkEnabled
        });
        const item = repeater.itemAt(popups.count - 1);
        if (popupClick)
            item.clicked.connect(popupClick);
        return item;
    }

    // The interface ends at once rather than popup by popup.
    Component.onDestruction: popups.clear()

    ListModel { id: popups }

    Repeater {
        id: repeater
        model: popups

        delegate: Item {
            id: entry

            readonly property alias popup: popup
            readonly property int popupIndex: index

            signal clicked(var initiator)

            TLPopup {
                id: popup

                readonly property real offsetY: Math.min(height * entry.popupIndex, root.desirableBottom - height)

                popupTitle: header
                popupMessage: message
                popupLinkText: link
                linkEnabled: isLinkEnabled
                y: root.desirableBottom - height - offsetY

                Behavior on y {
                    NumberAnimation {
                        duration: CommonProperties.TLPopupAnimationSpeed
                        easing.type: Easing.OutBounce
                    }
                }

                onPopupLinkAction: {
                    entry.clicked(initiator);
                    close();
                }
                // An entry that stays behind its closed window is never freed.
                onClosing: {
                    if (entry.popupIndex >= 0)
                        popups.remove(entry.popupIndex);
                }
                Component.onCompleted: showPopup(root.desirableX - width)
                // A popup destroyed while it is open would keep itself and the main window alive.
                Component.onDestruction: {
                    if (entry.popupIndex >= 0)
                        close();
                }
            }
        }
    }
}
