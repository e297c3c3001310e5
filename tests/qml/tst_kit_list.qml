// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import QtTest 1.15

import "qrc:/kit"
import "Finder.js" as Finder

Item {
    id: root
    width: 300
    height: 200

    ListModel { id: rows }

    Component {
        id: listComponent
        TLScrollableListView {
            id: list
            anchors.fill: parent
            rootItem: list
            model: rows
            delegate: Item {
                property alias button: button
                width: 300
                height: 50
                TLButton { id: button; text: "row" + index }
            }
        }
    }

    Component { id: headerComponent; Item { width: 300; height: 60 } }

    TestCase {
        name: "KitList"
        when: windowShown

        property var list: null

        function init() {
            rows.clear();
            for (let i = 0; i < 12; ++i)
                rows.append({ "number": i });
            list = createTemporaryObject(listComponent, root);
            tryCompare(list, "count", 12);
            waitForRendering(list);
        }

        function test_listHasTheKeyboardOnceItIsThere() {
            verify(list.activeFocus);
        }

        function test_scrollBarIsThereOnlyForWhatDoesNotFit() {
            const bar = list.T.ScrollBar.vertical;
            tryCompare(bar, "visible", true);
            compare(bar.width, 16);
            rows.clear();
            tryCompare(bar, "visible", false);
        }

        function test_rowReachedByTabComesIntoSight() {
            list.itemAtIndex(0).button.forceActiveFocus();
            for (let i = 0; i < 5; ++i)
                keyClick(Qt.Key_Tab);
            const button = list.itemAtIndex(5).button;
            verify(button.activeFocus);
            verify(button.mapToItem(list, 0, button.height).y <= list.height);
            for (let i = 0; i < 5; ++i)
                keyClick(Qt.Key_Backtab);
            compare(list.contentY, 0);
        }

        function test_keysThatScroll_data() {
            return [{ tag: "page down", keys: [Qt.Key_PageDown], y: 200 },
                    { tag: "end", keys: [Qt.Key_End], y: 400 },
                    { tag: "page down past the end", keys: [Qt.Key_End, Qt.Key_PageDown], y: 400 },
                    { tag: "page up", keys: [Qt.Key_End, Qt.Key_PageUp], y: 200 },
                    { tag: "home", keys: [Qt.Key_End, Qt.Key_Home], y: 0 }];
        }

        function test_keysThatScroll(data) {
            list.itemAtIndex(0).button.forceActiveFocus();
            data.keys.forEach(key => keyClick(key));
            compare(list.contentY, data.y);
        }

        function test_rowComesOutFromUnderAHeaderThatStays() {
            list.headerPositioning = ListView.OverlayHeader;
            list.header = headerComponent;
            list.itemAtIndex(4).button.forceActiveFocus();
            keyClick(Qt.Key_End);
            list.itemAtIndex(9).button.forceActiveFocus();
            for (let i = 0; i < 4; ++i)
                keyClick(Qt.Key_Backtab);
            const button = list.itemAtIndex(5).button;
            verify(button.activeFocus);
            verify(button.mapToItem(list, 0, 0).y >= 60);
        }

        function test_removedRowFadesAndTheNextTakesItsPlace() {
            const next = list.itemAtIndex(2);
            rows.remove(1);
            tryCompare(next, "y", 50);
            compare(next.opacity, 1);
            rows.insert(0, { "number": 20 });
            const added = list.itemAtIndex(0);
            tryCompare(added, "opacity", 1);
        }
    }
}
