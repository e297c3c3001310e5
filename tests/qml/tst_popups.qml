// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtTest 1.15

import "qrc:/kit"
import "Finder.js" as Finder

Item {
    id: root
    width: 100
    height: 100

    property var initiators: []

    Component { id: fabricComponent; TLPopupFabric {} }

    TestCase {
        name: "Popups"
        when: windowShown

        property var fabric: null

        function init() {
            fabric = createTemporaryObject(fabricComponent, root);
            root.initiators = [];
        }

        function show(link) {
            return fabric.showPopup("Header", "Message", link, popup => root.initiators.push(popup), true).popup;
        }

        function test_popupsStackUpwardAndDropWhenOneCloses() {
            const first = show("first");
            const second = show("second");
            const bottom = fabric.Screen.desktopAvailableHeight - 32 - 162;
            compare([first.width, first.height], [350, 162]);
            tryCompare(first, "x", fabric.Screen.desktopAvailableWidth - 32 - 350);
            tryCompare(first, "y", bottom);
            tryCompare(second, "y", bottom - 162);
            first.close();
            compare(fabric.count, 1);
            tryCompare(second, "y", bottom);
            second.close();
            compare(fabric.count, 0);
        }

        function test_stackEndsAtTheTopOfTheScreen() {
            let last = null;
            for (let i = 0; i < 12; ++i)
                last = show("popup");
            tryCompare(last, "y", 0);
        }

        function test_sizeFollowsTheLanguage_data() {
            return [{ tag: "de", size: [430, 162] }, { tag: "ja", size: [350, 192] }, { tag: "fr", size: [350, 162] }];
        }

        function test_sizeFollowsTheLanguage(data) {
            shellSetup.setLanguage(data.tag);
            const popup = show("open");
            compare([popup.width, popup.height], data.size);
            compare([popup.minimumWidth, popup.maximumHeight], data.size);
            tryCompare(popup, "x", fabric.Screen.desktopAvailableWidth - 32 - data.size[0]);
            tryCompare(popup, "y", fabric.Screen.desktopAvailableHeight - 32 - data.size[1]);
            shellSetup.setLanguage("en");
        }

        function test_escapeClosesThePopup() {
            const popup = show("open");
            tryVerify(() => popup.activeFocusItem);
            // The window is gone before a release could reach it.
            keyPress(Qt.Key_Escape);
            compare(fabric.count, 0);
        }

        function test_linkCallsTheHandlerAndClosesThePopup() {
            const popup = show("open");
            tryVerify(() => popup.x === fabric.Screen.desktopAvailableWidth - 32 - 350);
            mouseClick(Finder.find(popup.contentItem, "link"));
            compare(root.initiators.length, 1);
            compare(fabric.count, 0);
        }

        function test_disabledLinkDoesNothing() {
            const popup = fabric.showPopup("Header", "Message", "open", () => root.initiators.push(1), false).popup;
            mouseClick(Finder.find(popup.contentItem, "link"));
            compare(root.initiators.length, 0);
            compare(fabric.count, 1);
        }

        function test_closeButtonRemovesTheEntry() {
            const popup = show("open");
            mouseClick(Finder.find(popup.contentItem, "close"));
            compare(fabric.count, 0);
            compare(root.initiators.length, 0);
        }

        function test_openPopupsGoWithTheirFabric() {
            const popup = show("open");
            show("another");
            let gone = 0;
            popup.Component.destruction.connect(() => ++gone);
            fabric.destroy();
            tryVerify(() => gone === 1);
        }
    }
}
