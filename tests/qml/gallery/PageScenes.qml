// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import tl.qt.application.appInfo 1.0
import tl.qt.application.taskList 1.0

import "qrc:/CommonFunctions.js" as CommonFunctions
import "qrc:/kit"
import "../Finder.js" as Finder

// Every page, popup and dialog in every state that it has.
QtObject {
    id: scenes

    readonly property var window: CommonFunctions.getAppWindow()
    readonly property var stack: window ? Finder.find(window.contentItem, "stack") : null
    readonly property var stackView: stack ? Finder.find(stack, "stackView") : null
    readonly property string path: "/home/anna/Documents/2026/Contracts"
    property var popups: []

    function t(name, values) {
        return texts.text(name, values || []);
    }

    function find(name) {
        return Finder.find(stackView.currentItem, name);
    }

    // Of everything in the window, what lies over the pages with it.
    function root() {
        let item = window.contentItem;
        while (item.parent)
            item = item.parent;
        return item;
    }

    function list() {
        return find("taskList");
    }

    function set(values) {
        for (const name in values)
            models.appInfo[name] = values[name];
    }

    // What stands on the main page in any state.
    function main(values) {
        set(Object.assign({
            "buttonScan": t("GuiAppInfoButtonScan"), "buttonUpdate": t("GuiAppInfoButtonUpdate"),
            "buttonReports": t("GuiAppInfoButtonReports"), "buttonStorage": t("GuiAppInfoButtonStorage"),
            "buttonSettings": t("GuiAppInfoButtonSettings"), "buttonSupport": t("GuiAppInfoButtonSupport"),
            "infoLastScanTime": t("GuiMainLastRunScanTask", [t("GuiHoursAgo", [23])]),
            "infoLastScanResult": t("GuiTaskResultOk"), "infoScanResultIsError": false,
            "infoLastUpdateTime": t("GuiMainLastRunUpdateTask", [t("GuiMinutesAgo", [48])]),
            "infoDatabasesState": t("GuiAppInfoAVBasesAreUpToDate"), "infoDatabasesIsError": false,
            "licenseStatus": t("GuiLicenseStatusValidLicense"), "reportsAllowed": true,
            "scanInfoAvailable": true, "updateInfoAvailable": true
        }, values));
    }

    function verdict(level, key, counted) {
        return { "dangerLevel": level, "issuesInfo": t(key) + "\n" + t(counted, [12]) };
    }

    function statistics() {
        return [t("GuiTaskListStatisticScannedObjectsName") + "1184213",
                t("GuiTaskListStatisticThreatsFoundName") + "128"];
    }

    function scanRow(values) {
        return Object.assign({ "taskName": t("GuiTaskNameFullScanTask"), "taskId": 2,
                               "summary": t("GuiMainLastRunScanTask", [t("GuiHoursAgo", [23])]),
                               "resultInfo": t("GuiTaskResultOk"), "progressInfo": statistics() }, values);
    }

    function running(values) {
        return scanRow(Object.assign({ "summary": t("GuiStartedTaskSummary", [t("GuiMinutesAgo", [48])]),
                                       "progressValue": 100 }, values));
    }

    function customRow(values) {
        return scanRow(Object.assign({ "taskName": t("GuiTaskNameCustomScanTaskOneScanArea", [path]), "taskId": 100,
                                       "cannotBeDeleted": false, "showStartButton": false,
                                       "resultInfo": t("GuiTaskResultDetect"), "resultIsError": true }, values));
    }

    function updateRow(values) {
        return Object.assign({ "taskName": t("GuiTaskNameUpdateTask"), "taskId": 6,
                               "summary": t("GuiMainLastRunUpdateTask", [t("GuiMinutesAgo", [48])]) }, values);
    }

    function tasks(page, rows) {
        if (stack.getCurrentItemName() !== page) {
            stack.pop();
            stack.push(page);
        }
        const model = models.taskList;
        model.pageHeader = t(page === "ScanTasks" ? "GuiScanTaskListPageHeader" : "GuiUpdateTaskListPageHeader");
        model.runTaskButtonName = t("GuiTaskListStartTask");
        model.stopTaskButtonName = t("GuiTaskListStopTask");
        model.goToReportsButtonName = t("GuiTaskGoToReportTask");
        model.runRollbackText = t("GuiTaskListRunRollback");
        model.setRows(rows);
    }

    function rowsShown() {
        return list().count > 0 && list().itemAtIndex(0) !== null && list().itemAtIndex(0).opacity === 1;
    }

    function showPopup(header, message, link, linkEnabled) {
        const entry = find("popupFabric").showPopup(header, message, link, null, linkEnabled);
        popups = popups.concat([entry.popup]);
    }

    function closePopups() {
        popups.forEach(popup => popup.close());
        popups = [];
    }

    function popupsAtRest() {
        return popups.every(popup => popup.visible && popup.x === popup.expectedX);
    }

    // A state of the tasks, by its name among those of the model.
    function state(name) {
        return TaskListModel["TaskState" + name];
    }

    property TLConfirmationDialog licenseDialog: TLConfirmationDialog {
        titleLabelText: scenes.t("GuiConfirmationRemovingLicenseName")
        descriptionLabelText: scenes.t("GuiConfirmationRemovingLicenseDescription")
        noButtonText: scenes.t("GuiConfirmationRemovingLicenseCancel")
        yesButtonText: scenes.t("GuiConfirmationRemovingLicenseYes")
    }
    property TLConfirmationDialog networkDialog: TLConfirmationDialog {
        titleLabelText: scenes.t("GuiSettingsTsnConfirmationDialogTitle")
        descriptionLabelText: scenes.t("GuiSettingsTsnConfirmationDialogDescription")
        moreInfoLinkText: scenes.t("GuiSettingsTSNEulaDialogMoreInfoLink")
        moreInfoLinkLink: "about:blank"
        noButtonText: scenes.t("GuiSettingsTsnConfirmationDialogCancelText")
        yesButtonText: scenes.t("GuiSettingsTsnConfirmationDialogYesText")
        yesButtonPreferable: false
    }

    readonly property var all: [
        { "name": "main-ok",
          "play": () => main(verdict(AppInfoModel.OK, "GuiMainProtectionStateOK", "GuiMainRecomendationsCount")) },
        { "name": "main-warning", "play": () => {
            main(verdict(AppInfoModel.Warning, "GuiMainProtectionStateWarning", "GuiMainWarningsCount"));
            set({ "infoDatabasesIsError": true, "infoDatabasesState": t("GuiAppInfoAVBasesAreOutOfDate"),
                  "licenseStatus": t("GuiLicenseStatusGracePeriod") }); } },
        { "name": "main-critical", "play": () => {
            main(verdict(AppInfoModel.Critical, "GuiMainProtectionStateCritical", "GuiMainErrorsCount"));
            set({ "infoScanResultIsError": true, "infoLastScanResult": t("GuiTaskResultDetect") }); } },
        { "name": "main-never-run", "play": () => {
            main(verdict(AppInfoModel.Critical, "GuiMainProtectionStateCritical", "GuiMainErrorsCount"));
            set({ "infoLastScanTime": t("GuiMainNeverRunScanTaskSummary"), "infoLastScanResult": "",
                  "infoLastUpdateTime": t("GuiMainNeverRunUpdateTaskSummary"), "infoDatabasesIsError": true,
                  "infoDatabasesState": t("GuiMainAVBasesEmptyError"), "reportsAllowed": false }); } },
        { "name": "main-running", "play": () => {
            main(verdict(AppInfoModel.Warning, "GuiMainProtectionStateWarning", "GuiMainWarningsCount"));
            set({ "infoLastScanTime": t("GuiStartedTaskSummary", [t("GuiMinutesAgo", [48])]),
                  "infoLastUpdateTime": t("GuiStartedTaskSummary", [t("GuiMinutesAgo", [48])]) }); } },
        { "name": "main-nothing-known", "play": () => set({ "scanInfoAvailable": false, "updateInfoAvailable": false }) },
        { "name": "main-hovered", "play": () => {
            set({ "scanInfoAvailable": true, "updateInfoAvailable": true });
            camera.hover(Finder.find(find("tabScan"), "pressArea"));
            camera.press(Finder.find(find("tabUpdate"), "pressArea")); } },
        { "name": "main-focused", "play": () => find("tabScan").forceActiveFocus(Qt.TabFocusReason) },

        { "name": "popups", "windows": () => popups, "ready": popupsAtRest, "play": () => {
            showPopup(t("GuiPopupHeaderText"), t("GuiPopupMessageWithThreats", [128]), t("GuiPopupOpenLinkText"), true);
            showPopup(t("GuiPopupTaskFailureHead"),
                      t("GuiPopupTaskFailureText", [t("GuiTaskNameFullScanTask"),
                                                    t("GuiTaskNotStartedReasonInternalSettingsError")]),
                      t("GuiPopupTaskFailureLink"), false); },
          "end": closePopups },
        { "name": "dialog-license", "windows": () => [licenseDialog], "play": () => licenseDialog.show(),
          "end": () => licenseDialog.close() },
        // A dialog's size is its page's, and the longest texts are cut in it.
        { "name": "dialog-network", "cut": texts.language === "long" ? ["description"] : [],
          "windows": () => [networkDialog], "play": () => networkDialog.show(),
          "end": () => networkDialog.close() },

        { "name": "scan-empty", "play": () => tasks("ScanTasks", []), "ready": () => find("emptyImage").visible },
        { "name": "scan", "ready": rowsShown, "cut": ["taskName"], "play": () => tasks("ScanTasks", [
            running({ "currentState": state("Started") }), customRow({}),
            scanRow({ "taskName": t("GuiTaskNameBootScanTask"), "taskId": 4, "progressInfo": [], "resultInfo": "",
                      "summary": t("GuiMainNeverRunScanTaskSummary") }),
            scanRow({ "taskName": t("GuiTaskNameMemScanTask"), "taskId": 5, "resultInfo": "",
                      "summary": t("GuiTaskListUnavailableStatistic") })]) },
        { "name": "scan-focused", "cut": ["taskName"],
          "play": () => Finder.find(list().itemAtIndex(0), "mainButton").forceActiveFocus(Qt.TabFocusReason) },
        { "name": "scan-expanded", "cut": ["taskName"],
          "play": () => [0, 1].forEach(i => list().itemAtIndex(i).showFullInfo = true) },
        { "name": "scan-changing", "ready": rowsShown, "play": () => tasks("ScanTasks",
            ["Starting", "Started", "Pausing", "Suspended"].map((name, i) =>
                running({ "taskId": 10 + i, "currentState": state(name) }))) },
        { "name": "scan-ending", "ready": rowsShown, "play": () => tasks("ScanTasks",
            ["Resuming", "Stopping", "Stopped", "Unknown"].map((name, i) =>
                running({ "taskId": 10 + i, "currentState": state(name) }))) },
        { "name": "scan-not-permitted", "ready": rowsShown, "play": () => {
            tasks("ScanTasks", [scanRow({ "canBeStarted": false }),
                                running({ "taskId": 3, "canBeStopped": false, "currentState": state("Started") }),
                                scanRow({ "taskId": 4, "showStartButton": false, "showStopButton": false })]);
            models.taskList.reportsAllowed = false; } },
        { "name": "scan-many", "ready": rowsShown, "cut": ["taskName"], "play": () => {
            models.taskList.reportsAllowed = true;
            tasks("ScanTasks", [1, 2, 3, 4, 5, 6, 7, 8].map(id => customRow({ "taskId": 100 + id }))); } },
        { "name": "scan-tooltip", "cut": ["taskName"],
          "play": () => {
              stackView.currentItem.tasks.setRows([customRow({
                  "taskName": t("GuiTaskNameCustomScanTaskOneScanArea", [(path + "/").repeat(3)]) })]);
              camera.hover(Finder.find(Finder.find(list().itemAtIndex(0), "taskName"), "pressArea")); },
          "ready": () => Finder.find(root(), "toolTip") !== null },

        { "name": "update", "ready": rowsShown, "play": () => {
            tasks("UpdateTasks", [updateRow({})]);
            models.taskList.isRollbackAvailable = true;
            list().itemAtIndex(0).showFullInfo = true; } },
        { "name": "update-no-rollback", "play": () => models.taskList.isRollbackAvailable = false },
        { "name": "update-running", "ready": rowsShown, "play": () => tasks("UpdateTasks", [
            updateRow({ "currentState": state("Started"), "progressValue": 7,
                        "summary": t("GuiStartedTaskSummary", [t("GuiMinutesAgo", [48])]) })]) },

        { "name": "no-connection", "play": () => {
            serviceConnection.appIsUnavailableText = t("GuiAppIsUnavailable");
            serviceConnection.certifiedBuildText = t("GuiCertifiedBuildError");
            serviceConnection.isConnectedToProduct = false;
            main({}); } },
        { "name": "no-connection-certified", "play": () => serviceConnection.isCertifiedBuild = true }
    ]

    property ProtectionScenes protection: ProtectionScenes { host: scenes }
    property SceneRunner runner: SceneRunner {
        scenes: protection.all.concat(scenes.all)
        windows: () => [scenes.window]
        atRest: () => scenes.stackView !== null && !scenes.stackView.busy
    }
}
