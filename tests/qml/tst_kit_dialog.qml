// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtTest 1.15

import "qrc:/kit"
import "qrc:/CommonFunctions.js" as CommonFunctions
import "Finder.js" as Finder

Item {
    id: root
    width: 100
    height: 100

    Component {
        id: dialogComponent
        TLConfirmationDialog {
            titleLabelText: "Delete?"
            descriptionLabelText: "It can't be restored."
            noButtonText: "Cancel"
            yesButtonText: "Delete"
        }
    }

    Component {
        id: mainComponent
        Window {
            visible: true
            width: 735
            height: 540
            TLButton { objectName: "opener" }
        }
    }

    SignalSpy { id: yes; signalName: "yesClicked" }
    SignalSpy { id: no; signalName: "noClicked" }

    TestCase {
        name: "KitDialog"
        when: windowShown

        property var dialog: null
        property var opener: null

        function init() {
            dialog = createTemporaryObject(dialogComponent, root);
            yes.target = no.target = dialog;
            yes.clear();
            no.clear();
            show();
        }

        function cleanup() {
            CommonFunctions.setAppWindow(null);
        }

        function show() {
            dialog.show();
            dialog.requestActivate();
            tryCompare(dialog, "active", true);
        }

        function button(name) {
            return Finder.find(dialog.footer, name);
        }

        function test_answers_data() {
            return [{ tag: "yes preferable", yesFirst: true, right: "Delete", left: "Cancel", rightSpy: yes, leftSpy: no },
                    { tag: "no preferable", yesFirst: false, right: "Cancel", left: "Delete", rightSpy: no, leftSpy: yes }];
        }

        function test_answers(data) {
            dialog.yesButtonPreferable = data.yesFirst;
            compare(button("rightButton").text, data.right);
            compare(button("leftButton").text, data.left);
            verify(button("rightButton").invertColors);
            verify(!button("leftButton").invertColors);
            mouseClick(button("rightButton"));
            verify(!dialog.visible);
            compare([data.rightSpy.count, data.leftSpy.count], [1, 0]);
            show();
            mouseClick(button("leftButton"));
            verify(!dialog.visible);
            compare([data.rightSpy.count, data.leftSpy.count], [1, 1]);
        }

        function test_returnGivesThePreferableAnswer() {
            keyClick(Qt.Key_Return);
            verify(!dialog.visible);
            compare([yes.count, no.count], [1, 0]);
        }

        function test_closingIsNoAnswer_data() {
            return [{ tag: "Escape", close: () => keyClick(Qt.Key_Escape) },
                    { tag: "close button", close: () => mouseClick(Finder.find(dialog.header, "close")) }];
        }

        function test_closingIsNoAnswer(data) {
            data.close();
            verify(!dialog.visible);
            compare([yes.count, no.count], [0, 0]);
        }

        // Whoever opened it by mouse sees no mark of the keyboard's place until using the keyboard.
        function test_ringFollowsTheOneThatWasThere_data() {
            return [{ tag: "opened by keyboard", open: () => { opener.forceActiveFocus(Qt.TabFocusReason);
                                                               keyClick(Qt.Key_Space); }, ring: true },
                    { tag: "opened by mouse", open: () => mouseClick(opener), ring: false }];
        }

        function test_ringFollowsTheOneThatWasThere(data) {
            const main = createTemporaryObject(mainComponent, root);
            CommonFunctions.setAppWindow(main);
            opener = Finder.find(main.contentItem, "opener");
            opener.clicked.connect(() => dialog.show());
            dialog.close();
            main.requestActivate();
            tryCompare(main, "active", true);
            data.open();
            verify(dialog.visible);
            dialog.requestActivate();
            tryCompare(dialog, "active", true);
            verify(button("rightButton").activeFocus);
            compare(CommonFunctions.showsFocus(button("rightButton")), data.ring);
            // The main window counts as active, too, until the keyboard has come over.
            tryVerify(() => {
                keyClick(Qt.Key_Tab);
                return CommonFunctions.showsFocus(dialog.activeFocusItem);
            });
        }

        function test_opensWholeOnTheScreen_data() {
            return [{ tag: "left", x: -600, y: 100 }, { tag: "right", x: 2000, y: 100 }, { tag: "above", x: 10, y: -500 },
                    { tag: "below", x: 10, y: 3000 }];
        }

        function test_opensWholeOnTheScreen(data) {
            const main = createTemporaryObject(mainComponent, root);
            CommonFunctions.setAppWindow(main);
            dialog.close();
            main.x = data.x;
            main.y = data.y;
            show();
            const screen = dialog.Screen;
            verify(dialog.x >= screen.virtualX && dialog.x + dialog.width <= screen.virtualX + screen.width, dialog.x);
            verify(dialog.y >= screen.virtualY && dialog.y + dialog.height <= screen.virtualY + screen.height, dialog.y);
        }

        function test_tabGoesFromLeftToRight() {
            button("leftButton").forceActiveFocus();
            keyClick(Qt.Key_Tab);
            verify(button("rightButton").activeFocus);
        }

        function test_longTextStaysInsideAndButtonsHaveRoom() {
            dialog.width = 410;
            dialog.descriptionLabelText = "Много слов. ".repeat(80);
            dialog.yesButtonText = "Удалить безвозвратно";
            const description = Finder.find(dialog.contentItem, "description");
            tryVerify(() => description.truncated);
            verify(description.y + description.height <= description.parent.height);
            verify(button("rightButton").width > 100);
            verify(button("leftButton").x > 0);
        }
    }
}
