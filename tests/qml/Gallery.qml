// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import tl.qt.application.appInfo 1.0
import tl.qt.application.taskList 1.0

import "qrc:/CommonFunctions.js" as CommonFunctions
import "Finder.js" as Finder

// The scenes of the gallery, shown one after the other.
QtObject {
    id: gallery

    readonly property var window: CommonFunctions.getAppWindow()
    property int at: -1

    function find(item, name) {
        return Finder.find(item, name);
    }
    readonly property var stack: window ? find(window.contentItem, "stack") : null

    function page() {
        return find(stack, "stackView").currentItem;
    }

    function scanRow(values) {
        return Object.assign({ "taskName": "Scan my computer", "taskId": 2, "summary": "Last scan: 2 hours ago",
                               "resultInfo": "Nothing detected",
                               "progressInfo": ["objects scanned: 184213", "threats detected: 0"] }, values);
    }

    function set(values) {
        for (const name in values)
            models.appInfo[name] = values[name];
    }

    readonly property var scenes: [
        { "name": "main-ok", "wait": 400, "play": () => set({ "dangerLevel": AppInfoModel.OK,
            "issuesInfo": "Your device is protected well\n2 recommendations",
            "licenseStatus": "Licence is active until 31 December 2026" }) },
        { "name": "main-ok", "wait": 1300, "play": () => {} },
        { "name": "main-warning", "wait": 1300, "play": () => set({ "dangerLevel": AppInfoModel.Warning,
            "issuesInfo": "Protection of your device is reduced\n1 warning", "infoDatabasesIsError": true,
            "infoDatabasesState": "Databases are out of date." }) },
        { "name": "main-critical", "wait": 1300, "play": () => set({ "dangerLevel": AppInfoModel.Critical,
            "issuesInfo": "Your device is in danger\n3 threats", "infoScanResultIsError": true,
            "infoLastScanResult": "Threat detected" }) },
        { "name": "main-long", "wait": 1300, "play": () => set({ "dangerLevel": AppInfoModel.Warning,
            "issuesInfo": "Уровень защиты вашего устройства значительно снижен\n12 предупреждений требуют внимания",
            "buttonScan": "Проверка на вредоносные программы", "buttonUpdate": "Обновление баз и модулей",
            "infoLastScanTime": "Последняя проверка выполнена 23 часа назад", "infoLastScanResult": "Обнаружена угроза",
            "infoLastUpdateTime": "Последнее обновление: менее минуты назад",
            "infoDatabasesState": "Базы антивирусных данных очень сильно устарели, обновите их.",
            "buttonReports": "Отчёты о событиях", "buttonStorage": "Резервное хранилище",
            "buttonSettings": "Параметры", "buttonSupport": "Техническая поддержка" }) },
        { "name": "scan-empty", "wait": 1200, "play": () => stack.push("ScanTasks") },
        { "name": "scan", "wait": 900, "play": () => models.taskList.setRows([
            scanRow({ "currentState": TaskListModel.TaskStateStarted, "progressValue": 42,
                      "summary": "Running, started less than a minute ago", "resultInfo": "Nothing detected" }),
            { "taskName": "Custom scan of /home/anna/Downloads", "taskId": 100, "cannotBeDeleted": false,
              "showStartButton": false, "summary": "Last scan: less than a minute ago",
              "resultInfo": "Threat detected", "resultIsError": true,
              "progressInfo": ["objects scanned: 812", "threats detected: 3"] },
            scanRow({ "taskName": "Boot sector scan", "taskId": 4, "summary": "Never run", "resultInfo": "",
                      "progressInfo": [] }),
            scanRow({ "taskName": "Memory scan", "taskId": 5 })]) },
        { "name": "scan-expanded", "wait": 600, "play": () => {
            find(page(), "taskList").itemAtIndex(1).showFullInfo = true;
            find(page(), "taskList").itemAtIndex(3).showFullInfo = true; } },
        { "name": "scan-focus", "wait": 600, "play": () => {
            find(find(page(), "taskList").itemAtIndex(0), "mainButton").forceActiveFocus(); } },
        { "name": "scan-long", "wait": 900, "play": () => models.taskList.setRows([1, 2, 3, 4, 5, 6, 7].map(id =>
            scanRow({ "taskId": id, "cannotBeDeleted": false,
                      "taskName": "Выборочная проверка /home/anna/Документы/Очень длинное имя папки/и ещё одно",
                      "summary": "Выполняется, начата менее одной минуты тому назад пользователем",
                      "resultInfo": "Обнаружены угрозы безопасности", "resultIsError": true,
                      "currentState": id % 2 ? TaskListModel.TaskStateStarted : TaskListModel.TaskStateStopped,
                      "progressValue": 100 }))) },
        { "name": "update", "wait": 1400, "play": () => {
            stack.pop(); stack.push("UpdateTasks");
            models.taskList.isRollbackAvailable = true;
            models.taskList.setRows([{ "taskName": "Update", "taskId": 6, "summary": "Last update: 12 minutes ago" }]);
            find(page(), "taskList").itemAtIndex(0).showFullInfo = true; } },
        { "name": "no-connection", "wait": 900, "play": () => serviceConnection.isConnectedToProduct = false },
        { "name": "popup", "wait": 1500, "play": () => {
            serviceConnection.isConnectedToProduct = true;
            for (let i = 0; i < 2; ++i)
                find(page(), "popupFabric").showPopup("Custom scan completed",
                    "Custom scan completed. <font color='#d84342'>3 threats found.</font>", "open reports", null, i === 0);
        } }
    ]

    property Timer clock: Timer {
        interval: gallery.at in gallery.scenes ? gallery.scenes[gallery.at].wait : 1000
        running: true
        repeat: true
        onTriggered: {
            if (gallery.at >= 0) {
                const name = gallery.scenes[gallery.at].name;
                camera.shoot(gallery.window, name);
            }
            if (++gallery.at === gallery.scenes.length) {
                Qt.quit();
                return;
            }
            gallery.scenes[gallery.at].play();
        }
    }
}
