// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtTest 1.15
import tl.qt.application.protectionStateInfo 1.0

import "qrc:/"
import "qrc:/CommonProperties.js" as CommonProperties
import "Finder.js" as Finder

Item {
    id: root
    width: 735
    height: 500

    // What the row asks of the shell, with a record of what it asked.
    QtObject {
        id: stack
        property var missing: []
        property var calls: []

        function hasPage(page) { return missing.indexOf(page) < 0; }
        function push(page) { calls.push(page); }
    }

    ProtectionStateModel { id: issues }

    ListView {
        id: list
        anchors.fill: parent
        model: issues
        delegate: ProtectionIssueDelegate {
            width: list.width
            issueModel: issues
        }
    }

    TestCase {
        id: testCase
        name: "ProtectionIssueDelegate"
        when: windowShown

        readonly property var controls: ["licenseLink", "storageLink", "updateButton", "startButton"]

        function init() {
            issues.calls = [];
            stack.calls = [];
            stack.missing = [];
        }

        function row(values) {
            issues.setRows([values]);
            list.forceLayout();
            const item = list.itemAtIndex(0);
            waitForRendering(item);
            return item;
        }

        function part(item, name) {
            const found = Finder.find(item, name);
            verify(found, name);
            return found;
        }

        // action | which control shows | its text | filled | what a click calls | whether the row then waits
        function test_controlByAction_data() {
            const types = ProtectionStateModel;
            return [
                { tag: "unknown", type: types.ActionUnknown },
                { tag: "start update", type: types.ActionStartUpdate, task: "Update", control: "updateButton",
                  text: "Start", filled: true, call: "startTask Update" },
                { tag: "stop update", type: types.ActionStopUpdate, task: "Update", control: "updateButton",
                  text: "Stop", filled: false, call: "stopTask Update" },
                { tag: "enable", type: types.ActionEnableComponent, task: "File_Monitoring", control: "startButton",
                  text: "Enable", filled: true, call: "startTask File_Monitoring", waits: true },
                { tag: "start scan", type: types.ActionStartScan, task: "Scan_My_Computer", control: "startButton",
                  text: "Start", filled: true, call: "startTask Scan_My_Computer", waits: true },
                { tag: "license", type: types.ActionLicenseLink, control: "licenseLink", text: "go to Licensing",
                  page: "License" },
                { tag: "storage", type: types.ActionStorageLink, control: "storageLink", text: "go to Storage",
                  page: "Storage" },
                { tag: "none", type: types.ActionNone }
            ];
        }

        function test_controlByAction(data) {
            const item = row({ "actionsType": data.type, "taskName": data.task || "" });
            for (const name of controls)
                compare(part(item, name).visible, name === data.control, name);
            verify(!part(item, "showInProgress").visible);
            if (!data.control)
                return;
            const control = part(item, data.control);
            compare(control.text, data.text);
            if (data.call) {
                compare(control.width, 116);
                compare(control.invertColors, data.filled);
            }
            mouseClick(control);
            compare(issues.calls.join(), data.call || "");
            compare(stack.calls.join(), data.page || "");
            compare(part(item, "showInProgress").visible, data.waits === true);
            compare(control.enabled, !data.waits);
        }

        function test_whatIsNotAvailableCannotBePressed_data() {
            return test_controlByAction_data().filter(data => data.control);
        }

        function test_whatIsNotAvailableCannotBePressed(data) {
            const item = row({ "actionsType": data.type, "taskName": data.task || "", "available": false });
            const control = part(item, data.control);
            verify(control.visible);
            verify(!control.enabled);
            mouseClick(control);
            compare(issues.calls.concat(stack.calls).join(), "");
            issues.changeRow(0, { "available": true });
            verify(control.enabled);
        }

        function test_aLinkToAPageThatIsNotThereIsDisabled() {
            stack.missing = ["Storage"];
            verify(!part(row({ "actionsType": ProtectionStateModel.ActionStorageLink }), "storageLink").enabled);
        }

        // What the model says of the button no longer counts once it has been pressed, until the row goes away.
        function test_aPressedButtonStaysDisabledWhateverTheModelSays() {
            const values = { "actionsType": ProtectionStateModel.ActionStartScan, "taskName": "Scan_My_Computer" };
            let item = row(values);
            const button = part(item, "startButton");
            mouseClick(button);
            issues.changeRow(0, { "available": false });
            issues.changeRow(0, { "available": true });
            verify(!button.enabled);
            compare(part(item, "showInProgress").text, "starting...");
            mouseClick(button);
            compare(issues.calls.length, 1);
            tryVerify(() => part(item, "showInProgress").x > button.x + button.width);

            item = row(values);
            verify(part(item, "startButton").enabled);
            verify(!part(item, "showInProgress").visible);
        }

        function test_theUpdateButtonStaysAsTheModelSays() {
            const item = row({ "actionsType": ProtectionStateModel.ActionStartUpdate, "taskName": "Update" });
            const button = part(item, "updateButton");
            mouseClick(button);
            issues.changeRow(0, { "available": false });
            verify(!button.enabled);
            issues.changeRow(0, { "available": true });
            verify(button.enabled);
        }

        function test_texts() {
            const item = row({ "issueTitle": "Databases <b>are</b> out of date", "issueDescription": "word ".repeat(80) });
            const title = part(item, "issueTitle");
            const description = part(item, "issueDescription");
            compare(title.text, "Databases <b>are</b> out of date");
            compare([title.font.pixelSize, description.font.pixelSize], [16, 13]);
            verify(Qt.colorEqual(title.color, CommonProperties.colorCommonGray));
            verify(Qt.colorEqual(description.color, CommonProperties.colorLightGray));
            compare(description.width, 690);
            verify(description.lineCount > 1);
            verify(!description.truncated);
            const bottom = description.mapToItem(item, 0, description.height).y;
            verify(bottom < item.height);
            const low = item.height;
            issues.changeRow(0, { "issueDescription": "Short." });
            tryVerify(() => item.height < low);
        }

        // German is half as long again.
        function test_longTextsKeepToTheirPlace() {
            const text = "Wiederherstellungsvorbereitung ".repeat(3);
            issues.startInProgress = text;
            issues.enableComponentButtonName = text;
            const item = row({ "actionsType": ProtectionStateModel.ActionEnableComponent, "issueTitle": text.repeat(2) });
            const button = part(item, "startButton");
            mouseClick(button);
            const wait = part(item, "showInProgress");
            waitForRendering(item);
            for (const shown of [part(item, "issueTitle"), button, wait])
                verify(shown.mapToItem(item, shown.width, 0).x <= item.width - 20, shown.objectName);
            issues.startInProgress = "starting...";
            issues.enableComponentButtonName = "Enable";
        }

        function test_assistiveProgramsHearWhatAButtonIsFor() {
            assistive.listen();
            const item = row({ "actionsType": ProtectionStateModel.ActionStartScan, "taskName": "Scan_My_Computer",
                               "issueTitle": "Full scan was never started" });
            compare(assistive.look(item).name, "Full scan was never started");
            const button = assistive.look(part(item, "startButton"));
            compare([button.name, button.description], ["Start", "Full scan was never started"]);
            verify(assistive.act(part(item, "startButton"), "Press"));
            compare(issues.calls.join(), "startTask Scan_My_Computer");
        }
    }
}
