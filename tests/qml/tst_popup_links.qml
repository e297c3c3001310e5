// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtTest 1.15

import "qrc:/CommonFunctions.js" as CommonFunctions
import "Finder.js" as Finder

// The popups of the tray from the model's signal to the page that their link leads to.
TestCase {
    id: testCase
    name: "PopupLinks"
    when: windowShown
    width: 10
    height: 10
    visible: true

    property var window: null
    property var stack: null
    property var view: null
    property bool reportsAdded: false

    function initTestCase() {
        reportsAdded = !CommonFunctions.hasPage("Reports");
        if (reportsAdded)
            CommonFunctions.existingPages.push("Reports");
    }

    function cleanupTestCase() {
        if (reportsAdded)
            CommonFunctions.existingPages.pop();
    }

    function init() {
        serviceConnection.isConnectedToProduct = true;
        trayAvailability.available = false;
        window = Qt.createComponent("qrc:/main.qml").createObject(null);
        stack = Finder.find(window.contentItem, "stack");
        view = Finder.find(stack, "stackView");
        activate();
    }

    function cleanup() {
        window.destroy();
        window = stack = view = null;
        tryCompare(models, "appInfoCount", 0);
    }

    function activate() {
        window.requestActivate();
        tryCompare(window, "active", true);
        tryCompare(view, "busy", false);
    }

    function fabric() {
        return Finder.find(view.get(0), "popupFabric");
    }

    // The windows that stand open, from the oldest on.
    function popups() {
        const entries = [];
        for (let i = 0; i < fabric().children.length; ++i) {
            if (fabric().children[i].popup)
                entries.push(fabric().children[i].popup);
        }
        return entries;
    }

    function clickLink(popup) {
        tryVerify(() => popup.x === popup.expectedX);
        mouseClick(Finder.find(popup.contentItem, "link"));
        tryCompare(view, "busy", false);
    }

    function test_aScanWithoutThreatsLeadsToTheReportsOnScans() {
        window.hide();
        models.appInfo.customScanStopped(100, "Custom scan completed. No active threats found.");
        const popup = popups()[0];
        compare([popup.popupTitle, popup.popupMessage, popup.popupLinkText],
                ["Custom scan completed", "Custom scan completed. No active threats found.", "open reports"]);
        clickLink(popup);
        verify(window.visible);
        compare(stack.getCurrentItemName(), "Reports");
        compare(view.currentItem.startupComponentId, 5);
        compare(fabric().count, 0);
    }

    function test_aScanWithThreatsColoursTheirNumber() {
        const message = "Custom scan completed. <font color='#d84342'>2 threats found.</font>";
        models.appInfo.customScanStopped(100, message);
        const label = Finder.find(popups()[0].contentItem, "message");
        compare(label.text, message);
        compare(label.textFormat, Text.StyledText);
        clickLink(popups()[0]);
        compare(view.currentItem.startupComponentId, 5);
    }

    function test_aTaskThatWasNotStartedLeadsToTheReportsOfItsComponent_data() {
        return [{ tag: "file monitoring", component: 4 }, { tag: "no component", component: 0 }];
    }

    function test_aTaskThatWasNotStartedLeadsToTheReportsOfItsComponent(data) {
        const sentence = "Task File Threat Protection was not started due to internal issue";
        models.appInfo.taskStartFailed(data.component, sentence);
        const popup = popups()[0];
        compare([popup.popupTitle, popup.popupMessage, popup.popupLinkText],
                ["Failed to start task", sentence, "Open task reports"]);
        clickLink(popup);
        compare(stack.getCurrentItemName(), "Reports");
        compare(view.currentItem.startupComponentId, data.component);
        compare(fabric().count, 0);
    }

    function test_aFailedStartIsToldByTheReportsThemselvesWhereTheyShow() {
        stack.push("Reports");
        activate();
        models.appInfo.taskStartFailed(4, "sentence");
        compare(fabric().count, 0);
        models.appInfo.customScanStopped(100, "message");
        compare(fabric().count, 1);
        popups()[0].close();
        window.hide();
        tryCompare(window, "active", false);
        models.appInfo.taskStartFailed(4, "sentence");
        compare(fabric().count, 1);
    }

    function test_eachPopupHasALinkOfItsOwn() {
        models.appInfo.taskStartFailed(2, "first");
        models.appInfo.customScanStopped(100, "second");
        clickLink(popups()[0]);
        compare(view.currentItem.startupComponentId, 2);
        compare(fabric().count, 1);
        compare(popups()[0].popupMessage, "second");
    }

    function test_reportsThatAreNotAllowedAreNotLedTo() {
        models.appInfo.reportsAllowed = false;
        models.appInfo.customScanStopped(100, "message");
        clickLink(popups()[0]);
        compare(stack.getCurrentItemName(), "MainWindow");
        compare(fabric().count, 1);
    }
}
