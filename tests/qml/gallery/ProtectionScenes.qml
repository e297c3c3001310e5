// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import tl.qt.application.protectionStateInfo 1.0

import "../Finder.js" as Finder

// The protection page in every state that it has. It is opened from the main page, and left at the end.
QtObject {
    id: protection

    // Who has the texts and the stack of pages.
    property var host: null

    function t(name) {
        return host.t("GuiProtectionState" + name);
    }

    function issue(action, title, values) {
        return Object.assign({ "issueId": action, "actionsType": action, "issueTitle": t(title),
                               "issueDescription": t(title + "Description") }, values);
    }

    function updateIssue() {
        return issue(ProtectionStateModel.ActionStartUpdate, "AVBasesIsNotLoaded", { "taskName": "Update" });
    }

    function stopIssue() {
        return issue(ProtectionStateModel.ActionStopUpdate, "AVBasesAreTotallyOutOfDate", { "taskName": "Update",
            "issueDescription": host.t("GuiStartedTaskSummary", [host.t("GuiMinutesAgo", [48])]) });
    }

    function monitoringIssue() {
        return issue(ProtectionStateModel.ActionEnableComponent, "OasDisabled", { "taskName": "File_Monitoring" });
    }

    function scanIssue() {
        return issue(ProtectionStateModel.ActionStartScan, "FullScanNeverRun", { "taskName": "Scan_My_Computer" });
    }

    function storageIssue() {
        return issue(ProtectionStateModel.ActionStorageLink, "StorageIssue", {});
    }

    function show(rows) {
        if (host.stack.getCurrentItemName() !== "ProtectionState")
            host.stack.push("ProtectionState");
        const model = models.protectionState;
        model.pageHeader = t("Header");
        model.emptyIssuesTitle = t("OK");
        model.runTaskButtonName = t("StartTaskButton");
        model.stopTaskButtonName = host.t("GuiTaskListStopTask");
        model.fixLicenseLinkName = t("FixLicenseLinkName");
        model.manageBackupLinkName = t("ManageBackupLinkName");
        model.enableComponentButtonName = t("EnableComponentButton");
        model.startInProgress = host.t("GuiSettingsWaitingToStart");
        model.setRows(rows);
    }

    function control(row, name) {
        return Finder.find(host.find("issueList").itemAtIndex(row), name);
    }

    function rowsShown() {
        const list = host.find("issueList");
        return list.count > 0 && list.itemAtIndex(0) !== null && list.itemAtIndex(0).opacity === 1;
    }

    readonly property var all: [
        { "name": "protection-none", "play": () => show([]) },
        { "name": "protection-one", "ready": rowsShown, "play": () => show([scanIssue()]) },
        { "name": "protection-danger", "ready": rowsShown,
          "play": () => show([updateIssue(), monitoringIssue(), scanIssue()]) },
        { "name": "protection-starting", "play": () => {
            Finder.find(control(1, "startButton"), "pressArea").activate(null);
            control(2, "startButton").forceActiveFocus(Qt.TabFocusReason); } },
        { "name": "protection-running", "ready": rowsShown,
          "play": () => show([stopIssue(), scanIssue(), storageIssue()]) },
        { "name": "protection-hovered", "play": () => {
            camera.hover(Finder.find(control(0, "updateButton"), "pressArea"));
            camera.press(Finder.find(control(1, "startButton"), "pressArea")); } },
        { "name": "protection-not-permitted", "ready": rowsShown,
          "play": () => show([updateIssue(), monitoringIssue(), scanIssue()].map(
              row => Object.assign(row, { "available": false }))) },
        { "name": "protection-messages", "ready": rowsShown, "play": () => show([
            issue(ProtectionStateModel.ActionLicenseLink, "LicenseExpired", {}), storageIssue(),
            issue(ProtectionStateModel.ActionNone, "NeedReboot", {})]) },
        { "name": "protection-many", "ready": rowsShown, "play": () => show([
            stopIssue(), monitoringIssue(), scanIssue(), storageIssue(),
            issue(ProtectionStateModel.ActionNone, "PatchIsReadyToInstall", {})]),
          "end": () => host.stack.pop() }
    ]
}
