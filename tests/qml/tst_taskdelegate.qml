// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtTest 1.15
import tl.qt.application.taskList 1.0

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
        property var names: []
        property var calls: []
        property bool reportsExist: true

        function hasPage(page) { return page !== "Reports" || reportsExist; }
        function getItemName(id) { return id < names.length ? names[names.length - 1 - id] : null; }
        function pop() { calls.push("pop"); }
        function pushWithParams(page, params) { calls.push(page + " " + params.startupComponentId); }
    }

    TaskListModel { id: tasks }

    ListView {
        id: list
        anchors.fill: parent
        model: tasks
        delegate: TaskDelegate {
            width: list.width
            taskModel: tasks
        }
    }

    TestCase {
        id: testCase
        name: "TaskDelegate"
        when: windowShown

        readonly property var states: ({
            "Starting": TaskListModel.TaskStateStarting, "Started": TaskListModel.TaskStateStarted,
            "Pausing": TaskListModel.TaskStatePausing, "Suspended": TaskListModel.TaskStateSuspended,
            "Resuming": TaskListModel.TaskStateResuming, "Stopping": TaskListModel.TaskStateStopping,
            "Stopped": TaskListModel.TaskStateStopped, "Unknown": TaskListModel.TaskStateUnknown
        })

        function init() {
            tasks.scanTasksMode = true;
            tasks.reportsAllowed = true;
            tasks.isRollbackAvailable = false;
            tasks.calls = [];
            stack.calls = [];
            stack.names = [];
            stack.reportsExist = true;
        }

        function row(values) {
            tasks.setRows([values]);
            list.forceLayout();
            return list.itemAtIndex(0);
        }

        function part(item, name) {
            const found = Finder.find(item, name);
            verify(found, name);
            return found;
        }

        // state | text | enabled | visible | shown when only the start button is left out | ... the stop button |
        // running | what a click calls, when it can be clicked
        function test_mainButtonByState_data() {
            return [
                { tag: "Starting",  text: "Start", enabled: false, visible: true, noStart: false, noStop: true,  bar: true },
                { tag: "Started",   text: "Stop",  enabled: true,  visible: true, noStart: true,  noStop: false, bar: true,
                  call: "stopTask 2" },
                { tag: "Pausing",   text: "Stop",  enabled: false, visible: true, noStart: true,  noStop: false, bar: false },
                { tag: "Suspended", text: "Start", enabled: false, visible: true, noStart: true,  noStop: true,  bar: false },
                { tag: "Resuming",  text: "Start", enabled: false, visible: true, noStart: false, noStop: true,  bar: true },
                { tag: "Stopping",  text: "Stop",  enabled: false, visible: true, noStart: true,  noStop: false, bar: false },
                { tag: "Stopped",   text: "Start", enabled: true,  visible: true, noStart: false, noStop: true,  bar: false,
                  call: "startTask 2" },
                { tag: "Unknown",   text: "Stop",  enabled: false, visible: false, noStart: false, noStop: false, bar: false }
            ];
        }

        function test_mainButtonByState(data) {
            const state = states[data.tag];
            const item = row({ "currentState": state });
            const button = part(item, "mainButton");
            compare(button.text, data.text);
            compare(button.enabled, data.enabled);
            compare(button.visible, data.visible);
            compare(part(item, "progress").state, data.bar ? "enabled" : "disabled");
            tryCompare(part(item, "progress"), "opacity", data.bar ? 1 : 0);

            if (data.visible)
                mouseClick(button);
            compare(tasks.calls.join(), data.call === undefined ? "" : data.call);

            tasks.changeRow(0, { "showStartButton": false });
            compare(button.visible, data.noStart);
            tasks.changeRow(0, { "showStartButton": true, "showStopButton": false });
            compare(button.visible, data.noStop);
        }

        function test_permissionsDisableTheMainButton_data() {
            return [
                { tag: "stopped, may not start", state: "Stopped", canBeStarted: false, canBeStopped: true, enabled: false },
                { tag: "stopped, may not stop", state: "Stopped", canBeStarted: true, canBeStopped: false, enabled: true },
                { tag: "started, may not stop", state: "Started", canBeStarted: true, canBeStopped: false, enabled: false },
                { tag: "started, may not start", state: "Started", canBeStarted: false, canBeStopped: true, enabled: true }
            ];
        }

        function test_permissionsDisableTheMainButton(data) {
            const item = row({ "currentState": states[data.state], "canBeStarted": data.canBeStarted,
                               "canBeStopped": data.canBeStopped });
            compare(part(item, "mainButton").enabled, data.enabled);
            verify(part(item, "mainButton").visible);
        }

        // What a click calls follows the permissions alone where the button is enabled at all; a press that comes in by
        // another way than the mouse obeys the same rule.
        function test_clickByStateAndPermission_data() {
            const rows = [];
            for (const name in states)
                for (const canBeStarted of [true, false])
                    for (const canBeStopped of [true, false]) {
                        const enabled = name === "Stopped" && canBeStarted || name === "Started" && canBeStopped;
                        const call = name === "Stopped" ? "startTask 2" : "stopTask 2";
                        rows.push({ tag: [name, canBeStarted, canBeStopped].join(), state: name,
                                    canBeStarted: canBeStarted, canBeStopped: canBeStopped, enabled: enabled,
                                    call: enabled ? call : "" });
                    }
            return rows;
        }

        function test_clickByStateAndPermission(data) {
            const item = row({ "currentState": states[data.state], "canBeStarted": data.canBeStarted,
                               "canBeStopped": data.canBeStopped });
            const button = part(item, "mainButton");
            compare(button.enabled, data.enabled);
            mouseClick(button);
            compare(tasks.calls.join(), data.call);
            tasks.calls = [];
            assistive.act(button, "Press");
            compare(tasks.calls.join(), data.call);
        }

        function test_sizesOfTheButtons() {
            const item = row({ "taskId": 100, "cannotBeDeleted": false, "progressInfo": ["one", "two"] });
            const main = part(item, "mainButton");
            const report = part(item, "reportButton");
            const remove = part(item, "deleteButton");
            compare([main.width, main.height], [116, 32]);
            compare([report.width, report.height, report.text], [148, 32, "Show report"]);
            compare(remove.width, 26);
            compare([remove.imageSize.width, remove.imageSize.height], [10, 10]);
            compare(report.x - main.x - main.width, 8);
            compare(part(item, "details").spacing, 2);
            verify(item.height >= 43);
        }

        function test_barFadesAsFastAsAButtonChanges() {
            const item = row({ "currentState": states.Started });
            const progress = part(item, "progress");
            tryCompare(progress, "opacity", 1);
            tasks.changeRow(0, { "currentState": states.Stopping });
            compare(progress.state, "disabled");
            verify(progress.opacity > 0);
            tryCompare(progress, "visible", false, 150 + 500);
        }

        // Rows that differ in what they have to tell, while they run and while they don't.
        function test_details_data() {
            const rows = [];
            for (const id of [2, 6])
                for (const lines of [[], ["objects scanned: 3"]])
                    for (const open of [true, false])
                        rows.push({ tag: [id, lines.length, open].join(), id: id, lines: lines, open: open,
                                    shown: open && (lines.length > 0 || id === 6) });
            return rows;
        }

        function test_details(data) {
            const item = row({ "taskId": data.id, "progressInfo": data.lines });
            item.showFullInfo = data.open;
            compare(part(item, "details").visible, data.shown);
            compare(part(item, "expander").expanded, data.open);
            compare(part(item, "rollback").visible, data.shown && data.id === 6);
            const shown = [];
            const children = part(item, "details").children;
            for (let i = 0; i < children.length; ++i) {
                if (children[i].visible && children[i].objectName === "")
                    shown.push(children[i].text);
            }
            compare(shown.filter(text => text).join(), data.shown ? data.lines.join() : "");
        }

        // The model has a role of this name too; the row keeps its own.
        function test_fullInfoOfTheModelOpensNothing() {
            const item = row({ "progressInfo": ["line"], "showFullInfo": true });
            verify(!item.showFullInfo);
            verify(!part(item, "details").visible);
        }

        function test_rules_data() {
            return Object.keys(states).map(name => ({
                tag: name,
                started: ["Stopped", "Suspended", "Starting", "Resuming"].indexOf(name) >= 0,
                stopped: ["Started", "Stopping", "Pausing", "Suspended"].indexOf(name) >= 0,
                running: ["Started", "Starting", "Resuming"].indexOf(name) >= 0
            }));
        }

        function test_rules(data) {
            const item = row({});
            const state = states[data.tag];
            compare(item.isCanBeStarted(state, true), data.started);
            compare(item.isCanBeStopped(state, true), data.stopped);
            compare(item.isRunning(state), data.running);
            verify(!item.isCanBeStarted(state, false));
            verify(!item.isCanBeStopped(state, false));
        }

        function test_reportButton() {
            const item = row({ "currentState": states.Started, "taskReportType": 7 });
            const button = part(item, "reportButton");
            verify(button.visible);
            tasks.reportsAllowed = false;
            verify(!button.enabled);
            verify(button.visible);
            mouseClick(button);
            compare(stack.calls.length, 0);
            tasks.reportsAllowed = true;
            mouseClick(button);
            compare(stack.calls.join(), "Reports 7");
        }

        function test_reportFromAPageThatCameFromReportsLeavesOneReportsPage() {
            stack.names = ["MainWindow", "Reports", "ScanTasks"];
            mouseClick(part(row({ "taskReportType": 5 }), "reportButton"));
            compare(stack.calls.join(), "pop,pop,Reports 5");
        }

        function test_reportButtonByState_data() {
            return Object.keys(states).map(name => ({ tag: name }));
        }

        function test_reportButtonByState(data) {
            const item = row({ "currentState": states[data.tag], "canBeStarted": false, "canBeStopped": false });
            verify(part(item, "reportButton").visible);
            verify(part(item, "reportButton").enabled);
        }

        function test_reportButtonWaitsForItsPage() {
            stack.reportsExist = false;
            verify(!part(row({}), "reportButton").enabled);
        }

        function test_deleteIcon_data() {
            const rows = [];
            for (const name in states) {
                rows.push({ tag: name + " deletable", state: name, fixed: false, shown: name === "Stopped" });
                rows.push({ tag: name + " fixed", state: name, fixed: true, shown: false });
            }
            return rows;
        }

        function test_deleteIcon(data) {
            const item = row({ "taskId": 100, "currentState": states[data.state], "cannotBeDeleted": data.fixed });
            const icon = part(item, "deleteButton");
            compare(icon.visible, data.shown);
            if (data.shown) {
                mouseClick(icon);
                compare(tasks.calls.join(), "deleteTask 100");
            }
        }

        function test_stoppedCustomScanKeepsItsDeleteIconWithoutAStartButton() {
            const item = row({ "taskId": 100, "cannotBeDeleted": false, "showStartButton": false });
            verify(!part(item, "mainButton").visible);
            verify(part(item, "deleteButton").visible);
        }

        function test_expander_data() {
            const lines = ["objects scanned: 3"];
            const rows = [];
            for (const name in states)
                for (const scan of [true, false])
                    for (const id of [2, 6])
                        for (const some of [[], lines])
                            rows.push({ tag: [name, scan ? "scans" : "updates", id, some.length].join(), scan: scan, id: id,
                                        state: name, lines: some,
                                        shown: id === 6 || scan && some.length > 0
                                            && ["Stopped", "Suspended", "Starting", "Resuming"].indexOf(name) >= 0 });
            return rows;
        }

        function test_expander(data) {
            tasks.scanTasksMode = data.scan;
            const item = row({ "taskId": data.id, "currentState": states[data.state], "progressInfo": data.lines });
            compare(part(item, "expander").visible, data.shown);
            compare(part(item, "nameArea").enabled, data.lines.length > 0 || data.id === 6);
        }

        function test_expanderAndNameOpenTheDetails() {
            const item = row({ "progressInfo": ["objects scanned: 3", "threats detected: 1"] });
            const details = part(item, "details");
            const closedHeight = item.height;
            verify(!details.visible);
            mouseClick(part(item, "expander"));
            verify(details.visible);
            verify(part(item, "expander").expanded);
            tryVerify(() => item.height > closedHeight);
            mouseClick(part(item, "nameArea"), 5, 5);
            verify(!details.visible);
            tryCompare(item, "height", closedHeight);
        }

        function test_keyboardOpensTheDetailsOfARunningTask() {
            const item = row({ "currentState": TaskListModel.TaskStateStarted, "progressInfo": ["objects scanned: 3"] });
            const name = part(item, "nameButton");
            verify(!part(item, "expander").visible);
            verify(name.activeFocusOnTab);
            name.forceActiveFocus(Qt.TabFocusReason);
            verify(part(name, "focusRing").visible);
            keyClick(Qt.Key_Space);
            verify(part(item, "details").visible);
            keyClick(Qt.Key_Return);
            verify(!part(item, "details").visible);
            assistive.listen();
            compare(assistive.look(name).name, "Task");
            verify(assistive.act(name, "Press"));
            verify(item.showFullInfo);
        }

        function test_nameOfARowWithoutDetailsDoesNothing() {
            const item = row({});
            mouseClick(part(item, "nameArea"), 5, 5);
            verify(!item.showFullInfo);
        }

        function test_rollbackLine() {
            tasks.scanTasksMode = false;
            let item = row({ "taskId": 8, "progressInfo": ["line"] });
            item.showFullInfo = true;
            verify(!part(item, "rollback").visible);

            item = row({ "taskId": 6 });
            item.showFullInfo = true;
            const line = part(item, "rollback");
            verify(line.visible);
            waitForItemPolished(line.parent);
            verify(!line.link);
            verify(Qt.colorEqual(line.color, CommonProperties.colorLightGray));
            mouseClick(line);
            compare(tasks.calls.length, 0);
            tasks.isRollbackAvailable = true;
            verify(Qt.colorEqual(line.color, CommonProperties.colorLink));
            mouseClick(line);
            compare(tasks.calls.join(), "rollbackUpdate");
        }

        function test_summaryAndResult() {
            let item = row({ "summary": "Last scan: now", "resultInfo": "Threat detected", "resultIsError": true });
            compare(part(item, "summary").text + part(item, "result").text, "Last scan: now. Threat detected");
            verify(Qt.colorEqual(part(item, "result").color, CommonProperties.colorAppInfoTaskError));
            item = row({ "summary": "Never run" });
            compare(part(item, "summary").text + part(item, "result").text, "Never run");
        }

        // What a task says while it runs must not be cut for want of some pixels beside the bar.
        function test_summaryBesideTheBarTakesUpToTwoLines_data() {
            const summary = "Running, started less than a minute ago";
            return [
                { tag: "short", summary: "Running", result: "", lines: 1, cut: false },
                { tag: "short with result", summary: "Running", result: "Nothing detected", lines: 1, cut: false },
                { tag: "two sentences", summary: summary, result: "Nothing detected", lines: 2, cut: false },
                { tag: "long summary", summary: summary + " by the schedule of this machine", result: "", lines: 2, cut: false },
                { tag: "endless summary", summary: summary.repeat(9), result: "", lines: 2, cut: true },
                { tag: "both endless", summary: summary.repeat(9), result: summary.repeat(9), lines: 2, cut: true }
            ];
        }

        function test_summaryBesideTheBarTakesUpToTwoLines(data) {
            const lower = row({ "currentState": states.Stopped, "summary": "Never run", "resultInfo": "" }).height;
            const item = row({ "currentState": states.Started, "summary": data.summary, "resultInfo": data.result });
            const labels = [part(item, "summary"), part(item, "result")].filter(label => label.visible);
            const progress = part(item, "progress");
            tryCompare(progress, "opacity", 1);
            const left = progress.mapToItem(item, 0, 0).x;
            for (const label of labels) {
                const end = label.mapToItem(item, label.width, label.height);
                verify(end.x < left, label.text);
                verify(end.y <= item.height, label.text);
                compare(label.truncated, data.cut, label.text);
            }
            const bottom = Math.max(...labels.map(label => label.y + label.height));
            compare(Math.round((bottom - labels[0].y) / (labels[0].height / labels[0].lineCount)), data.lines);
            compare(item.height > lower, data.lines > 1);

            const percent = part(item, "percent");
            fuzzyCompare(labels[0].mapToItem(item, 0, labels[0].baselineOffset).y,
                         percent.mapToItem(item, 0, percent.baselineOffset).y, 0.5);
        }

        function test_progressFollowsTheModel() {
            const item = row({ "currentState": states.Started, "progressValue": 7 });
            const bar = part(item, "progressBar");
            compare(bar.value, 7);
            tasks.changeRow(0, { "progressValue": 58 });
            compare(bar.value, 58);
            tryVerify(() => Math.abs(part(bar, "filled").width - 0.58 * bar.availableWidth) < 0.5);
        }

        function test_longNameIsCutBeforeTheExpander() {
            const item = row({ "taskName": "x".repeat(300), "progressInfo": ["line"] });
            const label = part(item, "taskName");
            const expander = part(item, "expander");
            verify(label.truncated);
            verify(expander.mapToItem(item, expander.width, 0).x <= part(item, "mainButton").mapToItem(item, 0, 0).x);
        }

        function test_longNameMakesRoomForAButtonThatComesLater() {
            const item = row({ "taskName": "x".repeat(300), "progressInfo": ["line"], "showStartButton": false });
            const label = part(item, "taskName");
            verify(label.truncated);
            tasks.changeRow(0, { "currentState": states.Started });
            verify(part(item, "mainButton").visible);
            tryVerify(() => label.mapToItem(item, label.width, 0).x < part(item, "mainButton").mapToItem(item, 0, 0).x);
        }

        function test_anotherNameHasRoomOfItsOwn() {
            const item = row({ "taskName": "Custom scan" });
            const label = part(item, "taskName");
            tasks.changeRow(0, { "taskName": "Custom scan of /home/user/Downloads" });
            verify(!label.truncated);
        }

        function test_keyboardReachesTheButtons() {
            const item = row({});
            part(item, "mainButton").forceActiveFocus();
            keyClick(Qt.Key_Tab);
            verify(part(item, "reportButton").activeFocus);
            keyClick(Qt.Key_Return);
            compare(stack.calls.join(), "Reports 5");
        }
    }
}
