// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import tl.qt.application.taskList 1.0
import tl.customFonts 1.0

import "CommonProperties.js" as CommonProperties
import "kit"

// A row of the task list: what the task is, how it stands, and what can be done with it.
Item {
    id: root

    property var taskModel: null
    property alias showFullInfo: content.showFullInfo

    function isCanBeStopped(taskState, canBeStopped) {
        return canBeStopped && (taskState === TaskListModel.TaskStateStarted
                                || taskState === TaskListModel.TaskStateStopping
                                || taskState === TaskListModel.TaskStatePausing
                                || taskState === TaskListModel.TaskStateSuspended);
    }

    function isCanBeStarted(taskState, canBeStarted) {
        return canBeStarted && (taskState === TaskListModel.TaskStateStopped
                                || taskState === TaskListModel.TaskStateSuspended
                                || taskState === TaskListModel.TaskStateStarting
                                || taskState === TaskListModel.TaskStateResuming);
    }

    // A task that is stopping doesn't count as running, so that its bar fades out: no state has the third name.
    function isRunning(taskState) {
        return taskState === TaskListModel.TaskStateStarted || taskState === TaskListModel.TaskStateStarting
            || taskState === TaskListModel.TaskStateStoping || taskState === TaskListModel.TaskStateResuming;
    }

    function goToReports() {
        // A page that was opened from the reports leads back to them and leaves one reports page on the stack.
        if (stack.getItemName(1) === "Reports") {
            stack.pop();
            stack.pop();
        }
        stack.pushWithParams("Reports", { "startupComponentId": taskReportType });
    }

    implicitHeight: Math.max(CommonProperties.TaskRowMinimumHeight, content.height + 2 * content.y)
    height: implicitHeight

    Accessible.role: Accessible.ListItem
    Accessible.name: taskName

    Column {
        id: content

        property bool showFullInfo: false
        readonly property bool shortInfoOnly: progressInfo.length === 0 && taskId !== root.taskModel.defaultUpdateTaskId

        function toggleDetails() {
            if (!shortInfoOnly)
                showFullInfo = !showFullInfo;
        }

        x: CommonProperties.contentMargin
        y: CommonProperties.TaskRowPadding
        width: root.width - 2 * CommonProperties.contentMargin
        spacing: CommonProperties.unit / 2

        Item {
            width: parent.width
            height: CommonProperties.TLButtonHeight

            Item {
                id: nameArea
                width: buttons.x - CommonProperties.gridMargin
                height: parent.height

                // While the expander is away, the name is where the keyboard opens the details.
                readonly property bool standsIn: !content.shortInfoOnly && !expander.visible

                objectName: "nameButton"
                activeFocusOnTab: standsIn || activeFocus
                Keys.forwardTo: nameKeys.item ? [nameKeys.item] : []
                Accessible.ignored: !standsIn
                Accessible.role: Accessible.Button
                Accessible.name: taskName
                Accessible.focusable: standsIn
                Accessible.focused: activeFocus
                Accessible.checkable: true
                Accessible.checked: content.showFullInfo
                Accessible.onPressAction: content.toggleDetails()
                Accessible.onToggleAction: content.toggleDetails()

                MouseArea {
                    id: nameMouseArea
                    objectName: "nameArea"
                    anchors.fill: parent
                    enabled: !content.shortInfoOnly
                    onClicked: content.toggleDetails()
                }

                Loader {
                    id: nameKeys
                    width: nameLabel.width
                    height: parent.height
                    active: nameArea.standsIn
                    sourceComponent: TLPressArea {
                        control: nameArea
                        ringOffset: 0
                        acceptedButtons: Qt.NoButton
                        onActivated: content.toggleDetails()
                    }
                }

                TLLabel {
                    id: nameLabel
                    objectName: "taskName"
                    anchors.verticalCenter: parent.verticalCenter
                    textValue: taskName
                    elide: Text.ElideRight
                    lineHeight: CommonProperties.lineHeightSingle
                    font.family: RobotoFonts.robotoMedium
                    font.weight: Font.Medium
                    font.pixelSize: CommonProperties.pixelSizeLarge

                    // The expander follows the name, and the buttons beside come and go with the task's state.
                    width: Math.min(implicitWidth,
                                    parent.width - expander.width - CommonProperties.TaskNameReserve)
                }

                TLExpander {
                    id: expander
                    objectName: "expander"
                    anchors.left: nameLabel.right
                    anchors.leftMargin: CommonProperties.unit / 2
                    anchors.verticalCenter: parent.verticalCenter
                    name: taskName
                    visible: (root.taskModel.scanTasksMode && !content.shortInfoOnly
                              && root.isCanBeStarted(currentState, true))
                             || taskId === root.taskModel.defaultUpdateTaskId
                    onClicked: content.toggleDetails()
                }
            }

            Row {
                id: buttons
                anchors.right: parent.right
                spacing: CommonProperties.unit

                TLPicButton {
                    objectName: "deleteButton"
                    width: CommonProperties.TaskDeleteAreaWidth
                    height: CommonProperties.TLButtonHeight
                    name: CommonProperties.nameDelete + ": " + taskName
                    visible: !cannotBeDeleted && currentState === TaskListModel.TaskStateStopped
                    source: "delete-icon"
                    sourceHover: "delete-icon-hover"
                    sourcePressed: "delete-icon-pressed"
                    imageSize: Qt.size(CommonProperties.TaskDeleteIconSize, CommonProperties.TaskDeleteIconSize)
                    onClicked: root.taskModel.deleteTask(taskId)
                }

                TLButton {
                    objectName: "mainButton"
                    width: CommonProperties.TaskActionsButtonWidth
                    height: CommonProperties.TLButtonHeight
                    text: root.isCanBeStarted(currentState, true) ? root.taskModel.runTaskButtonName
                                                                  : root.taskModel.stopTaskButtonName
                    enabled: (currentState === TaskListModel.TaskStateStopped && canBeStarted)
                             || (currentState === TaskListModel.TaskStateStarted && canBeStopped)
                    visible: root.isCanBeStarted(currentState, showStartButton)
                             || root.isCanBeStopped(currentState, showStopButton)
                    onClicked: {
                        if (root.isCanBeStarted(currentState, canBeStarted))
                            root.taskModel.startTask(taskId);
                        else if (root.isCanBeStopped(currentState, canBeStopped))
                            root.taskModel.stopTask(taskId);
                    }
                }

                TLButton {
                    objectName: "reportButton"
                    width: CommonProperties.TaskReportButtonWidth
                    height: CommonProperties.TLButtonHeight
                    text: root.taskModel.goToReportsButtonName
                    enabled: root.taskModel.reportsAllowed && stack.hasPage("Reports")
                    onClicked: root.goToReports()
                }
            }
        }

        Item {
            id: summaryArea

            readonly property real available: progress.visible ? progress.x - CommonProperties.gridMargin : width
            // One line where both have room, else a line for each; a summary alone may take both lines.
            readonly property bool hasResult: resultInfo.length > 0
            readonly property bool resultBelow: hasResult
                                                && summaryLabel.implicitWidth + resultLabel.implicitWidth > available
            readonly property Item lowest: resultBelow ? resultLabel : summaryLabel

            width: parent.width
            height: Math.max(CommonProperties.TaskSummaryHeight, lowest.y + lowest.height)

            TLLabel {
                id: summaryLabel
                objectName: "summary"
                y: progress.y + percent.baselineOffset - baselineOffset
                lineHeight: CommonProperties.lineHeightSingle
                width: summaryArea.hasResult ? Math.min(implicitWidth, summaryArea.available) : summaryArea.available
                textValue: summary + (summaryArea.hasResult ? ". " : "")
                wrapMode: summaryArea.hasResult ? Text.NoWrap : Text.Wrap
                maximumLineCount: summaryArea.hasResult ? 1 : 2
                elide: Text.ElideRight
                color: CommonProperties.colorLightGray
                font.pixelSize: CommonProperties.pixelSizeSmall
            }

            TLLabel {
                id: resultLabel
                objectName: "result"
                x: summaryArea.resultBelow ? 0 : summaryLabel.width
                y: summaryLabel.y + (summaryArea.resultBelow ? summaryLabel.height : 0)
                lineHeight: CommonProperties.lineHeightSingle
                width: Math.min(implicitWidth, summaryArea.available)
                visible: text.length > 0
                textValue: resultInfo
                elide: Text.ElideRight
                color: resultIsError ? CommonProperties.colorAppInfoTaskError : CommonProperties.colorLightGray
                font.weight: resultIsError ? Font.Medium : Font.Normal
                font.pixelSize: CommonProperties.pixelSizeSmall
            }

            Row {
                id: progress
                objectName: "progress"
                anchors.right: parent.right
                y: (CommonProperties.TaskSummaryHeight - height) / 2
                spacing: CommonProperties.unit
                visible: opacity > 0
                state: root.isRunning(currentState) ? "enabled" : "disabled"

                TLLabel {
                    id: percent
                    objectName: "percent"
                    width: CommonProperties.TaskPercentWidth
                    height: bar.height
                    horizontalAlignment: Text.AlignRight
                    lineHeight: CommonProperties.lineHeightSingle
                    verticalAlignment: Text.AlignVCenter
                    textValue: progressValue + "%"
                    color: CommonProperties.colorLightGray
                    font.pixelSize: CommonProperties.pixelSizeSmall
                }

                TLProgressBar {
                    id: bar
                    objectName: "progressBar"
                    name: taskName
                    value: progressValue
                }

                states: [
                    State {
                        name: "enabled"
                        PropertyChanges { target: progress; opacity: 1 }
                    },
                    State {
                        name: "disabled"
                        PropertyChanges { target: progress; opacity: 0 }
                    }
                ]

                transitions: Transition {
                    from: "enabled,disabled"
                    to: "enabled,disabled"
                    NumberAnimation { property: "opacity"; duration: CommonProperties.TLButtonAnimationSpeed }
                }
            }
        }

        Column {
            id: details
            objectName: "details"
            width: parent.width
            topPadding: CommonProperties.unit / 2
            spacing: CommonProperties.TaskProgressLineSpacing
            visible: content.showFullInfo && !content.shortInfoOnly

            Repeater {
                model: progressInfo

                TLLabel {
                    width: details.width
                    textValue: modelData
                    elide: Text.ElideRight
                    color: CommonProperties.colorLightGray
                    font.pixelSize: CommonProperties.pixelSizeSmall
                }
            }

            TLLabel {
                objectName: "rollback"
                width: Math.min(implicitWidth, details.width)
                visible: taskId === root.taskModel.defaultUpdateTaskId
                textValue: root.taskModel.runRollbackText
                elide: Text.ElideRight
                link: root.taskModel.isRollbackAvailable
                color: link ? linkColor : CommonProperties.colorLightGray
                font.pixelSize: CommonProperties.pixelSizeSmall
                whenClicked: function () { root.taskModel.rollbackUpdate(); }
            }
        }

        states: State {
            name: "expand"
            when: content.showFullInfo
            PropertyChanges { target: expander; expanded: true }
        }
    }
}
