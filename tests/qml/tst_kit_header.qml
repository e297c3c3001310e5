// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtTest 1.15

import "qrc:/kit"
import "Finder.js" as Finder

Item {
    id: root
    width: 400
    height: 200

    property int minimised: 0
    property int closed: 0

    TLWindowHeader {
        id: header
        width: 400
        minimizeAction: () => ++root.minimised
        exitAction: () => ++root.closed
    }
    Window { id: other; title: "Another" }

    SignalSpy { id: doubleClicked; target: header; signalName: "headerDoubleClick" }

    TestCase {
        name: "KitHeader"
        when: windowShown

        function init() {
            root.minimised = root.closed = 0;
            header.windowToMove = null;
            header.needDarkBackground = true;
            doubleClicked.clear();
        }

        function button(name) {
            return Finder.find(header, name);
        }

        function test_buttonsCallTheirActions() {
            mouseClick(button("hide"));
            compare([root.minimised, root.closed], [1, 0]);
            mouseClick(button("close"));
            compare([root.minimised, root.closed], [1, 1]);
        }

        function test_buttonsWithoutAnActionDoNothing() {
            header.exitAction = null;
            mouseClick(button("close"));
            header.exitAction = () => ++root.closed;
            compare(root.closed, 0);
        }

        function test_imagesFollowTheBackground() {
            compare(button("help").source, "icon-help-normal");
            compare(button("hide").source, "icon-hide-normal");
            header.needDarkBackground = false;
            compare(button("help").source, "icon-help-black-normal");
            compare(button("hide").source, "icon-hide-black-normal");
        }

        function test_buttonsThatAreNotWantedTakeNoRoom() {
            const row = button("close").parent;
            const all = row.width;
            header.showHelpButton = header.showHideButton = false;
            tryCompare(row, "width", all / 3);
            header.showHelpButton = header.showHideButton = true;
        }

        function test_doubleClickIsTold() {
            mouseDoubleClickSequence(header, 200, 10);
            compare(doubleClicked.count, 1);
        }

        function test_headerWithoutAWindowIsNotDragged() {
            mousePress(header, 200, 10);
            mouseMove(header, 250, 40);
            mouseRelease(header, 250, 40);
        }

        function test_dragMovesTheWindowByWhereItWasTaken() {
            header.windowToMove = other;
            other.x = other.y = 5;
            mousePress(header, 200, 10);
            mouseMove(header, 203, 10, -1, Qt.LeftButton);
            compare([other.x, other.y], [5, 5]);
            mouseMove(header, 240, 30, -1, Qt.LeftButton);
            const cursor = mousePosition.cursorPos();
            mouseRelease(header, 240, 30);
            compare([other.x, other.y], [cursor.x - 200, cursor.y - 10]);
        }
    }
}
