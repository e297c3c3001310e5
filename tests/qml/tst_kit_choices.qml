// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import QtTest 1.15

import "qrc:/kit"
import "Finder.js" as Finder

Item {
    id: root
    width: 400
    height: 400

    property bool tick: false
    property int escapes: 0

    Shortcut {
        sequence: StandardKey.Cancel
        onActivated: ++root.escapes
    }

    TLCheckBox { id: box; x: 20; y: 20; width: 200; text: "A box"; checked: root.tick }
    Column {
        x: 20
        y: 60
        TLRadioButton { id: first; text: "First"; width: 120 }
        TLLabel { textValue: "about the first" }
        TLRadioButton { id: second; text: "Second"; width: 120; enabled: false }
        TLRadioButton { id: third; text: "A third one, with a text of more than one line"; width: 120 }
    }
    T.ButtonGroup { id: group }
    Item { TLRadioButton { id: apart; text: "A"; T.ButtonGroup.group: group } }
    Item { TLRadioButton { id: farther; text: "B"; T.ButtonGroup.group: group } }
    TLComboBox {
        id: combo
        x: 20
        y: 240
        textRole: "levelName"
        model: ListModel {
            ListElement { levelName: "Day"; levelValue: 1 }
            ListElement { levelName: "Week"; levelValue: 2 }
            ListElement { levelName: "A month, and a long word for it"; levelValue: 3 }
        }
    }

    SignalSpy { id: boxClicked; target: box; signalName: "clicked" }
    SignalSpy { id: boxToggled; target: box; signalName: "toggled" }
    SignalSpy { id: activated; target: combo; signalName: "activated" }

    TestCase {
        name: "KitChoices"
        when: windowShown

        function init() {
            box.enabled = combo.enabled = true;
            root.tick = true;
            root.tick = false;
            box.checkState = Qt.Unchecked;
            first.checked = third.checked = false;
            combo.popup.close();
            tryCompare(combo.popup, "visible", false);
            combo.currentIndex = 0;
            root.escapes = 0;
            [boxClicked, boxToggled, activated].forEach(spy => spy.clear());
            mouseMove(root, 399, 399);
        }

        function picture(item) {
            return String(Finder.find(item, "indicator").source).replace(/.*\/|\.svg/g, "");
        }

        function test_pictureOfTheBox_data() {
            return [{ tag: "empty", state: Qt.Unchecked, enabled: true, picture: "checkbox-empty" },
                    { tag: "ticked", state: Qt.Checked, enabled: true, picture: "checkbox-checked" },
                    { tag: "in part", state: Qt.PartiallyChecked, enabled: true, picture: "checkbox-partial" },
                    { tag: "disabled", state: Qt.Unchecked, enabled: false, picture: "checkbox-disabled" },
                    { tag: "disabled, ticked", state: Qt.Checked, enabled: false, picture: "checkbox-disabled-checked" }];
        }

        function test_pictureOfTheBox(data) {
            box.checkState = data.state;
            box.enabled = data.enabled;
            compare(picture(box), data.picture);
            compare(Finder.find(box, "indicator").status, Image.Ready);
            if (!data.enabled)
                return;
            mouseMove(box, 5, 5);
            tryVerify(() => picture(box) === data.picture + "-hover");
            compare(Finder.find(box, "indicator").status, Image.Ready);
        }

        function test_boxIsTickedByMouseAndKeys() {
            mouseClick(box);
            verify(box.checked);
            [Qt.Key_Space, Qt.Key_Return, Qt.Key_Enter].forEach(key => keyClick(key));
            verify(!box.checked);
            compare([boxClicked.count, boxToggled.count], [4, 4]);
        }

        function test_disabledBoxIgnoresMouseAndKeys() {
            box.forceActiveFocus();
            box.enabled = false;
            mouseClick(box);
            keyClick(Qt.Key_Return);
            verify(!box.checked);
            compare(boxClicked.count, 0);
        }

        function test_boxTickedInPartBecomesWholeByAPress_data() {
            return [{ tag: "mouse", press: () => mouseClick(box) },
                    { tag: "Return", press: () => { box.forceActiveFocus(); keyClick(Qt.Key_Return); } }];
        }

        function test_boxTickedInPartBecomesWholeByAPress(data) {
            box.checkState = Qt.PartiallyChecked;
            data.press();
            compare(box.checkState, Qt.Checked);
        }

        function test_pressLeavesTheBindingOfTheBox() {
            mouseClick(box);
            root.tick = true;
            root.tick = false;
            verify(!box.checked);
        }

        function test_textBelowTheBoxCanBeLinedUp() {
            compare(box.textLeftPadding, 26);
        }

        function test_arrowsGoRoundTheRadioButtonsAndChoose() {
            first.forceActiveFocus(Qt.TabFocusReason);
            verify(!first.checked);
            keyClick(Qt.Key_Down);
            verify(third.activeFocus && third.checked);
            keyClick(Qt.Key_Down);
            verify(first.activeFocus && first.checked && !third.checked);
            keyClick(Qt.Key_Up);
            verify(third.checked);
            verify(Finder.find(third, "focusRing").visible);
        }

        function test_arrowsReachTheMembersOfAGroupWhereverTheyAre() {
            apart.forceActiveFocus();
            keyClick(Qt.Key_Right);
            verify(farther.activeFocus && farther.checked);
            keyClick(Qt.Key_Left);
            verify(apart.checked && !farther.checked);
        }

        function test_returnChoosesARadioButtonAndNeverUnchooses() {
            first.forceActiveFocus();
            keyClick(Qt.Key_Return);
            verify(first.checked);
            keyClick(Qt.Key_Return);
            verify(first.checked);
        }

        function test_radioTextWraps() {
            const text = Finder.find(third, "label");
            compare(text.width, third.width - 40);
            verify(text.lineCount > 1);
            verify(third.height >= text.height);
            third.boldText = true;
            compare(text.font.weight, Font.Medium);
        }

        function open() {
            combo.forceActiveFocus();
            keyClick(Qt.Key_Return);
            tryCompare(combo.popup, "opened", true);
        }

        function test_comboBoxByKeys() {
            open();
            keyClick(Qt.Key_Down);
            compare(combo.currentIndex, 0);
            keyClick(Qt.Key_Return);
            compare(combo.currentIndex, 1);
            compare([activated.count, activated.signalArguments[0][0]], [1, 1]);
            tryCompare(combo.popup, "visible", false);
            keyClick(Qt.Key_Up);
            compare(combo.currentIndex, 0);
            keyClick(Qt.Key_Space);
            tryCompare(combo.popup, "opened", true);
        }

        function test_escapeClosesTheListAndNothingElse() {
            open();
            keyClick(Qt.Key_Escape);
            tryCompare(combo.popup, "visible", false);
            compare(root.escapes, 0);
            compare(activated.count, 0);
            keyClick(Qt.Key_Escape);
            compare(root.escapes, 1);
        }

        function test_comboBoxByMouse() {
            mouseClick(combo);
            tryCompare(combo.popup, "opened", true);
            const list = Finder.find(combo.popup.contentItem, "list");
            // The list takes the mouse once it is laid out.
            const month = list.itemAtIndex(2);
            tryVerify(() => { mouseMove(month, 5, 5); return combo.highlightedIndex === 2; });
            mouseClick(month);
            compare(combo.displayText, "A month, and a long word for it");
            compare(activated.count, 1);
        }

        function test_listIsAsWideAsItsWidestText() {
            open();
            const list = Finder.find(combo.popup.contentItem, "list");
            verify(combo.popup.width > combo.width);
            verify(!list.itemAtIndex(2).contentItem.truncated);
        }

        function test_disabledComboBoxStaysClosed() {
            combo.forceActiveFocus();
            combo.enabled = false;
            mouseClick(combo);
            keyClick(Qt.Key_Return);
            verify(!combo.popup.visible);
        }
    }
}
