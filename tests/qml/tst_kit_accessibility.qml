// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtTest 1.15

import "qrc:/kit"

Item {
    id: root
    width: 400
    height: 400

    readonly property var stack: ({ pop: () => {} })
    property int pressed: 0

    function press() {
        ++pressed;
    }

    Column {
        TLButton { id: button; text: "Start"; onClicked: root.press() }
        TLToggleButton { id: toggle; textActive: "Disable"; active: true; onToggled: root.press() }
        TLButtonAsLink { id: linkButton; text: "Manage"; onClicked: root.press() }
        TLPicButton { id: picture; name: "Delete"; onClicked: root.press() }
        TLExpander { id: expander; name: "Scan"; expanded: true; onClicked: root.press() }
        TLCheckBox { id: box; text: "Object"; checkState: Qt.PartiallyChecked; onClicked: root.press() }
        TLRadioButton { id: radio; text: "Basic"; onClicked: root.press() }
        TLComboBox { id: combo; name: "Period"; model: ["Day", "Week"] }
        TLLabel { id: link; link: true; textValue: "more"; whenClicked: () => root.press() }
        TLLabel { id: label; textValue: "words" }
        TLInfoTab { id: tab; title: "Scan"; infoText: "never run"; onClicked: root.press() }
        TLProgressBar { id: bar; name: "Scan"; value: 42 }
        TLBusyIndicator { id: busy }
    }

    TestCase {
        name: "KitAccessibility"
        when: windowShown

        function initTestCase() {
            assistive.listen();
        }

        function init() {
            box.checkState = Qt.PartiallyChecked;
            radio.checked = false;
            root.pressed = 0;
        }

        function test_whatIsTold_data() {
            return [
                { tag: "button", item: button, role: Accessible.Button, name: "Start" },
                { tag: "toggle", item: toggle, role: Accessible.Button, name: "Disable", checked: true },
                { tag: "link button", item: linkButton, role: Accessible.Button, name: "Manage" },
                { tag: "picture", item: picture, role: Accessible.Button, name: "Delete" },
                { tag: "expander", item: expander, role: Accessible.Button, name: "Scan", checked: true },
                { tag: "box", item: box, role: Accessible.CheckBox, name: "Object", mixed: true },
                { tag: "radio", item: radio, role: Accessible.RadioButton, name: "Basic", checked: false },
                { tag: "combo", item: combo, role: Accessible.ComboBox, name: "Period", description: "Day" },
                { tag: "link", item: link, role: Accessible.Link, name: "more" },
                { tag: "tab", item: tab, role: Accessible.Button, name: "Scan", description: "never run" }
            ];
        }

        function test_whatIsTold(data) {
            const seen = assistive.look(data.item);
            compare([seen.role, seen.name], [data.role, data.name]);
            for (const key of ["checked", "mixed", "description"])
                if (data[key] !== undefined)
                    compare(seen[key], data[key], key);
            if (data.checked !== undefined)
                verify(seen.checkable);
            verify(seen.focusable);
            data.item.forceActiveFocus();
            verify(assistive.look(data.item).focused);
        }

        function test_whatOnlyInforms() {
            compare(assistive.look(label).name, "words");
            verify(!assistive.look(label).focusable);
            compare(assistive.look(bar).description, "42%");
            compare(assistive.look(busy).role, Accessible.Indicator);
        }

        function test_actionPressesOnce_data() {
            return [
                { tag: "button", item: button, action: "Press" }, { tag: "toggle", item: toggle, action: "Toggle" },
                { tag: "toggle, pressed", item: toggle, action: "Press" },
                { tag: "link button", item: linkButton, action: "Press" },
                { tag: "picture", item: picture, action: "Press" },
                { tag: "expander", item: expander, action: "Toggle" },
                { tag: "box", item: box, action: "Toggle" }, { tag: "radio", item: radio, action: "Toggle" },
                { tag: "link", item: link, action: "Press" }, { tag: "tab", item: tab, action: "Press" }
            ];
        }

        function test_actionPressesOnce(data) {
            verify(assistive.act(data.item, data.action), assistive.look(data.item).actions.join());
            compare(root.pressed, 1);
            data.item.enabled = false;
            assistive.act(data.item, data.action);
            data.item.enabled = true;
            compare(root.pressed, 1);
        }

        function test_actionsChooseAndOpen() {
            box.checked = false;
            verify(assistive.act(box, "Toggle"));
            verify(box.checked && assistive.look(box).checked);
            verify(assistive.act(combo, "Press"), assistive.look(combo).actions.join());
            tryCompare(combo.popup, "opened", true);
            combo.popup.close();
        }
    }
}
